// IPv6 extended community lists: interning by content whatever the order,
// duplicates, classification lists, the wire form, the texts, the dump,
// snapshots, the store image (rebuilt in a fresh process) and interning
// from several threads.
#include "OvBgp/ExtCommIp6List.h"

#include <gtest/gtest.h>

#include <unistd.h>
#include <atomic>
#include <bit>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <random>
#include <sstream>
#include <thread>
#include <vector>

#include "Bex/DumpContext.h"
#include "Kel/Exception.h"
#include "KelStow/StoreManager.h"
#include "OvBgp/ExtCommIp6DedupTable.h"
#include "OvBgp/ExtCommIp6ListDedupTable.h"
#include "Routing/Bgp/OvBgpGlobals.h"
#include "tests/OvBgp/ExtCommIp6TestRule.h"
#include "tests/OvBgp/RunSelf.h"

namespace Routing::Bgp {
namespace {

using Members = std::vector<ExtCommIp6::PtrConst>;

ExtCommIp6Content content( U8 type, U8 subtype, const char* address, U16 local ) {
   return ExtCommIp6Content( type, subtype, Onet::Ip6Addr::parse( address ), local );
}

// octets(): raw octets from hex digits.
std::string octets( const std::string& hex ) {
   std::string out;
   for ( size_t i = 0; i + 1 < hex.size(); i += 2 ) {
      out += char( std::stoi( hex.substr( i, 2 ), nullptr, 16 ) );
   }
   return out;
}

std::string hexOf( const std::string& raw ) {
   std::ostringstream os;
   for ( unsigned char c : raw ) {
      os << "0123456789abcdef"[ c >> 4 ] << "0123456789abcdef"[ c & 15 ];
   }
   return os.str();
}

// assertion(): the whole assertion line as a death-test pattern.
std::string assertion( const std::string& text, const std::string& source ) {
   std::string out;
   for ( char ch : "assertion failed: " + text + " (" + source + ")" ) {
      if ( std::string( ".[]{}()\\*+?^$|" ).find( ch ) != std::string::npos ) {
         out += '\\';
      }
      out += ch;
   }
   return out;
}

class ExtCommIp6ListTest : public ::testing::Test {
 protected:
   ExtCommIp6::PtrConst value( U8 type, U8 subtype, const char* address, U16 local ) {
      return ExtCommIp6::dedupContent( values_.ptr(), content( type, subtype, address, local ) );
   }
   // plain(): a plain ExtCommIp6 of that classification, interned.
   ExtCommIp6::PtrConst plain( ExtCommClassification classification, const ExtCommIp6Content& c ) {
      return Kel::ptrCast<const ExtCommIp6>(
            values_->dedupTable()->dedup( extCommIp6Factory( classification, c ) ) );
   }
   ExtCommIp6List::Ptr build( const Members& members ) {
      ExtCommIp6List::Ptr list = extCommIp6ListFactory();
      list->expectedCommunityCountIs( U32( members.size() ) );
      for ( const auto& member : members ) {
         list->commIs( member );
      }
      return list;
   }
   ExtCommIp6List::PtrConst intern( const Members& members ) {
      return build( members )->dedup( lists_.ptr() );
   }

