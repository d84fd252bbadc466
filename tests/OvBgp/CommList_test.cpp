#include "OvBgp/CommList.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iomanip>
#include <iostream>
#include <sstream>
#include <vector>

#include "KelStow/StoreManager.h"
#include "OvBgp/OvBgpCommunityList.h"
#include "OvFmt/DynamicBuffer.h"
#include "Routing/Bgp/OvBgpGlobals.h"
#include "Routing/RouteMap/PosixRegex.h"
#include "tests/OvBgp/RunSelf.h"
#include "tests/OvBgp/TestSupport.h"

namespace {

using namespace Routing::Bgp;
using Testing::hex;

constexpr U32 kNoExport = 0xFFFFFF01;
constexpr U32 kNoAdvertise = 0xFFFFFF02;
constexpr U32 kLocalAs = 0xFFFFFF03;

constexpr U32 comm( U32 high, U32 low ) { return high << 16 | low; }

CommList::Ptr build( const std::vector<U32>& values ) {
   CommList::Ptr list = commListFactory();
   for ( U32 value : values ) {
      list->commIs( value );
   }
   return list;
}

CommList::PtrConst intern( const CommListDedupTable::Ptr& table, const std::vector<U32>& values ) {
   return build( values )->dedup( table.ptr() );
}

bool matches( const CommList::PtrConst& list, const std::string& pattern ) {
   Routing::RouteMap::PosixRegex regex( pattern );
   return list->matchCommunitiesRegex( &regex );
}

TEST( CommList, DedupSortsDropsDuplicatesTrimsAndSetsEachFlagFromItsValue ) {
   auto table = commListDedupTableFactory();
   CommList::Ptr list = build( { 3, 1, 3, 2, 5 } );
   CommList::PtrConst shared = list->dedup( table.ptr() );
   EXPECT_EQ( list, shared );
   EXPECT_EQ( ( std::vector<U32>{ 1, 2, 3, 5 } ), *shared->commVectorRawPtr() );
   EXPECT_EQ( 4u, shared->commVectorRawPtr()->capacity() );
   EXPECT_TRUE( shared->commVectorSorted() && shared->comm( 1 ) && shared->comm( 5 ) );
   EXPECT_FALSE( shared->comm( 4 ) || shared->comm( 0 ) || shared->comm( 6 ) );
   // Flags no-export, no-advertise, no-export-subconfed.
   auto flags = [ & ]( const std::vector<U32>& values ) {
      CommList::PtrConst l = intern( table, values );
      return std::to_string( l->noExport() ) + std::to_string( l->noAdvertise() ) +
             std::to_string( l->noExportSubconfed() );
   };
   EXPECT_EQ( "000", flags( { 8, 0xFFFFFF00, 0xFFFFFFFF } ) );
   EXPECT_EQ( "010", flags( { kNoAdvertise, 7 } ) );
   EXPECT_EQ( "101", flags( { 0xFFFFFFFF, kLocalAs, 5, kNoExport } ) );

   auto snapshot = shared->commSnapshot();
   std::vector<std::pair<U32, bool>> entries( snapshot->commBegin(), snapshot->commEnd() );
   EXPECT_EQ( ( std::vector<std::pair<U32, bool>>{
                    { 1, true }, { 2, true }, { 3, true }, { 5, true } } ),
              entries );
   snapshot->commDel( 1 );
   EXPECT_TRUE( shared->comm( 1 ) );
}

TEST( CommList, SameValuesInAnyOrderInternToOneObjectPerTableUntilReleased ) {
   auto table = commListDedupTableFactory();
   auto other = commListDedupTableFactory();
   CommList::PtrConst first = intern( table, { 9, comm( 65000, 1 ), kNoExport, 4 } );
   CommList::PtrConst again = intern( table, { kNoExport, 4, 4, 9, comm( 65000, 1 ), 9 } );
   EXPECT_EQ( first, again );
   EXPECT_NE( first, intern( table, { 9, comm( 65000, 1 ), kNoExport } ) );
   EXPECT_NE( first, intern( table, { 9, comm( 65000, 2 ), kNoExport, 4 } ) );
   CommList::PtrConst elsewhere = intern( other, { 4, 9, kNoExport, comm( 65000, 1 ) } );
   EXPECT_NE( first, elsewhere );
   EXPECT_TRUE( first->compare( elsewhere.ptr() ) );
   EXPECT_EQ( intern( table, {} ), intern( table, {} ) );
   EXPECT_EQ( 1u, table->dedupTable()->size() ); // the probes are gone already
   // The hash: one-at-a-time over each value, least significant octet first.
   EXPECT_EQ( Testing::oneAtATime( { 4, 3, 2, 1, 1, 0xFF, 0xFF, 0xFF } ),
              intern( table, { 0xFFFFFF01, 0x01020304 } )->hash() );
   EXPECT_EQ( 0u, intern( table, {} )->hash() );

   std::vector<U32> sorted = *first->commVectorRawPtr();
   EXPECT_EQ( first, CommList::lookupByContent( table.ptr(), CommListContent( sorted ) ) );
   sorted.pop_back();
   EXPECT_EQ( nullptr, CommList::lookupByContent( table.ptr(), CommListContent( sorted ) ) );

   first = nullptr;
   EXPECT_EQ( 1u, table->dedupTable()->size() ); // still held through again
   again = nullptr;
   elsewhere = nullptr;
   EXPECT_EQ( 0u, table->dedupTable()->size() + other->dedupTable()->size() );
}

TEST( CommList, TextNamesWellKnownCommunitiesAndNumbersTheRest ) {
   auto table = commListDedupTableFactory();
   CommList::PtrConst all =
         intern( table, { kLocalAs, 0xFFFF0007, 0xFFFF0006, kNoAdvertise, kNoExport, 0xFFFF0000,
                          comm( 65000, 100 ), 0, 0xFFFF0001, comm( 0, 1 ), comm( 10, 99 ) } );
   EXPECT_EQ(
         "internet 0:1 10:99 65000:100 GSHUT 65535:1 llgr-stale no-llgr no-export "
         "no-advertise local-as",
         all->toStrep() );
   EXPECT_EQ( "9:10 99:100 65535:65535",
              intern( table, { comm( 9, 10 ), comm( 99, 100 ), 0xFFFFFFFF } )->toStrep() );
   EXPECT_EQ( "65535:65281", CommList::getStringValue( kNoExport ) );
   EXPECT_EQ( "no-export", CommList::wellKnownName( kNoExport ) );
   EXPECT_EQ( "", CommList::wellKnownName( 1 ) );
   EXPECT_EQ( "", intern( table, {} )->toStrep() );
   OvFmt::DynamicBuffer<8> buffer;
   EXPECT_EQ( 9u, CommunityFormatter<true>::format( buffer, kNoExport ) );
   EXPECT_EQ( 11u, CommunityFormatter<false>::formatNotWellKnown( buffer, kNoExport ) );
   EXPECT_EQ( "no-export65535:65281", buffer.str() );

   // The stream: padded as one item, its flags left as they were; a null
   // list prints nothing.
   std::ostringstream os;
   os << std::hex << std::showbase << std::setw( 24 ) << std::setfill( '*' );
   os << intern( table, { kNoExport, comm( 65000, 255 ) } ).ptr() << '|'
      << static_cast<const CommList*>( nullptr ) << 255;
   EXPECT_EQ( "*****65000:255 no-export|0xff", os.str() );

   std::vector<U32> many; // beyond the local buffer
   std::string expected;
   for ( U32 i = 0; i < 300; ++i ) {
      many.push_back( comm( 65000, i ) );
      expected += ( i ? " 65000:" : "65000:" ) + std::to_string( i );
   }
   EXPECT_EQ( expected, intern( table, many )->toStrep() );
}

TEST( CommList, RegexMatchesTheNumericFormThenTheNamedForm ) {
   auto table = commListDedupTableFactory();
   CommList::PtrConst list = intern( table, { kNoExport, comm( 65000, 100 ) } );
   EXPECT_TRUE( matches( list, "no-export" ) );
   EXPECT_TRUE( matches( list, "^65000:100 65535:65281$" ) );
   EXPECT_TRUE( matches( list, "^65000:100 no-export$" ) );
   EXPECT_FALSE( matches( list, "no-advertise" ) );
   EXPECT_FALSE( matches( list, "100 no-export 65535" ) ); // never both forms at once
   EXPECT_TRUE( matches( intern( table, { 0 } ), "^internet$" ) );
   EXPECT_FALSE( matches( intern( table, { 1 } ), "internet" ) );
   EXPECT_TRUE( matches( intern( table, {} ), "^$" ) );
}

TEST( CommList, SerializeWritesTheCommunitiesAttributeInNetworkOrder ) {
   auto table = commListDedupTableFactory();
   EXPECT_EQ( "c00800", hex( intern( table, {} )->serialize() ) );
   EXPECT_EQ( "c00808fde80064ffffff01",
              hex( intern( table, { kNoExport, comm( 65000, 100 ) } )->serialize() ) );
   auto ofCount = [ & ]( U32 count ) {
      std::vector<U32> v;
      for ( U32 i = 0; i < count; ++i ) {
         v.push_back( 0x01020300 + i );
      }
      return intern( table, v )->serialize();
   };
   std::string longest = ofCount( 63 ); // 252 octets: a one-octet length
   EXPECT_EQ( 3u + 252u, longest.size() );
   EXPECT_EQ( "c008fc01020300", hex( longest.substr( 0, 7 ) ) );
   std::string extended = ofCount( 64 ); // 256 octets: extended length
   EXPECT_EQ( 4u + 256u, extended.size() );
   EXPECT_EQ( "d008010001020300", hex( extended.substr( 0, 8 ) ) );
   EXPECT_EQ( "0102033f", hex( extended.substr( 256 ) ) );
}

TEST( CommListDeathTest, BrokenPreconditionsAbortWithTheirConditionText ) {
   auto table = commListDedupTableFactory();
   CommList::PtrConst shared = intern( table, { 1 } );
   auto pattern = []( const std::string& text ) {
      return Testing::assertionPattern( text, "OvBgp/OvBgpCommunityList" );
   };
   EXPECT_DEATH( const_cast<CommList*>( shared.ptr() )->commIs( 2 ),
                 pattern( "!commVectorSorted()" ) );
   CommList::Ptr open = build( { 2, 1 } );
   EXPECT_DEATH( open->comm( 1 ), pattern( "commVectorSorted()" ) );
   EXPECT_DEATH( open->noExport(), pattern( "__null == ( this ) || ( this )->dedupState() != "
                                            "Bex::dedupHandleStateNeverDeduped()" ) );
}

// --- The store -------------------------------------------------------------------

const std::vector<std::vector<U32>> kStoredContents = {
   { comm( 65000, 100 ), kNoExport },
   {},
   { 0, kLocalAs, kNoAdvertise, 0xFFFF0000 },
};

// A rebuilt list is checked by its text and its wire octets.
std::string describe( const CommList* list ) {
   return list->toStrep() + "|" + hex( list->serialize() );
}

class CommListStore : public ::testing::Test {
 protected:
   void SetUp() override {
      path_ = ( std::filesystem::temp_directory_path() /
                ( "commlist_test_" + std::to_string( ::getpid() ) + ".stow" ) )
                    .string();
   }
   void TearDown() override { std::filesystem::remove( path_ ); }

