// OvBgp/ValueListImpl.h: the members of ValueList (OvBgp/ValueList.h),
// included by the source of each list kind, which instantiates them for its
// Wire struct. Private: users never include it.
//
//   #include "OvBgp/ValueListImpl.h"
//   template class ValueList<CommList, CommListWire>;
#pragma once

#include <ostream>
#include <string>

#include "Kel/Exception.h"
#include "Kel/Hash.h"
#include "KelStow/StoreManager.h"
#include "OvBgp/ListSpare.h"
#include "OvBgp/ListWireOctets.h"
#include "OvBgp/OvBgpCommunityListImpl.h"
#include "OvBgp/ValueList.h"
#include "OvFmt/DynamicBuffer.h"

namespace Routing::Bgp {

namespace valueList {

// Local storage of the text buffers: a typical list prints in well under
// this.
constexpr size_t kTextLocal = 256;

// The values a list being built has room for at first: a typical list at
// once rather than by doubling (an interned list is trimmed to its size
// anyway, and one that finds its equal is dropped).
constexpr size_t kFirstRoom = 16;

template<class Wire, class Value>
U32 hash( std::span<const Value> values ) noexcept {
   if ( values.empty() ) {
      return 0;
   }
   U32 h = 0;
   for ( const Value& value : values ) {
      h = Wire::hashInto( h, value );
   }
   return Kel::oneAtATimeFinal( h );
}

// same(): a loop rather than std::equal, which becomes a memcmp call on
// every hit's check.
template<class Value>
bool same( std::span<const Value> a, std::span<const Value> b ) noexcept {
   if ( a.size() != b.size() ) {
      return false;
   }
   for ( size_t i = 0; i < a.size(); ++i ) {
      if ( !( a[ i ] == b[ i ] ) ) {
         return false;
      }
   }
   return true;
}

template<class Wire, class Value>
void appendText( OvFmt::DynamicBufferInterface& buffer, const ListMembers<Value>& values ) {
   appendJoined( buffer, std::span<const Value>( values ), Wire::format );
}

} // namespace valueList

template<class Wire>
U32 ValueListContent<Wire>::hash() const noexcept {
   return valueList::hash<Wire>( values );
}

template<class List, class Wire>
auto ValueList<List, Wire>::withRoomFor( U32 count ) -> Ptr {
   List* list = newWithRoom<List>( count * sizeof( Value ) );
   list->comm_.useRoom( roomOf<Value>( list ), count );
   list->hasNotificationActiveIs( true );
   return Ptr( list );
}

template<class List, class Wire>
auto ValueList<List, Wire>::newEmpty() -> Ptr {
   return ListSpare<List>::make();
}

template<class List, class Wire>
void ValueList<List, Wire>::onZeroReferences() const noexcept {
   auto* self = static_cast<List*>( const_cast<ValueList*>( this ) );
   if ( !ListSpare<List>::reclaim( self, self->comm_, [] {} ) ) {
      KelStow::DedupHandle::onZeroReferences();
   }
}

template<class List, class Wire>
void ValueList<List, Wire>::commIsSlow( const Value& value ) {
   OVBGP_LIST_ASSERT( !commVectorSorted(), "!commVectorSorted()" );
   if ( comm_.capacity() == 0 ) {
      comm_.reserve( valueList::kFirstRoom );
   }
   comm_.push_back( value );
}

template<class List, class Wire>
bool ValueList<List, Wire>::comm( const Value& value ) const {
   OVBGP_LIST_ASSERT( commVectorSorted(), "commVectorSorted()" );
   return std::binary_search( comm_.begin(), comm_.end(), value );
}

template<class List, class Wire>
auto ValueList<List, Wire>::dedup( const Table* table ) -> PtrConst {
   if ( !table ) {
      throw Kel::NullArgumentException( std::string( Wire::kList ) + "::dedup: null table" );
   }
   // An interned list is shared: it is neither sorted again nor re-flagged.
   if ( !isDeduped() ) {
      if ( !commVectorSorted() ) {
         sortUnique( comm_ );
      }
      userDataIs( Wire::flagsOf( comm_ ) );
   }
   // Most lists a path brings are interned already: the one found without
   // the table's lock is the result, and this list goes back to its thread
   // unreferenced by the table.
   Bex::DedupHashTable& set = *table->dedupTable();
   const U32 placement = placementHash( set.hashKey() );
   if ( !everDeduped() ) {
      Bex::DedupHandle::PtrConst found =
            set.lookupIf( placement, [ this ]( const Bex::DedupHandle* member ) {
               return valueList::same<Value>( comm_, static_cast<const List*>( member )->comm_ );
            } );
      if ( found ) {
         return Kel::ptrCast<const List>( std::move( found ) );
      }
   }
   Bex::DedupHandle::PtrConst dedupHandle = set.dedupAt(
         PtrConst( static_cast<List*>( this ) ), placement,
         []( Bex::DedupHandle* inserted ) { static_cast<List*>( inserted )->comm_.trim(); } );
   OVBGP_LIST_ASSERT( dedupHandle, "dedupHandle" );
   return Kel::ptrCast<const List>( std::move( dedupHandle ) );
}

template<class List, class Wire>
auto ValueList<List, Wire>::lookupByContent( const Table* table, const Content& content )
      -> PtrConst {
   if ( !table ) {
      throw Kel::NullArgumentException( std::string( Wire::kList ) +
                                        "::lookupByContent: null table" );
   }
   const Bex::DedupHashTable& set = *table->dedupTable();
   return Kel::ptrCast<const List>( set.lookupByContent(
         content, membersPlacementHash<Wire>( set.hashKey(), content.values ) ) );
}

template<class List, class Wire>
auto ValueList<List, Wire>::dedupOctets( const Table* table, const U8* octets, size_t length )
      -> PtrConst {
   return dedupWireOctets<List, Wire>( table, octets, length,
                                       []( const U8* in ) { return Wire::load( in ); } );
}

template<class List, class Wire>
U32 ValueList<List, Wire>::hash() const {
   OVBGP_LIST_ASSERT( commVectorSorted(), "commVectorSorted()" );
   return valueList::hash<Wire>( std::span<const Value>( comm_ ) );
}

template<class List, class Wire>
U32 ValueList<List, Wire>::placementHash( const Kel::HashKey& key ) const {
   OVBGP_LIST_ASSERT( commVectorSorted(), "commVectorSorted()" );
   return membersPlacementHash<Wire>( key, comm_ );
}

template<class List, class Wire>
bool ValueList<List, Wire>::compare( const Bex::DedupHandle* other ) const {
   OVBGP_LIST_ASSERT( commVectorSorted(), "commVectorSorted()" );
   return valueList::same<Value>( comm_, static_cast<const List*>( other )->comm_ );
}

template<class List, class Wire>
bool ValueList<List, Wire>::compareByContent( const Bex::DedupContentHandle& content ) const {
   return valueList::same<Value>( comm_, static_cast<const Content&>( content ).values );
}

template<class List, class Wire>
Kel::String ValueList<List, Wire>::toStrep() const {
   OvFmt::DynamicBuffer<valueList::kTextLocal> buffer;
   valueList::appendText<Wire>( buffer, comm_ );
   return buffer.str();
}

template<class List, class Wire>
std::ostream& ValueList<List, Wire>::print( std::ostream& os, const List* list ) {
   if ( list ) {
      OvFmt::DynamicBuffer<valueList::kTextLocal> buffer;
      valueList::appendText<Wire>( buffer, list->comm_ );
      writeText( os, buffer );
   }
   return os;
}

template<class List, class Wire>
std::string ValueList<List, Wire>::serialize() const {
   return serializedList<Wire>( U32( comm_.size() ), comm_, []( const Value& ) { return true; } );
}

template<class List, class Wire>
Routing::RouteMap::CommListSnapshot::Ptr ValueList<List, Wire>::commSnapshot() const {
   auto snapshot = Routing::RouteMap::commListSnapshotFactory();
   for ( const Value& value : comm_ ) {
      snapshot->commIs( value, true );
   }
   return snapshot;
}

template<class List, class Wire>
U64 ValueList<List, Wire>::stow( KelStow::StoreManager* store ) const {
   const U64 values = stowArray( store, std::span<const Value>( comm_ ) );
   return stowList( store, Wire::kStowTag, Wire::kStowVersion, userData() & Wire::kAllFlags,
                    U32( comm_.size() ), values );
}

template<class List, class Wire>
auto ValueList<List, Wire>::destow( const void* stored, KelStow::StoreManager* store ) -> Ptr {
   OVTRACE( traceBgpCommunityList, 8, "Destowing %s", Wire::kQualifiedName );
   U64 at;
   const StowedList* image = destowList( store, stored, Wire::kStowTag, Wire::kStowVersion, &at );
   const U32 flags = image->flags;
   auto damaged = [ at ]( const std::string& what ) {
      return KelStow::StoreException( "record at offset " + std::to_string( at ) + ": " +
                                      Wire::kList + " " + what );
   };
   if ( flags & ~Wire::kAllFlags ) {
      throw damaged( "flag word " + std::to_string( flags ) + " has unknown bits" );
   }
   std::vector<Value> values;
   destowArray( store, at, image->array, image->count, &values );
   Ptr list = withRoomFor( U32( values.size() ) );
   for ( const Value& value : values ) {
      list->comm_.push_back( value );
   }
   if ( flags & kSortedFlag ) {
      if ( !strictlyAscending( std::span<const Value>( list->comm_ ) ) ) {
         throw damaged( "values are flagged sorted but are not strictly ascending" );
      }
      if ( flags != Wire::flagsOf( list->comm_ ) ) {
         throw damaged( "flag word " + std::to_string( flags ) + " does not match its values" );
      }
   } else if ( flags != 0 ) {
      throw damaged( "flag word " + std::to_string( flags ) + " is set on an unsorted list" );
   }
   list->userDataIs( flags );
   list->dedupStateIs( Bex::dedupHandleStateStowed() );
   OVTRACE( traceBgpCommunityList, 8, "  destowed: %s", list->toStrep().c_str() );
   return list;
}

} // namespace Routing::Bgp
