// bench/WireStream.h: a stream of paths as an UPDATE reader sees it: each
// path brings its list as attribute octets, read in stream order. Most
// senders put a list's values in order, each once; one path in eight brings
// its set shuffled with one value repeated. Also the floor such a stream is raced against: a keyed
// hash over the octets, one probe of a plain open-addressing array and a
// memcmp, with no counts, no canonical order and no locks.
//
//   WireStream wire = wireStream( sets, paths, 20261124 );
//   OctetsFloor floor( wire.forms );  floor.intern( wire.path( p ) );
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <random>
#include <span>
#include <vector>

#include "Kel/Hash.h"

// WireStream: the octets of every path, one after the other in stream
// order, as a reader meets them in the messages it reads (sequentially, so
// they are in the cache when interned); forms counts the distinct octet
// strings (each set in order, and shuffled with a repeat).
struct WireStream {
   std::vector<std::uint8_t> octets;
   std::vector<std::uint32_t> begin; // path p: octets[ begin[ p ], begin[ p + 1 ] )
   size_t forms = 0;

   size_t paths() const { return begin.size() - 1; }
   std::span<const std::uint8_t> path( size_t p ) const {
      return { octets.data() + begin[ p ], octets.data() + begin[ p + 1 ] };
   }
};

// wireStream(): sets[s] holds a set's values (any order, repeats allowed)
// as unsigned integers of the wire width; paths[p] the set of path p.
template<class V>
WireStream wireStream( const std::vector<std::vector<V>>& sets,
                       const std::vector<std::uint32_t>& paths, std::uint64_t seed ) {
   std::mt19937_64 rng( seed );
   auto octetsOf = []( const std::vector<V>& values ) {
      std::vector<std::uint8_t> out;
      for ( V v : values ) {
         for ( size_t i = sizeof( V ); i-- > 0; ) {
            out.push_back( std::uint8_t( v >> ( 8 * i ) ) );
         }
      }
      return out;
   };
   std::vector<std::vector<std::uint8_t>> forms;
   for ( const std::vector<V>& set : sets ) {
      std::vector<V> sorted = set;
      std::sort( sorted.begin(), sorted.end() );
      sorted.erase( std::unique( sorted.begin(), sorted.end() ), sorted.end() );
      forms.push_back( octetsOf( sorted ) );
      std::vector<V> shuffled = sorted;
      shuffled.push_back( sorted[ rng() % sorted.size() ] );
      std::shuffle( shuffled.begin(), shuffled.end(), rng );
      forms.push_back( octetsOf( shuffled ) );
   }
   WireStream s;
   s.forms = forms.size();
   for ( size_t p = 0; p < paths.size(); ++p ) {
      const std::vector<std::uint8_t>& form = forms[ 2 * paths[ p ] + ( p % 8 == 7 ? 1 : 0 ) ];
      s.begin.push_back( std::uint32_t( s.octets.size() ) );
      s.octets.insert( s.octets.end(), form.begin(), form.end() );
   }
   s.begin.push_back( std::uint32_t( s.octets.size() ) );
   return s;
}

// OctetsFloor: see the file comment. Sized once for capacity distinct
// octet strings (at most half full); intern() finds or copies in.
class OctetsFloor {
 public:
   explicit OctetsFloor( size_t capacity ) {
      size_t slots = 2;
      while ( slots < 2 * capacity ) {
         slots *= 2;
      }
      slots_.assign( slots, nullptr );
      mask_ = slots - 1;
      key_ = Kel::randomHashKey();
   }
   ~OctetsFloor() {
      for ( const Entry* e : slots_ ) {
         delete e;
      }
   }
   OctetsFloor( const OctetsFloor& ) = delete;
   OctetsFloor& operator=( const OctetsFloor& ) = delete;

   struct Entry {
      std::vector<std::uint8_t> octets;
   };
   const Entry* intern( std::span<const std::uint8_t> octets ) {
      const std::uint64_t h = Kel::sipHash13( key_, octets.data(), octets.size() );
      for ( size_t i = h & mask_;; i = ( i + 1 ) & mask_ ) {
         const Entry* e = slots_[ i ];
         if ( !e ) {
            slots_[ i ] = new Entry{ { octets.begin(), octets.end() } };
            return slots_[ i ];
         }
         if ( e->octets.size() == octets.size() &&
              std::memcmp( e->octets.data(), octets.data(), octets.size() ) == 0 ) {
            return e;
         }
      }
   }

 private:
   std::vector<const Entry*> slots_;
   size_t mask_ = 0;
   Kel::HashKey key_;
};
