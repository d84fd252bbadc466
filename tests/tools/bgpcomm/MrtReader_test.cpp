#include "MrtTestSupport.h"

#include <gtest/gtest.h>

namespace BgpcommTest {
namespace {

using Octets = std::vector<U8>;
using Lines = std::vector<std::string>;

const Octets peerA = { 192, 0, 2, 1 };
const Octets peerB = parseHex( "20010db8000000000000000000000002" );
const Octets twoCommunities = parseHex( "fde80064fde800c8" );
const Octets oneLarge = parseHex( "fa56ea00 00000001 00000002" );

const std::vector<TestPeer> twoPeers = { { peerA, 65001 }, { peerB, 4200000000u } };

Octets octetsOf( const MrtRecordBuilder& b ) { return Octets( b.data().begin(), b.data().end() ); }

// Read: what the reader handed out, as RouteCollector's lines, and its summary.
struct Read : RouteCollector {
   MrtFileSummary summary;
};

Read read( std::span<const U8> octets ) {
   Read r;
   r.summary = MrtReader( r ).readFile( tempFile( "input.mrt", octets ) );
   EXPECT_EQ( r.summary.problems, r.problems.size() );
   return r;
}

std::string at( size_t offset, const std::string& text ) {
   return "@" + std::to_string( offset ) + " " + text;
}

TEST( MrtReader, TruncatedLastRecordIsReportedAndEarlierRoutesKept ) {
   MrtRecordBuilder b;
   addPeerIndexTable( b, twoPeers );
   Octets attrs = pathAttributes( { { 8, twoCommunities } } );
   addRib( b, 2, { 10, 1, 0, 0 }, 24, { { 0, attrs } } );
   size_t secondAt = b.size();
   addRib( b, 2, { 10, 2, 0, 0 }, 24, { { 0, attrs }, { 1, attrs } } );

   Read cut = read( b.data().first( b.size() - 5 ) );
   EXPECT_FALSE( cut.summary.readToEnd );
   EXPECT_EQ( cut.routes, Lines{ "10.1.0.0/24 192.0.2.1 65001 std=fde80064fde800c8" } );
   EXPECT_EQ( cut.problems, Lines{ at( secondAt,
                                       "record truncated: header says 56 octets, the data ends "
                                       "after 51; reading of this file stops" ) } );
   // A file cut inside a record header is reported the same way.
   Read cutHeader = read( b.data().first( secondAt + 7 ) );
   EXPECT_EQ( cutHeader.routes.size(), 1u );
   EXPECT_EQ( cutHeader.problems, Lines{ at( secondAt,
                                             "record header cut short: 7 of 12 octets before the "
                                             "end of the data; reading of this file stops" ) } );
}

// A bad or repeated community attribute drops only itself: the route is still shown.
TEST( MrtReader, BadCommunityLengthDropsOnlyThatAttributeOfThatRoute ) {
   MrtRecordBuilder b;
   addPeerIndexTable( b, twoPeers );
   size_t ribAt = b.size();
   addRib( b, 2, { 10, 1, 0, 0 }, 24,
           { { 0, pathAttributes( { { 8, parseHex( "fde80064fde8" ) }, { 32, oneLarge } } ) },
             { 1, pathAttributes( { { 16, {} }, { 8, twoCommunities } } ) },
             { 0, pathAttributes( { { 8, twoCommunities }, { 8, parseHex( "00000001" ) } } ) } } );

   Read got = read( b.data() );
   EXPECT_TRUE( got.summary.readToEnd );
   EXPECT_EQ( got.routes, ( Lines{ "10.1.0.0/24 192.0.2.1 65001 large=fa56ea000000000100000002",
                                   "10.1.0.0/24 2001:db8::2 4200000000 std=fde80064fde800c8",
                                   "10.1.0.0/24 192.0.2.1 65001 std=fde80064fde800c8" } ) );
   EXPECT_EQ(
         got.problems,
         ( Lines{ at( ribAt,
                      "kept: COMMUNITIES attribute length 6 is not a multiple of 4; "
                      "route shown without it" ),
                  at( ribAt,
                      "kept: EXTENDED_COMMUNITIES attribute has length 0; route "
                      "shown without it" ),
                  at( ribAt,
                      "kept: repeated COMMUNITIES attribute ignored; the first one is used" ) } ) );
}

// What cannot be read or attributed to a peer is skipped, and reading goes on.
TEST( MrtReader, UnknownOrMalformedRecordsAreSkippedAndReadingGoesOn ) {
   MrtRecordBuilder b;
   Octets good = pathAttributes( { { 8, twoCommunities } } );
   addRib( b, 2, { 10, 1, 0, 0 }, 24, { { 0, good } } ); // before any peer table
   addPeerIndexTable( b, twoPeers );
   size_t unknownTypeAt = b.size();
   b.beginRecord( 1700000000, 99, 0 );
   b.u32( 0xdeadbeef );
   b.endRecord();
   size_t unknownSubtypeAt = b.size();
   b.beginRecord( 1700000000, 13, 77 );
   b.endRecord();
   // An attribute claiming more octets than its block: the whole record goes, the good entry
   // before it too.
   size_t overrunAt = b.size();
   Octets overrun = good;
   overrun.insert( overrun.end(), { 0xC0, 8, 40, 0, 0 } );
   addRib( b, 2, { 10, 3, 0, 0 }, 24, { { 0, good }, { 1, overrun } } );
   size_t badPrefixAt = b.size();
   addRib( b, 2, { 10, 4, 0, 0, 0 }, 33, { { 0, good } } ); // longer than IPv4
   size_t overcountAt = b.size();
   addRib( b, 2, { 10, 6, 0, 0 }, 24, { { 0, good } } );
   size_t lastAt = b.size();
   addRib( b, 2, { 10, 5, 0, 0 }, 24, { { 5, good }, { 1, good } } ); // no peer 5
   // An entry count far beyond the entries there: header, sequence, prefix, then the count.
   Octets octets = octetsOf( b );
   octets[ overcountAt + 12 + 4 + 4 ] = octets[ overcountAt + 12 + 4 + 4 + 1 ] = 0xff;

   Read got = read( octets );
   EXPECT_TRUE( got.summary.readToEnd );
   EXPECT_EQ( got.routes, Lines{ "10.5.0.0/24 2001:db8::2 4200000000 std=fde80064fde800c8" } );
   EXPECT_EQ(
         got.problems,
         ( Lines{ at( 0, "RIB record before any PEER_INDEX_TABLE; record skipped" ),
                  at( unknownTypeAt, "unknown MRT record type 99; record skipped" ),
                  at( unknownSubtypeAt, "unknown TABLE_DUMP_V2 subtype 77; record skipped" ),
                  at( overrunAt,
                      "RIB entry 1: path attribute type 8 at octet 15 has length 40 but only 2 "
                      "octets are left; record skipped" ),
                  at( badPrefixAt,
                      "RIB record prefix: prefix longer than the address; record skipped" ),
                  at( overcountAt,
                      "RIB entry 1 of 65535 runs past the end of the record; "
                      "record skipped" ),
                  at( lastAt,
                      "kept: RIB entry 0 names peer index 5 but the PEER_INDEX_TABLE has 2 "
                      "peers; entry skipped" ) } ) );
}

// MP_REACH_NLRI in a RIB entry: the short form (next hop only) and the full one (AFI, SAFI,
// next hop, reserved, the NLRI repeated); add-path subtypes carry a path id per entry.
TEST( MrtReader, Ipv6AndAddPathRibEntriesReadEveryPath ) {
   MrtRecordBuilder b;
   addPeerIndexTable( b, twoPeers );
   const std::string nextHop = "20010db8000000000000000000000001";
   MrtRecordBuilder a1, a2;
   a1.attribute( 0x80, 14, parseHex( "10" + nextHop ) );
   a1.attribute( 0xC0, 8, twoCommunities );
   a2.attribute( 0x90, 14, parseHex( "0002 01 10" + nextHop + "00 30 20010db80001" ) );
   a2.attribute( 0xC0, 32, oneLarge );
   addRib( b, 4, parseHex( "20010db80001" ), 48, { { 0, octetsOf( a1 ) }, { 1, octetsOf( a2 ) } } );
   Octets a = pathAttributes( { { 8, twoCommunities } } );
   Octets c = pathAttributes( { { 32, oneLarge } } );
   addRib( b, 8, { 10, 9, 0, 0 }, 16, { { 0, a, 1 }, { 0, c, 2 } } );
   addRib( b, 10, parseHex( "20010db8" ), 32, { { 1, c, 7 } } );
   addRib( b, 9, { 224, 1, 0, 0 }, 16, { { 1, a, 3 } } ); // multicast

   Read got = read( b.data() );
   EXPECT_TRUE( got.problems.empty() );
   EXPECT_EQ( got.routes,
              ( Lines{ "2001:db8:1::/48 192.0.2.1 65001 std=fde80064fde800c8",
                       "2001:db8:1::/48 2001:db8::2 4200000000 large=fa56ea000000000100000002",
                       "10.9.0.0/16 192.0.2.1 65001 std=fde80064fde800c8",
                       "10.9.0.0/16 192.0.2.1 65001 large=fa56ea000000000100000002",
                       "2001:db8::/32 2001:db8::2 4200000000 large=fa56ea000000000100000002",
                       "224.1.0.0/16 2001:db8::2 4200000000 std=fde80064fde800c8" } ) );
}

// addGeneric(): RIB_GENERIC (6) or RIB_GENERIC_ADDPATH (12); the path id goes before the NLRI
// or in each entry, as told.
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
   addPeerIndexTable( b, twoPeers );
   Octets a = pathAttributes( { { 16, parseHex( "0002fde800000064" ) } } );
   // 24 label bits + 64 RD bits + 24 prefix bits = 112.
   addGeneric( b, 6, 1, 128, parseHex( "70 000641 0000fde800000064 0a0100" ), a );
   // Type 1 RD (IPv4 administrator), IPv6 prefix /48: 24 + 64 + 48 = 136.
   addGeneric( b, 6, 2, 128, parseHex( "88 000641 0001c0000201 0007 20010db80001" ), a );
   // Type 2 RD (4-octet AS), two labels: 48 + 64 + 8 = 120.
   addGeneric( b, 6, 1, 128, parseHex( "78 000640 000641 0002fa56ea00 0003 0a" ), a );
   addGeneric( b, 6, 25, 70, parseHex( "03 05 0102030405" ), a ); // EVPN
   addGeneric( b, 6, 1, 4, parseHex( "30 000641 0a0100" ), a );   // labeled unicast
   size_t unknownAt = b.size();
   addGeneric( b, 6, 1, 99, parseHex( "18 0a0100" ), a ); // no known layout
   addGeneric( b, 12, 1, 128, parseHex( "70 000641 0000fde800000064 0a0200" ), a );
   addGeneric( b, 12, 1, 128, parseHex( "70 000641 0000fde800000064 0a0300" ), a, true );

