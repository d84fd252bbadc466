// OvBgp/Parse/ExtCommTunnelEncap.h: the encapsulation community, transitive
// opaque type 0x03, subtype 0x0C, whose last two octets name a tunnel type
// (TunnelType, the IANA numbers of BGP tunnel encapsulation types), with its
// text forms ("TunnelEncap:tunnelTypeVxlan", "tunnelTypeUnknown-13"), the
// sub-rule that builds it and the plug-in that registers it.
//
//   auto encap = extCommTunnelEncapFactory( ExtCommContent( 0x030c000000000008 ) );
//   encap->tunnelType();  // tunnelTypeVxlan
#pragma once

#include "Kel/Enum.h"
#include "OvBgp/OvBgpCommunity.h"
#include "OvBgp/Parse/ExtCommPluginBase.h"
#include "OvBgp/Parse/ExtCommRules.h"

namespace Routing::Bgp {

// TunnelType: the tunnel types the library names. The wire carries 16 bits;
// tunnelTypeUnknown lies above them, so no content is ever it.
enum TunnelType : U32 {
   tunnelTypeL2tpv3OverIp = 1,
   tunnelTypeGre = 2,
   tunnelTypeIpInIp = 7,
   tunnelTypeVxlan = 8,
   tunnelTypeNvgre = 9,
   tunnelTypeMpls = 10,
   tunnelTypeMplsInGre = 11,
   tunnelTypeVxlanGpe = 12,
   tunnelTypeUnknown = 0x10000,
};
KEL_ENUM_DECLARE( TunnelType )

// bgpIsValidEnumMember(): one of the eight named tunnel types (never
// tunnelTypeUnknown).
constexpr bool bgpIsValidEnumMember( TunnelType v ) noexcept {
   switch ( v ) {
      case tunnelTypeL2tpv3OverIp:
      case tunnelTypeGre:
      case tunnelTypeIpInIp:
      case tunnelTypeVxlan:
      case tunnelTypeNvgre:
      case tunnelTypeMpls:
      case tunnelTypeMplsInGre:
      case tunnelTypeVxlanGpe:
         return true;
      case tunnelTypeUnknown:
         return false;
   }
   return false;
}

// ExtCommTunnelEncap(): the tunnel type is bits 15..0; the four octets
// before it are carried, not interpreted.
class ExtCommTunnelEncap : public ExtCommSubtyped {
 public:
   // formatDerivedType(): <TunnelEncap 8:tunnelTypeVxlan 0x...>, with
   // tunnelTypeUnknown (no number) for a value without a name.
   // appendStrepForPolicy(): the member name or "tunnelTypeUnknown-N",
   // prefixed "TunnelEncap:" with classification; no other flag counts.
   OVBGP_PARSE_VALUE_BASICS( ExtCommTunnelEncap, ExtCommSubtyped, extCommClassificationTunnelEncap,
                             content )

   // tunnelType(): the 16-bit value, a member or not.
   TunnelType tunnelType() const noexcept { return TunnelType( getContent().localAdmin2Octets() ); }
};

// extCommTunnelEncapFactory(): a new value, notification on, not interned.
// BgpParseExtComSubTypeTransOpaqueTunnelEncapRule(): type 0x03
// subtype 0x0C; builds an encapsulation community.
// BgpParseExtCommTunnelEncapSm(): the plug-in that gives the transitive opaque
// type rule its encapsulation sub-rule.
OVBGP_PARSE_ONE_RULE_PLUGIN( ExtCommTunnelEncap, extCommTunnelEncapFactory,
                             BgpParseExtComSubTypeTransOpaqueTunnelEncapRule,
                             BgpParseExtComSubTypeTransOpaqueRuleBase,
                             extCommPktSubtypeTransOpaqueEncapsulationExtendedCommunity,
                             BgpParseExtCommTunnelEncapSm, bgpParseExtCommTunnelEncapSmFactory )

} // namespace Routing::Bgp
