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

// Records each call with whether the route target was a member at that time.
class Recorder : public NotifyingRouteTargetList::Notifiee {
 public:
   struct Call {
      RouteTarget rt;
      bool present;
   };
   explicit Recorder( const NotifyingRouteTargetList* list ) : list_( list ) {}
   void handleRt( const RouteTarget& rt ) override {
      calls.push_back( { rt, list_->rt( rt ) } );
      if ( onCall ) {
         onCall( rt );
      }
   }
   std::vector<Call> calls;
   std::function<void( const RouteTarget& )> onCall;

 private:
   const NotifyingRouteTargetList* list_;
};

TEST( NotifyingRouteTargetList, ObserversHearEachChangeOnceAfterItAndNotOnDestruction ) {
   auto list = NotifyingRouteTargetList::NotifyingRouteTargetListIs();
   EXPECT_TRUE( list->hasNotificationActive() );
   Recorder first( list.ptr() ), second( list.ptr() );
   std::vector<int> order;
   first.onCall = [ & ]( const RouteTarget& ) {
      order.push_back( 1 );
   };
   second.onCall = [ & ]( const RouteTarget& ) {
      order.push_back( 2 );
   };
   list->notifieeList().add( &first );
   list->notifieeList().add( &second );

   list->rtIs( rtA );
   list->rtIs( rtA );
   ASSERT_EQ( 1u, first.calls.size() );
   EXPECT_EQ( rtA, first.calls[ 0 ].rt );
   EXPECT_TRUE( first.calls[ 0 ].present );
   EXPECT_EQ( ( std::vector<int>{ 1, 2 } ), order );

   EXPECT_FALSE( list->rtDel( rtB ) );
   EXPECT_EQ( 1u, first.calls.size() );

   EXPECT_TRUE( list->rtDel( rtA ) );
   ASSERT_EQ( 2u, second.calls.size() );
   EXPECT_EQ( rtA, second.calls[ 1 ].rt );
   EXPECT_FALSE( second.calls[ 1 ].present );
   EXPECT_EQ( 0u, list->rtCount() );

   // An observer that unregisters hears nothing more.
   list->notifieeList().remove( &first );
   list->rtIs( rtB );
   EXPECT_EQ( 2u, first.calls.size() );
   EXPECT_EQ( 3u, second.calls.size() );

   // Destruction tells nobody.
   list = nullptr;
   EXPECT_EQ( 3u, second.calls.size() );
}

TEST( NotifyingRouteTargetList, RtDelAllAnnouncesEachMemberAlreadyGone ) {
   auto list = Routing::Bgp::notifyingRouteTargetListFactory();
   Recorder observer( list.ptr() );
   list->notifieeList().add( &observer );
   list->rtIs( rtA );
   list->rtIs( rtB );
   observer.calls.clear();

   list->rtDelAll();
   EXPECT_EQ( 0u, list->rtCount() );
   ASSERT_EQ( 2u, observer.calls.size() );
   std::set<RouteTarget> told;
   for ( const auto& call : observer.calls ) {
      EXPECT_FALSE( call.present );
      told.insert( call.rt );
   }
   EXPECT_EQ( ( std::set<RouteTarget>{ rtA, rtB } ), told );

   // An observer that removes another member meanwhile: each departure is
   // still heard exactly once and the walk survives.
   for ( RouteTarget rt : { rtA, rtB, rtC } ) {
      list->rtIs( rt );
   }
   observer.calls.clear();
   observer.onCall = [ & ]( const RouteTarget& ) {
      if ( list->rtCount() > 0 ) {
         list->rtDel( *list->begin() );
      }
   };
   list->rtDelAll();
   EXPECT_EQ( 0u, list->rtCount() );
   EXPECT_EQ( 3u, observer.calls.size() );

   // Without observers everything goes at once, silently.
   list->notifieeList().remove( &observer );
   list->rtIs( rtA );
   list->rtIs( rtC );
   list->rtDelAll();
   EXPECT_EQ( 0u, list->rtCount() );
   EXPECT_EQ( list->end(), list->begin() );
}

TEST( NotifyingRouteTargetList, DumpIndentsHeaderAndMembers ) {
   auto list = NotifyingRouteTargetList::NotifyingRouteTargetListIs();
   auto ctx = Bex::DumpContext::DumpContextIs();
   list->dumpState( ctx, 0 );
   EXPECT_EQ( "NotifyingRouteTargetList #0:\n", ctx->str() );

   list->rtIs( rtA );
   list->rtIs( rtB );
   // Members print in the set's own order.
   std::vector<std::string> texts;
   for ( const RouteTarget& rt : *list ) {
      texts.push_back( rt.toStrep( false ) );
   }
   EXPECT_EQ( ( std::set<std::string>{ "65000:100", "192.0.2.1:42" } ),
              std::set<std::string>( texts.begin(), texts.end() ) );

   ctx->clear();
   list->dumpState( ctx, 0 );
   EXPECT_EQ( "NotifyingRouteTargetList #2:\n  " + texts[ 0 ] + "\n  " + texts[ 1 ] + "\n",
              ctx->str() );

   Bex::DumpContext onStack;
   list->dumpState( onStack, 3 );
   EXPECT_EQ( "   NotifyingRouteTargetList #2:\n     " + texts[ 0 ] + "\n     " + texts[ 1 ] + "\n",
              onStack.str() );

   // The member indent would wrap to 0: members print without a leading space.
   // The header's width reads as -2 to printf, which pads on the right.
   ctx->clear();
   list->dumpState( ctx, 0xFFFFFFFEu );
   EXPECT_EQ( "  NotifyingRouteTargetList #2:\n" + texts[ 0 ] + "\n" + texts[ 1 ] + "\n",
              ctx->str() );
}

} // namespace
