// RouteFilter.h: the routes a user asked for by peer (address or AS number)
// and by prefix (the prefix itself and every more specific one); a sink
// between the reader and the rest passes on only those.
//
//   RouteFilter filter( { "192.0.2.1", "65000" }, { "10.0.0.0/8" } ); // throws std::invalid_argument
//   FilteringSink sink( filter, next ); MrtReader( sink ).readFile( f );
#pragma once

#include "tools/bgpcomm/MrtRouteSink.h"

#include <array>
#include <stdexcept>
#include <string>
#include <vector>

namespace Bgpcomm {

// RouteFilter: a route passes when it matches one of the peers (if any are
// given) and one of the prefixes (if any are given).
class RouteFilter {
 public:
   RouteFilter() = default;
   // Throws std::invalid_argument naming the value that is neither.
   RouteFilter( const std::vector<std::string>& peers, const std::vector<std::string>& prefixes );

   // peerReason() / prefixReason(): "" when text is a valid value, else why not.
   static std::string peerReason( const std::string& text );
   static std::string prefixReason( const std::string& text );

   bool empty() const { return peers_.empty() && asns_.empty() && prefixes_.empty(); }
   bool hasPrefixes() const { return !prefixes_.empty(); }
   bool wantsPeer( std::string_view peer, U32 peerAs ) const;
   bool wantsPrefix( std::string_view prefix ) const;
   bool wants( const MrtRoute& route ) const {
      return wantsPeer( route.peer, route.peerAs ) && wantsPrefix( route.prefix );
   }

 private:
   struct Prefix {
      bool ipv6 = false;
      std::array<U8, 16> address{};
      unsigned bits = 0;
   };
   static bool parsePrefix( std::string_view text, Prefix* prefix );

   std::vector<std::string> peers_; // addresses as the reader writes them
   std::vector<U32> asns_;
   std::vector<Prefix> prefixes_;
};

// FilteringSink: routes, withdrawals and state changes the filter wants go
// on to next; problems always do. A state change has no prefix, so a prefix
// filter drops it.
class FilteringSink : public MrtRouteSink {
 public:
   FilteringSink( const RouteFilter& filter, MrtRouteSink& next )
         : filter_( filter ), next_( next ) {}

   void route( const MrtRoute& route ) override {
      if ( filter_.wants( route ) )
         next_.route( route );
   }
   void withdrawal( const MrtRoute& route ) override {
      if ( filter_.wants( route ) )
         next_.withdrawal( route );
   }
   void stateChange( const MrtStateChange& change ) override {
      if ( !filter_.hasPrefixes() && filter_.wantsPeer( change.peer, change.peerAs ) )
         next_.stateChange( change );
   }
   void problem( const MrtProblem& problem ) override { next_.problem( problem ); }

   // next(): where the routes go.
   MrtRouteSink& next() { return next_; }

 private:
   const RouteFilter& filter_;
   MrtRouteSink& next_;
};

} // namespace Bgpcomm
