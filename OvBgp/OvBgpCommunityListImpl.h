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

} // namespace Routing::Bgp
