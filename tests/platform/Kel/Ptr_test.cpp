#include "Kel/Ptr.h"

#include <gtest/gtest.h>

#include <thread>
#include <type_traits>
#include <unordered_set>
#include <vector>

namespace {

struct Base : Kel::PtrInterface {
   using Ptr = Kel::Ptr<Base>;
   using PtrConst = Kel::Ptr<const Base>;
   explicit Base( int* deathCount ) : deaths( deathCount ) {}
   ~Base() override { ++*deaths; }
   int* deaths;
};

struct Derived : Base {
   using Ptr = Kel::Ptr<Derived>;
   explicit Derived( int* deathCount, int v = 0 ) : Base( deathCount ), value( v ) {}
   int value;
};

// A counted class whose counted base is not its first base, so that a
// pointer to the base is not the same address as a pointer to the whole.
struct Padding {
   virtual ~Padding() = default;
   long pad[ 3 ] = {};
};
struct Mixed : Padding, Base {
   using Ptr = Kel::Ptr<Mixed>;
   explicit Mixed( int* deathCount ) : Base( deathCount ) {}
};

static_assert( std::is_convertible_v<Derived::Ptr, Base::PtrConst> );
static_assert( !std::is_convertible_v<Base::Ptr, Derived::Ptr> );
static_assert( !std::is_convertible_v<Base::PtrConst, Base::Ptr> );
static_assert( !std::is_convertible_v<Base::Ptr, bool> ); // explicit only
static_assert( std::is_nothrow_move_constructible_v<Base::Ptr> );
static_assert( sizeof( Base::Ptr ) == sizeof( void* ) );

TEST( Ptr, CopiesCountMovesHandOverAndTheLastReleaseDestroysOnce ) {
   int deaths = 0;
   Base::Ptr a;
   EXPECT_FALSE( a );
   EXPECT_TRUE( a == nullptr && nullptr == a );
   a = Kel::makePtr<Base>( &deaths );
   EXPECT_TRUE( a != nullptr );
   EXPECT_EQ( 1u, a->refCount() );
   Base::Ptr b = a;
   EXPECT_EQ( 2u, a->refCount() );
   Base::Ptr c = std::move( b );
   EXPECT_EQ( nullptr, b );
   EXPECT_EQ( 2u, a->refCount() );
   Base::Ptr& sameC = c;
   c = sameC; // self-assignment keeps the reference
   c = std::move( c );
   EXPECT_EQ( 2u, a->refCount() );
   b = a; // copy-assign into an empty pointer
   EXPECT_EQ( 3u, a->refCount() );

   // Assigning over the last reference to another object releases it.
   Base::Ptr other = Kel::makePtr<Base>( &deaths );
   other = a;
   EXPECT_EQ( 1, deaths );
   // A raw pointer can always be turned back into an owning one.
   Base::Ptr fromRaw( a.ptr() );
   EXPECT_EQ( 5u, a->refCount() );
   a = b = c = other = nullptr;
   EXPECT_EQ( 1, deaths );
   fromRaw = nullptr;
   EXPECT_EQ( 2, deaths );
}

TEST( Ptr, ConvertsToBaseAndConstAndCastsBackDown ) {
   int deaths = 0;
   Derived::Ptr d = Kel::makePtr<Derived>( &deaths, 7 );
   Base::Ptr b = d;
   Base::PtrConst bc = d;
   Kel::Ptr<const Derived> dc = d;
   EXPECT_EQ( 4u, d->refCount() );
   EXPECT_EQ( d, b );
   EXPECT_EQ( bc, dc );
   EXPECT_EQ( 7, dc->value );

   // Converting moves hand the reference over.
   Base::Ptr moved = std::move( d );
   EXPECT_EQ( nullptr, d );
   EXPECT_EQ( 4u, moved->refCount() );
   Derived::Ptr back = Kel::ptrCast<Derived>( moved );
   EXPECT_EQ( 5u, back->refCount() );
   Derived::Ptr taken = Kel::ptrCast<Derived>( std::move( moved ) );
   EXPECT_EQ( nullptr, moved );
   EXPECT_EQ( 5u, back->refCount() );
   EXPECT_EQ( 7, taken->value );

   Base* raw = back.ptr();
   Base::Ptr adopted = Base::Ptr::adopt( back.release() );
   EXPECT_EQ( nullptr, back );
   EXPECT_EQ( raw, adopted.ptr() );
   EXPECT_EQ( 5u, adopted->refCount() );
   b = nullptr;
   bc = dc = nullptr;
   taken = nullptr;
   EXPECT_EQ( 0, deaths );
   adopted = nullptr;
   EXPECT_EQ( 1, deaths );
}

TEST( Ptr, EqualityAndHashAreByIdentityEvenWhenTheCountedBaseIsNotFirst ) {
   int deaths = 0;
   Derived::Ptr one = Kel::makePtr<Derived>( &deaths, 1 );
   Derived::Ptr alsoOne = Kel::makePtr<Derived>( &deaths, 1 );
   EXPECT_NE( one, alsoOne ); // equal contents, two objects
   Base::PtrConst sameAsOne = one;
   EXPECT_TRUE( one == sameAsOne && sameAsOne == one );
   std::unordered_set<Base::PtrConst> set{ one, sameAsOne, alsoOne };
   EXPECT_EQ( 2u, set.size() );
   EXPECT_EQ( 1u, set.count( Base::PtrConst( one ) ) );
   EXPECT_EQ( std::hash<const void*>()( one.ptr() ), std::hash<Derived::Ptr>()( one ) );

   Mixed::Ptr whole = Kel::makePtr<Mixed>( &deaths );
   Base::Ptr part = whole;
   ASSERT_NE( static_cast<const void*>( whole.ptr() ), static_cast<const void*>( part.ptr() ) );
   EXPECT_TRUE( whole == part && part == whole );
   EXPECT_FALSE( whole != part );
   EXPECT_TRUE( whole != Base::Ptr( one ) );
   EXPECT_TRUE( Mixed::Ptr() == Base::Ptr() );
   EXPECT_FALSE( Mixed::Ptr() == part );
}

// onZeroReferences() may run work that needs the object before it goes.
struct Announcer : Kel::PtrInterface {
   explicit Announcer( std::vector<int>* events ) : log( events ) {}
   ~Announcer() override { log->push_back( 2 ); }
   void onZeroReferences() const noexcept override {
      log->push_back( 1 );
      PtrInterface::onZeroReferences();
   }
   std::vector<int>* log;
};

TEST( Ptr, ZeroReferencesHookRunsBeforeDestructionAndCopiesStartUncounted ) {
   std::vector<int> log;
   auto p = Kel::makeActivePtr<Announcer>( &log );
   auto q = p;
   // A copy of the object is a new object: no count, no flags.
   Announcer copy( *p );
   EXPECT_EQ( 0u, copy.refCount() );
   EXPECT_FALSE( copy.hasNotificationActive() );
   EXPECT_TRUE( p->hasNotificationActive() );
   p = nullptr;
   EXPECT_TRUE( log.empty() );
   q = nullptr;
   EXPECT_EQ( ( std::vector<int>{ 1, 2 } ), log );
}

TEST( PtrConcurrency, CopiesAndReleasesFromManyThreadsDestroyOnce ) {
   int deaths = 0;
   for ( int round = 0; round < 200; ++round ) {
      std::vector<std::jthread> threads; // joined at the end of the round
      {
         Base::Ptr shared = Kel::makePtr<Base>( &deaths );
         for ( int t = 0; t < 4; ++t ) {
            threads.emplace_back( [ shared ] {
               for ( int i = 0; i < 200; ++i ) {
                  Base::Ptr copy = shared;
                  Base::Ptr moved = std::move( copy );
               }
            } );
         }
      } // the threads may now hold the last references
   }
   EXPECT_EQ( 200, deaths );
}

} // namespace
