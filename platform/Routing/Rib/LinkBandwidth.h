// Routing/Rib/LinkBandwidth.h: the bandwidth carried by a link-bandwidth
// extended community: an IEEE 754 single-precision float, in bytes per
// second, kept as its 32-bit pattern so that any value off the wire
// (negative, infinite, NaN) is held exactly and judged by isValid().
//
//   Routing::Rib::LinkBandwidth bw( 0x4CEE6B28 );   // 125000000 bytes/s
//   Kel::String rate = bw.toStrep( false );         // "1 Gbps"
#pragma once

#include "Kel/String.h"
#include "Kel/Types.h"

#include <bit>

namespace Routing::Rib {

// LinkBandwidth(): a value; equality is by bit pattern.
class LinkBandwidth {
 public:
   constexpr LinkBandwidth() = default;
   constexpr explicit LinkBandwidth( U32 pattern ) : pattern_( pattern ) {}
   // fromBytesPerSecond(): the pattern of a float.
   static constexpr LinkBandwidth fromBytesPerSecond( float bytes ) {
      return LinkBandwidth( std::bit_cast<U32>( bytes ) );
   }

   constexpr U32 pattern() const { return pattern_; }
   constexpr float value() const { return std::bit_cast<float>( pattern_ ); }

   // isValid(): finite and not negative (-0.0 is valid: it is zero).
   bool isValid() const;

   // toStrep(): unweighted, the rate in bits per second in the largest of
   // bps, Kbps, Mbps, Gbps, Tbps (steps of 1000) that keeps it at least 1,
   // with up to three decimals ("1 Gbps", "1.5 Kbps", "0 bps"); weighted,
   // the bytes per second rounded to an integer, saturating at U64's
   // maximum. An invalid value prints "invalid" either way.
   Kel::String toStrep( bool weighted ) const;

   constexpr bool operator==( const LinkBandwidth& ) const = default;

 private:
   U32 pattern_ = 0;
};

} // namespace Routing::Rib
