// OvBgp/CommunityListTraits.h: what policy code needs to know of each of the
// four list kinds to be written once over them: its table, its member type,
// its members in order, the key a pattern reads of a member, and how a
// vector of members becomes an interned list.
//
//   using Traits = CommunityListTraits<ExtCommList>;
//   for ( const auto& v : Traits::members( *list ) ) pattern.matches( Traits::key( v ) );
#pragma once

#include <vector>

#include "OvBgp/CommList.h"
#include "OvBgp/CommListDedupTable.h"
#include "OvBgp/CommunityPattern.h"
#include "OvBgp/ExtCommIp6List.h"
#include "OvBgp/ExtCommIp6ListDedupTable.h"
#include "OvBgp/ExtCommList.h"
#include "OvBgp/ExtCommListDedupTable.h"
#include "OvBgp/LargeCommList.h"

namespace Routing::Bgp {

template<class List>
struct CommunityListTraits;

template<>
struct CommunityListTraits<CommList> {
   using Table = CommListDedupTable;
   using Value = U32;
   static constexpr CommunityPattern::Kind kind = CommunityPattern::kindStandard;
   static const std::vector<U32>& members( const CommList& list ) {
      return *list.commVectorRawPtr();
   }
   static U32 key( U32 value ) noexcept { return value; }
   static CommList::PtrConst intern( const Table* table, const std::vector<U32>& values ) {
      CommList::Ptr list = commListFactory();
      *list->commVectorRawPtrNonConst() = values;
      return list->dedup( table );
   }
};

template<>
struct CommunityListTraits<LargeCommList> {
   using Table = LargeCommListDedupTable;
   using Value = Acl::CommunityValue;
   static constexpr CommunityPattern::Kind kind = CommunityPattern::kindLarge;
   static const std::vector<Value>& members( const LargeCommList& list ) {
      return *list.commVectorRawPtr();
   }
   static const Value& key( const Value& value ) noexcept { return value; }
   static LargeCommList::PtrConst intern( const Table* table, const std::vector<Value>& values ) {
      LargeCommList::Ptr list = largeCommListFactory();
      *list->commVectorRawPtrNonConst() = values;
      return list->dedup( table );
   }
};

template<>
struct CommunityListTraits<ExtCommList> {
   using Table = ExtCommListDedupTable;
   using Value = ExtComm::PtrConst;
   static constexpr CommunityPattern::Kind kind = CommunityPattern::kindExtended;
   static const std::vector<Value>& members( const ExtCommList& list ) { return list.commVector(); }
   static ExtCommContent key( const Value& value ) noexcept {
      return ExtCommContent( value->community() );
   }
   static ExtCommList::PtrConst intern( const Table* table, const std::vector<Value>& values ) {
      ExtCommList::Ptr list = extCommListFactory();
      list->appendVector( values );
      return list->dedup( table );
   }
};

template<>
struct CommunityListTraits<ExtCommIp6List> {
   using Table = ExtCommIp6ListDedupTable;
   using Value = ExtCommIp6::PtrConst;
   static constexpr CommunityPattern::Kind kind = CommunityPattern::kindIp6Extended;
   static const std::vector<Value>& members( const ExtCommIp6List& list ) {
      return list.commVector();
   }
   static ExtCommIp6Content key( const Value& value ) noexcept { return value->content(); }
   static ExtCommIp6List::PtrConst intern( const Table* table, const std::vector<Value>& values ) {
      ExtCommIp6List::Ptr list = extCommIp6ListFactory();
      list->expectedCommunityCountIs( U32( values.size() ) );
      for ( const Value& value : values ) {
         list->commIs( value );
      }
      return list->dedup( table );
   }
};

} // namespace Routing::Bgp
