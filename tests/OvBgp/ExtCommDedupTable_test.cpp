// The extended-community table: placement, the route-target set it keeps,
// the dump, and with the IPv6 table interning identity, also from several
// threads at once.
#include <gtest/gtest.h>

#include <atomic>
#include <random>
#include <vector>

#include "Bex/DumpContext.h"
#include "OvBgp/CommunityListTraits.h"
#include "OvBgp/ExtCommIp6DedupTable.h"
#include "OvBgp/NotifyingRouteTargetList.h"
#include "OvBgp/OvBgpCommunity.h"
#include "OvBgp/Parse/ExtComm.h"
#include "Routing/Bgp/OvBgpGlobals.h"
#include "tests/OvBgp/ExtCommIp6TestRule.h"
#include "tests/OvBgp/TestSupport.h"

namespace Routing::Bgp {
namespace {

ExtComm::PtrConst intern( const ExtCommDedupTable::Ptr& table, const ExtCommContent& content ) {
   return ExtComm::dedupContent( table.ptr(), content );
}
ExtComm::PtrConst intern( const ExtCommDedupTable::Ptr& table, U64 content ) {
   return intern( table, ExtCommContent( content ) );
}
ExtCommIp6::PtrConst intern( const ExtCommIp6DedupTable::Ptr& table, const ExtCommIp6Content& c ) {
   return ExtCommIp6::dedupContent( table.ptr(), c );
}

class ExtCommDedupTableTest : public ::testing::Test {
 protected:
   BgpParseExtCommContainerSm::Ptr container_ = bgpParseExtCommContainerSmFactory();
   ExtCommDedupTable::Ptr table_ = extCommDedupTableFactory( container_->extCommParser() );
};

// Placement is keyed per table: two tables lay the same contents out
// differently, so nothing learnt of one table's layout carries over.
TEST_F( ExtCommDedupTableTest, TablesPlaceContentsByTheirOwnKey ) {
   auto other = extCommDedupTableFactory( container_->extCommParser() );
   std::vector<ExtComm::PtrConst> held;
   for ( U64 c = 1; c <= 64; ++c ) {
      held.push_back( intern( table_, 0x0002fde800000000 | c ) );
      held.push_back( intern( other, 0x0002fde800000000 | c ) );
   }
   auto order = []( const ExtCommDedupTable::Ptr& table ) {
      std::vector<U64> out;
      table->dedupTable()->forEach( [ & ]( const Bex::DedupHandle* h ) {
         out.push_back( static_cast<const ExtComm*>( h )->community() );
      } );
      return out;
   };
   ASSERT_EQ( order( table_ ).size(), 64u );
   EXPECT_NE( order( table_ ), order( other ) );
   const Kel::HashKey& key = table_->dedupTable()->hashKey();
   EXPECT_EQ( held[ 0 ]->placementHash( key ),
              ExtComm::placementOf( key, held[ 0 ]->community() ) );
}

// Which values enter the route-target set while held is the pair sweep's
// (ExtCommPlugins_test); the set is emptied when its table goes.
TEST_F( ExtCommDedupTableTest, DumpAndTheRouteTargetSetWhichEmptiesWhenTheTableGoes ) {
   ExtComm::PtrConst a = intern( table_, 0x0002fde800000064 );
   ExtComm::PtrConst b = intern( table_, 0x0102c0a80001002a );
   auto rtList = table_->producerRtList();
   EXPECT_EQ( rtList->rtCount(), 2u );
   Bex::DumpContext ctx;
   table_->dumpState( ctx, 0 );
   EXPECT_EQ( ctx.str().rfind( "ExtCommDedupTable\n  DedupHashTable #2\n", 0 ), 0u ) << ctx.str();
   table_ = nullptr;
   EXPECT_EQ( rtList->rtCount(), 0u );
   EXPECT_TRUE( a->isDeduped() );
}

// The two value tables alike (the IPv6 table's own behaviour is
// ExtCommIp6DedupTable_test's). EightOctet / Ip6: a table, a content of each
// layout the table knows and the route targets among them.
struct EightOctet {
   BgpParseExtCommContainerSm::Ptr container = bgpParseExtCommContainerSmFactory();
   ExtCommDedupTable::Ptr table = extCommDedupTableFactory( container->extCommParser() );
   ExtCommDedupTable::Ptr other = extCommDedupTableFactory( container->extCommParser() );
   // Route targets of all three layouts (24), route origins and unclaimed types.
   std::vector<ExtCommContent> contents;
   static constexpr size_t routeTargets = 24;
   EightOctet() {
      for ( U64 i = 0; i < 8; ++i ) {
         for ( U64 base : { 0x0002fde800000000, 0x0102c0a800010000, 0x0202000100000000,
                            0x0003fde800000000, 0x0400000000000000 } ) {
            contents.emplace_back( base + i );
         }
      }
   }
   size_t routeTargetSet() const { return table->producerRtList()->rtCount(); }
};

struct Ip6 {
   Testing::TestIp6Rule rule;
   ExtCommIp6DedupTable::Ptr table = extCommIp6DedupTableFactory( rule.top );
   ExtCommIp6DedupTable::Ptr other = extCommIp6DedupTableFactory( rule.top );
   // Transitive and not, of three subtypes (route targets among them, which
   // never enter a route-target set); like the 8-octet contents, 4 and 9
   // differ in the last octet only.
   std::vector<ExtCommIp6Content> contents;
   static constexpr size_t routeTargets = 0;
   Ip6() {
      for ( U16 i = 0; i < 24; ++i ) {
         contents.emplace_back( U8( ( i % 5 & 1 ) * 0x40 ), U8( 2 + i % 5 % 3 ),
                                Onet::Ip6Addr::parse( "2001:db8::1" ), i );
      }
   }
   size_t routeTargetSet() const { return 0; }
};

template<class K>
class ValueTableTest : public ::testing::Test {};
using ValueKinds = ::testing::Types<EightOctet, Ip6>;
TYPED_TEST_SUITE( ValueTableTest, ValueKinds );

TYPED_TEST( ValueTableTest, InterningSameContentTwiceReturnsSameObjectPerTableUntilReleased ) {
   TypeParam kind;
   ASSERT_FALSE( kind.table->dedupTable()->threadSafe() ); // unless the process says otherwise
   auto a = intern( kind.table, kind.contents[ 4 ] );
   auto b = intern( kind.table, kind.contents[ 4 ] );
   EXPECT_EQ( a, b );
   EXPECT_TRUE( a->isDeduped() );
   EXPECT_NE( intern( kind.table, kind.contents[ 9 ] ), a ); // differs in a late octet
   EXPECT_NE( intern( kind.other, kind.contents[ 4 ] ), a );
   a = nullptr;
   EXPECT_EQ( kind.table->dedupTable()->size(), 1u ); // b still holds it
   b = nullptr;
   EXPECT_EQ( kind.table->dedupTable()->size(), 0u );
}

template<class K>
class ValueTableConcurrencyTest : public ValueTableTest<K> {};
TYPED_TEST_SUITE( ValueTableConcurrencyTest, ValueKinds );

TYPED_TEST( ValueTableConcurrencyTest, OneObjectPerContentAndRouteTargetsConsistent ) {
   OvBgpGlobals::multiThreadedIs( true );
   const TypeParam kind;
   OvBgpGlobals::multiThreadedIs( false );
   ASSERT_TRUE( kind.table->dedupTable()->threadSafe() );
   const auto& all = kind.contents;
   const int ops = 125000 / Testing::kThreadLoad;

   // Phase 1: while one reference per content is held, every thread must get
   // exactly that object back.
   using Held = decltype( intern( kind.table, all[ 0 ] ) );
   std::vector<Held> held;
   for ( const auto& c : all ) {
      held.push_back( intern( kind.table, c ) );
   }
   std::atomic<int> mismatches{ 0 };
   Testing::onFourThreads( [ & ]( int t ) {
      std::mt19937 rng( 1000 + t );
      for ( int i = 0; i < ops; ++i ) {
         const size_t k = rng() % all.size();
         mismatches += intern( kind.table, all[ k ] ) != held[ k ];
      }
   } );
   held.clear();
   EXPECT_EQ( kind.table->dedupTable()->size() + kind.routeTargetSet(), 0u );

   // Phase 2: nothing is held; interning races with last-reference releases.
   Testing::onFourThreads( [ & ]( int t ) {
      std::mt19937 rng( 2000 + t );
      std::vector<Held> mine( all.size() );
      for ( int i = 0; i < ops; ++i ) {
         const size_t k = rng() % all.size();
         mine[ k ] = rng() & 1 ? intern( kind.table, all[ k ] ) : nullptr;
         mismatches += mine[ k ] && !( listKey( mine[ k ] ) == all[ k ] );
      }
   } );
   EXPECT_EQ( mismatches.load(), 0 );
   EXPECT_EQ( kind.table->dedupTable()->size() + kind.routeTargetSet(), 0u );

   // With every value held again, the set names exactly the route targets.
   for ( const auto& c : all ) {
      held.push_back( intern( kind.table, c ) );
   }
   EXPECT_EQ( kind.routeTargetSet(), TypeParam::routeTargets );
}

} // namespace
} // namespace Routing::Bgp
