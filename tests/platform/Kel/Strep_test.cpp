#include "Kel/Strep.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace {

using Kel::ParseException;

// expectParseError(): fn throws ParseException for attribute, with every
// fragment in its message; returns the message.
template<class Fn>
std::string expectParseError( Fn&& fn, const std::string& attribute,
                              std::initializer_list<const char*> fragments ) {
   try {
      fn();
      ADD_FAILURE() << "no ParseException (expected one for '" << attribute << "')";
   } catch ( const ParseException& e ) {
      EXPECT_EQ( attribute, e.attribute() ) << e.what();
      for ( const char* f : fragments ) {
         EXPECT_NE( std::string::npos, std::string( e.what() ).find( f ) )
               << "'" << f << "' not in: " << e.what();
      }
      return e.what();
   }
   return "";
}

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

TEST( Strep, ScalarParsingRejectsAnythingButExactlyOneValue ) {
   expectParseError( [] { parsed<bool>( "true" ); }, "value", { "True or False", "'true'" } );
   expectParseError( [] { parsed<bool>( "" ); }, "value", { "True or False" } );
   expectParseError( [] { parsed<U8>( "256" ); }, "value", { "U8", "'256'" } );
   expectParseError( [] { parsed<U64>( "18446744073709551616" ); }, "value", { "U64" } );
   expectParseError( [] { parsed<S64>( "9223372036854775808" ); }, "value", { "S64" } );
   for ( const char* bad : { "", "-1", "+1", " 1", "1 ", "0x10", "1.5", "12a" } ) {
      SCOPED_TRACE( bad );
      expectParseError( [ & ] { parsed<U32>( bad ); }, "value", { "expected U32" } );
   }
   // Long text is cut short in the message.
   std::string cut =
         expectParseError( [] { parsed<U32>( std::string( 100, '9' ) ); }, "value", {} );
   EXPECT_LT( cut.size(), 80u ) << cut;
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

   expectParseError( [ & ] { read( good, "Ns::Other" ); }, "Value", { "Ns::Other" } );
   expectParseError( [ & ] { read( "Value('Ns::Pair', ** {'a': 70000, 'b': True})" ); }, "a",
                     { "U16", "70000" } );
   expectParseError( [ & ] { read( "Value('Ns::Pair', ** {'a': , 'b': True})" ); }, "a",
                     { "U16" } );
   expectParseError( [ & ] { read( "Value('Ns::Pair', ** {'a': 1, 'b': yes})" ); }, "b",
                     { "True or False", "'yes'" } );
   expectParseError( [ & ] { read( "Value('Ns::Pair', ** {'a': 1, 'c': True})" ); }, "b",
                     { "'b': " } );
   expectParseError( [ & ] { read( "Value('Ns::Pair', ** {'a': 1; 'b': True})" ); }, "a",
                     { "U16" } );
   expectParseError( [ & ] { read( "Value('Ns::Pair', ** {'a': 1, 'b': True" ); }, "b",
                     { "unterminated" } );
   expectParseError( [ & ] { read( "Value('Ns::Pair', ** {'a': 1, 'b': True}" ); }, "Value",
                     { "'})'" } );
   expectParseError( [ & ] { read( good + " " ); }, "Value", { "after the value" } );
   expectParseError( [ & ] { read( "" ); }, "Value", { "Value('Ns::Pair'" } );
}

} // namespace
