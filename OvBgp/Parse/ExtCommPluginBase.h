// OvBgp/Parse/ExtCommPluginBase.h: the base of the plug-ins through which
// each typed community contributes the sub-rule that builds it. A plug-in
// watches the rule registry; whenever a type rule it cares about is entered
// there, its instantiate...SubRule() override creates the sub-rule and hands
// it to add...SubRule(), which enters it into that type rule's table. Either
// creation order of plug-ins and rules ends with the same tables.
//
//   class ColorSm : public BgpParseExtCommPluginBaseSm { ...
//      void instantiateExtCommSubTypeTransOpaqueSubRule( key, control ) const override; };
#pragma once

#include <string_view>

#include "Kel/Ptr.h"
#include "OvBgp/Parse/ExtCommRules.h"

namespace Routing::Bgp {

// BgpParseExtCommPluginBaseSm(): counted; observes ruleCollections() from
// construction to destruction. A concrete plug-in overrides the
// instantiate...SubRule() of the type rules it serves and ends its
// constructor with handleStartup(), which offers it every rule already
// entered; rules entered later reach it through the registry's notification.
class BgpParseExtCommPluginBaseSm : public Kel::PtrInterface {
 public:
   using Ptr = Kel::Ptr<BgpParseExtCommPluginBaseSm>;
   using PtrConst = Kel::Ptr<const BgpParseExtCommPluginBaseSm>;

   // A null registry throws Kel::NullArgumentException.
   explicit BgpParseExtCommPluginBaseSm(
         const Kel::Ptr<const BgpParseExtCommRuleCollections>& ruleCollections );
   BgpParseExtCommPluginBaseSm( const BgpParseExtCommPluginBaseSm& ) = delete;
   BgpParseExtCommPluginBaseSm& operator=( const BgpParseExtCommPluginBaseSm& ) = delete;
   ~BgpParseExtCommPluginBaseSm() override;

   const Kel::Ptr<const BgpParseExtCommRuleCollections>& ruleCollections() const noexcept {
      return ruleCollections_;
   }

   // instantiate...SubRule(): called once per rule entered into the matching
   // collection, with that rule's key and control; the base versions do
   // nothing. An override creates its sub-rule with (control, subtype) and
   // calls the matching add...SubRule().
   virtual void instantiateExtendedCommunityTypeSubRule(
         const BgpParseExtendedCommunityRuleKey& key, const BgpParseExtCommControl& control ) const;
   virtual void instantiateExtCommSubTypeTransTwoOctetAsSubRule(
         const BgpParseExtCommSubTypeTransTwoOctetAsRuleKey& key,
         const BgpParseExtCommControl& control ) const;
   virtual void instantiateExtCommSubTypeTransIpv4AddressSubRule(
         const BgpParseExtCommSubTypeTransIpv4AddressRuleKey& key,
         const BgpParseExtCommControl& control ) const;
   virtual void instantiateExtCommSubTypeTransFourOctetAsSubRule(
         const BgpParseExtCommSubTypeTransFourOctetAsRuleKey& key,
         const BgpParseExtCommControl& control ) const;
   virtual void instantiateExtCommSubTypeTransOpaqueSubRule(
         const BgpParseExtCommSubTypeTransOpaqueRuleKey& key,
         const BgpParseExtCommControl& control ) const;
   virtual void instantiateExtCommSubTypeTransGenericSubRule(
         const BgpParseExtCommSubTypeTransGenericRuleKey& key,
         const BgpParseExtCommControl& control ) const;
   virtual void instantiateExtCommSubTypeTransGenericPart2SubRule(
         const BgpParseExtCommSubTypeTransGenericPart2RuleKey& key,
         const BgpParseExtCommControl& control ) const;
   virtual void instantiateExtCommSubTypeTransGenericPart3SubRule(
         const BgpParseExtCommSubTypeTransGenericPart3RuleKey& key,
         const BgpParseExtCommControl& control ) const;
   virtual void instantiateExtCommSubTypeNonTransTwoOctetAsSubRule(
         const BgpParseExtCommSubTypeNonTransTwoOctetAsRuleKey& key,
         const BgpParseExtCommControl& control ) const;
   virtual void instantiateExtCommSubTypeNonTransIpv4AddressSubRule(
         const BgpParseExtCommSubTypeNonTransIpv4AddressRuleKey& key,
         const BgpParseExtCommControl& control ) const;
   virtual void instantiateExtCommSubTypeNonTransFourOctetAsSubRule(
         const BgpParseExtCommSubTypeNonTransFourOctetAsRuleKey& key,
         const BgpParseExtCommControl& control ) const;
   virtual void instantiateExtCommSubTypeNonTransOpaqueSubRule(
         const BgpParseExtCommSubTypeNonTransOpaqueRuleKey& key,
         const BgpParseExtCommControl& control ) const;
   virtual void instantiateExtCommIp6SubTypeTransSubRule(
         const BgpParseExtCommIp6SubTypeTransRuleKey& key,
         const BgpParseExtCommControl& control ) const;
   virtual void instantiateExtCommIp6SubTypeNonTransSubRule(
         const BgpParseExtCommIp6SubTypeNonTransRuleKey& key,
         const BgpParseExtCommControl& control ) const;

