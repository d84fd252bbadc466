// Kel/Hash.h: the hashes of the framework. hashSingleAttr() is the fast,
// well-mixed hash of one 64-bit attribute that interning tables probe with;
// the one-at-a-time helpers are Bob Jenkins' byte-wise hash, which list types
// run over their values or over their members' addresses.
//
//   U32 h = Kel::hashSingleAttr( 0, content.value );
//   U32 listHash = Kel::oneAtATimeFinal( Kel::oneAtATimeU32( 0, value ) );
#pragma once

#include <cstddef>

#include "Kel/Types.h"

namespace Kel {

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
// member hashes; fixed for the life of the process.
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
