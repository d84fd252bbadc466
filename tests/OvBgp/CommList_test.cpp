#include "OvBgp/CommList.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <barrier>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iomanip>
#include <iostream>
#include <random>
#include <sstream>
#include <thread>
#include <vector>

#include "Kel/Exception.h"
#include "KelStow/StoreManager.h"
#include "OvBgp/OvBgpCommunityList.h"
#include "OvFmt/DynamicBuffer.h"
#include "Routing/Bgp/OvBgpGlobals.h"
#include "Routing/RouteMap/PosixRegex.h"
#include "tests/OvBgp/RunSelf.h"

namespace {

using namespace Routing::Bgp;
using Routing::RouteMap::PosixRegex;

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

std::vector<U32> values( const CommList::PtrConst& list ) { return *list->commVectorRawPtr(); }

std::string hex( const std::string& octets ) {
   static const char digits[] = "0123456789abcdef";
   std::string text;
   for ( unsigned char c : octets ) {
      text += digits[ c >> 4 ];
      text += digits[ c & 15 ];
   }
   return text;
}

bool matches( const CommList::PtrConst& list, const std::string& pattern ) {
   PosixRegex regex( pattern );
   return list->matchCommunitiesRegex( &regex );
}

// The death-test pattern for an assertion's exact message.
std::string assertion( const std::string& text ) {
   std::string pattern = "assertion failed: ";
   for ( char c : text + " (OvBgp/OvBgpCommunityList)" ) {
      if ( std::string( "()[]{}.*+?^$|\\" ).find( c ) != std::string::npos ) {
         pattern += '\\';
      }
      pattern += c;
   }
   return pattern;
}

TEST( CommList, DedupSortsDropsDuplicatesTrimsAndSetsEachFlagFromItsValue ) {
   auto table = commListDedupTableFactory();
   CommList::Ptr list = build( { 3, 1, 3, 2, 5 } );
   EXPECT_FALSE( list->commVectorSorted() );
   EXPECT_EQ( 8u, list->commVectorRawPtr()->capacity() ); // doubling from one
   CommList::PtrConst shared = list->dedup( table.ptr() );
   EXPECT_EQ( list, shared );
   EXPECT_EQ( ( std::vector<U32>{ 1, 2, 3, 5 } ), values( shared ) );
   EXPECT_EQ( 4u, shared->comms() );
   EXPECT_EQ( shared->comms(), shared->commVectorRawPtr()->capacity() );
   EXPECT_TRUE( shared->commVectorSorted() );
   EXPECT_TRUE( shared->comm( 3 ) && shared->comm( 5 ) && shared->comm( 1 ) );
   EXPECT_FALSE( shared->comm( 4 ) || shared->comm( 0 ) || shared->comm( 6 ) );
   EXPECT_FALSE( shared->noExport() || shared->noAdvertise() || shared->noExportSubconfed() );

   auto flags = [ & ]( U32 value ) {
      CommList::PtrConst l = intern( table, { value, 7 } );
      return std::vector<bool>{ l->noExport(), l->noAdvertise(), l->noExportSubconfed() };
   };
   EXPECT_EQ( ( std::vector<bool>{ true, false, false } ), flags( kNoExport ) );
   EXPECT_EQ( ( std::vector<bool>{ false, true, false } ), flags( kNoAdvertise ) );
   EXPECT_EQ( ( std::vector<bool>{ false, false, true } ), flags( kLocalAs ) );

   CommList::PtrConst empty = intern( table, {} );
   EXPECT_TRUE( empty->empty() && empty->commVectorSorted() );
   EXPECT_EQ( 0u, empty->hash() );
   EXPECT_EQ( empty, intern( table, {} ) );
   EXPECT_THROW( build( { 1 } )->dedup( nullptr ), Kel::NullArgumentException );
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
   EXPECT_EQ( first->hash(), elsewhere->hash() );
   EXPECT_EQ( 1u, table->dedupTable()->size() ); // the two probes are gone already

   // Found by content alone, without building a list.
   std::vector<U32> sorted = values( first );
   EXPECT_EQ( first, CommList::lookupByContent( table.ptr(), CommListContent( sorted ) ) );
   sorted.pop_back();
   EXPECT_EQ( nullptr, CommList::lookupByContent( table.ptr(), CommListContent( sorted ) ) );

   first = nullptr;
   EXPECT_EQ( 1u, table->dedupTable()->size() ); // still held through again
   again = nullptr;
   EXPECT_EQ( 0u, table->dedupTable()->size() );
   elsewhere = nullptr;
   EXPECT_EQ( 0u, other->dedupTable()->size() );
}

TEST( CommList, HashIsOneAtATimeOverEachValueLeastSignificantOctetFirst ) {
   auto table = commListDedupTableFactory();
   std::vector<U32> sorted = { 0x01020304, 0xFFFFFF01 };
   U32 h = 0;
   for ( U8 octet : { 4, 3, 2, 1, 1, 0xFF, 0xFF, 0xFF } ) {
      h += octet;
      h += h << 10;
      h ^= h >> 6;
   }
   h += h << 3;
   h ^= h >> 11;
   h += h << 15;
   EXPECT_EQ( h, intern( table, { 0xFFFFFF01, 0x01020304 } )->hash() );
   EXPECT_EQ( h, CommListContent( sorted ).hash() );
   EXPECT_EQ( 0u, CommListContent( {} ).hash() );
}

TEST( CommList, TextNamesWellKnownCommunitiesAndNumbersTheRest ) {
   auto table = commListDedupTableFactory();
   CommList::PtrConst all = intern( table, { kLocalAs, 0xFFFF0007, 0xFFFF0006, kNoAdvertise,
                                             kNoExport, 0xFFFF0000, comm( 65000, 100 ), 0,
                                             0xFFFF0001, comm( 0, 1 ), comm( 10, 99 ) } );
   EXPECT_EQ( "internet 0:1 10:99 65000:100 GSHUT 65535:1 llgr-stale no-llgr no-export "
              "no-advertise local-as",
              all->toStrep() );
   EXPECT_EQ( "65535:65281", CommList::getStringValue( kNoExport ) );
   EXPECT_EQ( "0:0", CommList::getStringValue( 0 ) );
   EXPECT_EQ( "9:10 99:100 65535:65535",
              intern( table, { comm( 9, 10 ), comm( 99, 100 ), 0xFFFFFFFF } )->toStrep() );
   EXPECT_EQ( "no-export", CommList::wellKnownName( kNoExport ) );
   EXPECT_EQ( "local-as", CommList::wellKnownName( kLocalAs ) );
   EXPECT_EQ( "", CommList::wellKnownName( 1 ) );
   EXPECT_EQ( "", intern( table, {} )->toStrep() );

   OvFmt::DynamicBuffer<8> buffer;
   EXPECT_EQ( 9u, CommunityFormatter<true>::format( buffer, kNoExport ) );
   EXPECT_EQ( 11u, CommunityFormatter<false>::formatNotWellKnown( buffer, kNoExport ) );
   EXPECT_EQ( "no-export65535:65281", buffer.str() );
   EXPECT_EQ( "1:2", CommunityFormatter<false>::kelString( comm( 1, 2 ) ) );

   // A list too long for the local buffer still prints whole.
   std::vector<U32> many;
   std::string expected;
   for ( U32 i = 0; i < 300; ++i ) {
      many.push_back( comm( 65000, i ) );
      expected += ( i ? " 65000:" : "65000:" ) + std::to_string( i );
   }
   EXPECT_EQ( expected, intern( table, many )->toStrep() );
}

TEST( CommList, StreamOutputMatchesToStrepAndLeavesTheStreamAsItWas ) {
   auto table = commListDedupTableFactory();
   CommList::PtrConst list = intern( table, { kNoExport, comm( 65000, 255 ) } );
   std::ostringstream os;
   os << std::hex << std::showbase << std::setw( 24 ) << std::setfill( '*' );
   os << list.ptr() << '|' << static_cast<const CommList*>( nullptr ) << 255;
   EXPECT_EQ( "*****65000:255 no-export|0xff", os.str() );
   EXPECT_EQ( "65000:255 no-export", list->toStrep() );
}

TEST( CommList, RegexMatchesTheNumericFormThenTheNamedForm ) {
   auto table = commListDedupTableFactory();
   CommList::PtrConst list = intern( table, { kNoExport, comm( 65000, 100 ) } );
   EXPECT_TRUE( matches( list, "no-export" ) );
   EXPECT_TRUE( matches( list, "65535:65281" ) );
   EXPECT_TRUE( matches( list, "^65000:100 65535:65281$" ) );
   EXPECT_TRUE( matches( list, "^65000:100 no-export$" ) );
   EXPECT_FALSE( matches( list, "no-export 65000" ) );
   EXPECT_FALSE( matches( list, "no-advertise" ) );
   EXPECT_FALSE( matches( list, "^65000:100$" ) );
   EXPECT_TRUE( matches( intern( table, { 0 } ), "^internet$" ) );
   EXPECT_FALSE( matches( intern( table, { 1 } ), "internet" ) );
   EXPECT_TRUE( matches( intern( table, {} ), "^$" ) );
   EXPECT_THROW( list->matchCommunitiesRegex( nullptr ), Kel::NullArgumentException );
}

TEST( CommList, SerializeWritesTheCommunitiesAttributeInNetworkOrder ) {
   auto table = commListDedupTableFactory();
   EXPECT_EQ( "c00800", hex( intern( table, {} )->serialize() ) );
   EXPECT_EQ( "c00808fde80064ffffff01",
              hex( intern( table, { kNoExport, comm( 65000, 100 ) } )->serialize() ) );
   auto ofSize = [ & ]( U32 count ) {
      std::vector<U32> v;
      for ( U32 i = 0; i < count; ++i ) {
         v.push_back( 0x01020300 + i );
      }
      return intern( table, v )->serialize();
   };
   std::string longest = ofSize( 63 ); // 252 octets: still a one-octet length
   EXPECT_EQ( 3u + 252u, longest.size() );
   EXPECT_EQ( "c008fc01020300", hex( longest.substr( 0, 7 ) ) );
   std::string extended = ofSize( 64 ); // 256 octets: extended length
   EXPECT_EQ( 4u + 256u, extended.size() );
   EXPECT_EQ( "d008010001020300", hex( extended.substr( 0, 8 ) ) );
   EXPECT_EQ( "0102033f", hex( extended.substr( extended.size() - 4 ) ) );
}

TEST( CommList, SnapshotIsAnIndependentCopyWithEveryValueTrue ) {
   auto table = commListDedupTableFactory();
   CommList::PtrConst list = intern( table, { 7, kNoExport, 3 } );
   auto snapshot = list->commSnapshot();
   std::vector<std::pair<U32, bool>> entries( snapshot->commBegin(), snapshot->commEnd() );
   EXPECT_EQ( ( std::vector<std::pair<U32, bool>>{ { 3, true }, { 7, true }, { kNoExport, true } } ),
              entries );
   snapshot->commDel( 7 );
   snapshot->commIs( 8, false );
   EXPECT_TRUE( list->comm( 7 ) );
   EXPECT_FALSE( list->comm( 8 ) );
   EXPECT_EQ( 0u, intern( table, {} )->commSnapshot()->commCount() );
}

TEST( CommListDeathTest, BrokenPreconditionsAbortWithTheirConditionText ) {
   auto table = commListDedupTableFactory();
   CommList::PtrConst shared = intern( table, { 1 } );
   auto* sorted = const_cast<CommList*>( shared.ptr() );
   EXPECT_DEATH( sorted->commIs( 2 ), assertion( "!commVectorSorted()" ) );
   CommList::Ptr open = build( { 2, 1 } );
   EXPECT_DEATH( open->comm( 1 ), assertion( "commVectorSorted()" ) );
   EXPECT_DEATH( open->hash(), assertion( "commVectorSorted()" ) );
   EXPECT_DEATH( open->compare( shared.ptr() ), assertion( "commVectorSorted()" ) );
   EXPECT_DEATH( open->noExport(),
                 assertion( "__null == ( this ) || ( this )->dedupState() != "
                            "Bex::dedupHandleStateNeverDeduped()" ) );
}

// --- The store -------------------------------------------------------------------

const char* const kChildStoreVariable = "COMMLIST_TEST_STORE";

const std::vector<std::vector<U32>> kStoredContents = {
   { comm( 65000, 100 ), kNoExport },
   {},
   { 0, kLocalAs, kNoAdvertise, 0xFFFF0000 },
   { comm( 1, 1 ), comm( 1, 1 ), comm( 2, 2 ) },
};

// What a rebuilt list is checked by: its text and its wire octets.
std::string describe( const CommList* list ) { return list->toStrep() + "|" + hex( list->serialize() ); }

// Stows lists and an array of their offsets, which becomes the root.
void stowAll( KelStow::StoreManager* store, const std::vector<CommList::PtrConst>& lists ) {
   std::vector<U64> offsets;
   for ( const auto& list : lists ) {
      offsets.push_back( list->stow( store ) );
   }
   U64 root = store->allocate( 8 * ( offsets.size() + 1 ) );
   auto* slots = static_cast<U64*>( store->translate( root, 8 * ( offsets.size() + 1 ) ) );
   slots[ 0 ] = offsets.size();
   std::copy( offsets.begin(), offsets.end(), slots + 1 );
   store->rootIs( root );
}

std::vector<CommList::Ptr> destowAll( KelStow::StoreManager* store ) {
   const auto* slots = static_cast<const U64*>( store->translate( store->root(), 8 ) );
   std::vector<CommList::Ptr> lists;
   for ( U64 i = 1; i <= slots[ 0 ]; ++i ) {
      lists.push_back( CommList::destow( store->translate( slots[ i ] ), store ) );
   }
   return lists;
}

class CommListStore : public ::testing::Test {
 protected:
   void SetUp() override {
      path_ = ( std::filesystem::temp_directory_path() /
                ( "commlist_test_" + std::to_string( ::getpid() ) + ".stow" ) )
                    .string();
   }
   void TearDown() override { std::filesystem::remove( path_ ); }

