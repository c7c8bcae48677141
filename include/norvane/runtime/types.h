// Basic scalar aliases with the names the library's interfaces use.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace norvane {

using Integer = int32_t;
using Cardinal = uint32_t;
using Int64 = int64_t;
using UInt64 = uint64_t;
using Word = uint16_t;
using Byte = uint8_t;
using Boolean = bool;
using Single = float;
using Extended = long double;
using WideChar = char16_t;
using PWideChar = const char16_t*;

// Days since 1899-12-30 plus the fraction of the day.
using TDateTime = double;

// Byte strings and byte arrays of the runtime.
using TBytes = std::vector<uint8_t>;

}  // namespace norvane
