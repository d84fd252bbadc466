#include "Bex/DedupHashTable.h"

#include "Bex/DumpContext.h"
#include "Kel/Hash.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <map>
#include <mutex>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <tuple>
#include <type_traits>
#include <vector>

namespace {

using Bex::DedupHandle;
using Bex::DedupHashTableUnorderedSet;
using Bex::KeyedDedupHashTable;

// TestContent: the bare content of a TestHandle, for lookupByContent().
struct TestContent : Bex::DedupContentHandle {
   explicit TestContent( U64 v ) : value( v ) {}
   U64 value;
};

// LifeCounters: constructions and destructions of TestHandle objects, from
// any thread; destroyedTwice counts destructors that found their object dead.
struct LifeCounters {
   std::atomic<U64> constructed{ 0 };
   std::atomic<U64> destroyed{ 0 };
   std::atomic<U64> destroyedTwice{ 0 };
   U64 alive() const { return constructed.load() - destroyed.load(); }
};

// goodHash(): the hash a real value type would use.
U32 goodHash( U64 value ) { return Kel::hashSingleAttr( 0, value ); }

// TestHandle: an interned 64-bit content, placed where the test's hash says
// so that tests can build collisions and probe runs that wrap. Like a list,
// it may hold other members, released when it goes.
class TestHandle final : public Bex::KeyedMember<DedupHandle> {
 public:
   using Ptr = Kel::Ptr<TestHandle>;

   TestHandle( U64 value, U32 hash, LifeCounters* counters, std::vector<PtrConst> held = {} )
         : value_( value ), hash_( hash ), counters_( counters ), held_( std::move( held ) ) {
      counters_->constructed.fetch_add( 1 );
   }
   ~TestHandle() override {
      counters_->destroyedTwice.fetch_add( magic_ != kAlive );
      magic_ = kDead;
      counters_->destroyed.fetch_add( 1 );
   }

   U64 value() const noexcept { return value_; }
   bool alive() const noexcept { return magic_ == kAlive; }

   U32 hash() const override { return hash_; }
   U32 placementHash( const Kel::HashKey& ) const override { return hash_; }
   bool compare( const DedupHandle* other ) const override {
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
   std::vector<PtrConst> held_;
   U64 magic_ = kAlive;
};

// valueOf(): the content of a member handed out by a table.
U64 valueOf( const DedupHandle* handle ) {
   return static_cast<const TestHandle*>( handle )->value();
}

// CheckingNotifiee: counts callbacks and, for contents below its limit, the
// live members per content; a content inserted while live, removed while
// not live, or a handle in the wrong state is a violation. A table
// serializes its callbacks, so the notifiee needs no lock.
class CheckingNotifiee : public Bex::DedupHashTableLifeTimeNotifiee {
 public:
   explicit CheckingNotifiee( size_t contents ) : live_( contents ) {}

   void handleInsert( const DedupHandle::Ptr& handle ) override {
      inserts.fetch_add( 1 );
      expect( handle && handle->isDeduped(), "an inserted handle that is not deduped" );
      U64 v = handle ? valueOf( handle.ptr() ) : live_.size();
      expect( v >= live_.size() || live_[ v ].fetch_add( 1 ) == 0, "a content inserted twice" );
   }
   void handleRemove( DedupHandle* handle ) override {
      removes.fetch_add( 1 );
      expect( handle->dedupState() == Bex::dedupHandleStateBeingDetached(),
              "a removed handle that is not being detached" );
      // Only the table's own reference is left when a member goes.
      expect( handle->refCount() == 1, "a removed handle with outside references" );
      U64 v = valueOf( handle );
      expect( v >= live_.size() || live_[ v ].fetch_sub( 1 ) == 1, "a content removed twice" );
   }
   void handleNotificationStop( const Kel::Ptr<const Bex::DedupHashTableBase>& table ) override {
      stops.fetch_add( 1 );
      stoppedTable = table.ptr();
      if ( keepTableOnStop ) {
         keptTable = table;
      }
   }

   // counts(): "inserts removes stops", then the first violation if any.
   std::string counts() const {
      return std::to_string( inserts ) + " " + std::to_string( removes ) + " " +
             std::to_string( stops ) + ( violations ? " " + firstViolation : "" );
   }

