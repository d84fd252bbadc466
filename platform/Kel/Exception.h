// Kel/Exception.h: the exceptions the framework raises for bad input. Each
// derives from the standard exception a caller would catch anyway, so code
// that knows nothing of Kel still handles them.
//
//   throw Kel::RangeException( "BgpDenseU32Attr::valueBool" );
//   catch ( const Kel::ParseException& e ) { report( e.attribute(), e.what() ); }
#pragma once

#include <stdexcept>
#include <string>

namespace Kel {

// RangeException: a value outside what an operation accepts; what() is the
// operation's fixed message, character for character.
class RangeException : public std::out_of_range {
 public:
   explicit RangeException( const std::string& message ) : std::out_of_range( message ) {}
};

// NullArgumentException: a null pointer given to a mutator.
class NullArgumentException : public std::invalid_argument {
 public:
   explicit NullArgumentException( const std::string& message )
         : std::invalid_argument( message ) {}
};

// NonDeletableAttributeException: a delete operation on an attribute that
// cannot be deleted.
class NonDeletableAttributeException : public std::logic_error {
 public:
   explicit NonDeletableAttributeException( const std::string& message )
         : std::logic_error( message ) {}
};

// ParseException: text that does not parse. attribute() names the field that
// failed; what() says what was expected and where.
class ParseException : public std::invalid_argument {
 public:
   ParseException( std::string attribute, const std::string& message )
         : std::invalid_argument( message ), attribute_( std::move( attribute ) ) {}
   const std::string& attribute() const noexcept { return attribute_; }

 private:
   std::string attribute_;
};

} // namespace Kel
