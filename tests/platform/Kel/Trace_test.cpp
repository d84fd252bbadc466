#include "Kel/Trace.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

namespace {

using Kel::TraceCategory;

// The enabled levels of category under setting, as a string of digits.
std::string levels( const char* setting, const TraceCategory& category ) {
   ::setenv( "OVTRACE", setting, 1 );
   TraceCategory::reloadForTesting();
   std::string on;
   for ( int level = 0; level <= 9; ++level ) {
      if ( category.enabled( level ) ) {
         on += char( '0' + level );
      }
   }
   return on;
}

TEST( Trace, EnvironmentGrammarSelectsCategoriesAndLevels ) {
   TraceCategory list( "BgpCommunityList" );
   TraceCategory other( "Other" );
   testing::internal::CaptureStderr();
   EXPECT_EQ( "89", levels( "BgpCommunityList/8,9", list ) );
   EXPECT_EQ( "", levels( "BgpCommunityList/8,9", other ) );
   EXPECT_EQ( "0123456789", levels( "BgpCommunityList/*,Other/1", list ) );
   EXPECT_EQ( "1", levels( "BgpCommunityList/*,Other/1", other ) );
   EXPECT_EQ( "0123456789", levels( "BgpCommunityList", list ) );
   EXPECT_EQ( "0123456789", levels( "*", other ) );
   EXPECT_EQ( "0129", levels( " */0-2 , Other/9 ", other ) );
   EXPECT_EQ( "03456", levels( "Other/0,3-5,6,BgpCommunityList/1", other ) );
   EXPECT_EQ( "", levels( "other/1", other ) ); // case-sensitive
   EXPECT_EQ( "", levels( "Oth/1", other ) );
   EXPECT_EQ( "", levels( "", other ) );
   EXPECT_EQ( "", std::string( testing::internal::GetCapturedStderr() ) );
   // Bad items are reported once and skipped; the rest still apply.
   testing::internal::CaptureStderr();
   EXPECT_EQ( "27", levels( "Other/2,7-3,x/,3,,Other/7,/4", other ) );
   EXPECT_FALSE( list.enabled( 3 ) );
   EXPECT_EQ(
         "OVTRACE: ignoring '7-3'\nOVTRACE: ignoring 'x/'\nOVTRACE: ignoring '3'\n"
         "OVTRACE: ignoring ''\nOVTRACE: ignoring '/4'\n",
         testing::internal::GetCapturedStderr() );
   EXPECT_FALSE( other.enabled( -1 ) || other.enabled( 10 ) ); // levels are 0 to 9
   ::unsetenv( "OVTRACE" );
   TraceCategory::reloadForTesting();
}

TEST( Trace, WritesOneLinePerEnabledPointAndEvaluatesNothingWhenOff ) {
   TraceCategory category( "ExtCommParse" );
   ::setenv( "OVTRACE", "ExtCommParse/3", 1 );
   TraceCategory::reloadForTesting();
   int evaluated = 0;
   testing::internal::CaptureStderr();
   OVTRACE( category, 4, "off %d", ++evaluated );
   OVTRACE( category, 3, "on %d %s", ++evaluated, "x" );
   OVTRACE( category, 3, "%*c|", 5, 'y' );
   std::string longText( 2000, 'z' );
   OVTRACE( category, 3, "%s", longText.c_str() );
   EXPECT_EQ( "ExtCommParse/3 on 1 x\nExtCommParse/3     y|\nExtCommParse/3 " + longText + "\n",
              testing::internal::GetCapturedStderr() );
   EXPECT_EQ( 1, evaluated );
   // The variable is read once: a change needs a reload to take effect.
   ::setenv( "OVTRACE", "ExtCommParse/4", 1 );
   EXPECT_FALSE( category.enabled( 4 ) );
   TraceCategory::reloadForTesting();
   EXPECT_TRUE( category.enabled( 4 ) );
   ::unsetenv( "OVTRACE" );
   TraceCategory::reloadForTesting();
}

TEST( TraceConcurrency, FirstUseFromManyThreadsAgrees ) {
   ::setenv( "OVTRACE", "Shared/5", 1 );
   for ( int round = 0; round < 20; ++round ) {
      TraceCategory category( "Shared" );
      std::atomic<int> enabled{ 0 };
      {
         std::vector<std::jthread> threads;
         for ( int t = 0; t < 4; ++t ) {
            threads.emplace_back( [ & ] {
               for ( int level = 0; level <= 9; ++level ) {
                  enabled += category.enabled( level );
               }
               if ( round == 0 ) {
                  TraceCategory::reloadForTesting();
               }
            } );
         }
      }
      EXPECT_EQ( 4, enabled.load() );
   }
   ::unsetenv( "OVTRACE" );
   TraceCategory::reloadForTesting();
}

} // namespace
