// OvBgp/CommunityPattern.cpp: the pattern compiler and the matchers. A value
// is seen as up to four 64-bit words (the standard value; the three large
// words; the extended content; IPv6 type and subtype, address halves and
// local administrator), and every position compiles into a Field over them.
#include "OvBgp/CommunityPattern.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <optional>

#include "Kel/Exception.h"
#include "Onet/Ip6Addr.h"
#include "Onet/IpAddr.h"
#include "OvBgp/CommList.h"
#include "OvBgp/CommunityTextReader.h"
#include "OvBgp/ExtCommIp6List.h"
#include "OvBgp/ExtCommList.h"
#include "OvBgp/LargeCommList.h"
#include "OvBgp/Parse/ExtCommTunnelEncap.h"

namespace Routing::Bgp {

namespace {

using Field = CommunityPattern::Field;
using Shape = CommunityPattern::Shape;

constexpr U64 kU16 = 0xFFFF;
constexpr U64 kU32 = 0xFFFFFFFF;

// Range: the values one position accepts, both ends included.
struct Range {
   U64 lo = 0;
   U64 hi = ~U64( 0 );
};

// Layout: where the global and local administrators of an extended
// community sit, by type (RFC 4360, RFC 5668, RFC 5701).
enum Layout : U8 { as2 = 1, as4 = 2, ip4 = 4, ip6 = 8 };

// AdminLabel: a label whose value is global:local, with the layouts it
// stands for; the type octet follows from the layout.
struct AdminLabel {
   std::string_view name;
   U8 subtype;
   U8 layouts;
};
constexpr AdminLabel kAdminLabels[] = {
   { "RT", 0x02, as2 | as4 | ip4 | ip6 },
   { "SoO", 0x03, as2 | as4 | ip4 | ip6 },
   { "Route-Target-AS", 0x02, as2 },
   { "Route-Target-AS4", 0x02, as4 },
   { "Route-Target-IP", 0x02, ip4 },
   { "Route-Origin-AS", 0x03, as2 },
   { "Route-Origin-AS4", 0x03, as4 },
   { "Route-Origin-IP", 0x03, ip4 },
   { "VRI", 0x0B, ip4 },
   { "VRF-Route-Import", 0x0B, ip4 },
};

constexpr U32 kWellKnown[] = { 0x00000000, 0xFFFF0000, 0xFFFF0006, 0xFFFF0007,
                               0xFFFFFF01, 0xFFFFFF02, 0xFFFFFF03 };

U8 typeOfLayout( Layout layout ) { return layout == as4 ? 0x02 : layout == ip4 ? 0x01 : 0x00; }

// Compiler: one pattern's text into its kind and shapes. Every failure
// throws with the whole text quoted.
class Compiler {
 public:
   explicit Compiler( std::string_view text )
         : text_( text ), reader_( text, "community pattern", "pattern" ) {}

   CommunityPattern::Kind kind = CommunityPattern::kindStandard;
   std::vector<Shape> shapes;

   void compile() {
      if ( text_.empty() ) {
         fail( "an empty pattern" );
      }
      if ( text_.find_first_of( " \t" ) == 0 || text_.back() == ' ' ) {
         fail( "spaces around the pattern" );
      }
      kind = CommunityPattern::kindStandard;
      for ( U32 value : kWellKnown ) {
         if ( text_ == CommList::wellKnownName( value ) ) {
            addShape( { exact( 0, 0, 32, value ) } );
            return;
         }
      }
      kind = CommunityPattern::kindExtended;
      if ( text_.starts_with( "lbw " ) ) {
         return linkBandwidth( text_.substr( 4 ) );
      }
      if ( text_ == "DefaultGateway" ) {
         return addShape( { typeField( 0x03, 0x0D ) } );
      }
      const size_t colon = text_.find( ':' );
      if ( colon == std::string_view::npos ) {
         fail( "no ':' between positions, and not a well-known name" );
      }
      const std::string_view label = text_.substr( 0, colon );
      const std::string_view rest = text_.substr( colon + 1 );
      if ( label.find_first_not_of( "0123456789.*-" ) == std::string_view::npos &&
           !( label.size() == 4 && rest.find( ' ' ) != std::string_view::npos ) ) {
         return numeric();
      }
      extended( label, rest );
   }

