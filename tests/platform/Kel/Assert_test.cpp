#include "Kel/Assert.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace {

using testing::HasSubstr;

// The whole line the process leaves on stderr.
testing::Matcher<const std::string&> says( const std::string& text, const std::string& source ) {
   return HasSubstr( "assertion failed: " + text + " (" + source + ")\n" );
}

class AssertDeathTest : public testing::Test {
 protected:
   void SetUp() override { GTEST_FLAG_SET( death_test_style, "threadsafe" ); }
};

TEST_F( AssertDeathTest, FailureWritesTheTextAndTheSourceOfTheAssertingFile ) {
   // This file is tests/platform/Kel/Assert_test.cpp: platform files are
   // named from inside platform/.
   EXPECT_DEATH( KEL_ASSERT_MSG( 1 + 1 == 3, "commVectorSorted()" ),
                 says( "commVectorSorted()", "Kel/Assert_test" ) );
   EXPECT_DEATH( KEL_ASSERT_SOURCE_MSG( false, "endPtr - writePtr >= ptrdiff_t( required )",
                                        "OvStrings/StringBuffer" ),
                 says( "endPtr - writePtr >= ptrdiff_t( required )", "OvStrings/StringBuffer" ) );
}

TEST_F( AssertDeathTest, SourceIsTheTreeRelativePathWithoutExtension ) {
   const std::pair<const char*, const char*> cases[] = {
      { "/work/main/OvBgp/Parse/ExtComm.h", "OvBgp/Parse/ExtComm" },
      { "/work/main/platform/Bex/DedupHashTable.cpp", "Bex/DedupHashTable" },
      { "/work/main/tools/bgpcomm/Stats.cpp", "tools/bgpcomm/Stats" },
      { "/src/OvBgp/OvBgp/OvBgpCommunityList.cpp", "OvBgp/OvBgpCommunityList" },
      // The tree checked out under a directory named like one of its rooms.
      { "/home/dev/OvBgp/platform/Kel/Strep.cpp", "Kel/Strep" },
      { "/opt/platform/tree/OvBgp/ExtCommIp6.cpp", "OvBgp/ExtCommIp6" },
      { "/opt/tools/tree/platform/OvFmt/DynamicBuffer.cpp", "OvFmt/DynamicBuffer" },
      // Relative spellings of __FILE__.
      { "OvBgp/OvBgpCommunity.cpp", "OvBgp/OvBgpCommunity" },
      { "platform/Kel/Strep.cpp", "Kel/Strep" },
      { "../platform/Kel/Strep.cpp", "Kel/Strep" },
      // Already a source name; dots in directories are not extensions.
      { "OvStrings/StringBuffer", "OvStrings/StringBuffer" },
      { "/build.d/OvBgp/Thing", "OvBgp/Thing" },
   };
   for ( const auto& [ file, source ] : cases ) {
      SCOPED_TRACE( file );
      EXPECT_DEATH( Kel::assertFailed( "x", file ), says( "x", source ) );
   }
}

TEST( Assert, HoldingConditionsPassAndAreEvaluatedOnce ) {
   int evaluations = 0;
   KEL_ASSERT_MSG( ++evaluations == 1, "once" );
   KEL_ASSERT_SOURCE_MSG( ++evaluations == 2, "twice", "Kel/Assert" );
   EXPECT_EQ( 2, evaluations );
   // The macro is one statement.
   if ( evaluations == 2 )
      KEL_ASSERT_MSG( true, "in an if" );
   else
      ADD_FAILURE();
}

} // namespace
