// OvBgp/ValueList.h: what the standard and the large community lists share:
// a list of plain values (not interned objects), built by appending,
// finished and interned by dedup(table), then shared and immutable, with
// its wire attribute, its store image and a lookup of received octets. A
// kind names its value, table and wire form in a Wire struct and keeps
// what is its own (names, flags, matching).
//
//   class CommList : public ValueList<CommList, CommListWire> { ... };
//   CommList::PtrConst shared = list->dedup( table.ptr() );
#pragma once

#include <cstddef>
#include <iosfwd>
#include <span>
#include <string>
#include <vector>

#include "Bex/DedupHandle.h"
#include "Kel/Ptr.h"
#include "Kel/String.h"
#include "Kel/Types.h"
#include "KelStow/DedupHandle.h"
#include "OvBgp/ListMembers.h"
#include "Routing/RouteMap/CommListSnapshot.h"

namespace KelStow {
class StoreManager;
}

namespace Routing::Bgp {

// ValueListContent<Wire>: sorted, duplicate-free values not interned yet, to
// look for the list that holds exactly them.
template<class Wire>
struct ValueListContent : Bex::DedupContentHandle {
   using Value = typename Wire::Value;
   explicit ValueListContent( std::span<const Value> sortedValues ) noexcept
         : values( sortedValues ) {}
   // hash(): what the list's hash() is for a list of these values.
   U32 hash() const noexcept;

   std::span<const Value> values;
};

// ValueList<List, Wire>: see the file comment. The flag word (bit 0:
// sorted, the rest the kind's) is the handle's user-data word; the values
// are held ascending, each once, once the list is sorted. An interned list
// holds its values in its own allocation (ListMembers.h).
template<class List, class Wire>
class ValueList : public KelStow::DedupHandle, public RoomAllocated {
 public:
   using Value = typename Wire::Value;
   using Table = typename Wire::Table;
   using Content = ValueListContent<Wire>;
   using Ptr = Kel::Ptr<List>;
   using PtrConst = Kel::Ptr<const List>;

   static constexpr U32 kSortedFlag = 1;

   // withRoomFor(): a new, empty, unsorted list with room for count values
   // in its own allocation (the factory's list grows them on the heap).
   static Ptr withRoomFor( U32 count );
   // newEmpty(): what the kind's factory hands out: a new, empty, unsorted
   // list, the thread's spare when it has one (OvBgp/ListSpare.h).
   static Ptr newEmpty();

   // commIs(): appends value; only while the list is unsorted.
   void commIs( const Value& value ) {
      if ( commVectorSorted() || comm_.size() == comm_.capacity() ) [[unlikely]] {
         commIsSlow( value );
      } else {
         comm_.push_back( value );
      }
   }
   void expectedCommunityCountIs( U32 count ) { comm_.reserve( count ); }
   // comm(): whether value is in the list; only once it is sorted.
   bool comm( const Value& value ) const;
   size_t comms() const noexcept { return comm_.size(); }
   bool empty() const noexcept { return comm_.empty(); }
   const ListMembers<Value>& commVector() const noexcept { return comm_; }
   // commVectorRawPtr(): the values, for the store and for iteration.
   const ListMembers<Value>* commVectorRawPtr() const noexcept { return &comm_; }
   // commVectorRawPtrNonConst(): the values of a list not interned yet.
   ListMembers<Value>* commVectorRawPtrNonConst() noexcept { return &comm_; }
   // commVectorSorted(): set by dedup(); the values no longer change.
   bool commVectorSorted() const noexcept { return userData() & kSortedFlag; }

   // dedup(): sorts the values, drops duplicates, sets the kind's flags and
   // returns the one list of table with this content (this list, trimmed
   // to its size, when it is the first).
   PtrConst dedup( const Table* table );
   // lookupByContent(): the interned list of table holding exactly
   // content's values, or null; builds nothing.
   static PtrConst lookupByContent( const Table* table, const Content& content );
   // dedupOctets(): the list dedup() gives for the value of a received
   // attribute (Wire::kOctets a value, any order, repeats allowed). An
   // interned list is found without building or allocating anything. A
   // length that is not a whole number of values throws Kel::RangeException.
   static PtrConst dedupOctets( const Table* table, const U8* octets, size_t length );

   // The interning identity: the values in order (one-at-a-time over their
   // wire words, least significant octet first; 0 when empty).
   U32 hash() const override;
   // placementHash(): keyed SipHash-1-3 of the sorted values' wire octets,
   // so that a received attribute in order hashes where it lies.
   U32 placementHash( const Kel::HashKey& key ) const override;
   bool compare( const Bex::DedupHandle* other ) const override;
   bool compareByContent( const Bex::DedupContentHandle& content ) const override;

   // toStrep(): the values in order, one space apart; the same text as
   // operator<<.
   Kel::String toStrep() const;
   // serialize(): the path attribute, header included (an empty list is an
   // attribute of length 0). A list longer than one attribute holds throws
   // Kel::RangeException.
   std::string serialize() const;
   // commSnapshot(): an editable copy, every value mapped to true.
   Routing::RouteMap::CommListSnapshot::Ptr commSnapshot() const;

   // stow() / destow(): the list's store image (flag word, count, value
   // array) and its rebuild, complete and in no table.
   U64 stow( KelStow::StoreManager* store ) const override;
   static Ptr destow( const void* stored, KelStow::StoreManager* store );

   // print(): the toStrep() text to os; nothing for a null list.
   static std::ostream& print( std::ostream& os, const List* list );

 protected:
   ValueList() noexcept = default;
   // onZeroReferences(): a list that never entered a table becomes the
   // thread's spare when it can (a path's list found interned already);
   // any other is freed.
   void onZeroReferences() const noexcept override;

   ListMembers<Value> comm_;

 private:
   // commIsSlow(): commIs() when the list is sorted (an assertion) or full.
   void commIsSlow( const Value& value );
};

} // namespace Routing::Bgp