 private:
   [[noreturn]] void fail( const std::string& what ) const { reader_.fail( what ); }

   // read(): one token of the text's tokeniser over the whole of s, a view
   // into the text, so that its faults quote the pattern.
   template<class Token>
   auto read( std::string_view s, Token&& token ) const {
      reader_.offsetIs( size_t( s.data() - text_.data() ) );
      const auto value = token( reader_ );
      if ( reader_.offset() != size_t( s.data() - text_.data() ) + s.size() ) {
         fail( "'" + std::string( s ) + "' is not a number, '*' or a range lo-hi" );
      }
      return value;
   }

   static Field exact( U8 word, U8 shift, U8 width, U64 value ) {
      return Field{ word, shift, width, value, value };
   }
   static Field field( U8 word, U8 shift, U8 width, Range r ) {
      return Field{ word, shift, width, r.lo, r.hi };
   }
   static Field typeField( U8 type, U8 subtype ) {
      return exact( 0, 48, 16, U64( type ) << 8 | subtype );
   }
   void addShape( std::initializer_list<Field> fields ) {
      Shape shape;
      for ( const Field& f : fields ) {
         shape.field[ shape.fields++ ] = f;
      }
      shapes.push_back( shape );
   }

   // split(): text at every sep.
   static std::vector<std::string_view> split( std::string_view text, char sep ) {
      std::vector<std::string_view> parts;
      for ( size_t start = 0;; ) {
         const size_t at = text.find( sep, start );
         parts.push_back( text.substr( start, at - start ) );
         if ( at == std::string_view::npos ) {
            return parts;
         }
         start = at + 1;
      }
   }

   // decimal(): a plain unsigned number up to max (an octet also as 0xHH,
   // the form the generic label prints).
   U64 decimal( std::string_view s, U64 max, bool hex = false ) const {
      if ( hex && s.starts_with( "0x" ) ) {
         U64 value = 0;
         const auto [ end, ec ] = std::from_chars( s.data() + 2, s.data() + s.size(), value, 16 );
         if ( s.size() == 2 || end != s.data() + s.size() || ec != std::errc() || value > max ) {
            fail( "'" + std::string( s ) + "' is not an octet" );
         }
         return value;
      }
      return read( s, [ max ]( CommunityTextReader& in ) { return in.number( max ); } );
   }

   // range(): '*', one value or lo-hi, each end read by one().
   template<class One>
   Range range( std::string_view s, One&& one ) const {
      if ( s == "*" ) {
         return Range{};
      }
      const size_t dash = s.find( '-' );
      if ( dash == std::string_view::npos ) {
         const U64 v = one( s );
         return Range{ v, v };
      }
      const Range r{ one( s.substr( 0, dash ) ), one( s.substr( dash + 1 ) ) };
      if ( r.lo > r.hi ) {
         fail( "range " + std::string( s ) + " runs backwards" );
      }
      return r;
   }
   Range number( std::string_view s, U64 max, bool hex = false ) const {
      return range( s, [ & ]( std::string_view n ) { return decimal( n, max, hex ); } );
   }
   // asNumber(): decimal, or asdot high.low.
   Range asNumber( std::string_view s ) const {
      return range( s, [ & ]( std::string_view n ) -> U64 {
         return read( n, []( CommunityTextReader& in ) { return in.asNumber(); } );
      } );
   }
   // ipv4(): '*', an address, a range of addresses or a prefix.
   Range ipv4( std::string_view s ) const {
      auto address = [ & ]( std::string_view a ) -> U64 {
         return read( a, []( CommunityTextReader& in ) { return in.ipv4Address().value(); } );
      };
      const size_t slash = s.find( '/' );
      if ( slash == std::string_view::npos ) {
         return range( s, address );
      }
      const U64 length = decimal( s.substr( slash + 1 ), 32 );
      const U64 host = length == 0 ? kU32 : ( kU32 >> length );
      const U64 base = address( s.substr( 0, slash ) ) & ~host & kU32;
      return Range{ base, base | host };
   }
   // ipv6(): '*', an address or a prefix, as ranges over the two halves.
   std::array<Range, 2> ipv6( std::string_view s ) const {
      if ( s == "*" ) {
         return {};
      }
      const size_t slash = s.find( '/' );
      Onet::Ip6Addr addr;
      if ( !Onet::Ip6Addr::tryParse( s.substr( 0, slash ), &addr ) ) {
         fail( "'" + std::string( s.substr( 0, slash ) ) + "' is not an IPv6 address" );
      }
      const U64 length =
            slash == std::string_view::npos ? 128 : decimal( s.substr( slash + 1 ), 128 );
      std::array<Range, 2> halves;
      for ( int i = 0; i < 2; ++i ) {
         U64 word = 0;
         for ( int o = 0; o < 8; ++o ) {
            word = word << 8 | addr.data()[ i * 8 + o ];
         }
         const U64 bits = length > U64( 64 * i ) ? std::min<U64>( length - 64 * i, 64 ) : 0;
         const U64 host = bits == 64 ? 0 : ~U64( 0 ) >> bits;
         halves[ i ] = Range{ word & ~host, word | host };
      }
      return halves;
   }

