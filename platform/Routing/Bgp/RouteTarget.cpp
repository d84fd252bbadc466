#include "Routing/Bgp/RouteTarget.h"

#include "Kel/Exception.h"
#include "Onet/IpAddr.h"

#include <charconv>
#include <ostream>

namespace Routing::Bgp {

namespace {

[[noreturn]] void fail( std::string_view text, const char* reason ) {
   throw Kel::RangeException( "RouteTarget '" + Kel::String( text ) + "': " + reason );
}

// A decimal number of at most max making up all of field; what names the
// field in the message.
U64 decimal( std::string_view text, std::string_view field, U64 max, const char* what ) {
   U64 value = 0;
   const char* end = field.data() + field.size();
   auto [ ptr, ec ] = std::from_chars( field.data(), end, value );
   if ( ptr != end || ec == std::errc::invalid_argument ) {
      fail( text, ( Kel::String( "expected a decimal " ) + what ).c_str() );
   }
   if ( ec == std::errc::result_out_of_range || value > max ) {
      fail( text, ( Kel::String( what ) + " exceeds " + std::to_string( max ) ).c_str() );
   }
   return value;
}

constexpr U64 routeTarget( U8 type ) {
   return U64( type ) << 56 | U64( RouteTarget::subtypeRouteTarget ) << 48;
}

} // namespace

RouteTarget RouteTarget::fromStrep( std::string_view text ) {
   if ( text.starts_with( "0x" ) ) {
      std::string_view digits = text.substr( 2 );
      U64 value = 0;
      auto [ ptr, ec ] = std::from_chars( digits.data(), digits.data() + digits.size(), value, 16 );
      if ( digits.size() != 16 || ptr != digits.data() + digits.size() ) {
         fail( text, "expected 0x and 16 hex digits" );
      }
      return RouteTarget( value );
   }
   size_t colon = text.find( ':' );
   if ( colon == std::string_view::npos ) {
      fail( text, "expected ADMIN:local or 0x and 16 hex digits" );
   }
   std::string_view admin = text.substr( 0, colon );
   std::string_view local = text.substr( colon + 1 );
   size_t dots = 0;
   for ( char c : admin ) {
      dots += c == '.';
   }
   if ( dots == 3 ) {
      Onet::IpAddr addr;
      if ( !Onet::IpAddr::tryParse( admin, &addr ) ) {
         fail( text, "expected an IPv4 address before ':'" );
      }
      U64 n = decimal( text, local, 0xFFFF, "local value after an IPv4 address" );
      return RouteTarget( routeTarget( typeIpv4 ) | U64( addr.value() ) << 16 | n );
   }
   if ( dots == 1 ) {
      size_t dot = admin.find( '.' );
      U64 high = decimal( text, admin.substr( 0, dot ), 0xFFFF, "high half of an asdot AS" );
      U64 low = decimal( text, admin.substr( dot + 1 ), 0xFFFF, "low half of an asdot AS" );
      U64 n = decimal( text, local, 0xFFFF, "local value after a 4-octet AS" );
      return RouteTarget( routeTarget( typeFourOctetAs ) | ( high << 16 | low ) << 16 | n );
   }
   if ( dots != 0 ) {
      fail( text, "expected an AS, an asdot AS or an IPv4 address before ':'" );
   }
   if ( admin.ends_with( 'L' ) ) {
      U64 as = decimal( text, admin.substr( 0, admin.size() - 1 ), 0xFFFFFFFF, "4-octet AS" );
      U64 n = decimal( text, local, 0xFFFF, "local value after a 4-octet AS" );
      return RouteTarget( routeTarget( typeFourOctetAs ) | as << 16 | n );
   }
   U64 as = decimal( text, admin, 0xFFFFFFFF, "AS" );
   if ( as <= 0xFFFF ) {
      U64 n = decimal( text, local, 0xFFFFFFFF, "local value after a 2-octet AS" );
      return RouteTarget( routeTarget( typeTwoOctetAs ) | as << 32 | n );
   }
   U64 n = decimal( text, local, 0xFFFF, "local value after a 4-octet AS" );
   return RouteTarget( routeTarget( typeFourOctetAs ) | as << 16 | n );
}

Kel::String RouteTarget::toStrep( bool asDot ) const {
   char buf[ 32 ];
   char* p = buf;
   char* const end = buf + sizeof buf;
   auto number = [ & ]( U64 n ) {
      p = std::to_chars( p, end, n ).ptr;
   };
   if ( subtypeOctet() == subtypeRouteTarget && typeOctet() <= typeFourOctetAs ) {
      switch ( typeOctet() ) {
         case typeTwoOctetAs:
            number( ( value_ >> 32 ) & 0xFFFF );
            *p++ = ':';
            number( value_ & 0xFFFFFFFF );
            break;
         case typeIpv4:
            p += Onet::IpAddr( U32( value_ >> 16 ) ).toChars( p );
            *p++ = ':';
            number( value_ & 0xFFFF );
            break;
         default: {
            U32 as = U32( value_ >> 16 );
            if ( as <= 0xFFFF ) {
               number( as );
               *p++ = 'L';
            } else if ( asDot ) {
               number( as >> 16 );
               *p++ = '.';
               number( as & 0xFFFF );
            } else {
               number( as );
            }
            *p++ = ':';
            number( value_ & 0xFFFF );
         }
      }
      return Kel::String( buf, p );
   }
   static constexpr char hex[] = "0123456789abcdef";
   *p++ = '0';
   *p++ = 'x';
   for ( int shift = 60; shift >= 0; shift -= 4 ) {
      *p++ = hex[ ( value_ >> shift ) & 0xF ];
   }
   return Kel::String( buf, p );
}

std::ostream& operator<<( std::ostream& os, const RouteTarget& rt ) {
   return os << rt.toStrep( false );
}

} // namespace Routing::Bgp
