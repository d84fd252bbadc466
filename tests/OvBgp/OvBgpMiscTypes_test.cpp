#include "OvBgp/OvBgpMiscTypes.h"

#include <algorithm>
#include <sstream>
#include <vector>

#include <gtest/gtest.h>

#include "Kel/Exception.h"
#include "Kel/Strep.h"
#include "tests/OvBgp/TestSupport.h"

using namespace Routing::Bgp;

namespace {

// A bounded type as derived types write it: the constructor checks the
// number against its own bounds.
class Bounded final : public BgpMaybeU63 {
 public:
   Bounded() = default;
   explicit Bounded( U64 number ) : BgpMaybeU63( S64( number ) ) { checkValue(); }
   U64 min() const noexcept override { return 10; }
   U64 max() const noexcept override { return 20; }
   U64 mappedUnspecifiedValue() const noexcept override { return 7; }
};

const char* const outOfBounds = "value < min or > max not allowed";

} // namespace

TEST( BgpMaybeU63, BoundsApplyInConstructorAndAssignmentAndFailuresLeaveUnspecified ) {
   // The base admits no number at all.
   BgpMaybeU63 base;
   EXPECT_EQ( base.word(), S64( 0x8000000000000000ull ) );
   EXPECT_EQ( base.valueWithUnspecifiedMapped(), 0u );
   EXPECT_EQ( thrownText<Kel::RangeException>( [ & ] { base.valueIs( 0 ); } ), outOfBounds );
   EXPECT_TRUE( base.isUnspecified() );

   EXPECT_EQ( thrownText<Kel::RangeException>( [] { Bounded( 21 ); } ), outOfBounds );
   EXPECT_EQ( thrownText<Kel::RangeException>( [] { Bounded( 9 ); } ), outOfBounds );

   Bounded b( 20 );
   b.valueIs( 10 );
   EXPECT_EQ( b.valueWithUnspecifiedMapped(), 10u );
   EXPECT_EQ( thrownText<Kel::RangeException>( [ & ] { b.valueIs( 21 ); } ), outOfBounds );
   EXPECT_TRUE( b.isUnspecified() );
   EXPECT_EQ( b.valueWithUnspecifiedMapped(), 7u );

   // A word with bit 63 set is the unspecified state, not a number to bound.
   b.valueIs( 15 );
   b.valueIs( 0x8000000000000001ull );
   EXPECT_TRUE( b.isUnspecified() );
   EXPECT_EQ( b, BgpMaybeU63() );
}

TEST( BgpMaybeU63, UnspecifiedEqualsOnlyUnspecifiedSortsFirstAndHasNoNumberToRead ) {
   Bounded none;
   Bounded oddNone;
   Kel::strepToValue( "-5", &oddNone );
   EXPECT_EQ( none, oddNone );
   EXPECT_NE( Bounded( 10 ), none );
   EXPECT_FALSE( none < oddNone );
   EXPECT_TRUE( none < Bounded( 10 ) );
   EXPECT_FALSE( Bounded( 10 ) < none );

   std::vector<Bounded> values = { Bounded( 15 ), none, Bounded( 11 ), oddNone, Bounded( 10 ) };
   std::sort( values.begin(), values.end() );
   std::vector<std::string> texts;
   for ( const Bounded& v : values ) {
      texts.push_back( v.toStrep() );
   }
   EXPECT_EQ( texts, ( std::vector<std::string>{ "-", "-", "10", "11", "15" } ) );
   EXPECT_DEATH( (void)U64( none ),
                 "assertion failed: !isUnspecified\\(\\) && \"Caller must check "
                 "isUnspecified\\(\\) before getting value\\(\\)\" \\(OvBgp/OvBgpMiscTypes\\)" );
}

