// bench/support/ChildProcess.h: one run of a program as a child process, its
// standard output to a file, with the elapsed and CPU time it took; the
// benchmarks that compare whole programs time them with it.
//
//   ChildRun r = runChild( { "zcat", "rib.gz" }, "/dev/null" );
//   if ( r.ok ) seconds = r.wallSeconds;
#pragma once

#include <string>
#include <vector>

namespace BenchSupport {

// ChildRun: what one run cost.
struct ChildRun {
   bool ok = false;
   double wallSeconds = 0;
   double cpuSeconds = 0; // user + system
   long peakKb = 0;
};

// runChild(): runs argv (found on PATH) with standard output to outPath and
// standard error to /dev/null, and waits for it; ok when it exited 0.
ChildRun runChild( const std::vector<std::string>& argv, const std::string& outPath );

// selfPath(): this program's file.
std::string selfPath();

// onPath(): whether a program of that name can be run.
bool onPath( const std::string& program );

} // namespace BenchSupport
