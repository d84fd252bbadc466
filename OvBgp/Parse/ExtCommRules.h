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

// The sub-rule bases, one per type rule; plug-ins derive their sub-rules
// from these.
class BgpParseExtComSubTypeTransTwoOctetAsRuleBase;
class BgpParseExtComSubTypeTransIpv4AddressRuleBase;
class BgpParseExtComSubTypeTransFourOctetAsRuleBase;
class BgpParseExtComSubTypeTransOpaqueRuleBase;
class BgpParseExtComSubTypeTransGenericRuleBase;
class BgpParseExtComSubTypeTransGenericPart2RuleBase;
class BgpParseExtComSubTypeTransGenericPart3RuleBase;
class BgpParseExtComSubTypeNonTransTwoOctetAsRuleBase;
class BgpParseExtComSubTypeNonTransIpv4AddressRuleBase;
class BgpParseExtComSubTypeNonTransFourOctetAsRuleBase;
class BgpParseExtComSubTypeNonTransOpaqueRuleBase;
class BgpParseExtCommIp6SubTypeTransRuleBase;
class BgpParseExtCommIp6SubTypeNonTransRuleBase;

// ---------------------------------------------------------------------------
// Traits: what the shared type-rule and sub-rule templates need to know of
// each of the thirteen type rules. fallback() builds the value for a content
// that no sub-rule answers, always with classification unspecified.

// BgpParseExtCommEightOctetTraits: common part of the eleven 8-octet kinds.
struct BgpParseExtCommEightOctetTraits {
   using TypeEnum = BgpExtCommPktType;
   using TypeRuleBase = BgpParseExtendedCommunityTypeRuleBase;
   using Value = ExtComm;
   using Content = ExtCommContent;
   // enteredInCollection: whether the type rule registers itself.
   static constexpr bool enteredInCollection = true;
   static constexpr U8 subtypeOctet( const Content& content ) noexcept {
      return content.subtypeOctet();
   }
};

// BgpParseExtCommIp6Traits: common part of the two 20-octet kinds.
struct BgpParseExtCommIp6Traits {
   using TypeEnum = BgpExtCommIp6PktType;
   using TypeRuleBase = BgpParseExtendedCommunityIp6TypeRuleBase;
   using Value = ExtCommIp6;
   using Content = ExtCommIp6Content;
   static constexpr bool enteredInCollection = true;
   static constexpr U8 subtypeOctet( const Content& content ) noexcept {
      return content.subtypeOctet;
   }
};

// BgpParseExtCommTransTwoOctetAsTraits: type 0x00; ExtCommAsNumber, 2-octet.
struct BgpParseExtCommTransTwoOctetAsTraits : BgpParseExtCommEightOctetTraits {
   using Subtype = BgpExtCommPktSubtypeTransTwoOctetAs;
   using SubRuleBase = BgpParseExtComSubTypeTransTwoOctetAsRuleBase;
   static constexpr BgpExtCommPktType type = extCommPktTypeTransTwoOctetAs;
   static Kel::Ptr<const ExtComm> fallback( const ExtCommContent& content );
};

// BgpParseExtCommTransIpv4AddressTraits: type 0x01; ExtCommIpv4Address.
struct BgpParseExtCommTransIpv4AddressTraits : BgpParseExtCommEightOctetTraits {
   using Subtype = BgpExtCommPktSubtypeTransIpv4Address;
   using SubRuleBase = BgpParseExtComSubTypeTransIpv4AddressRuleBase;
   static constexpr BgpExtCommPktType type = extCommPktTypeTransIpv4Address;
   static Kel::Ptr<const ExtComm> fallback( const ExtCommContent& content );
};

// BgpParseExtCommTransFourOctetAsTraits: type 0x02; ExtCommAsNumber, 4-octet.
struct BgpParseExtCommTransFourOctetAsTraits : BgpParseExtCommEightOctetTraits {
   using Subtype = BgpExtCommPktSubtypeTransFourOctetAs;
   using SubRuleBase = BgpParseExtComSubTypeTransFourOctetAsRuleBase;
   static constexpr BgpExtCommPktType type = extCommPktTypeTransFourOctetAs;
   static Kel::Ptr<const ExtComm> fallback( const ExtCommContent& content );
};

