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

// MrtRoute: one route (one prefix from one peer). Every view points into the
// reader's buffers and is valid only during the call that delivers it.
struct MrtRoute {
   U64 recordOffset = 0;    // of the MRT record in the decompressed stream
   std::string_view prefix; // "10.1.0.0/24", "65000:1:10.1.0.0/24" (RD:prefix), or hex
   std::string_view peer;   // peer address text
   U32 peerAs = 0;
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

// MrtRouteSink: receives the routes and problems of the files read, in order.
class MrtRouteSink {
 public:
   virtual ~MrtRouteSink() = default;
   // route()
   virtual void route( const MrtRoute& route ) = 0;
   // problem()
   virtual void problem( const MrtProblem& problem ) = 0;
};

} // namespace Bgpcomm
