// OvBgp/Parse/ExtCommRules.h: the two-level table that turns raw extended
// community content into the most specific typed value known. The top-level
// rule picks a type rule by the type octet, the type rule picks a sub-rule by
// the subtype octet, and the sub-rule builds the value; what no sub-rule
// claims decodes to a generic value, never to an error. Here too: the control
// every rule is built with, the rule keys, and the registry of rule instances
// (BgpParseExtCommRuleCollections) through which plug-ins find the type rules.
//
//   auto rule = bgpParseExtendedCommunityRuleFactory( BgpParseExtCommControl( collections ) );
//   ExtComm::PtrConst value = rule->parseExtendedCommunity( ExtCommContent( 0x0002fde800000064 ) );
//
// Ownership runs one way, so nothing here forms a cycle: the top-level rule
// owns its type rules, a type rule owns its sub-rules, every rule holds its
// control and through it the registry; the registry and the keys hold plain
// pointers to the rules they name, and a rule removes its own entry when it
// goes.
#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <iosfwd>
#include <string_view>
#include <tuple>
#include <unordered_map>
#include <vector>

#include "Kel/Notifiee.h"
#include "Kel/Ptr.h"
#include "Kel/String.h"
#include "Kel/Types.h"
#include "OvBgp/ExtCommIp6.h"
#include "OvBgp/OvBgpCommunity.h"
#include "OvBgp/OvBgpCommunityPacketTypes.h"

