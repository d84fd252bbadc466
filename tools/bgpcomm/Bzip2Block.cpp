// A bzip2 block, stage by stage: header, the map of octets in use, 2-6
// Huffman tables with delta-coded lengths, selectors (move-to-front coded),
// the symbols (decoded through a 10-bit lookup table, longer codes by their
// canonical limits), which undo zero runs (RUNA/RUNB) and move-to-front into
// the last column of the sorted rotations; the inverse transform, walked
// from both ends of the one cycle at once so that two chains of dependent
// loads overlap; last the runs of four or more octets and the CRC.
#include "tools/bgpcomm/Bzip2Block.h"

#include <sys/mman.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>

namespace Bgpcomm {

namespace {

constexpr unsigned maxGroups = 6;
constexpr unsigned maxCodeLen = 20;
constexpr unsigned maxAlphabet = 258;
constexpr unsigned groupSize = 50;
// One selector per 50 symbols of 900k octets and the end symbol; a writer
// may state more, which are read and ignored.
constexpr unsigned maxSelectors = 18002;
constexpr unsigned fastBits = 10;

// CRC-32 tables, most significant bit first, eight octets a step.
constexpr std::array<std::array<U32, 256>, 8> crcTables = [] {
   std::array<std::array<U32, 256>, 8> t{};
   for ( U32 i = 0; i < 256; ++i ) {
      U32 c = i << 24;
      for ( int k = 0; k < 8; ++k ) {
         c = c & 0x80000000u ? c << 1 ^ 0x04c11db7u : c << 1;
      }
      t[ 0 ][ i ] = c;
   }
   for ( size_t k = 1; k < 8; ++k ) {
      for ( U32 i = 0; i < 256; ++i ) {
         U32 p = t[ k - 1 ][ i ];
         t[ k ][ i ] = p << 8 ^ t[ 0 ][ p >> 24 ];
      }
   }
   return t;
}();

U32 loadBe32( const U8* p ) {
   U32 v;
   std::memcpy( &v, p, 4 );
   return __builtin_bswap32( v );
}

// bzip2Crc(): the CRC bzip2 keeps of a block's output.
U32 bzip2Crc( std::span<const U8> octets ) {
   const auto& t = crcTables;
   U32 crc = ~0u;
   const U8* p = octets.data();
   size_t n = octets.size();
   for ( ; n >= 8; n -= 8, p += 8 ) {
      U32 a = crc ^ loadBe32( p );
      U32 b = loadBe32( p + 4 );
      crc = t[ 7 ][ a >> 24 ] ^ t[ 6 ][ ( a >> 16 ) & 0xff ] ^ t[ 5 ][ ( a >> 8 ) & 0xff ] ^
            t[ 4 ][ a & 0xff ] ^ t[ 3 ][ b >> 24 ] ^ t[ 2 ][ ( b >> 16 ) & 0xff ] ^
            t[ 1 ][ ( b >> 8 ) & 0xff ] ^ t[ 0 ][ b & 0xff ];
   }
   for ( ; n; --n, ++p ) {
      crc = crc << 8 ^ t[ 0 ][ ( crc >> 24 ) ^ *p ];
   }
   return ~crc;
}

U64 loadBe64( const U8* p ) {
   U64 v;
   std::memcpy( &v, p, 8 );
   return __builtin_bswap64( v );
}

// BitReader: bits most significant first, kept in a 64-bit word whose top
// n_ bits are the next ones; past the end of the octets it reads zeros (the
// caller checks how far it went).
class BitReader {
 public:
   BitReader( std::span<const U8> in, U64 first )
         : base_( in.data() + first / 8 ),
           p_( base_ ),
           end_( in.data() + in.size() ),
           skip_( unsigned( first % 8 ) ) {
      refill();
      take( skip_ );
   }

   // refill(): at least 56 bits ready.
   void refill() {
      if ( n_ > 56 ) {
         return;
      }
      if ( end_ - p_ >= 8 ) {
         buf_ |= loadBe64( p_ ) >> n_;
         p_ += ( 63 - n_ ) >> 3;
         n_ |= 56;
         return;
      }
      while ( n_ <= 56 ) {
         U64 octet = p_ < end_ ? *p_ : 0;
         buf_ |= octet << ( 56 - n_ );
         ++p_;
         n_ += 8;
      }
   }
   // peek(): the next count (1-32) bits; refill() first.
   U32 peek( unsigned count ) const { return U32( buf_ >> ( 64 - count ) ); }
   void skip( unsigned count ) {
      buf_ <<= count;
      n_ -= count;
   }
   U32 take( unsigned count ) {
      if ( count == 0 ) {
         return 0;
      }
      refill();
      U32 v = peek( count );
      skip( count );
      return v;
   }
   bool bit() { return take( 1 ) != 0; }
   // used(): bits read since the first.
   U64 used() const { return U64( p_ - base_ ) * 8 - n_ - skip_; }

