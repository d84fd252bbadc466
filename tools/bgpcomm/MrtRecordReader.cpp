#include "tools/bgpcomm/MrtRecordReader.h"

#include "tools/bgpcomm/WireRead.h"

#include <cstring>

namespace Bgpcomm {

namespace {

constexpr size_t headerLength = 12;
constexpr size_t initialBuffer = 1 << 20;

} // namespace

MrtRecordReader::MrtRecordReader( ByteSource& source ) : source_( source ), buf_( initialBuffer ) {}

// ensure(): at least n octets from begin_ are buffered, unless the data ends first.
bool MrtRecordReader::ensure( size_t n ) {
   if ( end_ - begin_ >= n )
      return true;
   if ( begin_ + n > buf_.size() ) {
      std::memmove( buf_.data(), buf_.data() + begin_, end_ - begin_ );
      consumed_ += begin_;
      end_ -= begin_;
      begin_ = 0;
      if ( n > buf_.size() )
         buf_.resize( std::max( n, 2 * buf_.size() ) );
   }
   while ( end_ - begin_ < n && !eof_ ) {
      size_t got = source_.read( buf_.data() + end_, buf_.size() - end_ );
      if ( got == 0 )
         eof_ = true;
      end_ += got;
   }
   return end_ - begin_ >= n;
}

bool MrtRecordReader::next( MrtRecord* record ) {
   U64 at = offset();
   if ( !ensure( headerLength ) ) {
      if ( end_ == begin_ )
         return false;
      size_t have = end_ - begin_;
      begin_ = end_;
      throw MrtFramingError( at, "record header cut short: " + std::to_string( have ) +
                                       " of 12 octets before the end of the data" );
   }
   const U8* h = buf_.data() + begin_;
   U32 length = loadU32( h + 8 );
   if ( length > maxRecordLength ) {
      throw MrtFramingError( at, "record length " + std::to_string( length ) +
                                       " is beyond any real record; cannot find the next one" );
   }
   if ( !ensure( headerLength + length ) ) {
      size_t have = end_ - begin_ - headerLength;
      begin_ = end_;
      throw MrtFramingError( at, "record truncated: header says " + std::to_string( length ) +
                                       " octets, the data ends after " + std::to_string( have ) );
   }
   h = buf_.data() + begin_;
   record->offset = at;
   record->timestamp = loadU32( h );
   record->type = loadU16( h + 4 );
   record->subtype = loadU16( h + 6 );
   record->body = std::span<const U8>( h + headerLength, length );
   begin_ += headerLength + length;
   return true;
}

} // namespace Bgpcomm
