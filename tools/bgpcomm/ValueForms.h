// ValueForms.h: every text form the library gives one community value, named
// for people and for JSON, in the order decode shows them. Extended values
// have four: debugging (toStrep), policy (default format), classification and
// UI; standard values their text (well-known names) and numeric form; large
// values their text and asdot form.
//
//   for ( const ValueForm& f : valueForms( *extComm ) ) print( f.name, f.text );
//   // "debugging form" "<RouteTarget2ByteASN 65000:100 0x0002fde800000064>", ...
#pragma once

#include "Acl/CommunityValue.h"
#include "OvBgp/ExtCommIp6.h"
#include "OvBgp/OvBgpCommunity.h"

#include <string>
#include <vector>

namespace Bgpcomm {

// ValueForm
struct ValueForm {
   const char* name;    // "policy form"
   const char* jsonKey; // "policy"
   std::string text;
};

// valueForms()
std::vector<ValueForm> valueForms( U32 standard );
std::vector<ValueForm> valueForms( const Acl::CommunityValue& large );
std::vector<ValueForm> valueForms( const Routing::Bgp::ExtComm& extended );
std::vector<ValueForm> valueForms( const Routing::Bgp::ExtCommIp6& ip6Extended );

} // namespace Bgpcomm
