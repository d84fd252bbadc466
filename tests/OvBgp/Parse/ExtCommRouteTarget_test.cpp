// Route-target values: classification, the labels of the three layouts under every format, the
// debugging forms and the type assertion; the AS and address rules are the bases'.
#include "OvBgp/Parse/ExtCommRouteTarget.h"

#include <gtest/gtest.h>

namespace Routing::Bgp {
namespace {

// Of the six format flags only classification, UI and asdot change the text: classification
// alone prefixes "RT:", with UI the layout's label; UI alone changes nothing.
TEST( ExtCommRouteTarget, FormsOfTheThreeLayouts ) {
   struct Case {
      ExtComm::Ptr value;
      const char* label;
      const char* plain;
      const char* dotted;
      const char* debug;
   };
   const Case cases[] = {
      { extCommRouteTargetAsFactory( ExtCommContent( 0x0002fde800000064 ), false ),
        "Route-Target-AS:", "65000:100", "65000:100",
        "<RouteTarget2ByteASN 65000:100 0x0002fde800000064>" },
      { ExtCommRouteTargetAs::ExtCommRouteTargetAsIs( ExtCommContent( 0x0202fde800640005 ), true ),
        "Route-Target-AS4:", "4259840100:5", "65000.100:5",
        "<RouteTarget4ByteASN 4259840100:5 0x0202fde800640005>" },
      { extCommRouteTargetIpv4AddressFactory( ExtCommContent( 0x0102c0a80001002a ) ),
        "Route-Target-IP:", "192.168.0.1:42", "192.168.0.1:42",
        "<RouteTarget 192.168.0.1:42 0x0102c0a80001002a>" },
   };
   for ( const Case& c : cases ) {
      EXPECT_EQ( c.value->classification(), extCommClassificationRouteTarget );
      EXPECT_TRUE( c.value->hasNotificationActive() );
      EXPECT_FALSE( c.value->policyMatchStrepUI() );
      for ( unsigned octet = 0; octet < 64; ++octet ) {
         const char* prefix = !( octet & 2 ) ? "" : ( octet & 4 ) ? c.label : "RT:";
         EXPECT_EQ( c.value->toStrepForPolicy( ExtComm::StrepFormat( octet ) ),
                    Kel::String( prefix ) + ( octet & 16 ? c.dotted : c.plain ) )
               << c.debug << " format " << octet;
      }
      EXPECT_EQ( c.value->toStrep(), c.debug );
   }
   EXPECT_EQ( cases[ 1 ].value->toStrepForUI( true, false, false ),
              "Route-Target-AS4:65000.100:5" );
}

TEST( ExtCommRouteTargetDeathTest, DebuggingFormOfAnotherTypeAsserts ) {
   GTEST_FLAG_SET( death_test_style, "threadsafe" );
   auto odd = extCommRouteTargetAsFactory( ExtCommContent( 0x4002fde800000064 ), false );
   EXPECT_EQ( odd->toStrepForPolicy( ExtComm::strepFormatClassification ), "RT:65000:100" );
   EXPECT_DEATH( odd->toStrep(),
                 "^assertion failed: 0 && \"unexpected type\" "
                 "\\(OvBgp/Parse/ExtCommRouteTarget\\)" );
}

} // namespace
} // namespace Routing::Bgp
