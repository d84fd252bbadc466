// OvBgp/ListMemo.cpp: the memo and the notifiee that tells memos which
// lists left their table.
//
// Locks are taken in one order: the table's (its callbacks run under them),
// then the hub's, then a memo's. A memo calls into the table only without
// its own lock, and drops references only outside it, since a release may
// reach the table and come back through the hub into the memo.
#include "OvBgp/ListMemo.h"

#include <algorithm>

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
   void handleNotificationStop( const Kel::Ptr<const Bex::DedupHashTable>& table ) override {
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
        bound_( std::max<size_t>( bound, 1 ) ) {
   hub_->subscribe( this );
}

ListMemo::~ListMemo() { hub_->unsubscribe( this ); }

bool ListMemo::findEdit( const Bex::DedupHandle* list, Bex::DedupHandle::PtrConst* result ) const {
   Entry entry;
   {
      std::lock_guard<std::mutex> lock( mutex_ );
      const auto found = entries_.find( list );
      if ( found == entries_.end() ) {
         return false;
      }
      entry = found->second;
   }
   if ( entry.result == list ) {
      *result = Bex::DedupHandle::PtrConst( list );
      return true;
   }
   // The memo holds no reference: the result is taken from the table, which
   // hands out only members that are not leaving. The address found is
   // entry's result only if the entry is still there once the reference is
   // held: a result that left in between took its entry with it.
   const auto identity = [ & ]( const Bex::DedupHandle* member ) {
      return member == entry.result;
   };
   Bex::DedupHandle::PtrConst taken = table_->lookupIf( entry.resultHash, identity );
   if ( !taken ) {
      return false;
   }
   {
      std::lock_guard<std::mutex> lock( mutex_ );
      const auto found = entries_.find( list );
      if ( found == entries_.end() || found->second.result != entry.result ) {
         return false; // taken is released outside the lock
      }
   }
   *result = std::move( taken );
   return true;
}

void ListMemo::rememberEdit( const Bex::DedupHandle* list, const Bex::DedupHandle* result ) {
   remember( list, Entry{ result, result->hash(), false } );
}

std::optional<bool> ListMemo::findMatch( const Bex::DedupHandle* list ) const {
   std::lock_guard<std::mutex> lock( mutex_ );
   const auto found = entries_.find( list );
   if ( found == entries_.end() ) {
      return std::nullopt;
   }
   return found->second.matched;
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
   if ( !list->isDeduped() || !table_->lookupIf( list->hash(), identity ) ) {
      return;
   }
   std::lock_guard<std::mutex> lock( mutex_ );
   if ( !listening_ ) {
      return;
   }
   if ( entries_.size() >= bound_ ) {
      entries_.clear();
      byResult_.clear();
   }
   const auto [ at, inserted ] = entries_.try_emplace( list, entry );
   if ( !inserted ) {
      return; // another thread remembered the same
   }
   if ( entry.result && entry.result != list ) {
      byResult_.emplace( entry.result, list );
   }
}

size_t ListMemo::remembered() const {
   std::lock_guard<std::mutex> lock( mutex_ );
   return entries_.size();
}

void ListMemo::eraseLocked( std::unordered_map<const Bex::DedupHandle*, Entry>::iterator entry ) {
   const Bex::DedupHandle* result = entry->second.result;
   if ( result && result != entry->first ) {
      auto [ first, last ] = byResult_.equal_range( result );
      for ( ; first != last; ++first ) {
         if ( first->second == entry->first ) {
            byResult_.erase( first );
            break;
         }
      }
   }
   entries_.erase( entry );
}

void ListMemo::forget( const Bex::DedupHandle* list ) {
   std::lock_guard<std::mutex> lock( mutex_ );
   if ( const auto found = entries_.find( list ); found != entries_.end() ) {
      eraseLocked( found );
   }
   for ( auto it = byResult_.find( list ); it != byResult_.end(); it = byResult_.find( list ) ) {
      const Bex::DedupHandle* key = it->second;
      byResult_.erase( it );
      entries_.erase( key );
   }
}

void ListMemo::stop() {
   std::lock_guard<std::mutex> lock( mutex_ );
   listening_ = false;
   entries_.clear();
   byResult_.clear();
}

} // namespace Routing::Bgp
