#include "tools/bgpcomm/ListJson.h"

#include "tools/bgpcomm/HexText.h"
#include "tools/bgpcomm/NlriText.h"

#include <algorithm>

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
   U64 c = extended.community();
   U8 be[ 8 ];
   for ( int i = 0; i < 8; ++i )
      be[ i ] = U8( c >> ( 56 - 8 * i ) );
   out += "\"0x";
   appendHex( out, be );
   out += '"';
}

void appendJsonValue( std::string& out, const ExtCommIp6& ip6Extended ) {
   ExtCommIp6Content c = ip6Extended.content();
   U8 wire[ 20 ] = { c.typeOctet, c.subtypeOctet };
   std::copy( c.addr.octets().begin(), c.addr.octets().end(), wire + 2 );
   wire[ 18 ] = U8( c.localAdmin >> 8 );
   wire[ 19 ] = U8( c.localAdmin );
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
