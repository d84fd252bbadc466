// A user's program built against the installed headers and libraries: it
// must compile, link and run with nothing from the source tree. It sets up
// the parser and an interning table as an agent does at start-up, interns a
// route target twice and prints it, so a missing library, header or symbol
// fails here rather than in a user's build.
#include <Kel/Ptr.h>
#include <Kel/Types.h>
#include <OvBgp/OvBgpCommunity.h>
#include <OvBgp/Parse/ExtComm.h>
#include <OvBgp/Parse/ExtCommContainer.h>

#include <cstdio>

int main() {
   using namespace Routing::Bgp;
   auto container = bgpParseExtCommContainerSmFactory();
   auto table = extCommDedupTableFactory( container->extCommParser() );

   const U64 routeTarget = 0x0002fde800000064; // 65000:100
   ExtComm::PtrConst first = ExtComm::dedupContent( table.ptr(), ExtCommContent( routeTarget ) );
   ExtComm::PtrConst second = ExtComm::dedupContent( table.ptr(), ExtCommContent( routeTarget ) );
   if ( !first || first != second ) {
      std::fputs( "the same content was not interned to one object\n", stderr );
      return 1;
   }
   Kel::String text = first->toStrepForUI( false, false, false );
   if ( text.empty() ) {
      std::fputs( "empty text form\n", stderr );
      return 1;
   }
   std::printf( "consumer ok: %s\n", text.c_str() );
   return 0;
}
