#include "Kel/Strep.h"

#include "tests/platform/Kel/ThrownText.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace {

template<class T>
T parsed( const std::string& text ) {
   T value{};
   Kel::strepToValue( text, &value );
   return value;
}

TEST( Strep, ScalarsPrintAndParseBackAtTheirLimits ) {
   EXPECT_EQ( "True", Kel::valueToStrep( true ) );
   EXPECT_EQ( "False", Kel::valueToStrep( false ) );
   EXPECT_EQ( "200", Kel::valueToStrep( U8( 200 ) ) ); // a number, not a character
   EXPECT_EQ( "-5", Kel::valueToStrep( S64( -5 ) ) );

   EXPECT_TRUE( parsed<bool>( "True" ) );
   EXPECT_FALSE( parsed<bool>( "False" ) );
   EXPECT_EQ( 255, parsed<U8>( "255" ) );
   EXPECT_EQ( 65535, parsed<U16>( "65535" ) );
   EXPECT_EQ( 0xFFFFFFFFu, parsed<U32>( "4294967295" ) );
   EXPECT_EQ( std::numeric_limits<U64>::max(), parsed<U64>( Kel::valueToStrep( ~U64( 0 ) ) ) );
   EXPECT_EQ( std::numeric_limits<S64>::min(),
              parsed<S64>( Kel::valueToStrep( std::numeric_limits<S64>::min() ) ) );
   EXPECT_EQ( 0u, parsed<U32>( "0" ) );
}

// parseError(): the error of parsing text as a T.
template<class T>
std::string parseError( const std::string& text ) {
   return thrownText<Kel::ParseException>( [ & ] { parsed<T>( text ); } );
}

TEST( Strep, ScalarParsingRejectsAnythingButExactlyOneValue ) {
   EXPECT_EQ( "value: expected True or False, found 'true'", parseError<bool>( "true" ) );
   EXPECT_EQ( "value: expected True or False, found ''", parseError<bool>( "" ) );
   EXPECT_EQ( "value: expected U8, found '256'", parseError<U8>( "256" ) );
   EXPECT_EQ( "value: expected U64, found '18446744073709551616'",
              parseError<U64>( "18446744073709551616" ) );
   EXPECT_EQ( "value: expected S64, found '9223372036854775808'",
              parseError<S64>( "9223372036854775808" ) );
   for ( std::string bad : { "", "-1", "+1", " 1", "1 ", "0x10", "1.5", "12a" } ) {
      EXPECT_EQ( "value: expected U32, found '" + bad + "'", parseError<U32>( bad ) );
   }
   // Long text is cut short in the message.
   EXPECT_EQ( "value: expected U32, found '" + std::string( 40, '9' ) + "...'",
              parseError<U32>( std::string( 100, '9' ) ) );
}

TEST( Strep, WriterAndReaderRoundTripFlatAndNestedValues ) {
   std::string inner = Kel::StrepWriter( "Ns::Inner" )
                             .attr( "x", "1" )
                             .attr( "note", "'x}, (y'" ) // closers inside quotes
                             .str();
   EXPECT_EQ( "Value('Ns::Inner', ** {'x': 1, 'note': 'x}, (y'})", inner );
   std::string outer = Kel::StrepWriter( "Ns::Outer" )
                             .attr( "flag", Kel::valueToStrep( true ) )
                             .attr( "inner", inner )
                             .attr( "count", Kel::valueToStrep( U64( 12345678901234ull ) ) )
                             .str();
   EXPECT_EQ(
         "Value('Ns::Outer', ** {'flag': True, 'inner': " + inner + ", 'count': 12345678901234})",
         outer );
   EXPECT_EQ( "Value('Ns::Empty', ** {})", Kel::StrepWriter( "Ns::Empty" ).str() );

   Kel::StrepReader reader( outer );
   reader.open( "Ns::Outer" );
   EXPECT_TRUE( reader.field<bool>( "flag" ) );
   EXPECT_EQ( inner, reader.fieldText( "inner" ) );
   EXPECT_EQ( 12345678901234ull, reader.field<U64>( "count" ) );
   reader.close();
   EXPECT_EQ( outer.data() + outer.size(), reader.position() );

   Kel::StrepReader empty( "Value('Ns::Empty', ** {})" );
   empty.open( "Ns::Empty" );
   empty.close();
}

TEST( Strep, ReaderFailuresNameTheAttributeThatDidNotParse ) {
   const std::string good = "Value('Ns::Pair', ** {'a': 1, 'b': True})";
   auto read = []( const std::string& text, const char* type = "Ns::Pair" ) {
      Kel::StrepReader r( text );
      r.open( type );
      U16 a = r.field<U16>( "a" );
      bool b = r.field<bool>( "b" );
      r.close();
      return std::make_pair( a, b );
   };
   EXPECT_EQ( std::make_pair( U16( 1 ), true ), read( good ) );

   auto error = [ & ]( const std::string& text, const char* type = "Ns::Pair" ) {
      return thrownText<Kel::ParseException>( [ & ] { read( text, type ); } );
   };
   EXPECT_EQ( "Value: expected 'Value('Ns::Other', ** {' at '" + good.substr( 0, 40 ) + "...'",
              error( good, "Ns::Other" ) );
   const std::pair<const char*, const char*> cases[] = {
      { "{'a': 70000, 'b': True})", "a: expected U16, found '70000'" },
      { "{'a': , 'b': True})", "a: expected U16, found ''" },
      { "{'a': 1, 'b': yes})", "b: expected True or False, found 'yes'" },
      { "{'a': 1, 'c': True})", "b: expected ''b': ' at ''c': True})'" },
      { "{'a': 1; 'b': True})", "a: expected U16, found '1; 'b': True'" },
      { "{'a': 1, 'b': True", "b: unterminated value for 'b'" },
      { "{'a': 1, 'b': True}", "Value: expected '})' at '}'" },
      { "{'a': 1, 'b': True}) ", "Value: unexpected text after the value: ' '" },
   };
   for ( const auto& [ fields, message ] : cases ) {
      EXPECT_EQ( message, error( std::string( "Value('Ns::Pair', ** " ) + fields ) );
   }
   EXPECT_EQ( "Value: expected 'Value('Ns::Pair', ** {' at ''", error( "" ) );
}

} // namespace
