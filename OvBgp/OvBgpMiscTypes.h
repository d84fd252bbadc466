// OvBgp/OvBgpMiscTypes.h: two small value types of the attribute code.
// BgpMaybeU63 is a number below 2^63 that may be absent, with bounds that a
// derived type states through virtual min()/max(); BgpDenseU32Attr packs
// sixteen flags, four octets or two 16-bit halves into one word.
//
//   BgpExtCommPktSubtype sub( 2 ); if ( !sub.isUnspecified() ) { U64 n = sub; }
//   BgpDenseU32Attr flags; flags.valueBoolIs( 3, true ); U8 low = flags.valueU8( 0 );
#pragma once

#include <compare>
#include <iosfwd>
#include <limits>

#include "Kel/Assert.h"
#include "Kel/String.h"
#include "Kel/Types.h"

namespace Routing::Bgp {

// BgpMaybeU63(): an optional number. The word is the number itself when it is
// not negative; any negative word (bit 63 set) means unspecified. The base
// admits no number at all (min() 1 above max() 0): each derived type states
// its own bounds. A base constructor cannot reach the derived bounds, so a
// derived constructor that takes a number calls checkValue() itself.
class BgpMaybeU63 {
 public:
   // unspecifiedWord: the canonical unspecified word, 0x8000000000000000.
   static constexpr S64 unspecifiedWord = std::numeric_limits<S64>::min();

   BgpMaybeU63() noexcept = default;
   BgpMaybeU63( const BgpMaybeU63& ) noexcept = default;
   BgpMaybeU63& operator=( const BgpMaybeU63& ) noexcept = default;

   virtual U64 min() const noexcept { return 1; }
   virtual U64 max() const noexcept { return 0; }
   virtual U64 mappedUnspecifiedValue() const noexcept { return 0; }
   // Virtual so that derived values can sit in containers of either type.
   virtual ~BgpMaybeU63() = default;

   bool isUnspecified() const noexcept { return word_ < 0; }

   // value(), operator U64(): the number; an unspecified value is a broken
   // invariant, so callers test isUnspecified() first.
   U64 value() const noexcept {
      KEL_ASSERT_MSG(
            !isUnspecified() && "Caller must check isUnspecified() before getting value()",
            "!isUnspecified() && \"Caller must check "
            "isUnspecified() before getting value()\"" );
      return U64( word_ );
   }
   operator U64() const noexcept { return value(); }

   // valueWithUnspecifiedMapped(): the number, or mappedUnspecifiedValue().
   U64 valueWithUnspecifiedMapped() const noexcept {
      return isUnspecified() ? mappedUnspecifiedValue() : U64( word_ );
   }

   // word(): the raw word (negative when unspecified), for hashing and text.
   S64 word() const noexcept { return word_; }

   // valueIs(): sets the word, then checkValue(). A word with bit 63 set is
   // the unspecified state, which checkValue() lets pass.
   void valueIs( U64 number ) {
      word_ = S64( number );
      checkValue();
   }
   // valueDel(): back to unspecified.
   void valueDel() noexcept { word_ = unspecifiedWord; }

   // checkValue(): a specified number outside [min(), max()] leaves the value
   // unspecified and throws Kel::RangeException
   // "value < min or > max not allowed".
   void checkValue() {
      if ( word_ >= 0 && ( U64( word_ ) < min() || U64( word_ ) > max() ) ) {
         word_ = unspecifiedWord;
         throwOutOfBounds();
      }
   }

   // toStrep(): "-" when unspecified, else the number in decimal.
   Kel::String toStrep() const;

   // operator==(): unspecified values are equal to each other only.
   bool operator==( const BgpMaybeU63& other ) const noexcept {
      return isUnspecified() ? other.isUnspecified()
                             : !other.isUnspecified() && word_ == other.word_;
   }
   // operator<(): unspecified sorts before every number.
   bool operator<( const BgpMaybeU63& other ) const noexcept {
      if ( other.isUnspecified() ) {
         return false;
      }
      return isUnspecified() || U64( word_ ) < U64( other.word_ );
   }
   // operator<=>(): the same order, so that >, <= and >= never fall back to
   // the asserting conversion.
   std::weak_ordering operator<=>( const BgpMaybeU63& other ) const noexcept {
      if ( *this < other ) {
         return std::weak_ordering::less;
      }
      return other < *this ? std::weak_ordering::greater : std::weak_ordering::equivalent;
   }

