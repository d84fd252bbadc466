#include "Kel/Hash.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <numeric>
#include <random>
#include <string_view>
#include <unordered_set>

namespace {

// Known answers: published values where there are some, the others worked
// out from the definitions by an independent program.
constexpr U8 kOneToEight[ 8 ] = { 1, 2, 3, 4, 5, 6, 7, 8 };
constexpr Kel::HashKey kKey{ 0x0706050403020100, 0x0f0e0d0c0b0a0908 }; // octets 00..0f
static_assert( Kel::oneAtATimeFinal( Kel::oneAtATime( 0, 'a' ) ) == 0xca2e9442 );
static_assert( Kel::oneAtATimeU32( 9, 0x04030201 ) == 0x241c4854 ); // low octet first
static_assert( Kel::oneAtATimeBytes( 9, kOneToEight, 4 ) == 0x241c4854 );
static_assert( Kel::oneAtATimeU64( 9, 0x0807060504030201 ) == 0x2d5c42cb );
static_assert( Kel::oneAtATimeBytes( 9, kOneToEight, 8 ) == 0x2d5c42cb );
static_assert( Kel::hashSingleAttr( 0, 1 ) == 0x809477d0 );
static_assert( Kel::hashSingleAttr( 7, 0x0002fde800000064 ) == 0xe5d2bedd );
static_assert( Kel::keyedHash32( kKey, 0x0002fde800000064 ) == 0x80e659da );
static_assert( Kel::keyedHash32( kKey, 0 ) == 0x20d39462 );
// HashState chains attributes in order from its seed.
static_assert( Kel::HashState( 7 ).mix( 1 ).mix( 2 ).result() ==
               Kel::hashSingleAttr( Kel::hashSingleAttr( 7, 1 ), 2 ) );
static_assert( Kel::HashState( 7 ).mix( 2 ).mix( 1 ).result() !=
               Kel::HashState( 7 ).mix( 1 ).mix( 2 ).result() );
static_assert( Kel::HashState( 7 ).result() == 7 );

TEST( OneAtATime, KnownAnswersAndTheZeroState ) {
   const std::string_view fox = "The quick brown fox jumps over the lazy dog";
   const U32 running =
         Kel::oneAtATimeBytes( 0, reinterpret_cast<const U8*>( fox.data() ), fox.size() );
   EXPECT_EQ( 0x964c1cedu, running );
   EXPECT_EQ( 0x519e91f5u, Kel::oneAtATimeFinal( running ) ); // published
   // An address goes in as its octets in memory order.
   int object = 0;
   const void* address = &object;
   U8 octets[ sizeof address ];
   std::memcpy( octets, &address, sizeof address );
   EXPECT_EQ( Kel::oneAtATimeBytes( 0, octets, sizeof octets ),
              Kel::oneAtATimePointer( 0, address ) );
   // Zero octets leave the state at zero (an empty list hashes to zero),
   // and only the final step is free of that.
   EXPECT_EQ( 0u, Kel::oneAtATimeFinal( Kel::oneAtATimeBytes( 0, nullptr, 0 ) ) );
   EXPECT_EQ( 0u, Kel::oneAtATimeU64( 0, 0 ) );
   EXPECT_NE( 0u, Kel::oneAtATimeFinal( Kel::oneAtATimeU32( 0, 1 ) ) );
}

TEST( HashSingleAttr, EveryInputBitFlipsAboutHalfTheOutput ) {
   std::mt19937_64 rng( 5 );
   for ( int bit = 0; bit < 64; ++bit ) {
      unsigned flipped = 0;
      for ( int s = 0; s < 400; ++s ) {
         const U64 v = rng();
         const U32 seed = U32( rng() );
         flipped += std::popcount( Kel::hashSingleAttr( seed, v ) ^
                                   Kel::hashSingleAttr( seed, v ^ ( U64( 1 ) << bit ) ) );
      }
      EXPECT_GT( flipped / 400.0, 14.0 ) << "input bit " << bit;
      EXPECT_LT( flipped / 400.0, 18.0 ) << "input bit " << bit;
   }
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
   U8 message[ 64 ];
   std::iota( message, message + 64, U8( 0 ) );
   for ( size_t n = 0; n < 16; ++n ) {
      EXPECT_EQ( expected[ n ], ( Kel::sipHash<2, 4>( kKey, message, n ) ) ) << n;
   }
   EXPECT_EQ( 0x958a324ceb064572u, ( Kel::sipHash<2, 4>( kKey, message, 63 ) ) );
   // SipHash-1-3: of nothing under the zero key, and of 00..07 and 00..0e.
   EXPECT_EQ( 0xd1fba762150c532cu, Kel::sipHash13( Kel::HashKey(), nullptr, 0 ) );
   EXPECT_EQ( 0x369095118d299a8eu, Kel::sipHash13( kKey, message, 8 ) );
   EXPECT_EQ( 0x369095118d299a8eu, Kel::keyedHash64( kKey, 0x0706050403020100 ) );
   EXPECT_EQ( 0xd320d86d2a519956u, Kel::sipHash13( kKey, message, 15 ) );

   // Any split into pieces, words among them, hashes as the whole run.
   std::mt19937 rng( 6 );
   for ( int round = 0; round < 300; ++round ) {
      const size_t length = rng() % 64;
      Kel::SipHasher pieces( kKey );
      for ( size_t at = 0; at < length; ) {
         if ( rng() % 4 == 0 && length - at >= 8 ) {
            U64 word;
            std::memcpy( &word, message + at, 8 ); // little-endian host
            pieces.addU64( word );
            at += 8;
            continue;
         }
         const size_t piece = std::min<size_t>( rng() % 11, length - at );
         pieces.add( message + at, piece );
         at += piece;
      }
      ASSERT_EQ( Kel::sipHash13( kKey, message, length ), pieces.result() ) << length;
   }
}

// Values a sender would pick to collide a public mixer (one bit apart, or
// equal in one half) spread under a secret key, and differently per key.
TEST( KeyedHash, FreshKeysDifferAndSpreadStructuredValues ) {
   const Kel::HashKey key = Kel::randomHashKey();
   const Kel::HashKey other = Kel::randomHashKey();
   EXPECT_FALSE( key.k0 == other.k0 && key.k1 == other.k1 );
   std::unordered_set<U32> seen;
   size_t moved = 0;
   for ( U64 i = 0; i < 4096; ++i ) {
      const U64 value = ( i % 2 ? i << 32 : i ) | 0x0002000000000000ull;
      seen.insert( Kel::keyedHash32( key, value ) );
      moved += Kel::keyedHash32( key, value ) != Kel::keyedHash32( other, value );
   }
   EXPECT_GE( seen.size(), 4090u );
   EXPECT_GE( moved, 4090u );
   EXPECT_EQ( Kel::hashSeed(), Kel::hashSeed() ); // fixed for the process
}

} // namespace
