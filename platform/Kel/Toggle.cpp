#include "Kel/Toggle.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <optional>
#include <string_view>

namespace Kel {

namespace {

constexpr size_t maxFileBytes = 1 << 20;
constexpr int maxDepth = 64;

// A strict JSON reader that only remembers what one top-level key maps to.
// Every method returns false on malformed input.
class ToggleReader {
 public:
   ToggleReader( std::string_view text, std::string_view name )
         : p_( text.data() ), end_( text.data() + text.size() ), name_( name ) {}

   // The last boolean bound to name at the top level, nullopt for another
   // value or none; false for malformed text.
   bool read( std::optional<bool>* found ) {
      std::optional<bool> result;
      skipSpace();
      if ( p_ == end_ || *p_ != '{' || !object( 1, &result ) ) {
         return false;
      }
      skipSpace();
      if ( p_ != end_ ) {
         return false;
      }
      *found = result;
      return true;
   }

 private:
   bool consume( char c ) {
      if ( p_ != end_ && *p_ == c ) {
         ++p_;
         return true;
      }
      return false;
   }

   bool literal( std::string_view word ) {
      if ( size_t( end_ - p_ ) >= word.size() && std::string_view( p_, word.size() ) == word ) {
         p_ += word.size();
         return true;
      }
      return false;
   }

   void skipSpace() {
      while ( p_ != end_ && ( *p_ == ' ' || *p_ == '\t' || *p_ == '\n' || *p_ == '\r' ) ) {
         ++p_;
      }
   }

   bool hex4( unsigned* code ) {
      *code = 0;
      for ( int i = 0; i < 4; ++i, ++p_ ) {
         if ( p_ == end_ ) {
            return false;
         }
         char c = *p_;
         unsigned d = c >= '0' && c <= '9'   ? unsigned( c - '0' )
                      : c >= 'a' && c <= 'f' ? unsigned( c - 'a' + 10 )
                      : c >= 'A' && c <= 'F' ? unsigned( c - 'A' + 10 )
                                             : 16;
         if ( d == 16 ) {
            return false;
         }
         *code = *code << 4 | d;
      }
      return true;
   }

   static void appendUtf8( String* out, unsigned code ) {
      if ( code < 0x80 ) {
         *out += char( code );
      } else if ( code < 0x800 ) {
         *out += char( 0xC0 | code >> 6 );
         *out += char( 0x80 | ( code & 0x3F ) );
      } else if ( code < 0x10000 ) {
         *out += char( 0xE0 | code >> 12 );
         *out += char( 0x80 | ( ( code >> 6 ) & 0x3F ) );
         *out += char( 0x80 | ( code & 0x3F ) );
      } else {
         *out += char( 0xF0 | code >> 18 );
         *out += char( 0x80 | ( ( code >> 12 ) & 0x3F ) );
         *out += char( 0x80 | ( ( code >> 6 ) & 0x3F ) );
         *out += char( 0x80 | ( code & 0x3F ) );
      }
   }

   bool string( String* out ) {
      if ( !consume( '"' ) ) {
         return false;
      }
      while ( p_ != end_ && *p_ != '"' ) {
         char c = *p_++;
         if ( static_cast<unsigned char>( c ) < 0x20 ) {
            return false;
         }
         if ( c != '\\' ) {
            *out += c;
            continue;
         }
         if ( p_ == end_ ) {
            return false;
         }
         switch ( char e = *p_++ ) {
            case '"':
            case '\\':
            case '/':
               *out += e;
               break;
            case 'b':
               *out += '\b';
               break;
            case 'f':
               *out += '\f';
               break;
            case 'n':
               *out += '\n';
               break;
            case 'r':
               *out += '\r';
               break;
            case 't':
               *out += '\t';
               break;
            case 'u': {
               unsigned code;
               if ( !hex4( &code ) ) {
                  return false;
               }
               if ( code >= 0xD800 && code < 0xDC00 ) {
                  unsigned low;
                  if ( !literal( "\\u" ) || !hex4( &low ) || low < 0xDC00 || low >= 0xE000 ) {
                     return false;
                  }
                  code = 0x10000 + ( ( code - 0xD800 ) << 10 ) + ( low - 0xDC00 );
               } else if ( code >= 0xDC00 && code < 0xE000 ) {
                  return false;
               }
               appendUtf8( out, code );
               break;
            }
            default:
               return false;
         }
      }
      return consume( '"' );
   }

