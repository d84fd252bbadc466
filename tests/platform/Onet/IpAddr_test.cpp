#include "Onet/IpAddr.h"

#include "tests/platform/Kel/ThrownText.h"

#include <gtest/gtest.h>

#include <memory>
#include <unordered_set>

namespace {

using Onet::IpAddr;

// The fuzz target compares every other address with inet_ntop.
TEST( IpAddr, PrintsDottedDecimalAndParsesItsOwnText ) {
   const std::pair<U32, const char*> cases[] = {
      { 0, "0.0.0.0" },
      { 0xFFFFFFFF, "255.255.255.255" },
      { 0x0A000001, "10.0.0.1" },
      { 0xC0000201, "192.0.2.1" },
      { 0x64096309, "100.9.99.9" },
   };
   for ( const auto& [ value, text ] : cases ) {
      // Exactly maxTextLength bytes, so a write past the end shows under ASan.
      auto buf = std::make_unique<char[]>( IpAddr::maxTextLength );
      EXPECT_EQ( text, std::string( buf.get(), IpAddr( value ).toChars( buf.get() ) ) );
      EXPECT_EQ( IpAddr( value ), IpAddr::parse( text ) );
   }
   EXPECT_EQ( IpAddr( 192, 0, 2, 1 ).value(), 0xC0000201u );
}

TEST( IpAddr, RejectsMalformedTextSayingWhatAndWhere ) {
   const std::pair<const char*, const char*> cases[] = {
      { "", "expected a decimal octet at offset 0" },
      { "1.2.3", "expected '.' at offset 5" },
      { "1.2.3.4.", "expected the end after four octets at offset 7" },
      { "1.2..4", "expected a decimal octet at offset 4" },
      { "1.2.256.4", "expected an octet of at most 255 at offset 4" },
      { "1.2.3.0004", "expected at most three digits in an octet at offset 6" },
      { "01.2.3.4", "expected no leading zero in an octet at offset 0" },
   };
   for ( const auto& [ text, message ] : cases ) {
      EXPECT_EQ( std::string( "address: invalid IPv4 address '" ) + text + "': " + message,
                 thrownText<Kel::ParseException>( [ in = text ] { IpAddr::parse( in ); } ) );
      IpAddr untouched( 1, 1, 1, 1 );
      EXPECT_FALSE( IpAddr::tryParse( text, &untouched ) );
      EXPECT_EQ( IpAddr( 1, 1, 1, 1 ), untouched );
   }
}

TEST( IpAddr, OrdersNumericallyHashesAndStreams ) {
   EXPECT_LT( IpAddr::parse( "9.255.255.255" ), IpAddr::parse( "10.0.0.0" ) );
   EXPECT_LT( IpAddr::parse( "127.0.0.1" ), IpAddr::parse( "128.0.0.0" ) );
   std::unordered_set<IpAddr> set{ IpAddr( 10, 0, 0, 1 ), IpAddr::parse( "10.0.0.1" ),
                                   IpAddr( 1, 0, 0, 10 ) };
   EXPECT_EQ( 2u, set.size() );
   EXPECT_EQ( "203.0.113.9", testing::PrintToString( IpAddr( 203, 0, 113, 9 ) ) );
   EXPECT_EQ( "203.0.113.9", IpAddr( 203, 0, 113, 9 ).toString() );
}

} // namespace
