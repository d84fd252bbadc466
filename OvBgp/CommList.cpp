#include "OvBgp/CommList.h"

#include <ostream>
#include <string_view>

#include "OvBgp/CommListDedupTable.h"
#include "OvBgp/OvBgpCommunityPacketTypes.h"
#include "OvBgp/ValueListImpl.h"
#include "Routing/RouteMap/PosixRegex.h"

namespace Routing::Bgp {

namespace {

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

// The list's text with either formatter, one space apart (the regex passes).
template<bool wellKnownNames>
void appendList( OvFmt::DynamicBufferInterface& buffer, std::span<const U32> values ) {
   appendJoined( buffer, std::span<const U32>( values ),
                 CommunityFormatter<wellKnownNames>::format );
}

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

void CommListWire::store( U8* out, U32 value ) noexcept { storeU32hton( out, value ); }
U32 CommListWire::load( const U8* in ) noexcept { return loadU32ntoh( in ); }
U32 CommListWire::hashInto( U32 h, U32 value ) noexcept { return Kel::oneAtATimeU32( h, value ); }
void CommListWire::format( OvFmt::DynamicBufferInterface& buffer, U32 value ) {
   CommunityFormatter<true>::format( buffer, value );
}
// The flags a sorted list of these values carries. The flagged values lie
// at the top of the range, so only the tail from 0xFFFFFF01 up is read.
U32 CommListWire::flagsOf( std::span<const U32> values ) noexcept {
   U32 flags = CommList::flagCommVectorSorted;
   static_assert( CommListWire::kAllFlags ==
                  ( CommList::flagCommVectorSorted | CommList::flagNoExport |
                    CommList::flagNoAdvertise | CommList::flagNoExportSubconfed ) );
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

template struct ValueListContent<CommListWire>;
template class ValueList<CommList, CommListWire>;

CommList::Ptr CommList::CommListIs() { return newEmpty(); }

CommList::Ptr commListFactory() { return CommList::CommListIs(); }

bool CommList::flag( Flag which ) const {
   OVBGP_LIST_ASSERT(
         nullOrInterned( this ),
         "__null == ( this ) || ( this )->dedupState() != Bex::dedupHandleStateNeverDeduped()" );
   return userData() & which;
}

bool CommList::noExport() const { return flag( flagNoExport ); }
bool CommList::noAdvertise() const { return flag( flagNoAdvertise ); }
bool CommList::noExportSubconfed() const { return flag( flagNoExportSubconfed ); }

Kel::String CommList::wellKnownName( U32 value ) { return Kel::String( wellKnown( value ) ); }

Kel::String CommList::getStringValue( U32 value ) {
   return CommunityFormatter<false>::kelString( value );
}

std::ostream& operator<<( std::ostream& os, const CommList* list ) {
   return CommList::print( os, list );
}

bool CommList::matchCommunitiesRegex( const Routing::RouteMap::PosixRegex* regex ) const {
   if ( !regex ) {
      throw Kel::NullArgumentException( "CommList::matchCommunitiesRegex: null regex" );
   }
   OvFmt::DynamicBuffer<valueList::kTextLocal> text;
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

} // namespace Routing::Bgp