   bool number() {
      // -? int frac? exp?, as RFC 8259 has it.
      auto digits = [ this ] {
         const char* start = p_;
         while ( p_ != end_ && *p_ >= '0' && *p_ <= '9' ) {
            ++p_;
         }
         return p_ - start;
      };
      consume( '-' );
      if ( consume( '0' ) ) {
         if ( p_ != end_ && *p_ >= '0' && *p_ <= '9' ) {
            return false;
         }
      } else if ( digits() == 0 ) {
         return false;
      }
      if ( consume( '.' ) && digits() == 0 ) {
         return false;
      }
      if ( consume( 'e' ) || consume( 'E' ) ) {
         if ( !consume( '+' ) ) {
            consume( '-' );
         }
         if ( digits() == 0 ) {
            return false;
         }
      }
      return true;
   }

   // Any value; *boolean is set only for true and false.
   bool value( int depth, std::optional<bool>* boolean ) {
      if ( depth > maxDepth || p_ == end_ ) {
         return false;
      }
      switch ( *p_ ) {
         case 't':
            *boolean = true;
            return literal( "true" );
         case 'f':
            *boolean = false;
            return literal( "false" );
         case 'n':
            return literal( "null" );
         case '"': {
            String ignored;
            return string( &ignored );
         }
         case '{':
            return object( depth, nullptr );
         case '[': {
            ++p_;
            skipSpace();
            if ( consume( ']' ) ) {
               return true;
            }
            do {
               skipSpace();
               std::optional<bool> ignored;
               if ( !value( depth + 1, &ignored ) ) {
                  return false;
               }
               skipSpace();
            } while ( consume( ',' ) );
            return consume( ']' );
         }
         default:
            return number();
      }
   }

   // An object at *p_; when found is given, records what name maps to.
   bool object( int depth, std::optional<bool>* found ) {
      ++p_;
      skipSpace();
      if ( consume( '}' ) ) {
         return true;
      }
      do {
         skipSpace();
         String key;
         if ( !string( &key ) ) {
            return false;
         }
         skipSpace();
         if ( !consume( ':' ) ) {
            return false;
         }
         skipSpace();
         std::optional<bool> boolean;
         if ( !value( depth + 1, &boolean ) ) {
            return false;
         }
         if ( found && key == name_ ) {
            *found = boolean;
         }
         skipSpace();
      } while ( consume( ',' ) );
      return consume( '}' );
   }

   const char* p_;
   const char* end_;
   std::string_view name_;
};

} // namespace

bool getToggleState( const Kel::String& name, const Kel::String& file, bool defaultState ) {
   const char* dir = std::getenv( "OV_TOGGLE_DIR" );
   if ( !dir || !*dir ) {
      return defaultState;
   }
   std::ifstream in( String( dir ) + "/" + file, std::ios::binary );
   if ( !in ) {
      return defaultState;
   }
   String text;
   char chunk[ 4096 ];
   while ( in.read( chunk, sizeof chunk ) || in.gcount() > 0 ) {
      text.append( chunk, size_t( in.gcount() ) );
      if ( text.size() > maxFileBytes ) {
         return defaultState;
      }
   }
   if ( in.bad() ) {
      return defaultState;
   }
   std::optional<bool> found;
   if ( !ToggleReader( text, name ).read( &found ) || !found ) {
      return defaultState;
   }
   return *found;
}

} // namespace Kel
