#include "MrtTestSupport.h"

#include <gtest/gtest.h>

namespace BgpcommTest {
namespace {

// The committed expected output of the bundled dump, line by line: every
// route's values and texts as the library's lists give them.
TEST( MrtCommand, BundledSampleGivesItsCommittedOutput ) {
   std::string sample = sourceFile( "samples/gobgp-table.mrt" );
   if ( sample.empty() )
      GTEST_SKIP() << "OVBGP_SOURCE_DIR not set";
   struct Case {
      std::vector<std::string> args;
      const char* expected;
   } cases[] = {
      { { "mrt", "--json", sample }, "samples/gobgp-table.expected.jsonl" },
      { { "mrt", sample }, "samples/gobgp-table.expected.txt" },
   };
   for ( const Case& c : cases ) {
      std::string expected = readText( sourceFile( c.expected ) );
      ASSERT_FALSE( expected.empty() ) << c.expected << " is missing";
      Invocation r = runTool( c.args );
      EXPECT_EQ( r.status, 0 );
      EXPECT_EQ( r.err, "" );
      EXPECT_EQ( r.out, expected ) << c.expected; // a failure shows a line diff
   }
}

TEST( MrtCommand, StatsOfTheSampleCountEveryKindAndRouteTarget ) {
   std::string sample = sourceFile( "samples/gobgp-table.mrt" );
   if ( sample.empty() )
      GTEST_SKIP() << "OVBGP_SOURCE_DIR not set";
   Invocation r = runTool( { "mrt", "--stats", sample } );
   EXPECT_EQ( r.status, 0 );
   for ( const char* line :
         { "routes: 33\n", "problems: 0\n",
           "communities: routes 12, values 99, distinct values 96, distinct lists 12, ",
           "extCommunities: routes 22, values 41, distinct values 27, distinct lists 21, ",
           "largeCommunities: routes 5, values 7, distinct values 7, distinct lists 5, ",
           "route targets seen: 12 extended, 0 IPv6-address-specific\n",
           "most common communities:\n   internet  2 routes\n   no-export  2 routes\n" } ) {
      EXPECT_NE( r.out.find( line ), std::string::npos ) << line << "\nin:\n" << r.out;
   }
}

} // namespace
} // namespace BgpcommTest
