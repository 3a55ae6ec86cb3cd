// Lines and columns. There is no index of the lines: a place is counted on or back from the memo.
#include <cstring>

#include <velmora/markup/mldoc.h>
#include <velmora/markup/scan.h>
#include <velmora/text/bytes.h>
#include <velmora/text/utf.h>

namespace {

constexpr int kTabWidth = 4;

const char* find(const char* p, const char* end, char c) {
    const void* found = p == end ? nullptr : std::memchr(p, c, static_cast<std::size_t>(end - p));
    return found ? static_cast<const char*>(found) : end;
}

int feedsIn(const char* p, const char* end) { return static_cast<int>(velmora::detail::countOf(p, end, '\n')); }

// Columns of a text without tabs and line feeds.
int columnsOf(const char* p, const char* end) {
    return static_cast<int>(strlen_utf8(p, end) - velmora::detail::countOf(p, end, '\r'));
}

// The column at `end`, when `p`, in the same line, has this one.
int columnAt(const char* p, const char* end, int column) {
    while (p != end) {
        const char* tab = find(p, end, '\t');
        column += columnsOf(p, tab);
        for (p = tab; p != end && *p == '\t'; ++p) column = (column - 1) / kTabWidth * kTabWidth + kTabWidth + 1;
    }
    return column;
}

}  // namespace

struct MLDoc::Place {
    std::uint32_t offset;
    int line;
    int column;

    // Not 0, and other for another place.
    std::uint32_t seal() const {
        auto mixed = (offset * 0x9E3779B97F4A7C15u + static_cast<unsigned>(line)) * 0x9E3779B97F4A7C15u;
        mixed = (mixed + static_cast<unsigned>(column)) * 0x9E3779B97F4A7C15u;
        return static_cast<std::uint32_t>(mixed >> 32) | 1;
    }

    Place on(std::uint32_t to, const MLDoc& doc) const {
        const char* begin = doc.buffer + offset;
        const char* end = doc.buffer + to;
        const bool bom = offset == 0 && doc.length >= 3 && std::memcmp(begin, "\xEF\xBB\xBF", 3) == 0;
        if (bom) begin = to < 3 ? end : begin + 3;
        const int feeds = feedsIn(begin, end);
        if (feeds == 0) return {to, line, columnAt(begin, end, column)};
        return {to, line + feeds, columnAt(strbchr(begin, end, '\n') + 1, end, 1)};
    }

    Place back(std::uint32_t to, const MLDoc& doc) const {
        const char* begin = doc.buffer + to;
        const char* end = doc.buffer + offset;
        const int feeds = feedsIn(begin, end);
        if (feeds == 0 && find(begin, end, '\t') == end) return {to, line, column - columnsOf(begin, end)};
        const char* feed = strbchr(doc.buffer, begin, '\n');
        const int columnThere = feed ? columnAt(feed + 1, begin, 1) : Place{0, 1, 1}.on(to, doc).column;
        return {to, line - feeds, columnThere};
    }
};

// The memo is the caller's, too: whatever it says, it holds for the places after it. Counting back is for a memo that
// counts the block, and that nobody has changed since.
void MLDoc::getPosition(int& line, int& column) const {
    line = column = 1;
    if (position == 0 || position >= length || !buffer) return;
    const Place begin = {0, 1, 1};
    const Place memo = {cachedOffset, cachedLine, cachedColumn};
    const bool ahead = position >= memo.offset;
    const bool counted = memo.seal() == countedMemo_ || memo.seal() == begin.seal();
    const Place answer = ahead     ? memo.on(position, *this)
                         : counted ? memo.back(position, *this)
                                   : begin.on(position, *this);
    countedMemo_ = counted || !ahead ? answer.seal() : 0;
    cachedOffset = position;
    line = cachedLine = answer.line;
    column = cachedColumn = answer.column;
}

// A byte is about to become a blank. One that ends a line, or has no column or several, was counted otherwise.
void velmora::detail::willBlank(const MLDoc& doc, const char* c) {
    if (c < doc.buffer + doc.cachedOffset && (*c == '\n' || *c == '\r' || *c == '\t')) doc.countedMemo_ = 0;
}
