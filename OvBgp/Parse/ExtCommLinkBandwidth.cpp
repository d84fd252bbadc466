#include "OvBgp/Parse/ExtCommLinkBandwidth.h"

#include <bit>
#include <charconv>
#include <ostream>

#include "OvFmt/DynamicBuffer.h"

namespace Routing::Bgp {

bool ExtCommLinkBandwidth::isBetterThan( const ExtComm::PtrConst& other ) const {
   // Every community has the 32 bits; a NaN compares false either way.
   const float theirs = std::bit_cast<float>( U32( other->community() ) );
   return theirs > bandwidth().value();
}

void ExtCommLinkBandwidth::appendStreamFloat( OvFmt::DynamicBufferInterface& out, float value ) {
   // A stream writes a float as the double it converts to, in "%g" style
   // with precision 6; to_chars in general form with precision 6 is
   // specified as that printf conversion, so the text is the same.
   constexpr size_t room = 32; // "-1.17549e-38" is the longest form: 12
   char* first = out.reserve( room );
   const auto result =
         std::to_chars( first, first + room, double( value ), std::chars_format::general, 6 );
   out.commit( size_t( result.ptr - first ) );
}

void ExtCommLinkBandwidth::appendStrepForPolicy( StrepFormat format,
                                                 OvFmt::DynamicBufferInterface& out ) const {
   if ( format.classificationAndUI() ) {
      out.append( "Link-Bandwidth-AS:" );
      formatAsNumberToBuffer( &out, format.has( strepFormatAsdot ) );
      out.append( ':' );
      out.append( bandwidth().toStrep( format.has( strepFormatLinkBwWeighted ) ) );
      return;
   }
   if ( format.has( strepFormatClassification ) ) {
      out.append( "lbw " );
   }
   formatAsNumberToBuffer( &out, format.has( strepFormatAsdot ) );
   out.append( ':' );
   appendStreamFloat( out, bandwidth().value() );
}

void ExtCommLinkBandwidth::formatDerivedType( std::ostream& os ) const {
   OvFmt::DynamicBuffer<64> buf;
   buf.append( "<LinkBandwidth " );
   formatAsNumberToBuffer( &buf, false );
   buf.append( ':' );
   appendStreamFloat( buf, bandwidth().value() );
   buf.append( ' ' );
   os.write( buf.data(), std::streamsize( buf.size() ) );
   formatCommunityValue( os );
   os << '>';
}

} // namespace Routing::Bgp
