#include "OvFmt/DynamicBuffer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <string>
#include <tuple>
#include <vector>

namespace {

using OvFmt::DynamicBuffer;

TEST( DynamicBuffer, ShortTextStaysInLocalStorageAndItsOwnTextAppends ) {
   DynamicBuffer<16> buf;
   EXPECT_TRUE( buf.empty() );
   buf.append( "RT:" );
   buf.appendDecimal( 65000 );
   buf.append( ':' );
   buf.appendDecimal( 7 );
   EXPECT_EQ( "RT:65000:7", buf.str() );
   EXPECT_EQ( "RT:65000:7", buf.view() );

   // Filling the local storage exactly does not leave it, not even for a
   // number: it reserves exactly its digits.
   buf.append( "12" );
   buf.appendDecimal( 9999 );
   buf.append( std::string_view() ); // nothing, from a null view
   EXPECT_EQ( 16u, buf.size() );
   EXPECT_FALSE( buf.onHeap() );
   EXPECT_EQ( 16u, buf.capacity() );
   buf.clear();
   EXPECT_TRUE( buf.empty() );
   EXPECT_EQ( 16u, buf.capacity() );

   // Its own text appended: from local storage to the heap while reading
   // itself, then from heap to heap.
   buf.append( "abcdefghij" );
   buf.append( buf.view() );
   EXPECT_EQ( "abcdefghijabcdefghij", buf.view() );
   buf.append( buf.view() );
   buf.append( buf.view().substr( 3, 4 ) );
   EXPECT_EQ( "abcdefghijabcdefghijabcdefghijabcdefghijdefg", buf.view() );
}

TEST( DynamicBuffer, GrowsToTwiceTheUsedUpToOneKilobyteOrWhatIsNeeded ) {
   DynamicBuffer<8> buf;
   std::string expected;
   std::vector<size_t> capacities;
   for ( size_t n : { 8, 1, 3, 20, 1, 100, 5, 400, 1, 1, 600, 2000, 1, 3000 } ) {
      const std::string piece( n, char( 'a' + expected.size() % 26 ) );
      const size_t before = buf.capacity();
      n == 1 ? buf.append( piece[ 0 ] ) : buf.append( piece ); // a character on its own
      expected += piece;
      if ( buf.capacity() != before ) {
         capacities.push_back( buf.capacity() );
      }
      ASSERT_EQ( expected, buf.view() );
   }
   // Doubling while small, what is needed when that is more, never more
   // than 1 KiB beyond what is used.
   EXPECT_EQ( ( std::vector<size_t>{ 16, 32, 64, 133, 266, 538, 1024, 1140, 3140, 3141, 6141 } ),
              capacities );
   EXPECT_TRUE( buf.onHeap() );

   // reserve() without commit() writes nothing.
   char* room = buf.reserve( 10000 );
   EXPECT_EQ( 16141u, buf.capacity() );
   std::fill( room, room + 3, 'x' );
   buf.commit( 3 );
   EXPECT_EQ( expected + "xxx", buf.view() );
}

TEST( DynamicBuffer, DecimalAndHexAtTheirEdges ) {
   std::vector<U64> decimals = { 4294967295ull, 4294967296ull, 9999999999999999999ull,
                                 10000000000000000000ull, std::numeric_limits<U64>::max() };
   for ( U64 power = 1; power <= 1000000000000000000ull; power *= 10 ) {
      decimals.insert( decimals.end(), { power - 1, power, power + 1 } );
   }
   for ( U64 v : decimals ) {
      DynamicBuffer<4> buf;
      buf.append( '[' );
      buf.appendDecimal( v );
      buf.append( ']' );
      ASSERT_EQ( "[" + std::to_string( v ) + "]", buf.view() );
      ASSERT_EQ( std::to_string( v ).size(), OvFmt::decimalDigits( v ) ) << v;
   }
   char out[ 20 ];
   EXPECT_EQ( 20u, OvFmt::writeDecimal( out, std::numeric_limits<U64>::max() ) );
   EXPECT_EQ( "18446744073709551615", std::string( out, 20 ) );

   const std::tuple<U64, unsigned, const char*> hexes[] = {
      { 0, 1, "0" },
      { 0, 4, "0000" },
      { 10, 1, "a" },
      { 0x1234, 2, "34" }, // exactly the digits asked for
      { 0x0123456789ABCDEFull, 16, "0123456789abcdef" },
      { std::numeric_limits<U64>::max(), 16, "ffffffffffffffff" },
      { 0x5, 20, "00000000000000000005" },
      { 0x7, 0, "" },
   };
   for ( const auto& [ value, digits, text ] : hexes ) {
      DynamicBuffer<4> buf;
      buf.appendHex( value, digits );
      EXPECT_EQ( text, buf.view() ) << value << " in " << digits << " digits";
   }
}

} // namespace
