// OvBgp/OvBgpCommunityListImpl.h: private helpers of the community list
// sources: the trace category, the source their assertions are reported
// under, sorted-vector helpers, joining members into one text, and the
// value arrays of the lists' store images. Private: users never include it.
//
//   KEL_ASSERT_SOURCE_MSG( commVectorSorted(), "commVectorSorted()", commListAssertSource );
//   sortUnique( comm_ );  trimToSize( comm_ );
#pragma once

#include <algorithm>
#include <cstring>
#include <ostream>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "Bex/DedupHandle.h"
#include "Bex/DumpContext.h"
#include "Kel/Assert.h"
#include "Kel/Trace.h"
#include "Kel/Types.h"
#include "KelStow/StoreManager.h"
#include "OvFmt/DynamicBuffer.h"

namespace Routing::Bgp {

// traceBgpCommunityList: the lists' trace category (level 8: store rebuilds).
inline Kel::TraceCategory traceBgpCommunityList( "BgpCommunityList" );

// commListAssertSource: the module the lists' invariants are documented
// under, whichever file checks them.
inline constexpr char commListAssertSource[] = "OvBgp/OvBgpCommunityList";

// OVBGP_LIST_ASSERT(): a list invariant, reported under that module.
#define OVBGP_LIST_ASSERT( cond, text ) \
   KEL_ASSERT_SOURCE_MSG( cond, text, ::Routing::Bgp::commListAssertSource )

// sortUnique(): ascending, each value once.
template<class T>
void sortUnique( std::vector<T>& values ) {
   std::sort( values.begin(), values.end() );
   values.erase( std::unique( values.begin(), values.end() ), values.end() );
}

// trimToSize(): capacity exactly the size, so an interned list wastes
// nothing. The copy is made before the swap: if it fails, values is as it
// was.
template<class T>
void trimToSize( std::vector<T>& values ) {
   if ( values.capacity() != values.size() ) {
      std::vector<T> exact;
      exact.reserve( values.size() );
      exact.assign( values.begin(), values.end() );
      values.swap( exact );
   }
}

// sortedContains(): binary search of a sorted vector.
template<class T>
bool sortedContains( const std::vector<T>& values, const T& value ) {
   auto it = std::lower_bound( values.begin(), values.end(), value );
   return it != values.end() && !( value < *it );
}

// strictlyAscending(): sorted and free of duplicates.
template<class T>
bool strictlyAscending( std::span<const T> values ) {
   return std::adjacent_find( values.begin(), values.end(),
                              []( const T& a, const T& b ) { return !( a < b ); } ) == values.end();
}

// appendJoined(): each value through format( buffer, value ), one space
// between them.
template<class T, class Format>
void appendJoined( OvFmt::DynamicBufferInterface& buffer, std::span<const T> values,
                   Format&& format ) {
   for ( size_t i = 0; i < values.size(); ++i ) {
      if ( i ) {
         buffer.append( ' ' );
      }
      format( buffer, values[ i ] );
   }
}

// writeText(): the buffer's text to os as one formatted item (width and
// fill pad it as they would a string); the stream's flags are the caller's
// and are left as they were.
inline void writeText( std::ostream& os, const OvFmt::DynamicBufferInterface& buffer ) {
   const std::ios_base::fmtflags flags = os.flags();
   os << buffer.view();
   os.flags( flags );
}

// stowArray(): a copy of values in the store; returns its offset, 0 when
// there are none.
template<class T>
U64 stowArray( KelStow::StoreManager* store, std::span<const T> values ) {
   static_assert( std::is_trivially_copyable_v<T> );
   if ( values.empty() ) {
      return 0;
   }
   const U64 offset = store->allocate( values.size_bytes(), alignof( T ) );
   std::memcpy( store->translate( offset, values.size_bytes() ), values.data(),
                values.size_bytes() );
   return offset;
}

// destowArray(): the count values at offset, copied into values. A range
// outside the store is reported against the record that names it.
template<class T>
void destowArray( const KelStow::StoreManager* store, U64 recordOffset, U64 offset, U32 count,
                  std::vector<T>* values ) {
   static_assert( std::is_trivially_copyable_v<T> );
   if ( count == 0 ) {
      values->clear();
      return;
   }
   const size_t bytes = size_t( count ) * sizeof( T );
   const void* stored;
   try {
      stored = store->translate( offset, bytes );
   } catch ( const KelStow::StoreException& e ) {
      throw KelStow::StoreException( "record at offset " + std::to_string( recordOffset ) + ": " +
                                     std::to_string( count ) + " values: " + e.what() );
   }
   if ( offset % alignof( T ) != 0 ) {
      throw KelStow::StoreException( "record at offset " + std::to_string( recordOffset ) +
                                     ": values at misaligned offset " + std::to_string( offset ) );
   }
   // Sized only once the range is known to be inside the store: a damaged
   // count must not turn into a huge allocation.
   values->resize( count );
   std::memcpy( values->data(), stored, bytes );
}

// dumpLine(): text after indent blanks ("%*c"), or bare at indent 0, as
// the list tables print their headings.
inline void dumpLine( const Bex::DumpContext& ctx, U32 indent, const char* text ) {
   if ( indent ) {
      ctx.printf( "%*c%s", int( indent ), ' ', text );
   } else {
      ctx.printf( "%s", text );
   }
}

// StowedList: every list kind's store image: a flag word (bit 0: sorted),
// the count and the offset of its array (values, or the offsets of the
// members' own records).
struct StowedList {
   KelStow::Anchor anchor;
   U32 flags;
   U32 count;
   U64 array;
};
static_assert( sizeof( StowedList ) == 24, "the image is part of the store format" );

// stowList(): the record of a list whose array is stowed already (each
// allocation may move the arena, so the record comes last).
inline U64 stowList( KelStow::StoreManager* store, U32 tag, U16 version, U32 flags, U32 count,
                     U64 array ) {
   const U64 offset = store->stowRecord( tag, version, sizeof( StowedList ) );
   auto* image = static_cast<StowedList*>( store->translate( offset, sizeof( StowedList ) ) );
   image->flags = flags;
   image->count = count;
   image->array = array;
   return offset;
}

// destowList(): the checked record at stored; *at is its offset.
inline const StowedList* destowList( KelStow::StoreManager* store, const void* stored, U32 tag,
                                     U16 version, U64* at ) {
   *at = store->offsetOf( stored );
   return static_cast<const StowedList*>(
         store->checkedRecord( *at, tag, version, sizeof( StowedList ) ) );
}

// stowMembers(): each interned member's own record, then the array of
// their offsets; returns the array's offset (0 with no member).
template<class Members>
U64 stowMembers( KelStow::StoreManager* store, const Members& members ) {
   std::vector<U64> offsets;
   offsets.reserve( members.size() );
   for ( const auto& member : members ) {
      offsets.push_back( member->stow( store ) );
   }
   return stowArray( store, std::span<const U64>( offsets ) );
}

// destowMembers(): the members whose record offsets image holds, each
// rebuilt by rebuild( record ), appended in stored order.
template<class Members, class Rebuild>
void destowMembers( KelStow::StoreManager* store, U64 at, const StowedList& image, Members* members,
                    Rebuild&& rebuild ) {
   std::vector<U64> offsets;
   destowArray( store, at, image.array, image.count, &offsets );
   members->reserve( members->size() + offsets.size() );
   for ( U64 offset : offsets ) {
      members->push_back( rebuild( store->translate( offset ) ) );
   }
}

// nullOrInterned() / nullOrNeverInterned(): the interning-state tests of
// the lists' assertions, on any handle pointer.
inline bool nullOrInterned( const Bex::DedupHandle* p ) noexcept {
   return p == nullptr || p->dedupState() != Bex::dedupHandleStateNeverDeduped();
}
inline bool nullOrNeverInterned( const Bex::DedupHandle* p ) noexcept {
   return p == nullptr || p->dedupState() == Bex::dedupHandleStateNeverDeduped();
}

// assertInternedMember(): what every list asserts of a member it is given,
// reported under source.
inline void assertInternedMember( const Bex::DedupHandle* comm, const char* source ) {
   KEL_ASSERT_SOURCE_MSG( nullptr != comm, "__null != comm", source );
   KEL_ASSERT_SOURCE_MSG( nullOrInterned( comm ),
                          "__null == ( comm ) || ( comm )->dedupState() != "
                          "Bex::dedupHandleStateNeverDeduped()",
                          source );
}

// writeMembers(): "[ ", each member's own text one space apart (NULL for a
// null one), " ]"; the stream's flags are left as they were.
template<class Members>
void writeMembers( std::ostream& os, const Members& members ) {
   const std::ios_base::fmtflags flags = os.flags();
   os << "[ ";
   for ( size_t i = 0; i < members.size(); ++i ) {
      if ( i ) {
         os << ' ';
      }
      os << members[ i ].ptr();
   }
   os << " ]";
   os.flags( flags );
}

} // namespace Routing::Bgp
