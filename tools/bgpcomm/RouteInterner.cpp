#include "tools/bgpcomm/RouteInterner.h"

#include <algorithm>

namespace Bgpcomm {

using namespace Routing::Bgp;

namespace {

// internKept(): the list for octets, from the library's table, with the
// text kept of it; the list is kept when its table gained a member in the
// call (it was built). With other threads interning into the same tables the
// size can mislead: a list is then kept twice, or not kept and built again
// once its routes are gone; never a wrong list.
template<class List, class Intern>
KeptList<List>* internKept( std::span<const U8> octets, KeptLists<List>& texts,
                            const Bex::DedupHashTable& table,
                            std::vector<typename List::PtrConst>& kept, U64& built,
                            Intern&& intern ) {
   if ( octets.empty() )
      return nullptr;
   const size_t before = table.size();
   typename List::PtrConst list = intern();
   if ( table.size() != before ) {
      kept.push_back( list );
      ++built;
   }
   return &texts.of( std::move( list ) );
}

// listOf(): what the public calls give.
template<class List>
typename List::PtrConst listOf( const KeptList<List>* text ) {
   return text ? text->list : nullptr;
}

// fill(): one kind of lists from its interned list and kept text.
template<class List>
void fill( KeptList<List>* found, typename List::PtrConst& list, KeptText*& text ) {
   if ( !found ) {
      list = nullptr;
      text = nullptr;
      return;
   }
   if ( list.ptr() != found->list.ptr() ) // saves two atomic counts on a repeat
      list = found->list;
   text = &found->kept;
}

} // namespace

RouteInterner::RouteInterner( const CommunityTables& tables ) : tables_( tables ) {}

void RouteInterner::intern( const MrtRoute& route, InternedRoute* lists ) {
   auto& texts = lists->texts;
   // Most routes of an update dump carry no community attribute at all.
   if ( std::ranges::all_of( route.communities, []( auto octets ) { return octets.empty(); } ) ) {
      lists->communities = nullptr;
      lists->extCommunities = nullptr;
      lists->largeCommunities = nullptr;
      lists->ipv6ExtCommunities = nullptr;
      texts = {};
      return;
   }
   fill( standard( route.community( CommunityKind::standard ) ), lists->communities,
         texts[ communityKindIndex( CommunityKind::standard ) ] );
   fill( extended( route.community( CommunityKind::extended ) ), lists->extCommunities,
         texts[ communityKindIndex( CommunityKind::extended ) ] );
   fill( large( route.community( CommunityKind::large ) ), lists->largeCommunities,
         texts[ communityKindIndex( CommunityKind::large ) ] );
   fill( ip6Extended( route.community( CommunityKind::ip6Extended ) ), lists->ipv6ExtCommunities,
         texts[ communityKindIndex( CommunityKind::ip6Extended ) ] );
}

CommList::PtrConst RouteInterner::communities( std::span<const U8> octets ) {
   return listOf( standard( octets ) );
}

LargeCommList::PtrConst RouteInterner::largeCommunities( std::span<const U8> octets ) {
   return listOf( large( octets ) );
}

ExtCommList::PtrConst RouteInterner::extCommunities( std::span<const U8> octets ) {
   return listOf( extended( octets ) );
}

ExtCommIp6List::PtrConst RouteInterner::ipv6ExtCommunities( std::span<const U8> octets ) {
   return listOf( ip6Extended( octets ) );
}

KeptList<CommList>* RouteInterner::standard( std::span<const U8> octets ) {
   return internKept<CommList>( octets, textsStandard_, *tables_.commList()->dedupTable(),
                                keptStandard_, listsBuilt_, [ & ] {
                                   return CommList::dedupOctets( tables_.commList(), octets.data(),
                                                                 octets.size() );
                                } );
}

KeptList<LargeCommList>* RouteInterner::large( std::span<const U8> octets ) {
   return internKept<LargeCommList>( octets, textsLarge_, *tables_.largeCommList()->dedupTable(),
                                     keptLarge_, listsBuilt_, [ & ] {
                                        return LargeCommList::dedupOctets( tables_.largeCommList(),
                                                                           octets.data(),
                                                                           octets.size() );
                                     } );
}

KeptList<ExtCommList>* RouteInterner::extended( std::span<const U8> octets ) {
   return internKept<ExtCommList>( octets, textsExtended_, *tables_.extCommList()->dedupTable(),
                                   keptExtended_, listsBuilt_, [ & ] {
                                      return ExtCommList::dedupOctets(
                                            tables_.extCommList(), tables_.extComm(), octets.data(),
                                            octets.size() );
                                   } );
}

KeptList<ExtCommIp6List>* RouteInterner::ip6Extended( std::span<const U8> octets ) {
   return internKept<ExtCommIp6List>(
         octets, textsIp6Extended_, *tables_.extCommIp6List()->dedupTable(), keptIp6Extended_,
         listsBuilt_, [ & ] {
            return ExtCommIp6List::dedupOctets( tables_.extCommIp6List(), tables_.extCommIp6(),
                                                octets.data(), octets.size() );
         } );
}

} // namespace Bgpcomm
