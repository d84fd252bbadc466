// OvBgp/RtExtCommListNotification.h: the set of distinct route-target lists
// in use, made observable. Route-target classification lists are interned in
// their own table, so a set of route targets coming into use is that table
// gaining a member; the notifiee turns those table events into a collection
// of notifiers, and the collection tells its observers of every change.
//
//   auto rtLists = listTable->notifyingRtExtCommListCollectionIs();
//   rtLists->notifieeList().add( &observer );  // handleRtExtCommList( notifier )
#pragma once

#include <iosfwd>
#include <unordered_set>

#include "Bex/DedupHashTable.h"
#include "Kel/Notifiee.h"
#include "Kel/Ptr.h"
#include "OvBgp/ExtCommClassificationList.h"

namespace Bex {
class DumpContext;
}

namespace Routing::Bgp {

// RtExtCommListLifeTimeNotifier: stands for one interned route-target list
// while it is in use; it points at the list without counting it.
class RtExtCommListLifeTimeNotifier : public Bex::DedupHandleLifeTimeNotifier {
 public:
   using Ptr = Kel::Ptr<RtExtCommListLifeTimeNotifier>;
   using PtrConst = Kel::Ptr<const RtExtCommListLifeTimeNotifier>;

   explicit RtExtCommListLifeTimeNotifier( const RtExtCommClassificationList* list ) noexcept
         : Bex::DedupHandleLifeTimeNotifier( list ) {}
   static Ptr RtExtCommListLifeTimeNotifierIs( const RtExtCommClassificationList* list );

   const RtExtCommClassificationList* rtExtCommListRawPtr() const noexcept {
      return static_cast<const RtExtCommClassificationList*>( handle() );
   }
   ExtComm::PtrConst comm( U64 community ) const {
      return rtExtCommListRawPtr()->comm( community );
   }
   Kel::String toStrep() const { return rtExtCommListRawPtr()->toStrep(); }
};

std::ostream& operator<<( std::ostream& os, const RtExtCommListLifeTimeNotifier* notifier );

// NotifyingRtExtCommListCollection: the notifiers of the route-target lists
// in use; observers hear of each one added or removed.
class NotifyingRtExtCommListCollection : public Kel::PtrInterface {
 public:
   using Ptr = Kel::Ptr<NotifyingRtExtCommListCollection>;
   using PtrConst = Kel::Ptr<const NotifyingRtExtCommListCollection>;
   using RtExtCommListSet = std::unordered_set<RtExtCommListLifeTimeNotifier::PtrConst>;

   // Notifiee: told after each change; it looks the notifier up to see which.
   class Notifiee {
    public:
      virtual ~Notifiee() = default;
      virtual void handleRtExtCommList(
            const RtExtCommListLifeTimeNotifier::PtrConst& notifier ) = 0;
   };
   using NotifieeList = Kel::NotifieeList<Notifiee>;

   static Ptr NotifyingRtExtCommListCollectionIs();

   const RtExtCommListSet& rtExtCommList() const noexcept { return rtExtCommList_; }
   bool rtExtCommList( const RtExtCommListLifeTimeNotifier::PtrConst& notifier ) const {
      return rtExtCommList_.count( notifier ) != 0;
   }
   void rtExtCommListIs( const RtExtCommListLifeTimeNotifier::PtrConst& notifier );
   void rtExtCommListDel( const RtExtCommListLifeTimeNotifier::PtrConst& notifier );
   void rtExtCommListDelAll();

   NotifieeList& notifieeList() noexcept { return notifiees_; }

   void dumpState( const Bex::DumpContext& ctx, U32 indent ) const;

 private:
   RtExtCommListSet rtExtCommList_;
   NotifieeList notifiees_;
};
NotifyingRtExtCommListCollection::Ptr notifyingRtExtCommListCollectionFactory();

// RtExtCommListLifeTimeNotifiee: the route-target list table's lifetime
// notifiee; feeds one collection.
class RtExtCommListLifeTimeNotifiee : public Bex::DedupHashTableLifeTimeNotifiee {
 public:
   using Ptr = Kel::Ptr<RtExtCommListLifeTimeNotifiee>;
   using PtrConst = Kel::Ptr<const RtExtCommListLifeTimeNotifiee>;

   explicit RtExtCommListLifeTimeNotifiee( const NotifyingRtExtCommListCollection::Ptr& collection )
         : collection_( collection ) {}
   static Ptr RtExtCommListLifeTimeNotifieeIs( const NotifyingRtExtCommListCollection::Ptr& c );

   const NotifyingRtExtCommListCollection::Ptr& collection() const noexcept { return collection_; }

   void handleInsert( const Bex::DedupHandle::Ptr& handle ) override;
   void handleRemove( Bex::DedupHandle* handle ) override;
   void handleNotificationStop( const Kel::Ptr<const Bex::DedupHashTableBase>& table ) override;

 private:
   NotifyingRtExtCommListCollection::Ptr collection_;
};
RtExtCommListLifeTimeNotifiee::Ptr rtExtCommListLifeTimeNotifieeFactory(
      const NotifyingRtExtCommListCollection::Ptr& collection );

} // namespace Routing::Bgp
