// OvBgp/BgpPathAttributeEnums.h: the codes around BGP path attributes: the
// attribute type with its show text, the flags octet, ORIGIN codes, the kind
// of source of an AS path and the TLV types of the Prefix-SID attribute. Each
// is a plain enum with the framework's text services (Kel/Enum.h).
//
//   U8 flags = optionalTransitive | extLen;
//   std::string_view text = bgpPathAttrTypeShowString( extCommunity ); // "Extended Community"
#pragma once

#include <string_view>

#include "Kel/Enum.h"
#include "Kel/Types.h"

namespace Routing::Bgp {

// BgpPathAttrType: the attribute type code (RFC 4271 and the IANA registry).
// attrTypeUnknown lies outside the octet, so no wire type is ever it.
enum BgpPathAttrType : U16 {
   invalidPathAttr = 0,
   origin = 1,
   asPath = 2,
   nextHop = 3,
   multiExitDisc = 4,
   localPref = 5,
   atomicAggregate = 6,
   aggregator = 7,
   community = 8,
   originatorId = 9,
   clusterList = 10,
   advertiser = 12,
   rcidPath = 13,
   mpReachNlri = 14,
   mpUnreachNlri = 15,
   extCommunity = 16,
   as4Path = 17,
   as4Aggregator = 18,
   pmsiTunnel = 22,
   tunnelEncapsulation = 23,
   extCommunityIp6 = 25,
   accumulatedIgpMetric = 26,
   bgpLs = 29,
   largeCommunity = 32,
   domainPath = 36,
   prefixSid = 40,
   attrSet = 128,
   reservedForDevelopment = 255,
   attrTypeUnknown = 256,
};
KEL_ENUM_DECLARE( BgpPathAttrType )

// bgpPathAttrTypeShowString(): the show-command text of a type ("Large
// Community"); "Invalid attribute" for a code without a member (and for
// attrTypeUnknown), but "Invalid Path Attribute" for 0.
std::string_view bgpPathAttrTypeShowString( BgpPathAttrType type ) noexcept;

// BgpPathAttrFlag: bits of the flags octet: 0x80 optional, 0x40 transitive,
// 0x20 partial, 0x10 extended (two-octet) length.
enum BgpPathAttrFlag : U8 {
   optionalTransitive = 0xC0,
   optionalTransitivePartial = 0xE0,
   transitive = 0x40,
   partial = 0x20,
   extLen = 0x10,
};
KEL_ENUM_DECLARE( BgpPathAttrFlag )

// OriginCode: the ORIGIN attribute's value (RFC 4271), and "none known".
enum OriginCode : U8 {
   originIgp = 0,
   originEgp = 1,
   originIncomplete = 2,
   originUnknown = 3,
};
KEL_ENUM_DECLARE( OriginCode )

// AspType: where an AS path came from; aspTypeMax bounds arrays indexed by it.
enum AspType : U8 {
   aspTypeLocal = 0,
   aspTypeIbgp = 1,
   aspTypeEbgp = 2,
   aspTypeConfedEbgp = 3,
   aspTypeAggregate = 4,
   aspTypeDefaultOriginate = 5,
   aspTypeMax = 6,
};
KEL_ENUM_DECLARE( AspType )

// PrefixSidTlvType: TLV types of the BGP Prefix-SID attribute (RFC 8669);
// invalidTlv is the reserved code 0.
enum PrefixSidTlvType : U8 {
   invalidTlv = 0,
   labelIndexTlv = 1,
   ipv6SidTlv = 2,
   originatorSrgbTlv = 3,
};
KEL_ENUM_DECLARE( PrefixSidTlvType )

} // namespace Routing::Bgp
