// bench/ExtComm_bench.cpp: interning extended communities. The hit path of
// ExtComm::dedupContent (a path carrying a value that is already interned,
// which it keeps; also with the value released at once)
// against the weak_ptr map a user would otherwise write and against a floor
// that does only the unavoidable work (the hash of the content and one probe
// of a plain open-addressing array of contents); the miss path (parse and
// insert); and the policy text of a route target, which must not touch the
// heap when it fits the local buffer. The flood: 40,000 contents that all
// share one hash() (found by running the public mixer backwards) intern
// no slower than 40,000 random ones, since the table places by a keyed hash.

#include <benchmark/benchmark.h>

#include <atomic>
#include <cstdlib>
#include <new>
#include <random>
#include <vector>

#include "Kel/Hash.h"
#include "OvBgp/OvBgpCommunity.h"
#include "OvBgp/Parse/ExtComm.h"
#include "OvFmt/DynamicBuffer.h"
#include "bench/Baseline.h"
#include "bench/BenchReport.h"

// Every allocation of the program is counted, so that a benchmark can show
// how many its operation makes. The replacements pair malloc with free,
// which GCC cannot tell from a mismatched delete.
namespace {
std::atomic<U64> allocations{ 0 };
}
#pragma GCC diagnostic push
#if !defined( __clang__ )
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
#endif
void* operator new( std::size_t size ) {
   allocations.fetch_add( 1, std::memory_order_relaxed );
   if ( void* p = std::malloc( size ? size : 1 ) ) {
      return p;
   }
   throw std::bad_alloc();
}
void operator delete( void* p ) noexcept { std::free( p ); }
void operator delete( void* p, std::size_t ) noexcept { std::free( p ); }
#pragma GCC diagnostic pop

namespace {

using namespace Routing::Bgp;

constexpr size_t kWorkingSet = 20000;

// A realistic mix: mostly route targets of the three layouts, then route
// origins, link bandwidths, colours and values of types without a rule.
std::vector<U64> makeContents() {
   std::mt19937_64 rng( 42 );
   std::vector<U64> out;
   while ( out.size() < kWorkingSet ) {
      U64 r = rng();
      switch ( out.size() % 10 ) {
         case 0:
         case 1:
         case 2:
         case 3:
            out.push_back( 0x0002000000000000 | ( r & 0xFFFFFFFFFFFF ) );
            break;
         case 4:
            out.push_back( 0x0102000000000000 | ( r & 0xFFFFFFFFFFFF ) );
            break;
         case 5:
            out.push_back( 0x0202000000000000 | ( r & 0xFFFFFFFFFFFF ) );
            break;
         case 6:
            out.push_back( 0x0003000000000000 | ( r & 0xFFFFFFFFFFFF ) );
            break;
         case 7:
            out.push_back( 0x4004000000000000 | ( r & 0xFFFF00000000 ) | 0x4cee6b28 );
            break;
         case 8:
            out.push_back( 0x030b000000000000 | ( r & 0xFFFFFFFF ) );
            break;
         default:
            out.push_back( 0x8000000000000000 | ( r & 0x00FFFFFFFFFFFFFF ) );
            break;
      }
   }
   std::sort( out.begin(), out.end() );
   out.erase( std::unique( out.begin(), out.end() ), out.end() );
   return out;
}

struct Fixture {
   Fixture() : contents( makeContents() ), queries( contents ) {
      std::shuffle( queries.begin(), queries.end(), std::mt19937( 7 ) );
      container = bgpParseExtCommContainerSmFactory();
      table = extCommDedupTableFactory( container->extCommParser() );
      // Each side's values are allocated together, as each would be in a
      // process that runs only one of them.
      for ( U64 c : contents ) {
         held.push_back( ExtComm::dedupContent( table.ptr(), ExtCommContent( c ) ) );
      }
      for ( U64 c : contents ) {
         baselineHeld.push_back( baseline.intern( c ) );
      }
      // The floor: a power-of-two array of contents at load one half.
      size_t capacity = 1;
      while ( capacity < contents.size() * 2 ) {
         capacity <<= 1;
      }
      floorKeys.assign( capacity, 0 );
      floorMask = capacity - 1;
      for ( U64 c : contents ) {
         size_t i = Kel::hashSingleAttr( 0, c ) & floorMask;
         while ( floorKeys[ i ] ) {
            i = ( i + 1 ) & floorMask;
         }
         floorKeys[ i ] = c;
      }
      // The counted floor: the same array placed by the keyed hash, each
      // content beside a counted object of its own.
      floorKey = Kel::randomHashKey();
      countedSlots.assign( capacity, CountedSlot() );
      for ( U64 c : contents ) {
         size_t i = Kel::keyedHash32( floorKey, c ) & floorMask;
         while ( countedSlots[ i ].counted ) {
            i = ( i + 1 ) & floorMask;
         }
         countedSlots[ i ] = CountedSlot{ c, new Counted };
      }
   }
   ~Fixture() {
      for ( CountedSlot& slot : countedSlots ) {
         delete slot.counted;
      }
   }

