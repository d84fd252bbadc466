#include "MrtTestSupport.h"

#include "tools/bgpcomm/InterningSink.h"
#include "tools/bgpcomm/MrtStats.h"

#include <gtest/gtest.h>

namespace BgpcommTest {
namespace {

using namespace Routing::Bgp;

// Counted: routes through the interning sink into the statistics.
struct Counted : InternedRouteSink {
   explicit Counted( const CommunityTables& tables ) : stats( tables ) {}
   void route( const MrtRoute& r, const InternedRoute& lists ) override { stats.add( r, lists ); }
   void problem( const MrtProblem& ) override {}
   MrtStats stats;
};

MrtRoute routeWith( const std::vector<U8>& standard, const std::vector<U8>& extended,
                    const std::vector<U8>& large ) {
   MrtRoute r;
   r.prefix = "10.0.0.0/8";
   r.peer = "192.0.2.1";
   r.communities = { standard, extended, large, {} }; // in CommunityKind order
   return r;
}

TEST( MrtStats, FiguresComeFromTheTablesListsAndValues ) {
   CommunityTables tables;
   Counted counted( tables );
   InterningSink sink( tables, counted );
   std::vector<U8> ab = parseHex( "fde80064 ffffff01" );
   std::vector<U8> baa = parseHex( "ffffff01 fde80064 fde80064" ), a = parseHex( "fde80064" );
   std::vector<U8> rtLb = parseHex( "0002fde800000064 4004fde84e6e6b28" ),
                   rt = parseHex( "0002fde800000064" ), rtOther = parseHex( "0102c0000201000a" );
   std::vector<U8> large = parseHex( "fa56ea00 00000001 00000002" );
   sink.route( routeWith( ab, rtLb, {} ) );
   sink.route( routeWith( baa, rt, {} ) );
   sink.route( routeWith( a, rtOther, large ) );
   sink.route( routeWith( {}, rt, {} ) );
   sink.route( routeWith( {}, {}, {} ) );
   const MrtStats& s = counted.stats;

   EXPECT_EQ( s.routes(), 5u );
   // Per kind: attributes, values, octets, distinct values, distinct lists.
   auto figures = [ & ]( CommunityKind kind ) {
      KindFigures f = s.figures( kind );
      return std::vector<U64>{ f.attributes, f.values, f.octets, f.distinctValues,
                               f.distinctLists };
   };
   // {A, B} twice, {A} once.
   EXPECT_EQ( figures( CommunityKind::standard ), ( std::vector<U64>{ 3, 6, 24, 2, 2 } ) );
   EXPECT_EQ( figures( CommunityKind::extended ), ( std::vector<U64>{ 4, 5, 40, 3, 3 } ) );
   EXPECT_EQ( figures( CommunityKind::large ), ( std::vector<U64>{ 1, 1, 12, 1, 1 } ) );
   EXPECT_EQ( figures( CommunityKind::ip6Extended ), ( std::vector<U64>{ 0, 0, 0, 0, 0 } ) );
   // Interned lists are trimmed to their values.
   EXPECT_EQ( s.figures( CommunityKind::standard ).internedBytes,
              2 * sizeof( CommList ) + 3 * sizeof( U32 ) );
   EXPECT_GT( s.figures( CommunityKind::extended ).internedBytes,
              3 * sizeof( ExtCommList ) + 3 * sizeof( ExtComm ) );
   EXPECT_EQ( s.routeTargets(), 2u );
   EXPECT_EQ( s.topCommunities( 5 ),
              ( std::vector<std::pair<U32, U64>>{ { 0xfde80064, 3 }, { 0xffffff01, 2 } } ) );

   // What only these figures show in print (the sample's lines: MrtCommand_test).
   std::string printed = printedBy( [ & ]( OutputBuffer& out ) { s.print( out ); } );
   EXPECT_NE( printed.find( "communities: routes 3, values 6, distinct values 2, distinct lists 2, "
                            "interning ratio 1.50, attribute octets 24, interned bytes " ),
              std::string::npos )
         << printed;
   EXPECT_NE( printed.find( "interning ratio: 1.33 (attributes per distinct list, all kinds)\n" ),
              std::string::npos )
         << printed;
}

} // namespace
} // namespace BgpcommTest
