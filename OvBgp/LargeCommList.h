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
#include "Kel/Ptr.h"
#include "Kel/String.h"
#include "Kel/Types.h"
#include "OvBgp/ValueList.h"

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

// LargeCommListWire: a large community as a list value (12 wire octets:
// the three words in network order).
struct LargeCommListWire {
   using Value = Acl::CommunityValue;
   using Table = LargeCommListDedupTable;
   static constexpr size_t kOctets = 12;
   static constexpr U32 kAttrType = 32; // LARGE_COMMUNITY
   static constexpr const char* kAttribute = "LARGE_COMMUNITY";
   static constexpr const char* kList = "LargeCommList";
   static constexpr const char* kAssertSource = "OvBgp/OvBgpCommunityList";
   static constexpr const char* kQualifiedName = "Routing::Bgp::LargeCommList";
   static constexpr U32 kStowTag = 0x4C434D4C; // "LCML"
   static constexpr U16 kStowVersion = 1;
   static constexpr U32 kAllFlags = 1;
   static void store( U8* out, const Value& value ) noexcept;
   static Value load( const U8* in ) noexcept;
   static bool sameAsWire( const Value& value, const U8* in ) noexcept {
      return value == load( in );
   }
   static U32 hashInto( U32 h, const Value& value ) noexcept;
   // format(): the list text's form of a value (asdot off).
   static void format( OvFmt::DynamicBufferInterface& buffer, const Value& value );
   static U32 flagsOf( std::span<const Value> ) noexcept { return 1; }
};

// LargeCommListContent: sorted, duplicate-free values not interned yet, to
// look for the list that holds exactly them.
using LargeCommListContent = ValueListContent<LargeCommListWire>;

// LargeCommList: an interned list of large communities (ValueList); its
// flag word is only the sorted flag.
class LargeCommList : public ValueList<LargeCommList, LargeCommListWire> {
 public:
   // Flag: the bits of the stored flag word.
   enum Flag : U32 { flagCommVectorSorted = kSortedFlag };

   // LargeCommListIs(): a new, empty, unsorted list.
   static Ptr LargeCommListIs();
   LargeCommList() noexcept = default;

   // displayString(): one value, asdot as asked; getStringValue(): the
   // same without asdot.
   static Kel::String displayString( const Acl::CommunityValue& value, bool asdot );
   static Kel::String getStringValue( const Acl::CommunityValue& value );

   // matchCommunitiesRegex(): whether regex matches the toStrep() text.
   bool matchCommunitiesRegex( const Routing::RouteMap::PosixRegex* regex ) const;
};

// largeCommListFactory(): the same as LargeCommList::LargeCommListIs().
LargeCommList::Ptr largeCommListFactory();

// operator<<(): the list's text; nothing for a null list.
std::ostream& operator<<( std::ostream& os, const LargeCommList* list );

} // namespace Routing::Bgp
