// Version stamps, see stamp.h.
#include "tools/stamp.h"

#include <charconv>
#include <cstdio>

namespace tool {
namespace {

constexpr std::uint32_t kPolynomial = 0xEDB88320;  // of CRC-32, lowest bit first

std::uint32_t crcByte(std::uint32_t crc, unsigned char byte) {
    crc ^= byte;
    for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1) ^ (crc & 1 ? kPolynomial : 0);
    return crc;
}

}  // namespace

std::string stampText(std::uint32_t stamp) {
    char text[11];
    std::snprintf(text, sizeof text, "0x%08X", static_cast<unsigned>(stamp));
    return text;
}

bool parseStamp(const std::string& text, std::uint32_t& stamp) {
    if (text.size() != 10 || text.compare(0, 2, "0x") != 0) return false;
    std::uint32_t value = 0;
    const char* end = text.data() + text.size();
    if (std::from_chars(text.data() + 2, end, value, 16).ptr != end) return false;
    stamp = value;
    return true;
}

std::uint32_t stampOfKeys(const std::vector<std::string>& keys) {
    std::uint32_t crc = 0xFFFFFFFF;
    for (const std::string& key : keys) {
        for (char c : key) crc = crcByte(crc, static_cast<unsigned char>(c));
        crc = crcByte(crc, 0);
    }
    return ~crc;
}

}  // namespace tool
