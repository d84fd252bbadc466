// Bzip2Block.h: one bzip2 block decoded straight from the bits where its
// magic was found (no copy into a stream of its own), its output checked
// against the CRC it carries. Every field is checked before use: a corrupt
// block gives a short cause, never a read or write out of bounds.
//
//   Bzip2BlockDecoder decoder; // keeps its work arrays from block to block
//   if ( const char* bad = decoder.decode( octets, firstBit, bits, '9', out, crc ) ) fail( bad );
#pragma once

#include "Kel/Types.h"

#include <memory>
#include <span>
#include <vector>

namespace Bgpcomm {

// The 48-bit magics that open each block and end each stream; either may
// start at any bit.
constexpr U64 bzip2BlockMagic = 0x314159265359;
constexpr U64 bzip2EndMagic = 0x177245385090;

// Bzip2BlockDecoder
class Bzip2BlockDecoder {
 public:
   Bzip2BlockDecoder();
   ~Bzip2BlockDecoder();

   // decode(): the block in bits [first, first + bitCount) of in (most
   // significant bit of an octet first), its magic included, from a stream of
   // level '1'-'9' (blocks of level * 100k octets). The output replaces out's
   // content and the CRC the block stores goes to crc. nullptr when the block
   // decodes, uses exactly its bits and its output has that CRC; otherwise the
   // cause, and out is empty.
   const char* decode( std::span<const U8> in, U64 first, U64 bitCount, char level,
                       std::vector<U8>& out, U32& crc );

 private:
   struct Work;
   std::unique_ptr<Work> work_;
};

} // namespace Bgpcomm
