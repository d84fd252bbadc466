// tests/OvBgp/TestSupport.h: small helpers the value and list tests share:
// octets as hex text and back, death-test patterns, a run on four threads and
// the TSan load factor; thrownText() comes with them.
//
//   EXPECT_EQ( hex( list->serialize() ), "c00800" );
//   EXPECT_DEATH( f(), assertionPattern( "commVectorSorted()", "OvBgp/CommList" ) );
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "Kel/Exception.h"
#include "tests/platform/Kel/ThrownText.h"

namespace Routing::Bgp::Testing {

// hex(): octets as lower-case hex digits, no separators.
inline std::string hex( const std::string& octets ) {
   std::string text;
   for ( unsigned char c : octets ) {
      text += "0123456789abcdef"[ c >> 4 ];
      text += "0123456789abcdef"[ c & 15 ];
   }
   return text;
}

// octets(): raw octets from hex digits.
inline std::string octets( const std::string& digits ) {
   std::string out;
   for ( size_t i = 0; i + 1 < digits.size(); i += 2 ) {
      out += char( std::stoi( digits.substr( i, 2 ), nullptr, 16 ) );
   }
   return out;
}

// parseFailure(): the attribute a parse error from fn names, or "<parsed>".
template<class Fn>
std::string parseFailure( Fn fn ) {
   try {
      fn();
   } catch ( const Kel::ParseException& e ) {
      return e.attribute();
   }
   return "<parsed>";
}

// assertionPattern(): the whole assertion line as a death-test pattern.
inline std::string assertionPattern( const std::string& text, const std::string& source ) {
   std::string out;
   for ( char ch : "assertion failed: " + text + " (" + source + ")" ) {
      if ( std::string( ".[]{}()\\*+?^$|" ).find( ch ) != std::string::npos ) {
         out += '\\';
      }
      out += ch;
   }
   return out;
}

// onFourThreads(): runs work( t ) for t = 0..3 on four threads and joins them.
template<class Work>
void onFourThreads( Work work ) {
   std::vector<std::thread> threads;
   for ( int t = 0; t < 4; ++t ) {
      threads.emplace_back( work, t );
   }
   for ( auto& thread : threads ) {
      thread.join();
   }
}

// kThreadLoad: operation counts for the four-thread tests are divided by
// this, so the ThreadSanitizer build stays quick.
#if defined( __SANITIZE_THREAD__ )
constexpr int kThreadLoad = 5;
#elif defined( __has_feature )
#if __has_feature( thread_sanitizer )
constexpr int kThreadLoad = 5;
#else
constexpr int kThreadLoad = 1;
#endif
#else
constexpr int kThreadLoad = 1;
#endif

} // namespace Routing::Bgp::Testing
