// OvBgp/OvBgpCommunityPacketTypes.h: the wire codes of extended communities
// as named enums: the type octet, one subtype enum per type, the IPv6
// address-specific type and subtypes, the optional subtype value, the
// classification of typed communities and the well-known standard
// communities. Each enum has the framework's text services (Kel/Enum.h);
// the wire enums also have bgpIsValidEnumMember(), a bit test over the octet.
// The "Unknown" members lie above 255, so no wire octet is ever one of them.
//
//   auto type = BgpExtCommPktType( content.typeOctet() );
//   if ( !bgpIsValidEnumMember( type ) ) { type = extCommPktTypeUnknown; }
#pragma once

#include <string>

#include "Kel/Enum.h"
#include "Kel/String.h"
#include "Kel/Types.h"
#include "OvBgp/BgpOctetSet.h"
#include "OvBgp/OvBgpMiscTypes.h"

namespace Routing::Bgp {

// BgpExtCommPktType: octet 0 of an extended community. Bit 0x40 set means
// non-transitive.
enum BgpExtCommPktType : U16 {
   extCommPktTypeTransTwoOctetAs = 0x00,
   extCommPktTypeTransIpv4Address = 0x01,
   extCommPktTypeTransFourOctetAs = 0x02,
   extCommPktTypeTransOpaque = 0x03,
   extCommPktTypeTransQosMarking = 0x04,
   extCommPktTypeTransCosCapability = 0x05,
   extCommPktTypeTransEvpn = 0x06,
   extCommPktTypeTransFlowspecRedirectNexthop = 0x08,
   extCommPktTypeNonTransTwoOctetAs = 0x40,
   extCommPktTypeNonTransIpv4Address = 0x41,
   extCommPktTypeNonTransFourOctetAs = 0x42,
   extCommPktTypeNonTransOpaque = 0x43,
   extCommPktTypeNonTransQosMarking = 0x44,
   extCommPktTypeTransGeneric = 0x80,
   extCommPktTypeTransGenericPart2 = 0x81,
   extCommPktTypeTransGenericPart3 = 0x82,
   extCommPktTypeUnknown = 0x100,
};
KEL_ENUM_DECLARE( BgpExtCommPktType )

// extCommPktType..._: the names that assertion texts use for the members.
inline constexpr BgpExtCommPktType extCommPktTypeTransTwoOctetAs_ = extCommPktTypeTransTwoOctetAs;
inline constexpr BgpExtCommPktType extCommPktTypeTransIpv4Address_ = extCommPktTypeTransIpv4Address;
inline constexpr BgpExtCommPktType extCommPktTypeTransFourOctetAs_ = extCommPktTypeTransFourOctetAs;
inline constexpr BgpExtCommPktType extCommPktTypeTransOpaque_ = extCommPktTypeTransOpaque;
inline constexpr BgpExtCommPktType extCommPktTypeTransQosMarking_ = extCommPktTypeTransQosMarking;
inline constexpr BgpExtCommPktType extCommPktTypeTransCosCapability_ =
      extCommPktTypeTransCosCapability;
inline constexpr BgpExtCommPktType extCommPktTypeTransEvpn_ = extCommPktTypeTransEvpn;
inline constexpr BgpExtCommPktType extCommPktTypeTransFlowspecRedirectNexthop_ =
      extCommPktTypeTransFlowspecRedirectNexthop;
inline constexpr BgpExtCommPktType extCommPktTypeNonTransTwoOctetAs_ =
      extCommPktTypeNonTransTwoOctetAs;
inline constexpr BgpExtCommPktType extCommPktTypeNonTransIpv4Address_ =
      extCommPktTypeNonTransIpv4Address;
inline constexpr BgpExtCommPktType extCommPktTypeNonTransFourOctetAs_ =
      extCommPktTypeNonTransFourOctetAs;
inline constexpr BgpExtCommPktType extCommPktTypeNonTransOpaque_ = extCommPktTypeNonTransOpaque;
inline constexpr BgpExtCommPktType extCommPktTypeNonTransQosMarking_ =
      extCommPktTypeNonTransQosMarking;
inline constexpr BgpExtCommPktType extCommPktTypeTransGeneric_ = extCommPktTypeTransGeneric;
inline constexpr BgpExtCommPktType extCommPktTypeTransGenericPart2_ =
      extCommPktTypeTransGenericPart2;
inline constexpr BgpExtCommPktType extCommPktTypeTransGenericPart3_ =
      extCommPktTypeTransGenericPart3;
inline constexpr BgpExtCommPktType extCommPktTypeUnknown_ = extCommPktTypeUnknown;

// BgpExtCommPktSubtypeTransTwoOctetAs: subtypes of type 0x00.
enum BgpExtCommPktSubtypeTransTwoOctetAs : U16 {
   extCommPktSubtypeTransTwoOctetAsRouteTarget = 0x02,
   extCommPktSubtypeTransTwoOctetAsRouteOrigin = 0x03,
   extCommPktSubtypeTransTwoOctetAsOspfDomainIdentifier = 0x05,
   extCommPktSubtypeTransTwoOctetAsBgpDataCollection = 0x08,
   extCommPktSubtypeTransTwoOctetAsSourceAs = 0x09,
   extCommPktSubtypeTransTwoOctetAsL2VpnIdentifier = 0x0a,
   extCommPktSubtypeTransTwoOctetAsCiscoVpnDistinguisher = 0x10,
   extCommPktSubtypeTransTwoOctetAsUnknown = 0x100,
};
KEL_ENUM_DECLARE( BgpExtCommPktSubtypeTransTwoOctetAs )

// BgpExtCommPktSubtypeTransIpv4Address: subtypes of type 0x01.
enum BgpExtCommPktSubtypeTransIpv4Address : U16 {
   extCommPktSubtypeTransIpv4AddressRouteTarget = 0x02,
   extCommPktSubtypeTransIpv4AddressRouteOrigin = 0x03,
   extCommPktSubtypeTransIpv4AddressOspfDomainIdentifier = 0x05,
   extCommPktSubtypeTransIpv4AddressOspfRouteId = 0x07,
   extCommPktSubtypeTransIpv4AddressL2VpnIdentifier = 0x0a,
   extCommPktSubtypeTransIpv4AddressVrfRouteImport = 0x0b,
   extCommPktSubtypeTransIpv4AddressFlowspecRedirectIp = 0x0c,
   extCommPktSubtypeTransIpv4AddressCiscoVpnDistinguisher = 0x10,
   extCommPktSubtypeTransIpv4AddressUnknown = 0x101,
};
KEL_ENUM_DECLARE( BgpExtCommPktSubtypeTransIpv4Address )

// BgpExtCommPktSubtypeTransFourOctetAs: subtypes of type 0x02.
enum BgpExtCommPktSubtypeTransFourOctetAs : U16 {
   extCommPktSubtypeTransFourOctetAsRouteTarget = 0x02,
   extCommPktSubtypeTransFourOctetAsRouteOrigin = 0x03,
   extCommPktSubtypeTransFourOctetAsGeneric = 0x04,
   extCommPktSubtypeTransFourOctetAsOspfDomainIdentifier = 0x05,
   extCommPktSubtypeTransFourOctetAsBgpDataCollection = 0x08,
   extCommPktSubtypeTransFourOctetAsSourceAs = 0x09,
   extCommPktSubtypeTransFourOctetAsCiscoVpnDistinguisher = 0x10,
   extCommPktSubtypeTransFourOctetAsUnknown = 0x102,
};
KEL_ENUM_DECLARE( BgpExtCommPktSubtypeTransFourOctetAs )

// BgpExtCommPktSubtypeTransOpaque: subtypes of type 0x03. The unknown
// member's spelling is the established name.
enum BgpExtCommPktSubtypeTransOpaque : U16 {
   extCommPktSubtypeTransOpaqueCostCommunity = 0x01,
   extCommPktSubtypeTransOpaqueOutboundRouteFilter = 0x03,
   extCommPktSubtypeTransOpaqueOspfRouteType = 0x06,
   extCommPktSubtypeTransOpaqueColorExtendedCommunity = 0x0b,
   extCommPktSubtypeTransOpaqueEncapsulationExtendedCommunity = 0x0c,
   extCommPktSubtypeTransOpaqueDefaultGateway = 0x0d,
   extCommPktSubtypeTransOpaqeUnknown = 0x103,
};
KEL_ENUM_DECLARE( BgpExtCommPktSubtypeTransOpaque )

// BgpExtCommPktSubtypeEvpn: subtypes of type 0x06.
enum BgpExtCommPktSubtypeEvpn : U16 {
   extCommPktSubtypeEvpnMacMobility = 0x00,
   extCommPktSubtypeEvpnEsiMplsLabel = 0x01,
   extCommPktSubtypeEvpnEsImport = 0x02,
   extCommPktSubtypeEvpnRouterMac = 0x03,
   extCommPktSubtypeEvpnLayer2Attributes = 0x04,
   extCommPktSubtypeEvpnEtree = 0x05,
   extCommPktSubtypeEvpnDFElection = 0x06,
   extCommPktSubtypeEvpnNdFlags = 0x08,
   extCommPktSubtypeEvpnMulticastFlags = 0x09,
   extCommPktSubtypeEvpnEviRtType0 = 0x0a,
   extCommPktSubtypeEvpnEviRtType1 = 0x0b,
   extCommPktSubtypeEvpnEviRtType2 = 0x0c,
   extCommPktSubtypeEvpnUnknown = 0x106,
};
KEL_ENUM_DECLARE( BgpExtCommPktSubtypeEvpn )

// BgpExtCommPktSubtypeTransFlowspecRedirectNexthop: subtypes of type 0x08.
enum BgpExtCommPktSubtypeTransFlowspecRedirectNexthop : U16 {
   extCommPktSubtypeFlowspecRedirectNexthop = 0x00,
   extCommPktSubtypeFlowspecRedirectUnknown = 0x108,
};
KEL_ENUM_DECLARE( BgpExtCommPktSubtypeTransFlowspecRedirectNexthop )

// BgpExtCommPktSubtypeTransGeneric: subtypes of type 0x80.
enum BgpExtCommPktSubtypeTransGeneric : U16 {
   extCommPktSubtypeTransGenericFlowspecTrafficRate = 0x06,
   extCommPktSubtypeTransGenericFlowspecTrafficAction = 0x07,
   extCommPktSubtypeTransGenericFlowspecRedirectAs2Byte = 0x08,
   extCommPktSubtypeTransGenericFlowspecTrafficRemarking = 0x09,
   extCommPktSubtypeTransGenericLayer2InfoExtendedCommunity = 0x0a,
   extCommPktSubtypeTransGenericEtreeInfo = 0x0b,
   extCommPktSubtypeTransGenericUnknown = 0x180,
};
KEL_ENUM_DECLARE( BgpExtCommPktSubtypeTransGeneric )

// BgpExtCommPktSubtypeTransGenericPart2: subtypes of type 0x81.
enum BgpExtCommPktSubtypeTransGenericPart2 : U16 {
   extCommPktSubtypeTransGenericPart2FlowspecRedirectIpv4 = 0x08,
   extCommPktSubtypeTransGenericPart2Unknown = 0x181,
};
KEL_ENUM_DECLARE( BgpExtCommPktSubtypeTransGenericPart2 )

// BgpExtCommPktSubtypeTransGenericPart3: subtypes of type 0x82.
enum BgpExtCommPktSubtypeTransGenericPart3 : U16 {
   extCommPktSubtypeTransGenericPart3FlowspecRedirectAs4Byte = 0x08,
   extCommPktSubtypeTransGenericPart3Unknown = 0x182,
};
KEL_ENUM_DECLARE( BgpExtCommPktSubtypeTransGenericPart3 )

// BgpExtCommPktSubtypeNonTransTwoOctetAs: subtypes of type 0x40.
// ...LinkBandwidthAny is no wire value: configuration uses it for "a
// link-bandwidth community of any AS".
enum BgpExtCommPktSubtypeNonTransTwoOctetAs : U16 {
   extCommPktSubtypeNonTransTwoOctetAsLinkBandwidth = 0x04,
   extCommPktSubtypeNonTransTwoOctetAsVirtualNetworkIdentifier = 0x80,
   extCommPktSubtypeNonTransTwoOctetAsLinkBandwidthAny = 0x200,
   extCommPktSubtypeNonTransTwoOctetAsUnknown = 0x140,
};
KEL_ENUM_DECLARE( BgpExtCommPktSubtypeNonTransTwoOctetAs )

// BgpExtCommPktSubtypeNonTransIpv4Address: type 0x41 has no known subtype.
enum BgpExtCommPktSubtypeNonTransIpv4Address : U16 {
   extCommPktSubtypeNonTransIpv4AddressUnknown = 0x141,
};
KEL_ENUM_DECLARE( BgpExtCommPktSubtypeNonTransIpv4Address )

// BgpExtCommPktSubtypeNonTransFourOctetAs: subtypes of type 0x42. The
// unknown member's spelling is the established name.
enum BgpExtCommPktSubtypeNonTransFourOctetAs : U16 {
   extCommPktSubtypeNonTransFourOctetAsGeneric = 0x04,
   extCommPktSubNonTransFourOctetAsUnknown = 0x142,
};
KEL_ENUM_DECLARE( BgpExtCommPktSubtypeNonTransFourOctetAs )

// BgpExtCommPktSubtypeNonTransOpaque: subtypes of type 0x43.
enum BgpExtCommPktSubtypeNonTransOpaque : U16 {
   extCommPktSubtypeNonTransOriginValidationState = 0x00,
   extCommPktSubtypeNonTransCostCommunity = 0x01,
   extCommPktSubtypeNonTransOpaqueUnknown = 0x143,
};
KEL_ENUM_DECLARE( BgpExtCommPktSubtypeNonTransOpaque )

// BgpExtCommIp6PktType: octet 0 of an IPv6 address-specific extended
// community.
enum BgpExtCommIp6PktType : U16 {
   extCommIp6PktTypeTransIpv6Address = 0x00,
   extCommIp6PktTypeNonTransIpv6Address = 0x40,
   extCommIp6PktTypeUnknown = 0x100,
};
KEL_ENUM_DECLARE( BgpExtCommIp6PktType )

// extCommIp6PktType..._: the names that assertion texts use for the members.
inline constexpr BgpExtCommIp6PktType extCommIp6PktTypeTransIpv6Address_ =
      extCommIp6PktTypeTransIpv6Address;
inline constexpr BgpExtCommIp6PktType extCommIp6PktTypeNonTransIpv6Address_ =
      extCommIp6PktTypeNonTransIpv6Address;

// BgpExtCommIp6PktSubtypeTransIpv6Address: subtypes of IPv6 type 0x00.
enum BgpExtCommIp6PktSubtypeTransIpv6Address : U16 {
   extCommIp6PktSubtypeRouteTarget = 0x02,
   extCommIp6PktSubtypeRouteOrigin = 0x03,
   extCommIp6PktSubtypeOspf3RouteAttributes = 0x04,
   extCommIp6PktSubtypeVrfRouteImport = 0x0b,
   extCommIp6PktSubtypeFlowspecRedirectIpv6 = 0x0c,
   extCommIp6PktSubtypeCiscoVpnDistinguisher = 0x10,
   extCommIp6PktSubtypeUuidRouteTarget = 0x11,
   extCommIp6PktSubtypeInterAreaP2MPNextHop = 0x12,
   extCommIp6PktSubtypeTransIpv6AddressUnknown = 0x300,
};
KEL_ENUM_DECLARE( BgpExtCommIp6PktSubtypeTransIpv6Address )

// BgpExtCommIp6PktSubtypeNonTransIpv6Address: IPv6 type 0x40 has no known
// subtype.
enum BgpExtCommIp6PktSubtypeNonTransIpv6Address : U16 {
   extCommIp6PktSubtypeNonTransIpv6AddressUnknown = 0x340,
};
KEL_ENUM_DECLARE( BgpExtCommIp6PktSubtypeNonTransIpv6Address )

// bgpIsValidEnumMember(): the value is a member that a wire octet can carry;
// false for the unknown and out-of-band members.
namespace PacketTypeOctets {
inline constexpr BgpOctetSet pktType{ 0x00, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x08,
                                      0x40, 0x41, 0x42, 0x43, 0x44, 0x80, 0x81, 0x82 };
inline constexpr BgpOctetSet transTwoOctetAs{ 0x02, 0x03, 0x05, 0x08, 0x09, 0x0a, 0x10 };
inline constexpr BgpOctetSet transIpv4Address{ 0x02, 0x03, 0x05, 0x07, 0x0a, 0x0b, 0x0c, 0x10 };
inline constexpr BgpOctetSet transFourOctetAs{ 0x02, 0x03, 0x04, 0x05, 0x08, 0x09, 0x10 };
inline constexpr BgpOctetSet transOpaque{ 0x01, 0x03, 0x06, 0x0b, 0x0c, 0x0d };
inline constexpr BgpOctetSet evpn{ 0x00, 0x01, 0x02, 0x03, 0x04, 0x05,
                                   0x06, 0x08, 0x09, 0x0a, 0x0b, 0x0c };
inline constexpr BgpOctetSet flowspecRedirectNexthop{ 0x00 };
inline constexpr BgpOctetSet transGeneric{ 0x06, 0x07, 0x08, 0x09, 0x0a, 0x0b };
inline constexpr BgpOctetSet transGenericPart2{ 0x08 };
inline constexpr BgpOctetSet transGenericPart3{ 0x08 };
inline constexpr BgpOctetSet nonTransTwoOctetAs{ 0x04, 0x80 };
inline constexpr BgpOctetSet nonTransFourOctetAs{ 0x04 };
inline constexpr BgpOctetSet nonTransOpaque{ 0x00, 0x01 };
inline constexpr BgpOctetSet ip6PktType{ 0x00, 0x40 };
inline constexpr BgpOctetSet ip6TransIpv6Address{ 0x02, 0x03, 0x04, 0x0b, 0x0c, 0x10, 0x11, 0x12 };
} // namespace PacketTypeOctets

constexpr bool bgpIsValidEnumMember( BgpExtCommPktType v ) noexcept {
   return PacketTypeOctets::pktType.contains( v );
}
constexpr bool bgpIsValidEnumMember( BgpExtCommPktSubtypeTransTwoOctetAs v ) noexcept {
   return PacketTypeOctets::transTwoOctetAs.contains( v );
}
constexpr bool bgpIsValidEnumMember( BgpExtCommPktSubtypeTransIpv4Address v ) noexcept {
   return PacketTypeOctets::transIpv4Address.contains( v );
}
constexpr bool bgpIsValidEnumMember( BgpExtCommPktSubtypeTransFourOctetAs v ) noexcept {
   return PacketTypeOctets::transFourOctetAs.contains( v );
}
constexpr bool bgpIsValidEnumMember( BgpExtCommPktSubtypeTransOpaque v ) noexcept {
   return PacketTypeOctets::transOpaque.contains( v );
}
constexpr bool bgpIsValidEnumMember( BgpExtCommPktSubtypeEvpn v ) noexcept {
   return PacketTypeOctets::evpn.contains( v );
}
constexpr bool bgpIsValidEnumMember( BgpExtCommPktSubtypeTransFlowspecRedirectNexthop v ) noexcept {
   return PacketTypeOctets::flowspecRedirectNexthop.contains( v );
}
constexpr bool bgpIsValidEnumMember( BgpExtCommPktSubtypeTransGeneric v ) noexcept {
   return PacketTypeOctets::transGeneric.contains( v );
}
constexpr bool bgpIsValidEnumMember( BgpExtCommPktSubtypeTransGenericPart2 v ) noexcept {
   return PacketTypeOctets::transGenericPart2.contains( v );
}
constexpr bool bgpIsValidEnumMember( BgpExtCommPktSubtypeTransGenericPart3 v ) noexcept {
   return PacketTypeOctets::transGenericPart3.contains( v );
}
constexpr bool bgpIsValidEnumMember( BgpExtCommPktSubtypeNonTransTwoOctetAs v ) noexcept {
   return PacketTypeOctets::nonTransTwoOctetAs.contains( v );
}
constexpr bool bgpIsValidEnumMember( BgpExtCommPktSubtypeNonTransIpv4Address ) noexcept {
   return false;
}
constexpr bool bgpIsValidEnumMember( BgpExtCommPktSubtypeNonTransFourOctetAs v ) noexcept {
   return PacketTypeOctets::nonTransFourOctetAs.contains( v );
}
constexpr bool bgpIsValidEnumMember( BgpExtCommPktSubtypeNonTransOpaque v ) noexcept {
   return PacketTypeOctets::nonTransOpaque.contains( v );
}
constexpr bool bgpIsValidEnumMember( BgpExtCommIp6PktType v ) noexcept {
   return PacketTypeOctets::ip6PktType.contains( v );
}
constexpr bool bgpIsValidEnumMember( BgpExtCommIp6PktSubtypeTransIpv6Address v ) noexcept {
   return PacketTypeOctets::ip6TransIpv6Address.contains( v );
}
constexpr bool bgpIsValidEnumMember( BgpExtCommIp6PktSubtypeNonTransIpv6Address ) noexcept {
   return false;
}

// BgpExtCommPktSubtype(): the subtype octet, or unspecified for a community
// whose type has none. The constructor checks the number against 0-255 (a
// base constructor cannot see these bounds); valueIs() checks the same way.
class BgpExtCommPktSubtype final : public BgpMaybeU63 {
 public:
   BgpExtCommPktSubtype() noexcept = default;
   explicit BgpExtCommPktSubtype( U64 number ) { valueIs( number ); }

