// OvBgp/Parse/ExtCommRouteTarget.h: the route-target community (subtype 0x02)
// in its three transitive layouts, 2-octet AS (type 0x00), IPv4 address
// (0x01) and 4-octet AS (0x02), with its text forms ("RT:65000:100",
// "Route-Target-AS4:65000.100:5"), the sub-rules that build it and the
// plug-in that registers them.
//
//   auto rt = extCommRouteTargetAsFactory( ExtCommContent( 0x0002fde800000064 ), false );
//   rt->toStrepForPolicy( ExtComm::strepFormatClassification );  // "RT:65000:100"
#pragma once

#include "OvBgp/Parse/ExtCommAsNumber.h"
#include "OvBgp/Parse/ExtCommPluginBase.h"
#include "OvBgp/Parse/ExtCommRules.h"

namespace Routing::Bgp {

// ExtCommRouteTargetAs(): a route target of an AS number; fourByteAs for
// type 0x02, not for 0x00.
class ExtCommRouteTargetAs : public ExtCommAsNumber {
 public:
   using Ptr = Kel::Ptr<ExtCommRouteTargetAs>;
   using PtrConst = Kel::Ptr<const ExtCommRouteTargetAs>;

   ExtCommRouteTargetAs( const ExtCommContent& content, bool fourByteAs ) noexcept
         : ExtCommAsNumber( extCommClassificationRouteTarget, content, fourByteAs ) {}
   static Ptr ExtCommRouteTargetAsIs( const ExtCommContent& content, bool fourByteAs );

   // formatDerivedType(): <RouteTarget2ByteASN 65000:100 0x...>; a type
   // octet other than 0x00 or 0x02 is a broken invariant.
   void formatDerivedType( std::ostream& os ) const override;
   // appendStrepForPolicy(): "AS:local", prefixed "RT:" with classification,
   // "Route-Target-AS:" / "Route-Target-AS4:" with classification and UI.
   void appendStrepForPolicy( StrepFormat format,
                              OvFmt::DynamicBufferInterface& out ) const override;
};

// ExtCommRouteTargetIpv4Address(): a route target of an IPv4 address.
class ExtCommRouteTargetIpv4Address : public ExtCommIpv4Address {
 public:
   using Ptr = Kel::Ptr<ExtCommRouteTargetIpv4Address>;
   using PtrConst = Kel::Ptr<const ExtCommRouteTargetIpv4Address>;

   explicit ExtCommRouteTargetIpv4Address( const ExtCommContent& content ) noexcept
         : ExtCommIpv4Address( extCommClassificationRouteTarget, content ) {}
   static Ptr ExtCommRouteTargetIpv4AddressIs( const ExtCommContent& content );

   // formatDerivedType(): <RouteTarget 192.168.0.1:42 0x...>.
   void formatDerivedType( std::ostream& os ) const override;
   // appendStrepForPolicy(): "a.b.c.d:local", prefixed "RT:" with
   // classification, "Route-Target-IP:" with classification and UI.
   void appendStrepForPolicy( StrepFormat format,
                              OvFmt::DynamicBufferInterface& out ) const override;
};

// extCommRouteTargetAsFactory() / extCommRouteTargetIpv4AddressFactory(): a
// new value, notification on, not interned.
ExtCommRouteTargetAs::Ptr extCommRouteTargetAsFactory( const ExtCommContent& content,
                                                       bool fourByteAs );
ExtCommRouteTargetIpv4Address::Ptr extCommRouteTargetIpv4AddressFactory(
      const ExtCommContent& content );

// BgpParseExtComSubTypeTransTwoOctetAsRouteTargetRule(): type 0x00 subtype
// 0x02; builds a 2-octet AS route target.
OVBGP_PARSE_SUB_RULE( BgpParseExtComSubTypeTransTwoOctetAsRouteTargetRule,
                      BgpParseExtComSubTypeTransTwoOctetAsRuleBase,
                      extCommPktSubtypeTransTwoOctetAsRouteTarget,
                      extCommRouteTargetAsFactory( content, false ) )

// BgpParseExtComSubTypeTransIpv4AddressRouteTargetRule(): type 0x01
// subtype 0x02; builds an IPv4-address route target.
OVBGP_PARSE_SUB_RULE( BgpParseExtComSubTypeTransIpv4AddressRouteTargetRule,
                      BgpParseExtComSubTypeTransIpv4AddressRuleBase,
                      extCommPktSubtypeTransIpv4AddressRouteTarget,
                      extCommRouteTargetIpv4AddressFactory( content ) )

// BgpParseExtComSubTypeTransFourOctetAsRouteTargetRule(): type 0x02
// subtype 0x02; builds a 4-octet AS route target.
OVBGP_PARSE_SUB_RULE( BgpParseExtComSubTypeTransFourOctetAsRouteTargetRule,
                      BgpParseExtComSubTypeTransFourOctetAsRuleBase,
                      extCommPktSubtypeTransFourOctetAsRouteTarget,
                      extCommRouteTargetAsFactory( content, true ) )

// BgpParseExtCommRouteTargetSm(): the plug-in that gives each of the three
// transitive AS / IPv4 type rules its route-target sub-rule. bgpParseExtCommRouteTargetSmFactory(): a new one, notification on.
OVBGP_PARSE_PLUGIN( BgpParseExtCommRouteTargetSm, bgpParseExtCommRouteTargetSmFactory,
                    BgpParseExtComSubTypeTransTwoOctetAsRouteTargetRule,
                    BgpParseExtComSubTypeTransIpv4AddressRouteTargetRule,
                    BgpParseExtComSubTypeTransFourOctetAsRouteTargetRule )

} // namespace Routing::Bgp