   // addExtendedCommunityTypeSubRule(): enters rule with the keyed top-level
   // rule's typeRuleIs(); a null rule is a broken invariant ("__null != rule").
   void addExtendedCommunityTypeSubRule(
         const BgpParseExtendedCommunityRuleKey& key,
         const Kel::Ptr<const BgpParseExtendedCommunityTypeRuleBase>& rule ) const;
   // add...SubRule(): enters rule with the keyed type rule's subTypeRuleIs();
   // a null rule is a broken invariant ("rule != __null").
   void addExtCommSubTypeTransTwoOctetAsSubRule(
         const BgpParseExtCommSubTypeTransTwoOctetAsRuleKey& key,
         const Kel::Ptr<const BgpParseExtComSubTypeTransTwoOctetAsRuleBase>& rule ) const;
   void addExtCommSubTypeTransIpv4AddressSubRule(
         const BgpParseExtCommSubTypeTransIpv4AddressRuleKey& key,
         const Kel::Ptr<const BgpParseExtComSubTypeTransIpv4AddressRuleBase>& rule ) const;
   void addExtCommSubTypeTransFourOctetAsSubRule(
         const BgpParseExtCommSubTypeTransFourOctetAsRuleKey& key,
         const Kel::Ptr<const BgpParseExtComSubTypeTransFourOctetAsRuleBase>& rule ) const;
   void addExtCommSubTypeTransOpaqueSubRule(
         const BgpParseExtCommSubTypeTransOpaqueRuleKey& key,
         const Kel::Ptr<const BgpParseExtComSubTypeTransOpaqueRuleBase>& rule ) const;
   void addExtCommSubTypeTransGenericSubRule(
         const BgpParseExtCommSubTypeTransGenericRuleKey& key,
         const Kel::Ptr<const BgpParseExtComSubTypeTransGenericRuleBase>& rule ) const;
   void addExtCommSubTypeTransGenericPart2SubRule(
         const BgpParseExtCommSubTypeTransGenericPart2RuleKey& key,
         const Kel::Ptr<const BgpParseExtComSubTypeTransGenericPart2RuleBase>& rule ) const;
   void addExtCommSubTypeTransGenericPart3SubRule(
         const BgpParseExtCommSubTypeTransGenericPart3RuleKey& key,
         const Kel::Ptr<const BgpParseExtComSubTypeTransGenericPart3RuleBase>& rule ) const;
   void addExtCommSubTypeNonTransTwoOctetAsSubRule(
         const BgpParseExtCommSubTypeNonTransTwoOctetAsRuleKey& key,
         const Kel::Ptr<const BgpParseExtComSubTypeNonTransTwoOctetAsRuleBase>& rule ) const;
   void addExtCommSubTypeNonTransIpv4AddressSubRule(
         const BgpParseExtCommSubTypeNonTransIpv4AddressRuleKey& key,
         const Kel::Ptr<const BgpParseExtComSubTypeNonTransIpv4AddressRuleBase>& rule ) const;
   void addExtCommSubTypeNonTransFourOctetAsSubRule(
         const BgpParseExtCommSubTypeNonTransFourOctetAsRuleKey& key,
         const Kel::Ptr<const BgpParseExtComSubTypeNonTransFourOctetAsRuleBase>& rule ) const;
   void addExtCommSubTypeNonTransOpaqueSubRule(
         const BgpParseExtCommSubTypeNonTransOpaqueRuleKey& key,
         const Kel::Ptr<const BgpParseExtComSubTypeNonTransOpaqueRuleBase>& rule ) const;
   void addExtCommIp6SubTypeTransSubRule(
         const BgpParseExtCommIp6SubTypeTransRuleKey& key,
         const Kel::Ptr<const BgpParseExtCommIp6SubTypeTransRuleBase>& rule ) const;
   void addExtCommIp6SubTypeNonTransSubRule(
         const BgpParseExtCommIp6SubTypeNonTransRuleKey& key,
         const Kel::Ptr<const BgpParseExtCommIp6SubTypeNonTransRuleBase>& rule ) const;

