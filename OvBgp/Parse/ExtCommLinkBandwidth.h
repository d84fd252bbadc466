// OvBgp/Parse/ExtCommLinkBandwidth.h: the link-bandwidth community,
// non-transitive 2-octet AS type 0x40, subtype 0x04: a 2-octet AS number and
// a 4-octet IEEE 754 float, the bandwidth in bytes per second, with its text
// forms ("65000:1.25e+08", "Link-Bandwidth-AS:65000:1 Gbps"), the sub-rule
// that builds it and the plug-in that registers it.
//
//   auto lbw = extCommLinkBandwidthFactory( ExtCommContent( 0x4004fde84cee6b28 ) );
//   lbw->toStrepForPolicy( ExtComm::strepFormatClassification );  // "lbw 65000:1.25e+08"
#pragma once

#include "OvBgp/Parse/ExtCommAsNumber.h"
#include "OvBgp/Parse/ExtCommPluginBase.h"
#include "OvBgp/Parse/ExtCommRules.h"
#include "Routing/Rib/LinkBandwidth.h"

namespace Routing::Bgp {

// ExtCommLinkBandwidth(): AS number (bits 47..32) and bandwidth (the float
// pattern in bits 31..0, most significant octet first as on the wire).
class ExtCommLinkBandwidth : public ExtCommAsNumber {
 public:
   // formatDerivedType(): <LinkBandwidth 65000:1.25e+08 0x...>.
   // appendStrepForPolicy(): "AS:bandwidth" with the bandwidth as a default
   // output stream writes a float, prefixed "lbw " with classification; with
   // classification and UI "Link-Bandwidth-AS:AS:" and the platform's rate
   // (or weight, with strepFormatLinkBwWeighted).
   OVBGP_PARSE_VALUE_BASICS( ExtCommLinkBandwidth, ExtCommAsNumber,
                             extCommClassificationLinkBandwidth, content, false )

   // bandwidth(): the platform's value of the float pattern.
   Routing::Rib::LinkBandwidth bandwidth() const noexcept {
      return Routing::Rib::LinkBandwidth( getContent().localAdmin4Octets() );
   }

   // isValid(): the platform's judgement of the bandwidth (finite, not
   // negative).
   bool isValid() const override { return bandwidth().isValid(); }
   // isLinkBandwidthWithUnspecifiedAsNumber(): the AS number is 0.
   bool isLinkBandwidthWithUnspecifiedAsNumber() const override { return asNumber() == 0; }
   // isBetterThan(): whether other, a link-bandwidth community, carries a
   // strictly greater bandwidth than this one; a NaN on either side is never
   // better. Note the direction: it asks whether the argument wins. other is
   // not checked; its low 32 bits are read as a float whatever it is.
   bool isBetterThan( const ExtComm::PtrConst& other ) const override;

   // appendStreamFloat(): value as a default std::ostream writes a float
   // (six significant digits, "%g" style), without a stream.
   static void appendStreamFloat( OvFmt::DynamicBufferInterface& out, float value );
};

// extCommLinkBandwidthFactory(): a new value, notification on, not interned.
// BgpParseExtComSubTypeNonTransTwoOctetAsLinkBandwidthRule(): type 0x40
// subtype 0x04; builds a link-bandwidth community.
// BgpParseExtCommLinkBandwidthSm(): the plug-in that gives the non-transitive
// 2-octet AS type rule its link-bandwidth sub-rule.
OVBGP_PARSE_ONE_RULE_PLUGIN( ExtCommLinkBandwidth, extCommLinkBandwidthFactory,
                             BgpParseExtComSubTypeNonTransTwoOctetAsLinkBandwidthRule,
                             BgpParseExtComSubTypeNonTransTwoOctetAsRuleBase,
                             extCommPktSubtypeNonTransTwoOctetAsLinkBandwidth,
                             BgpParseExtCommLinkBandwidthSm, bgpParseExtCommLinkBandwidthSmFactory )

} // namespace Routing::Bgp
