#include "Onet/Ip6Addr.h"

#include "Kel/Exception.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>

#include <cstdio>
#include <memory>
#include <random>
#include <sstream>
#include <unordered_set>
#include <vector>

namespace {

using Onet::Ip6Addr;

std::string text( const Ip6Addr& addr ) {
   // Exactly maxTextLength bytes, so a write past the end shows under ASan.
   auto buf = std::make_unique<char[]>( Ip6Addr::maxTextLength );
   return std::string( buf.get(), addr.toChars( buf.get() ) );
}

bool pton( const std::string& s, Ip6Addr* out ) {
   Ip6Addr::Octets octets;
   if ( inet_pton( AF_INET6, s.c_str(), octets.data() ) != 1 ) {
      return false;
   }
   *out = Ip6Addr( octets );
   return true;
}

// Random addresses rich in zero groups, so that runs, ties and the mapped
// and compatible prefixes all come up.
Ip6Addr randomAddr( std::mt19937& rng ) {
   Ip6Addr::Octets o{};
   for ( int g = 0; g < 8; ++g ) {
      U32 kind = rng() % 4;
      U16 v = kind < 2 ? 0 : kind == 2 ? U16( rng() % 16 ) : U16( rng() );
      o[ 2 * g ] = U8( v >> 8 );
      o[ 2 * g + 1 ] = U8( v );
   }
   if ( rng() % 8 == 0 ) {
      for ( int i = 0; i < 10; ++i ) {
         o[ i ] = 0;
      }
      o[ 10 ] = o[ 11 ] = rng() % 2 ? 0xFF : 0;
   }
   return Ip6Addr( o );
}

TEST( Ip6Addr, FormatsAsRfc5952 ) {
   // The comparison with inet_ntop below covers the rest.
   const std::pair<const char*, const char*> cases[] = {
      { "2001:0DB8:0000:0000:0000:0000:0000:0001", "2001:db8::1" },
      { "2001:db8:0:1:1:1:1:1", "2001:db8:0:1:1:1:1:1" }, // one zero group stays
      { "2001:db8:0:0:1:0:0:1", "2001:db8::1:0:0:1" },    // first run on a tie
      { "2001:0:0:1:0:0:0:1", "2001:0:0:1::1" },          // longest run wins
      { "0:0:0:0:0:0:0:0", "::" },
      { "::ffff:c000:0201", "::ffff:192.0.2.1" }, // mapped: dotted
      { "::c000:201", "::c000:201" },             // compatible: hex
      { "64:ff9b::192.0.2.33", "64:ff9b::c000:221" },
      { "0:0:0:0:1:ffff:c000:201", "::1:ffff:c000:201" },
   };
   for ( const auto& [ input, expected ] : cases ) {
      EXPECT_EQ( expected, text( Ip6Addr::parse( input ) ) ) << input;
   }
}

// glibc's inet_ntop agrees with RFC 5952 except for the deprecated
// IPv4-compatible addresses: with the first six groups zero and the seventh
// not, it prints "::a.b.c.d" where RFC 5952 asks for hex ("::c000:201").
TEST( Ip6Addr, AgreesWithInetNtopApartFromIpv4CompatibleAddresses ) {
   std::mt19937 rng( 11 );
   int compatibleSeen = 0;
   for ( int i = 0; i < 50000; ++i ) {
      Ip6Addr addr = randomAddr( rng );
      std::string ours = text( addr );
      bool compatible = addr.group( 6 ) != 0;
      for ( int g = 0; g < 6; ++g ) {
         compatible = compatible && addr.group( g ) == 0;
      }
      char expected[ INET6_ADDRSTRLEN ];
      if ( compatible ) {
         ++compatibleSeen;
         std::snprintf( expected, sizeof expected, "::%x:%x", addr.group( 6 ), addr.group( 7 ) );
      } else {
         ASSERT_NE( nullptr, inet_ntop( AF_INET6, addr.data(), expected, sizeof expected ) );
      }
      ASSERT_EQ( expected, ours );
      ASSERT_EQ( addr, Ip6Addr::parse( ours ) ) << ours;
   }
   EXPECT_GT( compatibleSeen, 0 );
}

// Writes addr in a random one of the RFC 4291 forms: any zero run (or none)
// compressed, leading zeros or not, either case, the last 32 bits dotted.
std::string anyForm( const Ip6Addr& addr, std::mt19937& rng ) {
   const bool dotted = rng() % 4 == 0;
   const int groups = dotted ? 6 : 8;
   int gapBase = -1;
   int gapEnd = -1;
   for ( int i = 0; i < groups && gapBase < 0 && rng() % 2; ++i ) {
      int j = int( rng() % unsigned( groups ) );
      int k = j;
      while ( k < groups && addr.group( k ) == 0 ) {
         ++k;
      }
      if ( k > j ) {
         gapBase = j;
         gapEnd = j + 1 + int( rng() % unsigned( k - j ) );
      }
   }
   const char* format = rng() % 2 ? "%x" : rng() % 2 ? "%04X" : "%X";
   std::string s;
   char buf[ 16 ];
   auto add = [ & ] {
      s += ( s.empty() || s.back() == ':' ? "" : ":" ) + std::string( buf );
   };
   for ( int g = 0; g < groups; ++g ) {
      if ( g == gapBase ) {
         s += "::";
      } else if ( g < gapBase || g >= gapEnd ) {
         std::snprintf( buf, sizeof buf, format, addr.group( g ) );
         add();
      }
   }
   if ( dotted ) {
      const auto& o = addr.octets();
      std::snprintf( buf, sizeof buf, "%u.%u.%u.%u", o[ 12 ], o[ 13 ], o[ 14 ], o[ 15 ] );
      add();
   }
   return s;
}

// Every text form parses as inet_pton reads it, and the same forms with an
// edit or two are accepted or rejected exactly as inet_pton does.
TEST( Ip6Addr, AcceptsAndRejectsExactlyWhatInetPtonDoes ) {
   std::mt19937 rng( 3 );
   const char alphabet[] = "0123456789abcdefABCDEFg:.:.%x ";
   int rejected = 0;
   for ( int i = 0; i < 120000; ++i ) {
      Ip6Addr addr = randomAddr( rng );
      std::string s = anyForm( addr, rng );
      const unsigned edits = rng() % 3;
      for ( unsigned e = 0; e < edits; ++e ) {
         size_t at = rng() % ( s.size() + 1 );
         char c = alphabet[ rng() % ( sizeof alphabet - 1 ) ];
         if ( rng() % 3 == 0 ) {
            s.insert( at, 1, c );
         } else if ( at < s.size() && rng() % 2 ) {
            s.erase( at, 1 );
         } else if ( at < s.size() ) {
            s[ at ] = c;
         }
      }
      Ip6Addr ref;
      Ip6Addr ours;
      bool refOk = pton( s, &ref );
      ASSERT_EQ( refOk, Ip6Addr::tryParse( s, &ours ) ) << s;
      if ( edits == 0 ) {
         ASSERT_EQ( addr, ours ) << s;
      }
      if ( refOk ) {
         ASSERT_EQ( ref, ours ) << s;
         ASSERT_EQ( ref, Ip6Addr::parse( s ) ) << s;
      } else {
         ++rejected;
         ASSERT_THROW( Ip6Addr::parse( s ), Kel::ParseException ) << s;
      }
   }
   EXPECT_GT( rejected, 10000 );
}

TEST( Ip6Addr, RejectsMalformedTextSayingWhatAndWhere ) {
   const std::pair<const char*, const char*> cases[] = {
      { "", "expected eight groups or '::' at offset 0" },
      { ":1::", "expected a hex group or '::' at offset 0" },
      { "1::2::3", "expected at most one '::' at offset 4" },
      { "1:2:3:4:5:6:7:8::", "expected '::' to stand for at least one zero group at offset 15" },
      { "1:2:3:4:5:6:7:8:9", "expected at most eight groups at offset 16" },
      { "1:2:3:4:5:6:7", "expected eight groups or '::' at offset 13" },
      { "12345::", "expected at most four hex digits in a group at offset 0" },
      { "1:2:", "expected a hex group after ':' at offset 4" },
      { ":::", "expected a hex group at offset 2" },
      { "fe80::1%eth0", "expected ':' at offset 7" },
      { "::ffff:1.2.3", "expected an embedded IPv4 address at offset 7" },
      { "1:2:3:4:5:6:7:1.2.3.4",
        "expected no embedded IPv4 address after six groups at offset 14" },
   };
   for ( const auto& [ input, message ] : cases ) {
      try {
         Ip6Addr::parse( input );
         ADD_FAILURE() << "parsed " << input;
      } catch ( const Kel::ParseException& e ) {
         EXPECT_EQ( "address", e.attribute() );
         EXPECT_EQ( std::string( "invalid IPv6 address '" ) + input + "': " + message, e.what() );
      }
   }
}

TEST( Ip6Addr, OrdersByOctetsHashesAndStreams ) {
   EXPECT_LT( Ip6Addr::parse( "::ffff" ), Ip6Addr::parse( "::1:0" ) );
   EXPECT_LT( Ip6Addr::parse( "7fff::" ), Ip6Addr::parse( "8000::" ) );
   std::unordered_set<Ip6Addr> set;
   for ( int i = 0; i < 16; ++i ) {
      Ip6Addr::Octets o{};
      o[ i ] = 1;
      set.insert( Ip6Addr( o ) );
   }
   EXPECT_EQ( 16u, set.size() );
   EXPECT_EQ( 1u, set.count( Ip6Addr::parse( "::100" ) ) );
   std::ostringstream os;
   os << Ip6Addr::parse( "2001:DB8::A" );
   EXPECT_EQ( "2001:db8::a", os.str() );
   EXPECT_EQ( "::ffff:10.0.0.1", Ip6Addr::parse( "::ffff:10.0.0.1" ).toString() );
}

} // namespace
