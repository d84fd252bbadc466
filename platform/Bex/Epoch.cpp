#include "Bex/Epoch.h"

#include <linux/membarrier.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <mutex>
#include <vector>

namespace Bex {

namespace {

// The records of every thread that ever pinned, never freed (threads come
// and go; their records are reused), and the memory waiting to be freed.
// Both live in one object that is never destroyed, so that threads ending
// after static destruction began still find them.
struct Retired {
   void* p;
   void ( *free )( void* );
   U64 epoch;
};

struct EpochState {
   std::atomic<EpochRecord*> records{ nullptr };
   std::mutex mutex; // the retired list; never taken by a reader
   std::vector<Retired> retired;
   size_t scanAt = 0; // the retired list's size that starts the next scan
};

// kBatch: retirements between two scans. A scan costs one process-wide
// barrier (a few microseconds), so that removals, which retire a member
// each, pay it once every so many.
constexpr size_t kBatch = 32;

bool processBarrier() noexcept {
   return syscall( __NR_membarrier, MEMBARRIER_CMD_PRIVATE_EXPEDITED, 0, 0 ) == 0;
}

// Pins go light once the barrier is known to work in this process.
[[maybe_unused]] const bool barrierRegistered = [] {
   const bool ok =
         syscall( __NR_membarrier, MEMBARRIER_CMD_REGISTER_PRIVATE_EXPEDITED, 0, 0 ) == 0 &&
         processBarrier();
   epochPinLight.store( ok, std::memory_order_relaxed );
   return ok;
}();

EpochState& state() noexcept {
   static EpochState* s = new EpochState;
   return *s;
}

EpochRecord* claimRecord() {
   EpochState& s = state();
   for ( EpochRecord* r = s.records.load( std::memory_order_acquire ); r; r = r->next ) {
      bool free = false;
      if ( !r->inUse.load( std::memory_order_relaxed ) &&
           r->inUse.compare_exchange_strong( free, true ) ) {
         return r;
      }
   }
   auto* r = new EpochRecord;
   r->inUse.store( true, std::memory_order_relaxed );
   EpochRecord* head = s.records.load( std::memory_order_relaxed );
   do {
      r->next = head;
   } while ( !s.records.compare_exchange_weak( head, r ) );
   return r;
}

// Gives the record back when its thread ends.
struct RecordOwner {
   EpochRecord* record = claimRecord();
   ~RecordOwner() {
      epochRecordOfThread = nullptr;
      record->pinned.store( 0, std::memory_order_release );
      record->inUse.store( false, std::memory_order_release );
   }
};

} // namespace

EpochRecord& epochRecordClaimed() noexcept {
   static thread_local RecordOwner owner;
   epochRecordOfThread = owner.record;
   return *owner.record;
}

void epochRetire( void* p, void ( *free )( void* ) ) noexcept {
   EpochState& s = state();
   std::vector<Retired> ready;
   {
      std::lock_guard<std::mutex> lock( s.mutex );
      s.retired.push_back( Retired{ p, free, epochNow() } );
      if ( s.retired.size() < s.scanAt ) {
         return;
      }
      // Whatever the callers unlinked is ordered before the scan below, and
      // so is every pinned thread's announcement (pins do not fence when
      // the barrier does it for them): a reader either shows up pinned in
      // the scan, or pinned later and cannot reach what was retired.
      if ( !( epochPinLight.load( std::memory_order_relaxed ) && processBarrier() ) ) {
         std::atomic_thread_fence( std::memory_order_seq_cst );
      }
      const U64 now = epochCounter.load( std::memory_order_seq_cst );
      bool quiet = true;
      for ( EpochRecord* r = s.records.load( std::memory_order_acquire ); r && quiet;
            r = r->next ) {
         const U64 pinned = r->pinned.load( std::memory_order_acquire );
         quiet = pinned == 0 || pinned == now;
      }
      U64 epoch = now;
      if ( quiet ) {
         // Every pinned thread has seen this epoch: the next one begins.
         epoch = now + 1;
         epochCounter.store( epoch, std::memory_order_seq_cst );
      }
      // Two epochs after its retirement nobody pinned can still hold p.
      size_t kept = 0;
      for ( const Retired& item : s.retired ) {
         if ( item.epoch + 2 <= epoch ) {
            ready.push_back( item );
         } else {
            s.retired[ kept++ ] = item;
         }
      }
      s.retired.resize( kept );
      s.scanAt = kept + kBatch;
   }
   for ( const Retired& item : ready ) {
      item.free( item.p );
   }
}

} // namespace Bex
