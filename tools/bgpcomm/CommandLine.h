// CommandLine.h: the arguments of bgpcomm, checked and sorted out per
// command; anything a user got wrong is a UsageError with a one-line reason
// and the usage of the command it was meant for.
//
//   CommandLine cl = parseCommandLine( argc, argv ); // throws UsageError
//   if ( cl.command == Command::mrt ) ... cl.operands are the files
#pragma once

#include "Kel/Types.h"

#include <stdexcept>
#include <string>
#include <vector>

namespace Bgpcomm {

// UsageError: arguments that do not make a command. what() is one line.
class UsageError : public std::invalid_argument {
 public:
   UsageError( const std::string& reason, std::string usage )
         : std::invalid_argument( reason ), usage_( std::move( usage ) ) {}
   const std::string& usage() const { return usage_; }

 private:
   std::string usage_;
};

// Command: help and version print `text` and exit 0.
enum class Command { help, version, decode, mrt, gen };

// CommandLine
struct CommandLine {
   Command command = Command::help;
   std::string text;                  // help, version: what to print
   bool json = false;                 // decode, mrt
   bool stats = false;                // mrt
   bool bgpdump = false;              // mrt: the lines of `bgpdump -m -l`
   std::vector<std::string> peers;    // mrt: addresses or AS numbers
   std::vector<std::string> prefixes; // mrt: routes within these
   bool progress = true;              // mrt: allowed to draw a bar
   std::vector<std::string> match;    // mrt: community patterns a route must all match
   unsigned jobs = 0;                 // mrt: files read at once (0: one per core)
   std::vector<std::string> operands; // decode: hex; mrt: files
   U64 routes = 0;                    // gen
   U64 seed = 1;                      // gen
   std::string output;                // gen
};

// parseCommandLine(): argv[ 0 ] is the program. Throws UsageError.
CommandLine parseCommandLine( int argc, const char* const* argv );

} // namespace Bgpcomm
