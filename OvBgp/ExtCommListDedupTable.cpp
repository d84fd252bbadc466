#include "OvBgp/ExtCommListDedupTable.h"

#include "OvBgp/OvBgpCommunityListImpl.h"

namespace Routing::Bgp {

ExtCommListDedupTable::ExtCommListDedupTable() { handleInitialized(); }

ExtCommListDedupTable::~ExtCommListDedupTable() {
   // Route-target lists may outlive the table; the collection must not
   // claim them.
   if ( rtExtCommClassificationListDedupTable_ ) {
      rtExtCommClassificationListDedupTable_->notificationStop();
   }
}

void ExtCommListDedupTable::handleInitialized() {
   extCommClassificationListDedupTable_ = newListDedupHashTable();
   rtExtCommClassificationListDedupTable_ = newListDedupHashTable();
   NotifyingRtExtCommListCollection::Ptr collection = notifyingRtExtCommListCollectionIs();
   RtExtCommListLifeTimeNotifiee::Ptr notifiee = rtExtCommListLifeTimeNotifieeIs( collection );
   rtExtCommClassificationListDedupTable_->lifeTimeNotifieeIs( notifiee );
}

ExtCommListDedupTable::Ptr ExtCommListDedupTable::ExtCommListDedupTableIs() {
   return Kel::makeActivePtr<ExtCommListDedupTable>();
}

ExtCommListDedupTable::Ptr extCommListDedupTableFactory() {
   return ExtCommListDedupTable::ExtCommListDedupTableIs();
}

NotifyingRtExtCommListCollection::Ptr ExtCommListDedupTable::notifyingRtExtCommListCollectionIs() {
   if ( !notifyingRtExtCommListCollection_ ) {
      notifyingRtExtCommListCollection_ = notifyingRtExtCommListCollectionFactory();
   }
   return notifyingRtExtCommListCollection_;
}

RtExtCommListLifeTimeNotifiee::Ptr ExtCommListDedupTable::rtExtCommListLifeTimeNotifieeIs(
      const NotifyingRtExtCommListCollection::Ptr& collection ) {
   if ( !rtExtCommListLifeTimeNotifiee_ ||
        rtExtCommListLifeTimeNotifiee_->collection() != collection ) {
      rtExtCommListLifeTimeNotifiee_ = rtExtCommListLifeTimeNotifieeFactory( collection );
   }
   return rtExtCommListLifeTimeNotifiee_;
}

void ExtCommListDedupTable::dumpState( const Bex::DumpContext& ctx, U32 indent ) const {
   dumpLine( ctx, indent, "ExtCommListDedupTable\n" );
   const int label = int( indent + 2 );
   ctx.printf( "%*cextComm\n", label, ' ' );
   dedupTable()->dumpState( ctx, indent + 4 );
   ctx.printf( "%*cextCommClassification\n", label, ' ' );
   extCommClassificationListDedupTable_->dumpState( ctx, indent + 4 );
   ctx.printf( "%*crtExtCommClassification\n", label, ' ' );
   rtExtCommClassificationListDedupTable_->dumpState( ctx, indent + 4 );
}

} // namespace Routing::Bgp
