#include "tools/bgpcomm/ByteSource.h"

#include <bzlib.h>
#include <zlib.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <cerrno>
#include <cstring>

namespace Bgpcomm {

namespace {

constexpr size_t inputChunk = 256 * 1024;

} // namespace

// Decoder: the decompressor state of a compressed file; only one is live.
struct ByteSource::Decoder {
   z_stream zs{};
   bz_stream bz{};
   bool zInit = false;
   bool bzInit = false;
   ~Decoder() {
      if ( zInit )
         inflateEnd( &zs );
      if ( bzInit )
         BZ2_bzDecompressEnd( &bz );
   }
};

ByteSource::ByteSource( const std::string& path ) : path_( path ), in_( new U8[ inputChunk ] ) {
   if ( path == "-" ) {
      fd_ = 0;
      path_ = "standard input";
   } else {
      fd_ = ::open( path.c_str(), O_RDONLY | O_CLOEXEC );
      if ( fd_ < 0 )
         fail( std::strerror( errno ) );
      ownsFd_ = true;
   }
   struct stat st;
   if ( ::fstat( fd_, &st ) == 0 ) {
      if ( S_ISDIR( st.st_mode ) ) {
         ::close( fd_ );
         fd_ = -1;
         fail( "is a directory" );
      }
      if ( S_ISREG( st.st_mode ) )
         rawSize_ = U64( st.st_size );
   }
   // The magic needs up to three octets; short files are plain.
   while ( inEnd_ < 3 && refill() ) {
   }
   const U8* m = in_.get();
   if ( inEnd_ >= 2 && m[ 0 ] == 0x1f && m[ 1 ] == 0x8b ) {
      compression_ = Compression::gzip;
      decoder_ = std::make_unique<Decoder>();
      // 16 + window bits: gzip framing only.
      if ( inflateInit2( &decoder_->zs, 16 + MAX_WBITS ) != Z_OK )
         fail( "zlib init failed" );
      decoder_->zInit = true;
   } else if ( inEnd_ >= 3 && m[ 0 ] == 'B' && m[ 1 ] == 'Z' && m[ 2 ] == 'h' ) {
      compression_ = Compression::bzip2;
      decoder_ = std::make_unique<Decoder>();
      if ( BZ2_bzDecompressInit( &decoder_->bz, 0, 0 ) != BZ_OK )
         fail( "bzip2 init failed" );
      decoder_->bzInit = true;
   }
}

ByteSource::~ByteSource() {
   if ( ownsFd_ && fd_ >= 0 )
      ::close( fd_ );
}

void ByteSource::fail( const std::string& what ) const { throw ByteSourceError( path_, what ); }

size_t ByteSource::readRaw( U8* dest, size_t size ) {
   for ( ;; ) {
      ssize_t n = ::read( fd_, dest, size );
      if ( n >= 0 ) {
         rawPosition_ += U64( n );
         return size_t( n );
      }
      if ( errno != EINTR )
         fail( std::strerror( errno ) );
   }
}

// refill(): appends file octets to the input chunk; false at the end of the file.
bool ByteSource::refill() {
   if ( rawEof_ )
      return false;
   if ( inBegin_ == inEnd_ )
      inBegin_ = inEnd_ = 0;
   if ( inEnd_ == inputChunk ) {
      std::memmove( in_.get(), in_.get() + inBegin_, inEnd_ - inBegin_ );
      inEnd_ -= inBegin_;
      inBegin_ = 0;
   }
   size_t n = readRaw( in_.get() + inEnd_, inputChunk - inEnd_ );
   if ( n == 0 ) {
      rawEof_ = true;
      return false;
   }
   inEnd_ += n;
   return true;
}

size_t ByteSource::read( U8* dest, size_t size ) {
   if ( size == 0 )
      return 0;
   switch ( compression_ ) {
      case Compression::gzip:
         return readGzip( dest, size );
      case Compression::bzip2:
         return readBzip2( dest, size );
      case Compression::none:
         break;
   }
   if ( inBegin_ < inEnd_ ) {
      size_t n = std::min( size, inEnd_ - inBegin_ );
      std::memcpy( dest, in_.get() + inBegin_, n );
      inBegin_ += n;
      return n;
   }
   return rawEof_ ? 0 : readRaw( dest, size );
}

// nextStreamFollows(): after the end of a compressed stream, whether another
// one starts; anything else (padding some writers leave) ends the data.
bool ByteSource::nextStreamFollows( std::string_view magic ) {
   while ( inEnd_ - inBegin_ < magic.size() && refill() ) {
   }
   if ( inEnd_ - inBegin_ >= magic.size() &&
        std::memcmp( in_.get() + inBegin_, magic.data(), magic.size() ) == 0 ) {
      return true;
   }
   inBegin_ = inEnd_;
   rawEof_ = true;
   return false;
}

// A compressed file may hold several streams back to back (parallel
// compressors write them that way); each end of stream starts the next one.
size_t ByteSource::readGzip( U8* dest, size_t size ) {
   z_stream& zs = decoder_->zs;
   zs.next_out = dest;
   zs.avail_out = uInt( size );
   while ( zs.avail_out == size ) {
      if ( inBegin_ == inEnd_ && !refill() ) {
         if ( !streamEnded_ )
            fail( "gzip data is truncated" );
         return 0;
      }
      if ( streamEnded_ ) {
         if ( !nextStreamFollows( "\x1f\x8b" ) )
            return 0;
         if ( inflateReset( &zs ) != Z_OK )
            fail( "zlib reset failed" );
         streamEnded_ = false;
      }
      zs.next_in = in_.get() + inBegin_;
      zs.avail_in = uInt( inEnd_ - inBegin_ );
      int rc = inflate( &zs, Z_NO_FLUSH );
      inBegin_ = inEnd_ - zs.avail_in;
      if ( rc == Z_STREAM_END ) {
         streamEnded_ = true;
      } else if ( rc != Z_OK && rc != Z_BUF_ERROR ) {
         fail( std::string( "corrupt gzip data (" ) + ( zs.msg ? zs.msg : "zlib error" ) + ")" );
      }
   }
   return size - zs.avail_out;
}

size_t ByteSource::readBzip2( U8* dest, size_t size ) {
   bz_stream& bz = decoder_->bz;
   bz.next_out = reinterpret_cast<char*>( dest );
   bz.avail_out = unsigned( size );
   while ( bz.avail_out == size ) {
      if ( inBegin_ == inEnd_ && !refill() ) {
         if ( !streamEnded_ )
            fail( "bzip2 data is truncated" );
         return 0;
      }
      if ( streamEnded_ ) {
         if ( !nextStreamFollows( "BZh" ) )
            return 0;
         BZ2_bzDecompressEnd( &bz );
         decoder_->bzInit = false;
         bz = bz_stream{};
         if ( BZ2_bzDecompressInit( &bz, 0, 0 ) != BZ_OK )
            fail( "bzip2 init failed" );
         decoder_->bzInit = true;
         bz.next_out = reinterpret_cast<char*>( dest );
         bz.avail_out = unsigned( size );
         streamEnded_ = false;
      }
      bz.next_in = reinterpret_cast<char*>( in_.get() + inBegin_ );
      bz.avail_in = unsigned( inEnd_ - inBegin_ );
      int rc = BZ2_bzDecompress( &bz );
      inBegin_ = inEnd_ - bz.avail_in;
      if ( rc == BZ_STREAM_END ) {
         streamEnded_ = true;
      } else if ( rc != BZ_OK ) {
         fail( "corrupt bzip2 data (error " + std::to_string( rc ) + ")" );
      }
   }
   return size - bz.avail_out;
}

} // namespace Bgpcomm
