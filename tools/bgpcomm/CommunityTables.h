// CommunityTables.h: the library's interning tables the tool puts every
// community into: the parser container, the two value tables (8- and 20-octet
// extended communities) and the four list tables. One set serves a whole run,
// so a list seen on many routes is one object. Whatever holds interned lists
// or values lets go of them before the tables go.
//
//   CommunityTables tables;
//   ExtComm::PtrConst rt = ExtComm::dedupContent( tables.extComm(), ExtCommContent( c ) );
#pragma once

#include "OvBgp/CommList.h"
#include "OvBgp/CommListDedupTable.h"
#include "OvBgp/ExtCommIp6DedupTable.h"
#include "OvBgp/ExtCommIp6List.h"
#include "OvBgp/ExtCommIp6ListDedupTable.h"
#include "OvBgp/ExtCommList.h"
#include "OvBgp/ExtCommListDedupTable.h"
#include "OvBgp/LargeCommList.h"
#include "OvBgp/OvBgpCommunity.h"
#include "OvBgp/Parse/ExtComm.h"

namespace Bgpcomm {

// CommunityTables
class CommunityTables {
 public:
   CommunityTables();
   CommunityTables( const CommunityTables& ) = delete;
   CommunityTables& operator=( const CommunityTables& ) = delete;

   // The value tables.
   const Routing::Bgp::ExtCommDedupTable* extComm() const { return extComm_.ptr(); }
   const Routing::Bgp::ExtCommIp6DedupTable* extCommIp6() const { return extCommIp6_.ptr(); }

   // The list tables.
   const Routing::Bgp::CommListDedupTable* commList() const { return commList_.ptr(); }
   const Routing::Bgp::LargeCommListDedupTable* largeCommList() const {
      return largeCommList_.ptr();
   }
   const Routing::Bgp::ExtCommListDedupTable* extCommList() const { return extCommList_.ptr(); }
   const Routing::Bgp::ExtCommIp6ListDedupTable* extCommIp6List() const {
      return extCommIp6List_.ptr();
   }

 private:
   // Members go in reverse order: lists, values, then the parser.
   Routing::Bgp::BgpParseExtCommContainerSm::Ptr container_;
   Routing::Bgp::ExtCommDedupTable::Ptr extComm_;
   Routing::Bgp::ExtCommIp6DedupTable::Ptr extCommIp6_;
   Routing::Bgp::CommListDedupTable::Ptr commList_;
   Routing::Bgp::LargeCommListDedupTable::Ptr largeCommList_;
   Routing::Bgp::ExtCommListDedupTable::Ptr extCommList_;
   Routing::Bgp::ExtCommIp6ListDedupTable::Ptr extCommIp6List_;
};

} // namespace Bgpcomm
