// OvBgp/CommunityListEdit.h: one list edit as route maps make them: add
// values, delete the values that match a pattern, keep only those, or
// replace the whole list; on any of the four list kinds. An edit takes an
// interned list and returns the interned result, and remembers it per list
// (ListMemo), so applying it to a million paths costs one edit per distinct
// list.
//
//   auto scrub = CommListEdit::deleteMatchingIs( table, CommunityPattern( "65000:*" ) );
//   CommList::PtrConst out = scrub->apply( path.communities );
#pragma once

#include <optional>
#include <vector>

#include "OvBgp/CommunityListTraits.h"
#include "OvBgp/CommunityPattern.h"

namespace Routing::Bgp {

// CommunityListEdit<List>: see the file comment. Immutable but for its memo;
// apply() may run from several threads at once.
template<class List>
class CommunityListEdit : public RememberingListClause<List> {
 public:
   using Ptr = Kel::Ptr<CommunityListEdit>;
   using PtrConst = Kel::Ptr<const CommunityListEdit>;
   using Traits = CommunityListTraits<List>;
   using Table = typename Traits::Table;
   using Value = typename Traits::Value;
   using ListPtr = typename List::PtrConst;

   enum Action : U8 { actionAdd, actionDeleteMatching, actionKeepMatching, actionReplace };

   // The four edits, with results interned in table; memoBound caps the
   // lists remembered at once. Values of extended kinds must be interned. A
   // pattern of another kind than List throws Kel::ParseException.
   static Ptr addIs( const Kel::Ptr<const Table>& table, const std::vector<Value>& values,
                     size_t memoBound = ListMemo::kDefaultBound );
   static Ptr deleteMatchingIs( const Kel::Ptr<const Table>& table, const CommunityPattern& pattern,
                                size_t memoBound = ListMemo::kDefaultBound );
   static Ptr keepMatchingIs( const Kel::Ptr<const Table>& table, const CommunityPattern& pattern,
                              size_t memoBound = ListMemo::kDefaultBound );
   static Ptr replaceIs( const Kel::Ptr<const Table>& table, const std::vector<Value>& values,
                         size_t memoBound = ListMemo::kDefaultBound );

   Action action() const noexcept { return action_; }

   // apply(): the edited list, remembered for list when list is interned in
   // the edit's table. A null list reads as empty, except that an edit that
   // changes nothing returns list itself.
   ListPtr apply( const ListPtr& list ) const;
   // edit(): the same, computed every time.
   ListPtr edit( const ListPtr& list ) const;

   CommunityListEdit( Action action, const Kel::Ptr<const Table>& table, size_t memoBound );

 private:
   Action action_;
   std::vector<Value> values_; // add: sorted by key, each key once
   std::optional<CommunityPattern> pattern_;
   ListPtr replacement_;
};

using CommListEdit = CommunityListEdit<CommList>;
using LargeCommListEdit = CommunityListEdit<LargeCommList>;
using ExtCommListEdit = CommunityListEdit<ExtCommList>;
using ExtCommIp6ListEdit = CommunityListEdit<ExtCommIp6List>;

#define OVBGP_EXTERN_EDIT( List ) extern template class CommunityListEdit<List>;
OVBGP_FOR_EACH_LIST_KIND( OVBGP_EXTERN_EDIT )
#undef OVBGP_EXTERN_EDIT

} // namespace Routing::Bgp
