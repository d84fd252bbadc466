#include "OvBgp/ExtCommIp6ListDedupTable.h"

#include "Kel/Exception.h"
#include "OvBgp/OvBgpCommunityListImpl.h"
#include "Routing/Bgp/OvBgpGlobals.h"

namespace Routing::Bgp {

ExtCommIp6ListDedupTable::ExtCommIp6ListDedupTable() { handleInitialized(); }

ExtCommIp6ListDedupTable::~ExtCommIp6ListDedupTable() = default;

void ExtCommIp6ListDedupTable::handleInitialized() {
   extCommIp6ClassificationListDedupTable_ =
         Bex::DedupHashTableUnorderedSet::DedupHashTableUnorderedSetIs(
               OvBgpGlobals::multiThreaded() );
}

ExtCommIp6ListDedupTable::Ptr ExtCommIp6ListDedupTable::ExtCommIp6ListDedupTableIs() {
   return Kel::makeActivePtr<ExtCommIp6ListDedupTable>();
}

ExtCommIp6ListDedupTable::Ptr extCommIp6ListDedupTableFactory() {
   return ExtCommIp6ListDedupTable::ExtCommIp6ListDedupTableIs();
}

void ExtCommIp6ListDedupTable::dumpState( const Kel::Ptr<const Bex::DumpContext>& ctx,
                                          U32 indent ) const {
   if ( !ctx ) {
      throw Kel::NullArgumentException( "ExtCommIp6ListDedupTable::dumpState: null context" );
   }
   dumpState( *ctx, indent );
}

void ExtCommIp6ListDedupTable::dumpState( const Bex::DumpContext& ctx, U32 indent ) const {
   dumpLine( ctx, indent, "ExtCommListDedupTable\n" );
   // The labels sit two deeper and the sets four; an indent that wraps to
   // 0 for the labels prints them bare.
   dumpLine( ctx, indent + 2, "extComm\n" );
   dedupTable()->dumpState( ctx, indent + 4 );
   dumpLine( ctx, indent + 2, "extCommClassification\n" );
   extCommIp6ClassificationListDedupTable_->dumpState( ctx, indent + 4 );
}

} // namespace Routing::Bgp
