// bench/DedupHashTable_bench.cpp: the interning hit path (a caller interning a
// value that is already interned, taking a counted pointer and dropping it)
// of the single-thread and thread-safe tables, against the weak_ptr map a
// user would otherwise write (bench/Baseline.h). Every content of the
// working set is held outside, so all stay interned; they are queried in a
// shuffled order. The working set takes three sizes across what a routing
// table holds. After the table of results, the ratios of the same run.

#include <benchmark/benchmark.h>

#include <unistd.h>
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "Bex/DedupHashTable.h"
#include "Kel/Hash.h"
#include "bench/Baseline.h"

namespace {

constexpr int kWorkingSets[] = { 10000, 20000, 50000 };

// BenchValue: an interned 64-bit content, as the value tables hold them.
class BenchValue final : public Bex::DedupHandle {
 public:
   using PtrConst = Kel::Ptr<const BenchValue>;
   struct Content : Bex::DedupContentHandle {
      explicit Content( U64 v ) : value( v ) {}
      U64 value;
   };

   explicit BenchValue( U64 content ) : content_( content ) {}
   static U32 hashOf( U64 content ) { return Kel::hashSingleAttr( 0, content ); }
   U64 content() const noexcept { return content_; }

   U32 hash() const override { return hashOf( content_ ); }
   bool compare( const Bex::DedupHandle* other ) const override {
      return static_cast<const BenchValue*>( other )->content_ == content_;
   }
   bool compareByContent( const Bex::DedupContentHandle& c ) const override {
      return static_cast<const Content&>( c ).value == content_;
   }

