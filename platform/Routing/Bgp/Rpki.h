// Routing/Bgp/Rpki.h: the outcome of RPKI origin validation (RFC 6811) as
// carried by the origin-validation-state extended community (RFC 8097),
// whose last octet holds exactly these values.
//
//   auto state = Routing::Bgp::Rpki::OriginValidationState( octet );
//   bool ok = state == Routing::Bgp::Rpki::originValidationStateValid;
#pragma once

#include "Kel/Types.h"

namespace Routing::Bgp::Rpki {

// OriginValidationState(): the wire value of each state.
enum OriginValidationState : U8 {
   originValidationStateValid = 0,
   originValidationStateNotFound = 1,
   originValidationStateInvalid = 2,
};

} // namespace Routing::Bgp::Rpki
