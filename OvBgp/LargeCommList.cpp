#include "OvBgp/LargeCommList.h"

#include <ostream>

#include "OvBgp/CommListDedupTable.h"
#include "OvBgp/ValueListImpl.h"
#include "Routing/RouteMap/PosixRegex.h"

namespace Routing::Bgp {

using Acl::CommunityValue;

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

void LargeCommListWire::store( U8* out, const CommunityValue& value ) noexcept {
   storeU32hton( out, value.globalAdmin() );
   storeU32hton( out + 4, value.localData1() );
   storeU32hton( out + 8, value.localData2() );
}
CommunityValue LargeCommListWire::load( const U8* in ) noexcept {
   return CommunityValue( loadU32ntoh( in ), loadU32ntoh( in + 4 ), loadU32ntoh( in + 8 ) );
}
U32 LargeCommListWire::hashInto( U32 h, const CommunityValue& value ) noexcept {
   h = Kel::oneAtATimeU32( h, value.globalAdmin() );
   h = Kel::oneAtATimeU32( h, value.localData1() );
   return Kel::oneAtATimeU32( h, value.localData2() );
}
void LargeCommListWire::format( OvFmt::DynamicBufferInterface& buffer,
                                const CommunityValue& value ) {
   LargeCommunityFormatter::format( buffer, value, false );
}

template struct ValueListContent<LargeCommListWire>;
template class ValueList<LargeCommList, LargeCommListWire>;

LargeCommList::Ptr LargeCommList::LargeCommListIs() { return newEmpty(); }

LargeCommList::Ptr largeCommListFactory() { return LargeCommList::LargeCommListIs(); }

Kel::String LargeCommList::displayString( const CommunityValue& value, bool asdot ) {
   return LargeCommunityFormatter::kelString( value, asdot );
}

Kel::String LargeCommList::getStringValue( const CommunityValue& value ) {
   return LargeCommunityFormatter::kelString( value, false );
}

std::ostream& operator<<( std::ostream& os, const LargeCommList* list ) {
   return LargeCommList::print( os, list );
}

bool LargeCommList::matchCommunitiesRegex( const Routing::RouteMap::PosixRegex* regex ) const {
   if ( !regex ) {
      throw Kel::NullArgumentException( "LargeCommList::matchCommunitiesRegex: null regex" );
   }
   OvFmt::DynamicBuffer<valueList::kTextLocal> text;
   valueList::appendText<LargeCommListWire>( text, comm_ );
   text.append( '\0' );
   return regex->execute( text.data() ) == 0;
}

} // namespace Routing::Bgp
