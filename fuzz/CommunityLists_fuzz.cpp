// CommunityLists_fuzz.cpp: arbitrary octets as a standard and a large
// community list. The first octet says how many 4-octet standard values come
// first; the octets after them are 12-octet large values. Each list is
// interned, printed, matched, put on the wire and read back, copied into a
// snapshot, and stowed into an in-memory store and rebuilt: the rebuilt list
// must print and serialise as the interned one and intern to it again.
// Interned from the raw octets (dedupOctets()), each list, and the octets
// after the standard values read as an extended community list, must be the
// object the value-by-value build gives; a cut length must throw.
//
//   ninja fuzz_CommunityLists_fuzz
//   build/fuzz/CommunityLists_fuzz fuzz/corpus/CommunityLists_fuzz

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <string>
#include <vector>

#include "Acl/CommunityValue.h"
#include "Kel/Exception.h"
#include "KelStow/StoreManager.h"
#include "OvBgp/CommList.h"
#include "OvBgp/CommListDedupTable.h"
#include "OvBgp/ExtCommList.h"
#include "OvBgp/ExtCommListDedupTable.h"
#include "OvBgp/LargeCommList.h"
#include "OvBgp/Parse/ExtComm.h"
#include "Routing/RouteMap/PosixRegex.h"
#include "tools/bgpcomm/PathAttributes.h"

using namespace Routing::Bgp;

