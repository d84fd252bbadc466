// Route-target values: classification, the labels of the three layouts under
// every format, the debugging forms and the type assertion.
#include "OvBgp/Parse/ExtCommRouteTarget.h"

#include <gtest/gtest.h>

namespace Routing::Bgp {
namespace {

// expectFormsUnderEveryFormat(): of the six flags only classification, UI
// and asdot change the text: classification alone prefixes "RT:", with UI
// the layout's label; UI alone changes nothing.
void expectFormsUnderEveryFormat( const ExtComm& value, const char* label, const char* plain,
                                  const char* dotted ) {
   for ( unsigned octet = 0; octet < 64; ++octet ) {
      const char* prefix = !( octet & 2 ) ? "" : ( octet & 4 ) ? label : "RT:";
      const Kel::String expected = Kel::String( prefix ) + ( octet & 16 ? dotted : plain );
      EXPECT_EQ( value.toStrepForPolicy( ExtComm::StrepFormat( octet ) ), expected )
            << value.toStrep() << " format " << octet;
   }
}

TEST( ExtCommRouteTarget, CreatorsSetClassificationAndNotification ) {
   auto two = extCommRouteTargetAsFactory( ExtCommContent( 0x0002fde800000064 ), false );
   auto four =
         ExtCommRouteTargetAs::ExtCommRouteTargetAsIs( ExtCommContent( 0x0202fde800640005 ), true );
   auto ip = extCommRouteTargetIpv4AddressFactory( ExtCommContent( 0x0102c0a80001002a ) );
   for ( const ExtComm* v :
         { (const ExtComm*)two.ptr(), (const ExtComm*)four.ptr(), (const ExtComm*)ip.ptr() } ) {
      EXPECT_EQ( v->classification(), extCommClassificationRouteTarget );
      EXPECT_TRUE( v->hasNotificationActive() );
      EXPECT_FALSE( v->policyMatchStrepUI() );
      EXPECT_EQ( v->dedupState(), Bex::dedupHandleStateNeverDeduped() );
   }
   EXPECT_FALSE( two->fourByteAs() );
   EXPECT_TRUE( four->fourByteAs() );
   EXPECT_EQ( four->localAdmin(), 5u );
}

TEST( ExtCommRouteTarget, PolicyFormsOfTheThreeLayouts ) {
   expectFormsUnderEveryFormat(
         *extCommRouteTargetAsFactory( ExtCommContent( 0x0002fde800000064 ), false ),
         "Route-Target-AS:", "65000:100", "65000:100" );
   // The 2-octet layout's local value is 32 bits wide.
   expectFormsUnderEveryFormat(
         *extCommRouteTargetAsFactory( ExtCommContent( 0x0002fde8ffffffff ), false ),
         "Route-Target-AS:", "65000:4294967295", "65000:4294967295" );
   expectFormsUnderEveryFormat(
         *extCommRouteTargetAsFactory( ExtCommContent( 0x0202fde800640005 ), true ),
         "Route-Target-AS4:", "4259840100:5", "65000.100:5" );
   // A 4-octet AS below 65536 is never dotted.
   expectFormsUnderEveryFormat(
         *extCommRouteTargetAsFactory( ExtCommContent( 0x02020000fde8ffff ), true ),
         "Route-Target-AS4:", "65000:65535", "65000:65535" );
   expectFormsUnderEveryFormat(
         *extCommRouteTargetIpv4AddressFactory( ExtCommContent( 0x0102c0a80001002a ) ),
         "Route-Target-IP:", "192.168.0.1:42", "192.168.0.1:42" );
   EXPECT_EQ( extCommRouteTargetAsFactory( ExtCommContent( 0x0202fde800640005 ), true )
                    ->toStrepForUI( true, false, false ),
              "Route-Target-AS4:65000.100:5" );
}

TEST( ExtCommRouteTarget, DebuggingFormsNameTheLayout ) {
   EXPECT_EQ( extCommRouteTargetAsFactory( ExtCommContent( 0x0002fde800000064 ), false )->toStrep(),
              "<RouteTarget2ByteASN 65000:100 0x0002fde800000064>" );
   EXPECT_EQ( extCommRouteTargetAsFactory( ExtCommContent( 0x0202fde800640005 ), true )->toStrep(),
              "<RouteTarget4ByteASN 4259840100:5 0x0202fde800640005>" );
   EXPECT_EQ(
         extCommRouteTargetIpv4AddressFactory( ExtCommContent( 0x0102c0a80001002a ) )->toStrep(),
         "<RouteTarget 192.168.0.1:42 0x0102c0a80001002a>" );
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
