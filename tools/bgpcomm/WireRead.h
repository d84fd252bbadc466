// WireRead.h: a bounds-checked cursor for walking a record whose fields must
// all fit inside it, over the library's network-order loads.
//
//   WireCursor c( body );
//   U16 afi; if ( !c.u16( &afi ) ) return "record ends inside the AFI";
#pragma once

#include "Kel/Types.h"
#include "Routing/Bgp/NetworkOrder.h"

#include <span>

namespace Bgpcomm {

// loadU16() / loadU32() / loadU64(): the library's network-order loads under
// the tool's short names; the caller has checked the bounds.
inline U16 loadU16( const U8* p ) { return Routing::Bgp::loadU16ntoh( p ); }
inline U32 loadU32( const U8* p ) { return Routing::Bgp::loadU32ntoh( p ); }
inline U64 loadU64( const U8* p ) { return Routing::Bgp::loadU64ntoh( p ); }

// WireCursor: reads fields front to back; every read fails (returns false and
// leaves the cursor alone) when the field would run past the end.
class WireCursor {
 public:
   explicit WireCursor( std::span<const U8> data ) : data_( data ) {}

   size_t left() const { return data_.size() - pos_; }
   bool atEnd() const { return pos_ == data_.size(); }
   const U8* here() const { return data_.data() + pos_; }

   bool u8( U8* v ) {
      if ( left() < 1 )
         return false;
      *v = data_[ pos_++ ];
      return true;
   }
   bool u16( U16* v ) {
      if ( left() < 2 )
         return false;
      *v = loadU16( here() );
      pos_ += 2;
      return true;
   }
   bool u32( U32* v ) {
      if ( left() < 4 )
         return false;
      *v = loadU32( here() );
      pos_ += 4;
      return true;
   }
   bool bytes( size_t n, std::span<const U8>* v ) {
      if ( left() < n )
         return false;
      *v = data_.subspan( pos_, n );
      pos_ += n;
      return true;
   }
   bool skip( size_t n ) {
      if ( left() < n )
         return false;
      pos_ += n;
      return true;
   }
   std::span<const U8> rest() const { return data_.subspan( pos_ ); }

 private:
   std::span<const U8> data_;
   size_t pos_ = 0;
};

} // namespace Bgpcomm
