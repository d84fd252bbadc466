// The library's plug-ins in the parser container: every claimed type and
// subtype interns to its typed class, everything else to its fallback; route
// targets reach the table's set; the "Mvpn" toggle decides VRF route import;
// late plug-ins catch up and the later of two claims wins.
#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <typeindex>
#include <typeinfo>

#include "OvBgp/NotifyingRouteTargetList.h"
#include "OvBgp/OvBgpCommunity.h"
#include "OvBgp/Parse/ExtComm.h"
#include "OvBgp/Parse/ExtCommColor.h"
#include "OvBgp/Parse/ExtCommDefaultGateway.h"
#include "OvBgp/Parse/ExtCommLinkBandwidth.h"
#include "OvBgp/Parse/ExtCommOriginValidationState.h"
#include "OvBgp/Parse/ExtCommRouteOrigin.h"
#include "OvBgp/Parse/ExtCommRouteTarget.h"
#include "OvBgp/Parse/ExtCommTunnelEncap.h"
#include "OvBgp/Parse/ExtCommVrfRouteImport.h"
#include "tests/OvBgp/Parse/ExtCommTestRules.h"

namespace Routing::Bgp {
namespace {

struct Typed {
   std::type_index type;
   ExtCommClassification classification;
};

// The plug-ins' table: (type octet, subtype octet) -> class built.
std::map<std::pair<U8, U8>, Typed> typedPairs( bool mvpnOn ) {
   std::map<std::pair<U8, U8>, Typed> pairs = {
      { { 0x00, 0x02 }, { typeid( ExtCommRouteTargetAs ), extCommClassificationRouteTarget } },
      { { 0x01, 0x02 },
        { typeid( ExtCommRouteTargetIpv4Address ), extCommClassificationRouteTarget } },
      { { 0x02, 0x02 }, { typeid( ExtCommRouteTargetAs ), extCommClassificationRouteTarget } },
      { { 0x00, 0x03 }, { typeid( ExtCommRouteOriginAs ), extCommClassificationRouteOrigin } },
      { { 0x01, 0x03 },
        { typeid( ExtCommRouteOriginIpv4Address ), extCommClassificationRouteOrigin } },
      { { 0x02, 0x03 }, { typeid( ExtCommRouteOriginAs ), extCommClassificationRouteOrigin } },
      { { 0x03, 0x0c }, { typeid( ExtCommTunnelEncap ), extCommClassificationTunnelEncap } },
      { { 0x03, 0x0d }, { typeid( ExtCommDefaultGateway ), extCommClassificationDefaultGateway } },
      { { 0x40, 0x04 }, { typeid( ExtCommLinkBandwidth ), extCommClassificationLinkBandwidth } },
      { { 0x03, 0x0b }, { typeid( ExtCommColor ), extCommClassificationColor } },
      { { 0x43, 0x00 },
        { typeid( ExtCommOriginValidationState ), extCommClassificationOriginValidationState } },
   };
   if ( mvpnOn ) {
      pairs.insert( { { 0x01, 0x0b },
                      { typeid( ExtCommVrfRouteImportIpv4Address ),
                        extCommClassificationVrfRouteImport } } );
   }
   return pairs;
}

// fallbackType(): what the type rules build for a content no plug-in claims.
std::type_index fallbackType( U8 type ) {
   switch ( type ) {
      case 0x00:
      case 0x02:
      case 0x40:
      case 0x42:
         return typeid( ExtCommAsNumber );
      case 0x01:
      case 0x41:
         return typeid( ExtCommIpv4Address );
      case 0x03:
      case 0x43:
      case 0x80:
      case 0x81:
      case 0x82:
         return typeid( ExtCommSubtyped );
      default:
         return typeid( ExtComm );
   }
}

// typeOf(): the dynamic class of what p points to.
template<class T>
std::type_index typeOf( const Kel::Ptr<T>& p ) {
   const T* raw = p.ptr();
   return typeid( *raw );
}

class ExtCommPluginsTest : public ::testing::Test {
 protected:
   ExtComm::PtrConst intern( U64 content ) const {
      return ExtComm::dedupContent( table_.ptr(), ExtCommContent( content ) );
   }
   ExtComm::PtrConst parse( const BgpParseExtCommContainerSm::Ptr& container, U64 content ) const {
      return container->extCommParser()->parseExtendedCommunity( ExtCommContent( content ) );
   }

