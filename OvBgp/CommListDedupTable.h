// OvBgp/CommListDedupTable.h: the tables that intern community lists. Each
// holds one interning set (thread-safe when the process runs multi-threaded
// at the table's creation); a list's dedup(table) finishes the list and
// returns the one shared object for its content.
//
//   auto table = commListDedupTableFactory();
//   CommList::PtrConst shared = list->dedup( table.ptr() );
#pragma once

#include "Bex/DedupHashTable.h"
#include "Kel/Ptr.h"
#include "Kel/Types.h"

namespace Bex {
class DumpContext;
}

namespace Routing::Bgp {

// CommListDedupTableBase: one interning set of lists.
class CommListDedupTableBase : public Kel::PtrInterface {
 public:
   using Ptr = Kel::Ptr<CommListDedupTableBase>;
   using PtrConst = Kel::Ptr<const CommListDedupTableBase>;

   const Bex::DedupHashTable::Ptr& dedupTable() const noexcept { return dedupTable_; }

   // dumpState(): "DedupTable", then the set as a child at indent + 2.
   void dumpState( const Bex::DumpContext& ctx, U32 indent ) const;

 protected:
   CommListDedupTableBase() { initDedupTable(); }
   // initDedupTable(): a new set, replacing any previous one.
   void initDedupTable();

 private:
   Bex::DedupHashTable::Ptr dedupTable_;
};

// newListDedupHashTable(): an interning set, thread-safe exactly when
// OvBgpGlobals::multiThreaded() is true now.
Bex::DedupHashTable::Ptr newListDedupHashTable();

// CommListDedupTable: interns standard community lists.
class CommListDedupTable : public CommListDedupTableBase {
 public:
   using Ptr = Kel::Ptr<CommListDedupTable>;
   using PtrConst = Kel::Ptr<const CommListDedupTable>;

   static Ptr CommListDedupTableIs();
};
CommListDedupTable::Ptr commListDedupTableFactory();

// LargeCommListDedupTable: interns large community lists.
class LargeCommListDedupTable : public CommListDedupTableBase {
 public:
   using Ptr = Kel::Ptr<LargeCommListDedupTable>;
   using PtrConst = Kel::Ptr<const LargeCommListDedupTable>;

   static Ptr LargeCommListDedupTableIs();
};
LargeCommListDedupTable::Ptr largeCommListDedupTableFactory();

} // namespace Routing::Bgp
