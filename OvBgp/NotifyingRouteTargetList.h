// OvBgp/NotifyingRouteTargetList.h: a set of route targets that tells its
// observers about every change of membership. The 8-octet interning table
// keeps one as the set of route targets it currently holds; an observer hears
// one handleRt() per route target that arrives or leaves, after the change,
// and tells which by looking the route target up in the set.
//
//   auto rts = Routing::Bgp::NotifyingRouteTargetList::NotifyingRouteTargetListIs();
//   rts->notifieeList().add( &observer );  rts->rtIs( rt );  // observer.handleRt( rt )
#pragma once

#include <cstddef>
#include <unordered_set>

#include "Bex/DumpContext.h"
#include "Kel/Hash.h"
#include "Kel/Notifiee.h"
#include "Kel/Ptr.h"
#include "Kel/Types.h"
#include "Routing/Bgp/RouteTarget.h"

namespace Routing::Bgp {

// NotifyingRouteTargetList(): counted; belongs to one thread, the one that
// runs the producer and the observers.
class NotifyingRouteTargetList : public Kel::PtrInterface {
 public:
   using Ptr = Kel::Ptr<NotifyingRouteTargetList>;
   using PtrConst = Kel::Ptr<const NotifyingRouteTargetList>;

   // Notifiee(): an observer; handleRt() runs synchronously after the route
   // target has entered or left the set.
   class Notifiee {
    public:
      virtual ~Notifiee() = default;
      virtual void handleRt( const RouteTarget& rt ) = 0;
   };
   using NotifieeList = Kel::NotifieeList<Notifiee>;

   // RtHash(): the member hash, the single-attribute hash of the 64-bit
   // value under the process seed mixed with a constant of this set.
   class RtHash {
    public:
      RtHash() noexcept : seed_( Kel::hashSeed() ^ 0xA708F6F4u ) {}
      size_t operator()( const RouteTarget& rt ) const noexcept {
         return Kel::hashSingleAttr( seed_, rt.value() );
      }

    private:
      U32 seed_;
   };
   using RtSet = std::unordered_set<RouteTarget, RtHash>;
   using const_iterator = RtSet::const_iterator;

   // NotifyingRouteTargetListIs(): a new empty set with notifications on.
   static Ptr NotifyingRouteTargetListIs();

   NotifyingRouteTargetList() = default;
   NotifyingRouteTargetList( const NotifyingRouteTargetList& ) = delete;
   NotifyingRouteTargetList& operator=( const NotifyingRouteTargetList& ) = delete;
   // Forgets every observer and empties the set without telling anyone.
   ~NotifyingRouteTargetList() override;

   // rtIs(): add rt and tell every observer; nothing at all when present.
   void rtIs( const RouteTarget& rt );
   // rtDel(): remove rt and tell every observer; false, and nobody told,
   // when it was absent.
   bool rtDel( const RouteTarget& rt );
   // rtDelAll(): remove every member; with observers one by one through
   // rtDel() so that each departure is heard (a member an observer adds
   // meanwhile stays), without them at once.
   void rtDelAll();

   // rt(): whether rt is a member.
   bool rt( const RouteTarget& rt ) const { return rt_.contains( rt ); }
   // rtCount(): the number of members.
   size_t rtCount() const noexcept { return rt_.size(); }
   // begin() / end(): the members, in no particular order.
   const_iterator begin() const noexcept { return rt_.begin(); }
   const_iterator end() const noexcept { return rt_.end(); }

   // notifieeList(): where observers register.
   NotifieeList& notifieeList() noexcept { return notifiees_; }
   const NotifieeList& notifieeList() const noexcept { return notifiees_; }

   // dumpState(): a header with the member count, then one line per member
   // (its plain text) indented two more than the header.
   void dumpState( const Kel::Ptr<const Bex::DumpContext>& dumpCtx, U32 indentCount ) const;
   void dumpState( const Bex::DumpContext& dumpCtx, U32 indentCount ) const;

 private:
   RtSet rt_;
   NotifieeList notifiees_;
};

// notifyingRouteTargetListFactory(): the same as NotifyingRouteTargetListIs().
NotifyingRouteTargetList::Ptr notifyingRouteTargetListFactory();

} // namespace Routing::Bgp
