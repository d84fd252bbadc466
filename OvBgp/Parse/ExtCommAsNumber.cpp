#include "OvBgp/Parse/ExtCommAsNumber.h"

#include <ostream>

#include "Onet/IpAddr.h"
#include "OvFmt/DynamicBuffer.h"

namespace Routing::Bgp {

namespace {

// formatOpened(): the debugging form of a named kind: opening, what fill
// writes, a space, the raw value and ">".
template<class Fill>
void formatOpened( const ExtComm& value, std::ostream& os, const char* opening, Fill fill ) {
   OvFmt::DynamicBuffer<64> buf;
   buf.append( opening );
   fill( buf );
   buf.append( ' ' );
   os.write( buf.data(), std::streamsize( buf.size() ) );
   value.formatCommunityValue( os );
   os << '>';
}

} // namespace

ExtCommAsNumber::Ptr ExtCommAsNumber::ExtCommAsNumberIs( ExtCommClassification classification,
                                                         const ExtCommContent& content,
                                                         bool fourByteAs ) {
   return Kel::makeActivePtr<ExtCommAsNumber>( classification, content, fourByteAs );
}

void ExtCommAsNumber::formatAsNumberToBuffer( OvFmt::DynamicBufferInterface* buffer,
                                              bool asdot ) const {
   const U32 as = asNumber();
   if ( fourByteAs() && asdot && as >= 65536 ) {
      buffer->appendDecimal( as >> 16 );
      buffer->append( '.' );
      buffer->appendDecimal( as & 0xFFFF );
   } else {
      buffer->appendDecimal( as );
   }
}

Kel::String ExtCommAsNumber::formatAsNumber( bool asdot ) const {
   OvFmt::DynamicBuffer<16> buf;
   formatAsNumberToBuffer( &buf, asdot );
   return buf.str();
}

void ExtCommAsNumber::appendAsAndLocal( StrepFormat format,
                                        OvFmt::DynamicBufferInterface& out ) const {
   formatAsNumberToBuffer( &out, format.has( strepFormatAsdot ) );
   out.append( ':' );
   out.appendDecimal( localAdmin() );
}

void ExtCommAsNumber::appendLabelled( StrepFormat format, OvFmt::DynamicBufferInterface& out,
                                      const char* shortLabel, const char* uiLabel,
                                      const char* uiLabelAs4 ) const {
   if ( format.has( strepFormatClassification ) ) {
      out.append( !format.has( strepFormatUI ) ? shortLabel : fourByteAs() ? uiLabelAs4 : uiLabel );
   }
   appendAsAndLocal( format, out );
}

void ExtCommAsNumber::formatLabelled( std::ostream& os, const char* opening ) const {
   formatOpened( *this, os, opening, [ this ]( OvFmt::DynamicBufferInterface& buf ) {
      formatAsNumberToBuffer( &buf, false );
      buf.append( ':' );
      buf.appendDecimal( localAdmin() );
   } );
}

void ExtCommAsNumber::appendStrepForPolicy( StrepFormat format,
                                            OvFmt::DynamicBufferInterface& out ) const {
   if ( format.classificationAndUI() ) {
      const ExtCommContent content = getContent();
      addExtCommTypeAsString( out, fourByteAs() ? "-AS4" : "-AS", content.typeOctet(),
                              content.subtypeOctet(), content.transitive() );
      out.append( ':' );
   }
   appendAsAndLocal( format, out );
}

void ExtCommAsNumber::formatDerivedType( std::ostream& os ) const {
   os << '<' << pktType();
   if ( !pktSubtype().isUnspecified() ) {
      os << ' ';
      formatSubtype( os );
   }
   os << " ASN=" << formatAsNumber( false ) << ' ';
   formatCommunityValue( os );
   os << '>';
}

ExtCommIpv4Address::Ptr ExtCommIpv4Address::ExtCommIpv4AddressIs(
      ExtCommClassification classification, const ExtCommContent& content ) {
   return Kel::makeActivePtr<ExtCommIpv4Address>( classification, content );
}

Onet::IpAddr ExtCommIpv4Address::ipv4Address() const noexcept {
   return Onet::IpAddr( U32( community() >> 16 ) );
}

void ExtCommIpv4Address::appendAddressAndLocal( OvFmt::DynamicBufferInterface& out ) const {
   const U32 address = U32( community() >> 16 );
   for ( int shift = 24; shift >= 0; shift -= 8 ) {
      out.appendDecimal( ( address >> shift ) & 0xFF );
      out.append( shift ? '.' : ':' );
   }
   out.appendDecimal( localAdmin() );
}

void ExtCommIpv4Address::appendLabelled( StrepFormat format, OvFmt::DynamicBufferInterface& out,
                                         const char* shortLabel, const char* uiLabel ) const {
   if ( format.has( strepFormatClassification ) ) {
      out.append( format.has( strepFormatUI ) ? uiLabel : shortLabel );
   }
   appendAddressAndLocal( out );
}

void ExtCommIpv4Address::formatLabelled( std::ostream& os, const char* opening ) const {
   formatOpened( *this, os, opening,
                 [ this ]( OvFmt::DynamicBufferInterface& buf ) { appendAddressAndLocal( buf ); } );
}

void ExtCommIpv4Address::appendStrepForPolicy( StrepFormat format,
                                               OvFmt::DynamicBufferInterface& out ) const {
   if ( format.classificationAndUI() ) {
      const ExtCommContent content = getContent();
      addExtCommTypeAsString( out, "-IP", content.typeOctet(), content.subtypeOctet(),
                              content.transitive() );
      out.append( ':' );
   }
   appendAddressAndLocal( out );
}

void ExtCommIpv4Address::formatDerivedType( std::ostream& os ) const {
   os << '<' << pktType();
   if ( !pktSubtype().isUnspecified() ) {
      os << ' ';
      formatSubtype( os );
   }
   os << ' ' << ipv4Address() << ' ';
   formatCommunityValue( os );
   os << '>';
}

} // namespace Routing::Bgp
