// AS-number and IPv4-address communities: administrators, local values and the asdot rules
// under every format.
#include "OvBgp/Parse/ExtCommAsNumber.h"

#include <gtest/gtest.h>

#include <sstream>

namespace Routing::Bgp {
namespace {

ExtCommAsNumber::Ptr asNumber( U64 content, bool fourByteAs ) {
   return ExtCommAsNumber::ExtCommAsNumberIs( extCommClassificationUnSpecified,
                                              ExtCommContent( content ), fourByteAs );
}
ExtCommIpv4Address::Ptr ipv4( U64 content ) {
   return ExtCommIpv4Address::ExtCommIpv4AddressIs( extCommClassificationUnSpecified,
                                                    ExtCommContent( content ) );
}

TEST( ExtCommAsNumber, FieldsFollowTheLayout ) {
   auto two = asNumber( 0x0002fde8ffffffff, false );
   EXPECT_EQ( two->asNumber(), 65000u );
   EXPECT_EQ( two->localAdmin(), 4294967295u );
   auto four = asNumber( 0x0202fde800640005, true );
   EXPECT_EQ( four->asNumber(), 4259840100u );
   EXPECT_EQ( four->localAdmin(), 5u );
   EXPECT_EQ( four->formatAsNumber( true ), "65000.100" );
   EXPECT_EQ( ipv4( 0x0102c0a80001002a )->localAdmin(), 42u );
}

// Every one of the 64 format octets gives one of four texts: the type label only with
// classification and UI together, the dotted AS only with asdot, and only for 4-octet
// numbers from 65536.
TEST( ExtCommAsNumber, PolicyFormUnderEveryFormat ) {
   struct Case {
      ExtComm::Ptr value;
      const char* plain;
      const char* dotted;
      const char* labelledPlain;
      const char* labelledDotted;
   };
   const Case cases[] = {
      { asNumber( 0x0202ffffffffffff, true ), "4294967295:65535", "65535.65535:65535",
        "0202-AS4:4294967295:65535", "0202-AS4:65535.65535:65535" },
      { asNumber( 0x020200010000000a, true ), "65536:10", "1.0:10", "0202-AS4:65536:10",
        "0202-AS4:1.0:10" },
      { asNumber( 0x02020000fde80001, true ), "65000:1", "65000:1", "0202-AS4:65000:1",
        "0202-AS4:65000:1" },
      { asNumber( 0x0002000000000000, false ), "0:0", "0:0", "0002-AS:0:0", "0002-AS:0:0" },
      { asNumber( 0x4099fde800000007, false ), "65000:7", "65000:7", "0099-AS(NT):65000:7",
        "0099-AS(NT):65000:7" },
      { asNumber( 0x0002fde8ffffffff, false ), "65000:4294967295", "65000:4294967295",
        "0002-AS:65000:4294967295", "0002-AS:65000:4294967295" },
      { ipv4( 0x010a0a0000010000 ), "10.0.0.1:0", "10.0.0.1:0", "010a-IP:10.0.0.1:0",
        "010a-IP:10.0.0.1:0" },
      { ipv4( 0x4107ffffffffffff ), "255.255.255.255:65535", "255.255.255.255:65535",
        "0107-IP(NT):255.255.255.255:65535", "0107-IP(NT):255.255.255.255:65535" },
   };
   for ( const Case& c : cases ) {
      for ( unsigned octet = 0; octet < 64; ++octet ) {
         const bool labelled = ( octet & 6 ) == 6;
         const bool asdot = octet & 16;
         const char* expected = labelled ? ( asdot ? c.labelledDotted : c.labelledPlain )
                                         : ( asdot ? c.dotted : c.plain );
         EXPECT_EQ( c.value->toStrepForPolicy( ExtComm::StrepFormat( octet ) ), expected )
               << c.value->toStrep() << " format " << octet;
      }
   }
}

TEST( ExtCommAsNumber, DebuggingForms ) {
   std::ostringstream os;
   os << asNumber( 0x0005fde800000064, false ).ptr() << "\n"
      << asNumber( 0x0233fde800640005, true ).ptr() << "\n"
      << ipv4( 0x0107c0a80001002a ).ptr();
   EXPECT_EQ( os.str(),
              "<extCommPktTypeTransTwoOctetAs extCommPktSubtypeTransTwoOctetAsOspfDomainIdentifier "
              "ASN=65000 0x0005fde800000064>\n"
              "<extCommPktTypeTransFourOctetAs subtype=51 ASN=4259840100 0x0233fde800640005>\n"
              "<extCommPktTypeTransIpv4Address extCommPktSubtypeTransIpv4AddressOspfRouteId "
              "192.168.0.1 0x0107c0a80001002a>" );
}

} // namespace
} // namespace Routing::Bgp
