// What the writer and the reader of binary files must agree on.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <string_view>

// Numbers go into the file as they stand in memory.
static_assert(std::endian::native == std::endian::little);

// A file begins with this, followed by its version (32 bits), and ends with the footer's mark.
constexpr std::string_view kFbxMagic("Kaydara FBX Binary  \0\x1A\0", 23);
constexpr std::string_view kFbxFooterMagic(
    "\xF8\x5A\x8C\x6A\xDE\xF5\xD9\x7E\xEC\xE9\x0C\xE3\x75\x8F\x29\x0B", 16);
// Bytes of an empty record's header, which ends a list: three numbers of 32 bits and the length of
// a name.
constexpr std::size_t kFbxSentinelSize = 13;
// From this version on arrays are one value with a length, in text and binary files alike.
constexpr std::int32_t kFbxFirstArrayVersion = 7000;
// The letter behind a key of the older family from which a value goes evenly to the next key.
constexpr char kFbxLinearKey = 'L';
