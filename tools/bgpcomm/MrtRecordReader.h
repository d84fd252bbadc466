// MrtRecordReader.h: splits a byte stream into MRT records (common header plus
// body). A record is handed out as a view into the source's chunk when it
// lies within one; only a record that straddles two chunks is copied, into a
// buffer kept for the purpose, so reading costs no allocation per record.
//
//   MrtRecordReader records( source );
//   for ( MrtRecord r; records.next( &r ); ) decode( r );
#pragma once

#include "Kel/Types.h"
#include "tools/bgpcomm/ByteSource.h"

#include <span>
#include <stdexcept>
#include <vector>

namespace Bgpcomm {

// MRT type codes the tool knows.
enum MrtType : U16 {
   mrtTableDump = 12,
   mrtTableDumpV2 = 13,
   mrtBgp4mp = 16,
   mrtBgp4mpEt = 17,
};

// MrtRecord: one record; body excludes the 12-octet common header.
struct MrtRecord {
   U64 offset = 0; // of the common header, in the decompressed stream
   U32 timestamp = 0;
   U16 type = 0;
   U16 subtype = 0;
   std::span<const U8> body;
};

// MrtFramingError: the stream cannot be split any further (a record cut short
// by the end of the data, or a length no real record has); offset() is where
// the failing record starts.
class MrtFramingError : public std::runtime_error {
 public:
   MrtFramingError( U64 offset, const std::string& what )
         : std::runtime_error( what ), offset_( offset ) {}
   U64 offset() const { return offset_; }

 private:
   U64 offset_;
};

// MrtRecordReader: the records of one source, in order.
class MrtRecordReader {
 public:
   // Records longer than this are taken as a sign that framing is lost.
   static constexpr U32 maxRecordLength = 64u << 20;

   explicit MrtRecordReader( ByteSource& source ) : source_( source ) {}

   // next(): the next record, false at a clean end of the data; throws
   // MrtFramingError, and ByteSourceError from the source.
   bool next( MrtRecord* record );

   // offset(): where the record being read starts in the decompressed
   // stream (after the last one handed out).
   U64 offset() const { return next_; }
   // inflated(): octets of the decompressed stream received so far.
   U64 inflated() const { return chunkOffset_ + chunk_.size(); }

 private:
   bool carry( size_t n );

   ByteSource& source_;
   std::span<const U8> chunk_;
   size_t pos_ = 0;
   U64 chunkOffset_ = 0;     // stream offset of chunk_[ 0 ]
   U64 next_ = 0;            // stream offset of the next record
   std::vector<U8> carried_; // the start of a record that straddles chunks
   bool eof_ = false;
};

} // namespace Bgpcomm
