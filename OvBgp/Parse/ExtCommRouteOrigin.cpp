#include "OvBgp/Parse/ExtCommRouteOrigin.h"

#include <ostream>

#include "Kel/Assert.h"

namespace Routing::Bgp {

ExtCommRouteOriginAs::Ptr ExtCommRouteOriginAs::ExtCommRouteOriginAsIs(
      const ExtCommContent& content, bool fourByteAs ) {
   return Kel::makeActivePtr<ExtCommRouteOriginAs>( content, fourByteAs );
}

void ExtCommRouteOriginAs::formatDerivedType( std::ostream& os ) const {
   const U8 type = getContent().typeOctet();
   // The factory takes any content; only the two AS types have a name here.
   KEL_ASSERT_MSG( type == extCommPktTypeTransTwoOctetAs || type == extCommPktTypeTransFourOctetAs,
                   "0 && \"unexpected type\"" );
   formatLabelled( os, type == extCommPktTypeTransTwoOctetAs ? "<RouteOrigin2ByteASN "
                                                             : "<RouteOrigin4ByteASN " );
}

void ExtCommRouteOriginAs::appendStrepForPolicy( StrepFormat format,
                                                 OvFmt::DynamicBufferInterface& out ) const {
   appendLabelled( format, out, "SoO:", "Route-Origin-AS:", "Route-Origin-AS4:" );
}

ExtCommRouteOriginIpv4Address::Ptr ExtCommRouteOriginIpv4Address::ExtCommRouteOriginIpv4AddressIs(
      const ExtCommContent& content ) {
   return Kel::makeActivePtr<ExtCommRouteOriginIpv4Address>( content );
}

void ExtCommRouteOriginIpv4Address::formatDerivedType( std::ostream& os ) const {
   formatLabelled( os, "<RouteOrigin " );
}

void ExtCommRouteOriginIpv4Address::appendStrepForPolicy(
      StrepFormat format, OvFmt::DynamicBufferInterface& out ) const {
   appendLabelled( format, out, "SoO:", "Route-Origin-IP:" );
}

ExtCommRouteOriginAs::Ptr extCommRouteOriginAsFactory( const ExtCommContent& content,
                                                       bool fourByteAs ) {
   return ExtCommRouteOriginAs::ExtCommRouteOriginAsIs( content, fourByteAs );
}

ExtCommRouteOriginIpv4Address::Ptr extCommRouteOriginIpv4AddressFactory(
      const ExtCommContent& content ) {
   return ExtCommRouteOriginIpv4Address::ExtCommRouteOriginIpv4AddressIs( content );
}

} // namespace Routing::Bgp
