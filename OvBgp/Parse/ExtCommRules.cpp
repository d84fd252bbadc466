#include "OvBgp/Parse/ExtCommRules.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <ostream>
#include <string_view>
#include <type_traits>
#include <utility>

#include "Kel/Exception.h"
#include "Kel/Strep.h"
#include "OvBgp/Parse/ExtCommAsNumber.h"

namespace Routing::Bgp {

namespace {

constexpr std::string_view kControlName = "Routing::Bgp::BgpParseExtCommControl";
constexpr std::string_view kRuleCollections = "ruleCollections";

// answer(): what the rule entered under key builds for content, when key is
// a member of KeyEnum and the rule answers; otherwise null. One level of the
// dispatch: a bit test, a load and the rule's inhale().
template<class KeyEnum, class Rule, class Content>
auto answer( const BgpParseExtCommRuleTable<Rule>& table, U8 key, const Content& content )
      -> decltype( table.find( key )->inhale( content ) ) {
   if ( bgpIsValidEnumMember( KeyEnum( key ) ) ) {
      if ( const Rule* rule = table.find( key ) ) {
         return rule->inhale( content );
      }
   }
   return nullptr;
}

} // namespace

// fallback<Traits>(): the type's value for a content no sub-rule answers,
// unclassified, the content unchanged.
template<class Traits>
Kel::Ptr<const typename Traits::Value> fallback( const typename Traits::Content& c ) {
   constexpr ExtCommClassification none = extCommClassificationUnSpecified;
   using enum BgpParseExtCommFallback;
   if constexpr ( Traits::fallback == asNumber || Traits::fallback == asNumber4 ) {
      return ExtCommAsNumber::ExtCommAsNumberIs( none, c, Traits::fallback == asNumber4 );
   } else if constexpr ( Traits::fallback == ipv4Address ) {
      return ExtCommIpv4Address::ExtCommIpv4AddressIs( none, c );
   } else if constexpr ( Traits::fallback == subtyped ) {
      return ExtCommSubtyped::ExtCommSubtypedIs( none, c );
   } else {
      return ExtCommIp6Subtyped::ExtCommIp6SubtypedIs( none, c );
   }
}

// ---------------------------------------------------------------------------
// BgpParseExtCommRuleTable<Rule>

template<class Rule>
size_t BgpParseExtCommRuleTable<Rule>::count() const noexcept {
   return size_t( std::count_if( entries_.begin(), entries_.end(),
                                 []( const auto& entry ) { return bool( entry ); } ) );
}

template<class Rule>
void BgpParseExtCommRuleTable<Rule>::is( const Kel::Ptr<const Rule>& rule, unsigned key,
                                         const char* operation ) {
   if ( !rule ) {
      throw Kel::NullArgumentException( Kel::String( operation ) + ": rule is null" );
   }
   if ( key > 0xFF ) {
      throw Kel::RangeException( Kel::String( operation ) + ": key is beyond an octet" );
   }
   if ( entries_[ key ] != rule ) {
      Kel::Ptr<const Rule> previous = std::exchange( entries_[ key ], rule );
   }
}

template<class Rule>
void BgpParseExtCommRuleTable<Rule>::del( unsigned key ) {
   if ( key <= 0xFF ) {
      auto previous = std::move( entries_[ key ] );
      entries_[ key ] = nullptr;
   }
}

template<class Rule>
void BgpParseExtCommRuleTable<Rule>::delAll() {
   for ( auto& entry : entries_ ) {
      auto previous = std::move( entry );
      entry = nullptr;
   }
}

template class BgpParseExtCommRuleTable<BgpParseExtendedCommunityTypeRuleBase>;
template class BgpParseExtCommRuleTable<BgpParseExtendedCommunityIp6TypeRuleBase>;

// ---------------------------------------------------------------------------
// BgpParseExtCommRuleCollections

BgpParseExtCommRuleCollections::Ptr
BgpParseExtCommRuleCollections::BgpParseExtCommRuleCollectionsIs() {
   return Kel::makeActivePtr<BgpParseExtCommRuleCollections>();
}

BgpParseExtCommRuleCollections::Ptr bgpParseExtCommRuleCollectionsFactory() {
   return BgpParseExtCommRuleCollections::BgpParseExtCommRuleCollectionsIs();
}

// ---------------------------------------------------------------------------
// BgpParseExtCommControl

Kel::String valueToStrep( const BgpParseExtCommControl& control ) {
   Kel::String address = "NULL";
   if ( const void* p = control.ruleCollections().ptr() ) {
      char digits[ 2 * sizeof( void* ) ];
      auto [ end, ec ] = std::to_chars( digits, digits + sizeof( digits ),
                                        reinterpret_cast<uintptr_t>( p ), 16 );
      address = "0x" + Kel::String( digits, end );
   }
   return Kel::StrepWriter( kControlName ).attr( kRuleCollections, address ).str();
}

std::ostream& operator<<( std::ostream& os, const BgpParseExtCommControl& control ) {
   return os << valueToStrep( control );
}

void sequenceToValue( const char* begin, const char* end, BgpParseExtCommControl* control ) {
   Kel::StrepReader reader( begin, end );
   reader.open( kControlName );
   std::string_view text = reader.fieldText( kRuleCollections );
   if ( text != "NULL" ) {
      throw Kel::ParseException( Kel::String( kRuleCollections ),
                                 "expected NULL for 'ruleCollections', found '" +
                                       Kel::String( text ) +
                                       "': a rule collection cannot be rebuilt from text" );
   }
   reader.close();
   *control = BgpParseExtCommControl();
}

// ---------------------------------------------------------------------------
// BgpParseExtCommTypeRule<Traits>

template<class Traits>
BgpParseExtCommTypeRule<Traits>::BgpParseExtCommTypeRule( const BgpParseExtCommControl& control )
      : Traits::TypeRuleBase( control, Traits::type ) {
   // The entry goes in before anyone holds a reference; if an observer
   // throws, it must not outlive the half-built rule.
   try {
      handleInitialized();
   } catch ( ... ) {
      handleDel();
      throw;
   }
}

template<class Traits>
BgpParseExtCommTypeRule<Traits>::~BgpParseExtCommTypeRule() {
   handleDel();
   subTypeRuleDelAll();
}

template<class Traits>
Kel::Ptr<const typename Traits::Value> BgpParseExtCommTypeRule<Traits>::inhale(
      const Content& content ) const {
   if ( auto value = answer<Subtype>( subTypeRule_, Traits::subtypeOctet( content ), content ) ) {
      return value;
   }
   return fallback<Traits>( content );
}

template<class Traits>
void BgpParseExtCommTypeRule<Traits>::handleInitialized() const {
   if constexpr ( !Traits::enteredInCollection ) {
      handleDel();
   } else if ( const auto& collections = this->control().ruleCollections() ) {
      collections->ruleInstanceIs( key() );
   }
}

template<class Traits>
void BgpParseExtCommTypeRule<Traits>::handleDel() const {
   if ( const auto& collections = this->control().ruleCollections() ) {
      collections->ruleInstanceDel( key() );
   }
}

#define OVBGP_PARSE_INSTANTIATE( Kind, ... )                                            \
   template class BgpParseExtCommRuleTable<BgpParseExtComm##Kind##Traits::SubRuleBase>; \
   template class BgpParseExtCommTypeRule<BgpParseExtComm##Kind##Traits>;
OVBGP_PARSE_EXT_COMM_TYPE_RULES( OVBGP_PARSE_INSTANTIATE )
#undef OVBGP_PARSE_INSTANTIATE

// ---------------------------------------------------------------------------
// BgpParseExtendedCommunityRule

namespace {

// createTypeRule<Rule>(): a new Rule, entered into the table of its width.
template<class Rule>
void createTypeRule( const BgpParseExtendedCommunityRule& top, const BgpParseExtCommControl& c ) {
   auto rule = bgpParseExtCommRuleFactory<Rule>( c );
   if constexpr ( std::is_same_v<typename Rule::Value, ExtCommIp6> ) {
      top.ip6TypeRuleIs( rule );
   } else {
      top.typeRuleIs( rule );
   }
}

} // namespace

BgpParseExtendedCommunityRule::BgpParseExtendedCommunityRule(
      const BgpParseExtCommControl& control )
      : BgpParseExtCommRuleBase( control ) {
   handleInitialized();
}

BgpParseExtendedCommunityRule::~BgpParseExtendedCommunityRule() {
   if ( const auto& collections = control().ruleCollections() ) {
      collections->extendedCommunityTypeRuleInstanceDel( key() );
   }
   typeRuleDelAll();
   ip6TypeRuleDelAll();
}

void BgpParseExtendedCommunityRule::handleInitialized() {
   const BgpParseExtCommControl& c = control();
   // Every type rule of the table, in its order, each into the table of its width.
#define OVBGP_PARSE_CREATE( Kind, ... ) createTypeRule<BgpParseExtComm##Kind##Rule>( *this, c );
   OVBGP_PARSE_EXT_COMM_TYPE_RULES( OVBGP_PARSE_CREATE )
#undef OVBGP_PARSE_CREATE
   // Last, so that a plug-in hearing of the top-level rule finds every type
   // rule in place. If an observer throws, the entry must not outlive us.
   if ( const auto& collections = c.ruleCollections() ) {
      try {
         collections->extendedCommunityTypeRuleInstanceIs( key() );
      } catch ( ... ) {
         collections->extendedCommunityTypeRuleInstanceDel( key() );
         throw;
      }
   }
}

Kel::Ptr<const ExtComm> BgpParseExtendedCommunityRule::parseExtendedCommunity(
      const ExtCommContent& content ) const {
   if ( auto value = answer<BgpExtCommPktType>( typeRule_, content.typeOctet(), content ) ) {
      return value;
   }
   return extCommFactory( extCommClassificationUnSpecified, content );
}

Kel::Ptr<const ExtCommIp6> BgpParseExtendedCommunityRule::parseExtendedCommunityIp6(
      const ExtCommIp6Content& content ) const {
   if ( auto value = answer<BgpExtCommIp6PktType>( ip6TypeRule_, content.typeOctet, content ) ) {
      return value;
   }
   return extCommIp6Factory( extCommClassificationUnSpecified, content );
}

Kel::String BgpParseExtendedCommunityRule::showString( U64 content, bool formatAsDot,
                                                       bool ucmpLinkbwWeighted,
                                                       bool formatJson ) const {
   return parseExtendedCommunity( ExtCommContent( content ) )
         ->toStrepForUI( formatAsDot, ucmpLinkbwWeighted, formatJson );
}

BgpParseExtendedCommunityRule::Ptr bgpParseExtendedCommunityRuleFactory(
      const BgpParseExtCommControl& control ) {
   return bgpParseExtCommRuleFactory<BgpParseExtendedCommunityRule>( control );
}

} // namespace Routing::Bgp
