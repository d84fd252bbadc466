#include "tools/bgpcomm/ValueForms.h"

#include "OvBgp/CommList.h"
#include "OvBgp/LargeCommList.h"
#include "OvFmt/DynamicBuffer.h"

namespace Bgpcomm {

using namespace Routing::Bgp;

std::vector<ValueForm> valueForms( U32 standard ) {
   OvFmt::DynamicBuffer<32> named;
   CommunityFormatter<true>::format( named, standard );
   return { { "text", "text", named.str() },
            { "numeric form", "numeric", CommList::getStringValue( standard ) } };
}

std::vector<ValueForm> valueForms( const Acl::CommunityValue& large ) {
   return { { "text", "text", LargeCommList::getStringValue( large ) },
            { "asdot form", "asdot", LargeCommList::displayString( large, true ) } };
}

std::vector<ValueForm> valueForms( const ExtComm& extended ) {
   return {
      { "debugging form", "debug", extended.toStrep() },
      { "policy form", "policy", extended.toStrepForPolicy( ExtComm::strepFormatDefault ) },
      { "classification form", "classification",
        extended.toStrepForPolicy( ExtComm::strepFormatClassification ) },
      { "UI form", "ui", extended.toStrepForUI( false, false, false ) },
   };
}

std::vector<ValueForm> valueForms( const ExtCommIp6& ip6Extended ) {
   return {
      { "debugging form", "debug", ip6Extended.toStrep() },
      { "policy form", "policy", ip6Extended.toStrepForPolicy( ExtCommIp6::strepFormatDefault ) },
      { "classification form", "classification",
        ip6Extended.toStrepForPolicy( ExtCommIp6::strepFormatClassification ) },
      { "UI form", "ui",
        ip6Extended.toStrepForPolicy( ExtCommIp6::strepFormatClassification |
                                      ExtCommIp6::strepFormatUI ) },
   };
}

} // namespace Bgpcomm
