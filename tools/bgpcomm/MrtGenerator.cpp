#include "tools/bgpcomm/MrtGenerator.h"

#include "tools/bgpcomm/MrtRecordBuilder.h"
#include "tools/bgpcomm/MrtRecordReader.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <vector>

namespace Bgpcomm {

namespace {

// The shape of the table. Routes carry each kind with these probabilities;
// each kind's sets come from its own pool, most routes sharing a few sets.
constexpr double standardShare = 0.92;
constexpr double largeShare = 0.30;
constexpr double extendedShare = 0.20;
constexpr double ip6ExtendedShare = 0.005;
constexpr size_t standardSets = 3000;
constexpr size_t largeSets = 800;
constexpr size_t extendedSets = 1000;
constexpr size_t ip6ExtendedSets = 40;
constexpr double zipfExponent = 0.8;
constexpr double ipv6RouteShare = 0.2;
constexpr U32 dumpTime = 1700000000;
constexpr size_t flushAt = 1 << 20;

// Rng: splitmix64; its output is fixed by the seed on every platform, which
// the standard distributions do not promise.
class Rng {
 public:
   explicit Rng( U64 seed ) : state_( seed ) {}
   U64 next() {
      U64 z = ( state_ += 0x9e3779b97f4a7c15ull );
      z = ( z ^ ( z >> 30 ) ) * 0xbf58476d1ce4e5b9ull;
      z = ( z ^ ( z >> 27 ) ) * 0x94d049bb133111ebull;
      return z ^ ( z >> 31 );
   }
   U32 below( U32 n ) { return U32( ( ( next() >> 32 ) * n ) >> 32 ); }
   U32 between( U32 lo, U32 hi ) { return lo + below( hi - lo + 1 ); }
   double unit() { return double( next() >> 11 ) * 0x1.0p-53; }
   bool chance( double p ) { return unit() < p; }

 private:
   U64 state_;
};

// Zipf: picks rank i (0-based) with weight 1 / (i + 1)^s.
class Zipf {
 public:
   Zipf( size_t n, double s ) : cdf_( n ) {
      double total = 0;
      for ( size_t i = 0; i < n; ++i )
         cdf_[ i ] = total += 1.0 / std::pow( double( i + 1 ), s );
   }
   size_t pick( Rng& rng ) const {
      double u = rng.unit() * cdf_.back();
      return size_t( std::upper_bound( cdf_.begin(), cdf_.end(), u ) - cdf_.begin() ) % cdf_.size();
   }