   struct BaselineValue {
      explicit BaselineValue( U64 c ) : content( c ) {}
      U64 content;
   };

   std::vector<U64> contents;
   std::vector<U64> queries;
   BgpParseExtCommContainerSm::Ptr container;
   ExtCommDedupTable::Ptr table;
   std::vector<ExtComm::PtrConst> held;
   Baseline::WeakMapInterner<BaselineValue> baseline;
   std::vector<std::shared_ptr<const BaselineValue>> baselineHeld;
   std::vector<U64> floorKeys;
   size_t floorMask = 0;
   struct Counted {
      std::atomic<U32> count{ 1 };
   };
   struct CountedSlot {
      U64 content = 0;
      Counted* counted = nullptr;
   };
   Kel::HashKey floorKey;
   std::vector<CountedSlot> countedSlots;
};

Fixture& fixture() {
   static Fixture f;
   return f;
}

// Hits are timed with the value kept, as a path keeps it (the targets are
// for this), and with it released at once.
auto dedupContentHit() {
   return [ table = fixture().table.ptr() ]( U64 content ) {
      return ExtComm::dedupContent( table, ExtCommContent( content ) );
   };
}
auto baselineHit() {
   return [ &baseline = fixture().baseline ]( U64 content ) {
      return baseline.intern( content );
   };
}
void BM_DedupContentHit( benchmark::State& state ) {
   BenchReport::keepEach( state, fixture().queries, dedupContentHit() );
}
void BM_BaselineHit( benchmark::State& state ) {
   BenchReport::keepEach( state, fixture().queries, baselineHit() );
}
void BM_DedupContentHitAndDrop( benchmark::State& state ) {
   BenchReport::dropEach( state, fixture().queries, dedupContentHit() );
}
void BM_BaselineHitAndDrop( benchmark::State& state ) {
   BenchReport::dropEach( state, fixture().queries, baselineHit() );
}
BENCHMARK( BM_DedupContentHit );
BENCHMARK( BM_BaselineHit );
BENCHMARK( BM_DedupContentHitAndDrop );
BENCHMARK( BM_BaselineHitAndDrop );

void BM_FloorProbe( benchmark::State& state ) {
   Fixture& f = fixture();
   size_t i = 0;
   for ( auto _ : state ) {
      const U64 c = f.queries[ i ];
      size_t slot = Kel::hashSingleAttr( 0, c ) & f.floorMask;
      while ( f.floorKeys[ slot ] != c ) {
         slot = ( slot + 1 ) & f.floorMask;
      }
      benchmark::DoNotOptimize( slot );
      i = i + 1 == f.queries.size() ? 0 : i + 1;
   }
}
BENCHMARK( BM_FloorProbe );

// The floor of a hit whose reference is dropped at once: the keyed hash,
// one probe of a plain array, and one counted reference taken and dropped.
void BM_CountedFloorHitAndDrop( benchmark::State& state ) {
   Fixture& f = fixture();
   size_t i = 0;
   for ( auto _ : state ) {
      const U64 c = f.queries[ i ];
      size_t slot = Kel::keyedHash32( f.floorKey, c ) & f.floorMask;
      while ( f.countedSlots[ slot ].content != c ) {
         slot = ( slot + 1 ) & f.floorMask;
      }
      Fixture::Counted* counted = f.countedSlots[ slot ].counted;
      counted->count.fetch_add( 1 );
      benchmark::DoNotOptimize( counted );
      counted->count.fetch_sub( 1 );
      i = i + 1 == f.queries.size() ? 0 : i + 1;
   }
}
BENCHMARK( BM_CountedFloorHitAndDrop );

// floodContents(): count contents whose hash() is one value: the mixer's
// steps are each invertible, so any outputs folding to that value can be
// run back to their inputs.
std::vector<U64> floodContents( size_t count ) {
   auto inverse = []( U64 odd ) {
      U64 x = odd; // Newton's iteration doubles the correct low bits
      for ( int i = 0; i < 6; ++i ) {
         x *= 2 - odd * x;
      }
      return x;
   };
   const U64 inverse1 = inverse( 0xFF51AFD7ED558CCDull );
   const U64 inverse2 = inverse( 0xC4CEB9FE1A85EC53ull );
   constexpr U32 kHash = 0x5EEDF10Du;
   std::vector<U64> out;
   for ( U64 high = 1; out.size() < count; ++high ) {
      U64 x = high << 32 | ( high ^ kHash );
      x ^= x >> 33; // a shift by more than half the word undoes itself
      x *= inverse2;
      x ^= x >> 33;
      x *= inverse1;
      x ^= x >> 33;
      out.push_back( x );
   }
   for ( U64 c : out ) {
      if ( Kel::hashSingleAttr( 0, c ) != kHash ) {
         std::abort();
      }
   }
   return out;
}

constexpr size_t kFlood = 40000;
const std::vector<U64>& floodSet( bool crafted ) {
   static const std::vector<U64> craftedSet = floodContents( kFlood );
   static const std::vector<U64> randomSet = [] {
      std::mt19937_64 rng( 99 );
      std::vector<U64> out( kFlood );
      for ( U64& c : out ) {
         c = rng();
      }
      return out;
   }();
   return crafted ? craftedSet : randomSet;
}

// Interns a whole set into a fresh table, as a peer's UPDATEs would.
void BM_FloodIntern( benchmark::State& state ) {
   const std::vector<U64>& contents = floodSet( state.range( 0 ) != 0 );
   Fixture& f = fixture();
   std::vector<ExtComm::PtrConst> held( contents.size() );
   for ( auto _ : state ) {
      state.PauseTiming();
      ExtCommDedupTable::Ptr table = extCommDedupTableFactory( f.container->extCommParser() );
      state.ResumeTiming();
      for ( size_t i = 0; i < contents.size(); ++i ) {
         held[ i ] = ExtComm::dedupContent( table.ptr(), ExtCommContent( contents[ i ] ) );
      }
      state.PauseTiming();
      for ( auto& value : held ) {
         value = nullptr;
      }
      table = nullptr;
      state.ResumeTiming();
   }
}
BENCHMARK( BM_FloodIntern )->Arg( 0 )->Arg( 1 )->Unit( benchmark::kMillisecond );

// The miss path: each content is new; it is parsed, interned, and released
// a while later (so its removal is in the figure too).
void BM_DedupContentMiss( benchmark::State& state ) {
   Fixture& f = fixture();
   std::vector<ExtComm::PtrConst> ring( 4096 );
   U64 next = 0;
   size_t slot = 0;
   for ( auto _ : state ) {
      const U64 content = 0x0002fde900000000 + ( next++ & 0xFFFFFFFF );
      ring[ slot ] = ExtComm::dedupContent( f.table.ptr(), ExtCommContent( content ) );
      slot = ( slot + 1 ) & 4095;
   }
}
BENCHMARK( BM_DedupContentMiss );

void BM_RouteTargetPolicyTextToBuffer( benchmark::State& state ) {
   Fixture& f = fixture();
   ExtComm::PtrConst rt =
         ExtComm::dedupContent( f.table.ptr(), ExtCommContent( 0x0202fde800640005 ) );
   const ExtComm::StrepFormat format = ExtComm::strepFormatClassification | ExtComm::strepFormatUI;
   const U64 before = allocations.load();
   for ( auto _ : state ) {
      OvFmt::DynamicBuffer<64> buf;
      rt->appendStrepForPolicy( format, buf );
      benchmark::DoNotOptimize( buf.data() );
   }
   state.counters[ "allocs/op" ] = double( allocations.load() - before ) /
                                   double( std::max<size_t>( state.iterations(), 1 ) );
}
BENCHMARK( BM_RouteTargetPolicyTextToBuffer );

void BM_RouteTargetPolicyTextShort( benchmark::State& state ) {
   Fixture& f = fixture();
   ExtComm::PtrConst rt =
         ExtComm::dedupContent( f.table.ptr(), ExtCommContent( 0x0002fde800000064 ) );
   const U64 before = allocations.load();
   for ( auto _ : state ) {
      Kel::String text = rt->toStrepForPolicy( ExtComm::strepFormatClassification );
      benchmark::DoNotOptimize( text.data() );
   }
   state.counters[ "allocs/op" ] = double( allocations.load() - before ) /
                                   double( std::max<size_t>( state.iterations(), 1 ) );
}
BENCHMARK( BM_RouteTargetPolicyTextShort );

} // namespace

