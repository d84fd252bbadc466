// KelStow/DedupHandle.h: an interned handle that can also be written into the
// store. Every type with a destow() derives from it and writes its own image
// with stow(); the image opens with a version anchor the reader checks.
//
//   U64 offset = list->stow( store.ptr() );
//   auto rebuilt = CommList::destow( store->translate( offset ), store.ptr() );
#pragma once

#include "Bex/DedupHandle.h"
#include "Kel/Types.h"

namespace KelStow {

class StoreManager;

// DedupHandle: Bex::DedupHandle plus stow().
class DedupHandle : public Bex::DedupHandle {
 public:
   using Ptr = Kel::Ptr<DedupHandle>;
   using PtrConst = Kel::Ptr<const DedupHandle>;

   // stow(): writes this object's image into store; returns its offset.
   virtual U64 stow( StoreManager* store ) const = 0;
};

} // namespace KelStow
