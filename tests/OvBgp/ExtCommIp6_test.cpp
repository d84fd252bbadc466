#include "OvBgp/ExtCommIp6.h"

#include <iomanip>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Kel/Exception.h"
#include "KelStow/StoreManager.h"
#include "OvFmt/DynamicBuffer.h"
#include "tests/OvBgp/TestSupport.h"

using namespace Routing::Bgp;

namespace {

Onet::Ip6Addr addr( const char* text ) { return Onet::Ip6Addr::parse( text ); }

const ExtCommIp6Content kRt( 0x00, 0x02, addr( "2001:db8::1" ), 100 );

ExtCommIp6Content content( U8 type, U8 subtype, const char* address, U16 local ) {
   return ExtCommIp6Content( type, subtype, addr( address ), local );
}

ExtCommIp6::Ptr subtyped( const ExtCommIp6Content& c ) {
   return ExtCommIp6Subtyped::ExtCommIp6SubtypedIs( extCommClassificationUnSpecified, c );
}

// parseFailure(): the field a parse error names, or "<parsed>".
std::string parseFailure( const std::string& text ) {
   ExtCommIp6Content c;
   return Routing::Bgp::Testing::parseFailure( [ & ] { strepToValue( text, &c ); } );
}

std::string assertionPattern( const std::string& text ) {
   return Routing::Bgp::Testing::assertionPattern( text, "OvBgp/ExtCommIp6" );
}

} // namespace

TEST( ExtCommIp6Content, OrdersByTypeSubtypeAddressLocalAdminAndHashesOneAtATime ) {
   // Same address: localAdmin decides; different addresses: the address
   // decides whatever localAdmin says, in octet (not text) order.
   EXPECT_LT( content( 0, 2, "::1", 1 ), content( 0, 2, "::1", 2 ) );
   EXPECT_LT( content( 0, 2, "::1", 65535 ), content( 0, 2, "::2", 0 ) );
   EXPECT_LT( content( 0, 2, "9::", 0 ), content( 0, 2, "10::", 0 ) );
   EXPECT_LT( content( 0x00, 0x12, "::2", 9 ), content( 0x40, 0x00, "::1", 0 ) );
   EXPECT_LT( content( 0x00, 0x02, "::2", 9 ), content( 0x00, 0x03, "::1", 0 ) );
   EXPECT_FALSE( kRt < kRt );
   EXPECT_FALSE( kRt == content( 0x00, 0x02, "2001:db8::2", 100 ) );
   EXPECT_FALSE( ExtCommIp6Content( 0, 0, Onet::Ip6Addr(), 1 ).isDefault() );
   EXPECT_TRUE( content( 0x80, 0, "::", 0 ).transitive() ); // only 0x40 counts
   EXPECT_FALSE( content( 0xc1, 0, "::", 0 ).transitive() );

   // One-at-a-time over type, subtype, address, local administrator low
   // octet first.
   EXPECT_EQ( kRt.hash(), 0x96c28a85u );
   EXPECT_EQ( content( 0xff, 0xff, "ffff:ffff::ffff", 0xfffe ).hash(), 0xfa511718u );
}

TEST( ExtCommIp6, IdentityIsTheContentAloneNotTheClassification ) {
   auto rt = extCommIp6Factory( extCommClassificationRouteTarget, kRt );
   auto plain = ExtCommIp6::ExtCommIp6Is( extCommClassificationUnSpecified, kRt );
   auto other = extCommIp6Factory( extCommClassificationRouteTarget,
                                   content( 0x00, 0x02, "2001:db8::1", 101 ) );
   EXPECT_EQ( rt->hash(), kRt.hash() );
   EXPECT_TRUE( rt->compare( plain.ptr() ) );
   EXPECT_FALSE( other->compareByContent( kRt ) );
   // Factories give plain values, with no subtype of their own.
   EXPECT_TRUE( rt->pktSubtype().isUnspecified() );
   EXPECT_EQ( subtyped( kRt )->pktSubtype(), BgpExtCommPktSubtype( 2 ) );
   EXPECT_EQ( extCommIp6Factory( {}, content( 0x40, 2, "::", 0 ) )->pktType(),
              extCommIp6PktTypeNonTransIpv6Address );
   EXPECT_EQ( extCommIp6Factory( {}, content( 0x80, 2, "::", 0 ) )->pktType(),
              extCommIp6PktTypeUnknown );
}

