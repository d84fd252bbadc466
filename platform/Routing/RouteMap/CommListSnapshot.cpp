#include "Routing/RouteMap/CommListSnapshot.h"

namespace Routing::RouteMap {

namespace {

template<class Map, class Key>
bool lookup( const Map& map, const Key& key ) {
   auto it = map.find( key );
   return it != map.end() && it->second;
}

template<class Map, class Key>
bool remove( Map& map, const Key& key ) {
   auto it = map.find( key );
   if ( it == map.end() ) {
      return false;
   }
   bool value = it->second;
   map.erase( it );
   return value;
}

} // namespace

CommListSnapshot::Ptr CommListSnapshot::CommListSnapshotIs() {
   return Kel::makeActivePtr<CommListSnapshot>( Token() );
}

CommListSnapshot::Ptr commListSnapshotFactory() { return CommListSnapshot::CommListSnapshotIs(); }

bool CommListSnapshot::comm( U32 community ) const { return lookup( comm_, community ); }

bool CommListSnapshot::comm( const Acl::CommunityValue& community ) const {
   return lookup( largeComm_, community );
}

bool CommListSnapshot::commDel( U32 community ) { return remove( comm_, community ); }

bool CommListSnapshot::commDel( const Acl::CommunityValue& community ) {
   return remove( largeComm_, community );
}

void CommListSnapshot::commDelAll() {
   comm_.clear();
   largeComm_.clear();
}

} // namespace Routing::RouteMap