namespace {

#define FUZZ_CHECK( cond )                                                                 \
   do {                                                                                    \
      if ( !( cond ) ) {                                                                   \
         std::fprintf( stderr, "CommunityLists_fuzz: check failed: %s (line %d)\n", #cond, \
                       __LINE__ );                                                         \
         std::abort();                                                                     \
      }                                                                                    \
   } while ( 0 )

// Bounds on one input: enough values for attributes past 255 octets.
constexpr size_t kMaxStandard = 96;
constexpr size_t kMaxLarge = 40;

struct Fixture {
   CommListDedupTable::Ptr standard = commListDedupTableFactory();
   LargeCommListDedupTable::Ptr large = largeCommListDedupTableFactory();
   BgpParseExtCommContainerSm::Ptr container = bgpParseExtCommContainerSmFactory();
   ExtCommDedupTable::Ptr extValues = extCommDedupTableFactory( container->extCommParser() );
   ExtCommListDedupTable::Ptr extended = extCommListDedupTableFactory();
   // Named values in one text, numbers in the other; large values by a local word.
   Routing::RouteMap::PosixRegex regex{
      "(^| )(no-export|65535:6528[0-9]|local-as)( |$)|"
      ":1[0-9]*:[0-9]+$|^[0-9]+:0 "
   };
};

Fixture& fixture() {
   static Fixture f;
   return f;
}

U32 loadU32( const U8* p ) {
   return U32( p[ 0 ] ) << 24 | U32( p[ 1 ] ) << 16 | U32( p[ 2 ] ) << 8 | p[ 3 ];
}

// The octets of an attribute of type attrType whose value is unit-octet
// values: the header the wire wants, then the value, which is returned.
std::span<const U8> attributeValue( const std::string& wire, U8 attrType, size_t valueSize,
                                    Bgpcomm::CommunityKind kind ) {
   const auto* octets = reinterpret_cast<const U8*>( wire.data() );
   FUZZ_CHECK( wire.size() >= 3 );
   const bool extended = octets[ 0 ] & 0x10;
   FUZZ_CHECK( ( octets[ 0 ] & 0xEF ) == 0xC0 );
   FUZZ_CHECK( octets[ 1 ] == attrType );
   FUZZ_CHECK( extended == ( valueSize > 255 ) );
   const size_t headerSize = extended ? 4 : 3;
   FUZZ_CHECK( wire.size() == headerSize + valueSize );
   const size_t length = extended ? size_t( octets[ 2 ] ) << 8 | octets[ 3 ] : octets[ 2 ];
   FUZZ_CHECK( length == valueSize );
   if ( valueSize == 0 ) {
      return {};
   }
   // The tool's attribute walk finds the same value.
   Bgpcomm::PathAttributeScan scan;
   FUZZ_CHECK(
         Bgpcomm::scanPathAttributes( std::span<const U8>( octets, wire.size() ), &scan ).empty() );
   FUZZ_CHECK( scan.issueCount == 0 );
   const auto value = scan.communities[ Bgpcomm::communityKindIndex( kind ) ];
   FUZZ_CHECK( value.size() == valueSize );
   FUZZ_CHECK( value.data() == octets + headerSize );
   return value;
}

std::string numeric( U32 value ) {
   return std::to_string( value >> 16 ) + ":" + std::to_string( value & 0xFFFF );
}

// checkCutLength(): a length one short of the octets throws and interns
// nothing.
template<class Intern>
void checkCutLength( std::span<const U8> raw, size_t unit, Intern intern ) {
   if ( raw.size() % unit != 0 || raw.empty() ) {
      return;
   }
   bool thrown = false;
   try {
      intern( raw.data(), raw.size() - 1 );
   } catch ( const Kel::RangeException& ) {
      thrown = true;
   }
   FUZZ_CHECK( thrown );
}

void checkExtended( Fixture& f, std::span<const U8> raw ) {
   ExtCommList::Ptr building = extCommListFactory();
   for ( size_t at = 0; at < raw.size(); at += 8 ) {
      const U64 content = U64( loadU32( raw.data() + at ) ) << 32 | loadU32( raw.data() + at + 4 );
      building->commIs( ExtComm::dedupContent( f.extValues.ptr(), ExtCommContent( content ) ) );
   }
   auto intern = [ & ]( const U8* octets, size_t length ) {
      return ExtCommList::dedupOctets( f.extended.ptr(), f.extValues.ptr(), octets, length );
   };
   const ExtCommList::PtrConst fromOctets = intern( raw.data(), raw.size() );
   FUZZ_CHECK( building->dedup( f.extended.ptr() ) == fromOctets );
   FUZZ_CHECK( intern( raw.data(), raw.size() ) == fromOctets );
   checkCutLength( raw, 8, intern );
}

void checkStandard( Fixture& f, const std::vector<U32>& values, std::span<const U8> raw ) {
   const std::set<U32> distinct( values.begin(), values.end() );
   const std::vector<U32> sorted( distinct.begin(), distinct.end() );

   CommList::Ptr building = commListFactory();
   for ( U32 v : values ) {
      building->commIs( v );
   }
   const CommList::PtrConst list = building->dedup( f.standard.ptr() );
   FUZZ_CHECK( list && list->isDeduped() && list->commVectorSorted() );
   FUZZ_CHECK( *list->commVectorRawPtr() == sorted );
   FUZZ_CHECK( CommList::lookupByContent( f.standard.ptr(), CommListContent( sorted ) ) == list );
   CommList::Ptr again = commListFactory();
   for ( auto it = values.rbegin(); it != values.rend(); ++it ) {
      again->commIs( *it );
   }
   FUZZ_CHECK( again->dedup( f.standard.ptr() ) == list );
   auto intern = [ & ]( const U8* octets, size_t length ) {
      return CommList::dedupOctets( f.standard.ptr(), octets, length );
   };
   FUZZ_CHECK( intern( raw.data(), raw.size() ) == list );
   checkCutLength( raw, 4, intern );
   FUZZ_CHECK( list->noExport() == distinct.count( 0xFFFFFF01 ) );
   FUZZ_CHECK( list->noAdvertise() == distinct.count( 0xFFFFFF02 ) );
   FUZZ_CHECK( list->noExportSubconfed() == distinct.count( 0xFFFFFF03 ) );

   // Text: numbers, or names where a value has one.
   std::string numbers, named;
   bool anyName = false;
   for ( U32 v : sorted ) {
      FUZZ_CHECK( list->comm( v ) );
      FUZZ_CHECK( CommList::getStringValue( v ) == numeric( v ) );
      const std::string name = CommList::wellKnownName( v );
      anyName |= !name.empty();
      if ( !numbers.empty() ) {
         numbers += ' ';
         named += ' ';
      }
      numbers += numeric( v );
      named += name.empty() ? numeric( v ) : name;
   }
   FUZZ_CHECK( list->toStrep() == named );
   const bool expectMatch = f.regex.execute( numbers.c_str() ) == 0 ||
                            ( anyName && f.regex.execute( named.c_str() ) == 0 );
   FUZZ_CHECK( list->matchCommunitiesRegex( &f.regex ) == expectMatch );

   const std::string wire = list->serialize();
   const auto value =
         attributeValue( wire, 8, 4 * sorted.size(), Bgpcomm::CommunityKind::standard );
   for ( size_t i = 0; i < sorted.size(); ++i ) {
      FUZZ_CHECK( loadU32( value.data() + 4 * i ) == sorted[ i ] );
   }

   const auto snapshot = list->commSnapshot();
   FUZZ_CHECK( snapshot->commCount() == sorted.size() && snapshot->largeCommCount() == 0 );
   size_t i = 0;
   for ( auto it = snapshot->commBegin(); it != snapshot->commEnd(); ++it, ++i ) {
      FUZZ_CHECK( it->first == sorted[ i ] && it->second );
   }

   auto store = KelStow::StoreManager::inMemory( 64 );
   const U64 at = list->stow( store.ptr() );
   const CommList::Ptr rebuilt = CommList::destow( store->translate( at ), store.ptr() );
   FUZZ_CHECK( rebuilt->dedupState() == Bex::dedupHandleStateStowed() );
   FUZZ_CHECK( rebuilt->toStrep() == list->toStrep() );
   FUZZ_CHECK( rebuilt->serialize() == wire );
   FUZZ_CHECK( rebuilt->noExport() == list->noExport() );
   FUZZ_CHECK( rebuilt->noAdvertise() == list->noAdvertise() );
   FUZZ_CHECK( rebuilt->noExportSubconfed() == list->noExportSubconfed() );
   FUZZ_CHECK( rebuilt->matchCommunitiesRegex( &f.regex ) == expectMatch );
   FUZZ_CHECK( rebuilt->dedup( f.standard.ptr() ) == list );
}

std::string largeText( const Acl::CommunityValue& v, bool asdot ) {
   const U32 g = v.globalAdmin();
   std::string global = asdot && g >= 0x10000
                              ? std::to_string( g >> 16 ) + "." + std::to_string( g & 0xFFFF )
                              : std::to_string( g );
   return global + ":" + std::to_string( v.localData1() ) + ":" + std::to_string( v.localData2() );
}

void checkLarge( Fixture& f, const std::vector<Acl::CommunityValue>& values,
                 std::span<const U8> raw ) {
   const std::set<Acl::CommunityValue> distinct( values.begin(), values.end() );
   const std::vector<Acl::CommunityValue> sorted( distinct.begin(), distinct.end() );

   LargeCommList::Ptr building = largeCommListFactory();
   for ( const auto& v : values ) {
      building->commIs( v );
   }
   const LargeCommList::PtrConst list = building->dedup( f.large.ptr() );
   FUZZ_CHECK( list && list->isDeduped() && list->commVectorSorted() );
   FUZZ_CHECK( *list->commVectorRawPtr() == sorted );
   FUZZ_CHECK( LargeCommList::lookupByContent( f.large.ptr(), LargeCommListContent( sorted ) ) ==
               list );
   LargeCommList::Ptr again = largeCommListFactory();
   for ( auto it = values.rbegin(); it != values.rend(); ++it ) {
      again->commIs( *it );
   }
   FUZZ_CHECK( again->dedup( f.large.ptr() ) == list );
   auto intern = [ & ]( const U8* octets, size_t length ) {
      return LargeCommList::dedupOctets( f.large.ptr(), octets, length );
   };
   FUZZ_CHECK( intern( raw.data(), raw.size() ) == list );
   checkCutLength( raw, 12, intern );

   std::string text;
   for ( const auto& v : sorted ) {
      FUZZ_CHECK( list->comm( v ) );
      FUZZ_CHECK( LargeCommList::getStringValue( v ) == largeText( v, false ) );
      FUZZ_CHECK( LargeCommList::displayString( v, true ) == largeText( v, true ) );
      if ( !text.empty() ) {
         text += ' ';
      }
      text += largeText( v, false );
   }
   FUZZ_CHECK( list->toStrep() == text );
   const bool expectMatch = f.regex.execute( text.c_str() ) == 0;
   FUZZ_CHECK( list->matchCommunitiesRegex( &f.regex ) == expectMatch );

   const std::string wire = list->serialize();
   const auto value = attributeValue( wire, 32, 12 * sorted.size(), Bgpcomm::CommunityKind::large );
   for ( size_t i = 0; i < sorted.size(); ++i ) {
      const U8* p = value.data() + 12 * i;
      FUZZ_CHECK( Acl::CommunityValue( loadU32( p ), loadU32( p + 4 ), loadU32( p + 8 ) ) ==
                  sorted[ i ] );
   }

   const auto snapshot = list->commSnapshot();
   FUZZ_CHECK( snapshot->largeCommCount() == sorted.size() && snapshot->commCount() == 0 );
   size_t i = 0;
   for ( auto it = snapshot->largeCommBegin(); it != snapshot->largeCommEnd(); ++it, ++i ) {
      FUZZ_CHECK( it->first == sorted[ i ] && it->second );
   }

   auto store = KelStow::StoreManager::inMemory( 64 );
   const U64 at = list->stow( store.ptr() );
   const LargeCommList::Ptr rebuilt = LargeCommList::destow( store->translate( at ), store.ptr() );
   FUZZ_CHECK( rebuilt->dedupState() == Bex::dedupHandleStateStowed() );
   FUZZ_CHECK( rebuilt->toStrep() == list->toStrep() );
   FUZZ_CHECK( rebuilt->serialize() == wire );
   FUZZ_CHECK( rebuilt->matchCommunitiesRegex( &f.regex ) == expectMatch );
   FUZZ_CHECK( rebuilt->dedup( f.large.ptr() ) == list );
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput( const U8* data, size_t size ) {
   if ( size == 0 ) {
      return 0;
   }
   Fixture& f = fixture();
   const U8* p = data + 1;
   const U8* end = data + size;
   const size_t standardCount =
         std::min( { size_t( data[ 0 ] ), size_t( end - p ) / 4, kMaxStandard } );
   std::vector<U32> standard;
   for ( size_t i = 0; i < standardCount; ++i, p += 4 ) {
      standard.push_back( loadU32( p ) );
   }
   const std::span<const U8> standardRaw( data + 1, p );
   const U8* largeBegin = p;
   std::vector<Acl::CommunityValue> large;
   for ( ; end - p >= 12 && large.size() < kMaxLarge; p += 12 ) {
      large.emplace_back( loadU32( p ), loadU32( p + 4 ), loadU32( p + 8 ) );
   }
   checkStandard( f, standard, standardRaw );
   checkLarge( f, large, std::span<const U8>( largeBegin, p ) );
   checkExtended( f, std::span<const U8>( largeBegin, ( p - largeBegin ) / 8 * 8 ) );
   // Every list of this input is released: the tables are empty again.
   FUZZ_CHECK( f.standard->dedupTable()->size() == 0 );
   FUZZ_CHECK( f.large->dedupTable()->size() == 0 );
   FUZZ_CHECK( f.extended->dedupTable()->size() == 0 );
   FUZZ_CHECK( f.extValues->dedupTable()->size() == 0 );
   return 0;
}
