#include "tools/bgpcomm/MrtStats.h"

#include "OvBgp/NotifyingRouteTargetList.h"
#include "OvFmt/DynamicBuffer.h"
#include "tools/bgpcomm/NlriText.h"

#include <algorithm>
#include <cstdio>
#include <set>
#include <unordered_set>

namespace Bgpcomm {

using namespace Routing::Bgp;

namespace {

void appendRatio( std::string& out, U64 num, U64 den ) {
   char buf[ 32 ];
   std::snprintf( buf, sizeof buf, "%.2f", den ? double( num ) / double( den ) : 0.0 );
   out += buf;
}

// vectorBytes(): what a vector's storage takes, used or not.
template<class Vector>
U64 vectorBytes( const Vector& v ) {
   return U64( v.capacity() ) * sizeof( typename Vector::value_type );
}

// forEachMember(): every member of an interning set, as its concrete type.
template<class T, class Fn>
void forEachMember( const Bex::DedupHashTable::Ptr& table, Fn&& fn ) {
   table->forEach( [ & ]( const Bex::DedupHandle* h ) { fn( *static_cast<const T*>( h ) ); } );
}

} // namespace

void MrtStats::addFile( U64 records, U64 problems ) {
   ++files_;
   records_ += records;
   problems_ += problems;
}

void MrtStats::merge( const MrtStats& other ) {
   files_ += other.files_;
   records_ += other.records_;
   problems_ += other.problems_;
   routes_ += other.routes_;
   for ( size_t k = 0; k < counts_.size(); ++k ) {
      counts_[ k ].attributes += other.counts_[ k ].attributes;
      counts_[ k ].values += other.counts_[ k ].values;
      counts_[ k ].octets += other.counts_[ k ].octets;
   }
   for ( const auto& [ list, routes ] : other.standardListRoutes_ ) {
      standardListRoutes_[ list ] += routes;
   }
}

void MrtStats::add( const MrtRoute& route, const InternedRoute& lists ) {
   ++routes_;
   for ( CommunityKind kind : allCommunityKinds ) {
      if ( !lists.present( kind ) )
         continue;
      Counts& c = counts_[ communityKindIndex( kind ) ];
      size_t octets = route.community( kind ).size();
      ++c.attributes;
      c.octets += octets;
      c.values += octets / communityKindInfo( kind ).unit;
   }
   if ( lists.communities )
      ++standardListRoutes_[ lists.communities ];
}

KindFigures MrtStats::figures( CommunityKind kind ) const {
   const Counts& c = counts_[ communityKindIndex( kind ) ];
   KindFigures f;
   f.attributes = c.attributes;
   f.values = c.values;
   f.octets = c.octets;
   // Each list object counts with its value storage; the extended lists
   // also with their classification lists and the shared value objects.
   switch ( kind ) {
      case CommunityKind::standard: {
         std::unordered_set<U32> values;
         forEachMember<CommList>( tables_.commList()->dedupTable(), [ & ]( const CommList& l ) {
            ++f.distinctLists;
            f.internedBytes += sizeof( CommList ) + vectorBytes( *l.commVectorRawPtr() );
            values.insert( l.commVectorRawPtr()->begin(), l.commVectorRawPtr()->end() );
         } );
         f.distinctValues = values.size();
         break;
      }
      case CommunityKind::large: {
         std::set<Acl::CommunityValue> values;
         forEachMember<LargeCommList>(
               tables_.largeCommList()->dedupTable(), [ & ]( const LargeCommList& l ) {
                  ++f.distinctLists;
                  f.internedBytes += sizeof( LargeCommList ) + vectorBytes( *l.commVectorRawPtr() );
                  values.insert( l.commVectorRawPtr()->begin(), l.commVectorRawPtr()->end() );
               } );
         f.distinctValues = values.size();
         break;
      }
      case CommunityKind::extended: {
         const ExtCommListDedupTable* lists = tables_.extCommList();
         forEachMember<ExtCommList>( lists->dedupTable(), [ & ]( const ExtCommList& l ) {
            ++f.distinctLists;
            f.internedBytes += sizeof( ExtCommList ) + vectorBytes( l.commVector() ) +
                               l.classificationLists().size() * sizeof( void* );
         } );
         auto parts = [ & ]( const ExtCommClassificationList& l ) {
            f.internedBytes += sizeof( ExtCommClassificationList ) + vectorBytes( l.commVector() );
         };
         forEachMember<ExtCommClassificationList>( lists->extCommClassificationListDedupTable(),
                                                   parts );
         forEachMember<ExtCommClassificationList>( lists->rtExtCommClassificationListDedupTable(),
                                                   parts );
         f.distinctValues = tables_.extComm()->dedupTable()->size();
         f.internedBytes += f.distinctValues * sizeof( ExtComm );
         break;
      }
      case CommunityKind::ip6Extended: {
         const ExtCommIp6ListDedupTable* lists = tables_.extCommIp6List();
         forEachMember<ExtCommIp6List>( lists->dedupTable(), [ & ]( const ExtCommIp6List& l ) {
            ++f.distinctLists;
            f.internedBytes += sizeof( ExtCommIp6List ) + vectorBytes( l.commVector() ) +
                               vectorBytes( l.classificationLists() );
         } );
         forEachMember<ExtCommIp6ClassificationList>(
               lists->extCommIp6ClassificationListDedupTable(),
               [ & ]( const ExtCommIp6ClassificationList& l ) {
                  f.internedBytes +=
                        sizeof( ExtCommIp6ClassificationList ) + vectorBytes( l.commVector() );
               } );
         f.distinctValues = tables_.extCommIp6()->dedupTable()->size();
         f.internedBytes += f.distinctValues * sizeof( ExtCommIp6 );
         break;
      }
   }
   return f;
}

size_t MrtStats::routeTargets() const { return tables_.extComm()->producerRtList()->rtCount(); }

size_t MrtStats::ip6RouteTargets() const {
   // The 20-octet table keeps no route-target set: count by type and subtype.
   size_t n = 0;
   forEachMember<ExtCommIp6>( tables_.extCommIp6()->dedupTable(), [ & ]( const ExtCommIp6& v ) {
      ExtCommIp6Content c = v.content();
      n += c.typeOctet == 0x00 && c.subtypeOctet == 0x02;
   } );
   return n;
}

std::vector<std::pair<U32, U64>> MrtStats::topCommunities( size_t count ) const {
   // Per distinct list, not per route: the lists repeat a lot.
   std::unordered_map<U32, U64> routesPerValue;
   for ( const auto& [ list, routes ] : standardListRoutes_ ) {
      for ( U32 v : *list->commVectorRawPtr() )
         routesPerValue[ v ] += routes;
   }
   std::vector<std::pair<U32, U64>> top( routesPerValue.begin(), routesPerValue.end() );
   size_t n = std::min( count, top.size() );
   std::partial_sort( top.begin(), top.begin() + long( n ), top.end(),
                      []( const auto& a, const auto& b ) {
                         return a.second != b.second ? a.second > b.second : a.first < b.first;
                      } );
   top.resize( n );
   return top;
}

void MrtStats::print( OutputBuffer& out, size_t topCount ) const {
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
   U64 attributes = 0, lists = 0, octets = 0, interned = 0;
   for ( CommunityKind kind : allCommunityKinds ) {
      KindFigures f = figures( kind );
      attributes += f.attributes;
      lists += f.distinctLists;
      octets += f.octets;
      interned += f.internedBytes;
      t += communityKindInfo( kind ).jsonKey;
      t += ": routes ";
      appendDecimal( t, f.attributes );
      t += ", values ";
      appendDecimal( t, f.values );
      t += ", distinct values ";
      appendDecimal( t, f.distinctValues );
      t += ", distinct lists ";
      appendDecimal( t, f.distinctLists );
      t += ", interning ratio ";
      appendRatio( t, f.attributes, f.distinctLists );
      t += ", attribute octets ";
      appendDecimal( t, f.octets );
      t += ", interned bytes ";
      appendDecimal( t, f.internedBytes );
      t += '\n';
   }
   t += "interning ratio: ";
   appendRatio( t, attributes, lists );
   t += " (attributes per distinct list, all kinds)\n";
   t += "memory: interned lists and values ";
   appendDecimal( t, interned );
   t += " bytes against ";
   appendDecimal( t, octets );
   t += " attribute octets read\n";
   t += "bytes per route: ";
   appendRatio( t, interned, routes_ );
   t += " interned against ";
   appendRatio( t, octets, routes_ );
   t += " read\n";
   t += "route targets seen: ";
   appendDecimal( t, routeTargets() );
   t += " extended, ";
   appendDecimal( t, ip6RouteTargets() );
   t += " IPv6-address-specific\n";
   t += "most common communities:\n";
   OvFmt::DynamicBuffer<64> text;
   for ( const auto& [ value, routes ] : topCommunities( topCount ) ) {
      text.clear();
      CommunityFormatter<true>::format( text, value );
      t += "   ";
      t += text.view();
      t += "  ";
      appendDecimal( t, routes );
      t += routes == 1 ? " route\n" : " routes\n";
   }
   out.flushIfFull();
}

} // namespace Bgpcomm
