// TextParsers_fuzz.cpp: arbitrary text through the reflective-text parsers and
// the address, route-target and regular-expression parsers, and the
// community text parsers. The first octet
// picks the parser, the rest is its text, or for some the octets of a value
// that is printed first. A parser either gives a value or throws the
// exceptions it documents (Kel::ParseException, Kel::RangeException or
// another std::invalid_argument); any other escape is a failure. A value that
// parses prints as text that parses back to the same value.
//
//   ninja fuzz_TextParsers_fuzz && build/fuzz/TextParsers_fuzz fuzz/corpus/TextParsers_fuzz

#include <arpa/inet.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "Kel/Exception.h"
#include "Onet/Ip6Addr.h"
#include "Onet/IpAddr.h"
#include "OvBgp/CommunityText.h"
#include "OvBgp/ExtCommIp6.h"
#include "OvBgp/ExtCommList.h"
#include "OvBgp/OvBgpCommunity.h"
#include "OvBgp/Parse/ExtCommContainer.h"
#include "OvBgp/RouteTargetPrefix.h"
#include "Routing/Bgp/RouteTarget.h"
#include "Routing/RouteMap/PosixRegex.h"

using namespace Routing::Bgp;

namespace {

#define FUZZ_CHECK( cond )                                                              \
   do {                                                                                 \
      if ( !( cond ) ) {                                                                \
         std::fprintf( stderr, "TextParsers_fuzz: check failed: %s (line %d)\n", #cond, \
                       __LINE__ );                                                      \
         std::abort();                                                                  \
      }                                                                                 \
   } while ( 0 )

// Texts longer than this are cut: the parsers are linear, longer adds nothing.
constexpr size_t kMaxText = 512;
// Patterns are cut shorter: the constructor refuses those whose repeats
// would blow up, but regcomp is still the slowest parser here.
constexpr size_t kMaxPattern = 128;

// parseOrReject(): runs parse; true when it gave a value, false when it threw
// a documented parse error. Anything else propagates and fails the input.
template<class Parse>
bool parseOrReject( Parse&& parse ) {
   try {
      parse();
      return true;
   } catch ( const Kel::RangeException& ) {
   } catch ( const std::invalid_argument& ) {
   }
   return false;
}

U64 loadU64( const U8* p ) {
   U64 v = 0;
   for ( int i = 0; i < 8; ++i ) {
      v = v << 8 | p[ i ];
   }
   return v;
}

void routeTargetPrefixText( std::string_view text ) {
   RouteTargetPrefix value;
   if ( !parseOrReject(
              [ & ] { sequenceToValue( text.data(), text.data() + text.size(), &value ); } ) ) {
      return;
   }
   FUZZ_CHECK( value.bitlen() <= RouteTargetPrefix::maxLength );
   const Kel::String printed = valueToStrep( value );
   RouteTargetPrefix again;
   strepToValue( printed, &again );
   FUZZ_CHECK( again == value );
}

void routeTargetPrefixOctets( std::string_view octets ) {
   if ( octets.size() < 9 ) {
      return;
   }
   const auto* p = reinterpret_cast<const U8*>( octets.data() );
   const size_t length = p[ 8 ];
   RouteTargetPrefix value;
   if ( !parseOrReject(
              [ & ] { value = RouteTargetPrefix( RouteTarget( loadU64( p ) ), length ); } ) ) {
      FUZZ_CHECK( length > RouteTargetPrefix::maxLength );
      return;
   }
   RouteTargetPrefix again;
   strepToValue( valueToStrep( value ), &again );
   FUZZ_CHECK( again == value );
   // Cutting to the length keeps the leading bits and the order by them.
   RouteTargetPrefix masked = value;
   masked.bitlenIs( length );
   FUZZ_CHECK( masked.commonPrefixLen( value ) == length );
   FUZZ_CHECK( ( masked.prefixBits() & ~masked.mask( 0 ) ) == 0 );
   strepToValue( valueToStrep( masked ), &again );
   FUZZ_CHECK( again == masked );
}

void strepFormatText( std::string_view text ) {
   ExtComm::StrepFormat format;
   if ( !parseOrReject( [ & ] {
           format = ExtComm::StrepFormat( text.data(), text.data() + text.size() );
        } ) ) {
      return;
   }
   const Kel::String printed = valueToStrep( format );
   FUZZ_CHECK( ExtComm::StrepFormat( printed.data(), printed.data() + printed.size() ) == format );
   FUZZ_CHECK( ExtComm::StrepFormat( unsigned( format.value() ) ) == format );
}

// The flag sets of one octet: printed and read back.
void flagSetOctet( std::string_view octets ) {
   if ( octets.empty() ) {
      return;
   }
   const unsigned octet = U8( octets[ 0 ] );
   if ( parseOrReject( [ & ] { (void)ExtComm::StrepFormat( octet ); } ) ) {
      const ExtComm::StrepFormat format( octet );
      const Kel::String printed = valueToStrep( format );
      FUZZ_CHECK( ExtComm::StrepFormat( printed.data(), printed.data() + printed.size() ) ==
                  format );
   } else {
      FUZZ_CHECK( octet > 63 );
   }
   if ( parseOrReject( [ & ] { (void)ExtCommIp6::StrepFormat( octet ); } ) ) {
      const ExtCommIp6::StrepFormat format( octet );
      const Kel::String printed = valueToStrep( format );
      ExtCommIp6::StrepFormat back;
      sequenceToValue( printed.data(), printed.data() + printed.size(), &back );
      FUZZ_CHECK( back == format );
   } else {
      FUZZ_CHECK( octet > 31 );
   }
   if ( parseOrReject( [ & ] { (void)ExtCommList::Serialization( octet ); } ) ) {
      const ExtCommList::Serialization s( octet );
      const Kel::String printed = valueToStrep( s );
      FUZZ_CHECK( ExtCommList::Serialization( printed.data(), printed.data() + printed.size() ) ==
                  s );
   } else {
      FUZZ_CHECK( octet > 15 );
   }
}

// The other flag sets' parsers on text.
void flagSetText( std::string_view text ) {
   const char* b = text.data();
   const char* e = b + text.size();
   ExtCommIp6::StrepFormat ip6;
   if ( parseOrReject( [ & ] { sequenceToValue( b, e, &ip6 ); } ) ) {
      const Kel::String printed = valueToStrep( ip6 );
      ExtCommIp6::StrepFormat back;
      sequenceToValue( printed.data(), printed.data() + printed.size(), &back );
      FUZZ_CHECK( back == ip6 );
   }
   ExtCommList::Serialization s;
   if ( parseOrReject( [ & ] { s = ExtCommList::Serialization( b, e ); } ) ) {
      const Kel::String printed = valueToStrep( s );
      FUZZ_CHECK( ExtCommList::Serialization( printed.data(), printed.data() + printed.size() ) ==
                  s );
   }
   ExtCommList::CommVectorAttrs attrs;
   if ( parseOrReject( [ & ] { attrs = ExtCommList::CommVectorAttrs( b, e ); } ) ) {
      const Kel::String printed = valueToStrep( attrs );
      FUZZ_CHECK( ExtCommList::CommVectorAttrs( printed.data(), printed.data() + printed.size() ) ==
                  attrs );
   }
   ExtCommContent content;
   if ( parseOrReject( [ & ] { sequenceToValue( b, e, &content ); } ) ) {
      const Kel::String printed = valueToStrep( content );
      ExtCommContent back;
      sequenceToValue( printed.data(), printed.data() + printed.size(), &back );
      FUZZ_CHECK( back == content );
   }
}

void ip6ContentText( std::string_view text ) {
   ExtCommIp6Content content;
   if ( !parseOrReject(
              [ & ] { sequenceToValue( text.data(), text.data() + text.size(), &content ); } ) ) {
      return;
   }
   ExtCommIp6Content again;
   strepToValue( valueToStrep( content ), &again );
   FUZZ_CHECK( again == content );
}

void ip6ContentOctets( std::string_view octets ) {
   if ( octets.size() < 20 ) {
      return;
   }
   const auto* p = reinterpret_cast<const U8*>( octets.data() );
   const ExtCommIp6Content content( p[ 0 ], p[ 1 ], Onet::Ip6Addr( p + 2 ),
                                    U16( p[ 18 ] << 8 | p[ 19 ] ) );
   ExtCommIp6Content again;
   strepToValue( valueToStrep( content ), &again );
   FUZZ_CHECK( again == content );
}

void addressText( std::string_view text ) {
   Onet::IpAddr v4;
   const bool v4Ok = Onet::IpAddr::tryParse( text, &v4 );
   FUZZ_CHECK( parseOrReject( [ & ] { FUZZ_CHECK( Onet::IpAddr::parse( text ) == v4 ); } ) ==
               v4Ok );
   if ( v4Ok ) {
      FUZZ_CHECK( Onet::IpAddr::parse( v4.toString() ) == v4 );
      // Strict parsing: the text was already the printed form.
      FUZZ_CHECK( v4.toString() == text );
   }
   Onet::Ip6Addr v6;
   const bool v6Ok = Onet::Ip6Addr::tryParse( text, &v6 );
   FUZZ_CHECK( parseOrReject( [ & ] { FUZZ_CHECK( Onet::Ip6Addr::parse( text ) == v6 ); } ) ==
               v6Ok );
   if ( v6Ok ) {
      const Kel::String printed = v6.toString();
      FUZZ_CHECK( printed.size() <= Onet::Ip6Addr::maxTextLength );
      FUZZ_CHECK( Onet::Ip6Addr::parse( printed ) == v6 );
   }
   // inet_pton(3) accepts exactly the same texts, as the same addresses
   // (it stops at a NUL, which no address of ours holds).
   const std::string terminated( text );
   U8 theirs[ 16 ];
   if ( terminated.find( '\0' ) == std::string::npos ) {
      FUZZ_CHECK( ( inet_pton( AF_INET6, terminated.c_str(), theirs ) == 1 ) == v6Ok );
      FUZZ_CHECK( !v6Ok || std::memcmp( theirs, v6.data(), 16 ) == 0 );
   }
}

void addressOctets( std::string_view octets ) {
   const auto* p = reinterpret_cast<const U8*>( octets.data() );
   if ( octets.size() >= 4 ) {
      const Onet::IpAddr v4( p[ 0 ], p[ 1 ], p[ 2 ], p[ 3 ] );
      char buf[ Onet::IpAddr::maxTextLength ];
      const size_t n = v4.toChars( buf );
      FUZZ_CHECK( n <= sizeof buf && std::string_view( buf, n ) == v4.toString() );
      FUZZ_CHECK( Onet::IpAddr::parse( v4.toString() ) == v4 );
      char theirs[ INET_ADDRSTRLEN ];
      FUZZ_CHECK( inet_ntop( AF_INET, p, theirs, sizeof theirs ) && v4.toString() == theirs );
   }
   if ( octets.size() >= 16 ) {
      const Onet::Ip6Addr v6( p );
      char buf[ Onet::Ip6Addr::maxTextLength ];
      const size_t n = v6.toChars( buf );
      FUZZ_CHECK( n <= sizeof buf && std::string_view( buf, n ) == v6.toString() );
      FUZZ_CHECK( Onet::Ip6Addr::parse( v6.toString() ) == v6 );
      // inet_ntop(3) prints the same text (RFC 5952), except that glibc writes
      // the deprecated IPv4-compatible addresses (::a.b.c.d) dotted, not in hex.
      bool compatible = v6.group( 6 ) != 0;
      for ( int g = 0; g < 6; ++g ) {
         compatible = compatible && v6.group( g ) == 0;
      }
      char theirs[ INET6_ADDRSTRLEN ];
      FUZZ_CHECK( inet_ntop( AF_INET6, p, theirs, sizeof theirs ) );
      FUZZ_CHECK( compatible || v6.toString() == theirs );
   }
}

void routeTargetText( std::string_view text ) {
   RouteTarget rt;
   if ( !parseOrReject( [ & ] { rt = RouteTarget::fromStrep( text ); } ) ) {
      return;
   }
   FUZZ_CHECK( RouteTarget::fromStrep( rt.toStrep( false ) ) == rt );
   FUZZ_CHECK( RouteTarget::fromStrep( rt.toStrep( true ) ) == rt );
}

void routeTargetOctets( std::string_view octets ) {
   if ( octets.size() < 8 ) {
      return;
   }
   const RouteTarget rt( loadU64( reinterpret_cast<const U8*>( octets.data() ) ) );
   FUZZ_CHECK( RouteTarget::fromStrep( rt.toStrep( false ) ) == rt );
   FUZZ_CHECK( RouteTarget::fromStrep( rt.toStrep( true ) ) == rt );
}

void regexText( std::string_view text ) {
   const Kel::String pattern( text.substr( 0, kMaxPattern ) );
   try {
      Routing::RouteMap::PosixRegex regex( pattern );
      FUZZ_CHECK( regex.pattern() == pattern );
      static const char* const subjects[] = { "", "65000:100 no-export", "RT:1.2.3.4:5",
                                              "0x00 0x02 0xfd" };
      for ( const char* subject : subjects ) {
         const int rc = regex.execute( subject );
         FUZZ_CHECK( rc == 0 || rc == REG_NOMATCH );
      }
      Routing::RouteMap::PosixRegex moved( std::move( regex ) );
      FUZZ_CHECK( regex.execute( "" ) == REG_NOMATCH );
      FUZZ_CHECK( moved.pattern() == pattern );
   } catch ( const Kel::ParseException& e ) {
      FUZZ_CHECK( e.attribute() == "pattern" );
   }
}

// The tables the community text parsers intern into, made once.
struct Tables {
   BgpParseExtCommContainerSm::Ptr container = bgpParseExtCommContainerSmFactory();
   ExtCommDedupTable::Ptr values = extCommDedupTableFactory( container->extCommParser() );
   ExtCommIp6DedupTable::Ptr ip6Values = extCommIp6DedupTableFactory( container->extCommParser() );
   CommListDedupTable::Ptr lists = commListDedupTableFactory();
   LargeCommListDedupTable::Ptr largeLists = largeCommListDedupTableFactory();
   ExtCommListDedupTable::Ptr extLists = extCommListDedupTableFactory();
   ExtCommIp6ListDedupTable::Ptr ip6Lists = extCommIp6ListDedupTableFactory();
};
const Tables& tables() {
   static const Tables* t = new Tables;
   return *t;
}

// Text as every list kind: what reads prints as text that reads back to the
// same interned list.
void communityListText( std::string_view text ) {
   const Tables& t = tables();
   CommList::PtrConst comms;
   if ( parseOrReject( [ & ] { comms = commListFromStrep( t.lists.ptr(), text ); } ) ) {
      FUZZ_CHECK( commListFromStrep( t.lists.ptr(), comms->toStrep() ) == comms );
   }
   LargeCommList::PtrConst larges;
   if ( parseOrReject( [ & ] { larges = largeCommListFromStrep( t.largeLists.ptr(), text ); } ) ) {
      FUZZ_CHECK( largeCommListFromStrep( t.largeLists.ptr(), larges->toStrep() ) == larges );
   }
   ExtCommList::PtrConst exts;
   if ( parseOrReject(
              [ & ] { exts = extCommListFromStrep( t.extLists.ptr(), t.values.ptr(), text ); } ) ) {
      FUZZ_CHECK( extCommListFromStrep( t.extLists.ptr(), t.values.ptr(), exts->toStrep() ) ==
                  exts );
   }
   ExtCommIp6List::PtrConst ip6s;
   if ( parseOrReject( [ & ] {
           ip6s = extCommIp6ListFromStrep( t.ip6Lists.ptr(), t.ip6Values.ptr(), text );
        } ) ) {
      // The debugging form leaves an unknown type octet out; the UI forms
      // keep every octet.
      ExtCommIp6List::PtrConst back;
      if ( !parseOrReject( [ & ] {
              back =
                    extCommIp6ListFromStrep( t.ip6Lists.ptr(), t.ip6Values.ptr(), ip6s->toStrep() );
           } ) ) {
         FUZZ_CHECK( std::any_of( ip6s->commVector().begin(), ip6s->commVector().end(),
                                  []( const ExtCommIp6::PtrConst& c ) {
                                     return c->pktType() == extCommIp6PktTypeUnknown;
                                  } ) );
         back = ip6s;
      }
      FUZZ_CHECK( back == ip6s );
      Kel::String ui;
      for ( const ExtCommIp6::PtrConst& c : ip6s->commVector() ) {
         ui += c->toStrepForPolicy( ExtCommIp6::StrepFormat( 6u ) ) + " ";
      }
      FUZZ_CHECK( extCommIp6ListFromStrep( t.ip6Lists.ptr(), t.ip6Values.ptr(), ui ) == ip6s );
   }
}

// Text as one value: a value that reads prints every form that reads back
// to a value printing the same text.
void communityValueText( std::string_view text ) {
   const Tables& t = tables();
   U32 standard = 0;
   if ( parseOrReject( [ & ] { standard = commValueFromStrep( text ); } ) ) {
      FUZZ_CHECK( commValueFromStrep( CommList::getStringValue( standard ) ) == standard );
   }
   Acl::CommunityValue large;
   if ( parseOrReject( [ & ] { large = largeCommValueFromStrep( text ); } ) ) {
      FUZZ_CHECK( largeCommValueFromStrep( LargeCommList::displayString( large, true ) ) == large );
   }
   ExtComm::PtrConst ext;
   if ( parseOrReject( [ & ] { ext = extCommFromStrep( t.values.ptr(), text ); } ) ) {
      FUZZ_CHECK( extCommFromStrep( t.values.ptr(), ext->toStrep() ) == ext );
      for ( unsigned flags = 0; flags < 64; ++flags ) {
         const ExtComm::StrepFormat format( flags );
         const Kel::String form = ext->toStrepForPolicy( format );
         ExtComm::PtrConst back;
         if ( parseOrReject( [ & ] { back = extCommFromStrep( t.values.ptr(), form ); } ) ) {
            FUZZ_CHECK( back->toStrepForPolicy( format ) == form );
         } else {
            FUZZ_CHECK( !format.has( ExtComm::StrepFormat::strepFormatClassification ) );
         }
      }
   }
   ExtCommIp6::PtrConst ip6;
   if ( parseOrReject( [ & ] { ip6 = extCommIp6FromStrep( t.ip6Values.ptr(), text ); } ) ) {
      ExtCommIp6::PtrConst back;
      if ( parseOrReject(
                 [ & ] { back = extCommIp6FromStrep( t.ip6Values.ptr(), ip6->toStrep() ); } ) ) {
         FUZZ_CHECK( back == ip6 );
      } else {
         FUZZ_CHECK( ip6->pktType() == extCommIp6PktTypeUnknown );
      }
      const Kel::String ui = ip6->toStrepForPolicy( ExtCommIp6::StrepFormat( 6u ) );
      FUZZ_CHECK( extCommIp6FromStrep( t.ip6Values.ptr(), ui ) == ip6 );
   }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput( const U8* data, size_t size ) {
   if ( size == 0 ) {
      return 0;
   }
   const std::string_view text( reinterpret_cast<const char*>( data + 1 ),
                                std::min( size - 1, kMaxText ) );
   switch ( data[ 0 ] % 14 ) {
      case 0:
         routeTargetPrefixText( text );
         break;
      case 1:
         routeTargetPrefixOctets( text );
         break;
      case 2:
         strepFormatText( text );
         break;
      case 3:
         flagSetOctet( text );
         break;
      case 4:
         ip6ContentText( text );
         break;
      case 5:
         ip6ContentOctets( text );
         break;
      case 6:
         addressText( text );
         break;
      case 7:
         addressOctets( text );
         break;
      case 8:
         routeTargetText( text );
         break;
      case 9:
         routeTargetOctets( text );
         break;
      case 10:
         regexText( text );
         break;
      case 11:
         flagSetText( text );
         break;
      case 12:
         communityValueText( text );
         break;
      case 13:
         communityListText( text );
         break;
   }
   return 0;
}
