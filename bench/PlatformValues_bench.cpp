// bench/PlatformValues_bench.cpp: the platform's hot value paths against what
// a user would otherwise call: address text out and in against the C
// library's inet_ntop / inet_pton, and the wire writer's appends against a
// std::vector<U8> grown octet by octet.

#include <benchmark/benchmark.h>

#include <arpa/inet.h>

#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "Onet/Ip6Addr.h"
#include "Onet/IpAddr.h"
#include "Routing/Bgp/Serialize.h"
#include "bench/BenchReport.h"

namespace {

constexpr size_t kAddresses = 4096;

struct Fixture {
   std::vector<U32> v4;
   std::vector<Onet::Ip6Addr> v6;
   std::vector<std::string> v6Text;
};

const Fixture& fixture() {
   static const Fixture f = [] {
      Fixture f;
      std::mt19937 rng( 17 );
      for ( size_t i = 0; i < kAddresses; ++i ) {
         f.v4.push_back( rng() );
         // Documentation-prefix addresses with zero runs, as seen in tables.
         Onet::Ip6Addr::Octets o{ 0x20, 0x01, 0x0d, 0xb8 };
         for ( int b = 4; b < 16; ++b ) {
            o[ b ] = ( b >= 6 && b < 12 && rng() % 4 ) ? 0 : U8( rng() );
         }
         f.v6.emplace_back( o );
         f.v6Text.push_back( f.v6.back().toString() );
      }
      return f;
   }();
   return f;
}

void BM_IpAddrToChars( benchmark::State& state ) {
   const Fixture& f = fixture();
   char buf[ 16 ];
   size_t i = 0;
   for ( auto _ : state ) {
      benchmark::DoNotOptimize( Onet::IpAddr( f.v4[ i++ % kAddresses ] ).toChars( buf ) );
      benchmark::DoNotOptimize( buf );
   }
}
BENCHMARK( BM_IpAddrToChars );

void BM_InetNtop4( benchmark::State& state ) {
   const Fixture& f = fixture();
   char buf[ INET_ADDRSTRLEN ];
   size_t i = 0;
   for ( auto _ : state ) {
      in_addr in{ htonl( f.v4[ i++ % kAddresses ] ) };
      benchmark::DoNotOptimize( inet_ntop( AF_INET, &in, buf, sizeof buf ) );
   }
}
BENCHMARK( BM_InetNtop4 );

void BM_Ip6AddrToChars( benchmark::State& state ) {
   const Fixture& f = fixture();
   char buf[ Onet::Ip6Addr::maxTextLength ];
   size_t i = 0;
   for ( auto _ : state ) {
      benchmark::DoNotOptimize( f.v6[ i++ % kAddresses ].toChars( buf ) );
      benchmark::DoNotOptimize( buf );
   }
}
BENCHMARK( BM_Ip6AddrToChars );

void BM_InetNtop6( benchmark::State& state ) {
   const Fixture& f = fixture();
   char buf[ INET6_ADDRSTRLEN ];
   size_t i = 0;
   for ( auto _ : state ) {
      benchmark::DoNotOptimize(
            inet_ntop( AF_INET6, f.v6[ i++ % kAddresses ].data(), buf, sizeof buf ) );
   }
}
BENCHMARK( BM_InetNtop6 );

void BM_Ip6AddrParse( benchmark::State& state ) {
   const Fixture& f = fixture();
   Onet::Ip6Addr out;
   size_t i = 0;
   for ( auto _ : state ) {
      benchmark::DoNotOptimize( Onet::Ip6Addr::tryParse( f.v6Text[ i++ % kAddresses ], &out ) );
   }
}
BENCHMARK( BM_Ip6AddrParse );

void BM_InetPton6( benchmark::State& state ) {
   const Fixture& f = fixture();
   U8 out[ 16 ];
   size_t i = 0;
   for ( auto _ : state ) {
      benchmark::DoNotOptimize( inet_pton( AF_INET6, f.v6Text[ i++ % kAddresses ].c_str(), out ) );
   }
}
BENCHMARK( BM_InetPton6 );

// One attribute's worth of appends: a header, then 64 eight-octet values.
void BM_SerializeAppends( benchmark::State& state ) {
   for ( auto _ : state ) {
      Routing::Bgp::Serialize out;
      out.addU8( 0xC0 );
      out.addU8( 16 );
      out.addU16hton( 512 );
      for ( U64 v = 0; v < 64; ++v ) {
         out.addU64hton( 0x0002FDE800000000ull | v );
      }
      benchmark::DoNotOptimize( out.data() );
   }
}
BENCHMARK( BM_SerializeAppends );

void BM_BaselineVectorAppends( benchmark::State& state ) {
   for ( auto _ : state ) {
      std::vector<U8> out;
      out.reserve( 4096 );
      out.push_back( 0xC0 );
      out.push_back( 16 );
      out.push_back( 2 );
      out.push_back( 0 );
      for ( U64 v = 0; v < 64; ++v ) {
         U64 value = 0x0002FDE800000000ull | v;
         for ( int shift = 56; shift >= 0; shift -= 8 ) {
            out.push_back( U8( value >> shift ) );
         }
      }
      benchmark::DoNotOptimize( out.data() );
   }
}
BENCHMARK( BM_BaselineVectorAppends );

} // namespace

int main( int argc, char** argv ) {
   return BenchReport::main(
         argc, argv, [] { fixture(); },
         []( const BenchReport::CapturingReporter& reporter ) {
            BenchReport::printRatio( reporter, "IpAddr::toChars / inet_ntop", "BM_IpAddrToChars",
                                     "BM_InetNtop4", 0.5 );
            BenchReport::printRatio( reporter, "Ip6Addr::toChars / inet_ntop", "BM_Ip6AddrToChars",
                                     "BM_InetNtop6", 0.5 );
            BenchReport::printRatio( reporter, "Ip6Addr::tryParse / inet_pton", "BM_Ip6AddrParse",
                                     "BM_InetPton6", 1.0 );
            BenchReport::printRatio( reporter, "Serialize appends / vector push_back",
                                     "BM_SerializeAppends", "BM_BaselineVectorAppends", 1.0 );
         } );
}