   // numeric(): standard A:B or large A:B:C.
   void numeric() {
      const std::vector<std::string_view> parts = split( text_, ':' );
      if ( parts.size() == 2 ) {
         kind = CommunityPattern::kindStandard;
         return addShape( { field( 0, 16, 16, number( parts[ 0 ], kU16 ) ),
                            field( 0, 0, 16, number( parts[ 1 ], kU16 ) ) } );
      }
      if ( parts.size() == 3 ) {
         kind = CommunityPattern::kindLarge;
         return addShape( { field( 0, 0, 32, asNumber( parts[ 0 ] ) ),
                            field( 1, 0, 32, number( parts[ 1 ], kU32 ) ),
                            field( 2, 0, 32, number( parts[ 2 ], kU32 ) ) } );
      }
      fail( "2 positions (standard) or 3 (large) expected, not " + std::to_string( parts.size() ) );
   }

   // extended(): a labelled form.
   void extended( std::string_view label, std::string_view rest ) {
      kind = CommunityPattern::kindExtended;
      for ( const AdminLabel& admin : kAdminLabels ) {
         if ( label == admin.name ) {
            return globalLocal( rest, admin.layouts, std::nullopt, admin.subtype );
         }
      }
      if ( label == "Link-Bandwidth-AS" ) {
         return linkBandwidth( rest );
      }
      if ( label == "TunnelEncap" ) {
         return addShape( { typeField( 0x03, 0x0C ), field( 0, 0, 16, tunnelType( rest ) ) } );
      }
      if ( label == "Color" ) {
         return color( rest );
      }
      if ( label == "Origin-Validation-State" ) {
         return addShape( { typeField( 0x43, 0x00 ), field( 0, 0, 8, validationState( rest ) ) } );
      }
      typeLabel( label, rest );
   }

   // typeLabel(): the type label the library prints for kinds without a
   // name of their own: TTSS, then -AS, -AS4, -IP or -IP6, then (NT).
   void typeLabel( std::string_view label, std::string_view rest ) {
      const bool nonTransitive = label.ends_with( "(NT)" );
      if ( nonTransitive ) {
         label.remove_suffix( 4 );
      }
      if ( label.size() < 4 || label.substr( 0, 4 ).find_first_not_of( "0123456789abcdef" ) !=
                                     std::string_view::npos ) {
         fail( "unknown label '" + std::string( label ) + "'" );
      }
      U8 octets[ 2 ] = { 0, 0 };
      std::from_chars( label.data(), label.data() + 2, octets[ 0 ], 16 );
      std::from_chars( label.data() + 2, label.data() + 4, octets[ 1 ], 16 );
      if ( octets[ 0 ] & 0x40 ) {
         fail( "the type in label '" + std::string( label ) + "' has bit 0x40 set; write (NT)" );
      }
      const U8 type = U8( octets[ 0 ] | ( nonTransitive ? 0x40 : 0 ) );
      const std::string_view suffix = label.substr( 4 );
      const Layout layout = suffix == "-AS"    ? as2
                            : suffix == "-AS4" ? as4
                            : suffix == "-IP"  ? ip4
                            : suffix == "-IP6" ? ip6
                                               : Layout( 0 );
      if ( suffix.empty() ) {
         return octetsOf( type, octets[ 1 ], rest );
      }
      if ( !layout ) {
         fail( "unknown label '" + std::string( label ) + "'" );
      }
      globalLocal( rest, layout, type, octets[ 1 ] );
   }