 private:
   const U8* base_;
   const U8* p_;
   const U8* end_;
   unsigned skip_;
   U64 buf_ = 0;
   unsigned n_ = 0;
};

// HuffmanTable: canonical code lengths made into a lookup of the first
// fastBits bits (symbol << 5 | length, 0 when the code is longer) and, for
// longer codes, the first code and count of each length.
struct HuffmanTable {
   U16 fast[ 1 << fastBits ];
   U32 firstCode[ maxCodeLen + 1 ];
   U32 count[ maxCodeLen + 1 ];
   U32 offset[ maxCodeLen + 1 ];
   U16 sorted[ maxAlphabet ];

   // build(): false when the lengths over-subscribe the code space.
   bool build( const U8* lengths, unsigned alphabet ) {
      std::memset( count, 0, sizeof count );
      for ( unsigned s = 0; s < alphabet; ++s ) {
         ++count[ lengths[ s ] ];
      }
      U32 code = 0;
      U32 index = 0;
      for ( unsigned l = 1; l <= maxCodeLen; ++l ) {
         firstCode[ l ] = code;
         offset[ l ] = index;
         code += count[ l ];
         index += count[ l ];
         if ( code > ( 1u << l ) ) {
            return false;
         }
         code <<= 1;
      }
      U32 next[ maxCodeLen + 1 ];
      std::memcpy( next, offset, sizeof next );
      for ( unsigned s = 0; s < alphabet; ++s ) {
         sorted[ next[ lengths[ s ] ]++ ] = U16( s );
      }
      std::memset( fast, 0, sizeof fast );
      for ( unsigned l = 1; l <= fastBits; ++l ) {
         for ( U32 i = 0; i < count[ l ]; ++i ) {
            U32 from = ( firstCode[ l ] + i ) << ( fastBits - l );
            U16 entry = U16( sorted[ offset[ l ] + i ] << 5 | l );
            for ( U32 j = 0; j < ( 1u << ( fastBits - l ) ); ++j ) {
               fast[ from + j ] = entry;
            }
         }
      }
      return true;
   }

   // decode(): the next symbol, or -1 for bits that are no code; at least
   // 20 bits must be ready.
   int decode( BitReader& bits ) const {
      U16 e = fast[ bits.peek( fastBits ) ];
      if ( e != 0 ) {
         bits.skip( e & 31u );
         return e >> 5;
      }
      U32 v = bits.peek( maxCodeLen );
      for ( unsigned l = fastBits + 1; l <= maxCodeLen; ++l ) {
         U32 i = ( v >> ( maxCodeLen - l ) ) - firstCode[ l ];
         if ( i < count[ l ] ) {
            bits.skip( l );
            return sorted[ offset[ l ] + i ];
         }
      }
      return -1;
   }
};

// Links: the links of the inverse transform, 3.6 MB for the largest blocks,
// in huge pages where the system gives them: the walks load at random
// places, and with small pages most loads would also miss the address
// translation cache.
class Links {
 public:
   Links() = default;
   Links( const Links& ) = delete;
   Links& operator=( const Links& ) = delete;
   ~Links() { std::free( mem_ ); }
   // get(): room for n links.
   U32* get( U32 n ) {
      size_t need = ( size_t( n ) * sizeof( U32 ) + hugePage - 1 ) / hugePage * hugePage;
      if ( need > size_ ) {
         std::free( mem_ );
         mem_ = std::aligned_alloc( hugePage, need );
         if ( !mem_ ) {
            throw std::bad_alloc();
         }
         size_ = need;
         ::madvise( mem_, need, MADV_HUGEPAGE );
      }
      return static_cast<U32*>( mem_ );
   }

