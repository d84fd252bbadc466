// Kel/Trace.h: developer trace lines, switched on per category and level from
// the environment, written to stderr. A disabled trace point costs one load
// and one branch and evaluates none of its arguments.
//
//   static Kel::TraceCategory traceCommList( "BgpCommunityList" );
//   OVTRACE( traceCommList, 8, "interned %zu values in %p", count, ( void* ) list );
//
// Output: one line per trace point, written with a single call so that lines
// from different threads never interleave:
//   BgpCommunityList/8 interned 3 values in 0x5581...
//
// Levels: 0 to 9, by convention 0 for rare, important events up to 9 for the
// most detailed (per value, per octet). Each level is switched on by itself;
// enabling 8 does not enable 0 to 7.
//
// The OVTRACE environment variable (commas separate items; spaces around an
// item are ignored; names are case-sensitive):
//   setting := item ( ',' item )*
//   item    := name '/' levels    those levels of one category
//            | name               every level of it
//            | levels             more levels of the category named last
//   levels  := digit | digit '-' digit | '*'     ('*' is 0-9)
//   name    := a category name, not starting with a digit; '*' means every
//             category
// A bare "*" after a named item is levels ("BgpCommunityList/0,*"); as the
// first item it is the name, so "*" alone enables everything.
// Examples:
//   OVTRACE=BgpCommunityList/8,9          levels 8 and 9 of BgpCommunityList
//   OVTRACE=BgpCommunityList/*,Other/1    all of BgpCommunityList, level 1 of Other
//   OVTRACE=*/0-2,ExtCommParse/9          levels 0 to 2 everywhere, and 9 of ExtCommParse
// An item that fits none of these (an empty item, "x/", "7-3", a level list
// with no name before it) is reported once on stderr and skipped; the rest
// still apply.
//
// When: each category reads OVTRACE the first time one of its levels is
// asked for, and keeps the answer; changing the variable later has no effect
// except through TraceCategory::reloadForTesting().
#pragma once

#include "Kel/Types.h"

#include <atomic>

namespace Kel {

// TraceCategory(): one named category. Usually a static object; it must
// outlive every trace point that names it. Thread-safe throughout.
class TraceCategory {
 public:
   static constexpr int maxLevel = 9;

   explicit TraceCategory( const char* name );
   ~TraceCategory();
   TraceCategory( const TraceCategory& ) = delete;
   TraceCategory& operator=( const TraceCategory& ) = delete;

   const char* name() const { return name_; }

   // enabled(): whether level (0-9) is on; out-of-range levels never are.
   bool enabled( int level ) const noexcept {
      if ( unsigned( level ) > unsigned( maxLevel ) ) {
         return false;
      }
      U32 mask = mask_.load( std::memory_order_relaxed );
      if ( __builtin_expect( ( mask & ( 1u << level ) ) == 0, 1 ) ) {
         return false;
      }
      return ( mask & unresolved ) == 0 || resolve( level );
   }

   // print(): writes "<name>/<level> <text>\n" to stderr whether or not the
   // level is on; OVTRACE() is the usual way in.
   void print( int level, const char* fmt, ... ) const __attribute__( ( format( printf, 3, 4 ) ) );

   // reloadForTesting(): every category reads OVTRACE afresh at its next use.
   static void reloadForTesting();

 private:
   // Until resolved the mask has every level on plus this bit, so the first
   // query of any level takes the slow path.
   static constexpr U32 unresolved = 1u << 31;
   static constexpr U32 allLevels = ( 1u << ( maxLevel + 1 ) ) - 1;

   bool resolve( int level ) const noexcept;

   const char* name_;
   mutable std::atomic<U32> mask_{ unresolved | allLevels };
   // Registration, so reloadForTesting() can reach every live category.
   TraceCategory* next_ = nullptr;
   TraceCategory* prev_ = nullptr;
};

} // namespace Kel

// OVTRACE( category, level, fmt, ... ): a printf-style trace point; when the
// level is off, nothing after the level is evaluated.
#define OVTRACE( category, level, ... )                             \
   do {                                                             \
      if ( __builtin_expect( ( category ).enabled( level ), 0 ) ) { \
         ( category ).print( ( level ), __VA_ARGS__ );              \
      }                                                             \
   } while ( 0 )
