#include "OvBgp/Parse/ExtCommOriginValidationState.h"

#include <ostream>
#include <string_view>

#include "OvFmt/DynamicBuffer.h"

namespace Routing::Bgp {

namespace {

// stateName(): the state's word, empty for an octet that is no state.
std::string_view stateName( U8 octet ) noexcept {
   switch ( octet ) {
      case Rpki::originValidationStateValid:
         return "valid";
      case Rpki::originValidationStateNotFound:
         return "not-found";
      case Rpki::originValidationStateInvalid:
         return "invalid";
      default:
         return {};
   }
}

} // namespace

void ExtCommOriginValidationState::appendStrepForPolicy(
      StrepFormat format, OvFmt::DynamicBufferInterface& out ) const {
   if ( !format.classificationAndUI() ) {
      return;
   }
   const std::string_view name = stateName( stateOctet() );
   out.append( "Origin-Validation-State:" );
   out.append( name.empty() ? "unknown" : name );
}

void ExtCommOriginValidationState::formatDerivedType( std::ostream& os ) const {
   OvFmt::DynamicBuffer<48> buf;
   buf.append( "<OriginValidationState " );
   const std::string_view name = stateName( stateOctet() );
   if ( name.empty() ) {
      buf.append( "unknown(" );
      buf.appendDecimal( stateOctet() );
      buf.append( ") " );
   } else {
      buf.append( name );
      buf.append( ' ' );
   }
   os.write( buf.data(), std::streamsize( buf.size() ) );
   formatCommunityValue( os );
   os << '>';
}

} // namespace Routing::Bgp
