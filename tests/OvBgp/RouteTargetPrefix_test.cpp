#include "OvBgp/RouteTargetPrefix.h"

#include "Kel/Exception.h"
#include "Kel/Hash.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <sstream>
#include <tuple>
#include <vector>

#include "tests/OvBgp/TestSupport.h"

namespace {

using Routing::Bgp::RouteTarget;
using Routing::Bgp::RouteTargetPrefix;

const std::string rangeMessage = "Routing::Bgp::RouteTargetPrefix::length < 0 or > 64 not allowed";

template<class Fn>
void expectRangeError( Fn fn ) {
   EXPECT_EQ( rangeMessage, Routing::Bgp::Testing::messageOf<Kel::RangeException>( fn ) );
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

TEST( RouteTargetPrefix, BitOperationsMatchABitByBitReferenceAndHashCoversEveryPart ) {
   std::mt19937_64 rng( 7 );
   auto bit = []( U64 v, size_t i ) {
      return bool( ( v >> ( 63 - i ) ) & 1 );
   };
   for ( int round = 0; round < 20000; ++round ) {
      const U64 a = rng();
      // b shares a random number of leading bits with a, so every common
      // length from 0 to 64 comes up.
      const size_t shared = rng() % 65;
      U64 b = a;
      if ( shared < 64 ) {
         const U64 keep = shared == 0 ? 0 : ~U64( 0 ) << ( 64 - shared );
         b = ( a & keep ) | ( rng() & ~keep );
      }
      const size_t lenA = rng() % 65;
      const size_t lenB = rng() % 65;
      const RouteTargetPrefix pa( RouteTarget( a ), lenA );
      const RouteTargetPrefix pb( RouteTarget( b ), lenB );

      size_t reference = 0;
      while ( reference < std::min( lenA, lenB ) && bit( a, reference ) == bit( b, reference ) ) {
         ++reference;
      }
      ASSERT_EQ( reference, pa.commonPrefixLen( pb ) ) << std::hex << a << " " << b;
      ASSERT_EQ( reference, pb.commonPrefixLen( pa ) );

      const size_t i = rng() % 200;
      ASSERT_EQ( bit( a, i % 64 ), pa.extractBit( i ) ) << i;

      ASSERT_EQ( std::make_tuple( a, lenA ) < std::make_tuple( b, lenB ), pa < pb );
      ASSERT_EQ( a == b && lenA == lenB, pa == pb );
   }
   EXPECT_EQ( 0u, RouteTargetPrefix( RouteTarget( 1ull << 63 ), 64 )
                        .commonPrefixLen( RouteTargetPrefix( RouteTarget( 0 ), 64 ) ) );
   EXPECT_LT( RouteTargetPrefix( RouteTarget( 0x7FFFFFFFFFFFFFFFull ), 64 ),
              RouteTargetPrefix( RouteTarget( 0x8000000000000000ull ), 1 ) ); // unsigned order

   // The hash depends on the seed, the bits and the length.
   const RouteTarget rt( 0x0002FDE800000064ull );
   const RouteTargetPrefix p( rt, 24 );
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

   // Values of every route-target layout and arbitrary words (which print
   // in the hex form), unmasked too: the text carries the bits as stored.
   std::mt19937_64 rng( 3 );
   for ( int i = 0; i < 8000; ++i ) {
      U64 v = i == 0 ? 0 : i == 1 ? ~U64( 0 ) : rng();
      if ( i % 4 && i > 1 ) {
         v = U64( i % 4 - 1 ) << 56 | 0x02ull << 48 | ( v & 0x0000FFFFFFFFFFFFull );
      }
      const RouteTargetPrefix p( RouteTarget( v ), rng() % 65 );
      const std::string text = valueToStrep( p );
      RouteTargetPrefix back;
      strepToValue( text, &back );
      ASSERT_EQ( p, back ) << text;
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
