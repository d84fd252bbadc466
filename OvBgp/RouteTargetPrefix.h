// OvBgp/RouteTargetPrefix.h: the leading `length` bits (0 to 64) of a route
// target's 64-bit value, with the bit operations a binary prefix tree over
// route targets needs (bit extraction, mask, common prefix length), ordering,
// hashing and text forms. Bit 0 is the most significant bit; length 0 covers
// every route target.
//
//   Routing::Bgp::RouteTargetPrefix p( Routing::Bgp::RouteTarget( 0x0002FDE800000064 ), 64 );
//   p.bitlenIs( 16 );  bool b = p.extractBit( 14 );  Kel::String s = p.toStrep( false );
#pragma once

#include <compare>
#include <cstddef>
#include <functional>
#include <iosfwd>

#include "Kel/String.h"
#include "Kel/Types.h"
#include "Routing/Bgp/RouteTarget.h"

namespace Routing::Bgp {

// RouteTargetPrefix(): a small value type. The two-argument constructor
// stores the prefix as given, bits beyond the length included; bitlenIs()
// clears them. Values compare as stored.
class RouteTargetPrefix {
 public:
   // maxLength: the longest prefix, a whole route target.
   static constexpr size_t maxLength = 64;
   // lengthRangeMessage: what() of the range error for a length above 64.
   static constexpr const char* lengthRangeMessage =
         "Routing::Bgp::RouteTargetPrefix::length < 0 or > 64 not allowed";

   // The default covers every route target: prefix 0, length 0.
   constexpr RouteTargetPrefix() = default;
   // A length above 64 throws Kel::RangeException( lengthRangeMessage ).
   RouteTargetPrefix( RouteTarget prefix, size_t length );

   // prefix() / prefixBits(): the route target as stored, and its 64 bits.
   constexpr RouteTarget prefix() const { return prefix_; }
   constexpr U64 prefixBits() const { return prefix_.value(); }

   // bitlen(): the number of leading bits that count.
   constexpr size_t bitlen() const { return length_; }

   // bitlenIs(): set the length and clear the bits after it. n of 256 or more
   // is a broken invariant. A length above 64 throws the range error after it
   // has been stored, and the prefix is then left unmasked.
   void bitlenIs( size_t n );

   // mask(): the mask of this value's own length (all ones in the leading
   // `length` bits); the argument is ignored, as prefix-tree callers expect.
   U64 mask( size_t ignored ) const;

   // extractBit(): bit i counted from the most significant, i modulo 64.
   constexpr bool extractBit( size_t i ) const {
      return ( prefixBits() >> ( 63 - ( i % 64 ) ) ) & 1;
   }

   // commonPrefixLen(): the number of leading bits both share, at most the
   // shorter length.
   size_t commonPrefixLen( const RouteTargetPrefix& other ) const;

   // operator== / operator<: both fields; order by the 64-bit value as an
   // unsigned number, then by length.
   constexpr bool operator==( const RouteTargetPrefix& ) const = default;
   constexpr std::strong_ordering operator<=>( const RouteTargetPrefix& other ) const {
      if ( auto c = prefixBits() <=> other.prefixBits(); c != 0 ) {
         return c;
      }
      return length_ <=> other.length_;
   }

   // hash(): the value's own hash mixed into a state started from seed,
   // then the length.
   U32 hash( U32 seed ) const;

   // toStrep(): "0/0" for the empty prefix, else the route target's text,
   // "/" and the length.
   Kel::String toStrep( bool asDot ) const;

 private:
   RouteTarget prefix_;
   U8 length_ = 0;
};

// valueToStrep(): "Value('Routing::Bgp::RouteTargetPrefix', ** {'prefix':
// <route target text>, 'length': <n>})".
Kel::String valueToStrep( const RouteTargetPrefix& value );

// operator<<(): valueToStrep().
std::ostream& operator<<( std::ostream& os, const RouteTargetPrefix& value );

// sequenceToValue() / strepToValue(): read valueToStrep()'s shape back.
// Malformed text throws Kel::ParseException naming the attribute ("prefix"
// for a route target that does not parse); a length above 64 throws
// Kel::RangeException( lengthRangeMessage ) once the whole text has been read.
void sequenceToValue( const char* begin, const char* end, RouteTargetPrefix* value );
void strepToValue( const Kel::String& text, RouteTargetPrefix* value );

} // namespace Routing::Bgp

// std::hash<Routing::Bgp::RouteTargetPrefix>(): hash() under the process seed.
template<>
struct std::hash<Routing::Bgp::RouteTargetPrefix> {
   size_t operator()( const Routing::Bgp::RouteTargetPrefix& value ) const noexcept;
};
