// CommunityTextInput.h: a community or a list written as the library prints
// it, for `bgpcomm decode`, turned into the same input its hex gives: one
// value reads as a bare community, several as their attribute. The kind is
// told by the first value ("65000:100" standard, "65000:1:2" large,
// "0002-IP6:..." IPv6-address-specific, any other form extended).
//
//   CommunityInput in = communityInputFromText( tables, "RT:65000:100 SoO:65000:1" );
//   // in.kind == CommunityKind::extended, in.isAttribute, 16 value octets
#pragma once

#include "tools/bgpcomm/CommunityInput.h"
#include "tools/bgpcomm/CommunityTables.h"

#include <string_view>

namespace Bgpcomm {

// communityInputFromText(): throws Kel::ParseException for text that does
// not read as a list of the kind its first value names, or names none.
CommunityInput communityInputFromText( const CommunityTables& tables, std::string_view text );

} // namespace Bgpcomm
