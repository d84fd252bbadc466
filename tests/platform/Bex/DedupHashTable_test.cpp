#include "Bex/DedupHashTable.h"

#include "Bex/DumpContext.h"
#include "tests/platform/Bex/DedupTableChecker.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

namespace {

using Bex::DedupHandle;
using Bex::DedupHashTable;
using Bex::DedupHashTableUnorderedSet;
using Bex::KeyedDedupHashTable;
using DedupTableChecker::CheckingNotifiee;
using DedupTableChecker::goodHash;
using DedupTableChecker::LifeCounters;
using DedupTableChecker::TestContent;
using DedupTableChecker::TestHandle;
using DedupTableChecker::valueOf;

// ListHandle: an interned list of members, hashed and compared by the
// identity of its elements, as list types are (the hash takes the first).
class ListHandle final : public DedupHandle {
 public:
   ListHandle( std::vector<DedupHandle::PtrConst> elements, LifeCounters* counters )
         : elements_( std::move( elements ) ), counters_( counters ) {
      counters_->constructed.fetch_add( 1 );
   }
   ~ListHandle() override { counters_->destroyed.fetch_add( 1 ); }

   U32 hash() const override { return Kel::oneAtATimePointer( 0, elements_.front().ptr() ); }
   bool compare( const DedupHandle* other ) const override {
      return elements_ == static_cast<const ListHandle*>( other )->elements_;
   }
   bool compareByContent( const Bex::DedupContentHandle& ) const override { return false; }

 private:
   std::vector<DedupHandle::PtrConst> elements_;
   LifeCounters* counters_;
};

// lookupIn(): by key in a keyed table, by content in the others.
template<class Table, class P>
DedupHandle::PtrConst lookupIn( const P& table, U64 value, U32 hash ) {
   const auto& set = static_cast<const Table&>( *table );
   if constexpr ( std::is_same_v<Table, KeyedDedupHashTable> ) {
      return set.lookupByKey( hash, value );
   } else {
      return set.lookupByContent( TestContent( value ), hash );
   }
}

// Variant: a kind of table, thread-safe or not.
template<class T, bool threadSafe>
struct Variant {
   using Table = T;
   static constexpr bool kThreadSafe = threadSafe;
   static constexpr bool kKeyed = std::is_same_v<T, KeyedDedupHashTable>;
};
struct VariantName {
   template<class V>
   static std::string GetName( int ) {
      return std::string( V::kThreadSafe ? "ThreadSafe" : "SingleThread" ) +
             ( V::kKeyed ? "Keyed" : "" );
   }
};

// Every variant must behave the same from one thread; keyed members are
// found by a key that is their content.
template<class V>
class DedupHashTableTest : public testing::Test {
 protected:
   using Table = typename V::Table;
   TestHandle::Ptr make( U64 value ) { return TestHandle::TestHandleIs( value, &counters ); }
   static typename Table::Ptr newTable() { return Kel::makeActivePtr<Table>( V::kThreadSafe ); }
   template<class P>
   static DedupHandle::PtrConst lookup( const P& table, U64 value ) {
      return lookupIn<Table>( table, value, goodHash( value ) );
   }
   bool allDestroyed() const { return counters.alive() == 0 && !counters.destroyedTwice.load(); }

