#include "tools/bgpcomm/Commands.h"

#include "tools/bgpcomm/BgpdumpLine.h"
#include "tools/bgpcomm/ByteSource.h"
#include "tools/bgpcomm/CommunityFilter.h"
#include "tools/bgpcomm/InterningSink.h"
#include "tools/bgpcomm/MrtReader.h"
#include "tools/bgpcomm/MrtStats.h"
#include "tools/bgpcomm/ProgressBar.h"
#include "tools/bgpcomm/RouteFilter.h"
#include "tools/bgpcomm/RoutePrinter.h"

#include <sys/stat.h>
#include <optional>

namespace Bgpcomm {

namespace {

// CommandSink: interned routes to the printer, the bgpdump lines or the
// statistics, problems to the error stream as "file: record at offset N:
// reason". Withdrawals and state changes show only as bgpdump lines.
class CommandSink : public InternedRouteSink {
 public:
   CommandSink( const CommunityTables& tables, OutputBuffer& out, std::FILE* err,
                const CommandLine& cl )
         : filter_( tables, cl.match ),
           out_( out ),
           err_( err ),
           printer_( out, cl.json ? RoutePrinter::Format::json : RoutePrinter::Format::lines ),
           statsWanted_( cl.stats ),
           bgpdump_( cl.bgpdump ),
           stats_( tables ) {}

   void route( const MrtRoute& route, const InternedRoute& lists ) override {
      if ( !filter_.keeps( lists ) ) {
         return;
      }
      if ( statsWanted_ ) {
         stats_.add( route, lists );
      } else if ( bgpdump_ ) {
         line_.appendRoute( out_.text(), route );
         out_.flushIfFull();
      } else {
         printer_.print( route, lists );
      }
   }

   // Withdrawals and state changes carry no communities: --match drops them.
   void withdrawal( const MrtRoute& route ) override {
      if ( bgpdump_ && filter_.empty() ) {
         line_.appendWithdrawal( out_.text(), route );
         out_.flushIfFull();
      }
   }

   void stateChange( const MrtStateChange& change ) override {
      if ( bgpdump_ && filter_.empty() ) {
         line_.appendStateChange( out_.text(), change );
         out_.flushIfFull();
      }
   }

   void problem( const MrtProblem& problem ) override {
      out_.flush(); // keep the report next to the routes around it
      std::fprintf( err_, "%.*s: record at offset %llu: %s\n", int( problem.file.size() ),
                    problem.file.data(), (unsigned long long)problem.recordOffset,
                    problem.reason.c_str() );
   }

   MrtStats& stats() { return stats_; }

 private:
   CommunityFilter filter_;
   OutputBuffer& out_;
   std::FILE* err_;
   RoutePrinter printer_;
   bool statsWanted_;
   bool bgpdump_;
   BgpdumpLine line_;
   MrtStats stats_;
};

U64 fileSize( const std::string& path ) {
   struct stat st;
   return path != "-" && ::stat( path.c_str(), &st ) == 0 ? U64( st.st_size ) : 0;
}

} // namespace

int runMrt( const CommandLine& cl, std::FILE* out, std::FILE* err ) {
   OutputBuffer buffer( out );
   CommunityTables tables;
   CommandSink sink( tables, buffer, err, cl );
   InterningSink interning( tables, sink );
   RouteFilter filter( cl.peers, cl.prefixes ); // checked when the command line was read
   FilteringSink filtering( filter, interning );
   MrtRouteSink& first = filter.empty() ? static_cast<MrtRouteSink&>( interning ) : filtering;
   MrtReader reader( first );
   int status = exitOk;
   for ( const std::string& path : cl.operands ) {
      std::optional<ProgressBar> bar;
      U64 size = fileSize( path );
      if ( cl.progress && ProgressBar::wanted( size ) ) {
         bar.emplace( path, size );
         reader.progressIs( [ &bar ]( U64 done, U64 ) { bar->update( done ); } );
      } else {
         reader.progressIs( nullptr );
      }
      try {
         MrtFileSummary s = reader.readFile( path );
         sink.stats().addFile( s.records, s.problems );
         if ( s.problems && status == exitOk )
            status = exitProblems;
      } catch ( const ByteSourceError& e ) {
         buffer.flush();
         std::fprintf( err, "bgpcomm: %s\n", e.what() );
         status = exitUsage;
      }
   }
   if ( cl.stats )
      sink.stats().print( buffer );
   return status;
}

} // namespace Bgpcomm
