#include "tools/bgpcomm/Bgp4mpDecoder.h"

#include "tools/bgpcomm/NlriText.h"
#include "tools/bgpcomm/WireRead.h"

#include <algorithm>
#include <cstring>

namespace Bgpcomm {

namespace {

enum Bgp4mpSubtype : U16 {
   stateChange = 0,
   message = 1,
   messageAs4 = 4,
   stateChangeAs4 = 5,
   messageLocal = 6,
   messageAs4Local = 7,
   messageAddPath = 8,
   messageAs4AddPath = 9,
   messageLocalAddPath = 10,
   messageAs4LocalAddPath = 11,
};

constexpr U8 bgpUpdate = 2;
constexpr size_t bgpHeaderLength = 19;

// NlriField: a run of NLRI of one family, each optionally led by a path id.
struct NlriField {
   U16 afi = 0;
   U8 safi = 0;
   std::span<const U8> octets;
};

// walkNlri(): calls fn( nlri octets ) for each NLRI; returns "" or why the
// field does not split into whole NLRI.
template<typename Fn>
std::string walkNlri( const NlriField& field, bool addPath, std::string* text, U32* pathId,
                      Fn fn ) {
   std::span<const U8> rest = field.octets;
   while ( !rest.empty() ) {
      if ( addPath ) {
         if ( rest.size() < 4 )
            return "NLRI ends inside a path identifier";
         if ( pathId )
            *pathId = loadU32( rest.data() );
         rest = rest.subspan( 4 );
      }
      const char* why = nullptr;
      if ( text )
         text->clear();
      size_t used = readNlri( field.afi, field.safi, rest, text, &why );
      if ( used == 0 )
         return why;
      fn();
      rest = rest.subspan( used );
   }
   return std::string();
}

} // namespace

std::string Bgp4mpDecoder::decode( const MrtRecord& record ) {
   bool as4 = false;
   bool addPath = false;
   bool state = false;
   switch ( record.subtype ) {
      case stateChange:
         state = true;
         break;
      case stateChangeAs4:
         state = true;
         as4 = true;
         break;
      case message:
      case messageLocal:
         break;
      case messageAs4:
      case messageAs4Local:
         as4 = true;
         break;
      case messageAddPath:
      case messageLocalAddPath:
         addPath = true;
         break;
      case messageAs4AddPath:
      case messageAs4LocalAddPath:
         as4 = true;
         addPath = true;
         break;
      default:
         return "unknown BGP4MP subtype " + std::to_string( record.subtype );
   }

   WireCursor c( record.body );
   U32 microseconds = 0;
   if ( record.type == mrtBgp4mpEt && !c.u32( &microseconds ) ) {
      return "BGP4MP_ET record ends inside its microseconds";
   }
   MrtRecordStamp stamp( record.offset, record.type, record.subtype, record.timestamp,
                         microseconds );
   U32 peerAs = 0;
   U16 as2, afi;
   bool asOk = as4 ? c.u32( &peerAs ) && c.skip( 4 ) : c.u16( &as2 ) && c.skip( 2 );
   if ( !asOk || !c.skip( 2 ) || !c.u16( &afi ) )
      return "BGP4MP header cut short";
   if ( !as4 )
      peerAs = as2;
   if ( afi != afiIpv4 && afi != afiIpv6 ) {
      return "BGP4MP peer address family " + std::to_string( afi ) + " is not IPv4 or IPv6";
   }
   std::span<const U8> peerAddress;
   if ( !c.bytes( afi == afiIpv4 ? 4 : 16, &peerAddress ) || !c.skip( peerAddress.size() ) ) {
      return "BGP4MP header cut short";
   }
   if ( !std::ranges::equal( peerAddress, peerOctets_ ) ) {
      peerOctets_.assign( peerAddress.begin(), peerAddress.end() );
      peer_.clear();
      appendAddress( peer_, peerAddress );
   }

   if ( state ) {
      MrtStateChange change;
      if ( !c.u16( &change.oldState ) || !c.u16( &change.newState ) )
         return "BGP4MP state change cut short";
      change.stamp = stamp;
      change.peer = peer_;
      change.peerAs = peerAs;
      ctx_.emitStateChange( change );
      return std::string();
   }

   // The BGP message: header, then for an UPDATE the withdrawn routes, the
   // path attributes and the NLRI.
   std::span<const U8> header;
   if ( !c.bytes( bgpHeaderLength, &header ) )
      return "BGP message header cut short";
   static constexpr U8 marker[ 16 ] = { 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff,
                                        0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff };
   if ( std::memcmp( header.data(), marker, sizeof marker ) != 0 )
      return "BGP message marker is not all ones";
   U16 messageLength = loadU16( header.data() + 16 );
   if ( messageLength < bgpHeaderLength || messageLength - bgpHeaderLength > c.left() ) {
      return "BGP message length " + std::to_string( messageLength ) + " does not fit the record";
   }
   if ( header[ 18 ] != bgpUpdate )
      return std::string();
   std::span<const U8> update;
   c.bytes( messageLength - bgpHeaderLength, &update );

   WireCursor u( update );
   U16 withdrawnLength, attrLength;
   std::span<const U8> withdrawn, attrs;
   if ( !u.u16( &withdrawnLength ) || !u.bytes( withdrawnLength, &withdrawn ) ) {
      return "UPDATE withdrawn routes run past the message";
   }
   if ( !u.u16( &attrLength ) || !u.bytes( attrLength, &attrs ) ) {
      return "UPDATE path attributes run past the message";
   }
   std::string bad = scanPathAttributes( attrs, &scan_ );
   if ( !bad.empty() )
      return "UPDATE " + bad;

   NlriField plain{ afiIpv4, safiUnicast, u.rest() };
   NlriField plainWithdrawn{ afiIpv4, safiUnicast, withdrawn };
   NlriField reach;
   NlriField unreach;
   // MP_REACH_NLRI: AFI, SAFI, next hop, a reserved octet, NLRI. The short
   // form table dumps use (next hop only) announces nothing here.
   std::span<const U8> mp = scan_.mpReach;
   bool shortForm = !mp.empty() && mp[ 0 ] != 0 && size_t( mp[ 0 ] ) + 1 == mp.size();
   if ( !mp.empty() && !shortForm ) {
      WireCursor m( mp );
      U8 nextHopLength;
      if ( !m.u16( &reach.afi ) || !m.u8( &reach.safi ) || !m.u8( &nextHopLength ) ||
           !m.skip( nextHopLength + 1u ) ) {
         return "MP_REACH_NLRI header cut short";
      }
      reach.octets = m.rest();
   }
   // MP_UNREACH_NLRI: AFI, SAFI, withdrawn NLRI.
   if ( !scan_.mpUnreach.empty() ) {
      WireCursor m( scan_.mpUnreach );
      if ( !m.u16( &unreach.afi ) || !m.u8( &unreach.safi ) )
         return "MP_UNREACH_NLRI header cut short";
      unreach.octets = m.rest();
   }

   // Check that every NLRI splits before emitting any, so that a bad record
   // yields nothing rather than part of its routes.
   auto nothing = [] {
   };
   bad = walkNlri( plainWithdrawn, addPath, nullptr, nullptr, nothing );
   if ( !bad.empty() )
      return "UPDATE withdrawn routes: " + bad;
   bad = walkNlri( plain, addPath, nullptr, nullptr, nothing );
   if ( !bad.empty() )
      return "UPDATE NLRI: " + bad;
   // A family we cannot split is reported; the rest of the message still counts.
   auto usable = [ & ]( const NlriField& field, const char* name, std::string* fatal ) {
      if ( field.octets.empty() )
         return false;
      std::string why = walkNlri( field, addPath, nullptr, nullptr, nothing );
      if ( why.empty() )
         return true;
      std::string where = std::string( name ) + " (AFI " + std::to_string( field.afi ) + ", SAFI " +
                          std::to_string( field.safi ) + "): " + why;
      if ( nlriLayoutKnown( field.afi, field.safi ) ) {
         *fatal = where;
      } else {
         ctx_.report( record.offset, where + "; its routes are skipped", false );
      }
      return false;
   };
   bool reachUsable = usable( reach, "MP_REACH_NLRI", &bad );
   bool unreachUsable = bad.empty() && usable( unreach, "MP_UNREACH_NLRI", &bad );
   if ( !bad.empty() )
      return bad;

   ctx_.reportIssues( record.offset, scan_ );
   // Every field is set here: the route is the decoder's, reused, since
   // making one afresh cleared more octets than a short UPDATE holds.
   MrtRoute& route = route_;
   route.recordOffset = record.offset;
   route.peer = peer_;
   route.peerAs = peerAs;
   route.stamp = stamp;
   route.hasPathId = addPath;
   route.pathId = 0;
   route.as4 = as4;
   route.attributes = {};
   route.communities = {};
   auto walk = [ & ]( const NlriField& field, auto emit ) {
      route.afi = field.afi;
      route.safi = field.safi;
      walkNlri( field, addPath, &prefix_, &route.pathId, [ & ] {
         route.prefix = prefix_;
         emit();
      } );
   };
   // Withdrawals first, as the message lists them first.
   auto withdraw = [ & ] {
      ctx_.emitWithdrawal( route );
   };
   walk( plainWithdrawn, withdraw );
   if ( unreachUsable )
      walk( unreach, withdraw );
   route.attributes = attrs;
   route.communities = scan_.communities;
   auto announce = [ & ] {
      ctx_.emit( route );
   };
   walk( plain, announce );
   if ( reachUsable )
      walk( reach, announce );
   return std::string();
}

} // namespace Bgpcomm
