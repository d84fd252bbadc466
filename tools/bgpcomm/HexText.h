// HexText.h: octets to and from hexadecimal text, as users type them on the
// command line and as the tool prints raw attribute values.
//
//   std::vector< U8 > octets = parseHex( "0x0002fde8:00000064" );
//   std::string text; appendHex( text, octets ); // "0002fde800000064"
#pragma once

#include "Kel/Types.h"

#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace Bgpcomm {

// HexError: text that is not hexadecimal octets; what() says where.
class HexError : public std::invalid_argument {
 public:
   using std::invalid_argument::invalid_argument;
};

// parseHex(): an optional "0x" prefix, then hex digits; ':', '-', '.', '_' and
// blanks between octets are ignored. Throws HexError for anything else, for an
// odd digit count and for no digits at all.
std::vector<U8> parseHex( std::string_view text );

// appendHex(): lower-case digits, two per octet, no separators.
void appendHex( std::string& out, std::span<const U8> octets );

} // namespace Bgpcomm