   // handle...RuleInstance(key): a change of one collection; when the key is
   // entered (an insertion), calls the matching instantiate...SubRule() with
   // the control of the rule the key names. A removal does nothing.
   // handle...RuleInstance(): the same for every key entered now.
   void handleExtendedCommunityTypeRuleInstance(
         const BgpParseExtendedCommunityRuleKey& key ) const;
   void handleExtendedCommunityTypeRuleInstance() const;
   void handleExtendedCommSubTypeTransTwoOctetAsRuleInstance(
         const BgpParseExtCommSubTypeTransTwoOctetAsRuleKey& key ) const;
   void handleExtendedCommSubTypeTransTwoOctetAsRuleInstance() const;
   void handleExtendedCommSubTypeTransIpv4AddressRuleInstance(
         const BgpParseExtCommSubTypeTransIpv4AddressRuleKey& key ) const;
   void handleExtendedCommSubTypeTransIpv4AddressRuleInstance() const;
   void handleExtendedCommSubTypeTransFourOctetAsRuleInstance(
         const BgpParseExtCommSubTypeTransFourOctetAsRuleKey& key ) const;
   void handleExtendedCommSubTypeTransFourOctetAsRuleInstance() const;
   void handleExtendedCommSubTypeTransOpaqueRuleInstance(
         const BgpParseExtCommSubTypeTransOpaqueRuleKey& key ) const;
   void handleExtendedCommSubTypeTransOpaqueRuleInstance() const;
   void handleExtendedCommSubTypeTransGenericRuleInstance(
         const BgpParseExtCommSubTypeTransGenericRuleKey& key ) const;
   void handleExtendedCommSubTypeTransGenericRuleInstance() const;
   void handleExtendedCommSubTypeTransGenericPart2RuleInstance(
         const BgpParseExtCommSubTypeTransGenericPart2RuleKey& key ) const;
   void handleExtendedCommSubTypeTransGenericPart2RuleInstance() const;
   void handleExtendedCommSubTypeTransGenericPart3RuleInstance(
         const BgpParseExtCommSubTypeTransGenericPart3RuleKey& key ) const;
   void handleExtendedCommSubTypeTransGenericPart3RuleInstance() const;
   void handleExtendedCommSubTypeNonTransTwoOctetAsRuleInstance(
         const BgpParseExtCommSubTypeNonTransTwoOctetAsRuleKey& key ) const;
   void handleExtendedCommSubTypeNonTransTwoOctetAsRuleInstance() const;
   void handleExtendedCommSubTypeNonTransIpv4AddressRuleInstance(
         const BgpParseExtCommSubTypeNonTransIpv4AddressRuleKey& key ) const;
   void handleExtendedCommSubTypeNonTransIpv4AddressRuleInstance() const;
   void handleExtendedCommSubTypeNonTransFourOctetAsRuleInstance(
         const BgpParseExtCommSubTypeNonTransFourOctetAsRuleKey& key ) const;
   void handleExtendedCommSubTypeNonTransFourOctetAsRuleInstance() const;
   void handleExtendedCommSubTypeNonTransOpaqueRuleInstance(
         const BgpParseExtCommSubTypeNonTransOpaqueRuleKey& key ) const;
   void handleExtendedCommSubTypeNonTransOpaqueRuleInstance() const;
   void handleExtendedCommIp6SubTypeTransRuleInstance(
         const BgpParseExtCommIp6SubTypeTransRuleKey& key ) const;
   void handleExtendedCommIp6SubTypeTransRuleInstance() const;
   void handleExtendedCommIp6SubTypeNonTransRuleInstance(
         const BgpParseExtCommIp6SubTypeNonTransRuleKey& key ) const;
   void handleExtendedCommIp6SubTypeNonTransRuleInstance() const;

