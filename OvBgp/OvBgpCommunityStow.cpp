#include "OvBgp/OvBgpCommunity.h"

#include "KelStow/StoreManager.h"

namespace Routing::Bgp {

namespace {

// Store image of one extended community.
constexpr U32 kExtCommStowTag = 0x45434D31; // "ECM1"
constexpr U16 kExtCommStowVersion = 1;
struct StowedExtComm {
   KelStow::Anchor anchor;
   U32 classification;
   U32 reserved;
   U64 content;
};

} // namespace

U64 ExtComm::stow( KelStow::StoreManager* store ) const {
   const U64 offset =
         store->stowRecord( kExtCommStowTag, kExtCommStowVersion, sizeof( StowedExtComm ) );
   auto* image = static_cast<StowedExtComm*>( store->translate( offset ) );
   image->classification = U32( classification() );
   image->content = content_.value;
   return offset;
}

ExtComm::Ptr ExtComm::destow( const void* stored, KelStow::StoreManager* store ) {
   const auto* image = static_cast<const StowedExtComm*>(
         store->checkedRecord( store->offsetOf( stored ), kExtCommStowTag, kExtCommStowVersion,
                               sizeof( StowedExtComm ) ) );
   Ptr value = extCommFactory( ExtCommClassification( image->classification ),
                               ExtCommContent( image->content ) );
   value->dedupStateIs( Bex::dedupHandleStateStowed() );
   return value;
}

} // namespace Routing::Bgp
