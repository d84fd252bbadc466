// TableDumpV2Decoder.h: decodes TABLE_DUMP_V2 records (RFC 6396, with the
// RFC 8050 add-path subtypes): keeps the peer table and turns each RIB record
// into one route per entry.
//
//   TableDumpV2Decoder td2( ctx );
//   if ( std::string why = td2.decode( record ); !why.empty() ) ctx.report( ... );
#pragma once

#include "tools/bgpcomm/MrtDecodeContext.h"
#include "tools/bgpcomm/MrtRecordReader.h"
#include "tools/bgpcomm/WireRead.h"

#include <string>
#include <vector>

namespace Bgpcomm {

// TableDumpV2Decoder: the decoder of one file (the peer table is per file).
class TableDumpV2Decoder {
 public:
   explicit TableDumpV2Decoder( MrtDecodeContext& ctx ) : ctx_( ctx ) {}

   // decode(): one record of type TABLE_DUMP_V2. Returns "" when it was read,
   // else why it is skipped whole (nothing of it was emitted then).
   std::string decode( const MrtRecord& record );

 private:
   struct Peer {
      std::string address;
      U32 as = 0;
   };
   struct Entry {
      U16 peerIndex = 0;
      U32 pathId = 0;
      std::span<const U8> attributes;
      PathAttributeScan scan;
   };

   std::string decodePeerIndexTable( const MrtRecord& record );
   std::string decodeRib( const MrtRecord& record, U16 afi, bool addPath );
   std::string decodeGeneric( const MrtRecord& record, bool addPath );
   std::string readGeneric( const MrtRecord& record, bool nlriPathId, bool entryPathId );
   std::string readEntries( WireCursor& cursor, bool addPath );
   bool addPath_ = false; // of the record being read
   U16 afi_ = 0;
   U8 safi_ = 0;
   void emitEntries( const MrtRecord& record );

   MrtDecodeContext& ctx_;
   bool havePeerTable_ = false;
   std::vector<Peer> peers_;
   std::vector<Entry> entries_; // reused; the first entryCount_ are live
   size_t entryCount_ = 0;
   std::string prefix_;
};

} // namespace Bgpcomm
