// Kel/Hash.h: the hashes of the framework. hashSingleAttr() is the fast,
// well-mixed (but unkeyed) hash of one 64-bit attribute; the one-at-a-time
// helpers are Bob Jenkins' byte-wise hash, which list types run over their
// values or over their members' addresses. Both are public functions, so
// whoever sends contents can collide them at will: tables that hold what
// peers send place their members with SipHash (sipHash13(), SipHasher,
// keyedHash64(), and keyedHash32() for 64-bit contents on a hit path)
// under a secret HashKey drawn from the OS (randomHashKey()).
//
//   Kel::HashKey key = Kel::randomHashKey();
//   U64 h = Kel::sipHash13( key, octets, length );
#pragma once

#include <bit>
#include <cstddef>
#include <cstring>

#include "Kel/Types.h"

namespace Kel {

// HashKey: the 128-bit secret of a keyed hash (k0, k1 as SipHash reads its
// key: octets 0-7 and 8-15, least significant first).
struct HashKey {
   U64 k0 = 0;
   U64 k1 = 0;
};

// randomHashKey(): a fresh key, derived from a secret the process draws once
// from getrandom(2); throws std::system_error when the OS cannot give one (a
// table placed by a guessable key would be open to flooding, so there is no
// fallback).
HashKey randomHashKey();

// SipHasher: SipHash-C-D (Aumasson and Bernstein) fed piece by piece; the
// pieces are hashed as if they were one run of octets. C = 1, D = 3 is the
// instance tables use (SipHasher): a pseudorandom function of the key, so
// that a sender who does not know the key cannot pick colliding contents
// better than by chance, however many hashes it has seen.
template<int C, int D>
class BasicSipHasher {
 public:
   explicit BasicSipHasher( const HashKey& key ) noexcept
         : v0_( key.k0 ^ 0x736f6d6570736575ull ),
           v1_( key.k1 ^ 0x646f72616e646f6dull ),
           v2_( key.k0 ^ 0x6c7967656e657261ull ),
           v3_( key.k1 ^ 0x7465646279746573ull ) {}

   // add(): length more octets.
   BasicSipHasher& add( const void* data, size_t length ) noexcept {
      const U8* p = static_cast<const U8*>( data );
      unsigned fill = unsigned( length_ & 7 );
      length_ += length;
      if ( fill ) {
         while ( length && fill < 8 ) {
            tail_ |= U64( *p++ ) << ( 8 * fill++ );
            --length;
         }
         if ( fill < 8 ) {
            return *this;
         }
         compress( tail_ );
         tail_ = 0;
      }
      for ( ; length >= 8; p += 8, length -= 8 ) {
         compress( loadLittleEndian( p ) );
      }
      for ( unsigned i = 0; i < length; ++i ) {
         tail_ |= U64( p[ i ] ) << ( 8 * i );
      }
      return *this;
   }
   // addU64(): a word's eight octets, least significant first.
   BasicSipHasher& addU64( U64 word ) noexcept {
      if ( ( length_ & 7 ) == 0 ) {
         length_ += 8;
         compress( word );
         return *this;
      }
      U8 octets[ 8 ];
      for ( int i = 0; i < 8; ++i ) {
         octets[ i ] = U8( word >> ( 8 * i ) );
      }
      return add( octets, 8 );
   }

   // result(): the hash of everything added so far (the hasher may go on).
   U64 result() const noexcept {
      BasicSipHasher last = *this;
      const U64 b = U64( length_ ) << 56 | tail_;
      last.compress( b );
      last.v2_ ^= 0xff;
      for ( int i = 0; i < D; ++i ) {
         last.round();
      }
      return last.v0_ ^ last.v1_ ^ last.v2_ ^ last.v3_;
   }

   static U64 loadLittleEndian( const U8* p ) noexcept {
      U64 word;
      std::memcpy( &word, p, 8 );
      if constexpr ( std::endian::native == std::endian::big ) {
         word = __builtin_bswap64( word );
      }
      return word;
   }

 private:
   void round() noexcept {
      v0_ += v1_;
      v1_ = std::rotl( v1_, 13 );
      v1_ ^= v0_;
      v0_ = std::rotl( v0_, 32 );
      v2_ += v3_;
      v3_ = std::rotl( v3_, 16 );
      v3_ ^= v2_;
      v0_ += v3_;
      v3_ = std::rotl( v3_, 21 );
      v3_ ^= v0_;
      v2_ += v1_;
      v1_ = std::rotl( v1_, 17 );
      v1_ ^= v2_;
      v2_ = std::rotl( v2_, 32 );
   }
   void compress( U64 m ) noexcept {
      v3_ ^= m;
      for ( int i = 0; i < C; ++i ) {
         round();
      }
      v0_ ^= m;
   }

