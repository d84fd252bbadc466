#include "OvBgp/ExtCommIp6ClassificationList.h"

#include <algorithm>
#include <ostream>
#include <sstream>

#include "Kel/Assert.h"
#include "Kel/Exception.h"
#include "Kel/Hash.h"
#include "OvBgp/ExtCommIp6ListDedupTable.h"
#include "OvBgp/OvBgpCommunity.h"
#include "OvBgp/OvBgpCommunityListImpl.h"

namespace Routing::Bgp {

namespace {

// Up to this many members the sort is an insertion sort: stable, and
// without the scratch buffer a merge sort would allocate on every dedup.
constexpr size_t kInsertionSortMax = 32;

bool contentLess( const ExtCommIp6::PtrConst& a, const ExtCommIp6::PtrConst& b ) noexcept {
   return a->community() < b->community();
}

bool contentEqual( const ExtCommIp6::PtrConst& a, const ExtCommIp6::PtrConst& b ) noexcept {
   return a->community() == b->community();
}

} // namespace

// ---- member vectors ---------------------------------------------------------

void extCommIp6VectorSort( ListMembers<ExtCommIp6::PtrConst>& comms ) {
   // Stable, so that of members equal in content (which can differ in
   // classification) the one appended first is the one kept.
   ExtCommIp6::PtrConst* begin = comms.mutableBegin();
   ExtCommIp6::PtrConst* end = comms.mutableEnd();
   if ( comms.size() <= kInsertionSortMax ) {
      for ( auto it = begin; it != end; ++it ) {
         auto at = std::upper_bound( begin, it, *it, contentLess );
         std::rotate( at, it, it + 1 );
      }
   } else {
      std::stable_sort( begin, end, contentLess );
   }
   comms.truncate( size_t( std::unique( begin, end, contentEqual ) - begin ) );
}

ExtCommIp6::PtrConst extCommIp6VectorLookup( std::span<const ExtCommIp6::PtrConst> comms,
                                             const ExtCommIp6Content& community ) {
   auto it =
         std::lower_bound( comms.begin(), comms.end(), community,
                           []( const ExtCommIp6::PtrConst& member, const ExtCommIp6Content& key ) {
                              return member->community() < key;
                           } );
   if ( it == comms.end() ) {
      return nullptr;
   }
   const ExtCommIp6::PtrConst& extComm = *it;
   if ( extComm->community() == community ) {
      return extComm;
   }
   KEL_ASSERT_MSG( extComm->community() > community, "extComm->community() > community" );
   return nullptr;
}

// ---- ExtCommIp6ClassificationList -------------------------------------------

ExtCommIp6ClassificationList::~ExtCommIp6ClassificationList() = default;

ExtCommIp6ClassificationList::Ptr ExtCommIp6ClassificationList::ExtCommIp6ClassificationListIs(
      ExtCommClassification classification ) {
   return Kel::makeActivePtr<ExtCommIp6ClassificationList>( classification );
}

ExtCommIp6ClassificationList::Ptr extCommIp6ClassificationListFactory(
      ExtCommClassification classification ) {
   return ExtCommIp6ClassificationList::ExtCommIp6ClassificationListIs( classification );
}

ExtCommIp6ClassificationList::Ptr ExtCommIp6ClassificationList::withRoomFor(
      ExtCommClassification classification, U32 count ) {
   auto* list = newWithRoom<ExtCommIp6ClassificationList>( count * sizeof( ExtCommIp6::PtrConst ),
                                                           classification );
   list->comm_.useRoom( roomOf<ExtCommIp6::PtrConst>( list ), count );
   list->hasNotificationActiveIs( true );
   return Ptr( list );
}

void ExtCommIp6ClassificationList::commIs( const ExtCommIp6::PtrConst& comm ) {
   assertInternedMember( comm.ptr(), "OvBgp/ExtCommIp6ClassificationList" );
   comm_.push_back( comm );
}

ExtCommIp6ClassificationList::PtrConst ExtCommIp6ClassificationList::dedup(
      const ExtCommIp6ListDedupTable* table ) {
   extCommIp6VectorSort( comm_ );
   commVectorSorted_ = true;
   Bex::DedupHandle::PtrConst interned = table->extCommIp6ClassificationListDedupTable()->dedup(
         Bex::DedupHandle::PtrConst( this ), []( Bex::DedupHandle* inserted ) {
            // An interned list keeps no spare room.
            static_cast<ExtCommIp6ClassificationList*>( inserted )->comm_.trim();
         } );
   return Kel::ptrCast<const ExtCommIp6ClassificationList>( std::move( interned ) );
}

ExtCommIp6::PtrConst ExtCommIp6ClassificationList::comm( const ExtCommIp6Content& content ) const {
   KEL_ASSERT_MSG( commVectorSorted_, "commVectorSorted" );
   return extCommIp6VectorLookup( comm_, content );
}

U32 ExtCommIp6ClassificationList::hash() const {
   KEL_ASSERT_MSG( commVectorSorted_, "commVectorSorted()" );
   U32 h = 0;
   for ( const ExtCommIp6::PtrConst& member : comm_ ) {
      const ExtCommIp6* p = member.ptr();
      KEL_ASSERT_MSG(
            nullptr == ( p ) || ( p )->dedupState() != Bex::dedupHandleStateNeverDeduped(),
            "__null == ( p ) || ( p )->dedupState() != Bex::dedupHandleStateNeverDeduped()" );
      h = Kel::oneAtATimePointer( h, p );
   }
   return comm_.empty() ? 0 : Kel::oneAtATimeFinal( h );
}

U32 ExtCommIp6ClassificationList::placementHash( const Kel::HashKey& key ) const {
   KEL_ASSERT_MSG( commVectorSorted_, "commVectorSorted()" );
   return placementHashOf( key, comm_ );
}

U32 ExtCommIp6ClassificationList::placementHashOf(
      const Kel::HashKey& key, std::span<const ExtCommIp6::PtrConst> members ) noexcept {
   return internedListPlacement( key, members.begin(), members.end() );
}

bool ExtCommIp6ClassificationList::compare( const Bex::DedupHandle* other ) const {
   KEL_ASSERT_MSG( commVectorSorted_, "commVectorSorted()" );
   const auto* rhs = static_cast<const ExtCommIp6ClassificationList*>( other );
   return comm_ == rhs->comm_;
}

Kel::Ptr<ExtCommIp6ClassificationListSnapshot> ExtCommIp6ClassificationList::commSnapshot() const {
   auto snapshot = extCommIp6ClassificationListSnapshotFactory( classification_ );
   for ( const ExtCommIp6::PtrConst& comm : comm_ ) {
      snapshot->commIs( comm );
   }
   return snapshot;
}

Kel::String ExtCommIp6ClassificationList::toStrep() const {
   std::ostringstream os;
   os << this;
   return os.str();
}

std::ostream& operator<<( std::ostream& os, const ExtCommIp6ClassificationList* list ) {
   const std::ios_base::fmtflags flags = os.flags();
   if ( !list ) {
      os << "NULL";
   } else {
      os << list->classification() << " : ";
      writeMembers( os, list->commVector() );
   }
   os.flags( flags );
   return os;
}

std::ostream& operator<<( std::ostream& os, const ExtCommIp6ClassificationList& list ) {
   return os << &list;
}

// ---- ExtCommIp6ClassificationListSnapshot -----------------------------------

ExtCommIp6ClassificationListSnapshot::Ptr
ExtCommIp6ClassificationListSnapshot::ExtCommIp6ClassificationListSnapshotIs(
      ExtCommClassification classification ) {
   return Kel::makeActivePtr<ExtCommIp6ClassificationListSnapshot>( classification );
}

ExtCommIp6ClassificationListSnapshot::Ptr extCommIp6ClassificationListSnapshotFactory(
      ExtCommClassification classification ) {
   return ExtCommIp6ClassificationListSnapshot::ExtCommIp6ClassificationListSnapshotIs(
         classification );
}

} // namespace Routing::Bgp
