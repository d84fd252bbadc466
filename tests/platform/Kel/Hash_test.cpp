#include "Kel/Hash.h"

#include <gtest/gtest.h>

#include <bit>
#include <cstring>
#include <random>
#include <string>
#include <unordered_set>
#include <vector>

namespace {

// The one-at-a-time hash written out plainly, octet by octet.
U32 referenceOneAtATime( const std::vector<U8>& octets, bool final ) {
   U32 h = 0;
   for ( U8 o : octets ) {
      h += o;
      h += h << 10;
      h ^= h >> 6;
   }
   if ( final ) {
      h += h << 3;
      h ^= h >> 11;
      h += h << 15;
   }
   return h;
}

std::vector<U8> octetsOf( const std::string& text ) { return { text.begin(), text.end() }; }

static_assert( Kel::HashState( 5 ).mix( 1 ).result() == Kel::hashSingleAttr( 5, 1 ) );

TEST( OneAtATime, MatchesTheOctetByOctetDefinition ) {
   // Published values of the hash.
   EXPECT_EQ( 0xca2e9442u, Kel::oneAtATimeFinal( Kel::oneAtATime( 0, 'a' ) ) );
   std::string fox = "The quick brown fox jumps over the lazy dog";
   EXPECT_EQ( 0x519e91f5u, Kel::oneAtATimeFinal( Kel::oneAtATimeBytes(
                                 0, reinterpret_cast<const U8*>( fox.data() ), fox.size() ) ) );
   EXPECT_EQ( 0x519e91f5u, referenceOneAtATime( octetsOf( fox ), true ) );

   std::mt19937 rng( 3 );
   for ( int round = 0; round < 500; ++round ) {
      std::vector<U8> octets( rng() % 40 );
      for ( U8& o : octets ) {
         o = U8( rng() );
      }
      U32 running = Kel::oneAtATimeBytes( 0, octets.data(), octets.size() );
      ASSERT_EQ( referenceOneAtATime( octets, false ), running );
      ASSERT_EQ( referenceOneAtATime( octets, true ), Kel::oneAtATimeFinal( running ) );
   }
   // An empty list hashes to zero when its caller skips the final step;
   // zero octets leave the state at zero, and only the final step is free
   // of that.
   EXPECT_EQ( 0u, Kel::oneAtATimeFinal( Kel::oneAtATimeBytes( 0, nullptr, 0 ) ) );
   EXPECT_EQ( 0u, Kel::oneAtATimeU64( 0, 0 ) );
   EXPECT_NE( 0u, Kel::oneAtATimeFinal( Kel::oneAtATimeU32( 0, 1 ) ) );
}

TEST( OneAtATime, WordsGoInLeastSignificantOctetFirst ) {
   std::mt19937_64 rng( 4 );
   for ( int round = 0; round < 500; ++round ) {
      U64 word = rng();
      U32 seed = U32( rng() );
      U8 octets[ 8 ];
      for ( int i = 0; i < 8; ++i ) {
         octets[ i ] = U8( word >> ( 8 * i ) );
      }
      ASSERT_EQ( Kel::oneAtATimeBytes( seed, octets, 4 ), Kel::oneAtATimeU32( seed, U32( word ) ) );
      ASSERT_EQ( Kel::oneAtATimeBytes( seed, octets, 8 ), Kel::oneAtATimeU64( seed, word ) );
   }
   // An address goes in as its octets in memory order.
   int object = 0;
   const void* address = &object;
   U8 octets[ sizeof address ];
   std::memcpy( octets, &address, sizeof address );
   EXPECT_EQ( Kel::oneAtATimeBytes( 0, octets, sizeof octets ),
              Kel::oneAtATimePointer( 0, address ) );
}

TEST( HashSingleAttr, IsSeededAndMixesEveryInputBitIntoBothEnds ) {
   EXPECT_NE( Kel::hashSingleAttr( 0, 42 ), Kel::hashSingleAttr( 1, 42 ) );
   EXPECT_NE( Kel::hashSingleAttr( 0, 0 ), Kel::hashSingleAttr( 0, 1 ) );

   // Avalanche: flipping any one input bit flips about half the output bits.
   std::mt19937_64 rng( 5 );
   for ( int bit = 0; bit < 64; ++bit ) {
      unsigned flipped = 0;
      constexpr int kSamples = 400;
      for ( int s = 0; s < kSamples; ++s ) {
         U64 v = rng();
         U32 seed = U32( rng() );
         flipped += std::popcount( Kel::hashSingleAttr( seed, v ) ^
                                   Kel::hashSingleAttr( seed, v ^ ( U64( 1 ) << bit ) ) );
      }
      double mean = double( flipped ) / kSamples;
      EXPECT_GT( mean, 14.0 ) << "input bit " << bit;
      EXPECT_LT( mean, 18.0 ) << "input bit " << bit;
   }

   // Interning tables take slots from the low bits and shards from the top
   // four: consecutive contents must spread over both.
   constexpr U32 kValues = 1 << 16;
   std::vector<U32> low( 1024 ), top( 16 );
   std::unordered_set<U32> distinct;
   for ( U32 v = 0; v < kValues; ++v ) {
      U32 h = Kel::hashSingleAttr( 0, v );
      ++low[ h & 1023 ];
      ++top[ h >> 28 ];
      distinct.insert( h );
   }
   EXPECT_GT( distinct.size(), kValues - 4 );
   for ( U32 n : low ) {
      EXPECT_GT( n, 64 * 0.5 ); // four standard deviations
      EXPECT_LT( n, 64 * 1.5 );
   }
   for ( U32 n : top ) {
      EXPECT_GT( n, 4096 * 0.9 );
      EXPECT_LT( n, 4096 * 1.1 );
   }
}

TEST( HashState, ChainsAttributesInOrderFromItsSeed ) {
   U32 ab = Kel::HashState( 7 ).mix( 1 ).mix( 2 ).result();
   EXPECT_EQ( Kel::hashSingleAttr( Kel::hashSingleAttr( 7, 1 ), 2 ), ab );
   EXPECT_NE( ab, Kel::HashState( 7 ).mix( 2 ).mix( 1 ).result() );
   EXPECT_EQ( 7u, Kel::HashState( 7 ).result() );
   // Hash sets mix the seed in at different times: it never changes.
   EXPECT_EQ( Kel::hashSeed(), Kel::hashSeed() );
}

} // namespace
