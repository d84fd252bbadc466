#include "tools/bgpcomm/MrtRecordBuilder.h"

#include "OvBgp/OvBgpSerialize.h"

namespace Bgpcomm {

template<class T>
void MrtRecordBuilder::patch( size_t offset, T v ) {
   const size_t end = buf_.length();
   buf_.writePosIs( offset );
   if constexpr ( sizeof( T ) == 2 ) {
      buf_.addU16hton( v );
   } else {
      buf_.addU32hton( v );
   }
   buf_.writePosIs( end );
}

void MrtRecordBuilder::beginRecord( U32 timestamp, U16 type, U16 subtype ) {
   recordStart_ = size();
   u32( timestamp );
   u16( type );
   u16( subtype );
   u32( 0 );
}

void MrtRecordBuilder::endRecord() { patch( recordStart_ + 8, U32( size() - recordStart_ - 12 ) ); }

size_t MrtRecordBuilder::beginLength16() {
   size_t mark = size();
   u16( 0 );
   return mark;
}

void MrtRecordBuilder::endLength16( size_t mark ) { patch( mark, U16( size() - mark - 2 ) ); }

void MrtRecordBuilder::attribute( U8 flags, U8 type, std::span<const U8> value ) {
   Routing::Bgp::addPathAttribute( buf_, type, flags, value );
}

void MrtRecordBuilder::prefix( std::span<const U8> address, unsigned bits ) {
   u8( U8( bits ) );
   bytes( address.first( ( bits + 7 ) / 8 ) );
}

} // namespace Bgpcomm
