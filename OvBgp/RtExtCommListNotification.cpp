#include "OvBgp/RtExtCommListNotification.h"

#include <ostream>
#include <vector>

#include "Bex/DumpContext.h"
#include "Kel/Trace.h"
#include "OvBgp/OvBgpCommunityListImpl.h"

namespace Routing::Bgp {

RtExtCommListLifeTimeNotifier::Ptr RtExtCommListLifeTimeNotifier::RtExtCommListLifeTimeNotifierIs(
      const RtExtCommClassificationList* list ) {
   return Kel::makeActivePtr<RtExtCommListLifeTimeNotifier>( list );
}

std::ostream& operator<<( std::ostream& os, const RtExtCommListLifeTimeNotifier* notifier ) {
   if ( !notifier ) {
      return os << "NULL";
   }
   return os << notifier->rtExtCommListRawPtr();
}

// ---- NotifyingRtExtCommListCollection ---------------------------------------

NotifyingRtExtCommListCollection::Ptr
NotifyingRtExtCommListCollection::NotifyingRtExtCommListCollectionIs() {
   return Kel::makeActivePtr<NotifyingRtExtCommListCollection>();
}

NotifyingRtExtCommListCollection::Ptr notifyingRtExtCommListCollectionFactory() {
   return NotifyingRtExtCommListCollection::NotifyingRtExtCommListCollectionIs();
}

void NotifyingRtExtCommListCollection::rtExtCommListIs(
      const RtExtCommListLifeTimeNotifier::PtrConst& notifier ) {
   if ( !rtExtCommList_.insert( notifier ).second ) {
      return;
   }
   notifiees_.visit( [ & ]( Notifiee* n ) { n->handleRtExtCommList( notifier ); } );
}

void NotifyingRtExtCommListCollection::rtExtCommListDel(
      const RtExtCommListLifeTimeNotifier::PtrConst& notifier ) {
   // Keep the notifier alive through the announcement even if the set held
   // the last reference.
   RtExtCommListLifeTimeNotifier::PtrConst held = notifier;
   if ( rtExtCommList_.erase( held ) == 0 ) {
      return;
   }
   notifiees_.visit( [ & ]( Notifiee* n ) { n->handleRtExtCommList( held ); } );
}

void NotifyingRtExtCommListCollection::rtExtCommListDelAll() {
   if ( notifiees_.empty() ) {
      rtExtCommList_.clear();
      return;
   }
   const std::vector<RtExtCommListLifeTimeNotifier::PtrConst> members( rtExtCommList_.begin(),
                                                                       rtExtCommList_.end() );
   for ( const auto& notifier : members ) {
      rtExtCommListDel( notifier );
   }
}

void NotifyingRtExtCommListCollection::dumpState( const Bex::DumpContext& ctx, U32 indent ) const {
   if ( indent ) {
      ctx.printf( "%*cNotifyingRtExtCommListCollection rtExtCommLists #%u;\n", int( indent ), ' ',
                  unsigned( rtExtCommList_.size() ) );
   } else {
      ctx.printf( "NotifyingRtExtCommListCollection rtExtCommLists #%u;\n",
                  unsigned( rtExtCommList_.size() ) );
   }
   for ( const auto& notifier : rtExtCommList_ ) {
      ctx.printf( "%*crtExtCommList %s\n", int( indent + 2 ), ' ', notifier->toStrep().c_str() );
   }
}

// ---- RtExtCommListLifeTimeNotifiee ---------------------------------------

RtExtCommListLifeTimeNotifiee::Ptr RtExtCommListLifeTimeNotifiee::RtExtCommListLifeTimeNotifieeIs(
      const NotifyingRtExtCommListCollection::Ptr& collection ) {
   return Kel::makeActivePtr<RtExtCommListLifeTimeNotifiee>( collection );
}

RtExtCommListLifeTimeNotifiee::Ptr rtExtCommListLifeTimeNotifieeFactory(
      const NotifyingRtExtCommListCollection::Ptr& collection ) {
   return RtExtCommListLifeTimeNotifiee::RtExtCommListLifeTimeNotifieeIs( collection );
}

void RtExtCommListLifeTimeNotifiee::handleInsert( const Bex::DedupHandle::Ptr& handle ) {
   auto* rtExtCommList = static_cast<RtExtCommClassificationList*>( handle.ptr() );
   OVBGP_LIST_ASSERT( nullptr == rtExtCommList->lifeTimeNotifier(),
                      "__null == rtExtCommList->lifeTimeNotifier()" );
   auto notifier = RtExtCommListLifeTimeNotifier::RtExtCommListLifeTimeNotifierIs( rtExtCommList );
   rtExtCommList->lifeTimeNotifierIs( notifier );
   OVTRACE( traceBgpCommunityList, 9, "%s:%d %s handle: %p rtExtCommListLifeTimeNotifier: %p",
            __FILE__, __LINE__, __func__, static_cast<const void*>( rtExtCommList ),
            static_cast<const void*>( notifier.ptr() ) );
   collection_->rtExtCommListIs( notifier );
}

void RtExtCommListLifeTimeNotifiee::handleRemove( Bex::DedupHandle* handle ) {
   auto* rtExtCommList = static_cast<RtExtCommClassificationList*>( handle );
   OVTRACE( traceBgpCommunityList, 9, "%s:%d %s handle: %p", __FILE__, __LINE__, __func__,
            static_cast<const void*>( rtExtCommList ) );
   const auto lifeTimeNotifier = rtExtCommList->lifeTimeNotifier();
   OVBGP_LIST_ASSERT( nullptr != lifeTimeNotifier, "__null != lifeTimeNotifier" );
   collection_->rtExtCommListDel( lifeTimeNotifier );
   rtExtCommList->lifeTimeNotifierIs( nullptr );
}

void RtExtCommListLifeTimeNotifiee::handleNotificationStop(
      const Kel::Ptr<const Bex::DedupHashTableBase>& table ) {
   OVTRACE( traceBgpCommunityList, 9, "%s:%d %s table: %p", __FILE__, __LINE__, __func__,
            static_cast<const void*>( table.ptr() ) );
   const std::vector<RtExtCommListLifeTimeNotifier::PtrConst> members(
         collection_->rtExtCommList().begin(), collection_->rtExtCommList().end() );
   for ( const auto& notifier : members ) {
      handleRemove( const_cast<RtExtCommClassificationList*>( notifier->rtExtCommListRawPtr() ) );
   }
}

} // namespace Routing::Bgp
