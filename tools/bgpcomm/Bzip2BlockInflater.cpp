// Bzip2 inflated block by block on several threads. A bzip2 stream is a run
// of independently coded blocks, each opened by a 48-bit magic at any bit
// position and carrying the CRC of its output; the stream ends with another
// magic and the combined CRC of its blocks. A reader splits the bits at the
// magics; each block is decoded where it lies (Bzip2Block.h) on a worker,
// which checks the block's CRC; the output is handed
// out in order and the combined CRC checked at each stream end. A magic can
// also occur by chance inside coded data: a piece that fails to inflate is
// joined with the next one and tried again, so a false split costs time, not
// data.
#include "tools/bgpcomm/Inflater.h"

#include "tools/bgpcomm/Bzip2Block.h"

#include <condition_variable>
#include <cstring>
#include <deque>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace Bgpcomm {

namespace {

constexpr U64 magicMask = ( U64( 1 ) << 48 ) - 1;
// No real block codes to more than about 2.3 MB (900k symbols of at most
// 20 bits); a piece beyond this is not bzip2.
constexpr size_t maxBlockOctets = 4 << 20;
// maxCodedBlock(): the most a block of the stream's level (its digit) can
// code to, 20 bits for each of level * 100k symbols; pieces are joined only
// up to this, so a corrupt block costs a few tries, not one per block after it.
size_t maxCodedBlock( char level ) { return size_t( level - '0' ) * 250000 + 65536; }

// MagicCores: the 32 bits each magic leaves in the four octets before the
// one it ends in, for each of the 8 places it can end there; a bitmap of
// their low 16 bits answers most octets with one load.
class MagicCores {
 public:
   MagicCores() {
      unsigned k = 0;
      for ( U64 magic : { bzip2BlockMagic, bzip2EndMagic } ) {
         for ( unsigned end = 1; end <= 8; ++end ) {
            U32 core = U32( magic >> end );
            cores_[ k++ ] = core;
            low_[ ( core & 0xffff ) >> 6 ] |= U64( 1 ) << ( core & 63 );
         }
      }
   }
   bool maybe( U32 word ) const {
      if ( !( low_[ ( word & 0xffff ) >> 6 ] >> ( word & 63 ) & 1 ) ) {
         return false;
      }
      for ( U32 core : cores_ ) {
         if ( core == word ) {
            return true;
         }
      }
      return false;
   }

 private:
   U32 cores_[ 16 ] = {};
   U64 low_[ 1024 ] = {};
};
const MagicCores magicCores;

// End: what closed a piece of the bit stream.
enum class End : U8 { nextBlock, streamEnd, inputEnd };

// Piece: one block as found (or a stream end, or a failure to report in turn).
struct Piece {
   enum class State : U8 { queued, running, done };
   std::vector<U8> octets; // holds the piece's bits from bit `first`
   U64 first = 0;
   U64 bitCount = 0;
   char level = '9';
   End end = End::nextBlock;
   bool streamEnd = false; // no bits: the end of a stream with its CRC
   U32 crc = 0;            // the block's, or the stream's combined one
   std::vector<U8> out;
   size_t outPos = 0;
   std::string error;
   State state = State::queued;
};

// inflateBlock(): the piece's bits decoded where they lie.
void inflateBlock( Piece& p, Bzip2BlockDecoder& decoder ) {
   if ( const char* error =
              decoder.decode( p.octets, p.first, p.bitCount, p.level, p.out, p.crc ) ) {
      p.error = error;
   }
}

class Bzip2BlockInflater final : public Inflater {
 public:
   Bzip2BlockInflater( RawInput& raw, unsigned workers )
         : raw_( raw ), maxPieces_( workers ? 2 * workers + 2 : 1 ) {
      for ( unsigned i = 0; i < workers; ++i ) {
         workers_.emplace_back( [ this ] { work(); } );
      }
   }

   ~Bzip2BlockInflater() override {
      {
         std::lock_guard lock( mutex_ );
         stop_ = true;
      }
      workReady_.notify_all();
      for ( std::thread& t : workers_ ) {
         t.join();
      }
   }

   size_t inflate( U8* dest, size_t size ) override;

 private:
   enum class Scan : U8 { header, blocks, streamCrc, done };

