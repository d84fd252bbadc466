#include "OvBgp/OvBgpSerialize.h"

#include <cstdio>
#include <string>

#include <gtest/gtest.h>

using namespace Routing::Bgp;

namespace {

// The first count octets in hex, "c0 10 08".
std::string hexHead( const std::string& wire, size_t count ) {
   std::string out;
   char buf[ 4 ];
   for ( size_t i = 0; i < count && i < wire.size(); ++i ) {
      std::snprintf( buf, sizeof buf, i ? " %02x" : "%02x", U8( wire[ i ] ) );
      out += buf;
   }
   return out;
}

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

} // namespace

TEST( SerializePathAttribute, HeaderLengthFollowsValueSizeAndFlag ) {
   SerializePathAttribute shortAttr( extCommunity, optionalTransitive, 8 );
   shortAttr.addU64hton( 0x0002fde800000064ull );
   std::string wire = shortAttr.serializedString();
   EXPECT_EQ( hexHead( wire, 20 ), "c0 10 08 00 02 fd e8 00 00 00 64" );
   EXPECT_EQ( shortAttr.headerSize(), 3u );

   SerializePathAttribute longAttr( extCommunity, optionalTransitive, 300 );
   append( longAttr, pattern( 300 ) );
   wire = longAttr.serializedString();
   EXPECT_EQ( hexHead( wire, 4 ), "d0 10 01 2c" );
   EXPECT_EQ( wire.substr( 4 ), pattern( 300 ) );

   // A caller's extended-length flag is kept for a short value.
   SerializePathAttribute flagged( extCommunity, optionalTransitive | extLen, 8 );
   EXPECT_EQ( flagged.headerSize(), 4u );
   EXPECT_EQ( hexHead( flagged.Serialize::serializedString(), 4 ), "d0 10 00 08" );

   // Boundary: 255 still fits one octet, 256 does not.
   SerializePathAttribute at255( community, optionalTransitive, 255 );
   EXPECT_EQ( hexHead( at255.Serialize::serializedString(), 3 ), "c0 08 ff" );
   SerializePathAttribute at256( community, optionalTransitive, 256 );
   EXPECT_EQ( hexHead( at256.Serialize::serializedString(), 4 ), "d0 08 01 00" );
}

TEST( SerializePathAttribute, ClearAndReInitStartsOverAndGrowsPastInlineCapacity ) {
   SerializePathAttribute attr( extCommunity, optionalTransitive, 300 );
   append( attr, pattern( 300 ) );
   attr.clearAndReInit( community, optionalTransitive, 4 );
   attr.addU32hton( 0xFFFFFF01 );
   EXPECT_EQ( hexHead( attr.serializedString(), 10 ), "c0 08 04 ff ff ff 01" );

   attr.clearAndReInit( largeCommunity, optionalTransitive, 6000 );
   EXPECT_GE( attr.capacity(), 6004u );
   append( attr, pattern( 6000 ) );
   std::string wire = attr.serializedString();
   EXPECT_EQ( hexHead( wire, 4 ), "d0 20 17 70" );
   EXPECT_EQ( wire.substr( 4 ), pattern( 6000 ) );
}

TEST( SerializePathAttributeAutoExtLen, HeaderEndsWhereValueBegins ) {
   SerializePathAttributeAutoExtLen at255;
   append( at255, pattern( 255 ) );
   std::string wire = at255.patchHdrAndStringify( community, optionalTransitive );
   EXPECT_EQ( wire.size(), 258u );
   EXPECT_EQ( hexHead( wire, 3 ), "c0 08 ff" );
   EXPECT_EQ( wire.substr( 3 ), pattern( 255 ) );
   EXPECT_EQ( at255.serializeAttributeValue(), pattern( 255 ) );

   SerializePathAttributeAutoExtLen at256;
   append( at256, pattern( 256 ) );
   wire = at256.patchHdrAndStringify( community, optionalTransitive );
   EXPECT_EQ( wire.size(), 260u );
   EXPECT_EQ( hexHead( wire, 4 ), "d0 08 01 00" );
   EXPECT_EQ( wire.substr( 4 ), pattern( 256 ) );

   SerializePathAttributeAutoExtLen empty;
   EXPECT_EQ( hexHead( empty.patchHdrAndStringify( community, optionalTransitive ), 8 ),
              "c0 08 00" );

   // The extended-length flag on a short value must not overwrite value octets.
   SerializePathAttributeAutoExtLen flagged;
   append( flagged, pattern( 5 ) );
   wire = flagged.patchHdrAndStringify( community, optionalTransitive | extLen );
   EXPECT_EQ( hexHead( wire, 9 ), "d0 08 00 05 00 01 02 03 04" );

   // Appending after stringifying continues the value, not the header.
   append( flagged, pattern( 1 ) );
   EXPECT_EQ( flagged.serializeAttributeValue(), pattern( 5 ) + pattern( 1 ) );
}