namespace Routing::Bgp {

class BgpParseExtCommRuleCollections;
class BgpParseExtendedCommunityRule;
class BgpParseExtendedCommunityTypeRuleBase;
class BgpParseExtendedCommunityIp6TypeRuleBase;
template<class Traits>
class BgpParseExtCommTypeRule;

// ---------------------------------------------------------------------------
// The table of type rules: one row per type rule, in the order in which the
// top-level rule creates them and a plug-in's start-up pass offers them.
// Everything named per kind below is generated from it, so a new type rule is
// one row.
//
//   X( Kind, Stem, SubRuleBase, Width, type, Subtype, fallback, entered )
//
// Kind names the type rule BgpParseExtComm<Kind>Rule and its traits; Stem
// names its key BgpParseExtComm<Stem>RuleKey, its collection
// extendedComm<Stem>RuleInstance with the handler handleExtendedComm<Stem>...,
// and the plug-in's instantiateExtComm<Stem>SubRule / addExtComm<Stem>SubRule.
// SubRuleBase is the base plug-ins derive their sub-rules from; Width is
// EightOctet or Ip6; fallback is what an unanswered content becomes (always
// unclassified); entered is false for the one rule kept out of its collection
// on purpose (IPv6 non-transitive: no plug-in is offered it, so every 0x40
// content takes the fallback; its subtype enum has no member anyway).
#define OVBGP_PARSE_EXT_COMM_TYPE_RULES( X )                                                       \
   X( TransTwoOctetAs, SubTypeTransTwoOctetAs, BgpParseExtComSubTypeTransTwoOctetAsRuleBase,       \
      EightOctet, extCommPktTypeTransTwoOctetAs, BgpExtCommPktSubtypeTransTwoOctetAs, asNumber,    \
      true )                                                                                       \
   X( TransIpv4Address, SubTypeTransIpv4Address, BgpParseExtComSubTypeTransIpv4AddressRuleBase,    \
      EightOctet, extCommPktTypeTransIpv4Address, BgpExtCommPktSubtypeTransIpv4Address,            \
      ipv4Address, true )                                                                          \
   X( TransFourOctetAs, SubTypeTransFourOctetAs, BgpParseExtComSubTypeTransFourOctetAsRuleBase,    \
      EightOctet, extCommPktTypeTransFourOctetAs, BgpExtCommPktSubtypeTransFourOctetAs, asNumber4, \
      true )                                                                                       \
   X( TransOpaque, SubTypeTransOpaque, BgpParseExtComSubTypeTransOpaqueRuleBase, EightOctet,       \
      extCommPktTypeTransOpaque, BgpExtCommPktSubtypeTransOpaque, subtyped, true )                 \
   X( TransGeneric, SubTypeTransGeneric, BgpParseExtComSubTypeTransGenericRuleBase, EightOctet,    \
      extCommPktTypeTransGeneric, BgpExtCommPktSubtypeTransGeneric, subtyped, true )               \
   X( TransGenericPart2, SubTypeTransGenericPart2, BgpParseExtComSubTypeTransGenericPart2RuleBase, \
      EightOctet, extCommPktTypeTransGenericPart2, BgpExtCommPktSubtypeTransGenericPart2,          \
      subtyped, true )                                                                             \
   X( TransGenericPart3, SubTypeTransGenericPart3, BgpParseExtComSubTypeTransGenericPart3RuleBase, \
      EightOctet, extCommPktTypeTransGenericPart3, BgpExtCommPktSubtypeTransGenericPart3,          \
      subtyped, true )                                                                             \
   X( NonTransTwoOctetAs, SubTypeNonTransTwoOctetAs,                                               \
      BgpParseExtComSubTypeNonTransTwoOctetAsRuleBase, EightOctet,                                 \
      extCommPktTypeNonTransTwoOctetAs, BgpExtCommPktSubtypeNonTransTwoOctetAs, asNumber, true )   \
   X( NonTransIpv4Address, SubTypeNonTransIpv4Address,                                             \
      BgpParseExtComSubTypeNonTransIpv4AddressRuleBase, EightOctet,                                \
      extCommPktTypeNonTransIpv4Address, BgpExtCommPktSubtypeNonTransIpv4Address, ipv4Address,     \
      true )                                                                                       \
   X( NonTransFourOctetAs, SubTypeNonTransFourOctetAs,                                             \
      BgpParseExtComSubTypeNonTransFourOctetAsRuleBase, EightOctet,                                \
      extCommPktTypeNonTransFourOctetAs, BgpExtCommPktSubtypeNonTransFourOctetAs, asNumber4,       \
      true )                                                                                       \
   X( NonTransOpaque, SubTypeNonTransOpaque, BgpParseExtComSubTypeNonTransOpaqueRuleBase,          \
      EightOctet, extCommPktTypeNonTransOpaque, BgpExtCommPktSubtypeNonTransOpaque, subtyped,      \
      true )                                                                                       \
   X( Ip6Trans, Ip6SubTypeTrans, BgpParseExtCommIp6SubTypeTransRuleBase, Ip6,                      \
      extCommIp6PktTypeTransIpv6Address, BgpExtCommIp6PktSubtypeTransIpv6Address, ip6Subtyped,     \
      true )                                                                                       \
   X( Ip6NonTrans, Ip6SubTypeNonTrans, BgpParseExtCommIp6SubTypeNonTransRuleBase, Ip6,             \
      extCommIp6PktTypeNonTransIpv6Address, BgpExtCommIp6PktSubtypeNonTransIpv6Address,            \
      ip6Subtyped, false )

// The sub-rule bases, one per type rule; plug-ins derive their sub-rules
// from these.
#define OVBGP_PARSE_DECLARE( Kind, Stem, SubRuleBase, ... ) class SubRuleBase;
OVBGP_PARSE_EXT_COMM_TYPE_RULES( OVBGP_PARSE_DECLARE )
#undef OVBGP_PARSE_DECLARE

// ---------------------------------------------------------------------------
// Traits: what the shared type-rule and sub-rule templates need to know of
// each type rule.

// BgpParseExtCommFallback: the value built for a content that no sub-rule
// answers: an ExtCommAsNumber (2- or 4-octet), an ExtCommIpv4Address, an
// ExtCommSubtyped or an ExtCommIp6Subtyped.
enum class BgpParseExtCommFallback { asNumber, asNumber4, ipv4Address, subtyped, ip6Subtyped };

// BgpParseExtCommWidthTraits<...>: what the kinds of one width share.
template<class TypeEnumT, class TypeRuleBaseT, class ValueT, class ContentT>
struct BgpParseExtCommWidthTraits {
   using TypeEnum = TypeEnumT;
   using TypeRuleBase = TypeRuleBaseT;
   using Value = ValueT;
   using Content = ContentT;
};

// BgpParseExtCommEightOctetTraits: common part of the eleven 8-octet kinds.
struct BgpParseExtCommEightOctetTraits
      : BgpParseExtCommWidthTraits<BgpExtCommPktType, BgpParseExtendedCommunityTypeRuleBase,
                                   ExtComm, ExtCommContent> {
   static constexpr U8 subtypeOctet( const Content& c ) noexcept { return c.subtypeOctet(); }
};

// BgpParseExtCommIp6Traits: common part of the two 20-octet kinds.
struct BgpParseExtCommIp6Traits
      : BgpParseExtCommWidthTraits<BgpExtCommIp6PktType, BgpParseExtendedCommunityIp6TypeRuleBase,
                                   ExtCommIp6, ExtCommIp6Content> {
   static constexpr U8 subtypeOctet( const Content& c ) noexcept { return c.subtypeOctet; }
};

// BgpParseExtComm<Kind>Traits: one row of the table. instantiateName is the
// plug-in operation's name, for its trace line.
#define OVBGP_PARSE_TRAITS( Kind, Stem, SubRuleBaseT, Width, typeOctet, SubtypeT, fallbackKind,  \
                            entered )                                                            \
   struct BgpParseExtComm##Kind##Traits : BgpParseExtComm##Width##Traits {                       \
      using Subtype = SubtypeT;                                                                  \
      using SubRuleBase = SubRuleBaseT;                                                          \
      static constexpr TypeEnum type = typeOctet;                                                \
      static constexpr BgpParseExtCommFallback fallback = BgpParseExtCommFallback::fallbackKind; \
      static constexpr bool enteredInCollection = entered;                                       \
      static constexpr std::string_view instantiateName = "instantiateExtComm" #Stem "SubRule";  \
   };
