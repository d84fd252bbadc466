// OvBgp/ExtCommIp6.h: the 20-octet IPv6-address-specific extended community.
// ExtCommIp6Content is the raw value (type, subtype, IPv6 global administrator,
// 2-octet local administrator); ExtCommIp6 is its interned, immutable object,
// ExtCommIp6Subtyped the one whose type has a meaningful subtype octet.
//
//   ExtCommIp6Content c( 0x00, 0x02, Onet::Ip6Addr::parse( "2001:db8::1" ), 100 );
//   Kel::String text = extCommIp6Factory( extCommClassificationUnSpecified, c )->toStrep();
#pragma once

#include <iosfwd>
#include <string_view>

#include "Kel/DenseBoolSet.h"
#include "Kel/Ptr.h"
#include "Kel/String.h"
#include "Kel/Types.h"
#include "KelStow/DedupHandle.h"
#include "Onet/Ip6Addr.h"
#include "OvBgp/OvBgpCommunityPacketTypes.h"

namespace KelStow {
class StoreManager;
}
namespace OvFmt {
class DynamicBufferInterface;
}

namespace Routing::Bgp {

class ExtCommIp6DedupTable;

// ExtCommIp6Content: the 20 octets of the community. Ordered by type, then
// subtype, then address, then local administrator.
struct ExtCommIp6Content : Bex::DedupContentHandle {
   // transitiveFlag: the type octet's bit that marks a non-transitive type.
   static constexpr U8 transitiveFlag = 0x40;

   U8 typeOctet = 0;
   U8 subtypeOctet = 0;
   Onet::Ip6Addr addr;
   U16 localAdmin = 0;

   constexpr ExtCommIp6Content() noexcept = default;
   constexpr ExtCommIp6Content( U8 type, U8 subtype, const Onet::Ip6Addr& address,
                                U16 local ) noexcept
         : typeOctet( type ), subtypeOctet( subtype ), addr( address ), localAdmin( local ) {}

   // transitive(): the type octet's 0x40 bit is clear.
   constexpr bool transitive() const noexcept { return !( typeOctet & transitiveFlag ); }
   // isDefault(): all four fields zero (address ::).
   constexpr bool isDefault() const noexcept {
      return typeOctet == 0 && subtypeOctet == 0 && localAdmin == 0 && addr == Onet::Ip6Addr();
   }

   // hash(): one-at-a-time over the 20 octets: type, subtype, the address in
   // stored order, then localAdmin low octet first.
   U32 hash() const noexcept;
   // storeWire(): the 20 octets in wire order at out (the local
   // administrator in network order).
   void storeWire( U8* out ) const noexcept;
   // placementHash(): SipHash-1-3 of the 20 wire octets under key, where
   // an interning table keyed with key places this content.
   U32 placementHash( const Kel::HashKey& key ) const noexcept;

   friend constexpr bool operator==( const ExtCommIp6Content& a,
                                     const ExtCommIp6Content& b ) noexcept {
      return a.typeOctet == b.typeOctet && a.subtypeOctet == b.subtypeOctet && a.addr == b.addr &&
             a.localAdmin == b.localAdmin;
   }
   friend constexpr bool operator<( const ExtCommIp6Content& a,
                                    const ExtCommIp6Content& b ) noexcept {
      if ( a.typeOctet != b.typeOctet ) {
         return a.typeOctet < b.typeOctet;
      }
      if ( a.subtypeOctet != b.subtypeOctet ) {
         return a.subtypeOctet < b.subtypeOctet;
      }
      if ( a.addr == b.addr ) {
         return a.localAdmin < b.localAdmin;
      }
      return a.addr < b.addr;
   }
};

// operator<<() / valueToStrep(): the content form
// "type=<octet>;subtype=<octet>;addr=<address>;localAdmin=<decimal>", each
// octet written as one raw character.
std::ostream& operator<<( std::ostream& os, const ExtCommIp6Content& content );
Kel::String valueToStrep( const ExtCommIp6Content& content );
// sequenceToValue() / strepToValue(): read the content form back; a missing
// literal or a bad field throws Kel::ParseException naming the field.
void sequenceToValue( const char* begin, const char* end, ExtCommIp6Content* content );
void strepToValue( const Kel::String& text, ExtCommIp6Content* content );

// ExtCommIp6: an interned IPv6-address-specific extended community. The
// classification the parse rules gave it is kept beside the content; it
// takes no part in identity.
class ExtCommIp6 : public KelStow::DedupHandle {
 public:
   using Ptr = Kel::Ptr<ExtCommIp6>;
   using PtrConst = Kel::Ptr<const ExtCommIp6>;

   // StrepFormat: the five flags that select a text form. There is no JSON
   // flag, so asdot and weighted sit one bit lower than in ExtComm's set.
   class StrepFormat {
    public:
      enum Flag : U8 {
         strepFormatDefault = 0x01,
         strepFormatClassification = 0x02,
         strepFormatUI = 0x04,
         strepFormatAsdot = 0x08,
         strepFormatLinkBwWeighted = 0x10,
      };

