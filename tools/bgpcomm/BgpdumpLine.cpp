#include "tools/bgpcomm/BgpdumpLine.h"

#include "tools/bgpcomm/MrtRecordReader.h"
#include "tools/bgpcomm/NlriText.h"
#include "tools/bgpcomm/WireRead.h"

namespace Bgpcomm {

namespace {

enum Attr : U8 {
   attrOrigin = 1,
   attrAsPath = 2,
   attrNextHop = 3,
   attrMed = 4,
   attrLocalPref = 5,
   attrAtomicAggregate = 6,
   attrAggregator = 7,
   attrCommunities = 8,
   attrMpReach = 14,
   attrAs4Path = 17,
   attrAs4Aggregator = 18,
   attrLargeCommunities = 32,
};

enum SegmentType : U8 { asSet = 1, asSequence = 2, confedSequence = 3, confedSet = 4 };

constexpr U32 asTrans = 23456;

// Found: the attributes a line shows, first occurrence of each.
struct Found {
   std::span<const U8> value[ 33 ];
   U32 seen = 0; // bit per type below 32; large communities apart
   bool large = false;

   bool has( U8 type ) const { return type == 32 ? large : ( seen >> type ) & 1; }
};

void scan( std::span<const U8> block, Found* f ) {
   WireCursor c( block );
   while ( !c.atEnd() ) {
      U8 flags, type, len8;
      U16 length = 0;
      std::span<const U8> value;
      if ( !c.u8( &flags ) || !c.u8( &type ) )
         return;
      if ( flags & 0x10 ) {
         if ( !c.u16( &length ) )
            return;
      } else {
         if ( !c.u8( &len8 ) )
            return;
         length = len8;
      }
      if ( !c.bytes( length, &value ) )
         return;
      if ( type < 32 && !f->has( type ) ) {
         f->seen |= 1u << type;
         f->value[ type ] = value;
      } else if ( type == 32 && !f->large ) {
         f->large = true;
         f->value[ 32 ] = value;
      }
   }
}

const char* typeName( const MrtRecordStamp& stamp, bool addPath ) {
   switch ( stamp.type ) {
      case mrtTableDump:
         return "TABLE_DUMP";
      case mrtTableDumpV2:
         return addPath ? "TABLE_DUMP2_AP" : "TABLE_DUMP2";
      case mrtBgp4mpEt:
         return addPath ? "BGP4MP_ET_AP" : "BGP4MP_ET";
      default:
         return addPath ? "BGP4MP_AP" : "BGP4MP";
   }
}

void appendStamp( std::string& out, const MrtRecordStamp& stamp, bool addPath, const char* kind,
                  std::string_view peer, U32 peerAs ) {
   out += typeName( stamp, addPath );
   out += '|';
   appendDecimal( out, stamp.timestamp );
   if ( stamp.type == mrtBgp4mpEt ) {
      char digits[ 7 ] = "000000";
      U32 us = stamp.microseconds;
      for ( int i = 5; i >= 0 && us; --i, us /= 10 )
         digits[ i ] = char( '0' + us % 10 );
      out += '.';
      // A field beyond 999999 is shown whole, as it was written.
      if ( stamp.microseconds > 999999 ) {
         appendDecimal( out, stamp.microseconds );
      } else {
         out += digits;
      }
   }
   out += '|';
   out += kind;
   out += '|';
   out += peer;
   out += '|';
   appendDecimal( out, peerAs );
   out += '|';
}

void appendPrefixAndPathId( std::string& out, const MrtRoute& route ) {
   out += route.prefix;
   if ( route.hasPathId ) {
      out += '|';
      appendDecimal( out, route.pathId );
   }
}

// appendNextHop(): NEXT_HOP for an IPv4 route, else the first address of
// MP_REACH_NLRI's next hop (in the full form of an UPDATE or the short form
// of a table dump); 255.255.255.255 when the route has neither.
void appendNextHop( std::string& out, const MrtRoute& route, const Found& f ) {
   std::span<const U8> nextHop = f.value[ attrNextHop ];
   if ( route.afi == afiIpv4 && nextHop.size() == 4 ) {
      appendIpv4( out, nextHop.data() );
      return;
   }
   std::span<const U8> mp = f.value[ attrMpReach ];
   bool shortForm = !mp.empty() && mp[ 0 ] != 0 && size_t( mp[ 0 ] ) + 1 == mp.size();
   std::span<const U8> address;
   if ( shortForm ) {
      address = mp.subspan( 1 );
   } else if ( mp.size() >= 4 && size_t( mp[ 3 ] ) + 4 <= mp.size() ) {
      address = mp.subspan( 4, mp[ 3 ] );
   }
   if ( address.size() == 32 )
      address = address.first( 16 );
   if ( address.size() == 4 || address.size() == 16 ) {
      appendAddress( out, address );
   } else if ( nextHop.size() == 4 ) {
      appendIpv4( out, nextHop.data() );
   } else {
      out += "255.255.255.255";
   }
}

U32 loadU32Or( std::span<const U8> v, U32 absent ) {
   return v.size() >= 4 ? loadU32( v.data() ) : absent;
}

} // namespace

bool BgpdumpLine::shows( const MrtRoute& route ) {
   switch ( route.stamp.type ) {
      case mrtTableDump:
         return true;
      case mrtTableDumpV2:
         // RIB_IPV4_UNICAST, RIB_IPV6_UNICAST and their add-path subtypes
         return route.stamp.subtype == 2 || route.stamp.subtype == 4 || route.stamp.subtype == 8 ||
                route.stamp.subtype == 10;
      default:
         return route.safi == safiUnicast || route.safi == safiMulticast;
   }
}

void BgpdumpLine::appendWithdrawal( std::string& out, const MrtRoute& route ) {
   if ( !shows( route ) )
      return;
   appendStamp( out, route.stamp, route.hasPathId, "W", route.peer, route.peerAs );
   appendPrefixAndPathId( out, route );
   out += '\n';
}

void BgpdumpLine::appendStateChange( std::string& out, const MrtStateChange& change ) {
   appendStamp( out, change.stamp, false, "STATE", change.peer, change.peerAs );
   appendDecimal( out, change.oldState );
   out += '|';
   appendDecimal( out, change.newState );
   out += '\n';
}

void BgpdumpLine::appendPath( std::string& out, std::span<const U8> asPath,
                              std::span<const U8> as4Path, bool as4, bool useAs4Path ) {
   auto read = []( std::span<const U8> value, bool wide, Path* p ) {
      p->segments.clear();
      p->ases.clear();
      WireCursor c( value );
      size_t width = wide ? 4 : 2;
      while ( !c.atEnd() ) {
         U8 type, count;
         std::span<const U8> octets;
         if ( !c.u8( &type ) || !c.u8( &count ) || !c.bytes( count * width, &octets ) )
            break; // what split so far is shown
         p->segments.push_back( Segment{ type, U32( p->ases.size() ), count } );
         for ( size_t i = 0; i < count; ++i ) {
            p->ases.push_back( wide ? loadU32( octets.data() + 4 * i )
                                    : loadU16( octets.data() + 2 * i ) );
         }
      }
   };
   // The number of ASes a path counts for (RFC 6793 section 4.2.3): a set
   // counts once. Members of a confederation sequence count too, as bgpdump
   // has it, so that the leading confederation segments of AS_PATH stay in
   // front of AS4_PATH, which cannot carry them.
   auto sequence = []( U8 type ) {
      return type == asSequence || type == confedSequence;
   };
   auto length = [ & ]( const Path& p ) {
      size_t n = 0;
      for ( const Segment& s : p.segments ) {
         n += sequence( s.type ) ? s.count : 1;
      }
      return n;
   };
   read( asPath, as4, &path_ );
   const Path* shown = &path_;
   if ( !as4 && !as4Path.empty() && useAs4Path ) {
      read( as4Path, true, &path4_ );
      size_t have = length( path_ );
      size_t have4 = length( path4_ );
      if ( have >= have4 ) {
         // Keep the leading (have - have4) ASes of AS_PATH, then AS4_PATH.
         Path& merged = merged_;
         merged.segments.clear();
         merged.ases.clear();
         size_t keep = have - have4;
         for ( const Segment& s : path_.segments ) {
            if ( keep == 0 )
               break;
            size_t take = sequence( s.type ) ? std::min<size_t>( s.count, keep ) : s.count;
            keep -= sequence( s.type ) ? take : 1;
            merged.segments.push_back( Segment{ s.type, U32( merged.ases.size() ), U32( take ) } );
            merged.ases.insert( merged.ases.end(), path_.ases.begin() + s.first,
                                path_.ases.begin() + s.first + take );
         }
         for ( const Segment& s : path4_.segments ) {
            merged.segments.push_back( Segment{ s.type, U32( merged.ases.size() ), s.count } );
            merged.ases.insert( merged.ases.end(), path4_.ases.begin() + s.first,
                                path4_.ases.begin() + s.first + s.count );
         }
         shown = &merged;
      }
   }
   bool first = true;
   for ( const Segment& s : shown->segments ) {
      if ( !first )
         out += ' ';
      first = false;
      const char* brackets = s.type == asSet            ? "{}"
                             : s.type == confedSequence ? "()"
                             : s.type == confedSet      ? "[]"
                                                        : nullptr;
      char separator = s.type == asSet || s.type == confedSet ? ',' : ' ';
      if ( brackets )
         out += brackets[ 0 ];
      for ( U32 i = 0; i < s.count; ++i ) {
         if ( i )
            out += separator;
         appendDecimal( out, shown->ases[ s.first + i ] );
      }
      if ( brackets )
         out += brackets[ 1 ];
   }
}

void BgpdumpLine::appendRoute( std::string& out, const MrtRoute& route ) {
   if ( !shows( route ) )
      return;
   appendStamp( out, route.stamp, route.hasPathId,
                route.stamp.type == mrtTableDump || route.stamp.type == mrtTableDumpV2 ? "B" : "A",
                route.peer, route.peerAs );
   appendPrefixAndPathId( out, route );
   out += '|';
   Found f;
   scan( route.attributes, &f );
   // An AGGREGATOR of a 2-octet speaker that is not AS_TRANS beside an
   // AS4_AGGREGATOR says the aggregation happened after the last 4-octet
   // speaker: AS4_PATH and AS4_AGGREGATOR are ignored (RFC 6793 section
   // 4.2.3). Without AS4_AGGREGATOR, bgpdump merges AS4_PATH all the same,
   // and so do these lines.
   std::span<const U8> aggregator = f.value[ attrAggregator ];
   bool as4Valid = route.as4 || aggregator.size() != 6 || !f.has( attrAs4Aggregator ) ||
                   loadU16( aggregator.data() ) == asTrans;
   appendPath( out, f.value[ attrAsPath ], f.value[ attrAs4Path ], route.as4, as4Valid );
   out += '|';
   std::span<const U8> origin = f.value[ attrOrigin ];
   U8 o = origin.empty() ? 2 : origin[ 0 ];
   out += o == 0 ? "IGP" : o == 1 ? "EGP" : "INCOMPLETE";
   out += '|';
   appendNextHop( out, route, f );
   out += '|';
   appendDecimal( out, loadU32Or( f.value[ attrLocalPref ], 0 ) );
   out += '|';
   appendDecimal( out, loadU32Or( f.value[ attrMed ], 0 ) );
   out += '|';
   std::span<const U8> comms = f.value[ attrCommunities ];
   for ( size_t i = 0; i + 4 <= comms.size(); i += 4 ) {
      if ( i )
         out += ' ';
      U32 v = loadU32( comms.data() + i );
      if ( v == 0xFFFFFF01 ) {
         out += "no-export";
      } else if ( v == 0xFFFFFF02 ) {
         out += "no-advertise";
      } else if ( v == 0xFFFFFF03 ) {
         out += "local-AS";
      } else {
         appendDecimal( out, v >> 16 );
         out += ':';
         appendDecimal( out, v & 0xffff );
      }
   }
   out += '|';
   std::span<const U8> large = f.value[ 32 ];
   for ( size_t i = 0; i + 12 <= large.size(); i += 12 ) {
      if ( i )
         out += ' ';
      appendDecimal( out, loadU32( large.data() + i ) );
      out += ':';
      appendDecimal( out, loadU32( large.data() + i + 4 ) );
      out += ':';
      appendDecimal( out, loadU32( large.data() + i + 8 ) );
   }
   out += '|';
   out += f.has( attrAtomicAggregate ) ? "AG" : "NAG";
   out += '|';
   size_t asWidth = route.as4 ? 4 : 2;
   if ( aggregator.size() == asWidth + 4 ) {
      U32 as = route.as4 ? loadU32( aggregator.data() ) : loadU16( aggregator.data() );
      const U8* address = aggregator.data() + asWidth;
      std::span<const U8> as4Aggregator = f.value[ attrAs4Aggregator ];
      if ( !route.as4 && as == asTrans && as4Aggregator.size() == 8 ) {
         as = loadU32( as4Aggregator.data() );
         address = as4Aggregator.data() + 4;
      }
      appendDecimal( out, as );
      out += ' ';
      appendIpv4( out, address );
   }
   out += "|\n";
}

} // namespace Bgpcomm
