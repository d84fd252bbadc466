// OvBgp/Parse/ExtCommRouteOrigin.h: the route-origin (site of origin)
// community, subtype 0x03, in its three transitive layouts, 2-octet AS (type
// 0x00), IPv4 address (0x01) and 4-octet AS (0x02), with its text forms
// ("SoO:65000:100", "Route-Origin-AS4:65000.100:5"), the sub-rules that build
// it and the plug-in that registers them (see ExtCommLabelled.h for what
// each is).
//
//   auto soo = extCommRouteOriginAsFactory( ExtCommContent( 0x0003fde800000064 ), false );
//   soo->toStrepForPolicy( ExtComm::strepFormatClassification );  // "SoO:65000:100"
#pragma once

#include "OvBgp/Parse/ExtCommLabelled.h"

namespace Routing::Bgp {

OVBGP_PARSE_LABELLED_KIND( RouteOrigin, extCommClassificationRouteOrigin )

} // namespace Routing::Bgp
