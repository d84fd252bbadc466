// MrtRouteSink.h: what the MRT reader hands out: one route at a time, with the
// raw octets of its community attributes, and the problems it found. A sink
// (printer, statistics, the library's tables) implements MrtRouteSink.
//
//   struct Counter : MrtRouteSink { void route( const MrtRoute& ) override { ++n; } ... };
//   MrtReader( counter ).readFile( "rib.mrt" );
#pragma once

#include "Kel/Types.h"
#include "tools/bgpcomm/CommunityKind.h"

#include <array>
#include <span>
#include <string>
#include <string_view>

namespace Bgpcomm {

// MrtRecordStamp: which record an entry came from and when it was written.
struct MrtRecordStamp {
   MrtRecordStamp() = default;
   MrtRecordStamp( U64 offset, U16 t, U16 st, U32 ts, U32 us = 0 )
         : recordOffset( offset ), type( t ), subtype( st ), timestamp( ts ), microseconds( us ) {}

   U64 recordOffset = 0; // of the MRT record in the decompressed stream
   U16 type = 0;         // MRT type and subtype
   U16 subtype = 0;
   U32 timestamp = 0;
   U32 microseconds = 0; // BGP4MP_ET only
};

// MrtRoute: one route (one prefix from one peer), announced or in a RIB, or
// withdrawn. Every view points into the reader's buffers and is valid only
// during the call that delivers it.
struct MrtRoute {
   U64 recordOffset = 0;    // of the MRT record in the decompressed stream
   std::string_view prefix; // "10.1.0.0/24", "65000:1:10.1.0.0/24" (RD:prefix), or hex
   std::string_view peer;   // peer address text
   U32 peerAs = 0;
   U16 afi = 1; // of the prefix: 1 IPv4, 2 IPv6
   U8 safi = 1; // 1 unicast, 2 multicast, 128 MPLS VPN, ...
   MrtRecordStamp stamp;
   bool hasPathId = false; // add-path (RFC 7911, RFC 8050): routes differ by it
   U32 pathId = 0;
   bool as4 = true;                // AS numbers in AS_PATH and AGGREGATOR take 4 octets
   std::span<const U8> attributes; // the whole path attribute block; empty when withdrawn
   // The value octets of each community attribute (no header), empty when the
   // route does not carry it or it was dropped as malformed.
   std::array<std::span<const U8>, communityKindCount> communities;

   std::span<const U8> community( CommunityKind kind ) const {
      return communities[ communityKindIndex( kind ) ];
   }
};

// MrtProblem: something wrong in the input, with where it was found.
struct MrtProblem {
   std::string_view file;
   U64 recordOffset = 0;
   std::string reason;
   bool recordSkipped = false; // the whole record was dropped, not only one attribute
};

// MrtStateChange: a BGP session of a collector changed state (RFC 4271
// section 8.2.2 numbers the states).
struct MrtStateChange {
   MrtRecordStamp stamp;
   std::string_view peer;
   U32 peerAs = 0;
   U16 oldState = 0;
   U16 newState = 0;
};

// MrtRouteSink: receives the routes and problems of the files read, in order.
class MrtRouteSink {
 public:
   virtual ~MrtRouteSink() = default;
   // route(): a route in a RIB or announced.
   virtual void route( const MrtRoute& route ) = 0;
   // withdrawal(): a route withdrawn; communities and attributes are empty.
   virtual void withdrawal( const MrtRoute& ) {}
   // stateChange()
   virtual void stateChange( const MrtStateChange& ) {}
   // problem()
   virtual void problem( const MrtProblem& problem ) = 0;
};

} // namespace Bgpcomm
