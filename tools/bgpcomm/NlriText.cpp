#include "tools/bgpcomm/NlriText.h"

#include "tools/bgpcomm/HexText.h"
#include "tools/bgpcomm/WireRead.h"

#include <arpa/inet.h>

#include <array>
#include <charconv>
#include <cstring>

namespace Bgpcomm {

namespace {

// OctetText: an octet's decimal digits, so that a dotted quad (a prefix and
// a peer on every line) costs four copies instead of four conversions.
struct OctetText {
   char digits[ 4 ]; // three used, a fourth so that a copy is one load
   U8 length;
};

constexpr std::array<OctetText, 256> octetTexts = [] {
   std::array<OctetText, 256> t{};
   for ( unsigned v = 0; v < 256; ++v ) {
      OctetText& o = t[ v ];
      if ( v >= 100 )
         o.digits[ o.length++ ] = char( '0' + v / 100 );
      if ( v >= 10 )
         o.digits[ o.length++ ] = char( '0' + v / 10 % 10 );
      o.digits[ o.length++ ] = char( '0' + v % 10 );
   }
   return t;
}();

// writeIpv4(): the dotted quad of a at p, which has room for 16 octets;
// returns the end of the text.
char* writeIpv4( char* p, const U8* a ) {
   for ( int i = 0; i < 4; ++i ) {
      const OctetText& t = octetTexts[ a[ i ] ];
      std::memcpy( p, t.digits, sizeof t.digits );
      p += t.length;
      *p++ = '.';
   }
   return p - 1;
}

// appendPrefix(): bits significant bits of the octets at p, host bits
// cleared, written whole and appended once (one in every route's line).
void appendPrefix( std::string& out, U16 afi, const U8* p, unsigned bits ) {
   U8 address[ 16 ] = {};
   size_t octets = ( bits + 7 ) / 8;
   std::memcpy( address, p, octets );
   if ( bits % 8 )
      address[ octets - 1 ] &= U8( 0xff << ( 8 - bits % 8 ) );
   char text[ INET6_ADDRSTRLEN + 8 ];
   char* end;
   if ( afi == afiIpv4 ) {
      end = writeIpv4( text, address );
   } else {
      inet_ntop( AF_INET6, address, text, INET6_ADDRSTRLEN );
      end = text + std::strlen( text );
   }
   *end++ = '/';
   const OctetText& length = octetTexts[ bits ]; // at most 128
   std::memcpy( end, length.digits, sizeof length.digits );
   out.append( text, end + length.length );
}

// readVpn(): labels until the bottom-of-stack bit, a route distinguisher and
// a prefix, all counted in the leading bit length.
size_t readVpn( U16 afi, std::span<const U8> data, std::string* text, const char** why ) {
   unsigned bits = data[ 0 ];
   size_t octets = ( bits + 7 ) / 8;
   if ( data.size() - 1 < octets ) {
      *why = "VPN NLRI runs past the end of its field";
      return 0;
   }
   const U8* p = data.data() + 1;
   for ( ;; ) {
      if ( bits < 24 + 64 ) {
         *why = "VPN NLRI too short for a label and a route distinguisher";
         return 0;
      }
      bool bottom = p[ 2 ] & 1;
      p += 3;
      bits -= 24;
      if ( bottom )
         break;
   }
   const U8* rd = p;
   p += 8;
   bits -= 64;
   if ( bits > addressBits( afi ) ) {
      *why = "VPN prefix longer than the address";
      return 0;
   }
   if ( text ) {
      appendRouteDistinguisher( *text, rd );
      *text += ':';
      appendPrefix( *text, afi, p, bits );
   }
   return 1 + octets;
}

// Layout: how one NLRI of a family says its own size.
enum class Layout {
   ipPrefix,     // bit length, then the octets it covers (unicast, multicast)
   vpnPrefix,    // the same, counting labels and a route distinguisher
   bits,         // a bit length of the whole NLRI, shown as hex
   typeLength8,  // type octet, length octet
   length16,     // 2-octet length
   typeLength16, // 2-octet type, 2-octet length
   flowSpec,     // 1-octet length below 240, else 12 bits of two octets
   unknown,
};

Layout layoutOf( U16 afi, U8 safi ) {
   bool ip = afi == afiIpv4 || afi == afiIpv6;
   switch ( safi ) {
      case safiUnicast:
      case safiMulticast:
         return ip ? Layout::ipPrefix : Layout::unknown;
      case safiMplsVpn:
         return ip ? Layout::vpnPrefix : Layout::unknown;
      case 4:   // labeled unicast
      case 73:  // SR policy
      case 132: // route target constraint
         return Layout::bits;
      case 5:  // multicast VPN
      case 70: // EVPN
         return Layout::typeLength8;
      case 65: // VPLS
         return Layout::length16;
      case 71: // BGP-LS
      case 72:
         return Layout::typeLength16;
      case 133: // flow rules (FlowSpec)
      case 134:
         return Layout::flowSpec;
      default:
         return Layout::unknown;
   }
}

// hexLength(): the size of one NLRI of a family shown as hex; 0 (and why)
// when the field is too short for it.
size_t hexLength( Layout layout, std::span<const U8> data, const char** why ) {
   size_t n = data.size();
   size_t total = 0;
   switch ( layout ) {
      case Layout::bits:
         total = 1 + ( size_t( data[ 0 ] ) + 7 ) / 8;
         break;
      case Layout::typeLength8:
         total = n < 2 ? 2 : 2 + data[ 1 ];
         break;
      case Layout::length16:
         total = n < 2 ? 2 : 2 + loadU16( data.data() );
         break;
      case Layout::typeLength16:
         total = n < 4 ? 4 : 4 + loadU16( data.data() + 2 );
         break;
      case Layout::flowSpec:
         if ( data[ 0 ] >= 0xf0 ) {
            total = n < 2 ? 2 : 2 + ( loadU16( data.data() ) & 0x0fff );
         } else {
            total = 1 + data[ 0 ];
         }
         break;
      default:
         *why = "no NLRI layout known for this AFI/SAFI";
         return 0;
   }
   if ( total > n ) {
      *why = "NLRI runs past the end of its field";
      return 0;
   }
   return total;
}

} // namespace

void appendDecimal( std::string& out, U64 value ) {
   char buf[ 20 ];
   auto r = std::to_chars( buf, buf + sizeof buf, value );
   out.append( buf, r.ptr );
}

void appendIpv4( std::string& out, const U8* a ) {
   char buf[ 16 ];
   out.append( buf, writeIpv4( buf, a ) );
}

void appendIpv6( std::string& out, const U8* a ) {
   char buf[ INET6_ADDRSTRLEN ];
   inet_ntop( AF_INET6, a, buf, sizeof buf );
   out += buf;
}

void appendAddress( std::string& out, std::span<const U8> address ) {
   if ( address.size() == 4 ) {
      appendIpv4( out, address.data() );
   } else if ( address.size() == 16 ) {
      appendIpv6( out, address.data() );
   } else {
      appendHex( out, address );
   }
}

void appendRouteDistinguisher( std::string& out, const U8* rd ) {
   switch ( loadU16( rd ) ) {
      case 0:
         appendDecimal( out, loadU16( rd + 2 ) );
         out += ':';
         appendDecimal( out, loadU32( rd + 4 ) );
         return;
      case 1:
         appendIpv4( out, rd + 2 );
         out += ':';
         appendDecimal( out, loadU16( rd + 6 ) );
         return;
      case 2:
         appendDecimal( out, loadU32( rd + 2 ) );
         out += ':';
         appendDecimal( out, loadU16( rd + 6 ) );
         return;
      default:
         out += "rd0x";
         appendHex( out, std::span<const U8>( rd, 8 ) );
         return;
   }
}

bool nlriLayoutKnown( U16 afi, U8 safi ) { return layoutOf( afi, safi ) != Layout::unknown; }

unsigned addressBits( U16 afi ) { return afi == afiIpv4 ? 32 : afi == afiIpv6 ? 128 : 0; }

size_t readNlri( U16 afi, U8 safi, std::span<const U8> data, std::string* text, const char** why ) {
   if ( data.empty() ) {
      *why = "NLRI field is empty";
      return 0;
   }
   Layout layout = layoutOf( afi, safi );
   if ( layout == Layout::ipPrefix ) {
      unsigned bits = data[ 0 ];
      if ( bits > addressBits( afi ) ) {
         *why = "prefix longer than the address";
         return 0;
      }
      size_t octets = ( bits + 7 ) / 8;
      if ( data.size() - 1 < octets ) {
         *why = "prefix runs past the end of its field";
         return 0;
      }
      if ( text )
         appendPrefix( *text, afi, data.data() + 1, bits );
      return 1 + octets;
   }
   if ( layout == Layout::vpnPrefix )
      return readVpn( afi, data, text, why );
   size_t length = hexLength( layout, data, why );
   if ( length && text ) {
      *text += "nlri(";
      appendDecimal( *text, afi );
      *text += '/';
      appendDecimal( *text, safi );
      *text += "):";
      appendHex( *text, data.first( length ) );
   }
   return length;
}

} // namespace Bgpcomm
