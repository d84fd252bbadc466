#include "tools/bgpcomm/Commands.h"

#include "tools/bgpcomm/CommunityInput.h"
#include "tools/bgpcomm/CommunityTextInput.h"
#include "tools/bgpcomm/HexText.h"
#include "tools/bgpcomm/ListJson.h"
#include "tools/bgpcomm/ListText.h"
#include "tools/bgpcomm/NlriText.h"
#include "tools/bgpcomm/OutputBuffer.h"
#include "tools/bgpcomm/RouteInterner.h"
#include "tools/bgpcomm/RoutePrinter.h"
#include "tools/bgpcomm/ValueForms.h"

#include "Kel/Exception.h"

#include <algorithm>
#include <cctype>
#include <cstring>

namespace Bgpcomm {

using namespace Routing::Bgp;

namespace {

// Decoded: one operand's list through the library: its text, its values
// with their forms, and the attribute the library writes for it.
struct Decoded {
   std::string text;                          // the list's text (as mrt prints it)
   std::vector<std::string> uiTexts;          // extended only: each value's UI form
   std::vector<std::string> jsonValues;       // each value as JSON
   std::vector<std::vector<ValueForm>> forms; // each value's forms
   std::string wire;                          // the path attribute, header included
};

template<class List>
void describeMembers( const List& list, Decoded* d ) {
   for ( const auto& member : list.commVector() ) {
      std::string json;
      appendJsonValue( json, *member );
      d->jsonValues.push_back( std::move( json ) );
      d->forms.push_back( valueForms( *member ) );
   }
}

template<class Values>
void describeValues( const Values& values, Decoded* d ) {
   for ( const auto& v : values ) {
      std::string json;
      appendJsonValue( json, v );
      d->jsonValues.push_back( std::move( json ) );
      d->forms.push_back( valueForms( v ) );
   }
}

Decoded decode( RouteInterner& interner, const CommunityInput& in ) {
   Decoded d;
   ListText text;
   switch ( in.kind ) {
      case CommunityKind::standard: {
         CommList::PtrConst list = interner.communities( in.octets );
         text.append( d.text, *list );
         describeValues( *list->commVectorRawPtr(), &d );
         d.wire = list->serialize();
         break;
      }
      case CommunityKind::large: {
         LargeCommList::PtrConst list = interner.largeCommunities( in.octets );
         text.append( d.text, *list );
         describeValues( *list->commVectorRawPtr(), &d );
         d.wire = list->serialize();
         break;
      }
      case CommunityKind::extended: {
         ExtCommList::PtrConst list = interner.extCommunities( in.octets );
         text.append( d.text, *list );
         for ( const ExtComm::PtrConst& c : list->commVector() ) {
            d.uiTexts.emplace_back();
            text.appendUi( d.uiTexts.back(), *c );
         }
         describeMembers( *list, &d );
         d.wire = list->serialize( ExtCommList::Serialization::all );
         break;
      }
      case CommunityKind::ip6Extended: {
         ExtCommIp6List::PtrConst list = interner.ipv6ExtCommunities( in.octets );
         text.append( d.text, *list );
         describeMembers( *list, &d );
         d.wire = list->serialize( true );
         break;
      }
   }
   return d;
}

std::string wireHex( const std::string& wire ) {
   std::string hex;
   appendHex( hex, std::span<const U8>( reinterpret_cast<const U8*>( wire.data() ), wire.size() ) );
   return hex;
}

void printText( std::string& t, const CommunityInput& in, const Decoded& d ) {
   t += communityKindInfo( in.kind ).attrName;
   t += in.isAttribute ? " attribute, " : ", ";
   appendDecimal( t, d.jsonValues.size() );
   t += d.jsonValues.size() == 1 ? " value: " : " values: ";
   t += d.text;
   t += '\n';
   for ( size_t i = 0; i < d.forms.size(); ++i ) {
      // The value as in JSON, without the quotes of the string kinds.
      std::string_view value = d.jsonValues[ i ];
      if ( value.front() == '"' )
         value = value.substr( 1, value.size() - 2 );
      t += "   ";
      t += value;
      t += '\n';
      for ( const ValueForm& f : d.forms[ i ] ) {
         t += "      ";
         // Texts line up after the longest name, "classification form:".
         size_t named = std::strlen( f.name ) + 1;
         t += f.name;
         t += ':';
         t.append( named < 21 ? 22 - named : 1, ' ' );
         t += f.text;
         t += '\n';
      }
   }
   t += "   wire form: ";
   t += wireHex( d.wire );
   t += '\n';
}

void printJson( std::string& t, const std::string& hex, const CommunityInput& in,
                const Decoded& d ) {
   t += "{\"input\": ";
   appendJsonString( t, hex );
   t += ", \"kind\": \"";
   t += communityKindInfo( in.kind ).jsonKey;
   t += "\", \"attribute\": ";
   t += in.isAttribute ? "true" : "false";
   t += ", \"values\": [";
   for ( size_t i = 0; i < d.jsonValues.size(); ++i ) {
      t += i ? ", " : "";
      t += d.jsonValues[ i ];
   }
   t += "], \"text\": ";
   if ( in.kind == CommunityKind::extended ) {
      t += '[';
      for ( size_t i = 0; i < d.uiTexts.size(); ++i ) {
         t += i ? ", " : "";
         appendJsonString( t, d.uiTexts[ i ] );
      }
      t += ']';
   } else {
      appendJsonString( t, d.text );
   }
   t += ", \"forms\": [";
   for ( size_t i = 0; i < d.forms.size(); ++i ) {
      t += i ? ", {\"value\": " : "{\"value\": ";
      t += d.jsonValues[ i ];
      for ( const ValueForm& f : d.forms[ i ] ) {
         t += ", \"";
         t += f.jsonKey;
         t += "\": ";
         appendJsonString( t, f.text );
      }
      t += '}';
   }
   t += "], \"wire\": \"";
   t += wireHex( d.wire );
   t += "\"}\n";
}

// readOperand(): an unbroken run of hex digits (maybe after "0x") is hex
// first, as before, then text ("4259840100"); anything with separators is
// text first ("3257:4532" is a community, not four octets), then hex
// ("fd:e8:00:64"). A failure reports the hex problem when the operand was
// hex octets (or said "0x"), else the text's.
bool readOperand( const CommunityTables& tables, const std::string& operand, CommunityInput* in,
                  std::string* problem ) {
   std::string hexProblem;
   std::string textProblem;
   auto hex = [ & ] {
      try {
         *in = parseCommunityInput( operand );
         return true;
      } catch ( const CommunityInputError& e ) {
         hexProblem = e.what();
      }
      return false;
   };
   auto text = [ & ] {
      try {
         *in = communityInputFromText( tables, operand );
         return true;
      } catch ( const Kel::ParseException& e ) {
         textProblem = e.what();
      }
      return false;
   };
   const bool saidHex = operand.starts_with( "0x" );
   const std::string_view digits = std::string_view( operand ).substr( saidHex ? 2 : 0 );
   const bool unbroken = std::all_of( digits.begin(), digits.end(),
                                      []( char c ) { return std::isxdigit( U8( c ) ); } );
   if ( unbroken ? hex() || text() : text() || hex() ) {
      return true;
   }
   bool hexOctets = saidHex;
   try {
      parseHex( operand );
      hexOctets = true;
   } catch ( const HexError& ) {
   }
   *problem = hexOctets ? hexProblem : textProblem;
   return false;
}

} // namespace

int runDecode( const CommandLine& cl, std::FILE* out, std::FILE* err ) {
   OutputBuffer buffer( out );
   CommunityTables tables;
   RouteInterner interner( tables );
   int status = exitOk;
   for ( const std::string& hex : cl.operands ) {
      CommunityInput in;
      std::string problem;
      if ( !readOperand( tables, hex, &in, &problem ) ) {
         buffer.flush();
         std::fprintf( err, "bgpcomm: decode '%s': %s\n", hex.c_str(), problem.c_str() );
         status = exitUsage;
         continue;
      }
      Decoded d = decode( interner, in );
      if ( cl.json ) {
         printJson( buffer.text(), hex, in, d );
      } else {
         printText( buffer.text(), in, d );
      }
   }
   return status;
}

} // namespace Bgpcomm