// BgpParseExtCommTransOpaqueTraits: type 0x03; ExtCommSubtyped.
struct BgpParseExtCommTransOpaqueTraits : BgpParseExtCommEightOctetTraits {
   using Subtype = BgpExtCommPktSubtypeTransOpaque;
   using SubRuleBase = BgpParseExtComSubTypeTransOpaqueRuleBase;
   static constexpr BgpExtCommPktType type = extCommPktTypeTransOpaque;
   static Kel::Ptr<const ExtComm> fallback( const ExtCommContent& content );
};

// BgpParseExtCommTransGenericTraits: type 0x80; ExtCommSubtyped.
struct BgpParseExtCommTransGenericTraits : BgpParseExtCommEightOctetTraits {
   using Subtype = BgpExtCommPktSubtypeTransGeneric;
   using SubRuleBase = BgpParseExtComSubTypeTransGenericRuleBase;
   static constexpr BgpExtCommPktType type = extCommPktTypeTransGeneric;
   static Kel::Ptr<const ExtComm> fallback( const ExtCommContent& content );
};

// BgpParseExtCommTransGenericPart2Traits: type 0x81; ExtCommSubtyped.
struct BgpParseExtCommTransGenericPart2Traits : BgpParseExtCommEightOctetTraits {
   using Subtype = BgpExtCommPktSubtypeTransGenericPart2;
   using SubRuleBase = BgpParseExtComSubTypeTransGenericPart2RuleBase;
   static constexpr BgpExtCommPktType type = extCommPktTypeTransGenericPart2;
   static Kel::Ptr<const ExtComm> fallback( const ExtCommContent& content );
};

// BgpParseExtCommTransGenericPart3Traits: type 0x82; ExtCommSubtyped.
struct BgpParseExtCommTransGenericPart3Traits : BgpParseExtCommEightOctetTraits {
   using Subtype = BgpExtCommPktSubtypeTransGenericPart3;
   using SubRuleBase = BgpParseExtComSubTypeTransGenericPart3RuleBase;
   static constexpr BgpExtCommPktType type = extCommPktTypeTransGenericPart3;
   static Kel::Ptr<const ExtComm> fallback( const ExtCommContent& content );
};

// BgpParseExtCommNonTransTwoOctetAsTraits: type 0x40; ExtCommAsNumber, 2-octet.
struct BgpParseExtCommNonTransTwoOctetAsTraits : BgpParseExtCommEightOctetTraits {
   using Subtype = BgpExtCommPktSubtypeNonTransTwoOctetAs;
   using SubRuleBase = BgpParseExtComSubTypeNonTransTwoOctetAsRuleBase;
   static constexpr BgpExtCommPktType type = extCommPktTypeNonTransTwoOctetAs;
   static Kel::Ptr<const ExtComm> fallback( const ExtCommContent& content );
};

// BgpParseExtCommNonTransIpv4AddressTraits: type 0x41; ExtCommIpv4Address.
struct BgpParseExtCommNonTransIpv4AddressTraits : BgpParseExtCommEightOctetTraits {
   using Subtype = BgpExtCommPktSubtypeNonTransIpv4Address;
   using SubRuleBase = BgpParseExtComSubTypeNonTransIpv4AddressRuleBase;
   static constexpr BgpExtCommPktType type = extCommPktTypeNonTransIpv4Address;
   static Kel::Ptr<const ExtComm> fallback( const ExtCommContent& content );
};

// BgpParseExtCommNonTransFourOctetAsTraits: type 0x42; ExtCommAsNumber, 4-octet.
struct BgpParseExtCommNonTransFourOctetAsTraits : BgpParseExtCommEightOctetTraits {
   using Subtype = BgpExtCommPktSubtypeNonTransFourOctetAs;
   using SubRuleBase = BgpParseExtComSubTypeNonTransFourOctetAsRuleBase;
   static constexpr BgpExtCommPktType type = extCommPktTypeNonTransFourOctetAs;
   static Kel::Ptr<const ExtComm> fallback( const ExtCommContent& content );
};

// BgpParseExtCommNonTransOpaqueTraits: type 0x43; ExtCommSubtyped.
struct BgpParseExtCommNonTransOpaqueTraits : BgpParseExtCommEightOctetTraits {
   using Subtype = BgpExtCommPktSubtypeNonTransOpaque;
   using SubRuleBase = BgpParseExtComSubTypeNonTransOpaqueRuleBase;
   static constexpr BgpExtCommPktType type = extCommPktTypeNonTransOpaque;
   static Kel::Ptr<const ExtComm> fallback( const ExtCommContent& content );
};