 private:
   std::vector<double> cdf_;
};

using Octets = std::vector<U8>;

Octets octetsOf( const MrtRecordBuilder& b ) { return Octets( b.data().begin(), b.data().end() ); }

// Autonomous systems that tag routes: well-known transit numbers, others
// from the public 2-octet range, private ones, and 4-octet numbers.
std::vector<U32> makeAsPool( Rng& rng ) {
   std::vector<U32> pool = { 174,  209,  701,  1239,  1273,  1299,  2914,  3257,
                             3320, 3356, 3491, 5511,  6453,  6461,  6762,  6830,
                             6939, 7018, 9002, 12956, 13030, 20485, 31133, 34549 };
   while ( pool.size() < 120 )
      pool.push_back( rng.between( 1000, 64000 ) );
   while ( pool.size() < 150 )
      pool.push_back( rng.between( 64512, 65534 ) );
   while ( pool.size() < 200 ) {
      pool.push_back( rng.chance( 0.8 ) ? rng.between( 131072, 400000 )
                                        : rng.between( 4200000000u, 4294967294u ) );
   }
   return pool;
}

U32 pickAs2( Rng& rng, const std::vector<U32>& asPool ) {
   for ( ;; ) {
      U32 as = asPool[ rng.below( U32( asPool.size() ) ) ];
      if ( as < 65536 )
         return as;
   }
}

// A standard set: values of one to three tagging networks, with the usual
// shapes (small codes, region codes, blackhole), now and then a well-known one.
Octets makeStandardSet( Rng& rng, const std::vector<U32>& asPool ) {
   size_t count = rng.chance( 0.02 ) ? rng.between( 20, 40 ) : rng.between( 1, 12 );
   U32 taggers[ 3 ];
   for ( U32& t : taggers )
      t = pickAs2( rng, asPool );
   std::vector<U32> values;
   while ( values.size() < count ) {
      U32 as = taggers[ rng.below( 3 ) ];
      U32 low;
      switch ( rng.below( 6 ) ) {
         case 0:
            low = rng.between( 1, 999 );
            break;
         case 1:
            low = rng.between( 1000, 9999 );
            break;
         case 2:
            low = rng.between( 20000, 29999 );
            break;
         case 3:
            low = rng.chance( 0.05 ) ? 666 : rng.between( 100, 130 );
            break;
         default:
            low = rng.between( 1, 65535 );
            break;
      }
      U32 v = as << 16 | low;
      if ( rng.chance( 0.01 ) ) {
         static constexpr U32 wellKnown[] = { 0xFFFFFF01, 0xFFFFFF02, 0xFFFFFF03, 0xFFFF029A };
         v = wellKnown[ rng.below( 4 ) ];
      }
      if ( std::find( values.begin(), values.end(), v ) == values.end() )
         values.push_back( v );
   }
   MrtRecordBuilder o;
   for ( U32 v : values ) {
      o.u32( v );
   }
   return octetsOf( o );
}

Octets makeLargeSet( Rng& rng, const std::vector<U32>& asPool ) {
   size_t count = rng.between( 1, 4 );
   U32 admin = asPool[ rng.below( U32( asPool.size() ) ) ];
   MrtRecordBuilder o;
   for ( size_t i = 0; i < count; ++i ) {
      static constexpr U32 functions[] = { 1, 2, 3, 4, 10, 100, 1000 };
      o.u32( admin );
      o.u32( rng.chance( 0.7 ) ? functions[ rng.below( 7 ) ] : rng.below( 100000 ) );
      o.u32( rng.chance( 0.3 ) ? asPool[ rng.below( U32( asPool.size() ) ) ]
                               : rng.between( 0, 999 ) );
   }
   return octetsOf( o );
}

// One extended community of the kinds networks use: route targets of the
// three administrator forms, route origin, link bandwidth, color,
// encapsulation, and types nobody has assigned.
void putExtended( MrtRecordBuilder& o, Rng& rng, const std::vector<U32>& asPool ) {
   U32 as2 = pickAs2( rng, asPool );
   U32 as4 = asPool[ rng.below( U32( asPool.size() ) ) ];
   U32 ip = 0x0A000000 | rng.below( 1 << 16 );
   switch ( rng.below( 10 ) ) {
      case 0:
      case 1:
      case 2: // route target, 2-octet AS
         o.u16( 0x0002 );
         o.u16( U16( as2 ) );
         o.u32( rng.below( 5000 ) );
         return;
      case 3: // route target, 4-octet AS
         o.u16( 0x0202 );
         o.u32( as4 );
         o.u16( U16( rng.below( 5000 ) ) );
         return;
      case 4: // route target, IPv4 address
         o.u16( 0x0102 );
         o.u32( ip );
         o.u16( U16( rng.below( 5000 ) ) );
         return;
      case 5: { // route origin, any of the three forms
         U8 type = U8( rng.below( 3 ) );
         o.u8( type );
         o.u8( 0x03 );
         if ( type == 0 ) {
            o.u16( U16( as2 ) );
            o.u32( rng.below( 5000 ) );
         } else {
            o.u32( type == 1 ? ip : as4 );
            o.u16( U16( rng.below( 5000 ) ) );
         }
         return;
      }
      case 6: { // link bandwidth: an IEEE float of octets per second
         static constexpr float rates[] = { 1.25e8f, 1.25e9f, 3.125e9f, 1.25e10f };
         float rate = rates[ rng.below( 4 ) ];
         U32 bits;
         std::memcpy( &bits, &rate, 4 );
         o.u16( 0x4004 );
         o.u16( U16( as2 ) );
         o.u32( bits );
         return;
      }
      case 7: // color
         o.u32( 0x030b0000 );
         o.u32( rng.between( 1, 1000 ) );
         return;
      case 8: { // encapsulation
         static constexpr U32 tunnels[] = { 7, 8, 9, 10, 11, 13 };
         o.u16( 0x030c );
         o.u32( 0 );
         o.u16( U16( tunnels[ rng.below( 6 ) ] ) );
         return;
      }
      default: { // unassigned type
         static constexpr U8 types[] = { 0x1d, 0x27, 0x3a, 0x5e, 0x7c };
         o.u8( types[ rng.below( 5 ) ] );
         o.u8( U8( rng.below( 256 ) ) );
         o.u16( U16( rng.below( 65536 ) ) );
         o.u32( U32( rng.next() ) );
         return;
      }
   }
}

Octets makeExtendedSet( Rng& rng, const std::vector<U32>& asPool ) {
   size_t count = rng.between( 1, 4 );
   MrtRecordBuilder o;
   for ( size_t i = 0; i < count; ++i ) {
      putExtended( o, rng, asPool );
   }
   return octetsOf( o );
}

// IPv6-address-specific: route targets and route origins of a few 2001:db8 addresses.
Octets makeIp6ExtendedSet( Rng& rng ) {
   size_t count = rng.between( 1, 2 );
   MrtRecordBuilder o;
   for ( size_t i = 0; i < count; ++i ) {
      o.u8( 0x00 );
      o.u8( U8( rng.chance( 0.8 ) ? 0x02 : 0x03 ) );
      o.u32( 0x20010db8 );
      for ( int j = 0; j < 12; ++j ) {
         o.u8( j < 10 ? 0 : U8( rng.below( 256 ) ) );
      }
      o.u16( U16( rng.below( 1000 ) ) );
   }
   return octetsOf( o );
}

struct Peer {
   std::array<U8, 16> address{};
   bool ipv6 = false;
   U32 as = 0;
};

std::vector<Peer> makePeers() {
   // Documentation addresses; a mix of address families and AS sizes.
   static constexpr U32 ases[] = { 3356, 1299, 174, 6939, 2914, 263075, 4200000001u, 6453 };
   std::vector<Peer> peers;
   for ( U32 i = 0; i < 8; ++i ) {
      Peer p;
      p.as = ases[ i ];
      p.ipv6 = i % 3 == 2;
      if ( p.ipv6 ) {
         U8 a[ 16 ] = { 0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, U8( i + 1 ) };
         std::memcpy( p.address.data(), a, 16 );
      } else {
         U8 a[ 4 ] = { 192, 0, 2, U8( i + 1 ) };
         std::memcpy( p.address.data(), a, 4 );
      }
      peers.push_back( p );
   }
   return peers;
}

// PrefixCursor: distinct prefixes in ascending order. IPv4 starts over with
// longer masks when it reaches the multicast range, so any count stays distinct.
class PrefixCursor {
 public:
   explicit PrefixCursor( bool ipv6 )
         : ipv6_( ipv6 ), next_( ipv6 ? 0x2001000000000000ull : 1ull << 56 ) {}

