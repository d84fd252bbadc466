#include "OvBgp/ExtCommIp6List.h"

#include <algorithm>
#include <cstring>
#include <ostream>
#include <sstream>

#include "Kel/Assert.h"
#include "Kel/Exception.h"
#include "Kel/Hash.h"
#include "KelStow/StoreManager.h"
#include "OvBgp/BgpPathAttributeEnums.h"
#include "OvBgp/ExtCommIp6ListDedupTable.h"
#include "OvBgp/ListWireOctets.h"
#include "OvBgp/OvBgpCommunityListImpl.h"
#include "OvBgp/OvBgpSerialize.h"
#include "OvFmt/DynamicBuffer.h"

namespace Routing::Bgp {

namespace {

constexpr U32 kStowTag = 0x4549364C; // "EI6L"
constexpr U16 kStowVersion = 1;

ExtCommIp6Content loadWire( const U8* in ) noexcept {
   return ExtCommIp6Content( in[ 0 ], in[ 1 ], Onet::Ip6Addr( in + 2 ), loadU16ntoh( in + 18 ) );
}

// An IPv6-address-specific extended community as a list member: 20 wire
// octets.
struct ExtCommIp6ListWire {
   using Table = ExtCommIp6ListDedupTable;
   static constexpr size_t kOctets = 20;
   static constexpr U32 kAttrType = extCommunityIp6;
   static constexpr const char* kAttribute = "IPV6_EXTENDED_COMMUNITIES";
   static constexpr const char* kList = "ExtCommIp6List";
   static constexpr const char* kAssertSource = "OvBgp/ExtCommIp6List";
   static void store( U8* out, const ExtCommIp6::PtrConst& comm ) noexcept {
      comm->content().storeWire( out );
   }
   static bool sameAsWire( const ExtCommIp6::PtrConst& comm, const U8* in ) noexcept {
      U8 wire[ kOctets ];
      store( wire, comm );
      return std::memcmp( wire, in, kOctets ) == 0;
   }
};

} // namespace

// ---- building ---------------------------------------------------------------

ExtCommIp6List::~ExtCommIp6List() = default;

ExtCommIp6List::Ptr ExtCommIp6List::ExtCommIp6ListIs() {
   return Kel::makeActivePtr<ExtCommIp6List>();
}

ExtCommIp6List::Ptr ExtCommIp6List::withRoomFor( U32 count ) {
   auto* list = newWithRoom<ExtCommIp6List>( count * sizeof( ExtCommIp6::PtrConst ) );
   list->comm_.useRoom( roomOf<ExtCommIp6::PtrConst>( list ), count );
   list->hasNotificationActiveIs( true );
   return Ptr( list );
}

ExtCommIp6List::Ptr extCommIp6ListFactory() { return ExtCommIp6List::ExtCommIp6ListIs(); }

void ExtCommIp6List::commIs( const ExtCommIp6::PtrConst& comm ) {
   assertInternedMember( comm.ptr(), ExtCommIp6ListWire::kAssertSource );
   comm_.push_back( comm );
}

void ExtCommIp6List::append( const PtrConst& other ) {
   if ( !other ) {
      return;
   }
   // Copied first: other may be this very list.
   const std::vector<ExtCommIp6::PtrConst> members( other->comm_.begin(), other->comm_.end() );
   comm_.reserve( comm_.size() + members.size() );
   for ( const ExtCommIp6::PtrConst& comm : members ) {
      commIs( comm );
   }
}

void ExtCommIp6List::appendClassificationList(
      const ExtCommIp6ClassificationList::PtrConst& list ) {
   if ( !list ) {
      return;
   }
   comm_.reserve( comm_.size() + list->comms() );
   for ( const ExtCommIp6::PtrConst& comm : list->commVector() ) {
      commIs( comm );
   }
}

// ---- finishing --------------------------------------------------------------

void ExtCommIp6List::buildClassificationLists( bool forTable ) {
   totalTransitiveCommunities_ = 0;
   // Each part is made with room for exactly its members.
   U32 perClassification[ 256 ] = {};
   for ( const ExtCommIp6::PtrConst& comm : comm_ ) {
      ++perClassification[ U8( comm->classification() ) ];
   }
   for ( const ExtCommIp6::PtrConst& comm : comm_ ) {
      const size_t c = comm->classification();
      if ( c >= classificationList_.size() ) {
         classificationList_.resize( c + 1 );
      }
      ExtCommIp6ClassificationList::PtrConst& slot = classificationList_[ c ];
      if ( forTable ) {
         const ExtCommIp6ClassificationList* _classificationList = slot.ptr();
         KEL_ASSERT_MSG(
               nullOrNeverInterned( _classificationList ),
               "__null == ( _classificationList ) || ( _classificationList )->dedupState() "
               "== Bex::dedupHandleStateNeverDeduped()" );
      }
      if ( !slot ) {
         slot = ExtCommIp6ClassificationList::withRoomFor( comm->classification(),
                                                           perClassification[ U8( c ) ] );
      }
      // Only this list holds the sublist until it is interned or published.
      const_cast<ExtCommIp6ClassificationList*>( slot.ptr() )->commIs( comm );
      totalTransitiveCommunities_ += comm->transitive() ? 1 : 0;
   }
}

ExtCommIp6List::PtrConst ExtCommIp6List::dedup( const ExtCommIp6ListDedupTable* table ) {
   KEL_ASSERT_MSG( nullOrNeverInterned( this ),
                   "__null == ( this ) || ( this )->dedupState() == "
                   "Bex::dedupHandleStateNeverDeduped()" );
   extCommIp6VectorSort( comm_ );
   commVectorSorted_ = true;
   // A list interned already is found by its members before any part is
   // built.
   U32 placement;
   if ( PtrConst found = lookupByMembers<ExtCommIp6List, ExtCommIp6ListWire::kOctets>(
              *table->dedupTable(), comm_, ExtCommIp6ListWire::store, placement ) ) {
      return found;
   }
   buildClassificationLists( true );
   for ( ExtCommIp6ClassificationList::PtrConst& slot : classificationList_ ) {
      const ExtCommIp6ClassificationList* _classificationList = slot.ptr();
      if ( !_classificationList ) {
         continue;
      }
      if ( _classificationList->everDeduped() ) {
         KEL_ASSERT_MSG( _classificationList->commVectorSorted(),
                         "_classificationList->commVectorSorted()" );
         continue;
      }
      slot = const_cast<ExtCommIp6ClassificationList*>( _classificationList )->dedup( table );
   }
   Bex::DedupHandle::PtrConst interned = table->dedupTable()->dedupAt(
         Bex::DedupHandle::PtrConst( this ), placement, []( Bex::DedupHandle* inserted ) {
            // An interned list keeps no spare room.
            auto* list = static_cast<ExtCommIp6List*>( inserted );
            list->comm_.trim();
            list->classificationList_.shrink_to_fit();
         } );
   return Kel::ptrCast<const ExtCommIp6List>( std::move( interned ) );
}

ExtCommIp6List::PtrConst ExtCommIp6List::dedupOctets( const ExtCommIp6ListDedupTable* table,
                                                      const ExtCommIp6DedupTable* values,
                                                      const U8* octets, size_t length ) {
   if ( !table || !values ) {
      throw Kel::NullArgumentException( "ExtCommIp6List::dedupOctets: null table" );
   }
   return dedupWireOctets<ExtCommIp6List, ExtCommIp6ListWire>(
         table, octets, length, [ values ]( const U8* in ) {
            return ExtCommIp6::dedupContent( values, loadWire( in ) );
         } );
}

U32 ExtCommIp6List::placementHash( const Kel::HashKey& key ) const {
   KEL_ASSERT_MSG( commVectorSorted_, "commVectorSorted()" );
   return membersPlacementHash<ExtCommIp6ListWire>( key, comm_ );
}

// ---- reading ----------------------------------------------------------------

ExtCommIp6::PtrConst ExtCommIp6List::comm( const ExtCommIp6Content& content ) const {
   KEL_ASSERT_MSG( commVectorSorted_, "commVectorSorted" );
   return extCommIp6VectorLookup( comm_, content );
}

U32 ExtCommIp6List::totalCommunities() const {
   KEL_ASSERT_MSG( commVectorSorted_, "commVectorSorted()" );
   return U32( comm_.size() );
}

ExtCommIp6ClassificationList::PtrConst ExtCommIp6List::classificationList(
      ExtCommClassification c ) const {
   KEL_ASSERT_MSG( nullOrInterned( this ),
                   "__null == ( this ) || ( this )->dedupState() != "
                   "Bex::dedupHandleStateNeverDeduped()" );
   return size_t( c ) < classificationList_.size() ? classificationList_[ c ] : nullptr;
}

U32 ExtCommIp6List::hash() const {
   U32 h = 0;
   for ( const ExtCommIp6ClassificationList::PtrConst& slot : classificationList_ ) {
      const ExtCommIp6ClassificationList* p = slot.ptr();
      if ( !p ) {
         continue;
      }
      KEL_ASSERT_MSG(
            nullptr == ( p ) || ( p )->dedupState() != Bex::dedupHandleStateNeverDeduped(),
            "__null == ( p ) || ( p )->dedupState() != Bex::dedupHandleStateNeverDeduped()" );
      h = Kel::oneAtATimePointer( h, p );
   }
   return Kel::oneAtATimeFinal( h );
}

bool ExtCommIp6List::compare( const Bex::DedupHandle* other ) const {
   const auto* rhs = static_cast<const ExtCommIp6List*>( other );
   return classificationList_ == rhs->classificationList_;
}

Kel::Ptr<ExtCommIp6ListSnapshot> ExtCommIp6List::commSnapshot() const {
   auto snapshot = extCommIp6ListSnapshotFactory();
   for ( const ExtCommIp6ClassificationList::PtrConst& list : classificationList_ ) {
      if ( list ) {
         snapshot->classificationListIs( list );
      }
   }
   for ( const ExtCommIp6::PtrConst& comm : comm_ ) {
      snapshot->commIs( comm );
   }
   return snapshot;
}

// ---- wire form and texts ----------------------------------------------------

Kel::String ExtCommIp6List::serialize( bool sendNonTransExtComms ) const {
   const U32 count = sendNonTransExtComms ? totalCommunities() : totalTransitiveCommunities_;
   if ( count == 0 ) {
      return {};
   }
   return serializedList<ExtCommIp6ListWire>( count, comm_,
                                              [ & ]( const ExtCommIp6::PtrConst& comm ) {
                                                 return sendNonTransExtComms || comm->transitive();
                                              } );
}

Kel::String ExtCommIp6List::toStrep() const {
   std::ostringstream os;
   os << this;
   return os.str();
}

Kel::String ExtCommIp6List::commsStringForm() const {
   OvFmt::DynamicBuffer<256> buf;
   for ( const ExtCommIp6::PtrConst& comm : comm_ ) {
      comm->appendStrepForPolicy( ExtCommIp6::strepFormatClassification, buf );
      buf.append( ' ' );
   }
   return buf.str();
}

std::ostream& operator<<( std::ostream& os, const ExtCommIp6List* list ) {
   if ( !list ) {
      return os << "NULL";
   }
   writeMembers( os, list->commVector() );
   return os;
}

std::ostream& operator<<( std::ostream& os, const ExtCommIp6List& list ) { return os << &list; }

// ---- snapshot ---------------------------------------------------------------

ExtCommIp6ListSnapshot::Ptr ExtCommIp6ListSnapshot::ExtCommIp6ListSnapshotIs() {
   return Kel::makeActivePtr<ExtCommIp6ListSnapshot>();
}

ExtCommIp6ListSnapshot::Ptr extCommIp6ListSnapshotFactory() {
   return ExtCommIp6ListSnapshot::ExtCommIp6ListSnapshotIs();
}

// ---- store ------------------------------------------------------------------

U64 ExtCommIp6List::stow( KelStow::StoreManager* store ) const {
   const U64 members = stowMembers( store, comm_ );
   return stowList( store, kStowTag, kStowVersion, commVectorSorted_ ? 1 : 0, U32( comm_.size() ),
                    members );
}

ExtCommIp6List::Ptr ExtCommIp6List::destow( const void* stored, KelStow::StoreManager* store ) {
   U64 offset;
   const StowedList* image = destowList( store, stored, kStowTag, kStowVersion, &offset );
   Ptr list = extCommIp6ListFactory();
   list->commVectorSorted_ = image->flags != 0;
   const Kel::Ptr<KelStow::StoreManager> storeRef( store );
   destowMembers( store, offset, *image, &list->comm_, [ &storeRef ]( const void* member ) {
      return ExtCommIp6::destow( member, storeRef );
   } );
   if ( !list->commVectorSorted_ ) {
      return list; // still to be interned
   }
   const bool ascending =
         std::adjacent_find( list->comm_.begin(), list->comm_.end(),
                             []( const ExtCommIp6::PtrConst& a, const ExtCommIp6::PtrConst& b ) {
                                return !( a->community() < b->community() );
                             } ) == list->comm_.end();
   if ( !ascending ) {
      throw KelStow::StoreException( "record at offset " + std::to_string( offset ) +
                                     ": members of a sorted list are not in content order" );
   }
   list->buildClassificationLists( false );
   for ( const ExtCommIp6ClassificationList::PtrConst& slot : list->classificationList_ ) {
      if ( slot ) {
         auto* rebuilt = const_cast<ExtCommIp6ClassificationList*>( slot.ptr() );
         rebuilt->commVectorSortedIs( true );
         rebuilt->dedupStateIs( Bex::dedupHandleStateStowed() );
      }
   }
   list->dedupStateIs( Bex::dedupHandleStateStowed() );
   return list;
}

} // namespace Routing::Bgp
