// InflatePipeline.h: a decompressor run on a thread of its own, one buffer
// ahead of its reader: it fills a small ring of large buffers while the
// reader decodes the one it was handed, so inflating and decoding overlap.
//
//   InflatePipeline pipe( *inflater );
//   for ( auto chunk = pipe.next(); !chunk.empty(); chunk = pipe.next() ) decode( chunk );
#pragma once

#include "tools/bgpcomm/Inflater.h"

#include <condition_variable>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

namespace Bgpcomm {

// InflatePipeline
class InflatePipeline {
 public:
   static constexpr size_t bufferSize = 4 << 20;
   static constexpr size_t bufferCount = 3;
   // What the first buffer holds when handed over; each next one up to four
   // times more, up to bufferSize.
   static constexpr size_t firstFill = 64 << 10;

   // InflatePipeline(): starts inflating; inflater outlives the pipeline.
   explicit InflatePipeline( Inflater& inflater );
   // ~InflatePipeline(): stops the thread, even in mid-file.
   ~InflatePipeline();
   InflatePipeline( const InflatePipeline& ) = delete;
   InflatePipeline& operator=( const InflatePipeline& ) = delete;

   // next(): the following inflated octets, valid until the next call; empty
   // at the end. An error of the inflater is thrown here, after the octets
   // inflated before it.
   std::span<const U8> next();

 private:
   struct Buffer {
      std::unique_ptr<U8[]> data{ new U8[ bufferSize ] };
      size_t size = 0;
   };

   void run();

   Inflater& inflater_;
   std::vector<Buffer> ring_;
   std::mutex mutex_;
   std::condition_variable changed_;
   size_t full_ = 0;      // buffers filled and not given back, the one held included
   size_t readAt_ = 0;    // the reader's next buffer
   bool holding_ = false; // the reader holds ring_[ readAt_ - 1 ]
   bool ended_ = false;
   bool stop_ = false;
   std::exception_ptr error_;
   std::thread thread_;
};

} // namespace Bgpcomm
