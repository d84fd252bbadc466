// CommunityInput.h: what a user gives `bgpcomm decode`: the octets of one
// community (4, 8, 12 or 20 of them) or of a whole community path attribute
// with its header, in hex. Anything else is refused with a one-line reason.
//
//   CommunityInput in = parseCommunityInput( "c00808fde80064fde800c8" );
//   // in.kind == CommunityKind::standard, in.octets holds the 8 value octets
#pragma once

#include "Kel/Types.h"
#include "tools/bgpcomm/CommunityKind.h"

#include <stdexcept>
#include <string_view>
#include <vector>

namespace Bgpcomm {

// CommunityInputError: input that is neither form; what() is the reason.
class CommunityInputError : public std::invalid_argument {
 public:
   using std::invalid_argument::invalid_argument;
};

// CommunityInput: the kind and the value octets (a whole number of units).
struct CommunityInput {
   CommunityKind kind = CommunityKind::standard;
   std::vector<U8> octets;
   bool isAttribute = false; // the input had an attribute header
   U8 attrFlags = 0;
};

// parseCommunityInput(): a bare community when the length is one of the four
// community sizes and the octets do not read as a complete community
// attribute; otherwise an attribute of type 8, 16, 25 or 32 whose header
// length matches the input and is a non-zero multiple of the unit. Throws
// CommunityInputError (hex errors included).
CommunityInput parseCommunityInput( std::string_view hex );

} // namespace Bgpcomm
