#include "Bex/Epoch.h"

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
   alignas( 64 ) std::atomic<U64> epoch{ 1 };
   std::atomic<EpochRecord*> records{ nullptr };
   std::mutex mutex; // the retired list; never taken by a reader
   std::vector<Retired> retired;
};

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
      record->pinned.store( 0, std::memory_order_release );
      record->inUse.store( false, std::memory_order_release );
   }
};

} // namespace

EpochRecord& epochRecord() noexcept {
   static thread_local RecordOwner owner;
   return *owner.record;
}

U64 epochNow() noexcept { return state().epoch.load( std::memory_order_seq_cst ); }

void epochRetire( void* p, void ( *free )( void* ) ) noexcept {
   EpochState& s = state();
   std::vector<Retired> ready;
   {
      std::lock_guard<std::mutex> lock( s.mutex );
      // Whatever the caller unlinked is ordered before the scan below: a
      // reader either shows up pinned in it, or pinned later and cannot
      // reach p.
      std::atomic_thread_fence( std::memory_order_seq_cst );
      const U64 now = s.epoch.load( std::memory_order_seq_cst );
      s.retired.push_back( Retired{ p, free, now } );
      bool quiet = true;
      for ( EpochRecord* r = s.records.load( std::memory_order_acquire ); r && quiet;
            r = r->next ) {
         const U64 pinned = r->pinned.load( std::memory_order_seq_cst );
         quiet = pinned == 0 || pinned == now;
      }
      U64 epoch = now;
      if ( quiet ) {
         // Every pinned thread has seen this epoch: the next one begins.
         epoch = now + 1;
         s.epoch.store( epoch, std::memory_order_seq_cst );
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
   }
   for ( const Retired& item : ready ) {
      item.free( item.p );
   }
}

} // namespace Bex
