#include "OvBgp/ExtCommIp6.h"

#include <cstring>
#include <ostream>
#include <sstream>

#include "Kel/Assert.h"
#include "Kel/Exception.h"
#include "Kel/Hash.h"
#include "Kel/Strep.h"
#include "KelStow/StoreManager.h"
#include "OvBgp/OvBgpCommunity.h"
#include "OvFmt/DynamicBuffer.h"
#include "Routing/Bgp/NetworkOrder.h"

namespace Routing::Bgp {

namespace {

// The stream's formatting state is the caller's: saved before a form is
// written and restored after. The width is not restored: like any formatted
// output, the form consumes it.
class StreamStateSaver {
 public:
   explicit StreamStateSaver( std::ostream& os )
         : os_( os ), flags_( os.flags() ), fill_( os.fill() ), precision_( os.precision() ) {}
   ~StreamStateSaver() {
      os_.flags( flags_ );
      os_.fill( fill_ );
      os_.precision( precision_ );
   }

 private:
   std::ostream& os_;
   std::ios_base::fmtflags flags_;
   char fill_;
   std::streamsize precision_;
};

constexpr std::string_view kStrepFormatNames[] = {
   "strepFormatDefault", "strepFormatClassification", "strepFormatUI",
   "strepFormatAsdot",   "strepFormatLinkBwWeighted",
};
constexpr std::string_view kStrepFormatName = "Routing::Bgp::ExtCommIp6::StrepFormat";

// Store image of one IPv6 extended community.
constexpr U32 kExtCommIp6StowTag = 0x45433631; // "EC61"
constexpr U16 kExtCommIp6StowVersion = 1;
struct StowedExtCommIp6 {
   KelStow::Anchor anchor;
   U8 classification;
   U8 typeOctet;
   U8 subtypeOctet;
   U8 reserved;
   U16 localAdmin;
   U16 reserved2;
   U8 addr[ 16 ];
};
static_assert( sizeof( StowedExtCommIp6 ) == 32, "the image is part of the store format" );

// appendAddress(): the address text, written straight into the buffer when
// its free room holds the longest form, else through a small stack copy so
// that a nearly full buffer grows only by what the text needs.
void appendAddress( OvFmt::DynamicBufferInterface& out, const Onet::Ip6Addr& addr ) {
   if ( out.capacity() - out.size() >= Onet::Ip6Addr::maxTextLength ) {
      out.commit( addr.toChars( out.reserve( Onet::Ip6Addr::maxTextLength ) ) );
      return;
   }
   char text[ Onet::Ip6Addr::maxTextLength ];
   out.append( std::string_view( text, addr.toChars( text ) ) );
}

void appendContent( OvFmt::DynamicBufferInterface& out, const ExtCommIp6Content& content ) {
   out.append( "type=" );
   out.append( char( content.typeOctet ) );
   out.append( ";subtype=" );
   out.append( char( content.subtypeOctet ) );
   out.append( ";addr=" );
   appendAddress( out, content.addr );
   out.append( ";localAdmin=" );
   out.appendDecimal( content.localAdmin );
}

// ContentReader: reads the content form field by field; every failure is a
// ParseException naming the field being read.
class ContentReader {
 public:
   ContentReader( const char* begin, const char* end ) : pos_( begin ), end_( end ) {}

   void literal( std::string_view text, const char* field ) {
      if ( rest().substr( 0, text.size() ) != text ) {
         fail( field, "expected '" + Kel::String( text ) + "'" );
      }
      pos_ += text.size();
   }
   U8 octet( const char* field ) {
      if ( pos_ == end_ ) {
         fail( field, "expected one octet" );
      }
      return U8( *pos_++ );
   }
   // upTo(): the text before the next occurrence of stop, which is left
   // unread; the rest of the input when stop does not occur.
   std::string_view upTo( char stop ) {
      std::string_view text = rest();
      text = text.substr( 0, text.find( stop ) );
      pos_ += text.size();
      return text;
   }
   std::string_view rest() const { return std::string_view( pos_, size_t( end_ - pos_ ) ); }

   [[noreturn]] void fail( const char* field, const Kel::String& what ) const {
      throw Kel::ParseException( field,
                                 what + " at '" + Kel::String( rest().substr( 0, 40 ) ) + "'" );
   }