   std::atomic<U64> inserts{ 0 };
   std::atomic<U64> removes{ 0 };
   std::atomic<U64> stops{ 0 };
   std::atomic<U64> violations{ 0 };
   std::string firstViolation;
   const Bex::DedupHashTableBase* stoppedTable = nullptr;
   bool keepTableOnStop = false;
   Kel::Ptr<const Bex::DedupHashTableBase> keptTable;

 private:
   void expect( bool holds, const char* violation ) {
      if ( !holds && violations.fetch_add( 1 ) == 0 ) {
         firstViolation = violation;
      }
   }

   std::vector<std::atomic<int>> live_;
};

// Variant: a kind of table, thread-safe or not.
template<class T, bool threadSafe>
struct Variant {
   using Table = T;
   static constexpr bool kThreadSafe = threadSafe;
   static constexpr bool kKeyed = std::is_same_v<T, KeyedDedupHashTable>;
};

// Every variant must behave the same from one thread; keyed members are
// found by a key that is their content.
template<class V>
class DedupHashTableTest : public testing::Test {
 protected:
   using Table = typename V::Table;
   TestHandle::Ptr make( U64 value ) { return make( value, goodHash( value ) ); }
   TestHandle::Ptr make( U64 value, U32 hash, std::vector<DedupHandle::PtrConst> held = {} ) {
      return Kel::makeActivePtr<TestHandle>( value, hash, &counters, std::move( held ) );
   }
   static typename Table::Ptr newTable() { return Kel::makeActivePtr<Table>( V::kThreadSafe ); }
   // watched(): a new notifiee installed on table.
   static Kel::Ptr<CheckingNotifiee> watched( Bex::DedupHashTableBase& table,
                                              size_t contents = 16 ) {
      auto notifiee = Kel::makePtr<CheckingNotifiee>( contents );
      table.lifeTimeNotifieeIs( notifiee );
      return notifiee;
   }
   // lookup(): by key in a keyed table, by content in the others.
   template<class P>
   static DedupHandle::PtrConst lookup( const P& table, U64 value, std::optional<U32> hash = {} ) {
      const auto& set = static_cast<const Table&>( *table );
      const U32 h = hash.value_or( goodHash( value ) );
      if constexpr ( V::kKeyed ) {
         return set.lookupByKey( h, value );
      } else {
         return set.lookupByContent( TestContent( value ), h );
      }
   }
   bool allDestroyed() const { return counters.alive() == 0 && !counters.destroyedTwice.load(); }

