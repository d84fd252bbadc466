#include "MrtTestSupport.h"

#include <gtest/gtest.h>

namespace BgpcommTest {
namespace {

// The records of tests/data/mrt/ were written by hand from RFC 6396; the
// interop test holds their lines against Debian's bgpdump. Here they read
// without a problem (under the sanitizers too).
TEST( BgpdumpLine, HandWrittenRfcRecordsReadWithoutAProblem ) {
   for ( const char* fixture :
         { "table-dump-ipv4", "table-dump-ipv6", "bgp4mp-et", "bgp4mp-as4-path" } ) {
      Invocation r = runTool( { "mrt", "--bgpdump", hexFixture( fixture ) } );
      EXPECT_EQ( r.status, 0 ) << fixture;
      EXPECT_EQ( r.err, "" ) << fixture;
      EXPECT_NE( r.out, "" ) << fixture;
   }
   // The same routes through the library's lists: every kind in its column.
   Invocation lists = runTool( { "mrt", hexFixture( "table-dump-ipv4" ) } );
   EXPECT_EQ( lists.out,
              "192.0.2.0/24\t198.51.100.1\t65000:100 no-export no-advertise\t-\t-\t-\n"
              "10.0.0.0/8\t198.51.100.2\t1:65535 65535:666 local-as\t-\t65010:1:2\t-\n" );
}

TEST( BgpdumpLine, PeerAndPrefixSelectRoutesTogether ) {
   std::string v4 = hexFixture( "table-dump-ipv4" ), et = hexFixture( "bgp4mp-et" );
   // Each case: options, then the (kind, prefix) of the lines expected.
   const std::pair<std::vector<std::string>, std::string> cases[] = {
      { {},
        "B 192.0.2.0/24,B 10.0.0.0/8,W 198.51.101.0/24,A 192.0.2.0/24,A 10.1.0.0/16,"
        "W 2001:db8:2::/48,A 2001:db8::/32,STATE 200000," },
      { { "--peer", "198.51.100.5" },
        "W 198.51.101.0/24,A 192.0.2.0/24,A 10.1.0.0/16,STATE 200000," },
      { { "--peer", "AS65010", "--peer", "2001:db8:0::5" },
        "B 10.0.0.0/8,W 2001:db8:2::/48,A 2001:db8::/32," },
      { { "--prefix", "10.0.0.0/8" }, "B 10.0.0.0/8,A 10.1.0.0/16," },
      { { "--prefix", "192.0.2.0/23", "--prefix", "2001:db8::/16" },
        "B 192.0.2.0/24,A 192.0.2.0/24,W 2001:db8:2::/48,A 2001:db8::/32," },
      { { "--prefix", "192.0.2.0/25" }, "" }, // less specific routes are not in it
      { { "--peer", "200000", "--prefix", "10.0.0.0/8" }, "A 10.1.0.0/16," },
   };
   for ( const auto& [ options, expected ] : cases ) {
      std::vector<std::string> args = { "mrt", "--bgpdump", v4, et };
      args.insert( args.end(), options.begin(), options.end() );
      Invocation r = runTool( args );
      EXPECT_EQ( r.status, 0 );
      std::string selected;
      std::istringstream lines( r.out );
      for ( std::string line; std::getline( lines, line ); ) {
         std::vector<std::string> f;
         std::istringstream fields( line );
         for ( std::string x; std::getline( fields, x, '|' ); )
            f.push_back( x );
         selected += f[ 2 ] + " " + f[ f[ 2 ] == "STATE" ? 4 : 5 ] + ",";
      }
      EXPECT_EQ( selected, expected ) << testing::PrintToString( options );
   }
}

// Add-path routes of one prefix from one peer differ only by their path id:
// each is its own route, and the id is shown in every form (the interop
// test checks bgpdump's).
TEST( BgpdumpLine, AddPathRoutesKeepTheirPathIdInEveryForm ) {
   std::string real = sourceFile( "../shared/mrt/ris-bview.ipv4_unicast_add_path.gz" );
   if ( readText( real ).empty() )
      GTEST_SKIP() << "../shared/mrt is absent";
   auto firstTwo = [ & ]( std::vector<std::string> args ) {
      args.insert( args.begin(), "mrt" );
      args.push_back( real );
      std::string out = runTool( args ).out;
      size_t second = out.find( '\n', out.find( '\n' ) + 1 );
      return out.substr( 0, second + 1 );
   };
   EXPECT_EQ( firstTwo( {} ),
              "10.0.10.0/24 path 36\t10.0.15.1\t-\t-\t-\t-\n"
              "10.0.10.0/24 path 38\t10.0.15.1\t-\t-\t-\t-\n" );
   EXPECT_EQ( firstTwo( { "--json" } ),
              "{\"prefix\": \"10.0.10.0/24\", \"pathId\": 36, \"peer\": \"10.0.15.1\", "
              "\"peerAs\": 65015}\n"
              "{\"prefix\": \"10.0.10.0/24\", \"pathId\": 38, \"peer\": \"10.0.15.1\", "
              "\"peerAs\": 65015}\n" );
}

// bgpdump prints no line for multicast and RIB_GENERIC table dump records;
// the other outputs show every route.
TEST( BgpdumpLine, OnlyUnicastTableDumpRecordsGiveLines ) {
   MrtRecordBuilder b;
   addPeerIndexTable( b, { { { 192, 0, 2, 1 }, 65001 } } );
   for ( U16 subtype : { 2, 3 } )
      addRib( b, subtype, { 10, 1, 0, 0 }, 24, { { 0, pathAttributes( {} ) } } );
   std::string file = tempFile( "multicast.mrt", b.data() );
   Invocation lines = runTool( { "mrt", "--bgpdump", file } );
   EXPECT_EQ( lines.out.rfind( "TABLE_DUMP2|" ), 0u ) << lines.out;
   EXPECT_EQ( std::count( lines.out.begin(), lines.out.end(), '\n' ), 1 );
   EXPECT_EQ( runTool( { "mrt", file } ).out,
              "10.1.0.0/24\t192.0.2.1\t-\t-\t-\t-\n"
              "10.1.0.0/24\t192.0.2.1\t-\t-\t-\t-\n" );
}

} // namespace
} // namespace BgpcommTest
