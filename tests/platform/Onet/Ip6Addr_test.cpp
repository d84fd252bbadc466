#include "Onet/Ip6Addr.h"

#include "tests/platform/Kel/ThrownText.h"

#include <gtest/gtest.h>

#include <memory>
#include <unordered_set>

namespace {

using Onet::Ip6Addr;

std::string text( const Ip6Addr& addr ) {
   // Exactly maxTextLength bytes, so a write past the end shows under ASan.
   auto buf = std::make_unique<char[]>( Ip6Addr::maxTextLength );
   return std::string( buf.get(), addr.toChars( buf.get() ) );
}

TEST( Ip6Addr, FormatsAsRfc5952 ) {
   // The fuzz target compares the rest with inet_ntop and inet_pton.
   const std::pair<const char*, const char*> cases[] = {
      { "2001:0DB8:0000:0000:0000:0000:0000:0001", "2001:db8::1" },
      { "2001:db8:0:1:1:1:1:1", "2001:db8:0:1:1:1:1:1" }, // one zero group stays
      { "2001:db8:0:0:1:0:0:1", "2001:db8::1:0:0:1" },    // first run on a tie
      { "2001:0:0:1:0:0:0:1", "2001:0:0:1::1" },          // longest run wins
      { "0:0:0:0:0:0:0:0", "::" },
      { "::ffff:c000:0201", "::ffff:192.0.2.1" }, // mapped: dotted
      { "::c000:201", "::c000:201" },             // compatible: hex
      { "64:ff9b::192.0.2.33", "64:ff9b::c000:221" },
      { "0:0:0:0:1:ffff:c000:201", "::1:ffff:c000:201" },
      { "1:2:3:4:5:6:7::", "1:2:3:4:5:6:7:0" }, // a single zero group stays
      { "::2:3:4:5:6:7:8", "0:2:3:4:5:6:7:8" },
      { "FFFF:ffff:ffff:ffff:ffff:ffff:ffff:ffff", "ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff" },
   };
   for ( const auto& [ input, expected ] : cases ) {
      EXPECT_EQ( expected, text( Ip6Addr::parse( input ) ) ) << input;
   }
}

TEST( Ip6Addr, RejectsMalformedTextSayingWhatAndWhere ) {
   const std::pair<const char*, const char*> cases[] = {
      { "", "expected eight groups or '::' at offset 0" },
      { ":1::", "expected a hex group or '::' at offset 0" },
      { "1::2::3", "expected at most one '::' at offset 4" },
      { "1:2:3:4:5:6:7:8::", "expected '::' to stand for at least one zero group at offset 15" },
      { "1:2:3:4:5:6:7:8:9", "expected at most eight groups at offset 16" },
      { "1:2:3:4:5:6:7", "expected eight groups or '::' at offset 13" },
      { "12345::", "expected at most four hex digits in a group at offset 0" },
      { "1:2:", "expected a hex group after ':' at offset 4" },
      { ":::", "expected a hex group at offset 2" },
      { "fe80::1%eth0", "expected ':' at offset 7" },
      { "::ffff:1.2.3", "expected an embedded IPv4 address at offset 7" },
      { "1:2:3:4:5:6:7:1.2.3.4",
        "expected no embedded IPv4 address after six groups at offset 14" },
   };
   for ( const auto& [ input, message ] : cases ) {
      EXPECT_EQ( std::string( "address: invalid IPv6 address '" ) + input + "': " + message,
                 thrownText<Kel::ParseException>( [ in = input ] { Ip6Addr::parse( in ); } ) );
   }
}

TEST( Ip6Addr, OrdersByOctetsHashesAndStreams ) {
   EXPECT_LT( Ip6Addr::parse( "::ffff" ), Ip6Addr::parse( "::1:0" ) );
   EXPECT_LT( Ip6Addr::parse( "7fff::" ), Ip6Addr::parse( "8000::" ) );
   std::unordered_set<Ip6Addr> set;
   for ( int i = 0; i < 16; ++i ) {
      Ip6Addr::Octets o{};
      o[ i ] = 1;
      set.insert( Ip6Addr( o ) );
   }
   EXPECT_EQ( 16u, set.size() );
   EXPECT_EQ( 1u, set.count( Ip6Addr::parse( "::100" ) ) );
   EXPECT_EQ( "2001:db8::a", testing::PrintToString( Ip6Addr::parse( "2001:DB8::A" ) ) );
   EXPECT_EQ( "::ffff:10.0.0.1", Ip6Addr::parse( "::ffff:10.0.0.1" ).toString() );
}

} // namespace
