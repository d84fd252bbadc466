// OvBgp/OvBgpCommunity.h: the 8-octet extended community. ExtCommContent is
// the raw value, ExtComm the one interned, immutable object per content and
// table, typed by the parse rules (route target, link bandwidth, ...) and
// printable in every text form; ExtCommDedupTable is the table that interns
// them and keeps the set of interned route targets. The 20-octet
// IPv6-address-specific value and its table come with this header too, so
// that it brings every value kind.
//
//   auto table = extCommDedupTableFactory( container->extCommParser() );
//   ExtComm::PtrConst rt = ExtComm::dedupContent( table.ptr(), ExtCommContent( 0x0002fde800000064 ) );
#pragma once

#include <iosfwd>

#include "Bex/DedupHashTable.h"
#include "Kel/DenseBoolSet.h"
#include "Kel/Hash.h"
#include "Kel/Ptr.h"
#include "Kel/String.h"
#include "Kel/Types.h"
#include "KelStow/DedupHandle.h"
#include "OvBgp/ExtCommIp6.h"
#include "OvBgp/ExtCommIp6DedupTable.h"
#include "OvBgp/OvBgpCommunityPacketTypes.h"

namespace Bex {
class DumpContext;
}
namespace KelStow {
class StoreManager;
}
namespace OvFmt {
class DynamicBufferInterface;
}

namespace Routing::Bgp {

class BgpParseExtendedCommunityRule;
class NotifyingRouteTargetList;
class ExtCommDedupTable;

// ExtCommContent: the eight wire octets as one integer, type octet in bits
// 63..56 and subtype in 55..48; order and equality are the integer's.
struct ExtCommContent : Bex::DedupContentHandle {
   U64 value = 0;

   constexpr ExtCommContent() noexcept = default;
   constexpr explicit ExtCommContent( U64 v ) noexcept : value( v ) {}

   constexpr U8 typeOctet() const noexcept { return U8( value >> 56 ); }
   constexpr U8 subtypeOctet() const noexcept { return U8( value >> 48 ); }
   constexpr bool transitive() const noexcept { return !( value & ( U64( 0x40 ) << 56 ) ); }
   constexpr U32 localAdmin4Octets() const noexcept { return U32( value ); }
   constexpr U16 localAdmin2Octets() const noexcept { return U16( value ); }

   friend constexpr bool operator==( const ExtCommContent& a, const ExtCommContent& b ) noexcept {
      return a.value == b.value;
   }
   friend constexpr bool operator<( const ExtCommContent& a, const ExtCommContent& b ) noexcept {
      return a.value < b.value;
   }
};

// operator<<(): 0x and sixteen lower-case hex digits (0x0002fde800000064).
std::ostream& operator<<( std::ostream& os, const ExtCommContent& content );
// valueToStrep() / sequenceToValue(): the decimal number.
Kel::String valueToStrep( const ExtCommContent& content );
void sequenceToValue( const char* begin, const char* end, ExtCommContent* content );

// ExtComm: an interned extended community. Its classification lives in the
// handle's user-data word; typed communities derive from it (or from
// ExtCommSubtyped) and override the text forms.
class ExtComm : public Bex::KeyedMember<KelStow::DedupHandle> {
 public:
   using Ptr = Kel::Ptr<ExtComm>;
   using PtrConst = Kel::Ptr<const ExtComm>;

   // StrepFormat: the six flags that select a text form.
   class StrepFormat {
    public:
      enum Flag : U8 {
         strepFormatDefault = 1,
         strepFormatClassification = 2,
         strepFormatUI = 4,
         strepFormatJson = 8,
         strepFormatAsdot = 16,
         strepFormatLinkBwWeighted = 32,
      };

      constexpr StrepFormat() noexcept = default;
      constexpr StrepFormat( Flag flag ) noexcept : bits_( flag ) {}
      // StrepFormat(octet): an octet above 63 is a range error.
      explicit StrepFormat( unsigned octet ) : bits_( Kel::denseBoolSetChecked( octet, 6 ) ) {}
      // StrepFormat(begin, end): parses the reflective form.
      StrepFormat( const char* begin, const char* end );

