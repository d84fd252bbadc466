// OvBgp/Parse/ExtCommCache.h: the display text of extended communities,
// remembered per 64-bit content so that show commands printing many routes
// with the same communities format each one once. Two independent maps: text
// with plain AS numbers and text with asdot AS numbers. No size limit and no
// eviction; entries live until deleted or until the cache goes.
//
//   auto cache = Routing::Bgp::BgpShowCli::ExtCommCache::ExtCommCacheIs();
//   cache->insert( content, text, false );  Kel::String s = cache->lookup( content, false );
#pragma once

#include <unordered_map>

#include "Kel/Ptr.h"
#include "Kel/String.h"
#include "Kel/Types.h"

namespace Routing::Bgp::BgpShowCli {

// ExtCommCache(): counted; one thread at a time.
class ExtCommCache : public Kel::PtrInterface {
 public:
   using Ptr = Kel::Ptr<ExtCommCache>;
   using PtrConst = Kel::Ptr<const ExtCommCache>;

   // ExtCommCacheIs(): a new, empty cache with notifications on.
   static Ptr ExtCommCacheIs();

   ExtCommCache() = default;

   // lookup(): the text stored for value in the asdot or the plain map; ""
   // when there is none (an empty stored text looks the same as a miss).
   Kel::String lookup( U64 value, bool asdot ) const;

   // insert(): store text in the asdot or the plain map, replacing any entry.
   void insert( U64 value, const Kel::String& text, bool asdot );

   // extCommToStringIs() / extCommToAsdotStringIs(): insert or replace; the
   // last writer wins.
   void extCommToStringIs( U64 value, const Kel::String& text );
   void extCommToAsdotStringIs( U64 value, const Kel::String& text );

   // extCommToStringDel() / extCommToAsdotStringDel(): remove one entry if
   // present.
   void extCommToStringDel( U64 value );
   void extCommToAsdotStringDel( U64 value );

   // extCommToStringDelAll() / extCommToAsdotStringDelAll(): empty one map.
   void extCommToStringDelAll();
   void extCommToAsdotStringDelAll();

   // extCommToStringCount() / extCommToAsdotStringCount(): entries held.
   size_t extCommToStringCount() const noexcept { return extCommToString_.size(); }
   size_t extCommToAsdotStringCount() const noexcept { return extCommToAsdotString_.size(); }

 private:
   std::unordered_map<U64, Kel::String> extCommToString_;
   std::unordered_map<U64, Kel::String> extCommToAsdotString_;
};

// extCommCacheFactory(): the same as ExtCommCache::ExtCommCacheIs().
ExtCommCache::Ptr extCommCacheFactory();

} // namespace Routing::Bgp::BgpShowCli
