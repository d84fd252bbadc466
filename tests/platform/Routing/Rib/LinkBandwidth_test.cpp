#include "Routing/Rib/LinkBandwidth.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

using Routing::Rib::LinkBandwidth;

LinkBandwidth bw( float bytes ) { return LinkBandwidth::fromBytesPerSecond( bytes ); }

TEST( LinkBandwidth, ValidMeansFiniteAndNotNegative ) {
   constexpr float inf = std::numeric_limits<float>::infinity();
   EXPECT_TRUE( bw( 0.0f ).isValid() );
   EXPECT_TRUE( bw( -0.0f ).isValid() );
   EXPECT_TRUE( bw( std::numeric_limits<float>::max() ).isValid() );
   EXPECT_TRUE( bw( std::numeric_limits<float>::denorm_min() ).isValid() );
   EXPECT_FALSE( bw( -std::numeric_limits<float>::denorm_min() ).isValid() );
   EXPECT_FALSE( bw( inf ).isValid() );
   EXPECT_FALSE( bw( -inf ).isValid() );
   EXPECT_FALSE( LinkBandwidth( 0x7FC00000 ).isValid() ); // NaN
   EXPECT_FALSE( LinkBandwidth( 0xFFC00001 ).isValid() ); // negative NaN
   EXPECT_EQ( "invalid", bw( -1.0f ).toStrep( false ) );
   EXPECT_EQ( "invalid", LinkBandwidth( 0x7FC00000 ).toStrep( true ) );
}

TEST( LinkBandwidth, PrintsBitsPerSecondInTheLargestUnitKeepingOne ) {
   EXPECT_EQ( "1 Gbps", LinkBandwidth( 0x4CEE6B28 ).toStrep( false ) );
   EXPECT_EQ( 125000000.0f, LinkBandwidth( 0x4CEE6B28 ).value() );
   EXPECT_EQ( "0 bps", bw( 0.0f ).toStrep( false ) );
   EXPECT_EQ( "0 bps", bw( -0.0f ).toStrep( false ) );
   EXPECT_EQ( "0.5 bps", bw( 0.0625f ).toStrep( false ) );
   EXPECT_EQ( "999 bps", bw( 124.875f ).toStrep( false ) );
   EXPECT_EQ( "1 Kbps", bw( 125.0f ).toStrep( false ) );
   EXPECT_EQ( "1.5 Kbps", bw( 187.5f ).toStrep( false ) );
   EXPECT_EQ( "1.234 Mbps", bw( 154250.0f ).toStrep( false ) );        // 1234000 bits
   EXPECT_EQ( "1 Mbps", bw( 124999.99f ).toStrep( false ) );           // rounds up a unit
   EXPECT_EQ( "8.796 Tbps", bw( 1099511627776.0f ).toStrep( false ) ); // 2^40 bytes
   EXPECT_EQ( "0 bps", bw( std::numeric_limits<float>::denorm_min() ).toStrep( false ) );
   std::string max = bw( std::numeric_limits<float>::max() ).toStrep( false );
   EXPECT_EQ( "2722258773108230922340139008 Tbps", max );
}

TEST( LinkBandwidth, WeightedIsTheRoundedIntegerSaturatingAtU64Max ) {
   EXPECT_EQ( "125000000", LinkBandwidth( 0x4CEE6B28 ).toStrep( true ) );
   EXPECT_EQ( "2", bw( 1.5f ).toStrep( true ) );
   EXPECT_EQ( "1", bw( 1.4f ).toStrep( true ) );
   EXPECT_EQ( "0", bw( 0.4f ).toStrep( true ) );
   EXPECT_EQ( "18446742974197923840", bw( 1.8446743e19f ).toStrep( true ) ); // largest below 2^64
   EXPECT_EQ( "18446744073709551615", bw( 1.8446744e19f ).toStrep( true ) ); // exactly 2^64
   EXPECT_EQ( "18446744073709551615", bw( std::numeric_limits<float>::max() ).toStrep( true ) );
}

} // namespace
