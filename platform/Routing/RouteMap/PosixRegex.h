// Routing/RouteMap/PosixRegex.h: a compiled POSIX extended regular
// expression, matched for yes or no (no sub-match capture). A bad pattern is
// reported when the object is built, never at match time. One object may be
// matched from several threads at once: regexec does not modify it.
//
//   Routing::RouteMap::PosixRegex re( "^65000:[0-9]+$" );
//   bool hit = re.execute( "65000:120" ) == 0;
#pragma once

#include "Kel/String.h"

#include <regex.h>

namespace Routing::RouteMap {

// PosixRegex(): owns one regex_t; movable, not copyable.
class PosixRegex {
 public:
   // Compiles with REG_EXTENDED | REG_NOSUB; a bad pattern throws
   // Kel::ParseException with attribute "pattern" and regcomp's reason.
   explicit PosixRegex( const Kel::String& pattern );
   PosixRegex( PosixRegex&& other ) noexcept;
   PosixRegex& operator=( PosixRegex&& other ) noexcept;
   PosixRegex( const PosixRegex& ) = delete;
   PosixRegex& operator=( const PosixRegex& ) = delete;
   ~PosixRegex();

   // execute(): regexec's result: 0 on a match, REG_NOMATCH otherwise. A
   // moved-from object matches nothing.
   int execute( const char* text ) const;

   // pattern(): the text it was built from.
   const Kel::String& pattern() const { return pattern_; }

 private:
   Kel::String pattern_;
   regex_t regex_;
   bool compiled_ = false;
};

} // namespace Routing::RouteMap