   LifeCounters counters;
};
using Variants =
      testing::Types<Variant<DedupHashTableUnorderedSet, false>,
                     Variant<DedupHashTableUnorderedSet, true>, Variant<KeyedDedupHashTable, false>,
                     Variant<KeyedDedupHashTable, true>>;
TYPED_TEST_SUITE( DedupHashTableTest, Variants ); // a failure names its TypeParam

TYPED_TEST( DedupHashTableTest, InterningSameContentTwiceReturnsSameObject ) {
   auto table = this->newTable();
   // preInsert runs for the inserted candidate only, before it is a member.
   std::vector<std::pair<DedupHandle*, Bex::DedupHandleState>> preInserts;
   auto preInsert = [ & ]( DedupHandle* h ) {
      preInserts.emplace_back( h, h->dedupState() );
   };

   TestHandle::Ptr first = this->make( 42 );
   DedupHandle::PtrConst interned = table->dedup( first, preInsert );
   EXPECT_EQ( first, interned );
   EXPECT_TRUE( first->isDeduped() );
   EXPECT_EQ( 3u, first->refCount() ); // first, interned, the table's own
   {
      TestHandle::Ptr second = this->make( 42 );
      EXPECT_EQ( first, table->dedup( second, preInsert ) );
      EXPECT_FALSE( second->everDeduped() );
      EXPECT_EQ( first, table->dedup( first, preInsert ) ); // a member again: a no-op
   }
   ASSERT_EQ( 1u, preInserts.size() );
   EXPECT_EQ( first.ptr(), preInserts[ 0 ].first );
   EXPECT_EQ( Bex::dedupHandleStateNeverDeduped(), preInserts[ 0 ].second );
   EXPECT_EQ( 1u, this->counters.destroyed.load() ); // the losing candidate only
   EXPECT_EQ( 3u, first->refCount() );
   EXPECT_EQ( 1u, table->size() );

   // Another table interns its own object for the same content.
   EXPECT_NE( first, this->newTable()->dedup( this->make( 42 ) ) );

   Bex::DumpContext::Ptr ctx = Bex::DumpContext::DumpContextIs();
   table->dumpState( *ctx, 3 );
   EXPECT_EQ( "   DedupHashTable #1\n", ctx->str() );
}

// Collisions, absent contents and zero (which an empty keyed slot reads as)
// are RandomInsertsAndRemovalsKeepEveryMemberFindable's cases, looked up
// after every step; here what only a content lookup does.
TYPED_TEST( DedupHashTableTest, LookupFindsMembersOnly ) {
   auto table = this->newTable();
   EXPECT_EQ( nullptr, this->lookup( table, 5 ) );
   DedupHandle::PtrConst five = table->dedup( this->make( 5 ) );
   // The reference a hit hands out: MemberLeavesWithItsLastOutsideReference.
   EXPECT_EQ( five, this->lookup( table, 5 ) );
   if constexpr ( !TypeParam::kKeyed ) {
      EXPECT_EQ( nullptr, this->lookup( table, 5, goodHash( 6 ) ) ); // right content, wrong hash
      EXPECT_EQ( five, table->lookupIf( goodHash( 5 ), []( const DedupHandle* h ) {
         return valueOf( h ) == 5;
      } ) );
   }
}

TYPED_TEST( DedupHashTableTest, MemberLeavesWithItsLastOutsideReferenceNotifyingOnce ) {
   // Hits hand out references the table counted ahead and releases give
   // them back, past what a reserve holds (255 in a member or a keyed
   // slot); the count must still say who holds the member, and the
   // member must leave with its last outside reference whichever that is.
   auto table = this->newTable();
   auto notifiee = this->watched( *table );
   std::vector<DedupHandle::PtrConst> held{ table->dedup( this->make( 9 ) ) };
   for ( U32 i = 1; i < 70000; ++i ) {
      held.push_back( this->lookup( table, 9 ) );
      ASSERT_EQ( i + 2, held.front()->refCount() ); // held, plus the table's own
   }
   for ( U32 round = 0; round < 3; ++round ) {
      // Release from the front, then hit again: the reserve both drains and
      // refills while outside references come and go.
      held.erase( held.begin(), held.begin() + 300 );
      for ( int i = 0; i < 200; ++i ) {
         held.push_back( this->lookup( table, 9 ) );
      }
      ASSERT_EQ( held.size() + 1, held.front()->refCount() );
   }
   held.resize( 1 );
   EXPECT_EQ( 1u, table->size() );
   EXPECT_EQ( "1 0 0", notifiee->counts() ); // hits notify nothing
   EXPECT_EQ( 0u, this->counters.destroyed.load() );
   held.clear(); // the last outside reference
   EXPECT_EQ( "1 1 0", notifiee->counts() );
   EXPECT_EQ( 0u, table->size() );
   EXPECT_EQ( 1u, this->counters.destroyed.load() );
   EXPECT_EQ( nullptr, this->lookup( table, 9 ) );

   // The content comes back as a new member, under a new notifiee; the old
   // one is replaced, not stopped.
   auto second = this->watched( *table );
   table->dedup( this->make( 9 ) ); // dropped at once: leaves at once
   EXPECT_EQ( "1 1 0", second->counts() );

   // A stop on request comes once, and nothing after it.
   table->notificationStop();
   table->notificationStop();
   EXPECT_EQ( nullptr, table->lifeTimeNotifiee() );
   table->dedup( this->make( 4 ) );
   table = nullptr;
   EXPECT_EQ( "1 1 1", second->counts() );
   EXPECT_EQ( "1 1 0", notifiee->counts() );
   EXPECT_TRUE( this->allDestroyed() );
}

// A release through a pointer typed as the member's class, right after its
// hit, gives the reference back to the slot the hit took it from without
// reading the member: unless it may be the last outside reference, the
// slot no longer holds the member (a removal moved it along its run), or
// the slot array is gone (grown, or the table destroyed).
TYPED_TEST( DedupHashTableTest, ReleaseAfterItsHitKeepsCountsWhenItsSlotMovedOrWentAway ) {
   using Member = Kel::Ptr<const TestHandle>;
   auto table = this->newTable();
   auto intern = [ & ]( U64 v, U32 h ) {
      return Kel::ptrCast<const TestHandle>( table->dedup( this->make( v, h ) ) );
   };
   auto hit = [ & ]( U64 v, U32 h ) {
      return Kel::ptrCast<const TestHandle>( this->lookup( table, v, h ) );
   };
   Member first = intern( 1, 10 ), last = hit( 1, 10 );
   first = nullptr;
   last = nullptr; // the last outside reference, given back right after its hit
   EXPECT_EQ( 0u, table->size() );

   Member a = intern( 2, 20 ), b = intern( 3, 20 ); // b after a in one run
   Member moved = hit( 3, 20 );
   a = nullptr; // b moves back into a's slot
   moved = nullptr;
   EXPECT_EQ( 2u, b->refCount() );

   Member grown = hit( 3, 20 );
   std::vector<Member> many;
   for ( U64 v = 100; v < 1100; ++v ) {
      many.push_back( intern( v, goodHash( v ) ) );
   }
   grown = nullptr;
   EXPECT_EQ( 2u, b->refCount() );
   many.clear();

   Member orphan = hit( 3, 20 );
   table = nullptr;
   orphan = nullptr;
   EXPECT_EQ( 1u, b->refCount() );
   b = nullptr;
   EXPECT_TRUE( this->allDestroyed() );
}

// Inserts and removals in random order, with hashes that spread well, that
// collide in runs, and that crowd the end of the slot array so that probe
// runs wrap; after every step each member is found and nothing else is.
TYPED_TEST( DedupHashTableTest, RandomInsertsAndRemovalsKeepEveryMemberFindable ) {
   const std::tuple<const char*, U32 ( * )( U64 ), U64> modes[] = {
      // name, hash, contents
      { "spread", []( U64 v ) { return goodHash( v ); }, 400 },
      { "few hashes", []( U64 v ) { return U32( v % 7 ) * 0x01000193u; }, 90 },
      { "crowding the end", []( U64 v ) { return goodHash( v ) | 0x0000FFE0u; }, 200 },
      { "wrapping runs", []( U64 v ) { return 0xFFFFFFF0u | U32( v % 5 ); }, 90 },
   };
   std::mt19937_64 rng( 2024 );
   for ( const auto& [ name, hash, contents ] : modes ) {
      SCOPED_TRACE( name );
      auto table = this->newTable();
      std::map<U64, DedupHandle::PtrConst> model;
      for ( int step = 0; step < 3000; ++step ) {
         U64 v = rng() % contents;
         auto it = model.find( v );
         if ( it == model.end() ) {
            model[ v ] = table->dedup( this->make( v, hash( v ) ) );
         } else if ( rng() % 4 == 0 ) {
            ASSERT_EQ( it->second, table->dedup( this->make( v, hash( v ) ) ) ); // found again
         } else {
            model.erase( it );
         }
         ASSERT_EQ( model.size(), table->size() ) << "step " << step;
         for ( U64 c = 0; c < contents; ++c ) {
            auto m = model.find( c );
            ASSERT_EQ( m == model.end() ? nullptr : m->second, this->lookup( table, c, hash( c ) ) )
                  << "content " << c << " at step " << step;
         }
      }
      size_t visited = 0;
      table->forEach( [ & ]( const DedupHandle* h ) {
         ++visited;
         EXPECT_TRUE( model.count( valueOf( h ) ) );
      } );
      EXPECT_EQ( model.size(), visited );
      model.clear();
      EXPECT_EQ( 0u, table->size() );
   }
   EXPECT_TRUE( this->allDestroyed() );
}

TYPED_TEST( DedupHashTableTest, GrowsPastManyMembersAndShrinksBackToEmpty ) {
   auto table = this->newTable();
   constexpr U64 kMembers = 30000;
   constexpr U64 kStride = 0x9E3779B97F4A7C15ull;
   std::vector<DedupHandle::PtrConst> held;
   for ( U64 v = 0; v < kMembers; ++v ) {
      held.push_back( table->dedup( this->make( v * kStride ) ) );
   }
   EXPECT_EQ( kMembers, table->size() );
   std::shuffle( held.begin(), held.end(), std::mt19937( 11 ) );
   for ( ; !held.empty(); held.pop_back() ) {
      if ( held.size() % 2500 == 0 ) {
         ASSERT_EQ( held.size(), table->size() );
         for ( const auto& h : held ) {
            ASSERT_EQ( h, this->lookup( table, valueOf( h.ptr() ) ) );
         }
      }
   }
   EXPECT_EQ( 0u, table->size() );
   EXPECT_EQ( kMembers, this->counters.destroyed.load() );
}

TYPED_TEST( DedupHashTableTest, DestroyingAMemberReleasesTheMembersItHolds ) {
   auto values = this->newTable();
   auto lists = this->newTable();
   auto valueNotifiee = this->watched( *values );
   auto listNotifiee = this->watched( *lists, 0 );

   DedupHandle::PtrConst one = values->dedup( this->make( 1 ) );
   DedupHandle::PtrConst two = values->dedup( this->make( 2 ) );
   DedupHandle::PtrConst inner = lists->dedup( this->make( 100, 7, { one, two } ) );
   // A list of lists lives in the same table as its elements.
   DedupHandle::PtrConst outer = lists->dedup( this->make( 101, 7, { inner, one } ) );
   one = two = inner = nullptr;
   EXPECT_EQ( 2u, values->size() );
   EXPECT_EQ( 2u, lists->size() );

   // Dropping the outer list takes everything with it, one table's member
   // releasing another's (and its own table's) outside the table's lock.
   outer = nullptr;
   EXPECT_EQ( 0u, lists->size() );
   EXPECT_EQ( 0u, values->size() );
   EXPECT_EQ( "2 2 0", listNotifiee->counts() );
   EXPECT_EQ( "2 2 0", valueNotifiee->counts() );
   EXPECT_TRUE( this->allDestroyed() );
}

TYPED_TEST( DedupHashTableTest, TableGoingAwayStopsNotificationOnceAndSparesHeldMembers ) {
   Kel::Ptr<CheckingNotifiee> notifiee;
   DedupHandle::PtrConst held;
   const Bex::DedupHashTableBase* address = nullptr;
   {
      DedupHandle::PtrConst alsoHeld;
      auto table = this->newTable();
      address = table.ptr();
      notifiee = this->watched( *table );
      held = table->dedup( this->make( 1 ) );
      for ( int i = 0; i < 300; ++i ) {
         this->lookup( table, 1 ); // the reserve goes back to the member with the table
      }
      alsoHeld = table->dedup( this->make( 2 ) );
      table->dedup( this->make( 3 ) ); // dropped at once: leaves at once
      EXPECT_EQ( "3 1 0", notifiee->counts() );
   } // the table goes before alsoHeld
   EXPECT_EQ( "3 1 1", notifiee->counts() );
   EXPECT_EQ( address, notifiee->stoppedTable );
   // Member 2 was destroyed by its holder after the table; member 1 lives,
   // with its exact count.
   EXPECT_EQ( 2u, this->counters.destroyed.load() );
   ASSERT_TRUE( static_cast<const TestHandle*>( held.ptr() )->alive() );
   EXPECT_EQ( 1u, held->refCount() );
   held = nullptr;
   EXPECT_EQ( "3 1 1", notifiee->counts() ); // no callback after the stop
   EXPECT_TRUE( this->allDestroyed() );

   // The stop callback may keep the table: it still works, silently.
   Kel::Ptr<CheckingNotifiee> keeper;
   {
      auto table = this->newTable();
      keeper = this->watched( *table );
      keeper->keepTableOnStop = true;
      held = table->dedup( this->make( 4 ) );
   }
   ASSERT_TRUE( keeper->keptTable );
   EXPECT_EQ( held, this->lookup( keeper->keptTable, 4 ) );
   keeper->keptTable = nullptr;
   EXPECT_EQ( 1u, this->counters.alive() );
   held = nullptr;
   EXPECT_EQ( "1 0 1", keeper->counts() );

   // A table that is not counted (a member or a local) stops notification
   // in its destructor; the stop callback's pointer must not destroy it again.
   {
      typename TypeParam::Table local( TypeParam::kThreadSafe );
      local.lifeTimeNotifieeIs( notifiee );
      held = local.dedup( this->make( 8 ) );
   }
   EXPECT_EQ( "4 1 2", notifiee->counts() );
   EXPECT_EQ( 8u, valueOf( held.ptr() ) );
   held = nullptr;
   EXPECT_TRUE( this->allDestroyed() );
}

// Interning under races: threads look contents up, intern new candidates,
// hold references for a while, hand some to other threads and drop them,
// over few contents so that last-reference removals race with lookups of
// the same content all the time. Keyed members keep their reserve in the
// slot: releases that cannot tell from the count whether outside
// references are left ask the table.
template<class Table>
class DedupHashTableConcurrency : public DedupHashTableTest<Variant<Table, true>> {};
using Tables = testing::Types<DedupHashTableUnorderedSet, KeyedDedupHashTable>;
TYPED_TEST_SUITE( DedupHashTableConcurrency, Tables );

TYPED_TEST( DedupHashTableConcurrency, RacingLookupsInsertsAndReleasesKeepOneMemberPerContent ) {
   constexpr unsigned kThreads = 4;
   constexpr U64 kContents = 64;
   constexpr unsigned kHeld = 8;
   constexpr U64 kOpsPerThread = 1'000'000 / kThreads;
   LifeCounters& counters = this->counters;
   auto table = this->newTable();
   auto notifiee = this->watched( *table, kContents );

   std::mutex mailboxMutex; // references change threads through the mailbox
   std::vector<DedupHandle::PtrConst> mailbox;
   std::atomic<U64> wrongAnswers{ 0 };
   std::atomic<U64> hits{ 0 };
   std::atomic<U64> inserts{ 0 };

   auto worker = [ & ]( unsigned id ) {
      std::mt19937_64 rng( id + 1 );
      DedupHandle::PtrConst held[ kHeld ];
      // The answer has the content and is a member; while this thread holds
      // the content, it is that very object (and what is held stays a member).
      auto check = [ & ]( const DedupHandle::PtrConst& p, U64 content ) {
         bool wrong = !p || valueOf( p.ptr() ) != content || !p->isDeduped();
         for ( const auto& h : held ) {
            wrong =
                  wrong || ( h && valueOf( h.ptr() ) == content && ( h != p || !h->isDeduped() ) );
         }
         wrongAnswers.fetch_add( wrong );
      };
      for ( U64 op = 0; op < kOpsPerThread; ++op ) {
         const U64 r = rng();
         U64 content = r % kContents;
         unsigned slot = unsigned( r >> 8 ) % kHeld;
         bool keep = ( r >> 12 ) & 1;
         // Out of 16: 5 lookups, 3 interning paths, 1 bare dedup, 4 releases,
         // 2 copies, 1 chance to pass a reference to another thread.
         const unsigned kind = unsigned( r >> 16 ) % 16;
         if ( kind < 8 ) {
            // Look up, often only to drop the reference at once; on the
            // interning path, build and dedup on a miss.
            DedupHandle::PtrConst p = this->lookup( table, content );
            if ( p ) {
               hits.fetch_add( 1, std::memory_order_relaxed );
            } else if ( kind >= 5 ) {
               inserts.fetch_add( 1, std::memory_order_relaxed );
               p = table->dedup( this->make( content ) );
            }
            if ( p ) {
               check( p, content );
               if ( keep ) {
                  held[ slot ] = std::move( p );
               }
            }
         } else if ( kind < 9 ) {
            // A candidate that often loses to a member already there.
            DedupHandle::PtrConst p = table->dedup( this->make( content ) );
            check( p, content );
            held[ slot ] = std::move( p );
         } else if ( kind < 13 ) {
            held[ slot ] = nullptr;
         } else if ( kind < 15 ) {
            held[ ( slot + 1 ) % kHeld ] = held[ slot ];
         } else if ( ( r >> 20 ) % 8 == 0 ) {
            std::lock_guard<std::mutex> lock( mailboxMutex );
            if ( held[ slot ] && mailbox.size() < 64 ) {
               mailbox.push_back( std::move( held[ slot ] ) );
            } else if ( !mailbox.empty() ) {
               held[ slot ] = std::move( mailbox.back() );
               mailbox.pop_back();
            }
         }
      }
   };
   {
      std::vector<std::jthread> threads;
      for ( unsigned t = 0; t < kThreads; ++t ) {
         threads.emplace_back( worker, t );
      }
   }
   mailbox.clear();

   EXPECT_EQ( 0u, wrongAnswers.load() );
   EXPECT_EQ( 0u, notifiee->violations.load() ) << notifiee->firstViolation;
   EXPECT_GT( hits.load(), kOpsPerThread / 10 ); // the races did happen
   EXPECT_GT( inserts.load(), kContents );
   // With no violation, as many removals as inserts leave no content live.
   EXPECT_EQ( 0u, table->size() );
   EXPECT_EQ( notifiee->inserts.load(), notifiee->removes.load() );
   EXPECT_EQ( counters.constructed.load(), counters.destroyed.load() );
   EXPECT_EQ( 0u, counters.destroyedTwice.load() );
   table = nullptr;
   EXPECT_EQ( 1u, notifiee->stops.load() );
}

} // namespace
