#include "MrtTestSupport.h"

#include <gtest/gtest.h>

namespace BgpcommTest {
namespace {

TEST( DecodeCommand, TextShowsEveryFormOfEachValueAndTheAttributeTheLibraryWrites ) {
   // An extended attribute (4-octet AS route target, link bandwidth) and a
   // bare standard community.
   Invocation r = runTool( { "decode", "c0101002020001000200034004fde84e6e6b28", "fde80064" } );
   EXPECT_EQ( r.status, 0 );
   EXPECT_EQ( r.err, "" );
   EXPECT_EQ( r.out,
              "EXTENDED_COMMUNITIES attribute, 2 values: Route-Target-AS4:65538:3 "
              "Link-Bandwidth-AS:65000:8 Gbps\n"
              "   0x0202000100020003\n"
              "      debugging form:       <RouteTarget4ByteASN 65538:3 0x0202000100020003>\n"
              "      policy form:          65538:3\n"
              "      classification form:  RT:65538:3\n"
              "      UI form:              Route-Target-AS4:65538:3\n"
              "   0x4004fde84e6e6b28\n"
              "      debugging form:       <LinkBandwidth 65000:1e+09 0x4004fde84e6e6b28>\n"
              "      policy form:          65000:1e+09\n"
              "      classification form:  lbw 65000:1e+09\n"
              "      UI form:              Link-Bandwidth-AS:65000:8 Gbps\n"
              "   wire form: c0101002020001000200034004fde84e6e6b28\n"
              "COMMUNITIES, 1 value: 65000:100\n"
              "   4259840100\n"
              "      text:                 65000:100\n"
              "      numeric form:         65000:100\n"
              "   wire form: c00804fde80064\n" );
}

TEST( DecodeCommand, JsonIsOneObjectPerInputWithTheInternedListsValues ) {
   // Unsorted, with a repeat: the list holds each value once, in order, and
   // its attribute is written that way.
   Invocation r =
         runTool( { "decode", "--json", "c0080cfde800c8ffffff01fde800c8",
                    "fa56ea000000000100000002", "000320010db80000000000000000000000010064" } );
   EXPECT_EQ( r.status, 0 );
   EXPECT_EQ( r.out,
              "{\"input\": \"c0080cfde800c8ffffff01fde800c8\", \"kind\": \"communities\", "
              "\"attribute\": true, \"values\": [4259840200, 4294967041], "
              "\"text\": \"65000:200 no-export\", \"forms\": ["
              "{\"value\": 4259840200, \"text\": \"65000:200\", \"numeric\": \"65000:200\"}, "
              "{\"value\": 4294967041, \"text\": \"no-export\", \"numeric\": \"65535:65281\"}], "
              "\"wire\": \"c00808fde800c8ffffff01\"}\n"
              "{\"input\": \"fa56ea000000000100000002\", \"kind\": \"largeCommunities\", "
              "\"attribute\": false, \"values\": [[4200000000, 1, 2]], "
              "\"text\": \"4200000000:1:2\", \"forms\": [{\"value\": [4200000000, 1, 2], "
              "\"text\": \"4200000000:1:2\", \"asdot\": \"64086.59904:1:2\"}], "
              "\"wire\": \"c0200cfa56ea000000000100000002\"}\n"
              "{\"input\": \"000320010db80000000000000000000000010064\", "
              "\"kind\": \"ipv6ExtCommunities\", \"attribute\": false, "
              "\"values\": [\"000320010db80000000000000000000000010064\"], "
              "\"text\": \"0003-IP6:2001:db8::1:100\", \"forms\": ["
              "{\"value\": \"000320010db80000000000000000000000010064\", "
              "\"debug\": \"<extCommIp6PktTypeTransIpv6Address extCommIp6PktSubtypeRouteOrigin "
              "addr=2001:db8::1 localAdmin=100>\", \"policy\": \"2001:db8::1:100\", "
              "\"classification\": \"2001:db8::1:100\", \"ui\": \"0003-IP6:2001:db8::1:100\"}], "
              "\"wire\": \"c01914000320010db80000000000000000000000010064\"}\n" );

   // Extended communities carry one UI text per value, as mrt --json does.
   Invocation ext = runTool( { "decode", "--json", "0003fde800000001" } );
   EXPECT_NE( ext.out.find( "\"text\": [\"Route-Origin-AS:65000:1\"], " ), std::string::npos )
         << ext.out;
}

TEST( DecodeCommand, TextGivesTheOutputOfTheHexOfItsValues ) {
   const std::pair<const char*, const char*> rows[] = {
      // text, hex
      { "65000:100", "fde80064" },
      { "3257:4532", "0cb911b4" },   // decimal groups read as text first
      { "fd:e8:00:64", "fde80064" }, // then as hex
      { "4200000000:1:2", "fa56ea000000000100000002" },
      { "<RouteTarget4ByteASN 65538:3 0x0202000100020003>", "0202000100020003" },
      { "Route-Target-AS4:65538:3 Link-Bandwidth-AS:65000:8 Gbps",
        "c0101002020001000200034004fde84e6e6b28" },
      { "0003-IP6:2001:db8::1:100", "000320010db80000000000000000000000010064" },
   };
   for ( const auto& [ input, hex ] : rows ) {
      Invocation text = runTool( { "decode", input } );
      EXPECT_EQ( text.status, 0 ) << text.err;
      EXPECT_EQ( text.out, runTool( { "decode", hex } ).out ) << input;
   }
}

TEST( DecodeCommand, BadInputIsOneLineNamingTheProblemWithStatus2AndTheRestIsStillShown ) {
   // The messages themselves are the input parsers'; here: one line each, named by input.
   Invocation r = runTool( { "decode", "0x0g", "fde80064", "c00806fde80064fde8", "65536:1" } );
   EXPECT_EQ( r.status, 2 );
   EXPECT_EQ( r.out.rfind( "COMMUNITIES, 1 value: 65000:100\n", 0 ), 0u ) << r.out;
   EXPECT_EQ( r.err,
              "bgpcomm: decode '0x0g': bad hex digit 'g' at position 4\n"
              "bgpcomm: decode 'c00806fde80064fde8': COMMUNITIES attribute length 6 is not a "
              "multiple of 4\n"
              "bgpcomm: decode '65536:1': standard community list '65536:1': 65536 is beyond "
              "65535\n" );
}

} // namespace
} // namespace BgpcommTest
