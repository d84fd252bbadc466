// OvBgp/ListWireOctets.h: the wire side of the four list kinds, written once
// over each kind's Wire struct (value octets, attribute, how a member is
// written and compared): a list in the form it is placed by in its table
// (its values' wire octets, ascending, which is also every kind's value
// order, each value once), the lookup and interning of a received
// attribute, and the attribute a list writes. Private to the list sources.
//
//   SortedWireOctets<4> values( "COMMUNITIES", octets, length );  // throws on a bad length
//   U32 placement = listPlacementHash( key, values.octets() );
#pragma once

#include <algorithm>
#include <cstring>
#include <iterator>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Bex/DedupHashTable.h"
#include "Kel/Exception.h"
#include "Kel/Hash.h"
#include "Kel/Types.h"
#include "OvBgp/BgpPathAttributeEnums.h"
#include "OvBgp/OvBgpCommunityListImpl.h"
#include "OvBgp/OvBgpSerialize.h"
#include "Routing/Bgp/NetworkOrder.h"

namespace Routing::Bgp {

// SortedWireOctets<kValueOctets>: see the file comment. Up to kLocalOctets
// the copy (when one is needed) lives in the object, so that an attribute of
// a typical size allocates nothing in any order; a longer one out of order
// is copied to the heap. Either way the work is one pass when in order and
// a sort (n log n) otherwise.
template<size_t kValueOctets>
class SortedWireOctets {
 public:
   // From a received attribute's value. A length that is not a whole
   // number of values throws Kel::RangeException naming attribute.
   SortedWireOctets( std::string_view attribute, const U8* octets, size_t length ) {
      if ( length % kValueOctets != 0 ) {
         throw Kel::RangeException( std::string( attribute ) + " attribute length " +
                                    std::to_string( length ) + " is not a multiple of " +
                                    std::to_string( kValueOctets ) );
      }
      data_ = octets;
      length_ = length;
      if ( !inOrder( octets, length ) ) {
         U8* copy = room( length );
         std::memcpy( copy, octets, length );
         length_ = sortUnique( copy, length );
         data_ = copy;
      }
   }

   // From the values of a sorted list: write( out, value ) puts one value's
   // wire octets at out.
   template<class Values, class Write>
   SortedWireOctets( const Values& values, Write&& write ) {
      length_ = std::size( values ) * kValueOctets;
      U8* out = room( length_ );
      for ( const auto& value : values ) {
         write( out, value );
         out += kValueOctets;
      }
      data_ = length_ ? out - length_ : out;
   }

   SortedWireOctets( const SortedWireOctets& ) = delete;
   SortedWireOctets& operator=( const SortedWireOctets& ) = delete;

   std::span<const U8> octets() const noexcept { return { data_, length_ }; }
   size_t count() const noexcept { return length_ / kValueOctets; }
   // value(): the i-th value's octets.
   const U8* value( size_t i ) const noexcept { return data_ + i * kValueOctets; }

 private:
   static constexpr size_t kLocalOctets = 1024 / kValueOctets * kValueOctets;

   // less(): octet order through big-endian words, which compare as their
   // octets do; an ordering memcmp is a library call on every hit's check.
   static bool less( const U8* a, const U8* b ) noexcept {
      static_assert( kValueOctets % 4 == 0 );
      size_t at = 0;
      for ( ; at + 8 <= kValueOctets; at += 8 ) {
         const U64 x = loadU64ntoh( a + at ), y = loadU64ntoh( b + at );
         if ( x != y ) {
            return x < y;
         }
      }
      if constexpr ( kValueOctets % 8 == 4 ) {
         return loadU32ntoh( a + at ) < loadU32ntoh( b + at );
      }
      return false;
   }
   static bool inOrder( const U8* octets, size_t length ) noexcept {
      for ( size_t at = kValueOctets; at < length; at += kValueOctets ) {
         if ( !less( octets + at - kValueOctets, octets + at ) ) {
            return false;
         }
      }
      return true;
   }
   // sortUnique(): sorts the values at octets in place, drops repeats and
   // returns the octets that remain.
   static size_t sortUnique( U8* octets, size_t length ) {
      struct Value {
         U8 octet[ kValueOctets ];
      };
      static_assert( sizeof( Value ) == kValueOctets );
      auto* begin = reinterpret_cast<Value*>( octets );
      auto* end = begin + length / kValueOctets;
      std::sort( begin, end,
                 []( const Value& a, const Value& b ) { return less( a.octet, b.octet ); } );
      end = std::unique( begin, end, []( const Value& a, const Value& b ) {
         return std::memcmp( a.octet, b.octet, kValueOctets ) == 0;
      } );
      return size_t( end - begin ) * kValueOctets;
   }
   U8* room( size_t length ) {
      if ( length <= kLocalOctets ) {
         return local_;
      }
      heap_.reset( new U8[ length ] );
      return heap_.get();
   }

