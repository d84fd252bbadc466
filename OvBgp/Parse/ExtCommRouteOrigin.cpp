#include "OvBgp/Parse/ExtCommRouteOrigin.h"

#include <ostream>

namespace Routing::Bgp {

OVBGP_PARSE_LABELLED_TEXTS( RouteOrigin, "RouteOrigin", "SoO:", "Route-Origin" )

} // namespace Routing::Bgp