// BgpParseExtCommIp6TransTraits: IPv6 type 0x00; ExtCommIp6Subtyped.
struct BgpParseExtCommIp6TransTraits : BgpParseExtCommIp6Traits {
   using Subtype = BgpExtCommIp6PktSubtypeTransIpv6Address;
   using SubRuleBase = BgpParseExtCommIp6SubTypeTransRuleBase;
   static constexpr BgpExtCommIp6PktType type = extCommIp6PktTypeTransIpv6Address;
   static Kel::Ptr<const ExtCommIp6> fallback( const ExtCommIp6Content& content );
};

// BgpParseExtCommIp6NonTransTraits: IPv6 type 0x40; ExtCommIp6Subtyped. This
// rule deliberately never enters its collection, so no plug-in is offered it
// and every 0x40 content takes the fallback (its subtype enum has no member).
struct BgpParseExtCommIp6NonTransTraits : BgpParseExtCommIp6Traits {
   using Subtype = BgpExtCommIp6PktSubtypeNonTransIpv6Address;
   using SubRuleBase = BgpParseExtCommIp6SubTypeNonTransRuleBase;
   static constexpr BgpExtCommIp6PktType type = extCommIp6PktTypeNonTransIpv6Address;
   static constexpr bool enteredInCollection = false;
   static Kel::Ptr<const ExtCommIp6> fallback( const ExtCommIp6Content& content );
};

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
using BgpParseExtCommSubTypeTransTwoOctetAsRuleKey =
      BgpParseExtCommRuleKey<BgpParseExtCommTypeRule<BgpParseExtCommTransTwoOctetAsTraits>>;
using BgpParseExtCommSubTypeTransIpv4AddressRuleKey =
      BgpParseExtCommRuleKey<BgpParseExtCommTypeRule<BgpParseExtCommTransIpv4AddressTraits>>;
using BgpParseExtCommSubTypeTransFourOctetAsRuleKey =
      BgpParseExtCommRuleKey<BgpParseExtCommTypeRule<BgpParseExtCommTransFourOctetAsTraits>>;
using BgpParseExtCommSubTypeTransOpaqueRuleKey =
      BgpParseExtCommRuleKey<BgpParseExtCommTypeRule<BgpParseExtCommTransOpaqueTraits>>;
using BgpParseExtCommSubTypeTransGenericRuleKey =
      BgpParseExtCommRuleKey<BgpParseExtCommTypeRule<BgpParseExtCommTransGenericTraits>>;
using BgpParseExtCommSubTypeTransGenericPart2RuleKey =
      BgpParseExtCommRuleKey<BgpParseExtCommTypeRule<BgpParseExtCommTransGenericPart2Traits>>;
using BgpParseExtCommSubTypeTransGenericPart3RuleKey =
      BgpParseExtCommRuleKey<BgpParseExtCommTypeRule<BgpParseExtCommTransGenericPart3Traits>>;
using BgpParseExtCommSubTypeNonTransTwoOctetAsRuleKey =
      BgpParseExtCommRuleKey<BgpParseExtCommTypeRule<BgpParseExtCommNonTransTwoOctetAsTraits>>;
using BgpParseExtCommSubTypeNonTransIpv4AddressRuleKey =
      BgpParseExtCommRuleKey<BgpParseExtCommTypeRule<BgpParseExtCommNonTransIpv4AddressTraits>>;
using BgpParseExtCommSubTypeNonTransFourOctetAsRuleKey =
      BgpParseExtCommRuleKey<BgpParseExtCommTypeRule<BgpParseExtCommNonTransFourOctetAsTraits>>;
using BgpParseExtCommSubTypeNonTransOpaqueRuleKey =
      BgpParseExtCommRuleKey<BgpParseExtCommTypeRule<BgpParseExtCommNonTransOpaqueTraits>>;
using BgpParseExtCommIp6SubTypeTransRuleKey =
      BgpParseExtCommRuleKey<BgpParseExtCommTypeRule<BgpParseExtCommIp6TransTraits>>;
