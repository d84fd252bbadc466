// tests/OvBgp/ListKinds.h: the four list kinds as test fixtures, for suites
// typed over them: each holds its list table (and the value table its
// members are interned through), names its attribute, turns a wire value
// into its key (the value's native form) and a key into what commIs()
// takes, and numbers values 65000:i in its own form, with the pattern of a
// range of them.
//
//   Extended kind;  auto list = open( kind, { Extended::numbered( 1 ) } )->dedup( kind.lists.ptr() );
//   CommunityPattern( Extended::pattern( "1-9" ) );   // "RT:65000:1-9"
#pragma once

#include <string>
#include <vector>

#include "OvBgp/CommunityListTraits.h"
#include "OvBgp/ExtCommIp6DedupTable.h"
#include "OvBgp/Parse/ExtComm.h"
#include "tests/OvBgp/ExtCommIp6TestRule.h"
#include "tests/OvBgp/TestSupport.h"

namespace Routing::Bgp::Testing {

using Octets = std::vector<U8>;

inline U32 load32( const U8* p ) {
   return U32( p[ 0 ] ) << 24 | U32( p[ 1 ] ) << 16 | U32( p[ 2 ] ) << 8 | p[ 3 ];
}

// Kind<List>: a kind's list table and what is the same for most kinds; each
// kind adds its names, its key (the native form of a wire value), the member
// commIs() takes for a key and the value table it interns members through.
template<class L>
struct Kind {
   using List = L;
   Kel::Ptr<typename L::Table> lists = Kel::makeActivePtr<typename L::Table>();
   // fresh(): a new list as users make one (the factory, where the kind has
   // one: it may hand out its thread's spare).
   static auto fresh() { return Kel::makeActivePtr<L>(); }
   static std::string serialize( const auto& list ) { return list->serialize(); }
   static std::string extra( const auto& ) { return ""; }
   size_t interned() const { return lists->dedupTable()->size(); }
};

struct Standard : Kind<CommList> {
   using Key = U32;
   static constexpr U8 attrType = 8;
   static constexpr size_t unit = 4;
   static constexpr const char *name = "CommList", *attribute = "COMMUNITIES",
                               *emptyWire = "c00800", *emptyText = "", *nullText = "";
   static Key key( const Octets& v ) { return load32( v.data() ); }
   static Key numbered( U32 i ) { return 65000u << 16 | i; }
   static std::string pattern( const std::string& r ) { return "65000:" + r; }
   static auto fresh() { return commListFactory(); }
   Key member( Key k ) const { return k; }
};

struct Large : Kind<LargeCommList> {
   using Key = Acl::CommunityValue;
   static constexpr U8 attrType = 32;
   static constexpr size_t unit = 12;
   static constexpr const char *name = "LargeCommList", *attribute = "LARGE_COMMUNITY",
                               *emptyWire = "c02000", *emptyText = "", *nullText = "";
   static Key key( const Octets& v ) {
      return Key( load32( v.data() ), load32( v.data() + 4 ), load32( v.data() + 8 ) );
   }
   static Key numbered( U32 i ) { return Key( 65000, i, 0 ); }
   static std::string pattern( const std::string& r ) { return "65000:" + r + ":0"; }
   static auto fresh() { return largeCommListFactory(); }
   const Key& member( const Key& k ) const { return k; }
};

struct Extended : Kind<ExtCommList> {
   using Key = U64;
   static constexpr U8 attrType = 16;
   static constexpr size_t unit = 8;
   static constexpr const char *name = "ExtCommList", *attribute = "EXTENDED_COMMUNITIES",
                               *emptyWire = "", *emptyText = "[  ]", *nullText = "NULL";
   BgpParseExtCommContainerSm::Ptr container = bgpParseExtCommContainerSmFactory();
   ExtCommDedupTable::Ptr values = extCommDedupTableFactory( container->extCommParser() );
   static Key key( const Octets& v ) { return U64( load32( v.data() ) ) << 32 | load32( &v[ 4 ] ); }
   static Key numbered( U32 i ) { return 0x0002fde800000000 | i; }
   static std::string pattern( const std::string& r ) { return "RT:65000:" + r; }
   static auto fresh() { return extCommListFactory(); }
   ExtComm::PtrConst member( Key k ) const {
      return ExtComm::dedupContent( values.ptr(), ExtCommContent( k ) );
   }
   static std::string serialize( const auto& list ) {
      return list->serialize( ExtCommList::Serialization::all );
   }
   static std::string extra( const auto& list ) {
      return std::to_string( list->classificationLists().size() );
   }
   size_t interned() const {
      return lists->dedupTable()->size() + values->dedupTable()->size() +
             lists->rtExtCommClassificationListDedupTable()->size() +
             lists->extCommClassificationListDedupTable()->size() +
             lists->notifyingRtExtCommListCollection()->rtExtCommList().size();
   }
};

struct Ip6Extended : Kind<ExtCommIp6List> {
   using Key = ExtCommIp6Content;
   static constexpr U8 attrType = 25;
   static constexpr size_t unit = 20;
   static constexpr const char *name = "ExtCommIp6List", *attribute = "IPV6_EXTENDED_COMMUNITIES",
                               *emptyWire = "", *emptyText = "[  ]", *nullText = "NULL";
   Testing::TestIp6Rule rule;
   ExtCommIp6DedupTable::Ptr values = extCommIp6DedupTableFactory( rule.top );
   static Key key( const Octets& v ) {
      return Key( v[ 0 ], v[ 1 ], Onet::Ip6Addr( v.data() + 2 ), U16( v[ 18 ] << 8 | v[ 19 ] ) );
   }
   static Key numbered( U32 i ) {
      return Key( 0, 2, Onet::Ip6Addr::parse( "2001:db8::1" ), U16( i ) );
   }
   static std::string pattern( const std::string& r ) { return "RT:2001:db8::1:" + r; }
   ExtCommIp6::PtrConst member( const Key& k ) const {
      return ExtCommIp6::dedupContent( values.ptr(), k );
   }
   static std::string serialize( const auto& list ) { return list->serialize( true ); }
   static std::string extra( const auto& list ) {
      return list->commsStringForm() + "|" + hex( list->serialize( false ) );
   }
   size_t interned() const {
      return lists->dedupTable()->size() + values->dedupTable()->size() +
             lists->extCommIp6ClassificationListDedupTable()->size();
   }
};

// open(): the list of these keys, built value by value, not interned yet.
template<class K>
auto open( const K& kind, const std::vector<typename K::Key>& keys ) {
   auto list = K::fresh();
   for ( const auto& k : keys ) {
      list->commIs( kind.member( k ) );
   }
   return list;
}

} // namespace Routing::Bgp::Testing
