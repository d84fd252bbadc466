#include "MrtTestSupport.h"

#include "tools/bgpcomm/RoutePrinter.h"

#include <gtest/gtest.h>

#include <cstdio>

namespace BgpcommTest {
namespace {

// printed(): what the printer writes for one route.
std::string printed( const MrtRoute& route, RoutePrinter::Format format ) {
   char* text = nullptr;
   size_t size = 0;
   std::FILE* f = open_memstream( &text, &size );
   {
      OutputBuffer out( f );
      RoutePrinter( out, format ).print( route );
   }
   std::fclose( f );
   std::string s( text, size );
   std::free( text );
   return s;
}

TEST( RoutePrinter, JsonCarriesSortedUniqueValuesOfPresentKindsOnly ) {
   std::vector<U8> standard = hexOctets( "fde800c8 fde80064 fde800c8" );
   std::vector<U8> extended = hexOctets( "4004fde84e6e6b28 0002fde800000064" );
   std::vector<U8> large = hexOctets( "fa56ea00 00000001 00000002 0000fde8 00000000 00000009" );
   std::vector<U8> ip6 = hexOctets( "000220010db8000000000000000000000001 0064" );
   MrtRoute r;
   r.prefix = "10.1.0.0/24";
   r.peer = "192.0.2.1";
   r.peerAs = 65000;
   r.communities = { standard, extended, large, ip6 };
   EXPECT_EQ( printed( r, RoutePrinter::Format::json ),
              "{\"prefix\": \"10.1.0.0/24\", \"peer\": \"192.0.2.1\", \"peerAs\": 65000, "
              "\"communities\": {\"values\": [4259840100, 4259840200]}, "
              "\"extCommunities\": {\"values\": [\"0x0002fde800000064\", \"0x4004fde84e6e6b28\"]}, "
              "\"largeCommunities\": {\"values\": [[65000, 0, 9], [4200000000, 1, 2]]}, "
              "\"ipv6ExtCommunities\": {\"values\": "
              "[\"000220010db80000000000000000000000010064\"]}}\n" );

   r.communities = {};
   r.communities[ communityKindIndex( CommunityKind::large ) ] = large;
   EXPECT_EQ( printed( r, RoutePrinter::Format::json ),
              "{\"prefix\": \"10.1.0.0/24\", \"peer\": \"192.0.2.1\", \"peerAs\": 65000, "
              "\"largeCommunities\": {\"values\": [[65000, 0, 9], [4200000000, 1, 2]]}}\n" );
   EXPECT_EQ( printed( r, RoutePrinter::Format::lines ),
              "10.1.0.0/24\t192.0.2.1\t-\t-\tfa56ea000000000100000002"
              "0000fde80000000000000009\t-\n" );
}

TEST( RoutePrinter, JsonStringsAreEscaped ) {
   std::string s;
   appendJsonString( s, "a\"b\\c\x01" );
   EXPECT_EQ( s, "\"a\\\"b\\\\c\\u0001\"" );
}

} // namespace
} // namespace BgpcommTest
