#include "tools/bgpcomm/Commands.h"

namespace Bgpcomm {

int runBgpcomm( int argc, const char* const* argv, std::FILE* out, std::FILE* err ) {
   CommandLine cl;
   try {
      cl = parseCommandLine( argc, argv );
   } catch ( const UsageError& e ) {
      std::fprintf( err, "bgpcomm: %s\n%s", e.what(), e.usage().c_str() );
      return exitUsage;
   }
   switch ( cl.command ) {
      case Command::help:
      case Command::version:
         std::fputs( cl.text.c_str(), out );
         return exitOk;
      case Command::decode:
         return runDecode( cl, out, err );
      case Command::mrt:
         return runMrt( cl, out, err );
      case Command::gen:
         return runGen( cl, out, err );
   }
   return exitUsage;
}

} // namespace Bgpcomm
