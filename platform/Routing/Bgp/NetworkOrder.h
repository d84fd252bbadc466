// Routing/Bgp/NetworkOrder.h: integers stored at and loaded from raw octets
// in network (big-endian) order, the one place that knows the wire's byte
// order: Serialize appends through it, and code that fills or reads octets in
// place (attribute values, MRT records, text forms of wire values) calls it.
//
//   U8 wire[ 8 ]; storeU64hton( wire, content );
//   U64 back = loadU64ntoh( wire );
#pragma once

#include "Kel/Types.h"

#include <bit>
#include <concepts>
#include <cstring>

namespace Routing::Bgp {

// networkOrder(): v with its octets in wire order (swapped on little-endian
// hosts); its own inverse.
template<std::unsigned_integral T>
constexpr T networkOrder( T v ) noexcept {
   if constexpr ( sizeof( T ) == 1 || std::endian::native == std::endian::big ) {
      return v;
   } else if constexpr ( sizeof( T ) == 2 ) {
      return __builtin_bswap16( v );
   } else if constexpr ( sizeof( T ) == 4 ) {
      return __builtin_bswap32( v );
   } else {
      static_assert( sizeof( T ) == 8 );
      return __builtin_bswap64( v );
   }
}

// storeHton() / loadNtoh(): one value at out / in, which need no alignment.
template<std::unsigned_integral T>
inline void storeHton( U8* out, T v ) noexcept {
   v = networkOrder( v );
   std::memcpy( out, &v, sizeof v );
}
template<std::unsigned_integral T>
inline T loadNtoh( const U8* in ) noexcept {
   T v;
   std::memcpy( &v, in, sizeof v );
   return networkOrder( v );
}

// storeU16hton() .. loadU64ntoh(): the same with the width in the name, so
// that an argument of another width converts instead of picking another
// template, and the functions can be passed where a writer is wanted.
inline void storeU16hton( U8* out, U16 v ) noexcept { storeHton( out, v ); }
inline void storeU32hton( U8* out, U32 v ) noexcept { storeHton( out, v ); }
inline void storeU64hton( U8* out, U64 v ) noexcept { storeHton( out, v ); }
inline U16 loadU16ntoh( const U8* in ) noexcept { return loadNtoh<U16>( in ); }
inline U32 loadU32ntoh( const U8* in ) noexcept { return loadNtoh<U32>( in ); }
inline U64 loadU64ntoh( const U8* in ) noexcept { return loadNtoh<U64>( in ); }

} // namespace Routing::Bgp
