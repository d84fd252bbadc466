// Kel/Notifiee.h: the observer list of a notifying object. A notifying class
// C nests an abstract C::Notifiee with one handler per notifying attribute
// and keeps a NotifieeList<C::Notifiee>; notification is synchronous.
//
//   rtList->notifieeList().add( &observer );
//   notifiees_.visit( [&]( Notifiee* n ) { n->handleRt( rt ); } );
#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

namespace Kel {

// NotifieeList: registered observers in registration order. A handler may
// add or remove observers while a visit runs; the visit goes over the list as
// it stood when the visit began, skipping any removed meanwhile.
template<class N>
class NotifieeList {
 public:
   void add( N* notifiee ) {
      if ( std::find( list_.begin(), list_.end(), notifiee ) == list_.end() ) {
         list_.push_back( notifiee );
      }
   }
   void remove( N* notifiee ) {
      list_.erase( std::remove( list_.begin(), list_.end(), notifiee ), list_.end() );
   }
   size_t size() const noexcept { return list_.size(); }
   bool empty() const noexcept { return list_.empty(); }
   void clear() noexcept { list_.clear(); }

   template<class Fn>
   void visit( Fn&& fn ) const {
      if ( list_.empty() ) {
         return;
      }
      const std::vector<N*> snapshot = list_;
      for ( N* n : snapshot ) {
         if ( std::find( list_.begin(), list_.end(), n ) != list_.end() ) {
            fn( n );
         }
      }
   }

 private:
   std::vector<N*> list_;
};

} // namespace Kel
