// OutputBuffer.h: text collected in memory and written to a stream in large
// chunks, so that printing a million routes costs a few hundred writes.
//
//   OutputBuffer out( stdout );
//   out.text() += "10.0.0.0/8\n"; out.flushIfFull();
#pragma once

#include <cstdio>
#include <string>

namespace Bgpcomm {

// OutputBuffer
class OutputBuffer {
 public:
   static constexpr size_t flushSize = 64 * 1024;

   explicit OutputBuffer( std::FILE* stream ) : stream_( stream ) {
      text_.reserve( 2 * flushSize );
   }
   ~OutputBuffer() { flush(); }
   OutputBuffer( const OutputBuffer& ) = delete;
   OutputBuffer& operator=( const OutputBuffer& ) = delete;

   // text(): the pending text, to append to.
   std::string& text() { return text_; }

   // flushIfFull()
   void flushIfFull() {
      if ( text_.size() >= flushSize )
         flush();
   }

   // streamIs(): what follows goes to stream.
   void streamIs( std::FILE* stream ) {
      flush();
      stream_ = stream;
   }

   // flush(): writes the stream's own buffer, then the pending text.
   void flush();

 private:
   std::FILE* stream_;
   std::string text_;
};

} // namespace Bgpcomm
