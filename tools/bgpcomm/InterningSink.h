// InterningSink.h: the route sink between the MRT reader and whatever shows
// the routes: it interns each route's community attributes through the
// library's tables and hands the route on with its lists; problems pass
// through unchanged.
//
//   InterningSink sink( tables, printer );  // printer: an InternedRouteSink
//   MrtReader( sink ).readFile( "rib.mrt" );
#pragma once

#include "tools/bgpcomm/RouteInterner.h"

namespace Bgpcomm {

// InterningSink
class InterningSink : public MrtRouteSink {
 public:
   InterningSink( const CommunityTables& tables, InternedRouteSink& next )
         : interner_( tables ), next_( next ) {}

   void route( const MrtRoute& route ) override {
      interner_.intern( route, &lists_ );
      next_.route( route, lists_ );
   }
   void problem( const MrtProblem& problem ) override { next_.problem( problem ); }
   void withdrawal( const MrtRoute& route ) override { next_.withdrawal( route ); }
   void stateChange( const MrtStateChange& change ) override { next_.stateChange( change ); }

 private:
   RouteInterner interner_;
   InternedRouteSink& next_;
   InternedRoute lists_; // reused, so a route costs no pointer set-up
};

} // namespace Bgpcomm
