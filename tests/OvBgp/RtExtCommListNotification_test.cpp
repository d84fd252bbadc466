// The route-target list collection: announcements only for real changes,
// one-by-one removal when observed, dumps, and the list table's own dump.
#include "OvBgp/RtExtCommListNotification.h"

#include <gtest/gtest.h>

#include "Bex/DumpContext.h"
#include "OvBgp/ExtCommListDedupTable.h"

namespace Routing::Bgp {
namespace {

struct Observer : NotifyingRtExtCommListCollection::Notifiee {
   explicit Observer( NotifyingRtExtCommListCollection* c ) : collection( c ) {}
   void handleRtExtCommList( const RtExtCommListLifeTimeNotifier::PtrConst& n ) override {
      ++calls;
      lastPresent = collection->rtExtCommList( n );
   }
   NotifyingRtExtCommListCollection* collection;
   int calls = 0;
   bool lastPresent = false;
};

TEST( NotifyingRtExtCommListCollection, AnnouncesOnlyRealChanges ) {
   auto collection = notifyingRtExtCommListCollectionFactory();
   Observer observer( collection.ptr() );
   collection->notifieeList().add( &observer );
   auto listA = rtExtCommClassificationListFactory( extCommClassificationRouteTarget );
   auto listB = rtExtCommClassificationListFactory( extCommClassificationRouteTarget );
   auto a = RtExtCommListLifeTimeNotifier::RtExtCommListLifeTimeNotifierIs( listA.ptr() );
   auto b = RtExtCommListLifeTimeNotifier::RtExtCommListLifeTimeNotifierIs( listB.ptr() );

   collection->rtExtCommListIs( a );
   collection->rtExtCommListIs( a );
   EXPECT_EQ( observer.calls, 1 );
   EXPECT_TRUE( observer.lastPresent );
   collection->rtExtCommListDel( b );
   EXPECT_EQ( observer.calls, 1 );

   collection->rtExtCommListIs( b );
   collection->rtExtCommListDelAll();
   EXPECT_EQ( observer.calls, 4 ); // two arrivals, then each departure on its own
   EXPECT_FALSE( observer.lastPresent );
   EXPECT_TRUE( collection->rtExtCommList().empty() );

   collection->notifieeList().remove( &observer );
   collection->rtExtCommListIs( a );
   collection->rtExtCommListDelAll();
   EXPECT_TRUE( collection->rtExtCommList().empty() );

   Bex::DumpContext ctx;
   collection->dumpState( ctx, 4 );
   EXPECT_EQ( ctx.str(), "    NotifyingRtExtCommListCollection rtExtCommLists #0;\n" );
}

TEST( ExtCommListDedupTable, DumpsItsThreeSetsAndReusesItsNotifiee ) {
   auto table = extCommListDedupTableFactory();
   auto collection = table->notifyingRtExtCommListCollectionIs();
   EXPECT_EQ( collection, table->notifyingRtExtCommListCollection() );
   auto notifiee = table->rtExtCommListLifeTimeNotifiee();
   EXPECT_EQ( table->rtExtCommListLifeTimeNotifieeIs( collection ), notifiee );

   Bex::DumpContext ctx;
   table->dumpState( ctx, 0 );
   EXPECT_EQ( ctx.str(),
              "ExtCommListDedupTable\n"
              "  extComm\n"
              "    DedupHashTable #0\n"
              "  extCommClassification\n"
              "    DedupHashTable #0\n"
              "  rtExtCommClassification\n"
              "    DedupHashTable #0\n" );
}

} // namespace
} // namespace Routing::Bgp