   // nextPrefix(): fills 16 octets of address and returns the length.
   unsigned nextPrefix( Rng& rng, U8* address ) {
      unsigned bits = ipv6_ ? ipv6Length( rng ) : ipv4Length( rng );
      // next_ holds the address left-aligned in 64 bits.
      U64 size = 1ull << ( 64 - std::min( bits, 64u ) );
      next_ = ( next_ + size - 1 ) & ~( size - 1 );
      if ( !ipv6_ && next_ >= 224ull << 56 ) {
         ++round_;
         next_ = 1ull << 56;
         return nextPrefix( rng, address );
      }
      U64 a = next_;
      next_ += size;
      std::memset( address + 8, 0, 8 );
      Routing::Bgp::storeU64hton( address, a );
      return bits;
   }

 private:
   unsigned ipv4Length( Rng& rng ) const {
      if ( round_ > 0 )
         return std::min( 24u + round_ * 2 + rng.below( 2 ), 32u );
      U32 r = rng.below( 10 );
      return r < 6 ? 24 : r < 8 ? rng.between( 22, 23 ) : rng.between( 16, 21 );
   }
   static unsigned ipv6Length( Rng& rng ) {
      U32 r = rng.below( 10 );
      return r < 7 ? 48 : r < 9 ? rng.between( 40, 47 ) : 32;
   }

