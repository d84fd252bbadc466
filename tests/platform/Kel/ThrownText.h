// tests/platform/Kel/ThrownText.h: what a call throws, as one text that a
// table of expected messages can hold.
//
//   EXPECT_EQ( "address: invalid IPv4 address '': expected ...",
//              thrownText<Kel::ParseException>( [] { Onet::IpAddr::parse( "" ); } ) );
#pragma once

#include "Kel/Exception.h"

#include <string>
#include <type_traits>

// thrownText(): the what() of the E that fn throws, led by "attribute: "
// for a parse error; "<nothing thrown>" when fn returns.
template<class E, class Fn>
std::string thrownText( Fn&& fn ) {
   try {
      fn();
   } catch ( const E& e ) {
      if constexpr ( std::is_base_of_v<Kel::ParseException, E> ) {
         return e.attribute() + ": " + e.what();
      }
      return e.what();
   }
   return "<nothing thrown>";
}