TEST( ExtCommIp6Text, PolicyFormShowsTypeLabelOnlyWithClassificationAndUI ) {
   auto trans = extCommIp6Factory( extCommClassificationRouteTarget, kRt );
   auto nonTrans = extCommIp6Factory( {}, content( 0x40, 0x02, "2001:db8::1", 100 ) );
   const ExtCommIp6::StrepFormat ui( 0x06 );
   EXPECT_EQ( trans->toStrepForPolicy( ui ), "0002-IP6:2001:db8::1:100" );
   EXPECT_EQ( nonTrans->toStrepForPolicy( ui ), "0002-IP6(NT):2001:db8::1:100" );
   EXPECT_EQ( trans->toStrepForPolicy( ExtCommIp6::StrepFormat( 0x1f ) ),
              "0002-IP6:2001:db8::1:100" );
   for ( unsigned octet : { 0x00u, 0x02u, 0x04u, 0x1du } ) {
      EXPECT_EQ( nonTrans->toStrepForPolicy( ExtCommIp6::StrepFormat( octet ) ), "2001:db8::1:100" )
            << octet;
   }
   // Only the type's 0x40 bit is masked out of the label.
   EXPECT_EQ( extCommIp6Factory( {}, content( 0xc1, 0x0a, "::", 0 ) )->toStrepForPolicy( ui ),
              "810a-IP6(NT)::::0" );

   // Appended into a small, partly used buffer the longest address still fits.
   auto longest = extCommIp6Factory(
         {}, content( 0x40, 0x11, "1111:2222:3333:4444:5555:6666:7777:8888", 65535 ) );
   const std::string bare = "1111:2222:3333:4444:5555:6666:7777:8888:65535";
   OvFmt::DynamicBuffer<24> buf;
   buf.append( "prefix " );
   longest->appendStrepForPolicy( ui, buf );
   buf.append( ' ' );
   longest->appendStrepForPolicy( ExtCommIp6::StrepFormat( 0x01 ), buf );
   EXPECT_EQ( buf.view(), "prefix 0011-IP6(NT):" + bare + " " + bare );
}

TEST( ExtCommIp6Text, BracketedFormShowsSubtypeOnlyWhenSpecifiedAndStreamsKeepFlags ) {
   EXPECT_EQ( extCommIp6Factory( {}, kRt )->toStrep(),
              "<extCommIp6PktTypeTransIpv6Address addr=2001:db8::1 localAdmin=100>" );
   EXPECT_EQ( subtyped( kRt )->toStrep(),
              "<extCommIp6PktTypeTransIpv6Address "
              "extCommIp6PktSubtypeRouteTarget addr=2001:db8::1 "
              "localAdmin=100>" );
   EXPECT_EQ( subtyped( content( 0x00, 0x07, "::1", 7 ) )->toStrep(),
              "<extCommIp6PktTypeTransIpv6Address subtype=7 addr=::1 localAdmin=7>" );
   EXPECT_EQ( subtyped( content( 0x01, 0x02, "::1", 7 ) )->toStrep(),
              "<extCommIp6PktTypeUnknown none addr=::1 localAdmin=7>" );

   auto value = extCommIp6Factory( {}, kRt );
   const std::string form = value->toStrep();
   std::ostringstream os;
   os << static_cast<const ExtCommIp6*>( nullptr ) << '|';
   // Hex must not reach the numbers; the width pads the whole form once.
   os << std::hex << std::setfill( '*' ) << std::setw( int( form.size() ) + 3 ) << *value << '|'
      << 255;
   EXPECT_EQ( os.str(), "NULL|***" + form + "|ff" );
   EXPECT_TRUE( os.flags() & std::ios_base::hex );
}

TEST( ExtCommIp6Text, ContentFormWritesRawOctetsAndParsesBack ) {
   const std::string expected( "type=\0;subtype=\x02;addr=2001:db8::1;localAdmin=100", 48 );
   EXPECT_EQ( valueToStrep( kRt ), expected );
   std::ostringstream os;
   os << kRt;
   EXPECT_EQ( os.str(), expected );
   ExtCommIp6Content parsed;
   strepToValue( expected, &parsed );
   EXPECT_EQ( parsed, kRt );
   // Octets that look like the form's own punctuation still read as one octet.
   for ( U8 octet : { U8( ';' ), U8( '=' ), U8( 0xff ) } ) {
      const ExtCommIp6Content c( octet, octet, addr( "::ffff:10.0.0.1" ), 65535 );
      ExtCommIp6Content back;
      strepToValue( valueToStrep( c ), &back );
      EXPECT_EQ( back, c ) << int( octet );
   }
}

TEST( ExtCommIp6Text, ContentParserNamesTheFieldThatFailed ) {
   EXPECT_EQ( parseFailure( "" ), "type" );
   EXPECT_EQ( parseFailure( "type=\x01;sub=\x02;addr=::1;localAdmin=1" ), "subtype" );
   EXPECT_EQ( parseFailure( "type=\x01;subtype=\x02;addr=2001:db8::g;localAdmin=1" ), "addr" );
   EXPECT_EQ( parseFailure( "type=\x01;subtype=\x02;addr=::1;localAdmin=65536" ), "localAdmin" );
   EXPECT_EQ( parseFailure( "type=\x01;subtype=\x02;addr=::1;localAdmin=1 " ), "localAdmin" );
   // A failed parse leaves the target alone.
   ExtCommIp6Content target = kRt;
   EXPECT_THROW( strepToValue( "type=\x01;subtype=\x02;addr=::1;localAdmin=x", &target ),
                 Kel::ParseException );
   EXPECT_EQ( target, kRt );
}

