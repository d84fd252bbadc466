#include "tools/bgpcomm/MrtReader.h"

#include "tools/bgpcomm/Bgp4mpDecoder.h"
#include "tools/bgpcomm/ByteSource.h"
#include "tools/bgpcomm/MrtRecordReader.h"
#include "tools/bgpcomm/TableDumpDecoder.h"
#include "tools/bgpcomm/TableDumpV2Decoder.h"

namespace Bgpcomm {

namespace {

constexpr U64 progressEvery = 4096; // records

} // namespace

MrtFileSummary MrtReader::readFile( const std::string& path ) {
   ByteSource source( path, options_ );
   return read( source, path );
}

MrtFileSummary MrtReader::read( ByteSource& source, std::string_view file ) {
   MrtRecordReader records( source );
   MrtDecodeContext ctx( sink_, file );
   TableDumpDecoder tableDump( ctx );
   TableDumpV2Decoder tableDumpV2( ctx );
   Bgp4mpDecoder bgp4mp( ctx );
   MrtFileSummary summary;
   try {
      MrtRecord record;
      while ( records.next( &record ) ) {
         ++summary.records;
         std::string bad;
         switch ( record.type ) {
            case mrtTableDump:
               bad = tableDump.decode( record );
               break;
            case mrtTableDumpV2:
               bad = tableDumpV2.decode( record );
               break;
            case mrtBgp4mp:
            case mrtBgp4mpEt:
               bad = bgp4mp.decode( record );
               break;
            default:
               bad = "unknown MRT record type " + std::to_string( record.type );
               break;
         }
         if ( !bad.empty() )
            ctx.report( record.offset, bad + "; record skipped", true );
         if ( progress_ && summary.records % progressEvery == 0 ) {
            progress_( source.rawPosition(), source.rawSize() );
         }
      }
      summary.readToEnd = true;
   } catch ( const MrtFramingError& e ) {
      ctx.report( e.offset(), std::string( e.what() ) + "; reading of this file stops", true );
   } catch ( const ByteSourceError& e ) {
      ctx.report( records.offset(),
                  e.cause() + " after " + std::to_string( records.inflated() ) +
                        " octets; reading of this file stops",
                  true );
   }
   if ( progress_ )
      progress_( source.rawPosition(), source.rawSize() );
   summary.routes = ctx.routes();
   summary.problems = ctx.problems();
   return summary;
}

} // namespace Bgpcomm
