// PathAttributes.h: one walk over a block of BGP path attributes that picks
// out the four community attributes and MP_REACH_NLRI, checks the community
// lengths against their unit, and says why a block cannot be walked at all.
//
//   PathAttributeScan scan;
//   if ( std::string bad = scanPathAttributes( block, &scan ); !bad.empty() ) skip( bad );
#pragma once

#include "Kel/Types.h"
#include "tools/bgpcomm/CommunityKind.h"

#include <array>
#include <span>
#include <string>

namespace Bgpcomm {

// Attribute type codes other than the communities that the reader looks at.
enum PathAttrType : U8 {
   pathAttrMpReachNlri = 14,
   pathAttrMpUnreachNlri = 15,
};

// AttributeIssue: a community attribute left out of the route, and why.
struct AttributeIssue {
   enum Cause : U8 { emptyValue, notMultiple, duplicate };
   CommunityKind kind = CommunityKind::standard;
   Cause cause = emptyValue;
   U32 length = 0;

   // text(): one line for the problem report.
   std::string text() const;
};

// PathAttributeScan: what a walk found; spans view the scanned block.
struct PathAttributeScan {
   static constexpr size_t maxIssues = 8;

   std::array<std::span<const U8>, communityKindCount> communities;
   std::span<const U8> mpReach;   // value octets of the first MP_REACH_NLRI
   std::span<const U8> mpUnreach; // and of the first MP_UNREACH_NLRI
   std::array<AttributeIssue, maxIssues> issues;
   U8 issueCount = 0;
};

// scanPathAttributes(): fills scan from block. Returns "" when every attribute
// header and length fits the block, else the reason (scan is then partial).
// A community attribute of length 0 or not a multiple of its unit, and every
// repeat of an attribute, is left out and recorded as an issue.
std::string scanPathAttributes( std::span<const U8> block, PathAttributeScan* scan );

} // namespace Bgpcomm
