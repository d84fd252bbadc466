// The entry points through which plug-ins hand their rules to the tables.
// They live in this file because their invariants are documented under its
// name (the source named in an assertion message is the file's path).
#include "OvBgp/Parse/ExtComm.h"

#include "Kel/Assert.h"

namespace Routing::Bgp {

void BgpParseExtCommPluginBaseSm::addExtendedCommunityTypeSubRule(
      const BgpParseExtendedCommunityRuleKey& key,
      const Kel::Ptr<const BgpParseExtendedCommunityTypeRuleBase>& rule ) const {
   KEL_ASSERT_MSG( nullptr != rule, "__null != rule" );
   key.rule()->typeRuleIs( rule );
}

template<class Traits>
void BgpParseExtCommPluginBaseSm::addSubRule(
      const BgpParseExtCommRuleKey<BgpParseExtCommTypeRule<Traits>>& key,
      const Kel::Ptr<const typename Traits::SubRuleBase>& rule ) const {
   KEL_ASSERT_MSG( rule != nullptr, "rule != __null" );
   key.rule()->subTypeRuleIs( rule );
}

#define OVBGP_PARSE_ADD( Kind, ... )                                                            \
   template void BgpParseExtCommPluginBaseSm::addSubRule<BgpParseExtComm##Kind##Traits>(        \
         const BgpParseExtCommRuleKey<BgpParseExtCommTypeRule<BgpParseExtComm##Kind##Traits>>&, \
         const Kel::Ptr<const BgpParseExtComm##Kind##Traits::SubRuleBase>& ) const;
OVBGP_PARSE_EXT_COMM_TYPE_RULES( OVBGP_PARSE_ADD )
#undef OVBGP_PARSE_ADD

} // namespace Routing::Bgp
