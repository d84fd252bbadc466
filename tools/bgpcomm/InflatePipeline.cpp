#include "tools/bgpcomm/InflatePipeline.h"

#include <algorithm>
#include <utility>

namespace Bgpcomm {

InflatePipeline::InflatePipeline( Inflater& inflater )
      : inflater_( inflater ), ring_( bufferCount ), thread_( [ this ] { run(); } ) {}

InflatePipeline::~InflatePipeline() {
   {
      std::lock_guard lock( mutex_ );
      stop_ = true;
   }
   changed_.notify_all();
   thread_.join();
}

void InflatePipeline::run() {
   size_t fillAt = 0;
   // The first buffers are handed over part full, so that the decoder starts
   // at once instead of after 4 MB (on a small file: after all of it).
   size_t fill = firstFill;
   for ( ;; ) {
      {
         std::unique_lock lock( mutex_ );
         changed_.wait( lock, [ & ] { return stop_ || full_ < ring_.size(); } );
         if ( stop_ )
            return;
      }
      // The buffer is ours until it is counted full.
      Buffer& b = ring_[ fillAt ];
      b.size = 0;
      bool end = false;
      std::exception_ptr error;
      try {
         while ( b.size < fill ) {
            size_t n = inflater_.inflate( b.data.get() + b.size, fill - b.size );
            if ( n == 0 ) {
               end = true;
               break;
            }
            b.size += n;
         }
      } catch ( ... ) {
         error = std::current_exception();
      }
      fill = std::min( bufferSize, fill * 4 );
      std::lock_guard lock( mutex_ );
      if ( b.size > 0 ) {
         ++full_;
         fillAt = ( fillAt + 1 ) % ring_.size();
      }
      if ( end || error ) {
         ended_ = true;
         error_ = error;
      }
      changed_.notify_all();
      if ( ended_ )
         return;
   }
}

std::span<const U8> InflatePipeline::next() {
   std::unique_lock lock( mutex_ );
   if ( holding_ ) {
      holding_ = false;
      --full_;
      changed_.notify_all();
   }
   changed_.wait( lock, [ & ] { return full_ > 0 || ended_; } );
   if ( full_ == 0 ) {
      if ( std::exception_ptr e = std::exchange( error_, nullptr ) )
         std::rethrow_exception( e );
      return {};
   }
   Buffer& b = ring_[ readAt_ ];
   readAt_ = ( readAt_ + 1 ) % ring_.size();
   holding_ = true;
   return { b.data.get(), b.size };
}

} // namespace Bgpcomm
