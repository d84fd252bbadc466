#include "OvBgp/Parse/ExtCommPluginBase.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <vector>

#include "Kel/Exception.h"
#include "Kel/Trace.h"
#include "tests/OvBgp/Parse/ExtCommTestRules.h"

namespace Routing::Bgp {
namespace {

using Testing::liveTestPlugins;
using Testing::liveTestSubRules;
using Testing::TestPlugin;
using Testing::testSubRule;

// occupied(): the subtypes entered in a type rule's table.
template<class Rule>
std::vector<unsigned> occupied( const Rule& rule ) {
   std::vector<unsigned> subtypes;
   for ( unsigned s = 0; s < 256; ++s ) {
      if ( rule.subTypeRule( typename Rule::Subtype( s ) ) ) {
         subtypes.push_back( s );
      }
   }
   return subtypes;
}

// Tables: the occupied subtypes of every type rule, and what a few contents
// decode to.
struct Tables {
   std::map<std::string, std::vector<unsigned>> subtypes;
   std::vector<ExtCommClassification> decoded;
   bool operator==( const Tables& ) const = default;
};

template<class Rule>
void addTable( Tables& t, const char* name, const BgpParseExtendedCommunityRule& top,
               BgpExtCommPktType type ) {
   t.subtypes[ name ] = occupied( dynamic_cast<const Rule&>( *top.typeRule( type ) ) );
}

Tables tablesOf( const BgpParseExtendedCommunityRule& top ) {
   Tables t;
   addTable<BgpParseExtCommTransTwoOctetAsRule>( t, "0x00", top, extCommPktTypeTransTwoOctetAs );
   addTable<BgpParseExtCommTransIpv4AddressRule>( t, "0x01", top, extCommPktTypeTransIpv4Address );
   addTable<BgpParseExtCommTransFourOctetAsRule>( t, "0x02", top, extCommPktTypeTransFourOctetAs );
   addTable<BgpParseExtCommTransOpaqueRule>( t, "0x03", top, extCommPktTypeTransOpaque );
   addTable<BgpParseExtCommTransGenericRule>( t, "0x80", top, extCommPktTypeTransGeneric );
   addTable<BgpParseExtCommNonTransTwoOctetAsRule>( t, "0x40", top,
                                                    extCommPktTypeNonTransTwoOctetAs );
   addTable<BgpParseExtCommNonTransOpaqueRule>( t, "0x43", top, extCommPktTypeNonTransOpaque );
   t.subtypes[ "ip6 0x00" ] = occupied( dynamic_cast<const BgpParseExtCommIp6TransRule&>(
         *top.ip6TypeRule( extCommIp6PktTypeTransIpv6Address ) ) );
   t.subtypes[ "ip6 0x40" ] = occupied( dynamic_cast<const BgpParseExtCommIp6NonTransRule&>(
         *top.ip6TypeRule( extCommIp6PktTypeNonTransIpv6Address ) ) );
   for ( U64 content : { 0x0002FDE800000064ull, 0x030C000000000008ull, 0x0102C0A80001002Aull } ) {
      t.decoded.push_back(
            top.parseExtendedCommunity( ExtCommContent( content ) )->classification() );
   }
   for ( U8 type : { 0x00, 0x40 } ) {
      ExtCommIp6Content c( type, 0x02, Onet::Ip6Addr::parse( "2001:db8::1" ), 7 );
      t.decoded.push_back( top.parseExtendedCommunityIp6( c )->classification() );
   }
   return t;
}

// ---------------------------------------------------------------------------

TEST( BgpParseExtCommPluginBase, PluginBeforeOrAfterTheParserEndsWithTheSameTables ) {
   const auto color = extCommClassificationColor;
   Tables before, after;
   {
      auto collections = bgpParseExtCommRuleCollectionsFactory();
      auto plugin = Kel::makePtr<TestPlugin>( collections, color );
      EXPECT_EQ( plugin->twoOctetAsOffers, 0 ); // nothing entered yet
      auto rule = bgpParseExtendedCommunityRuleFactory( BgpParseExtCommControl( collections ) );
      before = tablesOf( *rule );
      EXPECT_EQ( plugin->twoOctetAsOffers, 1 );
      EXPECT_EQ( plugin->opaqueOffers, 1 );
      EXPECT_EQ( plugin->ip6TransOffers, 1 );
      EXPECT_EQ( plugin->ip6NonTransOffers, 0 );
   }
   {
      auto collections = bgpParseExtCommRuleCollectionsFactory();
      auto rule = bgpParseExtendedCommunityRuleFactory( BgpParseExtCommControl( collections ) );
      auto plugin = Kel::makePtr<TestPlugin>( collections, color );
      after = tablesOf( *rule );
      EXPECT_EQ( plugin->twoOctetAsOffers, 1 );
      EXPECT_EQ( plugin->opaqueOffers, 1 );
      EXPECT_EQ( plugin->ip6TransOffers, 1 );
      EXPECT_EQ( plugin->ip6NonTransOffers, 0 );
   }
   EXPECT_EQ( before, after );
   EXPECT_EQ( before.subtypes[ "0x00" ], std::vector<unsigned>{ 0x02 } );
   EXPECT_EQ( before.subtypes[ "0x03" ], std::vector<unsigned>{ 0x0C } );
   EXPECT_EQ( before.subtypes[ "ip6 0x00" ], std::vector<unsigned>{ 0x02 } );
   EXPECT_TRUE( before.subtypes[ "ip6 0x40" ].empty() );
   EXPECT_EQ( before.decoded,
              ( std::vector<ExtCommClassification>{ color, color, extCommClassificationUnSpecified,
                                                    color, extCommClassificationUnSpecified } ) );
   EXPECT_EQ( liveTestPlugins(), 0 );
   EXPECT_EQ( liveTestSubRules(), 0 );
}

TEST( BgpParseExtCommPluginBase, TwoPluginsClaimingOneSubtypeTheLaterWins ) {
   for ( bool pluginsFirst : { true, false } ) {
      SCOPED_TRACE( pluginsFirst ? "plug-ins first" : "parser first" );
      auto collections = bgpParseExtCommRuleCollectionsFactory();
      BgpParseExtendedCommunityRule::Ptr rule;
      if ( !pluginsFirst ) {
         rule = bgpParseExtendedCommunityRuleFactory( BgpParseExtCommControl( collections ) );
      }
      auto earlier = Kel::makePtr<TestPlugin>( collections, extCommClassificationRouteTarget );
      auto later = Kel::makePtr<TestPlugin>( collections, extCommClassificationRouteOrigin );
      if ( pluginsFirst ) {
         rule = bgpParseExtendedCommunityRuleFactory( BgpParseExtCommControl( collections ) );
      }
      EXPECT_EQ(
            rule->parseExtendedCommunity( ExtCommContent( 0x0002FDE800000064 ) )->classification(),
            extCommClassificationRouteOrigin );
      EXPECT_EQ( tablesOf( *rule ).subtypes[ "0x00" ], std::vector<unsigned>{ 0x02 } );
   }
   EXPECT_EQ( liveTestSubRules(), 0 );
}

TEST( BgpParseExtCommPluginBase, RemovalsAndDeletedPluginsInstantiateNothing ) {
   auto collections = bgpParseExtCommRuleCollectionsFactory();
   auto plugin = Kel::makePtr<TestPlugin>( collections, extCommClassificationColor );
   EXPECT_EQ( collections->notifieeList().size(), 1u );
   auto rule = bgpParseExtendedCommunityRuleFactory( BgpParseExtCommControl( collections ) );
   rule = nullptr; // every key leaves: heard, but nothing to build
   EXPECT_EQ( plugin->twoOctetAsOffers, 1 );
   EXPECT_EQ( plugin->opaqueOffers, 1 );

   // A plug-in replayed by hand is offered only what is entered.
   plugin->handleStartup();
   EXPECT_EQ( plugin->twoOctetAsOffers, 1 );

   plugin = nullptr;
   EXPECT_EQ( collections->notifieeList().size(), 0u );
   rule = bgpParseExtendedCommunityRuleFactory( BgpParseExtCommControl( collections ) );
   EXPECT_TRUE( tablesOf( *rule ).subtypes[ "0x00" ].empty() );
   EXPECT_EQ( liveTestSubRules(), 0 );
   EXPECT_EQ( liveTestPlugins(), 0 );
}

TEST( BgpParseExtCommPluginBase, PluginNeedsARegistry ) {
   EXPECT_THROW( Kel::makePtr<BgpParseExtCommPluginBaseSm>( nullptr ), Kel::NullArgumentException );
}

// TypeRulePlugin: adds a type rule of its own for type 0x06 when it hears of
// the top-level rule.
class EvpnTypeRule final : public BgpParseExtendedCommunityTypeRuleBase {
 public:
   explicit EvpnTypeRule( const BgpParseExtCommControl& control )
         : BgpParseExtendedCommunityTypeRuleBase( control, extCommPktTypeTransEvpn ) {}
   Kel::Ptr<const ExtComm> inhale( const ExtCommContent& content ) const override {
      return ExtCommSubtyped::ExtCommSubtypedIs( extCommClassificationEvpn, content );
   }
};

class TypeRulePlugin final : public BgpParseExtCommPluginBaseSm {
 public:
   explicit TypeRulePlugin( const Kel::Ptr<const BgpParseExtCommRuleCollections>& c )
         : BgpParseExtCommPluginBaseSm( c ) {
      handleStartup();
   }
   void instantiateExtendedCommunityTypeSubRule(
         const BgpParseExtendedCommunityRuleKey& key,
         const BgpParseExtCommControl& control ) const override {
      addExtendedCommunityTypeSubRule( key, bgpParseExtCommRuleFactory<EvpnTypeRule>( control ) );
   }
};

TEST( BgpParseExtCommPluginBase, PluginCanAddATypeRuleToTheTopLevelRule ) {
   auto collections = bgpParseExtCommRuleCollectionsFactory();
   auto plugin = Kel::makePtr<TypeRulePlugin>( collections );
   auto rule = bgpParseExtendedCommunityRuleFactory( BgpParseExtCommControl( collections ) );
   EXPECT_EQ(
         rule->parseExtendedCommunity( ExtCommContent( 0x0600000000000001 ) )->classification(),
         extCommClassificationEvpn );
   EXPECT_EQ( rule->typeRuleCount(), 12u );
}

TEST( BgpParseExtCommPluginBaseDeathTest, NullRulesAreBrokenInvariants ) {
   auto collections = bgpParseExtCommRuleCollectionsFactory();
   auto rule = bgpParseExtendedCommunityRuleFactory( BgpParseExtCommControl( collections ) );
   auto plugin = Kel::makePtr<BgpParseExtCommPluginBaseSm>( collections );
   const auto twoOctetKey =
         collections->ruleInstanceKeys<BgpParseExtCommSubTypeTransTwoOctetAsRuleKey>().front();
   const auto ip6Key =
         collections->ruleInstanceKeys<BgpParseExtCommIp6SubTypeTransRuleKey>().front();
   EXPECT_DEATH( plugin->addExtCommSubTypeTransTwoOctetAsSubRule( twoOctetKey, nullptr ),
                 "assertion failed: rule != __null \\(OvBgp/Parse/ExtComm\\)" );
   EXPECT_DEATH( plugin->addExtCommIp6SubTypeTransSubRule( ip6Key, nullptr ),
                 "assertion failed: rule != __null \\(OvBgp/Parse/ExtComm\\)" );
   EXPECT_DEATH( plugin->addExtendedCommunityTypeSubRule( rule->key(), nullptr ),
                 "assertion failed: __null != rule \\(OvBgp/Parse/ExtComm\\)" );
}

TEST( BgpParseExtCommPluginBase, InstantiationIsTracedAtLevelEight ) {
   const char* previous = std::getenv( "OVTRACE" );
   const Kel::String saved = previous ? previous : "";
   setenv( "OVTRACE", "BgpCommunityList/8", 1 );
   Kel::TraceCategory::reloadForTesting();
   testing::internal::CaptureStderr();
   {
      auto collections = bgpParseExtCommRuleCollectionsFactory();
      auto rule = bgpParseExtendedCommunityRuleFactory( BgpParseExtCommControl( collections ) );
      auto plugin = Kel::makePtr<TestPlugin>( collections, extCommClassificationColor );
   }
   const std::string err = testing::internal::GetCapturedStderr();
   if ( previous ) {
      setenv( "OVTRACE", saved.c_str(), 1 );
   } else {
      unsetenv( "OVTRACE" );
   }
   Kel::TraceCategory::reloadForTesting();
   EXPECT_NE( err.find( "BgpCommunityList/8 instantiateExtCommSubTypeTransTwoOctetAsSubRule "
                        "TestPlugin\n" ),
              std::string::npos )
         << err;
}

} // namespace
} // namespace Routing::Bgp
