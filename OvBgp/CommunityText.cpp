#include "OvBgp/CommunityText.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>

#include "Kel/Exception.h"
#include "OvBgp/CommunityTextReader.h"
#include "OvBgp/Parse/ExtCommTunnelEncap.h"
#include "Routing/Rib/LinkBandwidth.h"

namespace Routing::Bgp {

namespace {

using Reader = CommunityTextReader;

constexpr U32 kWellKnown[] = { communityInternet,         communityGshut,    communityLlgrStale,
                               communityNoLlgr,           communityNoExport, communityNoAdvertise,
                               communityNoExportSubconfed };

// ---- standard and large ----

U32 readStandard( Reader& in ) {
   if ( Reader::isDigit( in.peek() ) ) {
      const U64 first = in.number( 0xFFFFFFFF );
      if ( !in.take( ":" ) ) {
         return U32( first );
      }
      if ( first > 0xFFFF ) {
         in.fail( std::to_string( first ) + " is beyond 65535" );
      }
      return U32( first << 16 | in.number( 0xFFFF ) );
   }
   const size_t begin = in.offset();
   const std::string_view name = in.span(
         []( char c ) { return c == '-' || ( ( c | 0x20 ) >= 'a' && ( c | 0x20 ) <= 'z' ); } );
   for ( U32 value : kWellKnown ) {
      if ( !name.empty() && name == CommList::wellKnownName( value ) ) {
         return value;
      }
   }
   in.offsetIs( begin );
   if ( name.empty() ) {
      in.failExpected( "a community" );
   }
   in.failAt( Kel::String( name ) + " is not a well-known community name", begin );
}

Acl::CommunityValue readLarge( Reader& in ) {
   const U32 global = in.asNumber();
   in.expect( ":" );
   const U32 local1 = U32( in.number( 0xFFFFFFFF ) );
   in.expect( ":" );
   return Acl::CommunityValue( global, local1, U32( in.number( 0xFFFFFFFF ) ) );
}

// ---- extended ----

U64 typeBits( U8 type, U8 subtype ) { return U64( type ) << 56 | U64( subtype ) << 48; }

// The three layouts of a global and a local administrator.
U64 twoOctetAs( U8 type, U8 subtype, Reader& in ) {
   const U64 as = in.number( 0xFFFF );
   in.expect( ":" );
   return typeBits( type, subtype ) | as << 32 | in.number( 0xFFFFFFFF );
}
U64 fourOctetAs( U8 type, U8 subtype, Reader& in ) {
   const U64 as = in.asNumber();
   in.expect( ":" );
   return typeBits( type, subtype ) | as << 16 | in.number( 0xFFFF );
}
U64 ipv4Address( U8 type, U8 subtype, Reader& in ) {
   const U64 address = in.ipv4Address().value();
   in.expect( ":" );
   return typeBits( type, subtype ) | address << 16 | in.number( 0xFFFF );
}

// "RT:" and "SoO:" hold any of the three layouts: dots tell an address
// (three) or an asdot AS (one); a plain AS takes the 2-octet layout when it
// fits in 16 bits, as the 2-octet form is the one that prints that way.
U64 anyLayout( U8 subtype, Reader& in ) {
   const size_t begin = in.offset();
   const std::string_view run =
         in.span( []( char c ) { return Reader::isDigit( c ) || c == '.'; } );
   in.offsetIs( begin );
   const auto dots = std::count( run.begin(), run.end(), '.' );
   if ( dots == 3 ) {
      return ipv4Address( extCommPktTypeTransIpv4Address, subtype, in );
   }
   if ( dots == 0 && !run.empty() && in.number( 0xFFFFFFFF ) <= 0xFFFF ) {
      in.offsetIs( begin );
      return twoOctetAs( extCommPktTypeTransTwoOctetAs, subtype, in );
   }
   in.offsetIs( begin );
   if ( dots > 1 ) {
      in.failAt( Kel::String( run ) + " is neither an AS number nor an IPv4 address", begin );
   }
   return fourOctetAs( extCommPktTypeTransFourOctetAs, subtype, in );
}

// A float as a stream writes it ("1.25e+08", "inf", "-nan").
U32 streamFloat( Reader& in ) {
   const size_t begin = in.offset();
   const std::string_view run = in.span( []( char c ) {
      return Reader::isDigit( c ) || c == '.' || c == 'e' || c == '+' || c == '-' || c == 'i' ||
             c == 'n' || c == 'f' || c == 'a';
   } );
   float value = 0;
   const char* first = run.data();
   const bool negative = !run.empty() && run[ 0 ] == '-';
   const auto [ end, ec ] = std::from_chars( first + negative, run.data() + run.size(), value );
   if ( run.empty() || ec == std::errc::invalid_argument || end != run.data() + run.size() ) {
      in.offsetIs( begin );
      in.failExpected( "a bandwidth" );
   }
   if ( ec == std::errc::result_out_of_range ) {
      in.failAt( Kel::String( run ) + " is beyond a float", begin );
   }
   return std::bit_cast<U32>( negative ? -value : value );
}

// The UI bandwidth: "invalid", a weight in bytes per second, or a rate
// ("1.5 Gbps"), read as the float nearest to it.
U32 uiBandwidth( Reader& in ) {
   if ( in.take( "invalid" ) ) {
      return 0x7FC00000; // a NaN: what prints as "invalid"
   }
   const size_t begin = in.offset();
   const std::string_view run =
         in.span( []( char c ) { return Reader::isDigit( c ) || c == '.'; } );
   double number = 0;
   const auto [ end, ec ] = std::from_chars( run.data(), run.data() + run.size(), number );
   if ( run.empty() || ec != std::errc() || end != run.data() + run.size() ) {
      in.offsetIs( begin );
      in.failExpected( "a bandwidth" );
   }
   // A rate has a unit after one space; a weight is an integer without.
   double bytes = number;
   const size_t afterNumber = in.offset();
   static constexpr std::string_view units[] = { "bps", "Kbps", "Mbps", "Gbps", "Tbps" };
   const std::string_view unit = in.take( " " ) ? in.word() : std::string_view();
   const auto* found = std::find( std::begin( units ), std::end( units ), unit );
   if ( found != std::end( units ) ) {
      bytes = number * std::pow( 1000.0, double( found - units ) ) / 8;
   } else {
      in.offsetIs( afterNumber );
      if ( run.find( '.' ) != std::string_view::npos ) {
         in.failExpected( "' ' and a unit (bps, Kbps, Mbps, Gbps, Tbps)" );
      }
   }
   const float value = float( bytes );
   if ( !std::isfinite( value ) ) {
      in.failAt( Kel::String( in.text().substr( begin, in.offset() - begin ) ) +
                       " is beyond the largest bandwidth",
                 begin );
   }
   return std::bit_cast<U32>( value );
}

// "0002-AS(NT):", "0304:": the type label, then the value in the layout
// that the label's suffix names (octets in hex without one).
U64 labelled( std::string_view head, Reader& in ) {
   const size_t begin = in.offset() - head.size() - 1;
   auto hex = [ & ]( size_t i ) -> int {
      const char c = head[ i ];
      return Reader::isDigit( c ) ? c - '0' : c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
   };
   std::string_view suffix = head.substr( 4 );
   const bool nonTransitive = suffix.ends_with( "(NT)" );
   if ( nonTransitive ) {
      suffix.remove_suffix( 4 );
   }
   if ( hex( 0 ) < 0 || hex( 1 ) < 0 || hex( 2 ) < 0 || hex( 3 ) < 0 ||
        ( suffix != "" && suffix != "-AS" && suffix != "-AS4" && suffix != "-IP" ) ) {
      in.failAt( "unknown extended community form " + Kel::String( head ), begin );
   }
   const U8 labelType = U8( hex( 0 ) << 4 | hex( 1 ) );
   const U8 subtype = U8( hex( 2 ) << 4 | hex( 3 ) );
   if ( labelType & 0x40 ) {
      in.failAt( "the type in " + Kel::String( head ) + " has the non-transitive bit: write " +
                       "it as (NT)",
                 begin );
   }
   const U8 type = U8( labelType | ( nonTransitive ? 0x40 : 0 ) );
   const U8 layout = suffix == "-AS"    ? 0x00
                     : suffix == "-AS4" ? 0x02
                     : suffix == "-IP"  ? 0x01
                                        : 0xFF;
   if ( layout != 0xFF && labelType != layout ) {
      in.failAt( Kel::String( suffix.substr( 1 ) ) + " does not fit type " +
                       Kel::String( head.substr( 0, 2 ) ),
                 begin );
   }
   switch ( layout ) {
      case 0x00:
         return twoOctetAs( type, subtype, in );
      case 0x02:
         return fourOctetAs( type, subtype, in );
      case 0x01:
         return ipv4Address( type, subtype, in );
      default:
         break;
   }
   U64 value = typeBits( type, subtype );
   for ( int i = 0; i < 6; ++i ) {
      if ( i ) {
         in.expect( " " );
      }
      in.expect( "0x" );
      const std::string_view digits = in.span( []( char c ) {
         return Reader::isDigit( c ) || ( c >= 'a' && c <= 'f' ) || ( c >= 'A' && c <= 'F' );
      } );
      if ( digits.size() != 2 ) {
         in.failAt( "expected two hex digits after 0x", in.offset() - digits.size() );
      }
      U64 octet = 0;
      std::from_chars( digits.data(), digits.data() + 2, octet, 16 );
      value |= octet << ( 8 * ( 5 - i ) );
   }
   return value;
}

U64 tunnelEncap( Reader& in ) {
   const size_t begin = in.offset();
   const std::string_view name = in.span( []( char c ) { return !Reader::isSpace( c ); } );
   U64 type = 0;
   if ( name.starts_with( "tunnelTypeUnknown-" ) ) {
      in.offsetIs( begin + std::string_view( "tunnelTypeUnknown-" ).size() );
      type = in.number( 0xFFFF );
   } else {
      TunnelType member = tunnelTypeUnknown;
      try {
         member = TunnelTypeInstance( Kel::String( name ) );
      } catch ( const Kel::RangeException& ) {
      }
      if ( !bgpIsValidEnumMember( member ) ) {
         in.failAt( Kel::String( name ) + " is not a tunnel type", begin );
      }
      type = member;
   }
   return typeBits( extCommPktTypeTransOpaque,
                    extCommPktSubtypeTransOpaqueEncapsulationExtendedCommunity ) |
          type;
}

U64 color( Reader& in ) {
   in.expect( "CO(" );
   U64 flags = 0;
   for ( int bit = 47; bit >= 46; --bit ) {
      const char c = in.peek();
      if ( c != '0' && c != '1' ) {
         in.failExpected( "0 or 1" );
      }
      in.offsetIs( in.offset() + 1 );
      flags |= U64( c - '0' ) << bit;
   }
   in.expect( "):" );
   return typeBits( extCommPktTypeTransOpaque,
                    extCommPktSubtypeTransOpaqueColorExtendedCommunity ) |
          flags | in.number( 0xFFFFFFFF );
}

U64 originValidationState( Reader& in ) {
   // "unknown" stands for every other octet; 3 is the first of them.
   static constexpr std::string_view states[] = { "valid", "not-found", "invalid", "unknown" };
   const size_t begin = in.offset();
   const std::string_view name = in.word();
   const auto* found = std::find( std::begin( states ), std::end( states ), name );
   if ( found == std::end( states ) ) {
      in.failAt( Kel::String( name ) + " is not an origin validation state", begin );
   }
   return typeBits( extCommPktTypeNonTransOpaque, 0 ) | U64( found - states );
}

// The debugging form ends in the content itself: "<... 0x0002fde800000064>".
U64 debugForm( Reader& in ) {
   const size_t begin = in.offset();
   const size_t close = in.text().find( '>', begin );
   if ( close == std::string_view::npos ) {
      in.failAt( "'<' without '>'", begin );
   }
   const std::string_view form = in.text().substr( begin, close + 1 - begin );
   constexpr size_t kHex = 19; // " 0x" and sixteen digits
   U64 value = 0;
   if ( form.size() < kHex + 2 || !form.substr( form.size() - kHex - 1 ).starts_with( " 0x" ) ||
        std::from_chars( form.end() - 17, form.end() - 1, value, 16 ).ptr != form.end() - 1 ) {
      in.failAt( "expected the content as 0x and sixteen hex digits before '>'", close );
   }
   in.offsetIs( close + 1 );
   return value;
}

// One extended community at the reader; *debug is the debugging form read,
// if that was the form, so that the caller can check it against the value.
ExtCommContent readExtended( Reader& in, std::string_view* debug ) {
   const size_t begin = in.offset();
   if ( in.peek() == '<' ) {
      const U64 value = debugForm( in );
      *debug = in.text().substr( begin, in.offset() - begin );
      return ExtCommContent( value );
   }
   *debug = {};
   const std::string_view head =
         in.span( []( char c ) { return c != ':' && !Reader::isSpace( c ); } );
   if ( head == "DefaultGateway" ) {
      return ExtCommContent(
            typeBits( extCommPktTypeTransOpaque, extCommPktSubtypeTransOpaqueDefaultGateway ) );
   }
   if ( head.starts_with( "tunnelType" ) ) {
      in.offsetIs( begin );
      return ExtCommContent( tunnelEncap( in ) );
   }
   if ( head == "lbw" ) {
      in.expect( " " );
      const U64 as = in.number( 0xFFFF );
      in.expect( ":" );
      return ExtCommContent( typeBits( extCommPktTypeNonTransTwoOctetAs,
                                       extCommPktSubtypeNonTransTwoOctetAsLinkBandwidth ) |
                             as << 32 | streamFloat( in ) );
   }
   if ( head.empty() || !in.take( ":" ) ) {
      in.offsetIs( begin );
      if ( head.empty() ) {
         in.failExpected( "an extended community" );
      }
      in.failAt( "unknown extended community form " + Kel::String( head ), begin );
   }
   constexpr U8 rt = extCommPktSubtypeTransTwoOctetAsRouteTarget;
   constexpr U8 soo = extCommPktSubtypeTransTwoOctetAsRouteOrigin;
   constexpr U8 vri = extCommPktSubtypeTransIpv4AddressVrfRouteImport;
   U64 value;
   if ( head == "RT" || head == "SoO" ) {
      value = anyLayout( head == "RT" ? rt : soo, in );
   } else if ( head == "Route-Target-AS" || head == "Route-Origin-AS" ) {
      value = twoOctetAs( extCommPktTypeTransTwoOctetAs, head[ 6 ] == 'T' ? rt : soo, in );
   } else if ( head == "Route-Target-AS4" || head == "Route-Origin-AS4" ) {
      value = fourOctetAs( extCommPktTypeTransFourOctetAs, head[ 6 ] == 'T' ? rt : soo, in );
   } else if ( head == "Route-Target-IP" || head == "Route-Origin-IP" ) {
      value = ipv4Address( extCommPktTypeTransIpv4Address, head[ 6 ] == 'T' ? rt : soo, in );
   } else if ( head == "VRI" || head == "VRF-Route-Import" ) {
      value = ipv4Address( extCommPktTypeTransIpv4Address, vri, in );
   } else if ( head == "Link-Bandwidth-AS" ) {
      const U64 as = in.number( 0xFFFF );
      in.expect( ":" );
      value = typeBits( extCommPktTypeNonTransTwoOctetAs,
                        extCommPktSubtypeNonTransTwoOctetAsLinkBandwidth ) |
              as << 32 | uiBandwidth( in );
   } else if ( head == "TunnelEncap" ) {
      value = tunnelEncap( in );
   } else if ( head == "Color" ) {
      value = color( in );
   } else if ( head == "Origin-Validation-State" ) {
      value = originValidationState( in );
   } else if ( head.size() >= 4 ) {
      value = labelled( head, in );
   } else {
      in.failAt( "unknown extended community form " + Kel::String( head ), begin );
   }
   return ExtCommContent( value );
}

// ---- IPv6-address-specific ----

template<class Subtype>
U8 ip6Subtype( Reader& in, Subtype ( *instance )( const Kel::String& ) ) {
   const size_t begin = in.offset();
   if ( in.take( "subtype=" ) ) {
      return U8( in.number( 0xFF ) );
   }
   const std::string_view name = in.span( []( char c ) { return !Reader::isSpace( c ); } );
   U32 subtype = 0x100; // the unknown members lie above the octet
   try {
      subtype = instance( Kel::String( name ) );
   } catch ( const Kel::RangeException& ) {
   }
   if ( subtype > 0xFF ) {
      in.failAt( Kel::String( name ) + " is not a subtype of its type", begin );
   }
   return U8( subtype );
}

// "<extCommIp6PktTypeTransIpv6Address extCommIp6PktSubtypeRouteTarget
// addr=2001:db8::1 localAdmin=100>".
ExtCommIp6Content ip6DebugForm( Reader& in ) {
   in.expect( "<" );
   const size_t begin = in.offset();
   const std::string_view typeName = in.span( []( char c ) { return !Reader::isSpace( c ); } );
   ExtCommIp6Content content;
   in.expect( " " );
   if ( typeName == stringValue( extCommIp6PktTypeTransIpv6Address ) ) {
      content.subtypeOctet = ip6Subtype( in, BgpExtCommIp6PktSubtypeTransIpv6AddressInstance );
   } else if ( typeName == stringValue( extCommIp6PktTypeNonTransIpv6Address ) ) {
      content.typeOctet = extCommIp6PktTypeNonTransIpv6Address;
      content.subtypeOctet = ip6Subtype( in, BgpExtCommIp6PktSubtypeNonTransIpv6AddressInstance );
   } else {
      in.failAt( Kel::String( typeName ) + " does not say the type octet", begin );
   }
   in.expect( " addr=" );
   const size_t addrBegin = in.offset();
   const std::string_view addr = in.span( []( char c ) { return !Reader::isSpace( c ); } );
   if ( !Onet::Ip6Addr::tryParse( addr, &content.addr ) ) {
      in.failAt( Kel::String( addr ) + " is not an IPv6 address", addrBegin );
   }
   in.expect( " localAdmin=" );
   content.localAdmin = U16( in.number( 0xFFFF ) );
   in.expect( ">" );
   return content;
}

// One IPv6-address-specific community; *debug as in readExtended().
ExtCommIp6Content readIp6( Reader& in, std::string_view* debug ) {
   const size_t begin = in.offset();
   if ( in.peek() == '<' ) {
      const ExtCommIp6Content content = ip6DebugForm( in );
      *debug = in.text().substr( begin, in.offset() - begin );
      return content;
   }
   *debug = {};
   // "0002-IP6(NT):2001:db8::1:100"
   const std::string_view head = in.span( []( char c ) { return c != ':' && c != '-'; } );
   U64 octets = 0;
   const auto [ end, ec ] = std::from_chars( head.data(), head.data() + head.size(), octets, 16 );
   if ( head.size() != 4 || ec != std::errc() || end != head.data() + 4 || ( octets & 0x4000 ) ||
        !in.take( "-IP6" ) ) {
      in.offsetIs( begin );
      in.failExpected( "a type label such as 0002-IP6 or '<'" );
   }
   const bool nonTransitive = in.take( "(NT)" );
   in.expect( ":" );
   ExtCommIp6Content content;
   content.typeOctet = U8( ( octets >> 8 ) | ( nonTransitive ? 0x40 : 0 ) );
   content.subtypeOctet = U8( octets );
   U64 local = 0;
   content.addr = in.ip6AddressAndLocal( 0xFFFF, &local );
   content.localAdmin = U16( local );
   return content;
}

// ---- one value, lists ----

// A value ends at white space (or at the end).
void expectBreak( Reader& in ) {
   if ( !in.atBreak() ) {
      in.expectEnd();
   }
}

template<class Read>
auto readOne( std::string_view text, const char* kind, const char* attribute, Read&& read ) {
   Reader in( text, kind, attribute );
   in.skipSpaces();
   auto value = read( in );
   in.expectEnd();
   return value;
}

// readEach(): every value of a list, in order; bracketed, a list may be
// written as "[ a b ]" (extended lists print so).
template<class Read>
void readEach( Reader& in, bool bracketed, Read&& read ) {
   in.skipSpaces();
   const bool open = bracketed && in.take( "[" );
   for ( ;; ) {
      in.skipSpaces();
      if ( open && in.take( "]" ) ) {
         in.expectEnd();
         return;
      }
      if ( in.atEnd() ) {
         if ( open ) {
            in.failExpected( "']'" );
         }
         return;
      }
      read( in );
      expectBreak( in );
   }
}

// checkDebugForm(): the rest of a debugging form is not needed to find the
// value, so it must at least be what the value prints.
template<class Value>
void checkDebugForm( Reader& in, const Value& value, std::string_view debug ) {
   if ( !debug.empty() && value->toStrep() != debug ) {
      in.fail( Kel::String( debug ) + " is not the debugging form of its content, " +
               value->toStrep() );
   }
}

ExtComm::PtrConst extendedAt( Reader& in, const ExtCommDedupTable* table ) {
   std::string_view debug;
   const ExtCommContent content = readExtended( in, &debug );
   ExtComm::PtrConst value = ExtComm::dedupContent( table, content );
   checkDebugForm( in, value, debug );
   return value;
}

ExtCommIp6::PtrConst ip6At( Reader& in, const ExtCommIp6DedupTable* table ) {
   std::string_view debug;
   const ExtCommIp6Content content = readIp6( in, &debug );
   ExtCommIp6::PtrConst value = ExtCommIp6::dedupContent( table, content );
   checkDebugForm( in, value, debug );
   return value;
}

} // namespace

U32 commValueFromStrep( std::string_view text ) {
   return readOne( text, "standard community", "community", readStandard );
}

Acl::CommunityValue largeCommValueFromStrep( std::string_view text ) {
   return readOne( text, "large community", "largeCommunity", readLarge );
}

ExtComm::PtrConst extCommFromStrep( const ExtCommDedupTable* table, std::string_view text ) {
   return readOne( text, "extended community", "extCommunity",
                   [ & ]( Reader& in ) { return extendedAt( in, table ); } );
}

ExtCommIp6::PtrConst extCommIp6FromStrep( const ExtCommIp6DedupTable* table,
                                          std::string_view text ) {
   return readOne( text, "IPv6 extended community", "extCommunityIp6",
                   [ & ]( Reader& in ) { return ip6At( in, table ); } );
}

CommList::PtrConst commListFromStrep( const CommListDedupTable* table, std::string_view text ) {
   Reader in( text, "standard community list", "commList" );
   CommList::Ptr list = commListFactory();
   readEach( in, false, [ & ]( Reader& r ) { list->commIs( readStandard( r ) ); } );
   return list->dedup( table );
}

LargeCommList::PtrConst largeCommListFromStrep( const LargeCommListDedupTable* table,
                                                std::string_view text ) {
   Reader in( text, "large community list", "largeCommList" );
   LargeCommList::Ptr list = largeCommListFactory();
   readEach( in, false, [ & ]( Reader& r ) { list->commIs( readLarge( r ) ); } );
   return list->dedup( table );
}

ExtCommList::PtrConst extCommListFromStrep( const ExtCommListDedupTable* lists,
                                            const ExtCommDedupTable* values,
                                            std::string_view text ) {
   Reader in( text, "extended community list", "extCommList" );
   ExtCommList::Ptr list = extCommListFactory();
   readEach( in, true, [ & ]( Reader& r ) { list->commIs( extendedAt( r, values ) ); } );
   return list->dedup( lists );
}

ExtCommIp6List::PtrConst extCommIp6ListFromStrep( const ExtCommIp6ListDedupTable* lists,
                                                  const ExtCommIp6DedupTable* values,
                                                  std::string_view text ) {
   Reader in( text, "IPv6 extended community list", "extCommIp6List" );
   ExtCommIp6List::Ptr list = extCommIp6ListFactory();
   readEach( in, true, [ & ]( Reader& r ) { list->commIs( ip6At( r, values ) ); } );
   return list->dedup( lists );
}

} // namespace Routing::Bgp
