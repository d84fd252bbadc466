// OvBgp/LargeCommList.h: the list of 12-octet large communities a path
// carries (the LARGE_COMMUNITY attribute). Built, interned and shared like
// the standard list, without names or flags; its global administrator can
// be shown in asdot notation.
//
//   auto list = largeCommListFactory();  list->commIs( Acl::CommunityValue( 64512, 1, 2 ) );
//   LargeCommList::PtrConst shared = list->dedup( table.ptr() );  // "64512:1:2"
#pragma once

#include <cstddef>
#include <iosfwd>
#include <span>
#include <string>
#include <vector>

#include "Acl/CommunityValue.h"
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

class LargeCommListDedupTable;

// LargeCommunityFormatter: one large community into a text buffer:
// global:local1:local2 in decimal; with asdot, a global administrator of
// 65536 or more as high.low (64086.59904:1:2).
class LargeCommunityFormatter {
 public:
   // format(): returns the characters written.
   static size_t format( OvFmt::DynamicBufferInterface& buffer, const Acl::CommunityValue& value,
                         bool asdot );
   // kelString(): the same text as a string.
   static Kel::String kelString( const Acl::CommunityValue& value, bool asdot );
};

// LargeCommListContent: sorted, duplicate-free values not interned yet, to
// look for the list that holds exactly them.
struct LargeCommListContent : Bex::DedupContentHandle {
   explicit LargeCommListContent( std::span<const Acl::CommunityValue> sortedValues ) noexcept
         : values( sortedValues ) {}
   // hash(): what LargeCommList::hash() is for a list of these values.
   U32 hash() const noexcept;

   std::span<const Acl::CommunityValue> values;
};

// LargeCommList: an interned list of large communities, ascending and each
// once after dedup(); the sorted flag is the handle's user-data word.
class LargeCommList : public KelStow::DedupHandle {
   struct Token {
      explicit Token() = default;
   };

 public:
   using Ptr = Kel::Ptr<LargeCommList>;
   using PtrConst = Kel::Ptr<const LargeCommList>;

   // Flag: the bits of the stored flag word.
   enum Flag : U32 { flagCommVectorSorted = 1 };

   // LargeCommListIs(): a new, empty, unsorted list.
   static Ptr LargeCommListIs();
   explicit LargeCommList( Token ) noexcept {}

   // commIs(): appends value; only while the list is unsorted.
   void commIs( const Acl::CommunityValue& value );
   // comm(): whether value is in the list; only once it is sorted.
   bool comm( const Acl::CommunityValue& value ) const;
   size_t comms() const noexcept { return comm_.size(); }
   bool empty() const noexcept { return comm_.empty(); }
   // commVectorRawPtr(): the values, for the store and for iteration.
   const std::vector<Acl::CommunityValue>* commVectorRawPtr() const noexcept { return &comm_; }
   // commVectorRawPtrNonConst(): the values of a list not interned yet.
   std::vector<Acl::CommunityValue>* commVectorRawPtrNonConst() noexcept { return &comm_; }
   // commVectorSorted(): set by dedup(); the values no longer change.
   bool commVectorSorted() const noexcept { return userData() & flagCommVectorSorted; }

   // dedup(): sorts the values, drops duplicates and returns the one list
   // of table with this content (this list, trimmed, when it is the first).
   PtrConst dedup( const LargeCommListDedupTable* table );
   // lookupByContent(): the interned list of table holding exactly
   // content's values, or null; builds nothing.
   static PtrConst lookupByContent( const LargeCommListDedupTable* table,
                                    const LargeCommListContent& content );
   // dedupOctets(): the list dedup() gives for the values of a received
   // LARGE_COMMUNITY attribute (12 octets a community, any order, repeats
   // allowed); an interned one is found without building or allocating
   // anything. A length that is not a multiple of 12 throws
   // Kel::RangeException.
   static PtrConst dedupOctets( const LargeCommListDedupTable* table, const U8* octets,
                                size_t length );

   // The interning identity: the values in order.
   U32 hash() const override;
   // placementHash(): placementHashOf() over the list's values.
   U32 placementHash( const Kel::HashKey& key ) const override;
   // placementHashOf(): where a table keyed with key places the list of
   // these values (sorted, unique, 12 wire octets each): keyed SipHash-1-3
   // of the octets.
   static U32 placementHashOf( const Kel::HashKey& key,
                               std::span<const U8> sortedWireOctets ) noexcept;
   bool compare( const Bex::DedupHandle* other ) const override;
   bool compareByContent( const Bex::DedupContentHandle& content ) const override;

   // displayString(): one value, asdot as asked; getStringValue(): the
   // same without asdot.
   static Kel::String displayString( const Acl::CommunityValue& value, bool asdot );
   static Kel::String getStringValue( const Acl::CommunityValue& value );

   // toStrep(): the values in order without asdot, one space apart; the
   // same text as operator<<.
   Kel::String toStrep() const;
   // matchCommunitiesRegex(): whether regex matches that text.
   bool matchCommunitiesRegex( const Routing::RouteMap::PosixRegex* regex ) const;
   // serialize(): the LARGE_COMMUNITY path attribute, header included.
   std::string serialize() const;
   // commSnapshot(): an editable copy, every value mapped to true.
   Routing::RouteMap::CommListSnapshot::Ptr commSnapshot() const;

   // stow() / destow(): the list's store image (flag word, count, value
   // array) and its rebuild, complete and in no table.
   U64 stow( KelStow::StoreManager* store ) const override;
   static Ptr destow( const void* stored, KelStow::StoreManager* store );

 private:
   std::vector<Acl::CommunityValue> comm_;
};

// largeCommListFactory(): the same as LargeCommList::LargeCommListIs().
LargeCommList::Ptr largeCommListFactory();

// operator<<(): the list's text; nothing for a null list.
std::ostream& operator<<( std::ostream& os, const LargeCommList* list );

} // namespace Routing::Bgp
