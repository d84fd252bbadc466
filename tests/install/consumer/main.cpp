// A user's program built against the installed headers and libraries: it
// must compile, link and run with nothing from the source tree. It touches
// code compiled into both libraries, so a missing library fails the link.
#include <Kel/Ptr.h>
#include <Kel/Types.h>
#include <OvBgp/OvBgpMiscTypes.h>
#include <Routing/Bgp/OvBgpGlobals.h>

#include <cstdio>

namespace {

class Counted : public Kel::PtrInterface {
 public:
   explicit Counted( U32 value ) : value_( value ) {}
   U32 value() const { return value_; }

 private:
   U32 value_;
};

} // namespace

int main() {
   Kel::Ptr<Counted> first = Kel::makePtr<Counted>( 0xFFFF0001u );
   Kel::Ptr<const Counted> second = first;
   if ( first->refCount() != 2 || second->value() != 0xFFFF0001u ) {
      std::fputs( "counted pointer misbehaves\n", stderr );
      return 1;
   }

   Routing::Bgp::OvBgpGlobals::multiThreadedIs( true );
   if ( !Routing::Bgp::OvBgpGlobals::multiThreaded() ) {
      std::fputs( "multiThreaded() did not stick\n", stderr );
      return 1;
   }

   Routing::Bgp::BgpMaybeU63 absent;
   if ( absent.toStrep() != "-" ) {
      std::fprintf( stderr, "unexpected text '%s'\n", absent.toStrep().c_str() );
      return 1;
   }
   std::puts( "consumer ok" );
   return 0;
}
