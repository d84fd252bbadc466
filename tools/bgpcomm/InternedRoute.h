// InternedRoute.h: a route's four community lists once interned in the
// library's tables (null where the route carries no such attribute), and the
// sink that receives routes with them.
//
//   struct Printer : InternedRouteSink { void route( const MrtRoute&, const InternedRoute& ) ... };
//   if ( lists.communities ) lists.communities->toStrep(); // "65000:100 no-export"
#pragma once

#include "OvBgp/CommList.h"
#include "OvBgp/ExtCommIp6List.h"
#include "OvBgp/ExtCommList.h"
#include "OvBgp/LargeCommList.h"
#include "tools/bgpcomm/MrtRouteSink.h"

#include <array>
#include <string>

namespace Bgpcomm {

// KeptText: a list's text in one form (a sink's own number, 0 for none yet).
struct KeptText {
   U8 form = 0;
   std::string text;
};

// InternedRoute
struct InternedRoute {
   Routing::Bgp::CommList::PtrConst communities;
   Routing::Bgp::ExtCommList::PtrConst extCommunities;
   Routing::Bgp::LargeCommList::PtrConst largeCommunities;
   Routing::Bgp::ExtCommIp6List::PtrConst ipv6ExtCommunities;
   // texts: per kind (communityKindIndex()), where a sink may keep the
   // list's text for the next route with the same list; null when the list
   // is absent or nothing keeps texts.
   std::array<KeptText*, communityKindCount> texts{};

   // present(): whether the route carries the kind.
   bool present( CommunityKind kind ) const {
      switch ( kind ) {
         case CommunityKind::standard:
            return bool( communities );
         case CommunityKind::extended:
            return bool( extCommunities );
         case CommunityKind::large:
            return bool( largeCommunities );
         case CommunityKind::ip6Extended:
            return bool( ipv6ExtCommunities );
      }
      return false;
   }
};

// InternedRouteSink: routes with their interned lists, and the reader's
// problems, in file order.
class InternedRouteSink {
 public:
   virtual ~InternedRouteSink() = default;
   // route(): lists is valid only during the call; copy the pointers to keep them.
   virtual void route( const MrtRoute& route, const InternedRoute& lists ) = 0;
   // problem()
   virtual void problem( const MrtProblem& problem ) = 0;
   // withdrawal() / stateChange(): passed on as the reader gave them.
   virtual void withdrawal( const MrtRoute& ) {}
   virtual void stateChange( const MrtStateChange& ) {}
};

} // namespace Bgpcomm
