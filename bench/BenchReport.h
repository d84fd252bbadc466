// bench/BenchReport.h: the common frame of the benchmark programs. Each runs
// its benchmarks as the best of interleaved repetitions, shows one row per
// benchmark, and prints after the table its ratios against the baseline of
// the same run, so that a shared, noisy machine disturbs both sides alike.
//
//   int main( int argc, char** argv ) { return BenchReport::main( argc, argv, setup,
//      []( const BenchReport::CapturingReporter& r ) { BenchReport::printRatio( r, ... ); } ); }
#pragma once

#include <benchmark/benchmark.h>

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

namespace BenchReport {

// CapturingReporter: keeps each benchmark's best real time per iteration
// (the least disturbed of its repetitions) and shows that repetition's row.
class CapturingReporter : public benchmark::ConsoleReporter {
 public:
   explicit CapturingReporter( OutputOptions options ) : ConsoleReporter( options ) {}

   void ReportRuns( const std::vector<Run>& runs ) override {
      for ( const Run& run : runs ) {
         if ( run.run_type != Run::RT_Iteration || run.iterations <= 0 ) {
            continue;
         }
         const double perIteration = run.real_accumulated_time / double( run.iterations );
         const std::string name = run.benchmark_name();
         auto it = best_.find( name );
         if ( it == best_.end() || perIteration < it->second.first ) {
            best_.insert_or_assign( name, std::make_pair( perIteration, run ) );
         }
         realTotal_ += run.real_accumulated_time;
         cpuTotal_ += run.cpu_accumulated_time;
      }
   }

   // Finalize(): the rows in registration order, whatever order
   // interleaving ran them in.
   void Finalize() override {
      std::vector<Run> rows;
      for ( const auto& [ name, entry ] : best_ ) {
         rows.push_back( entry.second );
      }
      std::stable_sort( rows.begin(), rows.end(), []( const Run& a, const Run& b ) {
         return std::tie( a.family_index, a.per_family_instance_index ) <
                std::tie( b.family_index, b.per_family_instance_index );
      } );
      if ( !rows.empty() ) {
         ConsoleReporter::ReportRuns( rows );
      }
      ConsoleReporter::Finalize();
   }

   // time(): the best seconds per iteration of benchmark name, or 0.
   double time( const std::string& name ) const {
      auto it = best_.find( name );
      return it == best_.end() ? 0 : it->second.first;
   }
   // cpuTime(): the CPU seconds per iteration of the repetition time()
   // took, or 0.
   double cpuTime( const std::string& name ) const {
      auto it = best_.find( name );
      return it == best_.end() ? 0
                               : it->second.second.cpu_accumulated_time /
                                       double( it->second.second.iterations );
   }
   // busyFactor(): real over CPU time of the whole run; well above 1 when
   // other work on the machine took the processor away.
   double busyFactor() const { return cpuTotal_ > 0 ? realTotal_ / cpuTotal_ : 1; }

 private:
   std::map<std::string, std::pair<double, Run>> best_;
   double realTotal_ = 0;
   double cpuTotal_ = 0;
};

// printRatio(): "ratio <what>: 0.21 (target <= 0.33)", MISSED when over the
// target; a target of 0 prints the figure alone.
inline void printRatio( const CapturingReporter& reporter, const std::string& what,
                        const std::string& name, const std::string& baselineName, double target ) {
   const double time = reporter.time( name );
   const double base = reporter.time( baselineName );
   if ( time <= 0 || base <= 0 ) {
      std::printf( "ratio %s: not measured\n", what.c_str() );
      return;
   }
   const double ratio = time / base;
   if ( target > 0 ) {
      std::printf( "ratio %s: %.2f (target <= %.2f)%s\n", what.c_str(), ratio, target,
                   ratio <= target ? "" : "  MISSED" );
   } else {
      std::printf( "ratio %s: %.2f\n", what.c_str(), ratio );
   }
}

// keepEach(): times hit( query ) over the queries in turn, keeping every
// result in its own place as a path keeps the values it carries; the kept
// results are released between passes, untimed, so the figure is the hit
// alone.
template<class Queries, class Hit>
void keepEach( benchmark::State& state, const Queries& queries, Hit&& hit ) {
   std::vector<decltype( hit( queries[ 0 ] ) )> kept( queries.size() );
   size_t i = 0;
   for ( auto _ : state ) {
      kept[ i ] = hit( queries[ i ] );
      if ( ++i == queries.size() ) {
         state.PauseTiming();
         for ( auto& result : kept ) {
            result = nullptr;
         }
         i = 0;
         state.ResumeTiming();
      }
   }
}

// dropEach(): the same, releasing each result at once: hit and release.
template<class Queries, class Hit>
void dropEach( benchmark::State& state, const Queries& queries, Hit&& hit ) {
   size_t i = 0;
   for ( auto _ : state ) {
      auto result = hit( queries[ i ] );
      benchmark::DoNotOptimize( result );
      i = i + 1 == queries.size() ? 0 : i + 1;
   }
}

// main(): the whole program around setup (run before anything is timed)
// and report (the ratio lines).
template<class Setup, class Report>
int main( int argc, char** argv, Setup&& setup, Report&& report ) {
   // One short run is at the mercy of whatever else the machine does: unless
   // told otherwise, take the best of interleaved repetitions.
   std::vector<char*> args( argv, argv + argc );
   auto hasFlag = [ & ]( const char* flag ) {
      return std::any_of( argv + 1, argv + argc, [ & ]( const char* arg ) {
         return std::strncmp( arg, flag, std::strlen( flag ) ) == 0;
      } );
   };
   static char repetitions[] = "--benchmark_repetitions=5";
   static char interleaving[] = "--benchmark_enable_random_interleaving=true";
   if ( !hasFlag( "--benchmark_repetitions" ) ) {
      args.push_back( repetitions );
   }
   if ( !hasFlag( "--benchmark_enable_random_interleaving" ) ) {
      args.push_back( interleaving );
   }
   int count = int( args.size() );
   args.push_back( nullptr );
   benchmark::Initialize( &count, args.data() );
   if ( benchmark::ReportUnrecognizedArguments( count, args.data() ) ) {
      return 1;
   }
   // The library serves a multi-threaded agent, where shared_ptr counts are
   // atomic. libstdc++ drops those atomics while a process has never started
   // a thread, which would time the baselines as no agent runs them.
   std::thread( [] {} ).join();
   setup();
   CapturingReporter reporter( isatty( fileno( stdout ) )
                                     ? benchmark::ConsoleReporter::OO_Defaults
                                     : benchmark::ConsoleReporter::OO_Tabular );
   benchmark::RunSpecifiedBenchmarks( &reporter );
   std::printf( "\nbest real time per operation over the repetitions\n" );
   if ( reporter.busyFactor() > 1.3 ) {
      std::printf( "note: the machine was busy (real time %.1fx CPU time): ratios are noisy\n",
                   reporter.busyFactor() );
   }
   report( reporter );
   benchmark::Shutdown();
   return 0;
}

} // namespace BenchReport