   Read got = read( b.data() );
   const std::string rest = " 192.0.2.1 65001 ext=0002fde800000064";
   EXPECT_EQ( got.routes,
              ( Lines{ "65000:100:10.1.0.0/24" + rest, "192.0.2.1:7:2001:db8:1::/48" + rest,
                       "4200000000:3:10.0.0.0/8" + rest, "nlri(25/70):03050102030405" + rest,
                       "nlri(1/4):300006410a0100" + rest, "65000:100:10.2.0.0/24" + rest,
                       "65000:100:10.3.0.0/24" + rest } ) );
   EXPECT_EQ( got.problems, Lines{ at( unknownAt,
                                       "RIB_GENERIC NLRI (AFI 1, SAFI 99): no NLRI layout known "
                                       "for this AFI/SAFI; record skipped" ) } );
}

// addBgp4mp(): one BGP4MP or BGP4MP_ET record around a BGP message of the given type.
void addBgp4mp( MrtRecordBuilder& b, U16 type, U16 subtype, U32 peerAs, const Octets& peer,
                U8 messageType, const Octets& payload ) {
   bool as4 = subtype == 4 || subtype == 7 || subtype == 9 || subtype == 11;
   b.beginRecord( 1700000000, type, subtype );
   if ( type == 17 )
      b.u32( 123456 );
   for ( U32 as : { peerAs, 65000u } ) // the peer's, then the local one
      as4 ? b.u32( as ) : b.u16( U16( as ) );
   b.u16( 0 );
   b.u16( peer.size() == 4 ? 1 : 2 );
   b.bytes( peer );
   b.bytes( Octets( peer.size(), 0 ) );
   b.bytes( Octets( 16, 0xff ) ); // marker
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
   return octetsOf( u );
}

TEST( MrtReader, Bgp4mpUpdatesGiveOneRoutePerAnnouncedPrefix ) {
   MrtRecordBuilder b;
   // AS4 message: two IPv4 prefixes in the NLRI field, one IPv6 in MP_REACH_NLRI.
   MrtRecordBuilder attrs;
   attrs.attribute( 0x40, 1, Octets{ 0 } );
   attrs.attribute( 0x90, 14,
                    parseHex( "0002 01 10 20010db8000000000000000000000001 00 30 20010db80005" ) );
   attrs.attribute( 0xC0, 8, twoCommunities );
   attrs.attribute( 0xC0, 32, oneLarge );
   Octets a = octetsOf( attrs ), std = pathAttributes( { { 8, twoCommunities } } );
   addBgp4mp( b, 16, 4, 4200000001u, peerA, 2, update( {}, a, parseHex( "18 0a0100 10 0a02" ) ) );
   // 2-octet AS message from an IPv6 peer, extended timestamp, one prefix.
   addBgp4mp( b, 17, 1, 65010, peerB, 2,
              update( {}, pathAttributes( { { 16, parseHex( "0002fde800000064" ) } } ),
                      parseHex( "18 0a0300" ) ) );
   // Add-path AS4 message: each NLRI led by a path identifier.
   addBgp4mp( b, 16, 9, 65020, peerA, 2,
              update( {}, std, parseHex( "00000001 18 0a0400 00000002 18 0a0400" ) ) );
   // Nothing to show: a withdrawal, a KEEPALIVE, a state change.
   addBgp4mp( b, 16, 4, 65030, peerA, 2, update( parseHex( "18 0a0500" ), {}, {} ) );
   addBgp4mp( b, 16, 4, 65030, peerA, 4, {} );
   b.beginRecord( 1700000000, 16, 5 );
   b.bytes( parseHex( "0000fdea 0000fde8 0000 0001 c0000201 c0000202 0005 0006" ) );
   b.endRecord();
   // An NLRI that runs past the message: the record goes, reading goes on.
   size_t badAt = b.size();
   addBgp4mp( b, 16, 4, 65040, peerA, 2, update( {}, a, parseHex( "18 0a06" ) ) );
   addBgp4mp( b, 16, 4, 65050, peerA, 2, update( {}, std, parseHex( "08 0b" ) ) );

   Read got = read( b.data() );
   EXPECT_TRUE( got.summary.readToEnd );
   const std::string both = " std=fde80064fde800c8 large=fa56ea000000000100000002";
   EXPECT_EQ( got.routes, ( Lines{ "10.1.0.0/24 192.0.2.1 4200000001" + both,
                                   "10.2.0.0/16 192.0.2.1 4200000001" + both,
                                   "2001:db8:5::/48 192.0.2.1 4200000001" + both,
                                   "10.3.0.0/24 2001:db8::2 65010 ext=0002fde800000064",
                                   "10.4.0.0/24 192.0.2.1 65020 std=fde80064fde800c8",
                                   "10.4.0.0/24 192.0.2.1 65020 std=fde80064fde800c8",
                                   "11.0.0.0/8 192.0.2.1 65050 std=fde80064fde800c8" } ) );
   EXPECT_EQ( got.problems,
              Lines{ at( badAt,
                         "UPDATE NLRI: prefix runs past the end of its field; record skipped" ) } );
}

TEST( MrtReader, FirstVersionTableDumpsGiveOneRoutePerRecord ) {
   MrtRecordBuilder b;
   auto add = [ & ]( U16 subtype, const Octets& prefix, U8 bits, const Octets& peer, U16 as,
                     const Octets& attrs ) {
      b.beginRecord( 1000000000, 12, subtype );
      b.u32( 7 ); // view 0, sequence 7
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
   size_t tooLongAt = b.size();
   add( 1, { 10, 1, 0, 0 }, 40, peerA, 65001, {} ); // longer than the address
   size_t unknownAt = b.size();
   add( 3, {}, 0, {}, 0, {} );

   Read got = read( b.data() );
   EXPECT_TRUE( got.summary.readToEnd );
   // Host bits are cleared. (IPv6 records: tests/data/mrt/table-dump-ipv6.hex.)
   EXPECT_EQ( got.routes, Lines{ "10.1.0.0/16 192.0.2.1 65001 std=fde80064fde800c8" } );
   EXPECT_EQ(
         got.problems,
         ( Lines{ at( tooLongAt,
                      "TABLE_DUMP prefix length 40 is longer than the address; record skipped" ),
                  at( unknownAt, "unknown TABLE_DUMP subtype 3; record skipped" ) } ) );
}

} // namespace
} // namespace BgpcommTest
