#include "Kel/Hash.h"

#include <sys/random.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <system_error>

namespace Kel {

namespace {

HashKey osRandomKey() {
   U64 words[ 2 ];
   size_t got = 0;
   auto* octets = reinterpret_cast<U8*>( words );
   while ( got < sizeof words ) {
      const ssize_t n = getrandom( octets + got, sizeof words - got, 0 );
      if ( n < 0 ) {
         if ( errno == EINTR ) {
            continue;
         }
         throw std::system_error( errno, std::generic_category(), "Kel::randomHashKey: getrandom" );
      }
      got += size_t( n );
   }
   return HashKey{ words[ 0 ], words[ 1 ] };
}

} // namespace

HashKey randomHashKey() {
   // One secret from the OS per process; each key is SipHash-2-4 of a
   // counter under it. A pseudorandom function of the secret, the keys are
   // as unpredictable and unrelated as keys drawn one by one, and a process
   // that makes ten tables asks the OS once, not ten times.
   static const HashKey secret = osRandomKey();
   static std::atomic<U64> drawn{ 0 };
   U64 n[ 2 ] = { drawn.fetch_add( 1, std::memory_order_relaxed ), 0 };
   const U64 k0 = sipHash<2, 4>( secret, n, sizeof n );
   n[ 1 ] = 1;
   return HashKey{ k0, sipHash<2, 4>( secret, n, sizeof n ) };
}

U32 hashSeed() noexcept {
   // Chosen once per process, from the OS, so that hash-set layouts cannot
   // be predicted from outside; thread-safe through the function-local
   // static. Only if the OS cannot give randomness (this is noexcept) does
   // the clock stand in.
   static const U32 seed = [] {
      try {
         return U32( randomHashKey().k0 );
      } catch ( const std::system_error& ) {
         return hashSingleAttr(
               0x5EEDu, U64( std::chrono::steady_clock::now().time_since_epoch().count() ) );
      }
   }();
   return seed;
}

} // namespace Kel