 private:
   static constexpr size_t hugePage = 2 << 20;
   void* mem_ = nullptr;
   size_t size_ = 0;
};

// A link: the next row of the text (bits 8-30), that row's octet (bits 0-7)
// and whether that row starts a walk (bit 31).
constexpr U32 startFlag = 1u << 31;
constexpr U32 rowMask = ( 1u << 23 ) - 1;

// Grid: the rows where walks of the cycle start, every stride-th row from
// offset, placed so that the output's start row is one of them.
struct Grid {
   static constexpr U32 target = 256;
   Grid( U32 n, U32 origin )
         : stride( n < 2 * target ? 1 : n / target ),
           offset( origin % stride ),
           count( ( n - offset + stride - 1 ) / stride ),
           first( ( origin - offset ) / stride ) {}
   U32 row( U32 k ) const { return offset + k * stride; }
   U32 index( U32 row ) const { return ( row - offset ) / stride; }

   U32 stride;
   U32 offset;
   U32 count; // start rows, at most 2 * target
   U32 first; // the one of the output's start
};

// CycleWalk: the cycle of rows walked from every start row, eight walks
// interleaved so that their loads overlap instead of each waiting for the
// one before (one chain would be a cache miss per octet). A walk ends at
// the next start row; its octets go to chunks of a pool, and the walks are
// then joined in the order of the cycle from the output's start row.
class CycleWalk {
 public:
   // run(): the n octets of the block, in order, into out.
   void run( const U32* next, U32 n, const Grid& grid, U8* out ) {
      const U32 walks = grid.count;
      const U32 chunks = n / chunkSize + walks + 1;
      if ( pool_.size() < size_t( chunks ) * chunkSize ) {
         pool_.resize( size_t( chunks ) * chunkSize );
      }
      chunkNext_.resize( chunks );
      walkFirst_.resize( walks );
      walkLength_.resize( walks );
      walkNext_.resize( walks );
      freeChunk_ = 0;
      nextWalk_ = 0;
      Lane lanes[ laneCount ];
      unsigned active = 0;
      while ( active < laneCount && begin( lanes[ active ], grid ) ) {
         ++active;
      }
      while ( active ) {
         for ( unsigned l = 0; l < active; ++l ) {
            Lane& lane = lanes[ l ];
            U32 a = next[ lane.row ];
            *lane.out++ = U8( a );
            lane.row = ( a >> 8 ) & rowMask;
            if ( ( a & startFlag ) || lane.out == lane.end ) [[unlikely]] {
               if ( !( a & startFlag ) ) {
                  newChunk( lane );
                  continue;
               }
               U32 w = lane.walk;
               walkLength_[ w ] = lane.length + U32( lane.out - lane.chunkStart );
               walkNext_[ w ] = grid.index( lane.row );
               if ( !begin( lane, grid ) ) {
                  lanes[ l ] = lanes[ --active ];
                  --l;
               }
            }
         }
      }
      // Join the walks, from the output's start round its cycle.
      U8* const first = out;
      U32 total = 0;
      U32 w = grid.first;
      do {
         U32 left = walkLength_[ w ];
         total += left;
         for ( U32 c = walkFirst_[ w ]; left; c = chunkNext_[ c ] ) {
            U32 take = std::min( left, chunkSize );
            std::memcpy( out, pool_.data() + size_t( c ) * chunkSize, take );
            out += take;
            left -= take;
         }
         w = walkNext_[ w ];
      } while ( w != grid.first );
      // A text made of one part repeated has a cycle per repeat; a walk of
      // n rows from the start goes round its cycle again.
      for ( U32 k = total; k < n; ++k ) {
         first[ k ] = first[ k - total ];
      }
   }

 private:
   static constexpr unsigned laneCount = 8;
   static constexpr U32 chunkSize = 1024;

   struct Lane {
      U32 row;
      U32 walk;
      U32 length; // octets of the walk in its chunks before this one
      U32 chunk;
      U8* chunkStart;
      U8* out;
      U8* end;
   };

   // begin(): the lane takes the next walk; false when none is left.
   bool begin( Lane& lane, const Grid& grid ) {
      if ( nextWalk_ == grid.count ) {
         return false;
      }
      lane.walk = nextWalk_++;
      lane.row = grid.row( lane.walk );
      lane.length = 0;
      lane.chunk = take();
      walkFirst_[ lane.walk ] = lane.chunk;
      point( lane );
      return true;
   }
   void newChunk( Lane& lane ) {
      lane.length += chunkSize;
      U32 c = take();
      chunkNext_[ lane.chunk ] = c;
      lane.chunk = c;
      point( lane );
   }
   // take(): a chunk of the pool; every walk fills all its chunks but its
   // last, so n octets in walks of the grid never need more than there are.
   U32 take() { return freeChunk_++; }
   void point( Lane& lane ) {
      lane.chunkStart = pool_.data() + size_t( lane.chunk ) * chunkSize;
      lane.out = lane.chunkStart;
      lane.end = lane.chunkStart + chunkSize;
   }

