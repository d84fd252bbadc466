// bench/DedupHashTable_bench.cpp: the interning hit path (a caller interning
// a value that is already interned and keeping the counted pointer, as a
// path does; also with the pointer released at once) of the single-thread
// and thread-safe tables, against the weak_ptr map a user would otherwise
// write (bench/Baseline.h). Every content of the working set is held
// outside, so all stay interned; they are queried in a shuffled order. The
// working set takes three sizes across what a routing table holds. After
// the table of results, the ratios of the same run.

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
#include "bench/BenchReport.h"

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
   static U32 placementOf( const Kel::HashKey& key, U64 content ) {
      return Kel::keyedHash32( key, content );
   }
   U64 content() const noexcept { return content_; }

   U32 hash() const override { return hashOf( content_ ); }
   U32 placementHash( const Kel::HashKey& key ) const override {
      return placementOf( key, content_ );
   }
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

// Each hit is timed twice: kept (as a path keeps the values it carries;
// the targets are for this) and released at once.
auto baselineHit( Fixture& f ) {
   return [ &interner = f.baseline.interner ]( U64 content ) {
      return interner.lookup( content );
   };
}

// The table's hit path: hash, probe, content test inlined through lookupIf.
auto tableHit( Fixture& f, bool threadSafe ) {
   const Bex::DedupHashTable* table = ( threadSafe ? f.threadSafe : f.singleThread ).table.ptr();
   return [ table ]( U64 content ) {
      return table->lookupIf( BenchValue::placementOf( table->hashKey(), content ),
                              [ content ]( const Bex::DedupHandle* h ) {
                                 return static_cast<const BenchValue*>( h )->content() == content;
                              } );
   };
}

// The same through lookupByContent(): one virtual content test per probe.
auto tableHitByContent( Fixture& f, bool threadSafe ) {
   const Bex::DedupHashTable* table = ( threadSafe ? f.threadSafe : f.singleThread ).table.ptr();
   return [ table ]( U64 content ) {
      return table->lookupByContent( BenchValue::Content( content ),
                                     BenchValue::placementOf( table->hashKey(), content ) );
   };
}

Fixture& fixtureFor( const benchmark::State& state ) {
   return fixture( size_t( state.range( 0 ) ) );
}

void BM_BaselineHit( benchmark::State& state ) {
   Fixture& f = fixtureFor( state );
   BenchReport::keepEach( state, f.set.queries, baselineHit( f ) );
}
void BM_SingleThreadHit( benchmark::State& state ) {
   Fixture& f = fixtureFor( state );
   BenchReport::keepEach( state, f.set.queries, tableHit( f, false ) );
}
void BM_ThreadSafeHit( benchmark::State& state ) {
   Fixture& f = fixtureFor( state );
   BenchReport::keepEach( state, f.set.queries, tableHit( f, true ) );
}
void BM_SingleThreadHitByContent( benchmark::State& state ) {
   Fixture& f = fixtureFor( state );
   BenchReport::keepEach( state, f.set.queries, tableHitByContent( f, false ) );
}
void BM_ThreadSafeHitByContent( benchmark::State& state ) {
   Fixture& f = fixtureFor( state );
   BenchReport::keepEach( state, f.set.queries, tableHitByContent( f, true ) );
}
void BM_BaselineHitAndDrop( benchmark::State& state ) {
   Fixture& f = fixtureFor( state );
   BenchReport::dropEach( state, f.set.queries, baselineHit( f ) );
}
void BM_SingleThreadHitAndDrop( benchmark::State& state ) {
   Fixture& f = fixtureFor( state );
   BenchReport::dropEach( state, f.set.queries, tableHit( f, false ) );
}
void BM_ThreadSafeHitAndDrop( benchmark::State& state ) {
   Fixture& f = fixtureFor( state );
   BenchReport::dropEach( state, f.set.queries, tableHit( f, true ) );
}

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

// Hits that scale: two threads, each hitting its own half of 20k contents
// in one thread-safe table and releasing at once, against one thread doing
// its half alone. Each half is interned by a thread of its own, as the
// threads of an agent intern what their peers send, so that its members,
// its queries and its held references sit in that thread's heap and no
// line is written by both threads unless the table writes it.
// One iteration is forty passes over a half per thread (a few milliseconds,
// so that starting the second thread is lost in it): two threads do twice
// the work of one. Timed by the clock, with the whole process's CPU time
// beside it: on a busy machine the threads seldom run at once, and the CPU
// time per hit still shows what one costs the other.
struct alignas( 64 ) Half {
   std::vector<U64> queries;
   std::vector<Bex::DedupHandle::PtrConst> held;
};
struct Halves {
   Bex::DedupHashTableUnorderedSet::Ptr table =
         Bex::DedupHashTableUnorderedSet::DedupHashTableUnorderedSetIs( true );
   Half half[ 2 ];
   Halves() {
      const WorkingSet set( 20000 );
      const size_t size = set.contents.size() / 2;
      for ( size_t k = 0; k < 2; ++k ) {
         std::thread( [ &, k ] {
            Half& h = half[ k ];
            h.queries.assign( set.queries.begin() + k * size,
                              set.queries.begin() + ( k + 1 ) * size );
            for ( U64 c : h.queries ) {
               h.held.push_back( table->dedup( Kel::makePtr<BenchValue>( c ) ) );
            }
         } ).join();
      }
   }
};
Halves& halves() {
   static Halves h;
   return h;
}

