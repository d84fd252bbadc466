#include "OvBgp/Parse/ExtCommTunnelEncap.h"

#include <ostream>

#include "OvFmt/DynamicBuffer.h"

namespace Routing::Bgp {

KEL_ENUM_DEFINE( TunnelType, "Routing::Bgp::TunnelType", KEL_ENUM_MEMBER( tunnelTypeL2tpv3OverIp ),
                 KEL_ENUM_MEMBER( tunnelTypeGre ), KEL_ENUM_MEMBER( tunnelTypeIpInIp ),
                 KEL_ENUM_MEMBER( tunnelTypeVxlan ), KEL_ENUM_MEMBER( tunnelTypeNvgre ),
                 KEL_ENUM_MEMBER( tunnelTypeMpls ), KEL_ENUM_MEMBER( tunnelTypeMplsInGre ),
                 KEL_ENUM_MEMBER( tunnelTypeVxlanGpe ), KEL_ENUM_MEMBER( tunnelTypeUnknown ) )

void ExtCommTunnelEncap::appendStrepForPolicy( StrepFormat format,
                                               OvFmt::DynamicBufferInterface& out ) const {
   if ( format.has( strepFormatClassification ) ) {
      out.append( "TunnelEncap:" );
   }
   const TunnelType type = tunnelType();
   if ( bgpIsValidEnumMember( type ) ) {
      out.append( stringValue( type ) );
   } else {
      out.append( "tunnelTypeUnknown-" );
      out.appendDecimal( type );
   }
}

void ExtCommTunnelEncap::formatDerivedType( std::ostream& os ) const {
   const TunnelType type = tunnelType();
   OvFmt::DynamicBuffer<64> buf;
   buf.append( "<TunnelEncap " );
   buf.appendDecimal( type );
   buf.append( ':' );
   buf.append( stringValue( bgpIsValidEnumMember( type ) ? type : tunnelTypeUnknown ) );
   buf.append( ' ' );
   os.write( buf.data(), std::streamsize( buf.size() ) );
   formatCommunityValue( os );
   os << '>';
}

} // namespace Routing::Bgp
