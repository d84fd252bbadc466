// OvBgp/ListWireOctets.h: a community list in the form it is placed by in
// its table: its values' wire octets, ascending (octet by octet, which is
// also every kind's value order), each value once. A received attribute
// that is already so is used where it lies; any other is copied and put in
// that form. Private to the list sources.
//
//   SortedWireOctets<4> values( "COMMUNITIES", octets, length );  // throws on a bad length
//   U32 placement = CommList::placementHashOf( key, values.octets() );
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
#include "Kel/Types.h"

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

   static bool less( const U8* a, const U8* b ) noexcept {
      return std::memcmp( a, b, kValueOctets ) < 0;
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

// lookupWireOctets(): the member of set whose values are values (placed
// by List::placementHashOf()); same( list, values ) is the kind's
// comparison. Null when there is none.
template<class List, size_t kValueOctets, class Same>
typename List::PtrConst lookupWireOctets( const Bex::DedupHashTable& set,
                                          const SortedWireOctets<kValueOctets>& values,
                                          Same&& same ) {
   Bex::DedupHandle::PtrConst found =
         set.lookupIf( List::placementHashOf( set.hashKey(), values.octets() ),
                       [ & ]( const Bex::DedupHandle* member ) {
                          return same( *static_cast<const List*>( member ), values );
                       } );
   return Kel::ptrCast<const List>( std::move( found ) );
}

// lookupByMembers(): the member of set that holds exactly members (sorted,
// unique, interned: equal contents are one object), found by their wire
// octets (write( out, member )) without building anything; null when there
// is none.
template<class List, size_t kValueOctets, class Member, class Write>
typename List::PtrConst lookupByMembers( const Bex::DedupHashTable& set,
                                         const std::vector<Member>& members, Write&& write ) {
   const SortedWireOctets<kValueOctets> wire( members, write );
   return lookupWireOctets<List>( set, wire, [ & ]( const List& list, const auto& ) {
      return list.commVector() == members;
   } );
}

} // namespace Routing::Bgp
