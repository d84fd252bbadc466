// CommunityValues.h: the values in a community attribute's octets, sorted and
// without repeats (a route's communities are a set), and their JSON arrays:
// numbers for standard, "0x" + 16 digits for extended, [a, b, c] for large,
// 40 hex digits for IPv6-address-specific.
//
//   CommunityValues values;
//   values.appendJson( out, CommunityKind::standard, octets ); // [4259840100, 4259840101]
#pragma once

#include "Kel/Types.h"
#include "tools/bgpcomm/CommunityKind.h"

#include <array>
#include <span>
#include <string>
#include <vector>

namespace Bgpcomm {

// LargeValue / Ip6ExtendedValue: one large community (three words) and one
// IPv6-address-specific extended community (20 octets).
using LargeValue = std::array<U32, 3>;
using Ip6ExtendedValue = std::array<U8, 20>;

// CommunityValues: decodes into vectors it keeps, so repeated use allocates
// only when a route has more values than any before.
class CommunityValues {
 public:
   // appendJson(): the JSON array of the values in octets (a multiple of the
   // kind's unit).
   void appendJson( std::string& out, CommunityKind kind, std::span<const U8> octets );

 private:
   void decode( CommunityKind kind, std::span<const U8> octets );
   size_t size( CommunityKind kind ) const;

   std::vector<U32> standard_;
   std::vector<U64> extended_;
   std::vector<LargeValue> large_;
   std::vector<Ip6ExtendedValue> ip6Extended_;
};

} // namespace Bgpcomm
