#include "Kel/Enum.h"

#include "tests/platform/Kel/ThrownText.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

namespace EnumTestNs {

enum Colour : U8 {
   colourRed = 1,
   colourGreen = 2,
   colourBlue = 200,
};
// The name an assertion text uses for a member: same value.
constexpr Colour colourGreen_ = colourGreen;

KEL_ENUM_DECLARE( Colour )

KEL_ENUM_DEFINE( Colour, "EnumTestNs::Colour", KEL_ENUM_MEMBER( colourRed ),
                 KEL_ENUM_MEMBER( colourGreen ), KEL_ENUM_MEMBER( colourBlue ) )

} // namespace EnumTestNs

namespace {

using namespace EnumTestNs;

static_assert( std::is_same_v<std::underlying_type_t<Colour>, U8> );
static_assert( colourGreen_ == colourGreen );

TEST( Enum, MembersPrintTheirNamesAndOthersTheirNumber ) {
   EXPECT_EQ( "colourRed", stringValue( colourRed ) );
   EXPECT_EQ( "colourBlue", stringValue( colourBlue ) );
   EXPECT_EQ( "colourGreen", stringValue( colourGreen_ ) );
   EXPECT_EQ( "", stringValue( Colour( 7 ) ) );
   EXPECT_EQ( "colourGreen", valueToStrep( colourGreen ) );
   EXPECT_EQ( "7", valueToStrep( Colour( 7 ) ) );                   // a number, not a character
   EXPECT_EQ( "colourBlue", testing::PrintToString( colourBlue ) ); // through operator<<
   EXPECT_EQ( "0", testing::PrintToString( Colour( 0 ) ) );
   ASSERT_EQ( 3u, ColourMembers().size() );
   EXPECT_EQ( colourBlue, ColourMembers()[ 2 ].value );
}

TEST( Enum, InstancesComeFromNumbersAndNamesAndUnknownNamesThrow ) {
   EXPECT_EQ( colourBlue, ColourInstance( 200u ) );
   EXPECT_EQ( Colour( 9 ), ColourInstance( 9u ) );
   EXPECT_EQ( colourRed, ColourInstance( Kel::String( "colourRed" ) ) );
   EXPECT_EQ( colourGreen, ColourInstance( "colourGreen" ) );
   for ( const char* name : { "colourPurple", "", "ColourRed", "colourRed " } ) {
      EXPECT_EQ( "EnumTestNs::Colour: no member named '" + std::string( name ) + "'",
                 thrownText<Kel::RangeException>( [ & ] { ColourInstance( name ); } ) );
   }
   // Callers that know nothing of Kel catch the standard base.
   EXPECT_THROW( ColourInstance( "x" ), std::out_of_range );
}

TEST( Enum, ParsesExactlyOneMemberName ) {
   auto parse = []( const std::string& text ) {
      Colour c{};
      sequenceToValue( text.data(), text.data() + text.size(), &c );
      return c;
   };
   EXPECT_EQ( colourBlue, parse( "colourBlue" ) );
   for ( const char* bad : { "colourBlu", "colourBlue ", "200", "" } ) {
      EXPECT_EQ( "EnumTestNs::Colour: expected a member of EnumTestNs::Colour, found '" +
                       std::string( bad ) + "'",
                 thrownText<Kel::ParseException>( [ & ] { parse( bad ); } ) );
   }
   // The reflective text reads back through the same parser.
   EXPECT_EQ( colourRed, parse( valueToStrep( colourRed ) ) );
}

} // namespace
