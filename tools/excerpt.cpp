// Source lines with a mark, see excerpt.h.
#include "tools/excerpt.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

#include "tools/shown.h"

namespace tool {
namespace {

constexpr int kColumns = 76;           // of a long line that are shown
constexpr int kColumnsBefore = 48;     // those in front of the mark
constexpr std::ptrdiff_t kLook = 512;  // bytes to each side of the mark, more than can be shown
constexpr const char* kCut = "...";
constexpr const char* kReplacement = "\xEF\xBF\xBD";  // U+FFFD

struct Range {
    char32_t first;
    char32_t last;
};

// Characters that stand above or below the one before, or are not seen: no column of their own.
constexpr Range kNarrow[] = {{0x300, 0x36F},   {0x483, 0x489},   {0x591, 0x5BD},   {0x610, 0x61A},
                             {0x64B, 0x65F},   {0x200B, 0x200D}, {0x20D0, 0x20F0}, {0x3099, 0x309A},
                             {0xFE00, 0xFE0F}, {0xFE20, 0xFE2F}, {0xFEFF, 0xFEFF}};
// Those of East Asia and pictures: two columns.
constexpr Range kWide[] = {{0x1100, 0x115F},   {0x2E80, 0x303E},   {0x3041, 0xA4CF},   {0xA960, 0xA97C},
                           {0xAC00, 0xD7A3},   {0xF900, 0xFAFF},   {0xFE30, 0xFE6B},   {0xFF01, 0xFF60},
                           {0xFFE0, 0xFFE6},   {0x1B000, 0x1B2FF}, {0x1F300, 0x1F64F}, {0x1F680, 0x1F6FF},
                           {0x1F900, 0x1F9FF}, {0x20000, 0x3FFFD}};

template <std::size_t N>
bool isIn(const Range (&ranges)[N], char32_t code) {
    return std::any_of(std::begin(ranges), std::end(ranges),
                       [code](const Range& range) { return code >= range.first && code <= range.last; });
}

bool isContinuation(char c) { return (c & 0xC0) == 0x80; }

// The line, or so much of it as may be shown, without its end and without the mark of UTF-8 that may open a document,
// which takes no column.
ChPair lineAround(const ChPair& text, const char* place) {
    const char* begin = place;
    while (begin != text.begin && place - begin < kLook && begin[-1] != '\n') --begin;
    const char* end = std::find(place, place + std::min(kLook, text.end - place), '\n');
    if (end != begin && end[-1] == '\r') --end;
    ChPair line(begin, end);
    if (begin == text.begin && line.hasPrefix("\xEF\xBB\xBF")) line.begin += 3;
    return line;
}

const char* nextCharacter(const char* p, const char* end) {
    return p + std::max<std::size_t>(1, characterLength(p, end));
}

// Steps back over one character, or over one byte where the bytes are no character.
const char* previousCharacter(const char* begin, const char* p) {
    const char* lead = p - 1;
    while (lead != begin && p - lead < 4 && isContinuation(*lead)) --lead;
    return lead + characterLength(lead, p) == p ? lead : p - 1;
}

const char* characterAt(const ChPair& line, const char* place) {
    if (place <= line.begin) return line.begin;
    if (place >= line.end) return line.end;
    const char* lead = place;
    while (lead != line.begin && place - lead < 3 && isContinuation(*lead)) --lead;
    return lead + characterLength(lead, line.end) > place ? lead : place;
}

// One character as it may go to a terminal. A tab counts for one column here; it stays, and is repeated below.
struct Cell {
    std::string text;
    int columns;
};

Cell cellOf(const char* p, const char* end) {
    const Character character = characterOf(p, end);
    if (*p == '\t') return {"\t", 1};
    if (character.length == 0 || !isPrintable(character.code)) return {kReplacement, 1};
    return {std::string(p, character.length), isIn(kNarrow, character.code) ? 0 : isIn(kWide, character.code) ? 2 : 1};
}

// The part of the line that is shown.
ChPair windowAround(const ChPair& line, const char* mark) {
    const char* begin = mark;
    for (int columns = 0; begin != line.begin;) {
        const char* before = previousCharacter(line.begin, begin);
        columns += cellOf(before, line.end).columns;
        if (columns > kColumnsBefore) break;
        begin = before;
    }
    const char* end = begin;
    for (int columns = 0; end != line.end; end = nextCharacter(end, line.end)) {
        columns += cellOf(end, line.end).columns;
        if (columns > kColumns) break;
    }
    return ChPair(begin, end);
}

}  // namespace

std::string excerpt(const ChPair& text, std::size_t offset) {
    if (text.empty()) return std::string();
    const char* place = text.begin + std::min(offset, static_cast<std::size_t>(text.len()) - 1);
    const ChPair line = lineAround(text, place);
    const char* mark = characterAt(line, place);
    const ChPair window = windowAround(line, mark);
    std::string source = window.begin != line.begin ? kCut : "";
    std::string below(source.size(), ' ');
    for (const char* p = window.begin; p != window.end; p = nextCharacter(p, window.end)) {
        const Cell cell = cellOf(p, window.end);
        source += cell.text;
        if (p < mark) below += *p == '\t' ? cell.text : std::string(static_cast<std::size_t>(cell.columns), ' ');
    }
    if (window.end != line.end) source += kCut;
    return source + '\n' + below + "^\n";
}

}  // namespace tool
