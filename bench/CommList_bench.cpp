// bench/CommList_bench.cpp: interning the standard community lists of a
// stream of paths, and matching a list against regular expressions, each
// raced against the obvious way to do it, in the same run.
//
// The stream: 1M paths drawn with a Zipf-like skew (fixed seed) from 50k
// distinct sets of about 6 communities; every set occurs at least once.
// Each path's list is built value by value as it arrives and interned; the
// interned handles are kept, as a RIB keeps them, until the stream ends.
// A second run looks each list up by its sorted content first, so that a
// hit builds no list at all.
//
// From octets: the same stream as attribute octets (bench/WireStream.h: in
// order, one path in eight shuffled with a repeat) through
// CommList::dedupOctets(), against the naive interner reading the same
// octets into a vector, and against the floor of a keyed hash, one probe of
// a plain array and a memcmp.
//
// The baseline interns the same lists the straightforward way: a
// std::shared_ptr<std::vector<uint32_t>> per list, built by push_back like
// CommList::commIs, found through a std::unordered_map from a 64-bit hash
// of the sorted values to a std::weak_ptr, behind a std::mutex, comparing
// the values when the hash hits. Both tables lock (the interning table is
// made in its thread-safe form). Stream ratios take the best of five runs.
//
//   ./bench/CommList_bench                 table, then the ratio and memory lines
//   ./bench/CommList_bench --benchmark_filter=Regex
#include <benchmark/benchmark.h>
#include <malloc.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <mutex>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <unordered_map>
#include <vector>

#include "OvBgp/OvBgpCommunityList.h"
#include "Routing/Bgp/OvBgpGlobals.h"
#include "Routing/RouteMap/PosixRegex.h"
#include "bench/Baseline.h"
#include "bench/BenchReport.h"
#include "bench/WireStream.h"

