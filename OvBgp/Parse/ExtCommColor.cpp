#include "OvBgp/Parse/ExtCommColor.h"

#include <ostream>

#include "OvFmt/DynamicBuffer.h"

namespace Routing::Bgp {

ExtCommColor::Ptr ExtCommColor::ExtCommColorIs( const ExtCommContent& content ) {
   return Kel::makeActivePtr<ExtCommColor>( content );
}

void ExtCommColor::appendStrepForPolicy( StrepFormat, OvFmt::DynamicBufferInterface& out ) const {
   out.append( "Color:CO(" );
   out.append( cBit() ? '1' : '0' );
   out.append( oBit() ? '1' : '0' );
   out.append( "):" );
   out.appendDecimal( color() );
}

void ExtCommColor::formatDerivedType( std::ostream& os ) const {
   OvFmt::DynamicBuffer<48> buf;
   buf.append( "<Color: " );
   buf.appendDecimal( color() );
   buf.append( '(' );
   buf.append( cBit() ? '1' : '0' );
   buf.append( oBit() ? '1' : '0' );
   buf.append( ") " );
   os.write( buf.data(), std::streamsize( buf.size() ) );
   formatCommunityValue( os );
   os << '>';
}

ExtCommColor::Ptr extCommColorFactory( const ExtCommContent& content ) {
   return ExtCommColor::ExtCommColorIs( content );
}

Kel::Ptr<const ExtComm> BgpParseExtComSubTypeTransOpaqueColorRule::inhale(
      const ExtCommContent& content ) const {
   return extCommColorFactory( content );
}

BgpParseExtCommColorSm::BgpParseExtCommColorSm(
      const Kel::Ptr<const BgpParseExtCommRuleCollections>& ruleCollections )
      : BgpParseExtCommPluginBaseSm( ruleCollections ) {
   handleStartup();
}

BgpParseExtCommColorSm::Ptr BgpParseExtCommColorSm::BgpParseExtCommColorSmIs(
      const Kel::Ptr<const BgpParseExtCommRuleCollections>& ruleCollections ) {
   return Kel::makeActivePtr<BgpParseExtCommColorSm>( ruleCollections );
}

void BgpParseExtCommColorSm::instantiateExtCommSubTypeTransOpaqueSubRule(
      const BgpParseExtCommSubTypeTransOpaqueRuleKey& key,
      const BgpParseExtCommControl& control ) const {
   traceInstantiate( "instantiateExtCommSubTypeTransOpaqueSubRule", "BgpParseExtCommColorSm" );
   addExtCommSubTypeTransOpaqueSubRule(
         key, bgpParseExtCommRuleFactory<BgpParseExtComSubTypeTransOpaqueColorRule>(
                    control, extCommPktSubtypeTransOpaqueColorExtendedCommunity ) );
}

BgpParseExtCommColorSm::Ptr bgpParseExtCommColorSmFactory(
      const Kel::Ptr<const BgpParseExtCommRuleCollections>& ruleCollections ) {
   return BgpParseExtCommColorSm::BgpParseExtCommColorSmIs( ruleCollections );
}

} // namespace Routing::Bgp
