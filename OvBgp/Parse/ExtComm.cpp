// The entry points through which plug-ins hand their rules to the tables.
// They live in this file because their invariants are documented under its
// name (the source named in an assertion message is the file's path).
#include "OvBgp/Parse/ExtComm.h"

#include "Kel/Assert.h"

namespace Routing::Bgp {

namespace {

template<class Key, class SubRule>
void enterSubRule( const Key& key, const Kel::Ptr<const SubRule>& rule ) {
   KEL_ASSERT_MSG( rule != nullptr, "rule != __null" );
   key.rule()->subTypeRuleIs( rule );
}

} // namespace

void BgpParseExtCommPluginBaseSm::addExtendedCommunityTypeSubRule(
      const BgpParseExtendedCommunityRuleKey& key,
      const Kel::Ptr<const BgpParseExtendedCommunityTypeRuleBase>& rule ) const {
   KEL_ASSERT_MSG( nullptr != rule, "__null != rule" );
   key.rule()->typeRuleIs( rule );
}

void BgpParseExtCommPluginBaseSm::addExtCommSubTypeTransTwoOctetAsSubRule(
      const BgpParseExtCommSubTypeTransTwoOctetAsRuleKey& key,
      const Kel::Ptr<const BgpParseExtComSubTypeTransTwoOctetAsRuleBase>& rule ) const {
   enterSubRule( key, rule );
}

void BgpParseExtCommPluginBaseSm::addExtCommSubTypeTransIpv4AddressSubRule(
      const BgpParseExtCommSubTypeTransIpv4AddressRuleKey& key,
      const Kel::Ptr<const BgpParseExtComSubTypeTransIpv4AddressRuleBase>& rule ) const {
   enterSubRule( key, rule );
}

void BgpParseExtCommPluginBaseSm::addExtCommSubTypeTransFourOctetAsSubRule(
      const BgpParseExtCommSubTypeTransFourOctetAsRuleKey& key,
      const Kel::Ptr<const BgpParseExtComSubTypeTransFourOctetAsRuleBase>& rule ) const {
   enterSubRule( key, rule );
}

void BgpParseExtCommPluginBaseSm::addExtCommSubTypeTransOpaqueSubRule(
      const BgpParseExtCommSubTypeTransOpaqueRuleKey& key,
      const Kel::Ptr<const BgpParseExtComSubTypeTransOpaqueRuleBase>& rule ) const {
   enterSubRule( key, rule );
}

void BgpParseExtCommPluginBaseSm::addExtCommSubTypeTransGenericSubRule(
      const BgpParseExtCommSubTypeTransGenericRuleKey& key,
      const Kel::Ptr<const BgpParseExtComSubTypeTransGenericRuleBase>& rule ) const {
   enterSubRule( key, rule );
}

void BgpParseExtCommPluginBaseSm::addExtCommSubTypeTransGenericPart2SubRule(
      const BgpParseExtCommSubTypeTransGenericPart2RuleKey& key,
      const Kel::Ptr<const BgpParseExtComSubTypeTransGenericPart2RuleBase>& rule ) const {
   enterSubRule( key, rule );
}

void BgpParseExtCommPluginBaseSm::addExtCommSubTypeTransGenericPart3SubRule(
      const BgpParseExtCommSubTypeTransGenericPart3RuleKey& key,
      const Kel::Ptr<const BgpParseExtComSubTypeTransGenericPart3RuleBase>& rule ) const {
   enterSubRule( key, rule );
}

void BgpParseExtCommPluginBaseSm::addExtCommSubTypeNonTransTwoOctetAsSubRule(
      const BgpParseExtCommSubTypeNonTransTwoOctetAsRuleKey& key,
      const Kel::Ptr<const BgpParseExtComSubTypeNonTransTwoOctetAsRuleBase>& rule ) const {
   enterSubRule( key, rule );
}

void BgpParseExtCommPluginBaseSm::addExtCommSubTypeNonTransIpv4AddressSubRule(
      const BgpParseExtCommSubTypeNonTransIpv4AddressRuleKey& key,
      const Kel::Ptr<const BgpParseExtComSubTypeNonTransIpv4AddressRuleBase>& rule ) const {
   enterSubRule( key, rule );
}

void BgpParseExtCommPluginBaseSm::addExtCommSubTypeNonTransFourOctetAsSubRule(
      const BgpParseExtCommSubTypeNonTransFourOctetAsRuleKey& key,
      const Kel::Ptr<const BgpParseExtComSubTypeNonTransFourOctetAsRuleBase>& rule ) const {
   enterSubRule( key, rule );
}

void BgpParseExtCommPluginBaseSm::addExtCommSubTypeNonTransOpaqueSubRule(
      const BgpParseExtCommSubTypeNonTransOpaqueRuleKey& key,
      const Kel::Ptr<const BgpParseExtComSubTypeNonTransOpaqueRuleBase>& rule ) const {
   enterSubRule( key, rule );
}

void BgpParseExtCommPluginBaseSm::addExtCommIp6SubTypeTransSubRule(
      const BgpParseExtCommIp6SubTypeTransRuleKey& key,
      const Kel::Ptr<const BgpParseExtCommIp6SubTypeTransRuleBase>& rule ) const {
   enterSubRule( key, rule );
}

void BgpParseExtCommPluginBaseSm::addExtCommIp6SubTypeNonTransSubRule(
      const BgpParseExtCommIp6SubTypeNonTransRuleKey& key,
      const Kel::Ptr<const BgpParseExtCommIp6SubTypeNonTransRuleBase>& rule ) const {
   enterSubRule( key, rule );
}

} // namespace Routing::Bgp
