#include "MrtTestSupport.h"

#include "tools/bgpcomm/RouteInterner.h"
#include "tools/bgpcomm/WireRead.h"

#include <gtest/gtest.h>

namespace BgpcommTest {
namespace {

using namespace Routing::Bgp;

// extended(): one extended community value as its attribute octets.
std::vector<U8> extended( U64 value ) {
   std::vector<U8> o( 8 );
   storeU64hton( o.data(), value );
   return o;
}

TEST( RouteInterner, SameValuesInAnyOrderWithRepeatsAreOneListInItsKindsTable ) {
   CommunityTables tables;
   RouteInterner interner( tables );

   auto std1 = interner.communities( parseHex( "ffffff01 fde800c8 fde80064 fde800c8" ) );
   auto std2 = interner.communities( parseHex( "fde80064 fde800c8 ffffff01" ) );
   EXPECT_EQ( std1, std2 ); // not both null: each kind's table holds one list, below

   auto large1 = interner.largeCommunities(
         parseHex( "fa56ea00 00000001 00000002  0000fde8 00000000 00000009" ) );
   auto large2 = interner.largeCommunities( parseHex(
         "0000fde8 00000000 00000009  fa56ea00 00000001 00000002  0000fde8 00000000 00000009" ) );
   EXPECT_EQ( large1, large2 );

   auto ext1 = interner.extCommunities( parseHex( "4004fde84e6e6b28 0002fde800000064" ) );
   auto ext2 = interner.extCommunities(
         parseHex( "0002fde800000064 4004fde84e6e6b28 0002fde800000064" ) );
   ASSERT_TRUE( ext1 );
   EXPECT_EQ( ext1, ext2 );
   ASSERT_EQ( ext1->comms(), 2u );
   // Values come typed from the parse rules (their texts: the sample's
   // committed output; its route targets: MrtCommand_test's stats).
   EXPECT_EQ( ext1->commVector()[ 0 ]->classification(), extCommClassificationRouteTarget );

   const std::string rt6 = "000220010db80000000000000000000000010064",
                     origin6 = "000320010db80000000000000000000000010064";
   auto ip6 = interner.ipv6ExtCommunities( parseHex( origin6 + rt6 ) );
   ASSERT_TRUE( ip6 );
   EXPECT_EQ( interner.ipv6ExtCommunities( parseHex( rt6 + origin6 + rt6 ) ), ip6 );
   EXPECT_EQ( ip6->comms(), 2u );

   // One list built per content, each in its kind's table (how a list is
   // built from octets is OvBgpCommunityList_test's); the repeats were found.
   EXPECT_EQ( interner.listsBuilt(), 4u );
   EXPECT_EQ( tables.commList()->dedupTable()->size(), 1u );
   EXPECT_EQ( tables.largeCommList()->dedupTable()->size(), 1u );
   EXPECT_EQ( tables.extCommList()->dedupTable()->size(), 1u );
   EXPECT_EQ( tables.extCommIp6List()->dedupTable()->size(), 1u );
}

TEST( RouteInterner, NoOctetsNoListOtherValuesOtherListAndListsOutliveRoutes ) {
   CommunityTables tables;
   RouteInterner interner( tables );
   EXPECT_FALSE( interner.communities( {} ) ); // the other kinds: through intern() below

   MrtRoute route;
   std::vector<U8> a = parseHex( "fde80064" ), b = parseHex( "fde80065" );
   route.communities[ communityKindIndex( CommunityKind::standard ) ] = a;
   InternedRoute lists;
   interner.intern( route, &lists );
   CommList::PtrConst first = lists.communities;
   ASSERT_TRUE( first );
   EXPECT_FALSE( lists.extCommunities || lists.largeCommunities || lists.ipv6ExtCommunities );
   route.communities[ communityKindIndex( CommunityKind::standard ) ] = b;
   interner.intern( route, &lists );
   EXPECT_NE( lists.communities, first );
   EXPECT_TRUE( lists.present( CommunityKind::standard ) );
   EXPECT_FALSE( lists.present( CommunityKind::large ) );

   // Lists outlive their routes: held by nobody but the interner, found again, not rebuilt.
   const CommList* address = first.ptr();
   first = nullptr;
   const size_t built = interner.listsBuilt();
   EXPECT_EQ( interner.communities( a ).ptr(), address );
   EXPECT_EQ( interner.listsBuilt(), built );
}

TEST( RouteInterner, ManyExtendedListsAreEachBuiltOnceAndFoundAgain ) {
   CommunityTables tables;
   RouteInterner interner( tables );
   constexpr U64 lists = 6000;
   std::vector<ExtCommList::PtrConst> first;
   for ( U64 i = 0; i < lists; ++i )
      first.push_back( interner.extCommunities( extended( 0x0002fde800000000 | i ) ) );
   for ( U64 i = 0; i < lists; ++i )
      ASSERT_EQ( interner.extCommunities( extended( 0x0002fde800000000 | i ) ), first[ i ] );
   EXPECT_EQ( tables.extCommList()->dedupTable()->size(), lists );
   EXPECT_EQ( tables.extComm()->dedupTable()->size(), lists );
   EXPECT_EQ( interner.listsBuilt(), lists );
}

} // namespace
} // namespace BgpcommTest
