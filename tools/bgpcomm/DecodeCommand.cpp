#include "tools/bgpcomm/Commands.h"

#include "tools/bgpcomm/CommunityInput.h"
#include "tools/bgpcomm/CommunityValues.h"
#include "tools/bgpcomm/OutputBuffer.h"
#include "tools/bgpcomm/RoutePrinter.h"

namespace Bgpcomm {

int runDecode( const CommandLine& cl, std::FILE* out, std::FILE* err ) {
   OutputBuffer buffer( out );
   CommunityValues values;
   int status = exitOk;
   for ( const std::string& hex : cl.operands ) {
      CommunityInput in;
      try {
         in = parseCommunityInput( hex );
      } catch ( const CommunityInputError& e ) {
         buffer.flush();
         std::fprintf( err, "bgpcomm: decode '%s': %s\n", hex.c_str(), e.what() );
         status = exitUsage;
         continue;
      }
      CommunityKindInfo info = communityKindInfo( in.kind );
      std::string& t = buffer.text();
      if ( cl.json ) {
         t += "{\"input\": ";
         appendJsonString( t, hex );
         t += ", \"kind\": \"";
         t += info.jsonKey;
         t += "\", \"attribute\": ";
         t += in.isAttribute ? "true" : "false";
         t += ", \"values\": ";
         values.appendJson( t, in.kind, in.octets );
         t += "}\n";
      } else {
         t += info.attrName;
         t += ' ';
         values.appendJson( t, in.kind, in.octets );
         t += '\n';
      }
   }
   return status;
}

} // namespace Bgpcomm
