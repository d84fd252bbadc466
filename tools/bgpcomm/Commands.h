// Commands.h: the bgpcomm commands, each run on a parsed command line with
// the streams it prints to; each returns the process exit status
// (0 done, 2 usage or unreadable input, 3 input problems reported).
//
//   CommandLine cl = parseCommandLine( argc, argv );
//   return runMrt( cl, stdout, stderr );
#pragma once

#include "tools/bgpcomm/CommandLine.h"

#include <cstdio>

namespace Bgpcomm {

// Exit statuses.
constexpr int exitOk = 0;
constexpr int exitUsage = 2;
constexpr int exitProblems = 3;

// runDecode(): prints each HEX operand's communities.
int runDecode( const CommandLine& cl, std::FILE* out, std::FILE* err );

// runMrt(): reads the MRT files and prints routes or statistics.
int runMrt( const CommandLine& cl, std::FILE* out, std::FILE* err );

// runGen(): writes a synthetic MRT file.
int runGen( const CommandLine& cl, std::FILE* out, std::FILE* err );

// runBgpcomm(): parses argv and runs the command.
int runBgpcomm( int argc, const char* const* argv, std::FILE* out, std::FILE* err );

} // namespace Bgpcomm
