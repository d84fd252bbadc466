#include "Onet/IpAddr.h"

#include "Kel/Exception.h"

#include <array>
#include <cstring>
#include <ostream>

namespace Onet {

namespace {

// The decimal text of each octet value, packed as the length then up to
// three digits, so printing an octet is one table load and a 4-byte copy.
struct OctetText {
   char length;
   char digits[ 3 ];
};

constexpr std::array<OctetText, 256> makeOctetTable() {
   std::array<OctetText, 256> table{};
   for ( unsigned v = 0; v < 256; ++v ) {
      OctetText& t = table[ v ];
      if ( v >= 100 ) {
         t = { 3, { char( '0' + v / 100 ), char( '0' + v / 10 % 10 ), char( '0' + v % 10 ) } };
      } else if ( v >= 10 ) {
         t = { 2, { char( '0' + v / 10 ), char( '0' + v % 10 ), 0 } };
      } else {
         t = { 1, { char( '0' + v ), 0, 0 } };
      }
   }
   return table;
}

constexpr std::array<OctetText, 256> octetTable = makeOctetTable();

// Returns nullptr on success, else a description of what was expected; *at is
// the offset of the failure.
const char* parseDotted( std::string_view text, U32* value, size_t* at ) noexcept {
   const char* p = text.data();
   const char* end = p + text.size();
   U32 result = 0;
   for ( int octet = 0; octet < 4; ++octet ) {
      if ( octet > 0 ) {
         if ( p == end || *p != '.' ) {
            *at = size_t( p - text.data() );
            return "expected '.'";
         }
         ++p;
      }
      const char* start = p;
      unsigned v = 0;
      while ( p != end && *p >= '0' && *p <= '9' && p - start < 3 ) {
         v = v * 10 + unsigned( *p - '0' );
         ++p;
      }
      if ( p == start ) {
         *at = size_t( p - text.data() );
         return "expected a decimal octet";
      }
      if ( p != end && *p >= '0' && *p <= '9' ) {
         *at = size_t( start - text.data() );
         return "expected at most three digits in an octet";
      }
      if ( p - start > 1 && *start == '0' ) {
         *at = size_t( start - text.data() );
         return "expected no leading zero in an octet";
      }
      if ( v > 255 ) {
         *at = size_t( start - text.data() );
         return "expected an octet of at most 255";
      }
      result = result << 8 | v;
   }
   if ( p != end ) {
      *at = size_t( p - text.data() );
      return "expected the end after four octets";
   }
   *value = result;
   return nullptr;
}

} // namespace

IpAddr IpAddr::parse( std::string_view text ) {
   U32 value = 0;
   size_t at = 0;
   if ( const char* expected = parseDotted( text, &value, &at ) ) {
      throw Kel::ParseException( "address", "invalid IPv4 address '" + Kel::String( text ) + "': " +
                                                  expected + " at offset " + std::to_string( at ) );
   }
   return IpAddr( value );
}

bool IpAddr::tryParse( std::string_view text, IpAddr* out ) noexcept {
   U32 value = 0;
   size_t at = 0;
   if ( parseDotted( text, &value, &at ) ) {
      return false;
   }
   *out = IpAddr( value );
   return true;
}

size_t IpAddr::toChars( char* out ) const noexcept {
   // Each copy may write up to two digits past the octet's text; the next
   // octet or dot overwrites them, and the last copy ends at maxTextLength.
   char* p = out;
   for ( int shift = 24; shift > 0; shift -= 8 ) {
      const OctetText& t = octetTable[ ( value_ >> shift ) & 0xFF ];
      std::memcpy( p, t.digits, 3 );
      p += t.length;
      *p++ = '.';
   }
   const OctetText& t = octetTable[ value_ & 0xFF ];
   std::memcpy( p, t.digits, 3 );
   return size_t( p + t.length - out );
}

Kel::String IpAddr::toString() const {
   char buf[ maxTextLength + 1 ];
   return Kel::String( buf, toChars( buf ) );
}

std::ostream& operator<<( std::ostream& os, IpAddr addr ) {
   char buf[ IpAddr::maxTextLength + 1 ];
   return os.write( buf, std::streamsize( addr.toChars( buf ) ) );
}

} // namespace Onet
