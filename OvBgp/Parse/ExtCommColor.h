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
class BgpParseExtComSubTypeTransOpaqueColorRule final
      : public BgpParseExtComSubTypeTransOpaqueRuleBase {
 public:
   using Ptr = Kel::Ptr<BgpParseExtComSubTypeTransOpaqueColorRule>;
   using PtrConst = Kel::Ptr<const BgpParseExtComSubTypeTransOpaqueColorRule>;

   explicit BgpParseExtComSubTypeTransOpaqueColorRule(
         const BgpParseExtCommControl& control,
         Subtype subType = extCommPktSubtypeTransOpaqueColorExtendedCommunity ) noexcept
         : BgpParseExtComSubTypeTransOpaqueRuleBase( control, subType ) {}
   Kel::Ptr<const ExtComm> inhale( const ExtCommContent& content ) const override;
};

// BgpParseExtCommColorSm(): the plug-in that gives the transitive opaque type
// rule its color sub-rule.
class BgpParseExtCommColorSm final : public BgpParseExtCommPluginBaseSm {
 public:
   using Ptr = Kel::Ptr<BgpParseExtCommColorSm>;
   using PtrConst = Kel::Ptr<const BgpParseExtCommColorSm>;

   // Construction offers the plug-in every type rule already registered.
   explicit BgpParseExtCommColorSm(
         const Kel::Ptr<const BgpParseExtCommRuleCollections>& ruleCollections );
   static Ptr BgpParseExtCommColorSmIs(
         const Kel::Ptr<const BgpParseExtCommRuleCollections>& ruleCollections );

   void instantiateExtCommSubTypeTransOpaqueSubRule(
         const BgpParseExtCommSubTypeTransOpaqueRuleKey& key,
         const BgpParseExtCommControl& control ) const override;
};

// bgpParseExtCommColorSmFactory(): a new plug-in, notification on.
BgpParseExtCommColorSm::Ptr bgpParseExtCommColorSmFactory(
      const Kel::Ptr<const BgpParseExtCommRuleCollections>& ruleCollections );

} // namespace Routing::Bgp
