// OvBgp/Parse/ExtCommDefaultGateway.h: the default gateway community,
// transitive opaque type 0x03, subtype 0x0D, whose value is not interpreted,
// with its text forms ("DefaultGateway" whatever the format), the sub-rule
// that builds it and the plug-in that registers it.
//
//   auto gw = extCommDefaultGatewayFactory( ExtCommContent( 0x030d000000000000 ) );
//   gw->toStrepForPolicy( ExtComm::strepFormatDefault );  // "DefaultGateway"
#pragma once

#include "OvBgp/OvBgpCommunity.h"
#include "OvBgp/Parse/ExtCommPluginBase.h"
#include "OvBgp/Parse/ExtCommRules.h"

namespace Routing::Bgp {

// ExtCommDefaultGateway(): a marker; its six value octets are carried only.
class ExtCommDefaultGateway : public ExtCommSubtyped {
 public:
   using Ptr = Kel::Ptr<ExtCommDefaultGateway>;
   using PtrConst = Kel::Ptr<const ExtCommDefaultGateway>;

   explicit ExtCommDefaultGateway( const ExtCommContent& content ) noexcept
         : ExtCommSubtyped( extCommClassificationDefaultGateway, content ) {}
   static Ptr ExtCommDefaultGatewayIs( const ExtCommContent& content );

   // formatDerivedType(): <DefaultGateway 0x...>.
   void formatDerivedType( std::ostream& os ) const override;
   // appendStrepForPolicy(): "DefaultGateway" under every format.
   void appendStrepForPolicy( StrepFormat format,
                              OvFmt::DynamicBufferInterface& out ) const override;
};

// extCommDefaultGatewayFactory(): a new value, notification on, not interned.
ExtCommDefaultGateway::Ptr extCommDefaultGatewayFactory( const ExtCommContent& content );

// BgpParseExtComSubTypeTransOpaqueDefaultGatewayRule(): type 0x03
// subtype 0x0D; builds a default gateway community.
OVBGP_PARSE_SUB_RULE( BgpParseExtComSubTypeTransOpaqueDefaultGatewayRule,
                      BgpParseExtComSubTypeTransOpaqueRuleBase,
                      extCommPktSubtypeTransOpaqueDefaultGateway,
                      extCommDefaultGatewayFactory( content ) )

// BgpParseExtCommDefaultGatewaySm(): the plug-in that gives the transitive
// opaque type rule its default gateway sub-rule. bgpParseExtCommDefaultGatewaySmFactory(): a new one, notification on.
OVBGP_PARSE_PLUGIN( BgpParseExtCommDefaultGatewaySm, bgpParseExtCommDefaultGatewaySmFactory,
                    BgpParseExtComSubTypeTransOpaqueDefaultGatewayRule )

} // namespace Routing::Bgp
