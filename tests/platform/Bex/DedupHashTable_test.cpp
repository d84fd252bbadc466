#include "Bex/DedupHashTable.h"

#include "Bex/DumpContext.h"
#include "KelStow/DedupHandle.h"
#include "tests/platform/Bex/DedupTableChecker.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <memory>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <tuple>
#include <type_traits>
#include <vector>

namespace {

using Bex::DedupHandle;
using Bex::DedupHashTable;
using Bex::DedupHashTableUnorderedSet;
using DedupTableChecker::CheckingNotifiee;
using DedupTableChecker::goodHash;
using DedupTableChecker::LifeCounters;
using DedupTableChecker::TestContent;
using DedupTableChecker::TestHandle;
using DedupTableChecker::valueOf;

static_assert( std::is_base_of_v<Bex::DedupHandle, KelStow::DedupHandle> );
static_assert( std::is_abstract_v<KelStow::DedupHandle> );
static_assert( Bex::dedupHandleStateStowed() == 4 );

// ListHandle: an interned list of members of other tables (or of its own),
// hashed and compared by the identity of its elements, as list types are.
class ListHandle final : public DedupHandle {
 public:
   using Ptr = Kel::Ptr<ListHandle>;

   explicit ListHandle( std::vector<DedupHandle::PtrConst> elements, LifeCounters* counters )
         : elements_( std::move( elements ) ), counters_( counters ) {
      counters_->constructed.fetch_add( 1 );
   }
   ~ListHandle() override { counters_->destroyed.fetch_add( 1 ); }

   U32 hash() const override {
      U32 h = 0;
      for ( const auto& e : elements_ ) {
         h = Kel::oneAtATimePointer( h, e.ptr() );
      }
      return Kel::oneAtATimeFinal( h );
   }
   bool compare( const DedupHandle* other ) const override {
      const auto& theirs = static_cast<const ListHandle*>( other )->elements_;
      return std::equal( elements_.begin(), elements_.end(), theirs.begin(), theirs.end() );
   }
   bool compareByContent( const Bex::DedupContentHandle& ) const override { return false; }

 private:
   std::vector<DedupHandle::PtrConst> elements_;
   LifeCounters* counters_;
};

DedupHashTableUnorderedSet::Ptr newTable( bool threadSafe, bool keyed = false ) {
   return DedupHashTableUnorderedSet::DedupHashTableUnorderedSetIs( threadSafe, keyed );
}

// lookupIn(): by content for plain members, by key for keyed ones.
DedupHandle::PtrConst lookupIn( const DedupHashTable::PtrConst& table, U64 value, U32 hash, bool keyed ) {
   return keyed ? table->lookupByKey( hash, value ) : table->lookupByContent( TestContent( value ), hash );
}

// Both variants must behave the same from one thread, with members found by
// content or by a key that is their content.
class DedupHashTableTest : public testing::TestWithParam<std::tuple<bool, bool>> {
 protected:
   bool threadSafe() const { return std::get<0>( GetParam() ); }
   bool keyed() const { return std::get<1>( GetParam() ); }
   TestHandle::Ptr make( U64 value ) { return TestHandle::TestHandleIs( value, &counters ); }
   DedupHashTableUnorderedSet::Ptr newTable( bool threadSafe ) const {
      return DedupHashTableUnorderedSet::DedupHashTableUnorderedSetIs( threadSafe, keyed() );
   }
   DedupHandle::PtrConst lookup( const DedupHashTable::PtrConst& table, U64 value, U32 hash ) const {
      return lookupIn( table, value, hash, keyed() );
   }
   DedupHandle::PtrConst lookup( const DedupHashTable::PtrConst& table, U64 value ) const {
      return lookup( table, value, goodHash( value ) );
   }

