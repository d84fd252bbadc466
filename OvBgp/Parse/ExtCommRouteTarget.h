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
class BgpParseExtComSubTypeTransTwoOctetAsRouteTargetRule final
      : public BgpParseExtComSubTypeTransTwoOctetAsRuleBase {
 public:
   using Ptr = Kel::Ptr<BgpParseExtComSubTypeTransTwoOctetAsRouteTargetRule>;
   using PtrConst = Kel::Ptr<const BgpParseExtComSubTypeTransTwoOctetAsRouteTargetRule>;

   explicit BgpParseExtComSubTypeTransTwoOctetAsRouteTargetRule(
         const BgpParseExtCommControl& control,
         Subtype subType = extCommPktSubtypeTransTwoOctetAsRouteTarget ) noexcept
         : BgpParseExtComSubTypeTransTwoOctetAsRuleBase( control, subType ) {}
   Kel::Ptr<const ExtComm> inhale( const ExtCommContent& content ) const override;
};

// BgpParseExtComSubTypeTransIpv4AddressRouteTargetRule(): type 0x01
// subtype 0x02; builds an IPv4-address route target.
class BgpParseExtComSubTypeTransIpv4AddressRouteTargetRule final
      : public BgpParseExtComSubTypeTransIpv4AddressRuleBase {
 public:
   using Ptr = Kel::Ptr<BgpParseExtComSubTypeTransIpv4AddressRouteTargetRule>;
   using PtrConst = Kel::Ptr<const BgpParseExtComSubTypeTransIpv4AddressRouteTargetRule>;

   explicit BgpParseExtComSubTypeTransIpv4AddressRouteTargetRule(
         const BgpParseExtCommControl& control,
         Subtype subType = extCommPktSubtypeTransIpv4AddressRouteTarget ) noexcept
         : BgpParseExtComSubTypeTransIpv4AddressRuleBase( control, subType ) {}
   Kel::Ptr<const ExtComm> inhale( const ExtCommContent& content ) const override;
};

// BgpParseExtComSubTypeTransFourOctetAsRouteTargetRule(): type 0x02
// subtype 0x02; builds a 4-octet AS route target.
class BgpParseExtComSubTypeTransFourOctetAsRouteTargetRule final
      : public BgpParseExtComSubTypeTransFourOctetAsRuleBase {
 public:
   using Ptr = Kel::Ptr<BgpParseExtComSubTypeTransFourOctetAsRouteTargetRule>;
   using PtrConst = Kel::Ptr<const BgpParseExtComSubTypeTransFourOctetAsRouteTargetRule>;

   explicit BgpParseExtComSubTypeTransFourOctetAsRouteTargetRule(
         const BgpParseExtCommControl& control,
         Subtype subType = extCommPktSubtypeTransFourOctetAsRouteTarget ) noexcept
         : BgpParseExtComSubTypeTransFourOctetAsRuleBase( control, subType ) {}
   Kel::Ptr<const ExtComm> inhale( const ExtCommContent& content ) const override;
};

// BgpParseExtCommRouteTargetSm(): the plug-in that gives each of the three
// transitive AS / IPv4 type rules its route-target sub-rule.
class BgpParseExtCommRouteTargetSm final : public BgpParseExtCommPluginBaseSm {
 public:
   using Ptr = Kel::Ptr<BgpParseExtCommRouteTargetSm>;
   using PtrConst = Kel::Ptr<const BgpParseExtCommRouteTargetSm>;

   // Construction offers the plug-in every type rule already registered.
   explicit BgpParseExtCommRouteTargetSm(
         const Kel::Ptr<const BgpParseExtCommRuleCollections>& ruleCollections );
   static Ptr BgpParseExtCommRouteTargetSmIs(
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

// bgpParseExtCommRouteTargetSmFactory(): a new plug-in, notification on.
BgpParseExtCommRouteTargetSm::Ptr bgpParseExtCommRouteTargetSmFactory(
      const Kel::Ptr<const BgpParseExtCommRuleCollections>& ruleCollections );

} // namespace Routing::Bgp
