// CommunityFilter.h: the routes `bgpcomm mrt --match` keeps: those whose lists
// match every pattern, each pattern asked of the list of its kind. Answers
// are remembered per interned list, so a dump costs one match per distinct
// list and pattern.
//
//   CommunityFilter filter( tables, { "1299:*", "RT:65000:*" } );
//   if ( filter.keeps( lists ) ) print( route, lists );
#pragma once

#include <string>
#include <vector>

#include "OvBgp/CommunityListMatch.h"
#include "tools/bgpcomm/CommunityTables.h"
#include "tools/bgpcomm/InternedRoute.h"

namespace Bgpcomm {

// CommunityFilter
class CommunityFilter {
 public:
   // CommunityFilter(): patterns as given on the command line (checked there);
   // none keeps every route.
   CommunityFilter( const CommunityTables& tables, const std::vector<std::string>& patterns );

   bool keeps( const InternedRoute& lists ) const;
   // empty(): no pattern given.
   bool empty() const {
      return standard_.empty() && large_.empty() && extended_.empty() && ip6Extended_.empty();
   }

 private:
   template<class List>
   using Clauses = std::vector<typename Routing::Bgp::CommunityListMatch<List>::Ptr>;

   Clauses<Routing::Bgp::CommList> standard_;
   Clauses<Routing::Bgp::LargeCommList> large_;
   Clauses<Routing::Bgp::ExtCommList> extended_;
   Clauses<Routing::Bgp::ExtCommIp6List> ip6Extended_;
};

} // namespace Bgpcomm
