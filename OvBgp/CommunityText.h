// OvBgp/CommunityText.h: text to values. Every text form the library prints
// of a community or a list reads back to that value: standard communities
// ("65000:100", the 32-bit number, the well-known names), large ones
// ("65000:1:2", asdot), extended ones in their classification, UI and
// debugging forms ("RT:65000:100", "Route-Target-AS4:1.10:5",
// "0304(NT):0x00 0x00 0x00 0x00 0x00 0x01", "<RouteTarget ... 0x...>"),
// IPv6-address-specific ones ("0002-IP6:2001:db8::1:100", the debugging
// form), and lists as the space-separated forms their toStrep() prints (the
// extended lists with or without "[ ]"). Extended values and lists are
// interned through the tables given, so they come back typed and shared.
//
// Some printed forms stand for more than one value; they read as the value
// whose form prints the same text: a rounded link bandwidth ("1.5 Gbps"),
// a 4-octet AS below 65536 in the "RT:" form (read as the 2-octet layout),
// octets that a form leaves out (color flags, tunnel and gateway padding).
// The debugging form of an IPv6-address-specific community of an unknown
// type leaves its type octet out and does not read; its UI form does.
// Bad text throws Kel::ParseException; what() quotes the text and says what
// is wrong: "standard community '65536:1': 65536 is beyond 65535".
//
//   U32 noExport = commValueFromStrep( "no-export" );
//   auto rts = extCommListFromStrep( lists, values, "RT:65000:100 SoO:192.0.2.1:7" );
#pragma once

#include <string_view>

#include "Acl/CommunityValue.h"
#include "Kel/Types.h"
#include "OvBgp/OvBgpCommunity.h"
#include "OvBgp/OvBgpCommunityList.h"

namespace Routing::Bgp {

// commValueFromStrep(): a standard community: "A:B", the 32-bit number or a
// well-known name ("no-export", "local-as", ...).
U32 commValueFromStrep( std::string_view text );
// largeCommValueFromStrep(): "A:B:C"; A may be asdot ("1.10:1:2").
Acl::CommunityValue largeCommValueFromStrep( std::string_view text );
// extCommFromStrep(): the interned extended community the text names.
ExtComm::PtrConst extCommFromStrep( const ExtCommDedupTable* table, std::string_view text );
// extCommIp6FromStrep(): the interned IPv6-address-specific community.
ExtCommIp6::PtrConst extCommIp6FromStrep( const ExtCommIp6DedupTable* table,
                                          std::string_view text );

// The lists, interned; white space separates the values, and empty text is
// the empty list.
CommList::PtrConst commListFromStrep( const CommListDedupTable* table, std::string_view text );
LargeCommList::PtrConst largeCommListFromStrep( const LargeCommListDedupTable* table,
                                                std::string_view text );
ExtCommList::PtrConst extCommListFromStrep( const ExtCommListDedupTable* lists,
                                            const ExtCommDedupTable* values,
                                            std::string_view text );
ExtCommIp6List::PtrConst extCommIp6ListFromStrep( const ExtCommIp6ListDedupTable* lists,
                                                  const ExtCommIp6DedupTable* values,
                                                  std::string_view text );

} // namespace Routing::Bgp
