#include "MrtTestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace BgpcommTest {
namespace {

const std::string sample = sourceFile( "samples/gobgp-table.mrt" );

// The committed expected output of the bundled dump, line by line: every
// route's values and texts as the library's lists give them.
TEST( MrtCommand, BundledSampleGivesItsCommittedOutput ) {
   const std::pair<std::vector<std::string>, const char*> cases[] = {
      { { "mrt", "--json", sample }, "samples/gobgp-table.expected.jsonl" },
      { { "mrt", sample }, "samples/gobgp-table.expected.txt" },
   };
   for ( const auto& [ args, file ] : cases ) {
      std::string expected = readText( sourceFile( file ) );
      ASSERT_FALSE( expected.empty() ) << file << " is missing";
      Invocation r = runTool( args );
      EXPECT_EQ( r.status, 0 );
      EXPECT_EQ( r.err, "" );
      EXPECT_EQ( r.out, expected ) << file; // a failure shows a line diff
   }
}

TEST( MrtCommand, StatsOfTheSampleCountEveryKindAndRouteTarget ) {
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
   const std::string all = readText( sourceFile( "samples/gobgp-table.expected.txt" ) );
   const std::pair<std::vector<std::string>, size_t> cases[] = {
      // patterns, routes matched
      { { "no-export" }, 2 },
      { { "65536:*:*" }, 4 },
      { { "RT:65000:*", "65000:*" }, 2 }, // both kinds must match
      { { "RT:65000:*", "65000:1-9" }, 0 },
      { { "RT:1:2" }, 0 },
   };
   for ( const auto& [ patterns, routes ] : cases ) {
      std::vector<std::string> args = { "mrt", sample };
      for ( const std::string& pattern : patterns ) {
         args.insert( args.end() - 1, { "--match", pattern } );
      }
      Invocation r = runTool( args );
      EXPECT_EQ( r.status, 0 );
      EXPECT_EQ( size_t( std::count( r.out.begin(), r.out.end(), '\n' ) ), routes )
            << patterns[ 0 ];
      for ( size_t at = 0, end; ( end = r.out.find( '\n', at ) ) != std::string::npos;
            at = end + 1 ) {
         EXPECT_NE( all.find( r.out.substr( at, end + 1 - at ) ), std::string::npos );
      }
   }
}

// One generated dump in every form, read alone and several at once: the
// same routes in the same order; a cut-short file keeps the routes before
// the cut and says where reading stopped.
TEST( MrtCommand, EveryFormAndJobCountGivesTheSameRoutesInFileOrder ) {
   std::string plain = tempPath( "forms.mrt" );
   ASSERT_EQ( runTool( { "gen", "--routes", "3000", "--seed", "5", "-o", plain } ).status, 0 );
   std::string text = readText( plain );
   std::vector<U8> octets( text.begin(), text.end() );
   std::vector<U8> halves = compressedAs( std::span( octets ).first( 50001 ), Compression::gzip );
   std::vector<U8> second = compressedAs( std::span( octets ).subspan( 50001 ), Compression::gzip );
   halves.insert( halves.end(), second.begin(), second.end() );
   std::vector<std::string> files = { plain, tempFile( "two-members.gz", halves ) };
   for ( Compression c :
         { Compression::gzip, Compression::bzip2, Compression::xz, Compression::zstd } ) {
      files.push_back(
            tempFile( std::string( "forms." ) + compressionName( c ), compressedAs( octets, c ) ) );
   }
   Invocation alone = runTool( { "mrt", plain } );
   ASSERT_EQ( alone.status, 0 ) << alone.err;
   std::string all; // every file, whatever its form, gives the same routes
   for ( size_t f = 0; f < files.size(); ++f )
      all += alone.out;
   std::vector<std::string> args = { "mrt", "-j", "1" };
   args.insert( args.end(), files.begin(), files.end() );
   for ( const char* jobs : { "1", "4" } ) {
      args[ 2 ] = jobs;
      Invocation r = runTool( args );
      EXPECT_EQ( r.status, 0 ) << r.err;
      EXPECT_EQ( r.out, all ) << "-j " << jobs;
   }
   args.insert( args.begin() + 1, "--stats" );
   std::string statsOne = runTool( args ).out;
   args[ 3 ] = "4";
   EXPECT_EQ( runTool( args ).out, statsOne );
   EXPECT_NE( statsOne.find( "routes: 18000\n" ), std::string::npos ) << statsOne;

   std::vector<U8> gz = compressedAs( octets, Compression::gzip );
   std::string cut = tempFile( "cut.gz", std::span( gz ).first( gz.size() / 2 ) );
   Invocation r = runTool( { "mrt", "-j", "4", plain, cut, plain } );
   EXPECT_EQ( r.status, 3 );
   EXPECT_EQ( r.err.rfind( cut + ": record at offset ", 0 ), 0u ) << r.err;
   EXPECT_NE( r.err.find( ": gzip data is truncated after " ), std::string::npos ) << r.err;
   ASSERT_GT( r.out.size(), 2 * alone.out.size() );
   std::string before = r.out.substr( 0, r.out.size() - alone.out.size() );
   EXPECT_EQ( r.out.substr( before.size() ), alone.out );
   EXPECT_GT( before.size(), alone.out.size() * 4 / 3 ); // routes before the cut
   EXPECT_EQ( alone.out.rfind( before.substr( alone.out.size() ), 0 ), 0u );
}

} // namespace
} // namespace BgpcommTest