   // The store's root: the count, then each list's offset. Returns the
   // octets used.
   U64 stowAll( const std::vector<CommList::PtrConst>& lists ) {
      auto store = KelStow::StoreManager::createFile( path_, 4096 );
      std::vector<U64> slots = { lists.size() };
      for ( const auto& list : lists ) {
         slots.push_back( list->stow( store.ptr() ) );
      }
      U64 root = store->allocate( 8 * slots.size() );
      std::memcpy( store->translate( root, 8 * slots.size() ), slots.data(), 8 * slots.size() );
      store->rootIs( root );
      store->sync();
      return store->used();
   }

   std::string path_;
};

// Runs only in the process that RebuildsInAFreshProcess starts.
TEST( CommListStoreChild, RebuildFromFile ) {
   const char* path = std::getenv( "COMMLIST_TEST_STORE" );
   if ( !path ) {
      GTEST_SKIP() << "helper of CommListStore.RebuildsInAFreshProcess";
   }
   auto store = KelStow::StoreManager::openFile( path );
   auto table = commListDedupTableFactory();
   const auto* slots = static_cast<const U64*>( store->translate( store->root(), 8 ) );
   for ( U64 i = 1; i <= slots[ 0 ]; ++i ) {
      CommList::Ptr list = CommList::destow( store->translate( slots[ i ] ), store.ptr() );
      EXPECT_EQ( Bex::dedupHandleStateStowed(), list->dedupState() );
      EXPECT_EQ( list->comm( kNoExport ), list->noExport() );
      std::cout << "list " << describe( list.ptr() ) << "\n";
      EXPECT_EQ( intern( table, *list->commVectorRawPtr() ), list->dedup( table.ptr() ) );
   }
}

TEST_F( CommListStore, RebuildsInAFreshProcessWithTheSameTextAndWireOctets ) {
   auto table = commListDedupTableFactory();
   std::vector<CommList::PtrConst> lists;
   std::vector<std::string> expected, texts;
   for ( const auto& content : kStoredContents ) {
      lists.push_back( intern( table, content ) );
      expected.push_back( describe( lists.back().ptr() ) );
      texts.push_back( lists.back()->toStrep() );
   }
   stowAll( lists );
   RunSelfResult child =
         runSelf( "CommListStoreChild.RebuildFromFile",
                  { { "COMMLIST_TEST_STORE", path_ }, { "OVTRACE", "BgpCommunityList/8" } } );
   ASSERT_EQ( 0, child.exitCode ) << child.out << child.err;
   EXPECT_EQ( expected, linesStartingWith( child.out, "list " ) );
   EXPECT_EQ( 3u,
              linesStartingWith( child.err, "BgpCommunityList/8 Destowing Routing::Bgp::CommList" )
                    .size() );
   EXPECT_EQ( texts, linesStartingWith( child.err, "BgpCommunityList/8   destowed: " ) );
}

TEST_F( CommListStore, DamagedImagesAreRejectedWithTheRecordAndTheReason ) {
   auto table = commListDedupTableFactory();
   auto store = KelStow::StoreManager::inMemory();
   CommList::PtrConst list = intern( table, { 3, 1, 2 } );
   auto error = [ & ]( U64 at ) {
      return Testing::messageOf<KelStow::StoreException>(
            [ & ] { CommList::destow( store->translate( at ), store.ptr() ); } );
   };
   // Record layout: anchor (8), flag word (4), count (4), array offset (8).
   auto stowPatched = [ & ]( size_t field, U64 value, size_t bytes ) {
      U64 at = list->stow( store.ptr() );
      std::memcpy( static_cast<char*>( store->translate( at, 24 ) ) + field, &value, bytes );
      return at;
   };
   const U64 foreign = store->stowRecord( 0x4C434D4C, 1, 24 ); // a large list's
   EXPECT_EQ( "record at offset " + std::to_string( foreign ) +
                    ": expected anchor COML v1, found LCML v1",
              error( foreign ) );
   U64 outside = stowPatched( 16, 1u << 30, 8 );
   EXPECT_EQ( "record at offset " + std::to_string( outside ) + ": 3 values: offset " +
                    std::to_string( 1u << 30 ) + " (+12) lies outside the store's " +
                    std::to_string( store->used() ) + " used octets",
              error( outside ) );
   U64 huge = stowPatched( 12, 0xFFFFFFFF, 4 ); // refused before anything is allocated
   EXPECT_NE( std::string::npos, error( huge ).find( "4294967295 values: offset" ) );
   U64 flagged = stowPatched( 8, CommList::flagCommVectorSorted | CommList::flagNoExport, 4 );
   EXPECT_EQ( "record at offset " + std::to_string( flagged ) +
                    ": CommList flag word 3 does not match its values",
              error( flagged ) );

   std::filesystem::resize_file( path_, stowAll( { list } ) - 1 );
   EXPECT_THAT( Testing::messageOf<KelStow::StoreException>(
                      [ & ] { KelStow::StoreManager::openFile( path_ ); } ),
                ::testing::HasSubstr( "is truncated" ) );
}

// --- Threads ------------------------------------------------------------------------

TEST( CommListDedupTableConcurrency, FourThreadsInternAndReleaseStandardAndLargeLists ) {
   OvBgpGlobals::multiThreadedIs( true );
   auto table = commListDedupTableFactory();
   auto largeTable = largeCommListDedupTableFactory();
   OvBgpGlobals::multiThreadedIs( false );
   std::vector<std::vector<U32>> contents;
   std::vector<std::vector<Acl::CommunityValue>> largeContents;
   for ( U32 k = 0; k < 24; ++k ) {
      contents.push_back( { comm( 65000, k ), comm( k % 5, 7 ), k % 3 ? k : kNoExport } );
      largeContents.push_back( { { 4200000000u, k, 1 }, { 65000, 1, k % 4 } } );
   }
   Testing::internFromFourThreads( table, contents, build );
   Testing::internFromFourThreads( largeTable, largeContents, []( const auto& values ) {
      LargeCommList::Ptr list = largeCommListFactory();
      for ( const auto& value : values ) {
         list->commIs( value );
      }
      return list;
   } );
}

} // namespace
