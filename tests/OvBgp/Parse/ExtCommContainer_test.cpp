#include "OvBgp/Parse/ExtCommContainer.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>
#include <vector>

#include "Kel/Exception.h"
#include "tests/OvBgp/Parse/ExtCommTestRules.h"

namespace Routing::Bgp {
namespace {

using Testing::liveTestPlugins;
using Testing::liveTestSubRules;
using Testing::TestPlugin;

using Plugin = BgpParseExtCommContainerSm::PluginPtrConst;

// Creation: what the creator saw when the container called it.
struct Creation {
   int calls = 0;
   bool mvpnOn = false;
   size_t topLevelRulesThen = 0;
   std::vector<const BgpParseExtCommPluginBaseSm*> made;
};

// creatorOf(): two test plug-ins, route target then colour; the later one wins the subtypes
// both claim.
BgpParseExtCommPluginCreator creatorOf( Creation* creation ) {
   return [ creation ]( const Kel::Ptr<const BgpParseExtCommRuleCollections>& collections,
                        bool mvpnOn ) {
      ++creation->calls;
      creation->mvpnOn = mvpnOn;
      creation->topLevelRulesThen = collections->extendedCommunityTypeRuleInstanceCount();
      BgpParseExtCommPluginList plugins;
      for ( auto c : { extCommClassificationRouteTarget, extCommClassificationColor } ) {
         plugins.push_back( Kel::makePtr<TestPlugin>( collections, c ) );
         creation->made.push_back( plugins.back().ptr() );
      }
      return plugins;
   };
}

TEST( BgpParseExtCommContainer, BuildsRegistryPluginsParserAndCacheInOrderAndLeavesNothing ) {
   Creation creation;
   auto container = bgpParseExtCommContainerSmFactory( creatorOf( &creation ) );
   EXPECT_TRUE( container->hasNotificationActive() );

   // The plug-ins were made on the new registry before any rule existed.
   EXPECT_EQ( creation.calls, 1 );
   EXPECT_EQ( creation.mvpnOn, BgpParseExtCommContainerSm::mvpnToggleOn() );
   EXPECT_EQ( creation.topLevelRulesThen, 0u );
   EXPECT_EQ( container->extCommParserSmsIndices(), ( std::vector<U32>{ 0, 1 } ) );
   EXPECT_EQ( container->extCommParserSmsFront().ptr(), creation.made[ 0 ] );
   EXPECT_EQ( container->extCommParserSmsBack().ptr(), creation.made[ 1 ] );

   // Then the parser, on a control naming that registry, entered in it; the plug-ins'
   // sub-rules arrive through notification (shown by the kept parser below).
   const auto& parser = container->extCommParser();
   ASSERT_TRUE( parser );
   EXPECT_EQ( parser->control().ruleCollections(), container->parseExtCommRuleCollections() );
   EXPECT_TRUE( container->parseExtCommRuleCollections()->extendedCommunityTypeRuleInstanceHas(
         parser->key() ) );

   // Last, an empty cache with notification on.
   ASSERT_TRUE( container->extCommCache() );
   EXPECT_TRUE( container->extCommCache()->hasNotificationActive() );
   EXPECT_EQ( container->extCommCache()->extCommToStringCount(), 0u );

   // Destruction leaves nothing behind; a table may outlive the container with the parser,
   // which still parses.
   BgpParseExtCommRuleCollections::Ptr collections = container->parseExtCommRuleCollections();
   BgpParseExtendedCommunityRule::Ptr kept = parser;
   EXPECT_EQ( liveTestPlugins, 2 );
   EXPECT_EQ( liveTestSubRules, 3 ); // the colour plug-in replaced the others
   container = nullptr;
   EXPECT_EQ( liveTestPlugins, 0 );
   EXPECT_EQ( collections->notifieeList().size(), 0u );
   EXPECT_EQ(
         kept->parseExtendedCommunity( ExtCommContent( 0x030C000000000008 ) )->classification(),
         extCommClassificationColor );
   // Without the parser every entry is gone (each collection: ExtCommRules_test) and nobody
   // else holds the registry.
   kept = nullptr;
   EXPECT_EQ( liveTestSubRules, 0 );
   EXPECT_EQ( collections->extendedCommunityTypeRuleInstanceCount(), 0u );
   EXPECT_EQ( collections->refCount(), 1u );
}

TEST( BgpParseExtCommContainer, QueueIndexIsPastBothCounterAndBack ) {
   auto container = bgpParseExtCommContainerSmFactory( nullptr );
   EXPECT_EQ( container->extCommParserSmsCount(), 0u );
   EXPECT_FALSE( container->extCommParserSmsFront() );
   EXPECT_FALSE( container->extCommParserSmsDeq() );

   std::vector<Plugin> p;
   for ( int i = 0; i < 6; ++i ) {
      p.push_back(
            Kel::makePtr<BgpParseExtCommPluginBaseSm>( container->parseExtCommRuleCollections() ) );
   }
   EXPECT_EQ( container->extCommParserSmsEnq( p[ 0 ] ), 0u );
   EXPECT_EQ( container->extCommParserSmsEnq( p[ 1 ] ), 1u );
   container->extCommParserSmsIs( 10, p[ 2 ] ); // the counter stays at 2
   EXPECT_EQ( container->extCommParserSmsBack(), p[ 2 ] );
   EXPECT_EQ( container->extCommParserSmsEnq( p[ 3 ] ), 11u ); // back + 1
   container->extCommParserSmsDel( 11 );
   EXPECT_EQ( container->extCommParserSmsEnq( p[ 4 ] ), 12u ); // counter, past back + 1

   // Is() keeps index order and replaces in place.
   container->extCommParserSmsIs( 5, p[ 5 ] );
   EXPECT_EQ( container->extCommParserSmsIndices(), ( std::vector<U32>{ 0, 1, 5, 10, 12 } ) );
   container->extCommParserSmsIs( 5, p[ 3 ] );
   EXPECT_EQ( container->extCommParserSms( 5 ), p[ 3 ] );
   EXPECT_EQ( p[ 5 ]->refCount(), 1u );
   EXPECT_FALSE( container->extCommParserSms( 6 ) );

   EXPECT_EQ( container->extCommParserSmsDeq(), p[ 0 ] );
   EXPECT_EQ( container->extCommParserSmsFront(), p[ 1 ] );
   EXPECT_EQ( container->extCommParserSmsBack(), p[ 4 ] );
   container->extCommParserSmsDel( 99 ); // absent: nothing
   EXPECT_EQ( container->extCommParserSmsCount(), 4u );

   EXPECT_THROW( container->extCommParserSmsEnq( nullptr ), Kel::NullArgumentException );
   EXPECT_THROW( container->extCommParserSmsIs( 3, nullptr ), Kel::NullArgumentException );
   container->extCommParserSmsIs( std::numeric_limits<U32>::max(), p[ 5 ] );
   EXPECT_THROW( container->extCommParserSmsEnq( p[ 0 ] ), Kel::RangeException );

   // Emptying the queue does not reset the counter.
   container->extCommParserSmsDelAll();
   EXPECT_EQ( container->extCommParserSmsCount(), 0u );
   EXPECT_FALSE( container->extCommParserSmsBack() );
   EXPECT_EQ( container->extCommParserSmsEnq( p[ 0 ] ), 13u );
}

// A toggle file written later in the process changes nothing.
TEST( BgpParseExtCommContainer, MvpnToggleIsReadOncePerProcess ) {
   const bool first = BgpParseExtCommContainerSm::mvpnToggleOn();
   const auto dir =
         std::filesystem::temp_directory_path() / ( "ovbgp-toggle-" + std::to_string( getpid() ) );
   std::filesystem::create_directories( dir );
   std::ofstream( dir / "MvpnLib.json" ) << ( first ? "{\"Mvpn\": false}" : "{\"Mvpn\": true}" );
   const char* previous = std::getenv( "OV_TOGGLE_DIR" );
   const std::string saved = previous ? previous : "";
   setenv( "OV_TOGGLE_DIR", dir.c_str(), 1 );

   EXPECT_EQ( BgpParseExtCommContainerSm::mvpnToggleOn(), first );
   Creation creation;
   auto container = bgpParseExtCommContainerSmFactory( creatorOf( &creation ) );
   EXPECT_EQ( creation.mvpnOn, first );

   previous ? setenv( "OV_TOGGLE_DIR", saved.c_str(), 1 ) : unsetenv( "OV_TOGGLE_DIR" );
   std::filesystem::remove_all( dir );
}

} // namespace
} // namespace Routing::Bgp
