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
#include "OvBgp/OvBgpSerialize.h"
#include "OvFmt/DynamicBuffer.h"

namespace Routing::Bgp {

namespace {

constexpr U32 kWireOctets = 20;
// The attribute length field is 16 bits: this many members at most.
constexpr U32 kMaxWireMembers = 0xFFFF / kWireOctets;

// Store image of a list: its sorted flag and the offsets of its members'
// own records, in list order.
constexpr U32 kStowTag = 0x4549364C; // "EI6L"
constexpr U16 kStowVersion = 1;
struct StowedExtCommIp6List {
   KelStow::Anchor anchor;
   U32 sorted;
   U32 count;
   U64 members; // offset of `count` U64 offsets
};
static_assert( sizeof( StowedExtCommIp6List ) == 24, "the image is part of the store format" );

bool nullOrInterned( const Bex::DedupHandle* p ) noexcept {
   return p == nullptr || p->dedupState() != Bex::dedupHandleStateNeverDeduped();
}
bool nullOrNeverInterned( const Bex::DedupHandle* p ) noexcept {
   return p == nullptr || p->dedupState() == Bex::dedupHandleStateNeverDeduped();
}

void writeWireForm( U8* out, const ExtCommIp6Content& content ) noexcept {
   out[ 0 ] = content.typeOctet;
   out[ 1 ] = content.subtypeOctet;
   std::memcpy( out + 2, content.addr.data(), 16 );
   storeU16hton( out + 18, content.localAdmin );
}
void storeMemberWire( U8* out, const ExtCommIp6::PtrConst& comm ) noexcept {
   writeWireForm( out, comm->content() );
}
ExtCommIp6Content loadWire( const U8* in ) noexcept {
   return ExtCommIp6Content( in[ 0 ], in[ 1 ], Onet::Ip6Addr( in + 2 ), loadU16ntoh( in + 18 ) );
}

} // namespace

// ---- building ---------------------------------------------------------------

ExtCommIp6List::~ExtCommIp6List() = default;

ExtCommIp6List::Ptr ExtCommIp6List::ExtCommIp6ListIs() {
   return Kel::makeActivePtr<ExtCommIp6List>();
}

ExtCommIp6List::Ptr extCommIp6ListFactory() { return ExtCommIp6List::ExtCommIp6ListIs(); }

void ExtCommIp6List::commIs( const ExtCommIp6::PtrConst& comm ) {
   KEL_ASSERT_MSG( nullptr != comm, "__null != comm" );
   KEL_ASSERT_MSG( nullOrInterned( comm.ptr() ),
                   "__null == ( comm ) || ( comm )->dedupState() != "
                   "Bex::dedupHandleStateNeverDeduped()" );
   comm_.push_back( comm );
}

void ExtCommIp6List::append( const PtrConst& other ) {
   if ( !other ) {
      return;
   }
   // Copied first: other may be this very list.
   const std::vector<ExtCommIp6::PtrConst> members = other->comm_;
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
         slot = extCommIp6ClassificationListFactory( comm->classification() );
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
   if ( PtrConst found = lookupByMembers<ExtCommIp6List, kWireOctets>( *table->dedupTable(), comm_,
                                                                       storeMemberWire ) ) {
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
   Bex::DedupHandle::PtrConst interned = table->dedupTable()->dedup(
         Bex::DedupHandle::PtrConst( this ), []( Bex::DedupHandle* inserted ) {
            // An interned list keeps no spare room.
            auto* list = static_cast<ExtCommIp6List*>( inserted );
            list->comm_.shrink_to_fit();
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
   const SortedWireOctets<kWireOctets> wire( "IPV6_EXTENDED_COMMUNITIES", octets, length );
   auto same = []( const ExtCommIp6List& list, const SortedWireOctets<kWireOctets>& received ) {
      return sameValues( list.comm_, received, []( const auto& member, const U8* octets ) {
         U8 wire[ kWireOctets ];
         writeWireForm( wire, member->content() );
         return std::memcmp( wire, octets, kWireOctets ) == 0;
      } );
   };
   if ( PtrConst found = lookupWireOctets<ExtCommIp6List>( *table->dedupTable(), wire, same ) ) {
      return found;
   }
   Ptr list = ExtCommIp6ListIs();
   list->comm_.reserve( wire.count() );
   for ( size_t i = 0; i < wire.count(); ++i ) {
      list->commIs( ExtCommIp6::dedupContent( values, loadWire( wire.value( i ) ) ) );
   }
   return list->dedup( table );
}

U32 ExtCommIp6List::placementHash( const Kel::HashKey& key ) const {
   KEL_ASSERT_MSG( commVectorSorted_, "commVectorSorted()" );
   return placementHashOf( key, SortedWireOctets<kWireOctets>( comm_, storeMemberWire ).octets() );
}

U32 ExtCommIp6List::placementHashOf( const Kel::HashKey& key,
                                     std::span<const U8> sortedWireOctets ) noexcept {
   return U32( Kel::sipHash13( key, sortedWireOctets.data(), sortedWireOctets.size() ) );
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
   if ( count > kMaxWireMembers ) {
      throw Kel::RangeException( "ExtCommIp6List::serialize: more than 3276 communities" );
   }
   return serializedPathAttribute(
         extCommunityIp6, optionalTransitive, kWireOctets * count, [ & ]( U8* out ) {
            U32 written = 0;
            for ( const ExtCommIp6::PtrConst& comm : comm_ ) {
               if ( written == count ) {
                  break;
               }
               if ( sendNonTransExtComms || comm->transitive() ) {
                  writeWireForm( out + kWireOctets * written++, comm->content() );
               }
            }
            KEL_ASSERT_MSG( written == count, "written == count" );
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
   const std::ios_base::fmtflags flags = os.flags();
   if ( !list ) {
      os << "NULL";
   } else {
      writeExtCommIp6Members( os, list->commVector() );
   }
   os.flags( flags );
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

void ExtCommIp6ListSnapshot::classificationListIs(
      const ExtCommIp6ClassificationList::PtrConst& list ) {
   if ( !list ) {
      throw Kel::NullArgumentException( "ExtCommIp6ListSnapshot::classificationListIs: null list" );
   }
   classificationList_.insert_or_assign( list->classification(), list );
}

void ExtCommIp6ListSnapshot::commIs( const ExtCommIp6::PtrConst& comm ) {
   if ( !comm ) {
      throw Kel::NullArgumentException( "ExtCommIp6ListSnapshot::commIs: null community" );
   }
   comm_.insert_or_assign( comm->community(), comm );
}

ExtCommIp6::PtrConst ExtCommIp6ListSnapshot::commDel( const ExtCommIp6Content& content ) {
   auto it = comm_.find( content );
   if ( it == comm_.end() ) {
      return nullptr;
   }
   ExtCommIp6::PtrConst removed = std::move( it->second );
   comm_.erase( it );
   return removed;
}

// ---- store ------------------------------------------------------------------

U64 ExtCommIp6List::stow( KelStow::StoreManager* store ) const {
   std::vector<U64> members;
   members.reserve( comm_.size() );
   for ( const ExtCommIp6::PtrConst& comm : comm_ ) {
      members.push_back( comm->stow( store ) );
   }
   const U64 array = store->allocate( sizeof( U64 ) * std::max<size_t>( members.size(), 1 ), 8 );
   if ( !members.empty() ) {
      std::memcpy( store->translate( array, sizeof( U64 ) * members.size() ), members.data(),
                   sizeof( U64 ) * members.size() );
   }
   const U64 offset = store->stowRecord( kStowTag, kStowVersion, sizeof( StowedExtCommIp6List ) );
   auto* image = static_cast<StowedExtCommIp6List*>(
         store->translate( offset, sizeof( StowedExtCommIp6List ) ) );
   image->sorted = commVectorSorted_ ? 1 : 0;
   image->count = U32( members.size() );
   image->members = array;
   return offset;
}

ExtCommIp6List::Ptr ExtCommIp6List::destow( const void* stored, KelStow::StoreManager* store ) {
   const U64 offset = store->offsetOf( stored );
   const auto* image = static_cast<const StowedExtCommIp6List*>(
         store->checkedRecord( offset, kStowTag, kStowVersion, sizeof( StowedExtCommIp6List ) ) );
   Ptr list = extCommIp6ListFactory();
   list->commVectorSorted_ = image->sorted != 0;
   const U32 count = image->count;
   if ( count != 0 ) {
      // Translated (and so bounds-checked) before anything is reserved, so a
      // damaged count cannot ask for more memory than the store holds.
      const auto* members =
            static_cast<const U64*>( store->translate( image->members, sizeof( U64 ) * count ) );
      const Kel::Ptr<KelStow::StoreManager> storeRef( store );
      list->comm_.reserve( count );
      for ( U32 i = 0; i < count; ++i ) {
         list->comm_.push_back( ExtCommIp6::destow( store->translate( members[ i ] ), storeRef ) );
      }
   }
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
