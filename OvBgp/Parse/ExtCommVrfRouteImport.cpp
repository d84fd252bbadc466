#include "OvBgp/Parse/ExtCommVrfRouteImport.h"

#include <ostream>

#include "OvFmt/DynamicBuffer.h"

namespace Routing::Bgp {

ExtCommVrfRouteImportIpv4Address::Ptr
ExtCommVrfRouteImportIpv4Address::ExtCommVrfRouteImportIpv4AddressIs(
      const ExtCommContent& content ) {
   return Kel::makeActivePtr<ExtCommVrfRouteImportIpv4Address>( content );
}

void ExtCommVrfRouteImportIpv4Address::appendStrepForPolicy(
      StrepFormat format, OvFmt::DynamicBufferInterface& out ) const {
   if ( format.has( strepFormatClassification ) ) {
      out.append( format.has( strepFormatUI ) ? "VRF-Route-Import:" : "VRI:" );
   }
   appendAddressAndLocal( out );
}

void ExtCommVrfRouteImportIpv4Address::formatDerivedType( std::ostream& os ) const {
   OvFmt::DynamicBuffer<64> buf;
   buf.append( "<VrfRouteImport " );
   appendAddressAndLocal( buf );
   buf.append( ' ' );
   os.write( buf.data(), std::streamsize( buf.size() ) );
   formatCommunityValue( os );
   os << '>';
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
