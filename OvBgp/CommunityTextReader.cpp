#include "OvBgp/CommunityTextReader.h"

#include "Kel/Exception.h"

namespace Routing::Bgp {

namespace {

// Shown in place of a character that would not read well in a message.
Kel::String quoted( char c ) {
   if ( c >= 0x21 && c < 0x7F ) {
      return Kel::String( "'" ) + c + "'";
   }
   static constexpr char hex[] = "0123456789abcdef";
   return Kel::String( "octet 0x" ) + hex[ U8( c ) >> 4 ] + hex[ U8( c ) & 0xF ];
}

} // namespace

void CommunityTextReader::skipSpaces() noexcept {
   while ( !atEnd() && isSpace( text_[ pos_ ] ) ) {
      ++pos_;
   }
}

bool CommunityTextReader::take( std::string_view literal ) noexcept {
   if ( text_.substr( pos_ ).starts_with( literal ) ) {
      pos_ += literal.size();
      return true;
   }
   return false;
}

void CommunityTextReader::expect( std::string_view literal ) {
   if ( !take( literal ) ) {
      failExpected( Kel::String( "'" ) + Kel::String( literal ) + "'" );
   }
}

void CommunityTextReader::expectEnd() {
   skipSpaces();
   if ( !atEnd() ) {
      failAt( "unexpected " + quoted( text_[ pos_ ] ), pos_ );
   }
}

std::string_view CommunityTextReader::word() noexcept {
   return span( []( char c ) { return !isSpace( c ); } );
}

U64 CommunityTextReader::number( U64 max ) {
   const std::string_view digits = span( isDigit );
   if ( digits.empty() ) {
      failExpected( "a number" );
   }
   U64 value = 0;
   bool beyond = false;
   for ( char c : digits ) {
      const U64 digit = U64( c - '0' );
      if ( value > ( max - digit ) / 10 ) {
         beyond = true;
         break;
      }
      value = value * 10 + digit;
   }
   if ( beyond ) {
      fail( Kel::String( digits ) + " is beyond " + std::to_string( max ) );
   }
   return value;
}

U32 CommunityTextReader::asNumber( bool* dotted ) {
   const size_t begin = pos_;
   U64 value = number( 0xFFFFFFFF );
   const bool isDotted = peek() == '.';
   if ( isDotted ) {
      if ( value > 0xFFFF ) {
         pos_ = begin;
         fail( Kel::String( span( isDigit ) ) + " is beyond 65535 in an asdot AS number" );
      }
      ++pos_;
      value = value << 16 | number( 0xFFFF );
   }
   if ( dotted ) {
      *dotted = isDotted;
   }
   return U32( value );
}

Onet::IpAddr CommunityTextReader::ipv4Address() {
   const size_t begin = pos_;
   const std::string_view run = span( []( char c ) { return isDigit( c ) || c == '.'; } );
   Onet::IpAddr address;
   if ( run.empty() ) {
      failExpected( "an IPv4 address" );
   }
   if ( !Onet::IpAddr::tryParse( run, &address ) ) {
      failAt( Kel::String( run ) + " is not an IPv4 address", begin );
   }
   return address;
}

Onet::Ip6Addr CommunityTextReader::ip6AddressAndLocal( U64 maxLocal, U64* local ) {
   const size_t begin = pos_;
   const std::string_view run = span( []( char c ) {
      return isDigit( c ) || ( c >= 'a' && c <= 'f' ) || ( c >= 'A' && c <= 'F' ) || c == ':' ||
             c == '.';
   } );
   const size_t colon = run.rfind( ':' );
   if ( run.empty() || colon == std::string_view::npos || colon + 1 == run.size() ) {
      pos_ = begin;
      failExpected( "an IPv6 address, ':' and a number" );
   }
   Onet::Ip6Addr address;
   if ( !Onet::Ip6Addr::tryParse( run.substr( 0, colon ), &address ) ) {
      failAt( Kel::String( run.substr( 0, colon ) ) + " is not an IPv6 address", begin );
   }
   pos_ = begin + colon + 1;
   *local = number( maxLocal );
   if ( pos_ != begin + run.size() ) {
      failAt( Kel::String( run.substr( colon + 1 ) ) + " is not a number", begin + colon + 1 );
   }
   return address;
}

void CommunityTextReader::fail( std::string_view fault ) const {
   Kel::String message( kind_ );
   message += " '";
   message += text_;
   message += "': ";
   message += fault;
   throw Kel::ParseException( attribute_, message );
}

void CommunityTextReader::failAt( std::string_view fault, size_t offset ) const {
   fail( Kel::String( fault ) + " at offset " + std::to_string( offset ) );
}

void CommunityTextReader::failExpected( std::string_view what ) const {
   const Kel::String fault = "expected " + Kel::String( what );
   if ( atEnd() ) {
      fail( fault + " at the end" );
   }
   fail( fault + " at offset " + std::to_string( pos_ ) + ", found " + quoted( text_[ pos_ ] ) );
}

} // namespace Routing::Bgp
