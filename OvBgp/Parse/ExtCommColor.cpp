#include "OvBgp/Parse/ExtCommColor.h"

#include <ostream>

#include "OvFmt/DynamicBuffer.h"

namespace Routing::Bgp {

void ExtCommColor::appendStrepForPolicy( StrepFormat, OvFmt::DynamicBufferInterface& out ) const {
   out.append( "Color:CO(" );
   out.append( cBit() ? '1' : '0' );
   out.append( oBit() ? '1' : '0' );
   out.append( "):" );
   out.appendDecimal( color() );
}

void ExtCommColor::formatDerivedType( std::ostream& os ) const {
   OvFmt::DynamicBuffer<48> buf;
   buf.append( "<Color: " );
   buf.appendDecimal( color() );
   buf.append( '(' );
   buf.append( cBit() ? '1' : '0' );
   buf.append( oBit() ? '1' : '0' );
   buf.append( ") " );
   os.write( buf.data(), std::streamsize( buf.size() ) );
   formatCommunityValue( os );
   os << '>';
}

} // namespace Routing::Bgp
