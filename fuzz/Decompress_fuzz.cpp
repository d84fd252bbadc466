// Decompress_fuzz.cpp: arbitrary octets as an input file of the tool, read
// from memory through the decompressor its magic chooses (gzip, bzip2 split
// into blocks, xz, zstd). Every input must end cleanly or with a
// ByteSourceError; octets handed out are checked to be readable, and a
// small input that inflates without end is cut off.
//
//   ninja fuzz_Decompress_fuzz && build/fuzz/Decompress_fuzz fuzz/corpus/Decompress_fuzz

#include <cstdio>
#include <cstdlib>

#include "tools/bgpcomm/ByteSource.h"

namespace {

constexpr size_t maxInflated = 2 << 20;

} // namespace

extern "C" int LLVMFuzzerTestOneInput( const U8* data, size_t size ) {
   // Small inputs whose last octet is odd also go through the threaded
   // pipeline (and a bzip2 block worker); the rest inflate in the caller, for speed.
   const bool threaded = size > 0 && ( data[ size - 1 ] & 1 ) && size < 4096;
   try {
      Bgpcomm::ByteSource source( std::span<const U8>( data, size ), "input",
                                  Bgpcomm::ByteSource::Options{ threaded, 1 } );
      size_t total = 0;
      unsigned sum = 0;
      for ( auto chunk = source.next(); !chunk.empty(); chunk = source.next() ) {
         for ( U8 o : chunk ) {
            sum += o; // touch every octet, so that a view past its buffer shows
         }
         total += chunk.size();
         if ( total > maxInflated ) {
            break;
         }
      }
      if ( source.compression() == Bgpcomm::Compression::none && total != size ) {
         std::fprintf( stderr, "Decompress_fuzz: plain input of %zu octets read as %zu\n", size,
                       total );
         std::abort();
      }
      static volatile unsigned sink = 0;
      sink = sink + sum;
   } catch ( const Bgpcomm::ByteSourceError& ) {
   }
   return 0;
}
