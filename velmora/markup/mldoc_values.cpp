// From a view in the buffer to a value.
#include <climits>
#include <cstring>
#include <memory>
#include <new>

#include <velmora/localization/keys.h>
#include <velmora/markup/mldoc.h>
#include <velmora/markup/scan.h>
#include <velmora/serial/bag.h>
#include <velmora/serial/ttt.h>
#include <velmora/text/charr.h>
#include <velmora/text/charvector.h>
#include <velmora/text/overlap.h>

namespace {

using velmora::detail::Block;
using velmora::detail::copyUnless;

[[noreturn]] void refuseEscape() { throw TTT(VELMORA_DICT, LCA__Unsupported_escape_sequence); }

struct Entity {
    const char* text;  // what stands behind the '&'
    int length;
    char character;
};

constexpr Entity entities[] = {
    {"amp;", 4, '&'}, {"apos;", 5, '\''}, {"quot;", 5, '"'}, {"lt;", 3, '<'}, {"gt;", 3, '>'}};

// `p` stands behind the '&' and is moved behind the entity.
char readEntity(const char*& p, const char* end) {
    for (const Entity& entity : entities) {
        if (end - p < entity.length || std::memcmp(p, entity.text, static_cast<std::size_t>(entity.length)) != 0)
            continue;
        p += entity.length;
        return entity.character;
    }
    refuseEscape();
}

// `p` stands behind the backslash. The table takes raw control bytes and gives letters, not the other way round:
// documents are decoded this way by definition.
char readBackslash(const char*& p, const char* end) {
    if (p == end) refuseEscape();
    switch (*p++) {
        case '\b':
            return 'b';
        case '\t':
            return 't';
        case '\n':
            return 'n';
        case '\f':
            return 'f';
        case '\r':
            return 'r';
        case '"':
            return '"';
        case '\\':
            return '\\';
        default:
            refuseEscape();
    }
}

// Copies a short value without a mark, as most are, by its two ends, which may overlap. Both are read before they are
// stored: a value may be decoded in its own place. Returns: false for any other; what `out` holds is as it was.
bool copyShort(char* out, const ChPair& value, char mark) {
    const std::ptrdiff_t n = value.end - value.begin;
    const auto isMark = [=](Block b) { return b.is(mark); };
    if (n < Block::kSize) return copyUnless(out, value.begin, static_cast<int>(n), isMark);
    if (n > 2 * Block::kSize) return false;
    const Block low = Block::load(value.begin), high = Block::load(value.end - Block::kSize);
    if ((isMark(low) | isMark(high)).any()) return false;
    low.store(out);
    high.store(out + n - Block::kSize);
    return true;
}

// Copies what needs no decoding in stretches; `mark` begins every sequence that does.
template <class Read>
int decode(const ChPair& value, char* out, char mark, Read read) {
    if (value.begin < value.end && copyShort(out, value, mark)) return static_cast<int>(value.end - value.begin);
    char* o = out;
    const char* p = value.begin;
    while (p < value.end) {
        const void* found = std::memchr(p, mark, static_cast<std::size_t>(value.end - p));
        const char* stop = found ? static_cast<const char*>(found) : value.end;
        std::memmove(o, p, static_cast<std::size_t>(stop - p));  // a value may be decoded in its own place
        o += stop - p;
        p = stop;
        if (p == value.end) break;
        ++p;
        *o++ = read(p, value.end);
    }
    return static_cast<int>(o - out);
}

// A stale view may end before it begins: it is empty.
int sizeOf(const ChPair& value) {
    if (!(value.begin < value.end)) return 0;
    const std::ptrdiff_t size = value.end - value.begin;
    if (size >= INT_MAX) throw std::bad_alloc();
    return static_cast<int>(size);
}

// Sets the length and the terminator of a text once its value has been decoded or refused. Not earlier: the value may
// lie where the terminator falls.
class Ending {
public:
    Ending(CharVector& out, int size) : out_(out) { out.count = size; }
    Ending(const Ending&) = delete;
    void operator=(const Ending&) = delete;
    ~Ending() { out_.data[out_.count] = 0; }

private:
    CharVector& out_;
};

}  // namespace

int MLDoc::convertEscape(const ChPair& value, char* out) const {
    if (format == XML || format == HTML) return decode(value, out, '&', readEntity);
    return decode(value, out, '\\', readBackslash);
}

void MLDoc::convertEscape(const ChPair& value, CharVector& out) const {
    const int size = sizeOf(value);
    if (size == 0) {
        out.truncate();
        return;
    }
    std::unique_ptr<char[]> former;
    if (out.allocateCount <= size) {
        // Cleared for a value that is refused half way.
        std::unique_ptr<char[]> text(new char[static_cast<std::size_t>(size) + 1]());
        former.reset(out.data);  // the value may lie in it
        out.data = text.release();
        out.allocateCount = size + 1;
    }
    const Ending ending(out, size);
    out.count = convertEscape(value, out.data);
}

void MLDoc::convertEscape(const ChPair& value, ChArr& out) const {
    // Cleared, so that the text ends wherever decoding stops.
    std::unique_ptr<char[]> text(new char[static_cast<std::size_t>(sizeOf(value)) + 1]());
    const std::unique_ptr<char[]> former(out.steal());  // the value may lie in it
    out.data = text.release();
    convertEscape(value, out.data);
}

void MLDoc::convertEscape(const ChPair& value, std::string& out) const {
    const auto size = static_cast<std::size_t>(sizeOf(value));
    if (velmora::detail::liesIn(value.begin, out.data(), static_cast<std::ptrdiff_t>(out.size()) + 1)) {
        const std::string copy(value.begin, size);
        return convertEscape(ChPair(copy), out);
    }
    out.resize(size);
    out.resize(static_cast<std::size_t>(convertEscape(value, &out[0])));
}

void MLDoc::convertEscape(const ChPair& value, TTT& out) const {
    constexpr int kTagAndEnd = 5;
    if (value.end - value.begin > INT_MAX - kTagAndEnd) throw Bag::Exception();
    const int size = sizeOf(value);
    Bag block;
    block.reserve(size + kTagAndEnd);
    block.putLong(TTT::RAW);
    block.putDataPtr(convertEscape(value, block.ptr()));
    block.putChar(0);
    block.toBegin();
    out.stealFrom(block);
}

void MLDoc::getString(const ChPair& value, char* out, std::uint64_t size) {
    auto bytes = static_cast<std::uint64_t>(value.len());
    if (bytes >= size) throw TTT(VELMORA_DICT, LCA__Too_long_string);
    if (bytes != 0) std::memmove(out, value.begin, bytes);  // the value may lie in `out`
    out[bytes] = 0;
}

int MLDoc::getInt32(const ChPair& value) const {
    int number;
    if (!value.getInt(number)) throw TTT(VELMORA_DICT, LCA__Invalid_integer_value);
    return number;
}

double MLDoc::getDouble(const ChPair& value) const {
    double number;
    if (!value.getDouble(number)) throw TTT(VELMORA_DICT, LCA__Invalid_double_value);
    return number;
}
