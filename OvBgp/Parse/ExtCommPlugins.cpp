// The library's plug-ins, in the order the container queues them:
//   route origin, route target, tunnel encapsulation, default gateway,
//   link bandwidth, colour, origin validation state,
//   then VRF route import, only when the "Mvpn" toggle is on.
// Each is built on the registry before the top-level rule exists, so its
// sub-rules arrive through the registry's notification.
#include "OvBgp/Parse/ExtCommContainer.h"

namespace Routing::Bgp {

BgpParseExtCommPluginList createExtCommParserSms(
      const Kel::Ptr<const BgpParseExtCommRuleCollections>& ruleCollections, bool mvpnOn ) {
   BgpParseExtCommPluginList plugins;
   // No typed community has its plug-in yet; each one joins the list above in
   // its place.
   (void)ruleCollections;
   (void)mvpnOn;
   return plugins;
}

} // namespace Routing::Bgp
