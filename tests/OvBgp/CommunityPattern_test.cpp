// Community patterns: positions that never match inside one another, anchored
// values, ranges at both ends, every kind and label, lists, and the messages
// of bad patterns.
#include "OvBgp/CommunityPattern.h"

#include <gtest/gtest.h>

#include "OvBgp/CommunityListTraits.h"
#include "tests/OvBgp/TestSupport.h"

namespace Routing::Bgp {
namespace {

constexpr U32 std_( U32 high, U32 low ) { return high << 16 | low; }

struct StandardRow {
   const char* pattern;
   U32 value;
   bool matches;
};

TEST( CommunityPatternTest, StandardPositionsAreWholeFieldsWithInclusiveRanges ) {
   const StandardRow rows[] = {
      { "1299:*", std_( 1299, 5 ), true },
      { "1299:*", std_( 1403, 1299 ), false }, // never inside another position
      { "*:1299", std_( 1299, 1403 ), false },
      { "0:1", std_( 0, 1 ), true },
      { "0:1", std_( 0, 12 ), false }, // anchored at both ends
      { "0:1", std_( 10, 1 ), false },
      { "65000:100-199", std_( 65000, 99 ), false },
      { "65000:100-199", std_( 65000, 100 ), true },
      { "65000:100-199", std_( 65000, 199 ), true },
      { "65000:100-199", std_( 65000, 200 ), false },
      { "64512-65534:*", std_( 64511, 0 ), false },
      { "64512-65534:*", std_( 64512, 0 ), true },
      { "64512-65534:*", std_( 65534, 65535 ), true },
      { "64512-65534:*", std_( 65535, 0 ), false },
      { "no-export", 0xFFFFFF01, true },
      { "no-export", 0xFFFFFF02, false },
      { "65535:65281", 0xFFFFFF01, true },
      { "internet", 0, true },
   };
   for ( const StandardRow& row : rows ) {
      EXPECT_EQ( CommunityPattern( row.pattern ).matches( row.value ), row.matches )
            << row.pattern << " on " << ( row.value >> 16 ) << ":" << ( row.value & 0xFFFF );
   }
}

TEST( CommunityPatternTest, LargePositionsAndAsdot ) {
   const struct {
      const char* pattern;
      Acl::CommunityValue value;
      bool matches;
   } rows[] = {
      { "65000:1-9:*", { 65000, 1, 0 }, true },
      { "65000:1-9:*", { 65000, 10, 0 }, false },
      { "1299:*:*", { 1403, 1299, 0 }, false },
      { "1.10:*:*", { 65546, 0, 0 }, true },
      { "4200000000:1:2", { 4200000000, 1, 2 }, true },
      { "4200000000:1:2", { 4200000000, 1, 20 }, false },
   };
   for ( const auto& row : rows ) {
      EXPECT_EQ( CommunityPattern( row.pattern ).matches( row.value ), row.matches ) << row.pattern;
   }
}

TEST( CommunityPatternTest, ExtendedLabelsMatchEveryLayoutTheirTextStandsFor ) {
   const struct {
      const char* pattern;
      U64 content;
      bool matches;
   } rows[] = {
      { "RT:65000:*", 0x0002fde800000064, true },  // 2-octet AS
      { "RT:65000:*", 0x02020000fde80064, true },  // 4-octet AS prints the same
      { "RT:65000:*", 0x0003fde800000064, false }, // route origin
      { "RT:65000:*", 0x0002fde900000064, false },
      { "RT:65000:100", 0x0002fde8000003e8, false },  // 65000:1000
      { "RT:65000:70000", 0x0002fde800011170, true }, // 32-bit local of a 2-octet AS
      { "RT:1.0:5", 0x0202000100000005, true },       // asdot
      { "RT:192.0.2.1:*", 0x0102c00002010005, true },
      { "RT:192.0.2.1:*", 0x0102c00002020005, false },
      { "RT:192.0.2.0/24:*", 0x0102c00002ff0005, true },
      { "RT:192.0.2.0-192.0.2.9:5", 0x0102c000020a0005, false },
      { "RT:*:*", 0x0102c00002010005, true },
      { "SoO:*:100", 0x0003fde800000064, true },
      { "SoO:*:100", 0x01030a0000010064, true },
      { "Route-Target-AS4:65000:*", 0x0002fde800000064, false },
      { "VRI:10.1.1.1:3", 0x010b0a0101010003, true },
      { "Color:CO(01):100", 0x030b400000000064, true },
      { "Color:CO(00):100", 0x030b400000000064, false },
      { "Color:*:100-200", 0x030bc000000000c8, true },
      { "TunnelEncap:tunnelTypeVxlan", 0x030c000000000008, true },
      { "TunnelEncap:tunnelTypeVxlan", 0x030c000000000009, false },
      { "TunnelEncap:tunnelTypeUnknown-13", 0x030c00000000000d, true },
      { "lbw 65000:1.25e+08", 0x4004fde84cee6b28, true },
      { "lbw 65000:1e8-1e9", 0x4004fde84e6e6b28, true },
      { "lbw 65000:1e8-1e9", 0x4004fde84e6e6b29, false },
      { "Origin-Validation-State:not-found", 0x4300000000000001, true },
      { "Origin-Validation-State:unknown", 0x4300000000000002, false },
      { "DefaultGateway", 0x030d000000000000, true },
      { "0099-AS(NT):65000:7", 0x4099fde800000007, true },
      { "0099-AS:65000:7", 0x4099fde800000007, false },
      { "0400:0x00 0x00 * 0 0x00 0x01-0x0f", 0x0400000000000001, true },
      { "0400:0x00 0x00 * 0 0x00 0x02", 0x0400000000000001, false },
   };
   for ( const auto& row : rows ) {
      EXPECT_EQ( CommunityPattern( row.pattern ).matches( ExtCommContent( row.content ) ),
                 row.matches )
            << row.pattern << " on " << ExtCommContent( row.content );
   }
}

TEST( CommunityPatternTest, Ip6PatternsReadTheAddressAsPrefixes ) {
   auto c = []( U8 subtype, const char* address, U16 local ) {
      return ExtCommIp6Content( 0x00, subtype, Onet::Ip6Addr::parse( address ), local );
   };
   const struct {
      const char* pattern;
      ExtCommIp6Content content;
      bool matches;
   } rows[] = {
      { "RT:2001:db8::/32:*", c( 2, "2001:db8::1", 100 ), true },
      { "RT:2001:db8::/32:*", c( 3, "2001:db8::1", 100 ), false },
      { "RT:2001:db8::/32:*", c( 2, "2001:db9::1", 100 ), false },
      { "0002-IP6:2001:db8::1:100-200", c( 2, "2001:db8::1", 200 ), true },
      { "SoO:2001:db8::1:7", c( 3, "2001:db8::1", 7 ), true },
      { "RT:2001:db8::ff00/120:*", c( 2, "2001:db8::ff80", 1 ), true },
      { "RT:2001:db8::ff00/120:*", c( 2, "2001:db8::fe80", 1 ), false },
   };
   for ( const auto& row : rows ) {
      EXPECT_EQ( CommunityPattern( row.pattern ).matches( row.content ), row.matches )
            << row.pattern;
   }
}

TEST( CommunityPatternTest, ListsMatchWhenOneMemberMatchesAndOnlyTheirOwnKind ) {
   auto standards = commListDedupTableFactory();
   auto larges = largeCommListDedupTableFactory();
   auto list = CommunityListTraits<CommList>::intern( standards.ptr(),
                                                      { std_( 1403, 1299 ), std_( 65000, 1 ) } );
   EXPECT_FALSE( CommunityPattern( "1299:*" ).matches( list.ptr() ) );
   EXPECT_TRUE( CommunityPattern( "65000:*" ).matches( list.ptr() ) );
   EXPECT_FALSE( CommunityPattern( "65000:*" ).matches( static_cast<const CommList*>( nullptr ) ) );
   auto large = CommunityListTraits<LargeCommList>::intern( larges.ptr(), { { 65000, 1, 0 } } );
   EXPECT_FALSE( CommunityPattern( "65000:1" ).matches( large.ptr() ) ); // standard pattern
   EXPECT_TRUE( CommunityPattern( "65000:1:0" ).matches( large.ptr() ) );
   EXPECT_FALSE( CommunityPattern( "65000:1:0" ).matches( std_( 65000, 1 ) ) );
   EXPECT_EQ( CommunityPattern( "RT:2001:db8::1:*" ).kind(), CommunityPattern::kindIp6Extended );
   EXPECT_EQ( CommunityPattern( "RT:*:*" ).kind(), CommunityPattern::kindExtended );
}

TEST( CommunityPatternTest, BadPatternsSayWhatIsWrong ) {
   const struct {
      const char* pattern;
      const char* message;
   } rows[] = {
      { "65536:1", "65536 is beyond 65535" },
      { "", "an empty pattern" },
      { "1:2:3:4", "2 positions (standard) or 3 (large) expected, not 4" },
      { "10-5:1", "range 10-5 runs backwards" },
      { "1:x", "expected a number at offset 2, found 'x'" },
      { "no-exprt", "no ':' between positions, and not a well-known name" },
      { "Rt:1:2", "unknown label 'Rt'" },
      { "RT:65000", "global:local expected after the label" },
      { "RT:192.0.2.1:65536",
        "fits no layout of the label (a 4-octet AS, an IPv4 or an IPv6 address leaves 16 bits to "
        "the local administrator, a 2-octet AS reaches 65535)" },
      { "RT:192.0.2.300:1", "192.0.2.300 is not an IPv4 address at offset 3" },
      { "VRI:65000:1", "an AS global administrator under a label without one" },
      { "TunnelEncap:tunnelTypeFoo", "unknown tunnel type 'tunnelTypeFoo'" },
      { "Color:CO(2):1", "'CO(2)' is not CO(00) to CO(11) or CO(*)" },
      { "4099:0 0 0 0 0 0", "the type in label '4099' has bit 0x40 set; write (NT)" },
      { "0400:0 0 0", "6 value octets expected, not 3" },
      { "lbw 65000:fast", "'fast' is not a bandwidth" },
   };
   for ( const auto& row : rows ) {
      EXPECT_EQ(
            thrownText<Kel::ParseException>( [ & ] { CommunityPattern p( row.pattern ); } ),
            std::string( "pattern: community pattern '" ) + row.pattern + "': " + row.message );
   }
}

} // namespace
} // namespace Routing::Bgp
