// bench/Baseline.h: the interning a user would write without our table, for
// the benchmarks to race: a std::unordered_map from content to
// std::weak_ptr behind one std::mutex, values held in std::shared_ptr.
//
//   Baseline::WeakMapInterner<Value> interner;
//   std::shared_ptr<const Value> v = interner.intern( content );
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <vector>

namespace Baseline {

// WeakMapInterner<T>: T is constructible from its std::uint64_t content.
template<class T>
class WeakMapInterner {
 public:
   // lookup(): the live value for content, or null.
   std::shared_ptr<const T> lookup( std::uint64_t content ) {
      std::lock_guard<std::mutex> lock( mutex_ );
      auto it = map_.find( content );
      return it == map_.end() ? nullptr : it->second.lock();
   }

   // intern(): the live value for content, made and entered on a miss
   // (replacing an entry whose value has gone).
   std::shared_ptr<const T> intern( std::uint64_t content ) {
      std::lock_guard<std::mutex> lock( mutex_ );
      auto [ it, inserted ] = map_.try_emplace( content );
      if ( !inserted ) {
         if ( std::shared_ptr<const T> live = it->second.lock() ) {
            return live;
         }
      }
      std::shared_ptr<const T> fresh = std::make_shared<const T>( content );
      it->second = fresh;
      return fresh;
   }

   std::size_t size() {
      std::lock_guard<std::mutex> lock( mutex_ );
      return map_.size();
   }

 private:
   std::mutex mutex_;
   std::unordered_map<std::uint64_t, std::weak_ptr<const T>> map_;
};

// WeakListInterner<V>: lists of values the same way: a std::shared_ptr to a
// sorted, unique std::vector<V> per list, found through a std::unordered_map
// from a 64-bit hash of the values to a std::weak_ptr, behind a std::mutex,
// comparing the values when the hash hits.
template<class V>
class WeakListInterner {
 public:
   using List = std::shared_ptr<const std::vector<V>>;

   List intern( const std::vector<V>& received ) {
      std::vector<V> values;
      for ( const V& value : received ) {
         values.push_back( value );
      }
      return internValues( std::move( values ) );
   }

   // internOctets(): the same for a received attribute: its values read
   // one by one (network order, sizeof( V ) octets each) into a vector.
   List internOctets( const std::uint8_t* octets, std::size_t length ) {
      std::vector<V> values;
      for ( std::size_t at = 0; at + sizeof( V ) <= length; at += sizeof( V ) ) {
         V v = 0;
         for ( std::size_t i = 0; i < sizeof( V ); ++i ) {
            v = V( v << 8 | octets[ at + i ] );
         }
         values.push_back( v );
      }
      return internValues( std::move( values ) );
   }

   // forEach(): every list still alive.
   template<class Fn>
   void forEach( Fn&& fn ) const {
      for ( const auto& entry : lists_ ) {
         if ( List list = entry.second.lock() ) {
            fn( *list );
         }
      }
   }

 private:
   List internValues( std::vector<V> values ) {
      std::sort( values.begin(), values.end() );
      values.erase( std::unique( values.begin(), values.end() ), values.end() );
      const std::uint64_t hash = fnv1a( values );
      std::lock_guard<std::mutex> lock( mutex_ );
      std::weak_ptr<const std::vector<V>>& slot = lists_[ hash ];
      if ( List existing = slot.lock() ) {
         if ( *existing == values ) {
            return existing;
         }
         return std::make_shared<const std::vector<V>>( std::move( values ) );
      }
      List fresh = std::make_shared<const std::vector<V>>( std::move( values ) );
      slot = fresh;
      return fresh;
   }

   static std::uint64_t fnv1a( const std::vector<V>& values ) {
      std::uint64_t h = 0xcbf29ce484222325ull;
      for ( const V& v : values ) {
         for ( size_t i = 0; i < sizeof( V ); ++i ) {
            h = ( h ^ ( ( std::uint64_t( v ) >> ( 8 * i ) ) & 0xFF ) ) * 0x100000001b3ull;
         }
      }
      return h;
   }

   std::mutex mutex_;
   std::unordered_map<std::uint64_t, std::weak_ptr<const std::vector<V>>> lists_;
};

} // namespace Baseline
