// OvBgp/Parse/ExtCommRouteOrigin.h: the route-origin (site of origin)
// community, subtype 0x03, in its three transitive layouts, 2-octet AS (type
// 0x00), IPv4 address (0x01) and 4-octet AS (0x02), with its text forms
// ("SoO:65000:100", "Route-Origin-AS4:65000.100:5"), the sub-rules that build
// it and the plug-in that registers them.
//
//   auto soo = extCommRouteOriginAsFactory( ExtCommContent( 0x0003fde800000064 ), false );
//   soo->toStrepForPolicy( ExtComm::strepFormatClassification );  // "SoO:65000:100"
#pragma once

#include "OvBgp/Parse/ExtCommAsNumber.h"
#include "OvBgp/Parse/ExtCommPluginBase.h"
#include "OvBgp/Parse/ExtCommRules.h"

namespace Routing::Bgp {

// ExtCommRouteOriginAs(): a route origin of an AS number; fourByteAs for
// type 0x02, not for 0x00.
class ExtCommRouteOriginAs : public ExtCommAsNumber {
 public:
   using Ptr = Kel::Ptr<ExtCommRouteOriginAs>;
   using PtrConst = Kel::Ptr<const ExtCommRouteOriginAs>;

   ExtCommRouteOriginAs( const ExtCommContent& content, bool fourByteAs ) noexcept
         : ExtCommAsNumber( extCommClassificationRouteOrigin, content, fourByteAs ) {}
   static Ptr ExtCommRouteOriginAsIs( const ExtCommContent& content, bool fourByteAs );

   // formatDerivedType(): <RouteOrigin2ByteASN 65000:100 0x...>; a type
   // octet other than 0x00 or 0x02 is a broken invariant.
   void formatDerivedType( std::ostream& os ) const override;
   // appendStrepForPolicy(): "AS:local", prefixed "SoO:" with classification,
   // "Route-Origin-AS:" / "Route-Origin-AS4:" with classification and UI.
   void appendStrepForPolicy( StrepFormat format,
                              OvFmt::DynamicBufferInterface& out ) const override;
};

// ExtCommRouteOriginIpv4Address(): a route origin of an IPv4 address.
class ExtCommRouteOriginIpv4Address : public ExtCommIpv4Address {
 public:
   using Ptr = Kel::Ptr<ExtCommRouteOriginIpv4Address>;
   using PtrConst = Kel::Ptr<const ExtCommRouteOriginIpv4Address>;

   explicit ExtCommRouteOriginIpv4Address( const ExtCommContent& content ) noexcept
         : ExtCommIpv4Address( extCommClassificationRouteOrigin, content ) {}
   static Ptr ExtCommRouteOriginIpv4AddressIs( const ExtCommContent& content );

   // formatDerivedType(): <RouteOrigin 192.168.0.1:42 0x...>.
   void formatDerivedType( std::ostream& os ) const override;
   // appendStrepForPolicy(): "a.b.c.d:local", prefixed "SoO:" with
   // classification, "Route-Origin-IP:" with classification and UI.
   void appendStrepForPolicy( StrepFormat format,
                              OvFmt::DynamicBufferInterface& out ) const override;
};

// extCommRouteOriginAsFactory() / extCommRouteOriginIpv4AddressFactory(): a
// new value, notification on, not interned.
ExtCommRouteOriginAs::Ptr extCommRouteOriginAsFactory( const ExtCommContent& content,
                                                       bool fourByteAs );
ExtCommRouteOriginIpv4Address::Ptr extCommRouteOriginIpv4AddressFactory(
      const ExtCommContent& content );

// BgpParseExtComSubTypeTransTwoOctetAsRouteOriginRule(): type 0x00 subtype
// 0x03; builds a 2-octet AS route origin.
OVBGP_PARSE_SUB_RULE( BgpParseExtComSubTypeTransTwoOctetAsRouteOriginRule,
                      BgpParseExtComSubTypeTransTwoOctetAsRuleBase,
                      extCommPktSubtypeTransTwoOctetAsRouteOrigin,
                      extCommRouteOriginAsFactory( content, false ) )

// BgpParseExtComSubTypeTransIpv4AddressRouteOriginRule(): type 0x01
// subtype 0x03; builds an IPv4-address route origin.
OVBGP_PARSE_SUB_RULE( BgpParseExtComSubTypeTransIpv4AddressRouteOriginRule,
                      BgpParseExtComSubTypeTransIpv4AddressRuleBase,
                      extCommPktSubtypeTransIpv4AddressRouteOrigin,
                      extCommRouteOriginIpv4AddressFactory( content ) )

// BgpParseExtComSubTypeTransFourOctetAsRouteOriginRule(): type 0x02
// subtype 0x03; builds a 4-octet AS route origin.
OVBGP_PARSE_SUB_RULE( BgpParseExtComSubTypeTransFourOctetAsRouteOriginRule,
                      BgpParseExtComSubTypeTransFourOctetAsRuleBase,
                      extCommPktSubtypeTransFourOctetAsRouteOrigin,
                      extCommRouteOriginAsFactory( content, true ) )

// BgpParseExtCommRouteOriginSm(): the plug-in that gives each of the three
// transitive AS / IPv4 type rules its route-origin sub-rule. bgpParseExtCommRouteOriginSmFactory(): a new one, notification on.
OVBGP_PARSE_PLUGIN( BgpParseExtCommRouteOriginSm, bgpParseExtCommRouteOriginSmFactory,
                    BgpParseExtComSubTypeTransTwoOctetAsRouteOriginRule,
                    BgpParseExtComSubTypeTransIpv4AddressRouteOriginRule,
                    BgpParseExtComSubTypeTransFourOctetAsRouteOriginRule )

} // namespace Routing::Bgp
