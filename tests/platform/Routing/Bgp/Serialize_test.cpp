#include "Routing/Bgp/Serialize.h"

#include "Kel/Exception.h"

#include <gtest/gtest.h>

namespace {

using Routing::Bgp::Serialize;

TEST( Serialize, WritesIntegersInNetworkOrder ) {
   Serialize out;
   out.addU8( 0xC0 );
   out.addU16hton( 0x0102 );
   out.addU32hton( 0x03040506 );
   out.addU64hton( 0x0708090A0B0C0D0Eull );
   out.addIpv6Addr( Onet::Ip6Addr::parse( "2001:db8::ff" ) );
   out.addBytes( "xy", 2 );
   EXPECT_EQ( std::string( "\xC0\x01\x02\x03\x04\x05\x06\x07\x08\x09\x0A\x0B\x0C\x0D\x0E"
                           "\x20\x01\x0d\xb8\0\0\0\0\0\0\0\0\0\0\0\xff"
                           "xy",
                           1 + 2 + 4 + 8 + 16 + 2 ),
              out.serializedString() );
   EXPECT_EQ( std::string( "\x0E\x20", 2 ), out.serializedString( 14 ).substr( 0, 2 ) );
   EXPECT_EQ( "", out.serializedString( 100 ) );
}

TEST( Serialize, PatchesAHeaderAfterTheValueIsWritten ) {
   Serialize out;
   out.addU8( 0x10 );
   size_t lengthAt = out.writePos();
   out.addU16hton( 0 );
   for ( U32 i = 0; i < 5; ++i ) {
      out.addU32hton( i );
   }
   size_t end = out.length();
   out.writePosIs( lengthAt );
   out.addU16hton( U16( end - lengthAt - 2 ) );
   EXPECT_EQ( end, out.length() ); // overwriting does not shorten
   out.writePosIs( end );
   out.addU8( 0xFF );
   EXPECT_EQ( std::string( "\x10\0\x14"
                           "\0\0\0\0\0\0\0\1\0\0\0\2\0\0\0\3\0\0\0\4\xFF",
                           1 + 2 + 20 + 1 ),
              out.serializedString() );
   EXPECT_THROW( out.writePosIs( out.length() + 1 ), Kel::RangeException );
}

TEST( Serialize, GrowsPastTheInlineBufferKeepingContents ) {
   Serialize out;
   EXPECT_EQ( Serialize::inlineCapacity, out.capacity() );
   for ( U32 i = 0; i < 3000; ++i ) {
      out.addU32hton( i );
   }
   EXPECT_EQ( 12000u, out.length() );
   EXPECT_GE( out.capacity(), 12000u );
   for ( U32 i = 0; i < 3000; i += 997 ) {
      EXPECT_EQ( i, Routing::Bgp::loadU32ntoh( out.data() + 4 * i ) );
   }
   out.growBuffer( 100000 );
   EXPECT_GE( out.capacity(), 100000u );
   EXPECT_EQ( 12000u, out.serializedString().size() );
   std::string big( 50000, 'z' );
   out.writePosIs( 4 );
   out.addBytes( big.data(), big.size() );
   EXPECT_EQ( 50004u, out.length() );
   out.clear();
   EXPECT_EQ( 0u, out.length() );
   EXPECT_GE( out.capacity(), 100000u );
}

} // namespace
