#include "tools/bgpcomm/FileOrderRunner.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

namespace Bgpcomm {

namespace {

// Held: what a job that ran ahead printed.
struct Held {
   std::FILE* out = nullptr;
   std::FILE* err = nullptr;
   bool done = false;
};

void copyOut( std::FILE* from, std::FILE* to ) {
   std::rewind( from );
   char buf[ 1 << 16 ];
   while ( size_t n = std::fread( buf, 1, sizeof buf, from ) ) {
      std::fwrite( buf, 1, n, to );
   }
   std::fclose( from );
}

} // namespace

void FileOrderRunner::run( const Job& job, const std::function<void()>& tick ) {
   std::mutex mutex;
   std::condition_variable changed;
   std::vector<Held> held( files_ );
   size_t shown = 0; // files before this one are on the streams
   size_t nextFile = 0;

   auto work = [ & ]( unsigned thread ) {
      for ( ;; ) {
         size_t i;
         std::FILE* out = out_;
         std::FILE* err = err_;
         {
            std::unique_lock lock( mutex );
            if ( nextFile == files_ )
               return;
            i = nextFile++;
            if ( shown != i ) {
               held[ i ].out = std::tmpfile();
               held[ i ].err = std::tmpfile();
               if ( held[ i ].out && held[ i ].err ) {
                  out = held[ i ].out;
                  err = held[ i ].err;
               } else {
                  // No room to hold it: wait for its turn instead.
                  for ( std::FILE* f : { held[ i ].out, held[ i ].err } ) {
                     if ( f )
                        std::fclose( f );
                  }
                  held[ i ].out = held[ i ].err = nullptr;
                  changed.wait( lock, [ & ] { return shown == i; } );
               }
            }
         }
         job( thread, i, out, err );
         std::fflush( out );
         std::fflush( err );
         std::lock_guard lock( mutex );
         held[ i ].done = true;
         changed.notify_all();
      }
   };

   std::vector<std::thread> threads;
   for ( unsigned t = 0; t < std::max( 1u, threads_ ); ++t ) {
      threads.emplace_back( work, t );
   }
   for ( size_t i = 0; i < files_; ++i ) {
      std::unique_lock lock( mutex );
      while ( !held[ i ].done ) {
         changed.wait_for( lock, std::chrono::milliseconds( 100 ) );
         if ( tick && !held[ i ].done ) {
            lock.unlock();
            tick();
            lock.lock();
         }
      }
      Held h = held[ i ];
      lock.unlock();
      if ( h.out ) {
         // The jobs after this one print only to their own files meanwhile.
         copyOut( h.out, out_ );
         std::fflush( out_ );
         copyOut( h.err, err_ );
         std::fflush( err_ );
      }
      lock.lock();
      shown = i + 1;
      changed.notify_all();
   }
   for ( std::thread& t : threads ) {
      t.join();
   }
}

} // namespace Bgpcomm
