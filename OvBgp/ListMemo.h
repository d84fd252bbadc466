// OvBgp/ListMemo.h: what one policy step made of each interned list it saw
// (the edited list, or whether it matched), so that a step applied to many
// paths costs one computation per distinct list. Entries are keyed by the
// list's identity, bounded in number, and forgotten when the list (or the
// result they name) leaves its table: the memo hears that from the table's
// lifetime notifiee, shared by every memo of the table and chained to a
// notifiee installed before it. The memo counts no reference: what it
// remembers never keeps a list in its table (two edits undoing each other
// would otherwise keep each other's lists forever).
//
//   ListMemo memo( table->dedupTable() );
//   if ( !memo.findEdit( list.ptr(), &result ) ) { result = ...; memo.rememberEdit( list.ptr(), result.ptr() ); }
#pragma once

#include <atomic>
#include <optional>
#include <thread>
#include <unordered_map>
#include <vector>

#include "Bex/DedupHashTable.h"
#include "Kel/Ptr.h"

namespace Routing::Bgp {

class ListMemoHub;

// ListMemo: see the file comment. Thread-safe; the caller holds the lists
// it passes in.
class ListMemo {
 public:
   static constexpr size_t kDefaultBound = size_t( 1 ) << 16;

   // ListMemo(): remembers lists of table, at most bound of them at once;
   // reaching the bound starts it over.
   explicit ListMemo( const Bex::DedupHashTable::Ptr& table, size_t bound = kDefaultBound );
   ~ListMemo();
   ListMemo( const ListMemo& ) = delete;
   ListMemo& operator=( const ListMemo& ) = delete;

   // findEdit(): the result remembered for list (list itself when the edit
   // left it as it was), with a reference of its own; false when none.
   bool findEdit( const Bex::DedupHandle* list, Bex::DedupHandle::PtrConst* result ) const;
   // rememberEdit(): result, a member of the table, for list.
   void rememberEdit( const Bex::DedupHandle* list, const Bex::DedupHandle* result );
   // findMatch() / rememberMatch(): a match's answer for list.
   std::optional<bool> findMatch( const Bex::DedupHandle* list ) const;
   void rememberMatch( const Bex::DedupHandle* list, bool matched );
   // remembered(): entries right now.
   size_t remembered() const;

 private:
   friend class ListMemoHub;
   struct Entry {
      const Bex::DedupHandle* result = nullptr; // an edit's; null for a match
      U32 resultHash = 0;                       // where the table places result
      bool matched = false;
   };
   // Entries: entries by list identity in one open-addressing array (at
   // most half full), so that a hit reads one slot.
   class Entries {
    public:
      const Entry* find( const Bex::DedupHandle* list ) const noexcept;
      // insert(): false when list has an entry already.
      bool insert( const Bex::DedupHandle* list, const Entry& entry );
      void erase( const Bex::DedupHandle* list ) noexcept;
      size_t size() const noexcept { return count_; }
      void clear() noexcept;

    private:
      struct Slot {
         const Bex::DedupHandle* list = nullptr;
         Entry entry;
      };
      size_t home( const Bex::DedupHandle* list ) const noexcept;
      std::vector<Slot> slots_;
      size_t count_ = 0;
   };
   // remember(): entry for list, when list is a member of the table (a
   // list of another table, or of none, could leave unheard).
   void remember( const Bex::DedupHandle* list, Entry entry );
   // forget() / stop(): from the table's callbacks.
   void forget( const Bex::DedupHandle* list );
   void stop();

   Bex::DedupHashTable::Ptr table_;
   Kel::Ptr<ListMemoHub> hub_;
   size_t bound_;
   // Guard: the memo's lock for a scope, taken only with a thread-safe
   // table (a single-thread table's memo has its one thread too). Held for
   // a few loads and stores at a time: it spins, then yields.
   class Guard {
    public:
      explicit Guard( const ListMemo& memo ) noexcept
            : lock_( memo.threadSafe_ ? &memo.locked_ : nullptr ) {
         if ( !lock_ ) {
            return;
         }
         for ( unsigned spins = 0; lock_->exchange( true, std::memory_order_acquire ); ++spins ) {
            while ( lock_->load( std::memory_order_relaxed ) ) {
               if ( ++spins > 64 ) {
                  std::this_thread::yield();
               }
            }
         }
      }
      ~Guard() {
         if ( lock_ ) {
            lock_->store( false, std::memory_order_release );
         }
      }
      Guard( const Guard& ) = delete;
      Guard& operator=( const Guard& ) = delete;

    private:
      std::atomic<bool>* lock_;
   };

   bool threadSafe_ = true;
   mutable std::atomic<bool> locked_{ false };
   Entries entries_;
   // byResult_: the lists whose entry names a result, by that result, so
   // that a result leaving the table takes its entries with it.
   std::unordered_multimap<const Bex::DedupHandle*, const Bex::DedupHandle*> byResult_;
   // departures_: lists that left the table (and stops), so that a hit
   // can tell whether its result may have left since it read the entry.
   std::atomic<U64> departures_{ 0 };
   bool listening_ = true;
};

} // namespace Routing::Bgp
