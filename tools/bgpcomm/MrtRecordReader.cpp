#include "tools/bgpcomm/MrtRecordReader.h"

#include "tools/bgpcomm/WireRead.h"

namespace Bgpcomm {

namespace {

constexpr size_t headerLength = 12;

} // namespace

// carry(): the record being read has n octets in carried_, taken from as
// many chunks as it needs; false when the data ends first.
bool MrtRecordReader::carry( size_t n ) {
   while ( carried_.size() < n ) {
      if ( pos_ == chunk_.size() ) {
         if ( eof_ )
            return false;
         std::span<const U8> following = source_.next(); // throws before anything moves
         chunkOffset_ += chunk_.size();
         chunk_ = following;
         pos_ = 0;
         if ( chunk_.empty() ) {
            eof_ = true;
            return false;
         }
      }
      size_t take = std::min( n - carried_.size(), chunk_.size() - pos_ );
      carried_.insert( carried_.end(), chunk_.begin() + long( pos_ ),
                       chunk_.begin() + long( pos_ + take ) );
      pos_ += take;
   }
   return true;
}

bool MrtRecordReader::next( MrtRecord* record ) {
   U64 at = next_;
   const U8* h;
   U32 length;
   carried_.clear();
   if ( chunk_.size() - pos_ >= headerLength &&
        chunk_.size() - pos_ - headerLength >= ( length = loadU32( chunk_.data() + pos_ + 8 ) ) ) {
      // The common case: the whole record lies in the chunk.
      h = chunk_.data() + pos_;
      pos_ += headerLength + length;
   } else {
      if ( !carry( headerLength ) ) {
         if ( carried_.empty() )
            return false;
         size_t have = carried_.size();
         carried_.clear();
         throw MrtFramingError( at, "record header cut short: " + std::to_string( have ) +
                                          " of 12 octets before the end of the data" );
      }
      length = loadU32( carried_.data() + 8 );
      if ( length > maxRecordLength ) {
         carried_.clear();
         throw MrtFramingError( at, "record length " + std::to_string( length ) +
                                          " is beyond any real record; cannot find the next one" );
      }
      if ( !carry( headerLength + length ) ) {
         size_t have = carried_.size() - headerLength;
         carried_.clear();
         throw MrtFramingError( at, "record truncated: header says " + std::to_string( length ) +
                                          " octets, the data ends after " +
                                          std::to_string( have ) );
      }
      h = carried_.data();
   }
   next_ = at + headerLength + length;
   record->offset = at;
   record->timestamp = loadU32( h );
   record->type = loadU16( h + 4 );
   record->subtype = loadU16( h + 6 );
   record->body = std::span<const U8>( h + headerLength, length );
   return true;
}

} // namespace Bgpcomm
