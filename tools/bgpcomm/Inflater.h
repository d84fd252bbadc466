// Inflater.h: the decompressors behind ByteSource. Which one a file needs is
// told by its first octets, never by its name; each pulls the compressed
// octets from a RawInput and fills the caller's buffer.
//
//   auto inflater = makeInflater( sniffCompression( raw.peek( 6 ) ), raw, 0 );
//   while ( size_t n = inflater->inflate( buf, sizeof buf ) ) consume( buf, n );
#pragma once

#include "tools/bgpcomm/RawInput.h"

#include <memory>

namespace Bgpcomm {

// Compression: what the first octets of the input said.
enum class Compression : U8 { none, gzip, bzip2, xz, zstd };

// compressionName(): "gzip", ... ("plain" for none).
const char* compressionName( Compression c );

// sniffCompression(): the format whose magic the octets start with.
Compression sniffCompression( std::span<const U8> first );

// Inflater
class Inflater {
 public:
   virtual ~Inflater() = default;
   // inflate(): up to size octets into dest; 0 only at the end of the data.
   // Corrupt or truncated data throws ByteSourceError (through the RawInput).
   virtual size_t inflate( U8* dest, size_t size ) = 0;
};

// makeInflater(): the decompressor of c (not none) reading raw. workers:
// threads that inflate bzip2 blocks side by side (0 inflates them in the
// calling thread).
std::unique_ptr<Inflater> makeInflater( Compression c, RawInput& raw, unsigned workers );

// makeBzip2Inflater(): bzip2 split at its block boundaries, blocks inflated
// by workers threads, in order.
std::unique_ptr<Inflater> makeBzip2Inflater( RawInput& raw, unsigned workers );

} // namespace Bgpcomm
