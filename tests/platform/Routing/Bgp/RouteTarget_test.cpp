#include "Routing/Bgp/RouteTarget.h"

#include "tests/platform/Kel/ThrownText.h"

#include <gtest/gtest.h>

#include <tuple>

namespace {

using Routing::Bgp::RouteTarget;

TEST( RouteTarget, PrintsEachLayoutByTypeOctet ) {
   const std::tuple<U64, const char*, const char*> cases[] = {
      // value, plain, asdot
      { 0x0002FDE800000064ull, "65000:100", "65000:100" },
      { 0x0002FFFFFFFFFFFFull, "65535:4294967295", "65535:4294967295" },
      { 0x0102C00002010005ull, "192.0.2.1:5", "192.0.2.1:5" },
      { 0x0202000100000007ull, "65536:7", "1.0:7" },
      { 0x0202FFFFFFFFFFFFull, "4294967295:65535", "65535.65535:65535" },
      { 0x0202000000640005ull, "100L:5", "100L:5" },
      { 0x02020000FFFF0001ull, "65535L:1", "65535L:1" },
      { 0x0003FDE800000064ull, "0x0003fde800000064", "0x0003fde800000064" }, // not a target
      { 0x4002000000000001ull, "0x4002000000000001", "0x4002000000000001" }, // non-transitive
   };
   for ( const auto& [ value, plain, asDot ] : cases ) {
      RouteTarget rt( value );
      EXPECT_EQ( plain, rt.toStrep( false ) );
      EXPECT_EQ( asDot, rt.toStrep( true ) );
      EXPECT_EQ( rt, RouteTarget::fromStrep( plain ) ) << plain;
      EXPECT_EQ( rt, RouteTarget::fromStrep( asDot ) ) << asDot;
   }
}

TEST( RouteTarget, RejectsMalformedTextWithPreciseMessages ) {
   const std::pair<const char*, const char*> cases[] = {
      { "", "expected ADMIN:local or 0x and 16 hex digits" },
      { "65000:", "expected a decimal local value after a 2-octet AS" },
      { ":5", "expected a decimal AS" },
      { "65000:4294967296", "local value after a 2-octet AS exceeds 4294967295" },
      { "65536:65536", "local value after a 4-octet AS exceeds 65535" },
      { "4294967296:1", "AS exceeds 4294967295" },
      { "99999999999999999999999:1", "AS exceeds 4294967295" },
      { "65000:1:2", "expected a decimal local value after a 2-octet AS" },
      { "1.2.3.4:65536", "local value after an IPv4 address exceeds 65535" },
      { "1.2.3.256:1", "expected an IPv4 address before ':'" },
      { "1.2.3:1", "expected an AS, an asdot AS or an IPv4 address before ':'" },
      { "65536.0:1", "high half of an asdot AS exceeds 65535" },
      { "1.:1", "expected a decimal low half of an asdot AS" },
      { "1.5:65536", "local value after a 4-octet AS exceeds 65535" },
      { "L:1", "expected a decimal 4-octet AS" },
      { "5L:70000", "local value after a 4-octet AS exceeds 65535" },
      { "0x12", "expected 0x and 16 hex digits" },
      { "0x000200000000000g", "expected 0x and 16 hex digits" },
   };
   for ( const auto& [ text, message ] : cases ) {
      EXPECT_EQ(
            std::string( "RouteTarget '" ) + text + "': " + message,
            thrownText<Kel::RangeException>( [ in = text ] { RouteTarget::fromStrep( in ); } ) );
   }
}

} // namespace