using BgpParseExtCommIp6SubTypeNonTransRuleKey =
      BgpParseExtCommRuleKey<BgpParseExtCommTypeRule<BgpParseExtCommIp6NonTransTraits>>;

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
      virtual void handleExtendedCommSubTypeTransTwoOctetAsRuleInstance(
            const BgpParseExtCommSubTypeTransTwoOctetAsRuleKey& ) {}
      virtual void handleExtendedCommSubTypeTransIpv4AddressRuleInstance(
            const BgpParseExtCommSubTypeTransIpv4AddressRuleKey& ) {}
      virtual void handleExtendedCommSubTypeTransFourOctetAsRuleInstance(
            const BgpParseExtCommSubTypeTransFourOctetAsRuleKey& ) {}
      virtual void handleExtendedCommSubTypeTransOpaqueRuleInstance(
            const BgpParseExtCommSubTypeTransOpaqueRuleKey& ) {}
      virtual void handleExtendedCommSubTypeTransGenericRuleInstance(
            const BgpParseExtCommSubTypeTransGenericRuleKey& ) {}
      virtual void handleExtendedCommSubTypeTransGenericPart2RuleInstance(
            const BgpParseExtCommSubTypeTransGenericPart2RuleKey& ) {}
      virtual void handleExtendedCommSubTypeTransGenericPart3RuleInstance(
            const BgpParseExtCommSubTypeTransGenericPart3RuleKey& ) {}
      virtual void handleExtendedCommSubTypeNonTransTwoOctetAsRuleInstance(
            const BgpParseExtCommSubTypeNonTransTwoOctetAsRuleKey& ) {}
      virtual void handleExtendedCommSubTypeNonTransIpv4AddressRuleInstance(
            const BgpParseExtCommSubTypeNonTransIpv4AddressRuleKey& ) {}
      virtual void handleExtendedCommSubTypeNonTransFourOctetAsRuleInstance(
            const BgpParseExtCommSubTypeNonTransFourOctetAsRuleKey& ) {}
      virtual void handleExtendedCommSubTypeNonTransOpaqueRuleInstance(
            const BgpParseExtCommSubTypeNonTransOpaqueRuleKey& ) {}
      virtual void handleExtendedCommIp6SubTypeTransRuleInstance(
            const BgpParseExtCommIp6SubTypeTransRuleKey& ) {}
      virtual void handleExtendedCommIp6SubTypeNonTransRuleInstance(
            const BgpParseExtCommIp6SubTypeNonTransRuleKey& ) {}
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
   OVBGP_PARSE_RULE_COLLECTION( extendedCommSubTypeTransTwoOctetAsRuleInstance,
                                BgpParseExtCommSubTypeTransTwoOctetAsRuleKey )
   OVBGP_PARSE_RULE_COLLECTION( extendedCommSubTypeTransIpv4AddressRuleInstance,
                                BgpParseExtCommSubTypeTransIpv4AddressRuleKey )
   OVBGP_PARSE_RULE_COLLECTION( extendedCommSubTypeTransFourOctetAsRuleInstance,
                                BgpParseExtCommSubTypeTransFourOctetAsRuleKey )
   OVBGP_PARSE_RULE_COLLECTION( extendedCommSubTypeTransOpaqueRuleInstance,
                                BgpParseExtCommSubTypeTransOpaqueRuleKey )
   OVBGP_PARSE_RULE_COLLECTION( extendedCommSubTypeTransGenericRuleInstance,
                                BgpParseExtCommSubTypeTransGenericRuleKey )
   OVBGP_PARSE_RULE_COLLECTION( extendedCommSubTypeTransGenericPart2RuleInstance,
                                BgpParseExtCommSubTypeTransGenericPart2RuleKey )
   OVBGP_PARSE_RULE_COLLECTION( extendedCommSubTypeTransGenericPart3RuleInstance,
                                BgpParseExtCommSubTypeTransGenericPart3RuleKey )
   OVBGP_PARSE_RULE_COLLECTION( extendedCommSubTypeNonTransTwoOctetAsRuleInstance,
                                BgpParseExtCommSubTypeNonTransTwoOctetAsRuleKey )
   OVBGP_PARSE_RULE_COLLECTION( extendedCommSubTypeNonTransIpv4AddressRuleInstance,
                                BgpParseExtCommSubTypeNonTransIpv4AddressRuleKey )
   OVBGP_PARSE_RULE_COLLECTION( extendedCommSubTypeNonTransFourOctetAsRuleInstance,
                                BgpParseExtCommSubTypeNonTransFourOctetAsRuleKey )
   OVBGP_PARSE_RULE_COLLECTION( extendedCommSubTypeNonTransOpaqueRuleInstance,
                                BgpParseExtCommSubTypeNonTransOpaqueRuleKey )
   OVBGP_PARSE_RULE_COLLECTION( extendedCommIp6SubTypeTransRuleInstance,
                                BgpParseExtCommIp6SubTypeTransRuleKey )
   OVBGP_PARSE_RULE_COLLECTION( extendedCommIp6SubTypeNonTransRuleInstance,
                                BgpParseExtCommIp6SubTypeNonTransRuleKey )
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
   static void handle( Notifiee* n, const BgpParseExtendedCommunityRuleKey& key );
   static void handle( Notifiee* n, const BgpParseExtCommSubTypeTransTwoOctetAsRuleKey& key );
   static void handle( Notifiee* n, const BgpParseExtCommSubTypeTransIpv4AddressRuleKey& key );
   static void handle( Notifiee* n, const BgpParseExtCommSubTypeTransFourOctetAsRuleKey& key );
   static void handle( Notifiee* n, const BgpParseExtCommSubTypeTransOpaqueRuleKey& key );
   static void handle( Notifiee* n, const BgpParseExtCommSubTypeTransGenericRuleKey& key );
   static void handle( Notifiee* n, const BgpParseExtCommSubTypeTransGenericPart2RuleKey& key );
   static void handle( Notifiee* n, const BgpParseExtCommSubTypeTransGenericPart3RuleKey& key );
   static void handle( Notifiee* n, const BgpParseExtCommSubTypeNonTransTwoOctetAsRuleKey& key );
   static void handle( Notifiee* n, const BgpParseExtCommSubTypeNonTransIpv4AddressRuleKey& key );
   static void handle( Notifiee* n, const BgpParseExtCommSubTypeNonTransFourOctetAsRuleKey& key );
   static void handle( Notifiee* n, const BgpParseExtCommSubTypeNonTransOpaqueRuleKey& key );
   static void handle( Notifiee* n, const BgpParseExtCommIp6SubTypeTransRuleKey& key );
   static void handle( Notifiee* n, const BgpParseExtCommIp6SubTypeNonTransRuleKey& key );

   mutable std::tuple<
         Map<BgpParseExtendedCommunityRuleKey>, Map<BgpParseExtCommSubTypeTransTwoOctetAsRuleKey>,
         Map<BgpParseExtCommSubTypeTransIpv4AddressRuleKey>,
         Map<BgpParseExtCommSubTypeTransFourOctetAsRuleKey>,
         Map<BgpParseExtCommSubTypeTransOpaqueRuleKey>,
         Map<BgpParseExtCommSubTypeTransGenericRuleKey>,
         Map<BgpParseExtCommSubTypeTransGenericPart2RuleKey>,
         Map<BgpParseExtCommSubTypeTransGenericPart3RuleKey>,
         Map<BgpParseExtCommSubTypeNonTransTwoOctetAsRuleKey>,
         Map<BgpParseExtCommSubTypeNonTransIpv4AddressRuleKey>,
         Map<BgpParseExtCommSubTypeNonTransFourOctetAsRuleKey>,
         Map<BgpParseExtCommSubTypeNonTransOpaqueRuleKey>,
         Map<BgpParseExtCommIp6SubTypeTransRuleKey>, Map<BgpParseExtCommIp6SubTypeNonTransRuleKey>>
         instances_;
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

