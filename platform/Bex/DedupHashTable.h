// Bex/DedupHashTable.h: the interning set behind every value and list table.
// It holds one reference of its own to each member; when the references held
// outside drop to none, the member leaves the table (handleRemove fires) and
// is destroyed. A hit is one hash and one probe of an open-addressing array;
// nothing is allocated. In a single-thread table the reference a hit
// returns comes from a reserve the table counted ahead, and its release
// gives it back there, so neither touches a count (one add refills the
// reserve when hits outrun releases).
//
// Two kinds, chosen by type: DedupHashTable finds members by their content
// (compare()); KeyedDedupHashTable is for members whose content fits in 64
// bits (dedupKey()): its slots keep that key beside the member (and,
// single-threaded, the reserve too), so a probe compares keys without
// touching other members, and a release right after its hit, through a
// pointer typed as a KeyedMember, reads only the slot. What they share is
// DedupHashTableBase; a member is marked with the kind that holds it, so
// that its release is that kind's.
//
//   auto table = Bex::DedupHashTableUnorderedSet::DedupHashTableUnorderedSetIs( threadSafe );
//   DedupHandle::Ptr canonical = table->dedup( candidate );
//
// The thread-safe variant splits the set into shards, each behind its own
// spin lock, which only changes take (inserts, removals, growth). A hit
// takes no lock and writes nothing shared: it pins its thread (Bex/Epoch.h:
// a store to the thread's own record), probes, and takes its reference with
// one atomic add on the member it found, unless that member's count is zero
// or claimed. A release is one atomic decrement; one that leaves only the
// table's reference takes the shard's lock and claims the count (from one
// to claimed) if nobody took a reference in between, then detaches the
// member. Claimed members are never handed out, and their memory and the
// slot arrays that growth replaces are freed only once no pinned thread can
// still be reading them. A miss without the lock is confirmed under it
// (a removal may move a member past the probe).
//
// Members are placed by a keyed hash (placementHash()), so contents chosen
// to collide in a public hash spread like any others. Linear probing at
// load at most one half then has expected probe runs of a few slots; a run
// of length L has probability falling geometrically in L, whatever the
// contents, as long as the key stays secret.
//
// Lifetime callbacks run under no shard lock. A thread-safe table queues
// its events under the shard's lock, in the order they happen, and
// delivers them after releasing it under one table-wide mutex, which is
// taken with no shard lock held: notifiees see every event in order and
// need no lock of their own, and the interning call returns only once its
// event was delivered (unless it runs inside a callback of the same table,
// whose delivery then goes on with it). A callback must not install a
// notifiee or stop notification on its own table. A table must outlive the
// threads that still release its members.
#pragma once

#include <algorithm>
#include <atomic>
#include <deque>
#include <mutex>
#include <thread>
#include <type_traits>

#include "Bex/DedupHandle.h"
#include "Bex/Epoch.h"
#include "Kel/Hash.h"
#include "Kel/Ptr.h"
#include "Kel/ThreadLocal.h"
#include "Kel/Types.h"

