#include "OvBgp/Parse/ExtCommCache.h"

#include <gtest/gtest.h>

namespace {

using Routing::Bgp::BgpShowCli::ExtCommCache;
using Routing::Bgp::BgpShowCli::extCommCacheFactory;

constexpr U64 rt100 = 0x0002FDE800000064ull;
constexpr U64 rt200 = 0x0002FDE8000000C8ull;

// The plain and asdot maps are separate: writes, reads and deletes touch only their own.
TEST( ExtCommCache, PlainAndAsdotTextsAreSeparateAndTheLastWriterWins ) {
   ExtCommCache::Ptr cache = extCommCacheFactory();
   EXPECT_TRUE( cache->hasNotificationActive() );
   cache->insert( rt100, "RT:65000:100", false );
   EXPECT_EQ( "", cache->lookup( rt100, true ) );
   cache->insert( rt100, "RT:0.65000:100", true );
   cache->insert( rt100, "RT:65000:1", false );
   cache->extCommToAsdotStringIs( rt200, "RT:0.65000:200" );
   cache->extCommToStringIs( rt200, "plain" );
   EXPECT_EQ( "RT:65000:1", cache->lookup( rt100, false ) );
   EXPECT_EQ( "RT:0.65000:100", cache->lookup( rt100, true ) );
   EXPECT_EQ( 2u, cache->extCommToStringCount() );

   cache->extCommToStringDel( rt100 );
   cache->extCommToStringDel( 42 ); // absent: nothing happens
   cache->extCommToAsdotStringDel( rt200 );
   EXPECT_EQ( "", cache->lookup( rt100, false ) );
   EXPECT_EQ( "RT:0.65000:100", cache->lookup( rt100, true ) );
   EXPECT_EQ( "plain", cache->lookup( rt200, false ) );
   EXPECT_EQ( "", cache->lookup( rt200, true ) );

   cache->extCommToAsdotStringDelAll();
   EXPECT_EQ( 0u, cache->extCommToAsdotStringCount() );
   EXPECT_EQ( "plain", cache->lookup( rt200, false ) );
   cache->extCommToStringDelAll();
   EXPECT_EQ( 0u, cache->extCommToStringCount() );
}

} // namespace
