#include "MrtTestSupport.h"

#include "tools/bgpcomm/CommunityInput.h"

#include "tests/platform/Kel/ThrownText.h"

#include <gtest/gtest.h>

namespace BgpcommTest {
namespace {

std::string errorOf( const char* input ) {
   return thrownText<CommunityInputError>( [ & ] { parseCommunityInput( input ); } );
}

// Bare communities are known by their length, whole attributes by their type.
TEST( CommunityInput, CommunitiesAndAttributesGiveTheirKindAndValueOctets ) {
   using K = CommunityKind;
   // Input, kind, attribute flags (0: a bare community), value octets.
   const std::tuple<const char*, CommunityKind, U8, const char*> cases[] = {
      { "fde80064", K::standard, 0, "fde80064" },
      { "0x0002FDE8:00000064", K::extended, 0, "0002fde800000064" },
      { "fa56ea00-00000001-00000002", K::large, 0, "fa56ea000000000100000002" },
      { "0002 20010db8000000000000000000000001 0064", K::ip6Extended, 0,
        "000220010db80000000000000000000000010064" },
      // Eight octets that start like an attribute header but do not add up to one.
      { "c0080500000000ff", K::extended, 0, "c0080500000000ff" },
      { "c00808fde80064fde800c8", K::standard, 0xc0, "fde80064fde800c8" },
      { "d020000cfa56ea000000000100000002", K::large, 0xd0, "fa56ea000000000100000002" },
      { "c010080002fde800000064", K::extended, 0xc0, "0002fde800000064" },
      { "c01914000220010db80000000000000000000000010064", K::ip6Extended, 0xc0,
        "000220010db80000000000000000000000010064" },
   };
   for ( const auto& [ input, kind, flags, octets ] : cases ) {
      CommunityInput in = parseCommunityInput( input );
      EXPECT_EQ( in.kind, kind ) << input;
      EXPECT_EQ( in.isAttribute ? in.attrFlags : 0, flags ) << input;
      EXPECT_EQ( in.isAttribute, flags != 0 ) << input;
      EXPECT_EQ( in.octets, parseHex( octets ) ) << input;
   }
}

TEST( CommunityInput, BadInputGetsOneLineSayingWhatIsWrong ) {
   EXPECT_EQ( errorOf( "fde8zz64" ), "bad hex digit 'z' at position 5" );
   EXPECT_EQ( errorOf( "fde800641" ), "odd number of hex digits (9)" );
   EXPECT_EQ( errorOf( "0x" ), "no hex digits" );
   EXPECT_EQ( errorOf( "fd:e" ), "odd number of hex digits (3)" );
   EXPECT_EQ( errorOf( "f:de8" ), "separator inside an octet at position 2" );
   EXPECT_EQ( errorOf( "fde80064fd" ),
              "5 octets is neither a community (4, 8, 12 or 20 octets) nor a community path "
              "attribute (type 8, 16, 25 or 32)" );
   EXPECT_EQ( errorOf( "c00806fde80064fde8" ),
              "COMMUNITIES attribute length 6 is not a multiple of 4" );
   EXPECT_EQ( errorOf( "c01010"
                       "0002fde800000064"
                       "0002fde8" ),
              "EXTENDED_COMMUNITIES attribute header says 16 value octets but 12 follow" );
   EXPECT_EQ( errorOf( "c02000" ), "LARGE_COMMUNITY attribute has length 0" );
   EXPECT_EQ( errorOf( "c0190cfa56ea000000000100000002" ),
              "IPV6_EXTENDED_COMMUNITIES attribute length 12 is not a multiple of 20" );
   EXPECT_EQ( errorOf( "4008040000fde8" ), "COMMUNITIES attribute lacks the optional flag" );
}

} // namespace
} // namespace BgpcommTest
