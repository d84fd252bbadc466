// OvBgp/ExtCommIp6ListDedupTable.h: the table that interns IPv6-address-
// specific extended community lists and their classification lists, each in
// its own set; both sets are thread-safe exactly when the process runs
// multi-threaded at the table's creation.
//
//   auto listTable = extCommIp6ListDedupTableFactory();
//   ExtCommIp6List::PtrConst shared = list->dedup( listTable.ptr() );
#pragma once

#include "Bex/DedupHashTable.h"
#include "Kel/Ptr.h"
#include "Kel/Types.h"
#include "OvBgp/CommListDedupTable.h"

namespace Bex {
class DumpContext;
}

namespace Routing::Bgp {

// ExtCommIp6ListDedupTable: lists in the base's set, classification lists
// in a second one.
class ExtCommIp6ListDedupTable : public CommListDedupTableBase {
 public:
   using Ptr = Kel::Ptr<ExtCommIp6ListDedupTable>;
   using PtrConst = Kel::Ptr<const ExtCommIp6ListDedupTable>;

   ExtCommIp6ListDedupTable();
   ~ExtCommIp6ListDedupTable() override;
   // ExtCommIp6ListDedupTableIs(): a new table, notification on.
   static Ptr ExtCommIp6ListDedupTableIs();

   const Bex::DedupHashTable::Ptr& extCommIp6ClassificationListDedupTable() const noexcept {
      return extCommIp6ClassificationListDedupTable_;
   }

   // dumpState(): printed under the 8-octet table's name, which readers of
   // the dump rely on: "ExtCommListDedupTable", then "extComm" with the
   // list set and "extCommClassification" with the classification-list set.
   void dumpState( const Kel::Ptr<const Bex::DumpContext>& ctx, U32 indent ) const;
   void dumpState( const Bex::DumpContext& ctx, U32 indent ) const;

 private:
   void handleInitialized();

   Bex::DedupHashTable::Ptr extCommIp6ClassificationListDedupTable_;
};

// extCommIp6ListDedupTableFactory(): the same as ExtCommIp6ListDedupTableIs().
ExtCommIp6ListDedupTable::Ptr extCommIp6ListDedupTableFactory();

} // namespace Routing::Bgp
