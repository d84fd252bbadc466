// OvBgp/Parse/ExtCommDefaultGateway.h: the default gateway community,
// transitive opaque type 0x03, subtype 0x0D, whose value is not interpreted,
// with its text forms ("DefaultGateway" whatever the format), the sub-rule
// that builds it and the plug-in that registers it.
//
//   auto gw = extCommDefaultGatewayFactory( ExtCommContent( 0x030d000000000000 ) );
//   gw->toStrepForPolicy( ExtComm::strepFormatDefault );  // "DefaultGateway"
#pragma once

#include "OvBgp/OvBgpCommunity.h"
#include "OvBgp/Parse/ExtCommPluginBase.h"
#include "OvBgp/Parse/ExtCommRules.h"

namespace Routing::Bgp {

// ExtCommDefaultGateway(): a marker; its six value octets are carried only.
class ExtCommDefaultGateway : public ExtCommSubtyped {
 public:
   // formatDerivedType(): <DefaultGateway 0x...>.
   // appendStrepForPolicy(): "DefaultGateway" under every format.
   OVBGP_PARSE_VALUE_BASICS( ExtCommDefaultGateway, ExtCommSubtyped,
                             extCommClassificationDefaultGateway, content )
};

// extCommDefaultGatewayFactory(): a new value, notification on, not interned.
// BgpParseExtComSubTypeTransOpaqueDefaultGatewayRule(): type 0x03
// subtype 0x0D; builds a default gateway community.
// BgpParseExtCommDefaultGatewaySm(): the plug-in that gives the transitive
// opaque type rule its default gateway sub-rule.
OVBGP_PARSE_ONE_RULE_PLUGIN( ExtCommDefaultGateway, extCommDefaultGatewayFactory,
                             BgpParseExtComSubTypeTransOpaqueDefaultGatewayRule,
                             BgpParseExtComSubTypeTransOpaqueRuleBase,
                             extCommPktSubtypeTransOpaqueDefaultGateway,
                             BgpParseExtCommDefaultGatewaySm,
                             bgpParseExtCommDefaultGatewaySmFactory )

} // namespace Routing::Bgp
