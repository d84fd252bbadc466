#include "Kel/Hash.h"

#include <gtest/gtest.h>

#include <algorithm>
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

// SipHash-2-4 of the octets 0, 1, ..., n-1 under the key 00 01 ... 0f, for
// n = 0..15 and 63: the published vectors of the reference implementation.
TEST( SipHash, MatchesThePublishedVectorsWhetherFedAtOnceOrInPieces ) {
   const U64 expected[] = { 0x726fdb47dd0e0e31, 0x74f839c593dc67fd, 0x0d6c8009d9a94f5a,
                            0x85676696d7fb7e2d, 0xcf2794e0277187b7, 0x18765564cd99a68d,
                            0xcbc9466e58fee3ce, 0xab0200f58b01d137, 0x93f5f5799a932462,
                            0x9e0082df0ba9e4b0, 0x7a5dbbc594ddb9f3, 0xf4b32f46226bada7,
                            0x751e8fbc860ee5fb, 0x14ea5627c0843d90, 0xf723ca908e7af2ee,
                            0xa129ca6149be45e5 };
   const Kel::HashKey key{ 0x0706050403020100, 0x0f0e0d0c0b0a0908 };
   U8 message[ 64 ];
   for ( int i = 0; i < 64; ++i ) {
      message[ i ] = U8( i );
   }
   for ( size_t n = 0; n < 16; ++n ) {
      EXPECT_EQ( expected[ n ], ( Kel::sipHash<2, 4>( key, message, n ) ) ) << n;
   }
   EXPECT_EQ( 0x958a324ceb064572u, ( Kel::sipHash<2, 4>( key, message, 63 ) ) );
   // SipHash-1-3 under the all-zero key, of nothing.
   EXPECT_EQ( 0xd1fba762150c532cu, Kel::sipHash13( Kel::HashKey(), nullptr, 0 ) );

   // Any split into pieces, words among them, hashes as the whole run.
   std::mt19937 rng( 6 );
   for ( int round = 0; round < 300; ++round ) {
      const size_t length = rng() % 64;
      Kel::SipHasher pieces( key );
      for ( size_t at = 0; at < length; ) {
         if ( rng() % 4 == 0 && length - at >= 8 ) {
            U64 word = 0;
            for ( int i = 7; i >= 0; --i ) {
               word = word << 8 | message[ at + size_t( i ) ];
            }
            pieces.addU64( word );
            at += 8;
            continue;
         }
         const size_t piece = std::min<size_t>( rng() % 11, length - at );
         pieces.add( message + at, piece );
         at += piece;
      }
      ASSERT_EQ( Kel::sipHash13( key, message, length ), pieces.result() ) << length;
   }
}

TEST( SipHash, KeyedHash64IsSipHash13OfTheWordsOctetsUnderAFreshKey ) {
   const Kel::HashKey key = Kel::randomHashKey();
   const Kel::HashKey other = Kel::randomHashKey();
   EXPECT_FALSE( key.k0 == other.k0 && key.k1 == other.k1 );
   std::mt19937_64 rng( 7 );
   for ( int round = 0; round < 100; ++round ) {
      const U64 value = rng();
      U8 octets[ 8 ];
      for ( int i = 0; i < 8; ++i ) {
         octets[ i ] = U8( value >> ( 8 * i ) );
      }
      ASSERT_EQ( Kel::sipHash13( key, octets, 8 ), Kel::keyedHash64( key, value ) );
      ASSERT_NE( Kel::keyedHash64( key, value ), Kel::keyedHash64( other, value ) );
   }
}

} // namespace

// Values a sender would pick to collide a public mixer (one bit apart, or
// equal in one half) spread under a secret key, and differently per key.
TEST( KeyedHash32, SpreadsStructuredValuesAndDependsOnTheKey ) {
   const Kel::HashKey key = Kel::randomHashKey();
   const Kel::HashKey other = Kel::randomHashKey();
   std::unordered_set<U32> seen;
   size_t moved = 0;
   for ( U64 i = 0; i < 4096; ++i ) {
      const U64 value = ( i % 2 ? i << 32 : i ) | 0x0002000000000000ull;
      seen.insert( Kel::keyedHash32( key, value ) );
      moved += Kel::keyedHash32( key, value ) != Kel::keyedHash32( other, value );
   }
   EXPECT_GE( seen.size(), 4090u );
   EXPECT_GE( moved, 4090u );
}
