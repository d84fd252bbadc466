#include "tools/bgpcomm/RoutePrinter.h"

#include "tools/bgpcomm/ListJson.h"
#include "tools/bgpcomm/NlriText.h"

#include <charconv>
#include <cstring>

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

namespace {

// The forms a list's text is kept in.
constexpr U8 formLines = 1;
constexpr U8 formJson = 2;

// openJson(): the start of a list's member, up to its values.
void openJson( std::string& out, CommunityKind kind ) {
   out += ", \"";
   out += communityKindInfo( kind ).jsonKey;
   out += "\": {\"values\": ";
}

// keptText(): the text write( std::string& ) makes of a list in form, made
// once and kept where the interner says, or made anew in scratch when
// nothing keeps it.
template<class Write>
const std::string& keptText( const InternedRoute& lists, CommunityKind kind, U8 form,
                             std::string& scratch, Write&& write ) {
   KeptText* k = lists.texts[ communityKindIndex( kind ) ];
   if ( !k ) {
      scratch.clear();
      write( scratch );
      return scratch;
   }
   if ( k->form != form ) {
      k->text.clear();
      write( k->text );
      k->form = form;
   }
   return k->text;
}

} // namespace

// The list texts are plain: names, digits, colons, dots and dashes; the
// escaping is there for whatever a future form brings.
template<class List>
void RoutePrinter::appendJson( std::string& out, CommunityKind kind, const List& list ) {
   openJson( out, kind );
   appendJsonValues( out, list );
   out += ", \"text\": ";
   scratch_.clear();
   text_.append( scratch_, list );
   appendJsonString( out, scratch_ );
   out += '}';
}

// Extended communities show one UI form per value.
void RoutePrinter::appendJson( std::string& out, CommunityKind kind, const ExtCommList& list ) {
   openJson( out, kind );
   appendJsonValues( out, list );
   out += ", \"text\": [";
   bool first = true;
   for ( const ExtComm::PtrConst& c : list.commVector() ) {
      if ( !first )
         out += ", ";
      first = false;
      scratch_.clear();
      text_.appendUi( scratch_, *c );
      appendJsonString( out, scratch_ );
   }
   out += "]}";
}

void RoutePrinter::printLine( const MrtRoute& route, const InternedRoute& lists ) {
   // The columns' texts are found first and the line is then written in one
   // piece: appending it field by field cost more than copying the fields.
   // An absent list is a null text, shown as "-".
   std::array<const std::string*, communityKindCount> columns;
   size_t length = route.prefix.size() + 1 + route.peer.size() + 1;
   auto column = [ & ]( CommunityKind kind, const auto& list ) {
      const size_t i = communityKindIndex( kind );
      if ( !list ) {
         columns[ i ] = nullptr;
         length += 2;
         return;
      }
      const std::string& made =
            keptText( lists, kind, formLines, unkept_[ i ],
                      [ & ]( std::string& text ) { text_.append( text, *list ); } );
      columns[ i ] = &made;
      length += 1 + made.size();
   };
   column( CommunityKind::standard, lists.communities );
   column( CommunityKind::extended, lists.extCommunities );
   column( CommunityKind::large, lists.largeCommunities );
   column( CommunityKind::ip6Extended, lists.ipv6ExtCommunities );
   char pathId[ 32 ] = " path ";
   size_t pathIdLength = 0;
   if ( route.hasPathId ) {
      pathIdLength = size_t( std::to_chars( pathId + 6, pathId + sizeof pathId, route.pathId ).ptr -
                             pathId );
      length += pathIdLength;
   }

   std::string& out = out_.text();
   const size_t at = out.size();
   out.resize( at + length );
   char* p = out.data() + at;
   auto put = [ & ]( const char* text, size_t size ) {
      std::memcpy( p, text, size );
      p += size;
   };
   put( route.prefix.data(), route.prefix.size() );
   if ( pathIdLength )
      put( pathId, pathIdLength );
   *p++ = '\t';
   put( route.peer.data(), route.peer.size() );
   for ( const std::string* c : columns ) {
      *p++ = '\t';
      if ( c ) {
         put( c->data(), c->size() );
      } else {
         *p++ = '-';
      }
   }
   *p = '\n';
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
   auto member = [ & ]( CommunityKind kind, const auto& list ) {
      if ( list ) {
         out += keptText( lists, kind, formJson, unkept_[ communityKindIndex( kind ) ],
                          [ & ]( std::string& text ) { appendJson( text, kind, *list ); } );
      }
   };
   member( CommunityKind::standard, lists.communities );
   member( CommunityKind::extended, lists.extCommunities );
   member( CommunityKind::large, lists.largeCommunities );
   member( CommunityKind::ip6Extended, lists.ipv6ExtCommunities );
   out += "}\n";
}

} // namespace Bgpcomm
