#include "OvBgp/Parse/ExtCommRouteTarget.h"

#include <ostream>

namespace Routing::Bgp {

OVBGP_PARSE_LABELLED_TEXTS( RouteTarget, "RouteTarget", "RT:", "Route-Target" )

} // namespace Routing::Bgp
