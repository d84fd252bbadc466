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
#include <type_traits>

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
   virtual void instantiateExtendedCommunityTypeSubRule( const BgpParseExtendedCommunityRuleKey&,
                                                         const BgpParseExtCommControl& ) const {}
#define OVBGP_PARSE_INSTANTIATE( Kind, Stem, ... )                                        \
   virtual void instantiateExtComm##Stem##SubRule( const BgpParseExtComm##Stem##RuleKey&, \
                                                   const BgpParseExtCommControl& ) const {}
   OVBGP_PARSE_EXT_COMM_TYPE_RULES( OVBGP_PARSE_INSTANTIATE )
#undef OVBGP_PARSE_INSTANTIATE

   // addExtendedCommunityTypeSubRule(): enters rule with the keyed top-level
   // rule's typeRuleIs(); a null rule is a broken invariant ("__null != rule").
   void addExtendedCommunityTypeSubRule(
         const BgpParseExtendedCommunityRuleKey& key,
         const Kel::Ptr<const BgpParseExtendedCommunityTypeRuleBase>& rule ) const;
   // addSubRule() / add...SubRule(): enters rule with the keyed type rule's
   // subTypeRuleIs(); a null rule is a broken invariant ("rule != __null").
   template<class Traits>
   void addSubRule( const BgpParseExtCommRuleKey<BgpParseExtCommTypeRule<Traits>>& key,
                    const Kel::Ptr<const typename Traits::SubRuleBase>& rule ) const;
#define OVBGP_PARSE_ADD( Kind, Stem, SubRuleBase, ... )                              \
   void addExtComm##Stem##SubRule( const BgpParseExtComm##Stem##RuleKey& key,        \
                                   const Kel::Ptr<const SubRuleBase>& rule ) const { \
      addSubRule<BgpParseExtComm##Kind##Traits>( key, rule );                        \
   }
   OVBGP_PARSE_EXT_COMM_TYPE_RULES( OVBGP_PARSE_ADD )
#undef OVBGP_PARSE_ADD

   // handle...RuleInstance(key): a change of one collection; when the key is
   // entered (an insertion), calls the matching instantiate...SubRule() with
   // the control of the rule the key names. A removal does nothing.
   // handle...RuleInstance(): the same for every key entered now.
   void handleExtendedCommunityTypeRuleInstance(
         const BgpParseExtendedCommunityRuleKey& key ) const;
   void handleExtendedCommunityTypeRuleInstance() const;
#define OVBGP_PARSE_HANDLE( Kind, Stem, ... )                                                      \
   void handleExtendedComm##Stem##RuleInstance( const BgpParseExtComm##Stem##RuleKey& key ) const; \
   void handleExtendedComm##Stem##RuleInstance() const;
   OVBGP_PARSE_EXT_COMM_TYPE_RULES( OVBGP_PARSE_HANDLE )
#undef OVBGP_PARSE_HANDLE

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
            const BgpParseExtendedCommunityRuleKey& key ) override {
         owner_->handleExtendedCommunityTypeRuleInstance( key );
      }
#define OVBGP_PARSE_ROUTE( Kind, Stem, ... )                                                \
   void handleExtendedComm##Stem##RuleInstance( const BgpParseExtComm##Stem##RuleKey& key ) \
         override {                                                                         \
      owner_->handleExtendedComm##Stem##RuleInstance( key );                                \
   }
      OVBGP_PARSE_EXT_COMM_TYPE_RULES( OVBGP_PARSE_ROUTE )
#undef OVBGP_PARSE_ROUTE

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

// BgpParseExtCommSubRulePluginSm<SubRules...>(): a plug-in that gives every
// type rule of each SubRule's kind a new SubRule, made with the control and
// SubRule's own subtype; a plug-in of the library is one of these, named.
// Construction offers it every type rule already registered.
template<class... SubRules>
class BgpParseExtCommSubRulePluginSm : public BgpParseExtCommPluginBaseSm {
 public:
   // name: the plug-in's name in the trace lines; it must outlive the plug-in.
   BgpParseExtCommSubRulePluginSm(
         const Kel::Ptr<const BgpParseExtCommRuleCollections>& ruleCollections,
         std::string_view name )
         : BgpParseExtCommPluginBaseSm( ruleCollections ), name_( name ) {
      handleStartup();
   }

#define OVBGP_PARSE_OFFER( Kind, Stem, ... )                                          \
   void instantiateExtComm##Stem##SubRule( const BgpParseExtComm##Stem##RuleKey& key, \
                                           const BgpParseExtCommControl& control )    \
         const override {                                                             \
      ( offer<BgpParseExtComm##Kind##Traits, SubRules>( key, control ), ... );        \
   }
   OVBGP_PARSE_EXT_COMM_TYPE_RULES( OVBGP_PARSE_OFFER )
#undef OVBGP_PARSE_OFFER

 private:
   template<class Traits, class SubRule>
   void offer( const BgpParseExtCommRuleKey<BgpParseExtCommTypeRule<Traits>>& key,
               const BgpParseExtCommControl& control ) const {
      if constexpr ( std::is_same_v<typename SubRule::Traits, Traits> ) {
         traceInstantiate( Traits::instantiateName, name_ );
         addSubRule<Traits>( key, bgpParseExtCommRuleFactory<SubRule>( control ) );
      }
   }

   std::string_view name_;
};

