// OvBgp/CommunityListMatch.cpp: the match clauses, once for the four kinds.
#include "OvBgp/CommunityListMatch.h"

namespace Routing::Bgp {

template<class List>
auto CommunityListMatch<List>::patternIs( const Kel::Ptr<const Table>& table,
                                          const CommunityPattern& pattern, size_t memoBound )
      -> Ptr {
   Ptr match = Kel::makeActivePtr<CommunityListMatch>( table, memoBound );
   match->pattern_ = pattern;
   return match;
}

template<class List>
auto CommunityListMatch<List>::regexIs( const Kel::Ptr<const Table>& table,
                                        const Kel::String& regex, size_t memoBound ) -> Ptr {
   Ptr match = Kel::makeActivePtr<CommunityListMatch>( table, memoBound );
   match->regex_ = std::make_unique<Routing::RouteMap::PosixRegex>( regex );
   return match;
}

template<class List>
bool CommunityListMatch<List>::matches( const typename List::PtrConst& list ) const {
   if ( !list ) {
      return false;
   }
   if ( const std::optional<bool> remembered = this->memo_.findMatch( list.ptr() ) ) {
      return *remembered;
   }
   const bool matched = matchesUncached( list.ptr() );
   this->memo_.rememberMatch( list.ptr(), matched );
   return matched;
}

template<class List>
bool CommunityListMatch<List>::matchesUncached( const List* list ) const {
   if ( !list ) {
      return false;
   }
   if ( pattern_ ) {
      return pattern_->matches( list );
   }
   if constexpr ( std::is_same_v<List, ExtCommIp6List> ) {
      return regex_->execute( list->commsStringForm().c_str() ) == 0;
   } else {
      return list->matchCommunitiesRegex( regex_.get() );
   }
}

#define OVBGP_INSTANTIATE_MATCH( List ) template class CommunityListMatch<List>;
OVBGP_FOR_EACH_LIST_KIND( OVBGP_INSTANTIATE_MATCH )

} // namespace Routing::Bgp
