// Interning each kind of list straight from a received attribute's octets:
// the object is the one the value-by-value build gives, whatever the order
// and repeats on the wire; an empty value is the empty list; a bad length
// throws a precise error and interns nothing.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Kel/Exception.h"
#include "OvBgp/CommList.h"
#include "OvBgp/CommListDedupTable.h"
#include "OvBgp/ExtCommIp6DedupTable.h"
#include "OvBgp/ExtCommIp6List.h"
#include "OvBgp/ExtCommIp6ListDedupTable.h"
#include "OvBgp/ExtCommList.h"
#include "OvBgp/ExtCommListDedupTable.h"
#include "OvBgp/LargeCommList.h"
#include "OvBgp/Parse/ExtComm.h"
#include "tests/OvBgp/ExtCommIp6TestRule.h"
#include "tests/OvBgp/TestSupport.h"

namespace Routing::Bgp {
namespace {

using Octets = std::vector<U8>;

U32 load32( const U8* p ) {
   return U32( p[ 0 ] ) << 24 | U32( p[ 1 ] ) << 16 | U32( p[ 2 ] ) << 8 | p[ 3 ];
}
U64 load64( const U8* p ) { return U64( load32( p ) ) << 32 | load32( p + 4 ); }

// One fixture per kind: its tables, the value-by-value build from wire
// values and dedupOctets().
struct Standard {
   static constexpr size_t unit = 4;
   static constexpr const char* attribute = "COMMUNITIES";
   CommListDedupTable::Ptr lists = commListDedupTableFactory();
   CommList::PtrConst built( const std::vector<Octets>& values ) {
      CommList::Ptr list = commListFactory();
      for ( const Octets& v : values ) {
         list->commIs( load32( v.data() ) );
      }
      return list->dedup( lists.ptr() );
   }
   CommList::PtrConst fromOctets( const U8* octets, size_t length ) {
      return CommList::dedupOctets( lists.ptr(), octets, length );
   }
   size_t interned() const { return lists->dedupTable()->size(); }
};

struct Large {
   static constexpr size_t unit = 12;
   static constexpr const char* attribute = "LARGE_COMMUNITY";
   LargeCommListDedupTable::Ptr lists = largeCommListDedupTableFactory();
   LargeCommList::PtrConst built( const std::vector<Octets>& values ) {
      LargeCommList::Ptr list = largeCommListFactory();
      for ( const Octets& v : values ) {
         list->commIs( Acl::CommunityValue( load32( v.data() ), load32( v.data() + 4 ),
                                            load32( v.data() + 8 ) ) );
      }
      return list->dedup( lists.ptr() );
   }
   LargeCommList::PtrConst fromOctets( const U8* octets, size_t length ) {
      return LargeCommList::dedupOctets( lists.ptr(), octets, length );
   }
   size_t interned() const { return lists->dedupTable()->size(); }
};

struct Extended {
   static constexpr size_t unit = 8;
   static constexpr const char* attribute = "EXTENDED_COMMUNITIES";
   BgpParseExtCommContainerSm::Ptr container = bgpParseExtCommContainerSmFactory();
   ExtCommDedupTable::Ptr values = extCommDedupTableFactory( container->extCommParser() );
   ExtCommListDedupTable::Ptr lists = extCommListDedupTableFactory();
   ExtCommList::PtrConst built( const std::vector<Octets>& wire ) {
      ExtCommList::Ptr list = extCommListFactory();
      for ( const Octets& v : wire ) {
         list->commIs(
               ExtComm::dedupContent( values.ptr(), ExtCommContent( load64( v.data() ) ) ) );
      }
      return list->dedup( lists.ptr() );
   }
   ExtCommList::PtrConst fromOctets( const U8* octets, size_t length ) {
      return ExtCommList::dedupOctets( lists.ptr(), values.ptr(), octets, length );
   }
   size_t interned() const {
      return lists->dedupTable()->size() + values->dedupTable()->size() +
             lists->rtExtCommClassificationListDedupTable()->size() +
             lists->extCommClassificationListDedupTable()->size();
   }
};

struct Ip6Extended {
   static constexpr size_t unit = 20;
   static constexpr const char* attribute = "IPV6_EXTENDED_COMMUNITIES";
   Testing::TestIp6Rule rule;
   ExtCommIp6DedupTable::Ptr values = extCommIp6DedupTableFactory( rule.top );
   ExtCommIp6ListDedupTable::Ptr lists = extCommIp6ListDedupTableFactory();
   ExtCommIp6List::PtrConst built( const std::vector<Octets>& wire ) {
      ExtCommIp6List::Ptr list = extCommIp6ListFactory();
      for ( const Octets& v : wire ) {
         const ExtCommIp6Content content( v[ 0 ], v[ 1 ], Onet::Ip6Addr( v.data() + 2 ),
                                          U16( v[ 18 ] << 8 | v[ 19 ] ) );
         list->commIs( ExtCommIp6::dedupContent( values.ptr(), content ) );
      }
      return list->dedup( lists.ptr() );
   }
   ExtCommIp6List::PtrConst fromOctets( const U8* octets, size_t length ) {
      return ExtCommIp6List::dedupOctets( lists.ptr(), values.ptr(), octets, length );
   }
   size_t interned() const {
      return lists->dedupTable()->size() + values->dedupTable()->size() +
             lists->extCommIp6ClassificationListDedupTable()->size();
   }
};

// value(): the i-th test value of a kind; values that differ only in a late
// octet, and ones whose first octet (an extended type) differs.
Octets value( size_t unit, size_t i ) {
   Octets v( unit );
   for ( size_t o = 0; o < unit; ++o ) {
      v[ o ] = U8( ( i * 37 + o * 11 ) >> ( o == 0 ? 2 : 0 ) );
   }
   v[ 1 ] = U8( i % 3 ); // extended subtypes 0..2: route targets among them
   return v;
}

Octets concat( const std::vector<Octets>& values ) {
   Octets out;
   for ( const Octets& v : values ) {
      out.insert( out.end(), v.begin(), v.end() );
   }
   return out;
}

template<class Kind>
class ListDedupOctetsTest : public ::testing::Test {
 protected:
   Kind kind;
   // values(): the listed test values, in the listed order.
   std::vector<Octets> values( std::initializer_list<size_t> which ) const {
      std::vector<Octets> out;
      for ( size_t i : which ) {
         out.push_back( value( Kind::unit, i ) );
      }
      return out;
   }
};

using Kinds = ::testing::Types<Standard, Large, Extended, Ip6Extended>;
TYPED_TEST_SUITE( ListDedupOctetsTest, Kinds );

TYPED_TEST( ListDedupOctetsTest, GivesTheBuiltListWhateverTheOrderAndRepeats ) {
   // Each wire form against the values built in another order; the first
   // case interns through the octets, the others find what is there.
   const std::vector<std::vector<size_t>> wireOrders = {
      { 5, 1, 9, 3 }, { 1, 3, 5, 9 }, { 9, 5, 3, 1 }, { 3, 3, 9, 1, 5, 1 }, { 9, 9, 1, 3, 5 },
   };
   const auto expected = this->values( { 1, 5, 3, 9 } );
   for ( const auto& order : wireOrders ) {
      std::vector<Octets> wireValues;
      for ( size_t i : order ) {
         wireValues.push_back( value( TypeParam::unit, i ) );
      }
      const Octets wire = concat( wireValues );
      auto fromWire = this->kind.fromOctets( wire.data(), wire.size() );
      EXPECT_EQ( fromWire, this->kind.built( expected ) );
      EXPECT_EQ( fromWire->comms(), 4u );
   }
   // A subset is another list.
   const Octets three = concat( this->values( { 3, 1, 5 } ) );
   EXPECT_NE( this->kind.fromOctets( three.data(), three.size() ), this->kind.built( expected ) );
}

TYPED_TEST( ListDedupOctetsTest, LongAttributeOutOfOrderGivesTheBuiltList ) {
   // Past the room kept for a copy: 3000 values, descending, each twice.
   std::vector<Octets> wireValues;
   for ( size_t i = 3000; i-- > 0; ) {
      Octets v = value( TypeParam::unit, i );
      v[ TypeParam::unit - 2 ] = U8( i >> 8 );
      v[ TypeParam::unit - 1 ] = U8( i );
      wireValues.push_back( v );
      wireValues.push_back( v );
   }
   const Octets wire = concat( wireValues );
   auto fromWire = this->kind.fromOctets( wire.data(), wire.size() );
   EXPECT_EQ( fromWire->comms(), 3000u );
   EXPECT_EQ( fromWire, this->kind.built( wireValues ) );
}

TYPED_TEST( ListDedupOctetsTest, EmptyValueGivesTheEmptyList ) {
   auto empty = this->kind.fromOctets( nullptr, 0 );
   EXPECT_TRUE( empty->empty() );
   EXPECT_EQ( empty, this->kind.built( {} ) );
}

TYPED_TEST( ListDedupOctetsTest, LengthNotAMultipleThrowsAndInternsNothing ) {
   const Octets wire = concat( this->values( { 1, 2, 3 } ) );
   for ( size_t length : { size_t( 1 ), TypeParam::unit + 1, 3 * TypeParam::unit - 1 } ) {
      EXPECT_EQ( Testing::messageOf<Kel::RangeException>(
                       [ & ] { this->kind.fromOctets( wire.data(), length ); } ),
                 std::string( TypeParam::attribute ) + " attribute length " +
                       std::to_string( length ) + " is not a multiple of " +
                       std::to_string( TypeParam::unit ) );
   }
   EXPECT_EQ( this->kind.interned(), 0u );
}

} // namespace
} // namespace Routing::Bgp
