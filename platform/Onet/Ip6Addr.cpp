#include "Onet/Ip6Addr.h"

#include "Kel/Exception.h"
#include "Onet/IpAddr.h"

#include <ostream>

namespace Onet {

namespace {

int hexValue( char c ) noexcept {
   if ( c >= '0' && c <= '9' ) {
      return c - '0';
   }
   if ( c >= 'a' && c <= 'f' ) {
      return c - 'a' + 10;
   }
   if ( c >= 'A' && c <= 'F' ) {
      return c - 'A' + 10;
   }
   return -1;
}

// Returns nullptr on success, else what was expected; *at is the offset of
// the failure.
const char* parseText( std::string_view text, Ip6Addr::Octets* octets, size_t* at ) noexcept {
   const char* const begin = text.data();
   const char* const end = begin + text.size();
   const char* p = begin;
   U16 groups[ 8 ] = {};
   int count = 0;
   int gap = -1; // the group index "::" stands before
   const char* gapAt = nullptr;
   auto fail = [ & ]( const char* where, const char* expected ) {
      *at = size_t( where - begin );
      return expected;
   };

   if ( p != end && *p == ':' ) {
      if ( p + 1 == end || p[ 1 ] != ':' ) {
         return fail( p, "expected a hex group or '::'" );
      }
      gap = 0;
      gapAt = p;
      p += 2;
   }
   while ( p != end ) {
      const char* start = p;
      unsigned value = 0;
      int digit;
      while ( p != end && p - start < 4 && ( digit = hexValue( *p ) ) >= 0 ) {
         value = value << 4 | unsigned( digit );
         ++p;
      }
      if ( p != end && *p == '.' ) {
         // The last 32 bits as a dotted quad.
         if ( count > 6 ) {
            return fail( start, "expected no embedded IPv4 address after six groups" );
         }
         IpAddr v4;
         if ( !IpAddr::tryParse( std::string_view( start, size_t( end - start ) ), &v4 ) ) {
            return fail( start, "expected an embedded IPv4 address" );
         }
         groups[ count++ ] = U16( v4.value() >> 16 );
         groups[ count++ ] = U16( v4.value() );
         p = end;
         break;
      }
      if ( p == start ) {
         return fail( p, "expected a hex group" );
      }
      if ( p != end && hexValue( *p ) >= 0 ) {
         return fail( start, "expected at most four hex digits in a group" );
      }
      if ( count == 8 ) {
         return fail( start, "expected at most eight groups" );
      }
      groups[ count++ ] = U16( value );
      if ( p == end ) {
         break;
      }
      if ( *p != ':' ) {
         return fail( p, "expected ':'" );
      }
      ++p;
      if ( p != end && *p == ':' ) {
         if ( gap >= 0 ) {
            return fail( p - 1, "expected at most one '::'" );
         }
         gap = count;
         gapAt = p - 1;
         ++p;
      } else if ( p == end ) {
         return fail( p, "expected a hex group after ':'" );
      }
   }
   if ( gap < 0 && count != 8 ) {
      return fail( p, "expected eight groups or '::'" );
   }
   if ( gap >= 0 && count == 8 ) {
      return fail( gapAt, "expected '::' to stand for at least one zero group" );
   }
   // Groups after the gap move to the end; the gap is zeros.
   U16 full[ 8 ] = {};
   if ( gap < 0 ) {
      gap = count;
   }
   for ( int i = 0; i < gap; ++i ) {
      full[ i ] = groups[ i ];
   }
   for ( int i = gap; i < count; ++i ) {
      full[ 8 - count + i ] = groups[ i ];
   }
   for ( int i = 0; i < 8; ++i ) {
      ( *octets )[ 2 * i ] = U8( full[ i ] >> 8 );
      ( *octets )[ 2 * i + 1 ] = U8( full[ i ] );
   }
   return nullptr;
}

char* writeGroup( char* p, unsigned group ) noexcept {
   static constexpr char hex[] = "0123456789abcdef";
   int shift = 12;
   while ( shift > 0 && ( group >> shift ) == 0 ) {
      shift -= 4;
   }
   for ( ; shift >= 0; shift -= 4 ) {
      *p++ = hex[ ( group >> shift ) & 0xF ];
   }
   return p;
}

} // namespace

Ip6Addr Ip6Addr::parse( std::string_view text ) {
   Octets octets;
   size_t at = 0;
   if ( const char* expected = parseText( text, &octets, &at ) ) {
      throw Kel::ParseException( "address", "invalid IPv6 address '" + Kel::String( text ) + "': " +
                                                  expected + " at offset " + std::to_string( at ) );
   }
   return Ip6Addr( octets );
}

bool Ip6Addr::tryParse( std::string_view text, Ip6Addr* out ) noexcept {
   Octets octets;
   size_t at = 0;
   if ( parseText( text, &octets, &at ) ) {
      return false;
   }
   *out = Ip6Addr( octets );
   return true;
}

bool Ip6Addr::isIpv4Mapped() const {
   static constexpr U8 prefix[ 12 ] = { 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF };
   return std::memcmp( octets_.data(), prefix, 12 ) == 0;
}

size_t Ip6Addr::toChars( char* out ) const noexcept {
   char* p = out;
   if ( isIpv4Mapped() ) {
      std::memcpy( p, "::ffff:", 7 );
      p += 7;
      IpAddr v4( octets_[ 12 ], octets_[ 13 ], octets_[ 14 ], octets_[ 15 ] );
      return size_t( p - out ) + v4.toChars( p );
   }
   // The first longest run of at least two zero groups.
   int bestBase = -1;
   int bestLength = 1;
   for ( int i = 0; i < 8; ) {
      if ( group( i ) != 0 ) {
         ++i;
         continue;
      }
      int j = i;
      while ( j < 8 && group( j ) == 0 ) {
         ++j;
      }
      if ( j - i > bestLength ) {
         bestBase = i;
         bestLength = j - i;
      }
      i = j;
   }
   bool colon = false;
   for ( int i = 0; i < 8; ) {
      if ( i == bestBase ) {
         *p++ = ':';
         *p++ = ':';
         i += bestLength;
         colon = false;
         continue;
      }
      if ( colon ) {
         *p++ = ':';
      }
      p = writeGroup( p, group( i ) );
      colon = true;
      ++i;
   }
   return size_t( p - out );
}

Kel::String Ip6Addr::toString() const {
   char buf[ maxTextLength ];
   return Kel::String( buf, toChars( buf ) );
}

std::ostream& operator<<( std::ostream& os, const Ip6Addr& addr ) {
   char buf[ Ip6Addr::maxTextLength ];
   return os.write( buf, std::streamsize( addr.toChars( buf ) ) );
}

} // namespace Onet
