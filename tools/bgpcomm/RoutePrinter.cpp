#include "tools/bgpcomm/RoutePrinter.h"

#include "tools/bgpcomm/ListJson.h"
#include "tools/bgpcomm/NlriText.h"

namespace Bgpcomm {

using namespace Routing::Bgp;

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

void RoutePrinter::print( const MrtRoute& route, const InternedRoute& lists ) {
   if ( format_ == Format::json ) {
      printJson( route, lists );
   } else {
      printLine( route, lists );
   }
   out_.flushIfFull();
}

void RoutePrinter::printLine( const MrtRoute& route, const InternedRoute& lists ) {
   std::string& out = out_.text();
   out += route.prefix;
   if ( route.hasPathId ) {
      out += " path ";
      appendDecimal( out, route.pathId );
   }
   out += '\t';
   out += route.peer;
   auto column = [ & ]( const auto& list ) {
      out += '\t';
      if ( list ) {
         text_.append( out, *list );
      } else {
         out += '-';
      }
   };
   column( lists.communities );
   column( lists.extCommunities );
   column( lists.largeCommunities );
   column( lists.ipv6ExtCommunities );
   out += '\n';
}

void RoutePrinter::printJson( const MrtRoute& route, const InternedRoute& lists ) {
   std::string& out = out_.text();
   out += "{\"prefix\": ";
   appendJsonString( out, route.prefix );
   if ( route.hasPathId ) {
      out += ", \"pathId\": ";
      appendDecimal( out, route.pathId );
   }
   out += ", \"peer\": ";
   appendJsonString( out, route.peer );
   out += ", \"peerAs\": ";
   appendDecimal( out, route.peerAs );
   // The list texts are plain: names, digits, colons, dots and dashes; the
   // escaping is there for whatever a future form brings.
   std::string& scratch = scratch_;
   auto listText = [ & ]( const auto& list ) {
      scratch.clear();
      text_.append( scratch, list );
      appendJsonString( out, scratch );
   };
   auto open = [ & ]( CommunityKind kind ) {
      out += ", \"";
      out += communityKindInfo( kind ).jsonKey;
      out += "\": {\"values\": ";
   };
   if ( lists.communities ) {
      open( CommunityKind::standard );
      appendJsonValues( out, *lists.communities );
      out += ", \"text\": ";
      listText( *lists.communities );
      out += '}';
   }
   if ( lists.extCommunities ) {
      open( CommunityKind::extended );
      appendJsonValues( out, *lists.extCommunities );
      out += ", \"text\": [";
      bool first = true;
      for ( const ExtComm::PtrConst& c : lists.extCommunities->commVector() ) {
         if ( !first )
            out += ", ";
         first = false;
         scratch.clear();
         text_.appendUi( scratch, *c );
         appendJsonString( out, scratch );
      }
      out += "]}";
   }
   if ( lists.largeCommunities ) {
      open( CommunityKind::large );
      appendJsonValues( out, *lists.largeCommunities );
      out += ", \"text\": ";
      listText( *lists.largeCommunities );
      out += '}';
   }
   if ( lists.ipv6ExtCommunities ) {
      open( CommunityKind::ip6Extended );
      appendJsonValues( out, *lists.ipv6ExtCommunities );
      out += ", \"text\": ";
      listText( *lists.ipv6ExtCommunities );
      out += '}';
   }
   out += "}\n";
}

} // namespace Bgpcomm
