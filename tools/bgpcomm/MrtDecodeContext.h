// MrtDecodeContext.h: what the record decoders of one file share: the sink the
// routes go to, the file name for problem reports, and the running counts.
//
//   MrtDecodeContext ctx( sink, "rib.mrt" );
//   ctx.report( record.offset, "unknown MRT record type 99; record skipped", true );
#pragma once

#include "tools/bgpcomm/MrtRouteSink.h"
#include "tools/bgpcomm/PathAttributes.h"

namespace Bgpcomm {

// MrtDecodeContext
class MrtDecodeContext {
 public:
   MrtDecodeContext( MrtRouteSink& sink, std::string_view file ) : sink_( sink ), file_( file ) {}

   // report(): one problem, counted.
   void report( U64 recordOffset, std::string reason, bool recordSkipped ) {
      ++problems_;
      sink_.problem( MrtProblem{ file_, recordOffset, std::move( reason ), recordSkipped } );
   }

   // reportIssues(): the community attributes a scan left out.
   void reportIssues( U64 recordOffset, const PathAttributeScan& scan ) {
      for ( size_t i = 0; i < scan.issueCount; ++i ) {
         report( recordOffset, scan.issues[ i ].text(), false );
      }
   }

   // emit(): one route, counted.
   void emit( const MrtRoute& route ) {
      ++routes_;
      sink_.route( route );
   }

   // emitWithdrawal() / emitStateChange(): not counted as routes.
   void emitWithdrawal( const MrtRoute& route ) { sink_.withdrawal( route ); }
   void emitStateChange( const MrtStateChange& change ) { sink_.stateChange( change ); }

   U64 routes() const { return routes_; }
   U64 problems() const { return problems_; }

 private:
   MrtRouteSink& sink_;
   std::string_view file_;
   U64 routes_ = 0;
   U64 problems_ = 0;
};

} // namespace Bgpcomm
