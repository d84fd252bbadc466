#include "MrtTestSupport.h"

#include "tools/bgpcomm/ByteSink.h"
#include "tools/bgpcomm/Commands.h"

#include <gtest/gtest.h>

#include <bzlib.h>
#include <lzma.h>
#include <unistd.h>
#include <zstd.h>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <regex>

namespace BgpcommTest {

void RouteCollector::route( const MrtRoute& route ) {
   std::string& line = routes.emplace_back( route.prefix );
   line += " " + std::string( route.peer ) + " " + std::to_string( route.peerAs );
   auto& hex = communities.emplace_back();
   const char* kinds[] = { " std=", " ext=", " large=", " ip6=" };
   for ( size_t k = 0; k < communityKindCount; ++k ) {
      appendHex( hex[ k ], route.communities[ k ] );
      if ( !hex[ k ].empty() )
         line += kinds[ k ] + hex[ k ];
   }
}

void RouteCollector::problem( const MrtProblem& problem ) {
   problems.push_back( "@" + std::to_string( problem.recordOffset ) +
                       ( problem.recordSkipped ? " " : " kept: " ) + problem.reason );
}

std::string tempPath( const std::string& name ) {
   static std::atomic<int> counter{ 0 };
   return testing::TempDir() + "bgpcomm-" + std::to_string( ::getpid() ) + "-" +
          std::to_string( counter++ ) + "-" + name;
}

std::string tempFile( const std::string& name, std::span<const U8> octets ) {
   std::string path = tempPath( name );
   std::ofstream out( path, std::ios::binary );
   out.write( reinterpret_cast<const char*>( octets.data() ), std::streamsize( octets.size() ) );
   return path;
}

void addPeerIndexTable( MrtRecordBuilder& b, const std::vector<TestPeer>& peers ) {
   b.beginRecord( 1700000000, 13, 1 );
   b.u32( 0x0A000001 );
   b.u16( 0 ); // no view name
   b.u16( U16( peers.size() ) );
   for ( const TestPeer& p : peers ) {
      const bool as4 = p.as > 0xFFFF;
      b.u8( U8( ( p.address.size() == 16 ? 1 : 0 ) | ( as4 ? 2 : 0 ) ) );
      b.u32( 0x0A0000FF );
      b.bytes( p.address );
      as4 ? b.u32( p.as ) : b.u16( U16( p.as ) );
   }
   b.endRecord();
}

void addRib( MrtRecordBuilder& b, U16 subtype, const std::vector<U8>& address, unsigned bits,
             const std::vector<RibEntry>& entries ) {
   b.beginRecord( 1700000000, 13, subtype );
   b.u32( 0 );
   b.prefix( address, bits );
   b.u16( U16( entries.size() ) );
   for ( const RibEntry& e : entries ) {
      b.u16( e.peer );
      b.u32( 1600000000 );
      if ( subtype >= 8 )
         b.u32( e.pathId );
      b.u16( U16( e.attrs.size() ) );
      b.bytes( e.attrs );
   }
   b.endRecord();
}

std::vector<U8> pathAttributes( const std::vector<std::pair<U8, std::vector<U8>>>& attrs ) {
   MrtRecordBuilder b;
   b.attribute( 0x40, 1, std::vector<U8>{ 0 } ); // ORIGIN IGP
   for ( const auto& [ type, value ] : attrs )
      b.attribute( 0xC0, type, value );
   return std::vector<U8>( b.data().begin(), b.data().end() );
}

namespace {

// MemoryFile: a stream whose text stays in memory until close() hands it out.
struct MemoryFile {
   char* text = nullptr;
   size_t size = 0;
   std::FILE* f = open_memstream( &text, &size );
   std::string close() {
      std::fclose( f );
      std::string s( text, size );
      std::free( text );
      return s;
   }
};

} // namespace

Invocation runTool( const std::vector<std::string>& args ) {
   std::vector<const char*> argv = { "bgpcomm" };
   for ( const std::string& a : args )
      argv.push_back( a.c_str() );
   MemoryFile out, err;
   int status = runBgpcomm( int( argv.size() ), argv.data(), out.f, err.f );
   return { status, out.close(), err.close() };
}

std::string printedBy( const std::function<void( OutputBuffer& )>& print ) {
   MemoryFile f;
   {
      OutputBuffer out( f.f );
      print( out );
   }
   return f.close();
}

std::string sourceFile( const std::string& relative ) {
   // ctest says where the tree is; run by hand, the tests run in a build directory inside it.
   const char* source = std::getenv( "OVBGP_SOURCE_DIR" );
   return std::string( source ? source : ".." ) + "/" + relative;
}

std::string readText( const std::string& path ) {
   std::ifstream in( path, std::ios::binary );
   return std::string( std::istreambuf_iterator<char>( in ), {} );
}

std::string hexFixture( const std::string& name ) {
   std::string text = readText( sourceFile( "tests/data/mrt/" + name + ".hex" ) );
   std::string hex = std::regex_replace( text, std::regex( "#.*|\\s" ), "" ); // '#' to the line end
   return tempFile( name + ".mrt", parseHex( hex ) );
}

std::vector<U8> compressedAs( std::span<const U8> octets, Compression c ) {
   if ( c == Compression::gzip ) {
      std::string path = tempPath( "compressed.gz" );
      ByteSink sink( path ); // compresses by the name
      sink.write( octets );
      sink.close();
      std::string gz = readText( path );
      return std::vector<U8>( gz.begin(), gz.end() );
   }
   std::vector<U8> out( octets.begin(), octets.end() );
   out.resize( octets.size() * 2 + 1024 ); // beyond every format's bound
   size_t n = octets.size();
   if ( c == Compression::bzip2 ) {
      unsigned size = unsigned( out.size() );
      BZ2_bzBuffToBuffCompress( reinterpret_cast<char*>( out.data() ), &size,
                                reinterpret_cast<char*>( const_cast<U8*>( octets.data() ) ),
                                unsigned( octets.size() ), 1, 0, 0 );
      n = size;
   } else if ( c == Compression::xz ) {
      n = 0;
      lzma_easy_buffer_encode( 1, LZMA_CHECK_CRC64, nullptr, octets.data(), octets.size(),
                               out.data(), &n, out.size() );
   } else if ( c == Compression::zstd ) {
      ZSTD_CCtx* ctx = ZSTD_createCCtx();
      ZSTD_CCtx_setParameter( ctx, ZSTD_c_checksumFlag, 1 );
      n = ZSTD_compress2( ctx, out.data(), out.size(), octets.data(), octets.size() );
      ZSTD_freeCCtx( ctx );
   }
   out.resize( n );
   return out;
}

} // namespace BgpcommTest
