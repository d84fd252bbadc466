// MrtGenerator.h: writes a synthetic TABLE_DUMP_V2 file whose community
// attributes look like a real table: sets drawn Zipf-like from a few thousand
// distinct ones per kind, several peers, IPv4 and IPv6 prefixes. The same
// options always give the same octets.
//
//   ByteSink out( "synthetic.mrt.gz" );
//   MrtGeneratorSummary s = generateMrt( { .routes = 1000000, .seed = 7 }, out );
#pragma once

#include "Kel/Types.h"
#include "tools/bgpcomm/ByteSink.h"

namespace Bgpcomm {

// MrtGeneratorOptions
struct MrtGeneratorOptions {
   U64 routes = 0; // RIB entries to write (one route = one prefix from one peer)
   U64 seed = 1;
};

// MrtGeneratorSummary: what was written.
struct MrtGeneratorSummary {
   U64 routes = 0;
   U64 ipv4Prefixes = 0;
   U64 ipv6Prefixes = 0;
   U64 records = 0;
   U64 peers = 0;
};

// generateMrt(): writes the whole file to out (and does not close it).
MrtGeneratorSummary generateMrt( const MrtGeneratorOptions& options, ByteSink& out );

} // namespace Bgpcomm