   LifeCounters counters;
};
using Variants =
      testing::Types<Variant<DedupHashTableUnorderedSet, false>,
                     Variant<DedupHashTableUnorderedSet, true>, Variant<KeyedDedupHashTable, false>,
                     Variant<KeyedDedupHashTable, true>>;
TYPED_TEST_SUITE( DedupHashTableTest, Variants, VariantName );

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

TYPED_TEST( DedupHashTableTest, LookupFindsMembersOnlyAndTakesAReference ) {
   auto table = this->newTable();
   EXPECT_EQ( nullptr, this->lookup( table, 5 ) );
   DedupHandle::PtrConst five = table->dedup( this->make( 5 ) );
   // Same hash, other content: a collision is not a hit.
   DedupHandle::PtrConst six =
         table->dedup( TestHandle::TestHandleIs( 6, goodHash( 5 ), &this->counters ) );
   ASSERT_NE( five, six );
   EXPECT_EQ( 2u, table->size() );

   U32 before = five->refCount();
   DedupHandle::PtrConst found = this->lookup( table, 5 );
   EXPECT_EQ( five, found );
   EXPECT_EQ( before + 1, five->refCount() );
   EXPECT_EQ( six, lookupIn<typename TypeParam::Table>( table, 6, goodHash( 5 ) ) );
   EXPECT_EQ( nullptr, lookupIn<typename TypeParam::Table>( table, 7, goodHash( 5 ) ) );
   found = nullptr;
   EXPECT_EQ( before, five->refCount() );
   if constexpr ( !TypeParam::kKeyed ) {
      EXPECT_EQ( nullptr, this->lookup( table, 6 ) ); // right content, wrong hash
      EXPECT_EQ( five, table->lookupIf( goodHash( 5 ), []( const DedupHandle* h ) {
         return valueOf( h ) == 5;
      } ) );
   }

   // Zero is a content like any other, though an empty keyed slot reads as
   // zero: a search for it must not stop at an empty slot with a hit.
   EXPECT_EQ( nullptr, this->lookup( table, 0 ) );
   DedupHandle::PtrConst zero = table->dedup( this->make( 0 ) );
   EXPECT_EQ( zero, this->lookup( table, 0 ) );
}

TYPED_TEST( DedupHashTableTest, MemberLeavesWithItsLastOutsideReferenceNotifyingOnce ) {
   // Hits hand out references the table counted ahead; across several
   // refills the count must still say who holds the member, and the member
   // must leave with its last outside reference whichever one that is.
   auto table = this->newTable();
   auto notifiee = Kel::makePtr<CheckingNotifiee>( 16 );
   table->lifeTimeNotifieeIs( notifiee );
   std::vector<DedupHandle::PtrConst> held{ table->dedup( this->make( 9 ) ) };
   for ( U32 i = 1; i < 1000; ++i ) {
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
   EXPECT_EQ( 0u, notifiee->removes.load() );
   EXPECT_EQ( 0u, this->counters.destroyed.load() );
   held.clear();                              // the last outside reference
   EXPECT_EQ( 1u, notifiee->inserts.load() ); // hits notify nothing
   EXPECT_EQ( 1u, notifiee->removes.load() );
   EXPECT_EQ( 0u, table->size() );
   EXPECT_EQ( 1u, this->counters.destroyed.load() );
   EXPECT_EQ( nullptr, this->lookup( table, 9 ) );

   // The content comes back as a new member, under a new notifiee; the old
   // one is replaced, not stopped.
   auto second = Kel::makePtr<CheckingNotifiee>( 16 );
   table->lifeTimeNotifieeIs( second );
   table->dedup( this->make( 9 ) ); // dropped at once: leaves at once
   EXPECT_EQ( 1u, notifiee->inserts.load() );
   EXPECT_EQ( 1u, second->inserts.load() );
   EXPECT_EQ( 1u, second->removes.load() );

   // A stop on request comes once, and nothing after it.
   table->notificationStop();
   table->notificationStop();
   EXPECT_EQ( nullptr, table->lifeTimeNotifiee() );
   table->dedup( this->make( 4 ) );
   table = nullptr;
   EXPECT_EQ( 1u, second->stops.load() );
   EXPECT_EQ( 1u, second->inserts.load() );
   EXPECT_EQ( 1u, second->removes.load() );
   EXPECT_EQ( 0u, notifiee->stops.load() );
   EXPECT_EQ( 0u, notifiee->violations.load() + second->violations.load() )
         << notifiee->firstViolation() << second->firstViolation();
   EXPECT_TRUE( this->allDestroyed() );
}

// Inserts and removals in random order, with hashes that spread well, that
// collide in runs, and that crowd the end of the slot array so that probe
// runs wrap; after every step each member is found and nothing else is.
TYPED_TEST( DedupHashTableTest, RandomInsertsAndRemovalsKeepEveryMemberFindable ) {
   struct Mode {
      const char* name;
      U32 ( *hash )( U64 );
      U64 contents;
   };
   const Mode modes[] = {
      { "spread", []( U64 v ) { return goodHash( v ); }, 400 },
      { "few hashes", []( U64 v ) { return U32( v % 7 ) * 0x01000193u; }, 90 },
      { "crowding the end", []( U64 v ) { return goodHash( v ) | 0x0000FFE0u; }, 200 },
      { "wrapping runs", []( U64 v ) { return 0xFFFFFFF0u | U32( v % 5 ); }, 90 },
   };
   std::mt19937_64 rng( 2024 );
   for ( const Mode& mode : modes ) {
      SCOPED_TRACE( mode.name );
      auto table = this->newTable();
      std::map<U64, DedupHandle::PtrConst> model;
      auto makeHashed = [ & ]( U64 v ) {
         return TestHandle::TestHandleIs( v, mode.hash( v ), &this->counters );
      };
      for ( int step = 0; step < 3000; ++step ) {
         U64 v = rng() % mode.contents;
         auto it = model.find( v );
         if ( it == model.end() ) {
            model[ v ] = table->dedup( makeHashed( v ) );
         } else if ( rng() % 4 == 0 ) {
            ASSERT_EQ( it->second, table->dedup( makeHashed( v ) ) ); // found again
         } else {
            model.erase( it );
         }
         ASSERT_EQ( model.size(), table->size() ) << "step " << step;
         for ( U64 c = 0; c < mode.contents; ++c ) {
            auto m = model.find( c );
            ASSERT_EQ( m == model.end() ? nullptr : m->second,
                       lookupIn<typename TypeParam::Table>( table, c, mode.hash( c ) ) )
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
   auto lists = DedupHashTableUnorderedSet::DedupHashTableUnorderedSetIs( TypeParam::kThreadSafe );
   auto valueNotifiee = Kel::makePtr<CheckingNotifiee>( 16 );
   auto listNotifiee = Kel::makePtr<CheckingNotifiee>( 0 );
   values->lifeTimeNotifieeIs( valueNotifiee );
   lists->lifeTimeNotifieeIs( listNotifiee );

   DedupHandle::PtrConst one = values->dedup( this->make( 1 ) );
   DedupHandle::PtrConst two = values->dedup( this->make( 2 ) );
   auto makeList = [ & ]( std::vector<DedupHandle::PtrConst> elements ) {
      return lists->dedup( Kel::makePtr<ListHandle>( std::move( elements ), &this->counters ) );
   };
   DedupHandle::PtrConst inner = makeList( { one, two } );
   EXPECT_EQ( inner, makeList( { one, two } ) );
   // A list of lists lives in the same table as its elements.
   DedupHandle::PtrConst outer = makeList( { inner, one } );
   one = two = inner = nullptr;
   EXPECT_EQ( 2u, values->size() );
   EXPECT_EQ( 2u, lists->size() );

   // Dropping the outer list takes everything with it, one table's member
   // releasing another's (and its own table's) outside the table's lock.
   outer = nullptr;
   EXPECT_EQ( 0u, lists->size() );
   EXPECT_EQ( 0u, values->size() );
   EXPECT_EQ( 2u, listNotifiee->removes.load() );
   EXPECT_EQ( 2u, valueNotifiee->removes.load() );
   EXPECT_TRUE( this->allDestroyed() );
}

TYPED_TEST( DedupHashTableTest, TableGoingAwayStopsNotificationOnceAndSparesHeldMembers ) {
   auto notifiee = Kel::makePtr<CheckingNotifiee>( 16 );
   DedupHandle::PtrConst held;
   const Bex::DedupHashTableBase* address = nullptr;
   {
      DedupHandle::PtrConst alsoHeld;
      auto table = this->newTable();
      address = table.ptr();
      table->lifeTimeNotifieeIs( notifiee );
      held = table->dedup( this->make( 1 ) );
      for ( int i = 0; i < 300; ++i ) {
         this->lookup( table, 1 ); // the reserve goes back to the member with the table
      }
      alsoHeld = table->dedup( this->make( 2 ) );
      table->dedup( this->make( 3 ) ); // dropped at once: leaves at once
      EXPECT_EQ( 1u, notifiee->removes.load() );
      EXPECT_EQ( 0u, notifiee->stops.load() );
   } // the table goes before alsoHeld
   EXPECT_EQ( 1u, notifiee->stops.load() );
   EXPECT_EQ( address, notifiee->stoppedTable );
   // Member 2 was destroyed by its holder after the table; member 1 lives,
   // with its exact count.
   EXPECT_EQ( 2u, this->counters.destroyed.load() );
   ASSERT_TRUE( static_cast<const TestHandle*>( held.ptr() )->alive() );
   EXPECT_EQ( 1u, held->refCount() );
   held = nullptr;
   EXPECT_EQ( 1u, notifiee->removes.load() ); // no callback after the stop
   EXPECT_EQ( 0u, notifiee->violations.load() ) << notifiee->firstViolation();
   EXPECT_TRUE( this->allDestroyed() );

   // The stop callback may keep the table: it still works, silently.
   auto keeper = Kel::makePtr<CheckingNotifiee>( 16 );
   keeper->keepTableOnStop = true;
   {
      auto table = this->newTable();
      table->lifeTimeNotifieeIs( keeper );
      held = table->dedup( this->make( 4 ) );
   }
   ASSERT_TRUE( keeper->keptTable );
   EXPECT_EQ( held, this->lookup( keeper->keptTable, 4 ) );
   keeper->keptTable = nullptr;
   EXPECT_EQ( 1u, keeper->stops.load() );
   EXPECT_EQ( 1u, this->counters.alive() );
   held = nullptr;
   EXPECT_EQ( 0u, keeper->removes.load() );

   // A table that is not counted (a member or a local) stops notification
   // in its destructor; the stop callback's pointer must not destroy it again.
   {
      typename TypeParam::Table local( TypeParam::kThreadSafe );
      local.lifeTimeNotifieeIs( notifiee );
      held = local.dedup( this->make( 8 ) );
   }
   EXPECT_EQ( 2u, notifiee->stops.load() );
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
void raceLookupsInsertsAndReleases() {
   constexpr unsigned kThreads = 4;
   constexpr U64 kContents = 64;
   constexpr unsigned kHeld = 8;
   constexpr U64 kOpsPerThread = 1'000'000 / kThreads;
   LifeCounters counters;
   auto table = Kel::makeActivePtr<Table>( true );
   auto notifiee = Kel::makePtr<CheckingNotifiee>( kContents );
   table->lifeTimeNotifieeIs( notifiee );

   std::mutex mailboxMutex; // references change threads through the mailbox
   std::vector<DedupHandle::PtrConst> mailbox;
   std::atomic<U64> wrongAnswers{ 0 };
   std::atomic<U64> hits{ 0 };
   std::atomic<U64> inserts{ 0 };

   auto worker = [ & ]( unsigned id ) {
      U64 state = 0x9E3779B97F4A7C15ull * ( id + 1 );
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
         state ^= state << 13; // xorshift
         state ^= state >> 7;
         state ^= state << 17;
         U64 r = state;
         U64 content = r % kContents;
         unsigned slot = unsigned( r >> 8 ) % kHeld;
         bool keep = ( r >> 12 ) & 1;
         // Out of 16: 5 lookups, 3 interning paths, 1 bare dedup, 4 releases,
         // 2 copies, 1 chance to pass a reference to another thread.
         const unsigned kind = unsigned( r >> 16 ) % 16;
         if ( kind < 8 ) {
            // Look up, often only to drop the reference at once; on the
            // interning path, build and dedup on a miss.
            DedupHandle::PtrConst p = lookupIn<Table>( table, content, goodHash( content ) );
            if ( p ) {
               hits.fetch_add( 1, std::memory_order_relaxed );
            } else if ( kind >= 5 ) {
               inserts.fetch_add( 1, std::memory_order_relaxed );
               p = table->dedup( TestHandle::TestHandleIs( content, &counters ) );
            }
            if ( p ) {
               check( p, content );
               if ( keep ) {
                  held[ slot ] = std::move( p );
               }
            }
         } else if ( kind < 9 ) {
            // A candidate that often loses to a member already there.
            DedupHandle::PtrConst p =
                  table->dedup( TestHandle::TestHandleIs( content, &counters ) );
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
   std::vector<std::thread> threads;
   for ( unsigned t = 0; t < kThreads; ++t ) {
      threads.emplace_back( worker, t );
   }
   for ( auto& t : threads ) {
      t.join();
   }
   mailbox.clear();

   EXPECT_EQ( 0u, wrongAnswers.load() );
   EXPECT_EQ( 0u, notifiee->violations.load() ) << notifiee->firstViolation();
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

TEST( DedupHashTableConcurrency, RacingLookupsInsertsAndReleasesKeepOneMemberPerContent ) {
   raceLookupsInsertsAndReleases<DedupHashTableUnorderedSet>();
}

TEST( DedupHashTableConcurrency, RacingOnKeyedMembersKeepsOneMemberPerContent ) {
   raceLookupsInsertsAndReleases<KeyedDedupHashTable>();
}

} // namespace
