// Acl/CommunityValue.h: the content of a large community (RFC 8092), three
// 32-bit words, as a plain value: twelve bytes, trivially copyable, ordered
// word by word so that sets of them iterate in the order they print.
//
//   Acl::CommunityValue value( 64512, 1, 2 );
//   bool first = value < Acl::CommunityValue( 64512, 1, 3 );
#pragma once

#include "Kel/Types.h"

#include <compare>

namespace Acl {

// CommunityValue(): global administrator, then the two local data words.
class CommunityValue {
 public:
   constexpr CommunityValue() = default;
   constexpr CommunityValue( U32 globalAdmin, U32 localData1, U32 localData2 )
         : globalAdmin_( globalAdmin ), localData1_( localData1 ), localData2_( localData2 ) {}

   constexpr U32 globalAdmin() const { return globalAdmin_; }
   constexpr U32 localData1() const { return localData1_; }
   constexpr U32 localData2() const { return localData2_; }

   // Lexicographic over (globalAdmin, localData1, localData2).
   constexpr bool operator==( const CommunityValue& ) const = default;
   constexpr std::strong_ordering operator<=>( const CommunityValue& ) const = default;

 private:
   U32 globalAdmin_ = 0;
   U32 localData1_ = 0;
   U32 localData2_ = 0;
};

static_assert( sizeof( CommunityValue ) == 12 );

} // namespace Acl
