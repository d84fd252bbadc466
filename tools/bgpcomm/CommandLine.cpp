#include "tools/bgpcomm/CommandLine.h"

#include "tools/bgpcomm/RouteFilter.h"

#include <CLI/CLI.hpp>

#include "Kel/Exception.h"
#include "OvBgp/CommunityPattern.h"

#include <algorithm>
#include <string_view>

namespace Bgpcomm {

namespace {

// Each command declares its options next to the fields they fill; a
// command's callback runs only when that command was given.

void addDecode( CLI::App& app, CommandLine& cl ) {
   CLI::App* c = app.add_subcommand(
         "decode", "Print communities given in hex or as text in every text form." );
   c->add_flag( "--json", cl.json, "One JSON object per community" );
   c->add_option( "COMMUNITY", cl.operands,
                  "A 4-, 8-, 12- or 20-octet community, or a whole community path attribute, "
                  "in hex; or communities as text ('RT:65000:100 SoO:65000:1')" )
         ->required()
         ->type_name( "" );
   c->callback( [ &cl ] { cl.command = Command::decode; } );
}

void addMrt( CLI::App& app, CommandLine& cl ) {
   CLI::App* c = app.add_subcommand(
         "mrt", "Read MRT dumps, intern every route's communities and print them." );
   CLI::Option* json = c->add_flag( "--json", cl.json, "One JSON object per route" );
   CLI::Option* stats = c->add_flag( "--stats", cl.stats, "Summary figures instead of routes" );
   CLI::Option* bgpdump =
         c->add_flag( "--bgpdump", cl.bgpdump, "The lines `bgpdump -m -l` prints, entry by entry" );
   json->excludes( stats );
   bgpdump->excludes( json );
   bgpdump->excludes( stats );
   auto check = []( std::string ( *reason )( const std::string& ) ) {
      return CLI::Validator( reason, "" );
   };
   c->add_option( "--peer", cl.peers,
                  "Only routes from this peer address or AS number (repeatable)" )
         ->type_name( "PEER" )
         ->take_all()
         ->expected( 1 )
         ->check( check( RouteFilter::peerReason ) );
   c->add_option( "--prefix", cl.prefixes,
                  "Only routes equal to or more specific than PREFIX (repeatable)" )
         ->type_name( "PREFIX" )
         ->take_all()
         ->expected( 1 )
         ->check( check( RouteFilter::prefixReason ) );
   c->add_flag_callback(
         "--no-progress", [ &cl ] { cl.progress = false; }, "No progress bar, even on a terminal" );
   c->add_option( "--match", cl.match,
                  "Keep the routes with a community that matches PATTERN (65000:*, 1:2-9:*, "
                  "RT:65000:*, no-export ...); repeated, all must match" )
         ->type_name( "PATTERN" )
         ->allow_extra_args( false ) // one pattern an occurrence: FILE follows
         ->multi_option_policy( CLI::MultiOptionPolicy::TakeAll )
         ->check( []( const std::string& text ) -> std::string {
            try {
               Routing::Bgp::CommunityPattern pattern( text );
            } catch ( const Kel::ParseException& e ) {
               return e.what();
            }
            return "";
         } );
   c->add_option( "-j,--jobs", cl.jobs,
                  "Read N files at once, printed in file order (default: one per core)" )
         ->type_name( "N" )
         ->check( CLI::Range( 1u, 1024u ).description( "" ) );
   c->add_option( "FILE", cl.operands,
                  "MRT file, plain or compressed (gzip, bzip2, xz, zstd); - reads standard input" )
         ->required()
         ->type_name( "" );
   c->callback( [ &cl ] { cl.command = Command::mrt; } );
}

void addGen( CLI::App& app, CommandLine& cl ) {
   CLI::App* c =
         app.add_subcommand( "gen", "Write a synthetic MRT dump (gzip when FILE ends in .gz)." );
   c->add_option( "--routes", cl.routes, "How many routes" )
         ->required()
         ->type_name( "N" )
         ->check( CLI::Range( U64( 1 ), U64( 1000000000 ) ).description( "" ) );
   c->add_option( "--seed", cl.seed, "Seed of the pseudo-random choices (1)" )->type_name( "S" );
   c->add_option( "-o,--output", cl.output, "The file to write" )
         ->required()
         ->type_name( "FILE" )
         ->check( []( const std::string& s ) { return s.empty() ? "wants a file name" : ""; } );
   c->callback( [ &cl ] { cl.command = Command::gen; } );
}

// reason(): the parser's message, reworded where it would be vague.
std::string reason( const CLI::ParseError& e ) {
   std::string text = e.what();
   constexpr std::string_view extra = "The following argument was not expected: ";
   if ( text.starts_with( extra ) ) {
      std::string arg = text.substr( extra.size() );
      return ( arg.starts_with( "-" ) ? "unknown option '" : "unexpected argument '" ) + arg + "'";
   }
   return text;
}

} // namespace

CommandLine parseCommandLine( int argc, const char* const* argv ) {
   CommandLine cl;
   CLI::App app( "Decode BGP communities and read MRT routing-table dumps.", "bgpcomm" );
   app.set_version_flag( "--version", "bgpcomm " BGPCOMM_VERSION );
   app.require_subcommand( 1 );
   auto format = std::make_shared<CLI::Formatter>();
   format->column_width( 26 );
   format->label( "REQUIRED", "(required)" );
   format->label( "Excludes", "excludes" );
   app.formatter( format );

   // "help COMMAND" is "COMMAND --help"; a command's name is checked here
   // so that a typo is not reported as a stray argument.
   std::vector<std::string> args( argv + 1, argv + argc );
   if ( !args.empty() && args[ 0 ] == "help" ) {
      args.erase( args.begin() );
      args.insert( args.begin() + ( args.empty() ? 0 : 1 ), "--help" );
   }
   // Only the command given is set up: the others' options would cost every
   // run their set-up. Without one, all are there for the overall usage.
   using Adder = void ( * )( CLI::App&, CommandLine& );
   static constexpr std::pair<std::string_view, Adder> commands[] = { { "decode", addDecode },
                                                                      { "mrt", addMrt },
                                                                      { "gen", addGen } };
   const auto* given =
         std::find_if( std::begin( commands ), std::end( commands ),
                       [ & ]( const auto& c ) { return !args.empty() && args[ 0 ] == c.first; } );
   for ( const auto& [ name, add ] : commands ) {
      if ( given == std::end( commands ) || given->first == name )
         add( app, cl );
   }
   if ( args.empty() )
      throw UsageError( "no command given", app.help() );
   auto named = app.get_subcommands( [ & ]( CLI::App* c ) { return c->get_name() == args[ 0 ]; } );
   if ( named.empty() ) {
      bool topOption = args[ 0 ] == "-h" || args[ 0 ] == "--help" || args[ 0 ] == "--version";
      if ( !topOption ) {
         throw UsageError(
               ( args[ 0 ].starts_with( "-" ) ? "unknown option '" : "unknown command '" ) +
                     args[ 0 ] + "'",
               app.help() );
      }
   }

   // Everything after "--" is an operand. The parser would hand it back to
   // the top level once the command's operands have one value, so it is
   // added here.
   std::vector<std::string> rest;
   if ( auto mark = std::find( args.begin(), args.end(), "--" ); mark != args.end() ) {
      rest.assign( mark + 1, args.end() );
      args.erase( mark, args.end() );
   }
   CLI::Option* operands = nullptr;
   if ( !named.empty() ) {
      auto positional =
            named[ 0 ]->get_options( []( const CLI::Option* o ) { return o->get_positional(); } );
      if ( !positional.empty() ) {
         operands = positional[ 0 ];
         operands->required( rest.empty() );
      }
   }
   std::reverse( args.begin(), args.end() );
   try {
      app.parse( args );
   } catch ( const CLI::CallForHelp& ) {
      cl.command = Command::help;
      cl.text = app.help();
   } catch ( const CLI::CallForAllHelp& ) {
      cl.command = Command::help;
      cl.text = app.help();
   } catch ( const CLI::CallForVersion& e ) {
      cl.command = Command::version;
      cl.text = std::string( e.what() ) + "\n";
   } catch ( const CLI::ParseError& e ) {
      throw UsageError( reason( e ), app.help() );
   }
   if ( !rest.empty() && cl.command != Command::help && cl.command != Command::version ) {
      if ( !operands )
         throw UsageError( "unexpected argument '" + rest[ 0 ] + "'", app.help() );
      cl.operands.insert( cl.operands.end(), rest.begin(), rest.end() );
   }
   return cl;
}

} // namespace Bgpcomm
