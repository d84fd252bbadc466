// OvBgp/CommunityListMatch.h: a route map's match clause on one list kind, by
// community pattern or by regular expression over the list's text, with the
// answer remembered per interned list (ListMemo), so that a clause run over a
// million paths matches each distinct list once.
//
//   auto clause = CommListMatch::patternIs( table, CommunityPattern( "1299:*" ) );
//   if ( clause->matches( path.communities ) ) ...
#pragma once

#include <memory>
#include <optional>

#include "OvBgp/CommunityListTraits.h"
#include "OvBgp/CommunityPattern.h"
#include "Routing/RouteMap/PosixRegex.h"

namespace Routing::Bgp {

// CommunityListMatch<List>: see the file comment; matches() may run from
// several threads at once.
template<class List>
class CommunityListMatch : public RememberingListClause<List> {
 public:
   using Ptr = Kel::Ptr<CommunityListMatch>;
   using PtrConst = Kel::Ptr<const CommunityListMatch>;
   using Traits = CommunityListTraits<List>;
   using Table = typename Traits::Table;

   // patternIs(): matches lists with a member that matches pattern; a
   // pattern of another kind matches nothing.
   static Ptr patternIs( const Kel::Ptr<const Table>& table, const CommunityPattern& pattern,
                         size_t memoBound = ListMemo::kDefaultBound );
   // regexIs(): matches lists whose text the expression matches, as the
   // list's matchCommunitiesRegex() (the IPv6 list: its commsStringForm()).
   static Ptr regexIs( const Kel::Ptr<const Table>& table, const Kel::String& regex,
                       size_t memoBound = ListMemo::kDefaultBound );

   // matches(): false for a null list.
   bool matches( const typename List::PtrConst& list ) const;
   // matchesUncached(): the same, computed every time.
   bool matchesUncached( const List* list ) const;

   CommunityListMatch( const Kel::Ptr<const Table>& table, size_t memoBound )
         : RememberingListClause<List>( table, memoBound ) {}

 private:
   std::optional<CommunityPattern> pattern_;
   std::unique_ptr<Routing::RouteMap::PosixRegex> regex_;
};

using CommListMatch = CommunityListMatch<CommList>;
using LargeCommListMatch = CommunityListMatch<LargeCommList>;
using ExtCommListMatch = CommunityListMatch<ExtCommList>;
using ExtCommIp6ListMatch = CommunityListMatch<ExtCommIp6List>;

#define OVBGP_EXTERN_MATCH( List ) extern template class CommunityListMatch<List>;
OVBGP_FOR_EACH_LIST_KIND( OVBGP_EXTERN_MATCH )
#undef OVBGP_EXTERN_MATCH

} // namespace Routing::Bgp
