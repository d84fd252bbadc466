#include "Kel/Assert.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace Kel {

namespace {

// The source named in the message is the tree-relative path without its
// extension ("OvBgp/OvBgpCommunity"), however the compiler spelled __FILE__.
// Platform files are named from inside platform/ ("Kel/Strep"). The room
// that appears last in the path is the tree's own: the tree itself may sit
// under a directory named like one of its rooms.
struct Room {
   const char* name; // "OvBgp/"
   bool named;       // whether the source keeps the room's name
};
constexpr Room kRooms[] = { { "OvBgp/", true }, { "platform/", false }, { "tools/", true } };

// roomStart(): where the last "/<room>" of file begins (after the slash),
// or file itself when it starts with "<room>"; null when neither.
const char* roomStart( const char* file, const char* room ) {
   const size_t length = std::strlen( room );
   const char* found = std::strncmp( file, room, length ) == 0 ? file : nullptr;
   for ( const char* p = std::strstr( file, room ); p; p = std::strstr( p + 1, room ) ) {
      if ( p > file && p[ -1 ] == '/' ) {
         found = p;
      }
   }
   return found;
}

void writeSource( const char* file ) {
   const char* start = file;
   const char* last = nullptr;
   for ( const Room& room : kRooms ) {
      const char* hit = roomStart( file, room.name );
      if ( hit && ( !last || hit > last ) ) {
         last = hit;
         start = room.named ? hit : hit + std::strlen( room.name );
      }
   }
   const char* dot = std::strrchr( start, '.' );
   const char* slash = std::strrchr( start, '/' );
   size_t len = ( dot && ( !slash || dot > slash ) ) ? size_t( dot - start ) : std::strlen( start );
   std::fwrite( start, 1, len, stderr );
}

} // namespace

void assertFailed( const char* text, const char* file ) noexcept {
   std::fputs( "assertion failed: ", stderr );
   std::fputs( text, stderr );
   std::fputs( " (", stderr );
   writeSource( file );
   std::fputs( ")\n", stderr );
   std::fflush( stderr );
   std::abort();
}

} // namespace Kel