 private:
   U64 content_;
};

// BaselineValue: the same content for the baseline.
struct BaselineValue {
   explicit BaselineValue( U64 c ) : content( c ) {}
   U64 content;
};

// Contents of one working set, in insertion order and in query order.
struct WorkingSet {
   std::vector<U64> contents;
   std::vector<U64> queries;
   explicit WorkingSet( size_t size ) {
      std::mt19937_64 rng( 42 + size );
      while ( contents.size() < size ) {
         contents.push_back( rng() );
      }
      std::sort( contents.begin(), contents.end() );
      contents.erase( std::unique( contents.begin(), contents.end() ), contents.end() );
      std::shuffle( contents.begin(), contents.end(), rng );
      queries = contents;
      std::shuffle( queries.begin(), queries.end(), rng );
   }
};

// An interning table holding a whole working set, with the outside
// references that keep it there.
struct InternedSet {
   Bex::DedupHashTableUnorderedSet::Ptr table;
   std::vector<Bex::DedupHandle::PtrConst> held;
   InternedSet( const WorkingSet& set, bool threadSafe )
         : table( Bex::DedupHashTableUnorderedSet::DedupHashTableUnorderedSetIs( threadSafe ) ) {
      for ( U64 c : set.contents ) {
         held.push_back( table->dedup( Kel::makePtr<BenchValue>( c ) ) );
      }
   }
};

struct BaselineSet {
   Baseline::WeakMapInterner<BaselineValue> interner;
   std::vector<std::shared_ptr<const BaselineValue>> held;
   explicit BaselineSet( const WorkingSet& set ) {
      for ( U64 c : set.contents ) {
         held.push_back( interner.intern( c ) );
      }
   }
};

// Everything one working-set size needs, built once before it is timed.
struct Fixture {
   WorkingSet set;
   InternedSet singleThread;
   InternedSet threadSafe;
   BaselineSet baseline;
   explicit Fixture( size_t size )
         : set( size ), singleThread( set, false ), threadSafe( set, true ), baseline( set ) {}
};
Fixture& fixture( size_t size ) {
   static std::map<size_t, std::unique_ptr<Fixture>> fixtures;
   auto& f = fixtures[ size ];
   if ( !f ) {
      f = std::make_unique<Fixture>( size );
   }
   return *f;
}

void BM_BaselineHit( benchmark::State& state ) {
   Fixture& f = fixture( size_t( state.range( 0 ) ) );
   auto& interner = f.baseline.interner;
   const auto& queries = f.set.queries;
   size_t i = 0;
   for ( auto _ : state ) {
      std::shared_ptr<const BaselineValue> v = interner.lookup( queries[ i ] );
      benchmark::DoNotOptimize( v.get() );
      if ( ++i == queries.size() ) {
         i = 0;
      }
   }
}

// The table's hit path: hash, probe, content test inlined through lookupIf.
void tableHit( benchmark::State& state, bool threadSafe ) {
   Fixture& f = fixture( size_t( state.range( 0 ) ) );
   const Bex::DedupHashTable& table = *( threadSafe ? f.threadSafe : f.singleThread ).table;
   const auto& queries = f.set.queries;
   size_t i = 0;
   for ( auto _ : state ) {
      const U64 content = queries[ i ];
      Bex::DedupHandle::PtrConst v = table.lookupIf(
            BenchValue::hashOf( content ), [ content ]( const Bex::DedupHandle* h ) {
               return static_cast<const BenchValue*>( h )->content() == content;
            } );
      benchmark::DoNotOptimize( v.ptr() );
      if ( ++i == queries.size() ) {
         i = 0;
      }
   }
}
void BM_SingleThreadHit( benchmark::State& state ) { tableHit( state, false ); }
void BM_ThreadSafeHit( benchmark::State& state ) { tableHit( state, true ); }

// The same through lookupByContent(): one virtual content test per probe.
void tableHitByContent( benchmark::State& state, bool threadSafe ) {
   Fixture& f = fixture( size_t( state.range( 0 ) ) );
   const Bex::DedupHashTable& table = *( threadSafe ? f.threadSafe : f.singleThread ).table;
   const auto& queries = f.set.queries;
   size_t i = 0;
   for ( auto _ : state ) {
      const U64 content = queries[ i ];
      Bex::DedupHandle::PtrConst v =
            table.lookupByContent( BenchValue::Content( content ), BenchValue::hashOf( content ) );
      benchmark::DoNotOptimize( v.ptr() );
      if ( ++i == queries.size() ) {
         i = 0;
      }
   }
}
void BM_SingleThreadHitByContent( benchmark::State& state ) { tableHitByContent( state, false ); }
void BM_ThreadSafeHitByContent( benchmark::State& state ) { tableHitByContent( state, true ); }

// Interning contents that are not there yet, then letting them go: build,
// insert, notify nothing, remove on the last release.
void BM_BaselineInsertAndDrop( benchmark::State& state ) {
   Baseline::WeakMapInterner<BaselineValue> interner;
   U64 next = 1;
   for ( auto _ : state ) {
      auto v = interner.intern( next++ );
      benchmark::DoNotOptimize( v.get() );
   }
}
void tableInsertAndDrop( benchmark::State& state, bool threadSafe ) {
   auto table = Bex::DedupHashTableUnorderedSet::DedupHashTableUnorderedSetIs( threadSafe );
   U64 next = 1;
   for ( auto _ : state ) {
      auto v = table->dedup( Kel::makePtr<BenchValue>( next++ ) );
      benchmark::DoNotOptimize( v.ptr() );
   }
}
void BM_SingleThreadInsertAndDrop( benchmark::State& state ) { tableInsertAndDrop( state, false ); }
void BM_ThreadSafeInsertAndDrop( benchmark::State& state ) { tableInsertAndDrop( state, true ); }

double minimum( const std::vector<double>& v ) { return *std::min_element( v.begin(), v.end() ); }

void hitSizes( benchmark::internal::Benchmark* b ) {
   for ( int size : kWorkingSets ) {
      b->Arg( size );
   }
   b->ComputeStatistics( "min", minimum );
}
BENCHMARK( BM_BaselineHit )->Apply( hitSizes );
BENCHMARK( BM_SingleThreadHit )->Apply( hitSizes );
BENCHMARK( BM_ThreadSafeHit )->Apply( hitSizes );
BENCHMARK( BM_SingleThreadHitByContent )->Apply( hitSizes );
BENCHMARK( BM_ThreadSafeHitByContent )->Apply( hitSizes );
BENCHMARK( BM_BaselineInsertAndDrop )->ComputeStatistics( "min", minimum );
BENCHMARK( BM_SingleThreadInsertAndDrop )->ComputeStatistics( "min", minimum );
BENCHMARK( BM_ThreadSafeInsertAndDrop )->ComputeStatistics( "min", minimum );

// CapturingReporter: keeps each benchmark's best real time per iteration
// (the least disturbed of its repetitions) and shows one line per
// benchmark: that best time when there are repetitions, else the run.
class CapturingReporter : public benchmark::ConsoleReporter {
 public:
   explicit CapturingReporter( OutputOptions options ) : ConsoleReporter( options ) {}

   void ReportRuns( const std::vector<Run>& runs ) override {
      for ( const Run& run : runs ) {
         if ( run.run_type == Run::RT_Iteration ) {
            if ( run.iterations > 0 ) {
               double perIteration = run.real_accumulated_time / double( run.iterations );
               auto [ it, fresh ] = best.emplace( run.benchmark_name(), perIteration );
               if ( !fresh ) {
                  it->second = std::min( it->second, perIteration );
               }
               realTotal += run.real_accumulated_time;
               cpuTotal += run.cpu_accumulated_time;
            }
            if ( run.repetitions <= 1 ) {
               shown.push_back( run );
            }
         } else if ( run.aggregate_name == "min" ) {
            shown.push_back( run );
         }
      }
   }

   // Finalize(): the rows in the order the benchmarks were registered,
   // whatever order interleaving ran them in.
   void Finalize() override {
      std::stable_sort( shown.begin(), shown.end(), []( const Run& a, const Run& b ) {
         return std::tie( a.family_index, a.per_family_instance_index ) <
                std::tie( b.family_index, b.per_family_instance_index );
      } );
      if ( !shown.empty() ) {
         ConsoleReporter::ReportRuns( shown );
      }
      ConsoleReporter::Finalize();
   }

