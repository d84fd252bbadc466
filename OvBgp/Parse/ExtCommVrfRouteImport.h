// OvBgp/Parse/ExtCommVrfRouteImport.h: the VRF route import community,
// transitive IPv4-address type 0x01, subtype 0x0B: an IPv4 address and a
// 16-bit local value, with its text forms ("VRI:10.1.1.1:3",
// "VRF-Route-Import:10.1.1.1:3"), the sub-rule that builds it and the
// plug-in that registers it (only while the "Mvpn" toggle is on).
//
//   auto vri = extCommVrfRouteImportIpv4AddressFactory( ExtCommContent( 0x010b0a0101010003 ) );
//   vri->toStrepForPolicy( ExtComm::strepFormatClassification );  // "VRI:10.1.1.1:3"
#pragma once

#include "OvBgp/Parse/ExtCommAsNumber.h"
#include "OvBgp/Parse/ExtCommPluginBase.h"
#include "OvBgp/Parse/ExtCommRules.h"

namespace Routing::Bgp {

// ExtCommVrfRouteImportIpv4Address(): address bits 47..16, local 15..0.
class ExtCommVrfRouteImportIpv4Address : public ExtCommIpv4Address {
 public:
   // formatDerivedType(): <VrfRouteImport 10.1.1.1:3 0x...>.
   // appendStrepForPolicy(): "a.b.c.d:local", prefixed "VRI:" with
   // classification, "VRF-Route-Import:" with classification and UI.
   OVBGP_PARSE_VALUE_BASICS( ExtCommVrfRouteImportIpv4Address, ExtCommIpv4Address,
                             extCommClassificationVrfRouteImport, content )
};

// extCommVrfRouteImportIpv4AddressFactory(): a new value, notification on, not interned.
// BgpParseExtComSubTypeTransIpv4AddressVrfRouteImportRule(): type 0x01
// subtype 0x0B; builds a VRF route import community.
// BgpParseExtCommVrfRouteImportSm(): the plug-in that gives the transitive
// IPv4-address type rule its VRF route import sub-rule.
OVBGP_PARSE_ONE_RULE_PLUGIN( ExtCommVrfRouteImportIpv4Address,
                             extCommVrfRouteImportIpv4AddressFactory,
                             BgpParseExtComSubTypeTransIpv4AddressVrfRouteImportRule,
                             BgpParseExtComSubTypeTransIpv4AddressRuleBase,
                             extCommPktSubtypeTransIpv4AddressVrfRouteImport,
                             BgpParseExtCommVrfRouteImportSm,
                             bgpParseExtCommVrfRouteImportSmFactory )

} // namespace Routing::Bgp
