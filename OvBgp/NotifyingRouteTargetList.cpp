#include "OvBgp/NotifyingRouteTargetList.h"

#include <vector>

namespace Routing::Bgp {

NotifyingRouteTargetList::Ptr NotifyingRouteTargetList::NotifyingRouteTargetListIs() {
   return Kel::makeActivePtr<NotifyingRouteTargetList>();
}

NotifyingRouteTargetList::Ptr notifyingRouteTargetListFactory() {
   return NotifyingRouteTargetList::NotifyingRouteTargetListIs();
}

NotifyingRouteTargetList::~NotifyingRouteTargetList() {
   notifiees_.clear();
   rt_.clear();
}

void NotifyingRouteTargetList::rtIs( const RouteTarget& rt ) {
   if ( !rt_.insert( rt ).second ) {
      return;
   }
   notifiees_.visit( [ & ]( Notifiee* n ) { n->handleRt( rt ); } );
}

bool NotifyingRouteTargetList::rtDel( const RouteTarget& rt ) {
   // A copy: rt may refer to the member about to be erased.
   const RouteTarget gone = rt;
   if ( rt_.erase( gone ) == 0 ) {
      return false;
   }
   notifiees_.visit( [ & ]( Notifiee* n ) { n->handleRt( gone ); } );
   return true;
}

void NotifyingRouteTargetList::rtDelAll() {
   if ( notifiees_.empty() ) {
      rt_.clear();
      return;
   }
   // Walk a copy of the members: observers run between removals and may
   // change the set, which would invalidate an iterator into it. A member
   // an observer already removed is skipped by rtDel().
   const std::vector<RouteTarget> members( rt_.begin(), rt_.end() );
   for ( const RouteTarget& member : members ) {
      rtDel( member );
   }
}

void NotifyingRouteTargetList::dumpState( const Kel::Ptr<const Bex::DumpContext>& dumpCtx,
                                          U32 indentCount ) const {
   dumpState( *dumpCtx, indentCount );
}

void NotifyingRouteTargetList::dumpState( const Bex::DumpContext& dumpCtx, U32 indentCount ) const {
   const unsigned count = unsigned( rt_.size() );
   if ( indentCount != 0 ) {
      dumpCtx.printf( "%*cNotifyingRouteTargetList #%u:\n", int( indentCount ), ' ', count );
   } else {
      dumpCtx.printf( "NotifyingRouteTargetList #%u:\n", count );
   }
   // The member indent wraps like the unsigned it is; 0xFFFFFFFE would make it
   // 0, where "%*c" would still print one character.
   const U32 memberIndent = indentCount + 2;
   for ( const RouteTarget& member : rt_ ) {
      const Kel::String text = member.toStrep( false );
      if ( memberIndent == 0 ) {
         dumpCtx.printf( "%s\n", text.c_str() );
      } else {
         dumpCtx.printf( "%*c%s\n", int( memberIndent ), ' ', text.c_str() );
      }
   }
}

} // namespace Routing::Bgp
