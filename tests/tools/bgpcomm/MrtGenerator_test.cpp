#include "MrtTestSupport.h"

#include "tools/bgpcomm/ByteSink.h"
#include "tools/bgpcomm/InterningSink.h"
#include "tools/bgpcomm/MrtGenerator.h"
#include "tools/bgpcomm/MrtStats.h"

#include <gtest/gtest.h>

#include <set>

namespace BgpcommTest {
namespace {

// StatsSink: statistics plus the extended community type/subtype pairs seen.
struct StatsSink : InternedRouteSink {
   explicit StatsSink( const CommunityTables& tables ) : stats( tables ) {}
   void route( const MrtRoute& r, const InternedRoute& lists ) override {
      stats.add( r, lists );
      auto ext = r.community( CommunityKind::extended );
      for ( size_t i = 0; i < ext.size(); i += 8 )
         types.insert( U16( ext[ i ] << 8 | ext[ i + 1 ] ) );
      ipv6 += r.prefix.find( ':' ) != std::string_view::npos;
      peers.insert( std::string( r.peer ) );
   }
   void problem( const MrtProblem& p ) override { ADD_FAILURE() << p.reason; }
   MrtStats stats;
   std::set<U16> types;
   std::set<std::string> peers;
   U64 ipv6 = 0;
};

// The reader reads back every record and route the generator wrote, without problems, and
// the table has the shape of a real one.
TEST( MrtGenerator, TableLooksLikeARealOneAndReadsBackWhole ) {
   constexpr U64 routes = 40000;
   std::string path = tempPath( "gen.mrt.gz" );
   MrtGeneratorSummary written;
   {
      ByteSink out( path );
      written = generateMrt( { routes, 3 }, out );
      out.close();
   }
   EXPECT_EQ( written.routes, routes );
   EXPECT_GT( written.ipv4Prefixes, written.ipv6Prefixes );
   EXPECT_EQ( readText( path ).substr( 0, 2 ), "\x1f\x8b" ); // gzip, by the name
   CommunityTables tables;
   StatsSink sink( tables );
   InterningSink interning( tables, sink );
   MrtFileSummary read = MrtReader( interning ).readFile( path );
   EXPECT_TRUE( read.readToEnd );
   EXPECT_EQ( read.records, written.records );
   ASSERT_EQ( read.routes, routes );
   const MrtStats& st = sink.stats;

   double perRoute = double( st.figures( CommunityKind::standard ).values ) / routes;
   EXPECT_GT( perRoute, 4.5 );
   EXPECT_LT( perRoute, 8.0 );
   EXPECT_NEAR( double( sink.ipv6 ) / routes, 0.2, 0.01 );
   auto share = [ & ]( CommunityKind k ) {
      return double( st.figures( k ).attributes ) / routes;
   };
   EXPECT_NEAR( share( CommunityKind::standard ), 0.92, 0.02 );
   EXPECT_NEAR( share( CommunityKind::large ), 0.30, 0.02 );
   EXPECT_NEAR( share( CommunityKind::extended ), 0.20, 0.02 );
   EXPECT_NEAR( share( CommunityKind::ip6Extended ), 0.005, 0.002 );
   EXPECT_GE( sink.peers.size(), 6u );

   // Few distinct sets, shared by many routes.
   EXPECT_GT( st.figures( CommunityKind::standard ).distinctLists, 1000u );
   EXPECT_LE( st.figures( CommunityKind::standard ).distinctLists, 3000u );
   EXPECT_LE( st.figures( CommunityKind::large ).distinctLists, 800u );
   EXPECT_LE( st.figures( CommunityKind::ip6Extended ).distinctLists, 40u );
   EXPECT_GT( st.routeTargets(), 100u );

   // Every kind of extended community the generator promises.
   for ( U16 t : { 0x0002, 0x0202, 0x0102, 0x0003, 0x0103, 0x0203, 0x4004, 0x030b, 0x030c } ) {
      EXPECT_TRUE( sink.types.count( t ) ) << std::hex << t;
   }
   bool unassigned = false;
   for ( U16 t : sink.types )
      unassigned |= ( t >> 8 ) == 0x1d || ( t >> 8 ) == 0x3a;
   EXPECT_TRUE( unassigned );
}

TEST( MrtGenerator, SameSeedSameOctetsOtherSeedOtherOctets ) {
   auto generated = []( const char* seed ) {
      std::string path = tempPath( "gen.mrt" );
      EXPECT_EQ( runTool( { "gen", "--routes", "2000", "--seed", seed, "-o", path } ).status, 0 );
      return readText( path );
   };
   std::string a = generated( "5" );
   EXPECT_EQ( a, generated( "5" ) );
   EXPECT_NE( a, generated( "6" ) );
}

} // namespace
} // namespace BgpcommTest
