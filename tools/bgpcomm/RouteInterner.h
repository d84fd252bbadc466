// RouteInterner.h: turns the octets of a community attribute into the one
// interned list of the library's tables that holds its values (sorted, each
// once), through the lists' dedupOctets(). It keeps a reference to every
// distinct list it made, as the routes of a RIB would, so that a list seen
// again is found in its table, not rebuilt; octets seen lately give their
// list from RecentLists without a table lookup. A repeat allocates nothing.
//
//   RouteInterner interner( tables );
//   CommList::PtrConst list = interner.communities( octets ); // null for no octets
#pragma once

#include "tools/bgpcomm/CommunityTables.h"
#include "tools/bgpcomm/InternedRoute.h"
#include "tools/bgpcomm/RecentLists.h"

#include <span>
#include <vector>

namespace Bgpcomm {

// RouteInterner
class RouteInterner {
 public:
   explicit RouteInterner( const CommunityTables& tables );

   // intern(): all four lists of route into lists (null where absent), with
   // where the sink may keep each one's text.
   void intern( const MrtRoute& route, InternedRoute* lists );

   // One kind: octets is a whole number of the kind's unit; null when empty.
   Routing::Bgp::CommList::PtrConst communities( std::span<const U8> octets );
   Routing::Bgp::ExtCommList::PtrConst extCommunities( std::span<const U8> octets );
   Routing::Bgp::LargeCommList::PtrConst largeCommunities( std::span<const U8> octets );
   Routing::Bgp::ExtCommIp6List::PtrConst ipv6ExtCommunities( std::span<const U8> octets );

   // listsBuilt(): lists that were not found and had to be built, all kinds.
   U64 listsBuilt() const { return listsBuilt_; }

 private:
   // Each kind's list for octets, with the text its printer keeps; null when empty.
   RecentList<Routing::Bgp::CommList>* standard( std::span<const U8> octets );
   RecentList<Routing::Bgp::ExtCommList>* extended( std::span<const U8> octets );
   RecentList<Routing::Bgp::LargeCommList>* large( std::span<const U8> octets );
   RecentList<Routing::Bgp::ExtCommIp6List>* ip6Extended( std::span<const U8> octets );

   const CommunityTables& tables_;
   std::vector<Routing::Bgp::CommList::PtrConst> keptStandard_;
   std::vector<Routing::Bgp::LargeCommList::PtrConst> keptLarge_;
   std::vector<Routing::Bgp::ExtCommList::PtrConst> keptExtended_;
   std::vector<Routing::Bgp::ExtCommIp6List::PtrConst> keptIp6Extended_;
   RecentLists<Routing::Bgp::CommList> recentStandard_;
   RecentLists<Routing::Bgp::LargeCommList> recentLarge_;
   RecentLists<Routing::Bgp::ExtCommList> recentExtended_;
   RecentLists<Routing::Bgp::ExtCommIp6List> recentIp6Extended_;
   U64 listsBuilt_ = 0;
};

} // namespace Bgpcomm
