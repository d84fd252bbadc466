// bench/MrtCommand_bench.cpp: `bgpcomm mrt --bgpdump FILE` against
// `bgpdump -m -l FILE`, each writing its lines to a file that must come out
// identical, and `bgpcomm mrt FILE > /dev/null` (its own line per route), on
// one generated table dump of a million routes (bgpcomm gen --routes 1000000
// --seed 1, written once into this build's bench directory). Each program runs as
// its own process; the time is the child's elapsed time, and wait4() gives
// its CPU time and peak resident memory. `bgpcomm mrt --stats` runs too, for
// its interning ratio and bytes per route. After the table, the ratios of the
// same run, each program taken at its best (least disturbed) run. The frame
// (the dump, bgpcomm as this program, main) is bench/support/ProgramBench.h.

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "bench/support/ProgramBench.h"

namespace {

using namespace BenchSupport;

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

std::string scratchOutput() { return generatedDump() + ".out"; }
std::string bgpdumpOutput() { return generatedDump() + ".bgpdump.out"; }
std::string bgpcommLinesOutput() { return generatedDump() + ".bgpcomm.out"; }

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
   if ( timeProgram( state, name, argv, outPath ) ) {
      state.SetItemsProcessed( int64_t( state.iterations() * routeCount() ) );
   }
}

// bgpcommMrtOn(): `bgpcomm mrt` with options, on the generated dump.
std::vector<std::string> bgpcommMrtOn( std::vector<std::string> options ) {
   std::vector<std::string> argv = bgpcommMrt();
   argv.insert( argv.end(), options.begin(), options.end() );
   argv.push_back( generatedDump() );
   return argv;
}

void BM_BgpcommMrt( benchmark::State& state ) {
   runProgram( state, "BM_BgpcommMrt", bgpcommMrtOn( {} ), "/dev/null" );
}

void BM_BgpcommMrtBgpdump( benchmark::State& state ) {
   runProgram( state, "BM_BgpcommMrtBgpdump", bgpcommMrtOn( { "--bgpdump" } ),
               bgpcommLinesOutput() );
}

void BM_BgpdumpMl( benchmark::State& state ) {
   if ( !haveBgpdump() ) {
      state.SkipWithError( "bgpdump is not installed (apt-get install bgpdump)" );
      return;
   }
   runProgram( state, "BM_BgpdumpMl", { "bgpdump", "-m", "-l", generatedDump() }, bgpdumpOutput() );
}

void BM_BgpcommMrtStats( benchmark::State& state ) {
   runProgram( state, "BM_BgpcommMrtStats", bgpcommMrtOn( { "--stats" } ), scratchOutput() );
}

// A run takes seconds: one iteration each, the best of three for the ratio.
OVBGP_PROGRAM_BENCH( BM_BgpcommMrt, 3 );
OVBGP_PROGRAM_BENCH( BM_BgpcommMrtBgpdump, 3 );
OVBGP_PROGRAM_BENCH( BM_BgpdumpMl, 3 );
OVBGP_PROGRAM_BENCH( BM_BgpcommMrtStats, 1 );

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
   return programBenchMain( argc, argv, [] {
      printFigures();
      if ( !best.empty() ) {
         for ( const std::string& f : { scratchOutput(), bgpdumpOutput(), bgpcommLinesOutput() } ) {
            std::remove( f.c_str() );
         }
      }
   } );
}
