// Kel/DenseBoolSet.h: up to eight named flags packed into one octet, with the
// reflective text of the set. The library's format and attribute sets are
// built on it; an octet with a bit beyond the set's width is a range error.
//
//   static constexpr std::string_view names[] = { "sorted", "hasPrunableValues" };
//   Kel::String text = Kel::denseBoolSetStrep( "Ns::Attrs", names, attrs.value() );
#pragma once

#include <span>
#include <string_view>

#include "Kel/Exception.h"
#include "Kel/String.h"
#include "Kel/Types.h"

namespace Kel {

// denseBoolSetChecked(): octet itself when it fits in bits, else throws
// RangeException "Kel::DenseBoolSet: value <octet> > <max> not allowed".
U8 denseBoolSetChecked( unsigned octet, unsigned bits );

// denseBoolSetStrep(): Value('<name>', ** {'<flag0>': True, ...}), flag 0
// being bit 0.
String denseBoolSetStrep( std::string_view qualifiedName, std::span<const std::string_view> names,
                          U8 value );

// denseBoolSetParse(): reads exactly that form back; ParseException names
// the flag that failed.
U8 denseBoolSetParse( std::string_view qualifiedName, std::span<const std::string_view> names,
                      const char* begin, const char* end );

// DenseBoolSet<Bits>: the packed octet with per-bit access.
template<unsigned Bits>
class DenseBoolSet {
   static_assert( Bits >= 1 && Bits <= 8 );

 public:
   static constexpr unsigned kMax = ( 1u << Bits ) - 1;

   constexpr DenseBoolSet() noexcept = default;
   explicit DenseBoolSet( unsigned octet ) : value_( denseBoolSetChecked( octet, Bits ) ) {}

   constexpr U8 value() const noexcept { return value_; }
   constexpr bool bit( unsigned index ) const noexcept { return ( value_ >> index ) & 1; }
   constexpr void bitIs( unsigned index, bool on ) noexcept {
      value_ = U8( on ? ( value_ | ( 1u << index ) ) : ( value_ & ~( 1u << index ) ) );
   }
   constexpr bool operator==( const DenseBoolSet& ) const noexcept = default;

 private:
   U8 value_ = 0;
};

} // namespace Kel
