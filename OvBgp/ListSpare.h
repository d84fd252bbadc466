// OvBgp/ListSpare.h: one spare list object per thread and list kind, so
// that building a list a path brings and finding it interned already
// allocates nothing: the factory hands out the spare, and the built list,
// dropped once its interned equal is found, becomes the spare again (with
// its member array) instead of being freed. Only lists that never entered a
// table come back: an interned list may still be read by lookups elsewhere.
//
//   List* list = ListSpare<List>::take();             // null: make a new one
//   if ( !ListSpare<List>::keep( list ) ) { delete list; }
#pragma once

#include <utility>

namespace Routing::Bgp {

// ListSpare<List>: see the file comment. The spare of a thread that ends is
// freed; lists released after that in the thread are freed at once.
template<class List>
class ListSpare {
 public:
   // kMostRoom: members a spare may keep room for; a longer list is freed,
   // so that no thread holds on to a large array.
   static constexpr size_t kMostRoom = 64;

   // take(): the thread's spare (empty, never interned), or null.
   static List* take() noexcept { return std::exchange( spare_, nullptr ); }

   // keep(): whether list (emptied by the caller) became the thread's
   // spare; when not, the caller frees it.
   static bool keep( List* list ) noexcept {
      if ( spare_ || closed_ ) {
         return false;
      }
      if ( !registered_ ) {
         // First use in this thread: the guard frees the spare at its end.
         registered_ = true;
         guard_.touch();
      }
      spare_ = list;
      return true;
   }

 private:
   struct Guard {
      void touch() noexcept {}
      ~Guard() {
         closed_ = true;
         delete std::exchange( spare_, nullptr );
      }
   };

   static constinit inline thread_local List* spare_ = nullptr;
   static constinit inline thread_local bool registered_ = false;
   static constinit inline thread_local bool closed_ = false;
   static inline thread_local Guard guard_;
};

} // namespace Routing::Bgp
