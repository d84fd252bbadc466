// VRF route import values: the prefixes under every format and the
// debugging form.
#include "OvBgp/Parse/ExtCommVrfRouteImport.h"

#include <gtest/gtest.h>

namespace Routing::Bgp {
namespace {

TEST( ExtCommVrfRouteImport, FormsUnderEveryFormat ) {
   auto value = extCommVrfRouteImportIpv4AddressFactory( ExtCommContent( 0x010b0a0101010003 ) );
   EXPECT_EQ( value->classification(), extCommClassificationVrfRouteImport );
   EXPECT_TRUE( value->hasNotificationActive() );
   EXPECT_FALSE( value->policyMatchStrepUI() );
   for ( unsigned octet = 0; octet < 64; ++octet ) {
      const char* expected = !( octet & 2 )  ? "10.1.1.1:3"
                             : ( octet & 4 ) ? "VRF-Route-Import:10.1.1.1:3"
                                             : "VRI:10.1.1.1:3";
      EXPECT_EQ( value->toStrepForPolicy( ExtComm::StrepFormat( octet ) ), expected ) << octet;
   }
   EXPECT_EQ( value->toStrep(), "<VrfRouteImport 10.1.1.1:3 0x010b0a0101010003>" );
   auto edge = extCommVrfRouteImportIpv4AddressFactory( ExtCommContent( 0x010bffffffffffff ) );
   EXPECT_EQ( edge->toStrepForUI( false, false, false ), "VRF-Route-Import:255.255.255.255:65535" );
}

} // namespace
} // namespace Routing::Bgp
