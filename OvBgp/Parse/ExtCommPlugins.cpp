// The library's plug-ins, in the order the container queues them:
//   route origin, route target, tunnel encapsulation, default gateway,
//   link bandwidth, colour, origin validation state,
//   then VRF route import, only when the "Mvpn" toggle is on.
// Each is built on the registry before the top-level rule exists, so its
// sub-rules arrive through the registry's notification.
#include "OvBgp/Parse/ExtCommColor.h"
#include "OvBgp/Parse/ExtCommContainer.h"
#include "OvBgp/Parse/ExtCommDefaultGateway.h"
#include "OvBgp/Parse/ExtCommLinkBandwidth.h"
#include "OvBgp/Parse/ExtCommOriginValidationState.h"
#include "OvBgp/Parse/ExtCommRouteOrigin.h"
#include "OvBgp/Parse/ExtCommRouteTarget.h"
#include "OvBgp/Parse/ExtCommTunnelEncap.h"
#include "OvBgp/Parse/ExtCommVrfRouteImport.h"

namespace Routing::Bgp {

BgpParseExtCommPluginList createExtCommParserSms(
      const Kel::Ptr<const BgpParseExtCommRuleCollections>& ruleCollections, bool mvpnOn ) {
   BgpParseExtCommPluginList plugins;
   plugins.reserve( 8 );
   plugins.push_back( bgpParseExtCommRouteOriginSmFactory( ruleCollections ) );
   plugins.push_back( bgpParseExtCommRouteTargetSmFactory( ruleCollections ) );
   plugins.push_back( bgpParseExtCommTunnelEncapSmFactory( ruleCollections ) );
   plugins.push_back( bgpParseExtCommDefaultGatewaySmFactory( ruleCollections ) );
   plugins.push_back( bgpParseExtCommLinkBandwidthSmFactory( ruleCollections ) );
   plugins.push_back( bgpParseExtCommColorSmFactory( ruleCollections ) );
   plugins.push_back( bgpParseExtCommOriginValidationStateSmFactory( ruleCollections ) );
   if ( mvpnOn ) {
      plugins.push_back( bgpParseExtCommVrfRouteImportSmFactory( ruleCollections ) );
   }
   return plugins;
}

} // namespace Routing::Bgp
