// bench/CommunityPolicy_bench.cpp: route-map policy on interned lists, raced
// against the obvious way to do it, in the same run.
//
// Matching: a compiled pattern against a 20-community list (standard, and
// extended route targets), against the library's regular-expression match
// of the equivalent expression over the list's text (matchCommunitiesRegex:
// the text built, then regexec), for a hit and a miss. Both are computed
// every time; no answer is remembered.
//
// Editing: one edit applied to a stream of 1M paths drawn with a Zipf-like
// skew (fixed seed) from 50k distinct interned standard lists of about 6
// communities, every list at least once; each result is kept, as a RIB
// keeps it, until the stream ends. The edit remembers its result per list
// (a fresh edit each run, so the 50k first edits are timed too). The
// baseline edits each path's values and interns the result (build the list
// value by value, dedup() it), as code without the memo would. Tables are in
// their thread-safe form, as in a multi-threaded agent.
//
//   ./bench/CommunityPolicy_bench                 table, then the ratio lines
//   ./bench/CommunityPolicy_bench --benchmark_filter=Edit
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <set>
#include <vector>

#include "OvBgp/CommunityListEdit.h"
#include "OvBgp/CommunityPattern.h"
#include "OvBgp/Parse/ExtCommContainer.h"
#include "Routing/Bgp/OvBgpGlobals.h"
#include "Routing/RouteMap/PosixRegex.h"
#include "bench/BenchReport.h"