int main( int argc, char** argv ) {
   return BenchReport::main(
         argc, argv, [] { fixture(); },
         []( const BenchReport::CapturingReporter& reporter ) {
            std::printf( "%zu extended communities interned, queried in shuffled order\n",
                         fixture().contents.size() );
            BenchReport::printRatio( reporter, "dedupContent hit / baseline hit",
                                     "BM_DedupContentHit", "BM_BaselineHit", 1.0 / 3 );
            BenchReport::printRatio( reporter, "dedupContent hit / floor (hash + one probe)",
                                     "BM_DedupContentHit", "BM_FloorProbe", 2.0 );
            BenchReport::printRatio( reporter, "dedupContent hit and release / baseline",
                                     "BM_DedupContentHitAndDrop", "BM_BaselineHitAndDrop", 0 );
            BenchReport::printRatio( reporter, "dedupContent miss / hit", "BM_DedupContentMiss",
                                     "BM_DedupContentHit", 0 );
            BenchReport::printRatio( reporter,
                                     "dedupContent hit and release / counted floor (keyed hash + "
                                     "one probe + one reference taken and dropped)",
                                     "BM_DedupContentHitAndDrop", "BM_CountedFloorHitAndDrop",
                                     1.5 );
            BenchReport::printRatio(
                  reporter, "flood: 40,000 contents of one hash() / 40,000 random, interned",
                  "BM_FloodIntern/1", "BM_FloodIntern/0", 1.5 );
         } );
}
