#include "tools/bgpcomm/CommunityTextInput.h"

#include "Kel/Exception.h"
#include "OvBgp/CommunityText.h"
#include "Routing/Bgp/NetworkOrder.h"

#include <algorithm>

namespace Bgpcomm {

using namespace Routing::Bgp;

namespace {

CommunityKind kindOfText( std::string_view text ) {
   const size_t begin = text.find_first_not_of( " \t[" );
   const std::string_view first =
         begin == std::string_view::npos ? std::string_view() : text.substr( begin );
   const std::string_view word = first.substr( 0, first.find_first_of( " \t" ) );
   if ( word.starts_with( "<extCommIp6" ) || word.find( "-IP6" ) != std::string_view::npos ) {
      return CommunityKind::ip6Extended;
   }
   const bool numeric = !word.empty() && std::all_of( word.begin(), word.end(), []( char c ) {
      return ( c >= '0' && c <= '9' ) || c == ':' || c == '.';
   } );
   if ( numeric ) {
      return std::count( word.begin(), word.end(), ':' ) == 2 ? CommunityKind::large
                                                              : CommunityKind::standard;
   }
   for ( U32 value : { communityInternet, communityGshut, communityLlgrStale, communityNoLlgr,
                       communityNoExport, communityNoAdvertise, communityNoExportSubconfed } ) {
      if ( word == CommList::wellKnownName( value ) ) {
         return CommunityKind::standard;
      }
   }
   return CommunityKind::extended;
}

// append(): v at the end of out in network order.
template<class T>
void append( std::vector<U8>& out, T v ) {
   out.resize( out.size() + sizeof v );
   storeHton( out.data() + out.size() - sizeof v, v );
}

} // namespace

CommunityInput communityInputFromText( const CommunityTables& tables, std::string_view text ) {
   CommunityInput in;
   in.kind = kindOfText( text );
   size_t count = 0;
   switch ( in.kind ) {
      case CommunityKind::standard: {
         CommList::PtrConst list = commListFromStrep( tables.commList(), text );
         for ( U32 v : *list->commVectorRawPtr() ) {
            append( in.octets, v );
         }
         count = list->comms();
         break;
      }
      case CommunityKind::large: {
         LargeCommList::PtrConst list = largeCommListFromStrep( tables.largeCommList(), text );
         for ( const Acl::CommunityValue& v : *list->commVectorRawPtr() ) {
            append( in.octets, v.globalAdmin() );
            append( in.octets, v.localData1() );
            append( in.octets, v.localData2() );
         }
         count = list->comms();
         break;
      }
      case CommunityKind::extended: {
         ExtCommList::PtrConst list =
               extCommListFromStrep( tables.extCommList(), tables.extComm(), text );
         for ( const ExtComm::PtrConst& c : list->commVector() ) {
            append( in.octets, c->community() );
         }
         count = list->comms();
         break;
      }
      case CommunityKind::ip6Extended: {
         ExtCommIp6List::PtrConst list =
               extCommIp6ListFromStrep( tables.extCommIp6List(), tables.extCommIp6(), text );
         for ( const ExtCommIp6::PtrConst& c : list->commVector() ) {
            in.octets.resize( in.octets.size() + 20 );
            c->content().storeWire( in.octets.data() + in.octets.size() - 20 );
         }
         count = list->comms();
         break;
      }
   }
   if ( count == 0 ) {
      throw Kel::ParseException( "text", "no community in the text" );
   }
   // Several values are what their attribute would carry.
   in.isAttribute = count > 1;
   in.attrFlags = in.isAttribute ? 0xC0 : 0;
   return in;
}

} // namespace Bgpcomm
