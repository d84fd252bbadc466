#include "tools/bgpcomm/OutputBuffer.h"

#include <unistd.h>

#include <cerrno>

namespace Bgpcomm {

void OutputBuffer::flush() {
   std::fflush( stream_ );
   const int fd = fileno( stream_ );
   if ( fd < 0 ) {
      // A stream with no descriptor (in memory) takes the text through stdio.
      if ( !text_.empty() ) {
         std::fwrite( text_.data(), 1, text_.size(), stream_ );
         std::fflush( stream_ );
      }
      text_.clear();
      return;
   }
   // Straight to the descriptor, whole: stdio would cut the text at its own
   // buffer's size. A failed write drops the rest, as a failed fwrite would.
   const char* p = text_.data();
   size_t left = text_.size();
   while ( left > 0 ) {
      const ssize_t n = ::write( fd, p, left );
      if ( n < 0 && errno == EINTR )
         continue;
      if ( n <= 0 )
         break;
      p += n;
      left -= size_t( n );
   }
   text_.clear();
}

} // namespace Bgpcomm
