// tests/OvBgp/ExtCommIp6TestRule.h: a top-level parse rule whose transitive
// and non-transitive IPv6 type rules classify by subtype (0x02 route target,
// 0x03 route origin, 0x0b VRF route import, anything else unspecified) and
// count how often they are asked, so tests can see when a value is parsed.
//
//   TestIp6Rule rule;  auto table = extCommIp6DedupTableFactory( rule.top );
//   EXPECT_EQ( rule.parses(), 0 );
#pragma once

#include <atomic>

#include "OvBgp/Parse/ExtComm.h"

namespace Routing::Bgp::Testing {

// CountingIp6TypeRule: an IPv6 type rule that classifies by subtype.
class CountingIp6TypeRule final : public BgpParseExtendedCommunityIp6TypeRuleBase {
 public:
   CountingIp6TypeRule( const BgpParseExtCommControl& control, BgpExtCommIp6PktType type,
                        std::atomic<int>* calls )
         : BgpParseExtendedCommunityIp6TypeRuleBase( control, type ), calls_( calls ) {}

   Kel::Ptr<const ExtCommIp6> inhale( const ExtCommIp6Content& content ) const override {
      calls_->fetch_add( 1 );
      const U8 subtype = content.subtypeOctet;
      return ExtCommIp6Subtyped::ExtCommIp6SubtypedIs(
            subtype == 0x02   ? extCommClassificationRouteTarget
            : subtype == 0x03 ? extCommClassificationRouteOrigin
            : subtype == 0x0b ? extCommClassificationVrfRouteImport
                              : extCommClassificationUnSpecified,
            content );
   }

 private:
   std::atomic<int>* calls_;
};

// TestIp6Rule: a top-level rule (a new one on an empty registry unless one
// is given) with both IPv6 type rules replaced by counting ones.
struct TestIp6Rule {
   explicit TestIp6Rule( BgpParseExtendedCommunityRule::Ptr rule = nullptr )
         : top( rule ? std::move( rule )
                     : bgpParseExtendedCommunityRuleFactory(
                             BgpParseExtCommControl( bgpParseExtCommRuleCollectionsFactory() ) ) ) {
      for ( BgpExtCommIp6PktType type :
            { extCommIp6PktTypeTransIpv6Address, extCommIp6PktTypeNonTransIpv6Address } ) {
         top->ip6TypeRuleIs(
               bgpParseExtCommRuleFactory<CountingIp6TypeRule>( top->control(), type, &calls ) );
      }
   }
   int parses() const { return calls.load(); }

   std::atomic<int> calls{ 0 };
   BgpParseExtendedCommunityRule::Ptr top;
};

} // namespace Routing::Bgp::Testing
