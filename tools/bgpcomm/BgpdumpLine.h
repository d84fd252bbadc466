// BgpdumpLine.h: routes, withdrawals and session state changes as the
// one-line-per-entry text that `bgpdump -m -l` prints, so that scripts fed
// by it can be fed by bgpcomm; the path attributes are decoded from the
// route's attribute block (AS4_PATH merged into a 2-octet AS_PATH as RFC 6793
// says).
//
//   BgpdumpLine line;
//   line.appendRoute( out, route ); // "TABLE_DUMP2|1700000000|B|192.0.2.1|3356|10.0.0.0/24|..."
#pragma once

#include "tools/bgpcomm/MrtRouteSink.h"

#include <string>
#include <vector>

namespace Bgpcomm {

// BgpdumpLine: keeps scratch space between lines; one per thread.
class BgpdumpLine {
 public:
   // shows(): whether bgpdump prints a line for the route: unicast RIB
   // records of table dumps, unicast and multicast routes of BGP4MP.
   static bool shows( const MrtRoute& route );

   // appendRoute(): a "B" line for a RIB entry, an "A" line for an
   // announcement; nothing for a route it does not show.
   void appendRoute( std::string& out, const MrtRoute& route );
   // appendWithdrawal(): a "W" line (or nothing, as above).
   void appendWithdrawal( std::string& out, const MrtRoute& route );
   // appendStateChange(): a "STATE" line.
   void appendStateChange( std::string& out, const MrtStateChange& change );

 private:
   struct Segment {
      U8 type;
      U32 first; // index into ases_
      U32 count;
   };
   struct Path {
      std::vector<Segment> segments;
      std::vector<U32> ases;
   };

   void appendPath( std::string& out, std::span<const U8> asPath, std::span<const U8> as4Path,
                    bool as4, bool useAs4Path );

   Path path_;
   Path path4_;
   Path merged_;
};

} // namespace Bgpcomm
