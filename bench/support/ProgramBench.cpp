#include "bench/support/ProgramBench.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "tools/bgpcomm/ByteSink.h"
#include "tools/bgpcomm/Commands.h"
#include "tools/bgpcomm/MrtGenerator.h"

namespace BenchSupport {

namespace {

constexpr const char* asBgpcomm = "--as-bgpcomm";

} // namespace

std::map<std::string, Best> best;

void Best::add( const ChildRun& r ) {
   wallSeconds = wallSeconds == 0 ? r.wallSeconds : std::min( wallSeconds, r.wallSeconds );
   cpuSeconds = cpuSeconds == 0 ? r.cpuSeconds : std::min( cpuSeconds, r.cpuSeconds );
   peakKb = std::max( peakKb, r.peakKb );
}

U64 routeCount() {
   const char* env = std::getenv( "OVBGP_BENCH_MRT_ROUTES" );
   return env && std::atoll( env ) > 0 ? U64( std::atoll( env ) ) : 1000000;
}

std::string benchDir() {
   std::string self = selfPath();
   return self.substr( 0, self.rfind( '/' ) + 1 );
}

const std::string& generatedDump() {
   static const std::string path = [] {
      std::string file = benchDir() + "mrt-" + std::to_string( routeCount() ) + "-seed1.mrt";
      struct stat st;
      if ( ::stat( file.c_str(), &st ) != 0 || st.st_size == 0 ) {
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

std::vector<std::string> bgpcommMrt() {
#ifdef OVBGP_BGPCOMM_PATH
   return { OVBGP_BGPCOMM_PATH, "mrt", "--no-progress" };
#else
   return { selfPath(), asBgpcomm, "mrt", "--no-progress" };
#endif
}

namespace {

// recorded(): one run of argv kept in best[ name ] and shown in the
// iteration's counters; false, with the benchmark skipped, when it failed.
bool recorded( benchmark::State& state, const std::string& name,
               const std::vector<std::string>& argv, const ChildRun& r ) {
   if ( !r.ok ) {
      state.SkipWithError( ( argv[ 0 ] + " failed" ).c_str() );
      return false;
   }
   best[ name ].add( r );
   state.counters[ "cpu_s" ] = r.cpuSeconds;
   state.counters[ "peak_MB" ] = double( r.peakKb ) / 1024;
   return true;
}

} // namespace

bool timeProgram( benchmark::State& state, const std::string& name,
                  const std::vector<std::string>& argv, const std::string& outPath ) {
   for ( auto _ : state ) {
      ChildRun r = runChild( argv, outPath );
      if ( !recorded( state, name, argv, r ) ) {
         return false;
      }
      state.SetIterationTime( r.wallSeconds );
   }
   return true;
}

std::vector<double> timePair( benchmark::State& state, const Program& mine, const Program& theirs,
                              const std::string& outPath ) {
   std::vector<double> ratios;
   for ( auto _ : state ) {
      ChildRun a = runChild( mine.argv, outPath );
      ChildRun b = runChild( theirs.argv, outPath );
      if ( !recorded( state, theirs.name, theirs.argv, b ) ||
           !recorded( state, mine.name, mine.argv, a ) ) {
         return {};
      }
      state.SetIterationTime( a.wallSeconds );
      ratios.push_back( a.wallSeconds / b.wallSeconds );
   }
   return ratios;
}

int programBenchMain( int argc, char** argv, void ( *printFigures )() ) {
   if ( argc > 1 && std::string( argv[ 1 ] ) == asBgpcomm ) {
      return Bgpcomm::runBgpcomm( argc - 1, argv + 1, stdout, stderr );
   }
   benchmark::Initialize( &argc, argv );
   if ( benchmark::ReportUnrecognizedArguments( argc, argv ) ) {
      return 1;
   }
   benchmark::RunSpecifiedBenchmarks();
   printFigures();
   benchmark::Shutdown();
   return 0;
}

} // namespace BenchSupport
