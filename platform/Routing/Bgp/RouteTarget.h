// Routing/Bgp/RouteTarget.h: the 64-bit content of a route-target extended
// community (RFC 4360, RFC 5668), wire octets most significant first: the
// type octet in bits 63..56, the subtype (0x02 for a route target) in
// 55..48, then the administrator and local fields. Text follows the type:
//   type 0x00  "AS:local"        16-bit AS, 32-bit local
//   type 0x01  "a.b.c.d:local"   IPv4 administrator, 16-bit local
//   type 0x02  "AS:local"        32-bit AS, 16-bit local; an AS below 65536
//                                gets a trailing "L" ("100L:5") so it does
//                                not read as type 0x00; with asDot an AS of
//                                65536 or more prints as "high.low"
//   otherwise  "0x" and the 16 hex digits of the whole value.
// fromStrep() reads every one of these forms back to the same value.
//
//   Routing::Bgp::RouteTarget rt = Routing::Bgp::RouteTarget::fromStrep( "65000:100" );
//   Kel::String text = rt.toStrep( false ); // "65000:100"
#pragma once

#include "Kel/Hash.h"
#include "Kel/String.h"
#include "Kel/Types.h"

#include <compare>
#include <functional>
#include <iosfwd>
#include <string_view>

namespace Routing::Bgp {

// RouteTarget(): a plain 64-bit value; ordered and hashed by that value.
class RouteTarget {
 public:
   static constexpr U8 subtypeRouteTarget = 0x02;
   static constexpr U8 typeTwoOctetAs = 0x00;
   static constexpr U8 typeIpv4 = 0x01;
   static constexpr U8 typeFourOctetAs = 0x02;

   constexpr RouteTarget() = default;
   constexpr explicit RouteTarget( U64 value ) : value_( value ) {}

   // fromStrep(): any form toStrep() writes, with or without asDot; anything
   // else throws Kel::RangeException saying what was wrong.
   static RouteTarget fromStrep( std::string_view text );

   constexpr U64 value() const { return value_; }
   constexpr U8 typeOctet() const { return U8( value_ >> 56 ); }
   constexpr U8 subtypeOctet() const { return U8( value_ >> 48 ); }

   // toStrep(): the text form by type octet (see above).
   Kel::String toStrep( bool asDot ) const;

   constexpr bool operator==( const RouteTarget& ) const = default;
   constexpr std::strong_ordering operator<=>( const RouteTarget& ) const = default;

 private:
   U64 value_ = 0;
};

// operator<<(): toStrep( false ).
std::ostream& operator<<( std::ostream& os, const RouteTarget& rt );

} // namespace Routing::Bgp

// std::hash<Routing::Bgp::RouteTarget>(): the value, well mixed.
template<>
struct std::hash<Routing::Bgp::RouteTarget> {
   size_t operator()( const Routing::Bgp::RouteTarget& rt ) const noexcept {
      return Kel::hashSingleAttr( 0, rt.value() );
   }
};