namespace Bex {

class DedupHashTableBase;
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
   virtual void handleNotificationStop( const Kel::Ptr<const DedupHashTableBase>& table ) {
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

// DedupHashTableBase: what both kinds of interning set share: shards,
// their locks, counting, notification. The slot layout is the kind's.
class DedupHashTableBase : public Kel::PtrInterface {
 public:
   using Ptr = Kel::Ptr<DedupHashTableBase>;
   using PtrConst = Kel::Ptr<const DedupHashTableBase>;

   DedupHashTableBase( const DedupHashTableBase& ) = delete;
   DedupHashTableBase& operator=( const DedupHashTableBase& ) = delete;

   bool threadSafe() const noexcept { return threadSafe_; }
   // size(): members right now.
   size_t size() const noexcept;

   // hashKey(): the secret this table places its members by, drawn from
   // the OS when the table was made; a lookup computes its placement hash
   // (the member's placementHash()) with it.
   const Kel::HashKey& hashKey() const noexcept { return hashKey_; }

   // lifeTimeNotifieeIs(): installs the table's one lifetime notifiee.
   void lifeTimeNotifieeIs( const DedupHashTableLifeTimeNotifiee::Ptr& notifiee );
   DedupHashTableLifeTimeNotifiee::Ptr lifeTimeNotifiee() const;
   // notificationStop(): handleNotificationStop() once, then no more
   // callbacks. Runs by itself when the table is destroyed.
   void notificationStop();

   // forEach(): visits every member (shard by shard, under its lock); fn
   // must not intern into or release members of this table.
   template<class Fn>
   void forEach( Fn&& fn ) const {
      visitMembers(
            []( void* context, const DedupHandle* member ) {
               ( *static_cast<std::remove_reference_t<Fn>*>( context ) )( member );
            },
            &fn );
   }

   // dumpState(): "DedupHashTable #<members>" at the given indent.
   void dumpState( const DumpContext& ctx, U32 indent ) const;

 protected:
   explicit DedupHashTableBase( bool threadSafe );
   ~DedupHashTableBase() override;
   void onZeroReferences() const noexcept override;

   friend class DedupHandle;

   // The kind's part: every member visited, under its shard's lock; a
   // member whose outside references just went; the references its slot
   // holds ready to hand out.
   virtual void visitMembers( void ( *fn )( void*, const DedupHandle* ), void* context ) const = 0;
   // releaseMember(): a member's outside references just dropped to none;
   // handle is an identity until it is found among the members.
   virtual void releaseMember( const DedupHandle* handle, U32 hash ) noexcept = 0;
   virtual U32 reserveOf( const DedupHandle* member, U32 hash ) const noexcept = 0;

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
      // Slots change under the shard's lock while lookups read them
      // without it: each word is stored and read whole.
      void publish( const Slot& from ) noexcept {
         __atomic_store_n( &bits_, from.bits_, __ATOMIC_RELEASE );
      }
      static Slot read( const Slot& slot ) noexcept {
         Slot copy;
         copy.bits_ = __atomic_load_n( &slot.bits_, __ATOMIC_SEQ_CST );
         return copy;
      }
      // matches(): the lock-free probe's first test.
      bool matches( U32 hash, U64 ) const noexcept { return tag() == tagOf( hash ); }

    private:
      U64 bits_ = 0;
   };

   // KeyedSlot: a keyed table's slot: the member's key, and its address.
   // A single-thread table keeps two more octets above the address: the
   // references it holds ready to hand out (the reserve), and a floor under
   // the member's count less the table's own reference. While the reserve
   // stays below the floor, others hold the member, so a release that
   // gives a reference back need not read the member's count.
   class KeyedSlot {
    public:
      static constexpr int kReserveShift = 48;
      static constexpr int kFloorShift = 56;
      static constexpr U64 kAddressMask = ( U64( 1 ) << kReserveShift ) - 1;
      static constexpr U32 kMaxReserve = 0xFF;
      // kRefill: what an empty reserve is refilled with: about half the
      // most it holds, so that releases find room to give references back.
      static constexpr U32 kRefill = 0x7F;
      KeyedSlot() noexcept = default;
      KeyedSlot( U64 key, DedupHandle* handle ) noexcept
            : key_( key ), bits_( reinterpret_cast<U64>( handle ) ) {}
      void publish( const KeyedSlot& from ) noexcept {
         __atomic_store_n( &key_, from.key_, __ATOMIC_RELAXED );
         __atomic_store_n( &bits_, from.bits_, __ATOMIC_RELEASE );
      }
      static KeyedSlot read( const KeyedSlot& slot ) noexcept {
         KeyedSlot copy;
         copy.bits_ = __atomic_load_n( &slot.bits_, __ATOMIC_SEQ_CST );
         copy.key_ = __atomic_load_n( &slot.key_, __ATOMIC_SEQ_CST );
         return copy;
      }
      bool matches( U32, U64 key ) const noexcept { return key_ == key; }
      explicit operator bool() const noexcept { return bits_ != 0; }
      U64 key() const noexcept { return key_; }
      DedupHandle* handle() const noexcept {
         return reinterpret_cast<DedupHandle*>( bits_ & kAddressMask );
      }
      U32 reserve() const noexcept { return U32( bits_ >> kReserveShift ) & kMaxReserve; }
      void reserveIs( U32 reserve ) noexcept { octetIs( kReserveShift, reserve ); }
      // countIs(): the member's count is count now (the table's reference
      // and the reserve included): the floor follows it.
      void countIs( U32 count ) noexcept { octetIs( kFloorShift, std::min( count - 1, 0xFFu ) ); }
      // takeReference(): the member, with one reference handed out of the
      // reserve (refilled first when it is empty).
      DedupHandle* takeReference() noexcept {
         if ( reserve() != 0 ) {
            bits_ -= U64( 1 ) << kReserveShift;
         } else {
            const U32 before = handle()->refillReserve( kRefill );
            reserveIs( kRefill );
            countIs( before + 1 + kRefill );
         }
         DedupHandle* member = handle();
         if ( !member ) {
            __builtin_unreachable(); // occupied slots hold a member
         }
         return member;
      }
      // giveBack(): a released reference back into the reserve, when the
      // floor says others still hold the member; false, with nothing done,
      // when only the count can tell.
      bool giveBack() noexcept {
         if ( reserve() + 1 >= U32( bits_ >> kFloorShift ) ) {
            return false;
         }
         bits_ += U64( 1 ) << kReserveShift;
         return true;
      }

    private:
      void octetIs( int shift, U32 value ) noexcept {
         bits_ = ( bits_ & ~( U64( 0xFF ) << shift ) ) | U64( value ) << shift;
      }
      U64 key_ = 0;
      U64 bits_ = 0;
   };
   static_assert( sizeof( KeyedSlot ) == 16 );
   // SpinLock: a shard's lock. It knows whether the calling thread holds
   // it, so that what a lifetime callback does to a member of the shard it
   // runs under (read a count, drop a reference) needs no second lock.
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
         owner_.store( thisThread(), std::memory_order_relaxed );
      }
      void unlock() noexcept {
         owner_.store( nullptr, std::memory_order_relaxed );
         locked_.store( false, std::memory_order_release );
      }
      // heldHere(): only the holder can have stored its own marker.
      bool heldHere() const noexcept {
         return owner_.load( std::memory_order_relaxed ) == thisThread();
      }