void threadsHitAndDrop( benchmark::State& state, unsigned threads ) {
   Halves& h = halves();
   const Bex::DedupHashTable* table = h.table.ptr();
   auto pass = [ table ]( const Half* half ) {
      for ( int round = 0; round < 40; ++round ) {
         for ( U64 content : half->queries ) {
            auto result = table->lookupIf(
                  BenchValue::placementOf( table->hashKey(), content ),
                  [ content ]( const Bex::DedupHandle* m ) {
                     return static_cast<const BenchValue*>( m )->content() == content;
                  } );
            benchmark::DoNotOptimize( result );
         }
      }
   };
   for ( auto _ : state ) {
      if ( threads == 1 ) {
         pass( &h.half[ 0 ] );
      } else {
         std::thread other( pass, &h.half[ 1 ] );
         pass( &h.half[ 0 ] );
         other.join();
      }
   }
}
void BM_OneThreadHitsHalf( benchmark::State& state ) { threadsHitAndDrop( state, 1 ); }
void BM_TwoThreadsHitHalves( benchmark::State& state ) { threadsHitAndDrop( state, 2 ); }
BENCHMARK( BM_OneThreadHitsHalf )->MeasureProcessCPUTime()->UseRealTime();
BENCHMARK( BM_TwoThreadsHitHalves )->MeasureProcessCPUTime()->UseRealTime();

void hitSizes( benchmark::internal::Benchmark* b ) {
   for ( int size : kWorkingSets ) {
      b->Arg( size );
   }
}
BENCHMARK( BM_BaselineHit )->Apply( hitSizes );
BENCHMARK( BM_SingleThreadHit )->Apply( hitSizes );
BENCHMARK( BM_ThreadSafeHit )->Apply( hitSizes );
BENCHMARK( BM_SingleThreadHitByContent )->Apply( hitSizes );
BENCHMARK( BM_ThreadSafeHitByContent )->Apply( hitSizes );
BENCHMARK( BM_BaselineHitAndDrop )->Apply( hitSizes );
BENCHMARK( BM_SingleThreadHitAndDrop )->Apply( hitSizes );
BENCHMARK( BM_ThreadSafeHitAndDrop )->Apply( hitSizes );
BENCHMARK( BM_BaselineInsertAndDrop );
BENCHMARK( BM_SingleThreadInsertAndDrop );
BENCHMARK( BM_ThreadSafeInsertAndDrop );

} // namespace

int main( int argc, char** argv ) {
   return BenchReport::main(
         argc, argv,
         [] {
            // Build the working sets before anything is timed.
            for ( int size : kWorkingSets ) {
               fixture( size_t( size ) );
            }
            halves();
         },
         []( const BenchReport::CapturingReporter& reporter ) {
            using BenchReport::printRatio;
            for ( int size : kWorkingSets ) {
               const std::string arg = "/" + std::to_string( size );
               const std::string base = "BM_BaselineHit" + arg;
               const std::string in = ", " + std::to_string( size ) + " contents";
               printRatio( reporter, "single-thread hit / baseline hit" + in,
                           "BM_SingleThreadHit" + arg, base, 1.0 / 3 );
               printRatio( reporter, "thread-safe hit / baseline hit" + in,
                           "BM_ThreadSafeHit" + arg, base, 0.5 );
               const std::string drop = "BM_BaselineHitAndDrop" + arg;
               printRatio( reporter, "single-thread hit and release / baseline" + in,
                           "BM_SingleThreadHitAndDrop" + arg, drop, 0 );
               printRatio( reporter, "thread-safe hit and release / baseline" + in,
                           "BM_ThreadSafeHitAndDrop" + arg, drop, 0 );
            }
            const std::string mid = std::to_string( kWorkingSets[ 1 ] );
            printRatio( reporter,
                        "single-thread hit by content / baseline hit, " + mid + " contents",
                        "BM_SingleThreadHitByContent/" + mid, "BM_BaselineHit/" + mid, 0 );
            printRatio( reporter, "thread-safe hit by content / baseline hit, " + mid + " contents",
                        "BM_ThreadSafeHitByContent/" + mid, "BM_BaselineHit/" + mid, 0 );
            const std::string one = "BM_OneThreadHitsHalf/process_time/real_time";
            const std::string two = "BM_TwoThreadsHitHalves/process_time/real_time";
            if ( reporter.time( one ) > 0 && reporter.time( two ) > 0 ) {
               const double scale = 2 * reporter.time( one ) / reporter.time( two );
               std::printf(
                     "ratio two threads' hit throughput / one thread's (thread-safe table, "
                     "disjoint contents, hit and release): %.2f (target >= 1.80)%s\n",
                     scale, scale >= 1.8 ? "" : "  MISSED" );
               // By CPU time, what two free cores would give: 2.00 when no
               // hit slows the other down.
               std::printf( "ratio the same by CPU time: %.2f\n",
                            4 * reporter.cpuTime( one ) / reporter.cpuTime( two ) );
            }
            printRatio( reporter, "single-thread insert and drop / baseline",
                        "BM_SingleThreadInsertAndDrop", "BM_BaselineInsertAndDrop", 0 );
            printRatio( reporter, "thread-safe insert and drop / baseline",
                        "BM_ThreadSafeInsertAndDrop", "BM_BaselineInsertAndDrop", 0 );
         } );
}
