// ByteSource.h: the octets of one input, decompressed when its first octets
// are a gzip, bzip2, xz or zstd magic, handed out in large chunks so that
// dumps of any size stream through a fixed amount of memory. A plain file is
// mapped and handed out as it is; a compressed one is inflated on a thread
// of its own (bzip2 on all cores) while the caller works on the previous
// chunk.
//
//   ByteSource src( "rib.20240101.0000.bz2" );
//   for ( auto chunk = src.next(); !chunk.empty(); chunk = src.next() ) consume( chunk );
#pragma once

#include "tools/bgpcomm/Inflater.h"

#include <exception>
#include <memory>
#include <string>

namespace Bgpcomm {

class InflatePipeline;

// ByteSource: the decompressed octets of one file ("-" is standard input).
class ByteSource {
 public:
   struct Options {
      // threaded: inflate on a thread of its own and bzip2 blocks on
      // bzip2Workers more (0: one per core); otherwise all in the caller.
      bool threaded = true;
      unsigned bzip2Workers = 0;
      // A gzip, xz or zstd file smaller than this inflates in the caller:
      // it takes less time than starting a thread and its buffers.
      U64 threadFrom = 0;
   };

   // ByteSource(): opens the file and looks at its magic; throws ByteSourceError.
   explicit ByteSource( const std::string& path ) : ByteSource( path, Options{} ) {}
   ByteSource( const std::string& path, Options options );
   // ByteSource(): octets in memory that outlive the source, named name.
   ByteSource( std::span<const U8> memory, std::string name, Options options );
   ~ByteSource();
   ByteSource( const ByteSource& ) = delete;
   ByteSource& operator=( const ByteSource& ) = delete;

   // next(): the following octets, valid until the next call; empty only at
   // the end. Corrupt or truncated compressed data throws ByteSourceError,
   // after every octet inflated before the fault was handed out.
   std::span<const U8> next();
   // read(): up to size octets copied into dest; 0 only at the end.
   size_t read( U8* dest, size_t size );

   Compression compression() const { return compression_; }
   // rawPosition(): octets of the file itself consumed so far (for progress).
   U64 rawPosition() const { return raw_.position(); }
   // rawSize(): size of the file, 0 when not a regular file.
   U64 rawSize() const { return raw_.size(); }
   const std::string& name() const { return raw_.name(); }

 private:
   void start( Options options );

   RawInput raw_;
   Compression compression_ = Compression::none;
   std::unique_ptr<Inflater> inflater_;
   std::unique_ptr<InflatePipeline> pipeline_;
   std::unique_ptr<U8[]> buffer_; // inflating in the caller's thread
   std::span<const U8> pending_;  // what read() has not copied yet
   std::exception_ptr error_;     // to throw at the next call
};

} // namespace Bgpcomm
