#include "MrtTestSupport.h"

#include <gtest/gtest.h>

namespace BgpcommTest {
namespace {

TEST( Bgpcomm, MrtExitStatusSaysWhetherEverythingWasRead ) {
   std::string good = tempPath( "good.mrt" );
   Invocation gen = runTool( { "gen", "--routes", "500", "--seed", "9", "-o", good } );
   ASSERT_EQ( gen.status, 0 ) << gen.err;
   EXPECT_NE( gen.out.find( "500 routes" ), std::string::npos );
   // A file read without a problem is a status 0: MrtCommand_test.

   // A bad community length: reported with file and offset, route still shown.
   MrtRecordBuilder b;
   addPeerIndexTable( b, { { { 192, 0, 2, 1 }, 65001 } } );
   size_t ribAt = b.size();
   addRib( b, 2, { 10, 1, 0, 0 }, 24,
           { { 0, pathAttributes( { { 8, parseHex( "fde800" ) } } ) } } );
   std::string bad = tempFile( "bad.mrt", b.data() );
   std::string missing = tempPath( "missing.mrt" );

   Invocation withProblem = runTool( { "mrt", bad } );
   EXPECT_EQ( withProblem.status, 3 );
   EXPECT_EQ( withProblem.out, "10.1.0.0/24\t192.0.2.1\t-\t-\t-\t-\n" );
   EXPECT_EQ( withProblem.err, bad + ": record at offset " + std::to_string( ribAt ) +
                                     ": COMMUNITIES attribute length 3 is not a multiple of 4; "
                                     "route shown without it\n" );

   // An unreadable file is a status 2, and the other files are still read.
   Invocation unreadable = runTool( { "mrt", "--stats", missing, good } );
   EXPECT_EQ( unreadable.status, 2 );
   EXPECT_NE( unreadable.err.find( missing + ": No such file" ), std::string::npos );
   EXPECT_NE( unreadable.out.find( "routes: 500\n" ), std::string::npos );

   Invocation usage = runTool( { "mrt", "--bogus", good } );
   EXPECT_EQ( usage.status, 2 );
   EXPECT_EQ( usage.err.rfind( "bgpcomm: unknown option '--bogus'\nRead MRT dumps", 0 ), 0u );
   Invocation help = runTool( { "mrt", "--help" } );
   EXPECT_EQ( help.status, 0 );
   EXPECT_NE( help.out.find( "Usage: bgpcomm mrt [OPTIONS] FILE...\n" ), std::string::npos );

   Invocation cannotWrite =
         runTool( { "gen", "--routes", "5", "-o", testing::TempDir() + "no/such/dir.mrt" } );
   EXPECT_EQ( cannotWrite.status, 2 );
   EXPECT_NE( cannotWrite.err.find( "No such file" ), std::string::npos );
}

} // namespace
} // namespace BgpcommTest
