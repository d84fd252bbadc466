#include "MrtTestSupport.h"

#include "tools/bgpcomm/ByteSink.h"
#include "tools/bgpcomm/ByteSource.h"

#include <gtest/gtest.h>

#include <bzlib.h>

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

// gzipOf(): the data as the tool's own sink compresses it (by the ".gz" name).
Octets gzipOf( const Octets& data ) {
   std::string path = tempPath( "sink.gz" );
   ByteSink sink( path );
   sink.write( data );
   sink.close();
   std::string gz = readText( path );
   return Octets( gz.begin(), gz.end() );
}

Octets bzip2Of( const Octets& data ) {
   Octets out( data.size() + data.size() / 50 + 1024 );
   unsigned n = unsigned( out.size() );
   BZ2_bzBuffToBuffCompress( reinterpret_cast<char*>( out.data() ), &n,
                             reinterpret_cast<char*>( const_cast<U8*>( data.data() ) ),
                             unsigned( data.size() ), 1, 0, 0 );
   out.resize( n );
   return out;
}

Octets readAll( const std::string& path, size_t chunk, Compression* seen = nullptr ) {
   ByteSource src( path );
   if ( seen )
      *seen = src.compression();
   Octets all;
   Octets buf( chunk );
   while ( size_t n = src.read( buf.data(), buf.size() ) )
      all.insert( all.end(), buf.begin(), buf.begin() + long( n ) );
   return all;
}

std::string fileWith( const Octets& o, const char* name ) {
   std::string path = tempPath( name );
   writeFile( path, o );
   return path;
}

TEST( ByteSource, DetectsCompressionByMagicAndStreamsTheSameOctets ) {
   Octets data = pattern( 700000 );
   Octets twice = data;
   twice.insert( twice.end(), data.begin(), data.end() );
   Octets gz = gzipOf( data );
   Octets gzTwoMembers = gz;
   gzTwoMembers.insert( gzTwoMembers.end(), gz.begin(), gz.end() );
   Octets bz = bzip2Of( data );
   Octets bzTwoStreams = bz;
   bzTwoStreams.insert( bzTwoStreams.end(), bz.begin(), bz.end() );

   Compression c;
   // Names say nothing: the magic decides.
   EXPECT_EQ( readAll( fileWith( data, "a.gz" ), 4096, &c ), data );
   EXPECT_EQ( c, Compression::none );
   EXPECT_EQ( readAll( fileWith( gz, "a.bin" ), 777, &c ), data );
   EXPECT_EQ( c, Compression::gzip );
   EXPECT_EQ( readAll( fileWith( bz, "a.bin" ), 65536, &c ), data );
   EXPECT_EQ( c, Compression::bzip2 );
   // Concatenated members, as parallel compressors write them.
   EXPECT_EQ( readAll( fileWith( gzTwoMembers, "b.gz" ), 100000 ), twice );
   EXPECT_EQ( readAll( fileWith( bzTwoStreams, "b.bz2" ), 100000 ), twice );
   // Padding after the last member ends the data quietly.
   Octets padded = gz;
   padded.insert( padded.end(), 512, 0 );
   EXPECT_EQ( readAll( fileWith( padded, "c.gz" ), 4096 ), data );
   // Tiny and empty files are plain.
   EXPECT_EQ( readAll( fileWith( Octets{ 0x1f }, "d" ), 10 ), Octets{ 0x1f } );
   EXPECT_TRUE( readAll( fileWith( Octets{}, "e" ), 10 ).empty() );
}

TEST( ByteSource, CutOrCorruptCompressedDataAndMissingFilesThrowNamingTheFile ) {
   Octets data = pattern( 300000 );
   Octets gz = gzipOf( data );
   Octets bz = bzip2Of( data );
   auto throwsWith = [ & ]( const std::string& path, const char* text ) {
      try {
         readAll( path, 8192 );
         ADD_FAILURE() << path << " read without error";
      } catch ( const ByteSourceError& e ) {
         EXPECT_NE( std::string( e.what() ).find( path ), std::string::npos ) << e.what();
         EXPECT_NE( e.cause().find( text ), std::string::npos ) << e.what();
      }
   };
   throwsWith( fileWith( Octets( gz.begin(), gz.end() - 100 ), "cut.gz" ),
               "gzip data is truncated" );
   throwsWith( fileWith( Octets( bz.begin(), bz.end() - 100 ), "cut.bz2" ), "bzip2" );
   Octets bad = gz;
   for ( size_t i = 20; i < 60; ++i )
      bad[ i ] ^= 0x5a;
   throwsWith( fileWith( bad, "bad.gz" ), "corrupt gzip data" );
   throwsWith( tempPath( "missing.mrt" ), "No such file" );
   throwsWith( testing::TempDir(), "is a directory" );
}

} // namespace
} // namespace BgpcommTest