      constexpr U8 value() const noexcept { return bits_; }
      constexpr bool has( Flag flag ) const noexcept { return bits_ & flag; }
      // classificationAndUI(): both flags set, the condition of every UI form.
      constexpr bool classificationAndUI() const noexcept {
         constexpr unsigned both = unsigned( strepFormatClassification ) | strepFormatUI;
         return ( bits_ & both ) == both;
      }
      friend constexpr StrepFormat operator|( StrepFormat a, StrepFormat b ) noexcept {
         return StrepFormat( U8( a.bits_ | b.bits_ ), 0 );
      }
      friend constexpr StrepFormat operator|( Flag a, Flag b ) noexcept {
         return StrepFormat( U8( unsigned( a ) | unsigned( b ) ), 0 );
      }
      constexpr bool operator==( const StrepFormat& ) const noexcept = default;

    private:
      constexpr StrepFormat( U8 bits, int ) noexcept : bits_( bits ) {}
      U8 bits_ = 0;
   };
   using enum StrepFormat::Flag;

   ExtComm( ExtCommClassification classification, const ExtCommContent& content ) noexcept;

   ExtCommContent getContent() const noexcept { return content_; }
   // community(): the 64-bit content, the key lists sort and search by.
   U64 community() const noexcept { return content_.value; }
   ExtCommClassification classification() const noexcept {
      return ExtCommClassification( userData() & 0xFF );
   }

   // The interning identity: the content alone.
   U32 hash() const override { return Kel::hashSingleAttr( 0, content_.value ); }
   // dedupKey(): the content itself: the table is keyed, so that a hit
   // never touches a value.
   U64 dedupKey() const noexcept override { return content_.value; }
   // placementHash(): the content under the table's key; dedupContent()
   // computes the same from a bare content.
   U32 placementHash( const Kel::HashKey& key ) const override {
      return placementOf( key, content_.value );
   }
   static U32 placementOf( const Kel::HashKey& key, U64 content ) noexcept {
      return Kel::keyedHash32( key, content );
   }
   bool compare( const Bex::DedupHandle* other ) const override;
   bool compareByContent( const Bex::DedupContentHandle& content ) const override;

   // isLinkBandwidthWithUnspecifiedAsNumber(): true only for a link
   // bandwidth community of AS 0.
   virtual bool isLinkBandwidthWithUnspecifiedAsNumber() const { return false; }
   // pktSubtype(): unspecified here; the subtype octet in ExtCommSubtyped.
   virtual BgpExtCommPktSubtype pktSubtype() const;
   // formatDerivedType(): the debugging form, <type [subtype] 0x...>.
   virtual void formatDerivedType( std::ostream& os ) const;
   // toStrepForPolicy(): the policy and UI forms selected by format.
   virtual Kel::String toStrepForPolicy( StrepFormat format ) const;
   // appendStrepForPolicy(): the same text appended to a buffer; what typed
   // communities override, so that lists join many forms without
   // allocating per member.
   virtual void appendStrepForPolicy( StrepFormat format,
                                      OvFmt::DynamicBufferInterface& out ) const;
   // policyMatchStrepUI(): whether policy matches this community's UI form.
   virtual bool policyMatchStrepUI() const { return false; }
   // isValid(): false when a typed content breaks the rules of its type.
   virtual bool isValid() const { return true; }
   // isBetterThan(): the smaller content is the better one.
   virtual bool isBetterThan( const PtrConst& other ) const;

   // pktType(): the type octet when it names a member, else
   // extCommPktTypeUnknown.
   BgpExtCommPktType pktType() const noexcept;
   bool transitive() const noexcept { return content_.transitive(); }
   bool isLinkBandwidth() const noexcept {
      return classification() == extCommClassificationLinkBandwidth;
   }

   // pktSubtypeXxxString(): the subtype's member name (or subtype=N) under
   // the enumeration of the community's own type; asserts the type.
   Kel::String pktSubtypeTransTwoOctetAsString() const;
   Kel::String pktSubtypeTransIpv4AddressString() const;
   Kel::String pktSubtypeTransFourOctetAsString() const;
   Kel::String pktSubtypeTransOpaqueString() const;
   Kel::String pktSubtypeFlowspecRedirectNexthopString() const;
   Kel::String pktSubtypeEvpnString() const;
   Kel::String pktSubtypeTransGenericString() const;
   Kel::String pktSubtypeTransGenericPart2String() const;
   Kel::String pktSubtypeTransGenericPart3String() const;
   Kel::String pktSubtypeNonTransTwoOctetAsString() const;
   Kel::String pktSubtypeNonTransIpv4AddressString() const;
   Kel::String pktSubtypeNonTransFourOctetAsString() const;
   Kel::String pktSubtypeNonTransOpaqueString() const;

