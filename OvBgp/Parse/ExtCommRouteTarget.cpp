#include "OvBgp/Parse/ExtCommRouteTarget.h"

#include <ostream>

#include "Kel/Assert.h"

namespace Routing::Bgp {

ExtCommRouteTargetAs::Ptr ExtCommRouteTargetAs::ExtCommRouteTargetAsIs(
      const ExtCommContent& content, bool fourByteAs ) {
   return Kel::makeActivePtr<ExtCommRouteTargetAs>( content, fourByteAs );
}

void ExtCommRouteTargetAs::formatDerivedType( std::ostream& os ) const {
   const U8 type = getContent().typeOctet();
   // The factory takes any content; only the two AS types have a name here.
   KEL_ASSERT_MSG( type == extCommPktTypeTransTwoOctetAs || type == extCommPktTypeTransFourOctetAs,
                   "0 && \"unexpected type\"" );
   formatLabelled( os, type == extCommPktTypeTransTwoOctetAs ? "<RouteTarget2ByteASN "
                                                             : "<RouteTarget4ByteASN " );
}

void ExtCommRouteTargetAs::appendStrepForPolicy( StrepFormat format,
                                                 OvFmt::DynamicBufferInterface& out ) const {
   appendLabelled( format, out, "RT:", "Route-Target-AS:", "Route-Target-AS4:" );
}

ExtCommRouteTargetIpv4Address::Ptr ExtCommRouteTargetIpv4Address::ExtCommRouteTargetIpv4AddressIs(
      const ExtCommContent& content ) {
   return Kel::makeActivePtr<ExtCommRouteTargetIpv4Address>( content );
}

void ExtCommRouteTargetIpv4Address::formatDerivedType( std::ostream& os ) const {
   formatLabelled( os, "<RouteTarget " );
}

void ExtCommRouteTargetIpv4Address::appendStrepForPolicy(
      StrepFormat format, OvFmt::DynamicBufferInterface& out ) const {
   appendLabelled( format, out, "RT:", "Route-Target-IP:" );
}

ExtCommRouteTargetAs::Ptr extCommRouteTargetAsFactory( const ExtCommContent& content,
                                                       bool fourByteAs ) {
   return ExtCommRouteTargetAs::ExtCommRouteTargetAsIs( content, fourByteAs );
}

ExtCommRouteTargetIpv4Address::Ptr extCommRouteTargetIpv4AddressFactory(
      const ExtCommContent& content ) {
   return ExtCommRouteTargetIpv4Address::ExtCommRouteTargetIpv4AddressIs( content );
}

} // namespace Routing::Bgp
