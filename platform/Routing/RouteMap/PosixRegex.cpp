#include "Routing/RouteMap/PosixRegex.h"

#include "Kel/Exception.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace Routing::RouteMap {

namespace {

// Beyond this many expanded nodes a pattern is refused. regcomp copies the
// operand of '+' and of a bounded repeat once per repetition, so stacked
// repeats multiply ("a++++++++++++++++++++" is millions of nodes), and its
// closures over empty-matching copies grow with the square of their number
// ("(a?|b?){4096}" takes over a gigabyte). At this bound the worst case
// stays within tens of megabytes; policy patterns are a few dozen nodes.
constexpr size_t kMaxExpandedNodes = 2048;

// expandedNodes(): about the number of nodes regcomp builds for pattern
// (one per operand, one per concatenation, alternation and repeat, a copy
// of the operand per repetition), saturating just past kMaxExpandedNodes.
size_t expandedNodes( const std::string& pattern ) {
   constexpr size_t cap = kMaxExpandedNodes + 1;
   struct Level {
      size_t total = 0; // nodes of this group so far
      size_t last = 0;  // nodes of its last operand, what a repeat copies
   };
   std::vector<Level> levels( 1 );
   auto operand = [ & ]( size_t nodes ) {
      Level& level = levels.back();
      level.last = std::min( nodes, cap );
      level.total = std::min( level.total + level.last + 1, cap );
   };
   // repeat(): copies of the last operand, each with its repeat node.
   auto repeat = [ & ]( size_t copies ) {
      Level& level = levels.back();
      const size_t grown = std::min( ( level.last + 1 ) * copies, cap );
      level.total = std::min( level.total - std::min( level.total, level.last ) + grown, cap );
      level.last = grown;
   };
   const size_t n = pattern.size();
   for ( size_t i = 0; i < n; ++i ) {
      switch ( pattern[ i ] ) {
         case '\\':
            ++i;
            operand( 1 );
            break;
         case '[': {
            // A bracket expression is one node: skip to the first ']' that
            // can close it (one of a class name only adds a node or two).
            size_t j = i + 1;
            j += j < n && pattern[ j ] == '^';
            j += j < n && pattern[ j ] == ']';
            i = std::min( pattern.find( ']', j ), n );
            operand( 1 );
            break;
         }
         case '(':
            levels.emplace_back();
            break;
         case ')':
            if ( levels.size() > 1 ) {
               const size_t group = levels.back().total + 2;
               levels.pop_back();
               operand( group );
            } else {
               operand( 1 );
            }
            break;
         case '|':
            // The alternative node; a repeat right after it has no operand.
            operand( 1 );
            levels.back().last = 0;
            break;
         case '*':
         case '?':
            repeat( 1 );
            break;
         case '+':
            repeat( 2 );
            break;
         case '{': {
            // {m}, {m,}, {m,n} or {,n}: up to max(m, n) copies, m + 1 unbounded.
            size_t j = i + 1, low = 0, high = 0;
            bool comma = false, bounded = false;
            for ( ; j < n && pattern[ j ] != '}'; ++j ) {
               const char c = pattern[ j ];
               if ( c >= '0' && c <= '9' ) {
                  size_t& bound = comma ? high : low;
                  bound = std::min<size_t>( bound * 10 + size_t( c - '0' ), cap );
                  bounded |= comma;
               } else if ( c == ',' && !comma ) {
                  comma = true;
               } else {
                  break;
               }
            }
            if ( j < n && pattern[ j ] == '}' ) {
               repeat( std::max<size_t>( { low + ( comma && !bounded ), high, 1 } ) );
               i = j;
            } else {
               operand( 1 );
            }
            break;
         }
         default:
            operand( 1 );
            break;
      }
   }
   size_t total = 0;
   for ( const Level& level : levels ) {
      total = std::min( total + level.total, cap );
   }
   return total;
}

} // namespace

PosixRegex::PosixRegex( const Kel::String& pattern ) : pattern_( pattern ) {
   if ( expandedNodes( pattern_ ) > kMaxExpandedNodes ) {
      throw Kel::ParseException( "pattern", "invalid regular expression '" + pattern_ +
                                                  "': its repeats expand it past " +
                                                  std::to_string( kMaxExpandedNodes ) + " nodes" );
   }
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
