// OvBgp/CommList.h: the list of standard 4-octet communities a path carries
// (the COMMUNITIES attribute). A list is built by appending values, finished
// and interned by dedup(table), and from then on shared and immutable: one
// object per content and table, with the no-export, no-advertise and
// local-as flags, its text forms, regex matching and the wire attribute.
//
//   auto list = commListFactory();  list->commIs( 0xFDE80064 );  list->commIs( 0xFFFFFF01 );
//   CommList::PtrConst shared = list->dedup( table.ptr() );  // "65000:100 no-export"
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
#include "Routing/RouteMap/CommListSnapshot.h"

namespace KelStow {
class StoreManager;
}
namespace OvFmt {
class DynamicBufferInterface;
}
namespace Routing::RouteMap {
class PosixRegex;
}

namespace Routing::Bgp {

class CommListDedupTable;

// CommunityFormatter<wellKnownNames>: one community into a text buffer;
// each call returns the characters it wrote. The numeric form is the high
// and the low 16 bits in decimal around a colon (65000:100).
template<bool wellKnownNames>
class CommunityFormatter;

// CommunityFormatter<true>(): names where the value has one.
template<>
class CommunityFormatter<true> {
 public:
   // format(): the well-known name ("no-export"), else the numeric form.
   static size_t format( OvFmt::DynamicBufferInterface& buffer, U32 value );
};

// CommunityFormatter<false>(): always numbers.
template<>
class CommunityFormatter<false> {
 public:
   // formatNotWellKnown(): the numeric form, even for a named value.
   static size_t formatNotWellKnown( OvFmt::DynamicBufferInterface& buffer, U32 value );
   // format(): the same, so that code can be written over either formatter.
   static size_t format( OvFmt::DynamicBufferInterface& buffer, U32 value ) {
      return formatNotWellKnown( buffer, value );
   }
   // kelString(): the numeric form as a string.
   static Kel::String kelString( U32 value );
};

// CommListContent: sorted, duplicate-free values not interned yet, to look
// for the list that holds exactly them.
struct CommListContent : Bex::DedupContentHandle {
   explicit CommListContent( std::span<const U32> sortedValues ) noexcept
         : values( sortedValues ) {}
   // hash(): what CommList::hash() is for a list of these values.
   U32 hash() const noexcept;

   std::span<const U32> values;
};

// CommList: an interned list of standard communities. Its flags (sorted,
// no-export, no-advertise, local-as) are packed in the handle's user-data
// word; the values are held ascending, each once, once the list is sorted.
class CommList : public KelStow::DedupHandle {
   struct Token {
      explicit Token() = default;
   };

 public:
   using Ptr = Kel::Ptr<CommList>;
   using PtrConst = Kel::Ptr<const CommList>;

   // Flag: the bits of the packed flag word, as stored.
   enum Flag : U32 {
      flagCommVectorSorted = 1,
      flagNoExport = 2,
      flagNoAdvertise = 4,
      flagNoExportSubconfed = 8,
   };

   // CommListIs(): a new, empty, unsorted list.
   static Ptr CommListIs();
   explicit CommList( Token ) noexcept {}

   // commIs(): appends value; only while the list is unsorted.
   void commIs( U32 value );
   // comm(): whether value is in the list; only once it is sorted.
   bool comm( U32 value ) const;
   size_t comms() const noexcept { return comm_.size(); }
   bool empty() const noexcept { return comm_.empty(); }
   // commVectorRawPtr(): the values, for the store and for iteration.
   const std::vector<U32>* commVectorRawPtr() const noexcept { return &comm_; }
   // commVectorRawPtrNonConst(): the values of a list not interned yet.
   std::vector<U32>* commVectorRawPtrNonConst() noexcept { return &comm_; }
   // commVectorSorted(): set by dedup(); the values no longer change.
   bool commVectorSorted() const noexcept { return userData() & flagCommVectorSorted; }

   // noExport(), noAdvertise(), noExportSubconfed(): whether the list holds
   // 0xFFFFFF01, 0xFFFFFF02, 0xFFFFFF03; only on a list that went through
   // dedup() (or was rebuilt from the store).
   bool noExport() const;
   bool noAdvertise() const;
   bool noExportSubconfed() const;

   // dedup(): sorts the values, drops duplicates, sets the flags and
   // returns the one list of table with this content (this list, trimmed
   // to its size, when it is the first).
   PtrConst dedup( const CommListDedupTable* table );
   // lookupByContent(): the interned list of table holding exactly
   // content's values, or null; builds nothing.
   static PtrConst lookupByContent( const CommListDedupTable* table,
                                    const CommListContent& content );
   // dedupOctets(): the list dedup() gives for the values of a received
   // COMMUNITIES attribute (octets: its value, 4 octets a community, in any
   // order, repeats allowed). When that list is interned already, finds it
   // without building or allocating anything. A length that is not a
   // multiple of 4 throws Kel::RangeException.
   static PtrConst dedupOctets( const CommListDedupTable* table, const U8* octets, size_t length );

   // The interning identity: the values in order.
   U32 hash() const override;
   // placementHash(): placementHashOf() over the list's values.
   U32 placementHash( const Kel::HashKey& key ) const override;
   // placementHashOf(): where a table keyed with key places the list of
   // these values (sorted, unique, 4 wire octets each): keyed SipHash-1-3 of
   // the octets, so that a received attribute in order hashes where it lies.
   static U32 placementHashOf( const Kel::HashKey& key,
                               std::span<const U8> sortedWireOctets ) noexcept;
   bool compare( const Bex::DedupHandle* other ) const override;
   bool compareByContent( const Bex::DedupContentHandle& content ) const override;

   // wellKnownName(): "internet", "GSHUT", "llgr-stale", "no-llgr",
   // "no-export", "no-advertise" or "local-as"; empty for any other value.
   static Kel::String wellKnownName( U32 value );
   // getStringValue(): the numeric form, never a name.
   static Kel::String getStringValue( U32 value );

   // toStrep(): the values in order, named where they have a name, one
   // space apart; the same text as operator<<.
   Kel::String toStrep() const;
   // matchCommunitiesRegex(): whether regex matches the numeric text of the
   // list or, failing that, the text with well-known names.
   bool matchCommunitiesRegex( const Routing::RouteMap::PosixRegex* regex ) const;
   // serialize(): the COMMUNITIES path attribute, header included.
   std::string serialize() const;
   // commSnapshot(): an editable copy, every value mapped to true.
   Routing::RouteMap::CommListSnapshot::Ptr commSnapshot() const;

   // stow() / destow(): the list's store image (flag word, count, value
   // array) and its rebuild, complete and in no table.
   U64 stow( KelStow::StoreManager* store ) const override;
   static Ptr destow( const void* stored, KelStow::StoreManager* store );

 private:
   void flagsIs( U32 flags ) noexcept { userDataIs( flags ); }
   bool flag( Flag flag ) const;

   std::vector<U32> comm_;
};

// commListFactory(): the same as CommList::CommListIs().
CommList::Ptr commListFactory();

// operator<<(): the list's text; nothing for a null list.
std::ostream& operator<<( std::ostream& os, const CommList* list );

} // namespace Routing::Bgp
