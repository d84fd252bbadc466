#include "OvBgp/OvBgpCommunity.h"

#include "Bex/DumpContext.h"
#include "OvBgp/NotifyingRouteTargetList.h"
#include "OvBgp/Parse/ExtComm.h"
#include "Routing/Bgp/OvBgpGlobals.h"
#include "Routing/Bgp/RouteTarget.h"

namespace Routing::Bgp {

ExtComm::PtrConst ExtComm::dedupContentMiss( const ExtCommDedupTable* table,
                                             ExtCommContent content ) {
   PtrConst candidate = table->parseExtCommRuleRawPtr()->parseExtendedCommunity( content );
   Bex::DedupHandle::PtrConst dedupHandle = table->dedupTable()->dedup( candidate );
   KEL_ASSERT_MSG( dedupHandle, "dedupHandle" );
   return Kel::ptrCast<const ExtComm>( std::move( dedupHandle ) );
}

// ---- ExtCommLifeTimeNotifiee --------------------------------------------

ExtCommLifeTimeNotifiee::ExtCommLifeTimeNotifiee(
      const Kel::Ptr<NotifyingRouteTargetList>& producerRtList )
      : producerRtList_( producerRtList ) {}

ExtCommLifeTimeNotifiee::~ExtCommLifeTimeNotifiee() = default;

void ExtCommLifeTimeNotifiee::handleInsert( const Bex::DedupHandle::Ptr& handle ) {
   const auto* extComm = static_cast<const ExtComm*>( handle.ptr() );
   if ( extComm->classification() == extCommClassificationRouteTarget ) {
      producerRtList_->rtIs( RouteTarget( extComm->community() ) );
   }
}

void ExtCommLifeTimeNotifiee::handleRemove( Bex::DedupHandle* handle ) {
   const auto* extComm = static_cast<const ExtComm*>( handle );
   if ( extComm->classification() == extCommClassificationRouteTarget ) {
      producerRtList_->rtDel( RouteTarget( extComm->community() ) );
   }
}

void ExtCommLifeTimeNotifiee::handleNotificationStop(
      const Kel::Ptr<const Bex::DedupHashTableBase>& ) {
   producerRtList_->rtDelAll();
}

// ---- ExtCommDedupTable --------------------------------------------------

ExtCommDedupTable::ExtCommDedupTable( const Kel::Ptr<const BgpParseExtendedCommunityRule>& rule )
      : parseExtCommRule_( rule ) {
   handleInitialized();
}

ExtCommDedupTable::~ExtCommDedupTable() {
   // Values may outlive the table; the route-target set must not claim them.
   if ( dedupTable_ ) {
      dedupTable_->notificationStop();
   }
}

void ExtCommDedupTable::handleInitialized() {
   // Keyed: a value's whole identity is its 64-bit content.
   dedupTable_ = Bex::KeyedDedupHashTable::KeyedDedupHashTableIs( OvBgpGlobals::multiThreaded() );
   producerRtList_ = notifyingRouteTargetListFactory();
   lifeTimeNotifiee_ = Kel::makeActivePtr<ExtCommLifeTimeNotifiee>( producerRtList_ );
   dedupTable_->lifeTimeNotifieeIs( lifeTimeNotifiee_ );
}

Kel::Ptr<const BgpParseExtendedCommunityRule> ExtCommDedupTable::parseExtCommRule() const {
   return parseExtCommRule_;
}

void ExtCommDedupTable::dumpState( const Bex::DumpContext& ctx, U32 indentCount ) const {
   if ( indentCount ) {
      ctx.printf( "%*cExtCommDedupTable\n", int( indentCount ), ' ' );
   } else {
      ctx.printf( "ExtCommDedupTable\n" );
   }
   dedupTable_->dumpState( ctx, indentCount + 2 );
   producerRtList_->dumpState( ctx, indentCount + 2 );
}

ExtCommDedupTable::Ptr extCommDedupTableFactory(
      const Kel::Ptr<const BgpParseExtendedCommunityRule>& parseExtCommRule ) {
   return Kel::makeActivePtr<ExtCommDedupTable>( parseExtCommRule );
}

} // namespace Routing::Bgp
