#include "MrtTestSupport.h"

#include "tools/bgpcomm/ListText.h"
#include "tools/bgpcomm/RouteInterner.h"

#include <gtest/gtest.h>

namespace BgpcommTest {
namespace {

using namespace Routing::Bgp;

// The tool builds its texts into a reused buffer; they must stay exactly the
// library's own forms. Checked over every list of the bundled dump and a few
// made here (names, asdot-sized values, a long list, unknown types).
TEST( ListText, TextsAreTheLibrarysFormsForEveryListOfTheSample ) {
   CommunityTables tables;
   RouteInterner interner( tables );
   // Per kind: standard, extended, large, IPv6-address-specific.
   std::array<std::vector<std::vector<U8>>, communityKindCount> lists = {
      { { parseHex( "00000000 ffff029a ffffff01 ffffff02 ffffff03 ffff0000 ffff0006 0001ffff" ) },
        { parseHex( "0603001122334455 1d05000100000002 4300000000000002 030c00000000000b" ) },
        { parseHex( "ffffffff ffffffff ffffffff" ) },
        { parseHex( "004b20010db80000000000000000000000010064"
                    "000320010db80000000000000000000000010064" ) } }
   };
   std::vector<U8>& longList = lists[ 0 ].emplace_back();
   for ( U32 i = 0; i < 400; ++i ) {
      for ( U8 o : { U8( 0xfd ), U8( 0xe8 ), U8( i >> 8 ), U8( i ) } )
         longList.push_back( o );
   }
   RouteCollector got;
   MrtReader( got ).readFile( sourceFile( "samples/gobgp-table.mrt" ) );
   ASSERT_EQ( got.routes.size(), 33u );
   for ( const auto& route : got.communities ) {
      for ( size_t k = 0; k < communityKindCount; ++k ) {
         if ( !route[ k ].empty() )
            lists[ k ].push_back( parseHex( route[ k ] ) );
      }
   }

   ListText text;
   // Standard and large lists: the library's text, after what the string held.
   auto asLibrary = [ & ]( const auto& list ) {
      std::string got = "prefix ";
      text.append( got, *list );
      EXPECT_EQ( got, "prefix " + list->toStrep() );
   };
   for ( const auto& octets : lists[ 0 ] )
      asLibrary( interner.communities( octets ) );
   for ( const auto& octets : lists[ 2 ] )
      asLibrary( interner.largeCommunities( octets ) );
   for ( const auto& octets : lists[ 1 ] ) {
      auto list = interner.extCommunities( octets );
      std::string got, expected;
      text.append( got, *list );
      for ( const ExtComm::PtrConst& c : list->commVector() ) {
         std::string one;
         text.appendUi( one, *c );
         EXPECT_EQ( one, c->toStrepForUI( false, false, false ) );
         expected += ( expected.empty() ? "" : " " ) + one;
      }
      EXPECT_EQ( got, expected );
   }
   for ( const auto& octets : lists[ 3 ] ) {
      auto list = interner.ipv6ExtCommunities( octets );
      std::string got, expected;
      text.append( got, *list );
      for ( const ExtCommIp6::PtrConst& c : list->commVector() ) {
         expected += expected.empty() ? "" : " ";
         expected += c->toStrepForPolicy( ExtCommIp6::strepFormatClassification |
                                          ExtCommIp6::strepFormatUI );
      }
      EXPECT_EQ( got, expected );
   }
}

} // namespace
} // namespace BgpcommTest
