// OvBgp/Parse/ExtCommRouteTarget.h: the route-target community (subtype 0x02)
// in its three transitive layouts, 2-octet AS (type 0x00), IPv4 address
// (0x01) and 4-octet AS (0x02), with its text forms ("RT:65000:100",
// "Route-Target-AS4:65000.100:5"), the sub-rules that build it and the
// plug-in that registers them (see ExtCommLabelled.h for what each is).
//
//   auto rt = extCommRouteTargetAsFactory( ExtCommContent( 0x0002fde800000064 ), false );
//   rt->toStrepForPolicy( ExtComm::strepFormatClassification );  // "RT:65000:100"
#pragma once

#include "OvBgp/Parse/ExtCommLabelled.h"

namespace Routing::Bgp {

OVBGP_PARSE_LABELLED_KIND( RouteTarget, extCommClassificationRouteTarget )

} // namespace Routing::Bgp
