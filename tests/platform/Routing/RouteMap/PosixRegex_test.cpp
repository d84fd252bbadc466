#include "Routing/RouteMap/PosixRegex.h"

#include "tests/platform/Kel/ThrownText.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using Routing::RouteMap::PosixRegex;

TEST( PosixRegex, MatchesExtendedSyntaxAnywhereUnlessAnchored ) {
   PosixRegex re( "^(65000|65001):[0-9]+$" );
   EXPECT_EQ( 0, re.execute( "65001:7" ) );
   EXPECT_EQ( REG_NOMATCH, re.execute( "65002:7" ) );
   EXPECT_EQ( REG_NOMATCH, re.execute( "65000:7 " ) );
   EXPECT_EQ( 0, PosixRegex( "_?100:" ).execute( "65000:1 100:5" ) ); // unanchored
   EXPECT_EQ( 0, PosixRegex( "" ).execute( "" ) );
}

TEST( PosixRegex, BadAndRunawayPatternsAreRefusedWithTheReason ) {
   // Stacked and nested copies would take regcomp gigabytes; '+' over
   // operands that match nothing, after an anchor, minutes. Plain syntax
   // errors carry regcomp's own reason.
   const std::pair<const char*, const char*> bad[] = {
      { "(65000", "" },
      { "[0-9", "" },
      { "a{2,1}", "" },
      { "a+++++++++++++++++++++++++++++++", "past 2048 nodes" },
      { "((a{100}){100}){100}", "past 2048 nodes" },
      { "(a?|b?){4096}", "past 2048 nodes" },
      { "^((((((a*)+)+)+)+)+)+", "'+' repeats an operand that can match nothing" },
      { "x(\\b|y?)+", "'+' repeats an operand that can match nothing" },
      { "^(a|){2,}", "{m,} repeats an operand that can match nothing" },
   };
   for ( const auto& [ pattern, reason ] : bad ) {
      std::string what =
            thrownText<Kel::ParseException>( [ in = pattern ] { PosixRegex re( in ); } );
      std::string prefix = std::string( "pattern: invalid regular expression '" ) + pattern + "': ";
      EXPECT_EQ( prefix, what.substr( 0, prefix.size() ) );
      EXPECT_NE( std::string::npos, what.find( reason, prefix.size() ) ) << what;
      EXPECT_GT( what.size(), prefix.size() + 8 ) << what; // a reason, not just a code
   }
   // Large but bounded repeats, and '+' over operands that cannot match
   // nothing, still compile.
   EXPECT_EQ( REG_NOMATCH, PosixRegex( "^a{1000}$" ).execute( "aaa" ) );
   EXPECT_EQ( 0, PosixRegex( "^(_?[0-9]*:)+(a|b)+$" ).execute( "_1:2:ab" ) );
   const std::string hundred = std::string( 100, 'x' ) + "{";
   EXPECT_EQ( 0, PosixRegex( "^(x{10}){10}[+{]+" ).execute( hundred.c_str() ) );
}

TEST( PosixRegex, MovedObjectKeepsTheCompiledPattern ) {
   PosixRegex a( "^x+$" );
   PosixRegex b( std::move( a ) );
   EXPECT_EQ( 0, b.execute( "xxx" ) );
   EXPECT_EQ( REG_NOMATCH, a.execute( "xxx" ) );
   PosixRegex c( "y" );
   c = std::move( b );
   EXPECT_EQ( "^x+$", c.pattern() );
   EXPECT_EQ( 0, c.execute( "x" ) );
   std::vector<PosixRegex> many;
   for ( int i = 0; i < 100; ++i ) {
      many.emplace_back( std::to_string( i ) + "$" );
   }
   EXPECT_EQ( 0, many[ 42 ].execute( "1042" ) );
}

TEST( PosixRegexConcurrency, OneRegexMatchedFromManyThreads ) {
   const PosixRegex re( "^[0-9]+:(1|2)[0-9]*$" );
   std::vector<int> hits( 4 );
   {
      std::vector<std::jthread> threads;
      for ( int t = 0; t < 4; ++t ) {
         threads.emplace_back( [ &, t ] {
            for ( int i = 0; i < 20000; ++i ) {
               hits[ t ] += re.execute( ( "65000:" + std::to_string( i ) ).c_str() ) == 0;
            }
         } );
      }
   }
   for ( int count : hits ) {
      EXPECT_EQ( 2 + 20 + 200 + 2000 + 2 * 5000, count );
   }
}

} // namespace
