#include "Kel/Notifiee.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace {

using Names = std::vector<std::string>;

// An observer that logs its name when notified and may run an action then.
struct Observer {
   std::string name;
   Names* log;
   std::function<void()> onNotify;
   void handle() {
      log->push_back( name );
      if ( onNotify ) {
         onNotify();
      }
   }
};

// on(): what o does when notified.
void on( Observer& o, std::function<void()> action ) { o.onNotify = std::move( action ); }

// notified(): the names one visit of list notifies.
Names notified( const Kel::NotifieeList<Observer>& list, Names* log ) {
   log->clear();
   list.visit( []( Observer* o ) { o->handle(); } );
   return *log;
}

TEST( NotifieeList, AddsOnceRemovesAndVisitsInRegistrationOrder ) {
   Names log;
   Observer a{ "a", &log, {} }, b{ "b", &log, {} }, c{ "c", &log, {} };
   Kel::NotifieeList<Observer> list;
   EXPECT_TRUE( list.empty() );
   EXPECT_EQ( Names{}, notified( list, &log ) );
   list.add( &b );
   list.add( &a );
   list.add( &b ); // already there
   list.add( &c );
   EXPECT_EQ( 3u, list.size() );
   EXPECT_EQ( ( Names{ "b", "a", "c" } ), notified( list, &log ) );
   list.remove( &a );
   list.remove( &a ); // not there any more
   EXPECT_EQ( ( Names{ "b", "c" } ), notified( list, &log ) );
   list.clear();
   EXPECT_TRUE( list.empty() );
}

TEST( NotifieeList, HandlersMayChangeTheListDuringAVisit ) {
   Names log;
   Observer a{ "a", &log, {} }, b{ "b", &log, {} }, c{ "c", &log, {} }, d{ "d", &log, {} };
   Kel::NotifieeList<Observer> list;
   list.add( &a );
   list.add( &b );
   list.add( &c );
   // a removes c (not yet visited: skipped) and adds d (not visited in
   // this round); b removes itself (already visited: no effect).
   on( a, [ & ] {
      list.remove( &c );
      list.add( &d );
   } );
   on( b, [ & ] { list.remove( &b ); } );
   EXPECT_EQ( ( Names{ "a", "b" } ), notified( list, &log ) );
   on( a, nullptr );
   EXPECT_EQ( ( Names{ "a", "d" } ), notified( list, &log ) );

   // Removed and added back during the same visit: it is registered again,
   // so it is notified in this round after all.
   list.add( &c );
   on( a, [ & ] {
      list.remove( &c );
      list.add( &c );
   } );
   EXPECT_EQ( ( Names{ "a", "d", "c" } ), notified( list, &log ) );

   // Every observer removing every other one: only the first is notified.
   on( a, [ & ] { list.clear(); } );
   EXPECT_EQ( Names{ "a" }, notified( list, &log ) );
}

} // namespace
