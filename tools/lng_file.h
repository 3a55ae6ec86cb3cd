// A .lng file in memory, for making, showing and checking one. The library's loader trusts the body of a file; nothing
// here does. The layout, in 32-bit words: 0, the mark "LCLR" (all words little-endian) or "RLCL" (big-endian), format
// version 1, encoding 8, stamp, count, size of the texts; then the start of each text, and the texts with their
// terminators. Without texts the file ends behind the count.
#ifndef VELMORA_TOOLS_LNG_FILE_H
#define VELMORA_TOOLS_LNG_FILE_H

#include <velmora/text/chpair.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace tool {

class LngFile {
public:
    static constexpr std::uint32_t kVersion = 1;
    static constexpr std::uint32_t kEncoding = 8;

    struct Text {
        std::int32_t start;  // as the file has it
        std::int64_t end;    // of the terminator; -1 when the start is outside the block or no terminator follows
    };

    bool bigEndian = false;
    std::uint32_t version = kVersion;
    std::uint32_t encoding = kEncoding;
    std::uint32_t stamp = 0;
    std::vector<Text> texts;
    std::string block;
    std::size_t trailing = 0;  // bytes behind the block

    // Takes everything from the bytes of a file. What is wrong up to the block goes to `problems`; the starts are not
    // judged here. Returns: whether the file reaches to the end of its block, so that `texts` and `block` are filled.
    bool parse(const std::string& bytes, std::vector<std::string>& problems);

    // Appends a text. Requires: no zero byte in it.
    void append(const std::string& text);

    // The whole file, without trailing bytes.
    std::string write() const;

    bool readable(std::size_t i) const { return texts[i].end >= 0; }
    std::size_t unreadableCount() const;
    // Requires: readable(i).
    ChPair text(std::size_t i) const { return ChPair(block.data() + texts[i].start, block.data() + texts[i].end); }

    // Bytes of all readable texts; those that texts share count for each.
    std::uint64_t textBytes() const;
    // Whether these are more than the tool makes of the file.
    bool overlapsTooMuch() const;
    // Bytes of the block that belong to no readable text.
    std::size_t unusedBytes() const;

private:
    void readTable(const char* table, std::size_t count);
    void findEnds();
    std::vector<std::size_t> sortedByStart() const;
};

}  // namespace tool

#endif
