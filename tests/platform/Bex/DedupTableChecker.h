// tests/platform/Bex/DedupTableChecker.h: what the interning-table tests
// share: a handle holding one 64-bit content placed by a hash chosen by the test,
// life counters shared across threads, and a lifetime notifiee that checks
// membership per content as the callbacks arrive.
//
//   LifeCounters counters;
//   auto member = table->dedup( TestHandle::TestHandleIs( 7, &counters ) );
#pragma once

#include <atomic>
#include <string>
#include <vector>

#include "Bex/DedupHandle.h"
#include "Bex/DedupHashTable.h"
#include "Kel/Hash.h"
#include "Kel/Ptr.h"
#include "Kel/Types.h"

namespace DedupTableChecker {

// TestContent: the bare content of a TestHandle, for lookupByContent().
struct TestContent : Bex::DedupContentHandle {
   explicit TestContent( U64 v ) : value( v ) {}
   U64 value;
};

// LifeCounters: constructions and destructions of TestHandle objects;
// destroyedTwice counts destructors that found their object already dead.
struct LifeCounters {
   std::atomic<U64> constructed{ 0 };
   std::atomic<U64> destroyed{ 0 };
   std::atomic<U64> destroyedTwice{ 0 };
   U64 alive() const { return constructed.load() - destroyed.load(); }
};

// goodHash(): the hash a real value type would use.
inline U32 goodHash( U64 value ) { return Kel::hashSingleAttr( 0, value ); }

// TestHandle: an interned 64-bit content; the hash is given, so tests can
// make contents collide or crowd one end of the slot array.
class TestHandle final : public Bex::DedupHandle {
 public:
   using Ptr = Kel::Ptr<TestHandle>;

   TestHandle( U64 value, U32 hash, LifeCounters* counters )
         : value_( value ), hash_( hash ), counters_( counters ) {
      counters_->constructed.fetch_add( 1 );
   }
   ~TestHandle() override {
      counters_->destroyedTwice.fetch_add( magic_ != kAlive );
      magic_ = kDead;
      counters_->destroyed.fetch_add( 1 );
   }

   static Ptr TestHandleIs( U64 value, U32 hash, LifeCounters* counters ) {
      return Kel::makeActivePtr<TestHandle>( value, hash, counters );
   }
   static Ptr TestHandleIs( U64 value, LifeCounters* counters ) {
      return TestHandleIs( value, goodHash( value ), counters );
   }

   U64 value() const noexcept { return value_; }
   bool alive() const noexcept { return magic_ == kAlive; }

   U32 hash() const override { return hash_; }
   // Placed where the test's hash says, so that tests can build collisions
   // and probe runs that wrap.
   U32 placementHash( const Kel::HashKey& ) const override { return hash_; }
   bool compare( const Bex::DedupHandle* other ) const override {
      return static_cast<const TestHandle*>( other )->value_ == value_;
   }
   bool compareByContent( const Bex::DedupContentHandle& content ) const override {
      return static_cast<const TestContent&>( content ).value == value_;
   }
   U64 dedupKey() const noexcept override { return value_; }

 private:
   static constexpr U64 kAlive = 0xA11FEA11FEA11FEull;
   static constexpr U64 kDead = 0xDEADDEADDEADDEADull;

   U64 value_;
   U32 hash_;
   LifeCounters* counters_;
   U64 magic_ = kAlive;
};

// valueOf(): the content of a member handed out by a table.
inline U64 valueOf( const Bex::DedupHandle* handle ) {
   return static_cast<const TestHandle*>( handle )->value();
}

// CheckingNotifiee: counts callbacks and, for TestHandle contents below its
// limit, the live members per content; a content inserted while live,
// removed while not live, or a handle in the wrong state is a violation.
// A table serializes its callbacks, so the notifiee needs no lock.
class CheckingNotifiee : public Bex::DedupHashTableLifeTimeNotifiee {
 public:
   using Ptr = Kel::Ptr<CheckingNotifiee>;

   explicit CheckingNotifiee( size_t contents ) : live_( contents ) {}

   void handleInsert( const Bex::DedupHandle::Ptr& handle ) override {
      inserts.fetch_add( 1 );
      if ( !handle || !handle->isDeduped() ) {
         return violation( "handleInsert of a handle that is not deduped" );
      }
      U64 v = contentOf( handle.ptr() );
      if ( v < live_.size() && live_[ v ].fetch_add( 1 ) != 0 ) {
         violation( "content " + std::to_string( v ) + " inserted while already live" );
      }
   }
   void handleRemove( Bex::DedupHandle* handle ) override {
      removes.fetch_add( 1 );
      if ( handle->dedupState() != Bex::dedupHandleStateBeingDetached() ) {
         violation( "handleRemove of a handle that is not being detached" );
      }
      // Only the table's own reference is left when a member goes.
      if ( handle->refCount() != 1 ) {
         violation( "handleRemove with " + std::to_string( handle->refCount() ) + " references" );
      }
      U64 v = contentOf( handle );
      if ( v < live_.size() && live_[ v ].fetch_sub( 1 ) != 1 ) {
         violation( "content " + std::to_string( v ) + " removed while not live" );
      }
   }
   void handleNotificationStop( const Kel::Ptr<const Bex::DedupHashTableBase>& table ) override {
      stops.fetch_add( 1 );
      stoppedTable = table.ptr();
      if ( keepTableOnStop ) {
         keptTable = table;
      }
   }

   std::string firstViolation() const { return firstViolation_; }

   std::atomic<U64> inserts{ 0 };
   std::atomic<U64> removes{ 0 };
   std::atomic<U64> stops{ 0 };
   std::atomic<U64> violations{ 0 };
   const Bex::DedupHashTableBase* stoppedTable = nullptr;
   bool keepTableOnStop = false;
   Kel::Ptr<const Bex::DedupHashTableBase> keptTable;

 private:
   // contentOf(): the content of a TestHandle; past the limit for others.
   U64 contentOf( const Bex::DedupHandle* handle ) const {
      const auto* member = dynamic_cast<const TestHandle*>( handle );
      return member ? member->value() : live_.size();
   }
   void violation( std::string what ) {
      if ( violations.fetch_add( 1 ) == 0 ) {
         firstViolation_ = std::move( what );
      }
   }

   std::vector<std::atomic<int>> live_;
   std::string firstViolation_;
};

} // namespace DedupTableChecker
