// Bex/DedupHashTable.h: the interning set behind every value and list table.
// It holds one reference of its own to each member; when the references held
// outside drop to none, the member leaves the table (handleRemove fires) and
// is destroyed. A hit is one hash and one probe of an open-addressing array;
// the reference it returns comes from a reserve the table counted ahead, so
// it touches no count (one atomic add refills the reserve every so many
// hits); nothing is allocated.
//
//   auto table = Bex::DedupHashTableUnorderedSet::DedupHashTableUnorderedSetIs( threadSafe );
//   DedupHandle::Ptr canonical = table->dedup( candidate );
//
// The thread-safe variant splits the set into shards, each behind its own
// spin lock. Releases are lock-free decrements; one that may have left only
// the table's references then takes the shard's lock and detaches the member
// if it is still there with no outside reference. Lookups take their
// reference under the same lock, so a lookup never returns a member that is
// leaving, and a release that finds its handle revived or already gone
// leaves it alone without touching it. Lifetime callbacks run under the
// shard's lock and, in the thread-safe variant, one table-wide mutex, so
// notifiees see every table's events in the order they happened and need no
// lock of their own; a callback must not intern into or release the last
// outside reference of a member of the same table. A table must outlive the
// threads that still release its members.
#pragma once

#include <atomic>
#include <mutex>
#include <thread>

#include "Bex/DedupHandle.h"
#include "Kel/Ptr.h"
#include "Kel/Types.h"

namespace Bex {

class DedupHashTable;
class DumpContext;

// DedupHashTableLifeTimeNotifiee: the one observer of a table's membership.
class DedupHashTableLifeTimeNotifiee : public Kel::PtrInterface {
 public:
   using Ptr = Kel::Ptr<DedupHashTableLifeTimeNotifiee>;
   using PtrConst = Kel::Ptr<const DedupHashTableLifeTimeNotifiee>;

   // handleInsert(): handle just became a member.
   virtual void handleInsert( const DedupHandle::Ptr& handle ) { (void)handle; }
   // handleRemove(): handle just left; it is destroyed right after.
   virtual void handleRemove( DedupHandle* handle ) { (void)handle; }
   // handleNotificationStop(): the table stops notifying (it is going away).
   virtual void handleNotificationStop( const Kel::Ptr<const DedupHashTable>& table ) {
      (void)table;
   }
};

// DedupHandleLifeTimeNotifier: a counted object tied to one interned handle.
// It points at the handle without counting it: the handle owns its notifier.
class DedupHandleLifeTimeNotifier : public Kel::PtrInterface {
 public:
   using Ptr = Kel::Ptr<DedupHandleLifeTimeNotifier>;
   using PtrConst = Kel::Ptr<const DedupHandleLifeTimeNotifier>;

   explicit DedupHandleLifeTimeNotifier( const DedupHandle* handle ) noexcept : handle_( handle ) {}
   const DedupHandle* handle() const noexcept { return handle_; }

 private:
   const DedupHandle* handle_;
};

// DedupHashTable: the interning set.
class DedupHashTable : public Kel::PtrInterface {
 public:
   using Ptr = Kel::Ptr<DedupHashTable>;
   using PtrConst = Kel::Ptr<const DedupHashTable>;

   explicit DedupHashTable( bool threadSafe );
   ~DedupHashTable() override;
   DedupHashTable( const DedupHashTable& ) = delete;
   DedupHashTable& operator=( const DedupHashTable& ) = delete;

   bool threadSafe() const noexcept { return threadSafe_; }
   // size(): members right now.
   size_t size() const noexcept;

   // lookupByContent(): the member holding the bare content, among those
   // whose hash() is hash; null when there is none.
   DedupHandle::PtrConst lookupByContent( const DedupContentHandle& content, U32 hash ) const {
      return lookupIf( hash, [ & ]( const DedupHandle* h ) { return h->compareByContent( content ); } );
   }

   // lookupIf(): the same with the content test inlined by the caller (the
   // hit path of the value tables).
   template <class Match>
   DedupHandle::PtrConst lookupIf( U32 hash, Match&& match ) const {
      Shard& shard = shardFor( hash );
      ShardGuard guard( shard, threadSafe_ );
      return handOut( findIf( shard, hash, match ) );
   }

