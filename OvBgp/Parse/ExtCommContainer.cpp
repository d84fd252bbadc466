#include "OvBgp/Parse/ExtCommContainer.h"

#include <limits>

#include "Kel/Exception.h"
#include "Kel/Toggle.h"

namespace Routing::Bgp {

namespace {

void checkPlugin( const BgpParseExtCommContainerSm::PluginPtrConst& sm, const char* operation ) {
   if ( !sm ) {
      throw Kel::NullArgumentException( Kel::String( operation ) + ": plug-in is null" );
   }
}

} // namespace

BgpParseExtCommContainerSm::Ptr BgpParseExtCommContainerSm::BgpParseExtCommContainerSmIs() {
   return BgpParseExtCommContainerSmIs( createExtCommParserSms );
}

BgpParseExtCommContainerSm::Ptr BgpParseExtCommContainerSm::BgpParseExtCommContainerSmIs(
      const BgpParseExtCommPluginCreator& creator ) {
   return Kel::makeActivePtr<BgpParseExtCommContainerSm>( creator );
}

BgpParseExtCommContainerSm::Ptr bgpParseExtCommContainerSmFactory() {
   return BgpParseExtCommContainerSm::BgpParseExtCommContainerSmIs();
}

BgpParseExtCommContainerSm::Ptr bgpParseExtCommContainerSmFactory(
      const BgpParseExtCommPluginCreator& creator ) {
   return BgpParseExtCommContainerSm::BgpParseExtCommContainerSmIs( creator );
}

BgpParseExtCommContainerSm::BgpParseExtCommContainerSm(
      const BgpParseExtCommPluginCreator& creator ) {
   handleInitialized( creator );
}

BgpParseExtCommContainerSm::~BgpParseExtCommContainerSm() {
   // Observers before what they observe: the plug-ins stop listening before
   // the rules leave the registry, and the registry goes last.
   extCommParserSmsDelAll();
   extCommParserDel();
   parseExtCommRuleCollectionsDel();
}

bool BgpParseExtCommContainerSm::mvpnToggleOn() {
   static const bool on = Kel::getToggleState( "Mvpn", "MvpnLib.json", true );
   return on;
}

void BgpParseExtCommContainerSm::handleInitialized( const BgpParseExtCommPluginCreator& creator ) {
   parseExtCommRuleCollectionsIs();
   if ( creator ) {
      for ( const PluginPtrConst& sm : creator( parseExtCommRuleCollections_, mvpnToggleOn() ) ) {
         extCommParserSmsEnq( sm );
      }
   }
   extCommParserIs( BgpParseExtCommControl( parseExtCommRuleCollections_ ) );
   extCommCacheIs( BgpShowCli::ExtCommCache::ExtCommCacheIs() );
}

void BgpParseExtCommContainerSm::parseExtCommRuleCollectionsIs() {
   parseExtCommRuleCollections_ = bgpParseExtCommRuleCollectionsFactory();
}

void BgpParseExtCommContainerSm::parseExtCommRuleCollectionsDel() {
   parseExtCommRuleCollections_ = nullptr;
}

void BgpParseExtCommContainerSm::extCommParserIs( const BgpParseExtCommControl& control ) {
   extCommParser_ = bgpParseExtendedCommunityRuleFactory( control );
}

void BgpParseExtCommContainerSm::extCommParserDel() { extCommParser_ = nullptr; }

U32 BgpParseExtCommContainerSm::extCommParserSmsEnq( const PluginPtrConst& sm ) {
   checkPlugin( sm, "BgpParseExtCommContainerSm::extCommParserSmsEnq" );
   U64 index = extCommParserSmsNextIndex_;
   if ( !extCommParserSms_.empty() ) {
      index = std::max( index, U64( extCommParserSms_.rbegin()->first ) + 1 );
   }
   if ( index > std::numeric_limits<U32>::max() ) {
      throw Kel::RangeException(
            "BgpParseExtCommContainerSm::extCommParserSmsEnq: no index left after the back entry" );
   }
   extCommParserSms_.emplace( U32( index ), sm );
   extCommParserSmsNextIndex_ = index + 1;
   return U32( index );
}

BgpParseExtCommContainerSm::PluginPtrConst BgpParseExtCommContainerSm::extCommParserSmsDeq() {
   if ( extCommParserSms_.empty() ) {
      return nullptr;
   }
   PluginPtrConst front = std::move( extCommParserSms_.begin()->second );
   extCommParserSms_.erase( extCommParserSms_.begin() );
   return front;
}

void BgpParseExtCommContainerSm::extCommParserSmsIs( U32 index, const PluginPtrConst& sm ) {
   checkPlugin( sm, "BgpParseExtCommContainerSm::extCommParserSmsIs" );
   // The previous occupant goes only after the queue holds the new one.
   PluginPtrConst previous = std::exchange( extCommParserSms_[ index ], sm );
}

void BgpParseExtCommContainerSm::extCommParserSmsDel( U32 index ) {
   auto it = extCommParserSms_.find( index );
   if ( it != extCommParserSms_.end() ) {
      PluginPtrConst previous = std::move( it->second );
      extCommParserSms_.erase( it );
   }
}

void BgpParseExtCommContainerSm::extCommParserSmsDelAll() {
   while ( extCommParserSmsDeq() ) {
   }
}

BgpParseExtCommContainerSm::PluginPtrConst BgpParseExtCommContainerSm::extCommParserSmsFront()
      const {
   return extCommParserSms_.empty() ? nullptr : extCommParserSms_.begin()->second;
}

BgpParseExtCommContainerSm::PluginPtrConst BgpParseExtCommContainerSm::extCommParserSmsBack()
      const {
   return extCommParserSms_.empty() ? nullptr : extCommParserSms_.rbegin()->second;
}

BgpParseExtCommContainerSm::PluginPtrConst BgpParseExtCommContainerSm::extCommParserSms(
      U32 index ) const {
   auto it = extCommParserSms_.find( index );
   return it == extCommParserSms_.end() ? nullptr : it->second;
}

std::vector<U32> BgpParseExtCommContainerSm::extCommParserSmsIndices() const {
   std::vector<U32> indices;
   indices.reserve( extCommParserSms_.size() );
   for ( const auto& entry : extCommParserSms_ ) {
      indices.push_back( entry.first );
   }
   return indices;
}

} // namespace Routing::Bgp
