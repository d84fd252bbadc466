// Bex/DedupHandle.h: the base of every interned object. A handle is built
// "never deduped", offered to one DedupHashTable, and from then on is the
// table's one representative of its content: shared, counted, immutable.
// The table asks the handle for its identity through hash(), compare() and
// compareByContent(); nothing else about the content is its business.
//
//   class Thing : public Bex::DedupHandle { U32 hash() const override; ... };
//   Thing::PtrConst canonical = table->dedup( candidate );
#pragma once

#include <atomic>

#include "Kel/Assert.h"
#include "Kel/Ptr.h"
#include "Kel/Types.h"

namespace Bex {

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
   // of every table: intern, use, drop). A release is one atomic decrement;
   // the one that leaves only the table's reference goes to the table.
   void deleteRef() const noexcept {
      if ( tableShared() ) {
         releaseMemberReference();
      } else {
         PtrInterface::deleteRef();
      }
   }

   // hash(): 32-bit hash of the content; equal contents hash equal.
   virtual U32 hash() const = 0;
   // compare(): true when other holds equal content.
   virtual bool compare( const DedupHandle* other ) const = 0;
   // compareByContent(): true when this handle holds the bare content c.
   virtual bool compareByContent( const DedupContentHandle& content ) const = 0;

 protected:
   DedupHandle() noexcept = default;
   DedupHandle( const DedupHandle& ) noexcept : Kel::PtrInterface() {}

 private:
   friend class DedupHashTable;

   void releaseShared() const noexcept override { releaseMemberReference(); }
   void releaseMemberReference() const noexcept {
      // Read while this reference still keeps the handle in its table: once
      // the count drops, another thread may detach and destroy it.
      DedupHashTable* table = table_;
      const U32 hash = tableHash_;
      if ( refCountAtomic().fetch_sub( 1 ) <= 2 ) {
         lastOutsideReferenceGone( table, this, hash );
      }
   }
   // lastOutsideReferenceGone(): the count of handle just dropped to the
   // table's own reference. Static: the handle may already be gone, so it is
   // only an address here.
   static void lastOutsideReferenceGone( DedupHashTable* table, const DedupHandle* handle,
                                         U32 hash ) noexcept;

   std::atomic<DedupHandleState> state_{ dedupHandleStateNeverDeduped_ };
   U32 userData_ = 0;
   U32 tableHash_ = 0;
   DedupHashTable* table_ = nullptr;
};

} // namespace Bex
