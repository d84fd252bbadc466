// The extended-community table: interning identity, placement, the
// route-target set it keeps, and interning from several threads at once.
#include <gtest/gtest.h>

#include <atomic>
#include <random>
#include <vector>

#include "Bex/DumpContext.h"
#include "OvBgp/NotifyingRouteTargetList.h"
#include "OvBgp/OvBgpCommunity.h"
#include "OvBgp/Parse/ExtComm.h"
#include "Routing/Bgp/OvBgpGlobals.h"
#include "tests/OvBgp/TestSupport.h"

namespace Routing::Bgp {
namespace {

ExtComm::PtrConst intern( const ExtCommDedupTable::Ptr& table, U64 content ) {
   return ExtComm::dedupContent( table.ptr(), ExtCommContent( content ) );
}

class ExtCommDedupTableTest : public ::testing::Test {
 protected:
   BgpParseExtCommContainerSm::Ptr container_ = bgpParseExtCommContainerSmFactory();
   ExtCommDedupTable::Ptr table_ = extCommDedupTableFactory( container_->extCommParser() );
};

TEST_F( ExtCommDedupTableTest, InterningSameContentTwiceReturnsSameObjectPerTable ) {
   ExtComm::PtrConst a = intern( table_, 0x0400000000000001 );
   ExtComm::PtrConst b = intern( table_, 0x0400000000000001 );
   EXPECT_EQ( a, b );
   EXPECT_TRUE( a->isDeduped() );
   auto other = extCommDedupTableFactory( container_->extCommParser() );
   EXPECT_NE( a, intern( other, 0x0400000000000001 ) );

   Bex::DumpContext ctx;
   table_->dumpState( ctx, 0 );
   EXPECT_EQ( ctx.str().rfind( "ExtCommDedupTable\n  DedupHashTable #1\n", 0 ), 0u ) << ctx.str();
   a = nullptr;
   EXPECT_EQ( table_->dedupTable()->size(), 1u ); // b still holds it
   b = nullptr;
   EXPECT_EQ( table_->dedupTable()->size(), 0u );
}

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
TEST_F( ExtCommDedupTableTest, RouteTargetSetIsEmptiedWhenTheTableGoesThoughValuesOutliveIt ) {
   ExtComm::PtrConst a = intern( table_, 0x0002fde800000064 );
   ExtComm::PtrConst b = intern( table_, 0x0102c0a80001002a );
   auto rtList = table_->producerRtList();
   EXPECT_EQ( rtList->rtCount(), 2u );
   table_ = nullptr;
   EXPECT_EQ( rtList->rtCount(), 0u );
   EXPECT_TRUE( a->isDeduped() );
}

TEST( ExtCommDedupTableConcurrency, OneObjectPerContentAndRouteTargetsConsistent ) {
   OvBgpGlobals::multiThreadedIs( true );
   auto container = bgpParseExtCommContainerSmFactory();
   auto table = extCommDedupTableFactory( container->extCommParser() );
   OvBgpGlobals::multiThreadedIs( false );
   ASSERT_TRUE( table->dedupTable()->threadSafe() );
   // Route targets of all three layouts (24), route origins and unclaimed types.
   std::vector<ExtCommContent> all;
   for ( U64 i = 0; i < 8; ++i ) {
      for ( U64 base : { 0x0002fde800000000, 0x0102c0a800010000, 0x0202000100000000,
                         0x0003fde800000000, 0x0400000000000000 } ) {
         all.emplace_back( base + i );
      }
   }
   const int ops = 125000 / Testing::kThreadLoad;

   // Phase 1: while one reference per content is held, every thread must get
   // exactly that object back.
   std::vector<ExtComm::PtrConst> held;
   for ( const auto& c : all ) {
      held.push_back( ExtComm::dedupContent( table.ptr(), c ) );
   }
   std::atomic<int> mismatches{ 0 };
   Testing::onFourThreads( [ & ]( int t ) {
      std::mt19937 rng( 1000 + t );
      for ( int i = 0; i < ops; ++i ) {
         const size_t k = rng() % all.size();
         mismatches += ExtComm::dedupContent( table.ptr(), all[ k ] ) != held[ k ];
      }
   } );
   held.clear();
   EXPECT_EQ( table->dedupTable()->size(), 0u );
   EXPECT_EQ( table->producerRtList()->rtCount(), 0u );

   // Phase 2: nothing is held; interning races with last-reference releases.
   Testing::onFourThreads( [ & ]( int t ) {
      std::mt19937 rng( 2000 + t );
      std::vector<ExtComm::PtrConst> mine( all.size() );
      for ( int i = 0; i < ops; ++i ) {
         const size_t k = rng() % all.size();
         mine[ k ] = rng() & 1 ? ExtComm::dedupContent( table.ptr(), all[ k ] ) : nullptr;
         mismatches += mine[ k ] && mine[ k ]->community() != all[ k ].value;
      }
   } );
   EXPECT_EQ( mismatches.load(), 0 );
   EXPECT_EQ( table->dedupTable()->size(), 0u );
   EXPECT_EQ( table->producerRtList()->rtCount(), 0u );

   // With every value held again, the set names exactly the route targets.
   for ( const auto& c : all ) {
      held.push_back( ExtComm::dedupContent( table.ptr(), c ) );
   }
   EXPECT_EQ( table->producerRtList()->rtCount(), 24u );
}

} // namespace
} // namespace Routing::Bgp
