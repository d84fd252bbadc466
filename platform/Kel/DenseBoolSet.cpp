#include "Kel/DenseBoolSet.h"

#include "Kel/Strep.h"

namespace Kel {

U8 denseBoolSetChecked( unsigned octet, unsigned bits ) {
   const unsigned max = ( 1u << bits ) - 1;
   if ( octet > max ) {
      throw RangeException( "Kel::DenseBoolSet: value " + std::to_string( octet ) + " > " +
                            std::to_string( max ) + " not allowed" );
   }
   return U8( octet );
}

String denseBoolSetStrep( std::string_view qualifiedName, std::span<const std::string_view> names,
                          U8 value ) {
   StrepWriter writer( qualifiedName );
   for ( size_t i = 0; i < names.size(); ++i ) {
      writer.attr( names[ i ], valueToStrep( bool( ( value >> i ) & 1 ) ) );
   }
   return writer.str();
}

U8 denseBoolSetParse( std::string_view qualifiedName, std::span<const std::string_view> names,
                      const char* begin, const char* end ) {
   StrepReader reader( begin, end );
   reader.open( qualifiedName );
   unsigned value = 0;
   for ( size_t i = 0; i < names.size(); ++i ) {
      if ( reader.field<bool>( names[ i ] ) ) {
         value |= 1u << i;
      }
   }
   reader.close();
   return U8( value );
}

} // namespace Kel
