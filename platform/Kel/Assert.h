// Kel/Assert.h: broken invariants end the process with the condition's
// documented text. Assertions stay on in every build type: an interned object
// in a bad state is worse than a crash with a precise message.
//
//   KEL_ASSERT_MSG( commVectorSorted(), "commVectorSorted()" );
//   // on failure: "assertion failed: commVectorSorted() (OvBgp/OvBgpCommunityList)"
#pragma once

namespace Kel {

// assertFailed(): writes "assertion failed: <text> (<source>)" to stderr and
// aborts. <source> is the file path relative to the tree, without extension.
[[noreturn]] void assertFailed( const char* text, const char* file ) noexcept;

} // namespace Kel

#define KEL_ASSERT_MSG( cond, text )            \
   do {                                         \
      if ( __builtin_expect( !( cond ), 0 ) ) { \
         ::Kel::assertFailed( text, __FILE__ ); \
      }                                         \
   } while ( 0 )

// KEL_ASSERT_SOURCE_MSG: the same, for an invariant documented under another
// module's name (a shared helper asserting on its callers' behalf).
#define KEL_ASSERT_SOURCE_MSG( cond, text, source ) \
   do {                                             \
      if ( __builtin_expect( !( cond ), 0 ) ) {     \
         ::Kel::assertFailed( text, source );       \
      }                                             \
   } while ( 0 )
