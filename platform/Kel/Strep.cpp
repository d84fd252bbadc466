#include "Kel/Strep.h"

#include <charconv>
#include <limits>

namespace Kel {

namespace {

String quoted( std::string_view text ) {
   String out = "'";
   out.append( text.substr( 0, 40 ) );
   if ( text.size() > 40 ) {
      out += "...";
   }
   out += "'";
   return out;
}

template<class T>
void parseInteger( const char* begin, const char* end, T* value, const char* kind ) {
   T result{};
   auto [ ptr, ec ] = std::from_chars( begin, end, result );
   if ( begin == end || ec != std::errc() || ptr != end ) {
      throw ParseException( "value", String( "expected " ) + kind + ", found " +
                                           quoted( std::string_view( begin, end - begin ) ) );
   }
   *value = result;
}

} // namespace

void sequenceToValue( const char* begin, const char* end, bool* value ) {
   std::string_view text( begin, end - begin );
   if ( text == "True" ) {
      *value = true;
   } else if ( text == "False" ) {
      *value = false;
   } else {
      throw ParseException( "value", "expected True or False, found " + quoted( text ) );
   }
}

void sequenceToValue( const char* b, const char* e, U8* v ) { parseInteger( b, e, v, "U8" ); }
void sequenceToValue( const char* b, const char* e, U16* v ) { parseInteger( b, e, v, "U16" ); }
void sequenceToValue( const char* b, const char* e, U32* v ) { parseInteger( b, e, v, "U32" ); }
void sequenceToValue( const char* b, const char* e, U64* v ) { parseInteger( b, e, v, "U64" ); }
void sequenceToValue( const char* b, const char* e, S64* v ) { parseInteger( b, e, v, "S64" ); }

StrepWriter::StrepWriter( std::string_view qualifiedName ) {
   text_ = "Value('";
   text_.append( qualifiedName );
   text_ += "', ** {";
}

StrepWriter& StrepWriter::attr( std::string_view name, std::string_view text ) {
   if ( !first_ ) {
      text_ += ", ";
   }
   first_ = false;
   text_ += '\'';
   text_.append( name );
   text_ += "': ";
   text_.append( text );
   return *this;
}

String StrepWriter::str() const { return text_ + "})"; }

void StrepReader::literal( std::string_view text, std::string_view attribute ) {
   std::string_view rest( pos_, end_ - pos_ );
   if ( rest.substr( 0, text.size() ) != text ) {
      throw ParseException( String( attribute ),
                            "expected " + quoted( text ) + " at " + quoted( rest ) );
   }
   pos_ += text.size();
}

void StrepReader::open( std::string_view qualifiedName ) {
   String head = "Value('";
   head.append( qualifiedName );
   head += "', ** {";
   literal( head, "Value" );
   firstField_ = true;
}

std::string_view StrepReader::fieldText( std::string_view name ) {
   if ( !firstField_ ) {
      literal( ", ", name );
   }
   firstField_ = false;
   String key = "'";
   key.append( name );
   key += "': ";
   literal( key, name );
   const char* start = pos_;
   int depth = 0;
   char quote = 0;
   for ( const char* p = pos_; p < end_; ++p ) {
      char c = *p;
      if ( quote ) {
         if ( c == quote ) {
            quote = 0;
         }
         continue;
      }
      if ( c == '\'' && depth > 0 ) {
         quote = c;
      } else if ( c == '(' || c == '{' || c == '[' ) {
         ++depth;
      } else if ( c == ')' || c == ']' ) {
         --depth;
      } else if ( c == '}' ) {
         if ( depth == 0 ) {
            pos_ = p;
            return std::string_view( start, p - start );
         }
         --depth;
      } else if ( depth == 0 && c == ',' && p + 2 < end_ && p[ 1 ] == ' ' && p[ 2 ] == '\'' ) {
         pos_ = p;
         return std::string_view( start, p - start );
      }
   }
   throw ParseException( String( name ), "unterminated value for '" + String( name ) + "'" );
}

void StrepReader::close() {
   literal( "})", "Value" );
   if ( pos_ != end_ ) {
      throw ParseException( "Value", "unexpected text after the value: " +
                                           quoted( std::string_view( pos_, end_ - pos_ ) ) );
   }
}

} // namespace Kel