   // handleStartup(): every all-entries handler, top-level first, then the
   // type rules in table order (TransTwoOctetAs ... NonTransOpaque, Ip6Trans,
   // Ip6NonTrans).
   void handleStartup() const;
   // handleInitialized(): starts observing ruleCollections(); run by the
   // constructor, harmless to repeat.
   void handleInitialized();

 protected:
   // traceInstantiate(): the level-8 trace line of an instantiate override,
   // naming the operation and the plug-in.
   static void traceInstantiate( std::string_view operation, std::string_view plugin );

 private:
   // KelRuleCollections: the plug-in's observer of the registry; routes each
   // collection's change to the plug-in's handler of the same name.
   class KelRuleCollections final : public BgpParseExtCommRuleCollections::Notifiee {
    public:
      explicit KelRuleCollections( const BgpParseExtCommPluginBaseSm* owner ) : owner_( owner ) {}
      void handleExtendedCommunityTypeRuleInstance(
            const BgpParseExtendedCommunityRuleKey& key ) override;
      void handleExtendedCommSubTypeTransTwoOctetAsRuleInstance(
            const BgpParseExtCommSubTypeTransTwoOctetAsRuleKey& key ) override;
      void handleExtendedCommSubTypeTransIpv4AddressRuleInstance(
            const BgpParseExtCommSubTypeTransIpv4AddressRuleKey& key ) override;
      void handleExtendedCommSubTypeTransFourOctetAsRuleInstance(
            const BgpParseExtCommSubTypeTransFourOctetAsRuleKey& key ) override;
      void handleExtendedCommSubTypeTransOpaqueRuleInstance(
            const BgpParseExtCommSubTypeTransOpaqueRuleKey& key ) override;
      void handleExtendedCommSubTypeTransGenericRuleInstance(
            const BgpParseExtCommSubTypeTransGenericRuleKey& key ) override;
      void handleExtendedCommSubTypeTransGenericPart2RuleInstance(
            const BgpParseExtCommSubTypeTransGenericPart2RuleKey& key ) override;
      void handleExtendedCommSubTypeTransGenericPart3RuleInstance(
            const BgpParseExtCommSubTypeTransGenericPart3RuleKey& key ) override;
      void handleExtendedCommSubTypeNonTransTwoOctetAsRuleInstance(
            const BgpParseExtCommSubTypeNonTransTwoOctetAsRuleKey& key ) override;
      void handleExtendedCommSubTypeNonTransIpv4AddressRuleInstance(
            const BgpParseExtCommSubTypeNonTransIpv4AddressRuleKey& key ) override;
      void handleExtendedCommSubTypeNonTransFourOctetAsRuleInstance(
            const BgpParseExtCommSubTypeNonTransFourOctetAsRuleKey& key ) override;
      void handleExtendedCommSubTypeNonTransOpaqueRuleInstance(
            const BgpParseExtCommSubTypeNonTransOpaqueRuleKey& key ) override;
      void handleExtendedCommIp6SubTypeTransRuleInstance(
            const BgpParseExtCommIp6SubTypeTransRuleKey& key ) override;
      void handleExtendedCommIp6SubTypeNonTransRuleInstance(
            const BgpParseExtCommIp6SubTypeNonTransRuleKey& key ) override;

    private:
      const BgpParseExtCommPluginBaseSm* owner_;
   };

   // handleRuleInstance(): the shared body of the keyed handlers.
   template<class Key>
   void handleRuleInstance( const Key& key,
                            void ( BgpParseExtCommPluginBaseSm::*instantiate )(
                                  const Key&, const BgpParseExtCommControl& ) const ) const;
   template<class Key>
   void handleAllRuleInstances( void ( BgpParseExtCommPluginBaseSm::*handler )( const Key& )
                                      const ) const;

   Kel::Ptr<const BgpParseExtCommRuleCollections> ruleCollections_;
   KelRuleCollections kelRuleCollections_{ this };
};

} // namespace Routing::Bgp
