// MrtRecordBuilder.h: encodes MRT records and BGP path attributes into a
// growing octet buffer, for the generator and for building test input. The
// octets go through the library's writers: Routing::Bgp::Serialize for the
// integers, addPathAttribute() for the attributes.
//
//   MrtRecordBuilder b; b.beginRecord( ts, mrtTableDumpV2, 2 ); b.u32( seq ); ...
//   b.endRecord(); sink.write( b.data() );
#pragma once

#include "Kel/Types.h"
#include "Routing/Bgp/Serialize.h"

#include <span>

namespace Bgpcomm {

// MrtRecordBuilder: not copyable, like its buffer.
class MrtRecordBuilder {
 public:
   // beginRecord() / endRecord(): a common header whose length endRecord() fills in.
   void beginRecord( U32 timestamp, U16 type, U16 subtype );
   void endRecord();

   void u8( U8 v ) { buf_.addU8( v ); }
   void u16( U16 v ) { buf_.addU16hton( v ); }
   void u32( U32 v ) { buf_.addU32hton( v ); }
   void u64( U64 v ) { buf_.addU64hton( v ); }
   void bytes( std::span<const U8> v ) { buf_.addBytes( v.data(), v.size() ); }

   // beginLength16() / endLength16(): a 2-octet length of what is written between them.
   size_t beginLength16();
   void endLength16( size_t mark );

   // attribute(): a path attribute. The extended-length flag (0x10) is set
   // for a value over 255 octets; one set in flags is kept, as some writers
   // always set it.
   void attribute( U8 flags, U8 type, std::span<const U8> value );

   // prefix(): NLRI encoding of a prefix: bit length, then the octets it covers.
   void prefix( std::span<const U8> address, unsigned bits );

   // data() / size() / clear()
   std::span<const U8> data() const { return { buf_.data(), buf_.length() }; }
   size_t size() const { return buf_.length(); }
   void clear() { buf_.clear(); }

 private:
   // patch(): overwrites the U16 or U32 at offset, then carries on at the end.
   template<class T>
   void patch( size_t offset, T v );

   Routing::Bgp::Serialize buf_;
   size_t recordStart_ = 0;
};

} // namespace Bgpcomm
