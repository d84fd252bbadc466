#include "OvBgp/Parse/ExtCommRules.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <ostream>
#include <string_view>
#include <utility>

#include "Kel/Exception.h"
#include "Kel/Strep.h"
#include "OvBgp/Parse/ExtCommAsNumber.h"

namespace Routing::Bgp {

namespace {

constexpr std::string_view kControlName = "Routing::Bgp::BgpParseExtCommControl";
constexpr std::string_view kRuleCollections = "ruleCollections";

// throwNullRule(): the error of a null rule handed to a table mutator.
[[noreturn]] void throwNullRule( const char* operation ) {
   throw Kel::NullArgumentException( Kel::String( operation ) + ": rule is null" );
}

template<class Table>
size_t countEntries( const Table& table ) noexcept {
   return size_t( std::count_if( table.begin(), table.end(),
                                 []( const auto& entry ) { return bool( entry ); } ) );
}

// enter(): the one update rule of every table: a different object under the
// same key replaces the entry, the same object changes nothing. The previous
// occupant is released only after the table holds the new one, so its
// destructor sees a consistent table.
template<class Table, class Rule>
void enter( Table& table, unsigned index, const Kel::Ptr<const Rule>& rule,
            const char* operation ) {
   if ( index > 0xFF ) {
      throw Kel::RangeException( Kel::String( operation ) + ": key is beyond an octet" );
   }
   if ( table[ index ] == rule ) {
      return;
   }
   Kel::Ptr<const Rule> previous = std::exchange( table[ index ], rule );
}

template<class Table>
void release( Table& table, unsigned index ) {
   if ( index <= 0xFF ) {
      auto previous = std::move( table[ index ] );
      table[ index ] = nullptr;
   }
}

// releaseAll(): empties a table; each rule goes after its entry is cleared.
template<class Table>
void releaseAll( Table& table ) {
   for ( auto& entry : table ) {
      auto previous = std::move( entry );
      entry = nullptr;
   }
}

} // namespace

// ---------------------------------------------------------------------------
// Fallbacks: every value with classification unspecified and the content
// unchanged.

Kel::Ptr<const ExtComm> BgpParseExtCommTransTwoOctetAsTraits::fallback( const ExtCommContent& c ) {
   return ExtCommAsNumber::ExtCommAsNumberIs( extCommClassificationUnSpecified, c, false );
}
Kel::Ptr<const ExtComm> BgpParseExtCommTransIpv4AddressTraits::fallback( const ExtCommContent& c ) {
   return ExtCommIpv4Address::ExtCommIpv4AddressIs( extCommClassificationUnSpecified, c );
}
Kel::Ptr<const ExtComm> BgpParseExtCommTransFourOctetAsTraits::fallback( const ExtCommContent& c ) {
   return ExtCommAsNumber::ExtCommAsNumberIs( extCommClassificationUnSpecified, c, true );
}
Kel::Ptr<const ExtComm> BgpParseExtCommTransOpaqueTraits::fallback( const ExtCommContent& c ) {
   return ExtCommSubtyped::ExtCommSubtypedIs( extCommClassificationUnSpecified, c );
}
Kel::Ptr<const ExtComm> BgpParseExtCommTransGenericTraits::fallback( const ExtCommContent& c ) {
   return ExtCommSubtyped::ExtCommSubtypedIs( extCommClassificationUnSpecified, c );
}
Kel::Ptr<const ExtComm> BgpParseExtCommTransGenericPart2Traits::fallback(
      const ExtCommContent& c ) {
   return ExtCommSubtyped::ExtCommSubtypedIs( extCommClassificationUnSpecified, c );
}
Kel::Ptr<const ExtComm> BgpParseExtCommTransGenericPart3Traits::fallback(
      const ExtCommContent& c ) {
   return ExtCommSubtyped::ExtCommSubtypedIs( extCommClassificationUnSpecified, c );
}
Kel::Ptr<const ExtComm> BgpParseExtCommNonTransTwoOctetAsTraits::fallback(
      const ExtCommContent& c ) {
   return ExtCommAsNumber::ExtCommAsNumberIs( extCommClassificationUnSpecified, c, false );
}
Kel::Ptr<const ExtComm> BgpParseExtCommNonTransIpv4AddressTraits::fallback(
      const ExtCommContent& c ) {
   return ExtCommIpv4Address::ExtCommIpv4AddressIs( extCommClassificationUnSpecified, c );
}
Kel::Ptr<const ExtComm> BgpParseExtCommNonTransFourOctetAsTraits::fallback(
      const ExtCommContent& c ) {
   return ExtCommAsNumber::ExtCommAsNumberIs( extCommClassificationUnSpecified, c, true );
}
Kel::Ptr<const ExtComm> BgpParseExtCommNonTransOpaqueTraits::fallback( const ExtCommContent& c ) {
   return ExtCommSubtyped::ExtCommSubtypedIs( extCommClassificationUnSpecified, c );
}
Kel::Ptr<const ExtCommIp6> BgpParseExtCommIp6TransTraits::fallback( const ExtCommIp6Content& c ) {
   return ExtCommIp6Subtyped::ExtCommIp6SubtypedIs( extCommClassificationUnSpecified, c );
}
Kel::Ptr<const ExtCommIp6> BgpParseExtCommIp6NonTransTraits::fallback(
      const ExtCommIp6Content& c ) {
   return ExtCommIp6Subtyped::ExtCommIp6SubtypedIs( extCommClassificationUnSpecified, c );
}

// ---------------------------------------------------------------------------
// BgpParseExtCommRuleCollections

BgpParseExtCommRuleCollections::Ptr
BgpParseExtCommRuleCollections::BgpParseExtCommRuleCollectionsIs() {
   return Kel::makeActivePtr<BgpParseExtCommRuleCollections>();
}

BgpParseExtCommRuleCollections::Ptr bgpParseExtCommRuleCollectionsFactory() {
   return BgpParseExtCommRuleCollections::BgpParseExtCommRuleCollectionsIs();
}

void BgpParseExtCommRuleCollections::handle( Notifiee* n,
                                             const BgpParseExtendedCommunityRuleKey& key ) {
   n->handleExtendedCommunityTypeRuleInstance( key );
}
void BgpParseExtCommRuleCollections::handle(
      Notifiee* n, const BgpParseExtCommSubTypeTransTwoOctetAsRuleKey& key ) {
   n->handleExtendedCommSubTypeTransTwoOctetAsRuleInstance( key );
}
void BgpParseExtCommRuleCollections::handle(
      Notifiee* n, const BgpParseExtCommSubTypeTransIpv4AddressRuleKey& key ) {
   n->handleExtendedCommSubTypeTransIpv4AddressRuleInstance( key );
}
void BgpParseExtCommRuleCollections::handle(
      Notifiee* n, const BgpParseExtCommSubTypeTransFourOctetAsRuleKey& key ) {
   n->handleExtendedCommSubTypeTransFourOctetAsRuleInstance( key );
}
void BgpParseExtCommRuleCollections::handle( Notifiee* n,
                                             const BgpParseExtCommSubTypeTransOpaqueRuleKey& key ) {
   n->handleExtendedCommSubTypeTransOpaqueRuleInstance( key );
}
void BgpParseExtCommRuleCollections::handle(
      Notifiee* n, const BgpParseExtCommSubTypeTransGenericRuleKey& key ) {
   n->handleExtendedCommSubTypeTransGenericRuleInstance( key );
}
void BgpParseExtCommRuleCollections::handle(
      Notifiee* n, const BgpParseExtCommSubTypeTransGenericPart2RuleKey& key ) {
   n->handleExtendedCommSubTypeTransGenericPart2RuleInstance( key );
}
void BgpParseExtCommRuleCollections::handle(
      Notifiee* n, const BgpParseExtCommSubTypeTransGenericPart3RuleKey& key ) {
   n->handleExtendedCommSubTypeTransGenericPart3RuleInstance( key );
}
void BgpParseExtCommRuleCollections::handle(
      Notifiee* n, const BgpParseExtCommSubTypeNonTransTwoOctetAsRuleKey& key ) {
   n->handleExtendedCommSubTypeNonTransTwoOctetAsRuleInstance( key );
}
void BgpParseExtCommRuleCollections::handle(
      Notifiee* n, const BgpParseExtCommSubTypeNonTransIpv4AddressRuleKey& key ) {
   n->handleExtendedCommSubTypeNonTransIpv4AddressRuleInstance( key );
}
void BgpParseExtCommRuleCollections::handle(
      Notifiee* n, const BgpParseExtCommSubTypeNonTransFourOctetAsRuleKey& key ) {
   n->handleExtendedCommSubTypeNonTransFourOctetAsRuleInstance( key );
}
void BgpParseExtCommRuleCollections::handle(
      Notifiee* n, const BgpParseExtCommSubTypeNonTransOpaqueRuleKey& key ) {
   n->handleExtendedCommSubTypeNonTransOpaqueRuleInstance( key );
}
void BgpParseExtCommRuleCollections::handle( Notifiee* n,
                                             const BgpParseExtCommIp6SubTypeTransRuleKey& key ) {
   n->handleExtendedCommIp6SubTypeTransRuleInstance( key );
}
void BgpParseExtCommRuleCollections::handle( Notifiee* n,
                                             const BgpParseExtCommIp6SubTypeNonTransRuleKey& key ) {
   n->handleExtendedCommIp6SubTypeNonTransRuleInstance( key );
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
   const U8 subType = Traits::subtypeOctet( content );
   if ( bgpIsValidEnumMember( Subtype( subType ) ) ) {
      if ( const SubRuleBase* subRule = subTypeRule_[ subType ].ptr() ) {
         if ( Kel::Ptr<const Value> value = subRule->inhale( content ) ) {
            return value;
         }
      }
   }
   return Traits::fallback( content );
}

template<class Traits>
size_t BgpParseExtCommTypeRule<Traits>::subTypeRuleCount() const noexcept {
   return countEntries( subTypeRule_ );
}

template<class Traits>
void BgpParseExtCommTypeRule<Traits>::subTypeRuleIs(
      const Kel::Ptr<const SubRuleBase>& subRule ) const {
   if ( !subRule ) {
      throwNullRule( "BgpParseExtCommTypeRule::subTypeRuleIs" );
   }
   enter( subTypeRule_, subRule->subType(), subRule, "BgpParseExtCommTypeRule::subTypeRuleIs" );
}

template<class Traits>
void BgpParseExtCommTypeRule<Traits>::subTypeRuleDel( Subtype subType ) const {
   release( subTypeRule_, subType );
}

template<class Traits>
void BgpParseExtCommTypeRule<Traits>::subTypeRuleDelAll() const {
   releaseAll( subTypeRule_ );
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

template class BgpParseExtCommTypeRule<BgpParseExtCommTransTwoOctetAsTraits>;
template class BgpParseExtCommTypeRule<BgpParseExtCommTransIpv4AddressTraits>;
template class BgpParseExtCommTypeRule<BgpParseExtCommTransFourOctetAsTraits>;
template class BgpParseExtCommTypeRule<BgpParseExtCommTransOpaqueTraits>;
template class BgpParseExtCommTypeRule<BgpParseExtCommTransGenericTraits>;
template class BgpParseExtCommTypeRule<BgpParseExtCommTransGenericPart2Traits>;
template class BgpParseExtCommTypeRule<BgpParseExtCommTransGenericPart3Traits>;
template class BgpParseExtCommTypeRule<BgpParseExtCommNonTransTwoOctetAsTraits>;
template class BgpParseExtCommTypeRule<BgpParseExtCommNonTransIpv4AddressTraits>;
template class BgpParseExtCommTypeRule<BgpParseExtCommNonTransFourOctetAsTraits>;
template class BgpParseExtCommTypeRule<BgpParseExtCommNonTransOpaqueTraits>;
template class BgpParseExtCommTypeRule<BgpParseExtCommIp6TransTraits>;
template class BgpParseExtCommTypeRule<BgpParseExtCommIp6NonTransTraits>;

// ---------------------------------------------------------------------------
// BgpParseExtendedCommunityRule

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
   typeRuleIs( bgpParseExtCommRuleFactory<BgpParseExtCommTransTwoOctetAsRule>( c ) );
   typeRuleIs( bgpParseExtCommRuleFactory<BgpParseExtCommTransIpv4AddressRule>( c ) );
   typeRuleIs( bgpParseExtCommRuleFactory<BgpParseExtCommTransFourOctetAsRule>( c ) );
   typeRuleIs( bgpParseExtCommRuleFactory<BgpParseExtCommTransOpaqueRule>( c ) );
   typeRuleIs( bgpParseExtCommRuleFactory<BgpParseExtCommTransGenericRule>( c ) );
   typeRuleIs( bgpParseExtCommRuleFactory<BgpParseExtCommTransGenericPart2Rule>( c ) );
   typeRuleIs( bgpParseExtCommRuleFactory<BgpParseExtCommTransGenericPart3Rule>( c ) );
   typeRuleIs( bgpParseExtCommRuleFactory<BgpParseExtCommNonTransTwoOctetAsRule>( c ) );
   typeRuleIs( bgpParseExtCommRuleFactory<BgpParseExtCommNonTransIpv4AddressRule>( c ) );
   typeRuleIs( bgpParseExtCommRuleFactory<BgpParseExtCommNonTransFourOctetAsRule>( c ) );
   typeRuleIs( bgpParseExtCommRuleFactory<BgpParseExtCommNonTransOpaqueRule>( c ) );
   ip6TypeRuleIs( bgpParseExtCommRuleFactory<BgpParseExtCommIp6TransRule>( c ) );
   ip6TypeRuleIs( bgpParseExtCommRuleFactory<BgpParseExtCommIp6NonTransRule>( c ) );
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
   const U8 type = content.typeOctet();
   if ( bgpIsValidEnumMember( BgpExtCommPktType( type ) ) ) {
      if ( const BgpParseExtendedCommunityTypeRuleBase* rule = typeRule_[ type ].ptr() ) {
         if ( Kel::Ptr<const ExtComm> value = rule->inhale( content ) ) {
            return value;
         }
      }
   }
   return extCommFactory( extCommClassificationUnSpecified, content );
}

Kel::Ptr<const ExtCommIp6> BgpParseExtendedCommunityRule::parseExtendedCommunityIp6(
      const ExtCommIp6Content& content ) const {
   const U8 type = content.typeOctet;
   if ( bgpIsValidEnumMember( BgpExtCommIp6PktType( type ) ) ) {
      if ( const BgpParseExtendedCommunityIp6TypeRuleBase* rule = ip6TypeRule_[ type ].ptr() ) {
         if ( Kel::Ptr<const ExtCommIp6> value = rule->inhale( content ) ) {
            return value;
         }
      }
   }
   return extCommIp6Factory( extCommClassificationUnSpecified, content );
}

Kel::String BgpParseExtendedCommunityRule::showString( U64 content, bool formatAsDot,
                                                       bool ucmpLinkbwWeighted,
                                                       bool formatJson ) const {
   return parseExtendedCommunity( ExtCommContent( content ) )
         ->toStrepForUI( formatAsDot, ucmpLinkbwWeighted, formatJson );
}

size_t BgpParseExtendedCommunityRule::typeRuleCount() const noexcept {
   return countEntries( typeRule_ );
}

void BgpParseExtendedCommunityRule::typeRuleIs(
      const Kel::Ptr<const BgpParseExtendedCommunityTypeRuleBase>& rule ) const {
   if ( !rule ) {
      throwNullRule( "BgpParseExtendedCommunityRule::typeRuleIs" );
   }
   enter( typeRule_, rule->type(), rule, "BgpParseExtendedCommunityRule::typeRuleIs" );
}

void BgpParseExtendedCommunityRule::typeRuleDel( BgpExtCommPktType type ) const {
   release( typeRule_, type );
}

void BgpParseExtendedCommunityRule::typeRuleDelAll() const { releaseAll( typeRule_ ); }

size_t BgpParseExtendedCommunityRule::ip6TypeRuleCount() const noexcept {
   return countEntries( ip6TypeRule_ );
}

void BgpParseExtendedCommunityRule::ip6TypeRuleIs(
      const Kel::Ptr<const BgpParseExtendedCommunityIp6TypeRuleBase>& rule ) const {
   if ( !rule ) {
      throwNullRule( "BgpParseExtendedCommunityRule::ip6TypeRuleIs" );
   }
   enter( ip6TypeRule_, rule->type(), rule, "BgpParseExtendedCommunityRule::ip6TypeRuleIs" );
}

void BgpParseExtendedCommunityRule::ip6TypeRuleDel( BgpExtCommIp6PktType type ) const {
   release( ip6TypeRule_, type );
}

void BgpParseExtendedCommunityRule::ip6TypeRuleDelAll() const { releaseAll( ip6TypeRule_ ); }

BgpParseExtendedCommunityRule::Ptr bgpParseExtendedCommunityRuleFactory(
      const BgpParseExtCommControl& control ) {
   return bgpParseExtCommRuleFactory<BgpParseExtendedCommunityRule>( control );
}

} // namespace Routing::Bgp
