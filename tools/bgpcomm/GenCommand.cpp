#include "tools/bgpcomm/Commands.h"

#include "tools/bgpcomm/MrtGenerator.h"

namespace Bgpcomm {

int runGen( const CommandLine& cl, std::FILE* out, std::FILE* err ) {
   try {
      ByteSink sink( cl.output );
      MrtGeneratorSummary s = generateMrt( { cl.routes, cl.seed }, sink );
      sink.close();
      std::fprintf( out,
                    "%s: %llu routes, %llu IPv4 and %llu IPv6 prefixes, %llu peers, "
                    "%llu records\n",
                    cl.output.c_str(), (unsigned long long)s.routes,
                    (unsigned long long)s.ipv4Prefixes, (unsigned long long)s.ipv6Prefixes,
                    (unsigned long long)s.peers, (unsigned long long)s.records );
   } catch ( const ByteSinkError& e ) {
      std::fprintf( err, "bgpcomm: %s\n", e.what() );
      return exitUsage;
   }
   return exitOk;
}

} // namespace Bgpcomm
