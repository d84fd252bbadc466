// bench/WireStream.h: a stream of paths as an UPDATE reader sees it: each
// path brings its list as attribute octets. Most senders put a list's values
// in order, each once; one path in eight brings its set shuffled with one
// value repeated. Also the floor such a stream is raced against: a keyed
// hash over the octets, one probe of a plain open-addressing array and a
// memcmp, with no counts, no canonical order and no locks.
//
//   WireStream wire = wireStream( sets, paths, 20261124 );
//   OctetsFloor floor( wire.forms.size() );  floor.intern( wire.octets( p ) );
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <random>
#include <span>
#include <vector>

#include "Kel/Hash.h"

// WireStream: forms[2 s] is set s in order, forms[2 s + 1] the same
// shuffled with a repeat; form[p] is the form path p brings.
struct WireStream {
   std::vector<std::vector<std::uint8_t>> forms;
   std::vector<std::uint32_t> form;

   std::span<const std::uint8_t> octets( size_t path ) const { return forms[ form[ path ] ]; }
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
   WireStream s;
   for ( const std::vector<V>& set : sets ) {
      std::vector<V> sorted = set;
      std::sort( sorted.begin(), sorted.end() );
      sorted.erase( std::unique( sorted.begin(), sorted.end() ), sorted.end() );
      s.forms.push_back( octetsOf( sorted ) );
      std::vector<V> shuffled = sorted;
      shuffled.push_back( sorted[ rng() % sorted.size() ] );
      std::shuffle( shuffled.begin(), shuffled.end(), rng );
      s.forms.push_back( octetsOf( shuffled ) );
   }
   for ( size_t p = 0; p < paths.size(); ++p ) {
      s.form.push_back( 2 * paths[ p ] + ( p % 8 == 7 ? 1 : 0 ) );
   }
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
