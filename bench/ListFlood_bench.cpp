// bench/ListFlood_bench.cpp: can a peer slow the list tables down by the
// contents it sends? For each list kind, 32,768 lists are crafted so that
// the unkeyed hash a peer could know collides for all of them: the
// one-at-a-time hash over the values' octets in the order the kind's
// hash() (or, for extended kinds, the value's own hash) reads them. Fifteen
// stages, each offering two values that bring that hash's running state to
// the same point, make every one of the 2^15 choices hash alike. They are
// interned from octets (dedupOctets) into fresh thread-safe tables and
// timed against 32,768 lists of the same shape whose two values per stage
// are random. The ratio crafted / random shows what the flood costs.
//
//   ./bench/ListFlood_bench
#include <benchmark/benchmark.h>

#include <cstdio>
#include <random>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "Kel/Hash.h"
#include "OvBgp/CommList.h"
#include "OvBgp/CommListDedupTable.h"
#include "OvBgp/ExtCommIp6DedupTable.h"
#include "OvBgp/ExtCommIp6List.h"
#include "OvBgp/ExtCommIp6ListDedupTable.h"
#include "OvBgp/ExtCommList.h"
#include "OvBgp/ExtCommListDedupTable.h"
#include "OvBgp/LargeCommList.h"
#include "OvBgp/Parse/ExtComm.h"
#include "Routing/Bgp/OvBgpGlobals.h"
#include "bench/BenchReport.h"

