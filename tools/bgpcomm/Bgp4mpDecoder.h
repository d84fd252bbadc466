// Bgp4mpDecoder.h: decodes BGP4MP and BGP4MP_ET records (RFC 6396, with the
// RFC 8050 add-path subtypes): every prefix an UPDATE message announces, in
// its NLRI field or in MP_REACH_NLRI, becomes one route.
//
//   Bgp4mpDecoder bgp4mp( ctx );
//   if ( std::string why = bgp4mp.decode( record ); !why.empty() ) ctx.report( ... );
#pragma once

#include "tools/bgpcomm/MrtDecodeContext.h"
#include "tools/bgpcomm/MrtRecordReader.h"

#include <string>
#include <vector>

namespace Bgpcomm {

// Bgp4mpDecoder
class Bgp4mpDecoder {
 public:
   explicit Bgp4mpDecoder( MrtDecodeContext& ctx ) : ctx_( ctx ) {}

   // decode(): one record of type BGP4MP or BGP4MP_ET. Returns "" when it was
   // read (messages other than UPDATE and state changes are read as nothing),
   // else why it is skipped whole.
   std::string decode( const MrtRecord& record );

 private:
   MrtDecodeContext& ctx_;
   PathAttributeScan scan_;
   std::string peer_; // text of peerOctets_: records of one peer come in runs
   std::vector<U8> peerOctets_;
   std::string prefix_;
   MrtRoute route_; // the route being emitted
};

} // namespace Bgpcomm
