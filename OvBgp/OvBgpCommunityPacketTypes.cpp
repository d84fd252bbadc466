#include "OvBgp/OvBgpCommunityPacketTypes.h"

// The member tables behind the text services; every member, unknown and
// out-of-band ones included, has its name.

namespace Routing::Bgp {

KEL_ENUM_DEFINE( BgpExtCommPktType, "Routing::Bgp::BgpExtCommPktType",
                 KEL_ENUM_MEMBER( extCommPktTypeTransTwoOctetAs ),
                 KEL_ENUM_MEMBER( extCommPktTypeTransIpv4Address ),
                 KEL_ENUM_MEMBER( extCommPktTypeTransFourOctetAs ),
                 KEL_ENUM_MEMBER( extCommPktTypeTransOpaque ),
                 KEL_ENUM_MEMBER( extCommPktTypeTransQosMarking ),
                 KEL_ENUM_MEMBER( extCommPktTypeTransCosCapability ),
                 KEL_ENUM_MEMBER( extCommPktTypeTransEvpn ),
                 KEL_ENUM_MEMBER( extCommPktTypeTransFlowspecRedirectNexthop ),
                 KEL_ENUM_MEMBER( extCommPktTypeNonTransTwoOctetAs ),
                 KEL_ENUM_MEMBER( extCommPktTypeNonTransIpv4Address ),
                 KEL_ENUM_MEMBER( extCommPktTypeNonTransFourOctetAs ),
                 KEL_ENUM_MEMBER( extCommPktTypeNonTransOpaque ),
                 KEL_ENUM_MEMBER( extCommPktTypeNonTransQosMarking ),
                 KEL_ENUM_MEMBER( extCommPktTypeTransGeneric ),
                 KEL_ENUM_MEMBER( extCommPktTypeTransGenericPart2 ),
                 KEL_ENUM_MEMBER( extCommPktTypeTransGenericPart3 ),
                 KEL_ENUM_MEMBER( extCommPktTypeUnknown ) )

KEL_ENUM_DEFINE( BgpExtCommPktSubtypeTransTwoOctetAs,
                 "Routing::Bgp::BgpExtCommPktSubtypeTransTwoOctetAs",
                 KEL_ENUM_MEMBER( extCommPktSubtypeTransTwoOctetAsRouteTarget ),
                 KEL_ENUM_MEMBER( extCommPktSubtypeTransTwoOctetAsRouteOrigin ),
                 KEL_ENUM_MEMBER( extCommPktSubtypeTransTwoOctetAsOspfDomainIdentifier ),
                 KEL_ENUM_MEMBER( extCommPktSubtypeTransTwoOctetAsBgpDataCollection ),
                 KEL_ENUM_MEMBER( extCommPktSubtypeTransTwoOctetAsSourceAs ),
                 KEL_ENUM_MEMBER( extCommPktSubtypeTransTwoOctetAsL2VpnIdentifier ),
                 KEL_ENUM_MEMBER( extCommPktSubtypeTransTwoOctetAsCiscoVpnDistinguisher ),
                 KEL_ENUM_MEMBER( extCommPktSubtypeTransTwoOctetAsUnknown ) )

KEL_ENUM_DEFINE( BgpExtCommPktSubtypeTransIpv4Address,
                 "Routing::Bgp::BgpExtCommPktSubtypeTransIpv4Address",
                 KEL_ENUM_MEMBER( extCommPktSubtypeTransIpv4AddressRouteTarget ),
                 KEL_ENUM_MEMBER( extCommPktSubtypeTransIpv4AddressRouteOrigin ),
                 KEL_ENUM_MEMBER( extCommPktSubtypeTransIpv4AddressOspfDomainIdentifier ),
                 KEL_ENUM_MEMBER( extCommPktSubtypeTransIpv4AddressOspfRouteId ),
                 KEL_ENUM_MEMBER( extCommPktSubtypeTransIpv4AddressL2VpnIdentifier ),
                 KEL_ENUM_MEMBER( extCommPktSubtypeTransIpv4AddressVrfRouteImport ),
                 KEL_ENUM_MEMBER( extCommPktSubtypeTransIpv4AddressFlowspecRedirectIp ),
                 KEL_ENUM_MEMBER( extCommPktSubtypeTransIpv4AddressCiscoVpnDistinguisher ),
                 KEL_ENUM_MEMBER( extCommPktSubtypeTransIpv4AddressUnknown ) )

KEL_ENUM_DEFINE( BgpExtCommPktSubtypeTransFourOctetAs,
                 "Routing::Bgp::BgpExtCommPktSubtypeTransFourOctetAs",
                 KEL_ENUM_MEMBER( extCommPktSubtypeTransFourOctetAsRouteTarget ),
                 KEL_ENUM_MEMBER( extCommPktSubtypeTransFourOctetAsRouteOrigin ),
                 KEL_ENUM_MEMBER( extCommPktSubtypeTransFourOctetAsGeneric ),
                 KEL_ENUM_MEMBER( extCommPktSubtypeTransFourOctetAsOspfDomainIdentifier ),
                 KEL_ENUM_MEMBER( extCommPktSubtypeTransFourOctetAsBgpDataCollection ),
                 KEL_ENUM_MEMBER( extCommPktSubtypeTransFourOctetAsSourceAs ),
                 KEL_ENUM_MEMBER( extCommPktSubtypeTransFourOctetAsCiscoVpnDistinguisher ),
                 KEL_ENUM_MEMBER( extCommPktSubtypeTransFourOctetAsUnknown ) )

KEL_ENUM_DEFINE( BgpExtCommPktSubtypeTransOpaque, "Routing::Bgp::BgpExtCommPktSubtypeTransOpaque",
                 KEL_ENUM_MEMBER( extCommPktSubtypeTransOpaqueCostCommunity ),
                 KEL_ENUM_MEMBER( extCommPktSubtypeTransOpaqueOutboundRouteFilter ),
                 KEL_ENUM_MEMBER( extCommPktSubtypeTransOpaqueOspfRouteType ),
                 KEL_ENUM_MEMBER( extCommPktSubtypeTransOpaqueColorExtendedCommunity ),
                 KEL_ENUM_MEMBER( extCommPktSubtypeTransOpaqueEncapsulationExtendedCommunity ),
                 KEL_ENUM_MEMBER( extCommPktSubtypeTransOpaqueDefaultGateway ),
                 KEL_ENUM_MEMBER( extCommPktSubtypeTransOpaqeUnknown ) )

KEL_ENUM_DEFINE( BgpExtCommPktSubtypeEvpn, "Routing::Bgp::BgpExtCommPktSubtypeEvpn",
                 KEL_ENUM_MEMBER( extCommPktSubtypeEvpnMacMobility ),
                 KEL_ENUM_MEMBER( extCommPktSubtypeEvpnEsiMplsLabel ),
                 KEL_ENUM_MEMBER( extCommPktSubtypeEvpnEsImport ),
                 KEL_ENUM_MEMBER( extCommPktSubtypeEvpnRouterMac ),
                 KEL_ENUM_MEMBER( extCommPktSubtypeEvpnLayer2Attributes ),
                 KEL_ENUM_MEMBER( extCommPktSubtypeEvpnEtree ),
                 KEL_ENUM_MEMBER( extCommPktSubtypeEvpnDFElection ),
                 KEL_ENUM_MEMBER( extCommPktSubtypeEvpnNdFlags ),
                 KEL_ENUM_MEMBER( extCommPktSubtypeEvpnMulticastFlags ),
                 KEL_ENUM_MEMBER( extCommPktSubtypeEvpnEviRtType0 ),
                 KEL_ENUM_MEMBER( extCommPktSubtypeEvpnEviRtType1 ),
                 KEL_ENUM_MEMBER( extCommPktSubtypeEvpnEviRtType2 ),
                 KEL_ENUM_MEMBER( extCommPktSubtypeEvpnUnknown ) )

KEL_ENUM_DEFINE( BgpExtCommPktSubtypeTransFlowspecRedirectNexthop,
                 "Routing::Bgp::BgpExtCommPktSubtypeTransFlowspecRedirectNexthop",
                 KEL_ENUM_MEMBER( extCommPktSubtypeFlowspecRedirectNexthop ),
                 KEL_ENUM_MEMBER( extCommPktSubtypeFlowspecRedirectUnknown ) )

KEL_ENUM_DEFINE( BgpExtCommPktSubtypeTransGeneric, "Routing::Bgp::BgpExtCommPktSubtypeTransGeneric",
                 KEL_ENUM_MEMBER( extCommPktSubtypeTransGenericFlowspecTrafficRate ),
                 KEL_ENUM_MEMBER( extCommPktSubtypeTransGenericFlowspecTrafficAction ),
                 KEL_ENUM_MEMBER( extCommPktSubtypeTransGenericFlowspecRedirectAs2Byte ),
                 KEL_ENUM_MEMBER( extCommPktSubtypeTransGenericFlowspecTrafficRemarking ),
                 KEL_ENUM_MEMBER( extCommPktSubtypeTransGenericLayer2InfoExtendedCommunity ),
                 KEL_ENUM_MEMBER( extCommPktSubtypeTransGenericEtreeInfo ),
                 KEL_ENUM_MEMBER( extCommPktSubtypeTransGenericUnknown ) )

KEL_ENUM_DEFINE( BgpExtCommPktSubtypeTransGenericPart2,
                 "Routing::Bgp::BgpExtCommPktSubtypeTransGenericPart2",
                 KEL_ENUM_MEMBER( extCommPktSubtypeTransGenericPart2FlowspecRedirectIpv4 ),
                 KEL_ENUM_MEMBER( extCommPktSubtypeTransGenericPart2Unknown ) )

KEL_ENUM_DEFINE( BgpExtCommPktSubtypeTransGenericPart3,
                 "Routing::Bgp::BgpExtCommPktSubtypeTransGenericPart3",
                 KEL_ENUM_MEMBER( extCommPktSubtypeTransGenericPart3FlowspecRedirectAs4Byte ),
                 KEL_ENUM_MEMBER( extCommPktSubtypeTransGenericPart3Unknown ) )

KEL_ENUM_DEFINE( BgpExtCommPktSubtypeNonTransTwoOctetAs,
                 "Routing::Bgp::BgpExtCommPktSubtypeNonTransTwoOctetAs",
                 KEL_ENUM_MEMBER( extCommPktSubtypeNonTransTwoOctetAsLinkBandwidth ),
                 KEL_ENUM_MEMBER( extCommPktSubtypeNonTransTwoOctetAsVirtualNetworkIdentifier ),
                 KEL_ENUM_MEMBER( extCommPktSubtypeNonTransTwoOctetAsLinkBandwidthAny ),
                 KEL_ENUM_MEMBER( extCommPktSubtypeNonTransTwoOctetAsUnknown ) )

KEL_ENUM_DEFINE( BgpExtCommPktSubtypeNonTransIpv4Address,
                 "Routing::Bgp::BgpExtCommPktSubtypeNonTransIpv4Address",
                 KEL_ENUM_MEMBER( extCommPktSubtypeNonTransIpv4AddressUnknown ) )

KEL_ENUM_DEFINE( BgpExtCommPktSubtypeNonTransFourOctetAs,
                 "Routing::Bgp::BgpExtCommPktSubtypeNonTransFourOctetAs",
                 KEL_ENUM_MEMBER( extCommPktSubtypeNonTransFourOctetAsGeneric ),
                 KEL_ENUM_MEMBER( extCommPktSubNonTransFourOctetAsUnknown ) )

KEL_ENUM_DEFINE( BgpExtCommPktSubtypeNonTransOpaque,
                 "Routing::Bgp::BgpExtCommPktSubtypeNonTransOpaque",
                 KEL_ENUM_MEMBER( extCommPktSubtypeNonTransOriginValidationState ),
                 KEL_ENUM_MEMBER( extCommPktSubtypeNonTransCostCommunity ),
                 KEL_ENUM_MEMBER( extCommPktSubtypeNonTransOpaqueUnknown ) )

KEL_ENUM_DEFINE( BgpExtCommIp6PktType, "Routing::Bgp::BgpExtCommIp6PktType",
                 KEL_ENUM_MEMBER( extCommIp6PktTypeTransIpv6Address ),
                 KEL_ENUM_MEMBER( extCommIp6PktTypeNonTransIpv6Address ),
                 KEL_ENUM_MEMBER( extCommIp6PktTypeUnknown ) )

KEL_ENUM_DEFINE( BgpExtCommIp6PktSubtypeTransIpv6Address,
                 "Routing::Bgp::BgpExtCommIp6PktSubtypeTransIpv6Address",
                 KEL_ENUM_MEMBER( extCommIp6PktSubtypeRouteTarget ),
                 KEL_ENUM_MEMBER( extCommIp6PktSubtypeRouteOrigin ),
                 KEL_ENUM_MEMBER( extCommIp6PktSubtypeOspf3RouteAttributes ),
                 KEL_ENUM_MEMBER( extCommIp6PktSubtypeVrfRouteImport ),
                 KEL_ENUM_MEMBER( extCommIp6PktSubtypeFlowspecRedirectIpv6 ),
                 KEL_ENUM_MEMBER( extCommIp6PktSubtypeCiscoVpnDistinguisher ),
                 KEL_ENUM_MEMBER( extCommIp6PktSubtypeUuidRouteTarget ),
                 KEL_ENUM_MEMBER( extCommIp6PktSubtypeInterAreaP2MPNextHop ),
                 KEL_ENUM_MEMBER( extCommIp6PktSubtypeTransIpv6AddressUnknown ) )

KEL_ENUM_DEFINE( BgpExtCommIp6PktSubtypeNonTransIpv6Address,
                 "Routing::Bgp::BgpExtCommIp6PktSubtypeNonTransIpv6Address",
                 KEL_ENUM_MEMBER( extCommIp6PktSubtypeNonTransIpv6AddressUnknown ) )

KEL_ENUM_DEFINE( ExtCommClassification, "Routing::Bgp::ExtCommClassification",
                 KEL_ENUM_MEMBER( extCommClassificationUnSpecified ),
                 KEL_ENUM_MEMBER( extCommClassificationRouteTarget ),
                 KEL_ENUM_MEMBER( extCommClassificationRouteOrigin ),
                 KEL_ENUM_MEMBER( extCommClassificationEvpn ),
                 KEL_ENUM_MEMBER( extCommClassificationTunnelEncap ),
                 KEL_ENUM_MEMBER( extCommClassificationDefaultGateway ),
                 KEL_ENUM_MEMBER( extCommClassificationFlowspec ),
                 KEL_ENUM_MEMBER( extCommClassificationLinkBandwidth ),
                 KEL_ENUM_MEMBER( extCommClassificationColor ),
                 KEL_ENUM_MEMBER( extCommClassificationOriginValidationState ),
                 KEL_ENUM_MEMBER( extCommClassificationVrfRouteImport ),
                 KEL_ENUM_MEMBER( extCommClassificationOneBeyondLast ) )

KEL_ENUM_DEFINE( BgpCommunityValue, "Routing::Bgp::BgpCommunityValue",
                 KEL_ENUM_MEMBER( communityInternet ), KEL_ENUM_MEMBER( communityGshut ),
                 KEL_ENUM_MEMBER( communityLlgrStale ), KEL_ENUM_MEMBER( communityNoLlgr ),
                 KEL_ENUM_MEMBER( communityNoExport ), KEL_ENUM_MEMBER( communityNoAdvertise ),
                 KEL_ENUM_MEMBER( communityNoExportSubconfed ) )

} // namespace Routing::Bgp
