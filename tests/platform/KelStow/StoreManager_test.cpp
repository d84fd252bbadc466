#include "KelStow/StoreManager.h"

#include "tests/platform/Kel/ThrownText.h"

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <numeric>
#include <string>

namespace {

using KelStow::Anchor;
using KelStow::StoreException;
using KelStow::StoreManager;

constexpr U32 nodeTag = 0x4E4F4445; // "NODE"

// A record of a singly linked list: each node names the next by offset.
struct Node {
   Anchor anchor;
   U64 next;
   U64 value;
};

// Stows a list of count nodes holding first, first+1, ...; returns its head.
U64 stowList( StoreManager* store, U64 first, int count ) {
   U64 head = 0;
   for ( int i = count - 1; i >= 0; --i ) {
      U64 at = store->stowRecord( nodeTag, 1, sizeof( Node ) );
      auto* node = static_cast<Node*>( store->translate( at, sizeof( Node ) ) );
      node->next = head;
      node->value = first + U64( i );
      head = at;
   }
   return head;
}

// The values of the list at head, checking every anchor on the way.
std::vector<U64> readList( const StoreManager* store, U64 head ) {
   std::vector<U64> values;
   for ( U64 at = head; at != 0; ) {
      auto* node =
            static_cast<const Node*>( store->checkedRecord( at, nodeTag, 1, sizeof( Node ) ) );
      values.push_back( node->value );
      at = node->next;
   }
   return values;
}

std::vector<U64> iota( U64 first, int count ) {
   std::vector<U64> v( size_t( count ), 0 );
   std::iota( v.begin(), v.end(), first );
   return v;
}

std::string message( auto&& fn ) { return thrownText<StoreException>( fn ); }

class StoreManagerFile : public ::testing::Test {
 protected:
   void TearDown() override { std::filesystem::remove( path_ ); }
   std::string path_ =
         testing::TempDir() + "kelstow_test_" + std::to_string( ::getpid() ) + ".stow";
};

TEST( StoreManager, RecordsLinkedByOffsetSurviveTheArenaMoving ) {
   StoreManager::Ptr store = StoreManager::inMemory( 64 );
   U64 head = stowList( store.ptr(), 100, 2000 ); // grows, and moves, many times
   EXPECT_EQ( iota( 100, 2000 ), readList( store.ptr(), head ) );
   U64 odd = store->allocate( 3, 1 );
   U64 aligned = store->allocate( 40, 64 );
   EXPECT_EQ( 0u, aligned % 64 );
   EXPECT_GT( aligned, odd );
   auto* bytes = static_cast<const U8*>( store->translate( aligned, 40 ) );
   EXPECT_EQ( std::vector<U8>( 40, 0 ), std::vector<U8>( bytes, bytes + 40 ) ); // zeroed
   EXPECT_EQ( aligned, store->offsetOf( bytes ) );
   EXPECT_EQ( aligned + 40, store->used() );
   EXPECT_FALSE( store->fileBacked() );
}

TEST( StoreManager, AddressChecksNameTheOffendingRange ) {
   StoreManager::Ptr store = StoreManager::inMemory();
   U64 at = store->allocate( 16, 8 );
   U64 used = store->used();
   EXPECT_NO_THROW( store->translate( at, 16 ) );
   EXPECT_EQ( "offset " + std::to_string( at ) + " (+17) lies outside the store's " +
                    std::to_string( used ) + " used octets",
              message( [ & ] { store->translate( at, 17 ); } ) );
   EXPECT_NE( "<nothing thrown>", message( [ & ] { store->translate( 0 ); } ) ); // the header
   EXPECT_NE( "<nothing thrown>", message( [ & ] { store->translate( ~U64( 0 ), 2 ); } ) );
   int outside = 0;
   EXPECT_EQ( "address does not lie inside the store",
              message( [ & ] { store->offsetOf( &outside ); } ) );
   EXPECT_EQ( "allocation alignment 3 is not a power of two",
              message( [ & ] { store->allocate( 8, 3 ); } ) );
   EXPECT_NE( "<nothing thrown>", message( [ & ] { store->allocate( ~size_t( 0 ) - 4, 8 ); } ) );
}

TEST( StoreManager, CheckedRecordRejectsAnotherAnchorOrATruncatedRecord ) {
   StoreManager::Ptr store = StoreManager::inMemory();
   U64 at = store->stowRecord( nodeTag, 2, sizeof( Node ) );
   EXPECT_NO_THROW( store->checkedRecord( at, nodeTag, 2, sizeof( Node ) ) );
   auto error = [ & ]( U64 offset, U32 tag, U16 version, size_t size ) {
      return message( [ & ] { store->checkedRecord( offset, tag, version, size ); } );
   };
   std::string prefix = "record at offset " + std::to_string( at ) + ": expected anchor ";
   std::string inside = " inside the store's " + std::to_string( store->used() ) + " used octets";
   EXPECT_EQ( prefix + "NODE v1, found NODE v2", error( at, nodeTag, 1, sizeof( Node ) ) );
   EXPECT_EQ( prefix + "LIST v2, found NODE v2", error( at, 0x4C495354, 2, sizeof( Node ) ) );
   EXPECT_EQ( prefix + "NODE v2 and 64 octets, found only 24" + inside,
              error( at, nodeTag, 2, 64 ) );
   EXPECT_EQ( "record at offset " + std::to_string( store->used() + 8 ) +
                    ": expected anchor NODE v2 and 24 octets, found none" + inside,
              error( store->used() + 8, nodeTag, 2, sizeof( Node ) ) );
}

// Runs only inside the child started by ReopensInAnotherProcess: reads the
// parent's list and grows the store with its own.
TEST_F( StoreManagerFile, ChildProcessHalf ) {
   const char* path = std::getenv( "KELSTOW_CHILD_STORE" );
   if ( !path ) {
      return; // a helper, not a test of its own
   }
   StoreManager::Ptr store = StoreManager::openFile( path );
   ASSERT_EQ( iota( 0, 1000 ), readList( store.ptr(), store->root() ) );
   U64 used = store->used();
   store->rootIs( stowList( store.ptr(), 9000, 500 ) );
   ASSERT_GT( store->used(), used );
   store->sync();
}

// Another process maps the file at other addresses: only offsets carry over.
TEST_F( StoreManagerFile, ReopensInAnotherProcess ) {
   {
      StoreManager::Ptr store = StoreManager::createFile( path_, 4096 );
      EXPECT_TRUE( store->fileBacked() );
      store->rootIs( stowList( store.ptr(), 0, 1000 ) ); // past the first 4096 octets
      store->sync();
   }
   pid_t child = ::fork();
   ASSERT_NE( -1, child );
   if ( child == 0 ) {
      ::setenv( "KELSTOW_CHILD_STORE", path_.c_str(), 1 );
      const char* argv[] = { "child", "--gtest_filter=StoreManagerFile.ChildProcessHalf",
                             "--gtest_brief=1", nullptr };
      ::execv( "/proc/self/exe", const_cast<char* const*>( argv ) );
      ::_exit( 127 );
   }
   int status = 0;
   ASSERT_EQ( child, ::waitpid( child, &status, 0 ) );
   ASSERT_TRUE( WIFEXITED( status ) && WEXITSTATUS( status ) == 0 ) << status;
   StoreManager::Ptr store = StoreManager::openFile( path_ );
   EXPECT_EQ( iota( 9000, 500 ), readList( store.ptr(), store->root() ) );
}

TEST_F( StoreManagerFile, BrokenFilesAreRejectedWithAReason ) {
   auto openError = [ & ] {
      return message( [ & ] { StoreManager::openFile( path_ ); } );
   };
   std::string prefix = "store '" + path_ + "' ";

   std::ofstream( path_ ).close();
   EXPECT_EQ( prefix + "is truncated: 0 octets, less than its header", openError() );
   std::ofstream( path_, std::ios::binary ) << std::string( 4096, 'x' );
   EXPECT_EQ( prefix + "is not a store (bad magic)", openError() );

   U64 used;
   {
      StoreManager::Ptr store = StoreManager::createFile( path_, 4096 );
      store->rootIs( stowList( store.ptr(), 1, 400 ) );
      used = store->used();
   }
   std::filesystem::resize_file( path_, used - 1 );
   EXPECT_EQ( prefix + "is truncated: its header claims " + std::to_string( used ) +
                    " octets, the file has " + std::to_string( used - 1 ),
              openError() );
   std::filesystem::resize_file( path_, 20 );
   EXPECT_EQ( prefix + "is truncated: 20 octets, less than its header", openError() );
   {
      std::fstream f( path_, std::ios::binary | std::ios::in | std::ios::out );
      f.seekp( 8 );
      f.put( 9 ); // format version
   }
   std::filesystem::resize_file( path_, 4096 );
   EXPECT_EQ( prefix + "has format version 9, expected 1", openError() );
   std::filesystem::remove( path_ );
   EXPECT_EQ( "cannot open store '" + path_ + "': No such file or directory", openError() );
}

} // namespace