      constexpr StrepFormat() noexcept = default;
      constexpr StrepFormat( Flag flag ) noexcept : bits_( flag ) {}
      // StrepFormat(octet): an octet above 31 is a range error.
      explicit StrepFormat( unsigned octet ) : bits_( Kel::denseBoolSetChecked( octet, 5 ) ) {}
      // StrepFormat(begin, end): parses the reflective form.
      StrepFormat( const char* begin, const char* end );

      constexpr U8 value() const noexcept { return bits_; }
      constexpr bool has( Flag flag ) const noexcept { return bits_ & flag; }
      // classificationAndUI(): both flags set, the one pair that changes an
      // IPv6 community's text.
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

   ExtCommIp6( ExtCommClassification classification, const ExtCommIp6Content& content ) noexcept;

   // ExtCommIp6Is(): a new plain ExtCommIp6, notification on, not interned.
   static Ptr ExtCommIp6Is( ExtCommClassification classification,
                            const ExtCommIp6Content& content );

   // content() / community() / getContent(): a copy of the 20 octets.
   ExtCommIp6Content content() const noexcept { return content_; }
   ExtCommIp6Content community() const noexcept { return content_; }
   ExtCommIp6Content getContent() const noexcept { return content_; }
   ExtCommClassification classification() const noexcept { return classification_; }
   bool transitive() const noexcept { return content_.transitive(); }

   // The interning identity: the content alone, never the classification.
   U32 hash() const override { return content_.hash(); }
   U32 placementHash( const Kel::HashKey& key ) const override {
      return content_.placementHash( key );
   }
   bool compare( const Bex::DedupHandle* other ) const override;
   bool compareByContent( const Bex::DedupContentHandle& content ) const override;

   // pktSubtype(): unspecified here; the subtype octet in ExtCommIp6Subtyped.
   virtual BgpExtCommPktSubtype pktSubtype() const;
   // formatDerivedType(): <type [subtype] addr=... localAdmin=...>.
   virtual void formatDerivedType( std::ostream& os ) const;
   // toStrepForPolicy(): [0002-IP6(NT):]address:localAdmin, the label only
   // when classification and UI are both set.
   virtual Kel::String toStrepForPolicy( StrepFormat format ) const;
   // appendStrepForPolicy(): the same text appended to a buffer, so that
   // lists join their members' forms without a string per member.
   virtual void appendStrepForPolicy( StrepFormat format,
                                      OvFmt::DynamicBufferInterface& out ) const;

   // pktType(): the type octet when it names a member (0x00, 0x40), else
   // extCommIp6PktTypeUnknown.
   BgpExtCommIp6PktType pktType() const noexcept;

   // pktSubtypeXxxAsString(): the subtype's member name (or subtype=N)
   // under the enumeration of the community's own type; asserts the type
   // and a specified subtype.
   Kel::String pktSubtypeTransIpv6AddressAsString() const;
   Kel::String pktSubtypeNonTransIpv6AddressAsString() const;

   // formatSubtype(): the subtype label of the debugging form.
   void formatSubtype( std::ostream& os ) const;
   // toStrep(): the debugging form as a string.
   Kel::String toStrep() const;

   // dedupContent(): the one interned value for content in table.
   static PtrConst dedupContent( const ExtCommIp6DedupTable* table,
                                 const ExtCommIp6Content& content );

   // stow() / destow(): the store image (classification and content) and
   // its rebuild as a plain ExtCommIp6 in no table.
   U64 stow( KelStow::StoreManager* store ) const override;
   static Ptr destow( const void* stored, const Kel::Ptr<KelStow::StoreManager>& store );

 private:
   ExtCommClassification classification_;
   ExtCommIp6Content content_;
};

// ExtCommIp6Subtyped: a community whose type carries a subtype octet.
class ExtCommIp6Subtyped : public ExtCommIp6 {
 public:
   using Ptr = Kel::Ptr<ExtCommIp6Subtyped>;
   using PtrConst = Kel::Ptr<const ExtCommIp6Subtyped>;

   ExtCommIp6Subtyped( ExtCommClassification classification,
                       const ExtCommIp6Content& content ) noexcept
         : ExtCommIp6( classification, content ) {}
   // ExtCommIp6SubtypedIs(): a new subtyped value, notification on.
   static Ptr ExtCommIp6SubtypedIs( ExtCommClassification classification,
                                    const ExtCommIp6Content& content );

   BgpExtCommPktSubtype pktSubtype() const override;
};

// extCommIp6Factory(): a new plain ExtCommIp6, notification on, not interned.
ExtCommIp6::Ptr extCommIp6Factory( ExtCommClassification classification,
                                   const ExtCommIp6Content& content );

// operator<<(): the debugging form; "NULL" for a null pointer.
std::ostream& operator<<( std::ostream& os, const ExtCommIp6* extComm );
std::ostream& operator<<( std::ostream& os, const ExtCommIp6& extComm );

// valueToStrep() / sequenceToValue() / operator<<() of StrepFormat: the
// reflective form of the five flags.
Kel::String valueToStrep( const ExtCommIp6::StrepFormat& format );
void sequenceToValue( const char* begin, const char* end, ExtCommIp6::StrepFormat* format );
std::ostream& operator<<( std::ostream& os, const ExtCommIp6::StrepFormat& format );

} // namespace Routing::Bgp
