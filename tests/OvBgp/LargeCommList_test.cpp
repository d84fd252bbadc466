#include "OvBgp/LargeCommList.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <barrier>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <random>
#include <sstream>
#include <thread>
#include <vector>

#include "KelStow/StoreManager.h"
#include "OvBgp/OvBgpCommunityList.h"
#include "OvFmt/DynamicBuffer.h"
#include "Routing/Bgp/OvBgpGlobals.h"
#include "Routing/RouteMap/PosixRegex.h"
#include "tests/OvBgp/RunSelf.h"

namespace {

using namespace Routing::Bgp;
using Acl::CommunityValue;
using Routing::RouteMap::PosixRegex;

LargeCommList::Ptr build( const std::vector<CommunityValue>& values ) {
   LargeCommList::Ptr list = largeCommListFactory();
   for ( const CommunityValue& value : values ) {
      list->commIs( value );
   }
   return list;
}

LargeCommList::PtrConst intern( const LargeCommListDedupTable::Ptr& table,
                                const std::vector<CommunityValue>& values ) {
   return build( values )->dedup( table.ptr() );
}

std::string hex( const std::string& octets ) {
   static const char digits[] = "0123456789abcdef";
   std::string text;
   for ( unsigned char c : octets ) {
      text += digits[ c >> 4 ];
      text += digits[ c & 15 ];
   }
   return text;
}

bool matches( const LargeCommList::PtrConst& list, const std::string& pattern ) {
   PosixRegex regex( pattern );
   return list->matchCommunitiesRegex( &regex );
}

TEST( LargeCommList, SameValuesInAnyOrderInternToOneTrimmedObjectPerTable ) {
   auto table = largeCommListDedupTableFactory();
   auto other = largeCommListDedupTableFactory();
   const CommunityValue a( 64512, 1, 2 ), b( 64512, 1, 3 ), c( 7, 0xFFFFFFFF, 0 );
   LargeCommList::Ptr list = build( { b, a, c, a, b } );
   LargeCommList::PtrConst shared = list->dedup( table.ptr() );
   EXPECT_EQ( list, shared );
   EXPECT_EQ( ( std::vector<CommunityValue>{ c, a, b } ), *shared->commVectorRawPtr() );
   EXPECT_EQ( 3u, shared->commVectorRawPtr()->capacity() );
   EXPECT_TRUE( shared->comm( a ) && shared->comm( b ) && shared->comm( c ) );
   EXPECT_FALSE( shared->comm( CommunityValue( 64512, 1, 4 ) ) ||
                 shared->comm( CommunityValue( 64512, 2, 2 ) ) ||
                 shared->comm( CommunityValue( 0, 0, 0 ) ) );

   EXPECT_EQ( shared, intern( table, { a, c, b } ) );
   EXPECT_NE( shared, intern( table, { a, c } ) );
   LargeCommList::PtrConst elsewhere = intern( other, { c, b, a } );
   EXPECT_NE( shared, elsewhere );
   EXPECT_TRUE( shared->compare( elsewhere.ptr() ) );
   EXPECT_EQ( shared, LargeCommList::lookupByContent(
                            table.ptr(), LargeCommListContent( *elsewhere->commVectorRawPtr() ) ) );
   EXPECT_EQ( intern( table, {} ), intern( table, {} ) );

   // The hash: each word's octets least significant first.
   U32 h = 0;
   for ( U8 octet : { 0x00, 0xFC, 0x00, 0x00, 1, 0, 0, 0, 2, 0, 0, 0 } ) {
      h += octet;
      h += h << 10;
      h ^= h >> 6;
   }
   h += h << 3;
   h ^= h >> 11;
   h += h << 15;
   EXPECT_EQ( h, intern( table, { a } )->hash() );
   EXPECT_EQ( 0u, intern( table, {} )->hash() );

   list = nullptr;
   shared = nullptr;
   EXPECT_EQ( 0u, table->dedupTable()->size() );
   elsewhere = nullptr;
   EXPECT_EQ( 0u, other->dedupTable()->size() );
}

TEST( LargeCommList, AsdotSplitsOnlyGlobalAdministratorsFrom65536 ) {
   const CommunityValue big( 4200000000u, 1, 2 );
   EXPECT_EQ( "64086.59904:1:2", LargeCommList::displayString( big, true ) );
   EXPECT_EQ( "4200000000:1:2", LargeCommList::displayString( big, false ) );
   EXPECT_EQ( "4200000000:1:2", LargeCommList::getStringValue( big ) );
   EXPECT_EQ( "65535:0:0", LargeCommList::displayString( CommunityValue( 65535, 0, 0 ), true ) );
   EXPECT_EQ( "1.0:65536:4294967295",
              LargeCommList::displayString( CommunityValue( 65536, 65536, 0xFFFFFFFF ), true ) );
   EXPECT_EQ( "65535.65535:0:0",
              LargeCommunityFormatter::kelString( CommunityValue( 0xFFFFFFFF, 0, 0 ), true ) );
   OvFmt::DynamicBuffer<4> buffer;
   EXPECT_EQ( 15u, LargeCommunityFormatter::format( buffer, big, true ) );
   EXPECT_EQ( 5u, LargeCommunityFormatter::format( buffer, CommunityValue( 0, 0, 0 ), true ) );
   EXPECT_EQ( "64086.59904:1:20:0:0", buffer.str() );

   auto table = largeCommListDedupTableFactory();
   LargeCommList::PtrConst list = intern( table, { big, CommunityValue( 65000, 3, 4 ) } );
   EXPECT_EQ( "65000:3:4 4200000000:1:2", list->toStrep() );
   std::ostringstream os;
   os << std::hex << list.ptr() << ' ' << static_cast<const LargeCommList*>( nullptr ) << 10;
   EXPECT_EQ( "65000:3:4 4200000000:1:2 a", os.str() );
   EXPECT_EQ( "", intern( table, {} )->toStrep() );

   // Matching sees the plain form only: there is no second pass.
   EXPECT_TRUE( matches( list, "^65000:3:4 4200000000:1:2$" ) );
   EXPECT_FALSE( matches( list, "64086\\.59904" ) );
   EXPECT_TRUE( matches( intern( table, {} ), "^$" ) );
}

TEST( LargeCommList, SerializeWritesTheLargeCommunityAttribute ) {
   auto table = largeCommListDedupTableFactory();
   EXPECT_EQ( "c02000", hex( intern( table, {} )->serialize() ) );
   EXPECT_EQ( "c0200cfa56ea000000000100000002",
              hex( intern( table, { CommunityValue( 4200000000u, 1, 2 ),
                                    CommunityValue( 4200000000u, 1, 2 ) } )
                         ->serialize() ) );
   auto ofSize = [ & ]( U32 count ) {
      std::vector<CommunityValue> v;
      for ( U32 i = 0; i < count; ++i ) {
         v.push_back( CommunityValue( 65000, i, 0x0A0B0C0D ) );
      }
      return intern( table, v )->serialize();
   };
   std::string shortest = ofSize( 21 ); // 252 octets
   EXPECT_EQ( "c020fc0000fde8000000000a0b0c0d", hex( shortest.substr( 0, 15 ) ) );
   EXPECT_EQ( 3u + 252u, shortest.size() );
   std::string extended = ofSize( 22 ); // 264 octets
   EXPECT_EQ( "d02001080000fde8", hex( extended.substr( 0, 8 ) ) );
   EXPECT_EQ( 4u + 264u, extended.size() );
   EXPECT_EQ( "0000fde8000000150a0b0c0d", hex( extended.substr( extended.size() - 12 ) ) );
}

TEST( LargeCommList, SnapshotHoldsEveryValueAndIsIndependent ) {
   auto table = largeCommListDedupTableFactory();
   const CommunityValue a( 1, 2, 3 ), b( 1, 2, 4 );
   LargeCommList::PtrConst list = intern( table, { b, a } );
   auto snapshot = list->commSnapshot();
   ASSERT_EQ( 2u, snapshot->largeCommCount() );
   EXPECT_EQ( a, snapshot->largeCommBegin()->first );
   EXPECT_TRUE( snapshot->comm( a ) && snapshot->comm( b ) );
   EXPECT_EQ( 0u, snapshot->commCount() );
   snapshot->commDel( a );
   EXPECT_TRUE( list->comm( a ) );
   EXPECT_EQ( 0u, intern( table, {} )->commSnapshot()->largeCommCount() );
}

TEST( LargeCommListDeathTest, BrokenPreconditionsAbortWithTheirConditionText ) {
   auto table = largeCommListDedupTableFactory();
   LargeCommList::PtrConst shared = intern( table, { CommunityValue( 1, 1, 1 ) } );
   EXPECT_DEATH( const_cast<LargeCommList*>( shared.ptr() )->commIs( CommunityValue( 2, 2, 2 ) ),
                 "assertion failed: !commVectorSorted\\(\\) \\(OvBgp/OvBgpCommunityList\\)" );
   LargeCommList::Ptr open = build( { CommunityValue( 1, 1, 1 ) } );
   EXPECT_DEATH( open->comm( CommunityValue( 1, 1, 1 ) ),
                 "assertion failed: commVectorSorted\\(\\) \\(OvBgp/OvBgpCommunityList\\)" );
   EXPECT_DEATH( open->hash(), "commVectorSorted\\(\\)" );
}

// --- The store -------------------------------------------------------------------

const char* const kChildStoreVariable = "LARGECOMMLIST_TEST_STORE";

const std::vector<std::vector<CommunityValue>> kStoredContents = {
   { CommunityValue( 4200000000u, 1, 2 ), CommunityValue( 65000, 0, 0 ) },
   {},
   { CommunityValue( 0, 0, 0 ) },
};

std::string describe( const LargeCommList* list ) {
   return list->toStrep() + "|" + hex( list->serialize() );
}

TEST( LargeCommListStoreChild, RebuildFromFile ) {
   const char* path = std::getenv( kChildStoreVariable );
   if ( !path ) {
      GTEST_SKIP() << "helper of LargeCommListStore.RebuildsInAFreshProcess";
   }
   auto store = KelStow::StoreManager::openFile( path );
   auto table = largeCommListDedupTableFactory();
   const auto* slots = static_cast<const U64*>( store->translate( store->root(), 8 ) );
   for ( U64 i = 1; i <= slots[ 0 ]; ++i ) {
      LargeCommList::Ptr list = LargeCommList::destow( store->translate( slots[ i ] ), store.ptr() );
      EXPECT_EQ( Bex::dedupHandleStateStowed(), list->dedupState() );
      std::cout << "list " << describe( list.ptr() ) << "\n";
      EXPECT_EQ( intern( table, *list->commVectorRawPtr() ), list->dedup( table.ptr() ) );
   }
}

TEST( LargeCommListStore, RebuildsInAFreshProcessWithTheSameTextAndWireOctets ) {
   const std::string path = ( std::filesystem::temp_directory_path() /
                              ( "largecommlist_test_" + std::to_string( ::getpid() ) + ".stow" ) )
                                  .string();
   auto table = largeCommListDedupTableFactory();
   std::vector<std::string> expected;
   {
      auto store = KelStow::StoreManager::createFile( path, 4096 );
      std::vector<U64> offsets;
      for ( const auto& content : kStoredContents ) {
         LargeCommList::PtrConst list = intern( table, content );
         expected.push_back( describe( list.ptr() ) );
         offsets.push_back( list->stow( store.ptr() ) );
      }
      U64 root = store->allocate( 8 * ( offsets.size() + 1 ) );
      auto* slots = static_cast<U64*>( store->translate( root, 8 * ( offsets.size() + 1 ) ) );
      slots[ 0 ] = offsets.size();
      std::copy( offsets.begin(), offsets.end(), slots + 1 );
      store->rootIs( root );
      store->sync();
   }
   RunSelfResult child = runSelf( "LargeCommListStoreChild.RebuildFromFile",
                                  { { kChildStoreVariable, path },
                                    { "OVTRACE", "BgpCommunityList/8" } } );
   std::filesystem::remove( path );
   ASSERT_EQ( 0, child.exitCode ) << child.out << child.err;
   EXPECT_EQ( expected, linesStartingWith( child.out, "list " ) );
   EXPECT_EQ( ( std::vector<std::string>{ "65000:0:0 4200000000:1:2", "", "0:0:0" } ),
              linesStartingWith( child.err, "BgpCommunityList/8   destowed: " ) );
   EXPECT_EQ( 3u, linesStartingWith( child.err,
                                     "BgpCommunityList/8 Destowing Routing::Bgp::LargeCommList" )
                        .size() );

   // A standard list's record is not a large one.
   auto store = KelStow::StoreManager::inMemory();
   U64 at = commListFactory()->dedup( commListDedupTableFactory().ptr() )->stow( store.ptr() );
   try {
      LargeCommList::destow( store->translate( at ), store.ptr() );
      ADD_FAILURE() << "a standard list was rebuilt as a large one";
   } catch ( const KelStow::StoreException& e ) {
      EXPECT_EQ( "record at offset " + std::to_string( at ) +
                       ": expected anchor LCML v1, found COML v1",
                 std::string( e.what() ) );
   }
}

// --- Threads ------------------------------------------------------------------------

TEST( CommListDedupTableConcurrency, FourThreadsInternAndReleaseLargeLists ) {
   OvBgpGlobals::multiThreadedIs( true );
   auto table = largeCommListDedupTableFactory();
   OvBgpGlobals::multiThreadedIs( false );
   ASSERT_TRUE( table->dedupTable()->threadSafe() );
   constexpr int kThreads = 4;
   constexpr int kContents = 16;
   constexpr int kRounds = 40;
   std::vector<std::vector<LargeCommList::PtrConst>> held(
         kThreads, std::vector<LargeCommList::PtrConst>( kContents ) );
   std::barrier sync( kThreads );
   std::atomic<int> mismatches{ 0 };
   auto content = [ & ]( int k ) {
      return std::vector<CommunityValue>{ CommunityValue( 4200000000u, U32( k ), 1 ),
                                          CommunityValue( 65000, 1, U32( k % 4 ) ) };
   };
   auto work = [ & ]( int t ) {
      std::mt19937 rng{ U32( t ) };
      for ( int round = 0; round < kRounds; ++round ) {
         for ( int i = 0; i < 200; ++i ) {
            auto v = content( int( rng() % kContents ) );
            v.push_back( v[ 0 ] );
            std::shuffle( v.begin(), v.end(), rng );
            LargeCommList::PtrConst list = build( v )->dedup( table.ptr() );
            mismatches += list->comms() != 2;
         }
         for ( int k = 0; k < kContents; ++k ) {
            auto v = content( k );
            std::shuffle( v.begin(), v.end(), rng );
            held[ t ][ k ] = build( v )->dedup( table.ptr() );
         }
         sync.arrive_and_wait();
         if ( t == 0 ) {
            for ( int k = 0; k < kContents; ++k ) {
               for ( int u = 1; u < kThreads; ++u ) {
                  mismatches += held[ u ][ k ] != held[ 0 ][ k ];
               }
            }
         }
         sync.arrive_and_wait();
         for ( auto& list : held[ t ] ) {
            list = nullptr;
         }
      }
   };
   std::vector<std::thread> threads;
   for ( int t = 0; t < kThreads; ++t ) {
      threads.emplace_back( work, t );
   }
   for ( auto& thread : threads ) {
      thread.join();
   }
   EXPECT_EQ( 0, mismatches.load() );
   EXPECT_EQ( 0u, table->dedupTable()->size() );
}

} // namespace
