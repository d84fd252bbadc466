// KelStow/StoreManager.h: the store: an arena of stowed records, in memory
// or in a memory-mapped file, whose records refer to each other by offset,
// never by address (a growing arena moves). Each record opens with a version
// anchor that the reader checks before it trusts a byte of the record.
//
//   auto store = KelStow::StoreManager::createFile( "/var/tmp/paths.stow" );
//   U64 at = list->stow( store.ptr() );  store->rootIs( at );  store->sync();
#pragma once

#include <stdexcept>
#include <string>

#include "Kel/Ptr.h"
#include "Kel/Types.h"

namespace KelStow {

// StoreException: a store that cannot be trusted: truncated, foreign, or a
// record whose anchor is not the one expected.
class StoreException : public std::runtime_error {
 public:
   explicit StoreException( const std::string& message ) : std::runtime_error( message ) {}
};

// Anchor: the first eight octets of every record.
struct Anchor {
   U32 tag;
   U16 version;
   U16 reserved;
};

// StoreManager: the arena. Not thread-safe: one writer at a time, and no
// reader while it grows. File layout: a header at offset 0 (magic
// "KELSTOW1", format version, used octets, root offset), then records.
class StoreManager : public Kel::PtrInterface {
   struct Token {
      explicit Token() = default;
   };

 public:
   using Ptr = Kel::Ptr<StoreManager>;
   using PtrConst = Kel::Ptr<const StoreManager>;

   static Ptr inMemory( size_t initialCapacity = 4096 );
   // createFile(): a new (or truncated) file, mapped read-write.
   static Ptr createFile( const std::string& path, size_t initialCapacity = 1 << 16 );
   // openFile(): an existing store file, mapped read-write.
   static Ptr openFile( const std::string& path );
   ~StoreManager() override;
   StoreManager( const StoreManager& ) = delete;
   StoreManager& operator=( const StoreManager& ) = delete;

   // allocate(): zeroed space aligned to align (a power of two); the offset
   // stays valid as the arena grows, addresses from translate() do not.
   U64 allocate( size_t bytes, size_t align = 8 );
   // translate(): the address of offset; offset and bytes must lie inside
   // the used area.
   void* translate( U64 offset, size_t bytes = 1 );
   const void* translate( U64 offset, size_t bytes = 1 ) const;
   // offsetOf(): the offset of an address inside the arena.
   U64 offsetOf( const void* address ) const;

   // stowRecord(): allocates a record of recordBytes (anchor included) and
   // writes its anchor.
   U64 stowRecord( U32 tag, U16 version, size_t recordBytes );
   // checkedRecord(): the record at offset after checking that it lies in
   // the arena and opens with the expected anchor; otherwise StoreException
   // "record at offset N: expected anchor TAG vM, found ...".
   const void* checkedRecord( U64 offset, U32 tag, U16 version, size_t recordBytes ) const;

   // rootIs() / root(): the offset a reopened store starts from (0: none).
   void rootIs( U64 offset );
   U64 root() const;
   // used(): octets in use, header included.
   U64 used() const;
   bool fileBacked() const noexcept { return fd_ >= 0; }
   // sync(): flushes a file-backed store to its file.
   void sync();

   StoreManager( Token, int fd, char* base, size_t capacity, std::string path );

 private:
   void reserveCapacity( size_t needed );

   int fd_;
   char* base_;
   size_t capacity_;
   std::string path_;
};

} // namespace KelStow
