// OvBgp/Parse/ExtCommColor.h: the color community, transitive opaque type
// 0x03, subtype 0x0B: the C and O flag bits and a 32-bit color value, with
// its text forms ("Color:CO(01):100" whatever the format), the sub-rule that
// builds it and the plug-in that registers it.
//
//   auto color = extCommColorFactory( ExtCommContent( 0x030b400000000064 ) );
//   color->toStrepForPolicy( ExtComm::strepFormatDefault );  // "Color:CO(01):100"
#pragma once

#include "OvBgp/OvBgpCommunity.h"
#include "OvBgp/Parse/ExtCommPluginBase.h"
#include "OvBgp/Parse/ExtCommRules.h"

namespace Routing::Bgp {

// ExtCommColor(): C is bit 47, O bit 46 (the top bits of the first value
// octet), the color bits 31..0; the other flag bits are not interpreted.
class ExtCommColor : public ExtCommSubtyped {
 public:
   using Ptr = Kel::Ptr<ExtCommColor>;
   using PtrConst = Kel::Ptr<const ExtCommColor>;

   explicit ExtCommColor( const ExtCommContent& content ) noexcept
         : ExtCommSubtyped( extCommClassificationColor, content ) {}
   static Ptr ExtCommColorIs( const ExtCommContent& content );

   bool cBit() const noexcept { return community() & ( U64( 1 ) << 47 ); }
   bool oBit() const noexcept { return community() & ( U64( 1 ) << 46 ); }
   U32 color() const noexcept { return getContent().localAdmin4Octets(); }

   // formatDerivedType(): <Color: 100(01) 0x...>.
   void formatDerivedType( std::ostream& os ) const override;
   // appendStrepForPolicy(): "Color:CO(" C O "):" color, under every format.
   void appendStrepForPolicy( StrepFormat format,
                              OvFmt::DynamicBufferInterface& out ) const override;
};

// extCommColorFactory(): a new value, notification on, not interned.
ExtCommColor::Ptr extCommColorFactory( const ExtCommContent& content );

// BgpParseExtComSubTypeTransOpaqueColorRule(): type 0x03
// subtype 0x0B; builds a color community.
OVBGP_PARSE_SUB_RULE( BgpParseExtComSubTypeTransOpaqueColorRule,
                      BgpParseExtComSubTypeTransOpaqueRuleBase,
                      extCommPktSubtypeTransOpaqueColorExtendedCommunity,
                      extCommColorFactory( content ) )

// BgpParseExtCommColorSm(): the plug-in that gives the transitive opaque type
// rule its color sub-rule. bgpParseExtCommColorSmFactory(): a new one, notification on.
OVBGP_PARSE_PLUGIN( BgpParseExtCommColorSm, bgpParseExtCommColorSmFactory,
                    BgpParseExtComSubTypeTransOpaqueColorRule )

} // namespace Routing::Bgp
