#include "OvBgp/OvBgpSerialize.h"

#include <string>

#include <gtest/gtest.h>

#include "tests/OvBgp/TestSupport.h"

using namespace Routing::Bgp;
using Testing::hex;

namespace {

// n octets 0, 1, 2, ... (mod 251), so that a shifted value shows.
std::string pattern( size_t n ) {
   std::string value( n, '\0' );
   for ( size_t i = 0; i < n; ++i ) {
      value[ i ] = char( i % 251 );
   }
   return value;
}

void append( Serialize& out, const std::string& value ) {
   out.addBytes( value.data(), value.size() );
}

// The header of a fixed-length attribute announcing size octets.
std::string headerOf( U32 type, U8 flags, U32 size ) {
   return hex( SerializePathAttribute( type, flags, size ).Serialize::serializedString() );
}

} // namespace

TEST( SerializePathAttribute, HeaderLengthFollowsValueSizeAndFlag ) {
   SerializePathAttribute shortAttr( extCommunity, optionalTransitive, 8 );
   shortAttr.addU64hton( 0x0002fde800000064ull );
   EXPECT_EQ( hex( shortAttr.serializedString() ), "c010080002fde800000064" );

   // 255 still fits one octet, 256 does not; a caller's extended-length
   // flag is kept for a short value.
   EXPECT_EQ( headerOf( community, optionalTransitive, 255 ), "c008ff" );
   EXPECT_EQ( headerOf( community, optionalTransitive, 256 ), "d0080100" );
   EXPECT_EQ( headerOf( extCommunity, optionalTransitive | extLen, 8 ), "d0100008" );

   // Starting over drops the old value; a long value grows past the inline
   // capacity and keeps every octet.
   SerializePathAttribute attr( extCommunity, optionalTransitive, 300 );
   append( attr, pattern( 300 ) );
   attr.clearAndReInit( community, optionalTransitive, 4 );
   attr.addU32hton( 0xFFFFFF01 );
   EXPECT_EQ( hex( attr.serializedString() ), "c00804ffffff01" );
   attr.clearAndReInit( largeCommunity, optionalTransitive, 6000 );
   append( attr, pattern( 6000 ) );
   std::string wire = attr.serializedString();
   EXPECT_EQ( hex( wire.substr( 0, 4 ) ), "d0201770" );
   EXPECT_EQ( wire.substr( 4 ), pattern( 6000 ) );
}

TEST( SerializePathAttributeAutoExtLen, HeaderEndsWhereValueBegins ) {
   SerializePathAttributeAutoExtLen at255;
   append( at255, pattern( 255 ) );
   EXPECT_EQ( at255.patchHdrAndStringify( community, optionalTransitive ),
              Testing::octets( "c008ff" ) + pattern( 255 ) );

   SerializePathAttributeAutoExtLen at256;
   append( at256, pattern( 256 ) );
   EXPECT_EQ( at256.patchHdrAndStringify( community, optionalTransitive ),
              Testing::octets( "d0080100" ) + pattern( 256 ) );

   SerializePathAttributeAutoExtLen empty;
   EXPECT_EQ( hex( empty.patchHdrAndStringify( community, optionalTransitive ) ), "c00800" );

   // The extended-length flag on a short value must not overwrite value
   // octets, and appending after stringifying continues the value.
   SerializePathAttributeAutoExtLen flagged;
   append( flagged, pattern( 5 ) );
   EXPECT_EQ( hex( flagged.patchHdrAndStringify( community, optionalTransitive | extLen ) ),
              "d00800050001020304" );
   append( flagged, pattern( 1 ) );
   EXPECT_EQ( flagged.serializeAttributeValue(), pattern( 5 ) + pattern( 1 ) );
}

// The header is the one SerializePathAttribute writes (its lengths are shown above).
TEST( SerializedPathAttribute, WritesHeaderAndFilledValueInOneString ) {
   std::string wire = serializedPathAttribute( community, optionalTransitive, 8, []( U8* out ) {
      storeU32hton( out, 0xFFFFFF01 );
      storeU32hton( out + 4, 0x0001000A );
   } );
   EXPECT_EQ( hex( wire ), "c00808ffffff010001000a" );
   wire = serializedPathAttribute( largeCommunity, optionalTransitive | extLen, pattern( 12 ) );
   EXPECT_EQ( wire, Testing::octets( "d020000c" ) + pattern( 12 ) );

   // Appended attributes follow each other, each behind its own header.
   Serialize stream;
   const U8 value[] = { 0xFF, 0xFF, 0xFF, 0x01 };
   addPathAttribute( stream, community, optionalTransitive, value );
   addPathAttribute( stream, largeCommunity, optionalTransitive | extLen, {} );
   EXPECT_EQ( hex( stream.serializedString() ), "c00804ffffff01d0200000" );

   U8 buf[ 8 ];
   storeU64hton( buf, 0x0102030405060708ull );
   EXPECT_EQ( hex( std::string( reinterpret_cast<char*>( buf ), 8 ) ), "0102030405060708" );
   EXPECT_EQ( hex( SerializedBgpPrefixSidAttribute( labelIndexTlv, 7 ).serializedString() ),
              "010007" );
}

TEST( OvBgpSerializeDeathTest, BrokenHeaderInvariantsAbortWithTheirText ) {
   auto assertion = []( const std::string& text ) {
      return Testing::assertionPattern( text, "OvBgp/OvBgpSerialize" );
   };
   EXPECT_DEATH( SerializePathAttribute( attrTypeUnknown, optionalTransitive, 4 ),
                 assertion( "attrType <= 0xFF" ) );
   EXPECT_DEATH( SerializePathAttribute( community, optionalTransitive, 0x10000 ),
                 assertion( "attrSize <= 0xFFFF" ) );
   EXPECT_DEATH(
         {
            SerializePathAttributeAutoExtLen tooLong;
            append( tooLong, pattern( 0x10000 ) );
            tooLong.patchHdrAndStringify( community, optionalTransitive );
         },
         assertion( "attrSize <= 0xFFFF" ) );
   EXPECT_DEATH(
         {
            SerializePathAttribute shortOfValue( community, optionalTransitive, 8 );
            shortOfValue.addU32hton( 1 );
            shortOfValue.serializedString();
         },
         assertion( "serialized.size() == attrSize_ + headerSize_" ) );
}
