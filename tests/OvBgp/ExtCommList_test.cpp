// Extended community lists: interning through their classification lists,
// the wire selection, pruning, matching, text forms, snapshots and the
// route-target list collection (what every kind does alike, interning from
// several threads too, is in OvBgpCommunityList_test.cpp).
#include "OvBgp/ExtCommList.h"

#include <gtest/gtest.h>

#include "Acl/CommunityValue.h"
#include "Routing/RouteMap/PosixRegex.h"
#include "tests/OvBgp/ListKinds.h"

namespace Routing::Bgp {
namespace {

constexpr U64 kRt100 = 0x0002fde800000064;      // RT 65000:100
constexpr U64 kRt200 = 0x0002fde8000000c8;      // RT 65000:200
constexpr U64 kOrigin = 0x0003fde800000064;     // SoO 65000:100
constexpr U64 kQos = 0x0400000000000001;        // no rule: plain value
constexpr U64 kLbLow = 0x4004fde84cee6b28;      // link bandwidth 1.25e8
constexpr U64 kLbHigh = 0x4004fde84e6e6b28;     // link bandwidth 1e9
constexpr U64 kValidation = 0x4300000000000000; // origin validation: valid

using Testing::hex;
using Testing::open;

class ExtCommListTest : public ::testing::Test {
 protected:
   ExtComm::PtrConst value( U64 content ) const { return kind_.member( content ); }
   ExtCommList::PtrConst intern( std::initializer_list<U64> contents ) const {
      return open( kind_, contents )->dedup( lists_.ptr() );
   }

