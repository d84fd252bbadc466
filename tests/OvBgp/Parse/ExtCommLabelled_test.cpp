// The labelled kinds, route target and route origin: classification, the labels of the three
// layouts under every format, the debugging forms and the type assertion under each kind's
// own source; the AS and address rules are the bases'.
#include "OvBgp/Parse/ExtCommLabelled.h"

#include <gtest/gtest.h>

#include <vector>

#include "OvBgp/Parse/ExtCommRouteOrigin.h"
#include "OvBgp/Parse/ExtCommRouteTarget.h"

namespace Routing::Bgp {
namespace {

// Case: one value, its UI label, its plain and asdot texts and its debugging form.
struct Case {
   ExtComm::Ptr value;
   const char* label;
   const char* plain;
   const char* dotted;
   const char* debug;
};

// expectForms(): all 64 format combinations of every case. Of the six flags only
// classification, UI and asdot change the text: classification alone prefixes shortLabel,
// with UI the layout's label; UI alone changes nothing.
void expectForms( const std::vector<Case>& cases, ExtCommClassification classification,
                  const char* shortLabel ) {
   for ( const Case& c : cases ) {
      EXPECT_EQ( c.value->classification(), classification );
      EXPECT_TRUE( c.value->hasNotificationActive() );
      EXPECT_FALSE( c.value->policyMatchStrepUI() );
      for ( unsigned octet = 0; octet < 64; ++octet ) {
         const char* prefix = !( octet & 2 ) ? "" : ( octet & 4 ) ? c.label : shortLabel;
         EXPECT_EQ( c.value->toStrepForPolicy( ExtComm::StrepFormat( octet ) ),
                    Kel::String( prefix ) + ( octet & 16 ? c.dotted : c.plain ) )
               << c.debug << " format " << octet;
      }
      EXPECT_EQ( c.value->toStrep(), c.debug );
   }
}

TEST( ExtCommLabelled, RouteTargetFormsOfTheThreeLayouts ) {
   expectForms(
         {
               { extCommRouteTargetAsFactory( ExtCommContent( 0x0002fde800000064 ), false ),
                 "Route-Target-AS:", "65000:100", "65000:100",
                 "<RouteTarget2ByteASN 65000:100 0x0002fde800000064>" },
               { ExtCommRouteTargetAs::ExtCommRouteTargetAsIs( ExtCommContent( 0x0202fde800640005 ),
                                                               true ),
                 "Route-Target-AS4:", "4259840100:5", "65000.100:5",
                 "<RouteTarget4ByteASN 4259840100:5 0x0202fde800640005>" },
               { extCommRouteTargetIpv4AddressFactory( ExtCommContent( 0x0102c0a80001002a ) ),
                 "Route-Target-IP:", "192.168.0.1:42", "192.168.0.1:42",
                 "<RouteTarget 192.168.0.1:42 0x0102c0a80001002a>" },
         },
         extCommClassificationRouteTarget, "RT:" );
   EXPECT_EQ( extCommRouteTargetAsFactory( ExtCommContent( 0x0202fde800640005 ), true )
                    ->toStrepForUI( true, false, false ),
              "Route-Target-AS4:65000.100:5" );
}

TEST( ExtCommLabelled, RouteOriginFormsOfTheThreeLayouts ) {
   expectForms(
         {
               { extCommRouteOriginAsFactory( ExtCommContent( 0x0003fde800000064 ), false ),
                 "Route-Origin-AS:", "65000:100", "65000:100",
                 "<RouteOrigin2ByteASN 65000:100 0x0003fde800000064>" },
               { ExtCommRouteOriginAs::ExtCommRouteOriginAsIs( ExtCommContent( 0x0203fde800640005 ),
                                                               true ),
                 "Route-Origin-AS4:", "4259840100:5", "65000.100:5",
                 "<RouteOrigin4ByteASN 4259840100:5 0x0203fde800640005>" },
               { extCommRouteOriginIpv4AddressFactory( ExtCommContent( 0x0103c0a80001002a ) ),
                 "Route-Origin-IP:", "192.168.0.1:42", "192.168.0.1:42",
                 "<RouteOrigin 192.168.0.1:42 0x0103c0a80001002a>" },
         },
         extCommClassificationRouteOrigin, "SoO:" );
}

TEST( ExtCommLabelledDeathTest, DebuggingFormOfAnotherTypeAssertsUnderTheKindsSource ) {
   GTEST_FLAG_SET( death_test_style, "threadsafe" );
   auto rt = extCommRouteTargetAsFactory( ExtCommContent( 0x4002fde800000064 ), false );
   EXPECT_EQ( rt->toStrepForPolicy( ExtComm::strepFormatClassification ), "RT:65000:100" );
   EXPECT_DEATH( rt->toStrep(),
                 "^assertion failed: 0 && \"unexpected type\" "
                 "\\(OvBgp/Parse/ExtCommRouteTarget\\)" );
   auto ro = extCommRouteOriginAsFactory( ExtCommContent( 0x4203fde800640005 ), true );
   EXPECT_DEATH( ro->toStrep(),
                 "^assertion failed: 0 && \"unexpected type\" "
                 "\\(OvBgp/Parse/ExtCommRouteOrigin\\)" );
}

} // namespace
} // namespace Routing::Bgp