   // toStrep(): the debugging form as a string.
   Kel::String toStrep() const;
   // toStrepForUI(): the policy form with classification and UI set, plus
   // the asdot, weighted and JSON flags as asked.
   Kel::String toStrepForUI( bool formatAsDot, bool ucmpLinkbwWeighted, bool formatJson ) const;
   // formatCommunityValue(): the content as 0x and sixteen hex digits.
   void formatCommunityValue( std::ostream& os ) const;
   // formatSubtype(): the subtype label of the debugging form.
   void formatSubtype( std::ostream& os ) const;

   // dedupContent(): the one interned value for content in table; parses
   // only on a miss. The hit path is inline (below ExtCommDedupTable).
   static PtrConst dedupContent( const ExtCommDedupTable* table, const ExtCommContent& content );

   // stow() / destow(): the value's store image (classification and
   // content) and its rebuild as a plain ExtComm in no table.
   U64 stow( KelStow::StoreManager* store ) const override;
   static Ptr destow( const void* stored, KelStow::StoreManager* store );

 private:
   // dedupContentMiss(): dedupContent() once the lookup missed: parse and
   // intern.
   static PtrConst dedupContentMiss( const ExtCommDedupTable* table, ExtCommContent content );

   ExtCommContent content_;
};

// ExtCommSubtyped: a community whose type has a subtype octet.
class ExtCommSubtyped : public ExtComm {
 public:
   using Ptr = Kel::Ptr<ExtCommSubtyped>;
   using PtrConst = Kel::Ptr<const ExtCommSubtyped>;

   ExtCommSubtyped( ExtCommClassification classification, const ExtCommContent& content ) noexcept
         : ExtComm( classification, content ) {}
   static Ptr ExtCommSubtypedIs( ExtCommClassification classification,
                                 const ExtCommContent& content );

   BgpExtCommPktSubtype pktSubtype() const override;
};

// extCommFactory(): a new plain ExtComm, notification on, not interned.
ExtComm::Ptr extCommFactory( ExtCommClassification classification, const ExtCommContent& content );

// operator<<(): the debugging form; "NULL" for a null pointer.
std::ostream& operator<<( std::ostream& os, const ExtComm* extComm );
std::ostream& operator<<( std::ostream& os, const ExtComm& extComm );
std::ostream& operator<<( std::ostream& os, const ExtComm::StrepFormat& format );
Kel::String valueToStrep( const ExtComm::StrepFormat& format );

// ExtCommSortFn() / ExtCommCompareFn() / ExtCommSortFnValue(): the order
// of lists, by content.
inline bool ExtCommSortFn( const ExtComm::PtrConst& a, const ExtComm::PtrConst& b ) noexcept {
   return a->community() < b->community();
}
inline bool ExtCommCompareFn( const ExtComm::PtrConst& a, const ExtComm::PtrConst& b ) noexcept {
   return a->community() == b->community();
}
inline bool ExtCommSortFnValue( const ExtComm::PtrConst& a, U64 value ) noexcept {
   return a->community() < value;
}

// addExtCommTypeAsString(): the type label, e.g. 0002-AS or 0004-AS(NT).
void addExtCommTypeAsString( OvFmt::DynamicBufferInterface& buffer, std::string_view label,
                             U8 typeOctet, U8 subtypeOctet, bool transitive );
Kel::String extCommTypeAsString( std::string_view label, U8 typeOctet, U8 subtypeOctet,
                                 bool transitive );

// internedListHash(): the one-at-a-time hash over the addresses of interned
// members, in order; 0 for none. Only interned members have stable, unique
// addresses. With keep, only the members it accepts count: the hash a list
// of those members would have.
template<class Iter, class Keep>
U32 internedListHash( Iter begin, Iter end, Keep&& keep ) noexcept {
   U32 h = 0;
   bool any = false;
   for ( Iter it = begin; it != end; ++it ) {
      if ( !keep( *it ) ) {
         continue;
      }
      const auto* p = &**it;
      KEL_ASSERT_MSG(
            nullptr == ( p ) || ( p )->dedupState() != Bex::dedupHandleStateNeverDeduped(),
            "__null == ( p ) || ( p )->dedupState() != Bex::dedupHandleStateNeverDeduped()" );
      h = Kel::oneAtATimePointer( h, p );
      any = true;
   }
   return any ? Kel::oneAtATimeFinal( h ) : 0;
}
template<class Iter>
U32 internedListHash( Iter begin, Iter end ) noexcept {
   return internedListHash( begin, end, []( const auto& ) { return true; } );
}

// internedListPlacement(): where a table keyed with key places a list of
// interned members: SipHash-1-3 over their addresses, in order.
template<class Iter>
U32 internedListPlacement( const Kel::HashKey& key, Iter begin, Iter end ) noexcept {
   Kel::SipHasher hasher( key );
   for ( Iter it = begin; it != end; ++it ) {
      const U64 address = U64( reinterpret_cast<std::uintptr_t>( &**it ) );
      hasher.add( &address, sizeof( address ) );
   }
   return U32( hasher.result() );
}

// ExtCommLifeTimeNotifiee: keeps a route-target set equal to the route
// targets interned in one table.
class ExtCommLifeTimeNotifiee : public Bex::DedupHashTableLifeTimeNotifiee {
 public:
   using Ptr = Kel::Ptr<ExtCommLifeTimeNotifiee>;
   using PtrConst = Kel::Ptr<const ExtCommLifeTimeNotifiee>;

