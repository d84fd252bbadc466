#include "OvBgp/ExtCommClassificationList.h"

#include <algorithm>
#include <ostream>
#include <sstream>

#include "Kel/Exception.h"
#include "OvBgp/ExtCommListDedupTable.h"
#include "OvBgp/OvBgpCommunityListImpl.h"
#include "OvBgp/RtExtCommListNotification.h"

namespace Routing::Bgp {

namespace {

constexpr std::string_view kAttrsName = "Routing::Bgp::ExtCommClassificationList::CommVectorAttrs";
constexpr std::string_view kAttrsFlags[] = { "sorted", "hasPrunableValues" };

} // namespace

// ---- member vector helpers ------------------------------------------------

ExtComm::PtrConst extCommVectorLookup( bool commVectorSorted,
                                       std::span<const ExtComm::PtrConst> comms, U64 community ) {
   OVBGP_LIST_ASSERT( commVectorSorted, "commVectorSorted" );
   auto it = std::lower_bound( comms.begin(), comms.end(), community, ExtCommSortFnValue );
   if ( it == comms.end() ) {
      return nullptr;
   }
   const ExtComm::PtrConst& extComm = *it;
   if ( extComm->community() == community ) {
      return extComm;
   }
   OVBGP_LIST_ASSERT( extComm->community() > community, "extComm->community() > community" );
   return nullptr;
}

void extCommVectorSort( ListMembers<ExtComm::PtrConst>& comms ) {
   // Lambdas rather than the functions themselves: a function pointer made
   // every comparison of the sort an indirect call.
   using Comm = ExtComm::PtrConst;
   sortUnique(
         comms, []( const Comm& a, const Comm& b ) { return ExtCommSortFn( a, b ); },
         []( const Comm& a, const Comm& b ) { return ExtCommCompareFn( a, b ); } );
}

// ---- ExtCommClassificationList ------------------------------------------

ExtCommClassificationList::CommVectorAttrs::CommVectorAttrs( const char* begin, const char* end )
      : bits_( Kel::denseBoolSetParse( kAttrsName, kAttrsFlags, begin, end ) ) {}

Kel::String valueToStrep( const ExtCommClassificationList::CommVectorAttrs& attrs ) {
   return Kel::denseBoolSetStrep( kAttrsName, kAttrsFlags, attrs.value() );
}

ExtCommClassificationList::ExtCommClassificationList( ExtCommClassification classification ) {
   handleInit( classification );
}

ExtCommClassificationList::~ExtCommClassificationList() = default;

void ExtCommClassificationList::handleInit( ExtCommClassification classification ) {
   OVBGP_LIST_ASSERT( userData() == 0, "userData() == 0" );
   userDataIs( U32( classification ) );
}

ExtCommClassificationList::Ptr ExtCommClassificationList::ExtCommClassificationListIs(
      ExtCommClassification classification ) {
   return Kel::makeActivePtr<ExtCommClassificationList>( classification );
}

ExtCommClassificationList::Ptr extCommClassificationListFactory( ExtCommClassification c ) {
   return ExtCommClassificationList::ExtCommClassificationListIs( c );
}

ExtComm::PtrConst ExtCommClassificationList::comm( U64 community ) const {
   return extCommVectorLookup( commVectorSorted(), comm_, community );
}

void ExtCommClassificationList::commIs( const ExtComm::PtrConst& comm ) {
   comm_.push_back( comm );
   checkPrunable( comm );
}

void ExtCommClassificationList::checkPrunable( const ExtComm::PtrConst& comm ) {
   if ( !comm->isValid() ) {
      hasPrunableValuesIs( true );
   }
}

std::vector<ExtComm::PtrConst> ExtCommClassificationList::prune() const {
   std::vector<ExtComm::PtrConst> kept;
   for ( const auto& comm : comm_ ) {
      if ( comm->isValid() ) {
         kept.push_back( comm );
      }
   }
   return kept;
}

ExtCommClassificationList::PtrConst ExtCommClassificationList::dedup(
      const ExtCommListDedupTable* table ) {
   extCommVectorSort( comm_ );
   commVectorSortedIs( true );
   const Bex::DedupHashTable::Ptr& set = table->classificationListDedupTable( classification() );
   Bex::DedupHandle::PtrConst interned =
         set->dedup( Bex::DedupHandle::PtrConst( this ), []( Bex::DedupHandle* inserted ) {
            auto* list = static_cast<ExtCommClassificationList*>( inserted );
            list->comm_.trim();
         } );
   return Kel::ptrCast<const ExtCommClassificationList>( std::move( interned ) );
}

U32 ExtCommClassificationList::hash() const {
   OVBGP_LIST_ASSERT( commVectorSorted(), "commVectorSorted()" );
   return internedListHash( comm_.begin(), comm_.end() );
}

U32 ExtCommClassificationList::placementHash( const Kel::HashKey& key ) const {
   OVBGP_LIST_ASSERT( commVectorSorted(), "commVectorSorted()" );
   return placementHashOf( key, comm_ );
}

U32 ExtCommClassificationList::placementHashOf(
      const Kel::HashKey& key, std::span<const ExtComm::PtrConst> members ) noexcept {
   return internedListPlacement( key, members.begin(), members.end() );
}

bool ExtCommClassificationList::compare( const Bex::DedupHandle* other ) const {
   OVBGP_LIST_ASSERT( commVectorSorted(), "commVectorSorted()" );
   const auto* rhs = static_cast<const ExtCommClassificationList*>( other );
   return comm_ == rhs->comm_;
}

Kel::Ptr<ExtCommClassificationListSnapshot> ExtCommClassificationList::commSnapshot() const {
   auto snapshot = extCommClassificationListSnapshotFactory( classification() );
   for ( const auto& comm : comm_ ) {
      snapshot->commIs( comm );
   }
   return snapshot;
}

Kel::String ExtCommClassificationList::toStrep() const {
   std::ostringstream os;
   os << this;
   return os.str();
}

std::ostream& operator<<( std::ostream& os, const ExtCommClassificationList* list ) {
   if ( !list ) {
      return os;
   }
   os << list->classification() << " : ";
   bool first = true;
   for ( const auto& comm : list->commVector() ) {
      if ( !first ) {
         os << ' ';
      }
      first = false;
      os << comm.ptr();
   }
   return os;
}

std::ostream& operator<<( std::ostream& os, const ExtCommClassificationList& list ) {
   return os << &list;
}

// ---- RtExtCommClassificationList ------------------------------------------

RtExtCommClassificationList::RtExtCommClassificationList( ExtCommClassification classification )
      : ExtCommClassificationList( classification ) {}

RtExtCommClassificationList::~RtExtCommClassificationList() = default;

RtExtCommClassificationList::Ptr RtExtCommClassificationList::RtExtCommClassificationListIs(
      ExtCommClassification classification ) {
   return Kel::makeActivePtr<RtExtCommClassificationList>( classification );
}

RtExtCommClassificationList::Ptr rtExtCommClassificationListFactory( ExtCommClassification c ) {
   return RtExtCommClassificationList::RtExtCommClassificationListIs( c );
}

Kel::Ptr<RtExtCommListLifeTimeNotifier> RtExtCommClassificationList::getLifeTimeNotifier() const {
   return lifeTimeNotifier_;
}

void RtExtCommClassificationList::lifeTimeNotifierIs(
      const Kel::Ptr<RtExtCommListLifeTimeNotifier>& notifier ) {
   lifeTimeNotifier_ = notifier;
}

// ---- LinkBandwidthExtCommClassificationList -----------------------------

LinkBandwidthExtCommClassificationList::LinkBandwidthExtCommClassificationList()
      : ExtCommClassificationList( extCommClassificationLinkBandwidth ) {}

LinkBandwidthExtCommClassificationList::Ptr
LinkBandwidthExtCommClassificationList::LinkBandwidthExtCommClassificationListIs() {
   return Kel::makeActivePtr<LinkBandwidthExtCommClassificationList>();
}

LinkBandwidthExtCommClassificationList::Ptr linkBandwidthExtCommClassificationListFactory() {
   return LinkBandwidthExtCommClassificationList::LinkBandwidthExtCommClassificationListIs();
}

void LinkBandwidthExtCommClassificationList::checkPrunable( const ExtComm::PtrConst& comm ) {
   if ( comm->isValid() ) {
      // isBetterThan() answers whether its argument beats the value asked.
      if ( !best_ || comm->isBetterThan( best_ ) ) {
         best_ = comm;
      }
      if ( comms() < 2 ) {
         return;
      }
   }
   hasPrunableValuesIs( true );
}

std::vector<ExtComm::PtrConst> LinkBandwidthExtCommClassificationList::prune() const {
   if ( !best_ ) {
      return {};
   }
   return { best_ };
}

// ---- ExtCommClassificationLists -------------------------------------------

void ExtCommClassificationLists::insert( PtrConst classificationList ) {
   OVBGP_LIST_ASSERT( classificationList != nullptr, "classificationList != nullptr" );
   const ExtCommClassification classification = classificationList->classification();
   auto grown = std::make_unique<PtrConst[]>( size_t( count_ ) + 1 );
   size_t out = 0;
   size_t insertOffset = count_;
   for ( size_t in = 0; in < count_; ++in ) {
      const ExtCommClassification existingElementClassification = lists_[ in ]->classification();
      OVBGP_LIST_ASSERT( existingElementClassification != classification,
                         "existingElementClassification != classification" );
      if ( insertOffset == count_ && existingElementClassification > classification ) {
         insertOffset = out++;
      }
      grown[ out++ ] = std::move( lists_[ in ] );
   }
   grown[ insertOffset ] = std::move( classificationList );
   lists_ = std::move( grown );
   ++count_;
}

void ExtCommClassificationLists::replace( Iterator iter, PtrConst&& classificationList ) {
   OVBGP_LIST_ASSERT( classificationList != nullptr, "classificationList != nullptr" );
   OVBGP_LIST_ASSERT( iter != cend(), "iter != cend()" );
   OVBGP_LIST_ASSERT( ( *iter )->classification() == classificationList->classification(),
                      "( *iter )->classification() == classificationList->classification()" );
   PtrConst& slot = lists_[ iter - begin() ];
   std::swap( slot, classificationList );
}

ExtCommClassificationList* ExtCommClassificationLists::lookupRaw(
      ExtCommClassification classification ) const {
   for ( const PtrConst& list : *this ) {
      if ( list->classification() == classification ) {
         return const_cast<ExtCommClassificationList*>( list.ptr() );
      }
   }
   return nullptr;
}

ExtCommClassificationLists::PtrConst ExtCommClassificationLists::lookup(
      ExtCommClassification classification ) const {
   return lookupRaw( classification );
}

bool ExtCommClassificationLists::operator==( const ExtCommClassificationLists& rhs ) const {
   if ( count_ != rhs.count_ ) {
      return false;
   }
   Iterator rhsIter = rhs.begin();
   const Iterator rhsEnd = rhs.end();
   for ( const PtrConst& list : *this ) {
      OVBGP_LIST_ASSERT( rhsIter != rhsEnd, "rhsIter != rhsEnd" );
      if ( list != *rhsIter ) {
         return false;
      }
      ++rhsIter;
   }
   OVBGP_LIST_ASSERT( rhsIter == rhsEnd, "rhsIter == rhsEnd" );
   return true;
}

// ---- ExtCommClassificationListSnapshot -------------------------------------

ExtCommClassificationListSnapshot::Ptr
ExtCommClassificationListSnapshot::ExtCommClassificationListSnapshotIs(
      ExtCommClassification classification ) {
   return Kel::makeActivePtr<ExtCommClassificationListSnapshot>( classification );
}

ExtCommClassificationListSnapshot::Ptr extCommClassificationListSnapshotFactory(
      ExtCommClassification classification ) {
   return ExtCommClassificationListSnapshot::ExtCommClassificationListSnapshotIs( classification );
}

} // namespace Routing::Bgp
