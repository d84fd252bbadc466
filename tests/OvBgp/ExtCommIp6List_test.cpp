// IPv6 extended community lists: member order, lists built from parts,
// members that differ only in classification, classification lists, the
// wire selection, the texts, the dump, assertions, unsorted and damaged
// store images (what every kind does alike is in
// OvBgpCommunityList_test.cpp).
#include "OvBgp/ExtCommIp6List.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <vector>

#include "Bex/DumpContext.h"
#include "Kel/Exception.h"
#include "KelStow/StoreManager.h"
#include "OvBgp/ExtCommIp6DedupTable.h"
#include "OvBgp/ExtCommIp6ListDedupTable.h"
#include "tests/OvBgp/ExtCommIp6TestRule.h"
#include "tests/OvBgp/TestSupport.h"

namespace Routing::Bgp {
namespace {

using Members = std::vector<ExtCommIp6::PtrConst>;

ExtCommIp6Content content( U8 type, U8 subtype, const char* address, U16 local ) {
   return ExtCommIp6Content( type, subtype, Onet::Ip6Addr::parse( address ), local );
}

using Testing::assertionPattern;
using Testing::hex;

class ExtCommIp6ListTest : public ::testing::Test {
 protected:
   ExtCommIp6::PtrConst value( U8 type, U8 subtype, const char* address, U16 local ) {
      return ExtCommIp6::dedupContent( values_.ptr(), content( type, subtype, address, local ) );
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

TEST_F( ExtCommIp6ListTest, MembersInContentOrderAndTheSameContentBuiltFromPartsIsOneObject ) {
   auto rt = value( 0x00, 0x02, "2001:db8::1", 100 );
   auto origin = value( 0x00, 0x03, "2001:db8::2", 1 );
   auto other = value( 0x40, 0x09, "2001:db8::3", 7 );
   auto a = intern( { other, rt, other, origin, rt } );
   EXPECT_EQ( a->commVector(), ( Members{ rt, origin, other } ) );
   EXPECT_EQ( a->totalTransitiveCommunities(), 2u );
   EXPECT_EQ( a->lookupExtComm( other->community() ), other );
   EXPECT_EQ( a->comm( content( 0x40, 0x09, "2001:db8::4", 0 ) ),
              nullptr ); // past the end

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
   EXPECT_EQ( d->dedup( lists_.ptr() ), a );
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
   EXPECT_EQ( rts->commVector(), ( Members{ rt2, rt1 } ) );
   EXPECT_EQ( rts->comm( vri->community() ), nullptr );
   EXPECT_EQ( list->classificationList( extCommClassificationVrfRouteImport )->commVector(),
              Members{ vri } );
   EXPECT_EQ( list->classificationList( extCommClassificationRouteOrigin ), nullptr );
   EXPECT_EQ( list->classificationList( extCommClassificationOneBeyondLast ), nullptr );
   EXPECT_EQ( list->classificationList( ExtCommClassification( 200 ) ), nullptr );

   auto onlyRts = intern( { rt1 } );
   EXPECT_EQ( onlyRts->classificationLists().size(), 2u );
   EXPECT_EQ( onlyRts->classificationList( extCommClassificationVrfRouteImport ), nullptr );

   // A classification list interned on its own is the one lists share.
   auto byHand = extCommIp6ClassificationListFactory( extCommClassificationRouteTarget );
   for ( const auto& member : { rt1, rt2, rt1 } ) {
      byHand->commIs( member );
   }
   EXPECT_EQ( byHand->dedup( lists_.ptr() ), rts );
}

// Every member's octets (serialize( true )): OvBgpCommunityList_test, for
// every kind; here the transitive members alone.
TEST_F( ExtCommIp6ListTest, TransitiveOnlyAttributeLeavesTheOthersOut ) {
   auto trans = value( 0x00, 0x02, "2001:db8::1", 0x0102 );
   auto nonTrans = value( 0x40, 0x02, "2001:db8::2", 7 );
   EXPECT_EQ( hex( intern( { nonTrans, trans } )->serialize( false ) ),
              "c01914000220010db80000000000000000000000010102" );
   EXPECT_EQ( intern( { nonTrans } )->serialize( false ), "" );
}

TEST_F( ExtCommIp6ListTest, TextForms ) {
   auto plainValue =
         Kel::ptrCast<const ExtCommIp6>( values_->dedupTable()->dedup( extCommIp6Factory(
               extCommClassificationUnSpecified, content( 0, 2, "2001:db8::1", 100 ) ) ) );
   auto subtyped = value( 0x40, 0x02, "2001:db8::2", 7 );
   const std::string plainText =
         "<extCommIp6PktTypeTransIpv6Address addr=2001:db8::1 localAdmin=100>";
   auto list = intern( { subtyped, plainValue } );
   const std::string expected = "[ " + plainText + " " + subtyped->toStrep() + " ]";
   EXPECT_EQ( list->toStrep(), expected );
   std::ostringstream os;
   os << static_cast<const ExtCommIp6ClassificationList*>( nullptr );
   EXPECT_EQ( os.str(), "NULL" );
   EXPECT_EQ( list->classificationList( extCommClassificationUnSpecified )->toStrep(),
              "extCommClassificationUnSpecified : [ " + plainText + " ]" );

   // The policy text: address and local administrator, never a type label.
   EXPECT_EQ( list->commsStringForm(), "2001:db8::1:100 2001:db8::2:7 " );
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
   EXPECT_THROW( lists_->dumpState( Kel::Ptr<const Bex::DumpContext>(), 0 ),
                 Kel::NullArgumentException );
}

TEST_F( ExtCommIp6ListTest, AssertionsNameTheBrokenInvariant ) {
   GTEST_FLAG_SET( death_test_style, "threadsafe" );
   auto pattern = []( const std::string& text ) {
      return assertionPattern( text, "OvBgp/ExtCommIp6List" );
   };
   auto building = extCommIp6ListFactory();
   EXPECT_DEATH( building->commIs( nullptr ), pattern( "__null != comm" ) );
   EXPECT_DEATH( building->commIs( extCommIp6Factory( extCommClassificationUnSpecified,
                                                      content( 0, 2, "::1", 1 ) ) ),
                 pattern( "__null == ( comm ) || ( comm )->dedupState() != "
                          "Bex::dedupHandleStateNeverDeduped()" ) );
   building->commIs( value( 0, 2, "::1", 1 ) );
   EXPECT_DEATH( building->totalCommunities(), pattern( "commVectorSorted()" ) );
   EXPECT_DEATH( building->comm( content( 0, 2, "::1", 1 ) ), pattern( "commVectorSorted" ) );
   EXPECT_DEATH( building->classificationList( extCommClassificationRouteTarget ),
                 pattern( "__null == ( this ) || ( this )->dedupState() != "
                          "Bex::dedupHandleStateNeverDeduped()" ) );
   auto interned = building->dedup( lists_.ptr() );
   EXPECT_DEATH( const_cast<ExtCommIp6List*>( interned.ptr() )->dedup( lists_.ptr() ),
                 pattern( "__null == ( this ) || ( this )->dedupState() == "
                          "Bex::dedupHandleStateNeverDeduped()" ) );
   auto unsorted = extCommIp6ClassificationListFactory( extCommClassificationRouteTarget );
   EXPECT_DEATH( unsorted->hash(),
                 assertionPattern( "commVectorSorted()", "OvBgp/ExtCommIp6ClassificationList" ) );
}

// ---- store ------------------------------------------------------------------

class ExtCommIp6ListStore : public ExtCommIp6ListTest {};

TEST_F( ExtCommIp6ListStore, UnsortedImagesComeBackToBeInternedAndDamagedOnesAreRejected ) {
   auto store = KelStow::StoreManager::inMemory();
   auto high = value( 0x00, 0x02, "2001:db8::9", 1 );
   auto low = value( 0x00, 0x02, "2001:db8::1", 1 );

   // A list stowed before interning comes back as it was: unsorted, in
   // stored order, still to be interned.
   const U64 at = build( { high, low, high } )->stow( store.ptr() );
   auto rebuilt = ExtCommIp6List::destow( store->translate( at ), store.ptr() );
   EXPECT_EQ( rebuilt->dedupState(), Bex::dedupHandleStateNeverDeduped() );
   ASSERT_EQ( rebuilt->comms(), 3u );
   EXPECT_EQ( rebuilt->commVector()[ 0 ]->community(), high->community() );
   EXPECT_EQ( rebuilt->dedup( lists_.ptr() )->comms(), 2u );

   // The same image claiming to be sorted is refused.
   static_cast<U32*>( store->translate( at + 8, 4 ) )[ 0 ] = 1; // the sorted flag
   EXPECT_THAT( thrownText<KelStow::StoreException>(
                      [ & ] { ExtCommIp6List::destow( store->translate( at ), store.ptr() ); } ),
                ::testing::HasSubstr( "not in content order" ) );
}

} // namespace
} // namespace Routing::Bgp
