#include "OvBgp/RouteTargetPrefix.h"

#include <bit>
#include <ostream>

#include "Kel/Assert.h"
#include "Kel/Exception.h"
#include "Kel/Hash.h"
#include "Kel/Strep.h"

namespace Routing::Bgp {

namespace {

constexpr const char* qualifiedName = "Routing::Bgp::RouteTargetPrefix";

// Leading-ones mask of n bits; n above 64 (a length left behind by a failed
// bitlenIs()) counts as 64 rather than shifting by a negative amount.
constexpr U64 leadingMask( size_t n ) {
   if ( n == 0 ) {
      return 0;
   }
   return n >= 64 ? ~U64( 0 ) : ~U64( 0 ) << ( 64 - n );
}

} // namespace

RouteTargetPrefix::RouteTargetPrefix( RouteTarget prefix, size_t length ) : prefix_( prefix ) {
   if ( length > maxLength ) {
      throw Kel::RangeException( lengthRangeMessage );
   }
   length_ = U8( length );
}

void RouteTargetPrefix::bitlenIs( size_t bitlen ) {
   KEL_ASSERT_MSG( 0 == ( bitlen >> 8 ), "0 == ( bitlen >> 8 )" );
   // Stored before the check on purpose: callers rely on seeing the length
   // they asked for even when it is refused.
   if ( bitlen != length_ ) {
      length_ = U8( bitlen );
   }
   if ( bitlen > maxLength ) {
      throw Kel::RangeException( lengthRangeMessage );
   }
   prefix_ = RouteTarget( prefixBits() & leadingMask( bitlen ) );
}

U64 RouteTargetPrefix::mask( size_t ) const { return leadingMask( length_ ); }

size_t RouteTargetPrefix::commonPrefixLen( const RouteTargetPrefix& other ) const {
   const size_t shorter = length_ < other.length_ ? length_ : other.length_;
   const U64 differ = prefixBits() ^ other.prefixBits();
   if ( differ == 0 ) {
      return shorter;
   }
   const size_t agree = size_t( std::countl_zero( differ ) );
   return agree < shorter ? agree : shorter;
}

U32 RouteTargetPrefix::hash( U32 seed ) const {
   return Kel::HashState( seed )
         .mix( Kel::hashSingleAttr( 0, prefixBits() ) )
         .mix( length_ )
         .result();
}

Kel::String RouteTargetPrefix::toStrep( bool asDot ) const {
   if ( length_ == 0 && prefixBits() == 0 ) {
      return "0/0";
   }
   Kel::String text = prefix_.toStrep( asDot );
   text += '/';
   text += std::to_string( unsigned( length_ ) );
   return text;
}

Kel::String valueToStrep( const RouteTargetPrefix& value ) {
   return Kel::StrepWriter( qualifiedName )
         .attr( "prefix", value.prefix().toStrep( false ) )
         .attr( "length", Kel::valueToStrep( unsigned( value.bitlen() ) ) )
         .str();
}

std::ostream& operator<<( std::ostream& os, const RouteTargetPrefix& value ) {
   return os << valueToStrep( value );
}

void sequenceToValue( const char* begin, const char* end, RouteTargetPrefix* value ) {
   Kel::StrepReader reader( begin, end );
   reader.open( qualifiedName );
   const std::string_view prefixText = reader.fieldText( "prefix" );
   RouteTarget prefix;
   try {
      prefix = RouteTarget::fromStrep( prefixText );
   } catch ( const Kel::RangeException& e ) {
      throw Kel::ParseException( "prefix", e.what() );
   }
   // Wide enough that any decimal length reaches the range check below.
   const U64 length = reader.field<U64>( "length" );
   reader.close();
   if ( length > RouteTargetPrefix::maxLength ) {
      throw Kel::RangeException( RouteTargetPrefix::lengthRangeMessage );
   }
   *value = RouteTargetPrefix( prefix, size_t( length ) );
}

void strepToValue( const Kel::String& text, RouteTargetPrefix* value ) {
   sequenceToValue( text.data(), text.data() + text.size(), value );
}

} // namespace Routing::Bgp

size_t std::hash<Routing::Bgp::RouteTargetPrefix>::operator()(
      const Routing::Bgp::RouteTargetPrefix& value ) const noexcept {
   return value.hash( Kel::hashSeed() );
}
