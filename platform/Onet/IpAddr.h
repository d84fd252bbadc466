// Onet/IpAddr.h: an IPv4 address as a host-order 32-bit value, with dotted
// text both ways. Printing writes into a caller's buffer, so hot paths print
// without allocating; parsing is strict (four decimal octets, no leading
// zeros) and says what it expected and where when it fails.
//
//   Onet::IpAddr addr = Onet::IpAddr::parse( "192.0.2.1" );
//   char buf[ Onet::IpAddr::maxTextLength ]; size_t n = addr.toChars( buf );
#pragma once

#include "Kel/String.h"
#include "Kel/Types.h"

#include <compare>
#include <cstddef>
#include <functional>
#include <iosfwd>
#include <string_view>

namespace Onet {

// IpAddr(): value semantics; the default is 0.0.0.0.
class IpAddr {
 public:
   // maxTextLength: "255.255.255.255", the most toChars() writes.
   static constexpr size_t maxTextLength = 15;

   constexpr IpAddr() = default;
   constexpr explicit IpAddr( U32 hostOrder ) : value_( hostOrder ) {}
   constexpr IpAddr( U8 a, U8 b, U8 c, U8 d )
         : value_( U32( a ) << 24 | U32( b ) << 16 | U32( c ) << 8 | U32( d ) ) {}

   // parse(): dotted-quad text; anything else throws Kel::ParseException
   // with attribute "address".
   static IpAddr parse( std::string_view text );
   // tryParse(): the same rules without the exception; *out is untouched on
   // failure.
   static bool tryParse( std::string_view text, IpAddr* out ) noexcept;

   // value(): host order, so 192.0.2.1 is 0xC0000201.
   constexpr U32 value() const { return value_; }

   // toChars(): writes the dotted text (no terminator) to out, which has room
   // for maxTextLength characters; returns the number written.
   size_t toChars( char* out ) const noexcept;
   Kel::String toString() const;

   constexpr bool operator==( const IpAddr& ) const = default;
   constexpr std::strong_ordering operator<=>( const IpAddr& ) const = default;

 private:
   U32 value_ = 0;
};

// operator<<(): the dotted text.
std::ostream& operator<<( std::ostream& os, IpAddr addr );

} // namespace Onet

// std::hash<Onet::IpAddr>(): mixed, so that addresses differing only in their
// low octets spread over a power-of-two table.
template<>
struct std::hash<Onet::IpAddr> {
   size_t operator()( Onet::IpAddr addr ) const noexcept {
      U64 x = addr.value();
      x *= 0x9E3779B97F4A7C15ull;
      return size_t( x ^ ( x >> 29 ) );
   }
};
