// RawInput.h: the octets of one input as they are on disk, handed out in
// slices: a regular file is mapped, a pipe or terminal is read into a reused
// buffer, and memory given by the caller is sliced as it is. The position
// may be read from another thread (for a progress bar).
//
//   RawInput raw = RawInput::open( "rib.bz2" );
//   for ( auto s = raw.next(); !s.empty(); s = raw.next() ) inflate( s );
#pragma once

#include "Kel/Types.h"

#include <atomic>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>

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

// RawInput
class RawInput {
 public:
   // Slices of a mapped file or of memory, so that progress moves.
   static constexpr size_t sliceSize = 4 << 20;

   // RawInput(): opens the file ("-" is standard input); throws ByteSourceError.
   explicit RawInput( const std::string& path );
   // RawInput(): octets the caller keeps alive, named name in errors.
   RawInput( std::span<const U8> memory, std::string name );
   ~RawInput();
   RawInput( const RawInput& ) = delete;
   RawInput& operator=( const RawInput& ) = delete;

   // next(): the following octets, empty at the end; valid until the next call.
   std::span<const U8> next();
   // peek(): the first octets of the input (up to n, fewer only when it is
   // shorter); next() hands them out again.
   std::span<const U8> peek( size_t n );

   const std::string& name() const { return name_; }
   // position(): octets handed out so far; any thread.
   U64 position() const { return position_.load( std::memory_order_relaxed ); }
   // size(): of a regular file or memory; 0 when unknown.
   U64 size() const { return size_; }

   // fail(): throws ByteSourceError naming the input.
   [[noreturn]] void fail( const std::string& cause ) const;

 private:
   size_t readSome( U8* dest, size_t size );

   std::string name_;
   int fd_ = -1;
   bool ownsFd_ = false;
   const U8* mapped_ = nullptr; // mapped file or caller's memory
   size_t mappedSize_ = 0;
   bool unmap_ = false;
   U64 size_ = 0;
   std::atomic<U64> position_ = 0;
   std::unique_ptr<U8[]> buffer_; // for reads
   size_t buffered_ = 0;          // octets peeked and not yet handed out
   bool eof_ = false;
};

} // namespace Bgpcomm
