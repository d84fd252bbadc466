// Color values: the C and O bits, the color, and one text under every format.
#include "OvBgp/Parse/ExtCommColor.h"

#include <gtest/gtest.h>

namespace Routing::Bgp {
namespace {

TEST( ExtCommColor, FlagsAndColorUnderEveryFormat ) {
   struct Case {
      U64 content;
      const char* text;
      const char* debug;
   };
   const Case cases[] = {
      { 0x030b400000000064, "Color:CO(01):100", "<Color: 100(01) 0x030b400000000064>" },
      { 0x030b8000ffffffff, "Color:CO(10):4294967295",
        "<Color: 4294967295(10) 0x030b8000ffffffff>" },
      { 0x030bc000ffffffff, "Color:CO(11):4294967295",
        "<Color: 4294967295(11) 0x030bc000ffffffff>" },
      // Only the top two flag bits count.
      { 0x030b3fff00000000, "Color:CO(00):0", "<Color: 0(00) 0x030b3fff00000000>" },
   };
   for ( const Case& c : cases ) {
      auto value = extCommColorFactory( ExtCommContent( c.content ) );
      EXPECT_EQ( value->classification(), extCommClassificationColor );
      EXPECT_TRUE( value->hasNotificationActive() );
      EXPECT_FALSE( value->policyMatchStrepUI() );
      for ( unsigned octet = 0; octet < 64; ++octet ) {
         EXPECT_EQ( value->toStrepForPolicy( ExtComm::StrepFormat( octet ) ), c.text ) << octet;
      }
      EXPECT_EQ( value->toStrep(), c.debug );
   }
   auto value = ExtCommColor::ExtCommColorIs( ExtCommContent( 0x030b800000000007 ) );
   EXPECT_TRUE( value->cBit() );
   EXPECT_FALSE( value->oBit() );
   EXPECT_EQ( value->color(), 7u );
}

} // namespace
} // namespace Routing::Bgp