   U64 min() const noexcept override { return 0; }
   U64 max() const noexcept override { return 0xFF; }
};

// extCommSubtypeString<E>(): the member name of a subtype octet, or
// "subtype=" and the octet in decimal when E has no such member.
template<class E>
Kel::String extCommSubtypeString( U8 octet ) {
   E subtype = static_cast<E>( octet );
   if ( bgpIsValidEnumMember( subtype ) ) {
      return Kel::String( stringValue( subtype ) );
   }
   return "subtype=" + std::to_string( octet );
}

// ExtCommClassification: the kind of typed value the parse rules made of a
// content, kept in the interned value's user-data word.
enum ExtCommClassification : U8 {
   extCommClassificationUnSpecified = 0,
   extCommClassificationRouteTarget = 1,
   extCommClassificationRouteOrigin = 2,
   extCommClassificationEvpn = 3,
   extCommClassificationTunnelEncap = 4,
   extCommClassificationDefaultGateway = 5,
   extCommClassificationFlowspec = 6,
   extCommClassificationLinkBandwidth = 7,
   extCommClassificationColor = 8,
   extCommClassificationOriginValidationState = 9,
   extCommClassificationVrfRouteImport = 10,
   extCommClassificationOneBeyondLast = 11,
};
KEL_ENUM_DECLARE( ExtCommClassification )

// BgpCommunityValue: the well-known standard communities.
enum BgpCommunityValue : U32 {
   communityInternet = 0x00000000,
   communityGshut = 0xFFFF0000,
   communityLlgrStale = 0xFFFF0006,
   communityNoLlgr = 0xFFFF0007,
   communityNoExport = 0xFFFFFF01,
   communityNoAdvertise = 0xFFFFFF02,
   communityNoExportSubconfed = 0xFFFFFF03,
};
KEL_ENUM_DECLARE( BgpCommunityValue )

} // namespace Routing::Bgp
