// tests/OvBgp/Parse/ExtCommTestRules.h: small sub-rules and a plug-in for the
// parse-rule tests. A test sub-rule answers with an ExtCommSubtyped (or
// ExtCommIp6Subtyped) of the classification it was given, so a test can tell
// which sub-rule built a value; live counters catch leaks.
//
//   auto plugin = Kel::makePtr<TestPlugin>( collections, extCommClassificationColor );
//   EXPECT_EQ( rule->parseExtendedCommunity( content )->classification(), extCommClassificationColor );
#pragma once

#include <type_traits>

#include "OvBgp/Parse/ExtComm.h"

namespace Routing::Bgp::Testing {

// liveTestSubRules / liveTestPlugins: how many exist right now.
inline int liveTestSubRules = 0;
inline int liveTestPlugins = 0;

// TestSubRule<Base>: a sub-rule of Base's kind answering with classification
// (or with null when answers is false).
template<class Base>
class TestSubRule final : public Base {
 public:
   using Value = typename Base::Value;
   using Content = typename Base::Content;

   TestSubRule( const BgpParseExtCommControl& control, unsigned subType,
                ExtCommClassification classification, bool answers = true )
         : Base( control, typename Base::Subtype( subType ) ),
           classification_( classification ),
           answers_( answers ) {
      ++liveTestSubRules;
   }
   ~TestSubRule() override { --liveTestSubRules; }

   Kel::Ptr<const Value> inhale( const Content& content ) const override {
      if ( !answers_ ) {
         return nullptr;
      }
      if constexpr ( std::is_same_v<Value, ExtComm> ) {
         return ExtCommSubtyped::ExtCommSubtypedIs( classification_, content );
      } else {
         return ExtCommIp6Subtyped::ExtCommIp6SubtypedIs( classification_, content );
      }
   }

 private:
   ExtCommClassification classification_;
   bool answers_;
};

// testSubRule<Base>(): a new TestSubRule as the counted base pointer.
template<class Base>
Kel::Ptr<const Base> testSubRule( const BgpParseExtCommControl& control, unsigned subType,
                                  ExtCommClassification classification, bool answers = true ) {
   return bgpParseExtCommRuleFactory<TestSubRule<Base>>( control, subType, classification,
                                                         answers );
}

// TestTypeRule: answers every content of its type with the classification, or with null.
class TestTypeRule final : public BgpParseExtendedCommunityTypeRuleBase {
 public:
   TestTypeRule( const BgpParseExtCommControl& control, BgpExtCommPktType type,
                 ExtCommClassification classification, bool answers = true )
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

// TestPlugin: claims 2-octet AS subtype 0x02, opaque 0x0C and IPv6 0x02, all
// with one classification, and counts what it is offered.
class TestPlugin : public BgpParseExtCommPluginBaseSm {
 public:
   TestPlugin( const Kel::Ptr<const BgpParseExtCommRuleCollections>& collections,
               ExtCommClassification classification )
         : BgpParseExtCommPluginBaseSm( collections ), classification_( classification ) {
      ++liveTestPlugins;
      handleStartup();
   }
   ~TestPlugin() override { --liveTestPlugins; }

// OVBGP_TEST_CLAIM: the plug-in's answer to an offer of the Stem collection's
// type rule: count it, then enter a test sub-rule for subtype.
#define OVBGP_TEST_CLAIM( Stem, Base, offers, subtype )                                         \
   void instantiateExtComm##Stem##SubRule( const BgpParseExtComm##Stem##RuleKey& key,           \
                                           const BgpParseExtCommControl& control )              \
         const override {                                                                       \
      ++offers;                                                                                 \
      addExtComm##Stem##SubRule( key, testSubRule<Base>( control, subtype, classification_ ) ); \
   }
   OVBGP_TEST_CLAIM( SubTypeTransTwoOctetAs, BgpParseExtComSubTypeTransTwoOctetAsRuleBase,
                     twoOctetAsOffers, extCommPktSubtypeTransTwoOctetAsRouteTarget )
   OVBGP_TEST_CLAIM( SubTypeTransOpaque, BgpParseExtComSubTypeTransOpaqueRuleBase, opaqueOffers,
                     extCommPktSubtypeTransOpaqueEncapsulationExtendedCommunity )
   OVBGP_TEST_CLAIM( Ip6SubTypeTrans, BgpParseExtCommIp6SubTypeTransRuleBase, ip6TransOffers,
                     extCommIp6PktSubtypeRouteTarget )
   OVBGP_TEST_CLAIM( Ip6SubTypeNonTrans, BgpParseExtCommIp6SubTypeNonTransRuleBase,
                     ip6NonTransOffers, 0x02 )
#undef OVBGP_TEST_CLAIM

   mutable int twoOctetAsOffers = 0;
   mutable int opaqueOffers = 0;
   mutable int ip6TransOffers = 0;
   mutable int ip6NonTransOffers = 0;

 private:
   ExtCommClassification classification_;
};

} // namespace Routing::Bgp::Testing
