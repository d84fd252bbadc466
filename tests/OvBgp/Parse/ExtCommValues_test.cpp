// The typed values the library's plug-ins build, as parsed. Their texts are one known-answer
// table of contents under all 64 format octets, plus the debugging form: route target and
// origin, the AS and address fallbacks (asdot only for 4-octet numbers from 65536), colour,
// default gateway, VRF route import, tunnel encapsulation and origin validation state share
// one rule, that classification, UI and asdot are the only flags that change the text (the
// AS and address fields are read through the texts). Then what single kinds add: the tunnel
// types, the origin validation content and the labelled kinds' type assertion. Link
// bandwidth is ExtCommLinkBandwidth_test's.
#include <gtest/gtest.h>

#include "Kel/Exception.h"
#include "OvBgp/Parse/ExtComm.h"
#include "OvBgp/Parse/ExtCommOriginValidationState.h"
#include "OvBgp/Parse/ExtCommRouteOrigin.h"
#include "OvBgp/Parse/ExtCommRouteTarget.h"
#include "OvBgp/Parse/ExtCommTunnelEncap.h"

namespace Routing::Bgp {
namespace {

// Case: without classification the text is body (dotted under asdot); classification adds
// classPrefix, classification with UI adds uiPrefix instead.
struct Case {
   U64 content;
   ExtCommClassification classification;
   const char* body;
   const char* dotted;
   const char* classPrefix;
   const char* uiPrefix;
   const char* debug;
};

constexpr auto rt = extCommClassificationRouteTarget, ro = extCommClassificationRouteOrigin,
               none = extCommClassificationUnSpecified, color = extCommClassificationColor,
               encap = extCommClassificationTunnelEncap,
               ovs = extCommClassificationOriginValidationState;

const Case cases[] = {
   { 0x0002fde800000064, rt, "65000:100", "65000:100",
     "RT:", "Route-Target-AS:", "<RouteTarget2ByteASN 65000:100 0x0002fde800000064>" },
   { 0x0202fde800640005, rt, "4259840100:5", "65000.100:5",
     "RT:", "Route-Target-AS4:", "<RouteTarget4ByteASN 4259840100:5 0x0202fde800640005>" },
   { 0x0102c0a80001002a, rt, "192.168.0.1:42", "192.168.0.1:42",
     "RT:", "Route-Target-IP:", "<RouteTarget 192.168.0.1:42 0x0102c0a80001002a>" },
   { 0x0003fde800000064, ro, "65000:100", "65000:100",
     "SoO:", "Route-Origin-AS:", "<RouteOrigin2ByteASN 65000:100 0x0003fde800000064>" },
   { 0x0203fde800640005, ro, "4259840100:5", "65000.100:5",
     "SoO:", "Route-Origin-AS4:", "<RouteOrigin4ByteASN 4259840100:5 0x0203fde800640005>" },
   { 0x0103c0a80001002a, ro, "192.168.0.1:42", "192.168.0.1:42",
     "SoO:", "Route-Origin-IP:", "<RouteOrigin 192.168.0.1:42 0x0103c0a80001002a>" },
   { 0x0005fde800000064, none, "65000:100", "65000:100", "", "0005-AS:",
     "<extCommPktTypeTransTwoOctetAs extCommPktSubtypeTransTwoOctetAsOspfDomainIdentifier "
     "ASN=65000 0x0005fde800000064>" },
   { 0x0233fde800640005, none, "4259840100:5", "65000.100:5", "",
     "0233-AS4:", "<extCommPktTypeTransFourOctetAs subtype=51 ASN=4259840100 0x0233fde800640005>" },
   { 0x023300010000000a, none, "65536:10", "1.0:10", "",
     "0233-AS4:", "<extCommPktTypeTransFourOctetAs subtype=51 ASN=65536 0x023300010000000a>" },
   { 0x02330000fde80001, none, "65000:1", "65000:1", "",
     "0233-AS4:", "<extCommPktTypeTransFourOctetAs subtype=51 ASN=65000 0x02330000fde80001>" },
   { 0x4099fde8ffffffff, none, "65000:4294967295", "65000:4294967295", "", "0099-AS(NT):",
     "<extCommPktTypeNonTransTwoOctetAs subtype=153 ASN=65000 0x4099fde8ffffffff>" },
   { 0x0107c0a80001002a, none, "192.168.0.1:42", "192.168.0.1:42", "", "0107-IP:",
     "<extCommPktTypeTransIpv4Address extCommPktSubtypeTransIpv4AddressOspfRouteId "
     "192.168.0.1 0x0107c0a80001002a>" },
   { 0x4107ffffffffffff, none, "255.255.255.255:65535", "255.255.255.255:65535", "", "0107-IP(NT):",
     "<extCommPktTypeNonTransIpv4Address subtype=7 255.255.255.255 "
     "0x4107ffffffffffff>" },
   // Only the top two colour flag bits count.
   { 0x030b400000000064, color, "Color:CO(01):100", "Color:CO(01):100", "", "",
     "<Color: 100(01) 0x030b400000000064>" },
   { 0x030b8000ffffffff, color, "Color:CO(10):4294967295", "Color:CO(10):4294967295", "", "",
     "<Color: 4294967295(10) 0x030b8000ffffffff>" },
   { 0x030b3fff00000000, color, "Color:CO(00):0", "Color:CO(00):0", "", "",
     "<Color: 0(00) 0x030b3fff00000000>" },
   { 0x030d0000000000ff, extCommClassificationDefaultGateway, "DefaultGateway", "DefaultGateway",
     "", "", "<DefaultGateway 0x030d0000000000ff>" },
   { 0x010b0a0101010003, extCommClassificationVrfRouteImport, "10.1.1.1:3", "10.1.1.1:3",
     "VRI:", "VRF-Route-Import:", "<VrfRouteImport 10.1.1.1:3 0x010b0a0101010003>" },
   // The four octets before the tunnel type are not read.
   { 0x030c000000000008, encap, "tunnelTypeVxlan", "tunnelTypeVxlan",
     "TunnelEncap:", "TunnelEncap:", "<TunnelEncap 8:tunnelTypeVxlan 0x030c000000000008>" },
   { 0x030cffffffff0001, encap, "tunnelTypeL2tpv3OverIp", "tunnelTypeL2tpv3OverIp",
     "TunnelEncap:", "TunnelEncap:", "<TunnelEncap 1:tunnelTypeL2tpv3OverIp 0x030cffffffff0001>" },
   { 0x030c000000000000, encap, "tunnelTypeUnknown-0", "tunnelTypeUnknown-0",
     "TunnelEncap:", "TunnelEncap:", "<TunnelEncap 0:tunnelTypeUnknown 0x030c000000000000>" },
   // The state is shown only in the UI form, and only the last octet is the state.
   { 0x4300000000000000, ovs, "", "", "", "Origin-Validation-State:valid",
     "<OriginValidationState valid 0x4300000000000000>" },
   { 0x4300000000000001, ovs, "", "", "", "Origin-Validation-State:not-found",
     "<OriginValidationState not-found 0x4300000000000001>" },
   { 0x4300000000000002, ovs, "", "", "", "Origin-Validation-State:invalid",
     "<OriginValidationState invalid 0x4300000000000002>" },
   { 0x4300000000000107, ovs, "", "", "", "Origin-Validation-State:unknown",
     "<OriginValidationState unknown(7) 0x4300000000000107>" },
};

TEST( ExtCommValues, EveryParsedKindHasItsTextsUnderEveryFormat ) {
   auto container = bgpParseExtCommContainerSmFactory();
   const bool mvpnOn = BgpParseExtCommContainerSm::mvpnToggleOn();
   for ( const Case& c : cases ) {
      if ( c.classification == extCommClassificationVrfRouteImport && !mvpnOn ) {
         continue;
      }
      auto value =
            container->extCommParser()->parseExtendedCommunity( ExtCommContent( c.content ) );
      EXPECT_EQ( value->classification(), c.classification ) << c.debug;
      EXPECT_TRUE( value->hasNotificationActive() );
      for ( unsigned octet = 0; octet < 64; ++octet ) {
         const char* prefix = !( octet & 2 ) ? "" : ( octet & 4 ) ? c.uiPrefix : c.classPrefix;
         EXPECT_EQ( value->toStrepForPolicy( ExtComm::StrepFormat( octet ) ),
                    Kel::String( prefix ) + ( octet & 16 ? c.dotted : c.body ) )
               << c.debug << " format " << octet;
      }
      EXPECT_EQ( value->toStrep(), c.debug );
   }
}

TEST( TunnelType, ExactlyTheEightRegistryValuesAreValidAndTextsRoundTrip ) {
   unsigned valid = 0;
   for ( U32 v = 0; v <= 0xFFFF; ++v ) {
      valid += bgpIsValidEnumMember( TunnelTypeInstance( v ) );
   }
   EXPECT_EQ( valid, 8u );
   EXPECT_FALSE( bgpIsValidEnumMember( tunnelTypeUnknown ) );
   EXPECT_GT( U32( tunnelTypeUnknown ), 0xFFFFu );

   EXPECT_EQ( valueToStrep( tunnelTypeMplsInGre ), "tunnelTypeMplsInGre" );
   EXPECT_EQ( TunnelTypeInstance( Kel::String( "tunnelTypeGre" ) ), tunnelTypeGre );
   EXPECT_THROW( TunnelTypeInstance( Kel::String( "tunnelTypeBogus" ) ), Kel::RangeException );
   // The type is the last two octets.
   EXPECT_EQ( extCommTunnelEncapFactory( ExtCommContent( 0x030cffffffff0008 ) )->tunnelType(),
              tunnelTypeVxlan );
}

TEST( ExtCommOriginValidationState, BuildExtCommContentPutsTheStateLast ) {
   for ( auto [ state, content ] : { std::pair( Rpki::originValidationStateValid, 0ull ),
                                     std::pair( Rpki::originValidationStateNotFound, 1ull ),
                                     std::pair( Rpki::originValidationStateInvalid, 2ull ) } ) {
      EXPECT_EQ( ExtCommOriginValidationState::buildExtCommContent( state ).value,
                 0x4300000000000000u | content );
   }
}

// A route target or origin built from a content of another type still has its policy text,
// but its debugging form asserts, under the kind's own source.
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
