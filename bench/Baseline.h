// bench/Baseline.h: the interning a user would write without our table, for
// the benchmarks to race: a std::unordered_map from content to
// std::weak_ptr behind one std::mutex, values held in std::shared_ptr.
//
//   Baseline::WeakMapInterner<Value> interner;
//   std::shared_ptr<const Value> v = interner.intern( content );
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <unordered_map>

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

} // namespace Baseline
