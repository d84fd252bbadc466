// tests/OvBgp/TestSupport.h: small helpers the value and list tests share:
// octets as hex text and back, the one-at-a-time hash written out, what
// a call throws,
// death-test patterns, the TSan load factor and lists interned from four
// threads at once.
//
//   EXPECT_EQ( hex( list->serialize() ), "c00800" );
//   EXPECT_DEATH( f(), assertionPattern( "commVectorSorted()", "OvBgp/CommList" ) );
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <barrier>
#include <cstdint>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "Kel/Exception.h"

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

// oneAtATime(): the one-at-a-time hash over octets, as the values and
// lists define their hash.
inline std::uint32_t oneAtATime( const std::vector<std::uint8_t>& octets ) {
   std::uint32_t h = 0;
   for ( std::uint8_t o : octets ) {
      h += o;
      h += h << 10;
      h ^= h >> 6;
   }
   h += h << 3;
   h ^= h >> 11;
   return h + ( h << 15 );
}

// messageOf(): the text of the E that fn throws, or "<nothing thrown>".
template<class E, class Fn>
std::string messageOf( Fn fn ) {
   try {
      fn();
   } catch ( const E& e ) {
      return e.what();
   }
   return "<nothing thrown>";
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

// internFromFourThreads(): four threads intern lists of overlapping
// contents in shuffled orders with one member twice, dropping most at once
// (racing each other's releases) and checking their members, and hold one
// of each per round, which must then be the same object in every thread.
// The list table is empty at the end.
template<class Table, class Value, class Build>
void internFromFourThreads( const Table& table, const std::vector<std::vector<Value>>& contents,
                            Build build ) {
   ASSERT_TRUE( table->dedupTable()->threadSafe() );
   using Held = decltype( build( contents[ 0 ] )->dedup( table.ptr() ) );
   std::vector<std::vector<Held>> held( 4, std::vector<Held>( contents.size() ) );
   std::barrier sync( 4 );
   std::atomic<int> mismatches{ 0 };
   onFourThreads( [ & ]( int t ) {
      std::mt19937 rng( t );
      for ( int round = 0; round < 40 / kThreadLoad; ++round ) {
         for ( int i = 0; i < 200; ++i ) {
            std::vector<Value> v = contents[ rng() % contents.size() ];
            v.push_back( v[ rng() % v.size() ] );
            std::shuffle( v.begin(), v.end(), rng );
            auto list = build( v )->dedup( table.ptr() );
            bool right = list->comms() == v.size() - 1;
            for ( const Value& value : v ) {
               right = right && list->comm( value );
            }
            mismatches += !right;
         }
         for ( size_t k = 0; k < contents.size(); ++k ) {
            std::vector<Value> v = contents[ k ];
            std::shuffle( v.begin(), v.end(), rng );
            held[ t ][ k ] = build( v )->dedup( table.ptr() );
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
   EXPECT_EQ( 0u, table->dedupTable()->size() );
}

} // namespace Routing::Bgp::Testing
