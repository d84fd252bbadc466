// Onet/Ip6Addr.h: an IPv6 address as its 16 octets in network order. Text
// out follows RFC 5952 (lower case, no leading zeros, the longest run of two
// or more zero groups shown as "::", IPv4-mapped addresses as
// ::ffff:a.b.c.d); text in accepts every RFC 4291 form. Addresses order by
// their octets, which is numeric order. Only IPv4-mapped addresses print
// dotted: glibc's inet_ntop also prints the deprecated IPv4-compatible form
// (first six groups zero, seventh not) as "::192.0.2.1", where this prints
// "::c000:201" as RFC 5952 asks.
//
//   Onet::Ip6Addr addr = Onet::Ip6Addr::parse( "2001:db8::1" );
//   char buf[ Onet::Ip6Addr::maxTextLength ]; size_t n = addr.toChars( buf );
#pragma once

#include "Kel/String.h"
#include "Kel/Types.h"

#include <array>
#include <compare>
#include <cstddef>
#include <cstring>
#include <functional>
#include <iosfwd>
#include <string_view>

namespace Onet {

// Ip6Addr(): value semantics; the default is "::".
class Ip6Addr {
 public:
   using Octets = std::array<U8, 16>;

   // maxTextLength: eight full groups and seven colons, the most toChars()
   // writes (a mapped address is at most 22 characters).
   static constexpr size_t maxTextLength = 39;

   constexpr Ip6Addr() = default;
   constexpr explicit Ip6Addr( const Octets& octets ) : octets_( octets ) {}
   // Ip6Addr( const U8* ): copies 16 octets, as found on the wire.
   explicit Ip6Addr( const U8* networkOrder ) { std::memcpy( octets_.data(), networkOrder, 16 ); }

   // parse(): any RFC 4291 text form, without a zone; anything else throws
   // Kel::ParseException with attribute "address".
   static Ip6Addr parse( std::string_view text );
   // tryParse(): the same rules without the exception; *out is untouched on
   // failure.
   static bool tryParse( std::string_view text, Ip6Addr* out ) noexcept;

   constexpr const Octets& octets() const { return octets_; }
   const U8* data() const { return octets_.data(); }
   // group(): the i-th 16-bit group, 0 to 7, in host order.
   constexpr U16 group( int i ) const {
      return U16( octets_[ 2 * i ] << 8 | octets_[ 2 * i + 1 ] );
   }
   // isIpv4Mapped(): in ::ffff:0:0/96.
   bool isIpv4Mapped() const;

   // toChars(): writes the RFC 5952 text (no terminator) to out, which has
   // room for maxTextLength characters; returns the number written.
   size_t toChars( char* out ) const noexcept;
   Kel::String toString() const;

   constexpr bool operator==( const Ip6Addr& ) const = default;
   constexpr std::strong_ordering operator<=>( const Ip6Addr& ) const = default;

 private:
   Octets octets_{};
};

// operator<<(): the RFC 5952 text.
std::ostream& operator<<( std::ostream& os, const Ip6Addr& addr );

} // namespace Onet

// std::hash<Onet::Ip6Addr>(): both halves mixed, so that addresses differing
// in any octet spread.
template<>
struct std::hash<Onet::Ip6Addr> {
   size_t operator()( const Onet::Ip6Addr& addr ) const noexcept {
      U64 hi;
      U64 lo;
      std::memcpy( &hi, addr.data(), 8 );
      std::memcpy( &lo, addr.data() + 8, 8 );
      U64 x = ( hi ^ ( lo * 0x9E3779B97F4A7C15ull ) ) * 0xC2B2AE3D27D4EB4Full;
      return size_t( x ^ ( x >> 31 ) );
   }
};
