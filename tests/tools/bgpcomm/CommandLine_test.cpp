#include "tools/bgpcomm/CommandLine.h"

#include <gtest/gtest.h>

namespace {

using namespace Bgpcomm;

CommandLine parse( std::vector<const char*> args ) {
   args.insert( args.begin(), "bgpcomm" );
   return parseCommandLine( int( args.size() ), args.data() );
}

std::string usageErrorOf( std::vector<const char*> args ) {
   try {
      parse( std::move( args ) );
   } catch ( const UsageError& e ) {
      return e.what();
   }
   return "(accepted)";
}

TEST( CommandLine, EachCommandTakesItsOwnOptions ) {
   CommandLine d = parse( { "decode", "--json", "fde80064", "c00804fde80064" } );
   EXPECT_EQ( d.command, Command::decode );
   EXPECT_TRUE( d.json );
   EXPECT_EQ( d.operands, ( std::vector<std::string>{ "fde80064", "c00804fde80064" } ) );

   CommandLine m = parse( { "mrt", "a.mrt", "--stats", "--no-progress", "-", "--", "--odd" } );
   EXPECT_EQ( m.command, Command::mrt );
   EXPECT_TRUE( m.stats );
   EXPECT_FALSE( m.progress );
   EXPECT_EQ( m.operands, ( std::vector<std::string>{ "a.mrt", "-", "--odd" } ) );

   CommandLine g = parse( { "gen", "--routes=1000000", "--seed", "42", "-o", "x.mrt.gz" } );
   EXPECT_EQ( g.command, Command::gen );
   EXPECT_EQ( g.routes, 1000000u );
   EXPECT_EQ( g.seed, 42u );
   EXPECT_EQ( g.output, "x.mrt.gz" );
   EXPECT_EQ( parse( { "gen", "--routes", "5", "-o", "y" } ).seed, 1u );

   EXPECT_EQ( parse( { "--help" } ).command, Command::help );
}

TEST( CommandLine, MistakesAreUsageErrorsThatSayWhich ) {
   EXPECT_EQ( usageErrorOf( {} ), "no command given" );
   EXPECT_EQ( usageErrorOf( { "show" } ), "unknown command 'show'" );
   EXPECT_EQ( usageErrorOf( { "decode" } ), "decode wants at least one HEX argument" );
   EXPECT_EQ( usageErrorOf( { "mrt" } ), "mrt wants at least one FILE" );
   EXPECT_EQ( usageErrorOf( { "mrt", "--json", "--stats", "f" } ),
              "--json and --stats exclude each other" );
   EXPECT_EQ( usageErrorOf( { "mrt", "--routes", "5", "f" } ),
              "unknown option '--routes' for mrt" );
   EXPECT_EQ( usageErrorOf( { "mrt", "--json=yes", "f" } ), "--json takes no value" );
   EXPECT_EQ( usageErrorOf( { "gen", "-o", "f" } ), "gen wants --routes N" );
   EXPECT_EQ( usageErrorOf( { "gen", "--routes", "10" } ), "gen wants -o FILE" );
   EXPECT_EQ( usageErrorOf( { "gen", "--routes", "10x", "-o", "f" } ),
              "--routes wants a whole number from 1 to 1000000000, not '10x'" );
   EXPECT_EQ( usageErrorOf( { "gen", "--routes", "0", "-o", "f" } ),
              "--routes wants a whole number from 1 to 1000000000, not '0'" );
   EXPECT_EQ( usageErrorOf( { "gen", "--routes", "1", "-o" } ), "-o wants a value" );
   EXPECT_EQ( usageErrorOf( { "gen", "--routes", "1", "-o", "f", "extra" } ),
              "gen takes no operand ('extra')" );
}

} // namespace
