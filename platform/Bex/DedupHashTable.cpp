#include "Bex/DedupHashTable.h"

#include <cstdlib>
#include <cstring>
#include <new>
#include <type_traits>
#include <vector>

#include "Bex/DumpContext.h"

namespace Bex {

namespace {

constexpr U32 kInitialSlots = 16;

template<class T>
T* allocateZeroed( size_t count ) {
   // Slot arrays start on a 16-octet boundary, so no slot straddles lines.
   size_t bytes = ( count * sizeof( T ) + alignof( T ) - 1 ) / alignof( T ) * alignof( T );
   void* memory = std::aligned_alloc( alignof( T ) < 16 ? 16 : alignof( T ), bytes );
   if ( !memory ) {
      throw std::bad_alloc();
   }
   std::memset( memory, 0, bytes );
   return static_cast<T*>( memory );
}

} // namespace

void DedupHandle::releaseKeyedMember() const noexcept { releaseMemberOf<KeyedDedupHashTable>(); }

U64 DedupHandle::dedupKey() const noexcept {
   KEL_ASSERT_MSG( false, "dedupKey() of a class without keys" );
   return 0;
}

U32 DedupHandle::reservedReferences() const noexcept {
   // A keyed table tallies the reserve in the member's slot.
   const U32 reserved = reservedAtomic().load( std::memory_order_relaxed );
   if ( reserved == 0 || !tableShared() ) {
      return reserved;
   }
   return table_->reserveOf( this, tableHash_ );
}

DedupHashTableBase::DedupHashTableBase( bool threadSafe )
      : hashKey_( Kel::randomHashKey() ),
        shardCount_( threadSafe ? kShards : 1 ),
        shardShift_( threadSafe ? kShardShift : 32 ),
        threadSafe_( threadSafe ) {}

DedupHashTableBase::~DedupHashTableBase() = default;

template<class S>
void DedupHashTableBase::allocateShards() {
   for ( U32 s = 0; s < shardCount_; ++s ) {
      shards_[ s ].slotArray = allocateZeroed<S>( kInitialSlots );
      shards_[ s ].mask = kInitialSlots - 1;
   }
}

template<class S>
void DedupHashTableBase::freeSlotArray( void* slotArray ) noexcept {
   if constexpr ( std::is_same_v<S, KeyedSlot> ) {
      KeyedDedupHashTable::slotArrayFreed();
   }
   std::free( slotArray );
}

template<class S>
void DedupHashTableBase::forgetMembers() noexcept {
   // A table destroyed by its owner rather than by its count (a member or a
   // local) stops notification here. The stop callback gets a counted
   // pointer to the table; the extra count keeps that pointer's release
   // from destroying the table a second time.
   if ( notifying_.load() ) {
      refCountAtomic().fetch_add( 1 );
      notificationStop();
   }
   // Members outlive the table when others still hold them: they forget the
   // table and are destroyed by their last holder like any counted object.
   std::vector<DedupHandle*> members;
   members.reserve( size() );
   for ( U32 s = 0; s < shardCount_; ++s ) {
      Shard& shard = shards_[ s ];
      forEachSlotOf<S>( shard, [ & ]( S& slot ) {
         returnReserve( slot );
         members.push_back( slot.handle() );
      } );
      freeSlotArray<S>( shard.slotArray );
      shard.slotArray = nullptr;
   }
   for ( DedupHandle* h : members ) {
      h->table_ = nullptr;
      h->tableKindIs( 0 );
      h->releaseTableReferences();
   }
}

template<class S>
void DedupHashTableBase::visitSlots( void ( *fn )( void*, const DedupHandle* ),
                                     void* context ) const {
   for ( U32 s = 0; s < shardCount_; ++s ) {
      Shard& shard = shards_[ s ];
      ShardGuard guard( shard, threadSafe_ );
      forEachSlotOf<S>( shard, [ & ]( const S& slot ) { fn( context, slot.handle() ); } );
   }
}

DedupHashTable::DedupHashTable( bool threadSafe ) : DedupHashTableBase( threadSafe ) {
   allocateShards<Slot>();
}

DedupHashTable::~DedupHashTable() { forgetMembers<Slot>(); }

KeyedDedupHashTable::KeyedDedupHashTable( bool threadSafe ) : DedupHashTableBase( threadSafe ) {
   allocateShards<KeyedSlot>();
}

KeyedDedupHashTable::~KeyedDedupHashTable() { forgetMembers<KeyedSlot>(); }

void DedupHashTableBase::onZeroReferences() const noexcept {
   auto* self = const_cast<DedupHashTableBase*>( this );
   if ( notifying_.load() ) {
      // The stop callback receives a counted pointer to the table, so the
      // table is kept alive through it and destroyed only if nobody kept it.
      refCountAtomic().store( 1 );
      self->notificationStop();
      if ( refCountAtomic().fetch_sub( 1 ) != 1 ) {
         return;
      }
   }
   delete this;
}

size_t DedupHashTableBase::size() const noexcept {
   size_t total = 0;
   for ( U32 s = 0; s < shardCount_; ++s ) {
      total += shards_[ s ].count.load( std::memory_order_relaxed );
   }
   return total;
}

template<class S>
void DedupHashTableBase::growIfFull( Shard& shard, bool threadSafe ) {
   const U32 capacity = shard.mask + 1;
   const U32 count = shard.count.load( std::memory_order_relaxed );
   // At most half full: a hit then seldom probes a second slot. A long
   // probe run makes it grow early, down to one eighth full.
   const bool full = ( U64( count ) + 1 ) * 2 > U64( capacity );
   const bool crowded = shard.longRun && ( U64( count ) + 1 ) * 8 > U64( capacity );
   if ( !full && !crowded ) {
      return;
   }
   shard.longRun = false;
   // The new array is filled before it is published, and published before
   // the mask that covers it (lookups without the lock read the mask
   // first). The old one stays as it was for lookups still reading it,
   // until none can be.
   S* old = shard.slots<S>();
   S* grown = allocateZeroed<S>( size_t( capacity ) * 2 );
   Shard fill;
   fill.slotArray = grown;
   fill.mask = capacity * 2 - 1;
   for ( U32 i = 0; i < capacity; ++i ) {
      if ( old[ i ] ) {
         placeSlot( fill, old[ i ] );
      }
   }
   __atomic_store_n( &shard.slotArray, static_cast<void*>( grown ), __ATOMIC_SEQ_CST );
   __atomic_store_n( &shard.mask, fill.mask, __ATOMIC_SEQ_CST );
   if ( threadSafe ) {
      epochRetire( old, std::free );
   } else {
      freeSlotArray<S>( old );
   }
}

template<class S>
void DedupHashTableBase::placeSlot( Shard& shard, const S& slot ) noexcept {
   S* slots = shard.slots<S>();
   U32 i = slot.handle()->tableHash_ & shard.mask;
   U32 run = 0;
   while ( slots[ i ] ) {
      i = ( i + 1 ) & shard.mask;
      ++run;
   }
   if ( run > kLongRun ) {
      shard.longRun = true;
   }
   slots[ i ].publish( slot );
   shard.count.fetch_add( 1, std::memory_order_relaxed );
}

// dedup() is a template compiled where it is used; these are its helpers.
template void DedupHashTableBase::growIfFull<DedupHashTableBase::Slot>( Shard&, bool );
template void DedupHashTableBase::growIfFull<DedupHashTableBase::KeyedSlot>( Shard&, bool );
template void DedupHashTableBase::placeSlot( Shard&, const Slot& ) noexcept;
template void DedupHashTableBase::placeSlot( Shard&, const KeyedSlot& ) noexcept;

template<class S>
S* DedupHashTableBase::slotOf( const Shard& shard, U32 hash, const DedupHandle* handle ) noexcept {
   // Compares addresses only: handle may be gone.
   S* slots = shard.slots<S>();
   for ( U32 i = hash & shard.mask; slots[ i ]; i = ( i + 1 ) & shard.mask ) {
      if ( slots[ i ].handle() == handle ) {
         return &slots[ i ];
      }
   }
   return nullptr;
}

template<class S>
U32 DedupHashTableBase::reserveOfIn( const DedupHandle* member, U32 hash ) const noexcept {
   Shard& shard = shardFor( hash );
   ShardGuard guard( shard, threadSafe_, true );
   const S* slot = slotOf<S>( shard, hash, member );
   return slot ? reserveIn( *slot ) : 0;
}

template<class S>
void DedupHashTableBase::eraseSlot( Shard& shard, S* erased ) noexcept {
   S* slots = shard.slots<S>();
   U32 i = U32( erased - slots );
   // Backward-shift deletion: pull later entries of the probe run into the
   // hole unless they already sit between their home slot and the hole.
   U32 j = i;
   for ( ;; ) {
      j = ( j + 1 ) & shard.mask;
      if ( !slots[ j ] ) {
         break;
      }
      U32 home = slots[ j ].handle()->tableHash_ & shard.mask;
      bool stays = ( i <= j ) ? ( i < home && home <= j ) : ( i < home || home <= j );
      if ( !stays ) {
         slots[ i ].publish( slots[ j ] );
         i = j;
      }
   }
   slots[ i ].publish( S() );
   shard.count.fetch_sub( 1, std::memory_order_relaxed );
}

template<class S>
void DedupHashTableBase::releaseMemberIn( DedupHandle* handle, U32 hash ) noexcept {
   Shard& shard = shardFor( hash );
   bool queued = false;
   {
      ShardGuard guard( shard, threadSafe_, true );
      // The releasing thread holds no reference any more. Since its decrement
      // a lookup may have taken one (the member stays), or that reference
      // may have gone too and its release detached and destroyed the handle
      // (no longer found). Only a handle found among the members, which the
      // table's reference keeps alive, is touched. In a thread-safe table,
      // lookups take references without the lock: the table's reference is
      // claimed (from exactly one, the table's own) so that none can.
      S* slot = slotOf<S>( shard, hash, handle );
      if ( !slot ) {
         return;
      }
      if ( threadSafe_ ? !handle->claimLastReference()
                       : !handle->outsideReferencesGone( reserveIn( *slot ) ) ) {
         return;
      }
      returnReserve( *slot );
      handle->dedupStateIs( dedupHandleStateBeingDetached_ );
      eraseSlot( shard, slot );
      handle->tableKindIs( 0 );
      handle->table_ = nullptr;
      if ( notifying_.load( std::memory_order_acquire ) ) {
         if ( threadSafe_ ) {
            queueEvent( handle, false );
            queued = true;
         } else {
            notifyRemove( handle );
         }
      }
   }
   if ( queued ) {
      deliverEvents();
      return;
   }
   // The table's own references go last, outside the lock: destroying the
   // member may release members of other tables. A lookup without the lock
   // may still be reading the member: its memory waits for those.
   if ( threadSafe_ ) {
      destroyMember( handle );
   } else {
      handle->releaseTableReferences();
   }
}

void DedupHashTableBase::notifyInsert( DedupHandle* handle ) {
   if ( notifiee_ ) {
      notifiee_->handleInsert( DedupHandle::Ptr( handle ) );
   }
}

void DedupHashTableBase::notifyRemove( DedupHandle* handle ) {
   if ( notifiee_ ) {
      notifiee_->handleRemove( handle );
   }
}

void DedupHashTableBase::destroyMember( DedupHandle* handle ) noexcept {
   handle->~DedupHandle();
   epochRetire( handle, []( void* p ) { ::operator delete( p ); } );
}

void DedupHashTableBase::queueEvent( DedupHandle* handle, bool insert ) {
   if ( insert ) {
      handle->newRef();
   }
   std::lock_guard<std::mutex> lock( eventsMutex_ );
   events_.push_back( Event{ handle, insert } );
}

namespace {
const void* thisThread() noexcept {
   static thread_local char marker;
   return &marker;
}
} // namespace

void DedupHashTableBase::deliverEvents() noexcept {
   if ( deliveringThread_.load( std::memory_order_relaxed ) == thisThread() ) {
      return;
   }
   std::lock_guard<std::mutex> lock( notifyMutex_ );
   deliverQueued();
}

void DedupHashTableBase::deliverQueued() noexcept {
   deliveringThread_.store( thisThread(), std::memory_order_relaxed );
   for ( ;; ) {
      Event event;
      {
         std::lock_guard<std::mutex> events( eventsMutex_ );
         if ( events_.empty() ) {
            break;
         }
         event = events_.front();
         events_.pop_front();
      }
      deliver( event );
   }
   deliveringThread_.store( nullptr, std::memory_order_relaxed );
}

void DedupHashTableBase::deliver( const Event& event ) noexcept {
   if ( event.insert ) {
      if ( notifiee_ ) {
         notifiee_->handleInsert( DedupHandle::Ptr( event.handle ) );
      }
      event.handle->deleteRef(); // the reference queueEvent() took
      return;
   }
   if ( notifiee_ ) {
      notifiee_->handleRemove( event.handle );
   }
   destroyMember( event.handle );
}

void DedupHashTableBase::lifeTimeNotifieeIs( const DedupHashTableLifeTimeNotifiee::Ptr& notifiee ) {
   std::lock_guard<std::mutex> lock( notifyMutex_ );
   notifiee_ = notifiee;
   notifying_.store( bool( notifiee ), std::memory_order_release );
}

DedupHashTableLifeTimeNotifiee::Ptr DedupHashTableBase::lifeTimeNotifiee() const {
   std::lock_guard<std::mutex> lock( const_cast<std::mutex&>( notifyMutex_ ) );
   return notifiee_;
}

void DedupHashTableBase::notificationStop() {
   std::lock_guard<std::mutex> lock( notifyMutex_ );
   deliverQueued(); // what happened before the stop is told before it
   if ( !notifiee_ ) {
      return;
   }
   DedupHashTableLifeTimeNotifiee::Ptr notifiee = std::move( notifiee_ );
   notifying_.store( false, std::memory_order_release );
   notifiee->handleNotificationStop( PtrConst( this ) );
}

void DedupHashTableBase::dumpState( const DumpContext& ctx, U32 indent ) const {
   if ( indent ) {
      ctx.printf( "%*cDedupHashTable #%zu\n", int( indent ), ' ', size() );
   } else {
      ctx.printf( "DedupHashTable #%zu\n", size() );
   }
}

void DedupHashTable::visitMembers( void ( *fn )( void*, const DedupHandle* ),
                                   void* context ) const {
   visitSlots<Slot>( fn, context );
}

void DedupHashTable::releaseMember( const DedupHandle* handle, U32 hash ) noexcept {
   releaseMemberIn<Slot>( const_cast<DedupHandle*>( handle ), hash );
}

U32 DedupHashTable::reserveOf( const DedupHandle* member, U32 hash ) const noexcept {
   return reserveOfIn<Slot>( member, hash );
}

DedupHandle::PtrConst KeyedDedupHashTable::lookupSharedByKey( U32 placement, U64 key ) const {
   Shard& shard = shardFor( placement );
   if ( DedupHandle* member = findUnlocked<KeyedSlot>( shard, placement, key ) ) {
      // The key and the address are read apart: the member says whether
      // they belonged together.
      if ( member->dedupKey() == key ) {
         return DedupHandle::PtrConst::adopt( member );
      }
      member->deleteRef();
   }
   ShardGuard guard( shard, true );
   KeyedSlot* slot = findKey( shard, placement, key );
   return handOutCounted( slot ? slot->handle() : nullptr );
}

void KeyedDedupHashTable::forgetLastHit() noexcept {
   lastHit.slot = nullptr;
   lastHit.arraysFreed = arraysFreed.load( std::memory_order_relaxed );
}

void KeyedDedupHashTable::releaseInThread( const DedupHandle* member, U32 hash ) noexcept {
   KeyedSlot* slot = lastHitSlotOf( member );
   if ( !slot ) {
      slot = slotOf<KeyedSlot>( shards_[ 0 ], hash, member );
   }
   // The member's own reserve octet says only that its slot may hold some
   // (refCount() then asks the table).
   std::atomic<U8>& reserved = member->reservedAtomic();
   if ( reserved.load( std::memory_order_relaxed ) == 0 ) {
      reserved.store( DedupHandle::kReserve, std::memory_order_relaxed );
   }
   U32 reserve = slot->reserve();
   const U32 left = returnReference( member, reserve, KeyedSlot::kMaxReserve,
                                     [ slot ]( U32 grown ) { slot->reserveIs( grown ); } );
   if ( left == 1 + reserve ) {
      releaseMember( member, hash );
   } else {
      slot->countIs( left );
   }
}

void KeyedDedupHashTable::visitMembers( void ( *fn )( void*, const DedupHandle* ),
                                        void* context ) const {
   visitSlots<KeyedSlot>( fn, context );
}

void KeyedDedupHashTable::releaseMember( const DedupHandle* handle, U32 hash ) noexcept {
   releaseMemberIn<KeyedSlot>( const_cast<DedupHandle*>( handle ), hash );
}

U32 KeyedDedupHashTable::reserveOf( const DedupHandle* member, U32 hash ) const noexcept {
   return reserveOfIn<KeyedSlot>( member, hash );
}

DedupHashTableUnorderedSet::Ptr DedupHashTableUnorderedSet::DedupHashTableUnorderedSetIs(
      bool threadSafe ) {
   return Kel::makeActivePtr<DedupHashTableUnorderedSet>( threadSafe );
}

KeyedDedupHashTable::Ptr KeyedDedupHashTable::KeyedDedupHashTableIs( bool threadSafe ) {
   return Kel::makeActivePtr<KeyedDedupHashTable>( threadSafe );
}

} // namespace Bex
