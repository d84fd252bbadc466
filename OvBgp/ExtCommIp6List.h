// OvBgp/ExtCommIp6List.h: the interned list of IPv6-address-specific
// extended communities a path carries (the IPv6 extended communities
// attribute). Interning sorts it, splits it by classification into interned
// classification lists, and hashes and compares it through those parts'
// identities. It writes its wire form and its texts; the snapshot is an
// editable copy keyed by content.
//
//   auto list = extCommIp6ListFactory();  list->commIs( ExtCommIp6::dedupContent( values, c ) );
//   ExtCommIp6List::PtrConst shared = list->dedup( listTable );  shared->serialize( false );
#pragma once

#include <iosfwd>
#include <map>
#include <span>
#include <vector>

#include "Kel/Ptr.h"
#include "Kel/String.h"
#include "Kel/Types.h"
#include "KelStow/DedupHandle.h"
#include "OvBgp/ExtCommIp6.h"
#include "OvBgp/ExtCommIp6ClassificationList.h"
#include "OvBgp/OvBgpCommunityPacketTypes.h"

namespace KelStow {
class StoreManager;
}

namespace Routing::Bgp {

class ExtCommIp6ListDedupTable;
class ExtCommIp6ListSnapshot;

// ExtCommIp6List: see the file comment. Built unsorted, finished by dedup(),
// immutable and shared after.
class ExtCommIp6List : public KelStow::DedupHandle, public RoomAllocated {
 public:
   using Ptr = Kel::Ptr<ExtCommIp6List>;
   using PtrConst = Kel::Ptr<const ExtCommIp6List>;
   using Table = ExtCommIp6ListDedupTable;
   using Value = ExtCommIp6::PtrConst;
   // ClassificationLists: slot k holds the list of classification k, or null.
   using ClassificationLists = std::vector<ExtCommIp6ClassificationList::PtrConst>;

   ExtCommIp6List() noexcept = default;
   ~ExtCommIp6List() override;
   // ExtCommIp6ListIs(): a new empty list, notification on.
   static Ptr ExtCommIp6ListIs();
   // withRoomFor(): a new, empty list with room for count members in its
   // own allocation (the factory's list grows them on the heap).
   static Ptr withRoomFor( U32 count );

   // Building (before dedup): members must be interned (asserted); any
   // order, duplicates allowed.
   void expectedCommunityCountIs( U32 count ) { comm_.reserve( count ); }
   void commIs( const ExtCommIp6::PtrConst& comm );
   // append() / appendClassificationList(): every member of the other list;
   // nothing for null.
   void append( const PtrConst& other );
   void appendClassificationList( const ExtCommIp6ClassificationList::PtrConst& list );

   // dedup(): sorts, drops repeated contents, interns the classification
   // lists and returns the one interned equal list of the table.
   PtrConst dedup( const ExtCommIp6ListDedupTable* table );
   // dedupOctets(): the list dedup() gives for the values of a received
   // IPv6-address-specific extended communities attribute (20 octets a
   // community, any order, repeats allowed), its values interned through
   // values. An interned list is found without parsing, interning or
   // allocating anything; on a miss the values go through
   // ExtCommIp6::dedupContent(). A length that is not a multiple of 20
   // throws Kel::RangeException.
   static PtrConst dedupOctets( const ExtCommIp6ListDedupTable* table,
                                const ExtCommIp6DedupTable* values, const U8* octets,
                                size_t length );

