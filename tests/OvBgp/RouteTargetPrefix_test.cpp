#include "OvBgp/RouteTargetPrefix.h"

#include "Kel/Exception.h"
#include "Kel/Hash.h"

#include <gtest/gtest.h>

#include <sstream>
#include <vector>

#include "tests/OvBgp/TestSupport.h"

namespace {

using Routing::Bgp::RouteTarget;
using Routing::Bgp::RouteTargetPrefix;

const std::string rangeMessage = "Routing::Bgp::RouteTargetPrefix::length < 0 or > 64 not allowed";

template<class Fn>
void expectRangeError( Fn fn ) {
   EXPECT_EQ( rangeMessage, thrownText<Kel::RangeException>( fn ) );
}

TEST( RouteTargetPrefix, ConstructorKeepsBitsAndBitlenIsMasksThem ) {
   const RouteTarget rt( 0x0002FDE800000064ull );
   RouteTargetPrefix p( rt, 16 );
   EXPECT_EQ( rt.value(), p.prefixBits() ); // not masked
   EXPECT_EQ( p.mask( 0 ), p.mask( 64 ) );  // the argument does not count
   EXPECT_EQ( "65000:100/16", p.toStrep( false ) );
   p.bitlenIs( 16 ); // same length: still masks
   EXPECT_EQ( 0x0002000000000000ull, p.prefixBits() );

   RouteTargetPrefix full( rt, 64 );
   full.bitlenIs( 64 );
   EXPECT_EQ( rt.value(), full.prefixBits() );
   EXPECT_EQ( ~U64( 0 ), full.mask( 7 ) );

   // Length 0 prints "0/0" only once the bits are cleared too.
   RouteTargetPrefix zero( rt, 0 );
   EXPECT_EQ( 0u, zero.mask( 0 ) );
   EXPECT_EQ( "65000:100/0", zero.toStrep( false ) );
   zero.bitlenIs( 0 );
   EXPECT_EQ( "0/0", zero.toStrep( false ) );

   // asDot reaches the route target's own text.
   RouteTargetPrefix fourOctet( RouteTarget( 0x0202FDE800010005ull ), 48 );
   EXPECT_EQ( "4259840001:5/48", fourOctet.toStrep( false ) );
   EXPECT_EQ( "65000.1:5/48", fourOctet.toStrep( true ) );
}

TEST( RouteTargetPrefix, LengthAbove64IsARangeErrorAndBitlenIsKeepsIt ) {
   const RouteTarget rt( 0x0102C0000201002Aull );
   expectRangeError( [ & ] { RouteTargetPrefix( rt, 65 ); } );

   RouteTargetPrefix p( rt, 24 );
   expectRangeError( [ & ] { p.bitlenIs( 65 ); } );
   EXPECT_EQ( 65u, p.bitlen() );
   EXPECT_EQ( rt.value(), p.prefixBits() ); // not masked
   expectRangeError( [ & ] { p.bitlenIs( 255 ); } );
   EXPECT_EQ( 255u, p.bitlen() );
   EXPECT_EQ( ~U64( 0 ), p.mask( 0 ) ); // a broken length still masks sanely

   p.bitlenIs( 8 );
   EXPECT_EQ( 0x0100000000000000ull, p.prefixBits() );
}

TEST( RouteTargetPrefixDeathTest, BitlenOf256OrMoreIsABrokenInvariant ) {
   RouteTargetPrefix p;
   EXPECT_DEATH( p.bitlenIs( 256 ),
                 "assertion failed: 0 == \\( bitlen >> 8 \\) \\(OvBgp/RouteTargetPrefix\\)" );
}

TEST( RouteTargetPrefix, BitOperationsCountFromTheTopAndHashCoversEveryPart ) {
   const struct {
      U64 a;
      size_t lenA;
      U64 b;
      size_t lenB;
      size_t common;
   } rows[] = {
      { 0x0002FDE800000064ull, 64, 0x0002FDE800000064ull, 64, 64 },
      { 0x0002FDE800000064ull, 64, 0x0002FDE800000065ull, 64, 63 }, // the last bit
      { 0x0002FDE800000064ull, 40, 0x0002FDE800000065ull, 64, 40 }, // the shorter length
      { 0x0002FDE800000064ull, 64, 0x0003FDE800000064ull, 64, 15 },
      { 0x8000000000000000ull, 64, 0, 64, 0 }, // the first bit
      { 0x0002FDE800000064ull, 0, 0x0002FDE800000064ull, 64, 0 },
   };
   for ( const auto& row : rows ) {
      const RouteTargetPrefix a( RouteTarget( row.a ), row.lenA );
      const RouteTargetPrefix b( RouteTarget( row.b ), row.lenB );
      EXPECT_EQ( row.common, a.commonPrefixLen( b ) ) << std::hex << row.a << " " << row.b;
      EXPECT_EQ( row.common, b.commonPrefixLen( a ) );
   }
   const RouteTargetPrefix top( RouteTarget( 0x8000000000000001ull ), 64 );
   EXPECT_TRUE( top.extractBit( 0 ) && top.extractBit( 63 ) && top.extractBit( 64 ) );
   EXPECT_FALSE( top.extractBit( 1 ) || top.extractBit( 62 ) || top.extractBit( 65 ) );
   // Ordered by the value as an unsigned number, then by length.
   EXPECT_LT( RouteTargetPrefix( RouteTarget( 0x7FFFFFFFFFFFFFFFull ), 64 ),
              RouteTargetPrefix( RouteTarget( 0x8000000000000000ull ), 1 ) );
   const RouteTarget rt( 0x0002FDE800000064ull );
   const RouteTargetPrefix p( rt, 24 );
   EXPECT_LT( p, RouteTargetPrefix( rt, 25 ) );
   EXPECT_NE( p, RouteTargetPrefix( rt, 25 ) );

   // The hash depends on the seed, the bits and the length.
   EXPECT_NE( p.hash( 5 ), p.hash( 6 ) );
   EXPECT_NE( p.hash( 5 ), RouteTargetPrefix( rt, 25 ).hash( 5 ) );
   EXPECT_NE( p.hash( 5 ), RouteTargetPrefix( RouteTarget( rt.value() ^ 1 ), 24 ).hash( 5 ) );
   EXPECT_EQ( p.hash( Kel::hashSeed() ), std::hash<RouteTargetPrefix>()( p ) );
}

TEST( RouteTargetPrefix, ReflectiveTextRoundTripsEveryLayout ) {
   const RouteTargetPrefix known( RouteTarget( 0x0002FDE800000064ull ), 24 );
   const std::string knownText =
         "Value('Routing::Bgp::RouteTargetPrefix', ** {'prefix': 65000:100, 'length': 24})";
   EXPECT_EQ( knownText, valueToStrep( known ) );
   std::ostringstream os;
   os << known;
   EXPECT_EQ( knownText, os.str() );

   // Every layout and words that print in the hex form, unmasked too: the
   // text carries the bits as stored. (The fuzz target goes over the rest.)
   for ( U64 v :
         { 0ull, ~0ull, 0x0102C0000201002Aull, 0x0202FDE800010005ull, 0x4002000000000001ull } ) {
      const RouteTargetPrefix p( RouteTarget( v ), 7 );
      RouteTargetPrefix back;
      strepToValue( valueToStrep( p ), &back );
      EXPECT_EQ( p, back ) << valueToStrep( p );
   }
}

TEST( RouteTargetPrefix, ParserNamesTheFailingPartAndLeavesTheTargetAlone ) {
   const std::string head = "Value('Routing::Bgp::RouteTargetPrefix', ** {";
   const RouteTargetPrefix original( RouteTarget( 0x0102C0000201002Aull ), 32 );
   struct Case {
      std::string text;
      const char* attribute;
   };
   const Case cases[] = {
      { head + "'prefix': 1.2.3:4, 'length': 24})", "prefix" },
      { head + "'prefix': 65000:100, 'length': -1})", "length" },
      { head + "'prefix': 65000:100, 'length': 99}) ", "Value" }, // closing checked first
      { "Value('Routing::Bgp::RouteTarget', ** {'prefix': 65000:100, 'length': 24})", "Value" },
   };
   for ( const Case& c : cases ) {
      RouteTargetPrefix value = original;
      EXPECT_EQ( c.attribute,
                 Routing::Bgp::Testing::parseFailure( [ & ] { strepToValue( c.text, &value ); } ) )
            << c.text;
      EXPECT_EQ( original, value );
   }
   RouteTargetPrefix value = original;
   expectRangeError(
         [ & ] { strepToValue( head + "'prefix': 65000:100, 'length': 65})", &value ); } );
   EXPECT_EQ( original, value );
}

} // namespace
