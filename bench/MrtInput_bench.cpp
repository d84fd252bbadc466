// bench/MrtInput_bench.cpp: how fast `bgpcomm mrt FILE > /dev/null` reads
// compressed dumps, against only inflating them (`zcat`, `bzcat`) and against
// `bgpdump -m -l`, on a generated table dump of a million routes (bgpcomm gen
// --routes 1000000 --seed 1) as plain, gzip (gzip -6) and bzip2 (bzip2 -9)
// files written once into this build's bench directory, and on the real gzip
// dump with the most routes in ../shared/mrt/. Each program runs as its own
// process; bgpcomm and the inflater alternate run by run, and each ratio is
// the median of those pairs; also our bzip2 block decoder alone against
// libbz2, on one thread. After the table: the ratios,
// and routes and inflated megabytes per second of each program. The frame
// (the dump, the tool's command line, main) is bench/support/ProgramBench.h.

#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "bench/support/ProgramBench.h"
#include "tools/bgpcomm/Bzip2Block.h"

#include <bzlib.h>

namespace {

using namespace BenchSupport;

U64 sizeOf( const std::string& path ) {
   struct stat st;
   return ::stat( path.c_str(), &st ) == 0 ? U64( st.st_size ) : 0;
}

// Input: one file the programs read, with what it holds.
struct Input {
   std::string path;
   U64 routes = 0;
   U64 inflatedOctets = 0;
};

// generated(): the dump in form "" (plain), "gz" or "bz2", made on first use.
const Input& generated( const std::string& form ) {
   static std::map<std::string, Input> inputs;
   auto it = inputs.find( form );
   if ( it != inputs.end() )
      return it->second;
   const std::string& plain = generatedDump();
   Input in{ plain, routeCount(), sizeOf( plain ) };
   if ( !form.empty() ) {
      in.path = plain + "." + form;
      if ( sizeOf( in.path ) == 0 ) {
         std::string command = ( form == "gz" ? "gzip -6 -c " : "bzip2 -9 -c " ) + plain + " > " +
                               in.path + ".partial && mv " + in.path + ".partial " + in.path;
         if ( std::system( command.c_str() ) != 0 )
            in.path.clear();
      }
   }
   return inputs[ form ] = in;
}

// realDump(): the real gzip update dump with the most routes (bgpdump -m
// counts 10,111 announcements and 385 withdrawals in it).
const Input& realDump() {
   static const Input in = [] {
      const char* src = std::getenv( "OVBGP_SOURCE_DIR" );
      std::string path =
            std::string( src ? src : "." ) + "/../shared/mrt/ris-updates.20071015.1505.gz";
      std::string plain = benchDir() + "ris-updates.20071015.1505";
      std::string command = "zcat " + path + " > " + plain;
      if ( sizeOf( path ) == 0 || std::system( command.c_str() ) != 0 )
         return Input{};
      return Input{ path, 10111, sizeOf( plain ) };
   }();
   return in;
}

// present(): whether in was made; the benchmark is skipped otherwise.
bool present( benchmark::State& state, const Input& in ) {
   if ( in.path.empty() ) {
      state.SkipWithError( "input missing" );
   }
   return !in.path.empty();
}

// countWork(): the routes and inflated octets of the iterations that ran.
void countWork( benchmark::State& state, const Input& in ) {
   state.SetItemsProcessed( int64_t( state.iterations() * in.routes ) );
   state.SetBytesProcessed( int64_t( state.iterations() * in.inflatedOctets ) );
}

void runProgram( benchmark::State& state, const char* name, const Input& in,
                 std::vector<std::string> argv ) {
   if ( !present( state, in ) ) {
      return;
   }
   argv.push_back( in.path );
   if ( timeProgram( state, name, argv, "/dev/null" ) ) {
      countWork( state, in );
   }
}

void BM_Bgpcomm_Plain( benchmark::State& s ) {
   runProgram( s, __func__, generated( "" ), bgpcommMrt() );
}

// pairRatios: for each ratio, bgpcomm / the inflater of each pair of runs.
std::map<std::string, std::vector<double>> pairRatios;

// runPair(): bgpcomm mrt and the inflater on the same input, alternating.
void runPair( benchmark::State& state, const std::string& mine, const std::string& theirs,
              const Input& in, const char* inflater ) {
   if ( !present( state, in ) ) {
      return;
   }
   Program tool{ mine, bgpcommMrt() }, other{ theirs, { inflater } };
   tool.argv.push_back( in.path );
   other.argv.push_back( in.path );
   // Each repetition is a call of its own: its pairs join the earlier ones.
   const std::vector<double> ratios = timePair( state, tool, other, "/dev/null" );
   if ( !ratios.empty() ) {
      pairRatios[ mine ].insert( pairRatios[ mine ].end(), ratios.begin(), ratios.end() );
      countWork( state, in );
   }
}

void BM_Bgpcomm_Gzip( benchmark::State& s ) {
   runPair( s, "BM_Bgpcomm_Gzip", "BM_Zcat_Gzip", generated( "gz" ), "zcat" );
}
void BM_Bgpcomm_Bzip2( benchmark::State& s ) {
   runPair( s, "BM_Bgpcomm_Bzip2", "BM_Bzcat_Bzip2", generated( "bz2" ), "bzcat" );
}
void BM_Bgpcomm_RealGzip( benchmark::State& s ) {
   runPair( s, "BM_Bgpcomm_RealGzip", "BM_Zcat_RealGzip", realDump(), "zcat" );
}

void bgpdumpOn( benchmark::State& s, const char* name, const Input& in ) {
   if ( !BenchSupport::onPath( "bgpdump" ) ) {
      s.SkipWithError( "bgpdump is not installed (apt-get install bgpdump)" );
      return;
   }
   runProgram( s, name, in, { "bgpdump", "-m", "-l" } );
}
void BM_Bgpdump_Plain( benchmark::State& s ) { bgpdumpOn( s, __func__, generated( "" ) ); }
void BM_Bgpdump_Gzip( benchmark::State& s ) { bgpdumpOn( s, __func__, generated( "gz" ) ); }
void BM_Bgpdump_Bzip2( benchmark::State& s ) { bgpdumpOn( s, __func__, generated( "bz2" ) ); }

// BM_Bzip2BlockDecoder: our block decoder alone, on one thread, against
// libbz2 on the same blocks: every block of the generated bzip2 dump, found
// once by its magic, then decoded by each in turn (libbz2 reads the whole
// stream); the ratio is the median of the pairs.
void BM_Bzip2BlockDecoder( benchmark::State& state ) {
   const Input& in = generated( "bz2" );
   if ( !present( state, in ) ) {
      return;
   }
   std::ifstream file( in.path, std::ios::binary );
   const std::vector<U8> z( ( std::istreambuf_iterator<char>( file ) ), {} );
   std::vector<U64> at; // bits where blocks, and the end magic, start
   U64 window = 0;
   for ( size_t i = 4; i < z.size(); ++i ) {
      for ( int b = 7; b >= 0; --b ) {
         window = ( window << 1 | ( z[ i ] >> b & 1 ) ) & 0xffffffffffff;
         if ( window == 0x314159265359 || window == 0x177245385090 ) {
            at.push_back( i * 8 + U64( 7 - b ) - 47 );
         }
      }
   }
   Bgpcomm::Bzip2BlockDecoder decoder;
   std::vector<U8> out;
   std::vector<char> whole( in.inflatedOctets + 1 );
   using Clock = std::chrono::steady_clock;
   for ( auto _ : state ) {
      auto t0 = Clock::now();
      U64 octets = 0;
      for ( size_t k = 0; k + 1 < at.size(); ++k ) {
         U32 crc;
         if ( decoder.decode( z, at[ k ], at[ k + 1 ] - at[ k ], char( z[ 3 ] ), out, crc ) ) {
            state.SkipWithError( "a block failed to decode" );
            return;
         }
         octets += out.size();
      }
      auto t1 = Clock::now();
      unsigned size = unsigned( whole.size() );
      int rc = BZ2_bzBuffToBuffDecompress( whole.data(), &size,
                                           reinterpret_cast<char*>( const_cast<U8*>( z.data() ) ),
                                           unsigned( z.size() ), 0, 0 );
      auto t2 = Clock::now();
      if ( rc != BZ_OK || octets != size ) {
         state.SkipWithError( "libbz2 and the block decoder disagree" );
         return;
      }
      const double ours = std::chrono::duration<double>( t1 - t0 ).count();
      pairRatios[ "BM_Bzip2BlockDecoder" ].push_back(
            ours / std::chrono::duration<double>( t2 - t1 ).count() );
      state.SetIterationTime( ours );
      state.counters[ "MB/s" ] = double( octets ) / ours / 1e6;
   }
}

// Short programs run several times (the pairs alternate their two programs);
// bgpdump takes many seconds, once each.
OVBGP_PROGRAM_BENCH( BM_Bgpcomm_Plain, 3 );
OVBGP_PROGRAM_BENCH( BM_Bgpcomm_Gzip, 5 );
OVBGP_PROGRAM_BENCH( BM_Bgpcomm_Bzip2, 3 );
OVBGP_PROGRAM_BENCH( BM_Bgpcomm_RealGzip, 15 );
OVBGP_PROGRAM_BENCH( BM_Bzip2BlockDecoder, 3 );
OVBGP_PROGRAM_BENCH( BM_Bgpdump_Plain, 1 );
OVBGP_PROGRAM_BENCH( BM_Bgpdump_Gzip, 1 );
OVBGP_PROGRAM_BENCH( BM_Bgpdump_Bzip2, 1 );

// printRatio(): the median of the pairs' ratios, and their range.
void printRatio( const char* what, const char* mine, double target ) {
   auto it = pairRatios.find( mine );
   if ( it == pairRatios.end() || it->second.empty() ) {
      std::printf( "ratio %s: not measured\n", what );
      return;
   }
   std::vector<double> r = it->second;
   std::sort( r.begin(), r.end() );
   const double median = r[ r.size() / 2 ];
   std::printf( "ratio %s: %.2f, median of %zu alternating pairs (%.2f-%.2f) (target <= %.1f)%s\n",
                what, median, r.size(), r.front(), r.back(), target,
                median <= target ? "" : "  MISSED" );
}

void printFigures() {
   printRatio( "bgpcomm mrt / zcat, generated gzip", "BM_Bgpcomm_Gzip", 1.0 );
   printRatio( "bgpcomm mrt / zcat, real gzip", "BM_Bgpcomm_RealGzip", 1.0 );
   printRatio( "bgpcomm mrt / bzcat, generated bzip2", "BM_Bgpcomm_Bzip2", 0.6 );
   printRatio( "block decoder / libbz2, one thread", "BM_Bzip2BlockDecoder", 1.0 );
   for ( const char* form : { "Plain", "Gzip", "Bzip2" } ) {
      const Input& in = generated( std::string( form ) == "Plain"  ? ""
                                   : std::string( form ) == "Gzip" ? "gz"
                                                                   : "bz2" );
      for ( const char* program : { "Bgpcomm", "Bgpdump" } ) {
         auto it = best.find( std::string( "BM_" ) + program + "_" + form );
         if ( it == best.end() || it->second.wallSeconds <= 0 )
            continue;
         const Best& r = it->second;
         std::printf( "%s %s: %.2f s elapsed, %.2f s CPU, %.2fM routes/s, %.0f MB/s inflated\n",
                      program, form, r.wallSeconds, r.cpuSeconds,
                      double( in.routes ) / r.wallSeconds / 1e6,
                      double( in.inflatedOctets ) / r.wallSeconds / 1e6 );
      }
   }
   double load[ 3 ] = {};
   if ( ::getloadavg( load, 3 ) > 0 ) {
      std::printf( "load average at the end: %.2f on %u cores%s\n", load[ 0 ],
                   std::thread::hardware_concurrency(),
                   load[ 0 ] > 1.5 ? " (busy: ratios are noisy)" : "" );
   }
}

} // namespace

int main( int argc, char** argv ) { return programBenchMain( argc, argv, printFigures ); }
