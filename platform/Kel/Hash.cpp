#include "Kel/Hash.h"

#include <sys/random.h>

#include <cerrno>
#include <chrono>
#include <system_error>

namespace Kel {

HashKey randomHashKey() {
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

U32 hashSeed() noexcept {
   // Chosen once per process so that hash-set layouts cannot be predicted
   // from outside; thread-safe through the function-local static.
   static const U32 seed = hashSingleAttr(
         0x5EEDu, U64( std::chrono::steady_clock::now().time_since_epoch().count() ) );
   return seed;
}

} // namespace Kel
