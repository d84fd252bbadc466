// bench/MrtCommand_bench.cpp: `bgpcomm mrt --bgpdump FILE` against
// `bgpdump -m -l FILE`, each writing its lines to a file that must come out
// identical, and `bgpcomm mrt FILE > /dev/null` (its own line per route), on
// one generated table dump of a million routes (bgpcomm gen --routes 1000000
// --seed 1, written once into this build's bench directory). Each program runs as
// its own process; the time is the child's elapsed time, and wait4() gives
// its CPU time and peak resident memory. `bgpcomm mrt --stats` runs too, for
// its interning ratio and bytes per route. After the table, the ratios of the
// same run, each program taken at its best (least disturbed) run. This program is bgpcomm itself when its first argument is
// --as-bgpcomm, so the bench build needs no other binary.
//
// OVBGP_BENCH_MRT_ROUTES overrides the route count (a quick look, not a figure).

#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "bench/support/ChildProcess.h"
#include "tools/bgpcomm/ByteSink.h"
#include "tools/bgpcomm/Commands.h"
#include "tools/bgpcomm/MrtGenerator.h"

namespace {

using BenchSupport::ChildRun;
using BenchSupport::onPath;
using BenchSupport::runChild;
using BenchSupport::selfPath;

constexpr const char* asBgpcomm = "--as-bgpcomm";

// Best: the least disturbed of a program's runs, and its largest peak memory.
struct Best {
   double wallSeconds = 0;
   double cpuSeconds = 0;
   long peakKb = 0;
   void add( const ChildRun& r ) {
      wallSeconds = wallSeconds == 0 ? r.wallSeconds : std::min( wallSeconds, r.wallSeconds );
      cpuSeconds = cpuSeconds == 0 ? r.cpuSeconds : std::min( cpuSeconds, r.cpuSeconds );
      peakKb = std::max( peakKb, r.peakKb );
   }
};

std::map<std::string, Best> best;

// haveBgpdump(): installs Debian's bgpdump when it is missing and we are root.
bool haveBgpdump() {
   if ( onPath( "bgpdump" ) )
      return true;
   if ( ::geteuid() == 0 ) {
      std::fprintf( stderr, "installing bgpdump (Debian package) for the comparison\n" );
      int status = std::system(
            "(apt-get install -y --no-install-recommends bgpdump || "
            "(apt-get update && apt-get install -y --no-install-recommends "
            "bgpdump)) >/dev/null 2>&1" );
      (void)status;
   }
   return onPath( "bgpdump" );
}

U64 routeCount() {
   const char* env = std::getenv( "OVBGP_BENCH_MRT_ROUTES" );
   return env && std::atoll( env ) > 0 ? U64( std::atoll( env ) ) : 1000000;
}

// dumpFile(): the generated dump beside this program, written on first use.
const std::string& dumpFile() {
   static const std::string path = [] {
      std::string self = selfPath();
      std::string dir = self.substr( 0, self.rfind( '/' ) + 1 );
      std::string file = dir + "mrt-" + std::to_string( routeCount() ) + "-seed1.mrt";
      struct stat st;
      if ( ::stat( file.c_str(), &st ) != 0 ) {
         std::fprintf( stderr, "generating %s\n", file.c_str() );
         std::string partial = file + ".partial";
         Bgpcomm::ByteSink out( partial );
         Bgpcomm::generateMrt( { routeCount(), 1 }, out );
         out.close();
         std::rename( partial.c_str(), file.c_str() );
      }
      return file;
   }();
   return path;
}

std::string scratchOutput() { return dumpFile() + ".out"; }
std::string bgpdumpOutput() { return dumpFile() + ".bgpdump.out"; }
std::string bgpcommLinesOutput() { return dumpFile() + ".bgpcomm.out"; }

// sameFiles(): whether two files hold the same octets.
bool sameFiles( const std::string& a, const std::string& b ) {
   std::ifstream x( a, std::ios::binary ), y( b, std::ios::binary );
   if ( !x || !y )
      return false;
   std::vector<char> bx( 1 << 16 ), by( 1 << 16 );
   for ( ;; ) {
      x.read( bx.data(), std::streamsize( bx.size() ) );
      y.read( by.data(), std::streamsize( by.size() ) );
      if ( x.gcount() != y.gcount() ||
           !std::equal( bx.begin(), bx.begin() + x.gcount(), by.begin() ) ) {
         return false;
      }
      if ( x.gcount() == 0 )
         return true;
   }
}

void runProgram( benchmark::State& state, const char* name, std::vector<std::string> argv,
                 const std::string& outPath ) {
   for ( auto _ : state ) {
      ChildRun r = runChild( argv, outPath );
      if ( !r.ok ) {
         state.SkipWithError( ( argv[ 0 ] + " failed" ).c_str() );
         return;
      }
      state.SetIterationTime( r.wallSeconds );
      best[ name ].add( r );
      state.counters[ "cpu_s" ] = r.cpuSeconds;
      state.counters[ "peak_MB" ] = double( r.peakKb ) / 1024;
   }
   state.SetItemsProcessed( int64_t( state.iterations() * routeCount() ) );
}

void BM_BgpcommMrt( benchmark::State& state ) {
   runProgram( state, "BM_BgpcommMrt",
               { selfPath(), asBgpcomm, "mrt", "--no-progress", dumpFile() }, "/dev/null" );
}

void BM_BgpcommMrtBgpdump( benchmark::State& state ) {
   runProgram( state, "BM_BgpcommMrtBgpdump",
               { selfPath(), asBgpcomm, "mrt", "--bgpdump", "--no-progress", dumpFile() },
               bgpcommLinesOutput() );
}

void BM_BgpdumpMl( benchmark::State& state ) {
   if ( !haveBgpdump() ) {
      state.SkipWithError( "bgpdump is not installed (apt-get install bgpdump)" );
      return;
   }
   runProgram( state, "BM_BgpdumpMl", { "bgpdump", "-m", "-l", dumpFile() }, bgpdumpOutput() );
}

void BM_BgpcommMrtStats( benchmark::State& state ) {
   runProgram( state, "BM_BgpcommMrtStats",
               { selfPath(), asBgpcomm, "mrt", "--stats", "--no-progress", dumpFile() },
               scratchOutput() );
}

// A run takes seconds: one iteration each, the best of three for the ratio.
BENCHMARK( BM_BgpcommMrt )
      ->UseManualTime()
      ->Unit( benchmark::kMillisecond )
      ->Iterations( 1 )
      ->Repetitions( 3 );
BENCHMARK( BM_BgpcommMrtBgpdump )
      ->UseManualTime()
      ->Unit( benchmark::kMillisecond )
      ->Iterations( 1 )
      ->Repetitions( 3 );
BENCHMARK( BM_BgpdumpMl )
      ->UseManualTime()
      ->Unit( benchmark::kMillisecond )
      ->Iterations( 1 )
      ->Repetitions( 3 );
BENCHMARK( BM_BgpcommMrtStats )->UseManualTime()->Unit( benchmark::kMillisecond )->Iterations( 1 );

// statsLine(): the text after "name: " in the --stats output, or "".
std::string statsLine( const std::string& name ) {
   std::ifstream in( scratchOutput() );
   std::string line;
   while ( std::getline( in, line ) ) {
      if ( line.rfind( name + ": ", 0 ) == 0 )
         return line.substr( name.size() + 2 );
   }
   return std::string();
}

// printFigures(): the ratios of this run, from each program's best run.
void printFigures() {
   auto lines = best.find( "BM_BgpcommMrtBgpdump" ), theirs = best.find( "BM_BgpdumpMl" );
   if ( lines != best.end() && theirs != best.end() && theirs->second.wallSeconds > 0 ) {
      const char* what = "bgpcomm mrt --bgpdump / bgpdump -m -l";
      bool same = sameFiles( bgpcommLinesOutput(), bgpdumpOutput() );
      double ratio = lines->second.wallSeconds / theirs->second.wallSeconds;
      std::printf( "output of bgpcomm mrt --bgpdump and bgpdump -m -l: %s\n",
                   same ? "identical" : "DIFFERENT" );
      std::printf( "ratio %s: %.3f (target <= 0.10)%s\n", what, ratio,
                   ratio <= 0.10 && same ? "" : "  MISSED" );
      std::printf( "ratio %s, CPU time: %.3f\n", what,
                   lines->second.cpuSeconds / theirs->second.cpuSeconds );
   }
   const char* what = "bgpcomm mrt / bgpdump -m -l";
   auto mine = best.find( "BM_BgpcommMrt" );
   if ( mine == best.end() || theirs == best.end() || theirs->second.wallSeconds <= 0 ) {
      std::printf( "ratio %s: not measured\n", what );
   } else {
      double ratio = mine->second.wallSeconds / theirs->second.wallSeconds;
      std::printf( "ratio %s: %.2f (target <= 0.33)%s\n", what, ratio,
                   ratio <= 1.0 / 3 ? "" : "  MISSED" );
      std::printf( "ratio %s, CPU time: %.2f\n", what,
                   mine->second.cpuSeconds / theirs->second.cpuSeconds );
   }
   double wall = 0, cpu = 0;
   for ( const auto& [ name, b ] : best ) {
      std::printf( "%s: %.2f s elapsed, %.2f s CPU, peak memory %.1f MB\n", name.c_str(),
                   b.wallSeconds, b.cpuSeconds, double( b.peakKb ) / 1024 );
      wall += b.wallSeconds;
      cpu += b.cpuSeconds;
   }
   if ( cpu > 0 && wall > 1.3 * cpu ) {
      std::printf( "note: the machine was busy (elapsed %.1fx CPU time): ratios are noisy\n",
                   wall / cpu );
   }
   if ( best.count( "BM_BgpcommMrtStats" ) ) {
      std::printf( "bgpcomm mrt --stats, %llu routes: interning ratio %s; bytes per route %s\n",
                   (unsigned long long)routeCount(), statsLine( "interning ratio" ).c_str(),
                   statsLine( "bytes per route" ).c_str() );
   }
}

} // namespace

int main( int argc, char** argv ) {
   if ( argc > 1 && std::string( argv[ 1 ] ) == asBgpcomm ) {
      return Bgpcomm::runBgpcomm( argc - 1, argv + 1, stdout, stderr );
   }
   benchmark::Initialize( &argc, argv );
   if ( benchmark::ReportUnrecognizedArguments( argc, argv ) )
      return 1;
   benchmark::RunSpecifiedBenchmarks();
   printFigures();
   if ( !best.empty() ) {
      for ( const std::string& f : { scratchOutput(), bgpdumpOutput(), bgpcommLinesOutput() } )
         std::remove( f.c_str() );
   }
   benchmark::Shutdown();
   return 0;
}
