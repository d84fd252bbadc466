// OvBgp/ExtCommList.h: the interned list of 8-octet extended communities a
// path carries. It holds its members once sorted by content and once split
// into interned classification lists; the split makes interning cheap (a
// list is hashed and compared through the identities of its parts) and lets
// callers ask for one kind without a scan. It also chooses what goes on the
// wire for a peer, prunes unusable values and matches policy expressions.
//
//   auto list = extCommListFactory();  list->commIs( ExtComm::dedupContent( values, c ) );
//   ExtCommList::PtrConst shared = list->dedup( listTable );  shared->serialize( s );
#pragma once

#include <iosfwd>
#include <map>
#include <span>
#include <vector>

#include "Kel/DenseBoolSet.h"
#include "KelStow/DedupHandle.h"
#include "OvBgp/ExtCommClassificationList.h"
#include "OvBgp/OvBgpCommunity.h"

namespace Acl {
class CommunityValue;
}
namespace Routing::RouteMap {
class PosixRegex;
}

namespace Routing::Bgp {

class ExtCommListDedupTable;
class ExtCommListSnapshot;

// ExtCommList: see the file comment. Its CommVectorAttrs live in the low six
// bits of the handle's user-data word. A list made for a known count holds
// its members in its own allocation (ListMembers.h).
class ExtCommList : public KelStow::DedupHandle, public RoomAllocated {
 public:
   using Ptr = Kel::Ptr<ExtCommList>;
   using PtrConst = Kel::Ptr<const ExtCommList>;
   using Table = ExtCommListDedupTable;
   using Value = ExtComm::PtrConst;

   // CommVectorAttrs: the summary flags of a list.
   class CommVectorAttrs {
    public:
      enum Flag : U8 {
         sorted = 1,
         hasLinkBandwidth = 2,
         hasLinkBandwidthWithUnspecifiedAsNumber = 4,
         hasOriginValidationState = 8,
         hasPolicyMatchStrepUICommunities = 16,
         hasPrunableValues = 32,
      };
      constexpr CommVectorAttrs() noexcept = default;
      // CommVectorAttrs(octet): 64 or more is a range error.
      explicit CommVectorAttrs( unsigned octet ) : bits_( Kel::denseBoolSetChecked( octet, 6 ) ) {}
      CommVectorAttrs( const char* begin, const char* end );
      constexpr U8 value() const noexcept { return bits_; }
      constexpr bool has( Flag flag ) const noexcept { return bits_ & flag; }
      constexpr void flagIs( Flag flag, bool on ) noexcept {
         bits_ = U8( on ? ( bits_ | flag ) : ( bits_ & ~flag ) );
      }
      constexpr bool operator==( const CommVectorAttrs& ) const noexcept = default;

    private:
      U8 bits_ = 0;
   };

   // Serialization: which members go on the wire.
   class Serialization {
    public:
      enum Flag : U8 { all = 1, transitive = 2, linkBandwidth = 4, originAsValidity = 8 };
      constexpr Serialization() noexcept = default;
      constexpr Serialization( Flag flag ) noexcept : bits_( flag ) {}
      // Serialization(octet): 16 or more is a range error.
      explicit Serialization( unsigned octet ) : bits_( Kel::denseBoolSetChecked( octet, 4 ) ) {}
      Serialization( const char* begin, const char* end );
      constexpr U8 value() const noexcept { return bits_; }
      constexpr bool has( Flag flag ) const noexcept { return bits_ & flag; }
      constexpr bool operator==( const Serialization& ) const noexcept = default;

    private:
      U8 bits_ = 0;
   };

   ExtCommList() noexcept = default;
   ~ExtCommList() override;
   static Ptr ExtCommListIs();
   // withRoomFor(): a new, empty list with room for the contents of count
   // members (contents()) and then the members, in its own allocation (the
   // factory's list grows its members on the heap).
   static Ptr withRoomFor( U32 count );

   // Building (before dedup).
   void expectedCommunityCountIs( U32 count ) { comm_.reserve( count ); }
   void commIs( const ExtComm::PtrConst& comm );
   // commIs( &&comm ): the same, taking comm's reference over (what
   // ExtComm::dedupContent() returns goes in without a count change).
   void commIs( ExtComm::PtrConst&& comm );
   void append( const PtrConst& other );
   void appendVector( std::span<const ExtComm::PtrConst> comms );
   void appendClassificationList( const ExtCommClassificationList::PtrConst& list );

   // Reading.
   ExtComm::PtrConst comm( U64 community ) const;
   ExtComm::PtrConst lookupExtComm( U64 community ) const { return comm( community ); }
   size_t comms() const noexcept { return comm_.size(); }
   bool empty() const noexcept { return comm_.empty(); }
   const ListMembers<ExtComm::PtrConst>& commVector() const noexcept { return comm_; }
   // contents(): the members' contents, kept by an interned list made for
   // a known count right after the object, before the members (so that a
   // received attribute is compared without reading a member, on the lines
   // that hold the header or the next one); null for any other list.
   const U64* contents() const noexcept {
      if ( !( userData() & kContentsFlag ) ) {
         return nullptr;
      }
      return roomOf<const U64>( this );
   }
   U32 totalCommunities() const;
   U32 totalTransitiveCommunities() const noexcept { return totalTransitiveCommunities_; }
   ExtCommClassificationList::PtrConst classificationList( ExtCommClassification c ) const;
   const ExtCommClassificationLists& classificationLists() const noexcept {
      return classificationLists_;
   }

