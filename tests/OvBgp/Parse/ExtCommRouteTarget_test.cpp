// Route-target values: classification, the labels of the three layouts under every format, the
// debugging forms and the type assertion; the AS and address rules are the bases'.
#include "OvBgp/Parse/ExtCommRouteTarget.h"

#include <gtest/gtest.h>

#include "tests/OvBgp/Parse/ExtCommLabelledForms.h"

namespace Routing::Bgp {
namespace {

TEST( ExtCommRouteTarget, FormsOfTheThreeLayouts ) {
   const LabelledFormsCase cases[] = {
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
   expectLabelledForms( cases, extCommClassificationRouteTarget, "RT:" );
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
