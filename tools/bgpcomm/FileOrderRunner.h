// FileOrderRunner.h: runs one job per file on several threads and shows what
// each job prints in file order. The job of the first file not yet shown
// prints straight to the streams; a job that runs ahead of it prints into
// temporary files, copied out once every file before it is shown (its
// standard output first, then its errors).
//
//   FileOrderRunner runner( files.size(), 4, stdout, stderr );
//   runner.run( [ & ]( unsigned t, size_t i, std::FILE* out, std::FILE* err ) { ... }, tick );
#pragma once

#include "Kel/Types.h"

#include <cstdio>
#include <functional>

namespace Bgpcomm {

// FileOrderRunner
class FileOrderRunner {
 public:
   // Job: the work of file i on thread thread (0 to threads - 1), printing
   // to out and err.
   using Job = std::function<void( unsigned thread, size_t index, std::FILE* out, std::FILE* err )>;

   FileOrderRunner( size_t files, unsigned threads, std::FILE* out, std::FILE* err )
         : files_( files ), threads_( threads ), out_( out ), err_( err ) {}

   // run(): every job, returning once all are shown; tick is called about
   // ten times a second meanwhile, in the calling thread (for a progress bar).
   void run( const Job& job, const std::function<void()>& tick );

 private:
   size_t files_;
   unsigned threads_;
   std::FILE* out_;
   std::FILE* err_;
};

} // namespace Bgpcomm
