// OvBgp/OvBgpSerialize.h: writing a path attribute: flags octet, type octet,
// then a one-octet length, or a two-octet one when the value is longer than
// 255 octets or the caller sets the extended-length flag (0x10).
// SerializePathAttribute writes the header first for a value of known
// length; SerializePathAttributeAutoExtLen leaves room for it and patches it
// in once the value is written; serializedPathAttribute() builds a whole
// attribute in one string, the form the community lists use;
// addPathAttribute() appends one to a buffer of several.
//
//   std::string wire = serializedPathAttribute( community, optionalTransitive, 4 * n,
//                                               [ & ]( U8* out ) { ... write n values ... } );
#pragma once

#include <cstring>
#include <span>
#include <string>
#include <string_view>

#include "Kel/Types.h"
#include "OvBgp/BgpPathAttributeEnums.h"
#include "Routing/Bgp/Serialize.h"

namespace Routing::Bgp {

// writePathAttributeHeader(): writes the header to out (room for 4 octets)
// and returns its size. Values over 255 octets get the extended-length flag
// forced on; a flag set by the caller is honoured, never cleared. Asserts
// "attrType <= 0xFF" and "attrSize <= 0xFFFF".
U32 writePathAttributeHeader( U8* out, U32 attrType, U8 flags, U32 attrSize ) noexcept;

// The values inside an attribute are written with storeU16hton() ..
// storeU64hton() and read with loadU16ntoh() .. loadU64ntoh() of
// Routing/Bgp/NetworkOrder.h, which Serialize.h brings in.

// addPathAttribute(): appends header and value to out, where attributes
// follow each other (an UPDATE's or a RIB entry's attribute field).
void addPathAttribute( Serialize& out, U32 attrType, U8 flags, std::span<const U8> value );

// serializedPathAttribute(): the whole attribute in one string, allocated
// once: the header, then the value, which fill( U8* out ) writes in place
// (exactly attrSize octets).
template<class Fill>
std::string serializedPathAttribute( U32 attrType, U8 flags, U32 attrSize, Fill&& fill ) {
   U8 header[ 4 ];
   U32 headerSize = writePathAttributeHeader( header, attrType, flags, attrSize );
   std::string wire( size_t( headerSize ) + attrSize, '\0' );
   U8* out = reinterpret_cast<U8*>( wire.data() );
   std::memcpy( out, header, headerSize );
   fill( out + headerSize );
   return wire;
}
// serializedPathAttribute(): the same for a value already in wire form.
std::string serializedPathAttribute( U32 attrType, U8 flags, std::string_view value );

// SerializePathAttribute(): a buffer that starts with the header of an
// attribute whose value length (attrSize) is known; the caller appends the
// value. Not copyable, like its base.
class SerializePathAttribute : public Serialize {
 public:
   SerializePathAttribute( U32 attrType, U8 flags, U32 attrSize );

   // clearAndReInit(): empty again (capacity for the whole attribute), then
   // the header for the new type, flags and size.
   void clearAndReInit( U32 attrType, U8 flags, U32 attrSize );
   // reInitHdr(): writes the header at writePos() and sets headerSize_.
   void reInitHdr( U32 attrType, U8 flags, U32 attrSize );

   // serializedString(): header and value; asserts
   // "serialized.size() == attrSize_ + headerSize_".
   std::string serializedString() const;

   U32 headerSize() const noexcept { return headerSize_; }
   U32 attrSize() const noexcept { return attrSize_; }

 protected:
   U32 headerSize_ = 0;
   U32 attrSize_ = 0;
};

// SerializePathAttributeAutoExtLen(): for a value whose length is not known
// beforehand. The constructor reserves four octets; the caller appends the
// value, then patchHdrAndStringify() writes the header so that it ends where
// the value begins (three octets from offset 1, or four from offset 0), and
// returns header plus value. No value octet moves.
class SerializePathAttributeAutoExtLen : public SerializePathAttribute {
 public:
   SerializePathAttributeAutoExtLen();

   // patchHdrAndStringify(): the finished attribute. Flags with 0x10 set get
   // the four-octet header even for a short value.
   std::string patchHdrAndStringify( U32 attrType, U8 flags );
   // serializeAttributeValue(): the value alone (from offset 4).
   std::string serializeAttributeValue() const;
};

// SerializedBgpPrefixSidAttribute(): one Prefix-SID TLV: the type octet and
// the 16-bit length, then what the caller appends.
class SerializedBgpPrefixSidAttribute : public Serialize {
 public:
   SerializedBgpPrefixSidAttribute( PrefixSidTlvType tlvType, U16 length );
};

} // namespace Routing::Bgp
