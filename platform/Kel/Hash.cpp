#include "Kel/Hash.h"

#include <chrono>

namespace Kel {

U32 hashSeed() noexcept {
   // Chosen once per process so that hash-set layouts cannot be predicted
   // from outside; thread-safe through the function-local static.
   static const U32 seed = hashSingleAttr(
         0x5EEDu, U64( std::chrono::steady_clock::now().time_since_epoch().count() ) );
   return seed;
}

} // namespace Kel
