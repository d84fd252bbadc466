// RouteInterner.h: turns the octets of a community attribute into the one
// interned list of the library's tables that holds its values (sorted, each
// once), through the lists' dedupOctets(). It keeps a reference to every
// distinct list it made, as the routes of a RIB would, so that a list seen
// again is found in its table, not rebuilt, and the text a printer made of
// it is kept beside it (KeptLists). A repeat allocates nothing.
//
//   RouteInterner interner( tables );
//   CommList::PtrConst list = interner.communities( octets ); // null for no octets
#pragma once

#include "tools/bgpcomm/CommunityTables.h"
#include "tools/bgpcomm/InternedRoute.h"
#include "tools/bgpcomm/KeptLists.h"

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
   KeptList<Routing::Bgp::CommList>* standard( std::span<const U8> octets );
   KeptList<Routing::Bgp::ExtCommList>* extended( std::span<const U8> octets );
   KeptList<Routing::Bgp::LargeCommList>* large( std::span<const U8> octets );
   KeptList<Routing::Bgp::ExtCommIp6List>* ip6Extended( std::span<const U8> octets );

   const CommunityTables& tables_;
   std::vector<Routing::Bgp::CommList::PtrConst> keptStandard_;
   std::vector<Routing::Bgp::LargeCommList::PtrConst> keptLarge_;
   std::vector<Routing::Bgp::ExtCommList::PtrConst> keptExtended_;
   std::vector<Routing::Bgp::ExtCommIp6List::PtrConst> keptIp6Extended_;
   KeptLists<Routing::Bgp::CommList> textsStandard_;
   KeptLists<Routing::Bgp::LargeCommList> textsLarge_;
   KeptLists<Routing::Bgp::ExtCommList> textsExtended_;
   KeptLists<Routing::Bgp::ExtCommIp6List> textsIp6Extended_;
   U64 listsBuilt_ = 0;
};

} // namespace Bgpcomm
