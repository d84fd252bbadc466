// CommunityKind.h: the four community path attributes the tool reads, with
// their attribute type codes, value sizes and the names used in output.
//
//   auto kind = communityKindForAttrType( 32 );   // CommunityKind::large
//   size_t unit = communityKindInfo( *kind ).unit; // 12
#pragma once

#include "Kel/Types.h"

#include <array>
#include <optional>

namespace Bgpcomm {

// CommunityKind: one community path attribute; the order is the output order.
enum class CommunityKind : U8 { standard, extended, large, ip6Extended };

constexpr size_t communityKindCount = 4;

constexpr std::array<CommunityKind, communityKindCount> allCommunityKinds = {
   CommunityKind::standard, CommunityKind::extended, CommunityKind::large,
   CommunityKind::ip6Extended
};

// CommunityKindInfo: what the wire and the output call a kind.
struct CommunityKindInfo {
   U8 attrType;          // path attribute type code
   U8 unit;              // octets per community
   const char* attrName; // attribute name in messages
   const char* jsonKey;  // key in JSON output
};

// communityKindInfo()
constexpr CommunityKindInfo communityKindInfo( CommunityKind kind ) {
   switch ( kind ) {
      case CommunityKind::standard:
         return { 8, 4, "COMMUNITIES", "communities" };
      case CommunityKind::extended:
         return { 16, 8, "EXTENDED_COMMUNITIES", "extCommunities" };
      case CommunityKind::large:
         return { 32, 12, "LARGE_COMMUNITY", "largeCommunities" };
      case CommunityKind::ip6Extended:
         return { 25, 20, "IPV6_EXTENDED_COMMUNITIES", "ipv6ExtCommunities" };
   }
   return { 0, 1, "", "" };
}

// communityKindForAttrType(): the kind carried by a path attribute type, if any.
constexpr std::optional<CommunityKind> communityKindForAttrType( U8 attrType ) {
   switch ( attrType ) {
      case 8:
         return CommunityKind::standard;
      case 16:
         return CommunityKind::extended;
      case 32:
         return CommunityKind::large;
      case 25:
         return CommunityKind::ip6Extended;
      default:
         return std::nullopt;
   }
}

// communityKindIndex(): position of a kind in per-kind arrays.
constexpr size_t communityKindIndex( CommunityKind kind ) { return size_t( kind ); }

} // namespace Bgpcomm
