#include "tools/bgpcomm/Bzip2Block.h"

#include <bzlib.h>
#include <gtest/gtest.h>

#include <string>

namespace BgpcommTest {
namespace {

using Octets = std::vector<U8>;
using Bgpcomm::Bzip2BlockDecoder;

Octets bzip2( const Octets& in, int level ) {
   Octets out( in.size() * 2 + 1024 );
   unsigned size = unsigned( out.size() );
   EXPECT_EQ( BZ2_bzBuffToBuffCompress( reinterpret_cast<char*>( out.data() ), &size,
                                        reinterpret_cast<char*>( const_cast<U8*>( in.data() ) ),
                                        unsigned( in.size() ), level, 0, 0 ),
              BZ_OK );
   out.resize( size );
   return out;
}

unsigned bitAt( const Octets& z, U64 bit ) { return z[ bit / 8 ] >> ( 7 - bit % 8 ) & 1; }

void setBits( Octets& z, U64 first, unsigned count, U32 value ) {
   for ( unsigned i = 0; i < count; ++i ) {
      U64 bit = first + i;
      U8 mask = U8( 0x80 >> bit % 8 );
      z[ bit / 8 ] =
            U8( ( value >> ( count - 1 - i ) & 1 ) ? z[ bit / 8 ] | mask : z[ bit / 8 ] & ~mask );
   }
}

// blocks(): the bit where each block starts, and where the stream's end
// magic does (the tests' data holds no magic by chance).
std::vector<U64> blocks( const Octets& z ) {
   std::vector<U64> at;
   U64 window = 0;
   for ( U64 bit = 32; bit < z.size() * 8; ++bit ) {
      window = ( window << 1 | bitAt( z, bit ) ) & 0xffffffffffff;
      if ( window == 0x314159265359 || window == 0x177245385090 ) {
         at.push_back( bit - 47 );
      }
   }
   return at;
}

Octets inflated( const Octets& z ) {
   Bzip2BlockDecoder decoder;
   std::vector<U64> at = blocks( z );
   Octets all, out;
   U32 crc = 0;
   for ( size_t i = 0; i + 1 < at.size(); ++i ) {
      const char* error =
            decoder.decode( z, at[ i ], at[ i + 1 ] - at[ i ], char( z[ 3 ] ), out, crc );
      EXPECT_EQ( error, nullptr ) << error;
      all.insert( all.end(), out.begin(), out.end() );
   }
   return all;
}

TEST( Bzip2Block, BlocksDecodeToWhatBzip2Compressed ) {
   std::vector<std::pair<const char*, Octets>> cases = { { "one octet", Octets{ 'x' } },
                                                         { "zeros", Octets( 2500000, 0 ) },
                                                         { "random", {} },
                                                         { "runs", {} },
                                                         { "a phrase repeated", {} } };
   U32 x = 7;
   for ( int i = 0; i < 250000; ++i ) {
      x = x * 1103515245 + 12345;
      cases[ 2 ].second.push_back( U8( x >> 16 ) );
      // Runs of every length up to 300 (four and a count octet, and beyond it).
      cases[ 3 ].second.insert( cases[ 3 ].second.end(), x % 300 + 1, U8( x >> 8 ) );
      cases[ 4 ].second.push_back( U8( "a phrase, "[ i % 10 ] ) );
   }
   for ( const auto& [ what, data ] : cases ) {
      for ( int level : { 1, 9 } ) {
         EXPECT_EQ( inflated( bzip2( data, level ) ), data ) << what << " level " << level;
      }
   }
}

TEST( Bzip2Block, CorruptBlocksAreRefusedWithTheirCause ) {
   Octets data;
   for ( int i = 0; i < 5000; ++i ) {
      data.push_back( U8( 'a' + i * i % 15 ) ); // one range of 16 octets in use
   }
   const Octets z = bzip2( data, 1 );
   const U64 first = blocks( z )[ 0 ];
   const U64 bits = blocks( z )[ 1 ] - first;
   // Where the first code lengths start: after the selectors' unary codes.
   U64 lengths = first + 48 + 32 + 1 + 24 + 32 + 3 + 15;
   U32 selectors = 0;
   for ( U64 bit = lengths - 15; bit < lengths; ++bit ) {
      selectors = selectors << 1 | bitAt( z, bit );
   }
   for ( U32 s = 0; s < selectors; ++s ) {
      while ( bitAt( z, lengths++ ) ) {
      }
   }
   // Each case: the cause, then the bits spoilt (from the block's start, how
   // many, their new value; kFlip inverts the one bit) or how much longer the
   // block is said to be.
   constexpr U32 kFlip = ~0u;
   const struct {
      const char* cause;
      U64 at;
      unsigned count;
      U32 value;
      int longer;
   } cases[] = {
      { "block cut short", 0, 0, 0, -1 },
      { "bits after the block's end", 0, 0, 0, 1 },
      { "bad block magic", 0, 1, 1, 0 },
      { "block CRC mismatch", 48, 1, kFlip, 0 },
      { "randomised block (not written since 1999)", 80, 1, 1, 0 },
      { "start row beyond the block size", 81, 24, 100000, 0 },
      { "start row beyond the block size", 81, 24, 99999, 0 },
      { "no octets in use", 105, 16, 0, 0 },
      { "Huffman table count out of range", 137, 3, 7, 0 },
      { "no selectors", 140, 15, 0, 0 },
      { "code length out of range", lengths - first, 5, 21, 0 },
   };
   Bzip2BlockDecoder decoder;
   for ( const auto& c : cases ) {
      Octets spoilt = z;
      const U64 at = first + c.at;
      setBits( spoilt, at, c.count, c.value == kFlip ? !bitAt( z, at ) : c.value );
      Octets out;
      U32 crc;
      const char* error =
            decoder.decode( spoilt, first, U64( S64( bits ) + c.longer ), '1', out, crc );
      EXPECT_STREQ( error, c.cause );
      EXPECT_TRUE( out.empty() ) << c.cause;
   }
   Octets out;
   U32 crc;
   EXPECT_EQ( decoder.decode( z, first, bits, '1', out, crc ), nullptr );
   EXPECT_EQ( out, data );
}

} // namespace
} // namespace BgpcommTest
