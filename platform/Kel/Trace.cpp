#include "Kel/Trace.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>
#include <string_view>

namespace Kel {

namespace {

// Constant-initialised, so categories constructed by other static
// initialisers register safely.
constinit std::mutex registryMutex;
constinit TraceCategory* registryHead = nullptr;
// Malformed items are reported by the first category to resolve, once.
constinit std::atomic<bool> reported{ false };

std::string_view trim( std::string_view s ) {
   while ( !s.empty() && ( s.front() == ' ' || s.front() == '\t' ) ) {
      s.remove_prefix( 1 );
   }
   while ( !s.empty() && ( s.back() == ' ' || s.back() == '\t' ) ) {
      s.remove_suffix( 1 );
   }
   return s;
}

// The level bits of "d", "d-d" or "*"; 0 when it is none of those.
U32 parseLevels( std::string_view s ) {
   auto digit = []( char c ) {
      return c >= '0' && c <= '9';
   };
   if ( s == "*" ) {
      return ( 1u << 10 ) - 1;
   }
   if ( s.size() == 1 && digit( s[ 0 ] ) ) {
      return 1u << ( s[ 0 ] - '0' );
   }
   if ( s.size() == 3 && digit( s[ 0 ] ) && s[ 1 ] == '-' && digit( s[ 2 ] ) && s[ 0 ] <= s[ 2 ] ) {
      U32 bits = 0;
      for ( int l = s[ 0 ] - '0'; l <= s[ 2 ] - '0'; ++l ) {
         bits |= 1u << l;
      }
      return bits;
   }
   return 0;
}

void reportItem( std::string_view item ) {
   std::string line = "OVTRACE: ignoring '" + std::string( item ) + "'\n";
   std::fwrite( line.data(), 1, line.size(), stderr );
}

// The levels setting enables for category, walking the grammar in Trace.h.
U32 levelsFor( std::string_view setting, std::string_view category, bool report ) {
   U32 mask = 0;
   bool haveName = false;
   bool nameMatches = false;
   while ( true ) {
      size_t comma = setting.find( ',' );
      std::string_view item = trim( setting.substr( 0, comma ) );
      bool bareLevels = haveName && ( item == "*" ||
                                      ( !item.empty() && item[ 0 ] >= '0' && item[ 0 ] <= '9' ) );
      if ( bareLevels ) {
         U32 bits = parseLevels( item );
         if ( bits == 0 && report ) {
            reportItem( item );
         }
         mask |= nameMatches ? bits : 0;
      } else {
         size_t slash = item.find( '/' );
         std::string_view name = item.substr( 0, slash );
         U32 bits = slash == std::string_view::npos ? parseLevels( "*" )
                                                    : parseLevels( item.substr( slash + 1 ) );
         if ( name.empty() || ( name[ 0 ] >= '0' && name[ 0 ] <= '9' ) || bits == 0 ) {
            if ( report ) {
               reportItem( item );
            }
            haveName = false;
         } else {
            haveName = true;
            nameMatches = name == "*" || name == category;
            mask |= nameMatches ? bits : 0;
         }
      }
      if ( comma == std::string_view::npos ) {
         return mask;
      }
      setting.remove_prefix( comma + 1 );
   }
}

} // namespace

TraceCategory::TraceCategory( const char* name ) : name_( name ) {
   std::lock_guard<std::mutex> lock( registryMutex );
   next_ = registryHead;
   if ( next_ ) {
      next_->prev_ = this;
   }
   registryHead = this;
}

TraceCategory::~TraceCategory() {
   std::lock_guard<std::mutex> lock( registryMutex );
   ( prev_ ? prev_->next_ : registryHead ) = next_;
   if ( next_ ) {
      next_->prev_ = prev_;
   }
}

bool TraceCategory::resolve( int level ) const noexcept {
   // Racing first uses compute the same mask; storing it twice is harmless.
   const char* setting = std::getenv( "OVTRACE" );
   U32 mask = 0;
   if ( setting && *setting ) {
      bool report = !reported.exchange( true );
      mask = levelsFor( setting, name_, report );
   }
   mask_.store( mask, std::memory_order_relaxed );
   return ( mask & ( 1u << level ) ) != 0;
}

void TraceCategory::print( int level, const char* fmt, ... ) const {
   // Tracing is on here, so one allocation for the line is fine.
   std::string line = std::string( name_ ) + "/" + std::to_string( level ) + " ";
   size_t prefix = line.size();
   va_list args;
   va_start( args, fmt );
   va_list again;
   va_copy( again, args );
   char stackBuf[ 512 ];
   int body = std::vsnprintf( stackBuf, sizeof stackBuf, fmt, args );
   va_end( args );
   if ( body >= 0 && size_t( body ) < sizeof stackBuf ) {
      line.append( stackBuf, size_t( body ) );
   } else if ( body >= 0 ) {
      line.resize( prefix + size_t( body ) + 1 );
      std::vsnprintf( line.data() + prefix, size_t( body ) + 1, fmt, again );
      line.resize( prefix + size_t( body ) );
   }
   va_end( again );
   line += '\n';
   // One call, so lines from different threads do not interleave.
   std::fwrite( line.data(), 1, line.size(), stderr );
}

void TraceCategory::reloadForTesting() {
   std::lock_guard<std::mutex> lock( registryMutex );
   reported.store( false );
   for ( TraceCategory* c = registryHead; c; c = c->next_ ) {
      c->mask_.store( unresolved | allLevels );
   }
}

} // namespace Kel
