// What the four list kinds do alike. Interning straight from a received
// attribute's octets: the object is the one the value-by-value build gives,
// whatever the order and repeats on the wire, one per content and table
// until released; an empty value is the empty list; a bad length throws a
// precise error and interns nothing. The way back: the attribute holds the
// values in order, its length switches to two octets past 255, and a list
// longer than one attribute holds refuses to be written. The store image
// rebuilds the same list from a new mapping of its file.
#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "Kel/Exception.h"
#include "KelStow/StoreManager.h"
#include "OvBgp/CommList.h"
#include "OvBgp/CommListDedupTable.h"
#include "OvBgp/ExtCommIp6DedupTable.h"
#include "OvBgp/ExtCommIp6List.h"
#include "OvBgp/ExtCommIp6ListDedupTable.h"
#include "OvBgp/ExtCommList.h"
#include "OvBgp/ExtCommListDedupTable.h"
#include "OvBgp/LargeCommList.h"
#include "OvBgp/Parse/ExtComm.h"
#include "Routing/Bgp/OvBgpGlobals.h"
#include "tests/OvBgp/ExtCommIp6TestRule.h"
#include "tests/OvBgp/TestSupport.h"

namespace Routing::Bgp {
namespace {

using Octets = std::vector<U8>;

U32 load32( const U8* p ) {
   return U32( p[ 0 ] ) << 24 | U32( p[ 1 ] ) << 16 | U32( p[ 2 ] ) << 8 | p[ 3 ];
}
U64 load64( const U8* p ) { return U64( load32( p ) ) << 32 | load32( p + 4 ); }

// One fixture per kind: its tables, the value-by-value build from keys
// (the native form of a wire value) and dedupOctets().
struct Standard {
   static constexpr U8 attrType = 8;
   static constexpr const char* list = "CommList";
   static constexpr size_t unit = 4;
   static constexpr const char* attribute = "COMMUNITIES";
   CommListDedupTable::Ptr lists = commListDedupTableFactory();
   using Key = U32;
   static Key key( const Octets& v ) { return load32( v.data() ); }
   CommList::Ptr open( const std::vector<Key>& keys ) const {
      CommList::Ptr list = commListFactory();
      for ( Key k : keys ) {
         list->commIs( k );
      }
      return list;
   }
   CommList::PtrConst fromOctets( const U8* octets, size_t length ) {
      return CommList::dedupOctets( lists.ptr(), octets, length );
   }
   static std::string serialize( const auto& list ) { return list->serialize(); }
   // emptyWire: what an empty list writes.
   static constexpr const char* emptyWire = "c00800";
   static CommList::Ptr destow( const void* stored, KelStow::StoreManager* store ) {
      return CommList::destow( stored, store );
   }
   static std::string describe( const auto& list ) {
      return list->toStrep() + "|" + Testing::hex( list->serialize() );
   }
   size_t interned() const { return lists->dedupTable()->size(); }
};

struct Large {
   static constexpr U8 attrType = 32;
   static constexpr const char* list = "LargeCommList";
   static constexpr size_t unit = 12;
   static constexpr const char* attribute = "LARGE_COMMUNITY";
   LargeCommListDedupTable::Ptr lists = largeCommListDedupTableFactory();
   using Key = Acl::CommunityValue;
   static Key key( const Octets& v ) {
      return Key( load32( v.data() ), load32( v.data() + 4 ), load32( v.data() + 8 ) );
   }
   LargeCommList::Ptr open( const std::vector<Key>& keys ) const {
      LargeCommList::Ptr list = largeCommListFactory();
      for ( const Key& k : keys ) {
         list->commIs( k );
      }
      return list;
   }
   LargeCommList::PtrConst fromOctets( const U8* octets, size_t length ) {
      return LargeCommList::dedupOctets( lists.ptr(), octets, length );
   }
   static std::string serialize( const auto& list ) { return list->serialize(); }
   // emptyWire: what an empty list writes.
   static constexpr const char* emptyWire = "c02000";
   static LargeCommList::Ptr destow( const void* stored, KelStow::StoreManager* store ) {
      return LargeCommList::destow( stored, store );
   }
   static std::string describe( const auto& list ) {
      return list->toStrep() + "|" + Testing::hex( list->serialize() );
   }
   size_t interned() const { return lists->dedupTable()->size(); }
};

struct Extended {
   static constexpr U8 attrType = 16;
   static constexpr const char* list = "ExtCommList";
   static constexpr size_t unit = 8;
   static constexpr const char* attribute = "EXTENDED_COMMUNITIES";
   BgpParseExtCommContainerSm::Ptr container = bgpParseExtCommContainerSmFactory();
   ExtCommDedupTable::Ptr values = extCommDedupTableFactory( container->extCommParser() );
   ExtCommListDedupTable::Ptr lists = extCommListDedupTableFactory();
   using Key = U64;
   static Key key( const Octets& v ) { return load64( v.data() ); }
   ExtCommList::Ptr open( const std::vector<Key>& keys ) const {
      ExtCommList::Ptr list = extCommListFactory();
      for ( Key k : keys ) {
         list->commIs( ExtComm::dedupContent( values.ptr(), ExtCommContent( k ) ) );
      }
      return list;
   }
   ExtCommList::PtrConst fromOctets( const U8* octets, size_t length ) {
      return ExtCommList::dedupOctets( lists.ptr(), values.ptr(), octets, length );
   }
   static std::string serialize( const auto& list ) {
      return list->serialize( ExtCommList::Serialization::all );
   }
   // emptyWire: what an empty list writes.
   static constexpr const char* emptyWire = "";
   static ExtCommList::Ptr destow( const void* stored, KelStow::StoreManager* store ) {
      return ExtCommList::destow( stored, store );
   }
   static std::string describe( const auto& list ) {
      return list->toStrep() + "|" + Testing::hex( serialize( list ) ) + "|" +
             std::to_string( list->classificationLists().size() );
   }
   size_t interned() const {
      return lists->dedupTable()->size() + values->dedupTable()->size() +
             lists->rtExtCommClassificationListDedupTable()->size() +
             lists->extCommClassificationListDedupTable()->size();
   }
};

struct Ip6Extended {
   static constexpr U8 attrType = 25;
   static constexpr const char* list = "ExtCommIp6List";
   static constexpr size_t unit = 20;
   static constexpr const char* attribute = "IPV6_EXTENDED_COMMUNITIES";
   Testing::TestIp6Rule rule;
   ExtCommIp6DedupTable::Ptr values = extCommIp6DedupTableFactory( rule.top );
   ExtCommIp6ListDedupTable::Ptr lists = extCommIp6ListDedupTableFactory();
   using Key = ExtCommIp6Content;
   static Key key( const Octets& v ) {
      return Key( v[ 0 ], v[ 1 ], Onet::Ip6Addr( v.data() + 2 ), U16( v[ 18 ] << 8 | v[ 19 ] ) );
   }
   ExtCommIp6List::Ptr open( const std::vector<Key>& keys ) const {
      ExtCommIp6List::Ptr list = extCommIp6ListFactory();
      for ( const Key& k : keys ) {
         list->commIs( ExtCommIp6::dedupContent( values.ptr(), k ) );
      }
      return list;
   }
   ExtCommIp6List::PtrConst fromOctets( const U8* octets, size_t length ) {
      return ExtCommIp6List::dedupOctets( lists.ptr(), values.ptr(), octets, length );
   }
   static std::string serialize( const auto& list ) { return list->serialize( true ); }
   // emptyWire: what an empty list writes.
   static constexpr const char* emptyWire = "";
   static ExtCommIp6List::Ptr destow( const void* stored, KelStow::StoreManager* store ) {
      return ExtCommIp6List::destow( stored, store );
   }
   static std::string describe( const auto& list ) {
      return list->commsStringForm() + "|" + Testing::hex( serialize( list ) ) + "|" +
             Testing::hex( list->serialize( false ) );
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

// distinct(): value( unit, i ) with i in its last two octets, so that up to
// 65536 of them differ.
Octets distinct( size_t unit, size_t i ) {
   Octets v = value( unit, i );
   v[ unit - 2 ] = U8( i >> 8 );
   v[ unit - 1 ] = U8( i );
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
   // built(): the list of these wire values, built value by value.
   auto built( const std::vector<Octets>& values ) const {
      std::vector<typename Kind::Key> keys;
      for ( const Octets& v : values ) {
         keys.push_back( Kind::key( v ) );
      }
      return kind.open( keys )->dedup( kind.lists.ptr() );
   }
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
      EXPECT_EQ( fromWire, this->built( expected ) );
      EXPECT_EQ( fromWire->comms(), 4u );
   }
   // A subset is another list.
   const Octets three = concat( this->values( { 3, 1, 5 } ) );
   EXPECT_NE( this->kind.fromOctets( three.data(), three.size() ), this->built( expected ) );
}

TYPED_TEST( ListDedupOctetsTest, LongAttributeOutOfOrderGivesTheBuiltList ) {
   // Past the room kept for a copy: 3000 values, descending, each twice.
   std::vector<Octets> wireValues;
   for ( size_t i = 3000; i-- > 0; ) {
      wireValues.push_back( distinct( TypeParam::unit, i ) );
      wireValues.push_back( wireValues.back() );
   }
   const Octets wire = concat( wireValues );
   auto fromWire = this->kind.fromOctets( wire.data(), wire.size() );
   EXPECT_EQ( fromWire->comms(), 3000u );
   EXPECT_EQ( fromWire, this->built( wireValues ) );
}

TYPED_TEST( ListDedupOctetsTest, OneObjectPerContentAndTableUntilReleased ) {
   TypeParam other;
   const Octets wire = concat( this->values( { 4, 2, 7, 2 } ) );
   auto list = this->kind.fromOctets( wire.data(), wire.size() );
   EXPECT_EQ( list->commVector().capacity(),
              3u ); // an interned list keeps no spare room
   auto elsewhere = other.fromOctets( wire.data(), wire.size() );
   EXPECT_NE( list, elsewhere );
   EXPECT_EQ( TypeParam::describe( list ), TypeParam::describe( elsewhere ) );
   list = nullptr;
   elsewhere = nullptr;
   EXPECT_EQ( this->kind.interned() + other.interned(), 0u );
}

TYPED_TEST( ListDedupOctetsTest, EmptyValueGivesTheEmptyList ) {
   auto empty = this->kind.fromOctets( nullptr, 0 );
   EXPECT_TRUE( empty->empty() );
   EXPECT_EQ( empty, this->built( {} ) );
   EXPECT_EQ( Testing::hex( TypeParam::serialize( empty ) ), TypeParam::emptyWire );
}

TYPED_TEST( ListDedupOctetsTest, AttributeHoldsTheValuesInOrderWithTwoLengthOctetsPast255 ) {
   for ( size_t count : { 255 / TypeParam::unit, 255 / TypeParam::unit + 1 } ) {
      std::vector<Octets> wireValues;
      for ( size_t i = count; i-- > 0; ) {
         wireValues.push_back( distinct( TypeParam::unit, i ) );
      }
      const Octets wire = concat( wireValues );
      std::sort( wireValues.begin(), wireValues.end() );
      const Octets body = concat( wireValues );
      Octets expected = { body.size() > 255 ? U8( 0xD0 ) : U8( 0xC0 ), TypeParam::attrType };
      if ( body.size() > 255 ) {
         expected.push_back( U8( body.size() >> 8 ) );
      }
      expected.push_back( U8( body.size() ) );
      expected.insert( expected.end(), body.begin(), body.end() );
      EXPECT_EQ( TypeParam::serialize( this->kind.fromOctets( wire.data(), wire.size() ) ),
                 std::string( expected.begin(), expected.end() ) );
   }
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

TYPED_TEST( ListDedupOctetsTest, ListLongerThanOneAttributeHoldsThrowsOnSerialize ) {
   const size_t most = 0xFFFF / TypeParam::unit;
   std::vector<Octets> wireValues;
   for ( size_t i = 0; i <= most; ++i ) {
      wireValues.push_back( distinct( TypeParam::unit, i ) );
   }
   const Octets wire = concat( wireValues );
   auto full = this->kind.fromOctets( wire.data(), wire.size() - TypeParam::unit );
   EXPECT_EQ( TypeParam::serialize( full ).size(), 4 + most * TypeParam::unit );
   auto tooLong = this->kind.fromOctets( wire.data(), wire.size() );
   ASSERT_EQ( tooLong->comms(), most + 1 );
   EXPECT_EQ( Testing::messageOf<Kel::RangeException>( [ & ] { TypeParam::serialize( tooLong ); } ),
              std::string( TypeParam::list ) + "::serialize: " + std::to_string( most + 1 ) +
                    " communities do not fit in one " + TypeParam::attribute +
                    " attribute (at most " + std::to_string( most ) + ")" );
}

TYPED_TEST( ListDedupOctetsTest, StoreImageRebuildsTheSameListFromANewMappingOfItsFile ) {
   const std::string path = ( std::filesystem::temp_directory_path() /
                              ( "list_store_" + std::to_string( ::getpid() ) ) )
                                  .string();
   std::vector<decltype( this->built( {} ) )> lists;
   std::vector<U64> offsets;
   {
      auto store = KelStow::StoreManager::createFile( path, 4096 );
      for ( const auto& values : { this->values( { 3, 1, 8 } ), this->values( {} ) } ) {
         lists.push_back( this->built( values ) );
         offsets.push_back( lists.back()->stow( store.ptr() ) );
      }
      store->sync();
   }
   // Nothing of the rebuilt lists may point into the old mapping.
   auto store = KelStow::StoreManager::openFile( path );
   std::filesystem::remove( path );
   for ( size_t i = 0; i < lists.size(); ++i ) {
      auto rebuilt = TypeParam::destow( store->translate( offsets[ i ] ), store.ptr() );
      EXPECT_EQ( rebuilt->dedupState(), Bex::dedupHandleStateStowed() );
      EXPECT_EQ( TypeParam::describe( rebuilt ), TypeParam::describe( lists[ i ] ) );
   }
   const U64 foreign = store->stowRecord( 0x464F4F31, 1, 24 ); // "FOO1"
   EXPECT_THROW( TypeParam::destow( store->translate( foreign ), store.ptr() ),
                 KelStow::StoreException );
}

template<class Kind>
class ListConcurrencyTest : public ::testing::Test {};
TYPED_TEST_SUITE( ListConcurrencyTest, Kinds );

TYPED_TEST( ListConcurrencyTest, ListsInternedAndReleasedFromFourThreadsLeaveEmptyTables ) {
   OvBgpGlobals::multiThreadedIs( true );
   const TypeParam kind;
   OvBgpGlobals::multiThreadedIs( false );
   // Overlapping lists: members shared by many, by a few and by none.
   std::vector<std::vector<typename TypeParam::Key>> contents;
   for ( size_t k = 0; k < 24; ++k ) {
      contents.push_back( {} );
      for ( size_t i : { k % 4, 10 + k % 3, 20 + k } ) {
         contents.back().push_back( TypeParam::key( distinct( TypeParam::unit, i ) ) );
      }
   }
   Testing::internFromFourThreads( kind.lists, contents,
                                   [ & ]( const auto& keys ) { return kind.open( keys ); } );
   EXPECT_EQ( kind.interned(), 0u );
}

} // namespace
} // namespace Routing::Bgp
