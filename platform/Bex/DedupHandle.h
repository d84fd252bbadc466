// Bex/DedupHandle.h: the base of every interned object. A handle is built
// "never deduped", offered to one DedupHashTable, and from then on is the
// table's one representative of its content: shared, counted, immutable.
// The table asks the handle for its identity through compare() and
// compareByContent(), and where to place it through placementHash(), a hash
// of the content under the table's secret key (hash() is public, so a peer
// could pick contents that all collide in it).
//
//   class Thing : public Bex::DedupHandle { U32 hash() const override; ... };
//   Thing::PtrConst canonical = table->dedup( candidate );
#pragma once

#include <atomic>

#include "Kel/Assert.h"
#include "Kel/Hash.h"
#include "Kel/Ptr.h"
#include "Kel/Types.h"

namespace Bex {

class DedupHashTableBase;
class DedupHashTable;

// DedupContentHandle: empty base of bare contents, so that a content not yet
// interned can be looked up by value.
struct DedupContentHandle {};

// DedupHandleState: where a handle stands in the interning life cycle.
enum DedupHandleState : U8 {
   dedupHandleStateNeverDeduped_ = 0,
   dedupHandleStateDeduped_ = 1,
   dedupHandleStateBeingDetached_ = 2,
   dedupHandleStateStowed_ = 4,
};

// dedupHandleStateNeverDeduped(): built, not yet offered to a table.
constexpr DedupHandleState dedupHandleStateNeverDeduped() noexcept {
   return dedupHandleStateNeverDeduped_;
}
// dedupHandleStateDeduped(): the table's representative of its content.
constexpr DedupHandleState dedupHandleStateDeduped() noexcept { return dedupHandleStateDeduped_; }
// dedupHandleStateBeingDetached(): leaving its table; never handed out again.
constexpr DedupHandleState dedupHandleStateBeingDetached() noexcept {
   return dedupHandleStateBeingDetached_;
}
// dedupHandleStateStowed(): rebuilt from the store, complete, in no table.
constexpr DedupHandleState dedupHandleStateStowed() noexcept { return dedupHandleStateStowed_; }

// DedupHandle: counted object with an interning state, a 32-bit user word
// and the identity operations a table needs.
class DedupHandle : public Kel::PtrInterface {
 public:
   using Ptr = Kel::Ptr<DedupHandle>;
   using PtrConst = Kel::Ptr<const DedupHandle>;

   // dedupState() and its tests.
   DedupHandleState dedupState() const noexcept { return state_.load( std::memory_order_acquire ); }
   bool isDeduped() const noexcept { return dedupState() == dedupHandleStateDeduped_; }
   bool everDeduped() const noexcept { return dedupState() != dedupHandleStateNeverDeduped_; }
   void assertIsDeduped() const noexcept { KEL_ASSERT_MSG( isDeduped(), "isDeduped()" ); }

   // dedupStateIs(): for objects rebuilt outside any table (the store, or a
   // list's parts built complete); tables set the state themselves.
   void dedupStateIs( DedupHandleState state ) noexcept {
      state_.store( state, std::memory_order_release );
   }

   // userData(): 32 bits the subclass keeps its small attributes in.
   U32 userData() const noexcept { return userData_; }
   void userDataIs( U32 value ) noexcept { userData_ = value; }

   // deleteRef(): Kel::PtrInterface::deleteRef() with a member's release
   // inlined, for pointers whose type says they hold a handle (the hit path
   // of every table: intern, use, drop). The mark the holding table's
   // insert left picks the release of that kind of table.
   void deleteRef() const noexcept {
      if ( const U8 kind = tableKind() ) {
         releaseMemberIn( kind );
      } else {
         releasePlain( 1 );
      }
   }

   // hash(): 32-bit hash of the content; equal contents hash equal.
   virtual U32 hash() const = 0;
   // placementHash(): where a table keyed with key places this content;
   // equal contents give equal results under one key. Lookups by content
   // compute the same function from the table's hashKey(). The default,
   // placementOfHash( key, hash() ), is only as strong as hash() is against
   // chosen collisions: every library kind hashes its content instead.
   virtual U32 placementHash( const Kel::HashKey& key ) const {
      return placementOfHash( key, hash() );
   }
   static U32 placementOfHash( const Kel::HashKey& key, U32 hash ) noexcept {
      return Kel::keyedHash32( key, hash );
   }
   // compare(): true when other holds equal content.
   virtual bool compare( const DedupHandle* other ) const = 0;
   // compareByContent(): true when this handle holds the bare content c.
   virtual bool compareByContent( const DedupContentHandle& content ) const = 0;
   // dedupKey(): the whole content in 64 bits, for members of a keyed table
   // (which compares keys only); asserts for any other class.
   virtual U64 dedupKey() const noexcept;

 protected:
   DedupHandle() noexcept = default;
   DedupHandle( const DedupHandle& ) noexcept : Kel::PtrInterface() {}

