// Route-origin values: what differs from route targets (classification, labels, debugging names
// and the assertion's source); the AS and address rules they share are the bases'.
#include "OvBgp/Parse/ExtCommRouteOrigin.h"

#include <gtest/gtest.h>

#include "tests/OvBgp/Parse/ExtCommLabelledForms.h"

namespace Routing::Bgp {
namespace {

TEST( ExtCommRouteOrigin, FormsOfTheThreeLayouts ) {
   const LabelledFormsCase cases[] = {
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
   expectLabelledForms( cases, extCommClassificationRouteOrigin, "SoO:" );
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
