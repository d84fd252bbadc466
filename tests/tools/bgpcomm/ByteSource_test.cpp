#include "MrtTestSupport.h"

#include "tools/bgpcomm/ByteSource.h"

#include <gtest/gtest.h>

namespace BgpcommTest {
namespace {

using Octets = std::vector<U8>;

Octets pattern( size_t n ) {
   Octets o( n );
   U32 x = 12345;
   for ( U8& v : o ) {
      x = x * 1103515245 + 12345;
      v = U8( ( x >> 16 ) % 7 ); // compressible, not trivial
   }
   return o;
}

Octets twice( const Octets& o ) {
   Octets t = o;
   t.insert( t.end(), o.begin(), o.end() );
   return t;
}

// readAll(): what the source hands out, up to an error (whose cause goes to
// *error, or fails the test when error is null).
Octets readAll( const std::string& path, bool threaded, Compression* seen = nullptr,
                std::string* error = nullptr ) {
   Octets all;
   try {
      ByteSource src( path, ByteSource::Options{ threaded, 2 } );
      if ( seen )
         *seen = src.compression();
      for ( auto chunk = src.next(); !chunk.empty(); chunk = src.next() )
         all.insert( all.end(), chunk.begin(), chunk.end() );
   } catch ( const ByteSourceError& e ) {
      EXPECT_NE( std::string( e.what() ).find( path ), std::string::npos ) << e.what();
      EXPECT_TRUE( error ) << e.what();
      if ( error )
         *error = e.cause();
   }
   return all;
}

const Compression kCompressed[] = { Compression::gzip, Compression::bzip2, Compression::xz,
                                    Compression::zstd };

TEST( ByteSource, EveryFormGivesTheSameOctetsChosenByMagicNotName ) {
   Octets data = pattern( 700000 );
   Octets padded = compressedAs( data, Compression::gzip );
   padded.insert( padded.end(), 512, 0 ); // ends the data quietly
   std::vector<std::tuple<Octets, Compression, Octets>> cases = {
      { data, Compression::none, data },
      { padded, Compression::gzip, data },
      { Octets{ 0x1f }, Compression::none, Octets{ 0x1f } },
      { Octets{}, Compression::none, Octets{} }
   };
   for ( Compression c : kCompressed ) {
      // One member or stream, and two back to back.
      cases.push_back( { compressedAs( data, c ), c, data } );
      cases.push_back( { twice( std::get<0>( cases.back() ) ), c, twice( data ) } );
   }
   for ( const auto& [ file, compression, expected ] : cases ) {
      std::string path = tempFile( "a.mrt.gz", file );
      for ( bool threaded : { false, true } ) {
         Compression seen;
         EXPECT_EQ( readAll( path, threaded, &seen ), expected )
               << compressionName( compression ) << " threaded " << threaded;
         EXPECT_EQ( seen, compression );
      }
   }
}

TEST( ByteSource, CutOrCorruptDataIsReportedAfterTheOctetsBeforeIt ) {
   Octets data = pattern( 700000 );
   for ( Compression c : kCompressed ) {
      const Octets z = compressedAs( data, c );
      const std::string name = compressionName( c );
      Octets cut( z.begin(), z.begin() + long( z.size() * 3 / 4 ) );
      Octets bad = z;
      for ( size_t i = z.size() / 2; i < z.size() / 2 + 40; ++i )
         bad[ i ] ^= 0x5a;
      for ( bool threaded : { false, true } ) {
         for ( const Octets& file : { std::cref( cut ), std::cref( bad ) } ) {
            std::string cause = &file == &cut ? name + " data is truncated" : "corrupt " + name;
            std::string error;
            Octets got = readAll( tempFile( "bad.bin", file ), threaded, nullptr, &error );
            EXPECT_NE( error.find( cause ), std::string::npos ) << name << ": " << error;
            if ( &file == &bad && c != Compression::bzip2 ) {
               continue; // only bzip2 checks its output before the stream's end
            }
            // What came before the fault is handed out, and is right.
            ASSERT_LE( got.size(), data.size() ) << name;
            EXPECT_TRUE( std::equal( got.begin(), got.end(), data.begin() ) ) << name;
            EXPECT_GE( got.size(), 250000u ) << name << ": " << error;
         }
      }
   }
   std::string error;
   readAll( tempPath( "missing.mrt" ), true, nullptr, &error );
   EXPECT_NE( error.find( "No such file" ), std::string::npos ) << error;
   readAll( testing::TempDir(), true, nullptr, &error );
   EXPECT_EQ( error, "is a directory" );
}

// The pipeline's ring is three 4 MB buffers: 13 MB go round it more than once.
TEST( ByteSourceConcurrency, PipelinedInflatingHandsOutEveryOctetAndStopsMidFile ) {
   Octets data = pattern( 13 << 20 );
   for ( Compression c : { Compression::gzip, Compression::bzip2 } ) {
      std::string path = tempFile( "big.bin", compressedAs( data, c ) );
      EXPECT_EQ( readAll( path, true ), data );
      // Going away after one chunk stops the reader and the block workers.
      ByteSource src( path, ByteSource::Options{ true, 2 } );
      EXPECT_FALSE( src.next().empty() );
   }
}

} // namespace
} // namespace BgpcommTest