   // busyFactor(): real time over CPU time of the whole run; well above 1
   // when other work on the machine took the processor away.
   double busyFactor() const { return cpuTotal > 0 ? realTotal / cpuTotal : 1; }

   // time(): the best time of benchmark name (with its argument), or 0.
   double time( const std::string& name ) const {
      auto it = best.find( name );
      return it == best.end() ? 0 : it->second;
   }

 private:
   std::map<std::string, double> best;
   std::vector<Run> shown;
   double realTotal = 0;
   double cpuTotal = 0;
};

void printRatio( const CapturingReporter& reporter, const std::string& what,
                 const std::string& name, const std::string& baselineName, double target ) {
   double time = reporter.time( name );
   double base = reporter.time( baselineName );
   if ( time <= 0 || base <= 0 ) {
      return;
   }
   double ratio = time / base;
   if ( target > 0 ) {
      std::printf( "ratio %s: %.2f (target <= %.2f)%s\n", what.c_str(), ratio, target,
                   ratio <= target ? "" : "  MISSED" );
   } else {
      std::printf( "ratio %s: %.2f\n", what.c_str(), ratio );
   }
}

bool hasFlag( int argc, char** argv, const char* flag ) {
   for ( int i = 1; i < argc; ++i ) {
      if ( std::strncmp( argv[ i ], flag, std::strlen( flag ) ) == 0 ) {
         return true;
      }
   }
   return false;
}

} // namespace

int main( int argc, char** argv ) {
   // One short run is at the mercy of whatever else the machine does: unless
   // told otherwise, take the best of interleaved repetitions.
   std::vector<char*> args( argv, argv + argc );
   char repetitions[] = "--benchmark_repetitions=5";
   char interleaving[] = "--benchmark_enable_random_interleaving=true";
   if ( !hasFlag( argc, argv, "--benchmark_repetitions" ) ) {
      args.push_back( repetitions );
   }
   if ( !hasFlag( argc, argv, "--benchmark_enable_random_interleaving" ) ) {
      args.push_back( interleaving );
   }
   int count = int( args.size() );
   args.push_back( nullptr );
   benchmark::Initialize( &count, args.data() );
   if ( benchmark::ReportUnrecognizedArguments( count, args.data() ) ) {
      return 1;
   }
   // The tables serve a multi-threaded agent, where shared_ptr counts are
   // atomic. libstdc++ drops those atomics while a process has never started
   // a thread, which would time the baseline as no user of a mutex runs it.
   std::thread( [] {} ).join();
   // Build the working sets before anything is timed.
   for ( int size : kWorkingSets ) {
      fixture( size_t( size ) );
   }

   CapturingReporter reporter( isatty( fileno( stdout ) )
                                     ? benchmark::ConsoleReporter::OO_Defaults
                                     : benchmark::ConsoleReporter::OO_Tabular );
   benchmark::RunSpecifiedBenchmarks( &reporter );

   std::printf(
         "\nbest real time per operation over the repetitions; contents queried in shuffled "
         "order\n" );
   if ( reporter.busyFactor() > 1.3 ) {
      std::printf( "note: the machine was busy (real time %.1fx CPU time): ratios are noisy\n",
                   reporter.busyFactor() );
   }
   for ( int size : kWorkingSets ) {
      const std::string arg = "/" + std::to_string( size );
      const std::string base = "BM_BaselineHit" + arg;
      const std::string in = ", " + std::to_string( size ) + " contents";
      printRatio( reporter, "single-thread hit / baseline hit" + in, "BM_SingleThreadHit" + arg,
                  base, 1.0 / 3 );
      printRatio( reporter, "thread-safe hit / baseline hit" + in, "BM_ThreadSafeHit" + arg, base,
                  0.5 );
   }
   const std::string mid = "/" + std::to_string( kWorkingSets[ 1 ] );
   printRatio( reporter,
               "single-thread hit by content / baseline hit, " + mid.substr( 1 ) + " contents",
               "BM_SingleThreadHitByContent" + mid, "BM_BaselineHit" + mid, 0 );
   printRatio( reporter,
               "thread-safe hit by content / baseline hit, " + mid.substr( 1 ) + " contents",
               "BM_ThreadSafeHitByContent" + mid, "BM_BaselineHit" + mid, 0 );
   printRatio( reporter, "single-thread insert and drop / baseline", "BM_SingleThreadInsertAndDrop",
               "BM_BaselineInsertAndDrop", 0 );
   printRatio( reporter, "thread-safe insert and drop / baseline", "BM_ThreadSafeInsertAndDrop",
               "BM_BaselineInsertAndDrop", 0 );
   benchmark::Shutdown();
   return 0;
}