   // dedup(): the member equal to handle (by compare()), or handle itself
   // after inserting it. preInsert( handle ) runs only when handle is the
   // one inserted, before it becomes visible (lists trim their storage).
   // Interned objects are immutable, so the table deals in const handles;
   // preInsert gets the candidate non-const, since it is not shared yet.
   DedupHandle::PtrConst dedup( const DedupHandle::PtrConst& handle ) {
      return dedup( handle, []( DedupHandle* ) {} );
   }
   template <class PreInsert>
   DedupHandle::PtrConst dedup( const DedupHandle::PtrConst& handle, PreInsert&& preInsert );

   // lifeTimeNotifieeIs(): installs the table's one lifetime notifiee.
   void lifeTimeNotifieeIs( const DedupHashTableLifeTimeNotifiee::Ptr& notifiee );
   DedupHashTableLifeTimeNotifiee::Ptr lifeTimeNotifiee() const;
   // notificationStop(): handleNotificationStop() once, then no more
   // callbacks. Runs by itself when the table is destroyed.
   void notificationStop();

   // forEach(): visits every member (shard by shard, under its lock); fn
   // must not intern into or release members of this table.
   template <class Fn>
   void forEach( Fn&& fn ) const {
      for ( U32 s = 0; s < shardCount_; ++s ) {
         Shard& shard = shards_[ s ];
         ShardGuard guard( shard, threadSafe_ );
         for ( U32 i = 0; i <= shard.mask; ++i ) {
            if ( shard.slots[ i ] ) {
               fn( static_cast<const DedupHandle*>( shard.slots[ i ].handle() ) );
            }
         }
      }
   }

   // dumpState(): "DedupHashTable #<members>" at the given indent.
   void dumpState( const DumpContext& ctx, U32 indent ) const;

 protected:
   void onZeroReferences() const noexcept override;

 private:
   friend class DedupHandle;

   // Slot: a member's address with 16 bits of its hash above it (user
   // addresses fit in 48 bits), so that a probe passes over other members
   // without touching them, and a slot takes eight bytes; zero is empty.
   class Slot {
    public:
      static constexpr int kTagShift = 48;
      static U16 tagOf( U32 hash ) noexcept { return U16( hash >> 12 ); }
      Slot() noexcept = default;
      Slot( U32 hash, DedupHandle* handle ) noexcept
            : bits_( U64( tagOf( hash ) ) << kTagShift | reinterpret_cast<U64>( handle ) ) {}
      explicit operator bool() const noexcept { return bits_ != 0; }
      U16 tag() const noexcept { return U16( bits_ >> kTagShift ); }
      DedupHandle* handle() const noexcept {
         return reinterpret_cast<DedupHandle*>( bits_ & ( ( U64( 1 ) << kTagShift ) - 1 ) );
      }
      // fits(): whether handle's address leaves the tag bits free.
      static bool fits( const DedupHandle* handle ) noexcept {
         return ( reinterpret_cast<U64>( handle ) >> kTagShift ) == 0;
      }

    private:
      U64 bits_ = 0;
   };

   class SpinLock {
    public:
      void lock() noexcept {
         while ( locked_.exchange( true, std::memory_order_acquire ) ) {
            unsigned spins = 0;
            while ( locked_.load( std::memory_order_relaxed ) ) {
               if ( ++spins > 64 ) {
                  std::this_thread::yield();
               } else {
#if defined( __x86_64__ ) || defined( __i386__ )
                  __builtin_ia32_pause();
#endif
               }
            }
         }
      }
      void unlock() noexcept { locked_.store( false, std::memory_order_release ); }

    private:
      std::atomic<bool> locked_{ false };
   };

   struct alignas( 64 ) Shard {
      SpinLock lock;
      Slot* slots = nullptr;
      U32 mask = 0;
      std::atomic<U32> count{ 0 };
   };

   class ShardGuard {
    public:
      ShardGuard( Shard& shard, bool locked ) noexcept : shard_( locked ? &shard : nullptr ) {
         if ( shard_ ) {
            shard_->lock.lock();
         }
      }
      ~ShardGuard() {
         if ( shard_ ) {
            shard_->lock.unlock();
         }
      }
      ShardGuard( const ShardGuard& ) = delete;
      ShardGuard& operator=( const ShardGuard& ) = delete;

