#include "OvBgp/CommList.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <iomanip>
#include <sstream>
#include <vector>

#include "Kel/Trace.h"
#include "KelStow/StoreManager.h"
#include "OvBgp/OvBgpCommunityList.h"
#include "OvFmt/DynamicBuffer.h"
#include "Routing/RouteMap/PosixRegex.h"
#include "tests/OvBgp/TestSupport.h"

namespace {

using namespace Routing::Bgp;

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

   // The snapshot holds the sorted, unique values; editing it leaves the list.
   auto snapshot = shared->commSnapshot();
   std::vector<std::pair<U32, bool>> entries( snapshot->commBegin(), snapshot->commEnd() );
   EXPECT_EQ( ( std::vector<std::pair<U32, bool>>{
                    { 1, true }, { 2, true }, { 3, true }, { 5, true } } ),
              entries );
   snapshot->commDel( 1 );
   EXPECT_TRUE( shared->comm( 1 ) );
}

TEST( CommList, HashIsAKnownAnswerAndContentFindsTheInternedList ) {
   auto table = commListDedupTableFactory();
   CommList::PtrConst list = intern( table, { 0xFFFFFF01, 0x01020304 } );
   EXPECT_EQ( 0xbe212e5du, list->hash() );
   std::vector<U32> sorted = *list->commVectorRawPtr();
   EXPECT_EQ( list, CommList::lookupByContent( table.ptr(), CommListContent( sorted ) ) );
   sorted.pop_back();
   EXPECT_EQ( nullptr, CommList::lookupByContent( table.ptr(), CommListContent( sorted ) ) );
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
   OvFmt::DynamicBuffer<8> buffer;
   EXPECT_EQ( 9u, CommunityFormatter<true>::format( buffer, kNoExport ) );
   EXPECT_EQ( 11u, CommunityFormatter<false>::formatNotWellKnown( buffer, kNoExport ) );
   EXPECT_EQ( "no-export65535:65281", buffer.str() );

   // The stream pads the list as one item.
   std::ostringstream os;
   os << std::showbase << std::setw( 24 ) << std::setfill( '*' );
   os << intern( table, { kNoExport, comm( 65000, 255 ) } ).ptr() << '|' << 255;
   EXPECT_EQ( "*****65000:255 no-export|255", os.str() );

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

// --- The store
// -------------------------------------------------------------------

TEST( CommListStore, RebuildKeepsTheFlagsAndTracesItsKindAndText ) {
   auto table = commListDedupTableFactory();
   auto store = KelStow::StoreManager::inMemory();
   CommList::PtrConst list = intern( table, { comm( 65000, 100 ), kNoExport } );
   const U64 at = list->stow( store.ptr() );
   ::setenv( "OVTRACE", "BgpCommunityList/8", 1 );
   Kel::TraceCategory::reloadForTesting();
   ::testing::internal::CaptureStderr();
   CommList::Ptr rebuilt = CommList::destow( store->translate( at ), store.ptr() );
   const std::string trace = ::testing::internal::GetCapturedStderr();
   ::unsetenv( "OVTRACE" );
   Kel::TraceCategory::reloadForTesting();
   EXPECT_TRUE( rebuilt->noExport() && !rebuilt->noAdvertise() );
   EXPECT_EQ( list, rebuilt->dedup( table.ptr() ) );
   EXPECT_EQ(
         "BgpCommunityList/8 Destowing Routing::Bgp::CommList\n"
         "BgpCommunityList/8   destowed: 65000:100 no-export\n",
         trace );
}

TEST( CommListStore, DamagedImagesAreRejectedWithTheRecordAndTheReason ) {
   auto table = commListDedupTableFactory();
   auto store = KelStow::StoreManager::inMemory();
   CommList::PtrConst list = intern( table, { 3, 1, 2 } );
   auto error = [ & ]( U64 at ) {
      return thrownText<KelStow::StoreException>(
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
}

} // namespace