OVBGP_PARSE_EXT_COMM_TYPE_RULES( OVBGP_PARSE_TRAITS )
#undef OVBGP_PARSE_TRAITS

// ---------------------------------------------------------------------------
// Keys

// BgpParseExtCommRuleKey(): names one registered rule by its address; a
// value type, equal and hashed by that address. It does not keep the rule
// alive: a key is only meaningful while its rule is in the collections.
template<class RuleT>
class BgpParseExtCommRuleKey {
 public:
   using Rule = RuleT;

   // Hash: of the address.
   struct Hash {
      size_t operator()( const BgpParseExtCommRuleKey& key ) const noexcept {
         return std::hash<const void*>()( key.rule_ );
      }
   };

   constexpr BgpParseExtCommRuleKey() noexcept = default;
   constexpr explicit BgpParseExtCommRuleKey( const Rule* rule ) noexcept : rule_( rule ) {}

   constexpr const Rule* rule() const noexcept { return rule_; }
   friend constexpr bool operator==( const BgpParseExtCommRuleKey&,
                                     const BgpParseExtCommRuleKey& ) noexcept = default;

 private:
   const Rule* rule_ = nullptr;
};

// The fourteen keys: the top-level rule's and one per type rule.
using BgpParseExtendedCommunityRuleKey = BgpParseExtCommRuleKey<BgpParseExtendedCommunityRule>;
#define OVBGP_PARSE_KEY( Kind, Stem, ... ) \
   using BgpParseExtComm##Stem##RuleKey =  \
         BgpParseExtCommRuleKey<BgpParseExtCommTypeRule<BgpParseExtComm##Kind##Traits>>;
OVBGP_PARSE_EXT_COMM_TYPE_RULES( OVBGP_PARSE_KEY )
#undef OVBGP_PARSE_KEY

// ---------------------------------------------------------------------------
// BgpParseExtCommRuleCollections(): the registry of rule instances, fourteen
// keyed collections (the top-level rule, then one per type rule). Observers
// hear about every insertion and removal synchronously, after the change,
// and tell which it was with ...Has(key). Every mutator is const: rules and
// plug-ins reach the registry through the const pointer of their control,
// and registering into the shared registry is not a change of its identity.
// Built and used on one thread.
class BgpParseExtCommRuleCollections : public Kel::PtrInterface {
 public:
   using Ptr = Kel::Ptr<BgpParseExtCommRuleCollections>;
   using PtrConst = Kel::Ptr<const BgpParseExtCommRuleCollections>;