   explicit ExtCommLifeTimeNotifiee( const Kel::Ptr<NotifyingRouteTargetList>& producerRtList );
   ~ExtCommLifeTimeNotifiee() override;

   void handleInsert( const Bex::DedupHandle::Ptr& handle ) override;
   void handleRemove( Bex::DedupHandle* handle ) override;
   void handleNotificationStop( const Kel::Ptr<const Bex::DedupHashTableBase>& table ) override;

 private:
   Kel::Ptr<NotifyingRouteTargetList> producerRtList_;
};

// ExtCommDedupTable: the interning table of extended communities.
class ExtCommDedupTable : public Kel::PtrInterface {
 public:
   using Ptr = Kel::Ptr<ExtCommDedupTable>;
   using PtrConst = Kel::Ptr<const ExtCommDedupTable>;

   // ExtCommDedupTable(): thread-safe when OvBgpGlobals::multiThreaded() is
   // true now; the flag is read once.
   explicit ExtCommDedupTable( const Kel::Ptr<const BgpParseExtendedCommunityRule>& rule );
   ~ExtCommDedupTable() override;

   Kel::Ptr<const BgpParseExtendedCommunityRule> parseExtCommRule() const;
   const Kel::Ptr<NotifyingRouteTargetList>& producerRtList() const noexcept {
      return producerRtList_;
   }
   const Bex::KeyedDedupHashTable::Ptr& dedupTable() const noexcept { return dedupTable_; }
   const BgpParseExtendedCommunityRule* parseExtCommRuleRawPtr() const noexcept {
      return parseExtCommRule_.ptr();
   }

   void dumpState( const Bex::DumpContext& ctx, U32 indentCount ) const;

 private:
   void handleInitialized();

   Kel::Ptr<NotifyingRouteTargetList> producerRtList_;
   ExtCommLifeTimeNotifiee::Ptr lifeTimeNotifiee_;
   Bex::KeyedDedupHashTable::Ptr dedupTable_;
   Kel::Ptr<const BgpParseExtendedCommunityRule> parseExtCommRule_;
};

inline ExtComm::PtrConst ExtComm::dedupContent( const ExtCommDedupTable* table,
                                                const ExtCommContent& content ) {
   const Bex::KeyedDedupHashTable* set = table->dedupTable().ptr();
   Bex::DedupHandle::PtrConst found =
         set->lookupByKey( placementOf( set->hashKey(), content.value ), content.value );
   if ( found ) {
      return Kel::ptrCast<const ExtComm>( std::move( found ) );
   }
   return dedupContentMiss( table, content );
}

// extCommDedupTableFactory(): a new table around the top-level parse rule.
ExtCommDedupTable::Ptr extCommDedupTableFactory(
      const Kel::Ptr<const BgpParseExtendedCommunityRule>& parseExtCommRule );

} // namespace Routing::Bgp
