#include "MrtTestSupport.h"

#include "tools/bgpcomm/ByteSink.h"
#include "tools/bgpcomm/MrtGenerator.h"

#include <gtest/gtest.h>

#include <bzlib.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <map>

namespace BgpcommTest {
namespace {

using Octets = std::vector<U8>;

const Octets peerA = { 192, 0, 2, 1 };
const Octets peerB = hexOctets( "20010db8000000000000000000000002" );

std::vector<TestPeer> twoPeers() {
   return { { peerA, 65001, false }, { peerB, 4200000000u, true } };
}

struct Entry {
   U16 peer = 0;
   Octets attrs;
   U32 pathId = 0;
};

// addRib(): a RIB record of an AFI-specific subtype; add-path subtypes get path ids.
void addRib( MrtRecordBuilder& b, U16 subtype, const Octets& address, unsigned bits,
             const std::vector<Entry>& entries ) {
   bool addPath = subtype >= 8;
   b.beginRecord( 1700000000, 13, subtype );
   b.u32( 0 );
   b.prefix( address, bits );
   b.u16( U16( entries.size() ) );
   for ( const Entry& e : entries ) {
      b.u16( e.peer );
      b.u32( 1600000000 );
      if ( addPath )
         b.u32( e.pathId );
      b.u16( U16( e.attrs.size() ) );
      b.bytes( e.attrs );
   }
   b.endRecord();
}

const Octets twoCommunities = hexOctets( "fde80064fde800c8" );
const Octets oneLarge = hexOctets( "fa56ea00 00000001 00000002" );

Octets readFileOctets( const std::string& path ) {
   std::ifstream in( path, std::ios::binary );
   return Octets( std::istreambuf_iterator<char>( in ), {} );
}

std::vector<std::string> routeLines( const RouteCollector& c ) {
   std::vector<std::string> lines;
   for ( const CollectedRoute& r : c.routes ) {
      std::string line = r.prefix + " " + r.peer + " " + std::to_string( r.peerAs );
      for ( const std::string& comm : r.communities )
         line += " " + comm;
      lines.push_back( line );
   }
   return lines;
}

TEST( MrtReader, GeneratedFileReadsTheSameRoutesPlainGzipAndBzip2 ) {
   std::string plain = tempPath( "gen.mrt" );
   std::string gz = tempPath( "gen.mrt.gz" );
   MrtGeneratorSummary written;
   {
      ByteSink a( plain );
      written = generateMrt( { 3000, 11 }, a );
      a.close();
      ByteSink z( gz );
      generateMrt( { 3000, 11 }, z );
      z.close();
   }
   // bzip2: compressed here with the library, as collectors publish them.
   Octets raw = readFileOctets( plain );
   std::vector<char> packed( raw.size() + raw.size() / 50 + 1024 );
   unsigned packedSize = unsigned( packed.size() );
   ASSERT_EQ( BZ2_bzBuffToBuffCompress( packed.data(), &packedSize,
                                        reinterpret_cast<char*>( raw.data() ),
                                        unsigned( raw.size() ), 9, 0, 0 ),
              BZ_OK );
   std::string bz = tempPath( "gen.mrt.bz2" );
   writeFile( bz, std::span( reinterpret_cast<const U8*>( packed.data() ), packedSize ) );
   EXPECT_LT( readFileOctets( gz ).size(), raw.size() );

   RouteCollector fromPlain, fromGz, fromBz;
   MrtFileSummary s = MrtReader( fromPlain ).readFile( plain );
   MrtReader( fromGz ).readFile( gz );
   MrtReader( fromBz ).readFile( bz );
   EXPECT_TRUE( s.readToEnd );
   EXPECT_EQ( s.problems, 0u );
   EXPECT_EQ( s.records, written.records );
   EXPECT_EQ( s.routes, 3000u );
   ASSERT_EQ( fromPlain.routes.size(), 3000u );
   EXPECT_TRUE( fromPlain.problems.empty() );
   EXPECT_EQ( routeLines( fromPlain ), routeLines( fromGz ) );
   EXPECT_EQ( routeLines( fromPlain ), routeLines( fromBz ) );

   size_t ipv6 = 0, withLarge = 0;
   for ( const CollectedRoute& r : fromPlain.routes ) {
      ipv6 += r.prefix.find( ':' ) != std::string::npos;
      withLarge += !r.community( CommunityKind::large ).empty();
      EXPECT_FALSE( r.peer.empty() );
      EXPECT_NE( r.peerAs, 0u );
   }
   EXPECT_EQ( ipv6, 600u );                      // a fifth of the routes are IPv6
   EXPECT_NEAR( double( withLarge ), 900, 150 ); // about 30% carry large communities
}

TEST( MrtReader, TruncatedLastRecordIsReportedAndEarlierRoutesKept ) {
   MrtRecordBuilder b;
   addPeerIndexTable( b, twoPeers() );
   Octets attrs = pathAttributes( { { 8, twoCommunities } } );
   addRib( b, 2, { 10, 1, 0, 0 }, 24, { { 0, attrs } } );
   size_t secondAt = b.size();
   addRib( b, 2, { 10, 2, 0, 0 }, 24, { { 0, attrs }, { 1, attrs } } );
   Octets cut( b.data().begin(), b.data().end() - 5 );

   RouteCollector got;
   MrtFileSummary s = readMrtBytes( cut, got );
   ASSERT_EQ( got.routes.size(), 1u );
   EXPECT_EQ( got.routes[ 0 ].prefix, "10.1.0.0/24" );
   ASSERT_EQ( got.problems.size(), 1u );
   EXPECT_EQ( got.problems[ 0 ].recordOffset, secondAt );
   EXPECT_NE( got.problems[ 0 ].reason.find( "record truncated" ), std::string::npos );
   EXPECT_FALSE( s.readToEnd );

   // A file cut inside a record header is reported the same way.
   Octets cutHeader( b.data().begin(), b.data().begin() + long( secondAt ) + 7 );
   RouteCollector got2;
   readMrtBytes( cutHeader, got2 );
   EXPECT_EQ( got2.routes.size(), 1u );
   ASSERT_EQ( got2.problems.size(), 1u );
   EXPECT_NE( got2.problems[ 0 ].reason.find( "header cut short" ), std::string::npos );
}

TEST( MrtReader, BadCommunityLengthDropsOnlyThatAttributeOfThatRoute ) {
   MrtRecordBuilder b;
   addPeerIndexTable( b, twoPeers() );
   Octets sixOctets = hexOctets( "fde80064fde8" );
   Octets emptyExt;
   addRib( b, 2, { 10, 1, 0, 0 }, 24,
           { { 0, pathAttributes( { { 8, sixOctets }, { 32, oneLarge } } ) },
             { 1, pathAttributes( { { 16, emptyExt }, { 8, twoCommunities } } ) },
             { 0, pathAttributes( { { 8, twoCommunities }, { 8, hexOctets( "00000001" ) } } ) } } );

   RouteCollector got;
   MrtFileSummary s = readMrtBytes( b.data(), got );
   EXPECT_TRUE( s.readToEnd );
   ASSERT_EQ( got.routes.size(), 3u );
   EXPECT_EQ( got.routes[ 0 ].community( CommunityKind::standard ), "" );
   EXPECT_EQ( got.routes[ 0 ].community( CommunityKind::large ), "fa56ea000000000100000002" );
   EXPECT_EQ( got.routes[ 1 ].community( CommunityKind::extended ), "" );
   EXPECT_EQ( got.routes[ 1 ].community( CommunityKind::standard ), "fde80064fde800c8" );
   // A repeated attribute: the first one counts.
   EXPECT_EQ( got.routes[ 2 ].community( CommunityKind::standard ), "fde80064fde800c8" );

   ASSERT_EQ( got.problems.size(), 3u );
   EXPECT_EQ( got.problems[ 0 ].reason,
              "COMMUNITIES attribute length 6 is not a multiple of 4; route shown without it" );
   EXPECT_EQ( got.problems[ 1 ].reason,
              "EXTENDED_COMMUNITIES attribute has length 0; route shown without it" );
   EXPECT_NE( got.problems[ 2 ].reason.find( "repeated COMMUNITIES" ), std::string::npos );
   for ( const CollectedProblem& p : got.problems ) {
      EXPECT_FALSE( p.recordSkipped );
      EXPECT_EQ( p.recordOffset, got.routes[ 0 ].recordOffset );
   }
   EXPECT_EQ( s.problems, 3u );
}

TEST( MrtReader, UnknownOrMalformedRecordsAreSkippedAndReadingGoesOn ) {
   MrtRecordBuilder b;
   addPeerIndexTable( b, twoPeers() );
   Octets good = pathAttributes( { { 8, twoCommunities } } );
   size_t unknownTypeAt = b.size();
   b.beginRecord( 1700000000, 99, 0 );
   b.u32( 0xdeadbeef );
   b.endRecord();
   size_t unknownSubtypeAt = b.size();
   b.beginRecord( 1700000000, 13, 77 );
   b.endRecord();
   // An attribute claiming more octets than its block: the whole record goes,
   // the good entry before it too.
   size_t overrunAt = b.size();
   Octets overrun = good;
   overrun.insert( overrun.end(), { 0xC0, 8, 40, 0, 0 } );
   addRib( b, 2, { 10, 3, 0, 0 }, 24, { { 0, good }, { 1, overrun } } );
   size_t badPrefixAt = b.size();
   addRib( b, 2, { 10, 4, 0, 0, 0 }, 33, { { 0, good } } ); // longer than IPv4
   addRib( b, 2, { 10, 5, 0, 0 }, 24, { { 1, good } } );

   RouteCollector got;
   MrtFileSummary s = readMrtBytes( b.data(), got );
   EXPECT_TRUE( s.readToEnd );
   ASSERT_EQ( got.routes.size(), 1u );
   EXPECT_EQ( got.routes[ 0 ].prefix, "10.5.0.0/24" );
   EXPECT_EQ( got.routes[ 0 ].peer, "2001:db8::2" );
   EXPECT_EQ( got.routes[ 0 ].peerAs, 4200000000u );
   ASSERT_EQ( got.problems.size(), 4u );
   EXPECT_EQ( got.problems[ 0 ].recordOffset, unknownTypeAt );
   EXPECT_EQ( got.problems[ 0 ].reason, "unknown MRT record type 99; record skipped" );
   EXPECT_EQ( got.problems[ 1 ].recordOffset, unknownSubtypeAt );
   EXPECT_EQ( got.problems[ 1 ].reason, "unknown TABLE_DUMP_V2 subtype 77; record skipped" );
   EXPECT_EQ( got.problems[ 2 ].recordOffset, overrunAt );
   EXPECT_NE( got.problems[ 2 ].reason.find( "RIB entry 1: path attribute type 8" ),
              std::string::npos );
   EXPECT_EQ( got.problems[ 3 ].recordOffset, badPrefixAt );
   EXPECT_NE( got.problems[ 3 ].reason.find( "prefix longer than the address" ),
              std::string::npos );
   for ( const CollectedProblem& p : got.problems )
      EXPECT_TRUE( p.recordSkipped );
}

TEST( MrtReader, PeerTableProblemsSkipWhatCannotBeAttributed ) {
   MrtRecordBuilder b;
   Octets good = pathAttributes( { { 8, twoCommunities } } );
   addRib( b, 2, { 10, 1, 0, 0 }, 24, { { 0, good } } ); // before any peer table
   addPeerIndexTable( b, twoPeers() );
   addRib( b, 2, { 10, 2, 0, 0 }, 24, { { 5, good }, { 1, good } } );

   RouteCollector got;
   readMrtBytes( b.data(), got );
   ASSERT_EQ( got.routes.size(), 1u );
   EXPECT_EQ( got.routes[ 0 ].prefix, "10.2.0.0/24" );
   EXPECT_EQ( got.routes[ 0 ].peer, "2001:db8::2" );
   ASSERT_EQ( got.problems.size(), 2u );
   EXPECT_EQ( got.problems[ 0 ].reason, "RIB record before any PEER_INDEX_TABLE; record skipped" );
   EXPECT_NE( got.problems[ 1 ].reason.find( "peer index 5" ), std::string::npos );
   EXPECT_FALSE( got.problems[ 1 ].recordSkipped );
}

TEST( MrtReader, Ipv6RibEntriesAcceptShortAndFullMpReach ) {
   MrtRecordBuilder b;
   addPeerIndexTable( b, twoPeers() );
   Octets nextHop = hexOctets( "20010db8000000000000000000000001" );
   Octets shortForm = { 16 };
   shortForm.insert( shortForm.end(), nextHop.begin(), nextHop.end() );
   // Full form: AFI, SAFI, next hop, reserved, and the NLRI repeated.
   Octets fullForm = hexOctets( "0002 01 10" );
   fullForm.insert( fullForm.end(), nextHop.begin(), nextHop.end() );
   Octets tail = hexOctets( "00 30 20010db80001" );
   fullForm.insert( fullForm.end(), tail.begin(), tail.end() );
   MrtRecordBuilder a1, a2;
   a1.attribute( 0x80, 14, shortForm );
   a1.attribute( 0xC0, 8, twoCommunities );
   a2.attribute( 0x90, 14, fullForm, true );
   a2.attribute( 0xC0, 32, oneLarge );
   addRib( b, 4, hexOctets( "20010db80001" ), 48,
           { { 0, Octets( a1.data().begin(), a1.data().end() ) },
             { 1, Octets( a2.data().begin(), a2.data().end() ) } } );

   RouteCollector got;
   readMrtBytes( b.data(), got );
   EXPECT_TRUE( got.problems.empty() );
   ASSERT_EQ( got.routes.size(), 2u );
   EXPECT_EQ( got.routes[ 0 ].prefix, "2001:db8:1::/48" );
   EXPECT_EQ( got.routes[ 0 ].community( CommunityKind::standard ), "fde80064fde800c8" );
   EXPECT_EQ( got.routes[ 1 ].prefix, "2001:db8:1::/48" );
   EXPECT_EQ( got.routes[ 1 ].community( CommunityKind::large ), "fa56ea000000000100000002" );
}

TEST( MrtReader, AddPathRibSubtypesReadEveryPath ) {
   MrtRecordBuilder b;
   addPeerIndexTable( b, twoPeers() );
   Octets a = pathAttributes( { { 8, twoCommunities } } );
   Octets c = pathAttributes( { { 32, oneLarge } } );
   addRib( b, 8, { 10, 9, 0, 0 }, 16, { { 0, a, 1 }, { 0, c, 2 } } );
   addRib( b, 10, hexOctets( "20010db8" ), 32, { { 1, c, 7 } } );
   addRib( b, 9, { 224, 1, 0, 0 }, 16, { { 1, a, 3 } } ); // multicast

   RouteCollector got;
   readMrtBytes( b.data(), got );
   EXPECT_TRUE( got.problems.empty() );
   ASSERT_EQ( got.routes.size(), 4u );
   EXPECT_EQ( got.routes[ 0 ].prefix, "10.9.0.0/16" );
   EXPECT_EQ( got.routes[ 0 ].community( CommunityKind::standard ), "fde80064fde800c8" );
   EXPECT_EQ( got.routes[ 1 ].community( CommunityKind::large ), "fa56ea000000000100000002" );
   EXPECT_EQ( got.routes[ 2 ].prefix, "2001:db8::/32" );
   EXPECT_EQ( got.routes[ 3 ].prefix, "224.1.0.0/16" );
}

// addGeneric(): RIB_GENERIC (6) or RIB_GENERIC_ADDPATH (12); the path id goes
// before the NLRI or in each entry, as told.
void addGeneric( MrtRecordBuilder& b, U16 subtype, U16 afi, U8 safi, const Octets& nlri,
                 const Octets& attrs, bool pathIdInNlri = false ) {
   b.beginRecord( 1700000000, 13, subtype );
   b.u32( 0 );
   b.u16( afi );
   b.u8( safi );
   if ( pathIdInNlri )
      b.u32( 9 );
   b.bytes( nlri );
   b.u16( 1 );
   b.u16( 0 );
   b.u32( 1600000000 );
   if ( subtype == 12 && !pathIdInNlri )
      b.u32( 9 );
   b.u16( U16( attrs.size() ) );
   b.bytes( attrs );
   b.endRecord();
}

TEST( MrtReader, RibGenericShowsVpnPrefixesWithRouteDistinguisherAndOthersAsHex ) {
   MrtRecordBuilder b;
   addPeerIndexTable( b, twoPeers() );
   Octets a = pathAttributes( { { 16, hexOctets( "0002fde800000064" ) } } );
   // 24 label bits + 64 RD bits + 24 prefix bits = 112.
   addGeneric( b, 6, 1, 128, hexOctets( "70 000641 0000fde800000064 0a0100" ), a );
   // Type 1 RD (IPv4 administrator), IPv6 prefix /48: 24 + 64 + 48 = 136.
   addGeneric( b, 6, 2, 128, hexOctets( "88 000641 0001c0000201 0007 20010db80001" ), a );
   // Type 2 RD (4-octet AS), two labels: 48 + 64 + 8 = 120.
   addGeneric( b, 6, 1, 128, hexOctets( "78 000640 000641 0002fa56ea00 0003 0a" ), a );
   addGeneric( b, 6, 25, 70, hexOctets( "03 05 0102030405" ), a ); // EVPN
   addGeneric( b, 6, 1, 4, hexOctets( "30 000641 0a0100" ), a );   // labeled unicast
   size_t unknownAt = b.size();
   addGeneric( b, 6, 1, 99, hexOctets( "18 0a0100" ), a ); // no known layout
   addGeneric( b, 12, 1, 128, hexOctets( "70 000641 0000fde800000064 0a0200" ), a );
   addGeneric( b, 12, 1, 128, hexOctets( "70 000641 0000fde800000064 0a0300" ), a, true );

   RouteCollector got;
   readMrtBytes( b.data(), got );
   std::vector<std::string> prefixes;
   for ( const CollectedRoute& r : got.routes )
      prefixes.push_back( r.prefix );
   EXPECT_EQ( prefixes, ( std::vector<std::string>{
                              "65000:100:10.1.0.0/24",
                              "192.0.2.1:7:2001:db8:1::/48",
                              "4200000000:3:10.0.0.0/8",
                              "nlri(25/70):03050102030405",
                              "nlri(1/4):30000641"
                              "0a0100",
                              "65000:100:10.2.0.0/24",
                              "65000:100:10.3.0.0/24",
                        } ) );
   ASSERT_EQ( got.problems.size(), 1u );
   EXPECT_EQ( got.problems[ 0 ].recordOffset, unknownAt );
   EXPECT_NE( got.problems[ 0 ].reason.find( "SAFI 99" ), std::string::npos );
   EXPECT_EQ( got.routes[ 0 ].community( CommunityKind::extended ), "0002fde800000064" );
}

// addBgp4mp(): one BGP4MP or BGP4MP_ET record around a BGP message of the given type.
void addBgp4mp( MrtRecordBuilder& b, U16 type, U16 subtype, U32 peerAs, const Octets& peer,
                U8 messageType, const Octets& payload ) {
   bool as4 = subtype == 4 || subtype == 7 || subtype == 9 || subtype == 11;
   b.beginRecord( 1700000000, type, subtype );
   if ( type == 17 )
      b.u32( 123456 );
   if ( as4 ) {
      b.u32( peerAs );
      b.u32( 65000 );
   } else {
      b.u16( U16( peerAs ) );
      b.u16( 65000 );
   }
   b.u16( 0 );
   b.u16( peer.size() == 4 ? 1 : 2 );
   b.bytes( peer );
   b.bytes( Octets( peer.size(), 0 ) );
   for ( int i = 0; i < 16; ++i )
      b.u8( 0xff );
   b.u16( U16( 19 + payload.size() ) );
   b.u8( messageType );
   b.bytes( payload );
   b.endRecord();
}

Octets update( const Octets& withdrawn, const Octets& attrs, const Octets& nlri ) {
   MrtRecordBuilder u;
   u.u16( U16( withdrawn.size() ) );
   u.bytes( withdrawn );
   u.u16( U16( attrs.size() ) );
   u.bytes( attrs );
   u.bytes( nlri );
   return Octets( u.data().begin(), u.data().end() );
}

TEST( MrtReader, Bgp4mpUpdatesGiveOneRoutePerAnnouncedPrefix ) {
   MrtRecordBuilder b;
   // AS4 message: two IPv4 prefixes in the NLRI field, one IPv6 in MP_REACH_NLRI.
   MrtRecordBuilder attrs;
   attrs.attribute( 0x40, 1, Octets{ 0 } );
   attrs.attribute( 0x90, 14,
                    hexOctets( "0002 01 10 20010db8000000000000000000000001 00 30 20010db80005" ) );
   attrs.attribute( 0xC0, 8, twoCommunities );
   attrs.attribute( 0xC0, 32, oneLarge );
   Octets a( attrs.data().begin(), attrs.data().end() );
   addBgp4mp( b, 16, 4, 4200000001u, peerA, 2, update( {}, a, hexOctets( "18 0a0100 10 0a02" ) ) );
   // 2-octet AS message from an IPv6 peer, extended timestamp, one prefix.
   addBgp4mp( b, 17, 1, 65010, peerB, 2,
              update( {}, pathAttributes( { { 16, hexOctets( "0002fde800000064" ) } } ),
                      hexOctets( "18 0a0300" ) ) );
   // Add-path AS4 message: each NLRI led by a path identifier.
   addBgp4mp( b, 16, 9, 65020, peerA, 2,
              update( {}, pathAttributes( { { 8, twoCommunities } } ),
                      hexOctets( "00000001 18 0a0400 00000002 18 0a0400" ) ) );
   // Nothing to show: a withdrawal, a KEEPALIVE, a state change.
   addBgp4mp( b, 16, 4, 65030, peerA, 2, update( hexOctets( "18 0a0500" ), {}, {} ) );
   addBgp4mp( b, 16, 4, 65030, peerA, 4, {} );
   b.beginRecord( 1700000000, 16, 5 );
   b.u32( 0 );
   b.endRecord();
   // An NLRI that runs past the message: the record goes, reading goes on.
   addBgp4mp( b, 16, 4, 65040, peerA, 2, update( {}, a, hexOctets( "18 0a06" ) ) );
   addBgp4mp( b, 16, 4, 65050, peerA, 2,
              update( {}, pathAttributes( { { 8, twoCommunities } } ), hexOctets( "08 0b" ) ) );

   RouteCollector got;
   MrtFileSummary s = readMrtBytes( b.data(), got );
   EXPECT_TRUE( s.readToEnd );
   ASSERT_EQ( got.routes.size(), 7u );
   auto expect = [ & ]( size_t i, const char* prefix, const char* peer, U32 as ) {
      EXPECT_EQ( got.routes[ i ].prefix, prefix ) << i;
      EXPECT_EQ( got.routes[ i ].peer, peer ) << i;
      EXPECT_EQ( got.routes[ i ].peerAs, as ) << i;
   };
   expect( 0, "10.1.0.0/24", "192.0.2.1", 4200000001u );
   expect( 1, "10.2.0.0/16", "192.0.2.1", 4200000001u );
   expect( 2, "2001:db8:5::/48", "192.0.2.1", 4200000001u );
   expect( 3, "10.3.0.0/24", "2001:db8::2", 65010 );
   expect( 4, "10.4.0.0/24", "192.0.2.1", 65020 );
   expect( 5, "10.4.0.0/24", "192.0.2.1", 65020 );
   expect( 6, "11.0.0.0/8", "192.0.2.1", 65050 );
   EXPECT_EQ( got.routes[ 2 ].community( CommunityKind::large ), "fa56ea000000000100000002" );
   EXPECT_EQ( got.routes[ 3 ].community( CommunityKind::extended ), "0002fde800000064" );
   ASSERT_EQ( got.problems.size(), 1u );
   EXPECT_TRUE( got.problems[ 0 ].recordSkipped );
   EXPECT_NE( got.problems[ 0 ].reason.find( "UPDATE NLRI" ), std::string::npos );
}

TEST( MrtReader, FirstVersionTableDumpsGiveOneRoutePerRecord ) {
   MrtRecordBuilder b;
   auto add = [ & ]( U16 subtype, const Octets& prefix, U8 bits, const Octets& peer, U16 as,
                     const Octets& attrs ) {
      b.beginRecord( 1000000000, 11, subtype );
      b.u16( 0 ); // view
      b.u16( 7 ); // sequence
      b.bytes( prefix );
      b.u8( bits );
      b.u8( 1 ); // status
      b.u32( 999999999 );
      b.bytes( peer );
      b.u16( as );
      b.u16( U16( attrs.size() ) );
      b.bytes( attrs );
      b.endRecord();
   };
   add( 1, { 10, 1, 2, 3 }, 16, peerA, 65001, pathAttributes( { { 8, twoCommunities } } ) );
   add( 2, hexOctets( "20010db8000100000000000000000000" ), 48, peerB, 65002,
        pathAttributes( { { 32, oneLarge } } ) );
   add( 1, { 10, 1, 0, 0 }, 40, peerA, 65001, {} ); // longer than the address
   add( 3, {}, 0, {}, 0, {} );

   RouteCollector got;
   MrtFileSummary s = readMrtBytes( b.data(), got );
   EXPECT_TRUE( s.readToEnd );
   ASSERT_EQ( got.routes.size(), 2u );
   EXPECT_EQ( got.routes[ 0 ].prefix, "10.1.0.0/16" ); // host bits cleared
   EXPECT_EQ( got.routes[ 0 ].peer, "192.0.2.1" );
   EXPECT_EQ( got.routes[ 0 ].peerAs, 65001u );
   EXPECT_EQ( got.routes[ 0 ].community( CommunityKind::standard ), "fde80064fde800c8" );
   EXPECT_EQ( got.routes[ 1 ].prefix, "2001:db8:1::/48" );
   EXPECT_EQ( got.routes[ 1 ].peer, "2001:db8::2" );
   EXPECT_EQ( got.routes[ 1 ].community( CommunityKind::large ), "fa56ea000000000100000002" );
   ASSERT_EQ( got.problems.size(), 2u );
   EXPECT_NE( got.problems[ 0 ].reason.find( "prefix length 40" ), std::string::npos );
   EXPECT_EQ( got.problems[ 1 ].reason, "unknown TABLE_DUMP subtype 3; record skipped" );
}

TEST( MrtReader, ReadsTheBundledGoBgpDumpWithoutProblems ) {
   const char* source = std::getenv( "OVBGP_SOURCE_DIR" );
   if ( !source )
      GTEST_SKIP() << "OVBGP_SOURCE_DIR not set";
   RouteCollector got;
   MrtFileSummary s =
         MrtReader( got ).readFile( std::string( source ) + "/samples/gobgp-table.mrt" );
   EXPECT_TRUE( s.readToEnd );
   EXPECT_TRUE( got.problems.empty() );
   ASSERT_EQ( got.routes.size(), 33u );
   std::map<std::string, const CollectedRoute*> byPrefix;
   for ( const CollectedRoute& r : got.routes )
      byPrefix[ r.prefix ] = &r;
   ASSERT_EQ( byPrefix.size(), 33u );
   // Route origin (three forms) and link bandwidth from the collector's policy.
   ASSERT_TRUE( byPrefix.count( "10.20.1.0/24" ) );
   EXPECT_EQ( byPrefix[ "10.20.1.0/24" ]->community( CommunityKind::extended ),
              "0003fde900000064"
              "0103c00002010007"
              "0203000100020009"
              "4004fde947f42400" );
   // Seventy standard communities: an extended-length attribute.
   ASSERT_TRUE( byPrefix.count( "10.0.5.0/24" ) );
   EXPECT_EQ( byPrefix[ "10.0.5.0/24" ]->community( CommunityKind::standard ).size(), 70u * 8 );
   // VPN routes, route distinguishers of type 1 and 2.
   EXPECT_TRUE( byPrefix.count( "192.0.2.1:5:10.31.0.0/24" ) );
   EXPECT_TRUE( byPrefix.count( "65538:7:10.32.0.0/24" ) );
   EXPECT_TRUE( byPrefix.count( "65000:100:2001:db8:30::/48" ) );
}

} // namespace
} // namespace BgpcommTest
