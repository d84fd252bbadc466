#include "tools/bgpcomm/Commands.h"

#include "tools/bgpcomm/BgpdumpLine.h"
#include "tools/bgpcomm/ByteSource.h"
#include "tools/bgpcomm/CommunityFilter.h"
#include "tools/bgpcomm/FileOrderRunner.h"
#include "tools/bgpcomm/InterningSink.h"
#include "tools/bgpcomm/MrtReader.h"
#include "tools/bgpcomm/MrtStats.h"
#include "tools/bgpcomm/ProgressBar.h"
#include "tools/bgpcomm/RouteFilter.h"
#include "tools/bgpcomm/RoutePrinter.h"

#include "Routing/Bgp/OvBgpGlobals.h"

#include <sys/stat.h>
#include <algorithm>
#include <atomic>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

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
      if ( !filter_.empty() && !filter_.keeps( lists ) ) {
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
   void errIs( std::FILE* err ) { err_ = err; }

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

// UninternedSink: routes on to the command's sink without their lists, for
// the output that shows none: bgpdump lines, unless --match needs the lists.
class UninternedSink : public MrtRouteSink {
 public:
   explicit UninternedSink( InternedRouteSink& next ) : next_( next ) {}

   void route( const MrtRoute& route ) override { next_.route( route, none_ ); }
   void withdrawal( const MrtRoute& route ) override { next_.withdrawal( route ); }
   void stateChange( const MrtStateChange& change ) override { next_.stateChange( change ); }
   void problem( const MrtProblem& problem ) override { next_.problem( problem ); }

 private:
   InternedRouteSink& next_;
   const InternedRoute none_;
};

U64 fileSize( const std::string& path ) {
   struct stat st;
   return path != "-" && ::stat( path.c_str(), &st ) == 0 ? U64( st.st_size ) : 0;
}

// Below this a compressed file inflates in less time than a thread and its
// ring of buffers take to set up.
constexpr U64 threadFrom = U64( 1 ) << 20;

// FileReading: the sinks one reading thread puts its files through. It keeps
// the lists it interned until the end, so the tables' figures do not depend
// on how files were shared out; its statistics are merged with the others'.
struct FileReading {
   FileReading( const CommunityTables& tables, std::FILE* out, std::FILE* err,
                const CommandLine& cl, unsigned bzip2Workers )
         : buffer( out ),
           sink( tables, buffer, err, cl ),
           interning( tables, sink ),
           uninterned( sink ),
           filter( cl.peers, cl.prefixes ), // checked when the command line was read
           filtering( filter, cl.bgpdump && cl.match.empty()
                                    ? static_cast<MrtRouteSink&>( uninterned )
                                    : interning ),
           reader( filter.empty() ? filtering.next() : filtering ),
           err_( err ) {
      reader.sourceOptionsIs( ByteSource::Options{ true, bzip2Workers, threadFrom } );
   }

   // streamsAre(): where the next file prints.
   void streamsAre( std::FILE* out, std::FILE* err ) {
      buffer.streamIs( out );
      sink.errIs( err );
      err_ = err;
   }

   // read(): one file; the exit status it calls for.
   int read( const std::string& path ) {
      try {
         MrtFileSummary s = reader.readFile( path );
         sink.stats().addFile( s.records, s.problems );
         return s.problems ? exitProblems : exitOk;
      } catch ( const ByteSourceError& e ) {
         buffer.flush();
         std::fprintf( err_, "bgpcomm: %s\n", e.what() );
         return exitUsage;
      }
   }

   OutputBuffer buffer;
   CommandSink sink;
   InterningSink interning;
   UninternedSink uninterned;
   RouteFilter filter;
   FilteringSink filtering;
   MrtReader reader;
   std::FILE* err_;
};

// worse(): an unreadable file outweighs problems inside one.
int worse( int a, int b ) {
   if ( a == exitUsage || b == exitUsage )
      return exitUsage;
   return a == exitOk ? b : a;
}

unsigned cores() { return std::max( 1u, std::thread::hardware_concurrency() ); }

int runOneAtATime( const CommandLine& cl, std::FILE* out, std::FILE* err ) {
   CommunityTables tables;
   // bzip2 finds its cores itself: no other input needs to count them.
   FileReading reading( tables, out, err, cl, 0 );
   int status = exitOk;
   for ( const std::string& path : cl.operands ) {
      std::optional<ProgressBar> bar;
      U64 size = fileSize( path );
      if ( cl.progress && ProgressBar::wanted( size ) ) {
         bar.emplace( path, size );
         reading.reader.progressIs( [ &bar ]( U64 done, U64 ) { bar->update( done ); } );
      } else {
         reading.reader.progressIs( nullptr );
      }
      status = worse( status, reading.read( path ) );
   }
   if ( cl.stats )
      reading.sink.stats().print( reading.buffer );
   return status;
}

// runSideBySide(): jobs threads, each reading one file at a time into the
// shared (thread-safe) tables; one bar for the compressed octets of all.
int runSideBySide( const CommandLine& cl, unsigned jobs, std::FILE* out, std::FILE* err ) {
   Routing::Bgp::OvBgpGlobals::multiThreadedIs( true );
   CommunityTables tables;
   const size_t files = cl.operands.size();
   std::vector<std::atomic<U64>> done( files );
   std::vector<int> status( files, exitOk );
   std::vector<std::unique_ptr<FileReading>> readings( jobs );
   U64 total = 0;
   for ( const std::string& path : cl.operands ) {
      total += fileSize( path );
   }
   std::optional<ProgressBar> bar;
   if ( cl.progress && ProgressBar::wanted( total ) )
      bar.emplace( std::to_string( files ) + " files", total );
   const unsigned bzip2Workers = std::max( 1u, cores() / jobs );

   FileOrderRunner runner( files, jobs, out, err );
   runner.run(
         [ & ]( unsigned thread, size_t i, std::FILE* fileOut, std::FILE* fileErr ) {
            auto& reading = readings[ thread ];
            if ( !reading ) {
               reading =
                     std::make_unique<FileReading>( tables, fileOut, fileErr, cl, bzip2Workers );
            }
            reading->streamsAre( fileOut, fileErr );
            reading->reader.progressIs( [ &d = done[ i ] ]( U64 at, U64 ) { d = at; } );
            status[ i ] = reading->read( cl.operands[ i ] );
            // The file's output may be about to be copied and closed.
            reading->streamsAre( out, err );
         },
         [ & ] {
            if ( !bar )
               return;
            U64 sum = 0;
            for ( const auto& d : done ) {
               sum += d.load();
            }
            bar->update( sum );
         } );
   bar.reset();
   int worst = exitOk;
   for ( int s : status ) {
      worst = worse( worst, s );
   }
   if ( cl.stats ) {
      MrtStats all( tables );
      for ( const auto& r : readings ) {
         if ( r )
            all.merge( r->sink.stats() );
      }
      OutputBuffer buffer( out );
      all.print( buffer );
   }
   return worst;
}

} // namespace

int runMrt( const CommandLine& cl, std::FILE* out, std::FILE* err ) {
   // One file needs one reader: the cores are counted only for more.
   unsigned jobs = cl.operands.size() > 1 ? ( cl.jobs ? cl.jobs : cores() ) : 1;
   jobs = unsigned( std::min<size_t>( jobs, cl.operands.size() ) );
   return jobs > 1 ? runSideBySide( cl, jobs, out, err ) : runOneAtATime( cl, out, err );
}

} // namespace Bgpcomm