   void work();
   void push( std::unique_ptr<Piece> p );
   void waitDone( Piece& p );
   bool scanPiece();
   void closePiece( U64 endBit, End end );
   void pushFailure( const char* what, End end );
   void joinWithNext();
   size_t quietOctets() const;
   void takeQuiet( size_t count );

   RawInput& raw_;
   size_t maxPieces_;
   std::vector<std::thread> workers_;
   Bzip2BlockDecoder decoder_; // the calling thread's
   std::mutex mutex_;
   std::condition_variable workReady_;
   std::condition_variable pieceDone_;
   bool stop_ = false;
   std::deque<std::unique_ptr<Piece>> pieces_; // in stream order

   // The scanner (the calling thread only).
   Scan scan_ = Scan::header;
   const U8* in_ = nullptr;
   const U8* slice_ = nullptr; // where in_'s slice starts
   size_t inLen_ = 0;
   bool inputEnded_ = false;
   U64 streams_ = 0;
   U8 header_[ 4 ] = {};
   unsigned headerLen_ = 0;
   U64 window_ = 0;
   U64 windowBits_ = 0;  // bits in window_ since the stream header
   std::vector<U8> cur_; // octets of the open piece
   U64 curFirst_ = 0;    // its first bit in cur_
   bool haveBlock_ = false;
   U32 streamCrc_ = 0;
   unsigned streamCrcBits_ = 0;
   U32 combined_ = 0; // of the blocks handed out in this stream
};

void Bzip2BlockInflater::work() {
   Bzip2BlockDecoder decoder;
   std::unique_lock lock( mutex_ );
   for ( ;; ) {
      Piece* p = nullptr;
      workReady_.wait( lock, [ & ] {
         for ( auto& q : pieces_ ) {
            if ( q->state == Piece::State::queued ) {
               p = q.get();
               return true;
            }
         }
         return stop_;
      } );
      if ( !p )
         return;
      p->state = Piece::State::running;
      lock.unlock();
      inflateBlock( *p, decoder );
      lock.lock();
      p->state = Piece::State::done;
      pieceDone_.notify_all();
   }
}

void Bzip2BlockInflater::push( std::unique_ptr<Piece> p ) {
   bool inflateHere = workers_.empty() && p->state == Piece::State::queued;
   if ( inflateHere ) {
      inflateBlock( *p, decoder_ );
      p->state = Piece::State::done;
   }
   {
      std::lock_guard lock( mutex_ );
      pieces_.push_back( std::move( p ) );
   }
   if ( !inflateHere )
      workReady_.notify_one();
}

void Bzip2BlockInflater::waitDone( Piece& p ) {
   std::unique_lock lock( mutex_ );
   pieceDone_.wait( lock, [ & ] { return p.state == Piece::State::done; } );
}

// quietOctets(): how many of the next octets of the slice can end no magic,
// told by the four octets before each, which a magic ending in it fills
// with 32 of its bits (one of 16 words); the first four of a slice go
// octet by octet.
size_t Bzip2BlockInflater::quietOctets() const {
   if ( in_ - slice_ < 4 ) {
      return 0;
   }
   for ( size_t i = 0; i < inLen_; ++i ) {
      U32 word;
      std::memcpy( &word, in_ + i - 4, 4 );
      if ( magicCores.maybe( __builtin_bswap32( word ) ) ) {
         return i;
      }
   }
   return inLen_;
}

// takeQuiet(): count octets into the open piece at once.
void Bzip2BlockInflater::takeQuiet( size_t count ) {
   cur_.insert( cur_.end(), in_, in_ + count );
   for ( size_t i = count > 8 ? count - 8 : 0; i < count; ++i ) {
      window_ = window_ << 8 | in_[ i ];
   }
   windowBits_ += 8 * count;
   in_ += count;
   inLen_ -= count;
}

// pushFailure(): what stops the scan, reported after the output before it.
void Bzip2BlockInflater::pushFailure( const char* what, End end ) {
   auto p = std::make_unique<Piece>();
   p->error = what;
   p->end = end;
   p->state = Piece::State::done;
   scan_ = Scan::done;
   push( std::move( p ) );
}

// closePiece(): the open block ends at bit endBit of cur_; a new piece (if
// a block magic follows) starts there.
void Bzip2BlockInflater::closePiece( U64 endBit, End end ) {
   auto p = std::make_unique<Piece>();
   p->level = char( header_[ 3 ] );
   p->end = end;
   if ( haveBlock_ ) {
      p->bitCount = endBit - curFirst_;
      p->first = curFirst_ % 8;
      p->octets.assign( cur_.begin() + long( curFirst_ / 8 ),
                        cur_.begin() + long( ( endBit + 7 ) / 8 ) );
   }
   std::vector<U8> rest( cur_.begin() + long( endBit / 8 ), cur_.end() );
   cur_.swap( rest );
   curFirst_ = endBit % 8;
   if ( haveBlock_ ) {
      push( std::move( p ) );
   } else if ( endBit != 0 ) {
      pushFailure( "no block magic after the stream header", End::streamEnd );
   }
}

// scanPiece(): reads on until one more piece is queued; false at the end.
bool Bzip2BlockInflater::scanPiece() {
   size_t before = pieces_.size();
   while ( scan_ != Scan::done && pieces_.size() == before ) {
      if ( inLen_ == 0 ) {
         if ( inputEnded_ ) {
            break;
         }
         std::span<const U8> s = raw_.next();
         in_ = s.data();
         slice_ = in_;
         inLen_ = s.size();
         inputEnded_ = s.empty();
         continue;
      }
      if ( scan_ == Scan::blocks ) {
         if ( size_t quiet = quietOctets() ) {
            takeQuiet( quiet );
            if ( cur_.size() > maxBlockOctets ) {
               pushFailure( "no block boundary where one must be", End::streamEnd );
            }
            continue;
         }
      }
      U8 octet = *in_++;
      --inLen_;
      switch ( scan_ ) {
         case Scan::header:
            header_[ headerLen_++ ] = octet;
            if ( headerLen_ < 4 )
               break;
            headerLen_ = 0;
            if ( header_[ 0 ] != 'B' || header_[ 1 ] != 'Z' || header_[ 2 ] != 'h' ||
                 header_[ 3 ] < '1' || header_[ 3 ] > '9' ) {
               if ( streams_ == 0 ) {
                  pushFailure( "bad stream header", End::streamEnd );
                  break;
               }
               // Not another stream: padding some writers leave ends the data.
               scan_ = Scan::done;
               break;
            }
            ++streams_;
            scan_ = Scan::blocks;
            window_ = 0;
            windowBits_ = 0;
            cur_.clear();
            curFirst_ = 0;
            haveBlock_ = false;
            break;
         case Scan::blocks: {
            cur_.push_back( octet );
            window_ = window_ << 8 | octet;
            windowBits_ += 8;
            for ( unsigned j = 0; j < 8; ++j ) {
               unsigned shift = 7 - j;
               if ( windowBits_ < 48 + shift )
                  continue;
               U64 w = ( window_ >> shift ) & magicMask;
               if ( w != bzip2BlockMagic && w != bzip2EndMagic )
                  continue;
               U64 endBit = cur_.size() * 8 - shift;
               bool isEnd = w == bzip2EndMagic;
               closePiece( endBit - 48, isEnd ? End::streamEnd : End::nextBlock );
               if ( scan_ == Scan::done )
                  break;
               if ( !isEnd ) {
                  haveBlock_ = true;
                  continue;
               }
               // The combined CRC follows the end magic, then padding to an octet.
               scan_ = Scan::streamCrc;
               streamCrc_ = U32( octet & ( ( 1u << shift ) - 1 ) );
               streamCrcBits_ = shift;
               break;
            }
            if ( scan_ == Scan::blocks && cur_.size() > maxBlockOctets ) {
               pushFailure( "no block boundary where one must be", End::streamEnd );
            }
            break;
         }
         case Scan::streamCrc: {
            unsigned take = std::min( 8u, 32 - streamCrcBits_ );
            streamCrc_ = streamCrc_ << take | U32( octet >> ( 8 - take ) );
            streamCrcBits_ += take;
            if ( streamCrcBits_ == 32 ) {
               auto p = std::make_unique<Piece>();
               p->streamEnd = true;
               p->crc = streamCrc_;
               p->state = Piece::State::done;
               push( std::move( p ) );
               scan_ = Scan::header;
            }
            break;
         }
         case Scan::done:
            break;
      }
   }
   if ( pieces_.size() != before )
      return true;
   if ( scan_ == Scan::done || ( scan_ == Scan::header && headerLen_ == 0 ) ||
        ( scan_ == Scan::header && streams_ > 0 ) ) {
      scan_ = Scan::done;
      return false;
   }
   // The input ended inside a stream: what is open is cut short.
   auto p = std::make_unique<Piece>();
   p->end = End::inputEnd;
   p->level = char( header_[ 3 ] );
   if ( scan_ == Scan::blocks && haveBlock_ ) {
      p->bitCount = cur_.size() * 8 - curFirst_;
      p->first = curFirst_ % 8;
      p->octets.assign( cur_.begin() + long( curFirst_ / 8 ), cur_.end() );
   } else {
      p->error = "stream cut short";
      p->state = Piece::State::done;
   }
   scan_ = Scan::done;
   push( std::move( p ) );
   return true;
}

// joinWithNext(): the front piece failed and a block magic closed it; the
// magic may have been chance, so the front and the next piece become one.
void Bzip2BlockInflater::joinWithNext() {
   if ( pieces_.size() < 2 && !scanPiece() ) {
      raw_.fail( "corrupt bzip2 data (" + pieces_.front()->error + ")" );
   }
   Piece& a = *pieces_[ 0 ];
   Piece& b = *pieces_[ 1 ];
   waitDone( b );
   if ( ( a.bitCount + b.bitCount ) / 8 > maxCodedBlock( a.level ) ) {
      // Too long for one block: the piece was bad, not its end.
      a.end = End::streamEnd;
      return;
   }
   auto joined = std::make_unique<Piece>();
   joined->level = a.level;
   joined->end = b.end;
   // b starts in the octet where a ends: a's whole octets, then all of b's.
   joined->octets = std::move( a.octets );
   joined->octets.resize( ( a.first + a.bitCount ) / 8 );
   joined->octets.insert( joined->octets.end(), b.octets.begin(), b.octets.end() );
   joined->first = a.first;
   joined->bitCount = a.bitCount + b.bitCount;
   inflateBlock( *joined, decoder_ );
   joined->state = Piece::State::done;
   std::lock_guard lock( mutex_ );
   pieces_.pop_front();
   pieces_.front() = std::move( joined );
}

size_t Bzip2BlockInflater::inflate( U8* dest, size_t size ) {
   size_t done = 0;
   while ( done < size ) {
      while ( pieces_.size() < maxPieces_ && scanPiece() ) {
      }
      if ( pieces_.empty() )
         break;
      Piece& p = *pieces_.front();
      waitDone( p );
      bool fails = p.streamEnd ? p.crc != combined_ : !p.error.empty() && p.end != End::nextBlock;
      if ( fails && done > 0 ) {
         break; // hand out what came before; the next call reports it
      }
      if ( p.streamEnd ) {
         if ( p.crc != combined_ )
            raw_.fail( "corrupt bzip2 data (stream CRC mismatch)" );
         combined_ = 0;
      } else if ( !p.error.empty() ) {
         if ( p.end == End::nextBlock ) {
            joinWithNext();
            continue;
         }
         if ( p.end == End::inputEnd )
            raw_.fail( "bzip2 data is truncated" );
         raw_.fail( "corrupt bzip2 data (" + p.error + ")" );
      } else {
         size_t n = std::min( size - done, p.out.size() - p.outPos );
         std::memcpy( dest + done, p.out.data() + p.outPos, n );
         p.outPos += n;
         done += n;
         if ( p.outPos < p.out.size() )
            continue;
         if ( p.end == End::inputEnd ) {
            p.error = "stream cut short"; // a whole block, but no stream end after it
            continue;
         }
         combined_ = ( combined_ << 1 | combined_ >> 31 ) ^ p.crc;
      }
      std::lock_guard lock( mutex_ );
      pieces_.pop_front();
   }
   return done;
}

} // namespace

std::unique_ptr<Inflater> makeBzip2Inflater( RawInput& raw, unsigned workers ) {
   return std::make_unique<Bzip2BlockInflater>( raw, workers );
}

} // namespace Bgpcomm
