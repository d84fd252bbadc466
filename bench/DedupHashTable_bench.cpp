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
// Two controls run beside it: the same hits with each half in a table of
// its own (interned by the same thread, right after), where the threads
// share only the process and the host, so that the ratio of the two runs is
// what sharing one table costs; and two threads chasing pointers through
// rings of their own, which says how far the host lets two threads scale
// at that moment (on a shared virtual machine it swings from run to run).
// One iteration is forty passes over a half per thread (a few
// milliseconds): two threads do twice the work of one. Timed by the clock,
// with the whole process's CPU time beside it: on a busy machine the
// threads seldom run at once, and the CPU time per hit still shows what
// one costs the other.
struct alignas( 64 ) Half {
   std::vector<U64> queries;
   std::vector<Bex::DedupHandle::PtrConst> held;
   Bex::DedupHashTableUnorderedSet::Ptr own =
         Bex::DedupHashTableUnorderedSet::DedupHashTableUnorderedSetIs( true );
   std::vector<Bex::DedupHandle::PtrConst> heldInOwn;
   // The share-nothing control: a ring of 48-byte nodes in shuffled order.
   struct Node {
      const Node* next;
      char payload[ 40 ];
   };
   std::vector<std::unique_ptr<Node>> nodes;
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
            for ( U64 c : h.queries ) {
               h.heldInOwn.push_back( h.own->dedup( Kel::makePtr<BenchValue>( c ) ) );
            }
            std::vector<Half::Node*> ring;
            for ( size_t i = 0; i < size; ++i ) {
               h.nodes.push_back( std::make_unique<Half::Node>() );
               ring.push_back( h.nodes.back().get() );
            }
            std::shuffle( ring.begin(), ring.end(), std::mt19937_64( k ) );
            for ( size_t i = 0; i < size; ++i ) {
               ring[ i ]->next = ring[ ( i + 1 ) % size ];
            }
         } ).join();
      }
   }
};
Halves& halves() {
   static Halves h;
   return h;
}

// Partner: the second thread, started once per benchmark and woken for each
// iteration, so that no iteration pays for starting a thread, nor waits
// while the scheduler moves a new one off the first thread's core.
class Partner {
 public:
   template<class Work>
   explicit Partner( Work work )
         : thread_( [ this, work ] {
              for ( U32 seen = 0;; ) {
                 started_.wait( seen );
                 seen = started_.load();
                 if ( stop_.load() ) {
                    return;
                 }
                 work();
                 finished_.store( seen );
                 finished_.notify_one();
              }
           } ) {}
   ~Partner() {
      stop_.store( true );
      start();
      thread_.join();
   }
   void start() {
      started_.fetch_add( 1 );
      started_.notify_one();
   }
   void wait() {
      const U32 want = started_.load();
      for ( U32 done; ( done = finished_.load() ) != want; ) {
         finished_.wait( done );
      }
   }

 private:
   alignas( 64 ) std::atomic<U32> started_{ 0 };
   alignas( 64 ) std::atomic<U32> finished_{ 0 };
   std::atomic<bool> stop_{ false };
   std::thread thread_;
};

// onThreads(): pass( half ) for each iteration, on the first half, or
// with two threads at once on both halves.
template<class Pass>
void onThreads( benchmark::State& state, unsigned threads, Pass&& pass ) {
   Halves& h = halves();
   if ( threads == 1 ) {
      for ( auto _ : state ) {
         pass( &h.half[ 0 ] );
      }
      return;
   }
   Partner partner( [ & ] { pass( &h.half[ 1 ] ); } );
   for ( auto _ : state ) {
      partner.start();
      pass( &h.half[ 0 ] );
      partner.wait();
   }
}

