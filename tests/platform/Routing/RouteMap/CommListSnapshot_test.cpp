#include "Routing/RouteMap/CommListSnapshot.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using Acl::CommunityValue;
using Routing::RouteMap::CommListSnapshot;
using Routing::RouteMap::commListSnapshotFactory;

TEST( CommListSnapshot, InsertsOverwritesAndIteratesInAscendingOrder ) {
   CommListSnapshot::Ptr snapshot = commListSnapshotFactory();
   for ( U32 c : { 0xFFFFFF01u, 5u, 0x80000000u, 5u } ) {
      snapshot->commIs( c, true );
   }
   snapshot->commIs( 0x80000000u, false ); // overwrite
   EXPECT_EQ(
         ( std::vector<CommListSnapshot::KelComm>{
               { 5u, true }, { 0x80000000u, false }, { 0xFFFFFF01u, true } } ),
         std::vector<CommListSnapshot::KelComm>( snapshot->commBegin(), snapshot->commEnd() ) );
   EXPECT_TRUE( snapshot->comm( 5u ) );
   EXPECT_FALSE( snapshot->comm( 0x80000000u ) );
   EXPECT_FALSE( snapshot->comm( 6u ) );
   EXPECT_EQ( 0u, snapshot->largeCommCount() );

   snapshot->commIs( CommunityValue( 2, 0, 0 ), true );
   snapshot->commIs( CommunityValue( 1, 9, 9 ), true );
   snapshot->commIs( CommunityValue( 1, 9, 9 ), false );
   ASSERT_EQ( 2u, snapshot->largeCommCount() );
   EXPECT_EQ( CommunityValue( 1, 9, 9 ), snapshot->largeCommBegin()->first );
   EXPECT_FALSE( snapshot->comm( CommunityValue( 1, 9, 9 ) ) );
   EXPECT_TRUE( snapshot->comm( CommunityValue( 2, 0, 0 ) ) );
   EXPECT_EQ( 3u, snapshot->commCount() ); // the maps are separate
}

TEST( CommListSnapshot, DeletesByKeyReturningTheFlagAndByIterator ) {
   CommListSnapshot::Ptr snapshot = CommListSnapshot::CommListSnapshotIs();
   snapshot->commIs( 1, true );
   snapshot->commIs( 2, false );
   snapshot->commIs( 3, true );
   EXPECT_TRUE( snapshot->commDel( 1u ) );
   EXPECT_FALSE( snapshot->commDel( 1u ) ); // absent
   EXPECT_FALSE( snapshot->commDel( 2u ) ); // present with false
   EXPECT_EQ( 1u, snapshot->commCount() );
   snapshot->commIs( 4, true );
   auto next = snapshot->commDel( snapshot->commBegin() );
   EXPECT_EQ( 4u, next->first );

   snapshot->commIs( CommunityValue( 7, 7, 7 ), true );
   snapshot->commIs( CommunityValue( 7, 7, 8 ), true );
   EXPECT_TRUE( snapshot->commDel( CommunityValue( 7, 7, 7 ) ) );
   EXPECT_FALSE( snapshot->commDel( CommunityValue( 7, 7, 7 ) ) );
   EXPECT_EQ( snapshot->largeCommEnd(), snapshot->commDel( snapshot->largeCommBegin() ) );

   snapshot->commIs( CommunityValue( 1, 2, 3 ), true );
   snapshot->commDelAll();
   EXPECT_EQ( 0u, snapshot->commCount() );
   EXPECT_EQ( 0u, snapshot->largeCommCount() );
}

} // namespace
