#include "OvBgp/NotifyingRouteTargetList.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

namespace {

using Routing::Bgp::NotifyingRouteTargetList;
using Routing::Bgp::RouteTarget;

const RouteTarget rtA( 0x0002FDE800000064ull ); // 65000:100
const RouteTarget rtB( 0x0102C0000201002Aull ); // 192.0.2.1:42
const RouteTarget rtC( 0x0202000100000005ull ); // 1L:5

using Log = std::vector<std::string>;

// Records each call as its name, then '+' or '-' as the route target was a
// member or not when it heard, then the route target, into a log it may
// share with other recorders.
class Recorder : public NotifyingRouteTargetList::Notifiee {
 public:
   Recorder( const char* name, const NotifyingRouteTargetList* list, Log* log )
         : name_( name ), list_( list ), log_( log ) {}
   void handleRt( const RouteTarget& rt ) override {
      log_->push_back( name_ + ( list_->rt( rt ) ? "+" : "-" ) + rt.toStrep( false ) );
      if ( onCall ) {
         onCall( rt );
      }
   }
   std::function<void( const RouteTarget& )> onCall;

 private:
   std::string name_;
   const NotifyingRouteTargetList* list_;
   Log* log_;
};

TEST( NotifyingRouteTargetList, ObserversHearEachChangeOnceAfterItAndNotOnDestruction ) {
   auto list = NotifyingRouteTargetList::NotifyingRouteTargetListIs();
   Log log;
   Recorder first( "first", list.ptr(), &log ), second( "second", list.ptr(), &log );
   list->notifieeList().add( &first );
   list->notifieeList().add( &second );

   list->rtIs( rtA );
   list->rtIs( rtA );
   EXPECT_FALSE( list->rtDel( rtB ) ); // no change, no call
   EXPECT_TRUE( list->rtDel( rtA ) );
   // In the order of registration, each after the change.
   EXPECT_EQ( log, ( Log{ "first+65000:100", "second+65000:100", "first-65000:100",
                          "second-65000:100" } ) );

   // An observer that unregisters hears nothing more; destruction tells
   // nobody.
   list->notifieeList().remove( &first );
   list->rtIs( rtB );
   list = nullptr;
   EXPECT_EQ( log.size(), 5u );
   EXPECT_EQ( log.back(), "second+192.0.2.1:42" );
}

TEST( NotifyingRouteTargetList, RtDelAllAnnouncesEachMemberAlreadyGone ) {
   auto list = Routing::Bgp::notifyingRouteTargetListFactory();
   Log log;
   Recorder observer( "", list.ptr(), &log );
   list->notifieeList().add( &observer );
   list->rtIs( rtA );
   list->rtIs( rtB );
   log.clear();
   list->rtDelAll();
   EXPECT_EQ( 0u, list->rtCount() );
   std::sort( log.begin(), log.end() ); // in the set's own order
   EXPECT_EQ( log, ( Log{ "-192.0.2.1:42", "-65000:100" } ) );

   // An observer that removes another member meanwhile: each departure is
   // still heard exactly once and the walk survives.
   for ( RouteTarget rt : { rtA, rtB, rtC } ) {
      list->rtIs( rt );
   }
   log.clear();
   observer.onCall = [ & ]( const RouteTarget& ) {
      if ( list->rtCount() > 0 ) {
         list->rtDel( *list->begin() );
      }
   };
   list->rtDelAll();
   EXPECT_EQ( 0u, list->rtCount() );
   EXPECT_EQ( 3u, log.size() );

   // Without observers everything goes at once, silently.
   list->notifieeList().remove( &observer );
   list->rtIs( rtA );
   list->rtDelAll();
   EXPECT_EQ( list->end(), list->begin() );
   EXPECT_EQ( 3u, log.size() );
}

TEST( NotifyingRouteTargetList, DumpIndentsHeaderAndMembers ) {
   auto list = NotifyingRouteTargetList::NotifyingRouteTargetListIs();
   auto ctx = Bex::DumpContext::DumpContextIs();
   list->dumpState( ctx, 0 );
   EXPECT_EQ( "NotifyingRouteTargetList #0:\n", ctx->str() );

   list->rtIs( rtA );
   list->rtIs( rtB );
   // Members print in the set's own order.
   auto members = [ & ]( const std::string& indent ) {
      std::string out;
      for ( const RouteTarget& rt : *list ) {
         out += indent + rt.toStrep( false ) + "\n";
      }
      return out;
   };
   Bex::DumpContext onStack;
   list->dumpState( onStack, 3 );
   EXPECT_EQ( "   NotifyingRouteTargetList #2:\n" + members( "     " ), onStack.str() );

   // The member indent would wrap to 0: members print without a leading
   // space. The header's width reads as -2 to printf, which pads on the right.
   ctx->clear();
   list->dumpState( ctx, 0xFFFFFFFEu );
   EXPECT_EQ( "  NotifyingRouteTargetList #2:\n" + members( "" ), ctx->str() );
}

} // namespace
