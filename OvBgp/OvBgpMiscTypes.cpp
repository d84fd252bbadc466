#include "OvBgp/OvBgpMiscTypes.h"

#include <ostream>

#include "Kel/Exception.h"
#include "Kel/Strep.h"

namespace Routing::Bgp {

void BgpMaybeU63::throwOutOfBounds() {
   throw Kel::RangeException( "value < min or > max not allowed" );
}

Kel::String BgpMaybeU63::toStrep() const {
   return isUnspecified() ? Kel::String( "-" ) : std::to_string( U64( word_ ) );
}

Kel::String valueToStrep( const BgpMaybeU63& value ) { return Kel::valueToStrep( value.word() ); }

std::ostream& operator<<( std::ostream& os, const BgpMaybeU63& value ) {
   return os << value.word();
}

void sequenceToValue( const char* begin, const char* end, BgpMaybeU63* value ) {
   S64 word;
   Kel::sequenceToValue( begin, end, &word );
   if ( word < 0 ) {
      value->valueDel();
   } else {
      value->valueIs( U64( word ) );
   }
}

void BgpDenseU32Attr::throwRange( const char* operation ) {
   throw Kel::RangeException( operation );
}

void BgpDenseU32Attr::valueBoolDel( U8 ) {
   throw Kel::NonDeletableAttributeException( "BgpDenseU32Attr::valueBoolDel" );
}

void BgpDenseU32Attr::valueU8Del( U8 ) {
   throw Kel::NonDeletableAttributeException( "BgpDenseU32Attr::valueU8Del" );
}

void BgpDenseU32Attr::valueU16Del( U8 ) {
   throw Kel::NonDeletableAttributeException( "BgpDenseU32Attr::valueU16Del" );
}

namespace {
constexpr const char* denseName = "Routing::Bgp::BgpDenseU32Attr";
}

Kel::String valueToStrep( const BgpDenseU32Attr& value ) {
   return Kel::StrepWriter( denseName ).attr( "value", std::to_string( value.value() ) ).str();
}

std::ostream& operator<<( std::ostream& os, const BgpDenseU32Attr& value ) {
   return os << valueToStrep( value );
}

void sequenceToValue( const char* begin, const char* end, BgpDenseU32Attr* value ) {
   Kel::StrepReader reader( begin, end );
   reader.open( denseName );
   U32 word = reader.field<U32>( "value" );
   reader.close();
   value->valueIs( word );
}

} // namespace Routing::Bgp
