#include "tools/bgpcomm/CommunityValues.h"

#include "tools/bgpcomm/HexText.h"
#include "tools/bgpcomm/NlriText.h"
#include "tools/bgpcomm/WireRead.h"

#include <algorithm>
#include <cstring>

namespace Bgpcomm {

namespace {

template<typename T>
void sortUnique( std::vector<T>& v ) {
   std::sort( v.begin(), v.end() );
   v.erase( std::unique( v.begin(), v.end() ), v.end() );
}

} // namespace

void CommunityValues::decode( CommunityKind kind, std::span<const U8> octets ) {
   const U8* p = octets.data();
   size_t count = octets.size() / communityKindInfo( kind ).unit;
   switch ( kind ) {
      case CommunityKind::standard:
         standard_.resize( count );
         for ( size_t i = 0; i < count; ++i )
            standard_[ i ] = loadU32( p + 4 * i );
         sortUnique( standard_ );
         return;
      case CommunityKind::extended:
         extended_.resize( count );
         for ( size_t i = 0; i < count; ++i )
            extended_[ i ] = loadU64( p + 8 * i );
         sortUnique( extended_ );
         return;
      case CommunityKind::large:
         large_.resize( count );
         for ( size_t i = 0; i < count; ++i ) {
            const U8* q = p + 12 * i;
            large_[ i ] = { loadU32( q ), loadU32( q + 4 ), loadU32( q + 8 ) };
         }
         sortUnique( large_ );
         return;
      case CommunityKind::ip6Extended:
         ip6Extended_.resize( count );
         for ( size_t i = 0; i < count; ++i )
            std::memcpy( ip6Extended_[ i ].data(), p + 20 * i, 20 );
         sortUnique( ip6Extended_ );
         return;
   }
}

size_t CommunityValues::size( CommunityKind kind ) const {
   switch ( kind ) {
      case CommunityKind::standard:
         return standard_.size();
      case CommunityKind::extended:
         return extended_.size();
      case CommunityKind::large:
         return large_.size();
      case CommunityKind::ip6Extended:
         return ip6Extended_.size();
   }
   return 0;
}

void CommunityValues::appendJson( std::string& out, CommunityKind kind,
                                  std::span<const U8> octets ) {
   decode( kind, octets );
   out += '[';
   size_t n = size( kind );
   for ( size_t i = 0; i < n; ++i ) {
      if ( i )
         out += ", ";
      switch ( kind ) {
         case CommunityKind::standard:
            appendDecimal( out, standard_[ i ] );
            break;
         case CommunityKind::extended: {
            U8 be[ 8 ];
            for ( int j = 0; j < 8; ++j )
               be[ j ] = U8( extended_[ i ] >> ( 56 - 8 * j ) );
            out += "\"0x";
            appendHex( out, be );
            out += '"';
            break;
         }
         case CommunityKind::large:
            out += '[';
            appendDecimal( out, large_[ i ][ 0 ] );
            out += ", ";
            appendDecimal( out, large_[ i ][ 1 ] );
            out += ", ";
            appendDecimal( out, large_[ i ][ 2 ] );
            out += ']';
            break;
         case CommunityKind::ip6Extended:
            out += '"';
            appendHex( out, ip6Extended_[ i ] );
            out += '"';
            break;
      }
   }
   out += ']';
}

} // namespace Bgpcomm
