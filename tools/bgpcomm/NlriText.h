// NlriText.h: network layer reachability information as BGP encodes it (a bit
// length and the significant octets; for VPN families labels and a route
// distinguisher first), split off a buffer and written as text.
//
//   std::string text;
//   size_t used = readNlri( afiIpv4, safiUnicast, data, &text, &why ); // "10.1.0.0/24"
#pragma once

#include "Kel/Types.h"

#include <span>
#include <string>

namespace Bgpcomm {

// Address family and subsequent address family codes the reader names.
enum Afi : U16 { afiIpv4 = 1, afiIpv6 = 2 };
enum Safi : U8 { safiUnicast = 1, safiMulticast = 2, safiMplsVpn = 128 };

// appendDecimal()
void appendDecimal( std::string& out, U64 value );

// appendIpv4() / appendIpv6(): dotted quad; RFC 5952 text.
void appendIpv4( std::string& out, const U8* address );
void appendIpv6( std::string& out, const U8* address );

// appendAddress(): 4 octets as IPv4, 16 as IPv6.
void appendAddress( std::string& out, std::span<const U8> address );

// appendRouteDistinguisher(): "AS:number", "a.b.c.d:number", or the 8 octets
// in hex for a type that has no text form.
void appendRouteDistinguisher( std::string& out, const U8* rd );

// addressBits(): 32 for IPv4, 128 for IPv6, 0 for other families.
unsigned addressBits( U16 afi );

// nlriLayoutKnown(): whether readNlri() can split NLRI of the family.
bool nlriLayoutKnown( U16 afi, U8 safi );

// readNlri(): splits one NLRI of the family off the front of data. Returns the
// octets it takes and, when text is not null, appends its text: a prefix for
// unicast and multicast, "RD:prefix" for MPLS VPN, otherwise
// "nlri(AFI/SAFI):hex". Returns 0 and points why at the reason when the octets
// do not hold one well-formed NLRI or the family's layout is unknown.
size_t readNlri( U16 afi, U8 safi, std::span<const U8> data, std::string* text, const char** why );

} // namespace Bgpcomm
