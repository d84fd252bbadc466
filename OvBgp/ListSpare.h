// OvBgp/ListSpare.h: one spare list object per thread and list kind, so
// that building a list a path brings and finding it interned already
// allocates nothing: the factory hands out the spare, and the built list,
// dropped once its interned equal is found, becomes the spare again (with
// its member array) instead of being freed. Only lists that never entered a
// table come back: an interned list may still be read by lookups elsewhere.
//
//   List::Ptr list = ListSpare<List>::make();
//   if ( !ListSpare<List>::reclaim( self, self->comm_, [] {} ) ) { free it; }
#pragma once

#include "Kel/Ptr.h"
#include "Kel/ThreadLocal.h"

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

   // make(): the thread's spare (empty, never interned), or a new list.
   static Kel::Ptr<List> make() {
      if ( List* spare = std::exchange( spare_, nullptr ) ) {
         spare->hasNotificationActiveIs( true );
         return Kel::Ptr<List>( spare );
      }
      return Kel::makeActivePtr<List>();
   }

   // reclaim(): whether list, dropped by its last reference, became the
   // thread's spare: only a list that never entered a table and whose
   // members are on the heap in room for at most kMostRoom. Its members and
   // user data are emptied here, the rest of what its kind holds by
   // resetRest(). When not, the caller frees it.
   template<class Members, class ResetRest>
   static bool reclaim( List* list, Members& members, ResetRest&& resetRest ) noexcept {
      if ( list->everDeduped() || members.inRoom() || members.capacity() > kMostRoom ) {
         return false;
      }
      members.truncate( 0 );
      list->userDataIs( 0 );
      resetRest();
      return keep( list );
   }

 private:
   // keep(): whether list (emptied) became the thread's spare.
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

   struct Guard {
      void touch() noexcept {}
      ~Guard() {
         closed_ = true;
         delete std::exchange( spare_, nullptr );
      }
   };

   // Hot (Kel/ThreadLocal.h), as every path's list reads them.
   static constinit inline thread_local List* spare_ KEL_HOT_THREAD_LOCAL = nullptr;
   static constinit inline thread_local bool registered_ KEL_HOT_THREAD_LOCAL = false;
   static constinit inline thread_local bool closed_ KEL_HOT_THREAD_LOCAL = false;
   static inline thread_local Guard guard_;
};

} // namespace Routing::Bgp
