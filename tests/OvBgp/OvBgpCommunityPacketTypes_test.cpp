#include "OvBgp/OvBgpCommunityPacketTypes.h"

#include <set>
#include <vector>

#include <gtest/gtest.h>

#include "Kel/Exception.h"

using namespace Routing::Bgp;

namespace {

// Checks one wire enum: for every octet the bit-set test agrees with the
// member table, the number of wire members is the expected one, and every
// other member lies above the octet range. Returns the out-of-range values.
template<class E>
std::vector<U32> checkWireEnum( std::span<const Kel::EnumMember<E>> members, size_t wireMembers,
                                const char* enumName ) {
   SCOPED_TRACE( enumName );
   size_t valid = 0;
   for ( U32 octet = 0; octet < 256; ++octet ) {
      E value = static_cast<E>( octet );
      bool named = !stringValue( value ).empty();
      EXPECT_EQ( bgpIsValidEnumMember( value ), named ) << "octet " << octet;
      valid += bgpIsValidEnumMember( value );
   }
   EXPECT_EQ( valid, wireMembers );
   std::vector<U32> outOfBand;
   for ( const auto& m : members ) {
      if ( U32( m.value ) > 0xFF ) {
         EXPECT_FALSE( bgpIsValidEnumMember( m.value ) ) << m.name;
         outOfBand.push_back( U32( m.value ) );
      }
   }
   EXPECT_EQ( members.size(), wireMembers + outOfBand.size() );
   EXPECT_FALSE( outOfBand.empty() ) << "no unknown member";
   return outOfBand;
}

#define CHECK_WIRE_ENUM( E, count ) checkWireEnum<E>( E##Members(), count, #E )

} // namespace

TEST( OvBgpCommunityPacketTypes, ValidityTestsMatchMemberListsForEveryOctet ) {
   CHECK_WIRE_ENUM( BgpExtCommPktType, 16 );
   CHECK_WIRE_ENUM( BgpExtCommIp6PktType, 2 );
   std::vector<std::vector<U32>> unknowns = {
      CHECK_WIRE_ENUM( BgpExtCommPktSubtypeTransTwoOctetAs, 7 ),
      CHECK_WIRE_ENUM( BgpExtCommPktSubtypeTransIpv4Address, 8 ),
      CHECK_WIRE_ENUM( BgpExtCommPktSubtypeTransFourOctetAs, 7 ),
      CHECK_WIRE_ENUM( BgpExtCommPktSubtypeTransOpaque, 6 ),
      CHECK_WIRE_ENUM( BgpExtCommPktSubtypeEvpn, 12 ),
      CHECK_WIRE_ENUM( BgpExtCommPktSubtypeTransFlowspecRedirectNexthop, 1 ),
      CHECK_WIRE_ENUM( BgpExtCommPktSubtypeTransGeneric, 6 ),
      CHECK_WIRE_ENUM( BgpExtCommPktSubtypeTransGenericPart2, 1 ),
      CHECK_WIRE_ENUM( BgpExtCommPktSubtypeTransGenericPart3, 1 ),
      CHECK_WIRE_ENUM( BgpExtCommPktSubtypeNonTransTwoOctetAs, 2 ),
      CHECK_WIRE_ENUM( BgpExtCommPktSubtypeNonTransIpv4Address, 0 ),
      CHECK_WIRE_ENUM( BgpExtCommPktSubtypeNonTransFourOctetAs, 1 ),
      CHECK_WIRE_ENUM( BgpExtCommPktSubtypeNonTransOpaque, 2 ),
      CHECK_WIRE_ENUM( BgpExtCommIp6PktSubtypeTransIpv6Address, 8 ),
      CHECK_WIRE_ENUM( BgpExtCommIp6PktSubtypeNonTransIpv6Address, 0 ),
   };
   // The unknown members (and the link-bandwidth "any") never collide.
   std::set<U32> distinct;
   size_t total = 0;
   for ( const auto& values : unknowns ) {
      distinct.insert( values.begin(), values.end() );
      total += values.size();
   }
   EXPECT_EQ( distinct.size(), total );
   EXPECT_EQ( total, 16u );
   EXPECT_FALSE( bgpIsValidEnumMember( BgpExtCommPktType( 0x07 + 0x100 ) ) ); // not masked
}

// Members keep their established spellings, misspelt or not.
TEST( OvBgpCommunityPacketTypes, EstablishedSpellingsStayNames ) {
   EXPECT_EQ( BgpExtCommPktSubtypeTransOpaqueInstance( "extCommPktSubtypeTransOpaqeUnknown" ),
              extCommPktSubtypeTransOpaqeUnknown );
   EXPECT_EQ( BgpExtCommPktSubtypeNonTransFourOctetAsInstance(
                    "extCommPktSubNonTransFourOctetAsUnknown" ),
              extCommPktSubNonTransFourOctetAsUnknown );
   EXPECT_EQ( BgpCommunityValueInstance( 0xFFFFFF01 ), communityNoExport );
}

// How bounds apply (construction, assignment, parse) is BgpMaybeU63's
// (OvBgpMiscTypes_test); a subtype is one octet.
TEST( BgpExtCommPktSubtype, OneOctet ) {
   EXPECT_EQ( BgpExtCommPktSubtype( 255 ).value(), 255u );
   EXPECT_THROW( BgpExtCommPktSubtype( 256 ), Kel::RangeException );
}
