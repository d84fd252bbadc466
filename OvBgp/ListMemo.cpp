// OvBgp/ListMemo.cpp: the memo and the notifiee that tells memos which
// lists left their table.
//
// Locks are taken in one order: the table's (its callbacks run under them),
// then the hub's, then a memo's. A memo calls into the table only without
// its own lock, and drops references only outside it, since a release may
// reach the table and come back through the hub into the memo.
#include "OvBgp/ListMemo.h"

#include <algorithm>
#include <mutex>

namespace Routing::Bgp {

// ListMemoHub: the lifetime notifiee of one table, feeding every memo of the
// table and the notifiee that was there before it.
class ListMemoHub : public Bex::DedupHashTableLifeTimeNotifiee {
 public:
   using Ptr = Kel::Ptr<ListMemoHub>;

   // hubOf(): table's hub, installed on first use.
   static Ptr hubOf( const Bex::DedupHashTable::Ptr& table ) {
      static std::mutex installing;
      std::lock_guard<std::mutex> lock( installing );
      Bex::DedupHashTableLifeTimeNotifiee::Ptr current = table->lifeTimeNotifiee();
      if ( auto* hub = dynamic_cast<ListMemoHub*>( current.ptr() ) ) {
         return Ptr( hub );
      }
      Ptr hub = Kel::makePtr<ListMemoHub>();
      hub->previous_ = std::move( current );
      table->lifeTimeNotifieeIs( hub );
      return hub;
   }

   void subscribe( ListMemo* memo ) {
      std::lock_guard<std::mutex> lock( mutex_ );
      memos_.push_back( memo );
   }
   // unsubscribe(): once it returns, no callback reaches memo any more.
   void unsubscribe( ListMemo* memo ) {
      std::lock_guard<std::mutex> lock( mutex_ );
      memos_.erase( std::find( memos_.begin(), memos_.end(), memo ) );
   }

   void handleInsert( const Bex::DedupHandle::Ptr& handle ) override {
      if ( previous_ ) {
         previous_->handleInsert( handle );
      }
   }
   void handleRemove( Bex::DedupHandle* handle ) override {
      if ( previous_ ) {
         previous_->handleRemove( handle );
      }
      std::lock_guard<std::mutex> lock( mutex_ );
      for ( ListMemo* memo : memos_ ) {
         memo->forget( handle );
      }
   }
   void handleNotificationStop( const Kel::Ptr<const Bex::DedupHashTableBase>& table ) override {
      if ( previous_ ) {
         previous_->handleNotificationStop( table );
      }
      std::lock_guard<std::mutex> lock( mutex_ );
      for ( ListMemo* memo : memos_ ) {
         memo->stop();
      }
   }

