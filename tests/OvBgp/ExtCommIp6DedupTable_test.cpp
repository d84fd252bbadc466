// The IPv6 extended-community table: parsing only on a miss, the first of
// equal contents standing for all, no route-target side effects (interning
// identity, also from several threads, is ExtCommDedupTable_test's typed
// suite over both value tables).
#include "OvBgp/ExtCommIp6DedupTable.h"

#include <gtest/gtest.h>

#include <vector>

#include "Kel/Exception.h"
#include "OvBgp/ExtCommIp6.h"
#include "OvBgp/NotifyingRouteTargetList.h"
#include "OvBgp/OvBgpCommunity.h"
#include "OvBgp/Parse/ExtComm.h"
#include "tests/OvBgp/ExtCommIp6TestRule.h"

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

TEST_F( ExtCommIp6DedupTableTest, ClassifiesByItsRuleAndTheFirstOfEqualContentsStandsForAll ) {
   const ExtCommIp6Content rt = content( 0x00, 0x02, "2001:db8::1", 100 );
   EXPECT_EQ( intern( rt )->classification(), extCommClassificationRouteTarget );
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

} // namespace
} // namespace Routing::Bgp
