#include "Bex/DedupHashTable.h"

#include <cstdlib>
#include <cstring>
#include <new>
#include <vector>

#include "Bex/DumpContext.h"

namespace Bex {

namespace {

constexpr U32 kInitialSlots = 16;
// Thread-safe tables spread their members over 16 shards, chosen by the top
// four bits of the hash; the slot within a shard comes from the low bits.
constexpr U32 kShards = 16;
constexpr U32 kShardShift = 28;

template <class T>
T* allocateZeroed( size_t count ) {
   // Shards are cache-line aligned so that their locks do not share lines.
   size_t bytes = ( count * sizeof( T ) + alignof( T ) - 1 ) / alignof( T ) * alignof( T );
   void* memory = std::aligned_alloc( alignof( T ) < 16 ? 16 : alignof( T ), bytes );
   if ( !memory ) {
      throw std::bad_alloc();
   }
   std::memset( memory, 0, bytes );
   return static_cast<T*>( memory );
}

} // namespace

void DedupHandle::lastOutsideReferenceGone( DedupHashTable* table, const DedupHandle* handle,
                                            U32 hash ) noexcept {
   // A table-shared handle always has its table: both are cleared together,
   // and only once no outside reference is left.
   table->releaseMember( handle, hash );
}

DedupHashTable::DedupHashTable( bool threadSafe )
      : shardCount_( threadSafe ? kShards : 1 ), shardShift_( kShardShift ),
        threadSafe_( threadSafe ) {
   shards_ = allocateZeroed<Shard>( shardCount_ );
   for ( U32 s = 0; s < shardCount_; ++s ) {
      new ( &shards_[ s ] ) Shard();
      shards_[ s ].slots = allocateZeroed<Slot>( kInitialSlots );
      shards_[ s ].mask = kInitialSlots - 1;
   }
}

DedupHashTable::~DedupHashTable() {
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
      for ( U32 i = 0; i <= shard.mask; ++i ) {
         if ( shard.slots[ i ] ) {
            members.push_back( shard.slots[ i ].handle() );
         }
      }
      std::free( shard.slots );
      shard.~Shard();
   }
   std::free( shards_ );
   for ( DedupHandle* h : members ) {
      h->table_ = nullptr;
      h->tableSharedIs( false );
      h->releaseTableReferences();
   }
}

