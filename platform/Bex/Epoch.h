// Bex/Epoch.h: deferred freeing for memory that threads read without a
// lock (epoch-based reclamation). A reader pins its thread for the span of
// its reads; memory unlinked from every shared structure is retired, and
// freed only once every thread pinned at that time has unpinned. A pin
// writes only the pinning thread's own record, with a plain store and no
// fence: the ordering a pin needs (its announcement before its reads) is
// forced from the retiring side instead, by one process-wide barrier
// (membarrier(2)) per batch of retirements, so readers on different threads
// share no written cache line and run no locked instruction.
//
//   { Bex::EpochPin pin; probe( slots.load() ); }          // reader
//   slots.store( grown ); Bex::epochRetire( old, std::free );   // writer
#pragma once

#include <atomic>

#include "Kel/ThreadLocal.h"
#include "Kel/Types.h"

namespace Bex {

// EpochRecord: one thread's announcement: the epoch it pinned in, or zero.
struct alignas( 64 ) EpochRecord {
   std::atomic<U64> pinned{ 0 };
   std::atomic<bool> inUse{ false };
   U32 depth = 0; // pins nest; only the owning thread touches it
   EpochRecord* next = nullptr;
};

// epochRecordClaimed(): this thread's record, claimed on first use and
// given back when the thread ends; epochRecord() is its fast path.
EpochRecord& epochRecordClaimed() noexcept;
// Hot (Kel/ThreadLocal.h): every pin reads it, and the general model's
// lookup call would cost a hit more than the pin itself.
constinit inline thread_local EpochRecord* epochRecordOfThread KEL_HOT_THREAD_LOCAL = nullptr;
inline EpochRecord& epochRecord() noexcept {
   EpochRecord* record = epochRecordOfThread;
   return record ? *record : epochRecordClaimed();
}

// epochNow(): the global epoch (it starts at 1, so zero means unpinned).
alignas( 64 ) constinit inline std::atomic<U64> epochCounter{ 1 };
inline U64 epochNow() noexcept { return epochCounter.load( std::memory_order_acquire ); }

// epochPinLight: whether pins may skip their fence, because retirements
// force one on every thread (the kernel's expedited membarrier(2) was
// registered when the process started; until then, and without it, pins
// fence themselves).
constinit inline std::atomic<bool> epochPinLight{ false };

// EpochPin: this thread's reads in its scope see no retired memory freed.
class EpochPin {
 public:
   EpochPin() noexcept : record_( epochRecord() ) {
      if ( record_.depth++ == 0 ) {
         // The announcement must be visible before any shared read. The
         // retiring side's barrier orders it against everything a retirement
         // scans; the store is a release so that the scan that sees it also
         // sees this thread's earlier reads done (what tools that check
         // races need to see it).
         record_.pinned.store( epochNow(), std::memory_order_release );
         if ( epochPinLight.load( std::memory_order_relaxed ) ) {
            std::atomic_signal_fence( std::memory_order_seq_cst );
         } else {
            std::atomic_thread_fence( std::memory_order_seq_cst );
         }
      }
   }
   ~EpochPin() {
      if ( --record_.depth == 0 ) {
         record_.pinned.store( 0, std::memory_order_release );
      }
   }
   EpochPin( const EpochPin& ) = delete;
   EpochPin& operator=( const EpochPin& ) = delete;

 private:
   EpochRecord& record_;
};

// epochRetire(): free( p ) once no thread that may still read p is pinned.
// p must already be unreachable for readers that pin from now on. Memory is
// scanned for in batches (one barrier each), so a few dozen retirements
// wait for the next batch.
void epochRetire( void* p, void ( *free )( void* ) ) noexcept;

} // namespace Bex
