// Route-origin values: what differs from route targets (classification, labels, debugging names
// and the assertion's source); the AS and address rules they share are the bases'.
#include "OvBgp/Parse/ExtCommRouteOrigin.h"

#include <gtest/gtest.h>

namespace Routing::Bgp {
namespace {

TEST( ExtCommRouteOrigin, FormsOfTheThreeLayouts ) {
   struct Case {
      ExtComm::Ptr value;
      const char* label;
      const char* plain;
      const char* dotted;
      const char* debug;
   };
   const Case cases[] = {
      { extCommRouteOriginAsFactory( ExtCommContent( 0x0003fde800000064 ), false ),
        "Route-Origin-AS:", "65000:100", "65000:100",
        "<RouteOrigin2ByteASN 65000:100 0x0003fde800000064>" },
      { ExtCommRouteOriginAs::ExtCommRouteOriginAsIs( ExtCommContent( 0x0203fde800640005 ), true ),
        "Route-Origin-AS4:", "4259840100:5", "65000.100:5",
        "<RouteOrigin4ByteASN 4259840100:5 0x0203fde800640005>" },
      { extCommRouteOriginIpv4AddressFactory( ExtCommContent( 0x0103c0a80001002a ) ),
        "Route-Origin-IP:", "192.168.0.1:42", "192.168.0.1:42",
        "<RouteOrigin 192.168.0.1:42 0x0103c0a80001002a>" },
   };
   for ( const Case& c : cases ) {
      EXPECT_EQ( c.value->classification(), extCommClassificationRouteOrigin );
      EXPECT_TRUE( c.value->hasNotificationActive() );
      EXPECT_FALSE( c.value->policyMatchStrepUI() );
      for ( unsigned octet = 0; octet < 64; ++octet ) {
         const char* prefix = !( octet & 2 ) ? "" : ( octet & 4 ) ? c.label : "SoO:";
         EXPECT_EQ( c.value->toStrepForPolicy( ExtComm::StrepFormat( octet ) ),
                    Kel::String( prefix ) + ( octet & 16 ? c.dotted : c.plain ) )
               << c.debug << " format " << octet;
      }
      EXPECT_EQ( c.value->toStrep(), c.debug );
   }
}

TEST( ExtCommRouteOriginDeathTest, DebuggingFormOfAnotherTypeAsserts ) {
   GTEST_FLAG_SET( death_test_style, "threadsafe" );
   auto odd = extCommRouteOriginAsFactory( ExtCommContent( 0x4203fde800640005 ), true );
   EXPECT_DEATH( odd->toStrep(),
                 "^assertion failed: 0 && \"unexpected type\" "
                 "\\(OvBgp/Parse/ExtCommRouteOrigin\\)" );
}

} // namespace
} // namespace Routing::Bgp
