#include "OvBgp/OvBgpCommunity.h"

#include <ostream>
#include <sstream>

#include "Kel/Strep.h"
#include "OvFmt/DynamicBuffer.h"

namespace Routing::Bgp {

namespace {

constexpr std::string_view kStrepFormatNames[] = {
   "strepFormatDefault", "strepFormatClassification", "strepFormatUI",
   "strepFormatJson",    "strepFormatAsdot",          "strepFormatLinkBwWeighted",
};
constexpr std::string_view kStrepFormatName = "Routing::Bgp::ExtComm::StrepFormat";

void writeHexContent( OvFmt::DynamicBufferInterface& buf, U64 value ) {
   buf.append( "0x" );
   buf.appendHex( value, 16 );
}

} // namespace

// ---- ExtCommContent ----------------------------------------------------

std::ostream& operator<<( std::ostream& os, const ExtCommContent& content ) {
   OvFmt::DynamicBuffer<24> buf;
   writeHexContent( buf, content.value );
   return os.write( buf.data(), std::streamsize( buf.size() ) );
}

Kel::String valueToStrep( const ExtCommContent& content ) {
   return Kel::valueToStrep( content.value );
}

void sequenceToValue( const char* begin, const char* end, ExtCommContent* content ) {
   Kel::sequenceToValue( begin, end, &content->value );
}

// ---- StrepFormat ---------------------------------------------------------

ExtComm::StrepFormat::StrepFormat( const char* begin, const char* end )
      : bits_( Kel::denseBoolSetParse( kStrepFormatName, kStrepFormatNames, begin, end ) ) {}

Kel::String valueToStrep( const ExtComm::StrepFormat& format ) {
   return Kel::denseBoolSetStrep( kStrepFormatName, kStrepFormatNames, format.value() );
}

std::ostream& operator<<( std::ostream& os, const ExtComm::StrepFormat& format ) {
   return os << valueToStrep( format );
}

// ---- ExtComm -------------------------------------------------------------

ExtComm::ExtComm( ExtCommClassification classification, const ExtCommContent& content ) noexcept
      : content_( content ) {
   userDataIs( U32( classification ) );
}

bool ExtComm::compare( const Bex::DedupHandle* other ) const {
   return static_cast<const ExtComm*>( other )->content_ == content_;
}

bool ExtComm::compareByContent( const Bex::DedupContentHandle& content ) const {
   return static_cast<const ExtCommContent&>( content ) == content_;
}

BgpExtCommPktSubtype ExtComm::pktSubtype() const { return BgpExtCommPktSubtype(); }

BgpExtCommPktType ExtComm::pktType() const noexcept {
   const auto type = BgpExtCommPktType( content_.typeOctet() );
   return bgpIsValidEnumMember( type ) ? type : extCommPktTypeUnknown;
}

bool ExtComm::isBetterThan( const PtrConst& other ) const {
   return content_.value < other->content_.value;
}

void ExtComm::formatDerivedType( std::ostream& os ) const {
   os << '<' << pktType();
   if ( !pktSubtype().isUnspecified() ) {
      os << ' ';
      formatSubtype( os );
   }
   os << ' ';
   formatCommunityValue( os );
   os << '>';
}

void ExtComm::formatCommunityValue( std::ostream& os ) const { os << content_; }

void ExtComm::formatSubtype( std::ostream& os ) const {
   if ( pktSubtype().isUnspecified() ) {
      os << "unspecified";
      return;
   }
   switch ( content_.typeOctet() ) {
      case extCommPktTypeTransTwoOctetAs:
         os << pktSubtypeTransTwoOctetAsString();
         break;
      case extCommPktTypeTransIpv4Address:
         os << pktSubtypeTransIpv4AddressString();
         break;
      case extCommPktTypeTransFourOctetAs:
         os << pktSubtypeTransFourOctetAsString();
         break;
      case extCommPktTypeTransOpaque:
         os << pktSubtypeTransOpaqueString();
         break;
      case extCommPktTypeTransEvpn:
         os << pktSubtypeEvpnString();
         break;
      case extCommPktTypeTransFlowspecRedirectNexthop:
         os << pktSubtypeFlowspecRedirectNexthopString();
         break;
      case extCommPktTypeNonTransTwoOctetAs:
         os << pktSubtypeNonTransTwoOctetAsString();
         break;
      case extCommPktTypeNonTransIpv4Address:
         os << pktSubtypeNonTransIpv4AddressString();
         break;
      case extCommPktTypeNonTransFourOctetAs:
         os << pktSubtypeNonTransFourOctetAsString();
         break;
      case extCommPktTypeNonTransOpaque:
         os << pktSubtypeNonTransOpaqueString();
         break;
      case extCommPktTypeTransGeneric:
         os << pktSubtypeTransGenericString();
         break;
      case extCommPktTypeTransGenericPart2:
         os << pktSubtypeTransGenericPart2String();
         break;
      case extCommPktTypeTransGenericPart3:
         os << pktSubtypeTransGenericPart3String();
         break;
      default:
         os << "none";
         break;
   }
}

// Each subtype-name accessor checks that the community is of its type and
// has a subtype, with the invariant's own text.
#define OVBGP_PKT_SUBTYPE_STRING( Accessor, TypeMember, SubtypeEnum )                   \
   Kel::String ExtComm::Accessor() const {                                              \
      KEL_ASSERT_MSG( TypeMember##_ == pktType(), #TypeMember "_ == pktType()" );       \
      KEL_ASSERT_MSG( !pktSubtype().isUnspecified(), "!pktSubtype().isUnspecified()" ); \
      return extCommSubtypeString<SubtypeEnum>( content_.subtypeOctet() );              \
   }

OVBGP_PKT_SUBTYPE_STRING( pktSubtypeTransTwoOctetAsString, extCommPktTypeTransTwoOctetAs,
                          BgpExtCommPktSubtypeTransTwoOctetAs )
OVBGP_PKT_SUBTYPE_STRING( pktSubtypeTransIpv4AddressString, extCommPktTypeTransIpv4Address,
                          BgpExtCommPktSubtypeTransIpv4Address )
OVBGP_PKT_SUBTYPE_STRING( pktSubtypeTransFourOctetAsString, extCommPktTypeTransFourOctetAs,
                          BgpExtCommPktSubtypeTransFourOctetAs )
OVBGP_PKT_SUBTYPE_STRING( pktSubtypeTransOpaqueString, extCommPktTypeTransOpaque,
                          BgpExtCommPktSubtypeTransOpaque )
OVBGP_PKT_SUBTYPE_STRING( pktSubtypeFlowspecRedirectNexthopString,
                          extCommPktTypeTransFlowspecRedirectNexthop,
                          BgpExtCommPktSubtypeTransFlowspecRedirectNexthop )
OVBGP_PKT_SUBTYPE_STRING( pktSubtypeEvpnString, extCommPktTypeTransEvpn, BgpExtCommPktSubtypeEvpn )
OVBGP_PKT_SUBTYPE_STRING( pktSubtypeTransGenericString, extCommPktTypeTransGeneric,
                          BgpExtCommPktSubtypeTransGeneric )
OVBGP_PKT_SUBTYPE_STRING( pktSubtypeTransGenericPart2String, extCommPktTypeTransGenericPart2,
                          BgpExtCommPktSubtypeTransGenericPart2 )
OVBGP_PKT_SUBTYPE_STRING( pktSubtypeTransGenericPart3String, extCommPktTypeTransGenericPart3,
                          BgpExtCommPktSubtypeTransGenericPart3 )
OVBGP_PKT_SUBTYPE_STRING( pktSubtypeNonTransTwoOctetAsString, extCommPktTypeNonTransTwoOctetAs,
                          BgpExtCommPktSubtypeNonTransTwoOctetAs )
OVBGP_PKT_SUBTYPE_STRING( pktSubtypeNonTransIpv4AddressString, extCommPktTypeNonTransIpv4Address,
                          BgpExtCommPktSubtypeNonTransIpv4Address )
OVBGP_PKT_SUBTYPE_STRING( pktSubtypeNonTransFourOctetAsString, extCommPktTypeNonTransFourOctetAs,
                          BgpExtCommPktSubtypeNonTransFourOctetAs )
OVBGP_PKT_SUBTYPE_STRING( pktSubtypeNonTransOpaqueString, extCommPktTypeNonTransOpaque,
                          BgpExtCommPktSubtypeNonTransOpaque )

#undef OVBGP_PKT_SUBTYPE_STRING

Kel::String ExtComm::toStrepForPolicy( StrepFormat format ) const {
   OvFmt::DynamicBuffer<64> buf;
   appendStrepForPolicy( format, buf );
   return buf.str();
}

void ExtComm::appendStrepForPolicy( StrepFormat format, OvFmt::DynamicBufferInterface& out ) const {
   if ( !format.classificationAndUI() ) {
      return;
   }
   addExtCommTypeAsString( out, "", content_.typeOctet(), content_.subtypeOctet(), transitive() );
   // The six value octets, each as 0x and two digits: ":0xfd 0xe8 0x00 ...".
   for ( int shift = 40; shift >= 0; shift -= 8 ) {
      out.append( shift == 40 ? ":0x" : " 0x" );
      out.appendHex( U8( content_.value >> shift ), 2 );
   }
}

Kel::String ExtComm::toStrep() const {
   std::ostringstream os;
   os << this;
   return os.str();
}

Kel::String ExtComm::toStrepForUI( bool formatAsDot, bool ucmpLinkbwWeighted,
                                   bool formatJson ) const {
   unsigned octet = unsigned( strepFormatClassification ) | strepFormatUI;
   octet |= formatAsDot ? strepFormatAsdot : 0;
   octet |= ucmpLinkbwWeighted ? strepFormatLinkBwWeighted : 0;
   octet |= formatJson ? strepFormatJson : 0;
   return toStrepForPolicy( StrepFormat( octet ) );
}

ExtCommSubtyped::Ptr ExtCommSubtyped::ExtCommSubtypedIs( ExtCommClassification classification,
                                                         const ExtCommContent& content ) {
   return Kel::makeActivePtr<ExtCommSubtyped>( classification, content );
}

BgpExtCommPktSubtype ExtCommSubtyped::pktSubtype() const {
   return BgpExtCommPktSubtype( getContent().subtypeOctet() );
}

ExtComm::Ptr extCommFactory( ExtCommClassification classification, const ExtCommContent& content ) {
   return Kel::makeActivePtr<ExtComm>( classification, content );
}

std::ostream& operator<<( std::ostream& os, const ExtComm* extComm ) {
   if ( !extComm ) {
      return os << "NULL";
   }
   // Formed apart so that the caller's flags cannot change the text and its
   // width pads the whole form, as for any value written to a stream.
   std::ostringstream form;
   extComm->formatDerivedType( form );
   return os << form.str();
}

std::ostream& operator<<( std::ostream& os, const ExtComm& extComm ) { return os << &extComm; }

void addExtCommTypeAsString( OvFmt::DynamicBufferInterface& buffer, std::string_view label,
                             U8 typeOctet, U8 subtypeOctet, bool transitive ) {
   buffer.appendHex( typeOctet & 0xBF, 2 );
   buffer.appendHex( subtypeOctet, 2 );
   buffer.append( label );
   if ( !transitive ) {
      buffer.append( "(NT)" );
   }
}

Kel::String extCommTypeAsString( std::string_view label, U8 typeOctet, U8 subtypeOctet,
                                 bool transitive ) {
   OvFmt::DynamicBuffer<32> buf;
   addExtCommTypeAsString( buf, label, typeOctet, subtypeOctet, transitive );
   return buf.str();
}

} // namespace Routing::Bgp
