#include "tools/bgpcomm/CommunityFilter.h"

namespace Bgpcomm {

using namespace Routing::Bgp;

namespace {

template<class List, class Table>
void addClause( std::vector<typename CommunityListMatch<List>::Ptr>& clauses, const Table* table,
                const CommunityPattern& pattern ) {
   clauses.push_back(
         CommunityListMatch<List>::patternIs( Kel::Ptr<const Table>( table ), pattern ) );
}

template<class Clauses, class ListPtr>
bool allMatch( const Clauses& clauses, const ListPtr& list ) {
   for ( const auto& clause : clauses ) {
      if ( !clause->matches( list ) ) {
         return false;
      }
   }
   return true;
}

} // namespace

CommunityFilter::CommunityFilter( const CommunityTables& tables,
                                  const std::vector<std::string>& patterns ) {
   for ( const std::string& text : patterns ) {
      const CommunityPattern pattern( text );
      switch ( pattern.kind() ) {
         case CommunityPattern::kindStandard:
            addClause<CommList>( standard_, tables.commList(), pattern );
            break;
         case CommunityPattern::kindLarge:
            addClause<LargeCommList>( large_, tables.largeCommList(), pattern );
            break;
         case CommunityPattern::kindExtended:
            addClause<ExtCommList>( extended_, tables.extCommList(), pattern );
            break;
         case CommunityPattern::kindIp6Extended:
            addClause<ExtCommIp6List>( ip6Extended_, tables.extCommIp6List(), pattern );
            break;
      }
   }
}

bool CommunityFilter::keeps( const InternedRoute& lists ) const {
   return allMatch( standard_, lists.communities ) && allMatch( large_, lists.largeCommunities ) &&
          allMatch( extended_, lists.extCommunities ) &&
          allMatch( ip6Extended_, lists.ipv6ExtCommunities );
}

} // namespace Bgpcomm