   // Notifiee: an observer; one handler per collection, each a no-op unless
   // overridden. A handler must not take a counted reference to the rule its
   // key names: the rule may still be under construction.
   class Notifiee {
    public:
      virtual ~Notifiee() = default;
      virtual void handleExtendedCommunityTypeRuleInstance(
            const BgpParseExtendedCommunityRuleKey& ) {}
#define OVBGP_PARSE_HANDLER( Kind, Stem, ... ) \
   virtual void handleExtendedComm##Stem##RuleInstance( const BgpParseExtComm##Stem##RuleKey& ) {}
      OVBGP_PARSE_EXT_COMM_TYPE_RULES( OVBGP_PARSE_HANDLER )
#undef OVBGP_PARSE_HANDLER
   };
   using NotifieeList = Kel::NotifieeList<Notifiee>;

   // BgpParseExtCommRuleCollectionsIs(): new, empty, notification on.
   static Ptr BgpParseExtCommRuleCollectionsIs();

   BgpParseExtCommRuleCollections() = default;
   BgpParseExtCommRuleCollections( const BgpParseExtCommRuleCollections& ) = delete;
   BgpParseExtCommRuleCollections& operator=( const BgpParseExtCommRuleCollections& ) = delete;
   // Forgets observers and entries without telling anyone.
   ~BgpParseExtCommRuleCollections() override = default;

   // notifieeList(): the observers (see the class comment for const).
   NotifieeList& notifieeList() const noexcept { return notifiees_; }

   // The operations of every collection, chosen by the key's type:
   // ruleInstanceIs() enters the key (nothing, and nobody told, when present);
   // ruleInstanceDel() removes it (false, and nobody told, when absent);
   // ruleInstanceDelAll<Key>() removes every entry, each one told;
   // ruleInstance() is the rule the key names while it is entered, else null.
   template<class Key>
   void ruleInstanceIs( const Key& key ) const;
   template<class Key>
   bool ruleInstanceDel( const Key& key ) const;
   template<class Key>
   void ruleInstanceDelAll() const;
   template<class Key>
   bool ruleInstanceHas( const Key& key ) const {
      return map<Key>().contains( key );
   }
   template<class Key>
   const typename Key::Rule* ruleInstance( const Key& key ) const;
   template<class Key>
   size_t ruleInstanceCount() const noexcept {
      return map<Key>().size();
   }
   // ruleInstanceKeys<Key>(): a snapshot of the keys entered, in no order.
   template<class Key>
   std::vector<Key> ruleInstanceKeys() const;

   // The fourteen collections by name: xIs(key), xDel(key), xDelAll(),
   // xHas(key), xCount(), the same operations as above.
#define OVBGP_PARSE_RULE_COLLECTION( name, Key )                             \
   void name##Is( const Key& key ) const { ruleInstanceIs( key ); }          \
   bool name##Del( const Key& key ) const { return ruleInstanceDel( key ); } \
   void name##DelAll() const { ruleInstanceDelAll<Key>(); }                  \
   bool name##Has( const Key& key ) const { return ruleInstanceHas( key ); } \
   size_t name##Count() const noexcept { return ruleInstanceCount<Key>(); }