   // octetsOf(): the six value octets of a generic community, one a position.
   void octetsOf( U8 type, U8 subtype, std::string_view rest ) {
      const std::vector<std::string_view> parts = split( rest, ' ' );
      if ( parts.size() != 6 ) {
         fail( "6 value octets expected, not " + std::to_string( parts.size() ) );
      }
      Shape shape;
      shape.field[ shape.fields++ ] = typeField( type, subtype );
      for ( U8 i = 0; i < 6; ++i ) {
         shape.field[ shape.fields++ ] =
               field( 0, U8( 40 - 8 * i ), 8, number( parts[ i ], 0xFF, true ) );
      }
      shapes.push_back( shape );
   }

   // globalLocal(): global:local under every layout the label allows that
   // the positions fit; the type is the layout's unless the label fixes it.
   void globalLocal( std::string_view rest, U8 layouts, std::optional<U8> type, U8 subtype ) {
      const size_t colon = rest.rfind( ':' );
      if ( colon == std::string_view::npos ) {
         fail( "global:local expected after the label" );
      }
      const std::string_view global = rest.substr( 0, colon );
      const Range local = number( rest.substr( colon + 1 ), kU32 );
      const bool anyGlobal = global == "*";
      if ( global.find( ':' ) != std::string_view::npos || ( anyGlobal && layouts == ip6 ) ) {
         if ( !( layouts & ip6 ) ) {
            fail( "an IPv6 global administrator under a label without one" );
         }
         kind = CommunityPattern::kindIp6Extended;
         const std::array<Range, 2> addr = ipv6( global );
         addFitting( { exact( 0, 0, 16, U64( type.value_or( 0x00 ) ) << 8 | subtype ),
                       field( 1, 0, 64, addr[ 0 ] ), field( 2, 0, 64, addr[ 1 ] ) },
                     3, local, kU16 );
         return checkFitted();
      }
      // Dotted quads (an address, a range or a prefix of them) hold three
      // dots or more; an asdot AS, or a range of them, fewer.
      const bool dotted = std::count( global.begin(), global.end(), '.' ) >= 3;
      if ( dotted && !( layouts & ip4 ) ) {
         fail( "an IPv4 global administrator under a label without one" );
      }
      if ( ( dotted || anyGlobal ) && ( layouts & ip4 ) ) {
         addFitting( { typeField( type.value_or( typeOfLayout( ip4 ) ), subtype ),
                       field( 0, 16, 32, ipv4( global ) ) },
                     0, local, kU16 );
      }
      if ( !dotted && !anyGlobal && !( layouts & ( as2 | as4 ) ) ) {
         fail( "an AS global administrator under a label without one" );
      }
      if ( !dotted ) {
         const Range as = asNumber( global );
         if ( ( layouts & as2 ) && as.lo <= kU16 ) {
            addFitting( { typeField( type.value_or( typeOfLayout( as2 ) ), subtype ),
                          field( 0, 32, 16, Range{ as.lo, std::min( as.hi, kU16 ) } ) },
                        0, local, kU32 );
         }
         if ( layouts & as4 ) {
            addFitting( { typeField( type.value_or( typeOfLayout( as4 ) ), subtype ),
                          field( 0, 16, 32, as ) },
                        0, local, kU16 );
         }
      }
      checkFitted();
   }
   // addFitting(): the shape with its local field, when the local range
   // reaches into what the layout can hold.
   void addFitting( std::initializer_list<Field> fields, U8 localWord, Range local, U64 localMax ) {
      if ( local.lo > localMax ) {
         return;
      }
      Shape shape;
      for ( const Field& f : fields ) {
         shape.field[ shape.fields++ ] = f;
      }
      shape.field[ shape.fields++ ] = field( localWord, 0, localMax == kU16 ? 16 : 32,
                                             Range{ local.lo, std::min( local.hi, localMax ) } );
      shapes.push_back( shape );
   }
   void checkFitted() const {
      if ( shapes.empty() ) {
         fail( "fits no layout of the label (a 4-octet AS, an IPv4 or an IPv6 address leaves "
               "16 bits to the local administrator, a 2-octet AS reaches 65535)" );
      }
   }