TEST( BgpMaybeU63, TextFormsAndParse ) {
   Bounded none;
   EXPECT_EQ( valueToStrep( none ), "-9223372036854775808" );
   EXPECT_EQ( valueToStrep( Bounded( 17 ) ), "17" );
   std::ostringstream os;
   os << Bounded( 17 );
   EXPECT_EQ( os.str(), "17" );

   Bounded parsed;
   Kel::strepToValue( "13", &parsed );
   EXPECT_EQ( parsed, Bounded( 13 ) );
   Kel::strepToValue( valueToStrep( none ), &parsed );
   EXPECT_TRUE( parsed.isUnspecified() );
   // The parse checks the bounds of the value it fills.
   EXPECT_EQ( thrownText<Kel::RangeException>( [ & ] { Kel::strepToValue( "30", &parsed ); } ),
              outOfBounds );
   EXPECT_THROW( Kel::strepToValue( "-", &parsed ), Kel::ParseException );
}

TEST( BgpDenseU32Attr, ViewsShareOneWordThatRoundTripsAsReflectiveText ) {
   BgpDenseU32Attr a;
   a.valueBoolIs( 15, true );
   EXPECT_EQ( a.value(), 0x8000u );
   EXPECT_EQ( a.valueU8( 1 ), 0x80u );
   EXPECT_EQ( a.valueU16( 0 ), 0x8000u );
   a.valueBoolIs( 8, true );
   EXPECT_EQ( a.valueU8( 1 ), 0x81u );
   a.valueU8Is( 2, 0xAB );
   a.valueU16Is( 1, U16( a.valueU16( 1 ) | 0x1200 ) );
   EXPECT_EQ( a.value(), 0x12AB8100u );
   a.valueU16Is( 0, 0xFFFF );
   a.valueBoolIs( 0, false );
   EXPECT_EQ( a.value(), 0x12ABFFFEu );
   EXPECT_FALSE( a.valueBool( 0 ) );
   EXPECT_EQ( a.valueU8( 3 ), 0x12u );

   BgpDenseU32Attr back;
   Kel::strepToValue( valueToStrep( a ), &back );
   EXPECT_EQ( back, a );
   EXPECT_EQ( valueToStrep( BgpDenseU32Attr( 4660 ) ),
              "Value('Routing::Bgp::BgpDenseU32Attr', ** {'value': 4660})" );
   EXPECT_EQ( "value", Testing::parseFailure( [ & ] {
                 Kel::strepToValue( "Value('Routing::Bgp::BgpDenseU32Attr', ** {'value': x})",
                                    &back );
              } ) );
}

TEST( BgpDenseU32Attr, BadIndexAndDeleteRaiseNamedExceptions ) {
   BgpDenseU32Attr a( 0xFFFFFFFF );
   using R = Kel::RangeException;
   EXPECT_EQ( thrownText<R>( [ & ] { a.valueBool( 16 ); } ), "BgpDenseU32Attr::valueBool" );
   EXPECT_EQ( thrownText<R>( [ & ] { a.valueBoolIs( 16, true ); } ),
              "BgpDenseU32Attr::valueBoolIs" );
   EXPECT_EQ( thrownText<R>( [ & ] { a.valueU8( 4 ); } ), "BgpDenseU32Attr::valueU8" );
   EXPECT_EQ( thrownText<R>( [ & ] { a.valueU8Is( 4, 1 ); } ), "BgpDenseU32Attr::valueU8Is" );
   EXPECT_EQ( thrownText<R>( [ & ] { a.valueU16( 2 ); } ), "BgpDenseU32Attr::valueU16" );
   EXPECT_EQ( thrownText<R>( [ & ] { a.valueU16Is( 2, 1 ); } ), "BgpDenseU32Attr::valueU16Is" );
   EXPECT_EQ( a.value(), 0xFFFFFFFFu );

   using N = Kel::NonDeletableAttributeException;
   EXPECT_EQ( thrownText<N>( [ & ] { a.valueBoolDel( 0 ); } ), "BgpDenseU32Attr::valueBoolDel" );
   EXPECT_EQ( thrownText<N>( [ & ] { a.valueU8Del( 0 ); } ), "BgpDenseU32Attr::valueU8Del" );
   EXPECT_EQ( thrownText<N>( [ & ] { a.valueU16Del( 0 ); } ), "BgpDenseU32Attr::valueU16Del" );
}
