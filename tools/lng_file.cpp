// The layout of .lng files, see lng_file.h.
#include "tools/lng_file.h"

#include <algorithm>
#include <numeric>

#include "tools/limits.h"

namespace tool {
namespace {

constexpr std::uint32_t kMark = 0x524C434C;         // "LCLR" in the order of the file
constexpr std::uint32_t kSwappedMark = 0x4C434C52;  // the same, read in the other order
constexpr std::size_t kWord = 4;

std::uint32_t readWord(const char* p, bool bigEndian) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < kWord; ++i) {
        const std::size_t shift = 8 * (bigEndian ? kWord - 1 - i : i);
        value |= static_cast<std::uint32_t>(static_cast<unsigned char>(p[i])) << shift;
    }
    return value;
}

void appendWord(std::string& out, std::uint32_t value, bool bigEndian) {
    for (std::size_t i = 0; i < kWord; ++i) {
        const std::size_t shift = 8 * (bigEndian ? kWord - 1 - i : i);
        out += static_cast<char>(value >> shift & 0xFF);
    }
}

// Takes what a file holds from front to back.
struct Cursor {
    const char* p;
    const char* end;
    bool bigEndian = false;

    explicit Cursor(const std::string& bytes) : p(bytes.data()), end(p + bytes.size()) {}
    std::size_t left() const { return static_cast<std::size_t>(end - p); }

    // Returns: false when there is no whole word left.
    bool word(std::uint32_t& value) {
        if (left() < kWord) return false;
        value = readWord(p, bigEndian);
        p += kWord;
        return true;
    }
};

// What a header says beyond the fields of LngFile.
struct Header {
    std::int32_t count = 0;
    std::int32_t textSize = 0;
};

bool fail(std::vector<std::string>& problems, const std::string& problem) {
    problems.push_back(problem);
    return false;
}

void expect(std::vector<std::string>& problems, const char* field, std::uint32_t value, std::uint32_t expected) {
    if (value == expected) return;
    problems.push_back(std::string("the ") + field + " is " + std::to_string(value) + ", not " +
                       std::to_string(expected));
}

// The first two words, which tell the order of all others. Returns: false when they do not.
bool readMark(Cursor& cursor, std::vector<std::string>& problems) {
    std::uint32_t zero = 0;
    std::uint32_t mark = 0;
    if (!cursor.word(zero) || !cursor.word(mark)) return fail(problems, "the file ends within its header");
    if (mark != kMark && mark != kSwappedMark) return fail(problems, "the mark of a .lng file is missing");
    cursor.bigEndian = mark == kSwappedMark;
    expect(problems, "first word", zero, 0);
    return true;
}

// The words behind the mark. Returns: false when nothing behind them can be made out.
bool readHeader(Cursor& cursor, LngFile& file, Header& header, std::vector<std::string>& problems) {
    std::uint32_t count = 0;
    std::uint32_t textSize = 0;
    const bool whole = cursor.word(file.version) && cursor.word(file.encoding) && cursor.word(file.stamp) &&
                       cursor.word(count) && (count == 0 || cursor.word(textSize));
    if (!whole) return fail(problems, "the file ends within its header");
    header = {static_cast<std::int32_t>(count), static_cast<std::int32_t>(textSize)};
    expect(problems, "format version", file.version, LngFile::kVersion);
    expect(problems, "encoding", file.encoding, LngFile::kEncoding);
    if (header.count < 0) return fail(problems, "the count is negative: " + std::to_string(header.count));
    if (header.count > 0 && header.textSize < 1) {
        return fail(problems, "the size of the texts is " + std::to_string(header.textSize));
    }
    return true;
}

}  // namespace

bool LngFile::parse(const std::string& bytes, std::vector<std::string>& problems) {
    Cursor cursor(bytes);
    Header header;
    if (!readMark(cursor, problems)) return false;
    bigEndian = cursor.bigEndian;
    if (!readHeader(cursor, *this, header, problems)) return false;
    const auto count = static_cast<std::size_t>(header.count);
    const auto size = static_cast<std::size_t>(header.textSize);
    if (cursor.left() / kWord < count) return fail(problems, "the file ends within the table of starts");
    const char* table = cursor.p;
    cursor.p += count * kWord;
    if (cursor.left() < size) return fail(problems, "the file ends within the texts");
    block.assign(cursor.p, size);
    trailing = cursor.left() - size;
    readTable(table, count);
    findEnds();
    return true;
}

void LngFile::readTable(const char* table, std::size_t count) {
    texts.clear();
    texts.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        texts.push_back({static_cast<std::int32_t>(readWord(table + i * kWord, bigEndian)), -1});
    }
}

// Texts may share bytes, so looking for each terminator on its own could go over the block once per text. In the order
// of their starts one pass is enough.
void LngFile::findEnds() {
    std::size_t end = block.find('\0');
    for (std::size_t i : sortedByStart()) {
        if (texts[i].start < 0) continue;
        const auto start = static_cast<std::size_t>(texts[i].start);
        if (start >= block.size()) return;
        if (end < start) end = block.find('\0', start);
        if (end == std::string::npos) return;
        texts[i].end = static_cast<std::int64_t>(end);
    }
}

void LngFile::append(const std::string& text) {
    const std::size_t start = block.size();
    block.append(text).push_back('\0');
    texts.push_back({static_cast<std::int32_t>(start), static_cast<std::int64_t>(start + text.size())});
}

std::string LngFile::write() const {
    std::string out;
    const auto count = static_cast<std::uint32_t>(texts.size());
    for (std::uint32_t word : {0U, kMark, version, encoding, stamp, count}) appendWord(out, word, bigEndian);
    if (texts.empty()) return out;
    appendWord(out, static_cast<std::uint32_t>(block.size()), bigEndian);
    for (const Text& text : texts) appendWord(out, static_cast<std::uint32_t>(text.start), bigEndian);
    return out + block;
}

std::size_t LngFile::unreadableCount() const {
    return static_cast<std::size_t>(
        std::count_if(texts.begin(), texts.end(), [](const Text& text) { return text.end < 0; }));
}

std::vector<std::size_t> LngFile::sortedByStart() const {
    std::vector<std::size_t> order(texts.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::sort(order.begin(), order.end(),
              [this](std::size_t a, std::size_t b) { return texts[a].start < texts[b].start; });
    return order;
}

std::uint64_t LngFile::textBytes() const {
    std::uint64_t bytes = 0;
    for (const Text& text : texts) bytes += text.end < 0 ? 0 : static_cast<std::uint64_t>(text.end - text.start);
    return bytes;
}

bool LngFile::overlapsTooMuch() const { return textBytes() > mostBytesOf(block.size() + kWord * texts.size()); }

std::size_t LngFile::unusedBytes() const {
    std::int64_t used = 0;
    std::int64_t reached = 0;  // all bytes before it are counted
    for (std::size_t i : sortedByStart()) {
        if (!readable(i)) continue;
        const std::int64_t behind = texts[i].end + 1;
        used += std::max<std::int64_t>(0, behind - std::max<std::int64_t>(reached, texts[i].start));
        reached = std::max(reached, behind);
    }
    return block.size() - static_cast<std::size_t>(used);
}

}  // namespace tool
