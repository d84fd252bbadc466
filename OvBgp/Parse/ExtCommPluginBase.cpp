#include "OvBgp/Parse/ExtCommPluginBase.h"

#include "Kel/Exception.h"
#include "Kel/Trace.h"

namespace Routing::Bgp {

namespace {

Kel::TraceCategory traceBgpCommunityList( "BgpCommunityList" );

} // namespace

BgpParseExtCommPluginBaseSm::BgpParseExtCommPluginBaseSm(
      const Kel::Ptr<const BgpParseExtCommRuleCollections>& ruleCollections )
      : ruleCollections_( ruleCollections ) {
   if ( !ruleCollections_ ) {
      throw Kel::NullArgumentException( "BgpParseExtCommPluginBaseSm: ruleCollections is null" );
   }
   handleInitialized();
}

BgpParseExtCommPluginBaseSm::~BgpParseExtCommPluginBaseSm() {
   ruleCollections_->notifieeList().remove( &kelRuleCollections_ );
}

void BgpParseExtCommPluginBaseSm::handleInitialized() {
   ruleCollections_->notifieeList().add( &kelRuleCollections_ );
}

void BgpParseExtCommPluginBaseSm::traceInstantiate( std::string_view operation,
                                                    std::string_view plugin ) {
   OVTRACE( traceBgpCommunityList, 8, "%.*s %.*s", int( operation.size() ), operation.data(),
            int( plugin.size() ), plugin.data() );
}

template<class Key>
void BgpParseExtCommPluginBaseSm::handleRuleInstance(
      const Key& key,
      void ( BgpParseExtCommPluginBaseSm::*instantiate )( const Key&,
                                                          const BgpParseExtCommControl& )
            const ) const {
   // Only an insertion leaves the key entered; a removal needs nothing.
   if ( key.rule() && ruleCollections_->ruleInstanceHas( key ) ) {
      ( this->*instantiate )( key, key.rule()->control() );
   }
}

template<class Key>
void BgpParseExtCommPluginBaseSm::handleAllRuleInstances(
      void ( BgpParseExtCommPluginBaseSm::*handler )( const Key& ) const ) const {
   // A snapshot: an instantiate override may change the registry.
   for ( const Key& key : ruleCollections_->ruleInstanceKeys<Key>() ) {
      ( this->*handler )( key );
   }
}

void BgpParseExtCommPluginBaseSm::handleStartup() const {
   handleExtendedCommunityTypeRuleInstance();
   handleExtendedCommSubTypeTransTwoOctetAsRuleInstance();
   handleExtendedCommSubTypeTransIpv4AddressRuleInstance();
   handleExtendedCommSubTypeTransFourOctetAsRuleInstance();
   handleExtendedCommSubTypeTransOpaqueRuleInstance();
   handleExtendedCommSubTypeTransGenericRuleInstance();
   handleExtendedCommSubTypeTransGenericPart2RuleInstance();
   handleExtendedCommSubTypeTransGenericPart3RuleInstance();
   handleExtendedCommSubTypeNonTransTwoOctetAsRuleInstance();
   handleExtendedCommSubTypeNonTransIpv4AddressRuleInstance();
   handleExtendedCommSubTypeNonTransFourOctetAsRuleInstance();
   handleExtendedCommSubTypeNonTransOpaqueRuleInstance();
   handleExtendedCommIp6SubTypeTransRuleInstance();
   handleExtendedCommIp6SubTypeNonTransRuleInstance();
}

// The base instantiate versions: this plug-in does not serve the type.
void BgpParseExtCommPluginBaseSm::instantiateExtendedCommunityTypeSubRule(
      const BgpParseExtendedCommunityRuleKey&, const BgpParseExtCommControl& ) const {}
void BgpParseExtCommPluginBaseSm::instantiateExtCommSubTypeTransTwoOctetAsSubRule(
      const BgpParseExtCommSubTypeTransTwoOctetAsRuleKey&, const BgpParseExtCommControl& ) const {}
void BgpParseExtCommPluginBaseSm::instantiateExtCommSubTypeTransIpv4AddressSubRule(
      const BgpParseExtCommSubTypeTransIpv4AddressRuleKey&, const BgpParseExtCommControl& ) const {}
void BgpParseExtCommPluginBaseSm::instantiateExtCommSubTypeTransFourOctetAsSubRule(
      const BgpParseExtCommSubTypeTransFourOctetAsRuleKey&, const BgpParseExtCommControl& ) const {}
void BgpParseExtCommPluginBaseSm::instantiateExtCommSubTypeTransOpaqueSubRule(
      const BgpParseExtCommSubTypeTransOpaqueRuleKey&, const BgpParseExtCommControl& ) const {}
void BgpParseExtCommPluginBaseSm::instantiateExtCommSubTypeTransGenericSubRule(
      const BgpParseExtCommSubTypeTransGenericRuleKey&, const BgpParseExtCommControl& ) const {}
void BgpParseExtCommPluginBaseSm::instantiateExtCommSubTypeTransGenericPart2SubRule(
      const BgpParseExtCommSubTypeTransGenericPart2RuleKey&, const BgpParseExtCommControl& ) const {
}
void BgpParseExtCommPluginBaseSm::instantiateExtCommSubTypeTransGenericPart3SubRule(
      const BgpParseExtCommSubTypeTransGenericPart3RuleKey&, const BgpParseExtCommControl& ) const {
}
void BgpParseExtCommPluginBaseSm::instantiateExtCommSubTypeNonTransTwoOctetAsSubRule(
      const BgpParseExtCommSubTypeNonTransTwoOctetAsRuleKey&,
      const BgpParseExtCommControl& ) const {}
void BgpParseExtCommPluginBaseSm::instantiateExtCommSubTypeNonTransIpv4AddressSubRule(
      const BgpParseExtCommSubTypeNonTransIpv4AddressRuleKey&,
      const BgpParseExtCommControl& ) const {}
void BgpParseExtCommPluginBaseSm::instantiateExtCommSubTypeNonTransFourOctetAsSubRule(
      const BgpParseExtCommSubTypeNonTransFourOctetAsRuleKey&,
      const BgpParseExtCommControl& ) const {}
void BgpParseExtCommPluginBaseSm::instantiateExtCommSubTypeNonTransOpaqueSubRule(
      const BgpParseExtCommSubTypeNonTransOpaqueRuleKey&, const BgpParseExtCommControl& ) const {}
void BgpParseExtCommPluginBaseSm::instantiateExtCommIp6SubTypeTransSubRule(
      const BgpParseExtCommIp6SubTypeTransRuleKey&, const BgpParseExtCommControl& ) const {}
void BgpParseExtCommPluginBaseSm::instantiateExtCommIp6SubTypeNonTransSubRule(
      const BgpParseExtCommIp6SubTypeNonTransRuleKey&, const BgpParseExtCommControl& ) const {}

void BgpParseExtCommPluginBaseSm::handleExtendedCommunityTypeRuleInstance(
      const BgpParseExtendedCommunityRuleKey& key ) const {
   handleRuleInstance( key, &BgpParseExtCommPluginBaseSm::instantiateExtendedCommunityTypeSubRule );
}
void BgpParseExtCommPluginBaseSm::handleExtendedCommunityTypeRuleInstance() const {
   handleAllRuleInstances<BgpParseExtendedCommunityRuleKey>(
         &BgpParseExtCommPluginBaseSm::handleExtendedCommunityTypeRuleInstance );
}
void BgpParseExtCommPluginBaseSm::handleExtendedCommSubTypeTransTwoOctetAsRuleInstance(
      const BgpParseExtCommSubTypeTransTwoOctetAsRuleKey& key ) const {
   handleRuleInstance(
         key, &BgpParseExtCommPluginBaseSm::instantiateExtCommSubTypeTransTwoOctetAsSubRule );
}
void BgpParseExtCommPluginBaseSm::handleExtendedCommSubTypeTransTwoOctetAsRuleInstance() const {
   handleAllRuleInstances<BgpParseExtCommSubTypeTransTwoOctetAsRuleKey>(
         &BgpParseExtCommPluginBaseSm::handleExtendedCommSubTypeTransTwoOctetAsRuleInstance );
}
void BgpParseExtCommPluginBaseSm::handleExtendedCommSubTypeTransIpv4AddressRuleInstance(
      const BgpParseExtCommSubTypeTransIpv4AddressRuleKey& key ) const {
   handleRuleInstance(
         key, &BgpParseExtCommPluginBaseSm::instantiateExtCommSubTypeTransIpv4AddressSubRule );
}
void BgpParseExtCommPluginBaseSm::handleExtendedCommSubTypeTransIpv4AddressRuleInstance() const {
   handleAllRuleInstances<BgpParseExtCommSubTypeTransIpv4AddressRuleKey>(
         &BgpParseExtCommPluginBaseSm::handleExtendedCommSubTypeTransIpv4AddressRuleInstance );
}
void BgpParseExtCommPluginBaseSm::handleExtendedCommSubTypeTransFourOctetAsRuleInstance(
      const BgpParseExtCommSubTypeTransFourOctetAsRuleKey& key ) const {
   handleRuleInstance(
         key, &BgpParseExtCommPluginBaseSm::instantiateExtCommSubTypeTransFourOctetAsSubRule );
}
void BgpParseExtCommPluginBaseSm::handleExtendedCommSubTypeTransFourOctetAsRuleInstance() const {
   handleAllRuleInstances<BgpParseExtCommSubTypeTransFourOctetAsRuleKey>(
         &BgpParseExtCommPluginBaseSm::handleExtendedCommSubTypeTransFourOctetAsRuleInstance );
}
void BgpParseExtCommPluginBaseSm::handleExtendedCommSubTypeTransOpaqueRuleInstance(
      const BgpParseExtCommSubTypeTransOpaqueRuleKey& key ) const {
   handleRuleInstance( key,
                       &BgpParseExtCommPluginBaseSm::instantiateExtCommSubTypeTransOpaqueSubRule );
}
void BgpParseExtCommPluginBaseSm::handleExtendedCommSubTypeTransOpaqueRuleInstance() const {
   handleAllRuleInstances<BgpParseExtCommSubTypeTransOpaqueRuleKey>(
         &BgpParseExtCommPluginBaseSm::handleExtendedCommSubTypeTransOpaqueRuleInstance );
}
void BgpParseExtCommPluginBaseSm::handleExtendedCommSubTypeTransGenericRuleInstance(
      const BgpParseExtCommSubTypeTransGenericRuleKey& key ) const {
   handleRuleInstance( key,
                       &BgpParseExtCommPluginBaseSm::instantiateExtCommSubTypeTransGenericSubRule );
}
void BgpParseExtCommPluginBaseSm::handleExtendedCommSubTypeTransGenericRuleInstance() const {
   handleAllRuleInstances<BgpParseExtCommSubTypeTransGenericRuleKey>(
         &BgpParseExtCommPluginBaseSm::handleExtendedCommSubTypeTransGenericRuleInstance );
}
void BgpParseExtCommPluginBaseSm::handleExtendedCommSubTypeTransGenericPart2RuleInstance(
      const BgpParseExtCommSubTypeTransGenericPart2RuleKey& key ) const {
   handleRuleInstance(
         key, &BgpParseExtCommPluginBaseSm::instantiateExtCommSubTypeTransGenericPart2SubRule );
}
void BgpParseExtCommPluginBaseSm::handleExtendedCommSubTypeTransGenericPart2RuleInstance() const {
   handleAllRuleInstances<BgpParseExtCommSubTypeTransGenericPart2RuleKey>(
         &BgpParseExtCommPluginBaseSm::handleExtendedCommSubTypeTransGenericPart2RuleInstance );
}
void BgpParseExtCommPluginBaseSm::handleExtendedCommSubTypeTransGenericPart3RuleInstance(
      const BgpParseExtCommSubTypeTransGenericPart3RuleKey& key ) const {
   handleRuleInstance(
         key, &BgpParseExtCommPluginBaseSm::instantiateExtCommSubTypeTransGenericPart3SubRule );
}
void BgpParseExtCommPluginBaseSm::handleExtendedCommSubTypeTransGenericPart3RuleInstance() const {
   handleAllRuleInstances<BgpParseExtCommSubTypeTransGenericPart3RuleKey>(
         &BgpParseExtCommPluginBaseSm::handleExtendedCommSubTypeTransGenericPart3RuleInstance );
}
void BgpParseExtCommPluginBaseSm::handleExtendedCommSubTypeNonTransTwoOctetAsRuleInstance(
      const BgpParseExtCommSubTypeNonTransTwoOctetAsRuleKey& key ) const {
   handleRuleInstance(
         key, &BgpParseExtCommPluginBaseSm::instantiateExtCommSubTypeNonTransTwoOctetAsSubRule );
}
void BgpParseExtCommPluginBaseSm::handleExtendedCommSubTypeNonTransTwoOctetAsRuleInstance() const {
   handleAllRuleInstances<BgpParseExtCommSubTypeNonTransTwoOctetAsRuleKey>(
         &BgpParseExtCommPluginBaseSm::handleExtendedCommSubTypeNonTransTwoOctetAsRuleInstance );
}
void BgpParseExtCommPluginBaseSm::handleExtendedCommSubTypeNonTransIpv4AddressRuleInstance(
      const BgpParseExtCommSubTypeNonTransIpv4AddressRuleKey& key ) const {
   handleRuleInstance(
         key, &BgpParseExtCommPluginBaseSm::instantiateExtCommSubTypeNonTransIpv4AddressSubRule );
}
void BgpParseExtCommPluginBaseSm::handleExtendedCommSubTypeNonTransIpv4AddressRuleInstance() const {
   handleAllRuleInstances<BgpParseExtCommSubTypeNonTransIpv4AddressRuleKey>(
         &BgpParseExtCommPluginBaseSm::handleExtendedCommSubTypeNonTransIpv4AddressRuleInstance );
}
void BgpParseExtCommPluginBaseSm::handleExtendedCommSubTypeNonTransFourOctetAsRuleInstance(
      const BgpParseExtCommSubTypeNonTransFourOctetAsRuleKey& key ) const {
   handleRuleInstance(
         key, &BgpParseExtCommPluginBaseSm::instantiateExtCommSubTypeNonTransFourOctetAsSubRule );
}
void BgpParseExtCommPluginBaseSm::handleExtendedCommSubTypeNonTransFourOctetAsRuleInstance() const {
   handleAllRuleInstances<BgpParseExtCommSubTypeNonTransFourOctetAsRuleKey>(
         &BgpParseExtCommPluginBaseSm::handleExtendedCommSubTypeNonTransFourOctetAsRuleInstance );
}
void BgpParseExtCommPluginBaseSm::handleExtendedCommSubTypeNonTransOpaqueRuleInstance(
      const BgpParseExtCommSubTypeNonTransOpaqueRuleKey& key ) const {
   handleRuleInstance(
         key, &BgpParseExtCommPluginBaseSm::instantiateExtCommSubTypeNonTransOpaqueSubRule );
}
void BgpParseExtCommPluginBaseSm::handleExtendedCommSubTypeNonTransOpaqueRuleInstance() const {
   handleAllRuleInstances<BgpParseExtCommSubTypeNonTransOpaqueRuleKey>(
         &BgpParseExtCommPluginBaseSm::handleExtendedCommSubTypeNonTransOpaqueRuleInstance );
}
void BgpParseExtCommPluginBaseSm::handleExtendedCommIp6SubTypeTransRuleInstance(
      const BgpParseExtCommIp6SubTypeTransRuleKey& key ) const {
   handleRuleInstance( key,
                       &BgpParseExtCommPluginBaseSm::instantiateExtCommIp6SubTypeTransSubRule );
}
void BgpParseExtCommPluginBaseSm::handleExtendedCommIp6SubTypeTransRuleInstance() const {
   handleAllRuleInstances<BgpParseExtCommIp6SubTypeTransRuleKey>(
         &BgpParseExtCommPluginBaseSm::handleExtendedCommIp6SubTypeTransRuleInstance );
}
void BgpParseExtCommPluginBaseSm::handleExtendedCommIp6SubTypeNonTransRuleInstance(
      const BgpParseExtCommIp6SubTypeNonTransRuleKey& key ) const {
   handleRuleInstance( key,
                       &BgpParseExtCommPluginBaseSm::instantiateExtCommIp6SubTypeNonTransSubRule );
}
void BgpParseExtCommPluginBaseSm::handleExtendedCommIp6SubTypeNonTransRuleInstance() const {
   handleAllRuleInstances<BgpParseExtCommIp6SubTypeNonTransRuleKey>(
         &BgpParseExtCommPluginBaseSm::handleExtendedCommIp6SubTypeNonTransRuleInstance );
}

void BgpParseExtCommPluginBaseSm::KelRuleCollections::handleExtendedCommunityTypeRuleInstance(
      const BgpParseExtendedCommunityRuleKey& key ) {
   owner_->handleExtendedCommunityTypeRuleInstance( key );
}
void BgpParseExtCommPluginBaseSm::KelRuleCollections::
      handleExtendedCommSubTypeTransTwoOctetAsRuleInstance(
            const BgpParseExtCommSubTypeTransTwoOctetAsRuleKey& key ) {
   owner_->handleExtendedCommSubTypeTransTwoOctetAsRuleInstance( key );
}
void BgpParseExtCommPluginBaseSm::KelRuleCollections::
      handleExtendedCommSubTypeTransIpv4AddressRuleInstance(
            const BgpParseExtCommSubTypeTransIpv4AddressRuleKey& key ) {
   owner_->handleExtendedCommSubTypeTransIpv4AddressRuleInstance( key );
}
void BgpParseExtCommPluginBaseSm::KelRuleCollections::
      handleExtendedCommSubTypeTransFourOctetAsRuleInstance(
            const BgpParseExtCommSubTypeTransFourOctetAsRuleKey& key ) {
   owner_->handleExtendedCommSubTypeTransFourOctetAsRuleInstance( key );
}
void BgpParseExtCommPluginBaseSm::KelRuleCollections::
      handleExtendedCommSubTypeTransOpaqueRuleInstance(
            const BgpParseExtCommSubTypeTransOpaqueRuleKey& key ) {
   owner_->handleExtendedCommSubTypeTransOpaqueRuleInstance( key );
}
void BgpParseExtCommPluginBaseSm::KelRuleCollections::
      handleExtendedCommSubTypeTransGenericRuleInstance(
            const BgpParseExtCommSubTypeTransGenericRuleKey& key ) {
   owner_->handleExtendedCommSubTypeTransGenericRuleInstance( key );
}
void BgpParseExtCommPluginBaseSm::KelRuleCollections::
      handleExtendedCommSubTypeTransGenericPart2RuleInstance(
            const BgpParseExtCommSubTypeTransGenericPart2RuleKey& key ) {
   owner_->handleExtendedCommSubTypeTransGenericPart2RuleInstance( key );
}
void BgpParseExtCommPluginBaseSm::KelRuleCollections::
      handleExtendedCommSubTypeTransGenericPart3RuleInstance(
            const BgpParseExtCommSubTypeTransGenericPart3RuleKey& key ) {
   owner_->handleExtendedCommSubTypeTransGenericPart3RuleInstance( key );
}
void BgpParseExtCommPluginBaseSm::KelRuleCollections::
      handleExtendedCommSubTypeNonTransTwoOctetAsRuleInstance(
            const BgpParseExtCommSubTypeNonTransTwoOctetAsRuleKey& key ) {
   owner_->handleExtendedCommSubTypeNonTransTwoOctetAsRuleInstance( key );
}
void BgpParseExtCommPluginBaseSm::KelRuleCollections::
      handleExtendedCommSubTypeNonTransIpv4AddressRuleInstance(
            const BgpParseExtCommSubTypeNonTransIpv4AddressRuleKey& key ) {
   owner_->handleExtendedCommSubTypeNonTransIpv4AddressRuleInstance( key );
}
void BgpParseExtCommPluginBaseSm::KelRuleCollections::
      handleExtendedCommSubTypeNonTransFourOctetAsRuleInstance(
            const BgpParseExtCommSubTypeNonTransFourOctetAsRuleKey& key ) {
   owner_->handleExtendedCommSubTypeNonTransFourOctetAsRuleInstance( key );
}
void BgpParseExtCommPluginBaseSm::KelRuleCollections::
      handleExtendedCommSubTypeNonTransOpaqueRuleInstance(
            const BgpParseExtCommSubTypeNonTransOpaqueRuleKey& key ) {
   owner_->handleExtendedCommSubTypeNonTransOpaqueRuleInstance( key );
}
void BgpParseExtCommPluginBaseSm::KelRuleCollections::handleExtendedCommIp6SubTypeTransRuleInstance(
      const BgpParseExtCommIp6SubTypeTransRuleKey& key ) {
   owner_->handleExtendedCommIp6SubTypeTransRuleInstance( key );
}
void BgpParseExtCommPluginBaseSm::KelRuleCollections::
      handleExtendedCommIp6SubTypeNonTransRuleInstance(
            const BgpParseExtCommIp6SubTypeNonTransRuleKey& key ) {
   owner_->handleExtendedCommIp6SubTypeNonTransRuleInstance( key );
}

} // namespace Routing::Bgp
