#include "tools/bgpcomm/ListText.h"

namespace Bgpcomm {

using namespace Routing::Bgp;

namespace {

constexpr ExtComm::StrepFormat extCommUi =
      ExtComm::strepFormatClassification | ExtComm::strepFormatUI;
constexpr ExtCommIp6::StrepFormat extCommIp6Ui =
      ExtCommIp6::strepFormatClassification | ExtCommIp6::strepFormatUI;

// joined(): each member through format into buffer, one space apart.
template<class Members, class Format>
void joined( OvFmt::DynamicBufferInterface& buffer, const Members& members, Format&& format ) {
   buffer.clear();
   bool first = true;
   for ( const auto& m : members ) {
      if ( !first )
         buffer.append( ' ' );
      first = false;
      format( m );
   }
}

} // namespace

void ListText::append( std::string& out, const CommList& list ) {
   joined( buffer_, *list.commVectorRawPtr(),
           [ this ]( U32 v ) { CommunityFormatter<true>::format( buffer_, v ); } );
   out += buffer_.view();
}

void ListText::append( std::string& out, const LargeCommList& list ) {
   joined( buffer_, *list.commVectorRawPtr(), [ this ]( const Acl::CommunityValue& v ) {
      LargeCommunityFormatter::format( buffer_, v, false );
   } );
   out += buffer_.view();
}

void ListText::append( std::string& out, const ExtCommList& list ) {
   joined( buffer_, list.commVector(), [ this ]( const ExtComm::PtrConst& c ) {
      c->appendStrepForPolicy( extCommUi, buffer_ );
   } );
   out += buffer_.view();
}

void ListText::append( std::string& out, const ExtCommIp6List& list ) {
   joined( buffer_, list.commVector(), [ this ]( const ExtCommIp6::PtrConst& c ) {
      c->appendStrepForPolicy( extCommIp6Ui, buffer_ );
   } );
   out += buffer_.view();
}

void ListText::appendUi( std::string& out, const ExtComm& comm ) {
   buffer_.clear();
   comm.appendStrepForPolicy( extCommUi, buffer_ );
   out += buffer_.view();
}

void ListText::appendUi( std::string& out, const ExtCommIp6& comm ) {
   buffer_.clear();
   comm.appendStrepForPolicy( extCommIp6Ui, buffer_ );
   out += buffer_.view();
}

} // namespace Bgpcomm
