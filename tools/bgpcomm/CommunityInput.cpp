#include "tools/bgpcomm/CommunityInput.h"

#include "tools/bgpcomm/HexText.h"
#include "tools/bgpcomm/WireRead.h"

#include <string>

namespace Bgpcomm {

namespace {

constexpr U8 flagOptional = 0x80;
constexpr U8 flagExtendedLength = 0x10;

// readAttribute(): the octets as a community attribute; "" on success, else why not.
std::string readAttribute( const std::vector<U8>& o, CommunityInput* in ) {
   if ( o.size() < 3 )
      return "too short for a path attribute header";
   U8 flags = o[ 0 ];
   size_t header = ( flags & flagExtendedLength ) ? 4 : 3;
   if ( o.size() < header )
      return "too short for an extended-length attribute header";
   auto kind = communityKindForAttrType( o[ 1 ] );
   if ( !kind ) {
      return "path attribute type " + std::to_string( o[ 1 ] ) +
             " is not a community attribute (8, 16, 25 or 32)";
   }
   CommunityKindInfo info = communityKindInfo( *kind );
   size_t length = header == 4 ? loadU16( &o[ 2 ] ) : o[ 2 ];
   std::string name = info.attrName;
   if ( length != o.size() - header ) {
      return name + " attribute header says " + std::to_string( length ) + " value octets but " +
             std::to_string( o.size() - header ) + " follow";
   }
   if ( length == 0 )
      return name + " attribute has length 0";
   if ( length % info.unit ) {
      return name + " attribute length " + std::to_string( length ) + " is not a multiple of " +
             std::to_string( info.unit );
   }
   if ( !( flags & flagOptional ) )
      return name + " attribute lacks the optional flag";
   in->kind = *kind;
   in->octets.assign( o.begin() + long( header ), o.end() );
   in->isAttribute = true;
   in->attrFlags = flags;
   return std::string();
}

} // namespace

CommunityInput parseCommunityInput( std::string_view hex ) {
   std::vector<U8> octets;
   try {
      octets = parseHex( hex );
   } catch ( const HexError& e ) {
      throw CommunityInputError( e.what() );
   }
   CommunityInput in;
   std::string why = readAttribute( octets, &in );
   if ( why.empty() )
      return in;
   std::optional<CommunityKind> bare;
   switch ( octets.size() ) {
      case 4:
         bare = CommunityKind::standard;
         break;
      case 8:
         bare = CommunityKind::extended;
         break;
      case 12:
         bare = CommunityKind::large;
         break;
      case 20:
         bare = CommunityKind::ip6Extended;
         break;
      default:
         break;
   }
   if ( !bare ) {
      // With a community type in the header the input was meant as an
      // attribute, and what is wrong with it is the useful message.
      if ( octets.size() >= 3 && communityKindForAttrType( octets[ 1 ] ) ) {
         throw CommunityInputError( why );
      }
      throw CommunityInputError( std::to_string( octets.size() ) +
                                 " octets is neither a community (4, 8, 12 or 20 octets) nor a "
                                 "community path attribute (type 8, 16, 25 or 32)" );
   }
   in.kind = *bare;
   in.octets = std::move( octets );
   return in;
}

} // namespace Bgpcomm
