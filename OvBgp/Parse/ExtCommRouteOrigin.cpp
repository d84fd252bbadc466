#include "OvBgp/Parse/ExtCommRouteOrigin.h"

#include <ostream>

#include "Kel/Assert.h"

namespace Routing::Bgp {

ExtCommRouteOriginAs::Ptr ExtCommRouteOriginAs::ExtCommRouteOriginAsIs(
      const ExtCommContent& content, bool fourByteAs ) {
   return Kel::makeActivePtr<ExtCommRouteOriginAs>( content, fourByteAs );
}

void ExtCommRouteOriginAs::formatDerivedType( std::ostream& os ) const {
   const U8 type = getContent().typeOctet();
   // The factory takes any content; only the two AS types have a name here.
   KEL_ASSERT_MSG( type == extCommPktTypeTransTwoOctetAs || type == extCommPktTypeTransFourOctetAs,
                   "0 && \"unexpected type\"" );
   formatLabelled( os, type == extCommPktTypeTransTwoOctetAs ? "<RouteOrigin2ByteASN "
                                                             : "<RouteOrigin4ByteASN " );
}

void ExtCommRouteOriginAs::appendStrepForPolicy( StrepFormat format,
                                                 OvFmt::DynamicBufferInterface& out ) const {
   appendLabelled( format, out, "SoO:", "Route-Origin-AS:", "Route-Origin-AS4:" );
}

ExtCommRouteOriginIpv4Address::Ptr ExtCommRouteOriginIpv4Address::ExtCommRouteOriginIpv4AddressIs(
      const ExtCommContent& content ) {
   return Kel::makeActivePtr<ExtCommRouteOriginIpv4Address>( content );
}

void ExtCommRouteOriginIpv4Address::formatDerivedType( std::ostream& os ) const {
   formatLabelled( os, "<RouteOrigin " );
}

void ExtCommRouteOriginIpv4Address::appendStrepForPolicy(
      StrepFormat format, OvFmt::DynamicBufferInterface& out ) const {
   appendLabelled( format, out, "SoO:", "Route-Origin-IP:" );
}

ExtCommRouteOriginAs::Ptr extCommRouteOriginAsFactory( const ExtCommContent& content,
                                                       bool fourByteAs ) {
   return ExtCommRouteOriginAs::ExtCommRouteOriginAsIs( content, fourByteAs );
}

ExtCommRouteOriginIpv4Address::Ptr extCommRouteOriginIpv4AddressFactory(
      const ExtCommContent& content ) {
   return ExtCommRouteOriginIpv4Address::ExtCommRouteOriginIpv4AddressIs( content );
}

Kel::Ptr<const ExtComm> BgpParseExtComSubTypeTransTwoOctetAsRouteOriginRule::inhale(
      const ExtCommContent& content ) const {
   return extCommRouteOriginAsFactory( content, false );
}

Kel::Ptr<const ExtComm> BgpParseExtComSubTypeTransIpv4AddressRouteOriginRule::inhale(
      const ExtCommContent& content ) const {
   return extCommRouteOriginIpv4AddressFactory( content );
}

Kel::Ptr<const ExtComm> BgpParseExtComSubTypeTransFourOctetAsRouteOriginRule::inhale(
      const ExtCommContent& content ) const {
   return extCommRouteOriginAsFactory( content, true );
}

BgpParseExtCommRouteOriginSm::BgpParseExtCommRouteOriginSm(
      const Kel::Ptr<const BgpParseExtCommRuleCollections>& ruleCollections )
      : BgpParseExtCommPluginBaseSm( ruleCollections ) {
   handleStartup();
}

BgpParseExtCommRouteOriginSm::Ptr BgpParseExtCommRouteOriginSm::BgpParseExtCommRouteOriginSmIs(
      const Kel::Ptr<const BgpParseExtCommRuleCollections>& ruleCollections ) {
   return Kel::makeActivePtr<BgpParseExtCommRouteOriginSm>( ruleCollections );
}

void BgpParseExtCommRouteOriginSm::instantiateExtCommSubTypeTransTwoOctetAsSubRule(
      const BgpParseExtCommSubTypeTransTwoOctetAsRuleKey& key,
      const BgpParseExtCommControl& control ) const {
   traceInstantiate( "instantiateExtCommSubTypeTransTwoOctetAsSubRule",
                     "BgpParseExtCommRouteOriginSm" );
   addExtCommSubTypeTransTwoOctetAsSubRule(
         key, bgpParseExtCommRuleFactory<BgpParseExtComSubTypeTransTwoOctetAsRouteOriginRule>(
                    control, extCommPktSubtypeTransTwoOctetAsRouteOrigin ) );
}

void BgpParseExtCommRouteOriginSm::instantiateExtCommSubTypeTransIpv4AddressSubRule(
      const BgpParseExtCommSubTypeTransIpv4AddressRuleKey& key,
      const BgpParseExtCommControl& control ) const {
   traceInstantiate( "instantiateExtCommSubTypeTransIpv4AddressSubRule",
                     "BgpParseExtCommRouteOriginSm" );
   addExtCommSubTypeTransIpv4AddressSubRule(
         key, bgpParseExtCommRuleFactory<BgpParseExtComSubTypeTransIpv4AddressRouteOriginRule>(
                    control, extCommPktSubtypeTransIpv4AddressRouteOrigin ) );
}

void BgpParseExtCommRouteOriginSm::instantiateExtCommSubTypeTransFourOctetAsSubRule(
      const BgpParseExtCommSubTypeTransFourOctetAsRuleKey& key,
      const BgpParseExtCommControl& control ) const {
   traceInstantiate( "instantiateExtCommSubTypeTransFourOctetAsSubRule",
                     "BgpParseExtCommRouteOriginSm" );
   addExtCommSubTypeTransFourOctetAsSubRule(
         key, bgpParseExtCommRuleFactory<BgpParseExtComSubTypeTransFourOctetAsRouteOriginRule>(
                    control, extCommPktSubtypeTransFourOctetAsRouteOrigin ) );
}

BgpParseExtCommRouteOriginSm::Ptr bgpParseExtCommRouteOriginSmFactory(
      const Kel::Ptr<const BgpParseExtCommRuleCollections>& ruleCollections ) {
   return BgpParseExtCommRouteOriginSm::BgpParseExtCommRouteOriginSmIs( ruleCollections );
}

} // namespace Routing::Bgp
