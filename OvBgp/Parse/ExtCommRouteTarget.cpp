#include "OvBgp/Parse/ExtCommRouteTarget.h"

#include <ostream>

#include "Kel/Assert.h"

namespace Routing::Bgp {

ExtCommRouteTargetAs::Ptr ExtCommRouteTargetAs::ExtCommRouteTargetAsIs(
      const ExtCommContent& content, bool fourByteAs ) {
   return Kel::makeActivePtr<ExtCommRouteTargetAs>( content, fourByteAs );
}

void ExtCommRouteTargetAs::formatDerivedType( std::ostream& os ) const {
   const U8 type = getContent().typeOctet();
   // The factory takes any content; only the two AS types have a name here.
   KEL_ASSERT_MSG( type == extCommPktTypeTransTwoOctetAs || type == extCommPktTypeTransFourOctetAs,
                   "0 && \"unexpected type\"" );
   formatLabelled( os, type == extCommPktTypeTransTwoOctetAs ? "<RouteTarget2ByteASN "
                                                             : "<RouteTarget4ByteASN " );
}

void ExtCommRouteTargetAs::appendStrepForPolicy( StrepFormat format,
                                                 OvFmt::DynamicBufferInterface& out ) const {
   appendLabelled( format, out, "RT:", "Route-Target-AS:", "Route-Target-AS4:" );
}

ExtCommRouteTargetIpv4Address::Ptr ExtCommRouteTargetIpv4Address::ExtCommRouteTargetIpv4AddressIs(
      const ExtCommContent& content ) {
   return Kel::makeActivePtr<ExtCommRouteTargetIpv4Address>( content );
}

void ExtCommRouteTargetIpv4Address::formatDerivedType( std::ostream& os ) const {
   formatLabelled( os, "<RouteTarget " );
}

void ExtCommRouteTargetIpv4Address::appendStrepForPolicy(
      StrepFormat format, OvFmt::DynamicBufferInterface& out ) const {
   appendLabelled( format, out, "RT:", "Route-Target-IP:" );
}

ExtCommRouteTargetAs::Ptr extCommRouteTargetAsFactory( const ExtCommContent& content,
                                                       bool fourByteAs ) {
   return ExtCommRouteTargetAs::ExtCommRouteTargetAsIs( content, fourByteAs );
}

ExtCommRouteTargetIpv4Address::Ptr extCommRouteTargetIpv4AddressFactory(
      const ExtCommContent& content ) {
   return ExtCommRouteTargetIpv4Address::ExtCommRouteTargetIpv4AddressIs( content );
}

Kel::Ptr<const ExtComm> BgpParseExtComSubTypeTransTwoOctetAsRouteTargetRule::inhale(
      const ExtCommContent& content ) const {
   return extCommRouteTargetAsFactory( content, false );
}

Kel::Ptr<const ExtComm> BgpParseExtComSubTypeTransIpv4AddressRouteTargetRule::inhale(
      const ExtCommContent& content ) const {
   return extCommRouteTargetIpv4AddressFactory( content );
}

Kel::Ptr<const ExtComm> BgpParseExtComSubTypeTransFourOctetAsRouteTargetRule::inhale(
      const ExtCommContent& content ) const {
   return extCommRouteTargetAsFactory( content, true );
}

BgpParseExtCommRouteTargetSm::BgpParseExtCommRouteTargetSm(
      const Kel::Ptr<const BgpParseExtCommRuleCollections>& ruleCollections )
      : BgpParseExtCommPluginBaseSm( ruleCollections ) {
   handleStartup();
}

BgpParseExtCommRouteTargetSm::Ptr BgpParseExtCommRouteTargetSm::BgpParseExtCommRouteTargetSmIs(
      const Kel::Ptr<const BgpParseExtCommRuleCollections>& ruleCollections ) {
   return Kel::makeActivePtr<BgpParseExtCommRouteTargetSm>( ruleCollections );
}

void BgpParseExtCommRouteTargetSm::instantiateExtCommSubTypeTransTwoOctetAsSubRule(
      const BgpParseExtCommSubTypeTransTwoOctetAsRuleKey& key,
      const BgpParseExtCommControl& control ) const {
   traceInstantiate( "instantiateExtCommSubTypeTransTwoOctetAsSubRule",
                     "BgpParseExtCommRouteTargetSm" );
   addExtCommSubTypeTransTwoOctetAsSubRule(
         key, bgpParseExtCommRuleFactory<BgpParseExtComSubTypeTransTwoOctetAsRouteTargetRule>(
                    control, extCommPktSubtypeTransTwoOctetAsRouteTarget ) );
}

void BgpParseExtCommRouteTargetSm::instantiateExtCommSubTypeTransIpv4AddressSubRule(
      const BgpParseExtCommSubTypeTransIpv4AddressRuleKey& key,
      const BgpParseExtCommControl& control ) const {
   traceInstantiate( "instantiateExtCommSubTypeTransIpv4AddressSubRule",
                     "BgpParseExtCommRouteTargetSm" );
   addExtCommSubTypeTransIpv4AddressSubRule(
         key, bgpParseExtCommRuleFactory<BgpParseExtComSubTypeTransIpv4AddressRouteTargetRule>(
                    control, extCommPktSubtypeTransIpv4AddressRouteTarget ) );
}

void BgpParseExtCommRouteTargetSm::instantiateExtCommSubTypeTransFourOctetAsSubRule(
      const BgpParseExtCommSubTypeTransFourOctetAsRuleKey& key,
      const BgpParseExtCommControl& control ) const {
   traceInstantiate( "instantiateExtCommSubTypeTransFourOctetAsSubRule",
                     "BgpParseExtCommRouteTargetSm" );
   addExtCommSubTypeTransFourOctetAsSubRule(
         key, bgpParseExtCommRuleFactory<BgpParseExtComSubTypeTransFourOctetAsRouteTargetRule>(
                    control, extCommPktSubtypeTransFourOctetAsRouteTarget ) );
}

BgpParseExtCommRouteTargetSm::Ptr bgpParseExtCommRouteTargetSmFactory(
      const Kel::Ptr<const BgpParseExtCommRuleCollections>& ruleCollections ) {
   return BgpParseExtCommRouteTargetSm::BgpParseExtCommRouteTargetSmIs( ruleCollections );
}

} // namespace Routing::Bgp
