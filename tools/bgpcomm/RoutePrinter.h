// RoutePrinter.h: one route as one line of output: tab-separated columns
// (prefix, peer, then the four community lists, "-" where absent), or a JSON
// object per line. Until the library's lists are wired in, a list column
// shows the attribute's raw octets in hex and JSON carries the values only.
//
//   RoutePrinter printer( out, RoutePrinter::Format::json );
//   printer.print( route ); // {"prefix": "10.1.0.0/24", "peer": ..., "communities": ...}
#pragma once

#include "tools/bgpcomm/CommunityValues.h"
#include "tools/bgpcomm/MrtRouteSink.h"
#include "tools/bgpcomm/OutputBuffer.h"

namespace Bgpcomm {

// RoutePrinter
class RoutePrinter {
 public:
   enum class Format { lines, json };

   RoutePrinter( OutputBuffer& out, Format format ) : out_( out ), format_( format ) {}

   // print()
   void print( const MrtRoute& route );

 private:
   void printLine( const MrtRoute& route );
   void printJson( const MrtRoute& route );

   OutputBuffer& out_;
   Format format_;
   CommunityValues values_;
};

// appendJsonString(): a JSON string literal, escaped.
void appendJsonString( std::string& out, std::string_view text );

} // namespace Bgpcomm