    private:
      Shard* shard_;
   };

   Shard& shardFor( U32 hash ) const noexcept {
      return shards_[ shardCount_ == 1 ? 0 : hash >> shardShift_ ];
   }

   // The shard helpers below run with the shard locked.

   // findIf(): the member of shard with hash that match() accepts, or null.
   template <class Match>
   static DedupHandle* findIf( const Shard& shard, U32 hash, Match& match ) {
      const U16 tag = Slot::tagOf( hash );
      for ( U32 i = hash & shard.mask;; i = ( i + 1 ) & shard.mask ) {
         const Slot slot = shard.slots[ i ];
         if ( !slot ) {
            return nullptr;
         }
         DedupHandle* member = slot.handle();
         if ( slot.tag() == tag && member->tableHash_ == hash &&
              match( static_cast<const DedupHandle*>( member ) ) ) {
            return member;
         }
      }
   }
   // handOut(): a counted pointer to member (null stays null).
   static DedupHandle::PtrConst handOut( DedupHandle* member ) noexcept {
      if ( !member ) {
         return nullptr;
      }
      member->handOutReference();
      return DedupHandle::PtrConst::adopt( member );
   }
   static void growIfFull( Shard& shard );
   static void placeSlot( Shard& shard, DedupHandle* handle ) noexcept;
   static constexpr U32 kNoSlot = ~U32( 0 );
   static U32 slotOf( const Shard& shard, U32 hash, const DedupHandle* handle ) noexcept;
   static void eraseSlot( Shard& shard, U32 slot ) noexcept;
   void notifyInsert( DedupHandle* handle );
   void notifyRemove( DedupHandle* handle );
   // releaseMember(): a member's outside references just dropped to none;
   // handle is an identity until it is found among the members.
   void releaseMember( const DedupHandle* handle, U32 hash ) noexcept;

   Shard* shards_;
   U32 shardCount_;
   U32 shardShift_;
   bool threadSafe_;
   std::atomic<bool> notifying_{ false };
   DedupHashTableLifeTimeNotifiee::Ptr notifiee_;
   std::mutex notifyMutex_;
};

// DedupHashTableUnorderedSet: the concrete set; the bool picks the
// thread-safe variant.
class DedupHashTableUnorderedSet final : public DedupHashTable {
 public:
   using Ptr = Kel::Ptr<DedupHashTableUnorderedSet>;
   using PtrConst = Kel::Ptr<const DedupHashTableUnorderedSet>;

   explicit DedupHashTableUnorderedSet( bool threadSafe ) : DedupHashTable( threadSafe ) {}
   static Ptr DedupHashTableUnorderedSetIs( bool threadSafe );
};

template <class PreInsert>
DedupHandle::PtrConst DedupHashTable::dedup( const DedupHandle::PtrConst& handle,
                                             PreInsert&& preInsert ) {
   KEL_ASSERT_MSG( handle, "dedupHandle" );
   auto* candidate = const_cast<DedupHandle*>( handle.ptr() );
   if ( candidate->table_ == this && candidate->isDeduped() ) {
      return handle;
   }
   const U32 hash = candidate->hash();
   Shard& shard = shardFor( hash );
   ShardGuard guard( shard, threadSafe_ );
   auto equal = [ candidate ]( const DedupHandle* member ) { return member->compare( candidate ); };
   if ( DedupHandle* member = findIf( shard, hash, equal ) ) {
      return handOut( member );
   }
   KEL_ASSERT_MSG( Slot::fits( candidate ), "address beyond 48 bits" );
   growIfFull( shard );
   preInsert( candidate );
   candidate->table_ = this;
   candidate->tableHash_ = hash;
   placeSlot( shard, candidate );
   candidate->newRef(); // the table's own reference
   candidate->dedupStateIs( dedupHandleStateDeduped_ );
   candidate->tableSharedIs( true );
   if ( notifying_.load( std::memory_order_acquire ) ) {
      notifyInsert( candidate );
   }
   return handle;
}

} // namespace Bex