   const U8* data_ = nullptr;
   size_t length_ = 0;
   std::unique_ptr<U8[]> heap_;
   alignas( 8 ) U8 local_[ kLocalOctets ];
};

// sameValues(): whether a list's values (ascending, each once) are the
// wire values one for one; equal( value, octets ) compares one pair.
template<size_t kValueOctets, class Values, class Equal>
bool sameValues( const Values& values, const SortedWireOctets<kValueOctets>& wire, Equal&& equal ) {
   if ( values.size() != wire.count() ) {
      return false;
   }
   for ( size_t i = 0; i < wire.count(); ++i ) {
      if ( !equal( values[ i ], wire.value( i ) ) ) {
         return false;
      }
   }
   return true;
}

// sameListValues(): whether list's values are the wire values: through the
// 64-bit contents a list may keep beside its header (List::contents(), null
// when it keeps none), so that no member is read, else by otherwise().
// Inlined into the probe: it runs on every hit.
template<class List, size_t kValueOctets, class Otherwise>
[[gnu::always_inline]] inline bool sameListValues( const List& list,
                                                   const SortedWireOctets<kValueOctets>& wire,
                                                   Otherwise&& otherwise ) {
   if constexpr ( requires { list.contents(); } ) {
      static_assert( kValueOctets == sizeof( U64 ) );
      if ( const U64* contents = list.contents() ) {
         if ( list.comms() != wire.count() ) {
            return false;
         }
         for ( size_t i = 0; i < wire.count(); ++i ) {
            if ( contents[ i ] != loadU64ntoh( wire.value( i ) ) ) {
               return false;
            }
         }
         return true;
      }
   }
   return otherwise();
}

// listPlacementHash(): where a table keyed with key places the list whose
// sorted values have these wire octets: keyed SipHash-1-3 of the octets.
// Out of line: inlined into a caller whose octets sit in a temporary, GCC
// takes the hash's reads for reads of uninitialized octets.
[[gnu::noinline]] inline U32 listPlacementHash( const Kel::HashKey& key,
                                                std::span<const U8> octets ) noexcept {
   return U32( Kel::sipHash13( key, octets.data(), octets.size() ) );
}

// membersPlacementHash(): the same for the members of a sorted list.
template<class Wire, class Members>
U32 membersPlacementHash( const Kel::HashKey& key, const Members& members ) {
   return listPlacementHash( key,
                             SortedWireOctets<Wire::kOctets>( members, Wire::store ).octets() );
}

// lookupWireOctets(): the member of set whose values are values, placed
// at placement (listPlacementHash() of their octets); same( list, values )
// is the kind's comparison. Null when there is none.
template<class List, size_t kValueOctets, class Same>
typename List::PtrConst lookupWireOctets( const Bex::DedupHashTable& set, U32 placement,
                                          const SortedWireOctets<kValueOctets>& values,
                                          Same&& same ) {
   Bex::DedupHandle::PtrConst found =
         set.lookupIf( placement, [ & ]( const Bex::DedupHandle* member ) {
            return same( *static_cast<const List*>( member ), values );
         } );
   return Kel::ptrCast<const List>( std::move( found ) );
}

// lookupByMembers(): the member of set that holds exactly members (sorted,
// unique, interned: equal contents are one object), found by their wire
// octets (write( out, member )) without building anything; null when there
// is none. placement is set to where the members place, for the insert
// that follows a miss.
template<class List, size_t kValueOctets, class Members, class Write>
typename List::PtrConst lookupByMembers( const Bex::DedupHashTable& set, const Members& members,
                                         Write&& write, U32& placement ) {
   const SortedWireOctets<kValueOctets> wire( members, write );
   placement = listPlacementHash( set.hashKey(), wire.octets() );
   return lookupWireOctets<List>( set, placement, wire, [ & ]( const List& list, const auto& ) {
      return sameListValues( list, wire, [ & ] { return list.commVector() == members; } );
   } );
}

// dedupWireOctets(): the list List::dedup() gives for the value of a
// received attribute (any order, repeats allowed): found by its wire octets
// when interned already, without building or allocating anything; else
// built of member( octets ) for each value and interned.
template<class List, class Wire, class Member>
typename List::PtrConst dedupWireOctets( const typename Wire::Table* table, const U8* octets,
                                         size_t length, Member&& member ) {
   if ( !table ) {
      throw Kel::NullArgumentException( std::string( Wire::kList ) + "::dedupOctets: null table" );
   }
   using Wires = SortedWireOctets<Wire::kOctets>;
   const Wires wire( Wire::kAttribute, octets, length );
   auto same = []( const List& list, const Wires& values ) {
      return sameListValues( list, values, [ & ] {
         return sameValues( list.commVector(), values, []( const auto& value, const U8* octets ) {
            return Wire::sameAsWire( value, octets );
         } );
      } );
   };
   const Bex::DedupHashTable& set = *table->dedupTable();
   if ( auto found = lookupWireOctets<List>( set, listPlacementHash( set.hashKey(), wire.octets() ),
                                             wire, same ) ) {
      return found;
   }
   auto list = List::withRoomFor( U32( wire.count() ) );
   for ( size_t i = 0; i < wire.count(); ++i ) {
      list->commIs( member( wire.value( i ) ) );
   }
   return list->dedup( table );
}

// serializedList(): the attribute holding the count members (in list
// order) for which send( member ) is true. A count beyond what one
// attribute's 16-bit length holds throws Kel::RangeException, as does
// nothing else here.
template<class Wire, class Members, class Send>
std::string serializedList( U32 count, const Members& members, Send&& send ) {
   constexpr U32 kMost = 0xFFFF / Wire::kOctets;
   if ( count > kMost ) {
      throw Kel::RangeException( std::string( Wire::kList ) +
                                 "::serialize: " + std::to_string( count ) +
                                 " communities do not fit in one " + Wire::kAttribute +
                                 " attribute (at most " + std::to_string( kMost ) + ")" );
   }
   return serializedPathAttribute(
         Wire::kAttrType, optionalTransitive, count * Wire::kOctets, [ & ]( U8* out ) {
            U32 written = 0;
            for ( const auto& member : members ) {
               if ( written == count ) {
                  break;
               }
               if ( send( member ) ) {
                  Wire::store( out + Wire::kOctets * written++, member );
               }
            }
            KEL_ASSERT_SOURCE_MSG( written == count, "written == count", Wire::kAssertSource );
         } );
}

} // namespace Routing::Bgp
