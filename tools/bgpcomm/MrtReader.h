// MrtReader.h: reads MRT files (plain or compressed) record by record (table
// dumps of both versions, BGP4MP messages) and hands every route to a sink.
// Bad records are reported to the same sink with their offset and skipped;
// reading goes on while the framing holds.
//
//   MrtReader reader( sink );
//   MrtFileSummary s = reader.readFile( "updates.20240101.0000.gz" );
#pragma once

#include "tools/bgpcomm/ByteSource.h"
#include "tools/bgpcomm/MrtRouteSink.h"

#include <functional>
#include <string>

namespace Bgpcomm {

// MrtFileSummary: the counts of one file.
struct MrtFileSummary {
   U64 records = 0;
   U64 routes = 0;
   U64 problems = 0;
   bool readToEnd = false; // false when a framing or decompression error stopped it
};

// MrtReader
class MrtReader {
 public:
   // Progress: octets of the file consumed so far and its size (0 if unknown).
   using Progress = std::function<void( U64 done, U64 total )>;

   explicit MrtReader( MrtRouteSink& sink ) : sink_( sink ) {}

   // progressIs(): called now and then while a file is read.
   void progressIs( Progress progress ) { progress_ = std::move( progress ); }

   // sourceOptionsIs(): how readFile() inflates (threads).
   void sourceOptionsIs( ByteSource::Options options ) { options_ = options; }

   // readFile(): reads the whole file ("-" is standard input). Throws
   // ByteSourceError when it cannot be opened; every later error is a problem.
   MrtFileSummary readFile( const std::string& path );
   // read(): reads the whole of a source opened by the caller; problems
   // name file.
   MrtFileSummary read( ByteSource& source, std::string_view file );

 private:
   MrtRouteSink& sink_;
   Progress progress_;
   ByteSource::Options options_;
};

} // namespace Bgpcomm