namespace {

using namespace Routing::Bgp;

constexpr size_t kDistinctLists = 20'000;
constexpr size_t kPaths = 1'000'000;
constexpr double kZipfExponent = 0.9;

template<class Table>
Kel::Ptr<Table> threadSafe( Kel::Ptr<Table> ( *factory )() ) {
   OvBgpGlobals::multiThreadedIs( true );
   Kel::Ptr<Table> table = factory();
   OvBgpGlobals::multiThreadedIs( false );
   return table;
}

// --- Matching ---------------------------------------------------------------------------

// A pattern and the regular expression that matches the same lists.
struct Equivalent {
   const char* pattern;
   const char* regex;
};
const Equivalent kStandard[] = {
   { "65001:100-199", "(^| )65001:1[0-9][0-9]( |$)" },
   { "64999:*", "(^| )64999:[0-9]+( |$)" },
};
const Equivalent kExtended[] = {
   { "RT:65001:100-199", "(^| )RT:65001:1[0-9][0-9]( |$)" },
   { "RT:64999:*", "(^| )RT:64999:[0-9]+( |$)" },
};

// twenty(): the i-th of 20 values: three AS numbers, spread local values.
U32 twenty( U32 i ) { return ( 65000 + i % 3 ) << 16 | ( 100 + 37 * i ); }

CommList::PtrConst standardList() {
   static CommListDedupTable::Ptr table = commListDedupTableFactory();
   std::vector<U32> values = { 0xFFFFFF01, 0xFFFFFF03 };
   for ( U32 i = 0; values.size() < 20; ++i ) {
      values.push_back( twenty( i ) );
   }
   return CommunityListTraits<CommList>::intern( table.ptr(), values );
}

ExtCommList::PtrConst extendedList() {
   static auto container = bgpParseExtCommContainerSmFactory();
   static auto values = extCommDedupTableFactory( container->extCommParser() );
   static auto lists = extCommListDedupTableFactory();
   std::vector<ExtComm::PtrConst> members;
   for ( U32 i = 0; i < 20; ++i ) {
      const U64 value = twenty( i );
      members.push_back( ExtComm::dedupContent(
            values.ptr(),
            ExtCommContent( 0x0002ull << 48 | ( value >> 16 ) << 32 | ( value & 0xFFFF ) ) ) );
   }
   return CommunityListTraits<ExtCommList>::intern( lists.ptr(), members );
}

template<class List>
void BM_PatternMatch( benchmark::State& state, const List* list, Equivalent e ) {
   const CommunityPattern pattern( e.pattern );
   for ( auto _ : state ) {
      benchmark::DoNotOptimize( pattern.matches( list ) );
   }
}

template<class List>
void BM_RegexMatch( benchmark::State& state, const List* list, Equivalent e ) {
   const Routing::RouteMap::PosixRegex regex( e.regex );
   for ( auto _ : state ) {
      benchmark::DoNotOptimize( list->matchCommunitiesRegex( &regex ) );
   }
}

// --- Editing a stream -------------------------------------------------------------------

struct Stream {
   CommListDedupTable::Ptr table;
   std::vector<CommList::PtrConst> lists; // the distinct lists, interned
   std::vector<U32> paths;                // paths[p]: the list path p carries
};

// stream(): the lists interned in a thread-safe table, or in a single-thread
// one.
const Stream& stream( bool threadSafeTable = true ) {
   static const auto build = []( bool safe ) {
      Stream s;
      s.table = safe ? threadSafe( &commListDedupTableFactory ) : commListDedupTableFactory();
      std::mt19937_64 rng( 20240601 );
      std::vector<U32> asNumbers;
      for ( int i = 0; i < 2000; ++i ) {
         asNumbers.push_back( 1 + U32( rng() % 65000 ) );
      }
      std::set<std::vector<U32>> seen;
      while ( s.lists.size() < kDistinctLists ) {
         std::vector<U32> set;
         const size_t size = 2 + rng() % 9; // 2..10, about 6 on average
         for ( size_t i = 0; i < size; ++i ) {
            const U32 as =
                  asNumbers[ std::min( rng() % asNumbers.size(), rng() % asNumbers.size() ) ];
            set.push_back( as << 16 | U32( rng() % 4 == 0 ? rng() % 65536 : rng() % 200 ) );
         }
         std::sort( set.begin(), set.end() );
         set.erase( std::unique( set.begin(), set.end() ), set.end() );
         if ( seen.insert( set ).second ) {
            s.lists.push_back( CommunityListTraits<CommList>::intern( s.table.ptr(), set ) );
         }
      }
      std::vector<double> cdf( kDistinctLists );
      double total = 0;
      for ( size_t r = 0; r < kDistinctLists; ++r ) {
         total += 1.0 / std::pow( double( r + 1 ), kZipfExponent );
         cdf[ r ] = total;
      }
      std::uniform_real_distribution<double> uniform( 0, total );
      for ( size_t p = 0; p < kPaths; ++p ) {
         s.paths.push_back( p < kDistinctLists ? U32( p )
                                               : U32( std::lower_bound( cdf.begin(), cdf.end(),
                                                                        uniform( rng ) ) -
                                                      cdf.begin() ) );
      }
      std::shuffle( s.paths.begin(), s.paths.end(), rng );
      return s;
   };
   static const Stream safe = build( true );
   static const Stream single = build( false );
   return threadSafeTable ? safe : single;
}

// The edits: scrub the communities of a range of networks (what most lists
// carry some of), or tag every path.
const char* const kScrubbed = "1-30000:*";
constexpr U32 kTag = 65535u << 16 | 666;

CommListEdit::Ptr makeEdit( const Stream& s, int which ) {
   return which == 0 ? CommListEdit::deleteMatchingIs( s.table, CommunityPattern( kScrubbed ) )
                     : CommListEdit::addIs( s.table, { kTag } );
}

// naiveEdit(): the edit done on the values and the result interned.
CommList::PtrConst naiveEdit( const CommListDedupTable* table, const CommList& list,
                              const CommunityPattern& scrubbed, int which ) {
   CommList::Ptr edited = commListFactory();
   for ( U32 value : *list.commVectorRawPtr() ) {
      if ( which != 0 || !scrubbed.matches( value ) ) {
         edited->commIs( value );
      }
   }
   if ( which != 0 ) {
      edited->commIs( kTag );
   }
   return edited->dedup( table );
}

// editStream(): editPath over the stream; before() runs untimed ahead of
// each pass.
template<class EditPath, class Before>
void editStream( benchmark::State& state, const Stream& s, EditPath&& editPath, Before&& before ) {
   std::vector<CommList::PtrConst> held( s.paths.size() );
   for ( auto _ : state ) {
      state.PauseTiming();
      before();
      state.ResumeTiming();
      for ( size_t p = 0; p < s.paths.size(); ++p ) {
         held[ p ] = editPath( s.lists[ s.paths[ p ] ] );
      }
      state.PauseTiming();
      std::fill( held.begin(), held.end(), nullptr );
      state.ResumeTiming();
   }
   state.SetItemsProcessed( int64_t( state.iterations() * s.paths.size() ) );
}

void BM_EditStream( benchmark::State& state, int which, bool threadSafeTable ) {
   const Stream& s = stream( threadSafeTable );
   CommListEdit::Ptr edit;
   // A fresh edit each run, so that its memo starts empty: the first edit of
   // every list is timed too.
   editStream(
         state, s, [ & ]( const CommList::PtrConst& list ) { return edit->apply( list ); },
         [ & ] { edit = makeEdit( s, which ); } );
}

void BM_BaselineEditStream( benchmark::State& state, int which, bool threadSafeTable ) {
   const Stream& s = stream( threadSafeTable );
   const CommunityPattern scrubbed( kScrubbed );
   editStream(
         state, s,
         [ & ]( const CommList::PtrConst& list ) {
            return naiveEdit( s.table.ptr(), *list, scrubbed, which );
         },
         [] {} );
}

#define EDIT_STREAM( name, which, safe )                                                   \
   BENCHMARK_CAPTURE( BM_EditStream, name, which, safe )->Unit( benchmark::kMillisecond ); \
   BENCHMARK_CAPTURE( BM_BaselineEditStream, name, which, safe )->Unit( benchmark::kMillisecond );
EDIT_STREAM( deleteMatching, 0, true )
EDIT_STREAM( add, 1, true )
EDIT_STREAM( deleteMatchingSingleThreadTable, 0, false )
EDIT_STREAM( addSingleThreadTable, 1, false )

} // namespace