   OVBGP_PARSE_RULE_COLLECTION( extendedCommunityTypeRuleInstance,
                                BgpParseExtendedCommunityRuleKey )
#define OVBGP_PARSE_COLLECTION( Kind, Stem, ... ) \
   OVBGP_PARSE_RULE_COLLECTION( extendedComm##Stem##RuleInstance, BgpParseExtComm##Stem##RuleKey )
   OVBGP_PARSE_EXT_COMM_TYPE_RULES( OVBGP_PARSE_COLLECTION )
#undef OVBGP_PARSE_COLLECTION
#undef OVBGP_PARSE_RULE_COLLECTION

 private:
   template<class Key>
   using Map = std::unordered_map<Key, const typename Key::Rule*, typename Key::Hash>;

   template<class Key>
   Map<Key>& map() const noexcept {
      return std::get<Map<Key>>( instances_ );
   }
   template<class Key>
   void notify( const Key& key ) const;

   // handle(): the one handler of Notifiee that belongs to a key type.
   static void handle( Notifiee* n, const BgpParseExtendedCommunityRuleKey& key ) {
      n->handleExtendedCommunityTypeRuleInstance( key );
   }
#define OVBGP_PARSE_HANDLE( Kind, Stem, ... )                                     \
   static void handle( Notifiee* n, const BgpParseExtComm##Stem##RuleKey& key ) { \
      n->handleExtendedComm##Stem##RuleInstance( key );                           \
   }
   OVBGP_PARSE_EXT_COMM_TYPE_RULES( OVBGP_PARSE_HANDLE )
#undef OVBGP_PARSE_HANDLE

#define OVBGP_PARSE_MAP( Kind, Stem, ... ) , Map<BgpParseExtComm##Stem##RuleKey>
   mutable std::tuple<Map<BgpParseExtendedCommunityRuleKey> OVBGP_PARSE_EXT_COMM_TYPE_RULES(
         OVBGP_PARSE_MAP )>
         instances_;
#undef OVBGP_PARSE_MAP
   mutable NotifieeList notifiees_;
};

// bgpParseExtCommRuleCollectionsFactory(): the same as
// BgpParseExtCommRuleCollections::BgpParseExtCommRuleCollectionsIs().
BgpParseExtCommRuleCollections::Ptr bgpParseExtCommRuleCollectionsFactory();

// ---------------------------------------------------------------------------
// BgpParseExtCommControl(): what every rule is built with: the registry the
// rules and plug-ins share. A value type, equal by the registry's identity.
// Its reflective text names the registry by address (or NULL); only NULL
// parses back, since a registry cannot be rebuilt from text.
class BgpParseExtCommControl {
 public:
   BgpParseExtCommControl() noexcept = default;
   explicit BgpParseExtCommControl(
         Kel::Ptr<const BgpParseExtCommRuleCollections> ruleCollections ) noexcept
         : ruleCollections_( std::move( ruleCollections ) ) {}

   const Kel::Ptr<const BgpParseExtCommRuleCollections>& ruleCollections() const noexcept {
      return ruleCollections_;
   }

   friend bool operator==( const BgpParseExtCommControl& a,
                           const BgpParseExtCommControl& b ) noexcept {
      return a.ruleCollections_ == b.ruleCollections_;
   }

 private:
   Kel::Ptr<const BgpParseExtCommRuleCollections> ruleCollections_;
};

// valueToStrep() / operator<<(): Value('Routing::Bgp::BgpParseExtCommControl',
// ** {'ruleCollections': 0x...}) with the registry's address, or NULL.
Kel::String valueToStrep( const BgpParseExtCommControl& control );
std::ostream& operator<<( std::ostream& os, const BgpParseExtCommControl& control );
// sequenceToValue(): reads that form back; any registry but NULL throws
// Kel::ParseException for attribute "ruleCollections".
void sequenceToValue( const char* begin, const char* end, BgpParseExtCommControl* control );

// ---------------------------------------------------------------------------
// Rules

// BgpParseExtCommRuleTable<Rule>: the table of one dispatch level, indexed by
// the key octet, so a lookup is one load. Entering reads the key from the
// rule; a different object under the same key replaces the entry (the last
// registration wins), the same object changes nothing; a null rule throws
// Kel::NullArgumentException, a key beyond an octet Kel::RangeException. A
// replaced or removed rule is released only after the table no longer holds
// it, so its destructor sees a consistent table.
template<class Rule>
class BgpParseExtCommRuleTable {
 public:
   Kel::Ptr<const Rule> at( unsigned key ) const noexcept {
      return key <= 0xFF ? entries_[ key ] : nullptr;
   }
   const Rule* find( U8 key ) const noexcept { return entries_[ key ].ptr(); }
   size_t count() const noexcept;
   void is( const Kel::Ptr<const Rule>& rule, unsigned key, const char* operation );
   void del( unsigned key );
   void delAll();

