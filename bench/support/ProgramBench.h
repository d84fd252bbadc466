// bench/support/ProgramBench.h: the frame of the benchmarks that time whole
// programs (bench/MrtCommand_bench.cpp, bench/MrtInput_bench.cpp): the
// generated dump they read, written once beside the program; each program's
// best run; and main(), which makes the benchmark program bgpcomm itself when
// its first argument is --as-bgpcomm, for a build without the tool's binary.
//
//   void BM_Mine( benchmark::State& s ) { timeProgram( s, __func__, bgpcommMrt(), "/dev/null" ); }
//   int main( int argc, char** argv ) { return programBenchMain( argc, argv, printFigures ); }
#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

#include "Kel/Types.h"
#include "bench/support/ChildProcess.h"

namespace BenchSupport {

// Best: the least disturbed of a program's runs, and its largest peak memory.
struct Best {
   double wallSeconds = 0;
   double cpuSeconds = 0;
   long peakKb = 0;
   void add( const ChildRun& r );
};

// best: each benchmark's Best, by the name given to timeProgram().
extern std::map<std::string, Best> best;

// routeCount(): routes in the generated dump; OVBGP_BENCH_MRT_ROUTES
// overrides the million (a quick look, not a figure).
U64 routeCount();

// benchDir(): this program's directory, with its trailing slash.
std::string benchDir();

// generatedDump(): the plain dump `bgpcomm gen --routes routeCount() --seed 1`
// writes, made on first use in benchDir().
const std::string& generatedDump();

// bgpcommMrt(): the command line of `bgpcomm mrt --no-progress`: the built
// tool, or this program when there is none; callers append options and files.
std::vector<std::string> bgpcommMrt();

// timeProgram(): runs argv once per iteration with its standard output to
// outPath, as the iteration's manual time, and adds each run to best[ name ].
// False, with the benchmark skipped, when a run fails.
bool timeProgram( benchmark::State& state, const std::string& name,
                  const std::vector<std::string>& argv, const std::string& outPath );

// Program: a command line and the name its runs are kept under in best[].
struct Program {
   std::string name;
   std::vector<std::string> argv;
};

// timePair(): runs mine, then theirs, once per iteration (so that a change
// in a shared machine's speed falls on both sides of a pair), each with its
// standard output to outPath and kept in best[] under its name; mine's run
// is the iteration's manual time. Returns mine / theirs of each pair; empty,
// with the benchmark skipped, when a run fails.
std::vector<double> timePair( benchmark::State& state, const Program& mine, const Program& theirs,
                              const std::string& outPath );

// OVBGP_PROGRAM_BENCH(): a benchmark of one program run per iteration, timed
// by timeProgram(); its figure is the best of reps runs.
#define OVBGP_PROGRAM_BENCH( name, reps )  \
   BENCHMARK( name )                       \
         ->UseManualTime()                 \
         ->Unit( benchmark::kMillisecond ) \
         ->Iterations( 1 )                 \
         ->Repetitions( reps )

// programBenchMain(): bgpcomm when argv[ 1 ] is --as-bgpcomm; otherwise runs
// the benchmarks, then printFigures().
int programBenchMain( int argc, char** argv, void ( *printFigures )() );

} // namespace BenchSupport