   std::string path_;
};

// Runs only in the process started by RebuildsInAFreshProcess: rebuilds
// every list of the store, prints it, and interns it in a table of its own.
TEST( CommListStoreChild, RebuildFromFile ) {
   const char* path = std::getenv( kChildStoreVariable );
   if ( !path ) {
      GTEST_SKIP() << "helper of CommListStore.RebuildsInAFreshProcess";
   }
   auto store = KelStow::StoreManager::openFile( path );
   auto table = commListDedupTableFactory();
   for ( const CommList::Ptr& list : destowAll( store.ptr() ) ) {
      EXPECT_EQ( Bex::dedupHandleStateStowed(), list->dedupState() );
      EXPECT_TRUE( list->commVectorSorted() );
      EXPECT_EQ( list->comm( kNoExport ), list->noExport() );
      EXPECT_EQ( list->comm( kLocalAs ), list->noExportSubconfed() );
      std::cout << "list " << describe( list.ptr() ) << "\n";
      CommList::PtrConst fresh = intern( table, values( list ) );
      EXPECT_EQ( fresh, list->dedup( table.ptr() ) );
   }
}

TEST_F( CommListStore, RebuildsInAFreshProcessWithTheSameTextAndWireOctets ) {
   auto table = commListDedupTableFactory();
   std::vector<CommList::PtrConst> lists;
   std::vector<std::string> expected;
   std::vector<std::string> texts;
   for ( const auto& content : kStoredContents ) {
      lists.push_back( intern( table, content ) );
      expected.push_back( describe( lists.back().ptr() ) );
      texts.push_back( lists.back()->toStrep() );
   }
   {
      auto store = KelStow::StoreManager::createFile( path_, 4096 );
      stowAll( store.ptr(), lists );
      store->sync();
   }
   RunSelfResult child = runSelf( "CommListStoreChild.RebuildFromFile",
                                  { { kChildStoreVariable, path_ },
                                    { "OVTRACE", "BgpCommunityList/8" } } );
   ASSERT_EQ( 0, child.exitCode ) << child.out << child.err;
   EXPECT_EQ( expected, linesStartingWith( child.out, "list " ) );
   EXPECT_EQ( kStoredContents.size(),
              linesStartingWith( child.err, "BgpCommunityList/8 Destowing Routing::Bgp::CommList" )
                    .size() );
   EXPECT_EQ( texts, linesStartingWith( child.err, "BgpCommunityList/8   destowed: " ) )
         << child.err;
   EXPECT_EQ( "65000:100 no-export", texts[ 0 ] );
}

TEST_F( CommListStore, DamagedImagesAreRejectedWithTheRecordAndTheReason ) {
   auto table = commListDedupTableFactory();
   auto store = KelStow::StoreManager::inMemory();
   CommList::PtrConst list = intern( table, { 3, 1, 2 } );
   auto error = [ & ]( U64 at ) {
      try {
         CommList::destow( store->translate( at ), store.ptr() );
      } catch ( const KelStow::StoreException& e ) {
         return std::string( e.what() );
      }
      return std::string( "no exception" );
   };
   auto stowPatched = [ & ]( size_t field, U64 value, size_t bytes ) {
      U64 at = list->stow( store.ptr() );
      std::memcpy( static_cast<char*>( store->translate( at, 24 ) ) + field, &value, bytes );
      return at;
   };
   const U64 foreign = store->stowRecord( 0x4C434D4C, 1, 24 ); // a large list's anchor
   const std::string at = "record at offset " + std::to_string( foreign );
   EXPECT_EQ( at + ": expected anchor COML v1, found LCML v1", error( foreign ) );

   U64 outside = stowPatched( 16, 1u << 30, 8 ); // the value array's offset
   EXPECT_EQ( "record at offset " + std::to_string( outside ) + ": 3 values: offset " +
                    std::to_string( 1u << 30 ) + " (+12) lies outside the store's " +
                    std::to_string( store->used() ) + " used octets",
              error( outside ) );
   U64 huge = stowPatched( 12, 0xFFFFFFFF, 4 ); // the count
   EXPECT_NE( std::string::npos, error( huge ).find( "4294967295 values: offset" ) );
   U64 flagged = stowPatched( 8, CommList::flagCommVectorSorted | CommList::flagNoExport, 4 );
   EXPECT_EQ( "record at offset " + std::to_string( flagged ) +
                    ": CommList flag word 3 does not match its values",
              error( flagged ) );
   U64 unknown = stowPatched( 8, 0x11, 4 );
   EXPECT_EQ( "record at offset " + std::to_string( unknown ) +
                    ": CommList flag word 17 has unknown bits",
              error( unknown ) );
   U64 unsorted = list->stow( store.ptr() );
   U64 array = *reinterpret_cast<const U64*>( static_cast<const char*>(
                                                    store->translate( unsorted, 24 ) ) +
                                              16 );
   static_cast<U32*>( store->translate( array, 12 ) )[ 0 ] = 9;
   EXPECT_NE( std::string::npos, error( unsorted ).find( "not strictly ascending" ) );

   // A file cut short is refused before any record is read.
   U64 used;
   {
      auto file = KelStow::StoreManager::createFile( path_, 4096 );
      stowAll( file.ptr(), { list } );
      used = file->used();
   }
   std::filesystem::resize_file( path_, used - 4 );
   try {
      KelStow::StoreManager::openFile( path_ );
      ADD_FAILURE() << "a truncated store opened";
   } catch ( const KelStow::StoreException& e ) {
      EXPECT_EQ( "store '" + path_ + "' is truncated: its header claims " +
                       std::to_string( used ) + " octets, the file has " +
                       std::to_string( used - 4 ),
                 std::string( e.what() ) );
   }
}

// --- Threads ------------------------------------------------------------------------

// Tables made while this is alive are the thread-safe kind.
class MultiThreaded {
 public:
   MultiThreaded() { OvBgpGlobals::multiThreadedIs( true ); }
   ~MultiThreaded() { OvBgpGlobals::multiThreadedIs( false ); }
};

TEST( CommListDedupTableConcurrency, FourThreadsInternAndReleaseSharedContents ) {
   MultiThreaded multiThreaded;
   auto table = commListDedupTableFactory();
   ASSERT_TRUE( table->dedupTable()->threadSafe() );
   constexpr int kThreads = 4;
   constexpr int kContents = 24;
   constexpr int kRounds = 40;
   std::vector<std::vector<U32>> contents;
   for ( int k = 0; k < kContents; ++k ) {
      std::vector<U32> v = { comm( 65000, U32( k ) ), comm( U32( k % 5 ), 7 ) };
      if ( k % 3 == 0 ) {
         v.push_back( kNoExport );
      }
      contents.push_back( v );
   }
   // held[t][k]: what thread t holds for content k at the end of a round.
   std::vector<std::vector<CommList::PtrConst>> held( kThreads,
                                                      std::vector<CommList::PtrConst>( kContents ) );
   std::barrier sync( kThreads );
   std::atomic<int> mismatches{ 0 };
   auto work = [ & ]( int t ) {
      std::mt19937 rng{ U32( t ) };
      for ( int round = 0; round < kRounds; ++round ) {
         // Churn: intern and drop at once, racing other threads' releases.
         for ( int i = 0; i < 200; ++i ) {
            std::vector<U32> v = contents[ rng() % kContents ];
            v.push_back( v[ rng() % v.size() ] ); // a duplicate
            std::shuffle( v.begin(), v.end(), rng );
            CommList::PtrConst list = build( v )->dedup( table.ptr() );
            if ( list->noExport() != list->comm( kNoExport ) || list->toStrep().empty() ) {
               ++mismatches;
            }
         }
         for ( int k = 0; k < kContents; ++k ) {
            std::vector<U32> v = contents[ k ];
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
