#include "OvBgp/NotifyingRouteTargetList.h"

#include <gtest/gtest.h>

#include <functional>
#include <set>
#include <vector>

namespace {

using Routing::Bgp::NotifyingRouteTargetList;
using Routing::Bgp::RouteTarget;

const RouteTarget rtA( 0x0002FDE800000064ull ); // 65000:100
const RouteTarget rtB( 0x0102C0000201002Aull ); // 192.0.2.1:42
const RouteTarget rtC( 0x0202000100000005ull ); // 1L:5

// Records each call with whether the route target was a member at that
// time, into a log it may share with other recorders.
class Recorder : public NotifyingRouteTargetList::Notifiee {
 public:
   struct Call {
      const Recorder* by;
      RouteTarget rt;
      bool present;
   };
   Recorder( const NotifyingRouteTargetList* list, std::vector<Call>* log )
         : list_( list ), log_( log ) {}
   void handleRt( const RouteTarget& rt ) override {
      log_->push_back( { this, rt, list_->rt( rt ) } );
      if ( onCall ) {
         onCall( rt );
      }
   }
   std::function<void( const RouteTarget& )> onCall;

 private:
   const NotifyingRouteTargetList* list_;
   std::vector<Call>* log_;
};

TEST( NotifyingRouteTargetList, ObserversHearEachChangeOnceAfterItAndNotOnDestruction ) {
   auto list = NotifyingRouteTargetList::NotifyingRouteTargetListIs();
   std::vector<Recorder::Call> log;
   Recorder first( list.ptr(), &log ), second( list.ptr(), &log );
   list->notifieeList().add( &first );
   list->notifieeList().add( &second );

   list->rtIs( rtA );
   list->rtIs( rtA );
   EXPECT_FALSE( list->rtDel( rtB ) ); // no change, no call
   ASSERT_EQ( 2u, log.size() );
   EXPECT_EQ( &first, log[ 0 ].by ); // in the order of registration
   EXPECT_EQ( &second, log[ 1 ].by );
   EXPECT_TRUE( log[ 0 ].rt == rtA && log[ 0 ].present );

   EXPECT_TRUE( list->rtDel( rtA ) );
   ASSERT_EQ( 4u, log.size() );
   EXPECT_TRUE( log[ 3 ].rt == rtA && !log[ 3 ].present );

   // An observer that unregisters hears nothing more; destruction tells
   // nobody.
   list->notifieeList().remove( &first );
   list->rtIs( rtB );
   ASSERT_EQ( 5u, log.size() );
   EXPECT_EQ( &second, log[ 4 ].by );
   list = nullptr;
   EXPECT_EQ( 5u, log.size() );
}

TEST( NotifyingRouteTargetList, RtDelAllAnnouncesEachMemberAlreadyGone ) {
   auto list = Routing::Bgp::notifyingRouteTargetListFactory();
   std::vector<Recorder::Call> log;
   Recorder observer( list.ptr(), &log );
   list->notifieeList().add( &observer );
   list->rtIs( rtA );
   list->rtIs( rtB );
   log.clear();
   list->rtDelAll();
   EXPECT_EQ( 0u, list->rtCount() );
   std::set<RouteTarget> told;
   for ( const auto& call : log ) {
      EXPECT_FALSE( call.present );
      told.insert( call.rt );
   }
   EXPECT_EQ( 2u, log.size() );
   EXPECT_EQ( ( std::set<RouteTarget>{ rtA, rtB } ), told );

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
