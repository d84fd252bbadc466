// Kel/Strep.h: reflective text of value types. A value prints as
// Value('Qualified::Name', ** {'attr': text, ...}) and parses back from
// exactly that shape; a failure names the attribute that did not parse.
//
//   Kel::String s = Kel::StrepWriter( "Routing::Bgp::Thing" ).attr( "n", "3" ).str();
//   Kel::StrepReader r( s ); r.open( "Routing::Bgp::Thing" ); U32 n = r.field<U32>( "n" );
#pragma once

#include <concepts>
#include <string_view>

#include "Kel/Exception.h"
#include "Kel/String.h"
#include "Kel/Types.h"

namespace Kel {

// valueToStrep(): the framework's text of scalars: True/False, decimal.
inline String valueToStrep( bool value ) { return value ? "True" : "False"; }
template<std::integral T>
   requires( !std::same_as<T, bool> )
String valueToStrep( T value ) { return std::to_string( value ); }

// sequenceToValue(): parse a whole range as one scalar; throws ParseException
// (attribute "value") when the range is not exactly one value in range.
void sequenceToValue( const char* begin, const char* end, bool* value );
void sequenceToValue( const char* begin, const char* end, U8* value );
void sequenceToValue( const char* begin, const char* end, U16* value );
void sequenceToValue( const char* begin, const char* end, U32* value );
void sequenceToValue( const char* begin, const char* end, U64* value );
void sequenceToValue( const char* begin, const char* end, S64* value );

// strepToValue(): the same over a whole string, for any type that has a
// sequenceToValue() overload.
template<class T>
void strepToValue( const String& text, T* value ) {
   sequenceToValue( text.data(), text.data() + text.size(), value );
}

// StrepWriter: builds the reflective form attribute by attribute.
class StrepWriter {
 public:
   explicit StrepWriter( std::string_view qualifiedName );
   StrepWriter& attr( std::string_view name, std::string_view text );
   String str() const;

 private:
   String text_;
   bool first_ = true;
};

// StrepReader: reads the reflective form back, field by field. Each field's
// text runs up to the next expected literal at bracket depth 0, so values
// that are themselves reflective forms nest.
class StrepReader {
 public:
   StrepReader( const char* begin, const char* end ) : pos_( begin ), end_( end ) {}
   explicit StrepReader( std::string_view text )
         : StrepReader( text.data(), text.data() + text.size() ) {}

   // open(): "Value('<name>', ** {"
   void open( std::string_view qualifiedName );
   // literal(): exactly this text next, else ParseException for attribute.
   void literal( std::string_view text, std::string_view attribute );
   // fieldText(): "'<name>': " then the text up to the next separator (", '"
   // or the closing "})"), which is left unread.
   std::string_view fieldText( std::string_view name );
   // field<T>(): fieldText() parsed with sequenceToValue(); failures are
   // reported under the field's name.
   template<class T>
   T field( std::string_view name ) {
      std::string_view text = fieldText( name );
      T value{};
      try {
         sequenceToValue( text.data(), text.data() + text.size(), &value );
      } catch ( const ParseException& e ) {
         throw ParseException( String( name ), e.what() );
      } catch ( const std::out_of_range& e ) {
         throw ParseException( String( name ), e.what() );
      }
      return value;
   }
   // close(): "})" and nothing after it.
   void close();
   // separator(): ", " between fields (fieldText() reads it on its own).

   const char* position() const { return pos_; }

 private:
   const char* pos_;
   const char* end_;
   bool firstField_ = true;
};

} // namespace Kel