   std::vector<U8> pool_;
   std::vector<U32> chunkNext_;
   std::vector<U32> walkFirst_;
   std::vector<U32> walkLength_;
   std::vector<U32> walkNext_;
   U32 freeChunk_ = 0;
   U32 nextWalk_ = 0;
};

} // namespace

struct Bzip2BlockDecoder::Work {
   HuffmanTable tables[ maxGroups ];
   U8 selectors[ maxSelectors ];
   std::vector<U8> column; // the last column, then the block's octets in order
   Links links;
   CycleWalk walk;
};

Bzip2BlockDecoder::Bzip2BlockDecoder() : work_( std::make_unique<Work>() ) {}
Bzip2BlockDecoder::~Bzip2BlockDecoder() = default;

const char* Bzip2BlockDecoder::decode( std::span<const U8> in, U64 first, U64 bitCount, char level,
                                       std::vector<U8>& out, U32& crc ) {
   out.clear();
   if ( first + bitCount > U64( in.size() ) * 8 || bitCount < 48 + 32 + 1 + 24 + 16 ) {
      return "block cut short";
   }
   Work& w = *work_;
   BitReader bits( in, first );
   if ( ( U64( bits.take( 24 ) ) << 24 | bits.take( 24 ) ) != bzip2BlockMagic ) {
      return "bad block magic";
   }
   crc = bits.take( 32 );
   if ( bits.bit() ) {
      return "randomised block (not written since 1999)";
   }
   const U32 maxOctets = U32( level >= '1' && level <= '9' ? level - '0' : 9 ) * 100000;
   const U32 origin = bits.take( 24 );
   if ( origin >= maxOctets ) {
      return "start row beyond the block size";
   }

   // The octets in use, as 16 ranges of 16.
   U8 used[ 256 ];
   unsigned inUse = 0;
   U32 ranges = bits.take( 16 );
   for ( unsigned r = 0; r < 16; ++r ) {
      if ( !( ranges >> ( 15 - r ) & 1 ) ) {
         continue;
      }
      U32 octets = bits.take( 16 );
      for ( unsigned j = 0; j < 16; ++j ) {
         if ( octets >> ( 15 - j ) & 1 ) {
            used[ inUse++ ] = U8( r * 16 + j );
         }
      }
   }
   if ( inUse == 0 ) {
      return "no octets in use";
   }
   const unsigned alphabet = inUse + 2;
   const unsigned endOfBlock = inUse + 1;

   const unsigned groups = bits.take( 3 );
   if ( groups < 2 || groups > maxGroups ) {
      return "Huffman table count out of range";
   }
   const unsigned stated = bits.take( 15 );
   if ( stated == 0 ) {
      return "no selectors";
   }
   // Selectors, move-to-front coded in unary.
   U8 order[ maxGroups ] = { 0, 1, 2, 3, 4, 5 };
   const unsigned selectorCount = stated < maxSelectors ? stated : maxSelectors;
   for ( unsigned i = 0; i < stated; ++i ) {
      unsigned j = 0;
      while ( bits.bit() ) {
         if ( ++j >= groups ) {
            return "selector beyond the tables";
         }
      }
      U8 g = order[ j ];
      for ( ; j > 0; --j ) {
         order[ j ] = order[ j - 1 ];
      }
      order[ 0 ] = g;
      if ( i < selectorCount ) {
         w.selectors[ i ] = g;
      }
      if ( bits.used() > bitCount ) {
         return "block cut short";
      }
   }
   // Code lengths: a 5-bit start, then per symbol steps of +-1 until a 0 bit.
   for ( unsigned g = 0; g < groups; ++g ) {
      U8 lengths[ maxAlphabet ];
      unsigned len = bits.take( 5 );
      for ( unsigned s = 0; s < alphabet; ++s ) {
         for ( ;; ) {
            if ( len < 1 || len > maxCodeLen ) {
               return "code length out of range";
            }
            if ( !bits.bit() ) {
               break;
            }
            len = bits.bit() ? len - 1 : len + 1;
         }
         lengths[ s ] = U8( len );
      }
      if ( bits.used() > bitCount ) {
         return "block cut short";
      }
      if ( !w.tables[ g ].build( lengths, alphabet ) ) {
         return "Huffman code over-subscribed";
      }
   }

   // Symbols: runs of the front octet (RUNA 0, RUNB 1, a bijective base-2
   // count) and move-to-front positions, until the end symbol.
   w.column.resize( maxOctets );
   U8* column = w.column.data();
   U32 counts[ 256 ] = {};
   U8 front[ 256 ];
   std::memcpy( front, used, inUse );
   U32 n = 0;
   U32 run = 0;
   unsigned runShift = 0;
   unsigned selector = 0;
   const HuffmanTable* table = nullptr;
   unsigned left = 0;
   for ( ;; ) {
      if ( left == 0 ) {
         if ( selector == selectorCount ) {
            return "selectors run out";
         }
         if ( bits.used() > bitCount ) {
            return "block cut short";
         }
         table = &w.tables[ w.selectors[ selector++ ] ];
         left = groupSize;
      }
      --left;
      bits.refill();
      int sym = table->decode( bits );
      if ( sym < 0 ) {
         return "bad Huffman code";
      }
      if ( sym <= 1 ) {
         run += U32( sym + 1 ) << runShift;
         ++runShift;
         if ( run > maxOctets ) {
            return "run beyond the block size";
         }
         continue;
      }
      if ( run ) {
         if ( run > maxOctets - n ) {
            return "run beyond the block size";
         }
         U8 o = front[ 0 ];
         std::memset( column + n, o, run );
         counts[ o ] += run;
         n += run;
         run = 0;
         runShift = 0;
      }
      if ( unsigned( sym ) == endOfBlock ) {
         break;
      }
      if ( n == maxOctets ) {
         return "block beyond its size";
      }
      unsigned k = unsigned( sym ) - 1;
      U8 o = front[ k ];
      if ( k < 16 ) {
         for ( ; k > 0; --k ) {
            front[ k ] = front[ k - 1 ];
         }
      } else {
         std::memmove( front + 1, front, k );
      }
      front[ 0 ] = o;
      column[ n++ ] = o;
      ++counts[ o ];
   }
   if ( bits.used() != bitCount ) {
      return bits.used() > bitCount ? "block cut short" : "bits after the block's end";
   }
   if ( origin >= n ) {
      return "start row beyond the block size";
   }

   // The inverse transform: per sorted row, the row after it in the text
   // with that row's octet; start rows mark where walks meet.
   const Grid grid( n, origin );
   U32* next = w.links.get( n );
   U32 start[ 256 ];
   U32 sum = 0;
   for ( unsigned o = 0; o < 256; ++o ) {
      start[ o ] = sum;
      sum += counts[ o ];
   }
   auto link = [ & ]( U32 i, U32 flag ) {
      U32 o = column[ i ];
      next[ start[ o ]++ ] = flag | i << 8 | o;
   };
   U32 i = 0;
   for ( ; i < grid.offset; ++i ) {
      link( i, 0 );
   }
   while ( i < n ) {
      link( i, startFlag );
      for ( U32 end = std::min( n, i + grid.stride ); ++i < end; ) {
         link( i, 0 );
      }
   }
   w.walk.run( next, n, grid, column );

   // Runs: four equal octets are followed by a count (0-255) of more.
   out.resize( size_t( n ) + 4096 );
   U8* dst = out.data();
   size_t pos = 0;
   for ( U32 i = 0; i < n; ) {
      U8 o = column[ i ];
      // Up to four equal octets; a count octet follows four.
      U32 same = 1;
      while ( same < 4 && i + same < n && column[ i + same ] == o ) {
         ++same;
      }
      i += same;
      size_t extra = 0;
      if ( same == 4 && i < n ) {
         extra = column[ i++ ];
      }
      size_t need = pos + same + extra + ( n - i );
      if ( need > out.size() ) {
         out.resize( need + need / 2 );
         dst = out.data();
      }
      std::memset( dst + pos, o, same + extra );
      pos += same + extra;
   }
   out.resize( pos );
   if ( bzip2Crc( out ) != crc ) {
      out.clear();
      return "block CRC mismatch";
   }
   return nullptr;
}

} // namespace Bgpcomm
