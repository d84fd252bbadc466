// Routing/Bgp/OvBgpGlobals.h: process-wide switches of the BGP code. The
// multi-threaded flag tells interning tables created afterwards whether they
// must be safe to use from several threads at once.
//
//   Routing::Bgp::OvBgpGlobals::multiThreadedIs( true );
//   if ( Routing::Bgp::OvBgpGlobals::multiThreaded() ) { ... }
#pragma once

namespace Routing::Bgp {

// OvBgpGlobals(): static accessors only; the state is one atomic flag.
class OvBgpGlobals {
 public:
   OvBgpGlobals() = delete;

   // multiThreaded(): false until someone says otherwise.
   static bool multiThreaded();
   static void multiThreadedIs( bool multiThreaded );
};

} // namespace Routing::Bgp
