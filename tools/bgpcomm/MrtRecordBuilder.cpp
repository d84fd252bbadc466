#include "tools/bgpcomm/MrtRecordBuilder.h"

namespace Bgpcomm {

void MrtRecordBuilder::beginRecord( U32 timestamp, U16 type, U16 subtype ) {
   recordStart_ = buf_.size();
   u32( timestamp );
   u16( type );
   u16( subtype );
   u32( 0 );
}

void MrtRecordBuilder::endRecord() {
   U32 length = U32( buf_.size() - recordStart_ - 12 );
   U8* p = buf_.data() + recordStart_ + 8;
   p[ 0 ] = U8( length >> 24 );
   p[ 1 ] = U8( length >> 16 );
   p[ 2 ] = U8( length >> 8 );
   p[ 3 ] = U8( length );
}

void MrtRecordBuilder::u16( U16 v ) {
   buf_.push_back( U8( v >> 8 ) );
   buf_.push_back( U8( v ) );
}

void MrtRecordBuilder::u32( U32 v ) {
   u16( U16( v >> 16 ) );
   u16( U16( v ) );
}

void MrtRecordBuilder::u64( U64 v ) {
   u32( U32( v >> 32 ) );
   u32( U32( v ) );
}

size_t MrtRecordBuilder::beginLength16() {
   size_t mark = buf_.size();
   u16( 0 );
   return mark;
}

void MrtRecordBuilder::endLength16( size_t mark ) {
   size_t length = buf_.size() - mark - 2;
   buf_[ mark ] = U8( length >> 8 );
   buf_[ mark + 1 ] = U8( length );
}

void MrtRecordBuilder::attribute( U8 flags, U8 type, std::span<const U8> value,
                                  bool forceExtended ) {
   bool extended = forceExtended || value.size() > 255;
   u8( extended ? U8( flags | 0x10 ) : U8( flags & ~0x10 ) );
   u8( type );
   if ( extended ) {
      u16( U16( value.size() ) );
   } else {
      u8( U8( value.size() ) );
   }
   bytes( value );
}

void MrtRecordBuilder::prefix( std::span<const U8> address, unsigned bits ) {
   u8( U8( bits ) );
   bytes( address.first( ( bits + 7 ) / 8 ) );
}

} // namespace Bgpcomm
