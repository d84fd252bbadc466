#include "tools/bgpcomm/TableDumpDecoder.h"

#include "tools/bgpcomm/NlriText.h"
#include "tools/bgpcomm/WireRead.h"

namespace Bgpcomm {

std::string TableDumpDecoder::decode( const MrtRecord& record ) {
   // The subtype is the address family of both the prefix and the peer.
   U16 afi = record.subtype;
   if ( afi != afiIpv4 && afi != afiIpv6 ) {
      return "unknown TABLE_DUMP subtype " + std::to_string( record.subtype );
   }
   size_t addressLength = afi == afiIpv4 ? 4 : 16;
   WireCursor c( record.body );
   std::span<const U8> address, peerAddress, attrs;
   U8 bits;
   U16 peerAs, attrLength;
   // View number, sequence number, prefix, length, status, originated time,
   // peer address, peer AS, attributes.
   if ( !c.skip( 4 ) || !c.bytes( addressLength, &address ) || !c.u8( &bits ) || !c.skip( 5 ) ||
        !c.bytes( addressLength, &peerAddress ) || !c.u16( &peerAs ) || !c.u16( &attrLength ) ||
        !c.bytes( attrLength, &attrs ) ) {
      return "TABLE_DUMP record cut short";
   }
   if ( bits > addressBits( afi ) ) {
      return "TABLE_DUMP prefix length " + std::to_string( bits ) + " is longer than the address";
   }
   std::string bad = scanPathAttributes( attrs, &scan_ );
   if ( !bad.empty() )
      return "TABLE_DUMP " + bad;

   // The prefix is written in full: read it as the NLRI encoding of its length.
   U8 nlri[ 17 ] = { bits };
   std::copy( address.begin(), address.end(), nlri + 1 );
   const char* why = nullptr;
   prefix_.clear();
   readNlri( afi, safiUnicast, std::span<const U8>( nlri, 1 + addressLength ), &prefix_, &why );
   peer_.clear();
   appendAddress( peer_, peerAddress );

   ctx_.reportIssues( record.offset, scan_ );
   MrtRoute route;
   route.recordOffset = record.offset;
   route.prefix = prefix_;
   route.peer = peer_;
   route.peerAs = peerAs;
   route.stamp = MrtRecordStamp( record.offset, record.type, record.subtype, record.timestamp );
   route.as4 = false;
   route.afi = afi;
   route.attributes = attrs;
   route.communities = scan_.communities;
   ctx_.emit( route );
   return std::string();
}

} // namespace Bgpcomm
