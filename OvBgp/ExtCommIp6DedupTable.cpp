#include "OvBgp/ExtCommIp6DedupTable.h"

#include "Kel/Assert.h"
#include "Kel/Exception.h"
#include "OvBgp/ExtCommIp6.h"
#include "OvBgp/Parse/ExtCommRules.h"
#include "Routing/Bgp/OvBgpGlobals.h"

namespace Routing::Bgp {

// ---- BasicDedupTable_ ------------------------------------------------------

BasicDedupTable_::BasicDedupTable_()
      : dedupTable_( Bex::DedupHashTableUnorderedSet::DedupHashTableUnorderedSetIs(
              OvBgpGlobals::multiThreaded() ) ) {}

BasicDedupTable_::~BasicDedupTable_() = default;

// ---- ExtCommIp6DedupTable ---------------------------------------------------

ExtCommIp6DedupTable::ExtCommIp6DedupTable(
      const Kel::Ptr<const BgpParseExtendedCommunityRule>& rule )
      : parseExtCommRule_( rule ) {
   if ( !rule ) {
      throw Kel::NullArgumentException( "ExtCommIp6DedupTable: null parse rule" );
   }
}

ExtCommIp6DedupTable::~ExtCommIp6DedupTable() = default;

ExtCommIp6DedupTable::Ptr ExtCommIp6DedupTable::ExtCommIp6DedupTableIs(
      const Kel::Ptr<const BgpParseExtendedCommunityRule>& rule ) {
   return Kel::makeActivePtr<ExtCommIp6DedupTable>( rule );
}

ExtCommIp6DedupTable::Ptr extCommIp6DedupTableFactory(
      const Kel::Ptr<const BgpParseExtendedCommunityRule>& rule ) {
   return ExtCommIp6DedupTable::ExtCommIp6DedupTableIs( rule );
}

Kel::Ptr<const BgpParseExtendedCommunityRule> ExtCommIp6DedupTable::parseExtCommRule() const {
   return parseExtCommRule_;
}

// ---- ExtCommIp6::dedupContent ---------------------------------------------

ExtCommIp6::PtrConst ExtCommIp6::dedupContent( const ExtCommIp6DedupTable* table,
                                               const ExtCommIp6Content& content ) {
   // The value places itself by the same function, so the lookup by
   // content and the insert by handle probe the same slot.
   const Bex::DedupHashTable::Ptr& set = table->dedupTable();
   const U32 h = content.placementHash( set->hashKey() );
   Bex::DedupHandle::PtrConst found = set->lookupIf( h, [ & ]( const Bex::DedupHandle* member ) {
      return static_cast<const ExtCommIp6*>( member )->content_ == content;
   } );
   if ( found ) {
      return Kel::ptrCast<const ExtCommIp6>( std::move( found ) );
   }
   PtrConst candidate = table->parseExtCommRuleRawPtr()->parseExtendedCommunityIp6( content );
   // Another thread may have interned the same content since the lookup;
   // dedup() then hands back that one and the candidate dies with us.
   Bex::DedupHandle::PtrConst dedupHandle = set->dedup( candidate );
   KEL_ASSERT_MSG( dedupHandle, "dedupHandle" );
   return Kel::ptrCast<const ExtCommIp6>( std::move( dedupHandle ) );
}

} // namespace Routing::Bgp
