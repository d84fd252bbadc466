// TableDumpDecoder.h: decodes the first-version TABLE_DUMP records (RFC 6396
// section 4.2) that archives from before TABLE_DUMP_V2 hold: one route per
// record, the peer written out in each.
//
//   TableDumpDecoder tableDump( ctx );
//   if ( std::string why = tableDump.decode( record ); !why.empty() ) ctx.report( ... );
#pragma once

#include "tools/bgpcomm/MrtDecodeContext.h"
#include "tools/bgpcomm/MrtRecordReader.h"

#include <string>

namespace Bgpcomm {

// TableDumpDecoder
class TableDumpDecoder {
 public:
   explicit TableDumpDecoder( MrtDecodeContext& ctx ) : ctx_( ctx ) {}

   // decode(): one record of type TABLE_DUMP. Returns "" when it was read,
   // else why it is skipped.
   std::string decode( const MrtRecord& record );

 private:
   MrtDecodeContext& ctx_;
   PathAttributeScan scan_;
   std::string peer_;
   std::string prefix_;
};

} // namespace Bgpcomm
