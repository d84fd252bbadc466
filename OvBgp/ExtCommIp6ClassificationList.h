// OvBgp/ExtCommIp6ClassificationList.h: the IPv6-address-specific extended
// communities of one kind (all route targets of a path, ...), sorted by
// content and interned on their own, so that paths sharing their route
// targets share one object. ExtCommIp6List builds them when it is interned;
// the snapshot is an editable copy keyed by content.
//
//   auto rts = extCommIp6ClassificationListFactory( extCommClassificationRouteTarget );
//   rts->commIs( rt );  ExtCommIp6ClassificationList::PtrConst shared = rts->dedup( listTable );
#pragma once

#include <iosfwd>
#include <map>
#include <vector>

#include "Bex/DedupHandle.h"
#include "Kel/Ptr.h"
#include "Kel/String.h"
#include "Kel/Types.h"
#include "OvBgp/ExtCommIp6.h"
#include "OvBgp/ListMembers.h"
#include "OvBgp/ListSnapshot.h"
#include "OvBgp/OvBgpCommunityPacketTypes.h"

namespace Routing::Bgp {

class ExtCommIp6ListDedupTable;
class ExtCommIp6ClassificationListSnapshot;

// operator>(): the content order read the other way, for the lookup's
// invariant.
constexpr bool operator>( const ExtCommIp6Content& a, const ExtCommIp6Content& b ) noexcept {
   return b < a;
}

// ExtCommIp6ClassificationList: interned members of one classification,
// strictly ascending by content once sorted. Identity is the sequence of
// member objects; the classification takes no part in it.
class ExtCommIp6ClassificationList : public Bex::DedupHandle, public RoomAllocated {
 public:
   using Ptr = Kel::Ptr<ExtCommIp6ClassificationList>;
   using PtrConst = Kel::Ptr<const ExtCommIp6ClassificationList>;

   explicit ExtCommIp6ClassificationList( ExtCommClassification classification ) noexcept
         : classification_( classification ) {}
   ~ExtCommIp6ClassificationList() override;
   // ExtCommIp6ClassificationListIs(): a new empty list, notification on.
   static Ptr ExtCommIp6ClassificationListIs( ExtCommClassification classification );
   // withRoomFor(): the same with room for count members in its own
   // allocation.
   static Ptr withRoomFor( ExtCommClassification classification, U32 count );

   ExtCommClassification classification() const noexcept { return classification_; }
   bool commVectorSorted() const noexcept { return commVectorSorted_; }
   size_t comms() const noexcept { return comm_.size(); }
   const ListMembers<ExtCommIp6::PtrConst>& commVector() const noexcept { return comm_; }
   const ListMembers<ExtCommIp6::PtrConst>* commVectorRawPtr() const noexcept { return &comm_; }

   // commIs(): appends an interned member (asserted); any order before dedup.
   void commIs( const ExtCommIp6::PtrConst& comm );
   // dedup(): sorts, drops repeated contents and returns the one interned
   // equal list of the table.
   PtrConst dedup( const ExtCommIp6ListDedupTable* table );
   // comm() / lookupExtComm(): the member with that content, or null; the
   // list must be sorted.
   ExtCommIp6::PtrConst comm( const ExtCommIp6Content& content ) const;
   ExtCommIp6::PtrConst lookupExtComm( const ExtCommIp6Content& content ) const {
      return comm( content );
   }

   // The interning identity: the member objects, in order.
   U32 hash() const override;
   // placementHash(): placementHashOf() over the members.
   U32 placementHash( const Kel::HashKey& key ) const override;
   // placementHashOf(): where a table keyed with key places the list of
   // these interned members (SipHash-1-3 over their addresses).
   static U32 placementHashOf( const Kel::HashKey& key,
                               std::span<const ExtCommIp6::PtrConst> members ) noexcept;
   bool compare( const Bex::DedupHandle* other ) const override;
   bool compareByContent( const Bex::DedupContentHandle& ) const override { return false; }

   // commSnapshot(): a new snapshot of this classification with every member.
   Kel::Ptr<ExtCommIp6ClassificationListSnapshot> commSnapshot() const;
   // toStrep(): "<classification> : [ <member> ... ]".
   Kel::String toStrep() const;

   // commVectorSortedIs(): for a list rebuilt complete outside any table.
   void commVectorSortedIs( bool sorted ) noexcept { commVectorSorted_ = sorted; }

 private:
   ExtCommClassification classification_;
   bool commVectorSorted_ = false;
   ListMembers<ExtCommIp6::PtrConst> comm_;
};

// extCommIp6ClassificationListFactory(): the same as
// ExtCommIp6ClassificationListIs().
ExtCommIp6ClassificationList::Ptr extCommIp6ClassificationListFactory(
      ExtCommClassification classification );

// operator<<(): "<classification> : [ ... ]", or "NULL" for a null list.
std::ostream& operator<<( std::ostream& os, const ExtCommIp6ClassificationList* list );
std::ostream& operator<<( std::ostream& os, const ExtCommIp6ClassificationList& list );

// ExtCommIp6ClassificationListSnapshot: an editable copy of one
// classification's members, keyed and ordered by content (ListSnapshot.h).
class ExtCommIp6ClassificationListSnapshot
      : public ClassificationSnapshot<ExtCommIp6, ExtCommIp6Content> {
 public:
   using Ptr = Kel::Ptr<ExtCommIp6ClassificationListSnapshot>;
   using PtrConst = Kel::Ptr<const ExtCommIp6ClassificationListSnapshot>;
   using ClassificationSnapshot::ClassificationSnapshot;
   static Ptr ExtCommIp6ClassificationListSnapshotIs( ExtCommClassification classification );
};

// extCommIp6ClassificationListSnapshotFactory(): the same as
// ExtCommIp6ClassificationListSnapshotIs().
ExtCommIp6ClassificationListSnapshot::Ptr extCommIp6ClassificationListSnapshotFactory(
      ExtCommClassification classification );

// extCommIp6VectorSort(): sorts members by content and drops repeated
// contents, the first of a run staying; the dropped references go.
void extCommIp6VectorSort( ListMembers<ExtCommIp6::PtrConst>& comms );
// extCommIp6VectorLookup(): binary search of a sorted member vector.
ExtCommIp6::PtrConst extCommIp6VectorLookup( std::span<const ExtCommIp6::PtrConst> comms,
                                             const ExtCommIp6Content& community );

} // namespace Routing::Bgp
