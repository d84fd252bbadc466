#include "OvBgp/Parse/ExtCommDefaultGateway.h"

#include <ostream>

#include "OvFmt/DynamicBuffer.h"

namespace Routing::Bgp {

ExtCommDefaultGateway::Ptr ExtCommDefaultGateway::ExtCommDefaultGatewayIs(
      const ExtCommContent& content ) {
   return Kel::makeActivePtr<ExtCommDefaultGateway>( content );
}

void ExtCommDefaultGateway::appendStrepForPolicy( StrepFormat,
                                                  OvFmt::DynamicBufferInterface& out ) const {
   out.append( "DefaultGateway" );
}

void ExtCommDefaultGateway::formatDerivedType( std::ostream& os ) const {
   os << "<DefaultGateway ";
   formatCommunityValue( os );
   os << '>';
}

ExtCommDefaultGateway::Ptr extCommDefaultGatewayFactory( const ExtCommContent& content ) {
   return ExtCommDefaultGateway::ExtCommDefaultGatewayIs( content );
}

} // namespace Routing::Bgp
