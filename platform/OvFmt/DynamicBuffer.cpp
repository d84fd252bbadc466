#include "OvFmt/DynamicBuffer.h"

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <new>

#include "Kel/Assert.h"

namespace OvFmt {

namespace {

constexpr char kDigitPairs[] =
      "00010203040506070809101112131415161718192021222324252627282930313233343536373839"
      "40414243444546474849505152535455565758596061626364656667686970717273747576777879"
      "8081828384858687888990919293949596979899";

constexpr char kHexDigits[] = "0123456789abcdef";

} // namespace

unsigned writeDecimal( char* out, U64 value ) noexcept {
   unsigned digits = decimalDigits( value );
   char* p = out + digits;
   while ( value >= 100 ) {
      unsigned pair = unsigned( value % 100 ) * 2;
      value /= 100;
      *--p = kDigitPairs[ pair + 1 ];
      *--p = kDigitPairs[ pair ];
   }
   if ( value >= 10 ) {
      unsigned pair = unsigned( value ) * 2;
      *--p = kDigitPairs[ pair + 1 ];
      *--p = kDigitPairs[ pair ];
   } else {
      *--p = char( '0' + value );
   }
   return digits;
}

void DynamicBufferInterface::appendDecimal( U64 value ) {
   // Reserve exactly the digits so that a nearly full local buffer is not
   // pushed to the heap by a short number.
   unsigned digits = decimalDigits( value );
   writeDecimal( reserve( digits ), value );
   commit( digits );
}

void DynamicBufferInterface::appendHex( U64 value, unsigned digits ) {
   char* out = reserve( digits );
   for ( unsigned i = digits; i > 0; --i ) {
      out[ i - 1 ] = kHexDigits[ value & 0xF ];
      value >>= 4;
   }
   commit( digits );
}

DynamicBufferInterface::~DynamicBufferInterface() {
   if ( begin_ != local_ ) {
      std::free( begin_ );
   }
}

void DynamicBufferInterface::appendGrowing( std::string_view text ) {
   // Growing frees the old storage, which text may be part of.
   const char* from = text.data();
   const bool inside =
         std::less_equal<const char*>()( begin_, from ) && std::less<const char*>()( from, write_ );
   const size_t offset = inside ? size_t( from - begin_ ) : 0;
   grow( text.size() );
   if ( inside ) {
      from = begin_ + offset;
   }
   std::memcpy( write_, from, text.size() );
   write_ += text.size();
}

void DynamicBufferInterface::grow( size_t needed ) {
   size_t used = size();
   size_t capacity = std::max( std::min( 2 * used, size_t( 1024 ) ), used + needed );
   char* fresh = static_cast<char*>( std::malloc( capacity ) );
   if ( !fresh ) {
      throw std::bad_alloc();
   }
   std::memcpy( fresh, begin_, used );
   if ( begin_ != local_ ) {
      std::free( begin_ );
   }
   begin_ = fresh;
   write_ = fresh + used;
   end_ = fresh + capacity;
   KEL_ASSERT_SOURCE_MSG( end_ - write_ >= ptrdiff_t( needed ),
                          "endPtr - writePtr >= ptrdiff_t( required )", "OvStrings/StringBuffer" );
}

} // namespace OvFmt