   bool ipv6_;
   U64 next_;
   unsigned round_ = 0;
};

class Generator {
 public:
   Generator( const MrtGeneratorOptions& options, ByteSink& out )
         : options_( options ),
           out_( out ),
           rng_( options.seed ),
           peers_( makePeers() ),
           standardZipf_( standardSets, zipfExponent ),
           largeZipf_( largeSets, zipfExponent ),
           extendedZipf_( extendedSets, zipfExponent ),
           ip6ExtendedZipf_( ip6ExtendedSets, zipfExponent ) {
      asPool_ = makeAsPool( rng_ );
      for ( size_t i = 0; i < standardSets; ++i )
         standard_.push_back( makeStandardSet( rng_, asPool_ ) );
      for ( size_t i = 0; i < largeSets; ++i )
         large_.push_back( makeLargeSet( rng_, asPool_ ) );
      for ( size_t i = 0; i < extendedSets; ++i ) {
         extended_.push_back( makeExtendedSet( rng_, asPool_ ) );
      }
      for ( size_t i = 0; i < ip6ExtendedSets; ++i )
         ip6Extended_.push_back( makeIp6ExtendedSet( rng_ ) );
   }

   MrtGeneratorSummary run() {
      writePeerIndexTable();
      U64 ipv6Routes = U64( std::llround( double( options_.routes ) * ipv6RouteShare ) );
      writeRibs( false, options_.routes - ipv6Routes );
      writeRibs( true, ipv6Routes );
      out_.write( b_.data() );
      return summary_;
   }

 private:
   void endRecord() {
      b_.endRecord();
      ++summary_.records;
      if ( b_.size() >= flushAt ) {
         out_.write( b_.data() );
         b_.clear();
      }
   }

   void writePeerIndexTable() {
      static constexpr char view[] = "bgpcomm-gen";
      b_.beginRecord( dumpTime, mrtTableDumpV2, 1 );
      b_.u32( 0xC00002FE ); // collector id 192.0.2.254
      b_.u16( sizeof view - 1 );
      b_.bytes( std::span<const U8>( reinterpret_cast<const U8*>( view ), sizeof view - 1 ) );
      b_.u16( U16( peers_.size() ) );
      for ( const Peer& p : peers_ ) {
         bool as4 = p.as > 65535;
         b_.u8( U8( ( p.ipv6 ? 1 : 0 ) | ( as4 ? 2 : 0 ) ) );
         b_.u32( 0xC6336400 | U32( &p - peers_.data() + 1 ) ); // peer id 198.51.100.x
         b_.bytes( std::span<const U8>( p.address.data(), p.ipv6 ? 16 : 4 ) );
         if ( as4 ) {
            b_.u32( p.as );
         } else {
            b_.u16( U16( p.as ) );
         }
      }
      endRecord();
      summary_.peers = peers_.size();
   }

