#include "OvBgp/ExtCommList.h"

#include <algorithm>
#include <ostream>
#include <sstream>

#include "Acl/CommunityValue.h"
#include "Kel/Exception.h"
#include "KelStow/StoreManager.h"
#include "OvBgp/BgpPathAttributeEnums.h"
#include "OvBgp/ExtCommListDedupTable.h"
#include "OvBgp/ListSpare.h"
#include "OvBgp/ListWireOctets.h"
#include "OvBgp/OvBgpCommunityListImpl.h"
#include "OvBgp/OvBgpSerialize.h"
#include "OvFmt/DynamicBuffer.h"
#include "Routing/RouteMap/PosixRegex.h"

namespace Routing::Bgp {

namespace {

constexpr std::string_view kAttrsName = "Routing::Bgp::ExtCommList::CommVectorAttrs";
constexpr std::string_view kAttrsFlags[] = {
   "sorted",
   "hasLinkBandwidth",
   "hasLinkBandwidthWithUnspecifiedAsNumber",
   "hasOriginValidationState",
   "hasPolicyMatchStrepUICommunities",
   "hasPrunableValues",
};
constexpr std::string_view kSerializationName = "Routing::Bgp::ExtCommList::Serialization";
constexpr std::string_view kSerializationFlags[] = { "all", "transitive", "linkBandwidth",
                                                     "originAsValidity" };

constexpr U32 kStowTag = 0x45434C31; // "ECL1"
constexpr U16 kStowVersion = 1;

const char* const kNeverDeduped =
      "__null == ( this ) || ( this )->dedupState() != Bex::dedupHandleStateNeverDeduped()";

// An extended community as a list member: 8 wire octets.
struct ExtCommListWire {
   using Table = ExtCommListDedupTable;
   static constexpr size_t kOctets = 8;
   static constexpr U32 kAttrType = extCommunity;
   static constexpr const char* kAttribute = "EXTENDED_COMMUNITIES";
   static constexpr const char* kList = "ExtCommList";
   static constexpr const char* kAssertSource = commListAssertSource;
   static void store( U8* out, const ExtComm::PtrConst& comm ) noexcept {
      storeU64hton( out, comm->community() );
   }
   static bool sameAsWire( const ExtComm::PtrConst& comm, const U8* in ) noexcept {
      return comm->community() == loadU64ntoh( in );
   }
};

enum class MatchMode { plain = 0, classification = 1, ui = 2 };

bool matchExtCommList( const ExtCommList& list, MatchMode matchMode,
                       const Routing::RouteMap::PosixRegex* regex ) {
   OvFmt::DynamicBuffer<256> strVal;
   bool first = true;
   for ( const ExtComm::PtrConst& comm : list.commVector() ) {
      if ( matchMode == MatchMode::ui && !comm->policyMatchStrepUI() ) {
         continue;
      }
      if ( !first ) {
         strVal.append( ' ' );
      }
      first = false;
      switch ( matchMode ) {
         case MatchMode::plain:
            comm->appendStrepForPolicy( ExtComm::strepFormatDefault, strVal );
            break;
         case MatchMode::classification:
            comm->appendStrepForPolicy( ExtComm::strepFormatClassification, strVal );
            break;
         case MatchMode::ui:
            comm->appendStrepForPolicy( ExtComm::strepFormatClassification | ExtComm::strepFormatUI,
                                        strVal );
            break;
      }
   }
   OVBGP_LIST_ASSERT( !strVal.empty() || matchMode != MatchMode::ui,
                      "!strVal.empty() || matchMode != MatchMode::ui" );
   strVal.append( '\0' );
   return regex->execute( strVal.data() ) == 0;
}

} // namespace

// ---- flag sets ---------------------------------------------------------------

ExtCommList::CommVectorAttrs::CommVectorAttrs( const char* begin, const char* end )
      : bits_( Kel::denseBoolSetParse( kAttrsName, kAttrsFlags, begin, end ) ) {}

ExtCommList::Serialization::Serialization( const char* begin, const char* end )
      : bits_( Kel::denseBoolSetParse( kSerializationName, kSerializationFlags, begin, end ) ) {}

Kel::String valueToStrep( const ExtCommList::CommVectorAttrs& attrs ) {
   return Kel::denseBoolSetStrep( kAttrsName, kAttrsFlags, attrs.value() );
}

Kel::String valueToStrep( const ExtCommList::Serialization& serialization ) {
   return Kel::denseBoolSetStrep( kSerializationName, kSerializationFlags, serialization.value() );
}

// ---- building ---------------------------------------------------------------

ExtCommList::~ExtCommList() = default;

ExtCommList::Ptr ExtCommList::ExtCommListIs() { return ListSpare<ExtCommList>::make(); }

void ExtCommList::onZeroReferences() const noexcept {
   auto* self = const_cast<ExtCommList*>( this );
   // A list that made its parts is not kept: they would have to go too.
   if ( !classificationLists_.empty() ||
        !ListSpare<ExtCommList>::reclaim( self, self->comm_,
                                          [ self ] { self->totalTransitiveCommunities_ = 0; } ) ) {
      KelStow::DedupHandle::onZeroReferences();
   }
}

ExtCommList::Ptr ExtCommList::withRoomFor( U32 count ) {
   ExtCommList* list =
         newWithRoom<ExtCommList>( count * ( sizeof( ExtComm::PtrConst ) + sizeof( U64 ) ) );
   list->comm_.useRoom( roomOf<ExtComm::PtrConst>( list, count * sizeof( U64 ) ), count );
   list->hasNotificationActiveIs( true );
   return Ptr( list );
}

ExtCommList::Ptr extCommListFactory() { return ExtCommList::ExtCommListIs(); }

void ExtCommList::commIs( const ExtComm::PtrConst& comm ) { commIs( ExtComm::PtrConst( comm ) ); }

void ExtCommList::commIs( ExtComm::PtrConst&& comm ) {
   assertInternedMember( comm.ptr(), commListAssertSource );
   comm_.push_back( std::move( comm ) );
}

void ExtCommList::append( const PtrConst& other ) {
   if ( other ) {
      appendVector( other->comm_ );
   }
}

void ExtCommList::appendVector( std::span<const ExtComm::PtrConst> comms ) {
   comm_.reserve( comm_.size() + comms.size() );
   for ( const auto& comm : comms ) {
      commIs( comm );
   }
}

void ExtCommList::appendClassificationList( const ExtCommClassificationList::PtrConst& list ) {
   if ( list ) {
      appendVector( list->commVector() );
   }
}

// ---- reading ----------------------------------------------------------------

ExtComm::PtrConst ExtCommList::comm( U64 community ) const {
   return extCommVectorLookup( commVectorSorted(), comm_, community );
}

U32 ExtCommList::totalCommunities() const {
   OVBGP_LIST_ASSERT( commVectorSorted(), "commVectorSorted()" );
   return U32( comm_.size() );
}

ExtCommClassificationList::PtrConst ExtCommList::classificationList(
      ExtCommClassification classification ) const {
   OVBGP_LIST_ASSERT( nullOrInterned( this ), kNeverDeduped );
   return classificationLists_.lookup( classification );
}

// ---- finishing ----------------------------------------------------------------

void ExtCommList::createClassificationListVector( bool dedupMode ) {
   extCommVectorSort( comm_ );
   commVectorSortedIs( true );
   totalTransitiveCommunities_ = 0;
   if ( comm_.empty() ) {
      flagIs( CommVectorAttrs::hasLinkBandwidth, false );
      flagIs( CommVectorAttrs::hasLinkBandwidthWithUnspecifiedAsNumber, false );
      flagIs( CommVectorAttrs::hasPolicyMatchStrepUICommunities, false );
      return;
   }
   bool policyMatch = false;
   bool unspecifiedAs = false;
   bool linkBandwidthCreated = false;
   // Each part is made with room for exactly its members.
   U32 perClassification[ 256 ] = {};
   for ( const ExtComm::PtrConst& comm : comm_ ) {
      ++perClassification[ U8( comm->classification() ) ];
   }
   for ( const ExtComm::PtrConst& comm : comm_ ) {
      const ExtCommClassification c = comm->classification();
      ExtCommClassificationList* _classificationList = classificationLists_.lookupRaw( c );
      if ( _classificationList && dedupMode ) {
         OVBGP_LIST_ASSERT(
               nullOrNeverInterned( _classificationList ),
               "__null == ( _classificationList ) || ( _classificationList )->dedupState() "
               "== Bex::dedupHandleStateNeverDeduped()" );
      }
      if ( !_classificationList ) {
         using Part = ExtCommClassificationList;
         const U32 room = perClassification[ U8( c ) ];
         Part::Ptr created;
         if ( c == extCommClassificationRouteTarget ) {
            created = Part::withRoomFor<RtExtCommClassificationList>( room, c );
         } else if ( c == extCommClassificationLinkBandwidth ) {
            created = Part::withRoomFor<LinkBandwidthExtCommClassificationList>( room );
            linkBandwidthCreated = true;
         } else {
            created = Part::withRoomFor<Part>( room, c );
         }
         if ( !dedupMode ) {
            created->dedupStateIs( Bex::dedupHandleStateStowed() );
         }
         _classificationList = created.ptr();
         classificationLists_.insert( std::move( created ) );
      }
      _classificationList->commIs( comm );
      if ( dedupMode ) {
         totalTransitiveCommunities_ += comm->transitive();
         policyMatch |= comm->policyMatchStrepUI();
      }
      unspecifiedAs |= comm->isLinkBandwidthWithUnspecifiedAsNumber();
   }
   flagIs( CommVectorAttrs::hasPolicyMatchStrepUICommunities, policyMatch );
   flagIs( CommVectorAttrs::hasLinkBandwidthWithUnspecifiedAsNumber, unspecifiedAs );
   flagIs( CommVectorAttrs::hasLinkBandwidth, linkBandwidthCreated );
   if ( !dedupMode ) {
      // A rebuilt list's parts are complete without a table: mark them sorted.
      for ( const auto& list : classificationLists_ ) {
         const_cast<ExtCommClassificationList*>( list.ptr() )->commVectorSortedIs( true );
      }
   }
}

ExtCommList::PtrConst ExtCommList::dedup( const ExtCommListDedupTable* table ) {
   OVBGP_LIST_ASSERT( nullOrNeverInterned( this ),
                      "__null == ( this ) || ( this )->dedupState() == "
                      "Bex::dedupHandleStateNeverDeduped()" );
   // Most lists a path brings are interned already: find the one by its
   // members before building and interning any part.
   extCommVectorSort( comm_ );
   U32 placement;
   if ( PtrConst found = lookupByMembers<ExtCommList, 8>( *table->dedupTable(), comm_,
                                                          ExtCommListWire::store, placement ) ) {
      return found;
   }
   createClassificationListVector( true );
   bool prunable = false, linkBandwidth = false, originValidation = false;
   for ( auto iter = classificationLists_.begin(); iter != classificationLists_.end(); ++iter ) {
      const ExtCommClassificationList* _classificationList = iter->ptr();
      prunable |= _classificationList->hasPrunableValues();
      linkBandwidth |= _classificationList->classification() == extCommClassificationLinkBandwidth;
      originValidation |=
            _classificationList->classification() == extCommClassificationOriginValidationState;
      if ( _classificationList->everDeduped() ) {
         OVBGP_LIST_ASSERT( _classificationList->commVectorSorted(),
                            "_classificationList->commVectorSorted()" );
         continue;
      }
      auto* building = const_cast<ExtCommClassificationList*>( _classificationList );
      classificationLists_.replace( iter, building->dedup( table ) );
   }
   flagIs( CommVectorAttrs::hasPrunableValues, prunable );
   if ( linkBandwidth ) {
      flagIs( CommVectorAttrs::hasLinkBandwidth, true );
   }
   flagIs( CommVectorAttrs::hasOriginValidationState, originValidation );
   Bex::DedupHandle::PtrConst interned = table->dedupTable()->dedupAt(
         Bex::DedupHandle::PtrConst( this ), placement,
         []( Bex::DedupHandle* h ) { static_cast<ExtCommList*>( h )->finishMembers(); } );
   return Kel::ptrCast<const ExtCommList>( std::move( interned ) );
}

void ExtCommList::finishMembers() {
   const bool inRoom = comm_.inRoom();
   const size_t room = comm_.capacity();
   comm_.trim();
   if ( inRoom && comm_.size() == room ) {
      static_assert( sizeof( ExtCommList ) % alignof( U64 ) == 0 );
      U64* contents = roomOf<U64>( this );
      for ( size_t i = 0; i < room; ++i ) {
         contents[ i ] = comm_[ i ]->community();
      }
      userDataIs( userData() | kContentsFlag );
   }
}

ExtCommList::PtrConst ExtCommList::prune( const ExtCommListDedupTable* table ) const {
   if ( !hasPrunableValues() ) {
      return PtrConst( this );
   }
   OVBGP_LIST_ASSERT( isDeduped(), "isDeduped()" );
   Ptr pruned = extCommListFactory();
   for ( const auto& list : classificationLists_ ) {
      if ( list->hasPrunableValues() ) {
         pruned->appendVector( list->prune() );
      } else {
         pruned->appendClassificationList( list );
      }
   }
   if ( pruned->empty() ) {
      return nullptr;
   }
   return pruned->dedup( table );
}

ExtCommList::PtrConst ExtCommList::dedupOctets( const ExtCommListDedupTable* table,
                                                const ExtCommDedupTable* values, const U8* octets,
                                                size_t length ) {
   if ( !table || !values ) {
      throw Kel::NullArgumentException( "ExtCommList::dedupOctets: null table" );
   }
   return dedupWireOctets<ExtCommList, ExtCommListWire>(
         table, octets, length, [ values ]( const U8* in ) {
            return ExtComm::dedupContent( values, ExtCommContent( loadU64ntoh( in ) ) );
         } );
}

U32 ExtCommList::placementHash( const Kel::HashKey& key ) const {
   OVBGP_LIST_ASSERT( commVectorSorted(), "commVectorSorted()" );
   return membersPlacementHash<ExtCommListWire>( key, comm_ );
}

U32 ExtCommList::hash() const {
   return internedListHash( classificationLists_.begin(), classificationLists_.end() );
}

bool ExtCommList::compare( const Bex::DedupHandle* other ) const {
   return classificationLists_ == static_cast<const ExtCommList*>( other )->classificationLists_;
}

// ---- wire form ----------------------------------------------------------------

ExtCommList::Serialization ExtCommList::serialization( bool includeNonTransitive,
                                                       bool includeLinkBandwidth,
                                                       bool includeOriginAsValidity ) {
   if ( includeNonTransitive ) {
      return Serialization::all;
   }
   unsigned s = Serialization::transitive;
   s |= includeLinkBandwidth ? Serialization::linkBandwidth : 0;
   s |= includeOriginAsValidity ? Serialization::originAsValidity : 0;
   return Serialization( s );
}

bool ExtCommList::serializable( const ExtComm::PtrConst& comm, Serialization s ) {
   return s.has( Serialization::all ) ||
          ( s.has( Serialization::transitive ) && comm->transitive() ) ||
          ( s.has( Serialization::linkBandwidth ) &&
            comm->classification() == extCommClassificationLinkBandwidth ) ||
          ( s.has( Serialization::originAsValidity ) &&
            comm->classification() == extCommClassificationOriginValidationState );
}

U32 ExtCommList::serializableCommunities( Serialization s ) const {
   if ( s.has( Serialization::all ) ) {
      return totalCommunities();
   }
   U32 count = 0;
   count += s.has( Serialization::transitive ) ? totalTransitiveCommunities_ : 0;
   count += ( s.has( Serialization::linkBandwidth ) && hasLinkBandwidth() ) ? 1 : 0;
   count += ( s.has( Serialization::originAsValidity ) && hasOriginValidationState() ) ? 1 : 0;
   return count;
}

Kel::String ExtCommList::serialize( Serialization s ) const {
   const U32 count = serializableCommunities( s );
   if ( count == 0 ) {
      return {};
   }
   // The attribute counts one link bandwidth and one validation state at
   // most, so the first of each kind is the one sent.
   bool linkBandwidthSent = false, validationSent = false;
   return serializedList<ExtCommListWire>( count, comm_, [ & ]( const ExtComm::PtrConst& comm ) {
      if ( s.has( Serialization::all ) ||
           ( s.has( Serialization::transitive ) && comm->transitive() ) ) {
         return true;
      }
      if ( s.has( Serialization::linkBandwidth ) && !linkBandwidthSent &&
           comm->classification() == extCommClassificationLinkBandwidth ) {
         return linkBandwidthSent = true;
      }
      if ( s.has( Serialization::originAsValidity ) && !validationSent &&
           comm->classification() == extCommClassificationOriginValidationState ) {
         return validationSent = true;
      }
      return false;
   } );
}

// ---- matching and text --------------------------------------------------------

bool ExtCommList::matchCommunitiesRegex( const Routing::RouteMap::PosixRegex* regex ) const {
   if ( matchExtCommList( *this, MatchMode::plain, regex ) ||
        matchExtCommList( *this, MatchMode::classification, regex ) ) {
      return true;
   }
   return hasPolicyMatchStrepUICommunities() && matchExtCommList( *this, MatchMode::ui, regex );
}

Kel::String ExtCommList::toStrep() const {
   std::ostringstream os;
   os << this;
   return os.str();
}

std::ostream& operator<<( std::ostream& os, const ExtCommList* list ) {
   if ( !list ) {
      return os << "NULL";
   }
   writeMembers( os, list->commVector() );
   return os;
}

std::ostream& operator<<( std::ostream& os, const ExtCommList& list ) { return os << &list; }

Kel::String ExtCommList::getStringValue( const Acl::CommunityValue& value ) {
   OvFmt::DynamicBuffer<32> buf;
   buf.appendDecimal( value.localData1() );
   buf.append( ':' );
   buf.appendDecimal( value.localData2() );
   return buf.str();
}

// ---- snapshots ------------------------------------------------------------------

Kel::Ptr<ExtCommListSnapshot> ExtCommList::snapshot() const {
   auto snapshot = ExtCommListSnapshot::ExtCommListSnapshotIs();
   for ( const auto& list : classificationLists_ ) {
      snapshot->classificationListIs( list );
   }
   for ( const auto& comm : comm_ ) {
      snapshot->commIs( comm );
   }
   return snapshot;
}

ExtCommListSnapshot::Ptr ExtCommListSnapshot::ExtCommListSnapshotIs() {
   return Kel::makeActivePtr<ExtCommListSnapshot>();
}

// ---- store ------------------------------------------------------------------------

U64 ExtCommList::stow( KelStow::StoreManager* store ) const {
   const U64 members = stowMembers( store, comm_ );
   return stowList( store, kStowTag, kStowVersion, commVectorSorted(), U32( comm_.size() ),
                    members );
}

ExtCommList::Ptr ExtCommList::destow( const void* stored, KelStow::StoreManager* store ) {
   U64 at;
   const StowedList* image = destowList( store, stored, kStowTag, kStowVersion, &at );
   Ptr list = extCommListFactory();
   list->commVectorSortedIs( image->flags != 0 );
   destowMembers( store, at, *image, &list->comm_,
                  [ store ]( const void* member ) { return ExtComm::destow( member, store ); } );
   list->createClassificationListVector( false );
   list->dedupStateIs( Bex::dedupHandleStateStowed() );
   return list;
}

} // namespace Routing::Bgp