   // Reading.
   // comm() / lookupExtComm(): the member with that content, or null; the
   // list must be sorted.
   ExtCommIp6::PtrConst comm( const ExtCommIp6Content& content ) const;
   ExtCommIp6::PtrConst lookupExtComm( const ExtCommIp6Content& content ) const {
      return comm( content );
   }
   size_t comms() const noexcept { return comm_.size(); }
   bool empty() const noexcept { return comm_.empty(); }
   const ListMembers<ExtCommIp6::PtrConst>& commVector() const noexcept { return comm_; }
   const ListMembers<ExtCommIp6::PtrConst>* commVectorRawPtr() const noexcept { return &comm_; }
   bool commVectorSorted() const noexcept { return commVectorSorted_; }
   // totalCommunities(): the member count of a sorted list.
   U32 totalCommunities() const;
   // totalTransitiveCommunities(): members with the 0x40 type bit clear,
   // counted by dedup().
   U32 totalTransitiveCommunities() const noexcept { return totalTransitiveCommunities_; }
   // classificationList(): the interned list of that classification, null
   // when absent; only on an interned (or rebuilt) list.
   ExtCommIp6ClassificationList::PtrConst classificationList( ExtCommClassification c ) const;
   const ClassificationLists& classificationLists() const noexcept { return classificationList_; }

   // The interning identity: the classification-list objects, slot by slot.
   U32 hash() const override;
   // placementHash(): keyed SipHash-1-3 of the members' wire octets, so
   // that a received attribute in order hashes where it lies.
   U32 placementHash( const Kel::HashKey& key ) const override;
   bool compare( const Bex::DedupHandle* other ) const override;
   bool compareByContent( const Bex::DedupContentHandle& ) const override { return false; }

   // commSnapshot(): a new snapshot with every classification list and
   // every member.
   Kel::Ptr<ExtCommIp6ListSnapshot> commSnapshot() const;

   // serialize(): the IPv6 extended communities attribute (type 25,
   // optional transitive, 20 octets a member) with every member or only the
   // transitive ones; "" when that leaves none. More members than one
   // attribute holds (3,276) throw Kel::RangeException.
   Kel::String serialize( bool sendNonTransExtComms ) const;

   // toStrep(): "[ <member> <member> ]" in the members' debugging form.
   Kel::String toStrep() const;
   // commsStringForm(): every member's address:localAdmin policy form, each
   // followed by one space.
   Kel::String commsStringForm() const;

   // stow() / destow(): the list's store image (sorted flag and members)
   // and its rebuild. A sorted image comes back complete (classification
   // lists, transitive count) in no table; an unsorted one comes back as a
   // list still to be interned.
   U64 stow( KelStow::StoreManager* store ) const override;
   static Ptr destow( const void* stored, KelStow::StoreManager* store );

 private:
   // buildClassificationLists(): splits the sorted members by
   // classification and counts the transitive ones; forTable when the
   // sublists are to be interned next.
   void buildClassificationLists( bool forTable );

   ListMembers<ExtCommIp6::PtrConst> comm_;
   bool commVectorSorted_ = false;
   ClassificationLists classificationList_;
   U32 totalTransitiveCommunities_ = 0;
};

// extCommIp6ListFactory(): the same as ExtCommIp6List::ExtCommIp6ListIs().
ExtCommIp6List::Ptr extCommIp6ListFactory();

// operator<<(): the toStrep() text; "NULL" for a null list.
std::ostream& operator<<( std::ostream& os, const ExtCommIp6List* list );
std::ostream& operator<<( std::ostream& os, const ExtCommIp6List& list );

// ExtCommIp6ListSnapshot: an editable copy of a list: its classification
// lists by classification and its members by content (ListSnapshot.h).
class ExtCommIp6ListSnapshot
      : public ListSnapshot<ExtCommIp6, ExtCommIp6Content, ExtCommIp6ClassificationList> {
 public:
   using Ptr = Kel::Ptr<ExtCommIp6ListSnapshot>;
   using PtrConst = Kel::Ptr<const ExtCommIp6ListSnapshot>;
   // ExtCommIp6ListSnapshotIs(): a new empty snapshot.
   static Ptr ExtCommIp6ListSnapshotIs();
};

// extCommIp6ListSnapshotFactory(): the same as ExtCommIp6ListSnapshotIs().
ExtCommIp6ListSnapshot::Ptr extCommIp6ListSnapshotFactory();

} // namespace Routing::Bgp
