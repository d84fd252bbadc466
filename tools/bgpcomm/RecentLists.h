// RecentLists.h: the lists recently interned for attribute octets, so that
// octets seen again (a RIB repeats a few thousand attributes over millions of
// routes) give their list without sorting, hashing and looking them up in the
// library's table again, and beside it the text a printer made of it.
// Direct-mapped: a slot holds the last octets that fell into it, and a miss
// only costs the lookup the table would have made anyway, so colliding octets
// slow nothing down beyond that. The slots grow from a few hundred to
// maxSlots as misses show the dump needs them.
//
//   RecentLists<CommList> recent;
//   if ( RecentList<CommList>* hit = recent.find( octets ) ) return hit->list;
//   return recent.put( octets, CommList::dedupOctets( table, octets.data(), octets.size() ) ).list;
#pragma once

#include "Kel/Types.h"
#include "tools/bgpcomm/InternedRoute.h"

#include <cstring>
#include <span>
#include <string>
#include <vector>

namespace Bgpcomm {

// RecentList: a list and the text a printer keeps of it.
template<class List>
struct RecentList {
   typename List::PtrConst list;
   KeptText kept;
};

// RecentLists
template<class List>
class RecentLists {
 public:
   static constexpr size_t firstSlots = 256;
   static constexpr size_t maxSlots = 16384;

   // find(): what was put for the same octets, or null.
   RecentList<List>* find( std::span<const U8> octets ) {
      hash_ = hashOf( octets );
      if ( slots_.empty() )
         return nullptr;
      Slot& s = slots_[ hash_ & ( slots_.size() - 1 ) ];
      if ( s.hash != hash_ || s.octets.size() != octets.size() || !s.recent.list ||
           std::memcmp( s.octets.data(), octets.data(), octets.size() ) != 0 ) {
         return nullptr;
      }
      return &s.recent;
   }

   // put(): list for octets, right after find() missed on them.
   RecentList<List>& put( std::span<const U8> octets, typename List::PtrConst list ) {
      if ( ++misses_ > slots_.size() && slots_.size() < maxSlots ) {
         // Dropping the slots loses nothing but hits; each list is still in its table.
         slots_ = std::vector<Slot>( slots_.empty() ? firstSlots : slots_.size() * 4 );
         misses_ = 0;
      }
      Slot& s = slots_[ hash_ & ( slots_.size() - 1 ) ];
      s.hash = hash_;
      s.octets.assign( reinterpret_cast<const char*>( octets.data() ), octets.size() );
      s.recent.list = std::move( list );
      s.recent.kept.form = 0;
      return s.recent;
   }

 private:
   struct Slot {
      U64 hash = 0;
      std::string octets; // a short attribute stays inside the slot
      RecentList<List> recent;
   };

   // hashOf(): eight octets a step, multiplied and folded; unkeyed, since a
   // collision only costs a miss.
   static U64 hashOf( std::span<const U8> octets ) {
      constexpr U64 odd = 0x9E3779B97F4A7C15ull;
      U64 h = octets.size() * odd;
      const U8* p = octets.data();
      size_t left = octets.size();
      for ( ; left >= 8; p += 8, left -= 8 ) {
         U64 word;
         std::memcpy( &word, p, 8 );
         h = ( h ^ word ) * odd;
         h ^= h >> 32;
      }
      if ( left ) {
         U64 word = 0;
         std::memcpy( &word, p, left );
         h = ( h ^ word ) * odd;
      }
      return h ^ ( h >> 29 );
   }

   std::vector<Slot> slots_;
   size_t misses_ = 0;
   U64 hash_ = 0; // of the octets last passed to find()
};

} // namespace Bgpcomm
