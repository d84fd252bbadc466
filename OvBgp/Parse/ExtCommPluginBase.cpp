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
#define OVBGP_PARSE_STARTUP( Kind, Stem, ... ) handleExtendedComm##Stem##RuleInstance();
   OVBGP_PARSE_EXT_COMM_TYPE_RULES( OVBGP_PARSE_STARTUP )
#undef OVBGP_PARSE_STARTUP
}

void BgpParseExtCommPluginBaseSm::handleExtendedCommunityTypeRuleInstance(
      const BgpParseExtendedCommunityRuleKey& key ) const {
   handleRuleInstance( key, &BgpParseExtCommPluginBaseSm::instantiateExtendedCommunityTypeSubRule );
}
void BgpParseExtCommPluginBaseSm::handleExtendedCommunityTypeRuleInstance() const {
   handleAllRuleInstances<BgpParseExtendedCommunityRuleKey>(
         &BgpParseExtCommPluginBaseSm::handleExtendedCommunityTypeRuleInstance );
}
#define OVBGP_PARSE_HANDLE( Kind, Stem, ... )                                                     \
   void BgpParseExtCommPluginBaseSm::handleExtendedComm##Stem##RuleInstance(                      \
         const BgpParseExtComm##Stem##RuleKey& key ) const {                                      \
      handleRuleInstance( key, &BgpParseExtCommPluginBaseSm::instantiateExtComm##Stem##SubRule ); \
   }                                                                                              \
   void BgpParseExtCommPluginBaseSm::handleExtendedComm##Stem##RuleInstance() const {             \
      handleAllRuleInstances<BgpParseExtComm##Stem##RuleKey>(                                     \
            &BgpParseExtCommPluginBaseSm::handleExtendedComm##Stem##RuleInstance );               \
   }
OVBGP_PARSE_EXT_COMM_TYPE_RULES( OVBGP_PARSE_HANDLE )
#undef OVBGP_PARSE_HANDLE

} // namespace Routing::Bgp
