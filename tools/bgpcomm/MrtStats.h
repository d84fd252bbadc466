// MrtStats.h: summary figures over the routes read: per community kind the
// routes carrying it, values, distinct values and distinct lists (what
// interning would keep), the octets read, route targets seen and the most
// common standard communities.
//
//   MrtStats stats; for each route: stats.add( route );
//   stats.print( out );
#pragma once

#include "tools/bgpcomm/CommunityKind.h"
#include "tools/bgpcomm/MrtRouteSink.h"
#include "tools/bgpcomm/OutputBuffer.h"

#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace Bgpcomm {

// MrtStats
class MrtStats {
 public:
   // OctetSet: a set of octet strings, looked up by view.
   struct OctetHash {
      using is_transparent = void;
      size_t operator()( std::string_view s ) const { return std::hash<std::string_view>()( s ); }
   };
   using OctetSet = std::unordered_set<std::string, OctetHash, std::equal_to<>>;

   // add(): counts one route.
   void add( const MrtRoute& route );
   // addFile(): counts a file's records and problems.
   void addFile( U64 records, U64 problems );

   U64 routes() const { return routes_; }
   // attributes(): routes carrying the kind.
   U64 attributes( CommunityKind kind ) const {
      return kinds_[ communityKindIndex( kind ) ].attributes;
   }
   // distinctLists(): different lists (as sets) of the kind seen.
   size_t distinctLists( CommunityKind kind ) const;
   // routeTargets(): different route-target values, both extended sizes.
   size_t routeTargets() const { return routeTargets_.size(); }

   // print(): the figures as "name: value" lines, top communities last.
   void print( OutputBuffer& out, size_t topCommunities = 10 ) const;

 private:
   struct PerKind {
      U64 attributes = 0;
      U64 octets = 0;
      U64 values = 0;
      std::unordered_map<std::string, U64, OctetHash, std::equal_to<>> lists; // -> routes
      OctetSet distinct;
   };

   U64 files_ = 0;
   U64 records_ = 0;
   U64 problems_ = 0;
   U64 routes_ = 0;
   std::array<PerKind, communityKindCount> kinds_;
   OctetSet routeTargets_;
   std::vector<std::string_view> units_;
   std::string key_;
};

} // namespace Bgpcomm