 private:
   std::mutex mutex_;
   std::vector<ListMemo*> memos_;
   Bex::DedupHashTableLifeTimeNotifiee::Ptr previous_;
};

ListMemo::ListMemo( const Bex::DedupHashTable::Ptr& table, size_t bound )
      : table_( table ),
        hub_( ListMemoHub::hubOf( table ) ),
        bound_( std::max<size_t>( bound, 1 ) ),
        threadSafe_( table->threadSafe() ) {
   hub_->subscribe( this );
}

ListMemo::~ListMemo() { hub_->unsubscribe( this ); }

bool ListMemo::findEdit( const Bex::DedupHandle* list, Bex::DedupHandle::PtrConst* result ) const {
   Entry entry;
   U64 departures;
   {
      Guard lock( *this );
      const Entry* found = entries_.find( list );
      if ( !found ) {
         return false;
      }
      entry = *found;
      departures = departures_.load();
   }
   // In a single-thread table no release races this one: the entry shows
   // that its result has not left the table.
   if ( entry.result == list || !table_->threadSafe() ) {
      *result = Bex::DedupHandle::PtrConst( entry.result );
      return true;
   }
   // Otherwise the result may be leaving right now, and the memo holds no
   // reference to it: it is taken from the table, which
   // hands out only members that are not leaving. The member found at that
   // address is entry's result unless a list left the table in between (the
   // result may have gone and another list taken its place); then the entry
   // decides, which the result's departure would have erased.
   const auto identity = [ & ]( const Bex::DedupHandle* member ) {
      return member == entry.result;
   };
   Bex::DedupHandle::PtrConst taken = table_->lookupIf( entry.resultHash, identity );
   if ( !taken ) {
      return false;
   }
   if ( departures_.load() != departures ) {
      Guard lock( *this );
      const Entry* found = entries_.find( list );
      if ( !found || found->result != entry.result ) {
         return false; // taken is released outside the lock
      }
   }
   *result = std::move( taken );
   return true;
}

void ListMemo::rememberEdit( const Bex::DedupHandle* list, const Bex::DedupHandle* result ) {
   remember( list, Entry{ result, result->placementHash( table_->hashKey() ), false } );
}

std::optional<bool> ListMemo::findMatch( const Bex::DedupHandle* list ) const {
   Guard lock( *this );
   const Entry* found = entries_.find( list );
   if ( !found ) {
      return std::nullopt;
   }
   return found->matched;
}

void ListMemo::rememberMatch( const Bex::DedupHandle* list, bool matched ) {
   remember( list, Entry{ nullptr, 0, matched } );
}

void ListMemo::remember( const Bex::DedupHandle* list, Entry entry ) {
   // The caller's references keep list and result in the table until this
   // returns; only a member of the table is heard leaving it.
   const auto identity = [ list ]( const Bex::DedupHandle* member ) {
      return member == list;
   };
   if ( !list->isDeduped() ||
        !table_->lookupIf( list->placementHash( table_->hashKey() ), identity ) ) {
      return;
   }
   Guard lock( *this );
   if ( !listening_ ) {
      return;
   }
   if ( entries_.size() >= bound_ || byResult_.size() >= 2 * bound_ ) {
      entries_.clear();
      byResult_.clear();
   }
   if ( !entries_.insert( list, entry ) ) {
      return; // another thread remembered the same
   }
   if ( entry.result && entry.result != list ) {
      byResult_.emplace( entry.result, list );
   }
}

size_t ListMemo::remembered() const {
   Guard lock( *this );
   return entries_.size();
}

void ListMemo::forget( const Bex::DedupHandle* list ) {
   Guard lock( *this );
   departures_.fetch_add( 1 );
   entries_.erase( list );
   // Records of entries already gone (or remembered anew) are left behind
   // when a list leaves, rather than searched for; they are dropped here or
   // with the rest when the memo starts over.
   const auto [ first, last ] = byResult_.equal_range( list );
   for ( auto it = first; it != last; ++it ) {
      const Entry* entry = entries_.find( it->second );
      if ( entry && entry->result == list ) {
         entries_.erase( it->second );
      }
   }
   byResult_.erase( first, last );
}

void ListMemo::stop() {
   Guard lock( *this );
   departures_.fetch_add( 1 );
   listening_ = false;
   entries_.clear();
   byResult_.clear();
}

size_t ListMemo::Entries::home( const Bex::DedupHandle* list ) const noexcept {
   // Objects sit at least 16 bytes apart: mix the address above that.
   const U64 bits = ( reinterpret_cast<U64>( list ) >> 4 ) * 0x9E3779B97F4A7C15ull;
   return size_t( bits >> 32 ) & ( slots_.size() - 1 );
}

auto ListMemo::Entries::find( const Bex::DedupHandle* list ) const noexcept -> const Entry* {
   if ( slots_.empty() ) {
      return nullptr;
   }
   for ( size_t i = home( list );; i = ( i + 1 ) & ( slots_.size() - 1 ) ) {
      const Slot& slot = slots_[ i ];
      if ( slot.list == list ) {
         return &slot.entry;
      }
      if ( !slot.list ) {
         return nullptr;
      }
   }
}

bool ListMemo::Entries::insert( const Bex::DedupHandle* list, const Entry& entry ) {
   if ( ( count_ + 1 ) * 2 > slots_.size() ) {
      std::vector<Slot> old( std::max<size_t>( slots_.size() * 2, 64 ) );
      old.swap( slots_ );
      count_ = 0;
      for ( const Slot& slot : old ) {
         if ( slot.list ) {
            insert( slot.list, slot.entry );
         }
      }
   }
   size_t i = home( list );
   for ( ; slots_[ i ].list; i = ( i + 1 ) & ( slots_.size() - 1 ) ) {
      if ( slots_[ i ].list == list ) {
         return false;
      }
   }
   slots_[ i ] = Slot{ list, entry };
   ++count_;
   return true;
}

void ListMemo::Entries::erase( const Bex::DedupHandle* list ) noexcept {
   if ( slots_.empty() ) {
      return;
   }
   const size_t mask = slots_.size() - 1;
   size_t i = home( list );
   while ( slots_[ i ].list != list ) {
      if ( !slots_[ i ].list ) {
         return;
      }
      i = ( i + 1 ) & mask;
   }
   // Backward shift: later slots of the run move into the hole unless they
   // already sit between their home and it.
   for ( size_t j = ( i + 1 ) & mask; slots_[ j ].list; j = ( j + 1 ) & mask ) {
      const size_t h = home( slots_[ j ].list );
      const bool stays = i <= j ? ( i < h && h <= j ) : ( i < h || h <= j );
      if ( !stays ) {
         slots_[ i ] = slots_[ j ];
         i = j;
      }
   }
   slots_[ i ] = Slot();
   --count_;
}

void ListMemo::Entries::clear() noexcept {
   std::fill( slots_.begin(), slots_.end(), Slot() );
   count_ = 0;
}

} // namespace Routing::Bgp