   BgpParseExtCommContainerSm::Ptr container_ = bgpParseExtCommContainerSmFactory();
   ExtCommDedupTable::Ptr table_ = extCommDedupTableFactory( container_->extCommParser() );
};

// All 65536 type/subtype pairs, each with value octets that exercise the
// layouts; the typed ones carry their classification into the table.
TEST_F( ExtCommPluginsTest, EveryPairInternsToItsClassOrFallback ) {
   const bool mvpnOn = BgpParseExtCommContainerSm::mvpnToggleOn();
   const auto pairs = typedPairs( mvpnOn );
   size_t typedSeen = 0;
   for ( unsigned type = 0; type < 256; ++type ) {
      for ( unsigned subtype = 0; subtype < 256; ++subtype ) {
         const U64 content = U64( type ) << 56 | U64( subtype ) << 48 | 0xfde8004c0000ull;
         ExtComm::PtrConst value = intern( content );
         ASSERT_TRUE( value );
         ASSERT_TRUE( value->isDeduped() );
         ASSERT_EQ( value->community(), content );
         auto it = pairs.find( { U8( type ), U8( subtype ) } );
         if ( it != pairs.end() ) {
            ++typedSeen;
            EXPECT_EQ( typeOf( value ), it->second.type ) << value->toStrep();
            EXPECT_EQ( value->classification(), it->second.classification ) << value->toStrep();
         } else {
            ASSERT_EQ( typeOf( value ), fallbackType( U8( type ) ) ) << std::hex << content;
            ASSERT_EQ( value->classification(), extCommClassificationUnSpecified )
                  << std::hex << content;
         }
      }
   }
   EXPECT_EQ( typedSeen, mvpnOn ? 12u : 11u );
   EXPECT_EQ( table_->dedupTable()->size(), 0u );
}

// The AS sub-rules choose the layout by their type: 2-octet under 0x00,
// 4-octet under 0x02.
TEST_F( ExtCommPluginsTest, AsSubRulesFollowTheTypeOctet ) {
   EXPECT_FALSE(
         dynamic_cast<const ExtCommAsNumber&>( *intern( 0x0002fde800000064 ) ).fourByteAs() );
   EXPECT_TRUE(
         dynamic_cast<const ExtCommAsNumber&>( *intern( 0x0202fde800640005 ) ).fourByteAs() );
   EXPECT_FALSE(
         dynamic_cast<const ExtCommAsNumber&>( *intern( 0x0003fde800000064 ) ).fourByteAs() );
   EXPECT_TRUE(
         dynamic_cast<const ExtCommAsNumber&>( *intern( 0x0203fde800640005 ) ).fourByteAs() );
   EXPECT_FALSE(
         dynamic_cast<const ExtCommAsNumber&>( *intern( 0x4004fde84cee6b28 ) ).fourByteAs() );
   EXPECT_EQ( intern( 0x0202fde800640005 )->toStrepForUI( true, false, false ),
              "Route-Target-AS4:65000.100:5" );
}

TEST_F( ExtCommPluginsTest, InternedRouteTargetsOfAllLayoutsReachTheProducerList ) {
   const U64 rts[] = { 0x0002fde800000064, 0x0102c0a80001002a, 0x0202fde800640005 };
   std::vector<ExtComm::PtrConst> held;
   for ( U64 rt : rts ) {
      held.push_back( intern( rt ) );
   }
   // Route origins, VRF route imports and unclaimed subtypes are no route
   // targets.
   held.push_back( intern( 0x0003fde800000064 ) );
   held.push_back( intern( 0x010b0a0101010003 ) );
   held.push_back( intern( 0x0009fde800000064 ) );
   const auto& producer = table_->producerRtList();
   EXPECT_EQ( producer->rtCount(), 3u );
   for ( U64 rt : rts ) {
      EXPECT_TRUE( producer->rt( RouteTarget( rt ) ) ) << std::hex << rt;
   }
   held.clear();
   EXPECT_EQ( producer->rtCount(), 0u );
}

TEST_F( ExtCommPluginsTest, ContainerQueuesThePluginsInTheirOrder ) {
   std::vector<std::type_index> expected = {
      typeid( BgpParseExtCommRouteOriginSm ),           typeid( BgpParseExtCommRouteTargetSm ),
      typeid( BgpParseExtCommTunnelEncapSm ),           typeid( BgpParseExtCommDefaultGatewaySm ),
      typeid( BgpParseExtCommLinkBandwidthSm ),         typeid( BgpParseExtCommColorSm ),
      typeid( BgpParseExtCommOriginValidationStateSm ),
   };
   if ( BgpParseExtCommContainerSm::mvpnToggleOn() ) {
      expected.push_back( typeid( BgpParseExtCommVrfRouteImportSm ) );
   }
   std::vector<std::type_index> queued;
   for ( U32 index : container_->extCommParserSmsIndices() ) {
      auto sm = container_->extCommParserSms( index );
      EXPECT_TRUE( sm->hasNotificationActive() );
      queued.push_back( typeOf( sm ) );
   }
   EXPECT_EQ( queued, expected );
}

// Without a toggle directory (the normal run) Mvpn is on by default.
TEST_F( ExtCommPluginsTest, MvpnOnByDefaultGivesVrfRouteImport ) {
   if ( std::getenv( "OV_TOGGLE_DIR" ) ) {
      GTEST_SKIP() << "a toggle directory is set in this process";
   }
   ASSERT_TRUE( BgpParseExtCommContainerSm::mvpnToggleOn() );
   auto value = intern( 0x010b0a0101010003 );
   EXPECT_EQ( typeOf( value ), typeid( ExtCommVrfRouteImportIpv4Address ) );
   EXPECT_EQ( value->classification(), extCommClassificationVrfRouteImport );
   EXPECT_EQ( value->toStrepForPolicy( ExtComm::strepFormatClassification ), "VRI:10.1.1.1:3" );
}

// Plug-ins and rules may come in either order: a plug-in built after the
// parser catches up with the rules already registered.
TEST_F( ExtCommPluginsTest, PluginCreatedAfterTheParserStillFillsTheTables ) {
   auto bare = bgpParseExtCommContainerSmFactory(
         []( const Kel::Ptr<const BgpParseExtCommRuleCollections>&, bool ) {
            return BgpParseExtCommPluginList();
         } );
   EXPECT_EQ( typeOf( parse( bare, 0x030b400000000064 ) ), typeid( ExtCommSubtyped ) );
   EXPECT_EQ( typeOf( parse( bare, 0x0002fde800000064 ) ), typeid( ExtCommAsNumber ) );

   auto color = bgpParseExtCommColorSmFactory( bare->parseExtCommRuleCollections() );
   auto rt = bgpParseExtCommRouteTargetSmFactory( bare->parseExtCommRuleCollections() );
   EXPECT_EQ( typeOf( parse( bare, 0x030b400000000064 ) ), typeid( ExtCommColor ) );
   EXPECT_EQ( typeOf( parse( bare, 0x0002fde800000064 ) ), typeid( ExtCommRouteTargetAs ) );
   EXPECT_EQ( typeOf( parse( bare, 0x0202fde800000064 ) ), typeid( ExtCommRouteTargetAs ) );
   EXPECT_EQ( typeOf( parse( bare, 0x0102c0a80001002a ) ),
              typeid( ExtCommRouteTargetIpv4Address ) );
   // A new parser on the same registry reaches the plug-ins by notification.
   bare->extCommParserIs( BgpParseExtCommControl( bare->parseExtCommRuleCollections() ) );
   EXPECT_EQ( typeOf( parse( bare, 0x030b400000000064 ) ), typeid( ExtCommColor ) );
}

// The encapsulation subtype claimed twice: whichever plug-in registers
// last decides, in either order.
TEST_F( ExtCommPluginsTest, LaterOfTwoClaimsOnOneSubtypeWins ) {
   using Testing::TestPlugin;
   auto testFirst = bgpParseExtCommContainerSmFactory(
         []( const Kel::Ptr<const BgpParseExtCommRuleCollections>& collections, bool ) {
            return BgpParseExtCommPluginList{ Kel::makePtr<TestPlugin>(
                                                    collections, extCommClassificationFlowspec ),
                                              bgpParseExtCommTunnelEncapSmFactory( collections ) };
         } );
   EXPECT_EQ( typeOf( parse( testFirst, 0x030c000000000008 ) ), typeid( ExtCommTunnelEncap ) );

   auto encapFirst = bgpParseExtCommContainerSmFactory(
         []( const Kel::Ptr<const BgpParseExtCommRuleCollections>& collections, bool ) {
            return BgpParseExtCommPluginList{ bgpParseExtCommTunnelEncapSmFactory( collections ),
                                              Kel::makePtr<TestPlugin>(
                                                    collections, extCommClassificationFlowspec ) };
         } );
   auto value = parse( encapFirst, 0x030c000000000008 );
   EXPECT_EQ( typeOf( value ), typeid( ExtCommSubtyped ) );
   EXPECT_EQ( value->classification(), extCommClassificationFlowspec );

   // A plug-in added to the running library container replaces its claim too.
   auto late = Kel::makePtr<TestPlugin>( container_->parseExtCommRuleCollections(),
                                         extCommClassificationFlowspec );
   EXPECT_EQ( parse( container_, 0x030c000000000008 )->classification(),
              extCommClassificationFlowspec );
}

// Runs in a process of its own with OV_TOGGLE_DIR naming a file that turns
// "Mvpn" off (see the test registration).
TEST( MvpnToggleOffExtCommPlugins, VrfRouteImportContentIsAPlainIpv4Address ) {
   if ( !std::getenv( "OV_TOGGLE_DIR" ) ) {
      GTEST_SKIP() << "needs OV_TOGGLE_DIR with the Mvpn toggle off";
   }
   ASSERT_FALSE( BgpParseExtCommContainerSm::mvpnToggleOn() );
   auto container = bgpParseExtCommContainerSmFactory();
   EXPECT_EQ( container->extCommParserSmsCount(), 7u );
   auto table = extCommDedupTableFactory( container->extCommParser() );
   auto value = ExtComm::dedupContent( table.ptr(), ExtCommContent( 0x010b0a0101010003 ) );
   EXPECT_EQ( typeOf( value ), typeid( ExtCommIpv4Address ) );
   EXPECT_EQ( value->classification(), extCommClassificationUnSpecified );
   // The other plug-ins are unaffected.
   EXPECT_EQ( typeOf( ExtComm::dedupContent( table.ptr(), ExtCommContent( 0x0102c0a80001002a ) ) ),
              typeid( ExtCommRouteTargetIpv4Address ) );
}

} // namespace
} // namespace Routing::Bgp
