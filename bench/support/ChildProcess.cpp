#include "bench/support/ChildProcess.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>

namespace BenchSupport {

ChildRun runChild( const std::vector<std::string>& argv, const std::string& outPath ) {
   ChildRun run;
   std::vector<char*> args;
   for ( const std::string& a : argv ) {
      args.push_back( const_cast<char*>( a.c_str() ) );
   }
   args.push_back( nullptr );
   auto start = std::chrono::steady_clock::now();
   pid_t pid = ::fork();
   if ( pid == 0 ) {
      int out = ::open( outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644 );
      int null = ::open( "/dev/null", O_WRONLY );
      if ( out < 0 || null < 0 ) {
         ::_exit( 126 );
      }
      ::dup2( out, 1 );
      ::dup2( null, 2 );
      ::execvp( args[ 0 ], args.data() );
      ::_exit( 127 );
   }
   if ( pid < 0 ) {
      return run;
   }
   int status = 0;
   struct rusage usage {};
   if ( ::wait4( pid, &status, 0, &usage ) != pid ) {
      return run;
   }
   auto seconds = []( const timeval& t ) {
      return double( t.tv_sec ) + double( t.tv_usec ) / 1e6;
   };
   run.wallSeconds =
         std::chrono::duration<double>( std::chrono::steady_clock::now() - start ).count();
   run.cpuSeconds = seconds( usage.ru_utime ) + seconds( usage.ru_stime );
   run.peakKb = usage.ru_maxrss;
   run.ok = WIFEXITED( status ) && WEXITSTATUS( status ) == 0;
   return run;
}

std::string selfPath() {
   char buf[ 4096 ];
   ssize_t n = ::readlink( "/proc/self/exe", buf, sizeof buf - 1 );
   return n > 0 ? std::string( buf, size_t( n ) ) : std::string();
}

bool onPath( const std::string& program ) {
   std::string command = "command -v " + program + " >/dev/null 2>&1";
   return std::system( command.c_str() ) == 0;
}

} // namespace BenchSupport