   // linkBandwidth(): AS:bandwidth, the bandwidth a float range in bytes
   // per second; non-negative floats order like their bit patterns.
   void linkBandwidth( std::string_view rest ) {
      const size_t colon = rest.find( ':' );
      if ( colon == std::string_view::npos ) {
         fail( "AS:bandwidth expected" );
      }
      const Range as = number( rest.substr( 0, colon ), kU16 );
      const std::string_view bw = rest.substr( colon + 1 );
      auto bits = [ & ]( std::string_view n ) -> U64 {
         const std::string s( n );
         char* end = nullptr;
         const float f = std::strtof( s.c_str(), &end );
         if ( s.empty() || end != s.c_str() + s.size() || !( f >= 0 ) || f > 3.4e38f ) {
            fail( "'" + s + "' is not a bandwidth" );
         }
         U32 pattern;
         std::memcpy( &pattern, &f, sizeof pattern );
         return pattern;
      };
      // A dash right after an exponent's e is its sign, not a range.
      size_t dash = bw.find( '-' );
      while ( dash != std::string_view::npos && dash > 0 && ( bw[ dash - 1 ] | 0x20 ) == 'e' ) {
         dash = bw.find( '-', dash + 1 );
      }
      Range r;
      if ( bw != "*" ) {
         r = dash == std::string_view::npos
                   ? Range{ bits( bw ), bits( bw ) }
                   : Range{ bits( bw.substr( 0, dash ) ), bits( bw.substr( dash + 1 ) ) };
         if ( r.lo > r.hi ) {
            fail( "range " + std::string( bw ) + " runs backwards" );
         }
      }
      addShape( { typeField( 0x40, 0x04 ), field( 0, 32, 16, as ), field( 0, 0, 32, r ) } );
   }

   Range tunnelType( std::string_view s ) const {
      // The unknown form carries a dash of its own: it stands alone.
      constexpr std::string_view unknown = "tunnelTypeUnknown-";
      if ( s.starts_with( unknown ) ) {
         const U64 v = decimal( s.substr( unknown.size() ), kU16 );
         return Range{ v, v };
      }
      return range( s, [ & ]( std::string_view n ) -> U64 {
         if ( n.starts_with( "tunnelType" ) ) {
            U64 type = kU16 + 1;
            try {
               type = TunnelTypeInstance( Kel::String( n ) );
            } catch ( const Kel::RangeException& ) {
            }
            if ( type > kU16 ) {
               fail( "unknown tunnel type '" + std::string( n ) + "'" );
            }
            return type;
         }
         return decimal( n, kU16 );
      } );
   }

