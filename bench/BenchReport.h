// bench/BenchReport.h: what every benchmark program prints after Google
// Benchmark's table: ratios of the same run against its baseline, taken
// from each benchmark's best time per iteration, so that a shared, noisy
// machine disturbs both sides alike.
//
//   BenchReport::CapturingReporter reporter;  benchmark::RunSpecifiedBenchmarks( &reporter );
//   BenchReport::printRatio( reporter, "hit / baseline", "BM_Hit", "BM_BaselineHit", 1.0 / 3 );
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace BenchReport {

// CapturingReporter: the console table, plus each benchmark's best real time
// per iteration (the least disturbed of its repetitions).
class CapturingReporter : public benchmark::ConsoleReporter {
 public:
   void ReportRuns( const std::vector<Run>& runs ) override {
      for ( const Run& run : runs ) {
         if ( run.run_type != Run::RT_Iteration || run.iterations <= 0 ) {
            continue;
         }
         double perIteration = run.real_accumulated_time / double( run.iterations );
         auto [ it, fresh ] = best.emplace( run.run_name.function_name, perIteration );
         if ( !fresh ) {
            it->second = std::min( it->second, perIteration );
         }
      }
      ConsoleReporter::ReportRuns( runs );
   }
   std::map<std::string, double> best;
};

// printRatio(): "ratio <what>: 0.21 (target <= 0.33)", MISSED when over the
// target; a target of 0 prints the figure alone.
inline void printRatio( const CapturingReporter& reporter, const char* what, const char* name,
                        const char* baselineName, double target ) {
   auto it = reporter.best.find( name );
   auto base = reporter.best.find( baselineName );
   if ( it == reporter.best.end() || base == reporter.best.end() || base->second <= 0 ) {
      std::printf( "ratio %s: not measured\n", what );
      return;
   }
   double ratio = it->second / base->second;
   if ( target > 0 ) {
      std::printf( "ratio %s: %.2f (target <= %.2f)%s\n", what, ratio, target,
                   ratio <= target ? "" : "  MISSED" );
   } else {
      std::printf( "ratio %s: %.2f\n", what, ratio );
   }
}

} // namespace BenchReport
