#include "tools/bgpcomm/RoutePrinter.h"

#include "tools/bgpcomm/HexText.h"
#include "tools/bgpcomm/NlriText.h"

namespace Bgpcomm {

void appendJsonString( std::string& out, std::string_view text ) {
   static constexpr char digits[] = "0123456789abcdef";
   out += '"';
   for ( char c : text ) {
      if ( c == '"' || c == '\\' ) {
         out += '\\';
         out += c;
      } else if ( U8( c ) < 0x20 ) {
         out += "\\u00";
         out += digits[ U8( c ) >> 4 ];
         out += digits[ c & 15 ];
      } else {
         out += c;
      }
   }
   out += '"';
}

void RoutePrinter::print( const MrtRoute& route ) {
   if ( format_ == Format::json ) {
      printJson( route );
   } else {
      printLine( route );
   }
   out_.flushIfFull();
}

void RoutePrinter::printLine( const MrtRoute& route ) {
   std::string& out = out_.text();
   out += route.prefix;
   out += '\t';
   out += route.peer;
   for ( CommunityKind kind : allCommunityKinds ) {
      out += '\t';
      std::span<const U8> octets = route.community( kind );
      if ( octets.empty() ) {
         out += '-';
      } else {
         appendHex( out, octets );
      }
   }
   out += '\n';
}

void RoutePrinter::printJson( const MrtRoute& route ) {
   std::string& out = out_.text();
   out += "{\"prefix\": ";
   appendJsonString( out, route.prefix );
   out += ", \"peer\": ";
   appendJsonString( out, route.peer );
   out += ", \"peerAs\": ";
   appendDecimal( out, route.peerAs );
   for ( CommunityKind kind : allCommunityKinds ) {
      std::span<const U8> octets = route.community( kind );
      if ( octets.empty() )
         continue;
      out += ", \"";
      out += communityKindInfo( kind ).jsonKey;
      out += "\": {\"values\": ";
      values_.appendJson( out, kind, octets );
      out += '}';
   }
   out += "}\n";
}

} // namespace Bgpcomm
