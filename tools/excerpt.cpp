// Source lines with a mark, see excerpt.h.
#include "tools/excerpt.h"

#include <algorithm>
#include <cstddef>

#include "tools/shown.h"

namespace tool {
namespace {

constexpr int kColumns = 76;           // of a long line that are shown
constexpr int kColumnsBefore = 48;     // those in front of the mark
constexpr std::ptrdiff_t kLook = 512;  // bytes to each side of the mark, more than can be shown
constexpr const char* kCut = "...";
constexpr const char* kReplacement = "\xEF\xBF\xBD";  // U+FFFD

bool isContinuation(char c) { return (c & 0xC0) == 0x80; }

// The line, or so much of it as may be shown, without its end and without the mark of UTF-8 that may open a document, which takes no column.
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

// The part of the line that is shown.
ChPair windowAround(const ChPair& line, const char* mark) {
    const char* begin = mark;
    for (int i = 0; i < kColumnsBefore && begin != line.begin; ++i) begin = previousCharacter(line.begin, begin);
    const char* end = begin;
    for (int i = 0; i < kColumns && end != line.end; ++i) end = nextCharacter(end, line.end);
    return ChPair(begin, end);
}

// One character as it may go to a terminal: in one column, but for a tab.
std::string visible(const char* p, const char* end) {
    const Character character = characterOf(p, end);
    const bool stays = *p == '\t' || (character.length != 0 && isPrintable(character.code));
    return stays ? std::string(p, character.length) : kReplacement;
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
        source += visible(p, window.end);
        if (p < mark) below += *p == '\t' ? '\t' : ' ';
    }
    if (window.end != line.end) source += kCut;
    return source + '\n' + below + "^\n";
}

}  // namespace tool
