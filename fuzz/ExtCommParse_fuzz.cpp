// ExtCommParse_fuzz.cpp: arbitrary octets as 8-octet extended communities,
// interned through the library's parser container, printed in every form,
// gathered into an interned list, put on the wire under every selection,
// matched and pruned. Checks that interning gives one object per content,
// that every text form is the same however it is asked for, that the wire
// attribute holds exactly the members its selection names, that the table's
// route-target set is the interned route targets, and that the tables are
// empty again once the input's values are released.
//
//   ninja fuzz_ExtCommParse_fuzz && build/fuzz/ExtCommParse_fuzz fuzz/corpus/ExtCommParse_fuzz

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <set>
#include <sstream>
#include <vector>

#include "Kel/Exception.h"
#include "OvBgp/ExtCommList.h"
#include "OvBgp/ExtCommListDedupTable.h"
#include "OvBgp/NotifyingRouteTargetList.h"
#include "OvBgp/OvBgpCommunity.h"
#include "OvBgp/Parse/ExtComm.h"
#include "OvFmt/DynamicBuffer.h"
#include "Routing/RouteMap/PosixRegex.h"
#include "tools/bgpcomm/PathAttributes.h"

using namespace Routing::Bgp;

namespace {

// check(): a broken expectation aborts, so that the fuzzer keeps the input.
#define FUZZ_CHECK( cond )                                                               \
   do {                                                                                  \
      if ( !( cond ) ) {                                                                 \
         std::fprintf( stderr, "ExtCommParse_fuzz: check failed: %s (line %d)\n", #cond, \
                       __LINE__ );                                                       \
         std::abort();                                                                   \
      }                                                                                  \
   } while ( 0 )

// At most this many values an input, so that one input is bounded work; still
// enough for an attribute past 255 octets.
constexpr size_t kMaxValues = 40;

// The state every input shares: built once, as an agent builds it at start-up.
struct Fixture {
   BgpParseExtCommContainerSm::Ptr container = bgpParseExtCommContainerSmFactory();
   ExtCommDedupTable::Ptr values = extCommDedupTableFactory( container->extCommParser() );
   ExtCommListDedupTable::Ptr lists = extCommListDedupTableFactory();
   // Matches the route target and origin forms of a few ASes, and any hex dump.
   Routing::RouteMap::PosixRegex regex{ "(RT|SoO):6[0-9]*:1[0-9]*|0x0[0-4] 0x[0-9a-f]+$" };
};

Fixture& fixture() {
   static Fixture f;
   return f;
}

U64 loadU64( const U8* p ) {
   U64 v = 0;
   for ( int i = 0; i < 8; ++i ) {
      v = v << 8 | p[ i ];
   }
   return v;
}

// Every text form of one value agrees with itself and with a fresh parse.
void checkTexts( const ExtComm::PtrConst& value, const ExtComm::PtrConst& fresh ) {
   std::ostringstream os;
   os << value.ptr();
   const Kel::String debug = value->toStrep();
   FUZZ_CHECK( !debug.empty() );
   FUZZ_CHECK( os.str() == debug );
   FUZZ_CHECK( fresh->toStrep() == debug );
   FUZZ_CHECK( fresh->classification() == value->classification() );
   FUZZ_CHECK( fresh->isValid() == value->isValid() );
   FUZZ_CHECK( fresh->policyMatchStrepUI() == value->policyMatchStrepUI() );
   for ( unsigned octet = 0; octet < 64; ++octet ) {
      const ExtComm::StrepFormat format( octet );
      const Kel::String text = value->toStrepForPolicy( format );
      OvFmt::DynamicBuffer<16> buffer;
      buffer.append( '<' );
      value->appendStrepForPolicy( format, buffer );
      FUZZ_CHECK( buffer.view().substr( 1 ) == text );
   }
   for ( unsigned flags = 0; flags < 8; ++flags ) {
      unsigned octet = unsigned( ExtComm::strepFormatClassification ) | ExtComm::strepFormatUI;
      octet |= ( flags & 1 ) ? ExtComm::strepFormatAsdot : 0;
      octet |= ( flags & 2 ) ? ExtComm::strepFormatLinkBwWeighted : 0;
      octet |= ( flags & 4 ) ? ExtComm::strepFormatJson : 0;
      const Kel::String ui = value->toStrepForUI( flags & 1, flags & 2, flags & 4 );
      FUZZ_CHECK( ui == value->toStrepForPolicy( ExtComm::StrepFormat( octet ) ) );
      FUZZ_CHECK( ui == fresh->toStrepForUI( flags & 1, flags & 2, flags & 4 ) );
   }
   try {
      (void)ExtComm::StrepFormat( 64u );
      FUZZ_CHECK( false );
   } catch ( const Kel::RangeException& ) {
   }
   // The content's own reflective text reads back to the content.
   const Kel::String number = valueToStrep( value->getContent() );
   ExtCommContent back;
   sequenceToValue( number.data(), number.data() + number.size(), &back );
   FUZZ_CHECK( back == value->getContent() );
}

// The octets of the serialised attribute: header as the wire wants it, value
// the expected members in order.
void checkWire( const Kel::String& wire, const std::vector<U64>& expected ) {
   if ( expected.empty() ) {
      FUZZ_CHECK( wire.empty() );
      return;
   }
   const auto* octets = reinterpret_cast<const U8*>( wire.data() );
   FUZZ_CHECK( wire.size() >= 3 );
   const U8 flags = octets[ 0 ];
   const bool extended = flags & 0x10;
   FUZZ_CHECK( ( flags & 0xEF ) == 0xC0 );
   FUZZ_CHECK( octets[ 1 ] == 16 );
   const size_t headerSize = extended ? 4 : 3;
   FUZZ_CHECK( wire.size() == headerSize + 8 * expected.size() );
   FUZZ_CHECK( extended == ( 8 * expected.size() > 255 ) );
   const size_t length = extended ? size_t( octets[ 2 ] ) << 8 | octets[ 3 ] : octets[ 2 ];
   FUZZ_CHECK( length == 8 * expected.size() );

   // The tool's attribute walk reads the same members back.
   Bgpcomm::PathAttributeScan scan;
   const std::string bad =
         Bgpcomm::scanPathAttributes( std::span<const U8>( octets, wire.size() ), &scan );
   FUZZ_CHECK( bad.empty() );
   FUZZ_CHECK( scan.issueCount == 0 );
   const auto value =
         scan.communities[ Bgpcomm::communityKindIndex( Bgpcomm::CommunityKind::extended ) ];
   FUZZ_CHECK( value.size() == 8 * expected.size() );
   for ( size_t i = 0; i < expected.size(); ++i ) {
      FUZZ_CHECK( loadU64( value.data() + 8 * i ) == expected[ i ] );
   }
}

// What a selection puts on the wire, worked out from the members alone: every
// member (all), the transitive ones, and the first link bandwidth and origin
// validation state when asked for and not already there.
std::vector<U64> selected( const std::vector<ExtComm::PtrConst>& sorted,
                           ExtCommList::Serialization s ) {
   std::set<U64> chosen;
   const ExtComm* firstLinkBandwidth = nullptr;
   const ExtComm* firstValidation = nullptr;
   for ( const auto& c : sorted ) {
      if ( s.has( ExtCommList::Serialization::all ) ||
           ( s.has( ExtCommList::Serialization::transitive ) && c->transitive() ) ) {
         chosen.insert( c->community() );
      }
      if ( !firstLinkBandwidth && c->classification() == extCommClassificationLinkBandwidth ) {
         firstLinkBandwidth = c.ptr();
      }
      if ( !firstValidation && c->classification() == extCommClassificationOriginValidationState ) {
         firstValidation = c.ptr();
      }
   }
   if ( s.has( ExtCommList::Serialization::linkBandwidth ) && firstLinkBandwidth ) {
      chosen.insert( firstLinkBandwidth->community() );
   }
   if ( s.has( ExtCommList::Serialization::originAsValidity ) && firstValidation ) {
      chosen.insert( firstValidation->community() );
   }
   return std::vector<U64>( chosen.begin(), chosen.end() );
}

// The policy text of a list in one mode, joined as the list joins it.
bool regexMatchesJoined( const std::vector<ExtComm::PtrConst>& sorted, ExtComm::StrepFormat format,
                         bool onlyPolicyUI, const Routing::RouteMap::PosixRegex& regex ) {
   Kel::String joined;
   bool first = true;
   for ( const auto& c : sorted ) {
      if ( onlyPolicyUI && !c->policyMatchStrepUI() ) {
         continue;
      }
      if ( !first ) {
         joined += ' ';
      }
      first = false;
      joined += c->toStrepForPolicy( format );
   }
   return regex.execute( joined.c_str() ) == 0;
}

void checkList( Fixture& f, const std::vector<ExtComm::PtrConst>& held,
                const std::map<U64, ExtComm::PtrConst>& distinct ) {
   ExtCommList::Ptr building = extCommListFactory();
   for ( const auto& v : held ) {
      building->commIs( v );
   }
   const ExtCommList::PtrConst list = building->dedup( f.lists.ptr() );
   FUZZ_CHECK( list && list->isDeduped() && list->commVectorSorted() );

   // The same members in the opposite order are the same list.
   ExtCommList::Ptr reversed = extCommListFactory();
   for ( auto it = held.rbegin(); it != held.rend(); ++it ) {
      reversed->commIs( *it );
   }
   FUZZ_CHECK( reversed->dedup( f.lists.ptr() ) == list );

   const auto& members = list->commVector();
   FUZZ_CHECK( members.size() == distinct.size() );
   FUZZ_CHECK( list->totalCommunities() == distinct.size() );
   size_t i = 0;
   U32 transitive = 0;
   bool validation = false, linkBandwidth = false, policyUI = false;
   for ( const auto& [ content, value ] : distinct ) {
      FUZZ_CHECK( members[ i ] == value );
      FUZZ_CHECK( list->comm( content ) == value );
      transitive += value->transitive();
      validation |= value->classification() == extCommClassificationOriginValidationState;
      linkBandwidth |= value->classification() == extCommClassificationLinkBandwidth;
      policyUI |= value->policyMatchStrepUI();
      ++i;
   }
   FUZZ_CHECK( list->totalTransitiveCommunities() == transitive );
   FUZZ_CHECK( list->hasOriginValidationState() == validation );
   FUZZ_CHECK( list->hasLinkBandwidth() == linkBandwidth );
   FUZZ_CHECK( list->hasPolicyMatchStrepUICommunities() == policyUI );

   // Each classification list holds exactly the members of its kind.
   size_t split = 0;
   for ( const auto& part : list->classificationLists() ) {
      FUZZ_CHECK( part->isDeduped() );
      FUZZ_CHECK( list->classificationList( part->classification() ) == part );
      for ( const auto& c : part->commVector() ) {
         FUZZ_CHECK( c->classification() == part->classification() );
         FUZZ_CHECK( distinct.count( c->community() ) );
      }
      split += part->commVector().size();
   }
   FUZZ_CHECK( split == members.size() );

   for ( unsigned octet = 0; octet < 16; ++octet ) {
      const ExtCommList::Serialization s( octet );
      const std::vector<U64> expected = selected( members, s );
      FUZZ_CHECK( list->serializableCommunities( s ) == expected.size() );
      checkWire( list->serialize( s ), expected );
   }

   const bool matched = list->matchCommunitiesRegex( &f.regex );
   const bool expectMatch =
         regexMatchesJoined( members, ExtComm::strepFormatDefault, false, f.regex ) ||
         regexMatchesJoined( members, ExtComm::strepFormatClassification, false, f.regex ) ||
         ( policyUI &&
           regexMatchesJoined( members, ExtComm::strepFormatClassification | ExtComm::strepFormatUI,
                               true, f.regex ) );
   FUZZ_CHECK( matched == expectMatch );

   std::ostringstream os;
   os << list.ptr();
   FUZZ_CHECK( os.str() == list->toStrep() );

   const auto snapshot = list->snapshot();
   FUZZ_CHECK( snapshot->comm().size() == members.size() );
   FUZZ_CHECK( snapshot->classificationList().size() == list->classificationLists().size() );

   // Pruning keeps the valid members, one link bandwidth at most (the best),
   // and nothing a second pruning would drop.
   const ExtCommList::PtrConst pruned = list->prune( f.lists.ptr() );
   if ( !list->hasPrunableValues() ) {
      FUZZ_CHECK( pruned == list );
   }
   size_t validKept = 0, linkBandwidthKept = 0;
   if ( pruned ) {
      FUZZ_CHECK( pruned->isDeduped() && !pruned->hasPrunableValues() );
      FUZZ_CHECK( pruned->prune( f.lists.ptr() ) == pruned );
      for ( const auto& c : pruned->commVector() ) {
         FUZZ_CHECK( c->isValid() );
         FUZZ_CHECK( list->comm( c->community() ) == c );
         if ( c->classification() == extCommClassificationLinkBandwidth ) {
            ++linkBandwidthKept;
         } else {
            ++validKept;
         }
      }
   }
   size_t validOthers = 0, validLinkBandwidth = 0;
   for ( const auto& c : members ) {
      if ( c->isValid() ) {
         ( c->classification() == extCommClassificationLinkBandwidth ? validLinkBandwidth
                                                                     : validOthers )++;
      }
   }
   FUZZ_CHECK( validKept == validOthers );
   FUZZ_CHECK( linkBandwidthKept == ( validLinkBandwidth ? 1u : 0u ) );
   FUZZ_CHECK( pruned || validOthers + validLinkBandwidth == 0 );
}

// The table's route-target set is the route targets interned right now.
void checkRouteTargets( const Fixture& f, const std::map<U64, ExtComm::PtrConst>& distinct ) {
   const NotifyingRouteTargetList& rts = *f.values->producerRtList();
   size_t expected = 0;
   for ( const auto& [ content, value ] : distinct ) {
      const bool isRt = value->classification() == extCommClassificationRouteTarget;
      expected += isRt;
      FUZZ_CHECK( rts.rt( RouteTarget( content ) ) == isRt );
   }
   FUZZ_CHECK( rts.rtCount() == expected );
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput( const U8* data, size_t size ) {
   Fixture& f = fixture();
   const size_t count = std::min( size / 8, kMaxValues );
   {
      std::vector<ExtComm::PtrConst> held;
      std::map<U64, ExtComm::PtrConst> distinct;
      for ( size_t i = 0; i < count; ++i ) {
         const ExtCommContent content( loadU64( data + 8 * i ) );
         const ExtComm::PtrConst value = ExtComm::dedupContent( f.values.ptr(), content );
         FUZZ_CHECK( value && value->isDeduped() );
         FUZZ_CHECK( value->getContent() == content );
         FUZZ_CHECK( ExtComm::dedupContent( f.values.ptr(), content ) == value );
         auto [ at, fresh ] = distinct.emplace( content.value, value );
         FUZZ_CHECK( at->second == value );
         if ( fresh ) {
            checkTexts( value, f.container->extCommParser()->parseExtendedCommunity( content ) );
         }
         held.push_back( value );
      }
      FUZZ_CHECK( f.values->dedupTable()->size() == distinct.size() );
      checkRouteTargets( f, distinct );
      if ( !held.empty() ) {
         checkList( f, held, distinct );
      }
   }
   // Everything of this input is released: nothing may stay behind.
   FUZZ_CHECK( f.lists->dedupTable()->size() == 0 );
   FUZZ_CHECK( f.lists->extCommClassificationListDedupTable()->size() == 0 );
   FUZZ_CHECK( f.lists->rtExtCommClassificationListDedupTable()->size() == 0 );
   FUZZ_CHECK( f.values->dedupTable()->size() == 0 );
   FUZZ_CHECK( f.values->producerRtList()->rtCount() == 0 );
   return 0;
}
