#include "tools/bgpcomm/HexText.h"

namespace Bgpcomm {

namespace {

int digitValue( char c ) {
   if ( c >= '0' && c <= '9' )
      return c - '0';
   if ( c >= 'a' && c <= 'f' )
      return c - 'a' + 10;
   if ( c >= 'A' && c <= 'F' )
      return c - 'A' + 10;
   return -1;
}

bool isSeparator( char c ) {
   return c == ':' || c == '-' || c == '.' || c == '_' || c == ' ' || c == '\t';
}

} // namespace

std::vector<U8> parseHex( std::string_view text ) {
   size_t start = 0;
   if ( text.size() >= 2 && text[ 0 ] == '0' && ( text[ 1 ] == 'x' || text[ 1 ] == 'X' ) ) {
      start = 2;
   }
   std::vector<U8> octets;
   octets.reserve( text.size() / 2 );
   int high = -1;
   size_t digits = 0;
   for ( size_t i = start; i < text.size(); ++i ) {
      char c = text[ i ];
      int v = digitValue( c );
      if ( v < 0 ) {
         if ( isSeparator( c ) && high < 0 )
            continue;
         std::string what = isSeparator( c ) ? "separator inside an octet" : "bad hex digit '";
         if ( !isSeparator( c ) ) {
            what += c;
            what += "'";
         }
         throw HexError( what + " at position " + std::to_string( i + 1 ) );
      }
      ++digits;
      if ( high < 0 ) {
         high = v;
      } else {
         octets.push_back( U8( high << 4 | v ) );
         high = -1;
      }
   }
   if ( digits == 0 )
      throw HexError( "no hex digits" );
   if ( high >= 0 ) {
      throw HexError( "odd number of hex digits (" + std::to_string( digits ) + ")" );
   }
   return octets;
}

void appendHex( std::string& out, std::span<const U8> octets ) {
   static constexpr char digits[] = "0123456789abcdef";
   size_t at = out.size();
   out.resize( at + 2 * octets.size() );
   for ( U8 o : octets ) {
      out[ at++ ] = digits[ o >> 4 ];
      out[ at++ ] = digits[ o & 15 ];
   }
}

} // namespace Bgpcomm