   Testing::Extended kind_;
   ExtCommListDedupTable::Ptr& lists_ = kind_.lists;
};

TEST_F( ExtCommListTest, ListsAreKnownByTheirPartsAndFoundByTheirMembers ) {
   auto a = intern( { kRt200, kQos, kRt100, kRt100 } );
   EXPECT_EQ( a->comm( kRt200 ), value( kRt200 ) );
   EXPECT_EQ( a->comm( kRt200 + 1 ), nullptr );
   // A known list is found by its members; parts that all exist in other
   // lists, or a part that extends an interned one, still make a new list.
   auto rts = intern( { kRt100 } );
   auto lb = intern( { kLbLow } );
   auto both = intern( { kLbLow, kRt100 } );
   EXPECT_NE( both, rts );
   EXPECT_NE( both, lb );
   EXPECT_EQ( both->classificationList( extCommClassificationRouteTarget ),
              rts->classificationList( extCommClassificationRouteTarget ) );
   EXPECT_EQ( both, intern( { kRt100, kLbLow, kRt100 } ) );
   auto longer = intern( { kRt100, kRt200 } );
   EXPECT_NE( longer, rts );
   EXPECT_EQ( longer->comms(), 2u );
   EXPECT_EQ( lists_->dedupTable()->size(), 5u );
}

TEST_F( ExtCommListTest, RouteTargetListsAreSharedAndAnnouncedOnce ) {
   struct Observer : NotifyingRtExtCommListCollection::Notifiee {
      int calls = 0;
      void handleRtExtCommList( const RtExtCommListLifeTimeNotifier::PtrConst& ) override {
         ++calls;
      }
   } observer;
   auto collection = lists_->notifyingRtExtCommListCollection();
   collection->notifieeList().add( &observer );

   auto pathA = intern( { kRt100, kRt200, kQos } );
   auto pathB = intern( { kRt100, kRt200, kOrigin } );
   EXPECT_NE( pathA, pathB );
   auto rtsA = pathA->classificationList( extCommClassificationRouteTarget );
   EXPECT_EQ( rtsA, pathB->classificationList( extCommClassificationRouteTarget ) );
   EXPECT_EQ( collection->rtExtCommList().size(), 1u );
   EXPECT_EQ( observer.calls, 1 );
   EXPECT_EQ( pathA->classificationList( extCommClassificationLinkBandwidth ), nullptr );

   rtsA = nullptr;
   pathA = nullptr;
   EXPECT_EQ( collection->rtExtCommList().size(), 1u ); // pathB still uses it
   pathB = nullptr;
   EXPECT_TRUE( collection->rtExtCommList().empty() );
   EXPECT_EQ( observer.calls, 2 );

   // A table going away empties its collection, however many lists live on.
   auto kept = intern( { kRt100 } );
   lists_ = nullptr;
   EXPECT_TRUE( collection->rtExtCommList().empty() );
   EXPECT_EQ( static_cast<const RtExtCommClassificationList*>(
                    kept->classificationList( extCommClassificationRouteTarget ).ptr() )
                    ->lifeTimeNotifier(),
              nullptr );
   collection->notifieeList().remove( &observer );
}

TEST_F( ExtCommListTest, WireFormSelectsMembersAndSizesTheHeader ) {
   auto empty = intern( {} );
   for ( unsigned s = 0; s < 16; ++s ) {
      EXPECT_EQ( empty->serialize( ExtCommList::Serialization( s ) ), "" );
   }
   auto list = intern( { kQos, kRt100, kLbLow } );
   auto all = ExtCommList::serialization( true, false, false );
   EXPECT_EQ( all, ExtCommList::Serialization( ExtCommList::Serialization::all ) );
   const std::string rt = "0002fde800000064", qos = "0400000000000001", lb = "4004fde84cee6b28";
   EXPECT_EQ( hex( list->serialize( all ) ), "c01018" + rt + qos + lb );
   EXPECT_EQ( hex( list->serialize( ExtCommList::serialization( false, false, false ) ) ),
              "c01010" + rt + qos );
   EXPECT_EQ( list->serializableCommunities( ExtCommList::serialization( false, true, false ) ),
              3u );
   EXPECT_EQ( intern( { 0x4102c0a80001002a } )->serialize( ExtCommList::Serialization::transitive ),
              "" );
}

TEST_F( ExtCommListTest, PruneKeepsTheChosenLinkBandwidthOnly ) {
   auto one = intern( { kRt100, kLbHigh } );
   EXPECT_TRUE( one->hasLinkBandwidth() );
   EXPECT_FALSE( one->hasPrunableValues() );
   EXPECT_EQ( one->prune( lists_.ptr() ), one );

   auto two = intern( { kRt100, kLbHigh, kLbLow } );
   EXPECT_TRUE( two->hasPrunableValues() );
   auto pruned = two->prune( lists_.ptr() );
   ASSERT_TRUE( pruned );
   EXPECT_EQ( pruned->totalCommunities(), 2u );
   // isBetterThan() answers whether its argument beats the value asked, so
   // the first valid member seen is replaced only by one it beats.
   EXPECT_NE( pruned->comm( kLbLow ), nullptr );
   EXPECT_EQ( pruned->comm( kLbHigh ), nullptr );

   auto validation = intern( { kValidation, kLbLow } );
   EXPECT_TRUE( validation->hasOriginValidationState() );
   EXPECT_EQ( hex( validation->serialize( ExtCommList::serialization( false, true, true ) ) ),
              "c010104004fde84cee6b284300000000000000" );
}

TEST_F( ExtCommListTest, MatchesPlainAndClassificationForms ) {
   auto list = intern( { kRt100, kQos } );
   auto matches = [ & ]( const char* pattern ) {
      Routing::RouteMap::PosixRegex regex( pattern );
      return list->matchCommunitiesRegex( &regex );
   };
   EXPECT_TRUE( matches( "65000:100" ) );
   EXPECT_FALSE( matches( "65000:200" ) );
   // Members without a form of their own still take their place in the
   // joined text, so the route target is followed by a space here.
   EXPECT_TRUE( matches( "^RT:65000:100 $" ) );
   EXPECT_FALSE( matches( "Route-Target" ) );
   EXPECT_FALSE( list->hasPolicyMatchStrepUICommunities() );
   EXPECT_EQ( ExtCommList::getStringValue( Acl::CommunityValue( 1, 2, 3 ) ), "2:3" );
}

TEST_F( ExtCommListTest, SnapshotsCopyPartsAndMembersAndFlagSetsHaveRangesAndText ) {
   auto list = intern( { kRt100, kRt200, kQos } );
   auto snapshot = list->commSnapshot();
   EXPECT_EQ( snapshot->classificationList().size(), list->classificationLists().size() );
   EXPECT_EQ( snapshot->commDel( 1 ), nullptr );
   EXPECT_EQ( snapshot->commDel( kQos ), value( kQos ) );
   EXPECT_EQ( list->totalCommunities(), 3u );
   EXPECT_THROW( snapshot->commIs( nullptr ), Kel::NullArgumentException );
   EXPECT_THROW( snapshot->classificationListIs( nullptr ), Kel::NullArgumentException );
   // An equal content from another table replaces the entry.
   Testing::Extended other;
   snapshot->commIs( other.member( kRt100 ) );
   EXPECT_EQ( snapshot->commDel( kRt100 ), other.member( kRt100 ) );

   // The flag sets: ranges and reflective text.
   EXPECT_THROW( ExtCommList::CommVectorAttrs( 64u ), Kel::RangeException );
   EXPECT_THROW( ExtCommList::Serialization( 16u ), Kel::RangeException );
   EXPECT_EQ( valueToStrep( ExtCommList::Serialization( 6u ) ),
              "Value('Routing::Bgp::ExtCommList::Serialization', ** {'all': "
              "False, 'transitive': "
              "True, 'linkBandwidth': True, 'originAsValidity': False})" );
   for ( unsigned octet = 0; octet < 64; ++octet ) {
      Kel::String text = valueToStrep( ExtCommList::CommVectorAttrs( octet ) );
      EXPECT_EQ( ExtCommList::CommVectorAttrs( text.data(), text.data() + text.size() ).value(),
                 octet );
   }
}

TEST( ExtCommClassificationLists, KeepOneListPerKindInOrder ) {
   ExtCommClassificationLists lists;
   EXPECT_TRUE( lists == ExtCommClassificationLists() );
   for ( auto c : { extCommClassificationOriginValidationState, extCommClassificationRouteTarget,
                    extCommClassificationLinkBandwidth } ) {
      lists.insert( extCommClassificationListFactory( c ) );
   }
   std::vector<int> order;
   for ( const auto& l : lists ) {
      order.push_back( l->classification() );
   }
   EXPECT_EQ( order, ( std::vector<int>{ 1, 7, 9 } ) );
   EXPECT_EQ( lists.lookup( extCommClassificationColor ), nullptr );
   EXPECT_DEATH(
         lists.insert( extCommClassificationListFactory( extCommClassificationLinkBandwidth ) ),
         "existingElementClassification != classification "
         "\\(OvBgp/OvBgpCommunityList\\)" );
}

} // namespace
} // namespace Routing::Bgp