   LifeCounters counters;
};

TEST_P( DedupHashTableTest, InterningSameContentTwiceReturnsSameObject ) {
   auto table = newTable( threadSafe() );
   EXPECT_EQ( threadSafe(), table->threadSafe() );
   TestHandle::Ptr first = make( 42 );
   EXPECT_EQ( Bex::dedupHandleStateNeverDeduped(), first->dedupState() );
   EXPECT_FALSE( first->everDeduped() );

   DedupHandle::PtrConst interned = table->dedup( first );
   EXPECT_EQ( first, interned );
   EXPECT_TRUE( first->isDeduped() );
   EXPECT_EQ( 3u, first->refCount() ); // first, interned, the table's own

   {
      TestHandle::Ptr second = make( 42 );
      EXPECT_EQ( first, table->dedup( second ) );
      EXPECT_FALSE( second->everDeduped() );
      // Offering a member again is a no-op.
      EXPECT_EQ( first, table->dedup( first ) );
   }
   EXPECT_EQ( 1u, counters.destroyed.load() ); // the losing candidate only
   EXPECT_EQ( 3u, first->refCount() );
   EXPECT_EQ( 1u, table->size() );

   // Another table interns its own object for the same content.
   auto other = newTable( threadSafe() );
   DedupHandle::PtrConst elsewhere = other->dedup( make( 42 ) );
   EXPECT_NE( first, elsewhere );
   EXPECT_EQ( 42u, valueOf( elsewhere.ptr() ) );
}

TEST_P( DedupHashTableTest, LookupByContentFindsMembersOnlyAndTakesAReference ) {
   auto table = newTable( threadSafe() );
   EXPECT_EQ( nullptr, lookup( table, 5 ) );

   DedupHandle::PtrConst five = table->dedup( make( 5 ) );
   // Same hash, other content: a collision is not a hit.
   DedupHandle::PtrConst sixSameHash =
         table->dedup( TestHandle::TestHandleIs( 6, goodHash( 5 ), &counters ) );
   ASSERT_NE( five, sixSameHash );
   EXPECT_EQ( 2u, table->size() );

   U32 before = five->refCount();
   DedupHandle::PtrConst found = lookup( table, 5 );
   EXPECT_EQ( five, found );
   EXPECT_EQ( before + 1, five->refCount() );
   EXPECT_EQ( sixSameHash, lookup( table, 6, goodHash( 5 ) ) );
   EXPECT_EQ( nullptr, lookup( table, 7, goodHash( 5 ) ) );
   if ( !keyed() ) {
      EXPECT_EQ( nullptr, lookup( table, 6 ) ); // right content, wrong hash
   }
   found = nullptr;
   EXPECT_EQ( before, five->refCount() );

   // Zero is a content like any other, though an empty keyed slot reads as
   // zero: a search for it must not stop at an empty slot with a hit.
   EXPECT_EQ( nullptr, lookup( table, 0 ) );
   DedupHandle::PtrConst zero = table->dedup( make( 0 ) );
   EXPECT_EQ( zero, lookup( table, 0 ) );

   // lookupIf() with the test inlined finds the same member.
   if ( !keyed() ) {
      DedupHandle::PtrConst viaIf =
            table->lookupIf( goodHash( 5 ), []( const DedupHandle* h ) { return valueOf( h ) == 5; } );
      EXPECT_EQ( five, viaIf );
   }
}

TEST_P( DedupHashTableTest, MemberLeavesWithItsLastOutsideReferenceNotifyingOnce ) {
   auto table = newTable( threadSafe() );
   auto notifiee = Kel::makePtr<CheckingNotifiee>( 16 );
   table->lifeTimeNotifieeIs( notifiee );
   EXPECT_EQ( notifiee, table->lifeTimeNotifiee() );

   DedupHandle::PtrConst a = table->dedup( make( 3 ) );
   EXPECT_EQ( 1u, notifiee->inserts.load() );
   EXPECT_EQ( 1, notifiee->live( 3 ) );
   DedupHandle::PtrConst b = lookup( table, 3 );
   DedupHandle::PtrConst c = b;
   EXPECT_EQ( 1u, notifiee->inserts.load() ); // hits notify nothing

   a = nullptr;
   b = nullptr;
   EXPECT_EQ( 0u, notifiee->removes.load() );
   EXPECT_EQ( 1u, table->size() );
   EXPECT_EQ( 0u, counters.destroyed.load() );

   c = nullptr; // the last outside reference
   EXPECT_EQ( 1u, notifiee->removes.load() );
   EXPECT_EQ( 0, notifiee->live( 3 ) );
   EXPECT_EQ( 0u, table->size() );
   EXPECT_EQ( 1u, counters.destroyed.load() );
   EXPECT_EQ( nullptr, lookup( table, 3 ) );

   // The content can come back as a new member.
   DedupHandle::PtrConst again = table->dedup( make( 3 ) );
   EXPECT_EQ( 2u, notifiee->inserts.load() );
   again = nullptr;
   EXPECT_EQ( 2u, notifiee->removes.load() );
   EXPECT_EQ( 0u, notifiee->violations.load() ) << notifiee->firstViolation();
   EXPECT_EQ( counters.constructed.load(), counters.destroyed.load() );
}

TEST_P( DedupHashTableTest, ManyHitsKeepTheCountExactAndTheLastReleaseStillDetaches ) {
   // Hits hand out references the table counted ahead; across several
   // refills the count must still say who holds the member, and the member
   // must leave with its last outside reference whichever one that is.
   auto table = newTable( threadSafe() );
   auto notifiee = Kel::makePtr<CheckingNotifiee>( 16 );
   table->lifeTimeNotifieeIs( notifiee );
   std::vector<DedupHandle::PtrConst> held{ table->dedup( make( 9 ) ) };
   for ( U32 i = 1; i < 1000; ++i ) {
      held.push_back( lookup( table, 9 ) );
      ASSERT_EQ( i + 2, held.front()->refCount() ); // held, plus the table's own
   }
   for ( U32 round = 0; round < 3; ++round ) {
      // Release from the front, then hit again: the reserve both drains and
      // refills while outside references come and go.
      held.erase( held.begin(), held.begin() + 300 );
      for ( int i = 0; i < 200; ++i ) {
         held.push_back( lookup( table, 9 ) );
      }
      ASSERT_EQ( held.size() + 1, held.front()->refCount() );
   }
   while ( held.size() > 1 ) {
      held.pop_back();
   }
   EXPECT_EQ( 1u, table->size() );
   EXPECT_EQ( 0u, notifiee->removes.load() );
   held.clear();
   EXPECT_EQ( 0u, table->size() );
   EXPECT_EQ( 1u, notifiee->removes.load() );
   EXPECT_EQ( counters.constructed.load(), counters.destroyed.load() );

   // A member that outlives its table keeps its exact count and is
   // destroyed by its last holder.
   DedupHandle::PtrConst survivor = table->dedup( make( 10 ) );
   for ( int i = 0; i < 300; ++i ) {
      lookup( table, 10 );
   }
   DedupHandle::PtrConst second = lookup( table, 10 );
   table = nullptr;
   EXPECT_EQ( 2u, survivor->refCount() );
   second = nullptr;
   survivor = nullptr;
   EXPECT_EQ( counters.constructed.load(), counters.destroyed.load() );
}

TEST_P( DedupHashTableTest, PreInsertRunsOnlyForTheInsertedHandleBeforeItIsVisible ) {
   auto table = newTable( threadSafe() );
   std::vector<std::pair<DedupHandle*, Bex::DedupHandleState>> calls;
   auto preInsert = [ & ]( DedupHandle* h ) {
      calls.emplace_back( h, h->dedupState() );
   };

   TestHandle::Ptr first = make( 9 );
   DedupHandle::PtrConst interned = table->dedup( first, preInsert );
   ASSERT_EQ( 1u, calls.size() );
   EXPECT_EQ( first.ptr(), calls[ 0 ].first );
   EXPECT_EQ( Bex::dedupHandleStateNeverDeduped(), calls[ 0 ].second );

   EXPECT_EQ( first, table->dedup( make( 9 ), preInsert ) );
   EXPECT_EQ( first, table->dedup( first, preInsert ) );
   EXPECT_EQ( 1u, calls.size() );
}

// Inserts and removals in random order, with hashes that spread well, that
// collide in runs, and that crowd the end of the slot array so that probe
// runs wrap; after every step each member is found and nothing else is.
TEST_P( DedupHashTableTest, RandomInsertsAndRemovalsKeepEveryMemberFindable ) {
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
      auto table = newTable( threadSafe() );
      std::map<U64, DedupHandle::PtrConst> model;
      for ( int step = 0; step < 3000; ++step ) {
         U64 v = rng() % mode.contents;
         auto it = model.find( v );
         if ( it == model.end() ) {
            model[ v ] = table->dedup( TestHandle::TestHandleIs( v, mode.hash( v ), &counters ) );
         } else if ( rng() % 4 == 0 ) {
            // Interning a present content again must find the member.
            ASSERT_EQ( it->second,
                       table->dedup( TestHandle::TestHandleIs( v, mode.hash( v ), &counters ) ) );
         } else {
            model.erase( it );
         }
         ASSERT_EQ( model.size(), table->size() ) << "step " << step;
         for ( U64 c = 0; c < mode.contents; ++c ) {
            auto m = model.find( c );
            DedupHandle::PtrConst found = lookup( table, c, mode.hash( c ) );
            if ( m == model.end() ) {
               ASSERT_EQ( nullptr, found ) << "content " << c << " at step " << step;
            } else {
               ASSERT_EQ( m->second, found ) << "content " << c << " at step " << step;
            }
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
   EXPECT_EQ( counters.constructed.load(), counters.destroyed.load() );
}

TEST_P( DedupHashTableTest, GrowsPastManyMembersAndShrinksBackToEmpty ) {
   auto table = newTable( threadSafe() );
   constexpr U64 kMembers = 30000;
   std::vector<DedupHandle::PtrConst> held;
   for ( U64 v = 0; v < kMembers; ++v ) {
      held.push_back( table->dedup( make( v * 0x9E3779B97F4A7C15ull ) ) );
   }
   EXPECT_EQ( kMembers, table->size() );
   for ( U64 v = 0; v < kMembers; ++v ) {
      ASSERT_EQ( held[ v ], lookup( table, v * 0x9E3779B97F4A7C15ull ) ) << v;
   }
   std::mt19937 rng( 11 );
   std::shuffle( held.begin(), held.end(), rng );
   while ( !held.empty() ) {
      held.pop_back();
      if ( held.size() % 2500 == 0 ) {
         ASSERT_EQ( held.size(), table->size() );
         for ( const auto& h : held ) {
            ASSERT_EQ( h, lookup( table, valueOf( h.ptr() ) ) );
         }
      }
   }
   EXPECT_EQ( 0u, table->size() );
   EXPECT_EQ( kMembers, counters.destroyed.load() );
}

TEST_P( DedupHashTableTest, DestroyingAMemberReleasesTheMembersItHolds ) {
   auto values = newTable( threadSafe() );
   // Lists have no key: their table never is keyed.
   auto lists = DedupHashTableUnorderedSet::DedupHashTableUnorderedSetIs( threadSafe() );
   auto valueNotifiee = Kel::makePtr<CheckingNotifiee>( 16 );
   auto listNotifiee = Kel::makePtr<CheckingNotifiee>( 0 );
   values->lifeTimeNotifieeIs( valueNotifiee );
   lists->lifeTimeNotifieeIs( listNotifiee );

   DedupHandle::PtrConst one = values->dedup( make( 1 ) );
   DedupHandle::PtrConst two = values->dedup( make( 2 ) );
   auto makeList = [ & ]( std::vector<DedupHandle::PtrConst> elements ) {
      return lists->dedup( Kel::makePtr<ListHandle>( std::move( elements ), &counters ) );
   };
   DedupHandle::PtrConst inner = makeList( { one, two } );
   EXPECT_EQ( inner, makeList( { one, two } ) );
   // A list of lists lives in the same table as its elements.
   DedupHandle::PtrConst outer = makeList( { inner, one } );
   EXPECT_EQ( 2u, lists->size() );

   one = nullptr;
   two = nullptr;
   inner = nullptr;
   EXPECT_EQ( 2u, values->size() );
   EXPECT_EQ( 2u, lists->size() );

   // Dropping the outer list takes everything with it, one table's member
   // releasing another's (and its own table's) outside the table's lock.
   outer = nullptr;
   EXPECT_EQ( 0u, lists->size() );
   EXPECT_EQ( 0u, values->size() );
   EXPECT_EQ( 2u, listNotifiee->removes.load() );
   EXPECT_EQ( 2u, valueNotifiee->removes.load() );
   EXPECT_EQ( counters.constructed.load(), counters.destroyed.load() );
}

TEST_P( DedupHashTableTest, DestroyingTheTableStopsNotificationOnceAndSparesHeldMembers ) {
   auto notifiee = Kel::makePtr<CheckingNotifiee>( 16 );
   DedupHandle::PtrConst held;
   const DedupHashTable* address = nullptr;
   {
      DedupHandle::PtrConst alsoHeld;
      auto table = newTable( threadSafe() );
      address = table.ptr();
      table->lifeTimeNotifieeIs( notifiee );
      held = table->dedup( make( 1 ) );
      alsoHeld = table->dedup( make( 2 ) );
      table->dedup( make( 3 ) ); // dropped at once: leaves at once
      EXPECT_EQ( 3u, notifiee->inserts.load() );
      EXPECT_EQ( 1u, notifiee->removes.load() );
      EXPECT_EQ( 0u, notifiee->stops.load() );
   } // the table goes before alsoHeld
   EXPECT_EQ( 1u, notifiee->stops.load() );
   EXPECT_EQ( address, notifiee->stoppedTable );
   EXPECT_EQ( nullptr, notifiee->keptTable );
   // Member 2 was destroyed by its holder after the table; member 1 lives.
   EXPECT_EQ( 2u, counters.destroyed.load() );
   ASSERT_TRUE( static_cast<const TestHandle*>( held.ptr() )->alive() );
   EXPECT_EQ( 1u, valueOf( held.ptr() ) );
   EXPECT_EQ( 1u, held->refCount() );
   DedupHandle::PtrConst copy = held;
   copy = nullptr;
   held = nullptr;
   EXPECT_EQ( 3u, counters.destroyed.load() );
   EXPECT_EQ( 0u, counters.destroyedTwice.load() );
   // No callback after the stop.
   EXPECT_EQ( 1u, notifiee->removes.load() );
   EXPECT_EQ( 1u, notifiee->stops.load() );
   EXPECT_EQ( 0u, notifiee->violations.load() ) << notifiee->firstViolation();
}

TEST_P( DedupHashTableTest, StopCallbackMayKeepTheTableAlive ) {
   auto notifiee = Kel::makePtr<CheckingNotifiee>( 16 );
   notifiee->keepTableOnStop = true;
   DedupHandle::PtrConst held;
   {
      auto table = newTable( threadSafe() );
      table->lifeTimeNotifieeIs( notifiee );
      held = table->dedup( make( 4 ) );
   }
   ASSERT_EQ( 1u, notifiee->stops.load() );
   ASSERT_TRUE( notifiee->keptTable );
   // Still a working table, just silent.
   EXPECT_EQ( held, lookup( notifiee->keptTable, 4 ) );
   EXPECT_EQ( 1u, notifiee->keptTable->size() );
   notifiee->keptTable = nullptr;
   EXPECT_EQ( 1u, notifiee->stops.load() );
   EXPECT_EQ( 0u, counters.destroyed.load() );
   held = nullptr;
   EXPECT_EQ( 1u, counters.destroyed.load() );
   EXPECT_EQ( 0u, notifiee->removes.load() );
}

TEST_P( DedupHashTableTest, NotificationStopsOnRequestAndNotifieesCanBeReplaced ) {
   auto table = newTable( threadSafe() );
   auto first = Kel::makePtr<CheckingNotifiee>( 16 );
   auto second = Kel::makePtr<CheckingNotifiee>( 16 );
   table->lifeTimeNotifieeIs( first );
   DedupHandle::PtrConst a = table->dedup( make( 1 ) );
   table->lifeTimeNotifieeIs( second );
   DedupHandle::PtrConst b = table->dedup( make( 2 ) );
   a = nullptr;
   EXPECT_EQ( 1u, first->inserts.load() );
   EXPECT_EQ( 0u, first->removes.load() );
   EXPECT_EQ( 1u, second->inserts.load() );
   EXPECT_EQ( 1u, second->removes.load() );

   table->notificationStop();
   table->notificationStop();
   EXPECT_EQ( 1u, second->stops.load() );
   EXPECT_EQ( nullptr, table->lifeTimeNotifiee() );
   b = nullptr;
   DedupHandle::PtrConst c = table->dedup( make( 3 ) );
   EXPECT_EQ( 1u, second->removes.load() );
   EXPECT_EQ( 1u, second->inserts.load() );
   table = nullptr;
   EXPECT_EQ( 1u, second->stops.load() );
   EXPECT_EQ( 0u, first->stops.load() ); // replaced, not stopped
}

TEST_P( DedupHashTableTest, TableDestroyedByItsOwnerStopsNotificationToo ) {
   // A table that is not counted (a member or a local) stops notification in
   // its destructor; the stop callback's pointer must not destroy it again.
   auto notifiee = Kel::makePtr<CheckingNotifiee>( 16 );
   DedupHandle::PtrConst held;
   {
      DedupHashTableUnorderedSet table( threadSafe() );
      table.lifeTimeNotifieeIs( notifiee );
      held = table.dedup( make( 8 ) );
   }
   EXPECT_EQ( 1u, notifiee->stops.load() );
   EXPECT_EQ( 8u, valueOf( held.ptr() ) );
   held = nullptr;
   EXPECT_EQ( 1u, counters.destroyed.load() );
}

TEST_P( DedupHashTableTest, DumpStateShowsTheMemberCountAtTheIndent ) {
   auto table = newTable( threadSafe() );
   std::vector<DedupHandle::PtrConst> held;
   for ( U64 v = 0; v < 3; ++v ) {
      held.push_back( table->dedup( make( v ) ) );
   }
   EXPECT_EQ( 3u, table->size() );
   Bex::DumpContext::Ptr ctx = Bex::DumpContext::DumpContextIs();
   table->dumpState( *ctx, 0 );
   table->dumpState( *ctx, 3 );
   EXPECT_EQ( "DedupHashTable #3\n   DedupHashTable #3\n", ctx->str() );
}

INSTANTIATE_TEST_SUITE_P( Variants, DedupHashTableTest, testing::Combine( testing::Bool(), testing::Bool() ),
                          []( const testing::TestParamInfo<std::tuple<bool, bool>>& info ) {
                             return std::string( std::get<0>( info.param ) ? "ThreadSafe" : "SingleThread" ) +
                                    ( std::get<1>( info.param ) ? "Keyed" : "" );
                          } );

// Interning under races: threads look contents up, intern new candidates,
// hold references for a while, hand some to other threads and drop them,
// over few contents so that last-reference removals race with lookups of
// the same content all the time.
void raceLookupsInsertsAndReleases( bool keyed ) {
   constexpr unsigned kThreads = 4;
   constexpr U64 kContents = 64;
   constexpr unsigned kHeld = 8;
   constexpr U64 kOpsPerThread = 1'000'000 / kThreads;
   LifeCounters counters;
   auto table = newTable( true, keyed );
   auto notifiee = Kel::makePtr<CheckingNotifiee>( kContents );
   table->lifeTimeNotifieeIs( notifiee );

   // A mailbox through which references change threads.
   std::mutex mailboxMutex;
   std::vector<DedupHandle::PtrConst> mailbox;
   std::atomic<U64> wrongAnswers{ 0 };
   std::atomic<U64> hits{ 0 };
   std::atomic<U64> inserts{ 0 };

   auto worker = [ & ]( unsigned id ) {
      U64 state = 0x9E3779B97F4A7C15ull * ( id + 1 );
      auto next = [ & ] {
         state ^= state << 13;
         state ^= state >> 7;
         state ^= state << 17;
         return state;
      };
      DedupHandle::PtrConst held[ kHeld ];
      // The answer has the content and is a member; while this thread holds
      // the content, it is that very object (and what is held stays a member).
      auto check = [ & ]( const DedupHandle::PtrConst& p, U64 content ) {
         if ( !p || valueOf( p.ptr() ) != content || !p->isDeduped() ) {
            wrongAnswers.fetch_add( 1 );
            return;
         }
         for ( const auto& h : held ) {
            if ( h && valueOf( h.ptr() ) == content && ( h != p || !h->isDeduped() ) ) {
               wrongAnswers.fetch_add( 1 );
            }
         }
      };
      for ( U64 op = 0; op < kOpsPerThread; ++op ) {
         U64 r = next();
         U64 content = r % kContents;
         unsigned slot = unsigned( r >> 8 ) % kHeld;
         bool keep = ( r >> 12 ) & 1;
         // Out of 16: 5 lookups, 3 interning paths, 1 bare dedup, 4 releases,
         // 2 copies, 1 chance to pass a reference to another thread.
         const unsigned kind = unsigned( r >> 16 ) % 16;
         if ( kind < 5 ) {
            // Look up; often only to drop the reference at once.
            DedupHandle::PtrConst p = lookupIn( table, content, goodHash( content ), keyed );
            if ( p ) {
               hits.fetch_add( 1, std::memory_order_relaxed );
               check( p, content );
               if ( keep ) {
                  held[ slot ] = std::move( p );
               }
            }
         } else if ( kind < 8 ) {
            // The interning path: look up, build and dedup on a miss.
            DedupHandle::PtrConst p = lookupIn( table, content, goodHash( content ), keyed );
            if ( !p ) {
               inserts.fetch_add( 1, std::memory_order_relaxed );
               p = table->dedup( TestHandle::TestHandleIs( content, &counters ) );
            }
            check( p, content );
            if ( keep ) {
               held[ slot ] = std::move( p );
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
   EXPECT_EQ( 0u, table->size() );
   EXPECT_EQ( notifiee->inserts.load(), notifiee->removes.load() );
   for ( U64 c = 0; c < kContents; ++c ) {
      EXPECT_EQ( 0, notifiee->live( c ) ) << "content " << c;
   }
   EXPECT_EQ( counters.constructed.load(), counters.destroyed.load() );
   EXPECT_EQ( 0u, counters.destroyedTwice.load() );
   table = nullptr;
   EXPECT_EQ( 1u, notifiee->stops.load() );
}

TEST( DedupHashTableConcurrency, RacingLookupsInsertsAndReleasesKeepOneMemberPerContent ) {
   raceLookupsInsertsAndReleases( false );
}

// Keyed members keep their reserve in the slot: releases that cannot tell
// from the count whether outside references are left ask the table.
TEST( DedupHashTableConcurrency, RacingOnKeyedMembersKeepsOneMemberPerContent ) {
   raceLookupsInsertsAndReleases( true );
}

} // namespace
