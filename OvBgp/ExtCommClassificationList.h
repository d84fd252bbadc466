// OvBgp/ExtCommClassificationList.h: an extended community list split by
// kind. All route targets of a list form one classification list, all link
// bandwidths another, and so on; each is interned on its own, so paths that
// share their route targets share one object even when their other
// communities differ. ExtCommClassificationLists is the small ordered
// container of them inside an ExtCommList.
//
//   auto rts = RtExtCommClassificationList::RtExtCommClassificationListIs( extCommClassificationRouteTarget );
//   rts->commIs( rt );  auto shared = rts->dedup( table );
#pragma once

#include <map>
#include <memory>
#include <span>
#include <vector>

#include "Bex/DedupHandle.h"
#include "Kel/DenseBoolSet.h"
#include "Kel/Ptr.h"
#include "OvBgp/ListMembers.h"
#include "OvBgp/ListSnapshot.h"
#include "OvBgp/OvBgpCommunity.h"

namespace Routing::Bgp {

class ExtCommListDedupTable;
class ExtCommClassificationListSnapshot;
class RtExtCommListLifeTimeNotifier;

// ExtCommClassificationList: the interned communities of one kind, sorted by
// content. Its classification (bits 0-7) and attributes (bits 8-9) live in
// the handle's user-data word. The parts a list makes of itself hold their
// members in their own allocation (ListMembers.h).
class ExtCommClassificationList : public Bex::DedupHandle, public RoomAllocated {
 public:
   using Ptr = Kel::Ptr<ExtCommClassificationList>;
   using PtrConst = Kel::Ptr<const ExtCommClassificationList>;

   // CommVectorAttrs: sorted (1) and hasPrunableValues (2).
   class CommVectorAttrs {
    public:
      enum Flag : U8 { sorted = 1, hasPrunableValues = 2 };
      constexpr CommVectorAttrs() noexcept = default;
      // CommVectorAttrs(octet): above 3 is a range error.
      explicit CommVectorAttrs( unsigned octet ) : bits_( Kel::denseBoolSetChecked( octet, 2 ) ) {}
      CommVectorAttrs( const char* begin, const char* end );
      constexpr U8 value() const noexcept { return bits_; }
      constexpr bool has( Flag flag ) const noexcept { return bits_ & flag; }
      constexpr bool operator==( const CommVectorAttrs& ) const noexcept = default;

    private:
      U8 bits_ = 0;
   };

   explicit ExtCommClassificationList( ExtCommClassification classification );
   ~ExtCommClassificationList() override;
   static Ptr ExtCommClassificationListIs( ExtCommClassification classification );
   // withRoomFor(): a new Part (this class or a kind of it) built from
   // args, with room for count members in its own allocation.
   template<class Part, class... Args>
   static Kel::Ptr<Part> withRoomFor( U32 count, Args&&... args ) {
      Part* part =
            newWithRoom<Part>( count * sizeof( ExtComm::PtrConst ), std::forward<Args>( args )... );
      part->comm_.useRoom( roomOf<ExtComm::PtrConst>( part ), count );
      part->hasNotificationActiveIs( true );
      return Kel::Ptr<Part>( part );
   }

   ExtCommClassification classification() const noexcept {
      return ExtCommClassification( userData() & 0xFF );
   }
   size_t comms() const noexcept { return comm_.size(); }
   const ExtComm::PtrConst* commVectorRawPtr() const noexcept { return comm_.data(); }
   const ListMembers<ExtComm::PtrConst>& commVector() const noexcept { return comm_; }
   // comm(): the member with that content, or null (binary search).
   ExtComm::PtrConst comm( U64 community ) const;

   bool commVectorSorted() const noexcept {
      return commVectorAttrs().has( CommVectorAttrs::sorted );
   }
   void commVectorSortedIs( bool sorted ) noexcept { attrIs( CommVectorAttrs::sorted, sorted ); }
   bool hasPrunableValues() const noexcept {
      return commVectorAttrs().has( CommVectorAttrs::hasPrunableValues );
   }
   CommVectorAttrs commVectorAttrs() const noexcept {
      return CommVectorAttrs( ( userData() >> 8 ) & 0x3 );
   }

   // commIs(): appends, then lets the kind judge whether pruning applies.
   void commIs( const ExtComm::PtrConst& comm );
   // dedup(): sorts, then interns in the table for this kind.
   PtrConst dedup( const ExtCommListDedupTable* table );

   U32 hash() const override;
   // placementHash(): placementHashOf() over the members.
   U32 placementHash( const Kel::HashKey& key ) const override;
   // placementHashOf(): where a table keyed with key places the list of
   // these interned members (SipHash-1-3 over their addresses).
   static U32 placementHashOf( const Kel::HashKey& key,
                               std::span<const ExtComm::PtrConst> members ) noexcept;
   bool compare( const Bex::DedupHandle* other ) const override;
   bool compareByContent( const Bex::DedupContentHandle& ) const override { return false; }
   // checkPrunable(): an invalid member makes the list prunable.
   virtual void checkPrunable( const ExtComm::PtrConst& comm );
   // prune(): the members worth keeping, in order.
   virtual std::vector<ExtComm::PtrConst> prune() const;

   Kel::Ptr<ExtCommClassificationListSnapshot> commSnapshot() const;
   Kel::String toStrep() const;

 protected:
   void hasPrunableValuesIs( bool on ) noexcept {
      attrIs( CommVectorAttrs::hasPrunableValues, on );
   }