   // The summary flags.
   CommVectorAttrs commVectorAttrs() const { return CommVectorAttrs( userData() & 0x3F ); }
   void commVectorAttrsIs( CommVectorAttrs attrs ) noexcept {
      userDataIs( ( userData() & ~0x3Fu ) | attrs.value() );
   }
   bool commVectorSorted() const { return commVectorAttrs().has( CommVectorAttrs::sorted ); }
   void commVectorSortedIs( bool sorted ) { flagIs( CommVectorAttrs::sorted, sorted ); }
   bool hasLinkBandwidth() const {
      return commVectorAttrs().has( CommVectorAttrs::hasLinkBandwidth );
   }
   bool hasLinkBandwidthWithUnspecifiedAsNumber() const {
      return commVectorAttrs().has( CommVectorAttrs::hasLinkBandwidthWithUnspecifiedAsNumber );
   }
   bool hasOriginValidationState() const {
      return commVectorAttrs().has( CommVectorAttrs::hasOriginValidationState );
   }
   bool hasPolicyMatchStrepUICommunities() const {
      return commVectorAttrs().has( CommVectorAttrs::hasPolicyMatchStrepUICommunities );
   }
   bool hasPrunableValues() const {
      return commVectorAttrs().has( CommVectorAttrs::hasPrunableValues );
   }

   // createClassificationListVector(): sorts, sets the flags and splits the
   // members by kind; outside dedupMode the parts are built complete
   // (stowed state) instead of being interned later.
   void createClassificationListVector( bool dedupMode );
   // dedup(): finishes the list and returns the one interned equal list.
   PtrConst dedup( const ExtCommListDedupTable* table );
   // dedupOctets(): the list dedup() gives for the values of a received
   // EXTENDED_COMMUNITIES attribute (8 octets a community, any order,
   // repeats allowed), its values interned through values. An interned
   // list is found without parsing, interning or allocating anything; on a
   // miss the values go through ExtComm::dedupContent(). A length that is
   // not a multiple of 8 throws Kel::RangeException.
   static PtrConst dedupOctets( const ExtCommListDedupTable* table, const ExtCommDedupTable* values,
                                const U8* octets, size_t length );
   // prune(): this list without the values its kinds would drop; null when
   // nothing remains.
   PtrConst prune( const ExtCommListDedupTable* table ) const;

   U32 hash() const override;
   // placementHash(): keyed SipHash-1-3 of the members' wire octets, so
   // that a received attribute in order hashes where it lies.
   U32 placementHash( const Kel::HashKey& key ) const override;
   bool compare( const Bex::DedupHandle* other ) const override;
   bool compareByContent( const Bex::DedupContentHandle& ) const override { return false; }

   // Wire form.
   static Serialization serialization( bool includeNonTransitive, bool includeLinkBandwidth,
                                       bool includeOriginAsValidity );
   static bool serializable( const ExtComm::PtrConst& comm, Serialization s );
   U32 serializableCommunities( Serialization s ) const;
   // serialize(): the EXTENDED_COMMUNITIES attribute, or "" with no member
   // to send; more members than one attribute holds (8,191) throw
   // Kel::RangeException.
   Kel::String serialize( Serialization s ) const;

   bool matchCommunitiesRegex( const Routing::RouteMap::PosixRegex* regex ) const;

   Kel::String toStrep() const;
   static Kel::String getStringValue( const Acl::CommunityValue& value );

   Kel::Ptr<ExtCommListSnapshot> snapshot() const;
   Kel::Ptr<ExtCommListSnapshot> commSnapshot() const { return snapshot(); }

   U64 stow( KelStow::StoreManager* store ) const override;
   static Ptr destow( const void* stored, KelStow::StoreManager* store );

 protected:
   // onZeroReferences(): a list that never entered a table (and made no
   // parts) becomes the thread's spare when it can; any other is freed.
   void onZeroReferences() const noexcept override;

 private:
   // kContentsFlag: the user-data bit above the summary flags that says
   // contents() are there.
   static constexpr U32 kContentsFlag = 0x40;
   // finishMembers(): the members' capacity down to their size, and their
   // contents written beside them when the room was made for exactly them;
   // runs as the list enters its table.
   void finishMembers();

   void flagIs( CommVectorAttrs::Flag flag, bool on ) {
      CommVectorAttrs attrs = commVectorAttrs();
      attrs.flagIs( flag, on );
      commVectorAttrsIs( attrs );
   }

   ListMembers<ExtComm::PtrConst> comm_;
   ExtCommClassificationLists classificationLists_;
   U32 totalTransitiveCommunities_ = 0;
};

ExtCommList::Ptr extCommListFactory();

std::ostream& operator<<( std::ostream& os, const ExtCommList* list );
std::ostream& operator<<( std::ostream& os, const ExtCommList& list );
Kel::String valueToStrep( const ExtCommList::CommVectorAttrs& attrs );
Kel::String valueToStrep( const ExtCommList::Serialization& serialization );

// ExtCommListSnapshot: an editable copy of a list: its classification lists
// by kind and its members by content (ListSnapshot.h).
class ExtCommListSnapshot : public ListSnapshot<ExtComm, U64, ExtCommClassificationList> {
 public:
   using Ptr = Kel::Ptr<ExtCommListSnapshot>;
   using PtrConst = Kel::Ptr<const ExtCommListSnapshot>;
   static Ptr ExtCommListSnapshotIs();
};

} // namespace Routing::Bgp
