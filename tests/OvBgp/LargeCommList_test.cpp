#include "OvBgp/LargeCommList.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>
#include <vector>

#include "KelStow/StoreManager.h"
#include "OvBgp/OvBgpCommunityList.h"
#include "OvFmt/DynamicBuffer.h"
#include "Routing/RouteMap/PosixRegex.h"
#include "tests/OvBgp/TestSupport.h"

namespace {

using namespace Routing::Bgp;
using Acl::CommunityValue;
using Testing::hex;

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

TEST( LargeCommList, SameValuesInAnyOrderInternToOneTrimmedObjectPerTable ) {
   auto table = largeCommListDedupTableFactory();
   auto other = largeCommListDedupTableFactory();
   const CommunityValue a( 64512, 1, 2 ), b( 64512, 1, 3 ), c( 7, 0xFFFFFFFF, 0 );
   LargeCommList::PtrConst shared = intern( table, { b, a, c, a, b } );
   EXPECT_EQ( ( std::vector<CommunityValue>{ c, a, b } ), *shared->commVectorRawPtr() );
   EXPECT_EQ( 3u, shared->commVectorRawPtr()->capacity() );
   EXPECT_TRUE( shared->comm( a ) && shared->comm( c ) );
   EXPECT_FALSE( shared->comm( { 64512, 1, 4 } ) || shared->comm( { 64512, 2, 2 } ) );
   EXPECT_EQ( shared, intern( table, { a, c, b } ) );
   EXPECT_NE( shared, intern( table, { a, c } ) );
   LargeCommList::PtrConst elsewhere = intern( other, { c, b, a } );
   EXPECT_NE( shared, elsewhere );
   EXPECT_EQ( shared, LargeCommList::lookupByContent(
                            table.ptr(), LargeCommListContent( *elsewhere->commVectorRawPtr() ) ) );
   EXPECT_EQ( intern( table, {} ), intern( table, {} ) );

   // The hash: each word's octets, least significant first.
   EXPECT_EQ( Testing::oneAtATime( { 0x00, 0xFC, 0x00, 0x00, 1, 0, 0, 0, 2, 0, 0, 0 } ),
              intern( table, { a } )->hash() );
   EXPECT_EQ( 0u, intern( table, {} )->hash() );

   auto snapshot = shared->commSnapshot();
   EXPECT_EQ( 3u, snapshot->largeCommCount() );
   EXPECT_EQ( c, snapshot->largeCommBegin()->first );
   snapshot->commDel( a );
   EXPECT_TRUE( shared->comm( a ) );

   shared = nullptr;
   elsewhere = nullptr;
   EXPECT_EQ( 0u, table->dedupTable()->size() + other->dedupTable()->size() );
   EXPECT_DEATH( const_cast<LargeCommList*>( intern( table, { a } ).ptr() )->commIs( b ),
                 "assertion failed: !commVectorSorted\\(\\) \\(OvBgp/OvBgpCommunityList\\)" );
   EXPECT_DEATH( largeCommListFactory()->comm( a ), "assertion failed: commVectorSorted\\(\\)" );
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

   // The list's text, its stream output and its regex text never use asdot,
   // and there is no second pass.
   auto table = largeCommListDedupTableFactory();
   LargeCommList::PtrConst list = intern( table, { big, { 65000, 3, 4 } } );
   EXPECT_EQ( "65000:3:4 4200000000:1:2", list->toStrep() );
   std::ostringstream os;
   os << std::hex << list.ptr() << ' ' << static_cast<const LargeCommList*>( nullptr ) << 10;
   EXPECT_EQ( "65000:3:4 4200000000:1:2 a", os.str() );
   EXPECT_TRUE( matches( list, "^65000:3:4 4200000000:1:2$" ) );
   EXPECT_FALSE( matches( list, "64086\\.59904" ) );
   EXPECT_EQ( "", intern( table, {} )->toStrep() );
   EXPECT_TRUE( matches( intern( table, {} ), "^$" ) );
}

TEST( LargeCommList, SerializeWritesTheLargeCommunityAttribute ) {
   auto table = largeCommListDedupTableFactory();
   EXPECT_EQ( "c02000", hex( intern( table, {} )->serialize() ) );
   EXPECT_EQ(
         "c0200cfa56ea000000000100000002",
         hex( intern( table, { { 4200000000u, 1, 2 }, { 4200000000u, 1, 2 } } )->serialize() ) );
   auto ofCount = [ & ]( U32 count ) {
      std::vector<CommunityValue> v;
      for ( U32 i = 0; i < count; ++i ) {
         v.push_back( { 65000, i, 0x0A0B0C0D } );
      }
      return intern( table, v )->serialize();
   };
   std::string longest = ofCount( 21 ); // 252 octets: a one-octet length
   EXPECT_EQ( 3u + 252u, longest.size() );
   EXPECT_EQ( "c020fc0000fde8000000000a0b0c0d", hex( longest.substr( 0, 15 ) ) );
   std::string extended = ofCount( 22 ); // 264 octets: extended length
   EXPECT_EQ( 4u + 264u, extended.size() );
   EXPECT_EQ( "d02001080000fde8", hex( extended.substr( 0, 8 ) ) );
   EXPECT_EQ( "0000fde8000000150a0b0c0d", hex( extended.substr( 4 + 252 ) ) );
}

TEST( LargeCommList, StoreImageReopenedFromItsFileRebuildsTheSameLists ) {
   const std::string path = ( std::filesystem::temp_directory_path() /
                              ( "largecommlist_test_" + std::to_string( ::getpid() ) + ".stow" ) )
                                  .string();
   auto table = largeCommListDedupTableFactory();
   const std::vector<LargeCommList::PtrConst> lists = {
      intern( table, { { 4200000000u, 1, 2 }, { 65000, 0, 0 } } ), intern( table, {} )
   };
   std::vector<U64> offsets;
   {
      auto store = KelStow::StoreManager::createFile( path, 4096 );
      for ( const auto& list : lists ) {
         offsets.push_back( list->stow( store.ptr() ) );
      }
      store->sync();
   }
   // A new mapping of the file: nothing may point into the old one.
   auto store = KelStow::StoreManager::openFile( path );
   std::filesystem::remove( path );
   for ( size_t i = 0; i < lists.size(); ++i ) {
      LargeCommList::Ptr rebuilt =
            LargeCommList::destow( store->translate( offsets[ i ] ), store.ptr() );
      EXPECT_EQ( Bex::dedupHandleStateStowed(), rebuilt->dedupState() );
      EXPECT_EQ( lists[ i ]->toStrep(), rebuilt->toStrep() );
      EXPECT_EQ( lists[ i ]->serialize(), rebuilt->serialize() );
      EXPECT_EQ( lists[ i ], rebuilt->dedup( table.ptr() ) );
   }
   U64 standard =
         commListFactory()->dedup( commListDedupTableFactory().ptr() )->stow( store.ptr() );
   EXPECT_EQ( "record at offset " + std::to_string( standard ) +
                    ": expected anchor LCML v1, found COML v1",
              Testing::messageOf<KelStow::StoreException>( [ & ] {
                 LargeCommList::destow( store->translate( standard ), store.ptr() );
              } ) );
}

} // namespace
