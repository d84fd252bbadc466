// MrtTestSupport.h: what the bgpcomm tests share: a sink that keeps, as
// text, everything the reader hands out, temporary files, and builders for
// the records the tests feed the reader.
//
//   RouteCollector got; MrtReader( got ).readFile( tempFile( "x.mrt", builder.data() ) );
//   EXPECT_EQ( got.routes[ 0 ], "10.1.0.0/24 192.0.2.1 65001 std=fde80064" );
#pragma once

#include "tools/bgpcomm/HexText.h"
#include "tools/bgpcomm/Inflater.h"
#include "tools/bgpcomm/MrtReader.h"
#include "tools/bgpcomm/MrtRecordBuilder.h"
#include "tools/bgpcomm/OutputBuffer.h"

#include <array>
#include <functional>
#include <string>
#include <vector>

namespace BgpcommTest {

using namespace Bgpcomm;

// RouteCollector: a line per route ("prefix peer peerAs", then each
// community kind present as kind=hex) and per problem ("@offset reason",
// "kept: " before the reason when the rest of the record still counts);
// and each route's community attributes as hex ("" absent).
struct RouteCollector : MrtRouteSink {
   void route( const MrtRoute& route ) override;
   void problem( const MrtProblem& problem ) override;

   std::vector<std::string> routes, problems;
   std::vector<std::array<std::string, communityKindCount>> communities;
};

// tempPath(): a fresh path in the test temporary directory.
std::string tempPath( const std::string& name );

// tempFile(): the octets written to a fresh temporary file; its path.
std::string tempFile( const std::string& name, std::span<const U8> octets );

// TestPeer: one PEER_INDEX_TABLE entry; an AS beyond 65535 is written in 4 octets.
struct TestPeer {
   std::vector<U8> address; // 4 or 16 octets
   U32 as = 0;
};

// addPeerIndexTable()
void addPeerIndexTable( MrtRecordBuilder& b, const std::vector<TestPeer>& peers );

// RibEntry: one entry of a TABLE_DUMP_V2 RIB record.
struct RibEntry {
   U16 peer = 0;
   std::vector<U8> attrs;
   U32 pathId = 0;
};

// addRib(): a RIB record of an AFI-specific subtype; add-path subtypes (8 and up) carry
// each entry's path id.
void addRib( MrtRecordBuilder& b, U16 subtype, const std::vector<U8>& address, unsigned bits,
             const std::vector<RibEntry>& entries );

// pathAttributes(): path attributes ORIGIN plus the given community
// attributes (type, value octets), in order.
std::vector<U8> pathAttributes( const std::vector<std::pair<U8, std::vector<U8>>>& attrs );

// Invocation: one bgpcomm run, in process, with what it printed.
struct Invocation {
   int status = -1;
   std::string out;
   std::string err;
};

// runTool(): runs bgpcomm with args (the program name is added).
Invocation runTool( const std::vector<std::string>& args );

// printedBy(): what print wrote through an OutputBuffer.
std::string printedBy( const std::function<void( OutputBuffer& )>& print );

// sourceFile(): a file of the source tree ("samples/x.mrt"), found through
// OVBGP_SOURCE_DIR, else from a build directory inside the tree.
std::string sourceFile( const std::string& relative );

// compressedAs(): the octets compressed in format c (bzip2 in 100k blocks,
// zstd with its checksum), as one member or stream.
std::vector<U8> compressedAs( std::span<const U8> octets, Compression c );

// readText(): a whole file; empty when it cannot be read.
std::string readText( const std::string& path );

// hexFixture(): tests/data/mrt/<name>.hex (hex pairs, '#' comments) written
// as a binary file; its path.
std::string hexFixture( const std::string& name );

} // namespace BgpcommTest