// OVBGP_PARSE_SUB_RULE( Name, Base, subtype, value ): the sub-rule class Name
// of Base's kind, entered under subtype, whose inhale() returns value (an
// expression of content).
#define OVBGP_PARSE_SUB_RULE( Name, Base, subtype, value )                                       \
   class Name final : public Base {                                                              \
    public:                                                                                      \
      using Ptr = Kel::Ptr<Name>;                                                                \
      using PtrConst = Kel::Ptr<const Name>;                                                     \
      explicit Name( const BgpParseExtCommControl& control, Subtype subType = subtype ) noexcept \
            : Base( control, subType ) {}                                                        \
      Kel::Ptr<const Value> inhale( const Content& content ) const override { return value; }    \
   };

// OVBGP_PARSE_PLUGIN( Name, factory, SubRules... ): the plug-in class Name
// serving SubRules, with Name::NameIs(ruleCollections) and the free factory.
#define OVBGP_PARSE_PLUGIN( Name, factory, ... )                                             \
   class Name final : public BgpParseExtCommSubRulePluginSm<__VA_ARGS__> {                   \
    public:                                                                                  \
      using Ptr = Kel::Ptr<Name>;                                                            \
      using PtrConst = Kel::Ptr<const Name>;                                                 \
      explicit Name( const Kel::Ptr<const BgpParseExtCommRuleCollections>& ruleCollections ) \
            : BgpParseExtCommSubRulePluginSm<__VA_ARGS__>( ruleCollections, #Name ) {}       \
      static Ptr Name##Is(                                                                   \
            const Kel::Ptr<const BgpParseExtCommRuleCollections>& ruleCollections ) {        \
         return Kel::makeActivePtr<Name>( ruleCollections );                                 \
      }                                                                                      \
   };                                                                                        \
   inline Name::Ptr factory(                                                                 \
         const Kel::Ptr<const BgpParseExtCommRuleCollections>& ruleCollections ) {           \
      return Name::Name##Is( ruleCollections );                                              \
   }

// OVBGP_PARSE_VALUE_BASICS( Name, Base, baseArgs... ): in the public part of
// a typed value class Name built from its content alone (Base( baseArgs ),
// which name content): its counted-pointer names, its constructor,
// NameIs(content) and the declarations of its two text forms,
// formatDerivedType() and appendStrepForPolicy().
#define OVBGP_PARSE_VALUE_BASICS( Name, Base, ... )                                    \
   using Ptr = Kel::Ptr<Name>;                                                         \
   using PtrConst = Kel::Ptr<const Name>;                                              \
   explicit Name( const ExtCommContent& content ) noexcept : Base( __VA_ARGS__ ) {}    \
   static Ptr Name##Is( const ExtCommContent& content ) {                              \
      return Kel::makeActivePtr<Name>( content );                                      \
   }                                                                                   \
   void formatDerivedType( std::ostream& os ) const override;                          \
   void appendStrepForPolicy( StrepFormat format, OvFmt::DynamicBufferInterface& out ) \
         const override;

// OVBGP_PARSE_ONE_RULE_PLUGIN( Value, valueFactory, SubRule, SubRuleBase,
// subtype, Plugin, pluginFactory ): for a value class with
// OVBGP_PARSE_VALUE_BASICS, its free factory (a new value, notification on,
// not interned), the sub-rule that builds it under subtype and the plug-in
// that registers that sub-rule.
#define OVBGP_PARSE_ONE_RULE_PLUGIN( Value, valueFactory, SubRule, SubRuleBase, subtype, Plugin, \
                                     pluginFactory )                                             \
   inline Value::Ptr valueFactory( const ExtCommContent& content ) {                             \
      return Value::Value##Is( content );                                                        \
   }                                                                                             \
   OVBGP_PARSE_SUB_RULE( SubRule, SubRuleBase, subtype, valueFactory( content ) )                \
   OVBGP_PARSE_PLUGIN( Plugin, pluginFactory, SubRule )

} // namespace Routing::Bgp
