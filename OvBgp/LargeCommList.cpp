#include "OvBgp/LargeCommList.h"

#include <algorithm>
#include <ostream>

#include "Kel/Exception.h"
#include "Kel/Hash.h"
#include "KelStow/StoreManager.h"
#include "OvBgp/BgpPathAttributeEnums.h"
#include "OvBgp/CommListDedupTable.h"
#include "OvBgp/ListWireOctets.h"
#include "OvBgp/OvBgpCommunityListImpl.h"
#include "OvBgp/OvBgpSerialize.h"
#include "OvFmt/DynamicBuffer.h"
#include "Routing/RouteMap/PosixRegex.h"

namespace Routing::Bgp {

namespace {

using Acl::CommunityValue;

// A large community prints in up to 32 characters; this holds a handful.
constexpr size_t kTextLocal = 256;

// One-at-a-time over the three words of each value, each word's octets
// least significant first; an empty list is 0.
U32 valuesHash( std::span<const CommunityValue> values ) noexcept {
   if ( values.empty() ) {
      return 0;
   }
   U32 h = 0;
   for ( const CommunityValue& value : values ) {
      h = Kel::oneAtATimeU32( h, value.globalAdmin() );
      h = Kel::oneAtATimeU32( h, value.localData1() );
      h = Kel::oneAtATimeU32( h, value.localData2() );
   }
   return Kel::oneAtATimeFinal( h );
}

bool sameValues( std::span<const CommunityValue> a, std::span<const CommunityValue> b ) noexcept {
   return std::equal( a.begin(), a.end(), b.begin(), b.end() );
}

// A value's 12 wire octets: the three words in network order.
void storeWire( U8* out, const CommunityValue& value ) noexcept {
   storeU32hton( out, value.globalAdmin() );
   storeU32hton( out + 4, value.localData1() );
   storeU32hton( out + 8, value.localData2() );
}
CommunityValue loadWire( const U8* in ) noexcept {
   return CommunityValue( loadU32ntoh( in ), loadU32ntoh( in + 4 ), loadU32ntoh( in + 8 ) );
}

// The list's text, asdot off, one space apart.
void appendList( OvFmt::DynamicBufferInterface& buffer,
                 const std::vector<CommunityValue>& values ) {
   appendJoined( buffer, std::span<const CommunityValue>( values ),
                 []( OvFmt::DynamicBufferInterface& out, const CommunityValue& value ) {
                    LargeCommunityFormatter::format( out, value, false );
                 } );
}

// Store image: the flag word, the count and the offset of the value array.
constexpr U32 kLargeCommListStowTag = 0x4C434D4C; // "LCML"
constexpr U16 kLargeCommListStowVersion = 1;
struct StowedLargeCommList {
   KelStow::Anchor anchor;
   U32 flags;
   U32 count;
   U64 values;
};

} // namespace

size_t LargeCommunityFormatter::format( OvFmt::DynamicBufferInterface& buffer,
                                        const CommunityValue& value, bool asdot ) {
   const U32 global = value.globalAdmin();
   const bool split = asdot && global >= 0x10000;
   const unsigned highDigits = OvFmt::decimalDigits( split ? global >> 16 : global );
   const unsigned lowDigits = split ? OvFmt::decimalDigits( global & 0xFFFF ) : 0;
   const unsigned globalDigits = split ? highDigits + 1 + lowDigits : highDigits;
   const unsigned local1Digits = OvFmt::decimalDigits( value.localData1() );
   const size_t size =
         globalDigits + 1 + local1Digits + 1 + OvFmt::decimalDigits( value.localData2() );
   char* out = buffer.reserve( size );
   if ( split ) {
      OvFmt::writeDecimal( out, global >> 16 );
      out[ highDigits ] = '.';
      OvFmt::writeDecimal( out + highDigits + 1, global & 0xFFFF );
   } else {
      OvFmt::writeDecimal( out, global );
   }
   out += globalDigits;
   *out++ = ':';
   out += OvFmt::writeDecimal( out, value.localData1() );
   *out++ = ':';
   OvFmt::writeDecimal( out, value.localData2() );
   buffer.commit( size );
   return size;
}

Kel::String LargeCommunityFormatter::kelString( const CommunityValue& value, bool asdot ) {
   OvFmt::DynamicBuffer<40> buffer;
   format( buffer, value, asdot );
   return buffer.str();
}

U32 LargeCommListContent::hash() const noexcept { return valuesHash( values ); }

LargeCommList::Ptr LargeCommList::LargeCommListIs() {
   return Kel::makeActivePtr<LargeCommList>( Token() );
}

LargeCommList::Ptr largeCommListFactory() { return LargeCommList::LargeCommListIs(); }

void LargeCommList::commIs( const CommunityValue& value ) {
   KEL_ASSERT_SOURCE_MSG( !commVectorSorted(), "!commVectorSorted()", commListAssertSource );
   comm_.push_back( value );
}

bool LargeCommList::comm( const CommunityValue& value ) const {
   KEL_ASSERT_SOURCE_MSG( commVectorSorted(), "commVectorSorted()", commListAssertSource );
   return sortedContains( comm_, value );
}

LargeCommList::PtrConst LargeCommList::dedup( const LargeCommListDedupTable* table ) {
   if ( !table ) {
      throw Kel::NullArgumentException( "LargeCommList::dedup: null table" );
   }
   if ( !commVectorSorted() ) {
      sortUnique( comm_ );
      userDataIs( flagCommVectorSorted );
   }
   Bex::DedupHandle::PtrConst canonical =
         table->dedupTable()->dedup( PtrConst( this ), []( Bex::DedupHandle* inserted ) {
            trimToSize( static_cast<LargeCommList*>( inserted )->comm_ );
         } );
   KEL_ASSERT_SOURCE_MSG( canonical, "dedupHandle", commListAssertSource );
   return Kel::ptrCast<const LargeCommList>( std::move( canonical ) );
}

LargeCommList::PtrConst LargeCommList::lookupByContent( const LargeCommListDedupTable* table,
                                                        const LargeCommListContent& content ) {
   if ( !table ) {
      throw Kel::NullArgumentException( "LargeCommList::lookupByContent: null table" );
   }
   const Bex::DedupHashTable& set = *table->dedupTable();
   const SortedWireOctets<12> wire( content.values, storeWire );
   return Kel::ptrCast<const LargeCommList>(
         set.lookupByContent( content, placementHashOf( set.hashKey(), wire.octets() ) ) );
}

LargeCommList::PtrConst LargeCommList::dedupOctets( const LargeCommListDedupTable* table,
                                                    const U8* octets, size_t length ) {
   if ( !table ) {
      throw Kel::NullArgumentException( "LargeCommList::dedupOctets: null table" );
   }
   const Bex::DedupHashTable& set = *table->dedupTable();
   const SortedWireOctets<12> wire( "LARGE_COMMUNITY", octets, length );
   auto same = []( const LargeCommList& list, const SortedWireOctets<12>& values ) {
      return sameValues( list.comm_, values, []( const auto& value, const U8* octets ) {
         return value == loadWire( octets );
      } );
   };
   if ( PtrConst found = lookupWireOctets<LargeCommList>( set, wire, same ) ) {
      return found;
   }
   Ptr list = LargeCommListIs();
   list->comm_.reserve( wire.count() );
   for ( size_t i = 0; i < wire.count(); ++i ) {
      list->commIs( loadWire( wire.value( i ) ) );
   }
   return list->dedup( table );
}

U32 LargeCommList::placementHash( const Kel::HashKey& key ) const {
   KEL_ASSERT_SOURCE_MSG( commVectorSorted(), "commVectorSorted()", commListAssertSource );
   return placementHashOf( key, SortedWireOctets<12>( comm_, storeWire ).octets() );
}

U32 LargeCommList::placementHashOf( const Kel::HashKey& key,
                                    std::span<const U8> sortedWireOctets ) noexcept {
   return U32( Kel::sipHash13( key, sortedWireOctets.data(), sortedWireOctets.size() ) );
}

U32 LargeCommList::hash() const {
   KEL_ASSERT_SOURCE_MSG( commVectorSorted(), "commVectorSorted()", commListAssertSource );
   return valuesHash( comm_ );
}

bool LargeCommList::compare( const Bex::DedupHandle* other ) const {
   KEL_ASSERT_SOURCE_MSG( commVectorSorted(), "commVectorSorted()", commListAssertSource );
   return sameValues( comm_, static_cast<const LargeCommList*>( other )->comm_ );
}

bool LargeCommList::compareByContent( const Bex::DedupContentHandle& content ) const {
   return sameValues( comm_, static_cast<const LargeCommListContent&>( content ).values );
}

Kel::String LargeCommList::displayString( const CommunityValue& value, bool asdot ) {
   return LargeCommunityFormatter::kelString( value, asdot );
}

Kel::String LargeCommList::getStringValue( const CommunityValue& value ) {
   return LargeCommunityFormatter::kelString( value, false );
}

Kel::String LargeCommList::toStrep() const {
   OvFmt::DynamicBuffer<kTextLocal> buffer;
   appendList( buffer, comm_ );
   return buffer.str();
}

std::ostream& operator<<( std::ostream& os, const LargeCommList* list ) {
   if ( list ) {
      OvFmt::DynamicBuffer<kTextLocal> buffer;
      appendList( buffer, *list->commVectorRawPtr() );
      writeText( os, buffer );
   }
   return os;
}

bool LargeCommList::matchCommunitiesRegex( const Routing::RouteMap::PosixRegex* regex ) const {
   if ( !regex ) {
      throw Kel::NullArgumentException( "LargeCommList::matchCommunitiesRegex: null regex" );
   }
   OvFmt::DynamicBuffer<kTextLocal> text;
   appendList( text, comm_ );
   text.append( '\0' );
   return regex->execute( text.data() ) == 0;
}

std::string LargeCommList::serialize() const {
   return serializedPathAttribute( largeCommunity, optionalTransitive, U32( 12 * comm_.size() ),
                                   [ this ]( U8* out ) {
                                      for ( const CommunityValue& value : comm_ ) {
                                         storeWire( out, value );
                                         out += 12;
                                      }
                                   } );
}

Routing::RouteMap::CommListSnapshot::Ptr LargeCommList::commSnapshot() const {
   auto snapshot = Routing::RouteMap::commListSnapshotFactory();
   for ( const CommunityValue& value : comm_ ) {
      snapshot->commIs( value, true );
   }
   return snapshot;
}

U64 LargeCommList::stow( KelStow::StoreManager* store ) const {
   // The array first: each allocation may move the arena, so the record is
   // translated only after the last one.
   const U64 values = stowArray( store, std::span<const CommunityValue>( comm_ ) );
   const U64 offset = store->stowRecord( kLargeCommListStowTag, kLargeCommListStowVersion,
                                         sizeof( StowedLargeCommList ) );
   auto* image = static_cast<StowedLargeCommList*>(
         store->translate( offset, sizeof( StowedLargeCommList ) ) );
   image->flags = userData() & flagCommVectorSorted;
   image->count = U32( comm_.size() );
   image->values = values;
   return offset;
}

LargeCommList::Ptr LargeCommList::destow( const void* stored, KelStow::StoreManager* store ) {
   OVTRACE( traceBgpCommunityList, 8, "Destowing %s", "Routing::Bgp::LargeCommList" );
   const U64 at = store->offsetOf( stored );
   const auto* image = static_cast<const StowedLargeCommList*>( store->checkedRecord(
         at, kLargeCommListStowTag, kLargeCommListStowVersion, sizeof( StowedLargeCommList ) ) );
   const U32 flags = image->flags;
   auto damaged = [ at ]( const std::string& what ) {
      return KelStow::StoreException( "record at offset " + std::to_string( at ) +
                                      ": LargeCommList " + what );
   };
   if ( flags & ~U32( flagCommVectorSorted ) ) {
      throw damaged( "flag word " + std::to_string( flags ) + " has unknown bits" );
   }
   Ptr list = LargeCommListIs();
   destowArray( store, at, image->values, image->count, &list->comm_ );
   if ( ( flags & flagCommVectorSorted ) &&
        !strictlyAscending( std::span<const CommunityValue>( list->comm_ ) ) ) {
      throw damaged( "values are flagged sorted but are not strictly ascending" );
   }
   list->userDataIs( flags );
   list->dedupStateIs( Bex::dedupHandleStateStowed() );
   OVTRACE( traceBgpCommunityList, 8, "  destowed: %s", list->toStrep().c_str() );
   return list;
}

} // namespace Routing::Bgp