// BgpParseExtendedCommunityTypeRuleBase(): base of the 8-octet type rules,
// keyed by its type octet; inhale() is the second level of the dispatch.
class BgpParseExtendedCommunityTypeRuleBase : public BgpParseExtCommRuleBase {
 public:
   using Ptr = Kel::Ptr<BgpParseExtendedCommunityTypeRuleBase>;
   using PtrConst = Kel::Ptr<const BgpParseExtendedCommunityTypeRuleBase>;

   BgpParseExtendedCommunityTypeRuleBase( const BgpParseExtCommControl& control,
                                          BgpExtCommPktType type ) noexcept
         : BgpParseExtCommRuleBase( control ), type_( type ) {}

   BgpExtCommPktType type() const noexcept { return type_; }
   // inhale(): the value for a content of this type; null means "no answer"
   // and the top-level rule builds a plain ExtComm.
   virtual Kel::Ptr<const ExtComm> inhale( const ExtCommContent& content ) const = 0;

 private:
   BgpExtCommPktType type_;
};

// BgpParseExtendedCommunityIp6TypeRuleBase(): the same for the 20-octet
// IPv6-address-specific types.
class BgpParseExtendedCommunityIp6TypeRuleBase : public BgpParseExtCommRuleBase {
 public:
   using Ptr = Kel::Ptr<BgpParseExtendedCommunityIp6TypeRuleBase>;
   using PtrConst = Kel::Ptr<const BgpParseExtendedCommunityIp6TypeRuleBase>;

