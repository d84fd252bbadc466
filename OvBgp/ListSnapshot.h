// OvBgp/ListSnapshot.h: the editable copies of the extended and IPv6
// extended lists and of their classification lists: the members by content
// and, for a whole list, its classification lists by classification; each
// map ordered, one entry a key. A snapshot is private to its taker: changing
// it never changes an interned list.
//
//   auto snapshot = list->commSnapshot();
//   snapshot->commDel( 0x0002fde800000064 );  // the removed member, or null
#pragma once

#include <map>

#include "Kel/Exception.h"
#include "Kel/Ptr.h"
#include "OvBgp/OvBgpCommunityPacketTypes.h"

namespace Routing::Bgp {

// MemberSnapshot<Member, Key>: members keyed by their content
// (Member::community()).
template<class Member, class Key>
class MemberSnapshot : public Kel::PtrInterface {
 public:
   using MemberPtr = typename Member::PtrConst;
   using CommMap = std::map<Key, MemberPtr>;
   using KelComm = typename CommMap::value_type;

   const CommMap& comm() const noexcept { return comm_; }
   // commIs(): inserts or replaces the entry of the member's content; null
   // throws Kel::NullArgumentException.
   void commIs( const MemberPtr& comm ) {
      if ( !comm ) {
         throw Kel::NullArgumentException( "list snapshot commIs: null community" );
      }
      comm_.insert_or_assign( comm->community(), comm );
   }
   // commDel(): removes the entry and returns its member, null when absent.
   MemberPtr commDel( const Key& key ) {
      auto it = comm_.find( key );
      if ( it == comm_.end() ) {
         return nullptr;
      }
      MemberPtr removed = std::move( it->second );
      comm_.erase( it );
      return removed;
   }
   typename CommMap::iterator commDel( typename CommMap::const_iterator entry ) {
      return comm_.erase( entry );
   }
   void commDelAll() noexcept { comm_.clear(); }

 private:
   CommMap comm_;
};

// ClassificationSnapshot<Member, Key>: the members of one classification.
template<class Member, class Key>
class ClassificationSnapshot : public MemberSnapshot<Member, Key> {
 public:
   explicit ClassificationSnapshot( ExtCommClassification classification ) noexcept
         : classification_( classification ) {}
   ExtCommClassification classification() const noexcept { return classification_; }

 private:
   ExtCommClassification classification_;
};

// ListSnapshot<Member, Key, ClassificationList>: a whole list's members and
// its classification lists.
template<class Member, class Key, class ClassificationList>
class ListSnapshot : public MemberSnapshot<Member, Key> {
 public:
   using ClassificationListPtr = typename ClassificationList::PtrConst;
   using ClassificationListMap = std::map<ExtCommClassification, ClassificationListPtr>;
   using KelClassificationList = typename ClassificationListMap::value_type;

   const ClassificationListMap& classificationList() const noexcept { return classificationList_; }
   // classificationListIs(): inserts or replaces by classification; null
   // throws Kel::NullArgumentException.
   void classificationListIs( const ClassificationListPtr& list ) {
      if ( !list ) {
         throw Kel::NullArgumentException( "list snapshot classificationListIs: null list" );
      }
      classificationList_.insert_or_assign( list->classification(), list );
   }
   void classificationListDel( ExtCommClassification classification ) {
      classificationList_.erase( classification );
   }
   typename ClassificationListMap::iterator classificationListDel(
         typename ClassificationListMap::const_iterator entry ) {
      return classificationList_.erase( entry );
   }
   void classificationListDelAll() noexcept { classificationList_.clear(); }

 private:
   ClassificationListMap classificationList_;
};

} // namespace Routing::Bgp
