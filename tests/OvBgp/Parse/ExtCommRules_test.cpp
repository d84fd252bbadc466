#include "OvBgp/Parse/ExtCommRules.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <typeinfo>
#include <vector>

#include "Kel/Exception.h"
#include "Kel/Strep.h"
#include "OvBgp/Parse/ExtCommAsNumber.h"
#include "tests/OvBgp/Parse/ExtCommTestRules.h"

namespace Routing::Bgp {
namespace {

using Testing::liveTestSubRules;
using Testing::testSubRule;

struct Parser {
   BgpParseExtCommRuleCollections::Ptr collections = bgpParseExtCommRuleCollectionsFactory();
   BgpParseExtCommControl control{ collections };
   BgpParseExtendedCommunityRule::Ptr rule = bgpParseExtendedCommunityRuleFactory( control );

   ExtComm::PtrConst parse( U64 content ) const {
      return rule->parseExtendedCommunity( ExtCommContent( content ) );
   }
   template<class TypeRule>
   const TypeRule& typeRule( BgpExtCommPktType type ) const {
      return dynamic_cast<const TypeRule&>( *rule->typeRule( type ) );
   }
};

ExtCommIp6Content ip6Content( U8 type, U8 subtype ) {
   return ExtCommIp6Content( type, subtype, Onet::Ip6Addr::parse( "2001:db8::1" ), 100 );
}

// dynamicType(): the dynamic class of a value.
template<class T>
const std::type_info& dynamicType( const T& value ) {
   return typeid( value );
}

// What an unclaimed content of each type decodes to.
enum class Kind { plain, subtyped, asNumber2, asNumber4, ipv4 };

void expectKind( const ExtComm::PtrConst& value, U64 content, Kind kind ) {
   SCOPED_TRACE( testing::Message() << std::hex << "content 0x" << content );
   ASSERT_TRUE( value );
   EXPECT_EQ( value->community(), content );
   EXPECT_EQ( value->classification(), extCommClassificationUnSpecified );
   EXPECT_TRUE( value->hasNotificationActive() );
   EXPECT_EQ( value->dedupState(), Bex::dedupHandleStateNeverDeduped() );
   const auto* asNumber = dynamic_cast<const ExtCommAsNumber*>( value.ptr() );
   const auto* ipv4 = dynamic_cast<const ExtCommIpv4Address*>( value.ptr() );
   switch ( kind ) {
      case Kind::plain:
         EXPECT_EQ( dynamicType( *value ), typeid( ExtComm ) );
         EXPECT_TRUE( value->pktSubtype().isUnspecified() );
         return;
      case Kind::subtyped:
         EXPECT_EQ( dynamicType( *value ), typeid( ExtCommSubtyped ) );
         break;
      case Kind::asNumber2:
      case Kind::asNumber4:
         ASSERT_NE( asNumber, nullptr );
         EXPECT_EQ( asNumber->fourByteAs(), kind == Kind::asNumber4 );
         EXPECT_EQ( dynamicType( *value ), typeid( ExtCommAsNumber ) );
         break;
      case Kind::ipv4:
         ASSERT_NE( ipv4, nullptr );
         EXPECT_EQ( dynamicType( *value ), typeid( ExtCommIpv4Address ) );
         break;
   }
   EXPECT_FALSE( value->pktSubtype().isUnspecified() );
}

// ---------------------------------------------------------------------------
// Dispatch without plug-ins: every fallback of the table.

TEST( BgpParseExtendedCommunityRuleDispatch, UnclaimedSubtypesTakeTheFallbackOfTheirType ) {
   Parser p;
   struct Case {
      U64 content;
      Kind kind;
   };
   const std::vector<Case> cases = {
      { 0x0002FDE800000064, Kind::asNumber2 }, // a route target, but no plug-in
      { 0x0077FDE800000064, Kind::asNumber2 }, // subtype not a member
      { 0x0102C0A80001002A, Kind::ipv4 },      { 0x010BC0A80001002A, Kind::ipv4 },
      { 0x0202FDE800640005, Kind::asNumber4 }, { 0x030C000000000008, Kind::subtyped },
      { 0x03FF000000000000, Kind::subtyped },  { 0x8006000000000000, Kind::subtyped },
      { 0x8108000000000000, Kind::subtyped },  { 0x8208000000000000, Kind::subtyped },
      { 0x4004FDE84E6E6B28, Kind::asNumber2 }, { 0x4102C0A80001002A, Kind::ipv4 },
      { 0x4204FDE800640005, Kind::asNumber4 }, { 0x4300000000000000, Kind::subtyped },
      { 0x4301000000000000, Kind::subtyped },
   };
   for ( const Case& c : cases ) {
      expectKind( p.parse( c.content ), c.content, c.kind );
   }
   EXPECT_EQ( p.rule->typeRuleCount(), 11u );
   EXPECT_EQ( p.rule->ip6TypeRuleCount(), 2u );
}

TEST( BgpParseExtendedCommunityRuleDispatch, TypesWithoutRuleGivePlainExtComm ) {
   Parser p;
   // 0x06 is a member of the type enum without a rule; 0x07, 0xC0 and 0xFF
   // are not members; 0x04 and 0x44 have no subtype.
   for ( U64 content : { 0x0600000000000001ull, 0x0702000000000001ull, 0x0400000000000000ull,
                         0x4400000000000000ull, 0xC000000000000000ull, 0xFFFFFFFFFFFFFFFFull } ) {
      expectKind( p.parse( content ), content, Kind::plain );
   }
}

TEST( BgpParseExtendedCommunityRuleDispatch, Ip6TypesFallBackToSubtypedAndOthersToPlain ) {
   Parser p;
   for ( U8 type : { 0x00, 0x40 } ) {
      ExtCommIp6::PtrConst value = p.rule->parseExtendedCommunityIp6( ip6Content( type, 0x02 ) );
      EXPECT_EQ( dynamicType( *value ), typeid( ExtCommIp6Subtyped ) ) << int( type );
      EXPECT_EQ( value->classification(), extCommClassificationUnSpecified );
      EXPECT_EQ( value->content(), ip6Content( type, 0x02 ) );
   }
   for ( U8 type : { 0x01, 0x41, 0xFF } ) {
      ExtCommIp6::PtrConst value = p.rule->parseExtendedCommunityIp6( ip6Content( type, 0x02 ) );
      EXPECT_EQ( dynamicType( *value ), typeid( ExtCommIp6 ) ) << int( type );
      EXPECT_EQ( value->classification(), extCommClassificationUnSpecified );
      EXPECT_EQ( value->content(), ip6Content( type, 0x02 ) );
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
   EXPECT_NE( p.rule->showString( content, true, false, false ),
              p.rule->showString( content, false, false, false ) );
}

// ---------------------------------------------------------------------------
// Sub-rules

TEST( BgpParseExtCommTypeRule, ClaimedSubtypeIsBuiltByItsSubRuleUntilDeleted ) {
   Parser p;
   const auto& opaque = p.typeRule<BgpParseExtCommTransOpaqueRule>( extCommPktTypeTransOpaque );
   opaque.subTypeRuleIs( testSubRule<BgpParseExtComSubTypeTransOpaqueRuleBase>(
         p.control, extCommPktSubtypeTransOpaqueEncapsulationExtendedCommunity,
         extCommClassificationTunnelEncap ) );
   EXPECT_EQ( opaque.subTypeRuleCount(), 1u );
   ExtComm::PtrConst value = p.parse( 0x030C000000000008 );
   EXPECT_EQ( value->classification(), extCommClassificationTunnelEncap );
   EXPECT_EQ( value->community(), 0x030C000000000008u );
   // Other subtypes of the type are untouched.
   EXPECT_EQ( p.parse( 0x030B000000000008 )->classification(), extCommClassificationUnSpecified );

   opaque.subTypeRuleDel( extCommPktSubtypeTransOpaqueEncapsulationExtendedCommunity );
   EXPECT_EQ( opaque.subTypeRuleCount(), 0u );
   expectKind( p.parse( 0x030C000000000008 ), 0x030C000000000008, Kind::subtyped );
}

TEST( BgpParseExtCommTypeRule, RegistrationReplacesKeepsSameObjectAndRejectsNull ) {
   Parser p;
   const int liveBefore = liveTestSubRules();
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
   EXPECT_EQ( rule.subTypeRule( extCommPktSubtypeTransTwoOctetAsRouteTarget ), second );

   // A subtype beyond an octet cannot be a table key.
   EXPECT_THROW( rule.subTypeRuleIs( testSubRule<BgpParseExtComSubTypeTransTwoOctetAsRuleBase>(
                       p.control, extCommPktSubtypeTransTwoOctetAsUnknown,
                       extCommClassificationRouteTarget ) ),
                 Kel::RangeException );

   rule.subTypeRuleDelAll();
   first = nullptr;
   second = nullptr;
   EXPECT_EQ( liveTestSubRules(), liveBefore );
}

TEST( BgpParseExtCommTypeRule, NullAnswerAndNonMemberSubtypeFallBack ) {
   Parser p;
   const auto& rule =
         p.typeRule<BgpParseExtCommNonTransTwoOctetAsRule>( extCommPktTypeNonTransTwoOctetAs );
   rule.subTypeRuleIs( testSubRule<BgpParseExtComSubTypeNonTransTwoOctetAsRuleBase>(
         p.control, extCommPktSubtypeNonTransTwoOctetAsLinkBandwidth,
         extCommClassificationLinkBandwidth, false ) );
   expectKind( p.parse( 0x4004FDE84E6E6B28 ), 0x4004FDE84E6E6B28, Kind::asNumber2 );

   // Entered under 0x05, not a member of the 0x40 subtypes: never reached.
   rule.subTypeRuleIs( testSubRule<BgpParseExtComSubTypeNonTransTwoOctetAsRuleBase>(
         p.control, 0x05, extCommClassificationLinkBandwidth ) );
   EXPECT_EQ( rule.subTypeRuleCount(), 2u );
   expectKind( p.parse( 0x4005FDE84E6E6B28 ), 0x4005FDE84E6E6B28, Kind::asNumber2 );

   // IPv6: a claimed subtype is built by its sub-rule, a null answer falls back.
   const auto& ip6 = dynamic_cast<const BgpParseExtCommIp6TransRule&>(
         *p.rule->ip6TypeRule( extCommIp6PktTypeTransIpv6Address ) );
   ip6.subTypeRuleIs( testSubRule<BgpParseExtCommIp6SubTypeTransRuleBase>(
         p.control, extCommIp6PktSubtypeRouteTarget, extCommClassificationRouteTarget ) );
   ip6.subTypeRuleIs( testSubRule<BgpParseExtCommIp6SubTypeTransRuleBase>(
         p.control, extCommIp6PktSubtypeRouteOrigin, extCommClassificationRouteOrigin, false ) );
   EXPECT_EQ( p.rule->parseExtendedCommunityIp6( ip6Content( 0x00, 0x02 ) )->classification(),
              extCommClassificationRouteTarget );
   ExtCommIp6::PtrConst origin = p.rule->parseExtendedCommunityIp6( ip6Content( 0x00, 0x03 ) );
   EXPECT_EQ( dynamicType( *origin ), typeid( ExtCommIp6Subtyped ) );
   EXPECT_EQ( origin->classification(), extCommClassificationUnSpecified );
}

// ---------------------------------------------------------------------------
// Type rules

// TestTypeRule: answers every content of its type with the given
// classification, or with null.
class TestTypeRule final : public BgpParseExtendedCommunityTypeRuleBase {
 public:
   TestTypeRule( const BgpParseExtCommControl& control, BgpExtCommPktType type,
                 ExtCommClassification classification, bool answers )
         : BgpParseExtendedCommunityTypeRuleBase( control, type ),
           classification_( classification ),
           answers_( answers ) {}
   Kel::Ptr<const ExtComm> inhale( const ExtCommContent& content ) const override {
      return answers_ ? ExtCommSubtyped::ExtCommSubtypedIs( classification_, content ) : nullptr;
   }

 private:
   ExtCommClassification classification_;
   bool answers_;
};

TEST( BgpParseExtendedCommunityRule, TypeRulesCanBeReplacedAddedAndDeleted ) {
   Parser p;
   auto evpn = bgpParseExtCommRuleFactory<TestTypeRule>( p.control, extCommPktTypeTransEvpn,
                                                         extCommClassificationEvpn, true );
   p.rule->typeRuleIs( evpn );
   EXPECT_EQ( p.parse( 0x0600000000000001 )->classification(), extCommClassificationEvpn );
   p.rule->typeRuleIs( evpn ); // same object: no change
   EXPECT_EQ( p.rule->typeRuleCount(), 12u );

   // Replacing a built-in type rule releases it, and it leaves its collection.
   ASSERT_EQ( p.collections->extendedCommSubTypeTransTwoOctetAsRuleInstanceCount(), 1u );
   p.rule->typeRuleIs( bgpParseExtCommRuleFactory<TestTypeRule>(
         p.control, extCommPktTypeTransTwoOctetAs, extCommClassificationColor, false ) );
   EXPECT_EQ( p.collections->extendedCommSubTypeTransTwoOctetAsRuleInstanceCount(), 0u );
   // A type rule answering null gives a plain ExtComm.
   expectKind( p.parse( 0x0002FDE800000064 ), 0x0002FDE800000064, Kind::plain );

   p.rule->typeRuleDel( extCommPktTypeTransEvpn );
   expectKind( p.parse( 0x0600000000000001 ), 0x0600000000000001, Kind::plain );
   EXPECT_EQ( evpn->refCount(), 1u );

   p.rule->ip6TypeRuleDel( extCommIp6PktTypeTransIpv6Address );
   EXPECT_EQ( dynamicType( *p.rule->parseExtendedCommunityIp6( ip6Content( 0x00, 0x02 ) ) ),
              typeid( ExtCommIp6 ) );
   EXPECT_EQ( p.collections->extendedCommIp6SubTypeTransRuleInstanceCount(), 0u );

   p.rule->typeRuleDelAll();
   p.rule->ip6TypeRuleDelAll();
   EXPECT_EQ( p.rule->typeRuleCount(), 0u );
   EXPECT_EQ( p.rule->ip6TypeRuleCount(), 0u );
   expectKind( p.parse( 0x0102C0A80001002A ), 0x0102C0A80001002A, Kind::plain );
}

// ---------------------------------------------------------------------------
// Collections

// countsOf(): the number of entries of each of the fourteen collections.
std::vector<size_t> countsOf( const BgpParseExtCommRuleCollections& c ) {
   return { c.extendedCommunityTypeRuleInstanceCount(),
            c.extendedCommSubTypeTransTwoOctetAsRuleInstanceCount(),
            c.extendedCommSubTypeTransIpv4AddressRuleInstanceCount(),
            c.extendedCommSubTypeTransFourOctetAsRuleInstanceCount(),
            c.extendedCommSubTypeTransOpaqueRuleInstanceCount(),
            c.extendedCommSubTypeTransGenericRuleInstanceCount(),
            c.extendedCommSubTypeTransGenericPart2RuleInstanceCount(),
            c.extendedCommSubTypeTransGenericPart3RuleInstanceCount(),
            c.extendedCommSubTypeNonTransTwoOctetAsRuleInstanceCount(),
            c.extendedCommSubTypeNonTransIpv4AddressRuleInstanceCount(),
            c.extendedCommSubTypeNonTransFourOctetAsRuleInstanceCount(),
            c.extendedCommSubTypeNonTransOpaqueRuleInstanceCount(),
            c.extendedCommIp6SubTypeTransRuleInstanceCount(),
            c.extendedCommIp6SubTypeNonTransRuleInstanceCount() };
}

TEST( BgpParseExtCommRuleCollections, EveryRuleButIp6NonTransIsEnteredFromCreationUntilDeletion ) {
   auto collections = bgpParseExtCommRuleCollectionsFactory();
   BgpParseExtCommControl control( collections );
   const std::vector<size_t> none( 14, 0 );
   std::vector<size_t> all( 14, 1 );
   all.back() = 0; // the IPv6 non-transitive rule, never

   auto rule = bgpParseExtendedCommunityRuleFactory( control );
   EXPECT_EQ( countsOf( *collections ), all );
   EXPECT_EQ( collections->ruleInstance( rule->key() ), rule.ptr() );
   const auto& twoOctet = dynamic_cast<const BgpParseExtCommTransTwoOctetAsRule&>(
         *rule->typeRule( extCommPktTypeTransTwoOctetAs ) );
   EXPECT_TRUE( collections->extendedCommSubTypeTransTwoOctetAsRuleInstanceHas( twoOctet.key() ) );
   EXPECT_EQ( collections->ruleInstance( twoOctet.key() ), &twoOctet );
   const auto& ip6NonTrans = dynamic_cast<const BgpParseExtCommIp6NonTransRule&>(
         *rule->ip6TypeRule( extCommIp6PktTypeNonTransIpv6Address ) );
   EXPECT_FALSE( collections->extendedCommIp6SubTypeNonTransRuleInstanceHas( ip6NonTrans.key() ) );
   rule = nullptr;
   EXPECT_EQ( countsOf( *collections ), none );

   // A type rule on its own: entered while it lives.
   auto opaque = bgpParseExtCommRuleFactory<BgpParseExtCommTransOpaqueRule>( control );
   EXPECT_TRUE( collections->extendedCommSubTypeTransOpaqueRuleInstanceHas( opaque->key() ) );
   opaque = nullptr;
   EXPECT_EQ( countsOf( *collections ), none );
   auto ip6 = bgpParseExtCommRuleFactory<BgpParseExtCommIp6NonTransRule>( control );
   EXPECT_EQ( countsOf( *collections ), none );
   ip6 = nullptr;
   EXPECT_EQ( countsOf( *collections ), none );
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
   std::vector<std::string> heard;

 private:
   const BgpParseExtCommRuleCollections& c_;
};

TEST( BgpParseExtCommRuleCollections, ObserversHearEachChangeAfterItHappens ) {
   auto collections = bgpParseExtCommRuleCollectionsFactory();
   Recorder recorder( *collections );
   collections->notifieeList().add( &recorder );
   {
      auto rule = bgpParseExtendedCommunityRuleFactory( BgpParseExtCommControl( collections ) );
      // The opaque rule is entered while the top-level rule is being built;
      // the top-level rule last.
      EXPECT_EQ( recorder.heard, ( std::vector<std::string>{ "in", "top in" } ) );
      recorder.heard.clear();

      // Entering a present key or removing an absent one tells nobody.
      const auto key = dynamic_cast<const BgpParseExtCommTransOpaqueRule&>(
                             *rule->typeRule( extCommPktTypeTransOpaque ) )
                             .key();
      collections->extendedCommSubTypeTransOpaqueRuleInstanceIs( key );
      EXPECT_TRUE( collections->extendedCommSubTypeTransOpaqueRuleInstanceDel( key ) );
      EXPECT_FALSE( collections->extendedCommSubTypeTransOpaqueRuleInstanceDel( key ) );
      collections->extendedCommSubTypeTransOpaqueRuleInstanceIs( key );
      EXPECT_EQ( recorder.heard, ( std::vector<std::string>{ "out", "in" } ) );
      recorder.heard.clear();
   }
   EXPECT_EQ( recorder.heard, ( std::vector<std::string>{ "top out", "out" } ) );
   recorder.heard.clear();

   // DelAll tells about every entry.
   auto a = bgpParseExtCommRuleFactory<BgpParseExtCommTransOpaqueRule>(
         BgpParseExtCommControl( collections ) );
   auto b = bgpParseExtCommRuleFactory<BgpParseExtCommTransOpaqueRule>(
         BgpParseExtCommControl( collections ) );
   recorder.heard.clear();
   collections->extendedCommSubTypeTransOpaqueRuleInstanceDelAll();
   EXPECT_EQ( recorder.heard, ( std::vector<std::string>{ "out", "out" } ) );
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

   try {
      Kel::strepToValue( valueToStrep( control ), &parsed );
      FAIL() << "a registry address parsed";
   } catch ( const Kel::ParseException& e ) {
      EXPECT_EQ( e.attribute(), "ruleCollections" );
      EXPECT_NE( Kel::String( e.what() ).find( "cannot be rebuilt" ), Kel::String::npos );
   }
   EXPECT_THROW( Kel::strepToValue( Kel::String( "Value('Other', ** {'ruleCollections': NULL})" ),
                                    &parsed ),
                 Kel::ParseException );
   EXPECT_THROW( Kel::strepToValue( nullText + " ", &parsed ), Kel::ParseException );
}

} // namespace
} // namespace Routing::Bgp
