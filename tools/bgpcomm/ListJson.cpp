#include "tools/bgpcomm/ListJson.h"

#include "Routing/Bgp/NetworkOrder.h"
#include "tools/bgpcomm/HexText.h"
#include "tools/bgpcomm/NlriText.h"

namespace Bgpcomm {

using namespace Routing::Bgp;

namespace {

template<class Values>
void appendArray( std::string& out, const Values& values ) {
   out += '[';
   bool first = true;
   for ( const auto& v : values ) {
      if ( !first )
         out += ", ";
      first = false;
      if constexpr ( requires { *v; } ) {
         appendJsonValue( out, *v );
      } else {
         appendJsonValue( out, v );
      }
   }
   out += ']';
}

} // namespace

void appendJsonValue( std::string& out, U32 standard ) { appendDecimal( out, standard ); }

void appendJsonValue( std::string& out, const Acl::CommunityValue& large ) {
   out += '[';
   appendDecimal( out, large.globalAdmin() );
   out += ", ";
   appendDecimal( out, large.localData1() );
   out += ", ";
   appendDecimal( out, large.localData2() );
   out += ']';
}

void appendJsonValue( std::string& out, const ExtComm& extended ) {
   U8 wire[ 8 ];
   storeU64hton( wire, extended.community() );
   out += "\"0x";
   appendHex( out, wire );
   out += '"';
}

void appendJsonValue( std::string& out, const ExtCommIp6& ip6Extended ) {
   U8 wire[ 20 ];
   ip6Extended.content().storeWire( wire );
   out += '"';
   appendHex( out, wire );
   out += '"';
}

void appendJsonValues( std::string& out, const CommList& list ) {
   appendArray( out, *list.commVectorRawPtr() );
}

void appendJsonValues( std::string& out, const LargeCommList& list ) {
   appendArray( out, *list.commVectorRawPtr() );
}

void appendJsonValues( std::string& out, const ExtCommList& list ) {
   appendArray( out, list.commVector() );
}

void appendJsonValues( std::string& out, const ExtCommIp6List& list ) {
   appendArray( out, list.commVector() );
}

} // namespace Bgpcomm
