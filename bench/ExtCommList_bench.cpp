// bench/ExtCommList_bench.cpp: interning the extended community lists of a
// stream of paths. 1M paths are drawn with a Zipf-like skew (fixed seed)
// from 20k distinct sets of one to four route targets, a tenth of them with
// a link bandwidth as well; each path's values are interned through the
// value table, its list built and interned, and kept until the stream ends,
// as a RIB keeps them. The baseline interns the same lists of 64-bit values
// the straightforward way (bench/Baseline.h). After the ratio, the bytes
// each side holds per distinct list and per path.
//
// From octets: the same stream as attribute octets (bench/WireStream.h: in
// order, one path in eight shuffled with a repeat) through
// ExtCommList::dedupOctets(), against the naive interner reading the same
// octets, and against the floor of a keyed hash, one probe of a plain array
// and a memcmp.

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <memory>
#include <random>
#include <set>
#include <vector>

#include "OvBgp/ExtCommList.h"
#include "OvBgp/ExtCommListDedupTable.h"
#include "OvBgp/Parse/ExtComm.h"
#include "Routing/Bgp/OvBgpGlobals.h"
#include "bench/Baseline.h"
#include "bench/BenchReport.h"
#include "bench/WireStream.h"

namespace {

using namespace Routing::Bgp;

constexpr size_t kDistinctSets = 20'000;
constexpr size_t kPaths = 1'000'000;

struct Stream {
   std::vector<std::vector<U64>> sets;
   std::vector<U32> paths;
};

const Stream& stream() {
   static const Stream built = [] {
      Stream s;
      std::mt19937_64 rng( 20261121 );
      std::vector<U64> routeTargets;
      for ( int i = 0; i < 5000; ++i ) {
         const U64 layout = ( i % 10 < 7 ) ? 0x0002 : ( i % 10 < 9 ? 0x0102 : 0x0202 );
         routeTargets.push_back( layout << 48 | ( rng() & 0xFFFFFFFFFFFF ) );
      }
      std::set<std::vector<U64>> seen;
      while ( s.sets.size() < kDistinctSets ) {
         std::vector<U64> set;
         const size_t count = 1 + rng() % 4;
         for ( size_t i = 0; i < count; ++i ) {
            set.push_back( routeTargets[ std::min( rng() % 5000, rng() % 5000 ) ] );
         }
         if ( rng() % 10 == 0 ) {
            set.push_back( 0x4004000000000000 | ( rng() & 0xFFFF00000000 ) | 0x4cee6b28 );
         }
         std::vector<U64> key = set;
         std::sort( key.begin(), key.end() );
         key.erase( std::unique( key.begin(), key.end() ), key.end() );
         if ( seen.insert( key ).second ) {
            s.sets.push_back( std::move( set ) );
         }
      }
      std::vector<double> cdf( kDistinctSets );
      double total = 0;
      for ( size_t r = 0; r < kDistinctSets; ++r ) {
         total += 1.0 / std::pow( double( r + 1 ), 0.9 );
         cdf[ r ] = total;
      }
      std::uniform_real_distribution<double> uniform( 0, total );
      for ( size_t p = 0; p < kPaths; ++p ) {
         s.paths.push_back(
               p < kDistinctSets ? U32( p )
                                 : U32( std::lower_bound( cdf.begin(), cdf.end(), uniform( rng ) ) -
                                        cdf.begin() ) );
      }
      std::shuffle( s.paths.begin(), s.paths.end(), rng );
      return s;
   }();
   return built;
}

// Tables as an agent makes them: thread-safe, around the full parser.
struct Tables {
   Tables() {
      OvBgpGlobals::multiThreadedIs( true );
      container = bgpParseExtCommContainerSmFactory();
      values = extCommDedupTableFactory( container->extCommParser() );
      lists = extCommListDedupTableFactory();
      OvBgpGlobals::multiThreadedIs( false );
   }
   BgpParseExtCommContainerSm::Ptr container;
   ExtCommDedupTable::Ptr values;
   ExtCommListDedupTable::Ptr lists;
};

ExtCommList::PtrConst intern( const Tables& t, const std::vector<U64>& received ) {
   ExtCommList::Ptr list = extCommListFactory();
   list->expectedCommunityCountIs( U32( received.size() ) );
   for ( U64 content : received ) {
      list->commIs( ExtComm::dedupContent( t.values.ptr(), ExtCommContent( content ) ) );
   }
   return list->dedup( t.lists.ptr() );
}

// timeStream(): one timed pass over the stream's paths, each interned by
// intern( side, p ) into what make() gives (tables, interner or floor) and
// held. Making the side and releasing what the pass holds are untimed, as
// in the standard list's benchmark: the streams time interning, not the
// teardown of a RIB.
template<class Make, class Intern>
void timeStream( benchmark::State& state, size_t paths, Make&& make, Intern&& intern ) {
   for ( auto _ : state ) {
      state.PauseTiming();
      auto side = make();
      std::vector<decltype( intern( *side, size_t( 0 ) ) )> held( paths );
      state.ResumeTiming();
      for ( size_t p = 0; p < paths; ++p ) {
         held[ p ] = intern( *side, p );
      }
      benchmark::DoNotOptimize( held.data() );
      state.PauseTiming();
      held.clear();
      side.reset();
      state.ResumeTiming();
   }
}

void BM_ExtCommListInternStream( benchmark::State& state ) {
   const Stream& s = stream();
   timeStream(
         state, s.paths.size(), [] { return std::make_unique<Tables>(); },
         [ & ]( const Tables& tables, size_t p ) {
            return intern( tables, s.sets[ s.paths[ p ] ] );
         } );
}
BENCHMARK( BM_ExtCommListInternStream )->Unit( benchmark::kMillisecond )->Iterations( 1 );

using NaiveListTable = Baseline::WeakListInterner<uint64_t>;

void BM_BaselineInternStream( benchmark::State& state ) {
   const Stream& s = stream();
   timeStream(
         state, s.paths.size(), [] { return std::make_unique<NaiveListTable>(); },
         [ & ]( NaiveListTable& table, size_t p ) {
            return table.intern( s.sets[ s.paths[ p ] ] );
         } );
}
BENCHMARK( BM_BaselineInternStream )->Unit( benchmark::kMillisecond )->Iterations( 1 );

const WireStream& wire() {
   static const WireStream built = wireStream( stream().sets, stream().paths, 20261124 );
   return built;
}

void BM_ExtCommListDedupOctetsStream( benchmark::State& state ) {
   const WireStream& w = wire();
   timeStream(
         state, w.paths(), [] { return std::make_unique<Tables>(); },
         [ & ]( const Tables& tables, size_t p ) {
            const auto octets = w.path( p );
            return ExtCommList::dedupOctets( tables.lists.ptr(), tables.values.ptr(), octets.data(),
                                             octets.size() );
         } );
}
BENCHMARK( BM_ExtCommListDedupOctetsStream )->Unit( benchmark::kMillisecond )->Iterations( 1 );

void BM_BaselineOctetsStream( benchmark::State& state ) {
   const WireStream& w = wire();
   timeStream(
         state, w.paths(), [] { return std::make_unique<NaiveListTable>(); },
         [ & ]( NaiveListTable& table, size_t p ) {
            const auto octets = w.path( p );
            return table.internOctets( octets.data(), octets.size() );
         } );
}
BENCHMARK( BM_BaselineOctetsStream )->Unit( benchmark::kMillisecond )->Iterations( 1 );

void BM_FloorOctetsStream( benchmark::State& state ) {
   const WireStream& w = wire();
   timeStream(
         state, w.paths(), [ & ] { return std::make_unique<OctetsFloor>( w.forms ); },
         [ & ]( OctetsFloor& floor, size_t p ) { return floor.intern( w.path( p ) ); } );
}
BENCHMARK( BM_FloorOctetsStream )->Unit( benchmark::kMillisecond )->Iterations( 1 );

// footprint(): bytes held per distinct list by each side, counting each
// list object and the capacity of its vectors (our lists' classification
// parts are shared, so they are counted once, in their own tables).
void printFootprint() {
   const Stream& s = stream();
   Tables tables;
   std::vector<ExtCommList::PtrConst> held;
   for ( U32 p : s.paths ) {
      held.push_back( intern( tables, s.sets[ p ] ) );
   }
   double ours = 0, oursLists = 0;
   tables.lists->dedupTable()->forEach( [ & ]( const Bex::DedupHandle* h ) {
      const auto* list = static_cast<const ExtCommList*>( h );
      ours += sizeof( ExtCommList ) + list->commVector().capacity() * sizeof( ExtComm::PtrConst ) +
              list->classificationLists().size() * sizeof( ExtCommClassificationList::PtrConst );
      ++oursLists;
   } );
   auto parts = [ & ]( const Bex::DedupHashTable::Ptr& table ) {
      table->forEach( [ & ]( const Bex::DedupHandle* h ) {
         const auto* part = static_cast<const ExtCommClassificationList*>( h );
         ours += sizeof( LinkBandwidthExtCommClassificationList ) +
                 part->commVector().capacity() * sizeof( ExtComm::PtrConst );
      } );
   };
   parts( tables.lists->rtExtCommClassificationListDedupTable() );
   parts( tables.lists->extCommClassificationListDedupTable() );

   Baseline::WeakListInterner<uint64_t> baseline;
   std::vector<Baseline::WeakListInterner<uint64_t>::List> baselineHeld;
   for ( U32 p : s.paths ) {
      baselineHeld.push_back( baseline.intern( s.sets[ p ] ) );
   }
   double theirs = 0, theirLists = 0;
   baseline.forEach( [ & ]( const std::vector<uint64_t>& values ) {
      // The shared_ptr's control block with the vector in it, and the values.
      theirs += 16 + sizeof( std::vector<uint64_t> ) + values.capacity() * sizeof( uint64_t );
      ++theirLists;
   } );
   std::printf( "distinct lists: ours %.0f, baseline %.0f\n", oursLists, theirLists );
   std::printf(
         "bytes per distinct list (parts included): ExtCommList %.1f, baseline %.1f, "
         "ratio %.2f\n",
         ours / oursLists, theirs / theirLists, ( ours / oursLists ) / ( theirs / theirLists ) );
   std::printf( "bytes per path (lists + one pointer): ExtCommList %.1f, baseline %.1f\n",
                ( ours + double( held.size() ) * sizeof( void* ) ) / double( held.size() ),
                ( theirs + double( held.size() ) * 2 * sizeof( void* ) ) / double( held.size() ) );
}

} // namespace

int main( int argc, char** argv ) {
   return BenchReport::main(
         argc, argv, [] { wire(); },
         []( const BenchReport::CapturingReporter& reporter ) {
            std::printf( "stream: %zu paths, %zu distinct extended lists\n", stream().paths.size(),
                         stream().sets.size() );
            BenchReport::printRatio( reporter, "ExtCommList intern stream / baseline",
                                     "BM_ExtCommListInternStream/iterations:1",
                                     "BM_BaselineInternStream/iterations:1", 0.77 );
            BenchReport::printRatio( reporter,
                                     "ExtCommList dedupOctets stream / baseline fed the octets",
                                     "BM_ExtCommListDedupOctetsStream/iterations:1",
                                     "BM_BaselineOctetsStream/iterations:1", 0.33 );
            BenchReport::printRatio( reporter, "ExtCommList dedupOctets stream / floor",
                                     "BM_ExtCommListDedupOctetsStream/iterations:1",
                                     "BM_FloorOctetsStream/iterations:1", 2.0 );
            printFootprint();
         } );
}
