// OvBgp/BgpOctetSet.h: a compile-time set of octet values, 256 bits in four
// words. The validity tests of the wire enums are one shift and mask on the
// parse path, whatever the number of members.
//
//   inline constexpr BgpOctetSet evenLow{ 0, 2, 4 };
//   static_assert( evenLow.contains( 2 ) && !evenLow.contains( 256 ) );
#pragma once

#include <initializer_list>

#include "Kel/Types.h"

namespace Routing::Bgp {

// BgpOctetSet(): the octets listed; a value above 255 in the list does not
// compile when the set is constexpr.
class BgpOctetSet {
 public:
   constexpr BgpOctetSet( std::initializer_list<U32> octets ) {
      for ( U32 octet : octets ) {
         if ( octet > 0xFF ) {
            throw "BgpOctetSet: not an octet";
         }
         words_[ octet >> 6 ] |= U64( 1 ) << ( octet & 63 );
      }
   }

   // contains(): false for every value above 255.
   constexpr bool contains( U32 value ) const noexcept {
      return value <= 0xFF && ( ( words_[ value >> 6 ] >> ( value & 63 ) ) & 1 );
   }

 private:
   U64 words_[ 4 ] = {};
};

} // namespace Routing::Bgp
