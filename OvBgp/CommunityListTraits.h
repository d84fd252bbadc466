// OvBgp/CommunityListTraits.h: what policy code needs to know of each of the
// four list kinds to be written once over them (its table, its member type,
// its members in order, the key a pattern reads of a member, how a vector of
// members becomes an interned list), and the base of the policy clauses
// that remember their answer per interned list.
//
//   using Traits = CommunityListTraits<ExtCommList>;
//   for ( const auto& v : Traits::members( *list ) ) pattern.matches( Traits::key( v ) );
#pragma once

#include <type_traits>
#include <vector>

#include "OvBgp/CommList.h"
#include "OvBgp/CommListDedupTable.h"
#include "OvBgp/CommunityPattern.h"
#include "OvBgp/ExtCommIp6List.h"
#include "OvBgp/ExtCommIp6ListDedupTable.h"
#include "OvBgp/ExtCommList.h"
#include "OvBgp/ExtCommListDedupTable.h"
#include "OvBgp/LargeCommList.h"
#include "OvBgp/ListMemo.h"

// OVBGP_FOR_EACH_LIST_KIND( X ): X( List ) for each of the four kinds, for
// the explicit instantiations of what is written once over them.
#define OVBGP_FOR_EACH_LIST_KIND( X ) \
   X( CommList ) X( LargeCommList ) X( ExtCommList ) X( ExtCommIp6List )

namespace Routing::Bgp {

// listKey(): the key a pattern reads of a member: the value itself, or an
// interned member's content.
inline U32 listKey( U32 value ) noexcept { return value; }
inline const Acl::CommunityValue& listKey( const Acl::CommunityValue& value ) noexcept {
   return value;
}
inline ExtCommContent listKey( const ExtComm::PtrConst& value ) noexcept {
   return ExtCommContent( value->community() );
}
inline ExtCommIp6Content listKey( const ExtCommIp6::PtrConst& value ) noexcept {
   return value->content();
}

template<class List>
struct CommunityListTraits {
   using Table = typename List::Table;
   using Value = typename List::Value;
   static constexpr CommunityPattern::Kind kind =
         std::is_same_v<List, CommList>        ? CommunityPattern::kindStandard
         : std::is_same_v<List, LargeCommList> ? CommunityPattern::kindLarge
         : std::is_same_v<List, ExtCommList>   ? CommunityPattern::kindExtended
                                               : CommunityPattern::kindIp6Extended;
   static const auto& members( const List& list ) { return list.commVector(); }
   static decltype( auto ) key( const Value& value ) noexcept { return listKey( value ); }
   static typename List::PtrConst intern( const Table* table, const std::vector<Value>& values ) {
      auto list = Kel::makeActivePtr<List>();
      list->expectedCommunityCountIs( U32( values.size() ) );
      for ( const Value& value : values ) {
         list->commIs( value );
      }
      return list->dedup( table );
   }
};

// RememberingListClause<List>: a policy clause over lists of table that
// remembers its answer per interned list (ListMemo).
template<class List>
class RememberingListClause : public Kel::PtrInterface {
 public:
   using Traits = CommunityListTraits<List>;
   using Table = typename Traits::Table;

   // remembered(): lists the memo holds an answer for.
   size_t remembered() const { return memo_.remembered(); }

 protected:
   RememberingListClause( const Kel::Ptr<const Table>& table, size_t memoBound )
         : table_( table ), memo_( table->dedupTable(), memoBound ) {}

   Kel::Ptr<const Table> table_;
   mutable ListMemo memo_;
};

} // namespace Routing::Bgp
