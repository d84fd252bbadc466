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

// CommListWire: a standard community as a list value (4 wire octets).
struct CommListWire {
   using Value = U32;
   using Table = CommListDedupTable;
   static constexpr size_t kOctets = 4;
   static constexpr U32 kAttrType = 8; // COMMUNITIES
   static constexpr const char* kAttribute = "COMMUNITIES";
   static constexpr const char* kList = "CommList";
   static constexpr const char* kAssertSource = "OvBgp/OvBgpCommunityList";
   static constexpr const char* kQualifiedName = "Routing::Bgp::CommList";
   static constexpr U32 kStowTag = 0x434F4D4C; // "COML"
   static constexpr U16 kStowVersion = 1;
   // kAllFlags: sorted, no-export, no-advertise, local-as.
   static constexpr U32 kAllFlags = 15;
   static void store( U8* out, U32 value ) noexcept;
   static U32 load( const U8* in ) noexcept;
   static bool sameAsWire( U32 value, const U8* in ) noexcept { return value == load( in ); }
   static U32 hashInto( U32 h, U32 value ) noexcept;
   // format(): the list text's form of a value (named where it has a name).
   static void format( OvFmt::DynamicBufferInterface& buffer, U32 value );
   // flagsOf(): the flag word of a sorted list of these values.
   static U32 flagsOf( std::span<const U32> values ) noexcept;
};

// CommListContent: sorted, duplicate-free values not interned yet, to look
// for the list that holds exactly them.
using CommListContent = ValueListContent<CommListWire>;

// CommList: an interned list of standard communities (ValueList) with the
// no-export, no-advertise and local-as flags in its flag word.
class CommList : public ValueList<CommList, CommListWire> {
 public:
   // Flag: the bits of the packed flag word, as stored.
   enum Flag : U32 {
      flagCommVectorSorted = kSortedFlag,
      flagNoExport = 2,
      flagNoAdvertise = 4,
      flagNoExportSubconfed = 8,
   };

   // CommListIs(): a new, empty, unsorted list.
   static Ptr CommListIs();
   CommList() noexcept = default;

   // noExport(), noAdvertise(), noExportSubconfed(): whether the list holds
   // 0xFFFFFF01, 0xFFFFFF02, 0xFFFFFF03; only on a list that went through
   // dedup() (or was rebuilt from the store).
   bool noExport() const;
   bool noAdvertise() const;
   bool noExportSubconfed() const;

   // wellKnownName(): "internet", "GSHUT", "llgr-stale", "no-llgr",
   // "no-export", "no-advertise" or "local-as"; empty for any other value.
   static Kel::String wellKnownName( U32 value );
   // getStringValue(): the numeric form, never a name.
   static Kel::String getStringValue( U32 value );

   // matchCommunitiesRegex(): whether regex matches the numeric text of the
   // list or, failing that, the text with well-known names.
   bool matchCommunitiesRegex( const Routing::RouteMap::PosixRegex* regex ) const;

 private:
   bool flag( Flag flag ) const;
};

// commListFactory(): the same as CommList::CommListIs().
CommList::Ptr commListFactory();

// operator<<(): the list's text; nothing for a null list.
std::ostream& operator<<( std::ostream& os, const CommList* list );

} // namespace Routing::Bgp
