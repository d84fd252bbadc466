#include "tools/bgpcomm/TableDumpV2Decoder.h"

#include "tools/bgpcomm/NlriText.h"

#include <algorithm>

namespace Bgpcomm {

namespace {

enum TableDumpV2Subtype : U16 {
   peerIndexTable = 1,
   ribIpv4Unicast = 2,
   ribIpv4Multicast = 3,
   ribIpv6Unicast = 4,
   ribIpv6Multicast = 5,
   ribGeneric = 6,
   geoPeerTable = 7,
   ribIpv4UnicastAddPath = 8,
   ribIpv4MulticastAddPath = 9,
   ribIpv6UnicastAddPath = 10,
   ribIpv6MulticastAddPath = 11,
   ribGenericAddPath = 12,
};

constexpr U8 peerTypeIpv6 = 0x01;
constexpr U8 peerTypeAs4 = 0x02;

} // namespace

std::string TableDumpV2Decoder::decode( const MrtRecord& record ) {
   U16 afi = afiIpv4;
   bool addPath = false;
   switch ( record.subtype ) {
      case peerIndexTable:
         return decodePeerIndexTable( record );
      case geoPeerTable:
         return std::string(); // locations only, no routes
      case ribIpv4Unicast:
      case ribIpv4Multicast:
         break;
      case ribIpv6Unicast:
      case ribIpv6Multicast:
         afi = afiIpv6;
         break;
      case ribIpv4UnicastAddPath:
      case ribIpv4MulticastAddPath:
         addPath = true;
         break;
      case ribIpv6UnicastAddPath:
      case ribIpv6MulticastAddPath:
         afi = afiIpv6;
         addPath = true;
         break;
      case ribGeneric:
      case ribGenericAddPath:
         break;
      default:
         return "unknown TABLE_DUMP_V2 subtype " + std::to_string( record.subtype );
   }
   if ( !havePeerTable_ )
      return "RIB record before any PEER_INDEX_TABLE";
   addPath_ = addPath || record.subtype == ribGenericAddPath;
   afi_ = afi;
   bool multicast = record.subtype == ribIpv4Multicast || record.subtype == ribIpv6Multicast ||
                    record.subtype == ribIpv4MulticastAddPath ||
                    record.subtype == ribIpv6MulticastAddPath;
   safi_ = multicast ? safiMulticast : safiUnicast;
   if ( record.subtype == ribGeneric || record.subtype == ribGenericAddPath ) {
      return decodeGeneric( record, record.subtype == ribGenericAddPath );
   }
   return decodeRib( record, afi, addPath );
}

std::string TableDumpV2Decoder::decodePeerIndexTable( const MrtRecord& record ) {
   WireCursor c( record.body );
   U16 nameLength, count;
   if ( !c.skip( 4 ) || !c.u16( &nameLength ) || !c.skip( nameLength ) || !c.u16( &count ) ) {
      return "PEER_INDEX_TABLE header cut short";
   }
   // The count is the file's word: room grows with the peers actually read.
   constexpr size_t leastPeerOctets = 11;
   std::vector<Peer> peers;
   peers.reserve( std::min<size_t>( count, c.left() / leastPeerOctets ) );
   for ( U16 i = 0; i < count; ++i ) {
      U8 type;
      std::span<const U8> address;
      U32 as = 0;
      U16 as2 = 0;
      if ( !c.u8( &type ) || !c.skip( 4 ) ||
           !c.bytes( ( type & peerTypeIpv6 ) ? 16 : 4, &address ) ||
           !( ( type & peerTypeAs4 ) ? c.u32( &as ) : c.u16( &as2 ) ) ) {
         return "PEER_INDEX_TABLE cut short in peer " + std::to_string( i ) + " of " +
                std::to_string( count );
      }
      if ( !( type & peerTypeAs4 ) )
         as = as2;
      Peer& peer = peers.emplace_back();
      appendAddress( peer.address, address );
      peer.as = as;
   }
   if ( !c.atEnd() ) {
      return "PEER_INDEX_TABLE has " + std::to_string( c.left() ) + " octets after its last peer";
   }
   peers_ = std::move( peers );
   havePeerTable_ = true;
   return std::string();
}

// readEntries(): the entry count and the entries up to the end of the record;
// every entry's attributes are scanned, nothing is emitted yet.
std::string TableDumpV2Decoder::readEntries( WireCursor& c, bool addPath ) {
   U16 count;
   if ( !c.u16( &count ) )
      return "RIB record ends before its entry count";
   entryCount_ = 0;
   for ( U16 i = 0; i < count; ++i ) {
      // Grown entry by entry, not to the count a record claims.
      if ( i == entries_.size() )
         entries_.emplace_back();
      Entry& e = entries_[ i ];
      U16 attrLength;
      std::span<const U8> attrs;
      e.pathId = 0;
      if ( !c.u16( &e.peerIndex ) || !c.skip( 4 ) || ( addPath && !c.u32( &e.pathId ) ) ||
           !c.u16( &attrLength ) || !c.bytes( attrLength, &attrs ) ) {
         return "RIB entry " + std::to_string( i ) + " of " + std::to_string( count ) +
                " runs past the end of the record";
      }
      e.attributes = attrs;
      std::string bad = scanPathAttributes( attrs, &e.scan );
      if ( !bad.empty() )
         return "RIB entry " + std::to_string( i ) + ": " + bad;
   }
   if ( !c.atEnd() ) {
      return std::to_string( c.left() ) + " octets after the last of " + std::to_string( count ) +
             " RIB entries";
   }
   entryCount_ = count;
   return std::string();
}

std::string TableDumpV2Decoder::decodeRib( const MrtRecord& record, U16 afi, bool addPath ) {
   WireCursor c( record.body );
   if ( !c.skip( 4 ) )
      return "RIB record ends inside its sequence number";
   const char* why = nullptr;
   prefix_.clear();
   size_t used = readNlri( afi, safiUnicast, c.rest(), &prefix_, &why );
   if ( used == 0 )
      return std::string( "RIB record prefix: " ) + why;
   c.skip( used );
   std::string bad = readEntries( c, addPath );
   if ( !bad.empty() )
      return bad;
   emitEntries( record );
   return std::string();
}

// The add-path generic subtype is written two ways: with the path identifier
// in front of the NLRI (as the add-path NLRI encoding has it), or in each
// entry like the other add-path subtypes. Only one of them frames the record
// exactly; the per-entry form is tried first because writers use it.
std::string TableDumpV2Decoder::decodeGeneric( const MrtRecord& record, bool addPath ) {
   std::string bad = readGeneric( record, false, addPath );
   if ( !bad.empty() && addPath && readGeneric( record, true, false ).empty() )
      bad.clear();
   if ( !bad.empty() )
      return bad;
   emitEntries( record );
   return std::string();
}

std::string TableDumpV2Decoder::readGeneric( const MrtRecord& record, bool nlriPathId,
                                             bool entryPathId ) {
   WireCursor c( record.body );
   U16 afi;
   U8 safi;
   if ( !c.skip( 4 ) || !c.u16( &afi ) || !c.u8( &safi ) )
      return "RIB_GENERIC header cut short";
   afi_ = afi;
   safi_ = safi;
   U32 pathId = 0;
   if ( nlriPathId && !c.u32( &pathId ) )
      return "RIB_GENERIC header cut short";
   const char* why = nullptr;
   prefix_.clear();
   size_t used = readNlri( afi, safi, c.rest(), &prefix_, &why );
   if ( used == 0 ) {
      return "RIB_GENERIC NLRI (AFI " + std::to_string( afi ) + ", SAFI " + std::to_string( safi ) +
             "): " + why;
   }
   c.skip( used );
   std::string bad = readEntries( c, entryPathId );
   for ( size_t i = 0; nlriPathId && i < entryCount_; ++i )
      entries_[ i ].pathId = pathId;
   return bad;
}

void TableDumpV2Decoder::emitEntries( const MrtRecord& record ) {
   MrtRoute route;
   route.recordOffset = record.offset;
   route.prefix = prefix_;
   route.stamp = MrtRecordStamp( record.offset, record.type, record.subtype, record.timestamp );
   route.hasPathId = addPath_;
   route.afi = afi_;
   route.safi = safi_;
   for ( size_t i = 0; i < entryCount_; ++i ) {
      const Entry& e = entries_[ i ];
      if ( e.peerIndex >= peers_.size() ) {
         ctx_.report( record.offset,
                      "RIB entry " + std::to_string( i ) + " names peer index " +
                            std::to_string( e.peerIndex ) + " but the PEER_INDEX_TABLE has " +
                            std::to_string( peers_.size() ) + " peers; entry skipped",
                      false );
         continue;
      }
      ctx_.reportIssues( record.offset, e.scan );
      const Peer& peer = peers_[ e.peerIndex ];
      route.peer = peer.address;
      route.peerAs = peer.as;
      route.pathId = e.pathId;
      route.attributes = e.attributes;
      route.communities = e.scan.communities;
      ctx_.emit( route );
   }
}

} // namespace Bgpcomm
