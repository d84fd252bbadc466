// Routing/RouteMap/CommListSnapshot.h: a mutable, counted copy of a list's
// communities for policy evaluation: an ordered map from community to a flag,
// one for standard (32-bit) and one for large (Acl::CommunityValue)
// communities. Iteration is ascending by key.
//
//   auto snapshot = Routing::RouteMap::commListSnapshotFactory();
//   snapshot->commIs( 0xFDE80064, true );  bool on = snapshot->comm( 0xFDE80064 );
#pragma once

#include "Acl/CommunityValue.h"
#include "Kel/Ptr.h"
#include "Kel/Types.h"

#include <cstddef>
#include <map>

namespace Routing::RouteMap {

// CommListSnapshot(): the two maps; made by CommListSnapshotIs().
class CommListSnapshot : public Kel::PtrInterface {
   struct Token {
      explicit Token() = default;
   };

 public:
   using Ptr = Kel::Ptr<CommListSnapshot>;
   using PtrConst = Kel::Ptr<const CommListSnapshot>;

   using CommMap = std::map<U32, bool>;
   using LargeCommMap = std::map<Acl::CommunityValue, bool>;
   // KelComm: what iterating the standard map yields: first is the community,
   // second its flag. KelLargeComm: the same for large communities.
   using KelComm = CommMap::value_type;
   using KelLargeComm = LargeCommMap::value_type;
   using CommIterator = CommMap::iterator;
   using CommConstIterator = CommMap::const_iterator;
   using LargeCommIterator = LargeCommMap::iterator;
   using LargeCommConstIterator = LargeCommMap::const_iterator;

   // CommListSnapshotIs(): a new, empty snapshot.
   static Ptr CommListSnapshotIs();
   explicit CommListSnapshot( Token ) {}

   // commIs(): inserts the community, or overwrites the flag of one present.
   void commIs( U32 community, bool value ) { comm_[ community ] = value; }
   void commIs( const Acl::CommunityValue& community, bool value ) {
      largeComm_[ community ] = value;
   }

   // comm(): the community's flag; false when it is absent.
   bool comm( U32 community ) const;
   bool comm( const Acl::CommunityValue& community ) const;

   // commDel(): removes the community and returns its flag (false when it was
   // absent); the iterator forms return the entry after the one removed.
   bool commDel( U32 community );
   bool commDel( const Acl::CommunityValue& community );
   CommIterator commDel( CommConstIterator entry ) { return comm_.erase( entry ); }
   LargeCommIterator commDel( LargeCommConstIterator entry ) { return largeComm_.erase( entry ); }
   // commDelAll(): empties both maps.
   void commDelAll();

   // commCount() / largeCommCount(): entries in each map.
   size_t commCount() const { return comm_.size(); }
   size_t largeCommCount() const { return largeComm_.size(); }

   // Iteration, ascending by community.
   CommIterator commBegin() { return comm_.begin(); }
   CommIterator commEnd() { return comm_.end(); }
   CommConstIterator commBegin() const { return comm_.begin(); }
   CommConstIterator commEnd() const { return comm_.end(); }
   LargeCommIterator largeCommBegin() { return largeComm_.begin(); }
   LargeCommIterator largeCommEnd() { return largeComm_.end(); }
   LargeCommConstIterator largeCommBegin() const { return largeComm_.begin(); }
   LargeCommConstIterator largeCommEnd() const { return largeComm_.end(); }

 private:
   CommMap comm_;
   LargeCommMap largeComm_;
};

// commListSnapshotFactory(): the same as CommListSnapshot::CommListSnapshotIs().
CommListSnapshot::Ptr commListSnapshotFactory();

} // namespace Routing::RouteMap
