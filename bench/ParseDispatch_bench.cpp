// bench/ParseDispatch_bench.cpp: the cost of the two-level dispatch. Parsing
// a content (type bit test, type table, subtype bit test, sub-rule table,
// fallback value) against the floor of building the same fallback value
// directly, which every parse must do anyway; the dispatch should add little
// beyond that one allocation.

#include <benchmark/benchmark.h>

#include <random>
#include <vector>

#include "OvBgp/Parse/ExtComm.h"
#include "bench/BenchReport.h"

namespace {

using namespace Routing::Bgp;

// Unclaimed AS-number contents of the 2-octet transitive type, so that both
// sides build exactly one ExtCommAsNumber each.
std::vector<U64> makeContents() {
   std::mt19937_64 rng( 42 );
   std::vector<U64> out( 4096 );
   for ( U64& c : out ) {
      c = 0x0005000000000000 | ( rng() & 0xFFFFFFFFFFFF );
   }
   return out;
}

const std::vector<U64>& contents() {
   static const std::vector<U64> c = makeContents();
   return c;
}

void BM_ParseExtendedCommunity( benchmark::State& state ) {
   auto container = bgpParseExtCommContainerSmFactory();
   const BgpParseExtendedCommunityRule& rule = *container->extCommParser();
   size_t i = 0;
   for ( auto _ : state ) {
      auto value = rule.parseExtendedCommunity( ExtCommContent( contents()[ i++ & 4095 ] ) );
      benchmark::DoNotOptimize( value.ptr() );
   }
}
BENCHMARK( BM_ParseExtendedCommunity )->Repetitions( 5 );

void BM_BuildFallbackDirectly( benchmark::State& state ) {
   size_t i = 0;
   for ( auto _ : state ) {
      auto value = ExtCommAsNumber::ExtCommAsNumberIs(
            extCommClassificationUnSpecified, ExtCommContent( contents()[ i++ & 4095 ] ), false );
      benchmark::DoNotOptimize( value.ptr() );
   }
}
BENCHMARK( BM_BuildFallbackDirectly )->Repetitions( 5 );

} // namespace

int main( int argc, char** argv ) {
   benchmark::Initialize( &argc, argv );
   if ( benchmark::ReportUnrecognizedArguments( argc, argv ) ) {
      return 1;
   }
   BenchReport::CapturingReporter reporter;
   benchmark::RunSpecifiedBenchmarks( &reporter );
   BenchReport::printRatio( reporter, "parse / build the fallback directly",
                            "BM_ParseExtendedCommunity", "BM_BuildFallbackDirectly", 1.5 );
   benchmark::Shutdown();
   return 0;
}
