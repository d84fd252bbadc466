#include "OvBgp/Parse/ExtCommDefaultGateway.h"

#include <ostream>

#include "OvFmt/DynamicBuffer.h"

namespace Routing::Bgp {

ExtCommDefaultGateway::Ptr ExtCommDefaultGateway::ExtCommDefaultGatewayIs(
      const ExtCommContent& content ) {
   return Kel::makeActivePtr<ExtCommDefaultGateway>( content );
}

void ExtCommDefaultGateway::appendStrepForPolicy( StrepFormat,
                                                  OvFmt::DynamicBufferInterface& out ) const {
   out.append( "DefaultGateway" );
}

void ExtCommDefaultGateway::formatDerivedType( std::ostream& os ) const {
   os << "<DefaultGateway ";
   formatCommunityValue( os );
   os << '>';
}

ExtCommDefaultGateway::Ptr extCommDefaultGatewayFactory( const ExtCommContent& content ) {
   return ExtCommDefaultGateway::ExtCommDefaultGatewayIs( content );
}

Kel::Ptr<const ExtComm> BgpParseExtComSubTypeTransOpaqueDefaultGatewayRule::inhale(
      const ExtCommContent& content ) const {
   return extCommDefaultGatewayFactory( content );
}

BgpParseExtCommDefaultGatewaySm::BgpParseExtCommDefaultGatewaySm(
      const Kel::Ptr<const BgpParseExtCommRuleCollections>& ruleCollections )
      : BgpParseExtCommPluginBaseSm( ruleCollections ) {
   handleStartup();
}

BgpParseExtCommDefaultGatewaySm::Ptr
BgpParseExtCommDefaultGatewaySm::BgpParseExtCommDefaultGatewaySmIs(
      const Kel::Ptr<const BgpParseExtCommRuleCollections>& ruleCollections ) {
   return Kel::makeActivePtr<BgpParseExtCommDefaultGatewaySm>( ruleCollections );
}

void BgpParseExtCommDefaultGatewaySm::instantiateExtCommSubTypeTransOpaqueSubRule(
      const BgpParseExtCommSubTypeTransOpaqueRuleKey& key,
      const BgpParseExtCommControl& control ) const {
   traceInstantiate( "instantiateExtCommSubTypeTransOpaqueSubRule",
                     "BgpParseExtCommDefaultGatewaySm" );
   addExtCommSubTypeTransOpaqueSubRule(
         key, bgpParseExtCommRuleFactory<BgpParseExtComSubTypeTransOpaqueDefaultGatewayRule>(
                    control, extCommPktSubtypeTransOpaqueDefaultGateway ) );
}

BgpParseExtCommDefaultGatewaySm::Ptr bgpParseExtCommDefaultGatewaySmFactory(
      const Kel::Ptr<const BgpParseExtCommRuleCollections>& ruleCollections ) {
   return BgpParseExtCommDefaultGatewaySm::BgpParseExtCommDefaultGatewaySmIs( ruleCollections );
}

} // namespace Routing::Bgp
