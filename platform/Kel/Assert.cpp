#include "Kel/Assert.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace Kel {

namespace {

// The source named in the message is the tree-relative path without its
// extension ("OvBgp/OvBgpCommunity"), however the compiler spelled __FILE__.
// Platform files are named from inside platform/ ("Kel/Strep").
const char* lastRoot( const char* file, const char* root ) {
   const char* found = nullptr;
   for ( const char* p = std::strstr( file, root ); p; p = std::strstr( p + 1, root ) ) {
      found = p;
   }
   return found;
}

void writeSource( const char* file ) {
   const char* start = file;
   if ( const char* hit = lastRoot( file, "/OvBgp/" ) ) {
      start = hit + 1;
   } else if ( const char* platform = lastRoot( file, "/platform/" ) ) {
      start = platform + std::strlen( "/platform/" );
   } else if ( const char* tools = lastRoot( file, "/tools/" ) ) {
      start = tools + 1;
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
