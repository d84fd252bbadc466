#include "tools/bgpcomm/CommandLine.h"

#include <charconv>
#include <cstring>
#include <string_view>

namespace Bgpcomm {

namespace {

U64 parseCount( std::string_view option, std::string_view text, U64 min, U64 max ) {
   U64 value = 0;
   auto r = std::from_chars( text.data(), text.data() + text.size(), value );
   if ( text.empty() || r.ec != std::errc() || r.ptr != text.data() + text.size() || value < min ||
        value > max ) {
      throw UsageError( std::string( option ) + " wants a whole number from " +
                        std::to_string( min ) + " to " + std::to_string( max ) + ", not '" +
                        std::string( text ) + "'" );
   }
   return value;
}

} // namespace

const char* usageText() {
   return "usage: bgpcomm decode [--json] HEX...\n"
          "       bgpcomm mrt [--json | --stats] [--no-progress] FILE...\n"
          "       bgpcomm gen --routes N [--seed S] -o FILE\n"
          "HEX is a 4-, 8-, 12- or 20-octet community or a whole community path attribute.\n"
          "FILE is an MRT file, plain, gzip or bzip2; - reads standard input.\n"
          "gen writes gzip when FILE ends in .gz.\n";
}

CommandLine parseCommandLine( int argc, const char* const* argv ) {
   CommandLine cl;
   if ( argc < 2 )
      throw UsageError( "no command given" );
   std::string_view name = argv[ 1 ];
   if ( name == "help" || name == "--help" || name == "-h" )
      return cl;
   if ( name == "decode" ) {
      cl.command = Command::decode;
   } else if ( name == "mrt" ) {
      cl.command = Command::mrt;
   } else if ( name == "gen" ) {
      cl.command = Command::gen;
   } else {
      throw UsageError( "unknown command '" + std::string( name ) + "'" );
   }
   bool haveRoutes = false;
   bool optionsEnded = false;
   for ( int i = 2; i < argc; ++i ) {
      std::string_view arg = argv[ i ];
      bool isOption = !optionsEnded && arg.size() > 1 && arg[ 0 ] == '-';
      if ( !isOption ) {
         cl.operands.emplace_back( arg );
         continue;
      }
      if ( arg == "--" ) {
         optionsEnded = true;
         continue;
      }
      // An option's value follows it, or is joined with '='.
      std::string_view value;
      bool joined = false;
      if ( size_t eq = arg.find( '=' ); arg.starts_with( "--" ) && eq != arg.npos ) {
         value = arg.substr( eq + 1 );
         arg = arg.substr( 0, eq );
         joined = true;
      }
      auto takeValue = [ & ]() -> std::string_view {
         if ( joined )
            return value;
         if ( i + 1 >= argc )
            throw UsageError( std::string( arg ) + " wants a value" );
         return argv[ ++i ];
      };
      auto flag = [ & ]( bool* target ) {
         if ( joined )
            throw UsageError( std::string( arg ) + " takes no value" );
         *target = true;
      };
      Command c = cl.command;
      if ( arg == "--json" && c != Command::gen ) {
         flag( &cl.json );
      } else if ( arg == "--stats" && c == Command::mrt ) {
         flag( &cl.stats );
      } else if ( arg == "--no-progress" && c == Command::mrt ) {
         bool off = false;
         flag( &off );
         cl.progress = false;
      } else if ( arg == "--routes" && c == Command::gen ) {
         cl.routes = parseCount( arg, takeValue(), 1, 1000000000 );
         haveRoutes = true;
      } else if ( arg == "--seed" && c == Command::gen ) {
         cl.seed = parseCount( arg, takeValue(), 0, UINT64_MAX );
      } else if ( ( arg == "-o" || arg == "--output" ) && c == Command::gen ) {
         cl.output = takeValue();
         if ( cl.output.empty() )
            throw UsageError( "-o wants a file name" );
      } else {
         throw UsageError( "unknown option '" + std::string( arg ) + "' for " +
                           std::string( name ) );
      }
   }
   switch ( cl.command ) {
      case Command::decode:
         if ( cl.operands.empty() )
            throw UsageError( "decode wants at least one HEX argument" );
         break;
      case Command::mrt:
         if ( cl.operands.empty() )
            throw UsageError( "mrt wants at least one FILE" );
         if ( cl.json && cl.stats )
            throw UsageError( "--json and --stats exclude each other" );
         break;
      case Command::gen:
         if ( !haveRoutes )
            throw UsageError( "gen wants --routes N" );
         if ( cl.output.empty() )
            throw UsageError( "gen wants -o FILE" );
         if ( !cl.operands.empty() ) {
            throw UsageError( "gen takes no operand ('" + cl.operands[ 0 ] + "')" );
         }
         break;
      case Command::help:
         break;
   }
   return cl;
}

} // namespace Bgpcomm