 protected:
   // BgpMaybeU63( word ): stores the word unchecked; see the class comment.
   explicit BgpMaybeU63( S64 word ) noexcept : word_( word ) {}

 private:
   [[noreturn]] static void throwOutOfBounds();

   S64 word_ = unspecifiedWord;
};

// valueToStrep(), operator<<(), sequenceToValue(): the framework's text of
// the inner word and its parse. A parsed number is checked against the
// bounds of the value it is read into.
Kel::String valueToStrep( const BgpMaybeU63& value );
std::ostream& operator<<( std::ostream& os, const BgpMaybeU63& value );
void sequenceToValue( const char* begin, const char* end, BgpMaybeU63* value );

// BgpDenseU32Attr(): one word read and written as flags 0-15, octets 0-3 or
// halves 0-1; the views overlap (flag 8 is bit 0 of octet 1 and of half 0).
// An index outside a view raises Kel::RangeException named after the
// operation ("BgpDenseU32Attr::valueU8").
class BgpDenseU32Attr {
 public:
   constexpr BgpDenseU32Attr() noexcept = default;
   constexpr explicit BgpDenseU32Attr( U32 value ) noexcept : value_( value ) {}

   constexpr U32 value() const noexcept { return value_; }
   constexpr void valueIs( U32 value ) noexcept { value_ = value; }

   bool valueBool( U8 index ) const {
      if ( index > 15 ) {
         throwRange( "BgpDenseU32Attr::valueBool" );
      }
      return ( value_ >> index ) & 1u;
   }
   void valueBoolIs( U8 index, bool flag ) {
      if ( index > 15 ) {
         throwRange( "BgpDenseU32Attr::valueBoolIs" );
      }
      value_ = ( value_ & ~( 1u << index ) ) | ( U32( flag ) << index );
   }
   U8 valueU8( U8 index ) const {
      if ( index > 3 ) {
         throwRange( "BgpDenseU32Attr::valueU8" );
      }
      return U8( value_ >> ( 8 * index ) );
   }
   void valueU8Is( U8 index, U8 octet ) {
      if ( index > 3 ) {
         throwRange( "BgpDenseU32Attr::valueU8Is" );
      }
      unsigned shift = 8 * index;
      value_ = ( value_ & ~( 0xFFu << shift ) ) | ( U32( octet ) << shift );
   }
   U16 valueU16( U8 index ) const {
      if ( index > 1 ) {
         throwRange( "BgpDenseU32Attr::valueU16" );
      }
      return U16( value_ >> ( 16 * index ) );
   }
   void valueU16Is( U8 index, U16 half ) {
      if ( index > 1 ) {
         throwRange( "BgpDenseU32Attr::valueU16Is" );
      }
      unsigned shift = 16 * index;
      value_ = ( value_ & ~( 0xFFFFu << shift ) ) | ( U32( half ) << shift );
   }

   // valueBoolDel(), valueU8Del(), valueU16Del(): the views cannot be
   // deleted; always Kel::NonDeletableAttributeException.
   [[noreturn]] void valueBoolDel( U8 index );
   [[noreturn]] void valueU8Del( U8 index );
   [[noreturn]] void valueU16Del( U8 index );

   constexpr bool operator==( const BgpDenseU32Attr& ) const noexcept = default;
   constexpr auto operator<=>( const BgpDenseU32Attr& ) const noexcept = default;

 private:
   [[noreturn]] static void throwRange( const char* operation );

   U32 value_ = 0;
};

// valueToStrep(), operator<<(), sequenceToValue():
// Value('Routing::Bgp::BgpDenseU32Attr', ** {'value': 4660}) and its parse.
Kel::String valueToStrep( const BgpDenseU32Attr& value );
std::ostream& operator<<( std::ostream& os, const BgpDenseU32Attr& value );
void sequenceToValue( const char* begin, const char* end, BgpDenseU32Attr* value );

} // namespace Routing::Bgp
