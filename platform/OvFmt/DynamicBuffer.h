// OvFmt/DynamicBuffer.h: the character buffer every text form is built in.
// It starts in N octets of local storage and moves to the heap only when the
// text outgrows them, so short forms cost no allocation at all.
//
//   OvFmt::DynamicBuffer<64> buf;
//   buf.append( "RT:" ); buf.appendDecimal( asNumber ); return buf.str();
#pragma once

#include <cstddef>
#include <cstring>
#include <string_view>

#include "Kel/String.h"
#include "Kel/Types.h"

namespace OvFmt {

// DynamicBufferInterface: what formatters write into, whatever its local
// size. Growth goes to max(min(2 x used, 1024), used + needed) octets.
class DynamicBufferInterface {
 public:
   DynamicBufferInterface( const DynamicBufferInterface& ) = delete;
   DynamicBufferInterface& operator=( const DynamicBufferInterface& ) = delete;

   // reserve(): room for n more characters; returns where they go. Commit
   // what was written with commit().
   char* reserve( size_t n ) {
      if ( size_t( end_ - write_ ) < n ) {
         grow( n );
      }
      return write_;
   }
   void commit( size_t n ) noexcept { write_ += n; }

   void append( char c ) {
      reserve( 1 );
      *write_++ = c;
   }
   // append( text ): text may be a view of this buffer's own contents.
   void append( std::string_view text ) {
      if ( size_t( end_ - write_ ) < text.size() ) {
         appendGrowing( text );
         return;
      }
      // An empty view may have no data at all, which memcpy must not get.
      if ( !text.empty() ) {
         std::memcpy( write_, text.data(), text.size() );
         write_ += text.size();
      }
   }
   // appendDecimal(): no padding, no leading zeros.
   void appendDecimal( U64 value );
   // appendHex(): lower-case, zero-filled to exactly `digits` digits.
   void appendHex( U64 value, unsigned digits );

   size_t size() const noexcept { return size_t( write_ - begin_ ); }
   size_t capacity() const noexcept { return size_t( end_ - begin_ ); }
   bool onHeap() const noexcept { return begin_ != local_; }
   bool empty() const noexcept { return write_ == begin_; }
   const char* data() const noexcept { return begin_; }
   std::string_view view() const noexcept { return std::string_view( begin_, size() ); }
   Kel::String str() const { return Kel::String( begin_, size() ); }
   void clear() noexcept { write_ = begin_; }

 protected:
   DynamicBufferInterface( char* local, size_t size ) noexcept
         : begin_( local ), write_( local ), end_( local + size ), local_( local ) {}
   ~DynamicBufferInterface();

 private:
   void grow( size_t needed );
   void appendGrowing( std::string_view text );

   char* begin_;
   char* write_;
   char* end_;
   char* local_;
};

// DynamicBuffer<N>: a buffer with N octets of local storage.
template<size_t N>
class DynamicBuffer final : public DynamicBufferInterface {
 public:
   DynamicBuffer() noexcept : DynamicBufferInterface( local_, N ) {}

 private:
   char local_[ N ];
};

// decimalDigits(): how many digits value has in decimal.
inline unsigned decimalDigits( U64 value ) noexcept {
   if ( value < 10 ) {
      return 1;
   }
   unsigned digits = 2;
   while ( value >= 100 ) {
      value /= 10;
      ++digits;
   }
   return digits;
}

// writeDecimal(): value's digits into out (which has decimalDigits(value)
// octets of room), written from the right; returns the digit count.
unsigned writeDecimal( char* out, U64 value ) noexcept;

} // namespace OvFmt
