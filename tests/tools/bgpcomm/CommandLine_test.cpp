#include "tools/bgpcomm/CommandLine.h"

#include <gtest/gtest.h>

namespace {

using namespace Bgpcomm;

CommandLine parse( std::vector<const char*> args ) {
   args.insert( args.begin(), "bgpcomm" );
   return parseCommandLine( int( args.size() ), args.data() );
}

// The reason and the usage's first line, or "(accepted)".
std::pair<std::string, std::string> usageErrorOf( std::vector<const char*> args ) {
   try {
      parse( std::move( args ) );
   } catch ( const UsageError& e ) {
      return { e.what(), e.usage().substr( 0, e.usage().find( '\n' ) ) };
   }
   return { "(accepted)", "" };
}

TEST( CommandLine, EachCommandTakesItsOwnOptions ) {
   CommandLine d = parse( { "decode", "--json", "fde80064", "c00804fde80064" } );
   EXPECT_EQ( d.command, Command::decode );
   EXPECT_TRUE( d.json );
   EXPECT_EQ( d.operands, ( std::vector<std::string>{ "fde80064", "c00804fde80064" } ) );

   CommandLine m = parse( { "mrt", "--match", "1:*", "a.mrt", "--stats", "--no-progress", "-",
                            "--match", "RT:1:2", "--", "--odd" } );
   EXPECT_EQ( m.match, ( std::vector<std::string>{ "1:*", "RT:1:2" } ) );
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
}

TEST( CommandLine, HelpIsPerCommandAndVersionIsOneLine ) {
   const std::pair<std::vector<const char*>, const char*> cases[] = {
      // args, first usage line
      { { "--help" }, "Usage: bgpcomm [OPTIONS] SUBCOMMAND" },
      { { "help" }, "Usage: bgpcomm [OPTIONS] SUBCOMMAND" },
      { { "mrt", "--help" }, "Usage: bgpcomm mrt [OPTIONS] FILE..." },
      { { "help", "gen" }, "Usage: bgpcomm gen [OPTIONS]" },
      { { "decode", "-h", "--bogus" }, "Usage: bgpcomm decode [OPTIONS] COMMUNITY..." },
   };
   for ( const auto& [ args, firstUsageLine ] : cases ) {
      CommandLine cl = parse( args );
      EXPECT_EQ( cl.command, Command::help ) << firstUsageLine;
      EXPECT_NE( cl.text.find( std::string( "\n" ) + firstUsageLine + "\n" ), std::string::npos )
            << cl.text;
   }
   CommandLine v = parse( { "--version" } );
   EXPECT_EQ( v.command, Command::version );
   EXPECT_EQ( v.text, "bgpcomm " BGPCOMM_VERSION "\n" );
}

TEST( CommandLine, MistakesAreUsageErrorsThatSayWhich ) {
   const std::string top = "Decode BGP communities and read MRT routing-table dumps.";
   const std::string mrt = "Read MRT dumps, intern every route's communities and print them.";
   const std::string gen = "Write a synthetic MRT dump (gzip when FILE ends in .gz).";
   // Arguments, reason, and the usage's first line: which command's usage follows.
   const std::tuple<std::vector<const char*>, std::string, std::string> cases[] = {
      { {}, "no command given", top },
      { { "show" }, "unknown command 'show'", top },
      { { "--bogus" }, "unknown option '--bogus'", top },
      { { "decode" },
        "COMMUNITY is required",
        "Print communities given in hex or as text in every text form." },
      { { "mrt" }, "FILE is required", mrt },
      { { "mrt", "--json", "--stats", "f" }, "--json excludes --stats", mrt },
      { { "mrt", "--routes", "5", "f" }, "unknown option '--routes'", mrt },
      { { "mrt", "--match", "65536:1", "f" },
        "--match: community pattern '65536:1': 65536 is beyond 65535",
        mrt },
      { { "gen", "-o", "f" }, "--routes is required", gen },
      { { "gen", "--routes", "0", "-o", "f" },
        "--routes: Value 0 not in range 1 to 1000000000",
        gen },
      { { "gen", "--routes", "1", "-o" }, "--output: 1 required FILE missing", gen },
      { { "gen", "--routes", "1", "-o", "f", "extra" }, "unexpected argument 'extra'", gen },
      { { "mrt", "--peer", "10.1", "f" },
        "--peer: '10.1' is neither an IP address nor an AS number",
        mrt },
      { { "mrt", "--prefix", "10.0.0.0/33", "f" },
        "--prefix: '10.0.0.0/33' is not a prefix such as 10.0.0.0/8 or 2001:db8::/32",
        mrt },
   };
   for ( const auto& [ args, reason, usage ] : cases ) {
      EXPECT_EQ( usageErrorOf( args ), std::make_pair( reason, usage ) );
   }
}

} // namespace
