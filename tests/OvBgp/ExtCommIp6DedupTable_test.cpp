// The IPv6 extended-community table: one object per content, parsing only
// on a miss, no route-target side effects, and interning from several
// threads at once.
#include "OvBgp/ExtCommIp6DedupTable.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "Kel/Exception.h"
#include "OvBgp/ExtCommIp6.h"
#include "OvBgp/NotifyingRouteTargetList.h"
#include "OvBgp/OvBgpCommunity.h"
#include "OvBgp/Parse/ExtComm.h"
#include "Routing/Bgp/OvBgpGlobals.h"
#include "tests/OvBgp/ExtCommIp6TestRule.h"
#include "tests/OvBgp/TestSupport.h"

namespace Routing::Bgp {
namespace {

ExtCommIp6Content content( U8 type, U8 subtype, const char* address, U16 local ) {
   return ExtCommIp6Content( type, subtype, Onet::Ip6Addr::parse( address ), local );
}

class ExtCommIp6DedupTableTest : public ::testing::Test {
 protected:
   ExtCommIp6::PtrConst intern( const ExtCommIp6Content& c ) {
      return ExtCommIp6::dedupContent( table_.ptr(), c );
   }
   Testing::TestIp6Rule rule_;
   ExtCommIp6DedupTable::Ptr table_ = extCommIp6DedupTableFactory( rule_.top );
};

TEST_F( ExtCommIp6DedupTableTest, InterningSameContentTwiceReturnsSameObjectPerTable ) {
   const ExtCommIp6Content rt = content( 0x00, 0x02, "2001:db8::1", 100 );
   ExtCommIp6::PtrConst a = intern( rt );
   ExtCommIp6::PtrConst b = intern( rt );
   EXPECT_EQ( a, b );
   EXPECT_TRUE( a->isDeduped() );
   EXPECT_EQ( a->classification(), extCommClassificationRouteTarget );
   // A content differing in the local administrator only is another value;
   // another table keeps its own object.
   EXPECT_NE( intern( content( 0x00, 0x02, "2001:db8::1", 101 ) ), a );
   auto other = ExtCommIp6DedupTable::ExtCommIp6DedupTableIs( rule_.top );
   EXPECT_NE( ExtCommIp6::dedupContent( other.ptr(), rt ), a );
   a = nullptr;
   EXPECT_EQ( table_->dedupTable()->size(), 1u ); // b still holds it
   b = nullptr;
   EXPECT_EQ( table_->dedupTable()->size(), 0u );
   EXPECT_THROW( extCommIp6DedupTableFactory( nullptr ), Kel::NullArgumentException );

   // Equal content under another classification is the same value to the
   // table: the one interned first stands for both.
   ExtCommIp6::PtrConst first = Kel::ptrCast<const ExtCommIp6>(
         table_->dedupTable()->dedup( extCommIp6Factory( extCommClassificationColor, rt ) ) );
   EXPECT_EQ( intern( rt ), first );
   auto late = extCommIp6Factory( extCommClassificationRouteTarget, rt );
   EXPECT_EQ( table_->dedupTable()->dedup( late ), first );
   EXPECT_FALSE( late->everDeduped() );
   EXPECT_EQ( first->classification(), extCommClassificationColor );
}

TEST_F( ExtCommIp6DedupTableTest, ParsesOnlyOnMiss ) {
   const ExtCommIp6Content c = content( 0x40, 0x03, "2001:db8::7", 7 );
   ExtCommIp6::PtrConst held = intern( c );
   EXPECT_EQ( intern( c ), held );
   EXPECT_EQ( rule_.parses(), 1 );
   // Once the value has left the table, the next request is a miss again.
   held = nullptr;
   held = intern( c );
   EXPECT_EQ( rule_.parses(), 2 );
   // Unknown types never reach a type rule and still intern.
   ExtCommIp6::PtrConst unknown = intern( content( 0x07, 0x02, "::1", 1 ) );
   EXPECT_EQ( unknown->pktType(), extCommIp6PktTypeUnknown );
   EXPECT_EQ( intern( content( 0x07, 0x02, "::1", 1 ) ), unknown );
   EXPECT_EQ( rule_.parses(), 2 );
}

TEST( ExtCommIp6DedupTable, RouteTargetsChangeNoRouteTargetSet ) {
   // The 8-octet table of the same parser keeps a route-target set; IPv6
   // route targets must leave it alone.
   auto container = bgpParseExtCommContainerSmFactory();
   Testing::TestIp6Rule rule( container->extCommParser() );
   auto eightOctet = extCommDedupTableFactory( rule.top );
   auto table = extCommIp6DedupTableFactory( rule.top );
   ExtComm::PtrConst eightOctetRt =
         ExtComm::dedupContent( eightOctet.ptr(), ExtCommContent( 0x0002fde800000064 ) );
   ASSERT_EQ( eightOctet->producerRtList()->rtCount(), 1u );
   std::vector<ExtCommIp6::PtrConst> held;
   for ( U16 local = 1; local <= 3; ++local ) {
      held.push_back(
            ExtCommIp6::dedupContent( table.ptr(), content( 0, 2, "2001:db8::1", local ) ) );
      EXPECT_EQ( held.back()->classification(), extCommClassificationRouteTarget );
   }
   EXPECT_EQ( eightOctet->producerRtList()->rtCount(), 1u );
   held.clear();
   EXPECT_EQ( eightOctet->producerRtList()->rtCount(), 1u );
}

TEST( ExtCommIp6DedupTableConcurrency, InterningRacesLastReleaseAndLeavesTheTableEmpty ) {
   // Identity under sharing is shown by the list tests; here values come
   // and go as fast as four threads can intern and drop them.
   Testing::TestIp6Rule rule;
   OvBgpGlobals::multiThreadedIs( true );
   auto table = extCommIp6DedupTableFactory( rule.top );
   OvBgpGlobals::multiThreadedIs( false );
   ASSERT_TRUE( table->dedupTable()->threadSafe() );
   std::vector<ExtCommIp6Content> all;
   for ( U16 i = 0; i < 24; ++i ) {
      all.push_back( content( U8( ( i & 1 ) * 0x40 ), U8( 2 + i % 3 ), "2001:db8::1", i ) );
   }
   std::atomic<int> mismatches{ 0 };
   Testing::onFourThreads( [ & ]( int t ) {
      std::mt19937 rng( 200 + t );
      std::vector<ExtCommIp6::PtrConst> mine( all.size() );
      for ( int i = 0; i < 100000 / Testing::kThreadLoad; ++i ) {
         const size_t k = rng() % all.size();
         if ( rng() & 1 ) {
            mine[ k ] = ExtCommIp6::dedupContent( table.ptr(), all[ k ] );
            mismatches += !( mine[ k ]->community() == all[ k ] ) || !mine[ k ]->isDeduped();
         } else {
            mine[ k ] = nullptr;
         }
      }
   } );
   EXPECT_EQ( mismatches.load(), 0 );
   EXPECT_EQ( table->dedupTable()->size(), 0u );
}

} // namespace
} // namespace Routing::Bgp
