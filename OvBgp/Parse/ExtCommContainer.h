// OvBgp/Parse/ExtCommContainer.h: the parser container the agent creates
// once at start-up. It owns the rule registry, the plug-ins and the top-level
// rule, and builds them in a fixed order so that every sub-rule table is
// complete before the first parse; it also keeps the display-text cache of
// the show commands.
//
//   auto container = bgpParseExtCommContainerSmFactory();
//   auto table = extCommDedupTableFactory( container->extCommParser() );
#pragma once

#include <functional>
#include <map>
#include <vector>

#include "Kel/Ptr.h"
#include "Kel/Types.h"
#include "OvBgp/Parse/ExtCommCache.h"
#include "OvBgp/Parse/ExtCommPluginBase.h"
#include "OvBgp/Parse/ExtCommRules.h"

namespace Routing::Bgp {

// BgpParseExtCommPluginList: plug-ins in the order they are to be queued.
using BgpParseExtCommPluginList = std::vector<Kel::Ptr<const BgpParseExtCommPluginBaseSm>>;

// createExtCommParserSms(): the library's plug-ins, each built on
// ruleCollections, in their fixed order; the VRF route import plug-in only
// when mvpnOn.
BgpParseExtCommPluginList createExtCommParserSms(
      const Kel::Ptr<const BgpParseExtCommRuleCollections>& ruleCollections, bool mvpnOn );

// BgpParseExtCommPluginCreator: what builds the plug-ins for a container;
// createExtCommParserSms() unless a caller (a test) says otherwise.
using BgpParseExtCommPluginCreator = std::function<BgpParseExtCommPluginList(
      const Kel::Ptr<const BgpParseExtCommRuleCollections>&, bool mvpnOn )>;

// BgpParseExtCommContainerSm(): counted; built and used on the agent's event
// thread. Construction runs handleInitialized(); destruction releases the
// plug-ins, then the parser, then the registry.
class BgpParseExtCommContainerSm : public Kel::PtrInterface {
 public:
   using Ptr = Kel::Ptr<BgpParseExtCommContainerSm>;
   using PtrConst = Kel::Ptr<const BgpParseExtCommContainerSm>;
   using PluginPtrConst = Kel::Ptr<const BgpParseExtCommPluginBaseSm>;

   // BgpParseExtCommContainerSmIs(): a new, initialised container with
   // notification on; the library's plug-ins unless creator is given.
   static Ptr BgpParseExtCommContainerSmIs();
   static Ptr BgpParseExtCommContainerSmIs( const BgpParseExtCommPluginCreator& creator );

   explicit BgpParseExtCommContainerSm(
         const BgpParseExtCommPluginCreator& creator = createExtCommParserSms );
   BgpParseExtCommContainerSm( const BgpParseExtCommContainerSm& ) = delete;
   BgpParseExtCommContainerSm& operator=( const BgpParseExtCommContainerSm& ) = delete;
   ~BgpParseExtCommContainerSm() override;

   // mvpnToggleOn(): the "Mvpn" toggle of "MvpnLib.json", default on; read
   // once per process, the first time it is asked for.
   static bool mvpnToggleOn();

   // parseExtCommRuleCollections(): the registry; ...Is() makes a new empty
   // one, ...Del() drops this container's reference.
   const BgpParseExtCommRuleCollections::Ptr& parseExtCommRuleCollections() const noexcept {
      return parseExtCommRuleCollections_;
   }
   void parseExtCommRuleCollectionsIs();
   void parseExtCommRuleCollectionsDel();

   // extCommParser(): the top-level rule; ...Is(control) builds a new one
   // (with all its type rules), ...Del() drops this container's reference.
   const BgpParseExtendedCommunityRule::Ptr& extCommParser() const noexcept {
      return extCommParser_;
   }
   void extCommParserIs( const BgpParseExtCommControl& control );
   void extCommParserDel();

   // extCommCache(): the show commands' display-text cache.
   const BgpShowCli::ExtCommCache::Ptr& extCommCache() const noexcept { return extCommCache_; }
   void extCommCacheIs( const BgpShowCli::ExtCommCache::Ptr& cache ) { extCommCache_ = cache; }

   // extCommParserSms: the plug-ins, a queue ordered by a 32-bit index.
   // Enq() appends under index max(next-index counter, back index + 1) and
   // moves the counter past it, returning the index (a queue whose back is
   // at 0xFFFFFFFF throws Kel::RangeException); Deq() removes and returns the
   // front (null when empty); Is() enters or replaces the entry at index,
   // keeping index order, and leaves the counter alone; Del() removes one
   // entry, DelAll() every entry, front first. A null plug-in throws
   // Kel::NullArgumentException.
   U32 extCommParserSmsEnq( const PluginPtrConst& sm );
   PluginPtrConst extCommParserSmsDeq();
   void extCommParserSmsIs( U32 index, const PluginPtrConst& sm );
   void extCommParserSmsDel( U32 index );
   void extCommParserSmsDelAll();
   PluginPtrConst extCommParserSmsFront() const;
   PluginPtrConst extCommParserSmsBack() const;
   // extCommParserSms(index): the entry at index, or null.
   PluginPtrConst extCommParserSms( U32 index ) const;
   size_t extCommParserSmsCount() const noexcept { return extCommParserSms_.size(); }
   // extCommParserSmsIndices(): the indices in queue order.
   std::vector<U32> extCommParserSmsIndices() const;

 private:
   // handleInitialized(): the registry, the plug-ins (route origin, route
   // target, tunnel encapsulation, default gateway, link bandwidth, colour,
   // origin validation state, then VRF route import when Mvpn is on), the
   // top-level rule, and a new empty display-text cache. The plug-ins come
   // before the rules, so each sub-rule arrives through notification.
   void handleInitialized( const BgpParseExtCommPluginCreator& creator );

   BgpParseExtCommRuleCollections::Ptr parseExtCommRuleCollections_;
   std::map<U32, PluginPtrConst> extCommParserSms_;
   U64 extCommParserSmsNextIndex_ = 0;
   BgpParseExtendedCommunityRule::Ptr extCommParser_;
   BgpShowCli::ExtCommCache::Ptr extCommCache_;
};

// bgpParseExtCommContainerSmFactory(): the same as
// BgpParseExtCommContainerSm::BgpParseExtCommContainerSmIs().
BgpParseExtCommContainerSm::Ptr bgpParseExtCommContainerSmFactory();
BgpParseExtCommContainerSm::Ptr bgpParseExtCommContainerSmFactory(
      const BgpParseExtCommPluginCreator& creator );

} // namespace Routing::Bgp
