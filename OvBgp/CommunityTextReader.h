// OvBgp/CommunityTextReader.h: the tokeniser under every community text
// parser: it walks one text left to right and reads decimal numbers against a
// bound, AS numbers (plain or asdot), IPv4 and IPv6 addresses and literals.
// A fault throws Kel::ParseException whose message quotes the whole text and
// says what is wrong ("standard community '65536:1': 65536 is beyond 65535").
//
//   CommunityTextReader in( "65000:100", "standard community", "community" );
//   U64 high = in.number( 0xFFFF ); in.expect( ":" ); U64 low = in.number( 0xFFFF );
#pragma once

#include <string_view>

#include "Kel/String.h"
#include "Kel/Types.h"
#include "Onet/Ip6Addr.h"
#include "Onet/IpAddr.h"

namespace Routing::Bgp {

class CommunityTextReader {
 public:
   // kind names the text in messages ("large community list"); attribute is
   // what Kel::ParseException::attribute() reports ("largeCommList").
   CommunityTextReader( std::string_view text, const char* kind, const char* attribute ) noexcept
         : text_( text ), kind_( kind ), attribute_( attribute ) {}

   std::string_view text() const noexcept { return text_; }
   size_t offset() const noexcept { return pos_; }
   void offsetIs( size_t offset ) noexcept { pos_ = offset; }
   bool atEnd() const noexcept { return pos_ == text_.size(); }
   // atBreak(): at the end or at white space, where a value may end.
   bool atBreak() const noexcept { return atEnd() || isSpace( text_[ pos_ ] ); }
   // peek(): the next character, NUL at the end.
   char peek() const noexcept { return atEnd() ? '\0' : text_[ pos_ ]; }
   std::string_view rest() const noexcept { return text_.substr( pos_ ); }
   void skipSpaces() noexcept;

   // take(): consumes literal when the text continues with it.
   bool take( std::string_view literal ) noexcept;
   // expect(): consumes literal or fails "expected ':' at offset 5".
   void expect( std::string_view literal );
   // expectEnd(): fails unless only white space is left.
   void expectEnd();
   // word(): the characters up to the next white space (maybe none).
   std::string_view word() noexcept;
   // span(): the longest run of characters that keep accepts.
   template<class Keep>
   std::string_view span( Keep&& keep ) noexcept {
      const size_t begin = pos_;
      while ( !atEnd() && keep( text_[ pos_ ] ) ) {
         ++pos_;
      }
      return text_.substr( begin, pos_ - begin );
   }

   // number(): decimal digits up to max ("65536 is beyond 65535").
   U64 number( U64 max );
   // asNumber(): a 32-bit AS number, plain or asdot ("65000.100"); *dotted
   // says which form it had.
   U32 asNumber( bool* dotted = nullptr );
   Onet::IpAddr ipv4Address();
   // ip6AddressAndLocal(): "2001:db8::1:100": an IPv6 address, ':' and a
   // decimal number up to maxLocal; the last ':' of the run separates them.
   Onet::Ip6Addr ip6AddressAndLocal( U64 maxLocal, U64* local );

   // fail(): throws with fault; failAt() adds " at offset N" (of the text).
   [[noreturn]] void fail( std::string_view fault ) const;
   [[noreturn]] void failAt( std::string_view fault, size_t offset ) const;
   // failExpected(): "expected WHAT at offset N, found 'x'", or "... at the
   // end".
   [[noreturn]] void failExpected( std::string_view what ) const;

   static bool isSpace( char c ) noexcept { return c == ' ' || c == '\t' || c == '\n'; }
   static bool isDigit( char c ) noexcept { return c >= '0' && c <= '9'; }

 private:
   std::string_view text_;
   const char* kind_;
   const char* attribute_;
   size_t pos_ = 0;
};

} // namespace Routing::Bgp
