// A user's program built against the installed headers and libraries: it
// must compile, link and run with nothing from the source tree. It sets up
// the parser as an agent does at start-up and reaches every list kind, the
// classification lists and the text readers through the public headers
// alone, so that a missing library, header or symbol fails here rather than
// in a user's build. What the values mean is the unit tests' business.
#include <OvBgp/CommunityText.h>
#include <OvBgp/OvBgpCommunity.h>
#include <OvBgp/OvBgpCommunityList.h>
#include <OvBgp/Parse/ExtCommContainer.h>

#include <cstdio>

int main() {
   using namespace Routing::Bgp;
   auto container = bgpParseExtCommContainerSmFactory();
   auto values = extCommDedupTableFactory( container->extCommParser() );
   auto ip6Values = extCommIp6DedupTableFactory( container->extCommParser() );
   auto comms = commListDedupTableFactory();
   auto larges = largeCommListDedupTableFactory();
   auto extLists = extCommListDedupTableFactory();
   auto ip6Lists = extCommIp6ListDedupTableFactory();

   CommList::Ptr standard = commListFactory();
   standard->commIs( communityNoExport );
   LargeCommList::Ptr large = largeCommListFactory();
   large->commIs( Acl::CommunityValue( 65000, 1, 2 ) );
   ExtComm::PtrConst rt = extCommFromStrep( values.ptr(), "RT:65000:100" );
   ExtCommList::Ptr ext = extCommListFactory();
   ext->commIs( rt );
   ExtCommIp6List::Ptr ip6 = extCommIp6ListFactory();
   ip6->commIs( ExtCommIp6::dedupContent(
         ip6Values.ptr(),
         ExtCommIp6Content( 0x00, 0x02, Onet::Ip6Addr::parse( "2001:db8::1" ), 7 ) ) );

   const bool ok =
         standard->dedup( comms.ptr() ) == commListFromStrep( comms.ptr(), "no-export" ) &&
         large->dedup( larges.ptr() )->toStrep() == "65000:1:2" &&
         ext->dedup( extLists.ptr() )
                     ->classificationList( extCommClassificationRouteTarget )
                     ->comms() == 1 &&
         ip6->dedup( ip6Lists.ptr() )->comms() == 1;
   if ( !ok ) {
      std::fprintf( stderr, "consumer: a list is not what was put in\n" );
      return 1;
   }
   std::printf( "consumer ok: %s\n", rt->toStrepForUI( false, false, false ).c_str() );
   return 0;
}
