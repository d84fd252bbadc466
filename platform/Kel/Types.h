// Kel/Types.h: the fixed-width scalar names used throughout the platform and
// the library. They live in the global namespace so that wire code reads the
// same everywhere.
//
//   U32 asNumber = U32( content >> 32 );
//   U8 typeOctet = U8( content >> 56 );
#pragma once

#include <cstdint>

using U8 = std::uint8_t;
using U16 = std::uint16_t;
using U32 = std::uint32_t;
using U64 = std::uint64_t;
using S64 = std::int64_t;
