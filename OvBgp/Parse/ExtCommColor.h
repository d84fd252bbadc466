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
   // formatDerivedType(): <Color: 100(01) 0x...>.
   // appendStrepForPolicy(): "Color:CO(" C O "):" color, under every format.
   OVBGP_PARSE_VALUE_BASICS( ExtCommColor, ExtCommSubtyped, extCommClassificationColor, content )

   bool cBit() const noexcept { return community() & ( U64( 1 ) << 47 ); }
   bool oBit() const noexcept { return community() & ( U64( 1 ) << 46 ); }
   U32 color() const noexcept { return getContent().localAdmin4Octets(); }
};

// extCommColorFactory(): a new value, notification on, not interned.
// BgpParseExtComSubTypeTransOpaqueColorRule(): type 0x03
// subtype 0x0B; builds a color community.
// BgpParseExtCommColorSm(): the plug-in that gives the transitive opaque type
// rule its color sub-rule.
OVBGP_PARSE_ONE_RULE_PLUGIN( ExtCommColor, extCommColorFactory,
                             BgpParseExtComSubTypeTransOpaqueColorRule,
                             BgpParseExtComSubTypeTransOpaqueRuleBase,
                             extCommPktSubtypeTransOpaqueColorExtendedCommunity,
                             BgpParseExtCommColorSm, bgpParseExtCommColorSmFactory )

} // namespace Routing::Bgp
