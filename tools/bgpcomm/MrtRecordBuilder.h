// MrtRecordBuilder.h: encodes MRT records and BGP path attributes into a
// growing octet buffer, for the generator and for building test input.
//
//   MrtRecordBuilder b; b.beginRecord( ts, mrtTableDumpV2, 2 ); b.u32( seq ); ...
//   b.endRecord(); sink.write( b.data() );
#pragma once

#include "Kel/Types.h"

#include <span>
#include <vector>

namespace Bgpcomm {

// MrtRecordBuilder
class MrtRecordBuilder {
 public:
   // beginRecord() / endRecord(): a common header whose length endRecord() fills in.
   void beginRecord( U32 timestamp, U16 type, U16 subtype );
   void endRecord();

   void u8( U8 v ) { buf_.push_back( v ); }
   void u16( U16 v );
   void u32( U32 v );
   void u64( U64 v );
   void bytes( std::span<const U8> v ) { buf_.insert( buf_.end(), v.begin(), v.end() ); }

   // beginLength16() / endLength16(): a 2-octet length of what is written between them.
   size_t beginLength16();
   void endLength16( size_t mark );

   // attribute(): a path attribute; the extended-length flag is set when the
   // value needs it (or when forced, as some writers always do).
   void attribute( U8 flags, U8 type, std::span<const U8> value, bool forceExtended = false );

   // prefix(): NLRI encoding of a prefix: bit length, then the octets it covers.
   void prefix( std::span<const U8> address, unsigned bits );

   // data() / size() / clear()
   std::span<const U8> data() const { return buf_; }
   size_t size() const { return buf_.size(); }
   void clear() { buf_.clear(); }

 private:
   std::vector<U8> buf_;
   size_t recordStart_ = 0;
};

} // namespace Bgpcomm
