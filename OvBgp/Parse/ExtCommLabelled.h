// OvBgp/Parse/ExtCommLabelled.h: what the kinds shown in the three
// transitive AS / IPv4 layouts behind labels (route target, route origin)
// share: their two value classes, their sub-rules and their plug-in, from
// one declaration, and their text forms from one definition.
//
//   OVBGP_PARSE_LABELLED_KIND( RouteTarget, extCommClassificationRouteTarget )     // header
//   OVBGP_PARSE_LABELLED_TEXTS( RouteTarget, "RouteTarget", "RT:", "Route-Target" ) // source
#pragma once

#include "Kel/Assert.h"
#include "OvBgp/Parse/ExtCommAsNumber.h"
#include "OvBgp/Parse/ExtCommPluginBase.h"
#include "OvBgp/Parse/ExtCommRules.h"

// OVBGP_PARSE_LABELLED_KIND( Kind, classification ): in Routing::Bgp,
// - ExtComm<Kind>As(content, fourByteAs): the kind of an AS number
//   (fourByteAs for type 0x02, not for 0x00), and ExtComm<Kind>Ipv4Address:
//   of an IPv4 address; each with its NameIs() and the free factories
//   extComm<Kind>AsFactory(content, fourByteAs) and
//   extComm<Kind>Ipv4AddressFactory(content) (a new value, notification on,
//   not interned);
// - the sub-rules BgpParseExtComSubTypeTrans<Layout><Kind>Rule of the three
//   layouts, under the subtypes extCommPktSubtypeTrans<Layout><Kind>;
// - the plug-in BgpParseExtComm<Kind>Sm that registers them, and
//   bgpParseExtComm<Kind>SmFactory().
#define OVBGP_PARSE_LABELLED_KIND( Kind, classification )                                       \
   class ExtComm##Kind##As : public ExtCommAsNumber {                                           \
    public:                                                                                     \
      using Ptr = Kel::Ptr<ExtComm##Kind##As>;                                                  \
      using PtrConst = Kel::Ptr<const ExtComm##Kind##As>;                                       \
      ExtComm##Kind##As( const ExtCommContent& content, bool fourByteAs ) noexcept              \
            : ExtCommAsNumber( classification, content, fourByteAs ) {}                         \
      static Ptr ExtComm##Kind##As##Is( const ExtCommContent& content, bool fourByteAs ) {      \
         return Kel::makeActivePtr<ExtComm##Kind##As>( content, fourByteAs );                   \
      }                                                                                         \
      void formatDerivedType( std::ostream& os ) const override;                                \
      void appendStrepForPolicy( StrepFormat format,                                            \
                                 OvFmt::DynamicBufferInterface& out ) const override;           \
   };                                                                                           \
   class ExtComm##Kind##Ipv4Address : public ExtCommIpv4Address {                               \
    public:                                                                                     \
      OVBGP_PARSE_VALUE_BASICS( ExtComm##Kind##Ipv4Address, ExtCommIpv4Address, classification, \
                                content )                                                       \
   };                                                                                           \
   inline ExtComm##Kind##As::Ptr extComm##Kind##AsFactory( const ExtCommContent& content,       \
                                                           bool fourByteAs ) {                  \
      return ExtComm##Kind##As::ExtComm##Kind##As##Is( content, fourByteAs );                   \
   }                                                                                            \
   inline ExtComm##Kind##Ipv4Address::Ptr extComm##Kind##Ipv4AddressFactory(                    \
         const ExtCommContent& content ) {                                                      \
      return ExtComm##Kind##Ipv4Address::ExtComm##Kind##Ipv4Address##Is( content );             \
   }                                                                                            \
   OVBGP_PARSE_SUB_RULE( BgpParseExtComSubTypeTransTwoOctetAs##Kind##Rule,                      \
                         BgpParseExtComSubTypeTransTwoOctetAsRuleBase,                          \
                         extCommPktSubtypeTransTwoOctetAs##Kind,                                \
                         extComm##Kind##AsFactory( content, false ) )                           \
   OVBGP_PARSE_SUB_RULE( BgpParseExtComSubTypeTransIpv4Address##Kind##Rule,                     \
                         BgpParseExtComSubTypeTransIpv4AddressRuleBase,                         \
                         extCommPktSubtypeTransIpv4Address##Kind,                               \
                         extComm##Kind##Ipv4AddressFactory( content ) )                         \
   OVBGP_PARSE_SUB_RULE( BgpParseExtComSubTypeTransFourOctetAs##Kind##Rule,                     \
                         BgpParseExtComSubTypeTransFourOctetAsRuleBase,                         \
                         extCommPktSubtypeTransFourOctetAs##Kind,                               \
                         extComm##Kind##AsFactory( content, true ) )                            \
   OVBGP_PARSE_PLUGIN( BgpParseExtComm##Kind##Sm, bgpParseExtComm##Kind##SmFactory,             \
                       BgpParseExtComSubTypeTransTwoOctetAs##Kind##Rule,                        \
                       BgpParseExtComSubTypeTransIpv4Address##Kind##Rule,                       \
                       BgpParseExtComSubTypeTransFourOctetAs##Kind##Rule )

// OVBGP_PARSE_LABELLED_TEXTS( Kind, name, shortLabel, uiLabel ): the text
// forms of the kind's two classes. Debugging: <name2ByteASN AS:local 0x...>
// (4ByteASN for type 0x02; any other type octet is a broken invariant,
// reported under the source file that expands this) and <name a.b.c.d:local
// 0x...>. Policy: "AS:local" / "a.b.c.d:local", prefixed shortLabel with
// classification, uiLabel and "-AS:", "-AS4:" or "-IP:" with classification
// and UI.
#define OVBGP_PARSE_LABELLED_TEXTS( Kind, name, shortLabel, uiLabel )                          \
   void ExtComm##Kind##As::formatDerivedType( std::ostream& os ) const {                       \
      const U8 type = getContent().typeOctet();                                                \
      if ( type != extCommPktTypeTransTwoOctetAs && type != extCommPktTypeTransFourOctetAs ) { \
         KEL_ASSERT_MSG( 0 && "unexpected type", "0 && \"unexpected type\"" );                 \
      }                                                                                        \
      formatLabelled( os, type == extCommPktTypeTransTwoOctetAs ? "<" name "2ByteASN "         \
                                                                : "<" name "4ByteASN " );      \
   }                                                                                           \
   void ExtComm##Kind##As::appendStrepForPolicy( StrepFormat format,                           \
                                                 OvFmt::DynamicBufferInterface& out ) const {  \
      appendLabelled( format, out, shortLabel, uiLabel "-AS:", uiLabel "-AS4:" );              \
   }                                                                                           \
   void ExtComm##Kind##Ipv4Address::formatDerivedType( std::ostream& os ) const {              \
      formatLabelled( os, "<" name " " );                                                      \
   }                                                                                           \
   void ExtComm##Kind##Ipv4Address::appendStrepForPolicy(                                      \
         StrepFormat format, OvFmt::DynamicBufferInterface& out ) const {                      \
      appendLabelled( format, out, shortLabel, uiLabel "-IP:" );                               \
   }
