#include "tools/bgpcomm/RouteInterner.h"

namespace Bgpcomm {

using namespace Routing::Bgp;

namespace {

// internKept(): the list intern() gives, kept when its table gained a
// member in the call (the list was built). With other threads interning
// into the same tables the size can mislead: a list is then kept twice, or
// not kept and built again once its routes are gone; never a wrong list.
template<class List, class Intern>
typename List::PtrConst internKept( const Bex::DedupHashTable& table,
                                    std::vector<typename List::PtrConst>& kept, U64& built,
                                    Intern&& intern ) {
   const size_t before = table.size();
   typename List::PtrConst list = intern();
   if ( table.size() != before ) {
      kept.push_back( list );
      ++built;
   }
   return list;
}

} // namespace

RouteInterner::RouteInterner( const CommunityTables& tables ) : tables_( tables ) {}

void RouteInterner::intern( const MrtRoute& route, InternedRoute* lists ) {
   lists->communities = communities( route.community( CommunityKind::standard ) );
   lists->extCommunities = extCommunities( route.community( CommunityKind::extended ) );
   lists->largeCommunities = largeCommunities( route.community( CommunityKind::large ) );
   lists->ipv6ExtCommunities = ipv6ExtCommunities( route.community( CommunityKind::ip6Extended ) );
}

CommList::PtrConst RouteInterner::communities( std::span<const U8> octets ) {
   if ( octets.empty() )
      return nullptr;
   return internKept<CommList>(
         *tables_.commList()->dedupTable(), keptStandard_, listsBuilt_, [ & ] {
            return CommList::dedupOctets( tables_.commList(), octets.data(), octets.size() );
         } );
}

LargeCommList::PtrConst RouteInterner::largeCommunities( std::span<const U8> octets ) {
   if ( octets.empty() )
      return nullptr;
   return internKept<LargeCommList>(
         *tables_.largeCommList()->dedupTable(), keptLarge_, listsBuilt_, [ & ] {
            return LargeCommList::dedupOctets( tables_.largeCommList(), octets.data(),
                                               octets.size() );
         } );
}

ExtCommList::PtrConst RouteInterner::extCommunities( std::span<const U8> octets ) {
   if ( octets.empty() )
      return nullptr;
   return internKept<ExtCommList>(
         *tables_.extCommList()->dedupTable(), keptExtended_, listsBuilt_, [ & ] {
            return ExtCommList::dedupOctets( tables_.extCommList(), tables_.extComm(),
                                             octets.data(), octets.size() );
         } );
}

ExtCommIp6List::PtrConst RouteInterner::ipv6ExtCommunities( std::span<const U8> octets ) {
   if ( octets.empty() )
      return nullptr;
   return internKept<ExtCommIp6List>(
         *tables_.extCommIp6List()->dedupTable(), keptIp6Extended_, listsBuilt_, [ & ] {
            return ExtCommIp6List::dedupOctets( tables_.extCommIp6List(), tables_.extCommIp6(),
                                                octets.data(), octets.size() );
         } );
}

} // namespace Bgpcomm
