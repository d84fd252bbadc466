// OvBgp/CommunityPattern.h: a compiled community pattern, the form route maps
// match lists with. Each position of the printed form is a number, `*` or an
// inclusive range lo-hi: standard "65000:*", large "65000:1-9:*", extended in
// its classification form ("RT:65000:*", "RT:192.0.2.0/24:*", "SoO:*:100",
// "Color:CO(01):100", "0002-AS4:65000.1:*"), IPv6-address-specific with its
// address ("RT:2001:db8::/32:*"), and the well-known names ("no-export").
// Positions compile into ranges over the value's binary fields, so a match
// never looks at text: "1299:*" cannot match 1403:1299, "0:1" not 0:12.
//
//   CommunityPattern rt( "RT:65000:100-199" );  // throws Kel::ParseException
//   bool hit = rt.matches( extCommList.ptr() ); // some member in range
#pragma once

#include <string_view>
#include <vector>

#include "Acl/CommunityValue.h"
#include "Kel/String.h"
#include "Kel/Types.h"

namespace Routing::Bgp {

class CommList;
class LargeCommList;
class ExtCommList;
class ExtCommIp6List;
struct ExtCommContent;
struct ExtCommIp6Content;

// CommunityPattern: see the file comment. Immutable once compiled; safe to
// share between threads.
class CommunityPattern {
 public:
   // Kind: the kind of community (and so of list) the pattern is about.
   enum Kind : U8 { kindStandard, kindLarge, kindExtended, kindIp6Extended };

   // CommunityPattern(): compiles text; bad text throws Kel::ParseException
   // (attribute "pattern") whose message quotes the text and says what is
   // wrong ("'65536:*': 65536 is beyond 65535").
   explicit CommunityPattern( std::string_view text );

   Kind kind() const noexcept { return kind_; }
   const Kel::String& text() const noexcept { return text_; }

   // matches(value): whether one value matches every position; false for a
   // value of another kind.
   bool matches( U32 community ) const noexcept;
   bool matches( const Acl::CommunityValue& value ) const noexcept;
   bool matches( const ExtCommContent& content ) const noexcept;
   bool matches( const ExtCommIp6Content& content ) const noexcept;

   // matches(list): whether some member of the list matches; false for a
   // null list or a list of another kind.
   bool matches( const CommList* list ) const noexcept;
   bool matches( const LargeCommList* list ) const noexcept;
   bool matches( const ExtCommList* list ) const noexcept;
   bool matches( const ExtCommIp6List* list ) const noexcept;

   // Field: one position (or a fixed type/subtype) as a range over bits
   // shift..shift+width-1 of one word of the value.
   struct Field {
      U8 word = 0;
      U8 shift = 0;
      U8 width = 0;
      U64 lo = 0;
      U64 hi = 0;
      bool accepts( const U64* words ) const noexcept {
         const U64 mask = width >= 64 ? ~U64( 0 ) : ( U64( 1 ) << width ) - 1;
         return ( ( words[ word ] >> shift ) & mask ) - lo <= hi - lo;
      }
   };
   // Shape: one binary layout the text may stand for (RT:65000:* is both a
   // 2-octet and a 4-octet AS route target); a value matches a shape when
   // every field accepts it.
   struct Shape {
      static constexpr int kMaxFields = 8;
      Field field[ kMaxFields ];
      U8 fields = 0;
      bool accepts( const U64* words ) const noexcept {
         for ( U8 i = 0; i < fields; ++i ) {
            if ( !field[ i ].accepts( words ) ) {
               return false;
            }
         }
         return true;
      }
   };

 private:
   bool matchesWords( const U64* words ) const noexcept {
      for ( const Shape& shape : shapes_ ) {
         if ( shape.accepts( words ) ) {
            return true;
         }
      }
      return false;
   }

   Kind kind_ = kindStandard;
   Kel::String text_;
   std::vector<Shape> shapes_;
};

} // namespace Routing::Bgp
