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
class BgpParseExtComSubTypeTransTwoOctetAsRouteOriginRule final
      : public BgpParseExtComSubTypeTransTwoOctetAsRuleBase {
 public:
   using Ptr = Kel::Ptr<BgpParseExtComSubTypeTransTwoOctetAsRouteOriginRule>;
   using PtrConst = Kel::Ptr<const BgpParseExtComSubTypeTransTwoOctetAsRouteOriginRule>;

   explicit BgpParseExtComSubTypeTransTwoOctetAsRouteOriginRule(
         const BgpParseExtCommControl& control,
         Subtype subType = extCommPktSubtypeTransTwoOctetAsRouteOrigin ) noexcept
         : BgpParseExtComSubTypeTransTwoOctetAsRuleBase( control, subType ) {}
   Kel::Ptr<const ExtComm> inhale( const ExtCommContent& content ) const override;
};

// BgpParseExtComSubTypeTransIpv4AddressRouteOriginRule(): type 0x01
// subtype 0x03; builds an IPv4-address route origin.
class BgpParseExtComSubTypeTransIpv4AddressRouteOriginRule final
      : public BgpParseExtComSubTypeTransIpv4AddressRuleBase {
 public:
   using Ptr = Kel::Ptr<BgpParseExtComSubTypeTransIpv4AddressRouteOriginRule>;
   using PtrConst = Kel::Ptr<const BgpParseExtComSubTypeTransIpv4AddressRouteOriginRule>;

   explicit BgpParseExtComSubTypeTransIpv4AddressRouteOriginRule(
         const BgpParseExtCommControl& control,
         Subtype subType = extCommPktSubtypeTransIpv4AddressRouteOrigin ) noexcept
         : BgpParseExtComSubTypeTransIpv4AddressRuleBase( control, subType ) {}
   Kel::Ptr<const ExtComm> inhale( const ExtCommContent& content ) const override;
};

// BgpParseExtComSubTypeTransFourOctetAsRouteOriginRule(): type 0x02
// subtype 0x03; builds a 4-octet AS route origin.
class BgpParseExtComSubTypeTransFourOctetAsRouteOriginRule final
      : public BgpParseExtComSubTypeTransFourOctetAsRuleBase {
 public:
   using Ptr = Kel::Ptr<BgpParseExtComSubTypeTransFourOctetAsRouteOriginRule>;
   using PtrConst = Kel::Ptr<const BgpParseExtComSubTypeTransFourOctetAsRouteOriginRule>;

   explicit BgpParseExtComSubTypeTransFourOctetAsRouteOriginRule(
         const BgpParseExtCommControl& control,
         Subtype subType = extCommPktSubtypeTransFourOctetAsRouteOrigin ) noexcept
         : BgpParseExtComSubTypeTransFourOctetAsRuleBase( control, subType ) {}
   Kel::Ptr<const ExtComm> inhale( const ExtCommContent& content ) const override;
};

// BgpParseExtCommRouteOriginSm(): the plug-in that gives each of the three
// transitive AS / IPv4 type rules its route-origin sub-rule.
class BgpParseExtCommRouteOriginSm final : public BgpParseExtCommPluginBaseSm {
 public:
   using Ptr = Kel::Ptr<BgpParseExtCommRouteOriginSm>;
   using PtrConst = Kel::Ptr<const BgpParseExtCommRouteOriginSm>;

   // Construction offers the plug-in every type rule already registered.
   explicit BgpParseExtCommRouteOriginSm(
         const Kel::Ptr<const BgpParseExtCommRuleCollections>& ruleCollections );
   static Ptr BgpParseExtCommRouteOriginSmIs(
         const Kel::Ptr<const BgpParseExtCommRuleCollections>& ruleCollections );

   void instantiateExtCommSubTypeTransTwoOctetAsSubRule(
         const BgpParseExtCommSubTypeTransTwoOctetAsRuleKey& key,
         const BgpParseExtCommControl& control ) const override;
   void instantiateExtCommSubTypeTransIpv4AddressSubRule(
         const BgpParseExtCommSubTypeTransIpv4AddressRuleKey& key,
         const BgpParseExtCommControl& control ) const override;
   void instantiateExtCommSubTypeTransFourOctetAsSubRule(
         const BgpParseExtCommSubTypeTransFourOctetAsRuleKey& key,
         const BgpParseExtCommControl& control ) const override;
};

// bgpParseExtCommRouteOriginSmFactory(): a new plug-in, notification on.
BgpParseExtCommRouteOriginSm::Ptr bgpParseExtCommRouteOriginSmFactory(
      const Kel::Ptr<const BgpParseExtCommRuleCollections>& ruleCollections );

} // namespace Routing::Bgp
