// The extended-community table: interning identity, the route-target set
// that follows it, and interning from several threads at once.
#include <gtest/gtest.h>

#include <atomic>
#include <random>
#include <set>
#include <thread>
#include <vector>

#include "Bex/DumpContext.h"
#include "OvBgp/NotifyingRouteTargetList.h"
#include "OvBgp/OvBgpCommunity.h"
#include "OvBgp/Parse/ExtComm.h"
#include "Routing/Bgp/OvBgpGlobals.h"
#include "Routing/Bgp/RouteTarget.h"

namespace Routing::Bgp {
namespace {

// ---- interning through a table -------------------------------------------

class ExtCommDedupTableTest : public ::testing::Test {
 protected:
   ExtCommDedupTableTest() {
      container_ = bgpParseExtCommContainerSmFactory();
      table_ = extCommDedupTableFactory( container_->extCommParser() );
   }
   std::set<U64> routeTargets( const ExtCommDedupTable::Ptr& table ) const {
      std::set<U64> out;
      for ( const RouteTarget& rt : *table->producerRtList() ) {
         out.insert( rt.value() );
      }
      return out;
   }
   BgpParseExtCommContainerSm::Ptr container_;
   ExtCommDedupTable::Ptr table_;
};

TEST_F( ExtCommDedupTableTest, InterningSameContentTwiceReturnsSameObject ) {
   ExtComm::PtrConst a = ExtComm::dedupContent( table_.ptr(), ExtCommContent( 0x0400000000000001 ) );
   ExtComm::PtrConst b = ExtComm::dedupContent( table_.ptr(), ExtCommContent( 0x0400000000000001 ) );
   EXPECT_EQ( a, b );
   EXPECT_TRUE( a->isDeduped() );
   EXPECT_EQ( table_->dedupTable()->size(), 1u );

   auto other = extCommDedupTableFactory( container_->extCommParser() );
   ExtComm::PtrConst c = ExtComm::dedupContent( other.ptr(), ExtCommContent( 0x0400000000000001 ) );
   EXPECT_NE( a, c );

   a = nullptr;
   EXPECT_EQ( table_->dedupTable()->size(), 1u ); // b still holds it
   b = nullptr;
   EXPECT_EQ( table_->dedupTable()->size(), 0u );
}

TEST_F( ExtCommDedupTableTest, RouteTargetSetFollowsInterningAndRelease ) {
   const U64 rt1 = 0x0002fde800000064, rt2 = 0x0102c0a80001002a, rt3 = 0x0202fde80064000a;
   ExtComm::PtrConst a = ExtComm::dedupContent( table_.ptr(), ExtCommContent( rt1 ) );
   ExtComm::PtrConst b = ExtComm::dedupContent( table_.ptr(), ExtCommContent( rt2 ) );
   ExtComm::PtrConst c = ExtComm::dedupContent( table_.ptr(), ExtCommContent( rt3 ) );
   ExtComm::PtrConst origin = ExtComm::dedupContent( table_.ptr(), ExtCommContent( 0x0003fde800000064 ) );
   ExtComm::PtrConst other = ExtComm::dedupContent( table_.ptr(), ExtCommContent( 0x4004fde800000000 ) );
   if ( a->classification() != extCommClassificationRouteTarget ) {
      GTEST_SKIP() << "route-target plug-in not registered yet";
   }
   EXPECT_EQ( routeTargets( table_ ), ( std::set<U64>{ rt1, rt2, rt3 } ) );
   b = nullptr;
   origin = nullptr;
   EXPECT_EQ( routeTargets( table_ ), ( std::set<U64>{ rt1, rt3 } ) );

   auto rtList = table_->producerRtList();
   table_ = nullptr; // values a and c outlive their table
   EXPECT_EQ( rtList->rtCount(), 0u );
   EXPECT_TRUE( a->isDeduped() );
}

TEST_F( ExtCommDedupTableTest, HitDoesNotParseAgain ) {
   ExtComm::PtrConst a = ExtComm::dedupContent( table_.ptr(), ExtCommContent( 0x0002fde800000064 ) );
   const void* first = a.ptr();
   for ( int i = 0; i < 3; ++i ) {
      EXPECT_EQ( ExtComm::dedupContent( table_.ptr(), ExtCommContent( 0x0002fde800000064 ) ).ptr(),
                 first );
   }
   Bex::DumpContext ctx;
   table_->dumpState( ctx, 0 );
   EXPECT_EQ( ctx.str().rfind( "ExtCommDedupTable\n  DedupHashTable #1\n", 0 ), 0u ) << ctx.str();
}

constexpr int kThreads = 4;
#if defined( __SANITIZE_THREAD__ )
#define OVBGP_UNDER_TSAN 1
#elif defined( __has_feature )
#if __has_feature( thread_sanitizer )
#define OVBGP_UNDER_TSAN 1
#endif
#endif
#ifdef OVBGP_UNDER_TSAN
constexpr int kOpsPerThread = 50000;
#else
constexpr int kOpsPerThread = 250000;
#endif

std::vector<ExtCommContent> contents() {
   // Route targets of all three layouts, route origins and unclaimed types.
   std::vector<ExtCommContent> out;
   for ( U64 i = 0; i < 8; ++i ) {
      out.emplace_back( 0x0002fde800000000 + i );
      out.emplace_back( 0x0102c0a800010000 + i );
      out.emplace_back( 0x0202000100000000 + i );
      out.emplace_back( 0x0003fde800000000 + i );
      out.emplace_back( 0x0400000000000000 + i );
   }
   return out;
}

TEST( ExtCommDedupTableConcurrency, OneObjectPerContentAndRouteTargetsConsistent ) {
   OvBgpGlobals::multiThreadedIs( true );
   auto container = bgpParseExtCommContainerSmFactory();
   auto table = extCommDedupTableFactory( container->extCommParser() );
   OvBgpGlobals::multiThreadedIs( false );
   ASSERT_TRUE( table->dedupTable()->threadSafe() );
   const std::vector<ExtCommContent> all = contents();

   // Phase 1: while one reference per content is held, every thread must get
   // exactly that object back.
   std::vector<ExtComm::PtrConst> held;
   for ( const auto& c : all ) {
      held.push_back( ExtComm::dedupContent( table.ptr(), c ) );
   }
   std::atomic<int> mismatches{ 0 };
   auto phase1 = [ & ]( unsigned seed ) {
      std::mt19937 rng( seed );
      for ( int i = 0; i < kOpsPerThread / 2; ++i ) {
         size_t k = rng() % all.size();
         if ( ExtComm::dedupContent( table.ptr(), all[ k ] ) != held[ k ] ) {
            ++mismatches;
         }
      }
   };
   // Phase 2: nothing is held; interning races with last-reference releases.
   auto phase2 = [ & ]( unsigned seed ) {
      std::mt19937 rng( seed );
      std::vector<ExtComm::PtrConst> mine( all.size() );
      for ( int i = 0; i < kOpsPerThread / 2; ++i ) {
         size_t k = rng() % all.size();
         if ( rng() & 1 ) {
            auto v = ExtComm::dedupContent( table.ptr(), all[ k ] );
            if ( v->community() != all[ k ].value ) {
               ++mismatches;
            }
            mine[ k ] = v;
         } else {
            mine[ k ] = nullptr;
         }
      }
   };
   std::vector<std::thread> threads;
   for ( int t = 0; t < kThreads; ++t ) {
      threads.emplace_back( phase1, 1000 + t );
   }
   for ( auto& t : threads ) {
      t.join();
   }
   held.clear();
   EXPECT_EQ( table->dedupTable()->size(), 0u );
   EXPECT_EQ( table->producerRtList()->rtCount(), 0u );
   threads.clear();
   for ( int t = 0; t < kThreads; ++t ) {
      threads.emplace_back( phase2, 2000 + t );
   }
   for ( auto& t : threads ) {
      t.join();
   }
   EXPECT_EQ( mismatches.load(), 0 );
   EXPECT_EQ( table->dedupTable()->size(), 0u );
   EXPECT_EQ( table->producerRtList()->rtCount(), 0u );

   // With some values held at the end, the set names exactly their route
   // targets.
   std::vector<ExtComm::PtrConst> keep;
   size_t expectedRts = 0;
   for ( const auto& c : all ) {
      keep.push_back( ExtComm::dedupContent( table.ptr(), c ) );
      expectedRts += keep.back()->classification() == extCommClassificationRouteTarget;
   }
   EXPECT_EQ( table->producerRtList()->rtCount(), expectedRts );
}

} // namespace
} // namespace Routing::Bgp
