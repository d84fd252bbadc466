// Route-origin values: classification, the labels of the three layouts under
// every format, the debugging forms and the type assertion.
#include "OvBgp/Parse/ExtCommRouteOrigin.h"

#include <gtest/gtest.h>

namespace Routing::Bgp {
namespace {

// expectFormsUnderEveryFormat(): of the six flags only classification, UI
// and asdot change the text: classification alone prefixes "SoO:", with UI
// the layout's label; UI alone changes nothing.
void expectFormsUnderEveryFormat( const ExtComm& value, const char* label, const char* plain,
                                  const char* dotted ) {
   for ( unsigned octet = 0; octet < 64; ++octet ) {
      const char* prefix = !( octet & 2 ) ? "" : ( octet & 4 ) ? label : "SoO:";
      const Kel::String expected = Kel::String( prefix ) + ( octet & 16 ? dotted : plain );
      EXPECT_EQ( value.toStrepForPolicy( ExtComm::StrepFormat( octet ) ), expected )
            << value.toStrep() << " format " << octet;
   }
}

TEST( ExtCommRouteOrigin, CreatorsSetClassificationAndNotification ) {
   auto two = extCommRouteOriginAsFactory( ExtCommContent( 0x0003fde800000064 ), false );
   auto four =
         ExtCommRouteOriginAs::ExtCommRouteOriginAsIs( ExtCommContent( 0x0203fde800640005 ), true );
   auto ip = extCommRouteOriginIpv4AddressFactory( ExtCommContent( 0x0103c0a80001002a ) );
   for ( const ExtComm* v :
         { (const ExtComm*)two.ptr(), (const ExtComm*)four.ptr(), (const ExtComm*)ip.ptr() } ) {
      EXPECT_EQ( v->classification(), extCommClassificationRouteOrigin );
      EXPECT_TRUE( v->hasNotificationActive() );
      EXPECT_FALSE( v->policyMatchStrepUI() );
      EXPECT_EQ( v->dedupState(), Bex::dedupHandleStateNeverDeduped() );
   }
   EXPECT_FALSE( two->fourByteAs() );
   EXPECT_TRUE( four->fourByteAs() );
   EXPECT_EQ( four->localAdmin(), 5u );
}

TEST( ExtCommRouteOrigin, PolicyFormsOfTheThreeLayouts ) {
   expectFormsUnderEveryFormat(
         *extCommRouteOriginAsFactory( ExtCommContent( 0x0003fde800000064 ), false ),
         "Route-Origin-AS:", "65000:100", "65000:100" );
   // The 2-octet layout's local value is 32 bits wide.
   expectFormsUnderEveryFormat(
         *extCommRouteOriginAsFactory( ExtCommContent( 0x0003fde8ffffffff ), false ),
         "Route-Origin-AS:", "65000:4294967295", "65000:4294967295" );
   expectFormsUnderEveryFormat(
         *extCommRouteOriginAsFactory( ExtCommContent( 0x0203fde800640005 ), true ),
         "Route-Origin-AS4:", "4259840100:5", "65000.100:5" );
   // A 4-octet AS below 65536 is never dotted.
   expectFormsUnderEveryFormat(
         *extCommRouteOriginAsFactory( ExtCommContent( 0x02030000fde8ffff ), true ),
         "Route-Origin-AS4:", "65000:65535", "65000:65535" );
   expectFormsUnderEveryFormat(
         *extCommRouteOriginIpv4AddressFactory( ExtCommContent( 0x0103c0a80001002a ) ),
         "Route-Origin-IP:", "192.168.0.1:42", "192.168.0.1:42" );
   EXPECT_EQ( extCommRouteOriginAsFactory( ExtCommContent( 0x0203fde800640005 ), true )
                    ->toStrepForUI( true, false, false ),
              "Route-Origin-AS4:65000.100:5" );
}

TEST( ExtCommRouteOrigin, DebuggingFormsNameTheLayout ) {
   EXPECT_EQ( extCommRouteOriginAsFactory( ExtCommContent( 0x0003fde800000064 ), false )->toStrep(),
              "<RouteOrigin2ByteASN 65000:100 0x0003fde800000064>" );
   EXPECT_EQ( extCommRouteOriginAsFactory( ExtCommContent( 0x0203fde800640005 ), true )->toStrep(),
              "<RouteOrigin4ByteASN 4259840100:5 0x0203fde800640005>" );
   EXPECT_EQ(
         extCommRouteOriginIpv4AddressFactory( ExtCommContent( 0x0103c0a80001002a ) )->toStrep(),
         "<RouteOrigin 192.168.0.1:42 0x0103c0a80001002a>" );
}

TEST( ExtCommRouteOriginDeathTest, DebuggingFormOfAnotherTypeAsserts ) {
   GTEST_FLAG_SET( death_test_style, "threadsafe" );
   auto odd = extCommRouteOriginAsFactory( ExtCommContent( 0x4003fde800000064 ), false );
   EXPECT_EQ( odd->toStrepForPolicy( ExtComm::strepFormatClassification ), "SoO:65000:100" );
   EXPECT_DEATH( odd->toStrep(),
                 "^assertion failed: 0 && \"unexpected type\" "
                 "\\(OvBgp/Parse/ExtCommRouteOrigin\\)" );
}

} // namespace
} // namespace Routing::Bgp