   BgpParseExtendedCommunityIp6TypeRuleBase( const BgpParseExtCommControl& control,
                                             BgpExtCommIp6PktType type ) noexcept
         : BgpParseExtCommRuleBase( control ), type_( type ) {}

   BgpExtCommIp6PktType type() const noexcept { return type_; }
   virtual Kel::Ptr<const ExtCommIp6> inhale( const ExtCommIp6Content& content ) const = 0;

 private:
   BgpExtCommIp6PktType type_;
};

// BgpParseExtCommSubTypeRule<Traits>(): what the sub-rule bases share: the
// subtype they are keyed by and inhale(), which builds the typed value. A
// null answer counts as no answer: the type rule's fallback is used.
template<class Traits>
class BgpParseExtCommSubTypeRule : public BgpParseExtCommRuleBase {
 public:
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
#define OVBGP_PARSE_SUB_RULE_BASE( Name, Traits )                           \
   class Name : public BgpParseExtCommSubTypeRule<Traits> {                 \
    public:                                                                 \
      using Ptr = Kel::Ptr<Name>;                                           \
      using PtrConst = Kel::Ptr<const Name>;                                \
      using BgpParseExtCommSubTypeRule<Traits>::BgpParseExtCommSubTypeRule; \
   };

// BgpParseExtComSubTypeTransTwoOctetAsRuleBase(): sub-rules of type 0x00.
OVBGP_PARSE_SUB_RULE_BASE( BgpParseExtComSubTypeTransTwoOctetAsRuleBase,
                           BgpParseExtCommTransTwoOctetAsTraits )
// BgpParseExtComSubTypeTransIpv4AddressRuleBase(): sub-rules of type 0x01.
OVBGP_PARSE_SUB_RULE_BASE( BgpParseExtComSubTypeTransIpv4AddressRuleBase,
                           BgpParseExtCommTransIpv4AddressTraits )
// BgpParseExtComSubTypeTransFourOctetAsRuleBase(): sub-rules of type 0x02.
OVBGP_PARSE_SUB_RULE_BASE( BgpParseExtComSubTypeTransFourOctetAsRuleBase,
                           BgpParseExtCommTransFourOctetAsTraits )
// BgpParseExtComSubTypeTransOpaqueRuleBase(): sub-rules of type 0x03.
OVBGP_PARSE_SUB_RULE_BASE( BgpParseExtComSubTypeTransOpaqueRuleBase,
                           BgpParseExtCommTransOpaqueTraits )
// BgpParseExtComSubTypeTransGenericRuleBase(): sub-rules of type 0x80.
OVBGP_PARSE_SUB_RULE_BASE( BgpParseExtComSubTypeTransGenericRuleBase,
                           BgpParseExtCommTransGenericTraits )
// BgpParseExtComSubTypeTransGenericPart2RuleBase(): sub-rules of type 0x81.
OVBGP_PARSE_SUB_RULE_BASE( BgpParseExtComSubTypeTransGenericPart2RuleBase,
                           BgpParseExtCommTransGenericPart2Traits )
// BgpParseExtComSubTypeTransGenericPart3RuleBase(): sub-rules of type 0x82.
OVBGP_PARSE_SUB_RULE_BASE( BgpParseExtComSubTypeTransGenericPart3RuleBase,
                           BgpParseExtCommTransGenericPart3Traits )
// BgpParseExtComSubTypeNonTransTwoOctetAsRuleBase(): sub-rules of type 0x40.
OVBGP_PARSE_SUB_RULE_BASE( BgpParseExtComSubTypeNonTransTwoOctetAsRuleBase,
                           BgpParseExtCommNonTransTwoOctetAsTraits )
// BgpParseExtComSubTypeNonTransIpv4AddressRuleBase(): sub-rules of type 0x41.
OVBGP_PARSE_SUB_RULE_BASE( BgpParseExtComSubTypeNonTransIpv4AddressRuleBase,
                           BgpParseExtCommNonTransIpv4AddressTraits )
// BgpParseExtComSubTypeNonTransFourOctetAsRuleBase(): sub-rules of type 0x42.
OVBGP_PARSE_SUB_RULE_BASE( BgpParseExtComSubTypeNonTransFourOctetAsRuleBase,
                           BgpParseExtCommNonTransFourOctetAsTraits )
// BgpParseExtComSubTypeNonTransOpaqueRuleBase(): sub-rules of type 0x43.
OVBGP_PARSE_SUB_RULE_BASE( BgpParseExtComSubTypeNonTransOpaqueRuleBase,
                           BgpParseExtCommNonTransOpaqueTraits )
// BgpParseExtCommIp6SubTypeTransRuleBase(): sub-rules of IPv6 type 0x00.
OVBGP_PARSE_SUB_RULE_BASE( BgpParseExtCommIp6SubTypeTransRuleBase, BgpParseExtCommIp6TransTraits )
// BgpParseExtCommIp6SubTypeNonTransRuleBase(): sub-rules of IPv6 type 0x40.
OVBGP_PARSE_SUB_RULE_BASE( BgpParseExtCommIp6SubTypeNonTransRuleBase,
                           BgpParseExtCommIp6NonTransTraits )
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

