#include "Routing/RouteMap/PosixRegex.h"

#include "Kel/Exception.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Routing::RouteMap {

namespace {

// Two kinds of pattern make regcomp run away, and are refused before it
// sees them. It copies the operand of '+' and of a bounded repeat once per
// repetition, so stacked repeats multiply ("a++++++++++++++++++++" is
// millions of nodes) and its closures over copies that match nothing grow
// with the square of their number ("(a?|b?){4096}" takes a gigabyte): past
// kMaxExpandedNodes nodes a pattern is refused, which bounds the worst case
// to tens of megabytes. And after an anchor, '+' over operands that can
// match nothing takes time exponential in their number ("^((((a*)+)+)+)+"
// takes seconds, one more level minutes): such a '+' (or {m,} with m > 0)
// is refused; '*' says the same thing. Policy patterns are a few dozen
// nodes and never need either.
constexpr size_t kMaxExpandedNodes = 2048;

// costProblem(): why regcomp would run away on pattern, or "" if it would
// not. Nodes are counted about as regcomp builds them: one per operand, one
// per concatenation, alternation and repeat, a copy of the operand per
// repetition; the count saturates just past kMaxExpandedNodes.
std::string costProblem( const std::string& pattern ) {
   constexpr size_t cap = kMaxExpandedNodes + 1;
   struct Level {
      size_t total = 0;        // nodes of this group so far
      size_t last = 0;         // nodes of its last operand, what a repeat copies
      bool lastEmpty = true;   // the last operand can match the empty string
      bool branchEmpty = true; // so can the operands of this branch before it
      bool anyBranchEmpty = false;
   };
   std::vector<Level> levels( 1 );
   auto operand = [ & ]( size_t nodes, bool matchesEmpty ) {
      Level& level = levels.back();
      level.branchEmpty = level.branchEmpty && level.lastEmpty;
      level.last = std::min( nodes, cap );
      level.lastEmpty = matchesEmpty;
      level.total = std::min( level.total + level.last + 1, cap );
   };
   // repeat(): copies of the last operand, each with its repeat node.
   auto repeat = [ & ]( size_t copies, size_t least ) {
      Level& level = levels.back();
      if ( level.last == 0 ) {
         operand( 1, false ); // nothing to repeat: regcomp takes it literally
         return;
      }
      const size_t grown = std::min( ( level.last + 1 ) * copies, cap );
      level.total = std::min( level.total - level.last + grown, cap );
      level.last = grown;
      level.lastEmpty = level.lastEmpty || least == 0;
   };
   std::string problem;
   const size_t n = pattern.size();
   for ( size_t i = 0; i < n && problem.empty(); ++i ) {
      switch ( pattern[ i ] ) {
         case '\\':
            // \b \B \< \> \` \' are anchors; any other escape is one character.
            ++i;
            operand( 1, i < n && std::string_view( "bB<>`'" ).find( pattern[ i ] ) !=
                                       std::string_view::npos );
            break;
         case '^':
         case '$':
            operand( 1, true );
            break;
         case '[': {
            // A bracket expression is one node: skip to the first ']' that
            // can close it (one of a class name only adds a node or two).
            size_t j = i + 1;
            j += j < n && pattern[ j ] == '^';
            j += j < n && pattern[ j ] == ']';
            i = std::min( pattern.find( ']', j ), n );
            operand( 1, false );
            break;
         }
         case '(':
            levels.emplace_back();
            break;
         case ')':
            if ( levels.size() > 1 ) {
               const Level group = levels.back();
               levels.pop_back();
               operand( group.total + 2,
                        group.anyBranchEmpty || ( group.branchEmpty && group.lastEmpty ) );
            } else {
               operand( 1, false );
            }
            break;
         case '|': {
            Level& level = levels.back();
            level.anyBranchEmpty = level.anyBranchEmpty || ( level.branchEmpty && level.lastEmpty );
            level.total = std::min( level.total + 1, cap );
            level.last = 0;
            level.lastEmpty = level.branchEmpty = true;
            break;
         }
         case '*':
         case '?':
            repeat( 1, 0 );
            break;
         case '+':
            if ( levels.back().last != 0 && levels.back().lastEmpty ) {
               problem = "'+' repeats an operand that can match nothing; use '*'";
            }
            repeat( 2, 1 );
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
            if ( j == n || pattern[ j ] != '}' ) {
               operand( 1, false );
               break;
            }
            const bool unbounded = comma && !bounded;
            if ( unbounded && low > 0 && levels.back().last != 0 && levels.back().lastEmpty ) {
               problem = "{m,} repeats an operand that can match nothing; use '*'";
            }
            repeat( std::max<size_t>( { low + unbounded, high, 1 } ), low );
            i = j;
            break;
         }
         default:
            operand( 1, false );
            break;
      }
   }
   if ( !problem.empty() ) {
      return problem;
   }
   size_t total = 0;
   for ( const Level& level : levels ) {
      total = std::min( total + level.total, cap );
   }
   if ( total > kMaxExpandedNodes ) {
      return "its repeats expand it past " + std::to_string( kMaxExpandedNodes ) + " nodes";
   }
   return {};
}

} // namespace

PosixRegex::PosixRegex( const Kel::String& pattern ) : pattern_( pattern ) {
   if ( const std::string problem = costProblem( pattern_ ); !problem.empty() ) {
      throw Kel::ParseException( "pattern",
                                 "invalid regular expression '" + pattern_ + "': " + problem );
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
