#include "MrtTestSupport.h"

#include "tools/bgpcomm/ByteSink.h"
#include "tools/bgpcomm/InterningSink.h"
#include "tools/bgpcomm/MrtGenerator.h"
#include "tools/bgpcomm/MrtStats.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <set>

namespace BgpcommTest {
namespace {

std::string generated( U64 routes, U64 seed ) {
   std::string path = tempPath( "gen.mrt" );
   ByteSink out( path );
   generateMrt( { routes, seed }, out );
   out.close();
   std::ifstream in( path, std::ios::binary );
   return std::string( std::istreambuf_iterator<char>( in ), {} );
}

TEST( MrtGenerator, SameSeedSameOctetsOtherSeedOtherOctets ) {
   std::string a = generated( 2000, 5 );
   EXPECT_EQ( a, generated( 2000, 5 ) );
   EXPECT_NE( a, generated( 2000, 6 ) );
}

// StatsSink: statistics plus the extended community type/subtype pairs seen.
struct StatsSink : InternedRouteSink {
   explicit StatsSink( const CommunityTables& tables ) : stats( tables ) {}
   void route( const MrtRoute& r, const InternedRoute& lists ) override {
      stats.add( r, lists );
      auto ext = r.community( CommunityKind::extended );
      for ( size_t i = 0; i < ext.size(); i += 8 )
         types.insert( U16( ext[ i ] << 8 | ext[ i + 1 ] ) );
      standardValues += r.community( CommunityKind::standard ).size() / 4;
      ipv6 += r.prefix.find( ':' ) != std::string_view::npos;
      peers.insert( std::string( r.peer ) );
   }
   void problem( const MrtProblem& p ) override { ADD_FAILURE() << p.reason; }
   MrtStats stats;
   std::set<U16> types;
   std::set<std::string> peers;
   U64 standardValues = 0;
   U64 ipv6 = 0;
};

TEST( MrtGenerator, TableLooksLikeARealOne ) {
   constexpr U64 routes = 40000;
   std::string path = tempPath( "gen.mrt.gz" );
   {
      ByteSink out( path );
      MrtGeneratorSummary s = generateMrt( { routes, 3 }, out );
      out.close();
      EXPECT_EQ( s.routes, routes );
      EXPECT_GT( s.ipv4Prefixes, s.ipv6Prefixes );
   }
   CommunityTables tables;
   StatsSink sink( tables );
   InterningSink interning( tables, sink );
   MrtFileSummary read = MrtReader( interning ).readFile( path );
   ASSERT_EQ( read.routes, routes );
   const MrtStats& st = sink.stats;

   double perRoute = double( sink.standardValues ) / routes;
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

} // namespace
} // namespace BgpcommTest
