// Kel/Enum.h: the services every enum of the library offers: its members'
// names as text, lookup by number and by name, and parsing. An enum stays a
// plain C++ enum with a fixed underlying type; KEL_ENUM_DECLARE in the header
// declares its free functions and KEL_ENUM_DEFINE in one .cpp gives its
// member table.
//
//   enum Colour : U8 { colourRed = 1, colourBlue = 2 };  KEL_ENUM_DECLARE( Colour )
//   KEL_ENUM_DEFINE( Colour, "Ns::Colour", KEL_ENUM_MEMBER( colourRed ), KEL_ENUM_MEMBER( colourBlue ) )
#pragma once

#include <cstddef>
#include <ostream>
#include <span>
#include <string_view>
#include <type_traits>

#include "Kel/Exception.h"
#include "Kel/String.h"
#include "Kel/Types.h"

namespace Kel {

// EnumMember: one row of an enum's member table.
template<class E>
struct EnumMember {
   E value;
   std::string_view name;
};

// enumName(): the member's name, or an empty view for a value without one.
template<class E>
constexpr std::string_view enumName( std::span<const EnumMember<E>> members, E value ) noexcept {
   for ( const auto& m : members ) {
      if ( m.value == value ) {
         return m.name;
      }
   }
   return {};
}

// enumStrep(): the name, or the decimal value when the value has no name.
template<class E>
String enumStrep( std::span<const EnumMember<E>> members, E value ) {
   std::string_view name = enumName( members, value );
   if ( !name.empty() ) {
      return String( name );
   }
   return std::to_string( static_cast<std::underlying_type_t<E>>( value ) + 0 );
}

// enumByName(): the member called name; throws RangeException otherwise.
template<class E>
E enumByName( std::span<const EnumMember<E>> members, std::string_view enumType,
              std::string_view name ) {
   for ( const auto& m : members ) {
      if ( m.name == name ) {
         return m.value;
      }
   }
   throw RangeException( String( enumType ) + ": no member named '" + String( name ) + "'" );
}

// enumParse(): sequenceToValue() of an enum: the whole range is one name.
template<class E>
void enumParse( std::span<const EnumMember<E>> members, std::string_view enumType,
                const char* begin, const char* end, E* value ) {
   std::string_view text( begin, end - begin );
   for ( const auto& m : members ) {
      if ( m.name == text ) {
         *value = m.value;
         return;
      }
   }
   throw ParseException( String( enumType ), "expected a member of " + String( enumType ) +
                                                   ", found '" + String( text ) + "'" );
}

} // namespace Kel

// KEL_ENUM_DECLARE(E): the free functions of enum E, in E's namespace.
#define KEL_ENUM_DECLARE( E )                                            \
   std::string_view stringValue( E value ) noexcept;                     \
   ::Kel::String valueToStrep( const E& value );                         \
   std::ostream& operator<<( std::ostream& os, E value );                \
   E E##Instance( U32 value ) noexcept;                                  \
   E E##Instance( const ::Kel::String& name );                           \
   void sequenceToValue( const char* begin, const char* end, E* value ); \
   std::span<const ::Kel::EnumMember<E>> E##Members() noexcept;

#define KEL_ENUM_MEMBER( m ) \
   { m, #m }

// KEL_ENUM_DEFINE(E, "Qualified::E", members...): the definitions, in the
// same namespace as the declaration.
#define KEL_ENUM_DEFINE( E, qualifiedName, ... )                                           \
   namespace {                                                                             \
   constexpr ::Kel::EnumMember<E> E##MemberTable_[] = { __VA_ARGS__ };                     \
   }                                                                                       \
   std::span<const ::Kel::EnumMember<E>> E##Members() noexcept { return E##MemberTable_; } \
   std::string_view stringValue( E value ) noexcept {                                      \
      return ::Kel::enumName<E>( E##MemberTable_, value );                                 \
   }                                                                                       \
   ::Kel::String valueToStrep( const E& value ) {                                          \
      return ::Kel::enumStrep<E>( E##MemberTable_, value );                                \
   }                                                                                       \
   std::ostream& operator<<( std::ostream& os, E value ) {                                 \
      return os << ::Kel::enumStrep<E>( E##MemberTable_, value );                          \
   }                                                                                       \
   E E##Instance( U32 value ) noexcept { return static_cast<E>( value ); }                 \
   E E##Instance( const ::Kel::String& name ) {                                            \
      return ::Kel::enumByName<E>( E##MemberTable_, qualifiedName, name );                 \
   }                                                                                       \
   void sequenceToValue( const char* begin, const char* end, E* value ) {                  \
      ::Kel::enumParse<E>( E##MemberTable_, qualifiedName, begin, end, value );            \
   }
