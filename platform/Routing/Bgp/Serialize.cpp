#include "Routing/Bgp/Serialize.h"

#include "Kel/Exception.h"

namespace Routing::Bgp {

void Serialize::writePosIs( size_t pos ) {
   const size_t furthest = length();
   if ( pos > furthest ) {
      throw Kel::RangeException( "Serialize::writePosIs: position " + std::to_string( pos ) +
                                 " is past the length " + std::to_string( furthest ) );
   }
   length_ = furthest;
   pos_ = pos;
}

std::string Serialize::serializedString( size_t offset ) const {
   const size_t furthest = length();
   if ( offset >= furthest ) {
      return std::string();
   }
   return std::string( reinterpret_cast<const char*>( buf_ ) + offset, furthest - offset );
}

void Serialize::grow( size_t needed ) {
   size_t capacity = capacity_ * 2 > needed ? capacity_ * 2 : needed;
   auto heap = std::make_unique_for_overwrite<U8[]>( capacity );
   std::memcpy( heap.get(), buf_, length() );
   heap_ = std::move( heap );
   buf_ = heap_.get();
   capacity_ = capacity;
}

} // namespace Routing::Bgp