   U64 v0_, v1_, v2_, v3_;
   U64 tail_ = 0;
   U64 length_ = 0;
};
using SipHasher = BasicSipHasher<1, 3>;

// sipHash(): SipHash-C-D of length octets in one call.
template<int C, int D>
U64 sipHash( const HashKey& key, const void* data, size_t length ) noexcept {
   return BasicSipHasher<C, D>( key ).add( data, length ).result();
}
// sipHash13(): SipHash-1-3, the tables' function over a member's octets.
inline U64 sipHash13( const HashKey& key, const void* data, size_t length ) noexcept {
   return sipHash<1, 3>( key, data, length );
}

// keyedHash64(): SipHash-1-3 of value's eight octets, least significant
// first (sipHash13() over them, written out with the length known): the
// PRF argument of SipHash holds for it as for any input. One compression
// round and three final ones.
inline U64 keyedHash64( const HashKey& key, U64 value ) noexcept {
   return SipHasher( key ).addU64( value ).result();
}

// keyedHash32(): a 64-bit value placed by pair-multiply-shift under key
// (Thorup, "High Speed Hashing for Integers and Strings"): the two 32-bit
// halves, each offset by a key word, multiplied, and the top 32 bits of the
// product kept. Over a random key any two values collide with probability
// at most 2 / 2^32, whatever values a sender picks, which is what a table
// needs against flooding; it costs one multiplication, so it fits a hit of
// a 64-bit content where keyedHash64() would double the hit's time.
constexpr U32 keyedHash32( const HashKey& key, U64 value ) noexcept {
   const U64 product = ( key.k0 + ( value >> 32 ) ) * ( key.k1 + U32( value ) );
   return U32( ( product + ( key.k0 ^ key.k1 ) ) >> 32 );
}

// hashSingleAttr(): 64 bits in, 32 well-mixed bits out; the seed selects an
// independent function (a murmur-style finaliser over value and seed).
constexpr U32 hashSingleAttr( U32 seed, U64 value ) noexcept {
   U64 x = value ^ ( U64( seed ) * 0x9E3779B97F4A7C15ull );
   x ^= x >> 33;
   x *= 0xFF51AFD7ED558CCDull;
   x ^= x >> 33;
   x *= 0xC4CEB9FE1A85EC53ull;
   x ^= x >> 33;
   return U32( x ) ^ U32( x >> 32 );
}

// hashSeed(): the process-wide 32-bit seed that hash sets mix into their
// member hashes: drawn from the OS once, fixed for the life of the process.
U32 hashSeed() noexcept;

// oneAtATime(): one octet into a running one-at-a-time state.
constexpr U32 oneAtATime( U32 h, U8 octet ) noexcept {
   h += octet;
   h += h << 10;
   h ^= h >> 6;
   return h;
}

// oneAtATimeBytes(): octets in memory order.
constexpr U32 oneAtATimeBytes( U32 h, const U8* octets, size_t count ) noexcept {
   for ( size_t i = 0; i < count; ++i ) {
      h = oneAtATime( h, octets[ i ] );
   }
   return h;
}

// oneAtATimeU32() / oneAtATimeU64(): a word's octets, least significant first.
constexpr U32 oneAtATimeU32( U32 h, U32 word ) noexcept {
   h = oneAtATime( h, U8( word ) );
   h = oneAtATime( h, U8( word >> 8 ) );
   h = oneAtATime( h, U8( word >> 16 ) );
   return oneAtATime( h, U8( word >> 24 ) );
}
constexpr U32 oneAtATimeU64( U32 h, U64 word ) noexcept {
   return oneAtATimeU32( oneAtATimeU32( h, U32( word ) ), U32( word >> 32 ) );
}

// oneAtATimePointer(): an object's address, least significant octet first,
// for containers that hash their interned members by identity.
inline U32 oneAtATimePointer( U32 h, const void* p ) noexcept {
   return oneAtATimeU64( h, U64( reinterpret_cast<std::uintptr_t>( p ) ) );
}

// oneAtATimeFinal(): the closing avalanche.
constexpr U32 oneAtATimeFinal( U32 h ) noexcept {
   h += h << 3;
   h ^= h >> 11;
   h += h << 15;
   return h;
}

// HashState: a running hash of several attributes, started from a seed.
class HashState {
 public:
   constexpr explicit HashState( U32 seed ) noexcept : h_( seed ) {}
   constexpr HashState& mix( U64 attr ) noexcept {
      h_ = hashSingleAttr( h_, attr );
      return *this;
   }
   constexpr U32 result() const noexcept { return h_; }

 private:
   U32 h_;
};

} // namespace Kel