void DedupHashTable::onZeroReferences() const noexcept {
   auto* self = const_cast<DedupHashTable*>( this );
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

size_t DedupHashTable::size() const noexcept {
   size_t total = 0;
   for ( U32 s = 0; s < shardCount_; ++s ) {
      total += shards_[ s ].count.load( std::memory_order_relaxed );
   }
   return total;
}

void DedupHashTable::growIfFull( Shard& shard ) {
   const U32 capacity = shard.mask + 1;
   const U32 count = shard.count.load( std::memory_order_relaxed );
   // At most half full: a hit then seldom probes a second slot.
   if ( ( U64( count ) + 1 ) * 2 <= U64( capacity ) ) {
      return;
   }
   Slot* old = shard.slots;
   shard.slots = allocateZeroed<Slot>( size_t( capacity ) * 2 );
   shard.mask = capacity * 2 - 1;
   shard.count.store( 0, std::memory_order_relaxed );
   for ( U32 i = 0; i < capacity; ++i ) {
      if ( old[ i ] ) {
         placeSlot( shard, old[ i ].handle() );
      }
   }
   std::free( old );
}

void DedupHashTable::placeSlot( Shard& shard, DedupHandle* handle ) noexcept {
   U32 i = handle->tableHash_ & shard.mask;
   while ( shard.slots[ i ] ) {
      i = ( i + 1 ) & shard.mask;
   }
   shard.slots[ i ] = Slot( handle->tableHash_, handle );
   shard.count.fetch_add( 1, std::memory_order_relaxed );
}

U32 DedupHashTable::slotOf( const Shard& shard, U32 hash, const DedupHandle* handle ) noexcept {
   // Compares addresses only: handle may be gone.
   for ( U32 i = hash & shard.mask; shard.slots[ i ]; i = ( i + 1 ) & shard.mask ) {
      if ( shard.slots[ i ].handle() == handle ) {
         return i;
      }
   }
   return kNoSlot;
}

void DedupHashTable::eraseSlot( Shard& shard, U32 i ) noexcept {
   // Backward-shift deletion: pull later entries of the probe run into the
   // hole unless they already sit between their home slot and the hole.
   U32 j = i;
   for ( ;; ) {
      j = ( j + 1 ) & shard.mask;
      if ( !shard.slots[ j ] ) {
         break;
      }
      U32 home = shard.slots[ j ].handle()->tableHash_ & shard.mask;
      bool stays = ( i <= j ) ? ( i < home && home <= j ) : ( i < home || home <= j );
      if ( !stays ) {
         shard.slots[ i ] = shard.slots[ j ];
         i = j;
      }
   }
   shard.slots[ i ] = Slot();
   shard.count.fetch_sub( 1, std::memory_order_relaxed );
}

void DedupHashTable::releaseMember( const DedupHandle* member, U32 hash ) noexcept {
   auto* handle = const_cast<DedupHandle*>( member );
   {
      Shard& shard = shardFor( hash );
      ShardGuard guard( shard, threadSafe_ );
      // The releasing thread holds no reference any more. Since its decrement
      // a lookup may have taken one (the member stays), or that reference
      // may have gone too and its release detached and destroyed the handle
      // (no longer found). Only a handle found among the members, which the
      // table's reference keeps alive, is touched.
      const U32 slot = slotOf( shard, hash, handle );
      if ( slot == kNoSlot || !handle->outsideReferencesGone() ) {
         return;
      }
      handle->dedupStateIs( dedupHandleStateBeingDetached_ );
      eraseSlot( shard, slot );
      handle->tableSharedIs( false );
      handle->table_ = nullptr;
      if ( notifying_.load( std::memory_order_acquire ) ) {
         notifyRemove( handle );
      }
   }
   // The table's own references go last, outside the lock: destroying the
   // member may release members of other tables.
   handle->releaseTableReferences();
}

void DedupHashTable::notifyInsert( DedupHandle* handle ) {
   std::unique_lock<std::mutex> lock( notifyMutex_, std::defer_lock );
   if ( threadSafe_ ) {
      lock.lock();
   }
   if ( notifiee_ ) {
      notifiee_->handleInsert( DedupHandle::Ptr( handle ) );
   }
}

void DedupHashTable::notifyRemove( DedupHandle* handle ) {
   std::unique_lock<std::mutex> lock( notifyMutex_, std::defer_lock );
   if ( threadSafe_ ) {
      lock.lock();
   }
   if ( notifiee_ ) {
      notifiee_->handleRemove( handle );
   }
}

void DedupHashTable::lifeTimeNotifieeIs( const DedupHashTableLifeTimeNotifiee::Ptr& notifiee ) {
   std::lock_guard<std::mutex> lock( notifyMutex_ );
   notifiee_ = notifiee;
   notifying_.store( bool( notifiee ), std::memory_order_release );
}

DedupHashTableLifeTimeNotifiee::Ptr DedupHashTable::lifeTimeNotifiee() const {
   std::lock_guard<std::mutex> lock( const_cast<std::mutex&>( notifyMutex_ ) );
   return notifiee_;
}

void DedupHashTable::notificationStop() {
   std::lock_guard<std::mutex> lock( notifyMutex_ );
   if ( !notifiee_ ) {
      return;
   }
   DedupHashTableLifeTimeNotifiee::Ptr notifiee = std::move( notifiee_ );
   notifying_.store( false, std::memory_order_release );
   notifiee->handleNotificationStop( PtrConst( this ) );
}

void DedupHashTable::dumpState( const DumpContext& ctx, U32 indent ) const {
   if ( indent ) {
      ctx.printf( "%*cDedupHashTable #%zu\n", int( indent ), ' ', size() );
   } else {
      ctx.printf( "DedupHashTable #%zu\n", size() );
   }
}

DedupHashTableUnorderedSet::Ptr DedupHashTableUnorderedSet::DedupHashTableUnorderedSetIs(
      bool threadSafe ) {
   return Kel::makeActivePtr<DedupHashTableUnorderedSet>( threadSafe );
}

} // namespace Bex
