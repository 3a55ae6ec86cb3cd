#include <velmora/text/chpair.h>

#include <algorithm>

#include <velmora/text/charr.h>
#include <velmora/text/charvector.h>

namespace {

// Trims in two passes. The first is bounded by a byte that stops it and not by the end of the view.
template <class IsTrimmed>
void trim(ChPair& view, IsTrimmed isTrimmed) {
    if (view.begin >= view.end) return;
    while (isTrimmed(*view.begin)) ++view.begin;
    while (view.end > view.begin && isTrimmed(view.end[-1])) --view.end;
}

}  // namespace

ChPair::ChPair(const ChArr& s) noexcept : ChPair(static_cast<const char*>(s.data)) {}
ChPair::ChPair(const CharVector& s) noexcept : ChPair(s.data, s.count) {}

std::string& ChPair::std(std::string& out) const {
    out.assign(begin ? begin : empty_string, size());
    return out;
}

void ChPair::replace(char from, char to) { std::replace(begin, stop(), from, to); }

void ChPair::trimSpaces() {
    trim(*this, [](char c) { return c == ' '; });
}

void ChPair::trimWhite() {
    trim(*this, [](char c) { return static_cast<unsigned char>(c) <= ' '; });
}

void ChPair::trimEOLN() {
    if (end > begin && end[-1] == '\n') --end;
    if (end > begin && end[-1] == '\r') --end;
}

void ChPair::trimQuotes(char open, char close) {
    if (end - begin < 2 || *begin != open || end[-1] != close) return;
    ++begin;
    --end;
}

bool ChPair::split(ChPair& left, char c, ChPair& right) const {
    const char* place = find(c);
    if (!place) return false;
    const ChPair whole = readable();  // an output may be *this
    left.assign(whole.begin, place);
    right.assign(place + 1, whole.end);
    return true;
}

bool ChPair::split_get(ChPair& left, char c, ChPair& right) const {
    if (split(left, c, right)) return true;
    const ChPair whole = readable();
    left = whole;
    right.assign(whole.end, whole.end);
    return false;
}

bool ChPair::split_line_get(ChPair& line, ChPair& rest) const {
    ChPair left, right;
    bool found = split_get(left, '\n', right);
    if (found && left.end > left.begin && left.end[-1] == '\r') --left.end;
    line = left;
    rest = right;
    return found;
}

ChPair ChPair::findLastExtension() const { return ChPair(strfind_last_extension(begin, stop()), stop()); }

ChPair ChPair::findLastPathItem() const { return ChPair(strfind_last_path_item(begin, stop()), stop()); }

ChPair ChPair::parsePath() const {
    ChPair item = findLastPathItem();
    if (const char* dot = strbchr(item.begin, item.end, '.')) item.end = const_cast<char*>(dot);
    return item;
}

bool ChPair::getIP(unsigned& out) const {
    out = 0;
    if (size() == 0) return false;
    unsigned address = 0;
    unsigned octet = 0;
    int dots = 0;
    int digits = 0;
    for (const char* p = begin; p != end; ++p) {
        if (*p == '.') {
            if (digits == 0 || ++dots > 3) return false;
            address = address << 8 | octet;
            digits = 0;
            octet = 0;
            continue;
        }
        if (*p < '0' || *p > '9' || ++digits > 3) return false;
        octet = octet * 10 + static_cast<unsigned>(*p - '0');
        if (octet > 255) return false;
    }
    if (dots != 3) return false;
    out = address << 8 | octet;
    return true;
}
