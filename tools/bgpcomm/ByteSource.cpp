#include "tools/bgpcomm/ByteSource.h"

#include "tools/bgpcomm/InflatePipeline.h"

#include <algorithm>
#include <cstring>
#include <thread>
#include <utility>

namespace Bgpcomm {

namespace {

// Inflating in the caller's thread hands out smaller chunks: nothing runs
// ahead, so a large one only costs memory.
constexpr size_t callerChunk = 64 * 1024;

} // namespace

ByteSource::ByteSource( const std::string& path, Options options ) : raw_( path ) {
   start( options );
}

ByteSource::ByteSource( std::span<const U8> memory, std::string name, Options options )
      : raw_( memory, std::move( name ) ) {
   start( options );
}

ByteSource::~ByteSource() = default;

void ByteSource::start( Options options ) {
   // The longest magic is six octets; shorter inputs are plain.
   compression_ = sniffCompression( raw_.peek( 6 ) );
   if ( compression_ == Compression::none )
      return;
   if ( compression_ != Compression::bzip2 && raw_.size() > 0 && raw_.size() < options.threadFrom )
      options.threaded = false;
   unsigned workers = 0;
   if ( options.threaded && compression_ == Compression::bzip2 ) {
      workers = options.bzip2Workers ? options.bzip2Workers
                                     : std::max( 1u, std::thread::hardware_concurrency() );
   }
   inflater_ = makeInflater( compression_, raw_, workers );
   if ( options.threaded ) {
      pipeline_ = std::make_unique<InflatePipeline>( *inflater_ );
   } else {
      buffer_.reset( new U8[ callerChunk ] );
   }
}

std::span<const U8> ByteSource::next() {
   if ( !inflater_ )
      return raw_.next();
   if ( pipeline_ )
      return pipeline_->next();
   if ( error_ )
      std::rethrow_exception( std::exchange( error_, nullptr ) );
   size_t n = 0;
   try {
      while ( n < callerChunk ) {
         size_t got = inflater_->inflate( buffer_.get() + n, callerChunk - n );
         if ( got == 0 )
            break;
         n += got;
      }
   } catch ( const ByteSourceError& ) {
      // What came before the fault is handed out first.
      if ( n == 0 )
         throw;
      error_ = std::current_exception();
   }
   return { buffer_.get(), n };
}

size_t ByteSource::read( U8* dest, size_t size ) {
   if ( pending_.empty() )
      pending_ = next();
   size_t n = std::min( size, pending_.size() );
   std::memcpy( dest, pending_.data(), n );
   pending_ = pending_.subspan( n );
   return n;
}

} // namespace Bgpcomm
