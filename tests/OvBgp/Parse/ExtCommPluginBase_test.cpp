#include "OvBgp/Parse/ExtCommPluginBase.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "Kel/Exception.h"
#include "Kel/Trace.h"
#include "OvBgp/Parse/ExtCommColor.h"
#include "tests/OvBgp/Parse/ExtCommTestRules.h"

namespace Routing::Bgp {
namespace {

using Testing::liveTestPlugins;
using Testing::liveTestSubRules;
using Testing::TestPlugin;

// occupied(): the subtypes entered in a type rule's table, as "[ 2 12 ]".
template<class Rule, class Base>
std::string occupied( const Base& base ) {
   const auto& rule = dynamic_cast<const Rule&>( *base );
   std::string s = "[";
   for ( unsigned subtype = 0; subtype < 256; ++subtype ) {
      if ( rule.subTypeRule( typename Rule::Subtype( subtype ) ) ) {
         s += " " + std::to_string( subtype );
      }
   }
   return s + " ]";
}

std::string code( ExtCommClassification c ) { return " " + std::to_string( int( c ) ); }

// tablesOf(): the subtypes entered under the types the test plug-in claims (0x00, 0x03,
// IPv6 0x00 and 0x40), then the classifications of a content of each and of an unclaimed one.
std::string tablesOf( const BgpParseExtendedCommunityRule& top ) {
   std::string t =
         occupied<BgpParseExtCommTransTwoOctetAsRule>(
               top.typeRule( extCommPktTypeTransTwoOctetAs ) ) +
         occupied<BgpParseExtCommTransOpaqueRule>( top.typeRule( extCommPktTypeTransOpaque ) ) +
         occupied<BgpParseExtCommIp6TransRule>(
               top.ip6TypeRule( extCommIp6PktTypeTransIpv6Address ) ) +
         occupied<BgpParseExtCommIp6NonTransRule>(
               top.ip6TypeRule( extCommIp6PktTypeNonTransIpv6Address ) );
   for ( U64 content : { 0x0002FDE800000064ull, 0x030C000000000008ull, 0x0102C0A80001002Aull } ) {
      t += code( top.parseExtendedCommunity( ExtCommContent( content ) )->classification() );
   }
   for ( U8 type : { 0x00, 0x40 } ) {
      ExtCommIp6Content c( type, 0x02, Onet::Ip6Addr::parse( "2001:db8::1" ), 7 );
      t += code( top.parseExtendedCommunityIp6( c )->classification() );
   }
   return t;
}

// ---------------------------------------------------------------------------

// Each plug-in is offered each entered type rule once, whichever came first; of two claims
// on one subtype the later plug-in's wins.
TEST( BgpParseExtCommPluginBase, PluginsBeforeOrAfterTheParserEndWithTheSameTables ) {
   for ( bool pluginsFirst : { true, false } ) {
      SCOPED_TRACE( pluginsFirst ? "plug-ins first" : "parser first" );
      auto collections = bgpParseExtCommRuleCollectionsFactory();
      BgpParseExtendedCommunityRule::Ptr rule;
      if ( !pluginsFirst ) {
         rule = bgpParseExtendedCommunityRuleFactory( BgpParseExtCommControl( collections ) );
      }
      auto earlier = Kel::makePtr<TestPlugin>( collections, extCommClassificationRouteTarget );
      auto later = Kel::makePtr<TestPlugin>( collections, extCommClassificationColor );
      if ( pluginsFirst ) {
         EXPECT_EQ( earlier->twoOctetAsOffers, 0 ); // nothing entered yet
         rule = bgpParseExtendedCommunityRuleFactory( BgpParseExtCommControl( collections ) );
      }
      // The later (colour) plug-in's sub-rules; IPv6 0x40 is never offered.
      const std::string color = code( extCommClassificationColor ),
                        none = code( extCommClassificationUnSpecified );
      EXPECT_EQ( tablesOf( *rule ), "[ 2 ][ 12 ][ 2 ][ ]" + color + color + none + color + none );
      for ( const auto& plugin : { earlier, later } ) {
         EXPECT_EQ( ( std::vector<int>{ plugin->twoOctetAsOffers, plugin->opaqueOffers,
                                        plugin->ip6TransOffers, plugin->ip6NonTransOffers } ),
                    ( std::vector<int>{ 1, 1, 1, 0 } ) );
      }
   }
   EXPECT_EQ( liveTestPlugins, 0 );
   EXPECT_EQ( liveTestSubRules, 0 );
}

TEST( BgpParseExtCommPluginBase, RemovalsAndDeletedPluginsInstantiateNothing ) {
   EXPECT_THROW( Kel::makePtr<BgpParseExtCommPluginBaseSm>( nullptr ), Kel::NullArgumentException );
   auto collections = bgpParseExtCommRuleCollectionsFactory();
   auto plugin = Kel::makePtr<TestPlugin>( collections, extCommClassificationColor );
   EXPECT_EQ( collections->notifieeList().size(), 1u );
   auto rule = bgpParseExtendedCommunityRuleFactory( BgpParseExtCommControl( collections ) );
   rule = nullptr; // every key leaves: heard, but nothing to build
   EXPECT_EQ( plugin->twoOctetAsOffers, 1 );
   EXPECT_EQ( plugin->opaqueOffers, 1 );
   plugin->handleStartup(); // a replay offers only what is entered
   EXPECT_EQ( plugin->twoOctetAsOffers, 1 );

   plugin = nullptr;
   EXPECT_EQ( collections->notifieeList().size(), 0u );
   rule = bgpParseExtendedCommunityRuleFactory( BgpParseExtCommControl( collections ) );
   EXPECT_EQ( tablesOf( *rule ).rfind( "[ ][ ][ ][ ]", 0 ), 0u );
   EXPECT_EQ( liveTestSubRules, 0 );
   EXPECT_EQ( liveTestPlugins, 0 );
}

// TypeRulePlugin: adds a type rule of its own for type 0x06 when it hears of the top-level
// rule.
class TypeRulePlugin final : public BgpParseExtCommPluginBaseSm {
 public:
   explicit TypeRulePlugin( const Kel::Ptr<const BgpParseExtCommRuleCollections>& c )
         : BgpParseExtCommPluginBaseSm( c ) {
      handleStartup();
   }
   void instantiateExtendedCommunityTypeSubRule(
         const BgpParseExtendedCommunityRuleKey& key,
         const BgpParseExtCommControl& control ) const override {
      addExtendedCommunityTypeSubRule(
            key, bgpParseExtCommRuleFactory<Testing::TestTypeRule>(
                       control, extCommPktTypeTransEvpn, extCommClassificationEvpn ) );
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
   EXPECT_DEATH( plugin->addExtCommSubTypeTransTwoOctetAsSubRule( twoOctetKey, nullptr ),
                 "assertion failed: rule != __null \\(OvBgp/Parse/ExtComm\\)" );
   EXPECT_DEATH( plugin->addExtendedCommunityTypeSubRule( rule->key(), nullptr ),
                 "assertion failed: __null != rule \\(OvBgp/Parse/ExtComm\\)" );
}

TEST( BgpParseExtCommPluginBase, InstantiationIsTracedAtLevelEight ) {
   setenv( "OVTRACE", "BgpCommunityList/8", 1 );
   Kel::TraceCategory::reloadForTesting();
   testing::internal::CaptureStderr();
   {
      auto collections = bgpParseExtCommRuleCollectionsFactory();
      auto rule = bgpParseExtendedCommunityRuleFactory( BgpParseExtCommControl( collections ) );
      auto plugin = bgpParseExtCommColorSmFactory( collections );
   }
   const std::string err = testing::internal::GetCapturedStderr();
   unsetenv( "OVTRACE" );
   Kel::TraceCategory::reloadForTesting();
   EXPECT_NE( err.find( "BgpCommunityList/8 instantiateExtCommSubTypeTransOpaqueSubRule "
                        "BgpParseExtCommColorSm\n" ),
              std::string::npos )
         << err;
}

} // namespace
} // namespace Routing::Bgp
