#include "tools/bgpcomm/MrtStats.h"

#include "tools/bgpcomm/NlriText.h"
#include "tools/bgpcomm/WireRead.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <vector>

namespace Bgpcomm {

namespace {

// isRouteTarget(): type 0x00, 0x01 or 0x02 (transitive, three administrator
// forms; for the IPv6-specific kind only 0x00) with subtype 0x02.
bool isRouteTarget( CommunityKind kind, const U8* value ) {
   if ( value[ 1 ] != 0x02 )
      return false;
   return kind == CommunityKind::ip6Extended ? value[ 0 ] == 0x00 : value[ 0 ] <= 0x02;
}

// insertNew(): inserts a copy only when the octets are new, so a repeat
// costs a hash and no allocation.
void insertNew( MrtStats::OctetSet& set, std::string_view octets ) {
   if ( set.find( octets ) == set.end() )
      set.emplace( octets );
}

// setKey(): the units of octets sorted and without repeats, as one string.
// Every kind is big-endian, so octet order is value order.
void setKey( std::string& key, std::vector<std::string_view>& units, std::span<const U8> octets,
             size_t unit ) {
   units.clear();
   for ( size_t at = 0; at < octets.size(); at += unit ) {
      units.emplace_back( reinterpret_cast<const char*>( octets.data() + at ), unit );
   }
   std::sort( units.begin(), units.end() );
   units.erase( std::unique( units.begin(), units.end() ), units.end() );
   key.clear();
   for ( std::string_view u : units )
      key += u;
}

void appendRatio( std::string& out, U64 num, U64 den ) {
   char buf[ 32 ];
   std::snprintf( buf, sizeof buf, "%.2f", den ? double( num ) / double( den ) : 0.0 );
   out += buf;
}

} // namespace

void MrtStats::addFile( U64 records, U64 problems ) {
   ++files_;
   records_ += records;
   problems_ += problems;
}

void MrtStats::add( const MrtRoute& route ) {
   ++routes_;
   for ( CommunityKind kind : allCommunityKinds ) {
      std::span<const U8> octets = route.community( kind );
      if ( octets.empty() )
         continue;
      PerKind& k = kinds_[ communityKindIndex( kind ) ];
      size_t unit = communityKindInfo( kind ).unit;
      ++k.attributes;
      k.octets += octets.size();
      k.values += octets.size() / unit;
      // A list is its set of values. Lists repeat a lot, so the per-value
      // work is done once per distinct list.
      setKey( key_, units_, octets, unit );
      auto it = k.lists.find( std::string_view( key_ ) );
      if ( it != k.lists.end() ) {
         ++it->second;
         continue;
      }
      k.lists.emplace( key_, 1 );
      bool extendedKind = kind == CommunityKind::extended || kind == CommunityKind::ip6Extended;
      for ( size_t at = 0; at < key_.size(); at += unit ) {
         std::string_view one( key_.data() + at, unit );
         insertNew( k.distinct, one );
         if ( extendedKind && isRouteTarget( kind, reinterpret_cast<const U8*>( one.data() ) ) ) {
            insertNew( routeTargets_, one );
         }
      }
   }
}

size_t MrtStats::distinctLists( CommunityKind kind ) const {
   return kinds_[ communityKindIndex( kind ) ].lists.size();
}

void MrtStats::print( OutputBuffer& out, size_t topCommunities ) const {
   std::string& t = out.text();
   auto line = [ &t ]( const char* name, U64 value ) {
      t += name;
      t += ": ";
      appendDecimal( t, value );
      t += '\n';
   };
   line( "files", files_ );
   line( "records", records_ );
   line( "routes", routes_ );
   line( "problems", problems_ );
   for ( CommunityKind kind : allCommunityKinds ) {
      const PerKind& k = kinds_[ communityKindIndex( kind ) ];
      t += communityKindInfo( kind ).jsonKey;
      t += ": attributes ";
      appendDecimal( t, k.attributes );
      t += ", values ";
      appendDecimal( t, k.values );
      t += ", distinct values ";
      appendDecimal( t, k.distinct.size() );
      t += ", distinct lists ";
      appendDecimal( t, k.lists.size() );
      t += ", interning ratio ";
      appendRatio( t, k.attributes, k.lists.size() );
      t += ", attribute octets ";
      appendDecimal( t, k.octets );
      t += '\n';
   }
   line( "route targets seen", routeTargets_.size() );
   std::unordered_map<U32, U64> standardRoutes;
   for ( const auto& [ list, routes ] : kinds_[ 0 ].lists ) {
      for ( size_t at = 0; at < list.size(); at += 4 ) {
         standardRoutes[ loadU32( reinterpret_cast<const U8*>( list.data() + at ) ) ] += routes;
      }
   }
   std::vector<std::pair<U32, U64>> top( standardRoutes.begin(), standardRoutes.end() );
   size_t n = std::min( topCommunities, top.size() );
   std::partial_sort( top.begin(), top.begin() + long( n ), top.end(),
                      []( const auto& a, const auto& b ) {
                         return a.second != b.second ? a.second > b.second : a.first < b.first;
                      } );
   t += "most common communities:\n";
   for ( size_t i = 0; i < n; ++i ) {
      t += "   ";
      appendDecimal( t, top[ i ].first >> 16 );
      t += ':';
      appendDecimal( t, top[ i ].first & 0xffff );
      t += "  ";
      appendDecimal( t, top[ i ].second );
      t += " routes\n";
   }
   out.flushIfFull();
}

} // namespace Bgpcomm