   Testing::TestIp6Rule rule_;
   ExtCommIp6DedupTable::Ptr values_ = extCommIp6DedupTableFactory( rule_.top );
   ExtCommIp6ListDedupTable::Ptr lists_ = extCommIp6ListDedupTableFactory();
};

TEST_F( ExtCommIp6ListTest, SameCommunitiesInAnyOrderWithDuplicatesInternToOneObject ) {
   auto rt = value( 0x00, 0x02, "2001:db8::1", 100 );
   auto origin = value( 0x00, 0x03, "2001:db8::2", 1 );
   auto other = value( 0x40, 0x09, "2001:db8::3", 7 );
   auto a = intern( { rt, origin, other } );
   auto b = intern( { other, rt, other, origin, rt } );
   EXPECT_EQ( a, b );
   EXPECT_TRUE( a->isDeduped() );
   EXPECT_TRUE( a->commVectorSorted() );
   EXPECT_EQ( a->commVector(), ( Members{ rt, origin, other } ) );
   EXPECT_EQ( a->totalCommunities(), 3u );
   EXPECT_EQ( a->totalTransitiveCommunities(), 2u );
   EXPECT_EQ( a->comm( origin->community() ), origin );
   EXPECT_EQ( a->lookupExtComm( other->community() ), other );
   EXPECT_EQ( a->comm( content( 0x00, 0x02, "2001:db8::1", 99 ) ), nullptr );
   EXPECT_EQ( a->comm( content( 0x40, 0x09, "2001:db8::4", 0 ) ), nullptr ); // past the end

   // Another member set is another list, sharing the classification lists
   // the two have in common.
   auto c = intern( { rt, origin } );
   EXPECT_NE( c, a );
   EXPECT_EQ( c->classificationList( extCommClassificationRouteTarget ),
              a->classificationList( extCommClassificationRouteTarget ) );
   EXPECT_EQ( lists_->dedupTable()->size(), 2u );
   EXPECT_EQ( lists_->extCommIp6ClassificationListDedupTable()->size(), 3u );

   // Built from other lists and sublists, the same content is the same list.
   auto d = extCommIp6ListFactory();
   d->append( c );
   d->append( nullptr );
   d->appendClassificationList( a->classificationList( extCommClassificationUnSpecified ) );
   d->appendClassificationList( nullptr );
   d->append( d ); // its own members again: duplicates only
   EXPECT_EQ( d->comms(), 6u );
   EXPECT_EQ( d->dedup( lists_.ptr() ), a );

   // Empty lists intern too, to one object that hashes to 0.
   auto empty = intern( {} );
   EXPECT_EQ( intern( {} ), empty );
   EXPECT_EQ( empty->hash(), 0u );
   EXPECT_TRUE( empty->classificationLists().empty() );

   a = b = c = empty = nullptr;
   d = nullptr;
   EXPECT_EQ( lists_->dedupTable()->size(), 0u );
   EXPECT_EQ( lists_->extCommIp6ClassificationListDedupTable()->size(), 0u );
}

TEST_F( ExtCommIp6ListTest, MembersDifferingOnlyInClassificationAreDuplicatesFirstKept ) {
   // Two tables give two objects of equal content and different kinds.
   const ExtCommIp6Content c = content( 0x00, 0x02, "2001:db8::1", 5 );
   auto asRouteTarget = value( 0x00, 0x02, "2001:db8::1", 5 );
   auto otherValues = extCommIp6DedupTableFactory( rule_.top );
   auto asColor = Kel::ptrCast<const ExtCommIp6>(
         otherValues->dedupTable()->dedup( extCommIp6Factory( extCommClassificationColor, c ) ) );
   auto origin = value( 0x00, 0x03, "2001:db8::1", 5 );
   const U32 colorRefs = asColor->refCount();

   auto first = intern( { asRouteTarget, origin, asColor } );
   EXPECT_EQ( first->comms(), 2u );
   EXPECT_EQ( first->comm( c ), asRouteTarget );
   EXPECT_EQ( first->classificationList( extCommClassificationColor ), nullptr );
   EXPECT_EQ( asColor->refCount(), colorRefs ); // the dropped one was released

   auto second = intern( { asColor, origin, asRouteTarget } );
   EXPECT_NE( second, first );
   EXPECT_EQ( second->comm( c ), asColor );
   EXPECT_EQ( second->classificationList( extCommClassificationRouteTarget ), nullptr );
   EXPECT_EQ( second->classificationList( extCommClassificationColor )->commVector(),
              Members{ asColor } );
}

TEST_F( ExtCommIp6ListTest, ClassificationListsSitAtTheirNumberAndSlotsBeyondAreNull ) {
   auto rt1 = value( 0x00, 0x02, "2001:db8::9", 1 );
   auto rt2 = value( 0x00, 0x02, "2001:db8::1", 2 );
   auto vri = value( 0x00, 0x0b, "2001:db8::1", 1 );
   auto list = intern( { rt1, vri, rt2 } );
   EXPECT_EQ( list->classificationLists().size(),
              size_t( extCommClassificationVrfRouteImport ) + 1 );
   auto rts = list->classificationList( extCommClassificationRouteTarget );
   ASSERT_NE( rts, nullptr );
   EXPECT_TRUE( rts->isDeduped() );
   EXPECT_EQ( rts->classification(), extCommClassificationRouteTarget );
   EXPECT_EQ( rts->commVector(), ( Members{ rt2, rt1 } ) );
   EXPECT_EQ( rts->comm( rt1->community() ), rt1 );
   EXPECT_EQ( rts->comm( vri->community() ), nullptr );
   EXPECT_EQ( list->classificationList( extCommClassificationVrfRouteImport )->commVector(),
              Members{ vri } );
   EXPECT_EQ( list->classificationList( extCommClassificationUnSpecified ), nullptr );
   EXPECT_EQ( list->classificationList( extCommClassificationRouteOrigin ), nullptr );
   EXPECT_EQ( list->classificationList( extCommClassificationOneBeyondLast ), nullptr );
   EXPECT_EQ( list->classificationList( ExtCommClassification( 200 ) ), nullptr );

   auto onlyRts = intern( { rt1 } );
   EXPECT_EQ( onlyRts->classificationLists().size(), 2u );
   EXPECT_EQ( onlyRts->classificationList( extCommClassificationVrfRouteImport ), nullptr );

   // A classification list interned on its own is the one lists share.
   auto byHand = extCommIp6ClassificationListFactory( extCommClassificationRouteTarget );
   byHand->commIs( rt1 );
   byHand->commIs( rt2 );
   byHand->commIs( rt1 );
   EXPECT_EQ( byHand->dedup( lists_.ptr() ), rts );
}

TEST_F( ExtCommIp6ListTest, SerializeWritesAttribute25WithTwentyOctetsPerMember ) {
   auto trans = value( 0x00, 0x02, "2001:db8::1", 0x0102 );
   auto nonTrans = value( 0x40, 0x02, "2001:db8::2", 7 );
   const std::string transWire = octets(
         "0002"
         "20010db8000000000000000000000001"
         "0102" );
   const std::string nonTransWire = octets(
         "4002"
         "20010db8000000000000000000000002"
         "0007" );

   auto both = intern( { nonTrans, trans } );
   EXPECT_EQ( hexOf( both->serialize( false ) ), hexOf( octets( "c01914" ) + transWire ) );
   EXPECT_EQ( hexOf( both->serialize( true ) ),
              hexOf( octets( "c01928" ) + transWire + nonTransWire ) );

   auto onlyNonTrans = intern( { nonTrans } );
   EXPECT_EQ( onlyNonTrans->serialize( false ), "" );
   EXPECT_EQ( hexOf( onlyNonTrans->serialize( true ) ),
              hexOf( octets( "c01914" ) + nonTransWire ) );
   EXPECT_EQ( intern( {} )->serialize( true ), "" );
   EXPECT_EQ( intern( {} )->serialize( false ), "" );

   // 12 members fit a one-octet length (240); 13 need the extended length.
   Members many;
   for ( U16 local = 1; local <= 13; ++local ) {
      many.push_back( value( 0x00, 0x02, "2001:db8::1", local ) );
   }
   const std::string twelve =
         intern( Members( many.begin(), many.begin() + 12 ) )->serialize( false );
   EXPECT_EQ( twelve.size(), 3u + 240u );
   EXPECT_EQ( hexOf( twelve.substr( 0, 3 ) ), "c019f0" );
   const std::string thirteen = intern( many )->serialize( false );
   EXPECT_EQ( thirteen.size(), 4u + 260u );
   EXPECT_EQ( hexOf( thirteen.substr( 0, 4 ) ), "d0190104" );
   EXPECT_EQ( thirteen.substr( 4 + 12 * 20 ), octets( "0002"
                                                      "20010db8000000000000000000000001"
                                                      "000d" ) );

   // More members than a 16-bit length can carry is a clear error.
   Members tooMany;
   for ( U32 i = 0; i < 3277; ++i ) {
      tooMany.push_back( value( 0x00, 0x02, "2001:db8::1", U16( i ) ) );
   }
   auto huge = intern( tooMany );
   EXPECT_THROW( huge->serialize( true ), Kel::RangeException );
   EXPECT_EQ( intern( Members( tooMany.begin(), tooMany.end() - 1 ) )->serialize( true ).size(),
              4u + 3276u * 20u );
}

TEST_F( ExtCommIp6ListTest, TextForms ) {
   auto plainValue =
         plain( extCommClassificationUnSpecified, content( 0x00, 0x02, "2001:db8::1", 100 ) );
   auto subtyped = value( 0x40, 0x02, "2001:db8::2", 7 );
   ASSERT_EQ( plainValue->toStrep(),
              "<extCommIp6PktTypeTransIpv6Address addr=2001:db8::1 localAdmin=100>" );
   auto list = intern( { subtyped, plainValue } );
   const std::string expected =
         "[ <extCommIp6PktTypeTransIpv6Address addr=2001:db8::1 localAdmin=100> " +
         subtyped->toStrep() + " ]";
   EXPECT_EQ( list->toStrep(), expected );
   // The caller's stream flags neither change the text nor get lost.
   std::ostringstream os;
   os << std::hex << list.ptr() << ' ' << 255 << ' ' << *list;
   EXPECT_EQ( os.str(), expected + " ff " + expected );
   std::ostringstream none;
   none << static_cast<const ExtCommIp6List*>( nullptr ) << ' '
        << static_cast<const ExtCommIp6ClassificationList*>( nullptr );
   EXPECT_EQ( none.str(), "NULL NULL" );
   EXPECT_EQ( intern( {} )->toStrep(), "[  ]" );

   EXPECT_EQ( list->classificationList( extCommClassificationUnSpecified )->toStrep(),
              "extCommClassificationUnSpecified : [ "
              "<extCommIp6PktTypeTransIpv6Address addr=2001:db8::1 localAdmin=100> ]" );
   EXPECT_EQ( list->classificationList( extCommClassificationRouteTarget )->toStrep(),
              "extCommClassificationRouteTarget : [ " + subtyped->toStrep() + " ]" );

   // The policy text: address and local administrator, never a type label.
   EXPECT_EQ( list->commsStringForm(), "2001:db8::1:100 2001:db8::2:7 " );
   EXPECT_EQ( intern( { value( 0x00, 0x02, "2001:db8::1", 7 ) } )->commsStringForm(),
              "2001:db8::1:7 " );
   EXPECT_EQ( intern( {} )->commsStringForm(), "" );
}

TEST_F( ExtCommIp6ListTest, DumpPrintsUnderTheEightOctetTableName ) {
   auto list = intern( { value( 0x00, 0x02, "2001:db8::1", 1 ), value( 0x00, 0x03, "::1", 2 ) } );
   Bex::DumpContext ctx;
   lists_->dumpState( ctx, 0 );
   EXPECT_EQ( ctx.str(),
              "ExtCommListDedupTable\n"
              "  extComm\n"
              "    DedupHashTable #1\n"
              "  extCommClassification\n"
              "    DedupHashTable #2\n" );
   auto counted = Bex::DumpContext::DumpContextIs();
   lists_->dumpState( Kel::Ptr<const Bex::DumpContext>( counted ), 3 );
   EXPECT_EQ( counted->str(),
              "   ExtCommListDedupTable\n"
              "     extComm\n"
              "       DedupHashTable #1\n"
              "     extCommClassification\n"
              "       DedupHashTable #2\n" );
   // An indent whose label width wraps to 0 prints the labels bare and
   // the sets at 2.
   ctx.clear();
   lists_->dumpState( ctx, U32( -2 ) );
   EXPECT_EQ( ctx.str(),
              "  ExtCommListDedupTable\n"
              "extComm\n"
              "  DedupHashTable #1\n"
              "extCommClassification\n"
              "  DedupHashTable #2\n" );
   EXPECT_THROW( lists_->dumpState( Kel::Ptr<const Bex::DumpContext>(), 0 ),
                 Kel::NullArgumentException );
}

TEST_F( ExtCommIp6ListTest, SnapshotsAreEditableCopiesKeyedByContent ) {
   auto rt = value( 0x00, 0x02, "2001:db8::1", 1 );
   auto origin = value( 0x00, 0x03, "2001:db8::1", 1 );
   auto list = intern( { origin, rt } );
   auto snapshot = list->commSnapshot();
   ASSERT_EQ( snapshot->classificationList().size(), 2u );
   EXPECT_EQ( snapshot->classificationList().at( extCommClassificationRouteTarget ),
              list->classificationList( extCommClassificationRouteTarget ) );
   ASSERT_EQ( snapshot->comm().size(), 2u );
   EXPECT_EQ( snapshot->comm().begin()->second, rt ); // ordered by content

   // An equal content replaces the entry; deleting returns what was there.
   auto otherValues = extCommIp6DedupTableFactory( rule_.top );
   auto sameContent = ExtCommIp6::dedupContent( otherValues.ptr(), rt->community() );
   snapshot->commIs( sameContent );
   EXPECT_EQ( snapshot->comm().size(), 2u );
   EXPECT_EQ( snapshot->commDel( rt->community() ), sameContent );
   EXPECT_EQ( snapshot->commDel( rt->community() ), nullptr );
   snapshot->classificationListDel( extCommClassificationRouteTarget );
   EXPECT_EQ( snapshot->classificationList().size(), 1u );
   EXPECT_THROW( snapshot->commIs( nullptr ), Kel::NullArgumentException );
   EXPECT_THROW( snapshot->classificationListIs( nullptr ), Kel::NullArgumentException );
   EXPECT_EQ( list->comms(), 2u ); // the list never changes

   auto rts = list->classificationList( extCommClassificationRouteTarget )->commSnapshot();
   EXPECT_EQ( rts->classification(), extCommClassificationRouteTarget );
   EXPECT_EQ( rts->commDel( origin->community() ), nullptr );
   EXPECT_EQ( rts->commDel( rt->community() ), rt );
   EXPECT_TRUE( rts->comm().empty() );
   EXPECT_THROW( rts->commIs( nullptr ), Kel::NullArgumentException );
}

TEST_F( ExtCommIp6ListTest, AssertionsNameTheBrokenInvariant ) {
   GTEST_FLAG_SET( death_test_style, "threadsafe" );
   const std::string list = "OvBgp/ExtCommIp6List";
   auto building = extCommIp6ListFactory();
   EXPECT_DEATH( building->commIs( nullptr ), assertion( "__null != comm", list ) );
   EXPECT_DEATH( building->commIs( extCommIp6Factory( extCommClassificationUnSpecified,
                                                      content( 0, 2, "::1", 1 ) ) ),
                 assertion( "__null == ( comm ) || ( comm )->dedupState() != "
                            "Bex::dedupHandleStateNeverDeduped()",
                            list ) );
   building->commIs( value( 0, 2, "::1", 1 ) );
   EXPECT_DEATH( building->totalCommunities(), assertion( "commVectorSorted()", list ) );
   EXPECT_DEATH( building->comm( content( 0, 2, "::1", 1 ) ),
                 assertion( "commVectorSorted", list ) );
   EXPECT_DEATH( building->classificationList( extCommClassificationRouteTarget ),
                 assertion( "__null == ( this ) || ( this )->dedupState() != "
                            "Bex::dedupHandleStateNeverDeduped()",
                            list ) );
   auto interned = building->dedup( lists_.ptr() );
   EXPECT_DEATH( const_cast<ExtCommIp6List*>( interned.ptr() )->dedup( lists_.ptr() ),
                 assertion( "__null == ( this ) || ( this )->dedupState() == "
                            "Bex::dedupHandleStateNeverDeduped()",
                            list ) );
   auto unsorted = extCommIp6ClassificationListFactory( extCommClassificationRouteTarget );
   EXPECT_DEATH( unsorted->hash(),
                 assertion( "commVectorSorted()", "OvBgp/ExtCommIp6ClassificationList" ) );
}

// ---- store ------------------------------------------------------------------

constexpr const char* kChildStoreVariable = "EXTCOMMIP6LIST_CHILD_STORE";

// describe(): the wire and policy forms of a list, its members' kinds and
// its classification lists, one line. (The debugging form is left out: a
// rebuilt value is a plain ExtCommIp6, which prints no subtype.)
std::string describe( const ExtCommIp6List* list ) {
   std::ostringstream os;
   os << list->commsStringForm() << "| " << hexOf( list->serialize( true ) ) << " | "
      << hexOf( list->serialize( false ) ) << " | " << list->totalCommunities() << "/"
      << list->totalTransitiveCommunities() << " |";
   for ( const auto& member : list->commVector() ) {
      os << ' ' << member->classification();
   }
   os << " |";
   for ( const auto& sublist : list->classificationLists() ) {
      os << ' ' << ( sublist ? sublist->comms() : 0 );
   }
   return os.str();
}

class ExtCommIp6ListStore : public ExtCommIp6ListTest {
 protected:
   void SetUp() override {
      path_ = ( std::filesystem::temp_directory_path() /
                ( "extcommip6list_test_" + std::to_string( ::getpid() ) + ".stow" ) )
                    .string();
   }
   void TearDown() override { std::filesystem::remove( path_ ); }

