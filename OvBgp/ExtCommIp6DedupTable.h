// OvBgp/ExtCommIp6DedupTable.h: the table that interns IPv6-address-specific
// extended communities: one shared ExtCommIp6 per content, built by the
// top-level parse rule on the first miss. Unlike the 8-octet table it keeps
// no route-target set: interning an IPv6 route target tells nobody.
//
//   auto table = extCommIp6DedupTableFactory( container->extCommParser() );
//   ExtCommIp6::PtrConst value = ExtCommIp6::dedupContent( table.ptr(), content );
#pragma once

#include "Bex/DedupHashTable.h"
#include "Kel/Ptr.h"
#include "Kel/Types.h"

namespace Routing::Bgp {

class BgpParseExtendedCommunityRule;

// BasicDedupTable_: base of the plain interning tables: the one dedup hash
// set, thread-safe exactly when OvBgpGlobals::multiThreaded() is true at
// construction.
class BasicDedupTable_ : public Kel::PtrInterface {
 public:
   using Ptr = Kel::Ptr<BasicDedupTable_>;
   using PtrConst = Kel::Ptr<const BasicDedupTable_>;

   const Bex::DedupHashTable::Ptr& dedupTable() const noexcept { return dedupTable_; }

 protected:
   BasicDedupTable_();
   ~BasicDedupTable_() override;

 private:
   Bex::DedupHashTable::Ptr dedupTable_;
};

// ExtCommIp6DedupTable: the interning set of ExtCommIp6 values and the
// rule that builds a value on a miss.
class ExtCommIp6DedupTable : public BasicDedupTable_ {
 public:
   using Ptr = Kel::Ptr<ExtCommIp6DedupTable>;
   using PtrConst = Kel::Ptr<const ExtCommIp6DedupTable>;

   // ExtCommIp6DedupTable(): a null rule throws Kel::NullArgumentException.
   explicit ExtCommIp6DedupTable( const Kel::Ptr<const BgpParseExtendedCommunityRule>& rule );
   ~ExtCommIp6DedupTable() override;
   // ExtCommIp6DedupTableIs(): a new table, notification on.
   static Ptr ExtCommIp6DedupTableIs( const Kel::Ptr<const BgpParseExtendedCommunityRule>& rule );

   // parseExtCommRule(): the rule given at construction (a new reference).
   Kel::Ptr<const BgpParseExtendedCommunityRule> parseExtCommRule() const;
   const BgpParseExtendedCommunityRule* parseExtCommRuleRawPtr() const noexcept {
      return parseExtCommRule_.ptr();
   }

 private:
   Kel::Ptr<const BgpParseExtendedCommunityRule> parseExtCommRule_;
};

// extCommIp6DedupTableFactory(): the same as ExtCommIp6DedupTableIs().
ExtCommIp6DedupTable::Ptr extCommIp6DedupTableFactory(
      const Kel::Ptr<const BgpParseExtendedCommunityRule>& rule );

} // namespace Routing::Bgp