 private:
   std::array<Kel::Ptr<const Rule>, 256> entries_;
};

// OVBGP_PARSE_RULE_TABLE( name, Rule, Key, keyOf, Owner ): the operations of
// the table name##_ by name: name(key), name##Count(), name##Is(rule) (the
// key read with rule->keyOf()), name##Del(key), name##DelAll().
#define OVBGP_PARSE_RULE_TABLE( name, Rule, Key, keyOf, Owner )                          \
   Kel::Ptr<const Rule> name( Key key ) const noexcept { return name##_.at( key ); }     \
   size_t name##Count() const noexcept { return name##_.count(); }                       \
   void name##Is( const Kel::Ptr<const Rule>& rule ) const {                             \
      name##_.is( rule, rule ? unsigned( rule->keyOf() ) : 0u, #Owner "::" #name "Is" ); \
   }                                                                                     \
   void name##Del( Key key ) const { name##_.del( key ); }                               \
   void name##DelAll() const { name##_.delAll(); }

// BgpParseExtCommRuleBase(): root of every rule; holds its control. Counted,
// shared, and immutable once registered (apart from the tables of the type
// rules, see below).
class BgpParseExtCommRuleBase : public Kel::PtrInterface {
 public:
   using Ptr = Kel::Ptr<BgpParseExtCommRuleBase>;
   using PtrConst = Kel::Ptr<const BgpParseExtCommRuleBase>;

   explicit BgpParseExtCommRuleBase( const BgpParseExtCommControl& control ) noexcept
         : control_( control ) {}
   BgpParseExtCommRuleBase( const BgpParseExtCommRuleBase& ) = delete;
   BgpParseExtCommRuleBase& operator=( const BgpParseExtCommRuleBase& ) = delete;

   const BgpParseExtCommControl& control() const noexcept { return control_; }

 private:
   BgpParseExtCommControl control_;
};

// bgpParseExtCommRuleFactory<Rule>(args...): a new rule of any kind (type
// rule, sub-rule) with notification on.
template<class Rule, class... Args>
Kel::Ptr<Rule> bgpParseExtCommRuleFactory( Args&&... args ) {
   return Kel::makeActivePtr<Rule>( std::forward<Args>( args )... );
}

// BgpParseExtCommTypeRuleOf<Width>(): what a type rule of one width is to
// the top-level rule: keyed by its type octet, inhale() is the second level
// of the dispatch: the value for a content of this type, or null for "no
// answer" (the top-level rule then builds a plain value).
template<class Width>
class BgpParseExtCommTypeRuleOf : public BgpParseExtCommRuleBase {
 public:
   using TypeEnum = typename Width::TypeEnum;

   BgpParseExtCommTypeRuleOf( const BgpParseExtCommControl& control, TypeEnum type ) noexcept
         : BgpParseExtCommRuleBase( control ), type_( type ) {}

   TypeEnum type() const noexcept { return type_; }
   virtual Kel::Ptr<const typename Width::Value> inhale(
         const typename Width::Content& content ) const = 0;

 private:
   TypeEnum type_;
};

// OVBGP_PARSE_COUNTED( Name, Base ): a class Name that is Base with its own
// counted-pointer names.
#define OVBGP_PARSE_COUNTED( Name, Base )    \
   class Name : public Base {                \
      using Inherited = Base;                \
                                             \
    public:                                  \
      using Ptr = Kel::Ptr<Name>;            \
      using PtrConst = Kel::Ptr<const Name>; \
      using Inherited::Inherited;            \
   };

// BgpParseExtendedCommunityTypeRuleBase() / ...Ip6TypeRuleBase(): the bases
// of the 8-octet and of the 20-octet IPv6-address-specific type rules.
OVBGP_PARSE_COUNTED( BgpParseExtendedCommunityTypeRuleBase,
                     BgpParseExtCommTypeRuleOf<BgpParseExtCommEightOctetTraits> )
OVBGP_PARSE_COUNTED( BgpParseExtendedCommunityIp6TypeRuleBase,
                     BgpParseExtCommTypeRuleOf<BgpParseExtCommIp6Traits> )

// BgpParseExtCommSubTypeRule<Traits>(): what the sub-rule bases share: the
// subtype they are keyed by and inhale(), which builds the typed value. A
// null answer counts as no answer: the type rule's fallback is used.
template<class TraitsT>
class BgpParseExtCommSubTypeRule : public BgpParseExtCommRuleBase {
 public:
   using Traits = TraitsT;
   using Subtype = typename Traits::Subtype;
   using Value = typename Traits::Value;
   using Content = typename Traits::Content;

