#include "tools/bgpcomm/RouteFilter.h"

#include "tools/bgpcomm/NlriText.h"

#include <arpa/inet.h>

#include <algorithm>
#include <charconv>
#include <cstring>

namespace Bgpcomm {

namespace {

// parseAsn(): "65000" or "AS65000"; false when it is not a 4-octet AS number.
bool parseAsn( std::string_view text, U32* asn ) {
   if ( text.size() > 2 && ( text[ 0 ] == 'A' || text[ 0 ] == 'a' ) &&
        ( text[ 1 ] == 'S' || text[ 1 ] == 's' ) ) {
      text.remove_prefix( 2 );
   }
   auto r = std::from_chars( text.data(), text.data() + text.size(), *asn );
   return !text.empty() && r.ec == std::errc() && r.ptr == text.data() + text.size();
}

// canonicalAddress(): the text the reader writes for an address, or "".
std::string canonicalAddress( const std::string& text ) {
   U8 octets[ 16 ];
   std::string out;
   if ( inet_pton( AF_INET, text.c_str(), octets ) == 1 ) {
      appendIpv4( out, octets );
   } else if ( inet_pton( AF_INET6, text.c_str(), octets ) == 1 ) {
      appendIpv6( out, octets );
   }
   return out;
}

} // namespace

bool RouteFilter::parsePrefix( std::string_view text, Prefix* prefix ) {
   size_t slash = text.find( '/' );
   std::string address( text.substr( 0, slash ) );
   prefix->address.fill( 0 );
   if ( inet_pton( AF_INET, address.c_str(), prefix->address.data() ) == 1 ) {
      prefix->ipv6 = false;
   } else if ( inet_pton( AF_INET6, address.c_str(), prefix->address.data() ) == 1 ) {
      prefix->ipv6 = true;
   } else {
      return false;
   }
   unsigned max = prefix->ipv6 ? 128 : 32;
   prefix->bits = max;
   if ( slash != text.npos ) {
      std::string_view length = text.substr( slash + 1 );
      auto r = std::from_chars( length.data(), length.data() + length.size(), prefix->bits );
      if ( length.empty() || r.ec != std::errc() || r.ptr != length.data() + length.size() ||
           prefix->bits > max ) {
         return false;
      }
   }
   return true;
}

std::string RouteFilter::peerReason( const std::string& text ) {
   U32 asn;
   if ( parseAsn( text, &asn ) || !canonicalAddress( text ).empty() )
      return std::string();
   return "'" + text + "' is neither an IP address nor an AS number";
}

std::string RouteFilter::prefixReason( const std::string& text ) {
   Prefix p;
   if ( parsePrefix( text, &p ) )
      return std::string();
   return "'" + text + "' is not a prefix such as 10.0.0.0/8 or 2001:db8::/32";
}

RouteFilter::RouteFilter( const std::vector<std::string>& peers,
                          const std::vector<std::string>& prefixes ) {
   for ( const std::string& text : peers ) {
      U32 asn;
      if ( parseAsn( text, &asn ) ) {
         asns_.push_back( asn );
      } else if ( std::string address = canonicalAddress( text ); !address.empty() ) {
         peers_.push_back( address );
      } else {
         throw std::invalid_argument( peerReason( text ) );
      }
   }
   for ( const std::string& text : prefixes ) {
      Prefix p;
      if ( !parsePrefix( text, &p ) )
         throw std::invalid_argument( prefixReason( text ) );
      prefixes_.push_back( p );
   }
}

bool RouteFilter::wantsPeer( std::string_view peer, U32 peerAs ) const {
   if ( peers_.empty() && asns_.empty() )
      return true;
   return std::find( asns_.begin(), asns_.end(), peerAs ) != asns_.end() ||
          std::find( peers_.begin(), peers_.end(), peer ) != peers_.end();
}

// A route's prefix matches when it is as long or longer and its first bits
// are the filter's. Prefixes that are not plain IP prefixes (VPN and other
// families) match no prefix filter.
bool RouteFilter::wantsPrefix( std::string_view text ) const {
   if ( prefixes_.empty() )
      return true;
   Prefix route;
   if ( text.find( '/' ) == text.npos || !parsePrefix( text, &route ) )
      return false;
   for ( const Prefix& p : prefixes_ ) {
      if ( p.ipv6 != route.ipv6 || route.bits < p.bits )
         continue;
      size_t whole = p.bits / 8;
      unsigned rest = p.bits % 8;
      if ( std::memcmp( p.address.data(), route.address.data(), whole ) != 0 )
         continue;
      if ( rest ) {
         U8 mask = U8( 0xff << ( 8 - rest ) );
         if ( ( p.address[ whole ] & mask ) != ( route.address[ whole ] & mask ) )
            continue;
      }
      return true;
   }
   return false;
}

} // namespace Bgpcomm
