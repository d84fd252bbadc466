#include "Routing/Bgp/OvBgpGlobals.h"

#include <gtest/gtest.h>

namespace {

using Routing::Bgp::OvBgpGlobals;

TEST( OvBgpGlobals, MultiThreadedDefaultsToFalseAndFollowsTheSetter ) {
   EXPECT_FALSE( OvBgpGlobals::multiThreaded() );
   OvBgpGlobals::multiThreadedIs( true );
   EXPECT_TRUE( OvBgpGlobals::multiThreaded() );
   OvBgpGlobals::multiThreadedIs( false );
   EXPECT_FALSE( OvBgpGlobals::multiThreaded() );
}

} // namespace
