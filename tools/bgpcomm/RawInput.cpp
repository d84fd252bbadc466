#include "tools/bgpcomm/RawInput.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <algorithm>
#include <cerrno>
#include <cstring>

namespace Bgpcomm {

namespace {

constexpr size_t readSize = 1 << 20;

} // namespace

RawInput::RawInput( const std::string& path ) : name_( path ) {
   if ( path == "-" ) {
      fd_ = 0;
      name_ = "standard input";
   } else {
      fd_ = ::open( path.c_str(), O_RDONLY | O_CLOEXEC );
      if ( fd_ < 0 )
         fail( std::strerror( errno ) );
      ownsFd_ = true;
   }
   struct stat st;
   if ( ::fstat( fd_, &st ) != 0 )
      return;
   if ( S_ISDIR( st.st_mode ) ) {
      ::close( fd_ );
      fd_ = -1;
      fail( "is a directory" );
   }
   if ( !S_ISREG( st.st_mode ) )
      return;
   size_ = U64( st.st_size );
   if ( size_ == 0 )
      return;
   // A file that cannot be mapped (some special file systems) is read instead.
   void* m = ::mmap( nullptr, size_t( size_ ), PROT_READ, MAP_PRIVATE, fd_, 0 );
   if ( m == MAP_FAILED )
      return;
   ::madvise( m, size_t( size_ ), MADV_SEQUENTIAL );
   mapped_ = static_cast<const U8*>( m );
   mappedSize_ = size_t( size_ );
   unmap_ = true;
}

RawInput::RawInput( std::span<const U8> memory, std::string name )
      : name_( std::move( name ) ),
        mapped_( memory.data() ),
        mappedSize_( memory.size() ),
        size_( memory.size() ) {}

RawInput::~RawInput() {
   if ( unmap_ )
      ::munmap( const_cast<U8*>( mapped_ ), mappedSize_ );
   if ( ownsFd_ && fd_ >= 0 )
      ::close( fd_ );
}

void RawInput::fail( const std::string& cause ) const { throw ByteSourceError( name_, cause ); }

size_t RawInput::readSome( U8* dest, size_t size ) {
   for ( ;; ) {
      ssize_t n = ::read( fd_, dest, size );
      if ( n >= 0 )
         return size_t( n );
      if ( errno != EINTR )
         fail( std::strerror( errno ) );
   }
}

std::span<const U8> RawInput::peek( size_t n ) {
   if ( mapped_ || fd_ < 0 )
      return { mapped_, std::min( n, mappedSize_ ) };
   if ( !buffer_ )
      buffer_.reset( new U8[ readSize ] );
   n = std::min( n, readSize );
   while ( buffered_ < n && !eof_ ) {
      size_t got = readSome( buffer_.get() + buffered_, n - buffered_ );
      eof_ = got == 0;
      buffered_ += got;
   }
   return { buffer_.get(), std::min( n, buffered_ ) };
}

std::span<const U8> RawInput::next() {
   U64 at = position();
   if ( mapped_ || fd_ < 0 ) {
      // The slice handed out before is done with: its pages leave this
      // process's memory instead of adding up to the whole file.
      if ( unmap_ && at >= sliceSize ) {
         ::madvise( const_cast<U8*>( mapped_ ) + at - sliceSize, sliceSize, MADV_DONTNEED );
      }
      size_t n = std::min<U64>( sliceSize, mappedSize_ - at );
      position_.store( at + n, std::memory_order_relaxed );
      return { mapped_ + at, n };
   }
   if ( !buffer_ )
      buffer_.reset( new U8[ readSize ] );
   size_t have = buffered_;
   buffered_ = 0;
   // One read is enough: a pipe hands out what it has, and waiting for more
   // would only delay the decompressor.
   if ( have == 0 && !eof_ ) {
      have = readSome( buffer_.get(), readSize );
      eof_ = have == 0;
   }
   position_.store( at + have, std::memory_order_relaxed );
   return { buffer_.get(), have };
}

} // namespace Bgpcomm
