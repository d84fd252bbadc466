#include "tools/bgpcomm/PathAttributes.h"

#include "tools/bgpcomm/WireRead.h"

namespace Bgpcomm {

namespace {

constexpr U8 flagExtendedLength = 0x10;

void addIssue( PathAttributeScan* scan, CommunityKind kind, AttributeIssue::Cause cause,
               U32 length ) {
   if ( scan->issueCount < PathAttributeScan::maxIssues ) {
      scan->issues[ scan->issueCount++ ] = AttributeIssue{ kind, cause, length };
   }
}

} // namespace

std::string AttributeIssue::text() const {
   CommunityKindInfo info = communityKindInfo( kind );
   std::string name = info.attrName;
   switch ( cause ) {
      case emptyValue:
         return name + " attribute has length 0; route shown without it";
      case notMultiple:
         return name + " attribute length " + std::to_string( length ) + " is not a multiple of " +
                std::to_string( info.unit ) + "; route shown without it";
      case duplicate:
         return "repeated " + name + " attribute ignored; the first one is used";
   }
   return name;
}

std::string scanPathAttributes( std::span<const U8> block, PathAttributeScan* scan ) {
   // Only what a walk sets is reset: clearing the issue slots as well made a
   // block copy that cost more than the walk of a short block.
   scan->communities = {};
   scan->mpReach = {};
   scan->mpUnreach = {};
   scan->issueCount = 0;
   U8 seen = 0; // bit per community kind; MP_REACH_NLRI is bit 7, MP_UNREACH_NLRI bit 6
   const U8* p = block.data();
   size_t left = block.size();
   while ( left > 0 ) {
      size_t at = block.size() - left;
      size_t header = ( p[ 0 ] & flagExtendedLength ) ? 4 : 3;
      if ( left < header ) {
         return "path attribute header cut short at octet " + std::to_string( at ) +
                " of the attribute block";
      }
      U8 type = p[ 1 ];
      U32 length = header == 4 ? loadU16( p + 2 ) : p[ 2 ];
      if ( left - header < length ) {
         return "path attribute type " + std::to_string( type ) + " at octet " +
                std::to_string( at ) + " has length " + std::to_string( length ) + " but only " +
                std::to_string( left - header ) + " octets are left";
      }
      std::span<const U8> value( p + header, length );
      if ( auto kind = communityKindForAttrType( type ) ) {
         U8 bit = U8( 1u << communityKindIndex( *kind ) );
         if ( seen & bit ) {
            addIssue( scan, *kind, AttributeIssue::duplicate, length );
         } else {
            seen |= bit;
            if ( length == 0 ) {
               addIssue( scan, *kind, AttributeIssue::emptyValue, length );
            } else if ( length % communityKindInfo( *kind ).unit != 0 ) {
               addIssue( scan, *kind, AttributeIssue::notMultiple, length );
            } else {
               scan->communities[ communityKindIndex( *kind ) ] = value;
            }
         }
      } else if ( type == pathAttrMpReachNlri && !( seen & 0x80 ) ) {
         seen |= 0x80;
         scan->mpReach = value;
      } else if ( type == pathAttrMpUnreachNlri && !( seen & 0x40 ) ) {
         seen |= 0x40;
         scan->mpUnreach = value;
      }
      p += header + length;
      left -= header + length;
   }
   return std::string();
}

} // namespace Bgpcomm