int main( int argc, char** argv ) {
   const CommList::PtrConst standard = standardList();
   const ExtCommList::PtrConst extended = extendedList();
   const char* const outcomes[] = { "hit", "miss" };
   for ( int i = 0; i < 2; ++i ) {
      const std::string suffix = std::string( "/" ) + outcomes[ i ];
      benchmark::RegisterBenchmark( ( "BM_PatternMatch/standard" + suffix ).c_str(),
                                    BM_PatternMatch<CommList>, standard.ptr(), kStandard[ i ] );
      benchmark::RegisterBenchmark( ( "BM_RegexMatch/standard" + suffix ).c_str(),
                                    BM_RegexMatch<CommList>, standard.ptr(), kStandard[ i ] );
      benchmark::RegisterBenchmark( ( "BM_PatternMatch/extended" + suffix ).c_str(),
                                    BM_PatternMatch<ExtCommList>, extended.ptr(), kExtended[ i ] );
      benchmark::RegisterBenchmark( ( "BM_RegexMatch/extended" + suffix ).c_str(),
                                    BM_RegexMatch<ExtCommList>, extended.ptr(), kExtended[ i ] );
   }
   return BenchReport::main(
         argc, argv, [] { stream(); },
         []( const BenchReport::CapturingReporter& reporter ) {
            const Stream& s = stream();
            std::printf( "\nstream: %zu paths, %zu distinct lists\n", s.paths.size(),
                         s.lists.size() );
            for ( const char* kind : { "standard", "extended" } ) {
               for ( const char* outcome : { "hit", "miss" } ) {
                  const std::string tail = std::string( kind ) + "/" + outcome;
                  BenchReport::printRatio( reporter, "pattern match / regex match, 20 " + tail,
                                           "BM_PatternMatch/" + tail, "BM_RegexMatch/" + tail,
                                           0.10 );
               }
            }
            for ( const char* edit : { "deleteMatching", "add", "deleteMatchingSingleThreadTable",
                                       "addSingleThreadTable" } ) {
               BenchReport::printRatio( reporter,
                                        std::string( "edit of a 1M-path stream, " ) + edit +
                                              " / naive edit and intern",
                                        std::string( "BM_EditStream/" ) + edit,
                                        std::string( "BM_BaselineEditStream/" ) + edit, 0.20 );
            }
         } );
}
