// MrtStats.h: summary figures over the routes read, taken from the library's
// tables: per community kind the routes carrying it, the values they carry,
// distinct values and lists (the table sizes), the interning ratio, and the
// octets the interned objects hold against the attribute octets read; then
// the route targets the value table has seen and the most common standard
// communities.
//
//   MrtStats stats( tables ); for each route: stats.add( route, lists );
//   stats.print( out );
#pragma once

#include "tools/bgpcomm/CommunityTables.h"
#include "tools/bgpcomm/InternedRoute.h"
#include "tools/bgpcomm/OutputBuffer.h"

#include <array>
#include <unordered_map>

namespace Bgpcomm {

// KindFigures: what one community kind came to.
struct KindFigures {
   U64 attributes = 0; // routes carrying the kind
   U64 values = 0;     // values in those attributes, repeats included
   U64 octets = 0;     // attribute value octets read
   size_t distinctValues = 0;
   size_t distinctLists = 0;
   U64 internedBytes = 0; // held by the interned lists (and values) of the kind
};

// MrtStats
class MrtStats {
 public:
   explicit MrtStats( const CommunityTables& tables ) : tables_( tables ) {}

   // add(): counts one route.
   void add( const MrtRoute& route, const InternedRoute& lists );
   // addFile(): counts a file's records and problems.
   void addFile( U64 records, U64 problems );
   // merge(): adds the counts of other (over the same tables).
   void merge( const MrtStats& other );

   U64 routes() const { return routes_; }
   // figures(): the kind's counts and what its tables hold now.
   KindFigures figures( CommunityKind kind ) const;
   // routeTargets(): route targets in the 8-octet value table (its route-target
   // set) and IPv6-address-specific ones in the 20-octet table.
   size_t routeTargets() const;
   size_t ip6RouteTargets() const;
   // topCommunities(): the standard communities carried by the most routes,
   // most first (ties by value).
   std::vector<std::pair<U32, U64>> topCommunities( size_t count ) const;

   // print(): the figures as "name: value" lines, top communities last.
   void print( OutputBuffer& out, size_t topCommunities = 10 ) const;

 private:
   struct Counts {
      U64 attributes = 0;
      U64 values = 0;
      U64 octets = 0;
   };

   const CommunityTables& tables_;
   U64 files_ = 0;
   U64 records_ = 0;
   U64 problems_ = 0;
   U64 routes_ = 0;
   std::array<Counts, communityKindCount> counts_;
   // Routes per standard list: interned lists are equal exactly when they
   // are the same object, so the pointer is the key.
   std::unordered_map<Routing::Bgp::CommList::PtrConst, U64> standardListRoutes_;
};

} // namespace Bgpcomm
