// Kel/Ptr.h: counted objects and the intrusive pointer that holds them.
// Every shared object of the platform and the library derives from
// PtrInterface; its reference count lives in the object, so a raw pointer can
// always be turned back into an owning one, and copying a Ptr costs one
// atomic add.
//
//   auto list = Kel::makePtr<Thing>( args );   // count 1
//   Kel::Ptr<const Thing> alias = list;        // count 2, same object
#pragma once

#include <atomic>
#include <cstddef>
#include <functional>
#include <type_traits>
#include <utility>

#include "Kel/Types.h"

namespace Kel {

// PtrInterface: base of every counted object. The count is atomic and
// sequentially consistent. Releases of objects that live in an interning
// table go through releaseShared(), so the table can decide what the last
// outside reference means.
class PtrInterface {
 public:
   PtrInterface() noexcept = default;
   // A copy is a new object: it never inherits the original's count or flags.
   PtrInterface( const PtrInterface& ) noexcept {}
   PtrInterface& operator=( const PtrInterface& ) noexcept { return *this; }
   virtual ~PtrInterface() = default;

   // refCount(): the number of references held right now (a snapshot). The
   // references an interning table has counted ahead but not handed out yet
   // are not held by anyone, so they are left out.
   U32 refCount() const noexcept {
      const U32 reserved = reservedReferences();
      const U32 counted = refCount_.load() & ~kClaimedCount;
      return counted > reserved ? counted - reserved : 0;
   }

   // hasNotificationActive(): the flag every factory switches on for the
   // objects it hands out.
   bool hasNotificationActive() const noexcept { return notificationActive_; }
   void hasNotificationActiveIs( bool active ) noexcept { notificationActive_ = active; }

   // newRef() / deleteRef(): what Ptr calls; rarely needed directly.
   void newRef() const noexcept { refCount_.fetch_add( 1 ); }
   void deleteRef() const noexcept {
      if ( !tableShared() ) {
         releasePlain( 1 );
         return;
      }
      releaseShared();
   }

 protected:
   // onZeroReferences(): the count reached zero. The default destroys the
   // object; a class may first run work that needs the object alive.
   virtual void onZeroReferences() const noexcept { delete this; }

   // releaseShared(): every release of an object marked table-shared, in
   // place of the plain decrement.
   virtual void releaseShared() const noexcept { releasePlain( 1 ); }

   // releasePlain(): drops n references; the last one destroys.
   void releasePlain( U32 n ) const noexcept {
      if ( refCount_.fetch_sub( n ) == n ) {
         onZeroReferences();
      }
   }

   // reservedReferences(): the references counted ahead and not handed
   // out; by default what reserved_ says.
   virtual U32 reservedReferences() const noexcept {
      return reserved_.load( std::memory_order_relaxed );
   }

   // kClaimedCount: set by a thread-safe interning table in the count of a
   // member it is detaching, so that no lookup revives it.
   static constexpr U32 kClaimedCount = U32( 1 ) << 31;

   // Raw access for the interning table. reserved_ holds the references it
   // has counted ahead to hand out without touching the count (or, for a
   // member whose slot keeps that tally, a bound on it); only that table
   // writes it.
   std::atomic<U32>& refCountAtomic() const noexcept { return refCount_; }
   std::atomic<U8>& reservedAtomic() const noexcept { return reserved_; }

   // The table-shared mark is published with release order, so whoever sees
   // it set also sees the table's bookkeeping. Zero is "in no table"; any
   // other value is the holding table's, which says by it which release
   // applies.
   bool tableShared() const noexcept { return tableKind() != 0; }
   U8 tableKind() const noexcept { return tableKind_.load( std::memory_order_acquire ); }
   void tableKindIs( U8 kind ) const noexcept {
      tableKind_.store( kind, std::memory_order_release );
   }

 private:
   mutable std::atomic<U32> refCount_{ 0 };
   mutable std::atomic<U8> tableKind_{ 0 };
   bool notificationActive_ = false;
   mutable std::atomic<U8> reserved_{ 0 };
};

// Ptr<T>: intrusive counted pointer; null by default, equality by identity.
template<class T>
class Ptr {
 public:
   using element_type = T;

   constexpr Ptr() noexcept = default;
   constexpr Ptr( std::nullptr_t ) noexcept {}
   // From a raw pointer: takes a new reference (the count is in the object,
   // so this is always safe).
   Ptr( T* p ) noexcept : p_( p ) {
      if ( p_ ) {
         p_->newRef();
      }
   }
   Ptr( const Ptr& other ) noexcept : Ptr( other.p_ ) {}
   Ptr( Ptr&& other ) noexcept : p_( std::exchange( other.p_, nullptr ) ) {}
   template<class U>
      requires std::is_convertible_v<U*, T*> Ptr( const Ptr<U>& other )
   noexcept : Ptr( other.ptr() ) {}
   template<class U>
      requires std::is_convertible_v<U*, T*> Ptr( Ptr<U>&& other )
   noexcept : p_( other.release() ) {}
   ~Ptr() {
      if ( p_ ) {
         p_->deleteRef();
      }
   }

   Ptr& operator=( Ptr other ) noexcept {
      std::swap( p_, other.p_ );
      return *this;
   }

   T* ptr() const noexcept { return p_; }
   T* operator->() const noexcept { return p_; }
   T& operator*() const noexcept { return *p_; }
   explicit operator bool() const noexcept { return p_ != nullptr; }

   // release(): gives up ownership without touching the count.
   T* release() noexcept { return std::exchange( p_, nullptr ); }
   // adopt(): takes over a reference already counted for the caller.
   static Ptr adopt( T* p ) noexcept {
      Ptr result;
      result.p_ = p;
      return result;
   }

   // Between related types the pointers are converted to the base first: a
   // base that is not the first of its class sits at another address.
   template<class U>
   bool operator==( const Ptr<U>& other ) const noexcept {
      if constexpr ( std::is_convertible_v<U*, T*> ) {
         return p_ == static_cast<T*>( other.ptr() );
      } else if constexpr ( std::is_convertible_v<T*, U*> ) {
         return static_cast<U*>( p_ ) == other.ptr();
      } else {
         return static_cast<const void*>( p_ ) == static_cast<const void*>( other.ptr() );
      }
   }
   bool operator==( std::nullptr_t ) const noexcept { return p_ == nullptr; }

 private:
   T* p_ = nullptr;
};

// makePtr(): the one way counted objects are allocated.
template<class T, class... Args>
Ptr<T> makePtr( Args&&... args ) {
   return Ptr<T>( new T( std::forward<Args>( args )... ) );
}

// makeActivePtr(): makePtr() for factories: the object comes with
// notification switched on, as every factory hands its objects out.
template<class T, class... Args>
Ptr<T> makeActivePtr( Args&&... args ) {
   Ptr<T> p = makePtr<T>( std::forward<Args>( args )... );
   p->hasNotificationActiveIs( true );
   return p;
}

// ptrCast(): static downcast keeping the reference; the rvalue form hands
// the reference over without touching the count.
template<class T, class U>
Ptr<T> ptrCast( const Ptr<U>& p ) noexcept {
   return Ptr<T>( static_cast<T*>( p.ptr() ) );
}
template<class T, class U>
Ptr<T> ptrCast( Ptr<U>&& p ) noexcept {
   return Ptr<T>::adopt( static_cast<T*>( p.release() ) );
}

} // namespace Kel

template<class T>
struct std::hash<Kel::Ptr<T>> {
   size_t operator()( const Kel::Ptr<T>& p ) const noexcept {
      return std::hash<const void*>()( static_cast<const void*>( p.ptr() ) );
   }
};