 private:
   const char* pos_;
   const char* end_;
};

} // namespace

// ---- ExtCommIp6Content ---------------------------------------------------

U32 ExtCommIp6Content::hash() const noexcept {
   U32 h = Kel::oneAtATime( 0, typeOctet );
   h = Kel::oneAtATime( h, subtypeOctet );
   h = Kel::oneAtATimeBytes( h, addr.data(), 16 );
   h = Kel::oneAtATime( h, U8( localAdmin ) );
   h = Kel::oneAtATime( h, U8( localAdmin >> 8 ) );
   return Kel::oneAtATimeFinal( h );
}

void ExtCommIp6Content::storeWire( U8* out ) const noexcept {
   out[ 0 ] = typeOctet;
   out[ 1 ] = subtypeOctet;
   std::memcpy( out + 2, addr.data(), 16 );
   storeU16hton( out + 18, localAdmin );
}

U32 ExtCommIp6Content::placementHash( const Kel::HashKey& key ) const noexcept {
   U8 octets[ 20 ];
   storeWire( octets );
   return U32( Kel::sipHash13( key, octets, sizeof octets ) );
}

std::ostream& operator<<( std::ostream& os, const ExtCommIp6Content& content ) {
   OvFmt::DynamicBuffer<80> buf;
   appendContent( buf, content );
   return os.write( buf.data(), std::streamsize( buf.size() ) );
}

Kel::String valueToStrep( const ExtCommIp6Content& content ) {
   OvFmt::DynamicBuffer<80> buf;
   appendContent( buf, content );
   return buf.str();
}

void sequenceToValue( const char* begin, const char* end, ExtCommIp6Content* content ) {
   ContentReader reader( begin, end );
   ExtCommIp6Content parsed;
   reader.literal( "type=", "type" );
   parsed.typeOctet = reader.octet( "type" );
   reader.literal( ";subtype=", "subtype" );
   parsed.subtypeOctet = reader.octet( "subtype" );
   reader.literal( ";addr=", "addr" );
   std::string_view addrText = reader.upTo( ';' );
   if ( !Onet::Ip6Addr::tryParse( addrText, &parsed.addr ) ) {
      throw Kel::ParseException( "addr", "expected an IPv6 address, found '" +
                                               Kel::String( addrText.substr( 0, 40 ) ) + "'" );
   }
   reader.literal( ";localAdmin=", "localAdmin" );
   std::string_view localText = reader.rest();
   try {
      Kel::sequenceToValue( localText.data(), localText.data() + localText.size(),
                            &parsed.localAdmin );
   } catch ( const Kel::ParseException& e ) {
      throw Kel::ParseException( "localAdmin", e.what() );
   }
   *content = parsed;
}

void strepToValue( const Kel::String& text, ExtCommIp6Content* content ) {
   sequenceToValue( text.data(), text.data() + text.size(), content );
}

// ---- StrepFormat ---------------------------------------------------------

ExtCommIp6::StrepFormat::StrepFormat( const char* begin, const char* end )
      : bits_( Kel::denseBoolSetParse( kStrepFormatName, kStrepFormatNames, begin, end ) ) {}

Kel::String valueToStrep( const ExtCommIp6::StrepFormat& format ) {
   return Kel::denseBoolSetStrep( kStrepFormatName, kStrepFormatNames, format.value() );
}

void sequenceToValue( const char* begin, const char* end, ExtCommIp6::StrepFormat* format ) {
   *format = ExtCommIp6::StrepFormat( begin, end );
}

std::ostream& operator<<( std::ostream& os, const ExtCommIp6::StrepFormat& format ) {
   return os << valueToStrep( format );
}

// ---- ExtCommIp6 ----------------------------------------------------------

ExtCommIp6::ExtCommIp6( ExtCommClassification classification,
                        const ExtCommIp6Content& content ) noexcept
      : classification_( classification ), content_( content ) {}

ExtCommIp6::Ptr ExtCommIp6::ExtCommIp6Is( ExtCommClassification classification,
                                          const ExtCommIp6Content& content ) {
   return Kel::makeActivePtr<ExtCommIp6>( classification, content );
}

bool ExtCommIp6::compare( const Bex::DedupHandle* other ) const {
   return static_cast<const ExtCommIp6*>( other )->content_ == content_;
}

bool ExtCommIp6::compareByContent( const Bex::DedupContentHandle& content ) const {
   return static_cast<const ExtCommIp6Content&>( content ) == content_;
}

BgpExtCommPktSubtype ExtCommIp6::pktSubtype() const { return BgpExtCommPktSubtype(); }

BgpExtCommIp6PktType ExtCommIp6::pktType() const noexcept {
   const auto type = BgpExtCommIp6PktType( content_.typeOctet );
   return bgpIsValidEnumMember( type ) ? type : extCommIp6PktTypeUnknown;
}

Kel::String ExtCommIp6::pktSubtypeTransIpv6AddressAsString() const {
   KEL_ASSERT_MSG( extCommIp6PktTypeTransIpv6Address_ == pktType(),
                   "extCommIp6PktTypeTransIpv6Address_ == pktType()" );
   KEL_ASSERT_MSG( !pktSubtype().isUnspecified(), "!pktSubtype().isUnspecified()" );
   return extCommSubtypeString<BgpExtCommIp6PktSubtypeTransIpv6Address>( content_.subtypeOctet );
}

Kel::String ExtCommIp6::pktSubtypeNonTransIpv6AddressAsString() const {
   KEL_ASSERT_MSG( extCommIp6PktTypeNonTransIpv6Address_ == pktType(),
                   "extCommIp6PktTypeNonTransIpv6Address_ == pktType()" );
   KEL_ASSERT_MSG( !pktSubtype().isUnspecified(), "!pktSubtype().isUnspecified()" );
   return extCommSubtypeString<BgpExtCommIp6PktSubtypeNonTransIpv6Address>( content_.subtypeOctet );
}

void ExtCommIp6::formatSubtype( std::ostream& os ) const {
   if ( pktSubtype().isUnspecified() ) {
      os << "unspecified";
      return;
   }
   switch ( content_.typeOctet ) {
      case extCommIp6PktTypeTransIpv6Address:
         os << pktSubtypeTransIpv6AddressAsString();
         break;
      case extCommIp6PktTypeNonTransIpv6Address:
         os << pktSubtypeNonTransIpv6AddressAsString();
         break;
      default:
         os << "none";
         break;
   }
}

void ExtCommIp6::formatDerivedType( std::ostream& os ) const {
   os << '<' << pktType();
   if ( !pktSubtype().isUnspecified() ) {
      os << ' ';
      formatSubtype( os );
   }
   // Numbers go through the buffer so that the caller's stream flags (hex,
   // width) cannot change the form.
   OvFmt::DynamicBuffer<80> buf;
   buf.append( " addr=" );
   appendAddress( buf, content_.addr );
   buf.append( " localAdmin=" );
   buf.appendDecimal( content_.localAdmin );
   buf.append( '>' );
   os.write( buf.data(), std::streamsize( buf.size() ) );
}

Kel::String ExtCommIp6::toStrepForPolicy( StrepFormat format ) const {
   OvFmt::DynamicBuffer<80> buf;
   appendStrepForPolicy( format, buf );
   return buf.str();
}

void ExtCommIp6::appendStrepForPolicy( StrepFormat format,
                                       OvFmt::DynamicBufferInterface& out ) const {
   if ( format.classificationAndUI() ) {
      addExtCommTypeAsString( out, "-IP6", content_.typeOctet, content_.subtypeOctet,
                              content_.transitive() );
      out.append( ':' );
   }
   appendAddress( out, content_.addr );
   out.append( ':' );
   out.appendDecimal( content_.localAdmin );
}

Kel::String ExtCommIp6::toStrep() const {
   std::ostringstream os;
   os << this;
   return os.str();
}

U64 ExtCommIp6::stow( KelStow::StoreManager* store ) const {
   const U64 offset = store->stowRecord( kExtCommIp6StowTag, kExtCommIp6StowVersion,
                                         sizeof( StowedExtCommIp6 ) );
   // The record arrives zeroed, reserved octets included.
   auto* image =
         static_cast<StowedExtCommIp6*>( store->translate( offset, sizeof( StowedExtCommIp6 ) ) );
   image->classification = U8( classification_ );
   image->typeOctet = content_.typeOctet;
   image->subtypeOctet = content_.subtypeOctet;
   image->localAdmin = content_.localAdmin;
   std::memcpy( image->addr, content_.addr.data(), sizeof( image->addr ) );
   return offset;
}

ExtCommIp6::Ptr ExtCommIp6::destow( const void* stored,
                                    const Kel::Ptr<KelStow::StoreManager>& store ) {
   const auto* image = static_cast<const StowedExtCommIp6*>(
         store->checkedRecord( store->offsetOf( stored ), kExtCommIp6StowTag,
                               kExtCommIp6StowVersion, sizeof( StowedExtCommIp6 ) ) );
   const ExtCommIp6Content content( image->typeOctet, image->subtypeOctet,
                                    Onet::Ip6Addr( image->addr ), image->localAdmin );
   Ptr value = ExtCommIp6Is( ExtCommClassification( image->classification ), content );
   value->dedupStateIs( Bex::dedupHandleStateStowed() );
   return value;
}

// ---- ExtCommIp6Subtyped --------------------------------------------------

ExtCommIp6Subtyped::Ptr ExtCommIp6Subtyped::ExtCommIp6SubtypedIs(
      ExtCommClassification classification, const ExtCommIp6Content& content ) {
   return Kel::makeActivePtr<ExtCommIp6Subtyped>( classification, content );
}

BgpExtCommPktSubtype ExtCommIp6Subtyped::pktSubtype() const {
   return BgpExtCommPktSubtype( getContent().subtypeOctet );
}

// ---- Free functions ------------------------------------------------------

ExtCommIp6::Ptr extCommIp6Factory( ExtCommClassification classification,
                                   const ExtCommIp6Content& content ) {
   return ExtCommIp6::ExtCommIp6Is( classification, content );
}

std::ostream& operator<<( std::ostream& os, const ExtCommIp6* extComm ) {
   StreamStateSaver saver( os );
   if ( !extComm ) {
      return os << "NULL";
   }
   if ( os.width() != 0 ) {
      // A field width pads the whole form, not its first piece.
      std::ostringstream text;
      extComm->formatDerivedType( text );
      return os << text.str();
   }
   extComm->formatDerivedType( os );
   return os;
}

std::ostream& operator<<( std::ostream& os, const ExtCommIp6& extComm ) { return os << &extComm; }

} // namespace Routing::Bgp
