// Extended community values: content views, order, text forms, interning and
// the route-target set kept by the table.
#include "OvBgp/OvBgpCommunity.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <vector>

#include "Kel/Strep.h"
#include "tests/OvBgp/TestSupport.h"

namespace Routing::Bgp {
namespace {

ExtComm::Ptr plain( U64 content ) {
   return extCommFactory( extCommClassificationUnSpecified, ExtCommContent( content ) );
}
ExtComm::Ptr subtyped( U64 content ) {
   return ExtCommSubtyped::ExtCommSubtypedIs( extCommClassificationUnSpecified,
                                              ExtCommContent( content ) );
}
Kel::String text( const ExtComm* c ) {
   std::ostringstream os;
   os << c;
   return os.str();
}

TEST( ExtCommContent, ViewsOrderAndTextFollowTheWireOctets ) {
   ExtCommContent rt( 0x0002fde800000064 );
   EXPECT_EQ( rt.subtypeOctet(), 0x02 );
   EXPECT_EQ( ExtCommContent( 0x0102c0a8000100ff ).localAdmin2Octets(), 0xffu );
   EXPECT_EQ( ExtCommContent( 0x0102c0a8000100ff ).localAdmin4Octets(), 0x000100ffu );
   EXPECT_FALSE( ExtCommContent( 0x4004000000000000 ).transitive() );
   EXPECT_TRUE( ExtCommContent( 0x8000000000000000 ).transitive() ); // only 0x40 counts
   EXPECT_LT( ExtCommContent( 0x0002000100000001 ), ExtCommContent( 0x0102000100000001 ) );
   EXPECT_LT( ExtCommContent( 0x0302000100000001 ), ExtCommContent( 0x4004000000000000 ) );

   std::ostringstream os;
   os << ExtCommContent( 0x0a );
   EXPECT_EQ( os.str(), "0x000000000000000a" );
   EXPECT_EQ( valueToStrep( rt ), "842122827661412" ); // read back by the fuzz target
}

TEST( ExtComm, ClassificationTypeSubtypeAndBetterThan ) {
   auto rt = ExtCommSubtyped::ExtCommSubtypedIs( extCommClassificationRouteTarget,
                                                 ExtCommContent( 0x0002fde800000064 ) );
   EXPECT_EQ( rt->classification(), extCommClassificationRouteTarget );
   EXPECT_EQ( rt->pktType(), extCommPktTypeTransTwoOctetAs );
   EXPECT_EQ( U64( rt->pktSubtype() ), 2u );
   EXPECT_TRUE( plain( 0x0400000000000001 )->pktSubtype().isUnspecified() );
   EXPECT_EQ( plain( 0x0700000000000000 )->pktType(), extCommPktTypeUnknown );
   EXPECT_FALSE( rt->isBetterThan( rt ) );
   EXPECT_TRUE( plain( 1 )->isBetterThan( plain( 2 ) ) );
}

TEST( ExtComm, DebuggingFormNamesTypeSubtypeAndContent ) {
   EXPECT_EQ( text( nullptr ), "NULL" );
   EXPECT_EQ( text( plain( 0x0400000000000001 ).ptr() ),
              "<extCommPktTypeTransQosMarking 0x0400000000000001>" );
   EXPECT_EQ( text( subtyped( 0x0002fde800000064 ).ptr() ),
              "<extCommPktTypeTransTwoOctetAs extCommPktSubtypeTransTwoOctetAsRouteTarget "
              "0x0002fde800000064>" );
   EXPECT_EQ( text( subtyped( 0x0607000000000000 ).ptr() ),
              "<extCommPktTypeTransEvpn subtype=7 0x0607000000000000>" );
   EXPECT_EQ( text( subtyped( 0x0700000000000001 ).ptr() ),
              "<extCommPktTypeUnknown none 0x0700000000000001>" );

   // The stream's own formatting survives.
   std::ostringstream os;
   os << std::hex << plain( 1 ).ptr() << 255;
   EXPECT_EQ( os.str(), "<extCommPktTypeTransTwoOctetAs 0x0000000000000001>ff" );
}

TEST( ExtComm, BasePolicyFormOnlyWithClassificationAndUI ) {
   auto c = subtyped( 0x0002fde800000064 );
   auto nt = subtyped( 0x4304000000000001 );
   for ( unsigned octet = 0; octet < 64; ++octet ) {
      ExtComm::StrepFormat format( octet );
      const bool ui = ( octet & 6 ) == 6;
      EXPECT_EQ( c->toStrepForPolicy( format ), ui ? "0002:0xfd 0xe8 0x00 0x00 0x00 0x64" : "" )
            << octet;
      EXPECT_EQ( nt->toStrepForPolicy( format ),
                 ui ? "0304(NT):0x00 0x00 0x00 0x00 0x00 0x01" : "" )
            << octet;
   }
   EXPECT_EQ( c->toStrepForUI( false, false, false ), "0002:0xfd 0xe8 0x00 0x00 0x00 0x64" );
   EXPECT_EQ( subtyped( 0x030a0b0c0d0e0f00 )->toStrepForUI( true, true, true ),
              "030a:0x0b 0x0c 0x0d 0x0e 0x0f 0x00" );
}

TEST( ExtComm, TypeLabelClearsTheNonTransitiveBitAndMarksIt ) {
   EXPECT_EQ( extCommTypeAsString( "-AS", 0x00, 0x02, true ), "0002-AS" );
   EXPECT_EQ( extCommTypeAsString( "-AS", 0x40, 0x04, false ), "0004-AS(NT)" );
   EXPECT_EQ( extCommTypeAsString( "", 0x8a, 0x0b, true ), "8a0b" );
}

TEST( ExtCommStrepFormat, RangeTextAndUIOctets ) {
   EXPECT_THROW( ExtComm::StrepFormat( 64u ), Kel::RangeException );
   ExtComm::StrepFormat f( ExtComm::strepFormatClassification | ExtComm::strepFormatAsdot );
   EXPECT_EQ(
         valueToStrep( f ),
         "Value('Routing::Bgp::ExtComm::StrepFormat', ** {'strepFormatDefault': False, "
         "'strepFormatClassification': True, 'strepFormatUI': False, 'strepFormatJson': False, "
         "'strepFormatAsdot': True, 'strepFormatLinkBwWeighted': False})" );
   Kel::String bad = "Value('Routing::Bgp::ExtComm::StrepFormat', ** {'strepFormatDefault': Maybe";
   EXPECT_EQ( Testing::parseFailure(
                    [ & ] { ExtComm::StrepFormat( bad.data(), bad.data() + bad.size() ); } ),
              "strepFormatDefault" );
}

TEST( ExtCommDeathTest, SubtypeNamesAssertTheirType ) {
   auto rt = subtyped( 0x0002fde800000064 );
   EXPECT_EQ( rt->pktSubtypeTransTwoOctetAsString(),
              "extCommPktSubtypeTransTwoOctetAsRouteTarget" );
   EXPECT_DEATH( rt->pktSubtypeTransOpaqueString(),
                 "assertion failed: extCommPktTypeTransOpaque_ == pktType\\(\\) "
                 "\\(OvBgp/OvBgpCommunity\\)" );
   EXPECT_DEATH(
         plain( 0x0002fde800000064 )->pktSubtypeTransTwoOctetAsString(),
         "assertion failed: !pktSubtype\\(\\).isUnspecified\\(\\) \\(OvBgp/OvBgpCommunity\\)" );
   EXPECT_DEATH( subtyped( 0x4300000000000000 )->pktSubtypeNonTransFourOctetAsString(),
                 "extCommPktTypeNonTransFourOctetAs_ == pktType\\(\\)" );
}

TEST( ExtCommSorting, HelpersOrderByContentAndListHashFollowsMemberAddresses ) {
   std::vector<ExtComm::PtrConst> v = { plain( 3 ), plain( 1 ), plain( 2 ), plain( 1 ) };
   std::sort( v.begin(), v.end(), ExtCommSortFn );
   EXPECT_EQ( std::unique( v.begin(), v.end(), ExtCommCompareFn ) - v.begin(), 3 );
   EXPECT_TRUE( ExtCommSortFnValue( v[ 0 ], 2 ) );
   EXPECT_FALSE( ExtCommSortFnValue( v[ 1 ], 1 ) );

   std::vector<ExtComm::PtrConst> none;
   EXPECT_EQ( internedListHash( none.begin(), none.end() ), 0u );
   auto a = plain( 1 ), b = plain( 2 );
   a->dedupStateIs( Bex::dedupHandleStateStowed() );
   b->dedupStateIs( Bex::dedupHandleStateStowed() );
   std::vector<ExtComm::PtrConst> ab = { a, b }, ba = { b, a };
   EXPECT_NE( internedListHash( ab.begin(), ab.end() ), internedListHash( ba.begin(), ba.end() ) );
}

TEST( InternedListHashDeathTest, RefusesMembersNeverInterned ) {
   std::vector<ExtComm::PtrConst> v = { plain( 1 ) };
   EXPECT_DEATH( internedListHash( v.begin(), v.end() ),
                 "__null == \\( p \\) \\|\\| \\( p \\)->dedupState\\(\\) != "
                 "Bex::dedupHandleStateNeverDeduped\\(\\)" );
}

} // namespace
} // namespace Routing::Bgp
