// RoutePrinter.h: one route as one line of output: tab-separated columns
// (prefix, with " path N" for an add-path route, peer, then the texts of the
// four interned lists, "-" where absent), or a JSON object per line with the
// path id ("pathId") of an add-path route and each present list's values and
// text (one UI form per value for extended communities).
//
//   RoutePrinter printer( out, RoutePrinter::Format::json );
//   printer.print( route, lists ); // {"prefix": "10.1.0.0/24", "peer": ..., "communities": ...}
#pragma once

#include "tools/bgpcomm/InternedRoute.h"
#include "tools/bgpcomm/ListText.h"
#include "tools/bgpcomm/OutputBuffer.h"

#include <array>
#include <string>

namespace Bgpcomm {

// RoutePrinter
class RoutePrinter {
 public:
   enum class Format { lines, json };

   RoutePrinter( OutputBuffer& out, Format format ) : out_( out ), format_( format ) {}

   // print()
   void print( const MrtRoute& route, const InternedRoute& lists );

 private:
   void printLine( const MrtRoute& route, const InternedRoute& lists );
   void printJson( const MrtRoute& route, const InternedRoute& lists );

   // appendJson(): a list's member of the route's object.
   template<class List>
   void appendJson( std::string& out, CommunityKind kind, const List& list );
   void appendJson( std::string& out, CommunityKind kind, const Routing::Bgp::ExtCommList& list );

   OutputBuffer& out_;
   Format format_;
   ListText text_;
   std::string scratch_;                                // one text before escaping, reused
   std::array<std::string, communityKindCount> unkept_; // per kind, a text nothing keeps
};

// appendJsonString(): a JSON string literal, escaped.
void appendJsonString( std::string& out, std::string_view text );

} // namespace Bgpcomm