// threadsHitAndDrop(): threads (one or two) each hit their half, in the
// shared table or (ownTables) in their half's own.
void threadsHitAndDrop( benchmark::State& state, unsigned threads, bool ownTables ) {
   Halves& h = halves();
   auto pass = [ &h, ownTables ]( const Half* half ) {
      const Bex::DedupHashTable* table = ownTables ? half->own.ptr() : h.table.ptr();
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
   onThreads( state, threads, pass );
}
// threadsChase(): the share-nothing control: each thread follows its own
// ring, as many steps as a pass makes hits.
void threadsChase( benchmark::State& state, unsigned threads ) {
   onThreads( state, threads, []( const Half* half ) {
      const Half::Node* node = half->nodes.front().get();
      for ( size_t step = 0; step < 40 * half->nodes.size(); ++step ) {
         node = node->next;
      }
      benchmark::DoNotOptimize( node );
   } );
}
void BM_OneThreadHitsHalf( benchmark::State& state ) { threadsHitAndDrop( state, 1, false ); }
void BM_TwoThreadsHitHalves( benchmark::State& state ) { threadsHitAndDrop( state, 2, false ); }
void BM_OneThreadHitsOwnTable( benchmark::State& state ) { threadsHitAndDrop( state, 1, true ); }
void BM_TwoThreadsHitOwnTables( benchmark::State& state ) { threadsHitAndDrop( state, 2, true ); }
void BM_OneThreadChases( benchmark::State& state ) { threadsChase( state, 1 ); }
void BM_TwoThreadsChase( benchmark::State& state ) { threadsChase( state, 2 ); }
BENCHMARK( BM_OneThreadHitsHalf )->MeasureProcessCPUTime()->UseRealTime();
BENCHMARK( BM_TwoThreadsHitHalves )->MeasureProcessCPUTime()->UseRealTime();
BENCHMARK( BM_OneThreadHitsOwnTable )->MeasureProcessCPUTime()->UseRealTime();
BENCHMARK( BM_TwoThreadsHitOwnTables )->MeasureProcessCPUTime()->UseRealTime();
BENCHMARK( BM_OneThreadChases )->MeasureProcessCPUTime()->UseRealTime();
BENCHMARK( BM_TwoThreadsChase )->MeasureProcessCPUTime()->UseRealTime();

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
            // Two threads' throughput against one's, by the clock and by CPU
            // time (what two free cores would give: 2.00 when no hit slows
            // the other down), on the shared table and on own tables.
            auto scaling = [ & ]( const char* what, const std::string& one, const std::string& two,
                                  bool target ) {
               const std::string suffix = "/process_time/real_time";
               const double t1 = reporter.time( one + suffix );
               const double t2 = reporter.time( two + suffix );
               if ( t1 <= 0 || t2 <= 0 ) {
                  return 0.0;
               }
               const double scale = 2 * t1 / t2;
               std::printf(
                     "ratio two threads' throughput / one thread's, %s: %.2f%s; by CPU "
                     "time %.2f\n",
                     what, scale,
                     !target        ? ""
                     : scale >= 1.8 ? " (target >= 1.80)"
                                    : " (target >= 1.80)  MISSED",
                     4 * reporter.cpuTime( one + suffix ) / reporter.cpuTime( two + suffix ) );
               return scale;
            };
            const double shared =
                  scaling( "hit and release, disjoint halves of one thread-safe table",
                           "BM_OneThreadHitsHalf", "BM_TwoThreadsHitHalves", true );
            const double own =
                  scaling( "the same, each half in a thread-safe table of its own",
                           "BM_OneThreadHitsOwnTable", "BM_TwoThreadsHitOwnTables", false );
            scaling( "pointer chases sharing nothing", "BM_OneThreadChases", "BM_TwoThreadsChase",
                     false );
            if ( shared > 0 && own > 0 ) {
               // 1.00 when sharing the table costs the threads nothing.
               std::printf( "ratio two threads' hit scaling, one table / own tables: %.2f\n",
                            shared / own );
            }
            printRatio( reporter, "single-thread insert and drop / baseline",
                        "BM_SingleThreadInsertAndDrop", "BM_BaselineInsertAndDrop", 0 );
            printRatio( reporter, "thread-safe insert and drop / baseline",
                        "BM_ThreadSafeInsertAndDrop", "BM_BaselineInsertAndDrop", 0 );
         } );
}
