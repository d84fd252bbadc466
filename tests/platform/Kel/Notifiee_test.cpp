#include "Kel/Notifiee.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace {

// An observer that logs its name when notified and may run an action then.
struct Observer {
   std::string name;
   std::vector<std::string>* log;
   std::function<void()> onNotify;
   void handle() {
      log->push_back( name );
      if ( onNotify ) {
         onNotify();
      }
   }
};

void notifyAll( const Kel::NotifieeList<Observer>& list ) {
   list.visit( []( Observer* o ) { o->handle(); } );
}

TEST( NotifieeList, AddsOnceRemovesAndVisitsInRegistrationOrder ) {
   std::vector<std::string> log;
   Observer a{ "a", &log, {} }, b{ "b", &log, {} }, c{ "c", &log, {} };
   Kel::NotifieeList<Observer> list;
   EXPECT_TRUE( list.empty() );
   notifyAll( list );
   EXPECT_TRUE( log.empty() );

   list.add( &b );
   list.add( &a );
   list.add( &b ); // already there
   list.add( &c );
   EXPECT_EQ( 3u, list.size() );
   notifyAll( list );
   EXPECT_EQ( ( std::vector<std::string>{ "b", "a", "c" } ), log );

   log.clear();
   list.remove( &a );
   list.remove( &a ); // not there any more
   EXPECT_EQ( 2u, list.size() );
   notifyAll( list );
   EXPECT_EQ( ( std::vector<std::string>{ "b", "c" } ), log );

   list.clear();
   EXPECT_TRUE( list.empty() );
}

TEST( NotifieeList, HandlersMayChangeTheListDuringAVisit ) {
   std::vector<std::string> log;
   Observer a{ "a", &log, {} }, b{ "b", &log, {} }, c{ "c", &log, {} }, d{ "d", &log, {} };
   Kel::NotifieeList<Observer> list;
   list.add( &a );
   list.add( &b );
   list.add( &c );

   // a removes c (not yet visited: skipped) and adds d (not visited in
   // this round); b removes itself (already visited: no effect).
   a.onNotify = [ & ] {
      list.remove( &c );
      list.add( &d );
   };
   b.onNotify = [ & ] {
      list.remove( &b );
   };
   notifyAll( list );
   EXPECT_EQ( ( std::vector<std::string>{ "a", "b" } ), log );
   EXPECT_EQ( 2u, list.size() );

   log.clear();
   a.onNotify = nullptr;
   notifyAll( list );
   EXPECT_EQ( ( std::vector<std::string>{ "a", "d" } ), log );

   // Removed and added back during the same visit: it is registered again,
   // so it is notified in this round after all.
   log.clear();
   list.add( &c );
   a.onNotify = [ & ] {
      list.remove( &c );
      list.add( &c );
   };
   notifyAll( list );
   EXPECT_EQ( ( std::vector<std::string>{ "a", "d", "c" } ), log );

   // Every observer removing every other one: only the first is notified.
   log.clear();
   a.onNotify = [ & ] {
      list.clear();
   };
   notifyAll( list );
   EXPECT_EQ( ( std::vector<std::string>{ "a" } ), log );
}

} // namespace
