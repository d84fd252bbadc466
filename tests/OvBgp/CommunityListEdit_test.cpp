// List edits and match clauses on the four list kinds: results are the
// interned lists, an edit that changes nothing hands the list back, results
// and answers are remembered once per list, bounded, and forgotten when the
// list leaves its table, also while four threads edit and release lists.
#include "OvBgp/CommunityListEdit.h"

#include <gtest/gtest.h>

#include "OvBgp/CommunityListMatch.h"
#include "Routing/Bgp/OvBgpGlobals.h"
#include "tests/OvBgp/ListKinds.h"

namespace Routing::Bgp {
namespace {

template<class K>
class CommunityListEditTest : public ::testing::Test {
 protected:
   using List = typename K::List;
   using Traits = CommunityListTraits<List>;
   using Edit = CommunityListEdit<List>;

   std::vector<typename Traits::Value> values( std::initializer_list<U32> is ) const {
      std::vector<typename Traits::Value> out;
      for ( U32 i : is ) {
         out.push_back( kind_.member( K::numbered( i ) ) );
      }
      return out;
   }
   typename List::PtrConst intern( std::initializer_list<U32> is ) const {
      return Traits::intern( table_.ptr(), values( is ) );
   }
   CommunityPattern pattern( const std::string& r ) const {
      return CommunityPattern( K::pattern( r ) );
   }
   size_t members() const { return table_->dedupTable()->size(); }

   K kind_;
   const Kel::Ptr<typename Traits::Table>& table_ = kind_.lists;
};

using ListKinds =
      ::testing::Types<Testing::Standard, Testing::Large, Testing::Extended, Testing::Ip6Extended>;
TYPED_TEST_SUITE( CommunityListEditTest, ListKinds );

TYPED_TEST( CommunityListEditTest, EditsReturnTheInternedResultOrTheListItself ) {
   using Edit = typename TestFixture::Edit;
   const auto list = this->intern( { 1, 2, 3 } );
   const auto& table = this->table_;
   const struct {
      typename Edit::Ptr edit;
      typename TestFixture::List::PtrConst expected;
   } rows[] = {
      { Edit::addIs( table, this->values( { 4, 2 } ) ), this->intern( { 1, 2, 3, 4 } ) },
      { Edit::addIs( table, this->values( { 3 } ) ), list },
      { Edit::deleteMatchingIs( table, this->pattern( "2-3" ) ), this->intern( { 1 } ) },
      { Edit::deleteMatchingIs( table, this->pattern( "4-9" ) ), list },
      { Edit::keepMatchingIs( table, this->pattern( "2-3" ) ), this->intern( { 2, 3 } ) },
      { Edit::keepMatchingIs( table, this->pattern( "0-3" ) ), list },
      { Edit::deleteMatchingIs( table, this->pattern( "*" ) ), this->intern( {} ) },
      { Edit::replaceIs( table, this->values( { 7 } ) ), this->intern( { 7 } ) },
   };
   for ( const auto& row : rows ) {
      EXPECT_EQ( row.edit->apply( list ), row.expected ) << int( row.edit->action() );
      EXPECT_EQ( row.edit->apply( list ), row.expected ); // remembered
      EXPECT_EQ( row.edit->edit( list ), row.expected );
   }
   EXPECT_EQ( rows[ 0 ].edit->apply( nullptr ), this->intern( { 2, 4 } ) );
   EXPECT_EQ( rows[ 2 ].edit->apply( nullptr ), nullptr );
   const char* otherKind =
         TestFixture::Traits::kind == CommunityPattern::kindStandard ? "1:2:3" : "1:2";
   EXPECT_THROW( Edit::keepMatchingIs( table, CommunityPattern( otherKind ) ),
                 Kel::ParseException );
}

TYPED_TEST( CommunityListEditTest, MemoIsBoundedAndForgetsListsThatLeaveTheirTable ) {
   using Edit = typename TestFixture::Edit;
   auto add = Edit::addIs( this->table_, this->values( { 9 } ) );
   auto drop = Edit::deleteMatchingIs( this->table_, this->pattern( "9" ), 2 );
   auto match = CommunityListMatch<typename TestFixture::List>::patternIs( this->table_,
                                                                           this->pattern( "9" ) );
   const size_t before = this->members();
   {
      auto list = this->intern( { 1 } );
      auto added = add->apply( list );
      EXPECT_EQ( drop->apply( added ), list );
      EXPECT_FALSE( match->matches( list ) );
      EXPECT_TRUE( match->matches( added ) );
      EXPECT_EQ( add->remembered(), 1u );
      EXPECT_EQ( drop->remembered(), 1u );
      EXPECT_EQ( match->remembered(), 2u );
      // The two edits undo each other: their memos name each other's
      // lists, and must not keep them in the table.
   }
   EXPECT_EQ( this->members(), before );
   EXPECT_EQ( add->remembered(), 0u );
   EXPECT_EQ( drop->remembered(), 0u );
   EXPECT_EQ( match->remembered(), 0u );

   std::vector<typename TestFixture::List::PtrConst> lists;
   for ( U32 i = 1; i <= 3; ++i ) {
      lists.push_back( this->intern( { i, 9 } ) );
      drop->apply( lists.back() );
   }
   EXPECT_LE( drop->remembered(), 2u );
}

TEST( CommunityListMatchTest, RegexAndPatternAgreeAndBothAreRemembered ) {
   auto table = commListDedupTableFactory();
   auto list =
         CommunityListTraits<CommList>::intern( table.ptr(), { 1403u << 16 | 1299, 0xFFFFFF01 } );
   const struct {
      CommListMatch::Ptr clause;
      bool matches;
   } rows[] = {
      { CommListMatch::regexIs( table, "(^| )1299:" ), false },
      { CommListMatch::patternIs( table, CommunityPattern( "1299:*" ) ), false },
      { CommListMatch::regexIs( table, "no-export" ), true },
      { CommListMatch::patternIs( table, CommunityPattern( "no-export" ) ), true },
      { CommListMatch::patternIs( table, CommunityPattern( "RT:1:2" ) ), false },
   };
   for ( const auto& row : rows ) {
      EXPECT_EQ( row.clause->matches( list ), row.matches );
      EXPECT_EQ( row.clause->matches( list ), row.matches );
      EXPECT_EQ( row.clause->remembered(), 1u );
   }
}

TEST( CommunityListEditConcurrencyTest, FourThreadsEditAndReleaseListsOfOneTable ) {
   OvBgpGlobals::multiThreadedIs( true );
   auto table = commListDedupTableFactory();
   OvBgpGlobals::multiThreadedIs( false );
   auto add = CommListEdit::addIs( table, { 65000u << 16 | 9 }, 64 );
   auto drop = CommListEdit::deleteMatchingIs( table, CommunityPattern( "65000:9" ), 64 );
   std::atomic<int> wrong{ 0 };
   Testing::onFourThreads( [ & ]( int t ) {
      for ( U32 round = 0; round < 2000 / Testing::kThreadLoad; ++round ) {
         const U32 i = ( round * 7 + U32( t ) ) % 100;
         auto list =
               CommunityListTraits<CommList>::intern( table.ptr(), { 65000u << 16 | ( 10 + i ) } );
         if ( drop->apply( add->apply( list ) ) != list ) {
            ++wrong;
         }
      }
   } );
   EXPECT_EQ( wrong.load(), 0 );
   EXPECT_EQ( add->remembered() + drop->remembered(), 0u );
   EXPECT_EQ( table->dedupTable()->size(), 0u );
}

} // namespace
} // namespace Routing::Bgp
