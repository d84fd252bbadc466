#include "tools/bgpcomm/ByteSink.h"

#include <zlib.h>

#include <cerrno>
#include <cstring>

namespace Bgpcomm {

namespace {

bool endsWith( const std::string& s, const char* tail ) {
   size_t n = std::strlen( tail );
   return s.size() >= n && s.compare( s.size() - n, n, tail ) == 0;
}

} // namespace

ByteSink::ByteSink( const std::string& path ) : path_( path ) {
   if ( endsWith( path, ".gz" ) ) {
      gzFile gz = gzopen( path.c_str(), "wb6" );
      if ( !gz )
         fail( std::strerror( errno ) );
      gzbuffer( gz, 1 << 20 );
      gz_ = gz;
   } else {
      file_ = std::fopen( path.c_str(), "wb" );
      if ( !file_ )
         fail( std::strerror( errno ) );
   }
}

ByteSink::~ByteSink() {
   if ( gz_ )
      gzclose( static_cast<gzFile>( gz_ ) );
   if ( file_ )
      std::fclose( file_ );
}

void ByteSink::fail( const std::string& what ) const { throw ByteSinkError( path_ + ": " + what ); }

void ByteSink::write( std::span<const U8> octets ) {
   if ( octets.empty() )
      return;
   if ( gz_ ) {
      if ( gzwrite( static_cast<gzFile>( gz_ ), octets.data(), unsigned( octets.size() ) ) <= 0 ) {
         int code;
         const char* msg = gzerror( static_cast<gzFile>( gz_ ), &code );
         fail( code == Z_ERRNO ? std::strerror( errno ) : msg );
      }
   } else if ( file_ ) {
      if ( std::fwrite( octets.data(), 1, octets.size(), file_ ) != octets.size() ) {
         fail( std::strerror( errno ) );
      }
   } else {
      fail( "written after close" );
   }
}

void ByteSink::close() {
   if ( gz_ ) {
      int rc = gzclose( static_cast<gzFile>( gz_ ) );
      gz_ = nullptr;
      if ( rc != Z_OK )
         fail( rc == Z_ERRNO ? std::strerror( errno ) : "gzip close failed" );
   }
   if ( file_ ) {
      int rc = std::fclose( file_ );
      file_ = nullptr;
      if ( rc != 0 )
         fail( std::strerror( errno ) );
   }
}

} // namespace Bgpcomm
