#include "OvBgp/OvBgpSerialize.h"

#include "Kel/Assert.h"

namespace Routing::Bgp {

U32 writePathAttributeHeader( U8* out, U32 attrType, U8 flags, U32 attrSize ) noexcept {
   KEL_ASSERT_MSG( attrType <= 0xFF, "attrType <= 0xFF" );
   if ( attrSize > 0xFF ) {
      out[ 0 ] = U8( flags | extLen );
      out[ 1 ] = U8( attrType );
      KEL_ASSERT_MSG( attrSize <= 0xFFFF, "attrSize <= 0xFFFF" );
      storeU16hton( out + 2, U16( attrSize ) );
      return 4;
   }
   out[ 0 ] = flags;
   out[ 1 ] = U8( attrType );
   if ( flags & extLen ) {
      storeU16hton( out + 2, U16( attrSize ) );
      return 4;
   }
   out[ 2 ] = U8( attrSize );
   return 3;
}

namespace {

// Longer than any header can say: the header's assertion reports it.
U32 clampedSize( size_t size ) noexcept { return size > 0xFFFFFFFFu ? 0xFFFFFFFFu : U32( size ); }

} // namespace

std::string serializedPathAttribute( U32 attrType, U8 flags, std::string_view value ) {
   return serializedPathAttribute( attrType, flags, clampedSize( value.size() ), [ & ]( U8* out ) {
      std::memcpy( out, value.data(), value.size() );
   } );
}

void addPathAttribute( Serialize& out, U32 attrType, U8 flags, std::span<const U8> value ) {
   U8 header[ 4 ];
   out.addBytes( header,
                 writePathAttributeHeader( header, attrType, flags, clampedSize( value.size() ) ) );
   out.addBytes( value.data(), value.size() );
}

SerializePathAttribute::SerializePathAttribute( U32 attrType, U8 flags, U32 attrSize )
      : attrSize_( attrSize ) {
   clearAndReInit( attrType, flags, attrSize );
}

void SerializePathAttribute::clearAndReInit( U32 attrType, U8 flags, U32 attrSize ) {
   clear();
   if ( size_t( attrSize ) + 4 > capacity() ) {
      growBuffer( size_t( attrSize ) + 4 );
   }
   attrSize_ = attrSize;
   reInitHdr( attrType, flags, attrSize );
}

void SerializePathAttribute::reInitHdr( U32 attrType, U8 flags, U32 attrSize ) {
   U8 header[ 4 ];
   headerSize_ = writePathAttributeHeader( header, attrType, flags, attrSize );
   addBytes( header, headerSize_ );
}

std::string SerializePathAttribute::serializedString() const {
   std::string serialized = Serialize::serializedString( 0 );
   KEL_ASSERT_MSG( serialized.size() == attrSize_ + headerSize_,
                   "serialized.size() == attrSize_ + headerSize_" );
   return serialized;
}

// The reserved area is a placeholder four-octet header of type 0.
SerializePathAttributeAutoExtLen::SerializePathAttributeAutoExtLen()
      : SerializePathAttribute( invalidPathAttr, extLen, 0 ) {}

std::string SerializePathAttributeAutoExtLen::patchHdrAndStringify( U32 attrType, U8 flags ) {
   size_t end = length();
   KEL_ASSERT_MSG( length() >= 4, "length() >= 4" );
   U32 len = clampedSize( end - 4 );
   // A three-octet header sits in octets 1-3; a four-octet one (long value,
   // or the caller's extended-length flag) fills octets 0-3.
   size_t start = ( len < 256 && !( flags & extLen ) ) ? 1 : 0;
   writePosIs( start );
   attrSize_ = len;
   reInitHdr( attrType, flags, len );
   writePosIs( end );
   return Serialize::serializedString( start );
}

std::string SerializePathAttributeAutoExtLen::serializeAttributeValue() const {
   return Serialize::serializedString( 4 );
}

SerializedBgpPrefixSidAttribute::SerializedBgpPrefixSidAttribute( PrefixSidTlvType tlvType,
                                                                  U16 length ) {
   addU8( tlvType );
   addU16hton( length );
}

} // namespace Routing::Bgp
