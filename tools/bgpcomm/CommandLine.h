// CommandLine.h: the arguments of bgpcomm, checked and sorted out per
// command; anything a user got wrong is a UsageError with a one-line reason.
//
//   CommandLine cl = parseCommandLine( argc, argv ); // throws UsageError
//   if ( cl.command == Command::mrt ) ... cl.operands are the files
#pragma once

#include "Kel/Types.h"

#include <stdexcept>
#include <string>
#include <vector>

namespace Bgpcomm {

// UsageError: arguments that do not make a command.
class UsageError : public std::invalid_argument {
 public:
   using std::invalid_argument::invalid_argument;
};

// Command
enum class Command { help, decode, mrt, gen };

// CommandLine
struct CommandLine {
   Command command = Command::help;
   bool json = false;                 // decode, mrt
   bool stats = false;                // mrt
   bool progress = true;              // mrt: allowed to draw a bar
   std::vector<std::string> operands; // decode: hex; mrt: files
   U64 routes = 0;                    // gen
   U64 seed = 1;                      // gen
   std::string output;                // gen
};

// parseCommandLine(): argv[ 0 ] is the program. Throws UsageError.
CommandLine parseCommandLine( int argc, const char* const* argv );

// usageText(): the synopsis of every command.
const char* usageText();

} // namespace Bgpcomm