   // color(): CO(cobits):value, the two flag bits as 00..11 or *.
   void color( std::string_view rest ) {
      const size_t colon = rest.find( ':' );
      const std::string_view flags = rest.substr( 0, colon );
      if ( colon == std::string_view::npos ) {
         fail( "CO(flags):color expected" );
      }
      Range co;
      if ( flags != "*" && flags != "CO(*)" ) {
         if ( flags.size() != 6 || !flags.starts_with( "CO(" ) || flags[ 5 ] != ')' ||
              ( flags[ 3 ] | 1 ) != '1' || ( flags[ 4 ] | 1 ) != '1' ) {
            fail( "'" + std::string( flags ) + "' is not CO(00) to CO(11) or CO(*)" );
         }
         co.lo = co.hi = U64( flags[ 3 ] - '0' ) << 1 | U64( flags[ 4 ] - '0' );
      }
      addShape( { typeField( 0x03, 0x0B ), field( 0, 46, 2, co ),
                  field( 0, 0, 32, number( rest.substr( colon + 1 ), kU32 ) ) } );
   }

   Range validationState( std::string_view s ) const {
      if ( s == "*" ) {
         return Range{};
      }
      if ( s == "unknown" ) {
         return Range{ 3, 0xFF };
      }
      constexpr std::string_view names[] = { "valid", "not-found", "invalid" };
      for ( U64 i = 0; i < 3; ++i ) {
         if ( s == names[ i ] ) {
            return Range{ i, i };
         }
      }
      fail( "'" + std::string( s ) + "' is not valid, not-found, invalid, unknown or *" );
   }

   std::string_view text_;
   mutable CommunityTextReader reader_;
};

// Words: a value as the pattern's fields read it.
std::array<U64, 4> wordsOf( const ExtCommIp6Content& c ) noexcept {
   std::array<U64, 4> words{ U64( c.typeOctet ) << 8 | c.subtypeOctet, 0, 0, c.localAdmin };
   for ( int o = 0; o < 16; ++o ) {
      words[ 1 + o / 8 ] = words[ 1 + o / 8 ] << 8 | c.addr.data()[ o ];
   }
   return words;
}

} // namespace

CommunityPattern::CommunityPattern( std::string_view text ) : text_( text ) {
   Compiler compiler( text );
   compiler.compile();
   kind_ = compiler.kind;
   shapes_ = std::move( compiler.shapes );
}

bool CommunityPattern::matches( U32 community ) const noexcept {
   const U64 word = community;
   return kind_ == kindStandard && matchesWords( &word );
}

bool CommunityPattern::matches( const Acl::CommunityValue& value ) const noexcept {
   const U64 words[ 3 ] = { value.globalAdmin(), value.localData1(), value.localData2() };
   return kind_ == kindLarge && matchesWords( words );
}

bool CommunityPattern::matches( const ExtCommContent& content ) const noexcept {
   return kind_ == kindExtended && matchesWords( &content.value );
}

bool CommunityPattern::matches( const ExtCommIp6Content& content ) const noexcept {
   return kind_ == kindIp6Extended && matchesWords( wordsOf( content ).data() );
}

bool CommunityPattern::matches( const CommList* list ) const noexcept {
   if ( !list || kind_ != kindStandard ) {
      return false;
   }
   for ( U32 value : *list->commVectorRawPtr() ) {
      const U64 word = value;
      if ( matchesWords( &word ) ) {
         return true;
      }
   }
   return false;
}

bool CommunityPattern::matches( const LargeCommList* list ) const noexcept {
   if ( !list ) {
      return false;
   }
   for ( const Acl::CommunityValue& value : *list->commVectorRawPtr() ) {
      if ( matches( value ) ) {
         return true;
      }
   }
   return false;
}

bool CommunityPattern::matches( const ExtCommList* list ) const noexcept {
   if ( !list || kind_ != kindExtended ) {
      return false;
   }
   for ( const ExtComm::PtrConst& comm : list->commVector() ) {
      const U64 word = comm->community();
      if ( matchesWords( &word ) ) {
         return true;
      }
   }
   return false;
}

bool CommunityPattern::matches( const ExtCommIp6List* list ) const noexcept {
   if ( !list || kind_ != kindIp6Extended ) {
      return false;
   }
   for ( const ExtCommIp6::PtrConst& comm : list->commVector() ) {
      if ( matchesWords( wordsOf( comm->content() ).data() ) ) {
         return true;
      }
   }
   return false;
}

} // namespace Routing::Bgp
