// ByteSink.h: a file written front to back, gzip-compressed when its name ends
// in ".gz", so that generated dumps look like the ones collectors publish.
//
//   ByteSink out( "synthetic.mrt.gz" );
//   out.write( builder.data() ); out.close();
#pragma once

#include "Kel/Types.h"

#include <cstdio>
#include <span>
#include <stdexcept>
#include <string>

namespace Bgpcomm {

// ByteSinkError: the file cannot be created or written; what() names it.
class ByteSinkError : public std::runtime_error {
 public:
   using std::runtime_error::runtime_error;
};

// ByteSink
class ByteSink {
 public:
   // ByteSink(): creates (truncates) the file; throws ByteSinkError.
   explicit ByteSink( const std::string& path );
   ~ByteSink();
   ByteSink( const ByteSink& ) = delete;
   ByteSink& operator=( const ByteSink& ) = delete;

   // write(); throws ByteSinkError.
   void write( std::span<const U8> octets );
   // close(): flushes and closes; throws ByteSinkError. Later writes are errors.
   void close();

 private:
   [[noreturn]] void fail( const std::string& what ) const;

   std::string path_;
   void* gz_ = nullptr; // gzFile
   std::FILE* file_ = nullptr;
};

} // namespace Bgpcomm
