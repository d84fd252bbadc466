// OvBgp/Parse/ExtCommOriginValidationState.h: the origin validation state
// community, non-transitive opaque type 0x43, subtype 0x00, whose last octet
// is the RPKI outcome (valid, not found, invalid), with its text forms, the
// sub-rule that builds it and the plug-in that registers it. Its policy text
// is empty unless classification and UI are both asked for: the community is
// shown to users but never matched by policy.
//
//   auto ovs = extCommOriginValidationStateFactory( ExtCommContent( 0x4300000000000001 ) );
//   ovs->toStrepForUI( false, false, false );  // "Origin-Validation-State:not-found"
#pragma once

#include "OvBgp/OvBgpCommunity.h"
#include "OvBgp/Parse/ExtCommPluginBase.h"
#include "OvBgp/Parse/ExtCommRules.h"
#include "Routing/Bgp/Rpki.h"

namespace Routing::Bgp {

// ExtCommOriginValidationState(): the state is bits 7..0; any octet beyond
// the three states reads "unknown".
class ExtCommOriginValidationState : public ExtCommSubtyped {
 public:
   // formatDerivedType(): <OriginValidationState valid 0x...>, or
   // "unknown(N) " for an octet without a state.
   // appendStrepForPolicy(): "Origin-Validation-State:" and valid,
   // not-found, invalid or unknown with classification and UI; nothing
   // under any other format.
   OVBGP_PARSE_VALUE_BASICS( ExtCommOriginValidationState, ExtCommSubtyped,
                             extCommClassificationOriginValidationState, content )

   // buildExtCommContent(): type 0x43, subtype 0x00, state in the low bits.
   static ExtCommContent buildExtCommContent( Rpki::OriginValidationState state ) noexcept {
      return ExtCommContent( 0x4300000000000000ull | U32( state ) );
   }

   // stateOctet(): the last octet, a state or not.
   U8 stateOctet() const noexcept { return U8( community() ); }
};

// extCommOriginValidationStateFactory(): a new value, notification on, not interned.
// BgpParseExtComSubTypeNonTransOpaqueOriginValidationStateRule(): type 0x43
// subtype 0x00; builds an origin validation state community.
// BgpParseExtCommOriginValidationStateSm(): the plug-in that gives the
// non-transitive opaque type rule its origin validation state sub-rule.
OVBGP_PARSE_ONE_RULE_PLUGIN( ExtCommOriginValidationState, extCommOriginValidationStateFactory,
                             BgpParseExtComSubTypeNonTransOpaqueOriginValidationStateRule,
                             BgpParseExtComSubTypeNonTransOpaqueRuleBase,
                             extCommPktSubtypeNonTransOriginValidationState,
                             BgpParseExtCommOriginValidationStateSm,
                             bgpParseExtCommOriginValidationStateSmFactory )

} // namespace Routing::Bgp