   BgpParseExtCommSubTypeRule( const BgpParseExtCommControl& control, Subtype subType ) noexcept
         : BgpParseExtCommRuleBase( control ), subType_( subType ) {}

   Subtype subType() const noexcept { return subType_; }
   virtual Kel::Ptr<const Value> inhale( const Content& content ) const = 0;

 private:
   Subtype subType_;
};

// The thirteen sub-rule bases. Plug-ins derive from these and implement
// inhale(content).
#define OVBGP_PARSE_SUB_RULE_BASE( Kind, Stem, Name, ... ) \
   OVBGP_PARSE_COUNTED( Name, BgpParseExtCommSubTypeRule<BgpParseExtComm##Kind##Traits> )
OVBGP_PARSE_EXT_COMM_TYPE_RULES( OVBGP_PARSE_SUB_RULE_BASE )
#undef OVBGP_PARSE_SUB_RULE_BASE

// BgpParseExtCommTypeRule<Traits>(): what the thirteen type rules share.
// Construction enters the rule into its collection (handleInitialized),
// destruction removes it (handleDel) and releases every sub-rule. The
// subTypeRule table is indexed by the subtype octet, so a lookup is one load;
// it is mutable because plug-ins fill it through the const rule that a key
// names ("immutable once registered, apart from the sub-rule table").
template<class Traits>
class BgpParseExtCommTypeRule : public Traits::TypeRuleBase {
 public:
   using Subtype = typename Traits::Subtype;
   using SubRuleBase = typename Traits::SubRuleBase;
   using Value = typename Traits::Value;
   using Content = typename Traits::Content;
   using Key = BgpParseExtCommRuleKey<BgpParseExtCommTypeRule>;

   explicit BgpParseExtCommTypeRule( const BgpParseExtCommControl& control );
   ~BgpParseExtCommTypeRule() override;

   // inhale(): the sub-rule's value for a valid, claimed subtype that it
   // answers; otherwise the fallback of Traits. Never null.
   Kel::Ptr<const Value> inhale( const Content& content ) const override;

   // subTypeRule...(): the sub-rule table, keyed by subtype (see
   // BgpParseExtCommRuleTable). A subtype that is not a member of the enum
   // may be entered but is never dispatched to.
   OVBGP_PARSE_RULE_TABLE( subTypeRule, SubRuleBase, Subtype, subType, BgpParseExtCommTypeRule )

   // key(): the key naming this rule in its collection.
   Key key() const noexcept { return Key( this ); }
   // handleInitialized(): enter key() into the collection (the IPv6
   // non-transitive rule removes it instead, on purpose).
   void handleInitialized() const;
   // handleDel(): remove key() from the collection.
   void handleDel() const;

 private:
   mutable BgpParseExtCommRuleTable<SubRuleBase> subTypeRule_;
};

// The thirteen type rules, BgpParseExtComm<Kind>Rule.
#define OVBGP_PARSE_TYPE_RULE( Kind, ... )                                                   \
   extern template class BgpParseExtCommTypeRule<BgpParseExtComm##Kind##Traits>;             \
   class BgpParseExtComm##Kind##Rule final                                                   \
         : public BgpParseExtCommTypeRule<BgpParseExtComm##Kind##Traits> {                   \
    public:                                                                                  \
      using Ptr = Kel::Ptr<BgpParseExtComm##Kind##Rule>;                                     \
      using PtrConst = Kel::Ptr<const BgpParseExtComm##Kind##Rule>;                          \
      using BgpParseExtCommTypeRule<BgpParseExtComm##Kind##Traits>::BgpParseExtCommTypeRule; \
   };
OVBGP_PARSE_EXT_COMM_TYPE_RULES( OVBGP_PARSE_TYPE_RULE )
#undef OVBGP_PARSE_TYPE_RULE

// BgpParseExtendedCommunityRule(): the top-level rule. Construction builds
// the eleven 8-octet and two IPv6 type rules and then enters itself into the
// registry; destruction removes its entry and releases every type rule. Both
// tables are indexed by the type octet, so parsing is a bit test, a load and
// the type rule's inhale(), with no allocation beyond the value built. The
// tables are mutable for the same reason as the sub-rule tables.
class BgpParseExtendedCommunityRule final : public BgpParseExtCommRuleBase {
 public:
   using Ptr = Kel::Ptr<BgpParseExtendedCommunityRule>;
   using PtrConst = Kel::Ptr<const BgpParseExtendedCommunityRule>;
   using Key = BgpParseExtendedCommunityRuleKey;

