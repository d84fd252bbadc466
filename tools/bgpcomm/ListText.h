// ListText.h: the text the tool shows for an interned list, built from the
// library's own forms into a reused buffer, so a route's text allocates
// nothing. Standard and large lists read as their toStrep(); extended and
// IPv6-address-specific lists as their members' UI forms, one space apart,
// the form show commands use.
//
//   ListText text;
//   text.append( out, *lists.communities ); // "65000:100 no-export"
#pragma once

#include "OvBgp/CommList.h"
#include "OvBgp/ExtCommIp6List.h"
#include "OvBgp/ExtCommList.h"
#include "OvBgp/LargeCommList.h"
#include "OvFmt/DynamicBuffer.h"

#include <string>

namespace Bgpcomm {

// ListText
class ListText {
 public:
   // append(): the list's text: the same as toStrep() for standard and large
   // lists, the members' UI forms for the extended kinds.
   void append( std::string& out, const Routing::Bgp::CommList& list );
   void append( std::string& out, const Routing::Bgp::LargeCommList& list );
   void append( std::string& out, const Routing::Bgp::ExtCommList& list );
   void append( std::string& out, const Routing::Bgp::ExtCommIp6List& list );

   // appendUi(): one member's UI form, the same as toStrepForUI( false,
   // false, false ) (extended) or the classification-and-UI policy form (IPv6).
   void appendUi( std::string& out, const Routing::Bgp::ExtComm& comm );
   void appendUi( std::string& out, const Routing::Bgp::ExtCommIp6& comm );

 private:
   OvFmt::DynamicBuffer<1024> buffer_;
};

} // namespace Bgpcomm