   // subTypeRule(): the sub-rule entered for subType, or null.
   Kel::Ptr<const SubRuleBase> subTypeRule( Subtype subType ) const noexcept {
      return subType <= 0xFF ? subTypeRule_[ subType ] : nullptr;
   }
   size_t subTypeRuleCount() const noexcept;
   // subTypeRuleIs(): enter subRule under its own subtype; an entry holding
   // another object is replaced (the last registration wins). A null rule
   // throws Kel::NullArgumentException, a subtype beyond an octet
   // Kel::RangeException. A subtype that is not a member of the enum may be
   // entered but is never dispatched to.
   void subTypeRuleIs( const Kel::Ptr<const SubRuleBase>& subRule ) const;
   // subTypeRuleDel() / subTypeRuleDelAll(): release one / every sub-rule.
   void subTypeRuleDel( Subtype subType ) const;
   void subTypeRuleDelAll() const;

   // key(): the key naming this rule in its collection.
   Key key() const noexcept { return Key( this ); }
   // handleInitialized(): enter key() into the collection (the IPv6
   // non-transitive rule removes it instead, on purpose).
   void handleInitialized() const;
   // handleDel(): remove key() from the collection.
   void handleDel() const;

 private:
   mutable std::array<Kel::Ptr<const SubRuleBase>, 256> subTypeRule_;
};

// The thirteen type rules.
#define OVBGP_PARSE_TYPE_RULE( Name, Traits )                         \
   extern template class BgpParseExtCommTypeRule<Traits>;             \
   class Name final : public BgpParseExtCommTypeRule<Traits> {        \
    public:                                                           \
      using Ptr = Kel::Ptr<Name>;                                     \
      using PtrConst = Kel::Ptr<const Name>;                          \
      using BgpParseExtCommTypeRule<Traits>::BgpParseExtCommTypeRule; \
   };