   explicit BgpParseExtendedCommunityRule( const BgpParseExtCommControl& control );
   ~BgpParseExtendedCommunityRule() override;

   // parseExtendedCommunity(): the type rule's value for a valid type with a
   // rule that answers, else a plain ExtComm; never null, never interned.
   Kel::Ptr<const ExtComm> parseExtendedCommunity( const ExtCommContent& content ) const;
   // parseExtendedCommunityIp6(): the same for 20 octets; a plain ExtCommIp6
   // when no type rule answers.
   Kel::Ptr<const ExtCommIp6> parseExtendedCommunityIp6( const ExtCommIp6Content& content ) const;
   // showString(): the parsed value's toStrepForUI() with the three flags.
   Kel::String showString( U64 content, bool formatAsDot, bool ucmpLinkbwWeighted,
                           bool formatJson ) const;

   // typeRule...() / ip6TypeRule...(): the two type tables, keyed by type
   // (see BgpParseExtCommRuleTable).
   OVBGP_PARSE_RULE_TABLE( typeRule, BgpParseExtendedCommunityTypeRuleBase, BgpExtCommPktType, type,
                           BgpParseExtendedCommunityRule )
   OVBGP_PARSE_RULE_TABLE( ip6TypeRule, BgpParseExtendedCommunityIp6TypeRuleBase,
                           BgpExtCommIp6PktType, type, BgpParseExtendedCommunityRule )

   // key(): the key naming this rule in the registry.
   Key key() const noexcept { return Key( this ); }

 private:
   void handleInitialized();

   mutable BgpParseExtCommRuleTable<BgpParseExtendedCommunityTypeRuleBase> typeRule_;
   mutable BgpParseExtCommRuleTable<BgpParseExtendedCommunityIp6TypeRuleBase> ip6TypeRule_;
};

// bgpParseExtendedCommunityRuleFactory(): a new top-level rule with all its
// type rules, notification on.
BgpParseExtendedCommunityRule::Ptr bgpParseExtendedCommunityRuleFactory(
      const BgpParseExtCommControl& control );

// ---------------------------------------------------------------------------
// Template definitions of the registry (the type-rule template is defined and
// instantiated in ExtCommRules.cpp).

template<class Key>
void BgpParseExtCommRuleCollections::ruleInstanceIs( const Key& key ) const {
   if ( map<Key>().emplace( key, key.rule() ).second ) {
      notify( key );
   }
}

template<class Key>
bool BgpParseExtCommRuleCollections::ruleInstanceDel( const Key& key ) const {
   if ( map<Key>().erase( key ) == 0 ) {
      return false;
   }
   notify( key );
   return true;
}

template<class Key>
void BgpParseExtCommRuleCollections::ruleInstanceDelAll() const {
   for ( const Key& key : ruleInstanceKeys<Key>() ) {
      ruleInstanceDel( key );
   }
}

template<class Key>
const typename Key::Rule* BgpParseExtCommRuleCollections::ruleInstance( const Key& key ) const {
   const auto& instances = map<Key>();
   auto it = instances.find( key );
   return it == instances.end() ? nullptr : it->second;
}

template<class Key>
std::vector<Key> BgpParseExtCommRuleCollections::ruleInstanceKeys() const {
   std::vector<Key> keys;
   keys.reserve( map<Key>().size() );
   for ( const auto& entry : map<Key>() ) {
      keys.push_back( entry.first );
   }
   return keys;
}

template<class Key>
void BgpParseExtCommRuleCollections::notify( const Key& key ) const {
   notifiees_.visit( [ & ]( Notifiee* n ) { handle( n, key ); } );
}

} // namespace Routing::Bgp