namespace {

using namespace Routing::Bgp;
using Octets = std::vector<U8>;

constexpr size_t kStages = 15;

// Each kind: its value width, the order its public hash reads a value's
// wire octets in, and interning from octets into its tables.
struct Standard {
   static constexpr const char* name = "CommList";
   static constexpr size_t unit = 4;
   static constexpr size_t order[ unit ] = { 3, 2, 1, 0 };
   struct Tables {
      CommListDedupTable::Ptr lists = commListDedupTableFactory();
   };
   static CommList::PtrConst intern( const Tables& t, const Octets& o ) {
      return CommList::dedupOctets( t.lists.ptr(), o.data(), o.size() );
   }
};

struct Large {
   static constexpr const char* name = "LargeCommList";
   static constexpr size_t unit = 12;
   static constexpr size_t order[ unit ] = { 3, 2, 1, 0, 7, 6, 5, 4, 11, 10, 9, 8 };
   struct Tables {
      LargeCommListDedupTable::Ptr lists = largeCommListDedupTableFactory();
   };
   static LargeCommList::PtrConst intern( const Tables& t, const Octets& o ) {
      return LargeCommList::dedupOctets( t.lists.ptr(), o.data(), o.size() );
   }
};

struct Extended {
   static constexpr const char* name = "ExtCommList";
   static constexpr size_t unit = 8;
   static constexpr size_t order[ unit ] = { 7, 6, 5, 4, 3, 2, 1, 0 };
   struct Tables {
      BgpParseExtCommContainerSm::Ptr container = bgpParseExtCommContainerSmFactory();
      ExtCommDedupTable::Ptr values = extCommDedupTableFactory( container->extCommParser() );
      ExtCommListDedupTable::Ptr lists = extCommListDedupTableFactory();
   };
   static ExtCommList::PtrConst intern( const Tables& t, const Octets& o ) {
      return ExtCommList::dedupOctets( t.lists.ptr(), t.values.ptr(), o.data(), o.size() );
   }
};

struct Ip6Extended {
   static constexpr const char* name = "ExtCommIp6List";
   static constexpr size_t unit = 20;
   static constexpr size_t order[ unit ] = { 0,  1,  2,  3,  4,  5,  6,  7,  8,  9,
                                             10, 11, 12, 13, 14, 15, 16, 17, 19, 18 };
   struct Tables {
      BgpParseExtCommContainerSm::Ptr container = bgpParseExtCommContainerSmFactory();
      ExtCommIp6DedupTable::Ptr values = extCommIp6DedupTableFactory( container->extCommParser() );
      ExtCommIp6ListDedupTable::Ptr lists = extCommIp6ListDedupTableFactory();
   };
   static ExtCommIp6List::PtrConst intern( const Tables& t, const Octets& o ) {
      return ExtCommIp6List::dedupOctets( t.lists.ptr(), t.values.ptr(), o.data(), o.size() );
   }
};

// The public hash's running state after one value.
template<class Kind>
U32 step( U32 h, const U8* value ) {
   for ( size_t i : Kind::order ) {
      h = Kel::oneAtATime( h, value[ i ] );
   }
   return h;
}

// A stage-i value: its first octet is the stage (so the stages' values sort
// in stage order), its last three octets are free.
template<class Kind>
Octets stageValue( size_t stage, U32 free ) {
   Octets v( Kind::unit, 0x11 );
   v[ 0 ] = U8( stage );
   v[ Kind::unit - 3 ] = U8( free >> 16 );
   v[ Kind::unit - 2 ] = U8( free >> 8 );
   v[ Kind::unit - 1 ] = U8( free );
   return v;
}

// stages(): two values per stage; crafted: both bring the state reached so
// far to one state (a birthday search over the free octets).
template<class Kind>
std::vector<std::pair<Octets, Octets>> stages( bool crafted, std::mt19937_64& rng ) {
   std::vector<std::pair<Octets, Octets>> out;
   U32 state = 0;
   for ( size_t s = 0; s < kStages; ++s ) {
      if ( !crafted ) {
         out.emplace_back( stageValue<Kind>( s, U32( rng() ) ),
                           stageValue<Kind>( s, U32( rng() ) ) );
         continue;
      }
      std::unordered_map<U32, U32> seen;
      for ( ;; ) {
         const U32 free = U32( rng() ) & 0xFFFFFF;
         const U32 next = step<Kind>( state, stageValue<Kind>( s, free ).data() );
         auto [ it, inserted ] = seen.try_emplace( next, free );
         if ( !inserted && it->second != free ) {
            out.emplace_back( stageValue<Kind>( s, it->second ), stageValue<Kind>( s, free ) );
            state = next;
            break;
         }
      }
   }
   return out;
}

// lists(): the 2^kStages attribute values, one value per stage each.
template<class Kind>
std::vector<Octets> lists( bool crafted ) {
   std::mt19937_64 rng( crafted ? 1 : 2 );
   const auto choices = stages<Kind>( crafted, rng );
   std::vector<Octets> out;
   for ( U32 pick = 0; pick < ( 1u << kStages ); ++pick ) {
      Octets wire;
      for ( size_t s = 0; s < kStages; ++s ) {
         const Octets& v = ( pick >> s & 1 ) ? choices[ s ].second : choices[ s ].first;
         wire.insert( wire.end(), v.begin(), v.end() );
      }
      out.push_back( std::move( wire ) );
   }
   return out;
}

template<class Kind>
const std::vector<Octets>& contents( bool crafted ) {
   static const std::vector<Octets> craftedLists = lists<Kind>( true );
   static const std::vector<Octets> randomLists = lists<Kind>( false );
   return crafted ? craftedLists : randomLists;
}

// publicHashes(): how many distinct values the public hash takes over the
// lists: 1 for the crafted ones.
template<class Kind>
size_t publicHashes( const std::vector<Octets>& all ) {
   std::set<U32> hashes;
   for ( const Octets& wire : all ) {
      U32 h = 0;
      for ( size_t at = 0; at < wire.size(); at += Kind::unit ) {
         h = step<Kind>( h, wire.data() + at );
      }
      hashes.insert( Kel::oneAtATimeFinal( h ) );
   }
   return hashes.size();
}

template<class Kind>
void BM_Flood( benchmark::State& state, bool crafted ) {
   const std::vector<Octets>& all = contents<Kind>( crafted );
   for ( auto _ : state ) {
      OvBgpGlobals::multiThreadedIs( true );
      auto tables = std::make_unique<typename Kind::Tables>();
      OvBgpGlobals::multiThreadedIs( false );
      std::vector<decltype( Kind::intern( *tables, all[ 0 ] ) )> held( all.size() );
      for ( size_t i = 0; i < all.size(); ++i ) {
         held[ i ] = Kind::intern( *tables, all[ i ] );
      }
      benchmark::DoNotOptimize( held.data() );
      state.PauseTiming();
      held.clear();
      tables.reset();
      state.ResumeTiming();
   }
}
// registerFlood(): "BM_Flood/<kind>/crafted" and ".../random".
template<class Kind>
int registerFlood() {
   for ( bool crafted : { true, false } ) {
      const std::string name =
            std::string( "BM_Flood/" ) + Kind::name + ( crafted ? "/crafted" : "/random" );
      benchmark::RegisterBenchmark( name.c_str(), [ crafted ]( benchmark::State& state ) {
         BM_Flood<Kind>( state, crafted );
      } )->Unit( benchmark::kMillisecond );
   }
   return 0;
}
[[maybe_unused]] const int registered = registerFlood<Standard>() + registerFlood<Large>() +
                                        registerFlood<Extended>() + registerFlood<Ip6Extended>();

template<class Kind>
void report( const BenchReport::CapturingReporter& reporter ) {
   std::printf( "%s: %zu crafted lists take %zu public hash value(s); random ones %zu\n",
                Kind::name, contents<Kind>( true ).size(),
                publicHashes<Kind>( contents<Kind>( true ) ),
                publicHashes<Kind>( contents<Kind>( false ) ) );
   const std::string base = std::string( "BM_Flood/" ) + Kind::name + "/";
   BenchReport::printRatio( reporter, std::string( Kind::name ) + " flood, crafted / random",
                            base + "crafted", base + "random", 1.5 );
}

} // namespace

int main( int argc, char** argv ) {
   return BenchReport::main(
         argc, argv,
         [] {
            for ( bool crafted : { true, false } ) {
               contents<Standard>( crafted );
               contents<Large>( crafted );
               contents<Extended>( crafted );
               contents<Ip6Extended>( crafted );
            }
         },
         []( const BenchReport::CapturingReporter& reporter ) {
            report<Standard>( reporter );
            report<Large>( reporter );
            report<Extended>( reporter );
            report<Ip6Extended>( reporter );
         } );
}
