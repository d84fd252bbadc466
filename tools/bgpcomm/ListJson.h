// ListJson.h: the JSON array of an interned list's values, in the list's
// order (ascending, each once): numbers for standard communities, "0x" and
// sixteen hex digits for extended ones, [global, local1, local2] for large
// ones, forty hex digits for IPv6-address-specific ones.
//
//   std::string out;
//   appendJsonValues( out, *lists.communities ); // [4259840100, 4294967041]
#pragma once

#include "OvBgp/CommList.h"
#include "OvBgp/ExtCommIp6List.h"
#include "OvBgp/ExtCommList.h"
#include "OvBgp/LargeCommList.h"

#include <string>

namespace Bgpcomm {

// appendJsonValue(): one value.
void appendJsonValue( std::string& out, U32 standard );
void appendJsonValue( std::string& out, const Acl::CommunityValue& large );
void appendJsonValue( std::string& out, const Routing::Bgp::ExtComm& extended );
void appendJsonValue( std::string& out, const Routing::Bgp::ExtCommIp6& ip6Extended );

// appendJsonValues(): the list's values as an array.
void appendJsonValues( std::string& out, const Routing::Bgp::CommList& list );
void appendJsonValues( std::string& out, const Routing::Bgp::LargeCommList& list );
void appendJsonValues( std::string& out, const Routing::Bgp::ExtCommList& list );
void appendJsonValues( std::string& out, const Routing::Bgp::ExtCommIp6List& list );

} // namespace Bgpcomm
