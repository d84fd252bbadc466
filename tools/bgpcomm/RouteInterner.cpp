#include "tools/bgpcomm/RouteInterner.h"

#include "Kel/Hash.h"
#include "tools/bgpcomm/WireRead.h"

#include <algorithm>

namespace Bgpcomm {

using namespace Routing::Bgp;

namespace {

template<class T>
void sortUnique( std::vector<T>& values ) {
   std::sort( values.begin(), values.end() );
   values.erase( std::unique( values.begin(), values.end() ), values.end() );
}

// keepIfNew(): a list that dedup() entered into its table (rather than
// one found there) is kept, so that it stays for the next route.
template<class List>
void keepIfNew( std::vector<typename List::PtrConst>& kept, const typename List::PtrConst& interned,
                const List* built ) {
   if ( interned.ptr() == built )
      kept.push_back( interned );
}

U32 contentsHash( const std::vector<U64>& values ) {
   U32 h = 0;
   for ( U64 v : values )
      h = Kel::oneAtATimeU64( h, v );
   return Kel::oneAtATimeFinal( h );
}

U32 contentsHash( const std::vector<ExtCommIp6Content>& values ) {
   U32 h = 0;
   for ( const ExtCommIp6Content& v : values )
      h = Kel::oneAtATimeU32( h, v.hash() );
   return Kel::oneAtATimeFinal( h );
}

bool sameMembers( const ExtCommList& list, const std::vector<U64>& values ) {
   const std::vector<ExtComm::PtrConst>& members = list.commVector();
   if ( members.size() != values.size() )
      return false;
   for ( size_t i = 0; i < values.size(); ++i ) {
      if ( members[ i ]->community() != values[ i ] )
         return false;
   }
   return true;
}

bool sameMembers( const ExtCommIp6List& list, const std::vector<ExtCommIp6Content>& values ) {
   const std::vector<ExtCommIp6::PtrConst>& members = list.commVector();
   if ( members.size() != values.size() )
      return false;
   for ( size_t i = 0; i < values.size(); ++i ) {
      if ( !( members[ i ]->content() == values[ i ] ) )
         return false;
   }
   return true;
}

} // namespace

RouteInterner::RouteInterner( const CommunityTables& tables ) : tables_( tables ) {}

void RouteInterner::intern( const MrtRoute& route, InternedRoute* lists ) {
   lists->communities = communities( route.community( CommunityKind::standard ) );
   lists->extCommunities = extCommunities( route.community( CommunityKind::extended ) );
   lists->largeCommunities = largeCommunities( route.community( CommunityKind::large ) );
   lists->ipv6ExtCommunities = ipv6ExtCommunities( route.community( CommunityKind::ip6Extended ) );
}

CommList::PtrConst RouteInterner::communities( std::span<const U8> octets ) {
   if ( octets.empty() )
      return nullptr;
   standard_.clear();
   for ( size_t at = 0; at + 4 <= octets.size(); at += 4 )
      standard_.push_back( loadU32( octets.data() + at ) );
   sortUnique( standard_ );
   CommList::PtrConst found =
         CommList::lookupByContent( tables_.commList(), CommListContent( standard_ ) );
   if ( found )
      return found;
   ++listsBuilt_;
   CommList::Ptr built = commListFactory();
   built->commVectorRawPtrNonConst()->reserve( standard_.size() );
   for ( U32 v : standard_ )
      built->commIs( v );
   CommList::PtrConst interned = built->dedup( tables_.commList() );
   keepIfNew( keptStandard_, interned, built.ptr() );
   return interned;
}

LargeCommList::PtrConst RouteInterner::largeCommunities( std::span<const U8> octets ) {
   if ( octets.empty() )
      return nullptr;
   large_.clear();
   for ( size_t at = 0; at + 12 <= octets.size(); at += 12 ) {
      const U8* p = octets.data() + at;
      large_.emplace_back( loadU32( p ), loadU32( p + 4 ), loadU32( p + 8 ) );
   }
   sortUnique( large_ );
   LargeCommList::PtrConst found =
         LargeCommList::lookupByContent( tables_.largeCommList(), LargeCommListContent( large_ ) );
   if ( found )
      return found;
   ++listsBuilt_;
   LargeCommList::Ptr built = largeCommListFactory();
   built->commVectorRawPtrNonConst()->reserve( large_.size() );
   for ( const Acl::CommunityValue& v : large_ )
      built->commIs( v );
   LargeCommList::PtrConst interned = built->dedup( tables_.largeCommList() );
   keepIfNew( keptLarge_, interned, built.ptr() );
   return interned;
}

ExtCommList::PtrConst RouteInterner::extCommunities( std::span<const U8> octets ) {
   if ( octets.empty() )
      return nullptr;
   extended_.clear();
   for ( size_t at = 0; at + 8 <= octets.size(); at += 8 )
      extended_.push_back( loadU64( octets.data() + at ) );
   sortUnique( extended_ );
   ExtCommList::PtrConst& recent =
         recentExtended_.slot[ contentsHash( extended_ ) % recentExtended_.slots ];
   if ( recent && sameMembers( *recent, extended_ ) )
      return recent;
   // Not seen lately: the values through their table (parsed on a miss),
   // then the list through its own, which finds an equal list if one exists.
   ++listsBuilt_;
   ExtCommList::Ptr built = extCommListFactory();
   built->expectedCommunityCountIs( U32( extended_.size() ) );
   for ( U64 v : extended_ )
      built->commIs( ExtComm::dedupContent( tables_.extComm(), ExtCommContent( v ) ) );
   ExtCommList::PtrConst interned = built->dedup( tables_.extCommList() );
   keepIfNew( keptExtended_, interned, built.ptr() );
   recent = interned;
   return interned;
}

ExtCommIp6List::PtrConst RouteInterner::ipv6ExtCommunities( std::span<const U8> octets ) {
   if ( octets.empty() )
      return nullptr;
   ip6Extended_.clear();
   for ( size_t at = 0; at + 20 <= octets.size(); at += 20 ) {
      const U8* p = octets.data() + at;
      ip6Extended_.emplace_back( p[ 0 ], p[ 1 ], Onet::Ip6Addr( p + 2 ), loadU16( p + 18 ) );
   }
   sortUnique( ip6Extended_ );
   ExtCommIp6List::PtrConst& recent =
         recentIp6Extended_.slot[ contentsHash( ip6Extended_ ) % recentIp6Extended_.slots ];
   if ( recent && sameMembers( *recent, ip6Extended_ ) )
      return recent;
   ++listsBuilt_;
   ExtCommIp6List::Ptr built = extCommIp6ListFactory();
   built->expectedCommunityCountIs( U32( ip6Extended_.size() ) );
   for ( const ExtCommIp6Content& v : ip6Extended_ )
      built->commIs( ExtCommIp6::dedupContent( tables_.extCommIp6(), v ) );
   ExtCommIp6List::PtrConst interned = built->dedup( tables_.extCommIp6List() );
   keepIfNew( keptIp6Extended_, interned, built.ptr() );
   recent = interned;
   return interned;
}

} // namespace Bgpcomm