   void writeRibs( bool ipv6, U64 routes ) {
      PrefixCursor cursor( ipv6 );
      U8 address[ 16 ];
      U64 written = 0;
      while ( written < routes ) {
         unsigned bits = cursor.nextPrefix( rng_, address );
         U32 count = std::min<U64>( rng_.between( 1, 7 ), routes - written );
         U32 first = rng_.below( U32( peers_.size() ) );
         U32 originAs = asPool_[ rng_.below( U32( asPool_.size() ) ) ];
         b_.beginRecord( dumpTime, mrtTableDumpV2, ipv6 ? 4 : 2 );
         b_.u32( U32( sequence_++ ) );
         b_.prefix( std::span<const U8>( address, 16 ), bits );
         b_.u16( U16( count ) );
         for ( U32 i = 0; i < count; ++i ) {
            U32 peer = ( first + i ) % U32( peers_.size() );
            b_.u16( U16( peer ) );
            b_.u32( dumpTime - rng_.below( 30 * 86400 ) );
            size_t mark = b_.beginLength16();
            writeAttributes( peers_[ peer ], ipv6, originAs );
            b_.endLength16( mark );
         }
         endRecord();
         written += count;
         ++( ipv6 ? summary_.ipv6Prefixes : summary_.ipv4Prefixes );
      }
      summary_.routes += written;
   }

   void writeAttributes( const Peer& peer, bool ipv6, U32 originAs ) {
      MrtRecordBuilder& v = scratch_;
      v.clear();
      v.u8( U8( rng_.below( 3 ) ) );
      b_.attribute( 0x40, 1, v.data() ); // ORIGIN
      v.clear();
      U32 hops = rng_.between( 0, 4 );
      v.u8( 2 ); // AS_SEQUENCE
      v.u8( U8( hops + 2 ) );
      v.u32( peer.as );
      for ( U32 i = 0; i < hops; ++i ) {
         v.u32( asPool_[ rng_.below( U32( asPool_.size() ) ) ] );
      }
      v.u32( originAs );
      b_.attribute( 0x40, 2, v.data() ); // AS_PATH, 4-octet numbers as table dumps have them
      v.clear();
      if ( ipv6 ) {
         // MP_REACH_NLRI in the short form table dumps use: the next hop only,
         // 2001:db8:ffff::N.
         v.u8( 16 );
         v.u64( 0x20010db8ffff0000ull );
         v.u64( peer.address[ 15 ] );
         b_.attribute( 0x80, 14, v.data() );
      } else {
         v.u32( 0xC0000200 | ( 100 + peer.address[ 15 ] % 100 ) ); // 192.0.2.x
         b_.attribute( 0x40, 3, v.data() );                        // NEXT_HOP
      }
      if ( rng_.chance( 0.3 ) ) {
         v.clear();
         v.u32( rng_.below( 1000 ) );
         b_.attribute( 0x80, 4, v.data() ); // MULTI_EXIT_DISC
      }
      if ( rng_.chance( standardShare ) ) {
         b_.attribute( 0xC0, 8, standard_[ standardZipf_.pick( rng_ ) ] );
      }
      if ( rng_.chance( extendedShare ) ) {
         b_.attribute( 0xC0, 16, extended_[ extendedZipf_.pick( rng_ ) ] );
      }
      if ( rng_.chance( ip6ExtendedShare ) ) {
         b_.attribute( 0xC0, 25, ip6Extended_[ ip6ExtendedZipf_.pick( rng_ ) ] );
      }
      if ( rng_.chance( largeShare ) ) {
         b_.attribute( 0xC0, 32, large_[ largeZipf_.pick( rng_ ) ] );
      }
   }

   MrtGeneratorOptions options_;
   ByteSink& out_;
   Rng rng_;
   std::vector<Peer> peers_;
   std::vector<U32> asPool_;
   Zipf standardZipf_, largeZipf_, extendedZipf_, ip6ExtendedZipf_;
   std::vector<Octets> standard_, large_, extended_, ip6Extended_;
   MrtRecordBuilder b_;
   MrtRecordBuilder scratch_;
   U64 sequence_ = 0;
   MrtGeneratorSummary summary_;
};

} // namespace

MrtGeneratorSummary generateMrt( const MrtGeneratorOptions& options, ByteSink& out ) {
   return Generator( options, out ).run();
}

} // namespace Bgpcomm
