// ByteSource.h: a file read front to back in chunks, decompressed on the fly
// when its first octets are a gzip or bzip2 header, so that dumps of any size
// stream through a fixed amount of memory.
//
//   ByteSource src( "rib.20240101.0000.bz2" );
//   while ( size_t n = src.read( buf, sizeof buf ) ) consume( buf, n );
#pragma once

#include "Kel/Types.h"

#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

namespace Bgpcomm {

// ByteSourceError: the file cannot be opened or read, or its compressed data
// is corrupt or cut short; what() names the file and the cause.
class ByteSourceError : public std::runtime_error {
 public:
   ByteSourceError( const std::string& path, const std::string& cause )
         : std::runtime_error( path + ": " + cause ), cause_( cause ) {}
   // cause(): what() without the file name.
   const std::string& cause() const { return cause_; }

 private:
   std::string cause_;
};

// Compression: what the first octets of the file said.
enum class Compression : U8 { none, gzip, bzip2 };

// ByteSource: the decompressed octets of one file ("-" is standard input).
class ByteSource {
 public:
   // ByteSource(): opens the file and looks at its magic; throws ByteSourceError.
   explicit ByteSource( const std::string& path );
   ~ByteSource();
   ByteSource( const ByteSource& ) = delete;
   ByteSource& operator=( const ByteSource& ) = delete;

   // read(): up to size octets into dest; 0 only at the end of the data.
   // Corrupt or truncated compressed data throws ByteSourceError.
   size_t read( U8* dest, size_t size );

   // compression()
   Compression compression() const { return compression_; }
   // rawPosition(): octets of the file itself consumed so far (for progress).
   U64 rawPosition() const { return rawPosition_; }
   // rawSize(): size of the file, 0 when not a regular file.
   U64 rawSize() const { return rawSize_; }

 private:
   struct Decoder;
   size_t readRaw( U8* dest, size_t size );
   bool refill();
   bool nextStreamFollows( std::string_view magic );
   size_t readGzip( U8* dest, size_t size );
   size_t readBzip2( U8* dest, size_t size );
   [[noreturn]] void fail( const std::string& what ) const;

   std::string path_;
   int fd_ = -1;
   bool ownsFd_ = false;
   Compression compression_ = Compression::none;
   U64 rawPosition_ = 0;
   U64 rawSize_ = 0;
   std::unique_ptr<U8[]> in_;
   size_t inBegin_ = 0;
   size_t inEnd_ = 0;
   bool rawEof_ = false;
   bool streamEnded_ = false;
   std::unique_ptr<Decoder> decoder_;
};

} // namespace Bgpcomm
