// OvBgp/ListMembers.h: the members of a list object, written once for every
// list kind and classification list. A list made for a known count (from
// octets, from the store, a list's parts) holds its members in room
// allocated with the object itself (one allocation: header, then members),
// so that a lookup that reaches the object reaches its members too; a list
// built by appending grows them on the heap. Either way an interned list
// keeps capacity == size.
//
//   auto* list = newWithRoom<CommList>( count * sizeof( U32 ) );
//   list->comm_.useRoom( roomOf<U32>( list ), count );  // then push_back() count values
#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>
#include <span>
#include <type_traits>
#include <utility>
#include <vector>

#include "Kel/Types.h"

namespace Routing::Bgp {

// RoomAllocated: base of the list objects that may carry room for their
// members after themselves. Plain new gives no room; newWithRoom() does.
// Both are freed by the one unsized delete.
class RoomAllocated {
 public:
   struct Room {
      size_t bytes;
   };
   static void* operator new( size_t size ) { return ::operator new( size ); }
   static void* operator new( size_t size, Room room ) {
      return ::operator new( size + room.bytes );
   }
   static void operator delete( void* p ) noexcept { ::operator delete( p ); }
   static void operator delete( void* p, Room ) noexcept { ::operator delete( p ); }
};

// newWithRoom(): an Object built with bytes of room after it (roomOf()).
template<class Object, class... Args>
Object* newWithRoom( size_t bytes, Args&&... args ) {
   return new ( RoomAllocated::Room{ bytes } ) Object( std::forward<Args>( args )... );
}

// roomOf(): the room after object, from skipBytes on, as T (const T for a
// const object).
template<class T, class Object>
T* roomOf( Object* object, size_t skipBytes = 0 ) noexcept {
   static_assert( sizeof( Object ) % alignof( T ) == 0 );
   using Byte = std::conditional_t<std::is_const_v<Object>, const char, char>;
   return reinterpret_cast<T*>( reinterpret_cast<Byte*>( object ) + sizeof( Object ) + skipBytes );
}

// ListMembers<T>: see the file comment. Read like a const vector; built
// by push_back(), sorted in place through mutableBegin().
template<class T>
class ListMembers {
 public:
   using value_type = T;
   using size_type = size_t;
   using const_iterator = const T*;
   using iterator = const T*;
   using const_reference = const T&;
   using reference = const T&;

   ListMembers() noexcept = default;
   ListMembers( const ListMembers& ) = delete;
   ListMembers& operator=( const ListMembers& ) = delete;
   ~ListMembers() {
      truncate( 0 );
      if ( onHeap_ ) {
         ::operator delete( data_ );
      }
   }

   const T* data() const noexcept { return data_; }
   const T* begin() const noexcept { return data_; }
   const T* end() const noexcept { return data_ + size_; }
   size_t size() const noexcept { return size_; }
   bool empty() const noexcept { return size_ == 0; }
   size_t capacity() const noexcept { return capacity_; }
   // inRoom(): whether the members live in the owning object's room.
   bool inRoom() const noexcept { return capacity_ != 0 && !onHeap_; }
   const T& operator[]( size_t i ) const noexcept { return data_[ i ]; }
   const T& front() const noexcept { return data_[ 0 ]; }
   const T& back() const noexcept { return data_[ size_ - 1 ]; }
   operator std::span<const T>() const noexcept { return { data_, size_ }; }
   operator std::vector<T>() const { return std::vector<T>( begin(), end() ); }
   bool operator==( std::span<const T> other ) const {
      return std::equal( begin(), end(), other.begin(), other.end() );
   }
   bool operator==( const ListMembers& other ) const {
      return *this == std::span<const T>( other );
   }
   bool operator==( const std::vector<T>& other ) const {
      return *this == std::span<const T>( other );
   }

   // trim(): capacity down to the size: in the object's room by forgetting
   // the rest of it, on the heap by moving to an array of exactly the size
   // (if that fails, the members are as they were).
   void trim() {
      if ( size_ == capacity_ ) {
         return;
      }
      if ( onHeap_ && size_ != 0 ) {
         T* exact = static_cast<T*>( ::operator new( size_ * sizeof( T ) ) );
         std::uninitialized_move( data_, data_ + size_, exact );
         std::destroy( data_, data_ + size_ );
         ::operator delete( data_ );
         data_ = exact;
      } else if ( onHeap_ ) {
         ::operator delete( data_ );
         data_ = nullptr;
         onHeap_ = false;
      }
      capacity_ = size_;
   }

   // useRoom(): room for capacity members inside the owning object; only
   // on members that have no storage yet.
   void useRoom( T* room, size_t capacity ) noexcept {
      data_ = room;
      capacity_ = U32( capacity );
   }
   void reserve( size_t capacity ) {
      if ( capacity > capacity_ ) {
         grow( capacity );
      }
   }
   void push_back( const T& value ) { emplace( value ); }
   void push_back( T&& value ) { emplace( std::move( value ) ); }
   T* mutableBegin() noexcept { return data_; }
   T* mutableEnd() noexcept { return data_ + size_; }
   // truncate(): drops the members from count on.
   void truncate( size_t count ) noexcept {
      if ( count < size_ ) {
         std::destroy( data_ + count, data_ + size_ );
         size_ = U32( count );
      }
   }

 private:
   template<class V>
   void emplace( V&& value ) {
      if ( size_ == capacity_ ) {
         grow( capacity_ ? size_t( capacity_ ) * 2 : 1 );
      }
      new ( data_ + size_ ) T( std::forward<V>( value ) );
      ++size_;
   }
   void grow( size_t capacity ) {
      T* grown = static_cast<T*>( ::operator new( capacity * sizeof( T ) ) );
      std::uninitialized_move( data_, data_ + size_, grown );
      std::destroy( data_, data_ + size_ );
      if ( onHeap_ ) {
         ::operator delete( data_ );
      }
      data_ = grown;
      capacity_ = U32( capacity );
      onHeap_ = true;
   }

   T* data_ = nullptr;
   U32 size_ = 0;
   U32 capacity_ : 31 = 0;
   U32 onHeap_ : 1 = false;
};

// sortUnique(): ascending by less, one of each run of equal members (the
// first) kept.
template<class T, class Less = std::less<>, class Equal = std::equal_to<>>
void sortUnique( ListMembers<T>& members, Less less = {}, Equal equal = {} ) {
   std::sort( members.mutableBegin(), members.mutableEnd(), less );
   T* end = std::unique( members.mutableBegin(), members.mutableEnd(), equal );
   members.truncate( size_t( end - members.mutableBegin() ) );
}

} // namespace Routing::Bgp