TEST( SerializedPathAttribute, WritesHeaderAndFilledValueInOneString ) {
   const U32 values[] = { 0xFFFFFF01, 0x0001000A, 0xFFFF0000 };
   std::string wire = serializedPathAttribute( community, optionalTransitive, 12, [ & ]( U8* out ) {
      for ( U32 v : values ) {
         storeU32hton( out, v );
         out += 4;
      }
   } );
   SerializePathAttribute reference( community, optionalTransitive, 12 );
   for ( U32 v : values ) {
      reference.addU32hton( v );
   }
   EXPECT_EQ( wire, reference.serializedString() );
   EXPECT_EQ( hexHead( wire, 7 ), "c0 08 0c ff ff ff 01" );

   wire = serializedPathAttribute( extCommunityIp6, optionalTransitive, pattern( 400 ) );
   EXPECT_EQ( hexHead( wire, 4 ), "d0 19 01 90" );
   EXPECT_EQ( wire.substr( 4 ), pattern( 400 ) );

   wire = serializedPathAttribute( largeCommunity, optionalTransitive | extLen, pattern( 12 ) );
   EXPECT_EQ( hexHead( wire, 4 ), "d0 20 00 0c" );
   EXPECT_EQ( wire.size(), 16u );

   U8 buf[ 8 ];
   storeU64hton( buf, 0x0102030405060708ull );
   EXPECT_EQ( hexHead( std::string( reinterpret_cast<char*>( buf ), 8 ), 8 ),
              "01 02 03 04 05 06 07 08" );
}

TEST( SerializedBgpPrefixSidAttribute, WritesTlvTypeAndLength ) {
   SerializedBgpPrefixSidAttribute tlv( labelIndexTlv, 7 );
   EXPECT_EQ( hexHead( tlv.serializedString(), 8 ), "01 00 07" );
}

TEST( OvBgpSerializeDeathTest, BrokenHeaderInvariantsAbortWithTheirText ) {
   EXPECT_DEATH( SerializePathAttribute( 256, optionalTransitive, 4 ),
                 "assertion failed: attrType <= 0xFF \\(OvBgp/OvBgpSerialize\\)" );
   EXPECT_DEATH( SerializePathAttribute( attrTypeUnknown, optionalTransitive, 4 ),
                 "assertion failed: attrType <= 0xFF \\(OvBgp/OvBgpSerialize\\)" );
   EXPECT_DEATH( SerializePathAttribute( community, optionalTransitive, 0x10000 ),
                 "assertion failed: attrSize <= 0xFFFF \\(OvBgp/OvBgpSerialize\\)" );
   EXPECT_DEATH( serializedPathAttribute( community, optionalTransitive, pattern( 0x10000 ) ),
                 "assertion failed: attrSize <= 0xFFFF \\(OvBgp/OvBgpSerialize\\)" );
   EXPECT_DEATH(
         {
            SerializePathAttributeAutoExtLen tooLong;
            append( tooLong, pattern( 0x10000 ) );
            tooLong.patchHdrAndStringify( community, optionalTransitive );
         },
         "assertion failed: attrSize <= 0xFFFF \\(OvBgp/OvBgpSerialize\\)" );
   EXPECT_DEATH(
         {
            SerializePathAttribute shortOfValue( community, optionalTransitive, 8 );
            shortOfValue.addU32hton( 1 );
            shortOfValue.serializedString();
         },
         "assertion failed: serialized.size\\(\\) == attrSize_ \\+ headerSize_ "
         "\\(OvBgp/OvBgpSerialize\\)" );
}
