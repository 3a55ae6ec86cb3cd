// How much the tool makes of its input. Indentation, empty columns and texts that share their bytes let a small file
// ask for a result without measure.
#ifndef VELMORA_TOOLS_LIMITS_H
#define VELMORA_TOOLS_LIMITS_H

#include <algorithm>
#include <cstdint>

namespace tool {

constexpr int kMegabyte = 1'000'000;

// Bytes that may be made of so many: 32 MB, or 32 times as many when that is more.
constexpr std::uint64_t mostBytesOf(std::uint64_t inputBytes) {
    return std::max<std::uint64_t>(32 * kMegabyte, 32 * inputBytes);
}

}  // namespace tool

#endif
