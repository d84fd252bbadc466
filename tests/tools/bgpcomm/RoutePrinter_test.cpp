#include "MrtTestSupport.h"

#include "tools/bgpcomm/RouteInterner.h"
#include "tools/bgpcomm/RoutePrinter.h"

#include <gtest/gtest.h>

namespace BgpcommTest {
namespace {

// RoutePrinterOutput: one route through the interner and the printer.
class RoutePrinterOutput : public testing::Test {
 protected:
   std::string printed( const MrtRoute& route, RoutePrinter::Format format ) {
      InternedRoute lists;
      interner_.intern( route, &lists );
      return printedBy(
            [ & ]( OutputBuffer& out ) { RoutePrinter( out, format ).print( route, lists ); } );
   }

   CommunityTables tables_;
   RouteInterner interner_{ tables_ };
};

// The other kinds, alone and together, are in the bundled sample's committed
// output (MrtCommand_test).
TEST_F( RoutePrinterOutput, JsonCarriesTheListsSortedUniqueValuesAndTextsOfPresentKindsOnly ) {
   std::vector<U8> large = parseHex( "fa56ea00 00000001 00000002 0000fde8 00000000 00000009" );
   std::vector<U8> ip6 = parseHex(
         "000220010db80000000000000000000000010064"
         "000220010db80000000000000000000000010064" );
   MrtRoute r;
   r.prefix = "10.1.0.0/24";
   r.peer = "192.0.2.1";
   r.peerAs = 65000;
   r.communities[ communityKindIndex( CommunityKind::large ) ] = large;
   r.communities[ communityKindIndex( CommunityKind::ip6Extended ) ] = ip6;
   EXPECT_EQ( printed( r, RoutePrinter::Format::json ),
              "{\"prefix\": \"10.1.0.0/24\", \"peer\": \"192.0.2.1\", \"peerAs\": 65000, "
              "\"largeCommunities\": {\"values\": [[65000, 0, 9], [4200000000, 1, 2]], "
              "\"text\": \"65000:0:9 4200000000:1:2\"}, "
              "\"ipv6ExtCommunities\": {\"values\": "
              "[\"000220010db80000000000000000000000010064\"], "
              "\"text\": \"0002-IP6:2001:db8::1:100\"}}\n" );
   EXPECT_EQ(
         printed( r, RoutePrinter::Format::lines ),
         "10.1.0.0/24\t192.0.2.1\t-\t-\t65000:0:9 4200000000:1:2\t0002-IP6:2001:db8::1:100\n" );
}

TEST( RoutePrinter, JsonStringsAreEscaped ) {
   std::string s;
   appendJsonString( s, "a\"b\\c\x01" );
   EXPECT_EQ( s, "\"a\\\"b\\\\c\\u0001\"" );
}

} // namespace
} // namespace BgpcommTest
