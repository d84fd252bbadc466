// bench/ExtCommParse_bench.cpp: what the typed plug-ins cost on the miss path.
// A realistic mix of extended communities (mostly route targets of the three
// layouts, some route origins, link bandwidths, colors, encapsulations and
// unclaimed or unknown types) is parsed through the library's full container
// into typed values, against building the plain generic value of the same
// contents, which any decoder must do at least. Both sides allocate one value
// per content; the difference is the two-level dispatch and the typed
// constructors. After the table of results, the ratio of the same run.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <random>
#include <vector>

#include "OvBgp/Parse/ExtComm.h"
#include "bench/BenchReport.h"

namespace {

using namespace Routing::Bgp;

constexpr size_t kContents = 4096; // a power of two: the index wraps by a mask

// makeMix(): per hundred contents, 70 route targets (40 2-octet AS, 15 IPv4,
// 15 4-octet AS), 10 route origins, 6 link bandwidths, 4 colors, 4
// encapsulations and 6 that no plug-in claims, shuffled.
std::vector<U64> makeMix() {
   struct Share {
      U64 typeAndSubtype;
      unsigned perHundred;
   };
   const Share shares[] = {
      { 0x0002, 40 }, { 0x0102, 15 }, { 0x0202, 15 },                // route targets
      { 0x0003, 6 },  { 0x0103, 2 },  { 0x0203, 2 },                 // route origins
      { 0x4004, 6 },                                                 // link bandwidth
      { 0x030b, 4 },                                                 // color
      { 0x030c, 4 },                                                 // encapsulation
      { 0x0005, 2 },  { 0x0600, 2 },  { 0x8008, 1 },  { 0x4400, 1 }, // unclaimed, unknown
   };
   std::mt19937_64 rng( 42 );
   std::vector<U64> out;
   out.reserve( kContents );
   while ( out.size() < kContents ) {
      for ( const Share& share : shares ) {
         for ( unsigned i = 0; i < share.perHundred && out.size() < kContents; ++i ) {
            out.push_back( share.typeAndSubtype << 48 | ( rng() & 0xFFFFFFFFFFFF ) );
         }
      }
   }
   std::shuffle( out.begin(), out.end(), rng );
   return out;
}

const std::vector<U64>& mix() {
   static const std::vector<U64> contents = makeMix();
   return contents;
}

// The full container's parser: type rule, sub-rule, typed value (or the
// type's fallback).
void BM_ParseMixThroughContainer( benchmark::State& state ) {
   auto container = bgpParseExtCommContainerSmFactory();
   const BgpParseExtendedCommunityRule& rule = *container->extCommParser();
   const std::vector<U64>& contents = mix();
   size_t i = 0;
   for ( auto _ : state ) {
      auto value =
            rule.parseExtendedCommunity( ExtCommContent( contents[ i++ & ( kContents - 1 ) ] ) );
      benchmark::DoNotOptimize( value.ptr() );
   }
}
BENCHMARK( BM_ParseMixThroughContainer );

// The baseline: one plain ExtComm per content, no dispatch, no type.
void BM_GenericFallback( benchmark::State& state ) {
   const std::vector<U64>& contents = mix();
   size_t i = 0;
   for ( auto _ : state ) {
      auto value = extCommFactory( extCommClassificationUnSpecified,
                                   ExtCommContent( contents[ i++ & ( kContents - 1 ) ] ) );
      benchmark::DoNotOptimize( value.ptr() );
   }
}
BENCHMARK( BM_GenericFallback );

} // namespace

int main( int argc, char** argv ) {
   return BenchReport::main(
         argc, argv, [] {},
         []( const BenchReport::CapturingReporter& reporter ) {
            BenchReport::printRatio( reporter, "typed parse of the mix / generic fallback",
                                     "BM_ParseMixThroughContainer", "BM_GenericFallback", 1.5 );
         } );
}
