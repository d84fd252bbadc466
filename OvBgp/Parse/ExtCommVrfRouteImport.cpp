#include "OvBgp/Parse/ExtCommVrfRouteImport.h"

#include <ostream>

namespace Routing::Bgp {

void ExtCommVrfRouteImportIpv4Address::appendStrepForPolicy(
      StrepFormat format, OvFmt::DynamicBufferInterface& out ) const {
   appendLabelled( format, out, "VRI:", "VRF-Route-Import:" );
}

void ExtCommVrfRouteImportIpv4Address::formatDerivedType( std::ostream& os ) const {
   formatLabelled( os, "<VrfRouteImport " );
}

} // namespace Routing::Bgp
