#include "OvBgp/CommList.h"

#include <cstring>
#include <ostream>
#include <string_view>

#include "Kel/Exception.h"
#include "Kel/Hash.h"
#include "KelStow/StoreManager.h"
#include "OvBgp/BgpPathAttributeEnums.h"
#include "OvBgp/CommListDedupTable.h"
#include "OvBgp/ListWireOctets.h"
#include "OvBgp/OvBgpCommunityListImpl.h"
#include "OvBgp/OvBgpCommunityPacketTypes.h"
#include "OvBgp/OvBgpSerialize.h"
#include "OvFmt/DynamicBuffer.h"
#include "Routing/RouteMap/PosixRegex.h"

namespace Routing::Bgp {

namespace {

// Local storage of the text buffers: a typical list of a dozen values
// prints in well under this.
constexpr size_t kTextLocal = 256;

// The values a list being built has room for at first.
constexpr size_t kFirstRoom = 16;

constexpr U32 kAllFlags = CommList::flagCommVectorSorted | CommList::flagNoExport |
                          CommList::flagNoAdvertise | CommList::flagNoExportSubconfed;

// The name printed for a well-known community; empty for the others.
// 0xFFFFFF03 is shown as "local-as", the name operators type in policy.
std::string_view wellKnown( U32 value ) noexcept {
   switch ( value ) {
      case communityInternet:
         return "internet";
      case communityGshut:
         return "GSHUT";
      case communityLlgrStale:
         return "llgr-stale";
      case communityNoLlgr:
         return "no-llgr";
      case communityNoExport:
         return "no-export";
      case communityNoAdvertise:
         return "no-advertise";
      case communityNoExportSubconfed:
         return "local-as";
      default:
         return {};
   }
}

// One-at-a-time over each value's octets, least significant first; an
// empty list is 0.
U32 valuesHash( std::span<const U32> values ) noexcept {
   if ( values.empty() ) {
      return 0;
   }
   U32 h = 0;
   for ( U32 value : values ) {
      h = Kel::oneAtATimeU32( h, value );
   }
   return Kel::oneAtATimeFinal( h );
}

bool sameValues( std::span<const U32> a, std::span<const U32> b ) noexcept {
   return a.size() == b.size() &&
          ( a.empty() || std::memcmp( a.data(), b.data(), a.size_bytes() ) == 0 );
}

// The flags a sorted list of these values carries. The flagged values lie
// at the top of the range, so only the tail from 0xFFFFFF01 up is read.
U32 flagsOf( const std::vector<U32>& values ) noexcept {
   U32 flags = CommList::flagCommVectorSorted;
   for ( auto it = values.rbegin(); it != values.rend() && *it >= communityNoExport; ++it ) {
      switch ( *it ) {
         case communityNoExport:
            flags |= CommList::flagNoExport;
            break;
         case communityNoAdvertise:
            flags |= CommList::flagNoAdvertise;
            break;
         case communityNoExportSubconfed:
            flags |= CommList::flagNoExportSubconfed;
            break;
         default:
            break;
      }
   }
   return flags;
}

// The list's text with either formatter, one space apart.
template<bool wellKnownNames>
void appendList( OvFmt::DynamicBufferInterface& buffer, const std::vector<U32>& values ) {
   appendJoined( buffer, std::span<const U32>( values ),
                 []( OvFmt::DynamicBufferInterface& out, U32 value ) {
                    CommunityFormatter<wellKnownNames>::format( out, value );
                 } );
}

// Store image: the flag word, the count and the offset of the value array.
constexpr U32 kCommListStowTag = 0x434F4D4C; // "COML"
constexpr U16 kCommListStowVersion = 1;
struct StowedCommList {
   KelStow::Anchor anchor;
   U32 flags;
   U32 count;
   U64 values;
};

} // namespace

size_t CommunityFormatter<false>::formatNotWellKnown( OvFmt::DynamicBufferInterface& buffer,
                                                      U32 value ) {
   const U32 high = value >> 16;
   const U32 low = value & 0xFFFF;
   const unsigned highDigits = OvFmt::decimalDigits( high );
   const size_t size = highDigits + 1 + OvFmt::decimalDigits( low );
   char* out = buffer.reserve( size );
   OvFmt::writeDecimal( out, high );
   out[ highDigits ] = ':';
   OvFmt::writeDecimal( out + highDigits + 1, low );
   buffer.commit( size );
   return size;
}

Kel::String CommunityFormatter<false>::kelString( U32 value ) {
   OvFmt::DynamicBuffer<16> buffer;
   formatNotWellKnown( buffer, value );
   return buffer.str();
}

size_t CommunityFormatter<true>::format( OvFmt::DynamicBufferInterface& buffer, U32 value ) {
   const std::string_view name = wellKnown( value );
   if ( name.empty() ) {
      return CommunityFormatter<false>::formatNotWellKnown( buffer, value );
   }
   buffer.append( name );
   return name.size();
}

U32 CommListContent::hash() const noexcept { return valuesHash( values ); }

CommList::Ptr CommList::CommListIs() { return Kel::makeActivePtr<CommList>( Token() ); }

CommList::Ptr commListFactory() { return CommList::CommListIs(); }

void CommList::commIs( U32 value ) {
   KEL_ASSERT_SOURCE_MSG( !commVectorSorted(), "!commVectorSorted()", commListAssertSource );
   // Room for a typical list at once rather than growing by doubling: an
   // interned list is trimmed to its size anyway, and one that finds its
   // equal is dropped.
   if ( comm_.capacity() == 0 ) {
      comm_.reserve( kFirstRoom );
   }
   comm_.push_back( value );
}

bool CommList::comm( U32 value ) const {
   KEL_ASSERT_SOURCE_MSG( commVectorSorted(), "commVectorSorted()", commListAssertSource );
   return sortedContains( comm_, value );
}

bool CommList::flag( Flag which ) const {
   KEL_ASSERT_SOURCE_MSG(
         dedupState() != Bex::dedupHandleStateNeverDeduped(),
         "__null == ( this ) || ( this )->dedupState() != Bex::dedupHandleStateNeverDeduped()",
         commListAssertSource );
   return userData() & which;
}

bool CommList::noExport() const { return flag( flagNoExport ); }
bool CommList::noAdvertise() const { return flag( flagNoAdvertise ); }
bool CommList::noExportSubconfed() const { return flag( flagNoExportSubconfed ); }

CommList::PtrConst CommList::dedup( const CommListDedupTable* table ) {
   if ( !table ) {
      throw Kel::NullArgumentException( "CommList::dedup: null table" );
   }
   // An interned list is shared: it is neither sorted again nor re-flagged.
   if ( !isDeduped() ) {
      if ( !commVectorSorted() ) {
         sortUnique( comm_ );
      }
      flagsIs( flagsOf( comm_ ) );
   }
   Bex::DedupHandle::PtrConst canonical =
         table->dedupTable()->dedup( PtrConst( this ), []( Bex::DedupHandle* inserted ) {
            trimToSize( static_cast<CommList*>( inserted )->comm_ );
         } );
   KEL_ASSERT_SOURCE_MSG( canonical, "dedupHandle", commListAssertSource );
   return Kel::ptrCast<const CommList>( std::move( canonical ) );
}

CommList::PtrConst CommList::lookupByContent( const CommListDedupTable* table,
                                              const CommListContent& content ) {
   if ( !table ) {
      throw Kel::NullArgumentException( "CommList::lookupByContent: null table" );
   }
   const Bex::DedupHashTable& set = *table->dedupTable();
   const SortedWireOctets<4> wire( content.values, storeU32hton );
   return Kel::ptrCast<const CommList>(
         set.lookupByContent( content, placementHashOf( set.hashKey(), wire.octets() ) ) );
}

CommList::PtrConst CommList::dedupOctets( const CommListDedupTable* table, const U8* octets,
                                          size_t length ) {
   if ( !table ) {
      throw Kel::NullArgumentException( "CommList::dedupOctets: null table" );
   }
   const Bex::DedupHashTable& set = *table->dedupTable();
   const SortedWireOctets<4> wire( "COMMUNITIES", octets, length );
   auto same = []( const CommList& list, const SortedWireOctets<4>& values ) {
      return sameValues( list.comm_, values, []( U32 value, const U8* octets ) {
         return value == loadU32ntoh( octets );
      } );
   };
   if ( PtrConst found = lookupWireOctets<CommList>( set, wire, same ) ) {
      return found;
   }
   Ptr list = CommListIs();
   list->comm_.reserve( wire.count() );
   for ( size_t i = 0; i < wire.count(); ++i ) {
      list->commIs( loadU32ntoh( wire.value( i ) ) );
   }
   return list->dedup( table );
}

U32 CommList::placementHash( const Kel::HashKey& key ) const {
   OVBGP_LIST_ASSERT( commVectorSorted(), "commVectorSorted()" );
   return placementHashOf( key, SortedWireOctets<4>( comm_, storeU32hton ).octets() );
}

U32 CommList::placementHashOf( const Kel::HashKey& key,
                               std::span<const U8> sortedWireOctets ) noexcept {
   return U32( Kel::sipHash13( key, sortedWireOctets.data(), sortedWireOctets.size() ) );
}

U32 CommList::hash() const {
   KEL_ASSERT_SOURCE_MSG( commVectorSorted(), "commVectorSorted()", commListAssertSource );
   return valuesHash( comm_ );
}

bool CommList::compare( const Bex::DedupHandle* other ) const {
   KEL_ASSERT_SOURCE_MSG( commVectorSorted(), "commVectorSorted()", commListAssertSource );
   return sameValues( comm_, static_cast<const CommList*>( other )->comm_ );
}

bool CommList::compareByContent( const Bex::DedupContentHandle& content ) const {
   return sameValues( comm_, static_cast<const CommListContent&>( content ).values );
}

Kel::String CommList::wellKnownName( U32 value ) { return Kel::String( wellKnown( value ) ); }

Kel::String CommList::getStringValue( U32 value ) {
   return CommunityFormatter<false>::kelString( value );
}

Kel::String CommList::toStrep() const {
   OvFmt::DynamicBuffer<kTextLocal> buffer;
   appendList<true>( buffer, comm_ );
   return buffer.str();
}

std::ostream& operator<<( std::ostream& os, const CommList* list ) {
   if ( list ) {
      OvFmt::DynamicBuffer<kTextLocal> buffer;
      appendList<true>( buffer, *list->commVectorRawPtr() );
      writeText( os, buffer );
   }
   return os;
}

bool CommList::matchCommunitiesRegex( const Routing::RouteMap::PosixRegex* regex ) const {
   if ( !regex ) {
      throw Kel::NullArgumentException( "CommList::matchCommunitiesRegex: null regex" );
   }
   OvFmt::DynamicBuffer<kTextLocal> text;
   appendList<false>( text, comm_ );
   text.append( '\0' );
   if ( regex->execute( text.data() ) == 0 ) {
      return true;
   }
   // Without a named value the second text would be the first again.
   bool named = false;
   for ( U32 value : comm_ ) {
      named = named || !wellKnown( value ).empty();
   }
   if ( !named ) {
      return false;
   }
   text.clear();
   appendList<true>( text, comm_ );
   text.append( '\0' );
   return regex->execute( text.data() ) == 0;
}

std::string CommList::serialize() const {
   return serializedPathAttribute( community, optionalTransitive, U32( 4 * comm_.size() ),
                                   [ this ]( U8* out ) {
                                      for ( U32 value : comm_ ) {
                                         storeU32hton( out, value );
                                         out += 4;
                                      }
                                   } );
}

Routing::RouteMap::CommListSnapshot::Ptr CommList::commSnapshot() const {
   auto snapshot = Routing::RouteMap::commListSnapshotFactory();
   for ( U32 value : comm_ ) {
      snapshot->commIs( value, true );
   }
   return snapshot;
}

U64 CommList::stow( KelStow::StoreManager* store ) const {
   // The array first: each allocation may move the arena, so the record is
   // translated only after the last one.
   const U64 values = stowArray( store, std::span<const U32>( comm_ ) );
   const U64 offset =
         store->stowRecord( kCommListStowTag, kCommListStowVersion, sizeof( StowedCommList ) );
   auto* image =
         static_cast<StowedCommList*>( store->translate( offset, sizeof( StowedCommList ) ) );
   image->flags = userData() & kAllFlags;
   image->count = U32( comm_.size() );
   image->values = values;
   return offset;
}

CommList::Ptr CommList::destow( const void* stored, KelStow::StoreManager* store ) {
   OVTRACE( traceBgpCommunityList, 8, "Destowing %s", "Routing::Bgp::CommList" );
   const U64 at = store->offsetOf( stored );
   const auto* image = static_cast<const StowedCommList*>( store->checkedRecord(
         at, kCommListStowTag, kCommListStowVersion, sizeof( StowedCommList ) ) );
   const U32 flags = image->flags;
   auto damaged = [ at ]( const std::string& what ) {
      return KelStow::StoreException( "record at offset " + std::to_string( at ) + ": CommList " +
                                      what );
   };
   if ( flags & ~kAllFlags ) {
      throw damaged( "flag word " + std::to_string( flags ) + " has unknown bits" );
   }
   Ptr list = CommListIs();
   destowArray( store, at, image->values, image->count, &list->comm_ );
   if ( flags & flagCommVectorSorted ) {
      if ( !strictlyAscending( std::span<const U32>( list->comm_ ) ) ) {
         throw damaged( "values are flagged sorted but are not strictly ascending" );
      }
      if ( flags != flagsOf( list->comm_ ) ) {
         throw damaged( "flag word " + std::to_string( flags ) + " does not match its values" );
      }
   } else if ( flags != 0 ) {
      throw damaged( "flag word " + std::to_string( flags ) + " is set on an unsorted list" );
   }
   list->flagsIs( flags );
   list->dedupStateIs( Bex::dedupHandleStateStowed() );
   OVTRACE( traceBgpCommunityList, 8, "  destowed: %s", list->toStrep().c_str() );
   return list;
}

} // namespace Routing::Bgp
