#include "Acl/CommunityValue.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace {

using Acl::CommunityValue;

static_assert( std::is_trivially_copyable_v<CommunityValue> );
static_assert( CommunityValue( 1, 2, 3 ).localData1() == 2 );

TEST( CommunityValue, OrdersWordByWordFromGlobalAdmin ) {
   EXPECT_LT( CommunityValue( 1, 9, 9 ), CommunityValue( 2, 0, 0 ) );
   EXPECT_LT( CommunityValue( 1, 1, 9 ), CommunityValue( 1, 2, 0 ) );
   EXPECT_LT( CommunityValue( 1, 1, 1 ), CommunityValue( 1, 1, 2 ) );
   EXPECT_FALSE( CommunityValue( 1, 1, 1 ) < CommunityValue( 1, 1, 1 ) );
   // Unsigned words: the high bit does not make a value small.
   EXPECT_LT( CommunityValue( 0, 0, 1 ), CommunityValue( 0x80000000u, 0, 0 ) );
   EXPECT_EQ( CommunityValue( 4, 5, 6 ), CommunityValue( 4, 5, 6 ) );
   EXPECT_NE( CommunityValue( 4, 5, 6 ), CommunityValue( 4, 6, 5 ) );
}

} // namespace
