#include "OvBgp/LargeCommList.h"

#include <gtest/gtest.h>

#include <vector>

#include "OvBgp/OvBgpCommunityList.h"
#include "OvFmt/DynamicBuffer.h"
#include "Routing/RouteMap/PosixRegex.h"

namespace {

using namespace Routing::Bgp;
using Acl::CommunityValue;

LargeCommList::PtrConst intern( const LargeCommListDedupTable::Ptr& table,
                                const std::vector<CommunityValue>& values ) {
   LargeCommList::Ptr list = largeCommListFactory();
   for ( const CommunityValue& value : values ) {
      list->commIs( value );
   }
   return list->dedup( table.ptr() );
}

bool matches( const LargeCommList::PtrConst& list, const std::string& pattern ) {
   Routing::RouteMap::PosixRegex regex( pattern );
   return list->matchCommunitiesRegex( &regex );
}

TEST( LargeCommList, SortsByEachWordInTurnAndHashesAKnownAnswer ) {
   auto table = largeCommListDedupTableFactory();
   const CommunityValue a( 64512, 1, 2 ), b( 64512, 1, 3 ), c( 7, 0xFFFFFFFF, 0 );
   LargeCommList::PtrConst shared = intern( table, { b, a, c, a, b } );
   EXPECT_EQ( ( std::vector<CommunityValue>{ c, a, b } ), *shared->commVectorRawPtr() );
   EXPECT_TRUE( shared->comm( a ) && shared->comm( c ) );
   EXPECT_FALSE( shared->comm( { 64512, 1, 4 } ) || shared->comm( { 64512, 2, 2 } ) );
   EXPECT_EQ( 0x1dc22c8fu, intern( table, { a } )->hash() );
   // The attribute octets: OvBgpCommunityList_test, for every kind.

   auto snapshot = shared->commSnapshot();
   EXPECT_EQ( 3u, snapshot->largeCommCount() );
   EXPECT_EQ( c, snapshot->largeCommBegin()->first ); // editing it is CommList_test's (ValueList)
}

TEST( LargeCommList, AsdotSplitsOnlyGlobalAdministratorsFrom65536AndOnlyWhenAsked ) {
   const CommunityValue big( 4200000000u, 1, 2 );
   EXPECT_EQ( "64086.59904:1:2", LargeCommList::displayString( big, true ) );
   EXPECT_EQ( "4200000000:1:2", LargeCommList::displayString( big, false ) );
   EXPECT_EQ( "4200000000:1:2", LargeCommList::getStringValue( big ) );
   EXPECT_EQ( "65535:0:0", LargeCommList::displayString( { 65535, 0, 0 }, true ) );
   EXPECT_EQ( "1.0:65536:4294967295", LargeCommList::displayString( { 65536, 65536, ~0u }, true ) );
   OvFmt::DynamicBuffer<4> buffer;
   EXPECT_EQ( 15u, LargeCommunityFormatter::format( buffer, big, true ) );
   EXPECT_EQ( 5u, LargeCommunityFormatter::format( buffer, { 0, 0, 0 }, true ) );
   EXPECT_EQ( "64086.59904:1:20:0:0", buffer.str() );

   // The list's text (so its stream output) and its regex text never use
   // asdot, and there is no second pass.
   auto table = largeCommListDedupTableFactory();
   LargeCommList::PtrConst list = intern( table, { big, { 65000, 3, 4 } } );
   EXPECT_EQ( "65000:3:4 4200000000:1:2", list->toStrep() );
   EXPECT_TRUE( matches( list, "^65000:3:4 4200000000:1:2$" ) );
   EXPECT_FALSE( matches( list, "64086\\.59904" ) );
   EXPECT_TRUE( matches( intern( table, {} ), "^$" ) );
}

} // namespace
