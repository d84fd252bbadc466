// Tunnel encapsulation values and TunnelType: names, validity, and the
// forms of named and unnamed tunnel types.
#include "OvBgp/Parse/ExtCommTunnelEncap.h"

#include <gtest/gtest.h>

#include "Kel/Exception.h"

namespace Routing::Bgp {
namespace {

ExtCommTunnelEncap::Ptr encap( U64 low48 ) {
   return extCommTunnelEncapFactory( ExtCommContent( 0x030c000000000000ull | low48 ) );
}

TEST( TunnelType, ExactlyTheEightRegistryValuesAreValidAndTextsRoundTrip ) {
   unsigned valid = 0;
   for ( U32 v = 0; v <= 0xFFFF; ++v ) {
      valid += bgpIsValidEnumMember( TunnelTypeInstance( v ) );
   }
   EXPECT_EQ( valid, 8u );
   EXPECT_TRUE( bgpIsValidEnumMember( tunnelTypeVxlanGpe ) );
   EXPECT_FALSE( bgpIsValidEnumMember( tunnelTypeUnknown ) );
   EXPECT_GT( U32( tunnelTypeUnknown ), 0xFFFFu );

   EXPECT_EQ( stringValue( tunnelTypeVxlanGpe ), "tunnelTypeVxlanGpe" );
   EXPECT_EQ( valueToStrep( tunnelTypeMplsInGre ), "tunnelTypeMplsInGre" );
   EXPECT_EQ( TunnelTypeInstance( Kel::String( "tunnelTypeGre" ) ), tunnelTypeGre );
   EXPECT_EQ( TunnelTypeInstance( 9 ), tunnelTypeNvgre );
   EXPECT_THROW( TunnelTypeInstance( Kel::String( "tunnelTypeBogus" ) ), Kel::RangeException );
}

TEST( ExtCommTunnelEncap, FormsOnlyHonourClassification ) {
   struct Case {
      U64 low48;
      const char* text;
      const char* debug;
   };
   const Case cases[] = {
      { 8, "tunnelTypeVxlan", "<TunnelEncap 8:tunnelTypeVxlan 0x030c000000000008>" },
      // The four octets before the tunnel type are not read.
      { 0xffffffff0001, "tunnelTypeL2tpv3OverIp",
        "<TunnelEncap 1:tunnelTypeL2tpv3OverIp 0x030cffffffff0001>" },
      { 0, "tunnelTypeUnknown-0", "<TunnelEncap 0:tunnelTypeUnknown 0x030c000000000000>" },
      { 13, "tunnelTypeUnknown-13", "<TunnelEncap 13:tunnelTypeUnknown 0x030c00000000000d>" },
      { 0xffff, "tunnelTypeUnknown-65535",
        "<TunnelEncap 65535:tunnelTypeUnknown 0x030c00000000ffff>" },
   };
   for ( const Case& c : cases ) {
      auto value = encap( c.low48 );
      EXPECT_EQ( value->classification(), extCommClassificationTunnelEncap );
      EXPECT_FALSE( value->policyMatchStrepUI() );
      for ( unsigned octet = 0; octet < 64; ++octet ) {
         const Kel::String expected = Kel::String( octet & 2 ? "TunnelEncap:" : "" ) + c.text;
         EXPECT_EQ( value->toStrepForPolicy( ExtComm::StrepFormat( octet ) ), expected ) << octet;
      }
      EXPECT_EQ( value->toStrep(), c.debug );
   }
   EXPECT_EQ( encap( 8 )->tunnelType(), tunnelTypeVxlan );
}

} // namespace
} // namespace Routing::Bgp