 private:
   void attrIs( CommVectorAttrs::Flag flag, bool on ) noexcept {
      userDataIs( on ? ( userData() | ( U32( flag ) << 8 ) )
                     : ( userData() & ~( U32( flag ) << 8 ) ) );
   }
   void handleInit( ExtCommClassification classification );

   ListMembers<ExtComm::PtrConst> comm_;
};

// RtExtCommClassificationList: the route targets of a list; while interned
// it carries the notifier through which observers see it.
class RtExtCommClassificationList : public ExtCommClassificationList {
 public:
   using Ptr = Kel::Ptr<RtExtCommClassificationList>;
   using PtrConst = Kel::Ptr<const RtExtCommClassificationList>;

   explicit RtExtCommClassificationList( ExtCommClassification classification );
   ~RtExtCommClassificationList() override;
   static Ptr RtExtCommClassificationListIs( ExtCommClassification classification );

   const Kel::Ptr<RtExtCommListLifeTimeNotifier>& lifeTimeNotifier() const noexcept {
      return lifeTimeNotifier_;
   }
   Kel::Ptr<RtExtCommListLifeTimeNotifier> getLifeTimeNotifier() const;
   void lifeTimeNotifierIs( const Kel::Ptr<RtExtCommListLifeTimeNotifier>& notifier );

 private:
   Kel::Ptr<RtExtCommListLifeTimeNotifier> lifeTimeNotifier_;
};

// LinkBandwidthExtCommClassificationList: link bandwidths; pruning keeps the
// best valid one.
class LinkBandwidthExtCommClassificationList : public ExtCommClassificationList {
 public:
   using Ptr = Kel::Ptr<LinkBandwidthExtCommClassificationList>;
   using PtrConst = Kel::Ptr<const LinkBandwidthExtCommClassificationList>;

   LinkBandwidthExtCommClassificationList();
   static Ptr LinkBandwidthExtCommClassificationListIs();

   const ExtComm::PtrConst& best() const noexcept { return best_; }
   void checkPrunable( const ExtComm::PtrConst& comm ) override;
   std::vector<ExtComm::PtrConst> prune() const override;

 private:
   ExtComm::PtrConst best_;
};

ExtCommClassificationList::Ptr extCommClassificationListFactory( ExtCommClassification c );
RtExtCommClassificationList::Ptr rtExtCommClassificationListFactory( ExtCommClassification c );
LinkBandwidthExtCommClassificationList::Ptr linkBandwidthExtCommClassificationListFactory();

// operator<<(): "<classification> : <member> <member>"; nothing for null.
std::ostream& operator<<( std::ostream& os, const ExtCommClassificationList* list );
std::ostream& operator<<( std::ostream& os, const ExtCommClassificationList& list );
Kel::String valueToStrep( const ExtCommClassificationList::CommVectorAttrs& attrs );

// ExtCommClassificationLists: at most one list per classification, strictly
// ascending; the array is sized to exactly its count.
class ExtCommClassificationLists {
 public:
   using PtrConst = ExtCommClassificationList::PtrConst;
   using Iterator = const PtrConst*;

   ExtCommClassificationLists() noexcept = default;
   ExtCommClassificationLists( const ExtCommClassificationLists& ) = delete;
   ExtCommClassificationLists& operator=( const ExtCommClassificationLists& ) = delete;

   // insert(): at its place by classification; a duplicate is an error.
   void insert( PtrConst classificationList );
   // replace(): the list at iter by one of the same classification.
   void replace( Iterator iter, PtrConst&& classificationList );
   PtrConst lookup( ExtCommClassification classification ) const;
   // lookupRaw(): the same without a new reference.
   ExtCommClassificationList* lookupRaw( ExtCommClassification classification ) const;

   Iterator begin() const noexcept { return lists_.get(); }
   Iterator end() const noexcept { return lists_.get() + count_; }
   Iterator cbegin() const noexcept { return begin(); }
   Iterator cend() const noexcept { return end(); }
   U8 size() const noexcept { return count_; }
   bool empty() const noexcept { return count_ == 0; }

   bool operator==( const ExtCommClassificationLists& rhs ) const;

 private:
   std::unique_ptr<PtrConst[]> lists_;
   U8 count_ = 0;
};

// ExtCommClassificationListSnapshot: an editable copy of one kind's members,
// keyed by content (ListSnapshot.h).
class ExtCommClassificationListSnapshot : public ClassificationSnapshot<ExtComm, U64> {
 public:
   using Ptr = Kel::Ptr<ExtCommClassificationListSnapshot>;
   using PtrConst = Kel::Ptr<const ExtCommClassificationListSnapshot>;
   using ClassificationSnapshot::ClassificationSnapshot;
   static Ptr ExtCommClassificationListSnapshotIs( ExtCommClassification classification );
};
ExtCommClassificationListSnapshot::Ptr extCommClassificationListSnapshotFactory(
      ExtCommClassification classification );

// extCommVectorLookup(): binary search of a sorted member vector by content.
ExtComm::PtrConst extCommVectorLookup( bool sorted, std::span<const ExtComm::PtrConst> comms,
                                       U64 community );
// extCommVectorSort(): sort by content and drop repeated contents (the first
// of a run stays).
void extCommVectorSort( ListMembers<ExtComm::PtrConst>& comms );

} // namespace Routing::Bgp
