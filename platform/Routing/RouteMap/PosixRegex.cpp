#include "Routing/RouteMap/PosixRegex.h"

#include "Kel/Exception.h"

#include <utility>

namespace Routing::RouteMap {

PosixRegex::PosixRegex( const Kel::String& pattern ) : pattern_( pattern ) {
   int rc = regcomp( &regex_, pattern_.c_str(), REG_EXTENDED | REG_NOSUB );
   if ( rc != 0 ) {
      char reason[ 256 ];
      regerror( rc, &regex_, reason, sizeof reason );
      // regcomp leaves nothing to free when it fails.
      throw Kel::ParseException( "pattern",
                                 "invalid regular expression '" + pattern_ + "': " + reason );
   }
   compiled_ = true;
}

// regex_t holds no pointers into itself, so moving its bytes moves it.
PosixRegex::PosixRegex( PosixRegex&& other ) noexcept
      : pattern_( std::move( other.pattern_ ) ),
        regex_( other.regex_ ),
        compiled_( std::exchange( other.compiled_, false ) ) {}

PosixRegex& PosixRegex::operator=( PosixRegex&& other ) noexcept {
   if ( this != &other ) {
      if ( compiled_ ) {
         regfree( &regex_ );
      }
      pattern_ = std::move( other.pattern_ );
      regex_ = other.regex_;
      compiled_ = std::exchange( other.compiled_, false );
   }
   return *this;
}

PosixRegex::~PosixRegex() {
   if ( compiled_ ) {
      regfree( &regex_ );
   }
}

int PosixRegex::execute( const char* text ) const {
   if ( !compiled_ ) {
      return REG_NOMATCH;
   }
   return regexec( &regex_, text, 0, nullptr, 0 );
}

} // namespace Routing::RouteMap
