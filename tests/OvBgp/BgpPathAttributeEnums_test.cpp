#include "OvBgp/BgpPathAttributeEnums.h"

#include <map>

#include <gtest/gtest.h>

using namespace Routing::Bgp;

TEST( BgpPathAttributeEnums, ShowStringOfEveryTypeCode ) {
   // clang-format off
   const std::map<U32, std::string_view> named = {
      { 0, "Invalid Path Attribute" }, { 1, "Origin" }, { 2, "AS Path" }, { 3, "Nexthop" },
      { 4, "MED" }, { 5, "Local Preference" }, { 6, "Atomic Aggregator" }, { 7, "Aggregator" },
      { 8, "Community" }, { 9, "Originator ID" }, { 10, "Cluster List" }, { 12, "Advertiser" },
      { 13, "RCID Path" }, { 14, "MP Reach NLRI" }, { 15, "MP Unreach NLRI" },
      { 16, "Extended Community" }, { 17, "AS4 Path" }, { 18, "AS4 Aggregator" },
      { 22, "PMSI Tunnel" }, { 23, "Tunnel Encapsulation" },
      { 25, "IPv6 Address Specific Extended Community" }, { 26, "Accumulated IGP Metric" },
      { 29, "Link State" }, { 32, "Large Community" }, { 36, "Domain Path" },
      { 40, "BGP Prefix-SID" }, { 128, "Attribute Set" }, { 255, "Reserved for Development" }
   };
   // clang-format on
   for ( U32 code = 0; code <= 0x1FF; ++code ) {
      auto type = BgpPathAttrType( code );
      auto it = named.find( code );
      std::string_view expected = it == named.end() ? "Invalid attribute" : it->second;
      EXPECT_EQ( bgpPathAttrTypeShowString( type ), expected ) << "code " << code;
      // Every code with a show text has a member, and only those (plus the
      // out-of-range unknown).
      EXPECT_EQ( !stringValue( type ).empty(), it != named.end() || type == attrTypeUnknown )
            << "code " << code;
   }
   EXPECT_GT( U32( attrTypeUnknown ), 0xFFu );
}
