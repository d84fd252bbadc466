#include "OvBgp/Parse/ExtCommVrfRouteImport.h"

#include <ostream>

namespace Routing::Bgp {

ExtCommVrfRouteImportIpv4Address::Ptr
ExtCommVrfRouteImportIpv4Address::ExtCommVrfRouteImportIpv4AddressIs(
      const ExtCommContent& content ) {
   return Kel::makeActivePtr<ExtCommVrfRouteImportIpv4Address>( content );
}

void ExtCommVrfRouteImportIpv4Address::appendStrepForPolicy(
      StrepFormat format, OvFmt::DynamicBufferInterface& out ) const {
   appendLabelled( format, out, "VRI:", "VRF-Route-Import:" );
}

void ExtCommVrfRouteImportIpv4Address::formatDerivedType( std::ostream& os ) const {
   formatLabelled( os, "<VrfRouteImport " );
}

ExtCommVrfRouteImportIpv4Address::Ptr extCommVrfRouteImportIpv4AddressFactory(
      const ExtCommContent& content ) {
   return ExtCommVrfRouteImportIpv4Address::ExtCommVrfRouteImportIpv4AddressIs( content );
}

} // namespace Routing::Bgp