// BgpParseExtCommTransTwoOctetAsRule(): type 0x00.
OVBGP_PARSE_TYPE_RULE( BgpParseExtCommTransTwoOctetAsRule, BgpParseExtCommTransTwoOctetAsTraits )
// BgpParseExtCommTransIpv4AddressRule(): type 0x01.
OVBGP_PARSE_TYPE_RULE( BgpParseExtCommTransIpv4AddressRule, BgpParseExtCommTransIpv4AddressTraits )
// BgpParseExtCommTransFourOctetAsRule(): type 0x02.
OVBGP_PARSE_TYPE_RULE( BgpParseExtCommTransFourOctetAsRule, BgpParseExtCommTransFourOctetAsTraits )
// BgpParseExtCommTransOpaqueRule(): type 0x03.
OVBGP_PARSE_TYPE_RULE( BgpParseExtCommTransOpaqueRule, BgpParseExtCommTransOpaqueTraits )
// BgpParseExtCommTransGenericRule(): type 0x80.
OVBGP_PARSE_TYPE_RULE( BgpParseExtCommTransGenericRule, BgpParseExtCommTransGenericTraits )
// BgpParseExtCommTransGenericPart2Rule(): type 0x81.
OVBGP_PARSE_TYPE_RULE( BgpParseExtCommTransGenericPart2Rule,
                       BgpParseExtCommTransGenericPart2Traits )
// BgpParseExtCommTransGenericPart3Rule(): type 0x82.
OVBGP_PARSE_TYPE_RULE( BgpParseExtCommTransGenericPart3Rule,
                       BgpParseExtCommTransGenericPart3Traits )
// BgpParseExtCommNonTransTwoOctetAsRule(): type 0x40.
OVBGP_PARSE_TYPE_RULE( BgpParseExtCommNonTransTwoOctetAsRule,
                       BgpParseExtCommNonTransTwoOctetAsTraits )
// BgpParseExtCommNonTransIpv4AddressRule(): type 0x41.
OVBGP_PARSE_TYPE_RULE( BgpParseExtCommNonTransIpv4AddressRule,
                       BgpParseExtCommNonTransIpv4AddressTraits )
// BgpParseExtCommNonTransFourOctetAsRule(): type 0x42.
OVBGP_PARSE_TYPE_RULE( BgpParseExtCommNonTransFourOctetAsRule,
                       BgpParseExtCommNonTransFourOctetAsTraits )
// BgpParseExtCommNonTransOpaqueRule(): type 0x43.
OVBGP_PARSE_TYPE_RULE( BgpParseExtCommNonTransOpaqueRule, BgpParseExtCommNonTransOpaqueTraits )
// BgpParseExtCommIp6TransRule(): IPv6 type 0x00.
OVBGP_PARSE_TYPE_RULE( BgpParseExtCommIp6TransRule, BgpParseExtCommIp6TransTraits )
// BgpParseExtCommIp6NonTransRule(): IPv6 type 0x40; never in its collection.
OVBGP_PARSE_TYPE_RULE( BgpParseExtCommIp6NonTransRule, BgpParseExtCommIp6NonTransTraits )
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

   // typeRule(): the type rule entered for type, or null.
   Kel::Ptr<const BgpParseExtendedCommunityTypeRuleBase> typeRule(
         BgpExtCommPktType type ) const noexcept {
      return type <= 0xFF ? typeRule_[ type ] : nullptr;
   }
   size_t typeRuleCount() const noexcept;
   // typeRuleIs(): enter rule under its own type; same rules as
   // subTypeRuleIs() (null throws, last registration wins).
   void typeRuleIs( const Kel::Ptr<const BgpParseExtendedCommunityTypeRuleBase>& rule ) const;
   void typeRuleDel( BgpExtCommPktType type ) const;
   void typeRuleDelAll() const;

   // ip6TypeRule...(): the same for the IPv6 type rules.
   Kel::Ptr<const BgpParseExtendedCommunityIp6TypeRuleBase> ip6TypeRule(
         BgpExtCommIp6PktType type ) const noexcept {
      return type <= 0xFF ? ip6TypeRule_[ type ] : nullptr;
   }
   size_t ip6TypeRuleCount() const noexcept;
   void ip6TypeRuleIs( const Kel::Ptr<const BgpParseExtendedCommunityIp6TypeRuleBase>& rule ) const;
   void ip6TypeRuleDel( BgpExtCommIp6PktType type ) const;
   void ip6TypeRuleDelAll() const;

   // key(): the key naming this rule in the registry.
   Key key() const noexcept { return Key( this ); }

 private:
   void handleInitialized();

   mutable std::array<Kel::Ptr<const BgpParseExtendedCommunityTypeRuleBase>, 256> typeRule_;
   mutable std::array<Kel::Ptr<const BgpParseExtendedCommunityIp6TypeRuleBase>, 256> ip6TypeRule_;
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
