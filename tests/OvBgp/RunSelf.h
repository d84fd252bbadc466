// tests/OvBgp/RunSelf.h: runs this test binary again in a fresh process on
// one test, with extra environment variables, and hands back its exit
// status and what it wrote. Store images are proven by rebuilding them in
// a process that never held the original objects.
//
//   RunSelfResult r = runSelf( "CommListStore.ChildHalf", { { "COMMLIST_STORE", path } } );
//   EXPECT_EQ( 0, r.exitCode ) << r.err;
#pragma once

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

// RunSelfResult: the child's exit code (-1 when it did not exit normally),
// its standard output and its standard error.
struct RunSelfResult {
   int exitCode = -1;
   std::string out;
   std::string err;
};

// runSelf(): /proc/self/exe --gtest_filter=<test> with env added.
inline RunSelfResult runSelf( const std::string& test,
                              const std::vector<std::pair<std::string, std::string>>& env ) {
   const std::string base =
         ( std::filesystem::temp_directory_path() / ( "runself_" + std::to_string( ::getpid() ) ) )
               .string();
   const std::string filter = "--gtest_filter=" + test;
   RunSelfResult result;
   pid_t child = ::fork();
   if ( child == 0 ) {
      int out = ::open( ( base + ".out" ).c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644 );
      int err = ::open( ( base + ".err" ).c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644 );
      if ( out < 0 || err < 0 || ::dup2( out, 1 ) < 0 || ::dup2( err, 2 ) < 0 ) {
         ::_exit( 126 );
      }
      for ( const auto& [ name, value ] : env ) {
         ::setenv( name.c_str(), value.c_str(), 1 );
      }
      const char* argv[] = { "runself", filter.c_str(), "--gtest_brief=1", nullptr };
      ::execv( "/proc/self/exe", const_cast<char* const*>( argv ) );
      ::_exit( 127 );
   }
   int status = 0;
   if ( child > 0 && ::waitpid( child, &status, 0 ) == child && WIFEXITED( status ) ) {
      result.exitCode = WEXITSTATUS( status );
   }
   for ( auto [ text, suffix ] : { std::pair{ &result.out, ".out" }, { &result.err, ".err" } } ) {
      std::ostringstream read;
      read << std::ifstream( base + suffix ).rdbuf();
      *text = read.str();
      std::filesystem::remove( base + suffix );
   }
   return result;
}

// linesStartingWith(): the lines of text that open with prefix, prefix
// removed, in order.
inline std::vector<std::string> linesStartingWith( const std::string& text,
                                                   const std::string& prefix ) {
   std::vector<std::string> lines;
   std::istringstream in( text );
   for ( std::string line; std::getline( in, line ); ) {
      if ( line.rfind( prefix, 0 ) == 0 ) {
         lines.push_back( line.substr( prefix.size() ) );
      }
   }
   return lines;
}