namespace {

using namespace Routing::Bgp;

constexpr size_t kDistinctSets = 50'000;
constexpr size_t kPaths = 1'000'000;
constexpr double kZipfExponent = 0.9;

// --- The stream ---------------------------------------------------------------------

struct Stream {
   // sets[s]: one distinct set, in the order its paths carry it (unsorted).
   std::vector<std::vector<U32>> sets;
   // paths[p]: the set path p carries.
   std::vector<U32> paths;
};

std::vector<U32> randomSet( std::mt19937_64& rng, const std::vector<U32>& asNumbers ) {
   std::vector<U32> set;
   const size_t size = 2 + rng() % 9; // 2..10, about 6 on average
   for ( size_t i = 0; i < size; ++i ) {
      // Most communities come from a few large networks, with small values.
      const U32 as = asNumbers[ std::min( rng() % asNumbers.size(), rng() % asNumbers.size() ) ];
      const U32 value = rng() % 4 == 0 ? U32( rng() % 65536 ) : U32( rng() % 200 );
      set.push_back( as << 16 | value );
   }
   if ( rng() % 20 == 0 ) {
      set.push_back( 0xFFFFFF01 ); // no-export
   }
   return set;
}

const Stream& stream() {
   static const Stream built = [] {
      Stream s;
      std::mt19937_64 rng( 20240601 );
      std::vector<U32> asNumbers;
      for ( int i = 0; i < 2000; ++i ) {
         asNumbers.push_back( 1 + U32( rng() % 65000 ) );
      }
      std::set<std::vector<U32>> seen;
      while ( s.sets.size() < kDistinctSets ) {
         std::vector<U32> set = randomSet( rng, asNumbers );
         std::vector<U32> key = set;
         std::sort( key.begin(), key.end() );
         key.erase( std::unique( key.begin(), key.end() ), key.end() );
         if ( seen.insert( key ).second ) {
            s.sets.push_back( std::move( set ) );
         }
      }
      // Rank r is drawn with weight 1 / (r + 1)^s.
      std::vector<double> cdf( kDistinctSets );
      double total = 0;
      for ( size_t r = 0; r < kDistinctSets; ++r ) {
         total += 1.0 / std::pow( double( r + 1 ), kZipfExponent );
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

// --- The baseline -------------------------------------------------------------------

using NaiveListTable = Baseline::WeakListInterner<uint32_t>;

// --- Interning the stream -------------------------------------------------------------

CommListDedupTable::Ptr threadSafeTable() {
   OvBgpGlobals::multiThreadedIs( true );
   CommListDedupTable::Ptr table = commListDedupTableFactory();
   OvBgpGlobals::multiThreadedIs( false );
   return table;
}

// The documented protocol: build the list, dedup() it.
CommList::PtrConst internBuilt( const CommListDedupTable* table,
                                const std::vector<U32>& received ) {
   CommList::Ptr list = commListFactory();
   for ( U32 value : received ) {
      list->commIs( value );
   }
   return list->dedup( table );
}

// The same, looking up by content first: a hit builds nothing.
CommList::PtrConst internLookupFirst( const CommListDedupTable* table,
                                      const std::vector<U32>& received,
                                      std::vector<U32>& scratch ) {
   scratch.assign( received.begin(), received.end() );
   std::sort( scratch.begin(), scratch.end() );
   scratch.erase( std::unique( scratch.begin(), scratch.end() ), scratch.end() );
   if ( CommList::PtrConst found =
              CommList::lookupByContent( table, CommListContent( scratch ) ) ) {
      return found;
   }
   return internBuilt( table, received );
}

void BM_CommListInternStream( benchmark::State& state ) {
   const Stream& s = stream();
   for ( auto _ : state ) {
      CommListDedupTable::Ptr table = threadSafeTable();
      std::vector<CommList::PtrConst> held( s.paths.size() );
      for ( size_t p = 0; p < s.paths.size(); ++p ) {
         held[ p ] = internBuilt( table.ptr(), s.sets[ s.paths[ p ] ] );
      }
      state.PauseTiming();
      held.clear();
      table = nullptr;
      state.ResumeTiming();
   }
   state.SetItemsProcessed( int64_t( state.iterations() * s.paths.size() ) );
}
BENCHMARK( BM_CommListInternStream )->Unit( benchmark::kMillisecond );

void BM_CommListLookupFirstStream( benchmark::State& state ) {
   const Stream& s = stream();
   for ( auto _ : state ) {
      CommListDedupTable::Ptr table = threadSafeTable();
      std::vector<CommList::PtrConst> held( s.paths.size() );
      std::vector<U32> scratch;
      for ( size_t p = 0; p < s.paths.size(); ++p ) {
         held[ p ] = internLookupFirst( table.ptr(), s.sets[ s.paths[ p ] ], scratch );
      }
      state.PauseTiming();
      held.clear();
      table = nullptr;
      state.ResumeTiming();
   }
   state.SetItemsProcessed( int64_t( state.iterations() * s.paths.size() ) );
}
BENCHMARK( BM_CommListLookupFirstStream )->Unit( benchmark::kMillisecond );

void BM_BaselineInternStream( benchmark::State& state ) {
   const Stream& s = stream();
   for ( auto _ : state ) {
      auto table = std::make_unique<NaiveListTable>();
      std::vector<NaiveListTable::List> held( s.paths.size() );
      for ( size_t p = 0; p < s.paths.size(); ++p ) {
         held[ p ] = table->intern( s.sets[ s.paths[ p ] ] );
      }
      state.PauseTiming();
      held.clear();
      table.reset();
      state.ResumeTiming();
   }
   state.SetItemsProcessed( int64_t( state.iterations() * s.paths.size() ) );
}
BENCHMARK( BM_BaselineInternStream )->Unit( benchmark::kMillisecond );

// --- Interning from octets ---------------------------------------------------------------

const WireStream& wire() {
   static const WireStream built = wireStream( stream().sets, stream().paths, 20261124 );
   return built;
}

void BM_CommListDedupOctetsStream( benchmark::State& state ) {
   const WireStream& w = wire();
   for ( auto _ : state ) {
      CommListDedupTable::Ptr table = threadSafeTable();
      std::vector<CommList::PtrConst> held( w.paths() );
      for ( size_t p = 0; p < w.paths(); ++p ) {
         const auto octets = w.path( p );
         held[ p ] = CommList::dedupOctets( table.ptr(), octets.data(), octets.size() );
      }
      state.PauseTiming();
      held.clear();
      table = nullptr;
      state.ResumeTiming();
   }
}
BENCHMARK( BM_CommListDedupOctetsStream )->Unit( benchmark::kMillisecond );

void BM_BaselineOctetsStream( benchmark::State& state ) {
   const WireStream& w = wire();
   for ( auto _ : state ) {
      auto table = std::make_unique<NaiveListTable>();
      std::vector<NaiveListTable::List> held( w.paths() );
      for ( size_t p = 0; p < w.paths(); ++p ) {
         const auto octets = w.path( p );
         held[ p ] = table->internOctets( octets.data(), octets.size() );
      }
      state.PauseTiming();
      held.clear();
      table.reset();
      state.ResumeTiming();
   }
}
BENCHMARK( BM_BaselineOctetsStream )->Unit( benchmark::kMillisecond );

void BM_FloorOctetsStream( benchmark::State& state ) {
   const WireStream& w = wire();
   for ( auto _ : state ) {
      auto floor = std::make_unique<OctetsFloor>( w.forms );
      std::vector<const OctetsFloor::Entry*> held( w.paths() );
      for ( size_t p = 0; p < w.paths(); ++p ) {
         held[ p ] = floor->intern( w.path( p ) );
      }
      benchmark::DoNotOptimize( held.data() );
      state.PauseTiming();
      held.clear();
      floor.reset();
      state.ResumeTiming();
   }
}
BENCHMARK( BM_FloorOctetsStream )->Unit( benchmark::kMillisecond );

// --- Regex matching -------------------------------------------------------------------

// A 20-community list with two well-known members.
CommList::PtrConst twentyCommunities() {
   static CommListDedupTable::Ptr table = commListDedupTableFactory();
   std::vector<U32> values = { 0xFFFFFF01, 0xFFFFFF03 };
   for ( U32 i = 0; values.size() < 20; ++i ) {
      values.push_back( ( 65000 + i % 3 ) << 16 | ( 100 + 37 * i ) );
   }
   return internBuilt( table.ptr(), values );
}

// The naive match: the same two passes over texts built with a stream.
bool naiveMatch( const std::vector<U32>& values, const Routing::RouteMap::PosixRegex& regex ) {
   for ( bool names : { false, true } ) {
      std::ostringstream text;
      for ( size_t i = 0; i < values.size(); ++i ) {
         text << ( i ? " " : "" );
         std::string name = names ? CommList::wellKnownName( values[ i ] ) : "";
         if ( name.empty() ) {
            text << ( values[ i ] >> 16 ) << ':' << ( values[ i ] & 0xFFFF );
         } else {
            text << name;
         }
      }
      if ( regex.execute( text.str().c_str() ) == 0 ) {
         return true;
      }
   }
   return false;
}

// Patterns: matched by the numbers, only by a name, and by neither.
const char* const kPatterns[] = { "65001:1[0-9][0-9]", "no-export", "^99999:" };

void BM_CommListRegex( benchmark::State& state, int pattern ) {
   CommList::PtrConst list = twentyCommunities();
   Routing::RouteMap::PosixRegex regex( kPatterns[ pattern ] );
   for ( auto _ : state ) {
      benchmark::DoNotOptimize( list->matchCommunitiesRegex( &regex ) );
   }
}
BENCHMARK_CAPTURE( BM_CommListRegex, numericHit, 0 );
BENCHMARK_CAPTURE( BM_CommListRegex, nameHit, 1 );
BENCHMARK_CAPTURE( BM_CommListRegex, noMatch, 2 );

void BM_BaselineRegex( benchmark::State& state, int pattern ) {
   CommList::PtrConst list = twentyCommunities();
   Routing::RouteMap::PosixRegex regex( kPatterns[ pattern ] );
   for ( auto _ : state ) {
      benchmark::DoNotOptimize( naiveMatch( *list->commVectorRawPtr(), regex ) );
   }
}
BENCHMARK_CAPTURE( BM_BaselineRegex, numericHit, 0 );
BENCHMARK_CAPTURE( BM_BaselineRegex, nameHit, 1 );
BENCHMARK_CAPTURE( BM_BaselineRegex, noMatch, 2 );

// --- Memory -----------------------------------------------------------------------------

size_t heapInUse() {
   struct mallinfo2 info = mallinfo2();
   return info.uordblks + info.hblkhd;
}

struct Footprint {
   double heapPerDistinct;    // everything the table and its lists took
   double heapPerPath;        // that plus the path's own handle, spread over paths
   double payloadPerDistinct; // object + value storage (sizeof + capacity x 4)
   double capacityPerSize;    // value slots held per value
};

Footprint measureOurs() {
   const Stream& s = stream();
   std::vector<CommList::PtrConst> held( s.paths.size() );
   const size_t before = heapInUse();
   CommListDedupTable::Ptr table = threadSafeTable();
   for ( size_t p = 0; p < s.paths.size(); ++p ) {
      held[ p ] = internBuilt( table.ptr(), s.sets[ s.paths[ p ] ] );
   }
   const double heap = double( heapInUse() - before );
   double payload = 0, capacity = 0, size = 0;
   size_t distinct = 0;
   table->dedupTable()->forEach( [ & ]( const Bex::DedupHandle* handle ) {
      const auto* list = static_cast<const CommList*>( handle );
      payload += double( sizeof( CommList ) + list->commVectorRawPtr()->capacity() * 4 );
      capacity += double( list->commVectorRawPtr()->capacity() );
      size += double( list->comms() );
      ++distinct;
   } );
   return { heap / double( distinct ),
            ( heap + double( held.size() * sizeof( held[ 0 ] ) ) ) / double( held.size() ),
            payload / double( distinct ), capacity / size };
}

Footprint measureBaseline() {
   const Stream& s = stream();
   std::vector<NaiveListTable::List> held( s.paths.size() );
   const size_t before = heapInUse();
   auto table = std::make_unique<NaiveListTable>();
   for ( size_t p = 0; p < s.paths.size(); ++p ) {
      held[ p ] = table->intern( s.sets[ s.paths[ p ] ] );
   }
   const double heap = double( heapInUse() - before );
   double payload = 0, capacity = 0, size = 0;
   size_t distinct = 0;
   table->forEach( [ & ]( const std::vector<uint32_t>& values ) {
      // The shared_ptr's control block (vtable pointer, two counts) sits
      // next to the vector in the one allocation of make_shared.
      payload += double( 16 + sizeof( values ) + values.capacity() * 4 );
      capacity += double( values.capacity() );
      size += double( values.size() );
      ++distinct;
   } );
   return { heap / double( distinct ),
            ( heap + double( held.size() * sizeof( held[ 0 ] ) ) ) / double( held.size() ),
            payload / double( distinct ), capacity / size };
}

} // namespace

int main( int argc, char** argv ) {
   return BenchReport::main(
         argc, argv, [] { wire(); },
         []( const BenchReport::CapturingReporter& reporter ) {
            const Stream& s = stream();
            std::printf( "\nstream: %zu paths, %zu distinct lists\n", s.paths.size(),
                         s.sets.size() );
            BenchReport::printRatio( reporter, "CommList intern stream / baseline",
                                     "BM_CommListInternStream", "BM_BaselineInternStream", 0.40 );
            BenchReport::printRatio(
                  reporter, "CommList dedupOctets stream / baseline fed the octets",
                  "BM_CommListDedupOctetsStream", "BM_BaselineOctetsStream", 0.25 );
            BenchReport::printRatio( reporter, "CommList dedupOctets stream / floor",
                                     "BM_CommListDedupOctetsStream", "BM_FloorOctetsStream", 1.5 );
            BenchReport::printRatio( reporter, "CommList lookup-first intern stream / baseline",
                                     "BM_CommListLookupFirstStream", "BM_BaselineInternStream", 0 );
            for ( const char* pattern : { "numericHit", "nameHit", "noMatch" } ) {
               const std::string what = std::string( "matchCommunitiesRegex, 20 communities, " ) +
                                        pattern + " / baseline";
               BenchReport::printRatio( reporter, what.c_str(),
                                        ( std::string( "BM_CommListRegex/" ) + pattern ).c_str(),
                                        ( std::string( "BM_BaselineRegex/" ) + pattern ).c_str(),
                                        0 );
            }

            const Footprint ours = measureOurs();
            const Footprint baseline = measureBaseline();
            std::printf(
                  "bytes per distinct list, object + values (sizeof + capacity x 4): "
                  "CommList %.1f, baseline %.1f, ratio %.2f\n",
                  ours.payloadPerDistinct, baseline.payloadPerDistinct,
                  ours.payloadPerDistinct / baseline.payloadPerDistinct );
            std::printf( "value slots per value (capacity / size): CommList %.3f, baseline %.3f\n",
                         ours.capacityPerSize, baseline.capacityPerSize );
            std::printf(
                  "heap bytes per distinct list, table included: CommList %.1f, baseline %.1f, "
                  "ratio %.2f\n",
                  ours.heapPerDistinct, baseline.heapPerDistinct,
                  ours.heapPerDistinct / baseline.heapPerDistinct );
            std::printf(
                  "heap bytes per path, its handle included: CommList %.1f, baseline %.1f, "
                  "ratio %.2f\n",
                  ours.heapPerPath, baseline.heapPerPath, ours.heapPerPath / baseline.heapPerPath );
         } );
}
