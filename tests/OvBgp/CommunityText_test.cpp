#include "OvBgp/CommunityText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "OvBgp/Parse/ExtCommContainer.h"
#include "TestSupport.h"

namespace Routing::Bgp {
namespace {

class CommunityText : public ::testing::Test {
 protected:
   BgpParseExtCommContainerSm::Ptr container_ = bgpParseExtCommContainerSmFactory();
   ExtCommDedupTable::Ptr values_ = extCommDedupTableFactory( container_->extCommParser() );
   ExtCommIp6DedupTable::Ptr ip6Values_ =
         extCommIp6DedupTableFactory( container_->extCommParser() );
   ExtCommListDedupTable::Ptr extLists_ = extCommListDedupTableFactory();
   CommListDedupTable::Ptr lists_ = commListDedupTableFactory();
   LargeCommListDedupTable::Ptr largeLists_ = largeCommListDedupTableFactory();
};

// roundTrip(): every form a value prints under flags 0..maxFlags, and its
// debugging form, reads back to a value that prints the same text; to the
// value itself unless the row is lossy (a form that leaves octets out or
// stands for several values).
template<class Value, class Format, class Parse>
void roundTrip( const Value& value, bool lossy, unsigned maxFlags, Parse parse ) {
   SCOPED_TRACE( value->toStrep() );
   EXPECT_EQ( parse( value->toStrep() ), value );
   for ( unsigned flags = 0; flags <= maxFlags; ++flags ) {
      const Format format( flags );
      const Kel::String text = value->toStrepForPolicy( format );
      if ( text.empty() ) {
         continue; // forms some kinds leave out
      }
      Value back;
      try {
         back = parse( text );
      } catch ( const Kel::ParseException& e ) {
         // A form must read when it names the kind: the UI form, or a
         // classification form that adds a label to the plain one.
         const Format unlabelled( flags & ~unsigned( Format::strepFormatClassification ) );
         EXPECT_FALSE( format.classificationAndUI() ||
                       value->toStrepForPolicy( unlabelled ) != text )
               << e.what();
         continue;
      }
      EXPECT_EQ( back->toStrepForPolicy( format ), text ) << "flags " << flags;
      if ( !lossy ) {
         EXPECT_EQ( back, value ) << text;
      }
   }
}

TEST_F( CommunityText, EveryExtendedFormReadsBackToItsValue ) {
   const struct {
      U64 content;
      bool lossy;
   } rows[] = {
      { 0x0002fde800000064, false }, // route target, 2-octet AS
      { 0x0202fde800640005, false }, // 4-octet AS 4259840100, asdot 65000.100
      { 0x02020000fde80005, true },  // 4-octet AS below 65536: "RT:" reads 2-octet
      { 0x0102c0a80001002a, false }, // route target, IPv4
      { 0x0003fde800000064, false }, { 0x0103c0a80001002a, false },
      { 0x0203000100000007, false }, { 0x010b0a01010100ff, false }, // VRF route import
      { 0x4004fde84cee6b28, false },                                // link bandwidth 1 Gbps
      { 0x4004000149742400, false },                                // 1e6 bytes/s: 8 Mbps
      { 0x4004fde84cee6b29, true },                                 // rounds to 1 Gbps
      { 0x4004fde87fc00000, true },                                 // NaN: "invalid"
      { 0x030c000000000008, false }, { 0x030c00000000000d, false }, // tunnel types
      { 0x030c123400000008, true },                                 // padding not shown
      { 0x030b4000ffffffff, false }, { 0x030bff3300000064, true },  // color
      { 0x4300000000000002, false }, { 0x4300000000000007, true },  // origin validation
      { 0x030d000000000000, false }, { 0x030d000000000001, true },  // default gateway
      { 0x0099fde800000007, false }, { 0x4099fde800000007, false }, // generic AS
      { 0x4299000100000007, false }, { 0x0199010203040007, false }, // AS4, IPv4
      { 0x4304000000000001, false }, { 0x0607000000000000, false }, // octets only
      { 0x8f0a0b0c0d0e0f10, false },
   };
   for ( const auto& row : rows ) {
      roundTrip<ExtComm::PtrConst, ExtComm::StrepFormat>(
            ExtComm::dedupContent( values_.ptr(), ExtCommContent( row.content ) ), row.lossy, 63,
            [ & ]( const Kel::String& text ) { return extCommFromStrep( values_.ptr(), text ); } );
   }
}

TEST_F( CommunityText, EveryIp6FormReadsBackToItsValue ) {
   for ( U8 type : { 0x00, 0x40 } ) {
      for ( const char* addr : { "2001:db8::1", "::", "2001:db8::" } ) {
         for ( U8 subtype : { 0x02, 0x0b, 0x99 } ) {
            const ExtCommIp6Content content( type, subtype, Onet::Ip6Addr::parse( addr ), 65535 );
            roundTrip<ExtCommIp6::PtrConst, ExtCommIp6::StrepFormat>(
                  ExtCommIp6::dedupContent( ip6Values_.ptr(), content ), false, 31,
                  [ & ]( const Kel::String& text ) {
                     return extCommIp6FromStrep( ip6Values_.ptr(), text );
                  } );
         }
      }
   }
}

TEST_F( CommunityText, StandardAndLargeValuesReadInEveryFormTheyPrint ) {
   for ( U32 value : { 0u, 1u, 0xFDE80064u, 0xFFFF0000u, 0xFFFF0006u, 0xFFFF0007u, 0xFFFFFF01u,
                       0xFFFFFF02u, 0xFFFFFF03u, 0xFFFFFFFFu } ) {
      EXPECT_EQ( commValueFromStrep( CommList::getStringValue( value ) ), value );
      EXPECT_EQ( commValueFromStrep( std::to_string( value ) ), value );
      if ( !CommList::wellKnownName( value ).empty() ) {
         EXPECT_EQ( commValueFromStrep( CommList::wellKnownName( value ) ), value );
      }
   }
   for ( const Acl::CommunityValue& value :
         { Acl::CommunityValue( 0, 0, 0 ), Acl::CommunityValue( 65535, 1, 2 ),
           Acl::CommunityValue( 4200000000u, 4294967295u, 7 ) } ) {
      for ( bool asdot : { false, true } ) {
         EXPECT_EQ( largeCommValueFromStrep( LargeCommList::displayString( value, asdot ) ),
                    value );
      }
   }
}

// Any list's text reads back to the same interned list (the fuzz target
// checks that over arbitrary text); here the members' UI forms do too, and
// empty lists.
TEST_F( CommunityText, ListsReadBackFromTheirTextToTheSameInternedList ) {
   ExtCommList::Ptr ext = extCommListFactory();
   for ( U64 c : { 0x0002fde800000064ull, 0x4004fde84cee6b28ull, 0x4304000000000001ull } ) {
      ext->commIs( ExtComm::dedupContent( values_.ptr(), ExtCommContent( c ) ) );
   }
   const ExtCommList::PtrConst exts = ext->dedup( extLists_.ptr() );
   EXPECT_EQ( extCommListFromStrep( extLists_.ptr(), values_.ptr(), exts->toStrep() ), exts );
   // The UI forms of the members, space-separated, name the same list.
   Kel::String ui;
   for ( const ExtComm::PtrConst& c : exts->commVector() ) {
      ui += c->toStrepForUI( false, false, false ) + " ";
   }
   EXPECT_EQ( extCommListFromStrep( extLists_.ptr(), values_.ptr(), ui ), exts );

   // Empty lists print "" or "[  ]" and read back empty.
   EXPECT_TRUE( commListFromStrep( lists_.ptr(), "" )->empty() );
   EXPECT_TRUE( largeCommListFromStrep( largeLists_.ptr(), " " )->empty() );
   EXPECT_TRUE( extCommListFromStrep( extLists_.ptr(), values_.ptr(),
                                      extCommListFactory()->dedup( extLists_.ptr() )->toStrep() )
                      ->empty() );
}

TEST_F( CommunityText, BadTextSaysWhatIsWrongAndQuotesTheText ) {
   // A reader and the name its errors give the kind.
   struct Reader {
      std::function<void( std::string_view )> parse;
      const char* name;
   };
   const Reader standard{ commValueFromStrep, "standard community" },
         large{ largeCommValueFromStrep, "large community" },
         ext{ std::bind_front( extCommFromStrep, values_.ptr() ), "extended community" },
         ip6{ std::bind_front( extCommIp6FromStrep, ip6Values_.ptr() ), "IPv6 extended community" },
         list{ std::bind_front( commListFromStrep, lists_.ptr() ), "standard community list" },
         extList{ std::bind_front( extCommListFromStrep, extLists_.ptr(), values_.ptr() ),
                  "extended community list" };
   const struct {
      const Reader& reader;
      const char* text;
      const char* message;
   } rows[] = {
      { standard, "65536:1", "65536 is beyond 65535" },
      { standard, "4294967296", "4294967296 is beyond 4294967295" },
      { standard, "65000:", "expected a number at the end" },
      { standard, "65000:1x", "unexpected 'x' at offset 7" },
      { standard, "no-exprot", "no-exprot is not a well-known community name at offset 0" },
      { list, "1:2 :3", "expected a community at offset 4, found ':'" },
      { large, "1:2", "expected ':' at the end" },
      { large, "70000.1:1:1", "70000 is beyond 65535 in an asdot AS number" },
      { ext, "RT:1.2.3:4", "1.2.3 is neither an AS number nor an IPv4 address at offset 3" },
      { ext, "RT:70000:65536", "65536 is beyond 65535" },
      { ext, "Route-Target-IP:1.2.3.256:1", "1.2.3.256 is not an IPv4 address at offset 16" },
      { ext, "Foo:1", "unknown extended community form Foo at offset 0" },
      { ext, "0002-AS4:1:2", "AS4 does not fit type 00 at offset 0" },
      { ext, "4002-AS:1:2",
        "the type in 4002-AS has the non-transitive bit: write it as (NT) at offset 0" },
      { ext, "0304:0x00 0x00", "expected ' ' at the end" },
      { ext, "Link-Bandwidth-AS:1:1.5",
        "expected ' ' and a unit (bps, Kbps, Mbps, Gbps, Tbps) at the end" },
      { ext, "lbw 1:1e39", "1e39 is beyond a float at offset 6" },
      { ext, "TunnelEncap:tunnelTypeFoo", "tunnelTypeFoo is not a tunnel type at offset 12" },
      { ext, "<RouteTarget2ByteASN 65000:101 0x0002fde800000064>",
        "<RouteTarget2ByteASN 65000:101 0x0002fde800000064> is not the debugging form of its "
        "content, <RouteTarget2ByteASN 65000:100 0x0002fde800000064>" },
      { ext, "<RouteTarget 1.2.3.4:5>",
        "expected the content as 0x and sixteen hex digits before '>' at offset 22" },
      { extList, "[ RT:1:2", "expected ']' at the end" },
      { ip6, "0002-IP6:2001:db8::1", "2001:db8: is not an IPv6 address at offset 9" },
      { ip6, "<extCommIp6PktTypeUnknown addr=:: localAdmin=0>",
        "extCommIp6PktTypeUnknown does not say the type octet at offset 1" },
   };
   for ( const auto& row : rows ) {
      EXPECT_THAT( thrownText<Kel::ParseException>( [ & ] { row.reader.parse( row.text ); } ),
                   ::testing::EndsWith( std::string( ": " ) + row.reader.name + " '" + row.text +
                                        "': " + row.message ) );
   }
}

} // namespace
} // namespace Routing::Bgp
