// The library's plug-ins in the parser container: every claimed type and subtype interns to
// its typed class, everything else to its fallback (the same as with no plug-in at all);
// route targets reach the table's set; the "Mvpn" toggle decides VRF route import.
#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <typeindex>
#include <typeinfo>

#include "OvBgp/NotifyingRouteTargetList.h"
#include "OvBgp/OvBgpCommunity.h"
#include "OvBgp/Parse/ExtComm.h"
#include "OvBgp/Parse/ExtCommColor.h"
#include "OvBgp/Parse/ExtCommDefaultGateway.h"
#include "OvBgp/Parse/ExtCommLinkBandwidth.h"
#include "OvBgp/Parse/ExtCommOriginValidationState.h"
#include "OvBgp/Parse/ExtCommRouteOrigin.h"
#include "OvBgp/Parse/ExtCommRouteTarget.h"
#include "OvBgp/Parse/ExtCommTunnelEncap.h"
#include "OvBgp/Parse/ExtCommVrfRouteImport.h"

namespace Routing::Bgp {
namespace {

using Classes = std::map<std::pair<U8, U8>, std::pair<std::type_index, ExtCommClassification>>;

// The plug-ins' table: (type octet, subtype octet) -> class built and its classification.
Classes typedPairs( bool mvpnOn ) {
   const std::type_index rtAs = typeid( ExtCommRouteTargetAs ),
                         roAs = typeid( ExtCommRouteOriginAs );
   const auto rt = extCommClassificationRouteTarget, ro = extCommClassificationRouteOrigin;
   Classes pairs = {
      { { 0x00, 0x02 }, { rtAs, rt } },
      { { 0x01, 0x02 }, { typeid( ExtCommRouteTargetIpv4Address ), rt } },
      { { 0x02, 0x02 }, { rtAs, rt } },
      { { 0x00, 0x03 }, { roAs, ro } },
      { { 0x01, 0x03 }, { typeid( ExtCommRouteOriginIpv4Address ), ro } },
      { { 0x02, 0x03 }, { roAs, ro } },
      { { 0x03, 0x0c }, { typeid( ExtCommTunnelEncap ), extCommClassificationTunnelEncap } },
      { { 0x03, 0x0d }, { typeid( ExtCommDefaultGateway ), extCommClassificationDefaultGateway } },
      { { 0x40, 0x04 }, { typeid( ExtCommLinkBandwidth ), extCommClassificationLinkBandwidth } },
      { { 0x03, 0x0b }, { typeid( ExtCommColor ), extCommClassificationColor } },
      { { 0x43, 0x00 },
        { typeid( ExtCommOriginValidationState ), extCommClassificationOriginValidationState } },
   };
   if ( mvpnOn ) {
      pairs.insert( { { 0x01, 0x0b },
                      { typeid( ExtCommVrfRouteImportIpv4Address ),
                        extCommClassificationVrfRouteImport } } );
   }
   return pairs;
}

// fallbackType(): what the type rules build for a content no plug-in claims.
std::type_index fallbackType( U8 type ) {
   static const std::map<U8, std::type_index> fallbacks = {
      { 0x00, typeid( ExtCommAsNumber ) },    { 0x02, typeid( ExtCommAsNumber ) },
      { 0x40, typeid( ExtCommAsNumber ) },    { 0x42, typeid( ExtCommAsNumber ) },
      { 0x01, typeid( ExtCommIpv4Address ) }, { 0x41, typeid( ExtCommIpv4Address ) },
      { 0x03, typeid( ExtCommSubtyped ) },    { 0x43, typeid( ExtCommSubtyped ) },
      { 0x80, typeid( ExtCommSubtyped ) },    { 0x81, typeid( ExtCommSubtyped ) },
      { 0x82, typeid( ExtCommSubtyped ) },
   };
   auto it = fallbacks.find( type );
   return it == fallbacks.end() ? std::type_index( typeid( ExtComm ) ) : it->second;
}

// typeOf(): the dynamic class of what p points to.
template<class T>
std::type_index typeOf( const Kel::Ptr<T>& p ) {
   const T* raw = p.ptr();
   return typeid( *raw );
}

// All 65536 type/subtype pairs, with value octets that exercise the layouts, parsed without
// plug-ins and interned with the library's: the typed ones carry their classification into
// the table, everything else is its type's fallback, unclassified; AS values know their
// layout by the type; only route targets (of all three layouts) enter the table's
// route-target set while held; a parsed value is never interned, has notification on and a
// subtype unless it is a plain ExtComm. Without a toggle directory
// (the normal run) Mvpn is on by default.
TEST( ExtCommPlugins, EveryPairInternsToItsClassOrFallback ) {
   const bool mvpnOn = BgpParseExtCommContainerSm::mvpnToggleOn();
   EXPECT_TRUE( mvpnOn || std::getenv( "OV_TOGGLE_DIR" ) );
   const auto container = bgpParseExtCommContainerSmFactory();
   EXPECT_EQ( container->extCommParserSmsCount(), mvpnOn ? 8u : 7u );
   const auto table = extCommDedupTableFactory( container->extCommParser() );
   const auto bare = bgpParseExtCommContainerSmFactory( nullptr )->extCommParser();
   const Classes pairs = typedPairs( mvpnOn );
   const auto& routeTargets = table->producerRtList();
   size_t typedSeen = 0;
   for ( unsigned type = 0; type < 256; ++type ) {
      for ( unsigned subtype = 0; subtype < 256; ++subtype ) {
         const U64 content = U64( type ) << 56 | U64( subtype ) << 48 | 0xfde8004c0000ull;
         const ExtComm::PtrConst plain = bare->parseExtendedCommunity( ExtCommContent( content ) );
         ASSERT_EQ( typeOf( plain ), fallbackType( U8( type ) ) ) << std::hex << content;
         ASSERT_EQ( plain->classification(), extCommClassificationUnSpecified );
         ASSERT_EQ( plain->dedupState(), Bex::dedupHandleStateNeverDeduped() );
         ASSERT_TRUE( plain->hasNotificationActive() );
         ASSERT_EQ( plain->pktSubtype().isUnspecified(), typeOf( plain ) == typeid( ExtComm ) );
         ExtComm::PtrConst value = ExtComm::dedupContent( table.ptr(), ExtCommContent( content ) );
         ASSERT_TRUE( value && value->isDeduped() );
         ASSERT_EQ( value->community(), content );
         auto it = pairs.find( { U8( type ), U8( subtype ) } );
         const auto expected = it != pairs.end() ? it->second
                                                 : std::pair( fallbackType( U8( type ) ),
                                                              extCommClassificationUnSpecified );
         typedSeen += it != pairs.end();
         ASSERT_EQ( typeOf( value ), expected.first ) << std::hex << content;
         ASSERT_EQ( value->classification(), expected.second ) << std::hex << content;
         for ( const ExtComm* v : { plain.ptr(), value.ptr() } ) {
            if ( const auto* as = dynamic_cast<const ExtCommAsNumber*>( v ) ) {
               ASSERT_EQ( as->fourByteAs(), ( type & 0xBF ) == 0x02 ) << std::hex << content;
            }
         }
         const bool rt = expected.second == extCommClassificationRouteTarget;
         ASSERT_EQ( routeTargets->rtCount(), rt ? 1u : 0u ) << std::hex << content;
         ASSERT_EQ( routeTargets->rt( RouteTarget( content ) ), rt ) << std::hex << content;
      }
   }
   EXPECT_EQ( typedSeen, mvpnOn ? 12u : 11u );
   EXPECT_EQ( table->dedupTable()->size(), 0u );
   EXPECT_EQ( routeTargets->rtCount(), 0u );
}

// Runs in a process of its own with OV_TOGGLE_DIR naming a file that turns "Mvpn" off (see
// the test registration): the container hands that to the plug-in creator.
TEST( MvpnToggleOffExtCommPlugins, VrfRouteImportContentIsAPlainIpv4Address ) {
   if ( !std::getenv( "OV_TOGGLE_DIR" ) ) {
      GTEST_SKIP() << "needs OV_TOGGLE_DIR with the Mvpn toggle off";
   }
   ASSERT_FALSE( BgpParseExtCommContainerSm::mvpnToggleOn() );
   auto container = bgpParseExtCommContainerSmFactory();
   EXPECT_EQ( container->extCommParserSmsCount(), 7u );
   auto table = extCommDedupTableFactory( container->extCommParser() );
   auto value = ExtComm::dedupContent( table.ptr(), ExtCommContent( 0x010b0a0101010003 ) );
   EXPECT_EQ( typeOf( value ), typeid( ExtCommIpv4Address ) );
   EXPECT_EQ( value->classification(), extCommClassificationUnSpecified );
   // The other plug-ins are unaffected.
   EXPECT_EQ( typeOf( ExtComm::dedupContent( table.ptr(), ExtCommContent( 0x0102c0a80001002a ) ) ),
              typeid( ExtCommRouteTargetIpv4Address ) );
}

} // namespace
} // namespace Routing::Bgp
