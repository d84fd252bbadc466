// tests/platform/Bex/DedupTableChecker.h: what the interning-table tests
// share: a handle type holding one 64-bit content with a hash chosen by the
// test, life counters that count constructions and destructions across
// threads, and a lifetime notifiee that checks membership per content as the
// callbacks arrive.
//
//   auto counters = std::make_shared<LifeCounters>();
//   auto member = table->dedup( TestHandle::TestHandleIs( 7, hashOf( 7 ), counters.get() ) );
#pragma once

#include <atomic>
#include <memory>
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

// LifeCounters: constructions and destructions of TestHandle objects.
struct LifeCounters {
   std::atomic<U64> constructed{ 0 };
   std::atomic<U64> destroyed{ 0 };
   // destroyedTwice: a destructor found its object already destroyed.
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
   using PtrConst = Kel::Ptr<const TestHandle>;

   TestHandle( U64 value, U32 hash, LifeCounters* counters )
         : value_( value ), hash_( hash ), counters_( counters ) {
      counters_->constructed.fetch_add( 1 );
   }
   ~TestHandle() override {
      if ( magic_ != kAlive ) {
         counters_->destroyedTwice.fetch_add( 1 );
      }
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
// limit, the live members per content; any callback that finds a content live twice,
// removed while not live, or a handle in the wrong state counts a violation.
class CheckingNotifiee : public Bex::DedupHashTableLifeTimeNotifiee {
 public:
   using Ptr = Kel::Ptr<CheckingNotifiee>;

   explicit CheckingNotifiee( size_t contents ) : live_( contents ) {}

   void handleInsert( const Bex::DedupHandle::Ptr& handle ) override {
      inserts.fetch_add( 1 );
      if ( !handle || !handle->isDeduped() ) {
         violation( "handleInsert of a handle that is not deduped" );
         return;
      }
      const auto* member = dynamic_cast<const TestHandle*>( handle.ptr() );
      U64 v = member ? member->value() : live_.size();
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
      const auto* member = dynamic_cast<const TestHandle*>( handle );
      U64 v = member ? member->value() : live_.size();
      if ( v < live_.size() && live_[ v ].fetch_sub( 1 ) != 1 ) {
         violation( "content " + std::to_string( v ) + " removed while not live" );
      }
   }
   void handleNotificationStop( const Kel::Ptr<const Bex::DedupHashTable>& table ) override {
      stops.fetch_add( 1 );
      stoppedTable = table.ptr();
      if ( keepTableOnStop ) {
         keptTable = table;
      }
   }

   int live( U64 content ) const { return live_[ content ].load(); }
   std::string firstViolation() const {
      return firstViolation_.load() ? *firstViolation_.load() : std::string();
   }

   std::atomic<U64> inserts{ 0 };
   std::atomic<U64> removes{ 0 };
   std::atomic<U64> stops{ 0 };
   std::atomic<U64> violations{ 0 };
   const Bex::DedupHashTable* stoppedTable = nullptr;
   bool keepTableOnStop = false;
   Kel::Ptr<const Bex::DedupHashTable> keptTable;

 private:
   void violation( std::string what ) {
      if ( violations.fetch_add( 1 ) == 0 ) {
         messages_.push_back( std::make_unique<std::string>( std::move( what ) ) );
         firstViolation_.store( messages_.back().get() );
      }
   }

   std::vector<std::atomic<int>> live_;
   // Written once, by the first violation only.
   std::vector<std::unique_ptr<std::string>> messages_;
   std::atomic<const std::string*> firstViolation_{ nullptr };
};

} // namespace DedupTableChecker
