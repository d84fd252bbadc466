// KeptLists.h: the text a printer made of an interned list, kept beside the
// list for the next route that carries the same one (a RIB repeats a few
// thousand lists over millions of routes). Keyed by the list's identity, so
// the lookup by octets stays the library's dedupOctets(), and a slot holds a
// reference, so an address reused by another list can never show a stale
// text. Direct-mapped: a slot holds the last list that fell into it; the
// slots grow from a few hundred to maxSlots as misses show a dump needs them.
//
//   KeptLists<CommList> texts;
//   KeptList<CommList>& t = texts.of( CommList::dedupOctets( table, p, n ) );
#pragma once

#include "Kel/Types.h"
#include "tools/bgpcomm/InternedRoute.h"

#include <vector>

namespace Bgpcomm {

// KeptList: a list and the text a printer keeps of it.
template<class List>
struct KeptList {
   typename List::PtrConst list;
   KeptText kept;
};

// KeptLists
template<class List>
class KeptLists {
 public:
   static constexpr size_t firstSlots = 256;
   static constexpr size_t maxSlots = 16384;

   // of(): list's slot; its text is empty (form 0) when list is new to it.
   KeptList<List>& of( typename List::PtrConst list ) {
      if ( slots_.empty() )
         slots_.resize( firstSlots );
      KeptList<List>* s = &slots_[ indexOf( list.ptr() ) ];
      if ( s->list.ptr() == list.ptr() )
         return *s;
      if ( ++misses_ > slots_.size() && slots_.size() < maxSlots ) {
         // Dropping the slots loses nothing but texts made again.
         slots_ = std::vector<KeptList<List>>( slots_.size() * 4 );
         misses_ = 0;
         s = &slots_[ indexOf( list.ptr() ) ];
      }
      s->list = std::move( list );
      s->kept.form = 0;
      return *s;
   }

 private:
   // indexOf(): the address's bits above an object's alignment, multiplied
   // so that neighbours in memory spread over the slots.
   size_t indexOf( const void* p ) const {
      const U64 bits = U64( reinterpret_cast<uintptr_t>( p ) >> 4 ) * 0x9E3779B97F4A7C15ull;
      return size_t( bits >> 40 ) & ( slots_.size() - 1 );
   }

   std::vector<KeptList<List>> slots_;
   size_t misses_ = 0;
};

} // namespace Bgpcomm
