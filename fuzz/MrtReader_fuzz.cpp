// MrtReader_fuzz.cpp: arbitrary octets as a plain (uncompressed) MRT file read
// by the tool's reader straight from memory, with no file or thread in
// between. The reader must hand out well-formed routes, report every bad
// record with an offset inside the data, and never crash, throw or stop
// early without saying why. Every entry is
// also written as a bgpdump line, which decodes the rest of its attributes.
//
//   ninja fuzz_MrtReader_fuzz && build/fuzz/MrtReader_fuzz fuzz/corpus/MrtReader_fuzz

#include <cstdio>
#include <cstdlib>

#include "tools/bgpcomm/BgpdumpLine.h"
#include "tools/bgpcomm/CommunityKind.h"
#include "tools/bgpcomm/MrtReader.h"

namespace {

#define FUZZ_CHECK( cond )                                                                        \
   do {                                                                                           \
      if ( !( cond ) ) {                                                                          \
         std::fprintf( stderr, "MrtReader_fuzz: check failed: %s (line %d)\n", #cond, __LINE__ ); \
         std::abort();                                                                            \
      }                                                                                           \
   } while ( 0 )

// Sink: checks what it is given and counts it.
class Sink : public Bgpcomm::MrtRouteSink {
 public:
   explicit Sink( size_t size ) : size_( size ) {}

   void route( const Bgpcomm::MrtRoute& route ) override {
      ++routes;
      FUZZ_CHECK( route.recordOffset < size_ );
      FUZZ_CHECK( !route.prefix.empty() );
      for ( Bgpcomm::CommunityKind kind : Bgpcomm::allCommunityKinds ) {
         const auto octets = route.community( kind );
         FUZZ_CHECK( octets.size() % Bgpcomm::communityKindInfo( kind ).unit == 0 );
         // Touch every octet, so that a view past its buffer shows.
         unsigned sum = 0;
         for ( U8 o : octets ) {
            sum += o;
         }
         checksum += sum;
      }
      // Routes the line format leaves out (multicast RIBs, other SAFIs)
      // write nothing; every other line is whole.
      line_.clear();
      lines_.appendRoute( line_, route );
      FUZZ_CHECK( line_.empty() || line_.back() == '\n' );
   }

   void withdrawal( const Bgpcomm::MrtRoute& route ) override {
      FUZZ_CHECK( route.attributes.empty() );
      line_.clear();
      lines_.appendWithdrawal( line_, route );
   }

   void stateChange( const Bgpcomm::MrtStateChange& change ) override {
      line_.clear();
      lines_.appendStateChange( line_, change );
   }

   void problem( const Bgpcomm::MrtProblem& problem ) override {
      ++problems;
      FUZZ_CHECK( !problem.reason.empty() );
      // A problem is where a record starts, or at the end of a cut-short file.
      FUZZ_CHECK( problem.recordOffset <= size_ );
   }

   U64 routes = 0;
   U64 problems = 0;
   unsigned checksum = 0;

 private:
   size_t size_;
   Bgpcomm::BgpdumpLine lines_;
   std::string line_;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput( const U8* data, size_t size ) {
   // A compressed file's magic makes the reader decompress: not a plain file
   // (Decompress_fuzz feeds those).
   if ( Bgpcomm::sniffCompression( { data, size } ) != Bgpcomm::Compression::none ) {
      return 0;
   }
   Bgpcomm::ByteSource source( std::span<const U8>( data, size ), "input",
                               Bgpcomm::ByteSource::Options{ false, 0 } );
   Sink sink( size );
   Bgpcomm::MrtReader reader( sink );
   const Bgpcomm::MrtFileSummary summary = reader.read( source, "input" );
   FUZZ_CHECK( summary.routes == sink.routes );
   FUZZ_CHECK( summary.problems == sink.problems );
   // Each record is at least its 12-octet header.
   FUZZ_CHECK( summary.records <= size / 12 );
   // Stopping early is always reported.
   FUZZ_CHECK( summary.readToEnd || summary.problems > 0 );
   return 0;
}
