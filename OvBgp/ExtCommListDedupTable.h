// OvBgp/ExtCommListDedupTable.h: the table that interns extended community
// lists and their parts: the lists themselves, route-target classification
// lists (whose comings and goings it announces through a collection), and
// every other classification list.
//
//   auto listTable = extCommListDedupTableFactory();
//   ExtCommList::PtrConst shared = list->dedup( listTable.ptr() );
#pragma once

#include "OvBgp/CommListDedupTable.h"
#include "OvBgp/RtExtCommListNotification.h"

namespace Routing::Bgp {

// ExtCommListDedupTable: three interning sets, the route-target list
// collection and the notifiee that feeds it.
class ExtCommListDedupTable : public CommListDedupTableBase {
 public:
   using Ptr = Kel::Ptr<ExtCommListDedupTable>;
   using PtrConst = Kel::Ptr<const ExtCommListDedupTable>;

   ExtCommListDedupTable();
   ~ExtCommListDedupTable() override;
   static Ptr ExtCommListDedupTableIs();

   const Bex::DedupHashTable::Ptr& extCommClassificationListDedupTable() const noexcept {
      return extCommClassificationListDedupTable_;
   }
   const Bex::DedupHashTable::Ptr& rtExtCommClassificationListDedupTable() const noexcept {
      return rtExtCommClassificationListDedupTable_;
   }
   // classificationListDedupTable(): where the parts of kind c are interned.
   const Bex::DedupHashTable::Ptr& classificationListDedupTable(
         ExtCommClassification c ) const noexcept {
      return c == extCommClassificationRouteTarget ? rtExtCommClassificationListDedupTable_
                                                   : extCommClassificationListDedupTable_;
   }
   const NotifyingRtExtCommListCollection::Ptr& notifyingRtExtCommListCollection() const noexcept {
      return notifyingRtExtCommListCollection_;
   }
   const RtExtCommListLifeTimeNotifiee::Ptr& rtExtCommListLifeTimeNotifiee() const noexcept {
      return rtExtCommListLifeTimeNotifiee_;
   }

   // notifyingRtExtCommListCollectionIs(): the collection, made if missing.
   NotifyingRtExtCommListCollection::Ptr notifyingRtExtCommListCollectionIs();
   // rtExtCommListLifeTimeNotifieeIs(): the notifiee bound to collection,
   // made if there is none for it.
   RtExtCommListLifeTimeNotifiee::Ptr rtExtCommListLifeTimeNotifieeIs(
         const NotifyingRtExtCommListCollection::Ptr& collection );
   void notifyingRtExtCommListCollectionDel() { notifyingRtExtCommListCollection_ = nullptr; }
   void rtExtCommListLifeTimeNotifieeDel() { rtExtCommListLifeTimeNotifiee_ = nullptr; }

   void dumpState( const Bex::DumpContext& ctx, U32 indent ) const;

 private:
   void handleInitialized();

   Bex::DedupHashTable::Ptr extCommClassificationListDedupTable_;
   NotifyingRtExtCommListCollection::Ptr notifyingRtExtCommListCollection_;
   RtExtCommListLifeTimeNotifiee::Ptr rtExtCommListLifeTimeNotifiee_;
   Bex::DedupHashTable::Ptr rtExtCommClassificationListDedupTable_;
};
ExtCommListDedupTable::Ptr extCommListDedupTableFactory();

} // namespace Routing::Bgp
