// Link-bandwidth values: the float text matches a default stream, the forms
// under every format, validity through the platform, and the direction of
// isBetterThan.
#include "OvBgp/Parse/ExtCommLinkBandwidth.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <random>
#include <sstream>

namespace Routing::Bgp {
namespace {

ExtCommLinkBandwidth::Ptr lbw( U16 as, float bandwidth ) {
   return extCommLinkBandwidthFactory( ExtCommContent( 0x4004000000000000ull | U64( as ) << 32 |
                                                       std::bit_cast<U32>( bandwidth ) ) );
}

// The text is built without a stream; it must be the stream's, byte for
// byte, for every kind of float the wire can carry.
TEST( ExtCommLinkBandwidth, FloatTextIsWhatADefaultStreamWrites ) {
   std::mt19937 random( 20240521 );
   std::vector<U32> patterns = { 0x00000000, 0x80000000, 0x7f800000, 0xff800000, 0x7fc00000,
                                 0xffc00000, 0x7f800001, 0x00000001, 0x80000001, 0x007fffff,
                                 0x7f7fffff, 0x4cee6b28, 0x3f800000, 0x49742400 };
   // Where six digits round up into the next decade or switch notation.
   for ( float f : { 999999.0f, 999999.5f, 9999995.0f, 1e-4f, 9.999995e-5f, 123456.5f } ) {
      patterns.push_back( std::bit_cast<U32>( f ) );
   }
   for ( int i = 0; i < 50000; ++i ) {
      patterns.push_back( U32( random() ) );
   }
   for ( U32 pattern : patterns ) {
      const float value = std::bit_cast<float>( pattern );
      std::ostringstream os;
      os << value;
      const Kel::String text = lbw( 1, value )->toStrepForPolicy( ExtComm::strepFormatDefault );
      ASSERT_EQ( text, "1:" + os.str() ) << std::hex << pattern;
   }
}

TEST( ExtCommLinkBandwidth, FormsUnderEveryFormat ) {
   auto gig = lbw( 65000, 125000000.0f );
   for ( unsigned octet = 0; octet < 64; ++octet ) {
      const bool classified = octet & 2;
      const char* expected = !classified      ? "65000:1.25e+08"
                             : !( octet & 4 ) ? "lbw 65000:1.25e+08"
                             : ( octet & 32 ) ? "Link-Bandwidth-AS:65000:125000000"
                                              : "Link-Bandwidth-AS:65000:1 Gbps";
      EXPECT_EQ( gig->toStrepForPolicy( ExtComm::StrepFormat( octet ) ), expected ) << octet;
   }
   EXPECT_EQ( lbw( 7, -1.0f )->toStrepForUI( false, false, false ), "Link-Bandwidth-AS:7:invalid" );
   EXPECT_EQ( gig->toStrep(), "<LinkBandwidth 65000:1.25e+08 0x4004fde84cee6b28>" );
   // The caller's stream state does not leak into the float.
   std::ostringstream os;
   os << std::hex << std::fixed << gig.ptr();
   EXPECT_EQ( os.str(), "<LinkBandwidth 65000:1.25e+08 0x4004fde84cee6b28>" );
}

TEST( ExtCommLinkBandwidth, ValidityUnspecifiedAsAndIsBetterThan ) {
   auto value = lbw( 0, 1.0f );
   EXPECT_EQ( value->classification(), extCommClassificationLinkBandwidth );
   EXPECT_TRUE( value->isLinkBandwidth() );
   EXPECT_TRUE( value->isLinkBandwidthWithUnspecifiedAsNumber() );
   EXPECT_FALSE( lbw( 1, 1.0f )->isLinkBandwidthWithUnspecifiedAsNumber() );

   // The platform's judgement (LinkBandwidth_test), read through the value.
   const float nanValue = std::numeric_limits<float>::quiet_NaN();
   EXPECT_TRUE( lbw( 1, 0.0f )->isValid() );
   EXPECT_FALSE( lbw( 1, nanValue )->isValid() );

   // isBetterThan() asks whether the argument beats this value; NaN beats and loses to nothing.
   auto slow = lbw( 1, 1e6f ), fast = lbw( 2, 2e6f ), fastToo = lbw( 3, 2e6f );
   auto nan = lbw( 1, nanValue );
   EXPECT_TRUE( slow->isBetterThan( fast ) );
   EXPECT_FALSE( fast->isBetterThan( slow ) );
   EXPECT_FALSE( fast->isBetterThan( fastToo ) );
   EXPECT_FALSE( nan->isBetterThan( fast ) );
   EXPECT_FALSE( fast->isBetterThan( nan ) );
}

} // namespace
} // namespace Routing::Bgp
