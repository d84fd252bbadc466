// A user's program built against the installed headers and libraries: it
// must compile, link and run with nothing from the source tree.
#include <Kel/Exception.h>
#include <Kel/Types.h>
#include <Routing/Bgp/OvBgpGlobals.h>

#include <cstdio>

int main() {
   U32 value = 0xFFFF0001u;
   Routing::Bgp::OvBgpGlobals::multiThreadedIs( true );
   if ( !Routing::Bgp::OvBgpGlobals::multiThreaded() ) {
      std::fputs( "multiThreaded() did not stick\n", stderr );
      return 1;
   }
   try {
      throw Kel::RangeException( "consumer" );
   } catch ( const std::out_of_range& e ) {
      std::printf( "consumer ok: %s %u\n", e.what(), unsigned( value ) );
   }
   return 0;
}
