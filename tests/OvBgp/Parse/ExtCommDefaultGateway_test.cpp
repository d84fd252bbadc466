// Default gateway values: one text under every format.
#include "OvBgp/Parse/ExtCommDefaultGateway.h"

#include <gtest/gtest.h>

namespace Routing::Bgp {
namespace {

TEST( ExtCommDefaultGateway, SameTextUnderEveryFormat ) {
   auto value = extCommDefaultGatewayFactory( ExtCommContent( 0x030d0000000000ff ) );
   EXPECT_EQ( value->classification(), extCommClassificationDefaultGateway );
   EXPECT_TRUE( value->hasNotificationActive() );
   EXPECT_FALSE( value->policyMatchStrepUI() );
   for ( unsigned octet = 0; octet < 64; ++octet ) {
      EXPECT_EQ( value->toStrepForPolicy( ExtComm::StrepFormat( octet ) ), "DefaultGateway" );
   }
   EXPECT_EQ( value->toStrep(), "<DefaultGateway 0x030d0000000000ff>" );
}

} // namespace
} // namespace Routing::Bgp
