// Routing/Bgp/Serialize.h: a byte writer for wire images. The first 4096
// octets live inside the object, so most messages are built without touching
// the heap; beyond that the buffer doubles. Each append is one capacity check
// and a copy. The write position can be moved back to patch a header once the
// length of what follows is known.
//
//   Routing::Bgp::Serialize out; out.addU8( 0xC0 ); out.addU32hton( 65000 );
//   std::string wire = out.serializedString();
#pragma once

#include "Kel/Types.h"
#include "Onet/Ip6Addr.h"
#include "Routing/Bgp/NetworkOrder.h"

#include <cstddef>
#include <cstring>
#include <memory>
#include <string>

namespace Routing::Bgp {

// Serialize(): not copyable (a copy of a 4 KB buffer is never what is meant).
class Serialize {
 public:
   static constexpr size_t inlineCapacity = 4096;

   Serialize() = default;
   Serialize( const Serialize& ) = delete;
   Serialize& operator=( const Serialize& ) = delete;

   // addU8() .. addU64hton(): one value at writePos(), network order.
   void addU8( U8 value ) { put( &value, 1 ); }
   void addU16hton( U16 value ) { putNetworkOrder( value ); }
   void addU32hton( U32 value ) { putNetworkOrder( value ); }
   void addU64hton( U64 value ) { putNetworkOrder( value ); }
   // addIpv6Addr(): the 16 octets as they are (already network order).
   void addIpv6Addr( const Onet::Ip6Addr& addr ) { put( addr.data(), 16 ); }
   // addBytes(): count octets; bytes may be null when count is 0.
   void addBytes( const void* bytes, size_t count ) {
      if ( count != 0 ) {
         put( bytes, count );
      }
   }

   // growBuffer(): makes room for at least capacity octets in all.
   void growBuffer( size_t capacity ) {
      if ( capacity > capacity_ ) {
         grow( capacity );
      }
   }

   // length(): one past the furthest octet ever written.
   size_t length() const { return pos_ > length_ ? pos_ : length_; }
   size_t capacity() const { return capacity_; }

   // writePos(): where the next append goes; normally length(). Moving it
   // back makes the next appends overwrite; it may not pass length().
   size_t writePos() const { return pos_; }
   void writePosIs( size_t pos );

   // clear(): empty again, keeping the capacity.
   void clear() { length_ = pos_ = 0; }

   const U8* data() const { return buf_; }

   // serializedString(): the octets from offset up to length() (empty when
   // offset is at or past the end).
   std::string serializedString( size_t offset = 0 ) const;

 private:
   // put(): the write position is read once and stored once: the copy may
   // write into this object (the inline buffer), so a member read after it
   // would be read again. The length follows pos_ lazily (see length_).
   void put( const void* bytes, size_t count ) {
      const size_t pos = pos_;
      if ( count > capacity_ - pos ) [[unlikely]] {
         grow( pos + count );
      }
      std::memcpy( buf_ + pos, bytes, count );
      pos_ = pos + count;
   }

   template<class T>
   void putNetworkOrder( T value ) {
      U8 octets[ sizeof( T ) ];
      storeHton( octets, value );
      put( octets, sizeof octets );
   }

   // grow(): at least needed octets, at least double; keeps the contents.
   void grow( size_t needed );

   U8 inline_[ inlineCapacity ];
   std::unique_ptr<U8[]> heap_;
   U8* buf_ = inline_;
   size_t capacity_ = inlineCapacity;
   size_t length_ = 0; // the furthest write before pos_ last moved back
   size_t pos_ = 0;
};

} // namespace Routing::Bgp
