// A user's program built against the installed headers and libraries: it
// must compile, link and run with nothing from the source tree. It sets up
// the parser as an agent does at start-up, then reaches every value and list
// kind through the two public headers alone: standard, large, extended and
// IPv6-address-specific lists, interned twice to one object, a
// classification list and a snapshot, and a value read from its text. A
// missing library, header or symbol fails here rather than in a user's build.
#include <OvBgp/CommunityText.h>
#include <OvBgp/OvBgpCommunity.h>
#include <OvBgp/OvBgpCommunityList.h>
#include <OvBgp/Parse/ExtCommContainer.h>

#include <cstdio>

namespace {

int failures = 0;

void check( bool ok, const char* what ) {
   if ( !ok ) {
      std::fprintf( stderr, "consumer: %s\n", what );
      ++failures;
   }
}

} // namespace

int main() {
   using namespace Routing::Bgp;
   auto container = bgpParseExtCommContainerSmFactory();
   auto values = extCommDedupTableFactory( container->extCommParser() );
   auto ip6Values = extCommIp6DedupTableFactory( container->extCommParser() );

   // Standard and large lists.
   auto comms = commListDedupTableFactory();
   CommList::Ptr standard = commListFactory();
   standard->commIs( communityNoExport );
   CommList::PtrConst shared = standard->dedup( comms.ptr() );
   check( shared->noExport() && shared->toStrep() == "no-export", "standard list" );
   auto larges = largeCommListDedupTableFactory();
   LargeCommList::Ptr large = largeCommListFactory();
   large->commIs( Acl::CommunityValue( 65000, 1, 2 ) );
   check( large->dedup( larges.ptr() )->toStrep() == "65000:1:2", "large list" );

   // Extended values and lists, with their route-target part and snapshot.
   const U64 routeTarget = 0x0002fde800000064; // 65000:100
   ExtComm::PtrConst rt = ExtComm::dedupContent( values.ptr(), ExtCommContent( routeTarget ) );
   check( rt == ExtComm::dedupContent( values.ptr(), ExtCommContent( routeTarget ) ),
          "one extended value per content" );
   auto extLists = extCommListDedupTableFactory();
   ExtCommList::Ptr ext = extCommListFactory();
   ext->commIs( rt );
   ExtCommList::PtrConst extShared = ext->dedup( extLists.ptr() );
   const ExtCommClassificationLists& parts = extShared->classificationLists();
   check( parts.cbegin() != parts.cend() &&
                extShared->classificationList( extCommClassificationRouteTarget )->comms() == 1,
          "route-target classification list" );
   check( extShared->commSnapshot()->comm().size() == 1, "extended snapshot" );

   // IPv6-address-specific values and lists.
   const ExtCommIp6Content ip6Content( 0x00, 0x02, Onet::Ip6Addr::parse( "2001:db8::1" ), 7 );
   auto ip6Lists = extCommIp6ListDedupTableFactory();
   ExtCommIp6List::Ptr ip6 = extCommIp6ListFactory();
   ip6->commIs( ExtCommIp6::dedupContent( ip6Values.ptr(), ip6Content ) );
   check( ip6->dedup( ip6Lists.ptr() )->comms() == 1, "IPv6 list" );

   // Text to values.
   check( extCommFromStrep( values.ptr(), "RT:65000:100" ) == rt, "extended value from text" );
   check( commListFromStrep( comms.ptr(), "no-export" ) == shared, "standard list from text" );

   if ( failures ) {
      return 1;
   }
   std::printf( "consumer ok: %s\n", rt->toStrepForUI( false, false, false ).c_str() );
   return 0;
}
