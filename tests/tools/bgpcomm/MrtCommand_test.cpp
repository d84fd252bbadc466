#include "MrtTestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>

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

TEST( MrtCommand, MatchKeepsTheRoutesEveryPatternMatches ) {
   std::string sample = sourceFile( "samples/gobgp-table.mrt" );
   if ( sample.empty() )
      GTEST_SKIP() << "OVBGP_SOURCE_DIR not set";
   const std::string all = readText( sourceFile( "samples/gobgp-table.expected.txt" ) );
   struct Case {
      std::vector<std::string> patterns;
      size_t routes;
   } cases[] = {
      { { "no-export" }, 2 },
      { { "65536:*:*" }, 4 },
      { { "RT:65000:*", "65000:*" }, 2 }, // both kinds must match
      { { "RT:65000:*", "65000:1-9" }, 0 },
      { { "RT:1:2" }, 0 },
   };
   for ( const Case& c : cases ) {
      std::vector<std::string> args = { "mrt", sample };
      for ( const std::string& pattern : c.patterns ) {
         args.insert( args.end() - 1, { "--match", pattern } );
      }
      Invocation r = runTool( args );
      EXPECT_EQ( r.status, 0 );
      EXPECT_EQ( size_t( std::count( r.out.begin(), r.out.end(), '\n' ) ), c.routes )
            << c.patterns[ 0 ];
      for ( size_t at = 0, end; ( end = r.out.find( '\n', at ) ) != std::string::npos;
            at = end + 1 ) {
         EXPECT_NE( all.find( r.out.substr( at, end + 1 - at ) ), std::string::npos );
      }
   }
}

} // namespace
} // namespace BgpcommTest
