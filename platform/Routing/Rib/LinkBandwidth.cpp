#include "Routing/Rib/LinkBandwidth.h"

#include <cmath>
#include <cstdio>
#include <cstring>

namespace Routing::Rib {

bool LinkBandwidth::isValid() const {
   float v = value();
   return std::isfinite( v ) && !( v < 0.0f );
}

Kel::String LinkBandwidth::toStrep( bool weighted ) const {
   if ( !isValid() ) {
      return "invalid";
   }
   // Adding +0.0 turns -0.0 into +0.0, so it never prints as "-0".
   double bytes = double( value() ) + 0.0;
   if ( weighted ) {
      double rounded = std::round( bytes );
      // 2^64 is exact as a double; anything at or above it saturates.
      if ( rounded >= 18446744073709551616.0 ) {
         return "18446744073709551615";
      }
      return std::to_string( U64( rounded ) );
   }
   static constexpr const char* units[] = { "bps", "Kbps", "Mbps", "Gbps", "Tbps" };
   double bits = bytes * 8;
   int unit = 4;
   double scaled = bits / 1e12;
   // Pick by the value as it will print, so 999.9996 bps is "1 Kbps", not
   // "1000 bps".
   while ( unit > 0 && std::round( scaled * 1000 ) < 1000 ) {
      --unit;
      scaled = bits / std::pow( 1000.0, unit );
   }
   char buf[ 64 ]; // FLT_MAX * 8 in Tbps has 28 integer digits
   int n = std::snprintf( buf, sizeof buf, "%.3f", scaled );
   while ( buf[ n - 1 ] == '0' ) {
      --n;
   }
   if ( buf[ n - 1 ] == '.' ) {
      --n;
   }
   std::snprintf( buf + n, sizeof buf - size_t( n ), " %s", units[ unit ] );
   return buf;
}

} // namespace Routing::Rib
