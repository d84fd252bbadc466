#include "OvBgp/BgpPathAttributeEnums.h"

namespace Routing::Bgp {

KEL_ENUM_DEFINE( BgpPathAttrType, "Routing::Bgp::BgpPathAttrType",
                 KEL_ENUM_MEMBER( invalidPathAttr ), KEL_ENUM_MEMBER( origin ),
                 KEL_ENUM_MEMBER( asPath ), KEL_ENUM_MEMBER( nextHop ),
                 KEL_ENUM_MEMBER( multiExitDisc ), KEL_ENUM_MEMBER( localPref ),
                 KEL_ENUM_MEMBER( atomicAggregate ), KEL_ENUM_MEMBER( aggregator ),
                 KEL_ENUM_MEMBER( community ), KEL_ENUM_MEMBER( originatorId ),
                 KEL_ENUM_MEMBER( clusterList ), KEL_ENUM_MEMBER( advertiser ),
                 KEL_ENUM_MEMBER( rcidPath ), KEL_ENUM_MEMBER( mpReachNlri ),
                 KEL_ENUM_MEMBER( mpUnreachNlri ), KEL_ENUM_MEMBER( extCommunity ),
                 KEL_ENUM_MEMBER( as4Path ), KEL_ENUM_MEMBER( as4Aggregator ),
                 KEL_ENUM_MEMBER( pmsiTunnel ), KEL_ENUM_MEMBER( tunnelEncapsulation ),
                 KEL_ENUM_MEMBER( extCommunityIp6 ), KEL_ENUM_MEMBER( accumulatedIgpMetric ),
                 KEL_ENUM_MEMBER( bgpLs ), KEL_ENUM_MEMBER( largeCommunity ),
                 KEL_ENUM_MEMBER( domainPath ), KEL_ENUM_MEMBER( prefixSid ),
                 KEL_ENUM_MEMBER( attrSet ), KEL_ENUM_MEMBER( reservedForDevelopment ),
                 KEL_ENUM_MEMBER( attrTypeUnknown ) )

std::string_view bgpPathAttrTypeShowString( BgpPathAttrType type ) noexcept {
   switch ( type ) {
      case invalidPathAttr:
         return "Invalid Path Attribute";
      case origin:
         return "Origin";
      case asPath:
         return "AS Path";
      case nextHop:
         return "Nexthop";
      case multiExitDisc:
         return "MED";
      case localPref:
         return "Local Preference";
      case atomicAggregate:
         return "Atomic Aggregator";
      case aggregator:
         return "Aggregator";
      case community:
         return "Community";
      case originatorId:
         return "Originator ID";
      case clusterList:
         return "Cluster List";
      case advertiser:
         return "Advertiser";
      case rcidPath:
         return "RCID Path";
      case mpReachNlri:
         return "MP Reach NLRI";
      case mpUnreachNlri:
         return "MP Unreach NLRI";
      case extCommunity:
         return "Extended Community";
      case as4Path:
         return "AS4 Path";
      case as4Aggregator:
         return "AS4 Aggregator";
      case pmsiTunnel:
         return "PMSI Tunnel";
      case tunnelEncapsulation:
         return "Tunnel Encapsulation";
      case extCommunityIp6:
         return "IPv6 Address Specific Extended Community";
      case accumulatedIgpMetric:
         return "Accumulated IGP Metric";
      case bgpLs:
         return "Link State";
      case largeCommunity:
         return "Large Community";
      case domainPath:
         return "Domain Path";
      case prefixSid:
         return "BGP Prefix-SID";
      case attrSet:
         return "Attribute Set";
      case reservedForDevelopment:
         return "Reserved for Development";
      case attrTypeUnknown:
         break;
   }
   return "Invalid attribute";
}

KEL_ENUM_DEFINE( BgpPathAttrFlag, "Routing::Bgp::BgpPathAttrFlag",
                 KEL_ENUM_MEMBER( optionalTransitive ),
                 KEL_ENUM_MEMBER( optionalTransitivePartial ), KEL_ENUM_MEMBER( transitive ),
                 KEL_ENUM_MEMBER( partial ), KEL_ENUM_MEMBER( extLen ) )

KEL_ENUM_DEFINE( OriginCode, "Routing::Bgp::OriginCode", KEL_ENUM_MEMBER( originIgp ),
                 KEL_ENUM_MEMBER( originEgp ), KEL_ENUM_MEMBER( originIncomplete ),
                 KEL_ENUM_MEMBER( originUnknown ) )

KEL_ENUM_DEFINE( AspType, "Routing::Bgp::AspType", KEL_ENUM_MEMBER( aspTypeLocal ),
                 KEL_ENUM_MEMBER( aspTypeIbgp ), KEL_ENUM_MEMBER( aspTypeEbgp ),
                 KEL_ENUM_MEMBER( aspTypeConfedEbgp ), KEL_ENUM_MEMBER( aspTypeAggregate ),
                 KEL_ENUM_MEMBER( aspTypeDefaultOriginate ), KEL_ENUM_MEMBER( aspTypeMax ) )

KEL_ENUM_DEFINE( PrefixSidTlvType, "Routing::Bgp::PrefixSidTlvType", KEL_ENUM_MEMBER( invalidTlv ),
                 KEL_ENUM_MEMBER( labelIndexTlv ), KEL_ENUM_MEMBER( ipv6SidTlv ),
                 KEL_ENUM_MEMBER( originatorSrgbTlv ) )

} // namespace Routing::Bgp