   std::string path_;
};

// Runs only in the process started by RebuildsInAFreshProcess.
TEST( ExtCommIp6ListStoreChild, RebuildFromFile ) {
   const char* path = std::getenv( kChildStoreVariable );
   if ( !path ) {
      GTEST_SKIP() << "helper of ExtCommIp6ListStore.RebuildsInAFreshProcess";
   }
   auto store = KelStow::StoreManager::openFile( path );
   ExtCommIp6List::Ptr list =
         ExtCommIp6List::destow( store->translate( store->root() ), store.ptr() );
   EXPECT_EQ( list->dedupState(), Bex::dedupHandleStateStowed() );
   EXPECT_TRUE( list->commVectorSorted() );
   for ( const auto& member : list->commVector() ) {
      EXPECT_EQ( list->comm( member->community() ), member );
      EXPECT_EQ( list->classificationList( member->classification() )->comm( member->community() ),
                 member );
   }
   std::cout << "list " << describe( list.ptr() ) << "\n";
}

TEST_F( ExtCommIp6ListStore, RebuildsInAFreshProcessWithTheSameTextsAndWireOctets ) {
   auto list =
         intern( { value( 0x40, 0x0b, "2001:db8::5", 9 ), value( 0x00, 0x02, "2001:db8::1", 1 ),
                   value( 0x00, 0x02, "2001:db8::1", 2 ), value( 0x00, 0x03, "fe80::1", 3 ),
                   plain( extCommClassificationColor, content( 0x00, 0x04, "::", 0 ) ) } );
   {
      auto store = KelStow::StoreManager::createFile( path_, 4096 );
      store->rootIs( list->stow( store.ptr() ) );
      store->sync();
   }
   RunSelfResult child =
         runSelf( "ExtCommIp6ListStoreChild.RebuildFromFile", { { kChildStoreVariable, path_ } } );
   ASSERT_EQ( child.exitCode, 0 ) << child.out << child.err;
   EXPECT_EQ( linesStartingWith( child.out, "list " ),
              std::vector<std::string>{ describe( list.ptr() ) } );
}

TEST_F( ExtCommIp6ListStore, UnsortedImagesComeBackToBeInternedAndDamagedOnesAreRejected ) {
   auto store = KelStow::StoreManager::inMemory();
   auto high = value( 0x00, 0x02, "2001:db8::9", 1 );
   auto low = value( 0x00, 0x02, "2001:db8::1", 1 );

   // A list stowed before interning comes back as it was: unsorted, in
   // stored order, still to be interned.
   auto building = build( { high, low, high } );
   const U64 at = building->stow( store.ptr() );
   auto rebuilt = ExtCommIp6List::destow( store->translate( at ), store.ptr() );
   EXPECT_EQ( rebuilt->dedupState(), Bex::dedupHandleStateNeverDeduped() );
   ASSERT_EQ( rebuilt->comms(), 3u );
   EXPECT_EQ( rebuilt->commVector()[ 0 ]->community(), high->community() );
   EXPECT_EQ( rebuilt->dedup( lists_.ptr() )->comms(), 2u );

   // The same image claiming to be sorted is refused, as is a record of
   // another kind.
   static_cast<U32*>( store->translate( at + 8, 4 ) )[ 0 ] = 1; // the sorted flag
   try {
      ExtCommIp6List::destow( store->translate( at ), store.ptr() );
      ADD_FAILURE() << "no exception";
   } catch ( const KelStow::StoreException& e ) {
      EXPECT_NE( std::string( e.what() ).find( "not in content order" ), std::string::npos )
            << e.what();
   }
   const U64 member = high->stow( store.ptr() );
   EXPECT_THROW( ExtCommIp6List::destow( store->translate( member ), store.ptr() ),
                 KelStow::StoreException );
}

// ---- threads ----------------------------------------------------------------

#if defined( __SANITIZE_THREAD__ )
constexpr int kListsPerThread = 3000;
#elif defined( __has_feature )
#if __has_feature( thread_sanitizer )
constexpr int kListsPerThread = 3000;
#else
constexpr int kListsPerThread = 20000;
#endif
#else
constexpr int kListsPerThread = 20000;
#endif

TEST( ExtCommIp6ListConcurrency, ListsInternedAndReleasedFromFourThreadsLeaveEmptyTables ) {
   Testing::TestIp6Rule rule;
   OvBgpGlobals::multiThreadedIs( true );
   auto values = extCommIp6DedupTableFactory( rule.top );
   auto lists = extCommIp6ListDedupTableFactory();
   OvBgpGlobals::multiThreadedIs( false );
   ASSERT_TRUE( lists->dedupTable()->threadSafe() );
   ASSERT_TRUE( lists->extCommIp6ClassificationListDedupTable()->threadSafe() );

   // Ten contents of three kinds, transitive and not; a list is a non-empty
   // subset of them, named by a 10-bit mask.
   std::vector<ExtCommIp6Content> pool;
   for ( U16 i = 0; i < 10; ++i ) {
      pool.push_back( content( U8( ( i % 2 ) * 0x40 ), U8( 2 + i % 3 ), "2001:db8::1", i ) );
   }
   auto build = [ & ]( unsigned mask, std::mt19937& rng ) {
      // Members in a random order, one of them twice.
      std::vector<unsigned> order;
      for ( unsigned i = 0; i < pool.size(); ++i ) {
         if ( mask & ( 1u << i ) ) {
            order.push_back( i );
         }
      }
      order.push_back( order[ rng() % order.size() ] );
      std::shuffle( order.begin(), order.end(), rng );
      auto list = extCommIp6ListFactory();
      for ( unsigned i : order ) {
         list->commIs( ExtCommIp6::dedupContent( values.ptr(), pool[ i ] ) );
      }
      return list->dedup( lists.ptr() );
   };
   auto wrong = [ & ]( const ExtCommIp6List::PtrConst& list, unsigned mask ) {
      if ( !list->isDeduped() || list->comms() != size_t( std::popcount( mask ) ) ) {
         return true;
      }
      for ( unsigned i = 0; i < pool.size(); ++i ) {
         if ( bool( list->comm( pool[ i ] ) ) != bool( mask & ( 1u << i ) ) ) {
            return true;
         }
      }
      return false;
   };

   // Phase 1: a few lists are held, so every thread must get exactly them
   // back. Phase 2: nothing is held; interning races with releases.
   std::mt19937 setup( 7 );
   const std::vector<unsigned> heldMasks = { 0x001, 0x003, 0x155, 0x2AA, 0x3FF };
   std::vector<ExtCommIp6List::PtrConst> held;
   for ( unsigned mask : heldMasks ) {
      held.push_back( build( mask, setup ) );
   }
   std::atomic<int> mismatches{ 0 };
   auto phase1 = [ & ]( unsigned seed ) {
      std::mt19937 rng( seed );
      for ( int i = 0; i < kListsPerThread / 2; ++i ) {
         const size_t k = rng() % heldMasks.size();
         mismatches += build( heldMasks[ k ], rng ) != held[ k ];
      }
   };
   auto phase2 = [ & ]( unsigned seed ) {
      std::mt19937 rng( seed );
      std::vector<ExtCommIp6List::PtrConst> mine( 8 );
      for ( int i = 0; i < kListsPerThread / 2; ++i ) {
         const unsigned mask = 1 + rng() % 0x3FF;
         ExtCommIp6List::PtrConst list = build( mask, rng );
         mismatches += wrong( list, mask );
         mine[ rng() % mine.size() ] = std::move( list );
      }
   };
   for ( auto phase : { 1, 2 } ) {
      std::vector<std::thread> threads;
      for ( unsigned t = 0; t < 4; ++t ) {
         if ( phase == 1 ) {
            threads.emplace_back( phase1, 10 + t );
         } else {
            threads.emplace_back( phase2, 20 + t );
         }
      }
      for ( auto& t : threads ) {
         t.join();
      }
      EXPECT_EQ( lists->dedupTable()->size(), phase == 1 ? held.size() : 0u );
      held.clear();
   }
   EXPECT_EQ( mismatches.load(), 0 );
   EXPECT_EQ( lists->dedupTable()->size(), 0u );
   EXPECT_EQ( lists->extCommIp6ClassificationListDedupTable()->size(), 0u );
   EXPECT_EQ( values->dedupTable()->size(), 0u );
}

} // namespace
} // namespace Routing::Bgp
