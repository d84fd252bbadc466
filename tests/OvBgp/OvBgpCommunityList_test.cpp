// What the four list kinds do alike. Interning straight from a received
// attribute's octets: the object is the one the value-by-value build gives,
// whatever the order and repeats on the wire, one per content and table
// until released; an empty value is the empty list; a bad length throws a
// precise error and interns nothing. The way back: the attribute holds the
// values in order, and a list longer than one attribute holds refuses to be
// written. The texts of empty
// and null lists; the store image rebuilds the same list from a new mapping
// of its file; lists interned and released from four threads.
#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <barrier>
#include <filesystem>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "Kel/Exception.h"
#include "KelStow/StoreManager.h"
#include "Routing/Bgp/OvBgpGlobals.h"
#include "tests/OvBgp/ListKinds.h"
#include "tests/OvBgp/TestSupport.h"

namespace Routing::Bgp {
namespace {

using namespace Testing;

// describe(): all a list shows of itself, to compare a rebuilt list.
template<class K>
std::string describe( const auto& list ) {
   return list->toStrep() + "|" + hex( K::serialize( list ) ) + "|" + K::extra( list );
}

// value(): the i-th test value of a kind. Values 0-3 start 00 02 (route
// targets of the extended kinds), the others with varied octets (extended
// types); all differ in later octets.
Octets value( size_t unit, size_t i ) {
   Octets v( unit );
   for ( size_t o = 0; o < unit; ++o ) {
      v[ o ] = U8( i * 37 + o * 11 );
   }
   v[ 0 ] = i < 4 ? 0 : U8( i * 9 );
   v[ 1 ] = i < 4 ? 2 : U8( i % 3 );
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

template<class K>
class ListDedupOctetsTest : public ::testing::Test {
 protected:
   K kind;
   // built(): the list of these wire values, built value by value.
   auto built( const std::vector<Octets>& values ) const {
      std::vector<typename K::Key> keys;
      for ( const Octets& v : values ) {
         keys.push_back( K::key( v ) );
      }
      return open( kind, keys )->dedup( kind.lists.ptr() );
   }
   // values(): the listed test values, in the listed order.
   std::vector<Octets> values( const std::vector<size_t>& which ) const {
      std::vector<Octets> out;
      for ( size_t i : which ) {
         out.push_back( value( K::unit, i ) );
      }
      return out;
   }
   // fromOctets(): the list interned from the first length octets of wire.
   static auto fromOctets( const K& kind, const Octets& wire, size_t length ) {
      if constexpr ( requires { kind.values; } ) {
         return K::List::dedupOctets( kind.lists.ptr(), kind.values.ptr(), wire.data(), length );
      } else {
         return K::List::dedupOctets( kind.lists.ptr(), wire.data(), length );
      }
   }
   auto fromOctets( const Octets& wire ) const { return fromOctets( kind, wire, wire.size() ); }
};

using Kinds = ::testing::Types<Standard, Large, Extended, Ip6Extended>;
TYPED_TEST_SUITE( ListDedupOctetsTest, Kinds );

TYPED_TEST( ListDedupOctetsTest, GivesTheBuiltListWhateverTheOrderAndRepeats ) {
   // Each wire form against the values built in another order; the first
   // case interns through the octets, the others find what is there.
   const auto expected = this->values( { 1, 5, 3, 9 } );
   for ( const auto& order : std::vector<std::vector<size_t>>{
               { 5, 1, 9, 3 }, { 1, 3, 5, 9 }, { 9, 5, 3, 1 }, { 3, 3, 9, 1, 5, 1 } } ) {
      auto fromWire = this->fromOctets( concat( this->values( order ) ) );
      EXPECT_EQ( fromWire, this->built( expected ) );
      EXPECT_EQ( fromWire->comms(), 4u );
   }
   // A subset is another list.
   EXPECT_NE( this->fromOctets( concat( this->values( { 3, 1, 5 } ) ) ), this->built( expected ) );
   // Lists that end past their header's cache line: the build finds what
   // the octets interned, but not once the last value differs.
   for ( size_t n : { 1, 9, 17 } ) {
      std::vector<Octets> values;
      for ( size_t i = 0; i < n; ++i ) {
         values.push_back( distinct( TypeParam::unit, i ) );
      }
      auto fromWire = this->fromOctets( concat( values ) );
      EXPECT_EQ( this->built( values ), fromWire );
      values.back() = distinct( TypeParam::unit, 999 );
      EXPECT_NE( this->built( values ), fromWire );
   }
}

TYPED_TEST( ListDedupOctetsTest, LongAttributeOutOfOrderGivesTheBuiltList ) {
   // Past the room kept for a copy: 3000 values, descending, each twice.
   std::vector<Octets> wireValues;
   for ( size_t i = 3000; i-- > 0; ) {
      wireValues.push_back( distinct( TypeParam::unit, i ) );
      wireValues.push_back( wireValues.back() );
   }
   auto fromWire = this->fromOctets( concat( wireValues ) );
   EXPECT_EQ( fromWire->comms(), 3000u );
   EXPECT_EQ( fromWire, this->built( wireValues ) );
}

TYPED_TEST( ListDedupOctetsTest, OneObjectPerContentAndTableUntilReleased ) {
   TypeParam other;
   const Octets wire = concat( this->values( { 4, 2, 7, 2 } ) );
   auto list = this->fromOctets( wire );
   EXPECT_EQ( list->commVector().capacity(), 3u ); // an interned list keeps no spare room
   auto elsewhere = TestFixture::fromOctets( other, wire, wire.size() );
   EXPECT_NE( list, elsewhere );
   EXPECT_EQ( describe<TypeParam>( list ), describe<TypeParam>( elsewhere ) );
   list = nullptr;
   elsewhere = nullptr;
   EXPECT_EQ( this->kind.interned() + other.interned(), 0u );
}

TYPED_TEST( ListDedupOctetsTest, EmptyValueGivesTheEmptyList ) {
   auto empty = this->fromOctets( {} );
   EXPECT_TRUE( empty->empty() );
   EXPECT_EQ( empty, this->built( {} ) );
   EXPECT_EQ( empty->hash(), 0u );
   EXPECT_EQ( hex( TypeParam::serialize( empty ) ), TypeParam::emptyWire );
}

TYPED_TEST( ListDedupOctetsTest, TextsOfEmptyAndNullListsAndStreamsKeepTheirFlags ) {
   EXPECT_EQ( this->built( {} )->toStrep(), TypeParam::emptyText );
   auto list = this->built( this->values( { 6, 5 } ) );
   std::ostringstream os;
   os << std::hex << list.ptr() << '|' << static_cast<const typename TypeParam::List*>( nullptr )
      << '|' << 255;
   EXPECT_EQ( os.str(), list->toStrep() + "|" + TypeParam::nullText + "|ff" );
}

// Past 255 octets, with two length octets (where the header switches is
// OvBgpSerialize_test's: every kind writes through it).
TYPED_TEST( ListDedupOctetsTest, AttributeHoldsTheValuesInOrder ) {
   std::vector<Octets> wireValues;
   for ( size_t i = 300 / TypeParam::unit; i-- > 0; ) {
      wireValues.push_back( distinct( TypeParam::unit, i ) );
   }
   const Octets wire = concat( wireValues );
   std::sort( wireValues.begin(), wireValues.end() );
   const Octets body = concat( wireValues );
   Octets expected = { 0xD0, TypeParam::attrType, U8( body.size() >> 8 ), U8( body.size() ) };
   expected.insert( expected.end(), body.begin(), body.end() );
   EXPECT_EQ( TypeParam::serialize( this->fromOctets( wire ) ),
              std::string( expected.begin(), expected.end() ) );
}

TYPED_TEST( ListDedupOctetsTest, LengthNotAMultipleThrowsAndInternsNothing ) {
   const Octets wire = concat( this->values( { 1, 2, 3 } ) );
   for ( size_t length : { size_t( 1 ), TypeParam::unit + 1, 3 * TypeParam::unit - 1 } ) {
      EXPECT_EQ( thrownText<Kel::RangeException>(
                       [ & ] { TestFixture::fromOctets( this->kind, wire, length ); } ),
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
   auto full = TestFixture::fromOctets( this->kind, wire, wire.size() - TypeParam::unit );
   EXPECT_EQ( TypeParam::serialize( full ).size(), 4 + most * TypeParam::unit );
   auto tooLong = this->fromOctets( wire );
   ASSERT_EQ( tooLong->comms(), most + 1 );
   EXPECT_EQ( thrownText<Kel::RangeException>( [ & ] { TypeParam::serialize( tooLong ); } ),
              std::string( TypeParam::name ) + "::serialize: " + std::to_string( most + 1 ) +
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
      for ( const auto& values : { this->values( { 9, 5, 8 } ), this->values( {} ) } ) {
         lists.push_back( this->built( values ) );
         offsets.push_back( lists.back()->stow( store.ptr() ) );
      }
      store->sync();
   }
   // Nothing of the rebuilt lists may point into the old mapping. (Members
   // of types a plug-in claims come back plain: values 4 and up are none.)
   auto store = KelStow::StoreManager::openFile( path );
   std::filesystem::remove( path );
   using List = typename TypeParam::List;
   for ( size_t i = 0; i < lists.size(); ++i ) {
      auto rebuilt = List::destow( store->translate( offsets[ i ] ), store.ptr() );
      EXPECT_EQ( rebuilt->dedupState(), Bex::dedupHandleStateStowed() );
      EXPECT_EQ( describe<TypeParam>( rebuilt ), describe<TypeParam>( lists[ i ] ) );
   }
   const U64 foreign = store->stowRecord( 0x464F4F31, 1, 24 ); // "FOO1"
   EXPECT_THROW( List::destow( store->translate( foreign ), store.ptr() ),
                 KelStow::StoreException );
}

template<class K>
class ListConcurrencyTest : public ::testing::Test {};
TYPED_TEST_SUITE( ListConcurrencyTest, Kinds );

// Four threads intern lists of overlapping contents in shuffled orders with
// one member twice, dropping most at once (racing each other's releases)
// and checking their members, and hold one of each per round, which must
// then be the same object in every thread. Members are shared by many lists
// (route targets of the extended kinds, whose classification lists are
// shared and announced as they come and go), by a few and by none.
TYPED_TEST( ListConcurrencyTest, ListsInternedAndReleasedFromFourThreadsLeaveEmptyTables ) {
   OvBgpGlobals::multiThreadedIs( true );
   const TypeParam kind;
   OvBgpGlobals::multiThreadedIs( false );
   ASSERT_TRUE( kind.lists->dedupTable()->threadSafe() );
   ASSERT_FALSE( TypeParam().lists->dedupTable()->threadSafe() ); // the setting is back
   using Key = typename TypeParam::Key;
   std::vector<std::vector<Key>> contents;
   for ( size_t k = 0; k < 24; ++k ) {
      contents.push_back( {} );
      for ( size_t i : { k % 4, 10 + k % 3, 20 + k } ) {
         contents.back().push_back( TypeParam::key( distinct( TypeParam::unit, i ) ) );
      }
   }
   using Held = decltype( open( kind, {} )->dedup( kind.lists.ptr() ) );
   std::vector<std::vector<Held>> held( 4, std::vector<Held>( contents.size() ) );
   std::barrier sync( 4 );
   std::atomic<int> mismatches{ 0 };
   onFourThreads( [ & ]( int t ) {
      std::mt19937 rng( t );
      for ( int round = 0; round < 40 / kThreadLoad; ++round ) {
         for ( int i = 0; i < 200; ++i ) {
            std::vector<Key> v = contents[ rng() % contents.size() ];
            v.push_back( v[ rng() % v.size() ] );
            std::shuffle( v.begin(), v.end(), rng );
            auto list = open( kind, v )->dedup( kind.lists.ptr() );
            bool right = list->comms() == v.size() - 1;
            for ( const Key& key : v ) {
               right = right && list->comm( key );
            }
            mismatches += !right;
         }
         for ( size_t k = 0; k < contents.size(); ++k ) {
            std::vector<Key> v = contents[ k ];
            std::shuffle( v.begin(), v.end(), rng );
            held[ t ][ k ] = open( kind, v )->dedup( kind.lists.ptr() );
         }
         sync.arrive_and_wait();
         for ( size_t k = 0; k < contents.size(); ++k ) {
            mismatches += held[ t ][ k ] != held[ ( t + 1 ) % 4 ][ k ];
         }
         sync.arrive_and_wait();
         held[ t ].assign( contents.size(), nullptr );
      }
   } );
   EXPECT_EQ( 0, mismatches.load() );
   EXPECT_EQ( kind.interned(), 0u );
}

} // namespace
} // namespace Routing::Bgp