 private:
   friend class DedupHashTableBase;
   friend class DedupHashTable;
   friend class KeyedDedupHashTable;

   // A single-thread table's hit hands out one of the references it
   // counted ahead, so that interning a value already there changes no
   // count; when none is left, one atomic add counts the next kReserve
   // ahead, and a release gives its reference back to the reserve. Runs in
   // the table's one thread, the reserve's only user (thread-safe tables
   // count each hit on the member instead). A member of a keyed table has
   // its reserve tallied in its slot instead; its own reserve byte then says
   // only that there may be one (kReserve), so that refCount() asks the
   // table.
   static constexpr U8 kReserve = 255;
   // The table-shared marks (Kel::PtrInterface::tableKind()) of the two
   // kinds of table.
   static constexpr U8 kInPlainTable = 1;
   static constexpr U8 kInKeyedTable = 2;
   void handOutReference() const noexcept {
      const U8 reserved = reservedAtomic().load( std::memory_order_relaxed );
      if ( reserved != 0 ) {
         reservedAtomic().store( U8( reserved - 1 ), std::memory_order_relaxed );
         return;
      }
      refillReserve();
   }

   // refillReserve(): counts the reference being handed out and the next
   // reserve ones (kReserve in the member's own reserve); returns the count
   // before. The reserve byte is stored first: a release that sees the new
   // count also sees the reserve that came with it.
   U32 refillReserve( U32 reserve = kReserve ) const noexcept {
      reservedAtomic().store( kReserve, std::memory_order_relaxed );
      return refCountAtomic().fetch_add( 1 + reserve );
   }

   // releaseTableReferences(): the table's own reference and its reserve,
   // once the handle has left the table (or the table is going).
   void releaseTableReferences() const noexcept {
      const U8 reserved = reservedAtomic().exchange( 0, std::memory_order_relaxed );
      releasePlain( 1 + U32( reserved ) );
   }

   // tryNewRef(): a reference, unless the count is zero or claimed (the
   // member is leaving its thread-safe table): how a lookup without the
   // shard's lock takes one. A claimed count is never changed, so that the
   // member's removal sees the table's reference alone.
   bool tryNewRef() const noexcept {
      std::atomic<U32>& count = refCountAtomic();
      U32 c = count.load( std::memory_order_relaxed );
      do {
         if ( c == 0 || ( c & kClaimedCount ) ) {
            return false;
         }
      } while ( !count.compare_exchange_weak( c, c + 1 ) );
      return true;
   }
   // claimLastReference(): with the shard locked, marks a count that holds
   // only the table's reference as claimed; false when others hold some.
   bool claimLastReference() const noexcept {
      U32 expected = 1;
      return refCountAtomic().compare_exchange_strong( expected, 1 | kClaimedCount );
   }

   // outsideReferencesGone(): with the shard locked, true when the count
   // holds only the table's reference and the reserve.
   bool outsideReferencesGone( U32 reserve ) const noexcept {
      return refCountAtomic().load() == 1 + reserve;
   }
   // dropReserve(): the references the table still held ready go, once no
   // hit can take them any more (the member leaves, or the table goes).
   void dropReserve( U32 reserve ) const noexcept {
      if ( reserve ) {
         refCountAtomic().fetch_sub( reserve );
      }
      reservedAtomic().store( 0, std::memory_order_relaxed );
   }

   U32 reservedReferences() const noexcept override;

   void releaseShared() const noexcept override { releaseMemberIn( tableKind() ); }
   // releaseMemberIn(): the release of the kind of table marked kind.
   void releaseMemberIn( U8 kind ) const noexcept {
      if ( kind == kInPlainTable ) {
         releaseMemberOf<DedupHashTable>();
      } else {
         releaseKeyedMember();
      }
   }
   // releaseMemberOf<Table>(): a member's release in a Table. In a
   // single-thread table the reference goes back into the reserve it came
   // from (Bex/DedupHashTable.h), so a hit and its release change no count;
   // in a thread-safe table it is one atomic decrement. Either way, the one
   // that leaves only the table's reference detaches the member.
   template<class Table>
   inline void releaseMemberOf() const noexcept;
   // releaseKeyedMember(): releaseMemberOf<KeyedDedupHashTable>(), out of
   // line, as the inlined release is the other kind's.
   void releaseKeyedMember() const noexcept;

   std::atomic<DedupHandleState> state_{ dedupHandleStateNeverDeduped_ };
   U32 userData_ = 0;
   U32 tableHash_ = 0;
   DedupHashTableBase* table_ = nullptr;
};

static_assert( sizeof( void* ) != 8 || sizeof( DedupHandle ) == 32,
               "an interned handle's header stays within 32 bytes" );

} // namespace Bex

// A release reads its table: whoever holds a handle gets the table too.
#include "Bex/DedupHashTable.h"
