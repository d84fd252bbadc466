#include "OvBgp/CommListDedupTable.h"

#include "OvBgp/OvBgpCommunityListImpl.h"
#include "Routing/Bgp/OvBgpGlobals.h"

namespace Routing::Bgp {

Bex::DedupHashTable::Ptr newListDedupHashTable() {
   return Bex::DedupHashTableUnorderedSet::DedupHashTableUnorderedSetIs(
         OvBgpGlobals::multiThreaded() );
}

void CommListDedupTableBase::initDedupTable() { dedupTable_ = newListDedupHashTable(); }

void CommListDedupTableBase::dumpState( const Bex::DumpContext& ctx, U32 indent ) const {
   dumpLine( ctx, indent, "DedupTable" );
   dedupTable_->dumpState( ctx, indent + 2 );
}

CommListDedupTable::Ptr CommListDedupTable::CommListDedupTableIs() {
   return Kel::makeActivePtr<CommListDedupTable>();
}

CommListDedupTable::Ptr commListDedupTableFactory() {
   return CommListDedupTable::CommListDedupTableIs();
}

LargeCommListDedupTable::Ptr LargeCommListDedupTable::LargeCommListDedupTableIs() {
   return Kel::makeActivePtr<LargeCommListDedupTable>();
}

LargeCommListDedupTable::Ptr largeCommListDedupTableFactory() {
   return LargeCommListDedupTable::LargeCommListDedupTableIs();
}

} // namespace Routing::Bgp