TEST( ExtCommIp6StrepFormat, FiveFlagsInRangeEachNamedInItsText ) {
   EXPECT_EQ( thrownText<Kel::RangeException>( [] { ExtCommIp6::StrepFormat( 32 ); } ),
              "Kel::DenseBoolSet: value 32 > 31 not allowed" );
   EXPECT_EQ( valueToStrep( ExtCommIp6::StrepFormat( 0x08 ) ),
              "Value('Routing::Bgp::ExtCommIp6::StrepFormat', ** {'strepFormatDefault': False, "
              "'strepFormatClassification': False, 'strepFormatUI': False, "
              "'strepFormatAsdot': True, 'strepFormatLinkBwWeighted': False})" );
   // Text with the 8-octet set's JSON flag does not parse. (The fuzz target
   // reads every set's text back.)
   const std::string withJson =
         "Value('Routing::Bgp::ExtCommIp6::StrepFormat', ** {'strepFormatDefault': False, "
         "'strepFormatClassification': False, 'strepFormatUI': False, 'strepFormatJson': True, "
         "'strepFormatAsdot': True, 'strepFormatLinkBwWeighted': False})";
   EXPECT_THROW( ExtCommIp6::StrepFormat( withJson.data(), withJson.data() + withJson.size() ),
                 Kel::ParseException );
}

TEST( ExtCommIp6Store, StowedValuesComeBackAsPlainValuesAndForeignRecordsAreRefused ) {
   auto store = KelStow::StoreManager::inMemory( 64 );
   std::vector<ExtCommIp6::Ptr> originals;
   std::vector<U64> offsets;
   // Enough records that the arena grows (and moves) while they are written.
   for ( U16 i = 0; i < 300; ++i ) {
      originals.push_back( ExtCommIp6Subtyped::ExtCommIp6SubtypedIs(
            ExtCommClassification( i % 11 ),
            ExtCommIp6Content( i % 2 ? 0x40 : 0x00, U8( i ), addr( "2001:db8::abcd" ),
                               U16( 0xab00 + i ) ) ) );
      offsets.push_back( originals.back()->stow( store.ptr() ) );
   }
   for ( size_t i = 0; i < originals.size(); ++i ) {
      auto back = ExtCommIp6::destow( store->translate( offsets[ i ] ), store );
      EXPECT_EQ( back->content(), originals[ i ]->content() ) << i;
      EXPECT_EQ( back->classification(), originals[ i ]->classification() ) << i;
      EXPECT_EQ( back->dedupState(), Bex::dedupHandleStateStowed() );
      EXPECT_TRUE( back->pktSubtype().isUnspecified() );
   }
   // A record of another kind, or of this kind in another version, is refused.
   const U64 foreign = store->stowRecord( 0x58585858, 1, 32 );
   EXPECT_THROW( ExtCommIp6::destow( store->translate( foreign ), store ),
                 KelStow::StoreException );
   static_cast<KelStow::Anchor*>( store->translate( offsets[ 0 ], sizeof( KelStow::Anchor ) ) )
         ->version += 1;
   EXPECT_THROW( ExtCommIp6::destow( store->translate( offsets[ 0 ] ), store ),
                 KelStow::StoreException );
}

TEST( ExtCommIp6DeathTest, SubtypeNamesAssertTypeAndSubtype ) {
   GTEST_FLAG_SET( death_test_style, "threadsafe" );
   auto nonTrans = subtyped( content( 0x40, 0x02, "::1", 1 ) );
   auto trans = subtyped( kRt );
   auto plain = extCommIp6Factory( {}, kRt );
   EXPECT_DEATH( nonTrans->pktSubtypeTransIpv6AddressAsString(),
                 assertionPattern( "extCommIp6PktTypeTransIpv6Address_ == pktType()" ) );
   EXPECT_DEATH( trans->pktSubtypeNonTransIpv6AddressAsString(),
                 assertionPattern( "extCommIp6PktTypeNonTransIpv6Address_ == pktType()" ) );
   EXPECT_DEATH( plain->pktSubtypeTransIpv6AddressAsString(),
                 assertionPattern( "!pktSubtype().isUnspecified()" ) );
   EXPECT_EQ( trans->pktSubtypeTransIpv6AddressAsString(), "extCommIp6PktSubtypeRouteTarget" );
   EXPECT_EQ( nonTrans->pktSubtypeNonTransIpv6AddressAsString(), "subtype=2" );
}
