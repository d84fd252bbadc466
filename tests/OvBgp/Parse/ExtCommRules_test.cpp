#include "OvBgp/Parse/ExtCommRules.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <typeinfo>
#include <vector>

#include "Kel/Exception.h"
#include "Kel/Strep.h"
#include "OvBgp/Parse/ExtCommAsNumber.h"
#include "tests/OvBgp/Parse/ExtCommTestRules.h"
#include "tests/OvBgp/TestSupport.h"

namespace Routing::Bgp {
namespace {

using Testing::liveTestSubRules;
using Testing::testSubRule;
using Testing::TestTypeRule;

struct Parser {
   BgpParseExtCommRuleCollections::Ptr collections = bgpParseExtCommRuleCollectionsFactory();
   BgpParseExtCommControl control{ collections };
   BgpParseExtendedCommunityRule::Ptr rule = bgpParseExtendedCommunityRuleFactory( control );

   ExtComm::PtrConst parse( U64 content ) const {
      return rule->parseExtendedCommunity( ExtCommContent( content ) );
   }
   ExtCommIp6::PtrConst parseIp6( U8 type, U8 subtype ) const {
      return rule->parseExtendedCommunityIp6( ip6Content( type, subtype ) );
   }
   static ExtCommIp6Content ip6Content( U8 type, U8 subtype ) {
      return ExtCommIp6Content( type, subtype, Onet::Ip6Addr::parse( "2001:db8::1" ), 100 );
   }
   template<class TypeRule>
   const TypeRule& typeRule( BgpExtCommPktType type ) const {
      return dynamic_cast<const TypeRule&>( *rule->typeRule( type ) );
   }
};

// What an unclaimed content decodes to: its type's fallback class (ExtComm, ExtCommSubtyped or,
// for 2-octet AS types, ExtCommAsNumber), unclassified, never interned.
enum class Kind { plain, subtyped, asNumber2 };

void expectKind( const ExtComm::PtrConst& value, U64 content, Kind kind ) {
   SCOPED_TRACE( testing::Message() << std::hex << "content 0x" << content );
   ASSERT_TRUE( value );
   const ExtComm& v = *value;
   const std::type_info* classes[] = { &typeid( ExtComm ), &typeid( ExtCommSubtyped ),
                                       &typeid( ExtCommAsNumber ) };
   ASSERT_EQ( typeid( v ), *classes[ int( kind ) ] );
   EXPECT_EQ( v.community(), content );
   EXPECT_EQ( v.classification(), extCommClassificationUnSpecified );
   EXPECT_TRUE( v.hasNotificationActive() );
   EXPECT_EQ( v.dedupState(), Bex::dedupHandleStateNeverDeduped() );
   EXPECT_EQ( v.pktSubtype().isUnspecified(), kind == Kind::plain );
}

// Every 8-octet type's fallback without plug-ins is the pair sweep's (ExtCommPlugins_test).
TEST( BgpParseExtendedCommunityRuleDispatch, WithoutPluginsEveryContentTakesItsTypesFallback ) {
   Parser p;
   EXPECT_EQ( p.rule->typeRuleCount(), 11u );
   EXPECT_EQ( p.rule->ip6TypeRuleCount(), 2u );

   // IPv6-address-specific: the two types with a rule give a subtyped value.
   for ( U8 type : { 0x00, 0x40, 0x01, 0x41, 0xFF } ) {
      ExtCommIp6::PtrConst value = p.parseIp6( type, 0x02 );
      const ExtCommIp6& v = *value;
      EXPECT_EQ( typeid( v ),
                 ( type & 0xBF ) == 0 ? typeid( ExtCommIp6Subtyped ) : typeid( ExtCommIp6 ) )
            << int( type );
      EXPECT_EQ( v.classification(), extCommClassificationUnSpecified );
      EXPECT_EQ( v.content(), Parser::ip6Content( type, 0x02 ) );
   }
}

TEST( BgpParseExtendedCommunityRuleDispatch, ShowStringIsTheParsedValuesUiTextWithTheFlags ) {
   Parser p;
   const U64 content = 0x0202FDE800640005; // 4-octet AS 4259840100, local 5
   ExtComm::PtrConst value = p.parse( content );
   for ( int flags = 0; flags < 8; ++flags ) {
      const bool asdot = flags & 1, weighted = flags & 2, json = flags & 4;
      EXPECT_EQ( p.rule->showString( content, asdot, weighted, json ),
                 value->toStrepForUI( asdot, weighted, json ) );
   }
   EXPECT_EQ( p.rule->showString( content, true, false, false ), "0202-AS4:65000.100:5" );
}

// ---------------------------------------------------------------------------
// Sub-rules

TEST( BgpParseExtCommTypeRule, ClaimedSubtypeIsBuiltByItsSubRuleOthersFallBack ) {
   Parser p;
   const auto& opaque = p.typeRule<BgpParseExtCommTransOpaqueRule>( extCommPktTypeTransOpaque );
   opaque.subTypeRuleIs( testSubRule<BgpParseExtComSubTypeTransOpaqueRuleBase>(
         p.control, extCommPktSubtypeTransOpaqueEncapsulationExtendedCommunity,
         extCommClassificationTunnelEncap ) );
   ExtComm::PtrConst value = p.parse( 0x030C000000000008 );
   EXPECT_EQ( value->classification(), extCommClassificationTunnelEncap );
   EXPECT_EQ( value->community(), 0x030C000000000008u );
   EXPECT_EQ( p.parse( 0x030B000000000008 )->classification(), extCommClassificationUnSpecified );
   opaque.subTypeRuleDel( extCommPktSubtypeTransOpaqueEncapsulationExtendedCommunity );
   EXPECT_EQ( opaque.subTypeRuleCount(), 0u );
   expectKind( p.parse( 0x030C000000000008 ), 0x030C000000000008, Kind::subtyped );

   // A null answer falls back; a sub-rule entered under a subtype that is no member of its
   // type's subtypes (0x05 of 0x40) is never reached.
   const auto& nonTrans =
         p.typeRule<BgpParseExtCommNonTransTwoOctetAsRule>( extCommPktTypeNonTransTwoOctetAs );
   nonTrans.subTypeRuleIs( testSubRule<BgpParseExtComSubTypeNonTransTwoOctetAsRuleBase>(
         p.control, extCommPktSubtypeNonTransTwoOctetAsLinkBandwidth,
         extCommClassificationLinkBandwidth, false ) );
   expectKind( p.parse( 0x4004FDE84E6E6B28 ), 0x4004FDE84E6E6B28, Kind::asNumber2 );
   nonTrans.subTypeRuleIs( testSubRule<BgpParseExtComSubTypeNonTransTwoOctetAsRuleBase>(
         p.control, 0x05, extCommClassificationLinkBandwidth ) );
   EXPECT_EQ( nonTrans.subTypeRuleCount(), 2u );
   expectKind( p.parse( 0x4005FDE84E6E6B28 ), 0x4005FDE84E6E6B28, Kind::asNumber2 );
}

TEST( BgpParseExtCommTypeRule, RegistrationReplacesKeepsSameObjectAndRejectsNull ) {
   Parser p;
   const int liveBefore = liveTestSubRules;
   const auto& rule =
         p.typeRule<BgpParseExtCommTransTwoOctetAsRule>( extCommPktTypeTransTwoOctetAs );
   auto first = testSubRule<BgpParseExtComSubTypeTransTwoOctetAsRuleBase>(
         p.control, 0x02, extCommClassificationRouteTarget );
   auto second = testSubRule<BgpParseExtComSubTypeTransTwoOctetAsRuleBase>(
         p.control, 0x02, extCommClassificationRouteOrigin );
   rule.subTypeRuleIs( first );
   rule.subTypeRuleIs( second );
   EXPECT_EQ( rule.subTypeRule( extCommPktSubtypeTransTwoOctetAsRouteTarget ), second );
   EXPECT_EQ( first->refCount(), 1u ); // released by the table
   EXPECT_EQ( p.parse( 0x0002FDE800000064 )->classification(), extCommClassificationRouteOrigin );
   const U32 refs = second->refCount();
   rule.subTypeRuleIs( second );
   EXPECT_EQ( second->refCount(), refs );
   EXPECT_EQ( rule.subTypeRuleCount(), 1u );

   EXPECT_THROW( rule.subTypeRuleIs( nullptr ), Kel::NullArgumentException );
   EXPECT_THROW( p.rule->typeRuleIs( nullptr ), Kel::NullArgumentException );
   EXPECT_THROW( p.rule->ip6TypeRuleIs( nullptr ), Kel::NullArgumentException );
   // A subtype beyond an octet cannot be a table key.
   EXPECT_THROW( rule.subTypeRuleIs( testSubRule<BgpParseExtComSubTypeTransTwoOctetAsRuleBase>(
                       p.control, extCommPktSubtypeTransTwoOctetAsUnknown,
                       extCommClassificationRouteTarget ) ),
                 Kel::RangeException );
   EXPECT_EQ( rule.subTypeRule( extCommPktSubtypeTransTwoOctetAsRouteTarget ), second );

   rule.subTypeRuleDelAll();
   first = second = nullptr;
   EXPECT_EQ( liveTestSubRules, liveBefore );
}

// ---------------------------------------------------------------------------
// Type rules

TEST( BgpParseExtendedCommunityRule, TypeRulesCanBeReplacedAddedAndDeleted ) {
   Parser p;
   auto evpn = bgpParseExtCommRuleFactory<TestTypeRule>( p.control, extCommPktTypeTransEvpn,
                                                         extCommClassificationEvpn, true );
   p.rule->typeRuleIs( evpn );
   EXPECT_EQ( p.parse( 0x0600000000000001 )->classification(), extCommClassificationEvpn );
   p.rule->typeRuleIs( evpn ); // same object: no change
   EXPECT_EQ( p.rule->typeRuleCount(), 12u );

   // A replaced built-in type rule is released and leaves its collection; a type rule
   // answering null gives a plain ExtComm.
   ASSERT_EQ( p.collections->extendedCommSubTypeTransTwoOctetAsRuleInstanceCount(), 1u );
   p.rule->typeRuleIs( bgpParseExtCommRuleFactory<TestTypeRule>(
         p.control, extCommPktTypeTransTwoOctetAs, extCommClassificationColor, false ) );
   EXPECT_EQ( p.collections->extendedCommSubTypeTransTwoOctetAsRuleInstanceCount(), 0u );
   expectKind( p.parse( 0x0002FDE800000064 ), 0x0002FDE800000064, Kind::plain );

   p.rule->typeRuleDel( extCommPktTypeTransEvpn );
   expectKind( p.parse( 0x0600000000000001 ), 0x0600000000000001, Kind::plain );
   EXPECT_EQ( evpn->refCount(), 1u );

   p.rule->ip6TypeRuleDel( extCommIp6PktTypeTransIpv6Address );
   ExtCommIp6::PtrConst ip6 = p.parseIp6( 0x00, 0x02 );
   const ExtCommIp6& v = *ip6;
   EXPECT_EQ( typeid( v ), typeid( ExtCommIp6 ) );
   EXPECT_EQ( p.collections->extendedCommIp6SubTypeTransRuleInstanceCount(), 0u );

   p.rule->typeRuleDelAll();
   p.rule->ip6TypeRuleDelAll();
   EXPECT_EQ( p.rule->typeRuleCount() + p.rule->ip6TypeRuleCount(), 0u );
   expectKind( p.parse( 0x0102C0A80001002A ), 0x0102C0A80001002A, Kind::plain );
}

// ---------------------------------------------------------------------------
// Collections

// countsOf(): the number of entries of each of the fourteen collections.
std::vector<size_t> countsOf( const BgpParseExtCommRuleCollections& c ) {
   std::vector<size_t> counts = { c.extendedCommunityTypeRuleInstanceCount() };
#define OVBGP_TEST_COUNT( Kind, Stem, ... ) \
   counts.push_back( c.extendedComm##Stem##RuleInstanceCount() );
   OVBGP_PARSE_EXT_COMM_TYPE_RULES( OVBGP_TEST_COUNT )
#undef OVBGP_TEST_COUNT
   return counts;
}

// The IPv6 non-transitive rule is deliberately never entered: plug-ins cannot reach it.
TEST( BgpParseExtCommRuleCollections, EveryRuleButIp6NonTransIsEnteredFromCreationUntilDeletion ) {
   Parser p;
   const auto& collections = p.collections;
   const auto& control = p.control;
   std::vector<size_t> all( 14, 1 ), none( 14, 0 );
   all.back() = 0;
   EXPECT_EQ( countsOf( *collections ), all );
   EXPECT_EQ( collections->ruleInstance( p.rule->key() ), p.rule.ptr() );
   const auto& twoOctet =
         p.typeRule<BgpParseExtCommTransTwoOctetAsRule>( extCommPktTypeTransTwoOctetAs );
   EXPECT_TRUE( collections->extendedCommSubTypeTransTwoOctetAsRuleInstanceHas( twoOctet.key() ) );
   EXPECT_EQ( collections->ruleInstance( twoOctet.key() ), &twoOctet );
   const auto& ip6NonTrans = dynamic_cast<const BgpParseExtCommIp6NonTransRule&>(
         *p.rule->ip6TypeRule( extCommIp6PktTypeNonTransIpv6Address ) );
   EXPECT_FALSE( collections->extendedCommIp6SubTypeNonTransRuleInstanceHas( ip6NonTrans.key() ) );
   p.rule = nullptr;
   EXPECT_EQ( countsOf( *collections ), none );

   // A type rule on its own: entered while it lives.
   auto opaque = bgpParseExtCommRuleFactory<BgpParseExtCommTransOpaqueRule>( control );
   EXPECT_TRUE( collections->extendedCommSubTypeTransOpaqueRuleInstanceHas( opaque->key() ) );
   opaque = nullptr;
   EXPECT_EQ( countsOf( *collections ), none );
   auto ip6 = bgpParseExtCommRuleFactory<BgpParseExtCommIp6NonTransRule>( control );
   EXPECT_EQ( countsOf( *collections ), none );
   ip6 = nullptr;
   EXPECT_EQ( collections->refCount(), 2u ); // ours and the control's: no rule is left
}

// Recorder: what the observer heard, and whether the key was then entered.
class Recorder final : public BgpParseExtCommRuleCollections::Notifiee {
 public:
   explicit Recorder( const BgpParseExtCommRuleCollections& c ) : c_( c ) {}
   void handleExtendedCommSubTypeTransOpaqueRuleInstance(
         const BgpParseExtCommSubTypeTransOpaqueRuleKey& key ) override {
      heard.push_back( c_.extendedCommSubTypeTransOpaqueRuleInstanceHas( key ) ? "in" : "out" );
   }
   void handleExtendedCommunityTypeRuleInstance(
         const BgpParseExtendedCommunityRuleKey& key ) override {
      heard.push_back( c_.extendedCommunityTypeRuleInstanceHas( key ) ? "top in" : "top out" );
   }
   std::vector<std::string> takeHeard() { return std::exchange( heard, {} ); }
   std::vector<std::string> heard;

 private:
   const BgpParseExtCommRuleCollections& c_;
};

TEST( BgpParseExtCommRuleCollections, ObserversHearEachChangeAfterItHappens ) {
   using Heard = std::vector<std::string>;
   auto collections = bgpParseExtCommRuleCollectionsFactory();
   Recorder recorder( *collections );
   collections->notifieeList().add( &recorder );
   {
      // The opaque rule is entered while the top-level rule is built, the top-level one last.
      auto rule = bgpParseExtendedCommunityRuleFactory( BgpParseExtCommControl( collections ) );
      EXPECT_EQ( recorder.takeHeard(), ( Heard{ "in", "top in" } ) );

      // Entering a present key or removing an absent one tells nobody.
      const auto key = dynamic_cast<const BgpParseExtCommTransOpaqueRule&>(
                             *rule->typeRule( extCommPktTypeTransOpaque ) )
                             .key();
      collections->extendedCommSubTypeTransOpaqueRuleInstanceIs( key );
      EXPECT_TRUE( collections->extendedCommSubTypeTransOpaqueRuleInstanceDel( key ) );
      EXPECT_FALSE( collections->extendedCommSubTypeTransOpaqueRuleInstanceDel( key ) );
      collections->extendedCommSubTypeTransOpaqueRuleInstanceIs( key );
      EXPECT_EQ( recorder.takeHeard(), ( Heard{ "out", "in" } ) );
   }
   EXPECT_EQ( recorder.takeHeard(), ( Heard{ "top out", "out" } ) );

   // DelAll tells about every entry.
   auto a = bgpParseExtCommRuleFactory<BgpParseExtCommTransOpaqueRule>(
         BgpParseExtCommControl( collections ) );
   auto b = bgpParseExtCommRuleFactory<BgpParseExtCommTransOpaqueRule>(
         BgpParseExtCommControl( collections ) );
   recorder.heard.clear();
   collections->extendedCommSubTypeTransOpaqueRuleInstanceDelAll();
   EXPECT_EQ( recorder.heard, ( Heard{ "out", "out" } ) );
   EXPECT_EQ( collections->extendedCommSubTypeTransOpaqueRuleInstanceCount(), 0u );
   collections->notifieeList().remove( &recorder );
}

// ---------------------------------------------------------------------------
// Control

TEST( BgpParseExtCommControl, ReflectiveTextNamesTheRegistryAndOnlyNullParsesBack ) {
   const Kel::String nullText =
         "Value('Routing::Bgp::BgpParseExtCommControl', ** {'ruleCollections': NULL})";
   EXPECT_EQ( valueToStrep( BgpParseExtCommControl() ), nullText );

   auto collections = bgpParseExtCommRuleCollectionsFactory();
   BgpParseExtCommControl control( collections );
   std::ostringstream address;
   address << static_cast<const void*>( collections.ptr() );
   EXPECT_EQ( valueToStrep( control ),
              "Value('Routing::Bgp::BgpParseExtCommControl', ** {'ruleCollections': " +
                    address.str() + "})" );
   EXPECT_EQ( control, BgpParseExtCommControl( collections ) );
   EXPECT_FALSE( control == BgpParseExtCommControl() );
   EXPECT_FALSE( control == BgpParseExtCommControl( bgpParseExtCommRuleCollectionsFactory() ) );

   BgpParseExtCommControl parsed( collections );
   Kel::strepToValue( nullText, &parsed );
   EXPECT_EQ( parsed, BgpParseExtCommControl() );
   const auto fromAddress = [ & ] {
      Kel::strepToValue( valueToStrep( control ), &parsed );
   };
   EXPECT_THAT( thrownText<Kel::ParseException>( fromAddress ),
                ::testing::MatchesRegex( "ruleCollections: .*cannot be rebuilt.*" ) );
   EXPECT_THROW( Kel::strepToValue( Kel::String( "Value('Other', ** {'ruleCollections': NULL})" ),
                                    &parsed ),
                 Kel::ParseException );
   EXPECT_THROW( Kel::strepToValue( nullText + " ", &parsed ), Kel::ParseException );
}

} // namespace
} // namespace Routing::Bgp
