#include "OvBgp/Parse/ExtCommDefaultGateway.h"

#include <ostream>

#include "OvFmt/DynamicBuffer.h"

namespace Routing::Bgp {

void ExtCommDefaultGateway::appendStrepForPolicy( StrepFormat,
                                                  OvFmt::DynamicBufferInterface& out ) const {
   out.append( "DefaultGateway" );
}

void ExtCommDefaultGateway::formatDerivedType( std::ostream& os ) const {
   os << "<DefaultGateway ";
   formatCommunityValue( os );
   os << '>';
}

} // namespace Routing::Bgp