    private:
      static const void* thisThread() noexcept {
         static thread_local char marker;
         return &marker;
      }
      std::atomic<bool> locked_{ false };
      std::atomic<const void*> owner_{ nullptr };
   };

   // Shard: its lock and its slots (Slot, or KeyedSlot in a keyed table).
   struct alignas( 64 ) Shard {
      SpinLock lock;
      void* slotArray = nullptr;
      U32 mask = 0;
      std::atomic<U32> count{ 0 };
      // longRun: an insert probed past kLongRun slots since the last growth.
      bool longRun = false;
      template<class S>
      S* slots() const noexcept {
         return static_cast<S*>( slotArray );
      }
   };

   // ShardGuard: a shard's lock for a scope, in thread-safe tables; with
   // reentrant, none when this thread holds it already.
   class ShardGuard {
    public:
      ShardGuard( Shard& shard, bool locked, bool reentrant = false ) noexcept
            : shard_( locked && !( reentrant && shard.lock.heldHere() ) ? &shard : nullptr ) {
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

   Shard& shardFor( U32 hash ) const noexcept { return shards_[ U64( hash ) >> shardShift_ ]; }

   // The shard helpers below run with the shard locked.

   // findIf(): the member of shard with hash that match() accepts, or null.
   template<class Match>
   static DedupHandle* findIf( const Shard& shard, U32 hash, Match& match ) {
      const U16 tag = Slot::tagOf( hash );
      const Slot* slots = shard.slots<Slot>();
      for ( U32 i = hash & shard.mask;; i = ( i + 1 ) & shard.mask ) {
         const Slot slot = slots[ i ];
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
   // findKey(): the keyed slot of shard with hash and key, or null. The
   // key is compared first, so that a hit tests one word: an empty slot's
   // key reads as zero, and only a search for zero can stop at one.
   static KeyedSlot* findKey( const Shard& shard, U32 hash, U64 key ) noexcept {
      KeyedSlot* slots = shard.slots<KeyedSlot>();
      for ( U32 i = hash & shard.mask;; i = ( i + 1 ) & shard.mask ) {
         KeyedSlot& slot = slots[ i ];
         if ( slot.key() == key ) {
            return slot ? &slot : nullptr;
         }
         if ( !slot ) {
            return nullptr;
         }
      }
   }
   // handOut(): a counted pointer to member (null stays null), from the
   // reserve in the member or in its keyed slot.
   static DedupHandle::PtrConst handOut( DedupHandle* member ) noexcept {
      if ( !member ) {
         return nullptr;
      }
      member->handOutReference();
      return DedupHandle::PtrConst::adopt( member );
   }
   static DedupHandle::PtrConst handOut( KeyedSlot* slot ) noexcept {
      if ( !slot ) {
         return nullptr;
      }
      return DedupHandle::PtrConst::adopt( slot->takeReference() );
   }
   // handOutCounted(): in a thread-safe table, with the shard locked: one
   // counted reference (a hit without the lock takes its own).
   static DedupHandle::PtrConst handOutCounted( DedupHandle* member ) noexcept {
      return DedupHandle::PtrConst( member );
   }

   // findUnlocked(): the hit path of a thread-safe table, without the
   // shard's lock: the first member placed at hash whose slot matches (its
   // tag, or its key), with one reference taken; null when there is none
   // or when it is leaving. The caller checks the content once it holds
   // the reference, and asks again under the lock before it says "none".
   //
   // Why this is safe: while this thread is pinned, neither a member nor a
   // slot array that it can reach is freed (members leave through
   // releaseMemberIn(), which retires their memory; grown shards retire
   // their old array). A member that is reached may still be leaving: the
   // reference is taken only if its count is neither zero nor claimed by
   // the release that detaches it, and that release claims it only while
   // the count is the table's reference alone, so the two cannot both win.
   template<class S>
   static DedupHandle* findUnlocked( const Shard& shard, U32 hash, U64 key ) noexcept {
      EpochPin pin;
      // The mask is read first and grows after its array: it never exceeds
      // the array read after it.
      const U32 mask = __atomic_load_n( &shard.mask, __ATOMIC_SEQ_CST );
      const S* slots =
            static_cast<const S*>( __atomic_load_n( &shard.slotArray, __ATOMIC_SEQ_CST ) );
      for ( U32 i = hash & mask;; i = ( i + 1 ) & mask ) {
         const S slot = S::read( slots[ i ] );
         if ( !slot ) {
            return nullptr;
         }
         DedupHandle* member = slot.handle();
         if ( slot.matches( hash, key ) && member->tableHash_ == hash && member->tryNewRef() ) {
            return member;
         }
      }
   }
   // reserveIn(): the references counted ahead for slot's member.
   static U32 reserveIn( const Slot& slot ) noexcept {
      return slot.handle()->reservedAtomic().load( std::memory_order_relaxed );
   }
   static U32 reserveIn( const KeyedSlot& slot ) noexcept { return slot.reserve(); }
   // returnReserve(): once no hit can take from the slot any more (its
   // member leaves, or the table goes), a keyed slot's reserve is no longer
   // counted (a plain member's goes with the table's own reference).
   static void returnReserve( const Slot& ) noexcept {}
   static void returnReserve( const KeyedSlot& slot ) noexcept {
      slot.handle()->dropReserve( slot.reserve() );
   }

   // returnReference(): what both kinds' single-thread releases do with
   // the reference: into the reserve, which holds reserve now (storeReserve()
   // keeps the grown tally), or, when that holds most already, off the
   // member's count. Returns the count after it, with reserve updated.
   template<class StoreReserve>
   static U32 returnReference( const DedupHandle* member, U32& reserve, U32 most,
                               StoreReserve&& storeReserve ) noexcept {
      if ( reserve < most ) {
         storeReserve( ++reserve );
         return member->refCountAtomic().load( std::memory_order_relaxed );
      }
      return member->refCountAtomic().fetch_sub( 1 ) - 1;
   }

   // forEachSlotOf(): fn( slot ) for every occupied slot of shard.
   template<class S, class Fn>
   static void forEachSlotOf( const Shard& shard, Fn&& fn ) {
      S* slots = shard.slots<S>();
      for ( U32 i = 0; i <= shard.mask; ++i ) {
         if ( slots[ i ] ) {
            fn( slots[ i ] );
         }
      }
   }
   template<class S>
   static void growIfFull( Shard& shard, bool threadSafe );
   // freeSlotArray(): frees a slot array that no lookup reads any more; a
   // keyed one first moves KeyedDedupHashTable's count of freed arrays, so
   // that no thread gives a reference back to a last hit that lay in it.
   template<class S>
   static void freeSlotArray( void* slotArray ) noexcept;
   template<class S>
   static void placeSlot( Shard& shard, const S& slot ) noexcept;
   template<class S>
   static S* slotOf( const Shard& shard, U32 hash, const DedupHandle* handle ) noexcept;
   template<class S>
   static void eraseSlot( Shard& shard, S* slot ) noexcept;
   template<class S>
   void releaseMemberIn( DedupHandle* handle, U32 hash ) noexcept;
   // reserveOfIn(): the references member's slot holds ready to hand out.
   template<class S>
   U32 reserveOfIn( const DedupHandle* member, U32 hash ) const noexcept;
   // visitSlots(): the kinds' visitMembers().
   template<class S>
   void visitSlots( void ( *fn )( void*, const DedupHandle* ), void* context ) const;
   // allocateShards() / forgetMembers(): the kinds' construction and
   // destruction: empty slot arrays; members outliving the table.
   template<class S>
   void allocateShards();
   template<class S>
   void forgetMembers() noexcept;
   // insertUnlessFound(): dedup() of either kind: under the shard's lock,
   // found( shard ) (a hit, handed out) or else candidate placed in slot.
   template<class S, class Found, class PreInsert>
   DedupHandle::PtrConst insertUnlessFound( const DedupHandle::PtrConst& handle, U32 hash,
                                            const S& slot, Found&& found, PreInsert& preInsert );
   void notifyInsert( DedupHandle* handle );
   void notifyRemove( DedupHandle* handle );
   // A thread-safe table queues its lifetime events under the shard's lock
   // (so that they keep the order in which contents came and went) and
   // delivers them after it, under notifyMutex_ alone: a callback runs
   // under no shard lock, and the queue's mutex is taken with nothing else
   // to wait for. queueEvent() keeps an inserted member alive until its
   // event is delivered; a removed one is destroyed by its delivery.
   struct Event {
      DedupHandle* handle;
      bool insert;
   };
   void queueEvent( DedupHandle* handle, bool insert );
   // deliverEvents(): every queued event, in order; returns at once when
   // this thread is the one delivering (a callback that interned or
   // released): the delivery under way goes on with what it queued.
   void deliverEvents() noexcept;
   // deliverQueued(): the same, with notifyMutex_ held.
   void deliverQueued() noexcept;
   void deliver( const Event& event ) noexcept;
   // destroyMember(): a member detached from a thread-safe table; lookups
   // without the lock may still read its memory.
   static void destroyMember( DedupHandle* handle ) noexcept;

   // Thread-safe tables spread their members over kShards shards, chosen by
   // the top bits of the hash (a single-thread table shifts them all out);
   // the slot within a shard comes from the low bits. The shards sit in the
   // table, one load nearer to a hit than an array of their own.
   static constexpr U32 kShards = 16;
   // kLongRun: the probe length that makes a shard grow early. With keyed
   // placement at load at most one half, an insert probes this far less
   // than once in 10^8 (the tail of linear probing falls as (a e^(1-a))^L
   // at load a); when one does (clustering, or a key that got out), the
   // shard grows at once, down to load one eighth, which
   // shortens runs of distinct placements while bounding memory at four
   // times the usual. Only contents that share their whole 32-bit keyed
   // placement stay in one run, and those cannot be chosen without the key.
   static constexpr U32 kLongRun = 96;
   static constexpr U32 kShardShift = 28;
   Kel::HashKey hashKey_;
   U32 shardCount_;
   U32 shardShift_;
   bool threadSafe_;
   std::atomic<bool> notifying_{ false };
   DedupHashTableLifeTimeNotifiee::Ptr notifiee_;
   std::mutex notifyMutex_;
   std::atomic<const void*> deliveringThread_{ nullptr };
   std::mutex eventsMutex_;
   std::deque<Event> events_;
   mutable Shard shards_[ kShards ];
};

// DedupHashTable: the interning set that finds members by their content:
// an 8-byte slot (address and 16 bits of the placement hash) per member.
class DedupHashTable : public DedupHashTableBase {
 public:
   using Ptr = Kel::Ptr<DedupHashTable>;
   using PtrConst = Kel::Ptr<const DedupHashTable>;

   ~DedupHashTable() override;

   // lookupByContent(): the member holding the bare content, whose
   // placementHash( hashKey() ) is placement; null when there is none.
   DedupHandle::PtrConst lookupByContent( const DedupContentHandle& content, U32 placement ) const {
      return lookupIf( placement,
                       [ & ]( const DedupHandle* h ) { return h->compareByContent( content ); } );
   }

   // lookupIf(): the same with the content test inlined by the caller (the
   // hit path of the value tables).
   template<class Match>
   DedupHandle::PtrConst lookupIf( U32 placement, Match&& match ) const {
      Shard& shard = shardFor( placement );
      if ( !threadSafe_ ) {
         return handOut( findIf( shard, placement, match ) );
      }
      if ( DedupHandle* member = findUnlocked<Slot>( shard, placement, 0 ) ) {
         if ( match( static_cast<const DedupHandle*>( member ) ) ) {
            return DedupHandle::PtrConst::adopt( member );
         }
         member->deleteRef();
      }
      // A miss without the lock may be a member moving past the probe:
      // only the locked probe says it is not there.
      ShardGuard guard( shard, true );
      return handOutCounted( findIf( shard, placement, match ) );
   }

   // dedup(): the member equal to handle (by compare()), or handle itself
   // after inserting it. preInsert( handle ) runs only when handle is the
   // one inserted, before it becomes visible (lists trim their storage).
   // Interned objects are immutable, so the table deals in const handles;
   // preInsert gets the candidate non-const, since it is not shared yet.
   DedupHandle::PtrConst dedup( const DedupHandle::PtrConst& handle ) {
      return dedup( handle, []( DedupHandle* ) {} );
   }
   template<class PreInsert>
   DedupHandle::PtrConst dedup( const DedupHandle::PtrConst& handle, PreInsert&& preInsert ) {
      KEL_ASSERT_MSG( handle, "dedupHandle" );
      return dedupAt( handle, handle->placementHash( hashKey_ ), preInsert );
   }
   // dedupAt(): dedup() of a handle whose placementHash( hashKey() ) the
   // caller has computed already, for the lookup that missed before it. Any
   // other hash places the handle where no lookup finds it.
   template<class PreInsert>
   DedupHandle::PtrConst dedupAt( const DedupHandle::PtrConst& handle, U32 hash,
                                  PreInsert&& preInsert ) {
      KEL_ASSERT_MSG( handle, "dedupHandle" );
      const DedupHandle* candidate = handle.ptr();
      auto found = [ this, candidate, hash ]( Shard& shard ) {
         auto equal = [ candidate ]( const DedupHandle* member ) {
            return member->compare( candidate );
         };
         DedupHandle* member = findIf( shard, hash, equal );
         return threadSafe_ ? handOutCounted( member ) : handOut( member );
      };
      return insertUnlessFound( handle, hash, Slot( hash, const_cast<DedupHandle*>( candidate ) ),
                                found, preInsert );
   }

 protected:
   explicit DedupHashTable( bool threadSafe );

 private:
   friend class DedupHandle;

   // releaseInThread(): a member's release in a single-thread table. The
   // reference goes back into the member's reserve, so a hit and its
   // release touch no count; a full reserve takes the count down instead.
   // The count then holds the table's reference, the reserve and the
   // outside references: when it is the first two alone, the member
   // leaves.
   void releaseInThread( const DedupHandle* member, U32 hash ) noexcept {
      std::atomic<U8>& reserved = member->reservedAtomic();
      U32 reserve = reserved.load( std::memory_order_relaxed );
      const U32 left = returnReference( member, reserve, DedupHandle::kReserve, [ & ]( U32 grown ) {
         reserved.store( U8( grown ), std::memory_order_relaxed );
      } );
      if ( left == 1 + reserve ) {
         releaseMember( member, hash );
      }
   }

   void visitMembers( void ( *fn )( void*, const DedupHandle* ), void* context ) const override;
   void releaseMember( const DedupHandle* handle, U32 hash ) noexcept override;
   U32 reserveOf( const DedupHandle* member, U32 hash ) const noexcept override;
};

// DedupHashTableUnorderedSet: the concrete set found by content.
class DedupHashTableUnorderedSet final : public DedupHashTable {
 public:
   using Ptr = Kel::Ptr<DedupHashTableUnorderedSet>;
   using PtrConst = Kel::Ptr<const DedupHashTableUnorderedSet>;

   explicit DedupHashTableUnorderedSet( bool threadSafe ) : DedupHashTable( threadSafe ) {}
   static Ptr DedupHashTableUnorderedSetIs( bool threadSafe );
};

// KeyedDedupHashTable: the interning set of members whose whole identity
// is their 64-bit dedupKey(): a 16-byte slot holds the key beside the
// member's address (and a single-thread table's reserve tally), so a hit
// compares keys in the slot array only.
class KeyedDedupHashTable final : public DedupHashTableBase {
 public:
   using Ptr = Kel::Ptr<KeyedDedupHashTable>;
   using PtrConst = Kel::Ptr<const KeyedDedupHashTable>;

   explicit KeyedDedupHashTable( bool threadSafe );
   ~KeyedDedupHashTable() override;
   static Ptr KeyedDedupHashTableIs( bool threadSafe );

   // lookupByKey(): the member whose dedupKey() is key (placement being
   // its placement hash); the members are not read.
   DedupHandle::PtrConst lookupByKey( U32 placement, U64 key ) const {
      // A single-thread table has one shard and no lock: the hit path of
      // the busiest table skips both.
      if ( !threadSafe_ ) {
         KeyedSlot* slot = findKey( shards_[ 0 ], placement, key );
         lastHit.slot = slot;
         return handOut( slot );
      }
      return lookupSharedByKey( placement, key );
   }

   // dedup(): the member with handle's dedupKey(), or handle itself after
   // inserting it (preInsert as in DedupHashTable::dedup()).
   DedupHandle::PtrConst dedup( const DedupHandle::PtrConst& handle ) {
      return dedup( handle, []( DedupHandle* ) {} );
   }
   template<class PreInsert>
   DedupHandle::PtrConst dedup( const DedupHandle::PtrConst& handle, PreInsert&& preInsert ) {
      KEL_ASSERT_MSG( handle, "dedupHandle" );
      const DedupHandle* candidate = handle.ptr();
      const U32 hash = candidate->placementHash( hashKey_ );
      const U64 key = candidate->dedupKey();
      auto found = [ this, hash, key ]( Shard& shard ) {
         KeyedSlot* slot = findKey( shard, hash, key );
         if ( !slot ) {
            return DedupHandle::PtrConst();
         }
         return threadSafe_ ? handOutCounted( slot->handle() ) : handOut( slot );
      };
      return insertUnlessFound( handle, hash,
                                KeyedSlot( key, const_cast<DedupHandle*>( candidate ) ), found,
                                preInsert );
   }

   // lookupSharedByKey(): lookupByKey() in a thread-safe table.
   DedupHandle::PtrConst lookupSharedByKey( U32 placement, U64 key ) const;

   // giveBack(): a KeyedMember's release, when its thread's last hit was
   // on it (which says what slot holds it) and that slot's floor says
   // others still hold it: the reference goes back into the slot's
   // reserve, and the member itself is not read. False, with nothing done,
   // otherwise.
   static bool giveBack( const DedupHandle* member ) noexcept {
      KeyedSlot* slot = lastHitSlotOf( member );
      return slot && slot->giveBack();
   }

 private:
   friend class DedupHandle;
   friend class DedupHashTableBase;

   // Each thread remembers the slot of its last hit on a single-thread
   // keyed table: a release most often follows its hit, and finding the
   // slot again from the member would wait on the member's line. (One slot
   // at a fixed place: a store whose address waited on the probe, as an
   // array indexed by member would need, holds up the loads after it.) It
   // is used only while no single-thread keyed slot array has been freed
   // since (arraysFreed counts those, process-wide; a thread that sees the
   // count move forgets its slot), and only if it still holds the member (a
   // removal may have moved members along their probe run). A hot
   // thread-local (Kel/ThreadLocal.h): no lookup call.
   struct LastHit {
      KeyedSlot* slot;
      U32 arraysFreed;
   };
   static constinit inline thread_local LastHit lastHit KEL_HOT_THREAD_LOCAL = {};
   static inline std::atomic<U32> arraysFreed{ 0 };
   static KeyedSlot* lastHitSlotOf( const DedupHandle* member ) noexcept {
      KeyedSlot* slot = lastHit.slot;
      if ( !slot ) {
         return nullptr;
      }
      if ( lastHit.arraysFreed != arraysFreed.load( std::memory_order_relaxed ) ) {
         forgetLastHit();
         return nullptr;
      }
      return slot->handle() == member ? slot : nullptr;
   }
   static void forgetLastHit() noexcept;
   // slotArrayFreed(): before a single-thread slot array is freed.
   static void slotArrayFreed() noexcept { arraysFreed.fetch_add( 1 ); }

   // releaseInThread(): a member's release in a single-thread table, when
   // giveBack() could not take it: the reference goes back into the
   // reserve of the member's slot (a full reserve takes the count down
   // instead), and the floor is set from the count, which says whether
   // the member leaves (only the table's reference and the reserve left).
   void releaseInThread( const DedupHandle* member, U32 hash ) noexcept;

   void visitMembers( void ( *fn )( void*, const DedupHandle* ), void* context ) const override;
   void releaseMember( const DedupHandle* handle, U32 hash ) noexcept override;
   U32 reserveOf( const DedupHandle* member, U32 hash ) const noexcept override;
};

// KeyedMember<Base>: the base of a class whose objects live in keyed
// tables (Base being DedupHandle or a class derived from it). A pointer
// whose type says it holds one releases through giveBack() first, so that
// dropping a value just interned reads nothing but its slot.
template<class Base>
class KeyedMember : public Base {
 public:
   using Base::Base;
   void deleteRef() const noexcept {
      if ( !KeyedDedupHashTable::giveBack( this ) ) {
         Base::deleteRef();
      }
   }
};

template<class S, class Found, class PreInsert>
DedupHandle::PtrConst DedupHashTableBase::insertUnlessFound( const DedupHandle::PtrConst& handle,
                                                             U32 hash, const S& slot, Found&& found,
                                                             PreInsert& preInsert ) {
   auto* candidate = const_cast<DedupHandle*>( handle.ptr() );
   if ( candidate->table_ == this && candidate->isDeduped() ) {
      return handle;
   }
   Shard& shard = shardFor( hash );
   bool queued = false;
   {
      ShardGuard guard( shard, threadSafe_ );
      if ( DedupHandle::PtrConst member = found( shard ) ) {
         return member;
      }
      KEL_ASSERT_MSG( Slot::fits( candidate ), "address beyond 48 bits" );
      growIfFull<S>( shard, threadSafe_ );
      preInsert( candidate );
      // Complete before its slot is published: a lookup without the lock may
      // take a reference as soon as it finds the slot.
      candidate->table_ = this;
      candidate->tableHash_ = hash;
      candidate->newRef(); // the table's own reference
      candidate->dedupStateIs( dedupHandleStateDeduped_ );
      candidate->tableKindIs( std::is_same_v<S, KeyedSlot> ? DedupHandle::kInKeyedTable
                                                           : DedupHandle::kInPlainTable );
      placeSlot( shard, slot );
      if ( notifying_.load( std::memory_order_acquire ) ) {
         if ( threadSafe_ ) {
            queueEvent( candidate, true );
            queued = true;
         } else {
            notifyInsert( candidate );
         }
      }
   }
   if ( queued ) {
      deliverEvents();
   }
   return handle;
}

template<class Table>
inline void DedupHandle::releaseMemberOf() const noexcept {
   // Read while this reference still keeps the handle in its table: once
   // the count drops, another thread may detach and destroy it.
   DedupHashTableBase* table = table_;
   const U32 hash = tableHash_;
   if ( !table->threadSafe_ ) {
      static_cast<Table*>( table )->releaseInThread( this, hash );
   } else if ( refCountAtomic().fetch_sub( 1 ) <= 2 ) {
      table->releaseMember( this, hash );
   }
}

} // namespace Bex
