// Bex/Epoch.h: deferred freeing for memory that threads read without a
// lock (epoch-based reclamation). A reader pins its thread for the span of
// its reads; memory unlinked from every shared structure is retired, and
// freed only once every thread pinned at that time has unpinned. A pin
// writes only the pinning thread's own record, so readers on different
// threads share no written cache line.
//
//   { Bex::EpochPin pin; probe( slots.load() ); }          // reader
//   slots.store( grown ); Bex::epochRetire( old, std::free );   // writer
#pragma once

#include <atomic>

#include "Kel/Types.h"

namespace Bex {

// EpochRecord: one thread's announcement: the epoch it pinned in, or zero.
struct alignas( 64 ) EpochRecord {
   std::atomic<U64> pinned{ 0 };
   std::atomic<bool> inUse{ false };
   U32 depth = 0; // pins nest; only the owning thread touches it
   EpochRecord* next = nullptr;
};

// epochRecord(): this thread's record, claimed on first use and given back
// when the thread ends.
EpochRecord& epochRecord() noexcept;
// epochNow(): the global epoch (it starts at 1, so zero means unpinned).
U64 epochNow() noexcept;

// EpochPin: this thread's reads in its scope see no retired memory freed.
class EpochPin {
 public:
   EpochPin() noexcept : record_( epochRecord() ) {
      if ( record_.depth++ == 0 ) {
         // The announcement must be visible before any shared read: a
         // sequentially consistent exchange orders it (one locked op).
         record_.pinned.exchange( epochNow(), std::memory_order_seq_cst );
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
// p must already be unreachable for readers that pin from now on.
void epochRetire( void* p, void ( *free )( void* ) ) noexcept;

} // namespace Bex
