#include "OvBgp/Parse/ExtCommVrfRouteImport.h"

#include <ostream>

namespace Routing::Bgp {

ExtCommVrfRouteImportIpv4Address::Ptr
ExtCommVrfRouteImportIpv4Address::ExtCommVrfRouteImportIpv4AddressIs(
      const ExtCommContent& content ) {
   return Kel::makeActivePtr<ExtCommVrfRouteImportIpv4Address>( content );
}

void ExtCommVrfRouteImportIpv4Address::appendStrepForPolicy(
      StrepFormat format, OvFmt::DynamicBufferInterface& out ) const {
   appendLabelled( format, out, "VRI:", "VRF-Route-Import:" );
}

void ExtCommVrfRouteImportIpv4Address::formatDerivedType( std::ostream& os ) const {
   formatLabelled( os, "<VrfRouteImport " );
}

ExtCommVrfRouteImportIpv4Address::Ptr extCommVrfRouteImportIpv4AddressFactory(
      const ExtCommContent& content ) {
   return ExtCommVrfRouteImportIpv4Address::ExtCommVrfRouteImportIpv4AddressIs( content );
}

Kel::Ptr<const ExtComm> BgpParseExtComSubTypeTransIpv4AddressVrfRouteImportRule::inhale(
      const ExtCommContent& content ) const {
   return extCommVrfRouteImportIpv4AddressFactory( content );
}

BgpParseExtCommVrfRouteImportSm::BgpParseExtCommVrfRouteImportSm(
      const Kel::Ptr<const BgpParseExtCommRuleCollections>& ruleCollections )
      : BgpParseExtCommPluginBaseSm( ruleCollections ) {
   handleStartup();
}

BgpParseExtCommVrfRouteImportSm::Ptr
BgpParseExtCommVrfRouteImportSm::BgpParseExtCommVrfRouteImportSmIs(
      const Kel::Ptr<const BgpParseExtCommRuleCollections>& ruleCollections ) {
   return Kel::makeActivePtr<BgpParseExtCommVrfRouteImportSm>( ruleCollections );
}

void BgpParseExtCommVrfRouteImportSm::instantiateExtCommSubTypeTransIpv4AddressSubRule(
      const BgpParseExtCommSubTypeTransIpv4AddressRuleKey& key,
      const BgpParseExtCommControl& control ) const {
   traceInstantiate( "instantiateExtCommSubTypeTransIpv4AddressSubRule",
                     "BgpParseExtCommVrfRouteImportSm" );
   addExtCommSubTypeTransIpv4AddressSubRule(
         key, bgpParseExtCommRuleFactory<BgpParseExtComSubTypeTransIpv4AddressVrfRouteImportRule>(
                    control, extCommPktSubtypeTransIpv4AddressVrfRouteImport ) );
}

BgpParseExtCommVrfRouteImportSm::Ptr bgpParseExtCommVrfRouteImportSmFactory(
      const Kel::Ptr<const BgpParseExtCommRuleCollections>& ruleCollections ) {
   return BgpParseExtCommVrfRouteImportSm::BgpParseExtCommVrfRouteImportSmIs( ruleCollections );
}

} // namespace Routing::Bgp
