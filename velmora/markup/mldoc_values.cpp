// From a view in the buffer to a value.
#include <cstring>
#include <memory>

#include <velmora/localization/keys.h>
#include <velmora/markup/mldoc.h>
#include <velmora/serial/bag.h>
#include <velmora/serial/ttt.h>
#include <velmora/text/charr.h>
#include <velmora/text/charvector.h>

namespace {

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

// Copies what needs no decoding in stretches; `mark` begins every sequence that does.
template <class Read>
int decode(const ChPair& value, char* out, char mark, Read read) {
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

}  // namespace

int MLDoc::convertEscape(const ChPair& value, char* out) const {
    if (format == XML || format == HTML) return decode(value, out, '&', readEntity);
    return decode(value, out, '\\', readBackslash);
}

void MLDoc::convertEscape(const ChPair& value, CharVector& out) const {
    if (value.empty()) {
        out.truncate();
        return;
    }
    const char* former = out.data;
    char* text = out.prepare(value.len());
    // What a value leaves behind that is refused half way; in the former block the value itself may lie.
    if (text != former) std::memset(text, 0, static_cast<std::size_t>(value.len()));
    out.cutTo(convertEscape(value, text));
}

void MLDoc::convertEscape(const ChPair& value, ChArr& out) const {
    const std::unique_ptr<char[]> former(out.steal());                 // the value may lie in it
    out.data = new char[static_cast<std::size_t>(value.len()) + 1]();  // ended wherever decoding stops
    convertEscape(value, out.data);
}

void MLDoc::convertEscape(const ChPair& value, std::string& out) const {
    out.resize(static_cast<std::size_t>(value.len()));
    out.resize(static_cast<std::size_t>(convertEscape(value, &out[0])));
}

void MLDoc::convertEscape(const ChPair& value, TTT& out) const {
    Bag block;
    block.reserve(value.len() + 5);
    block.putLong(TTT::RAW);
    int size = convertEscape(value, block.ptr());
    block.putDataPtr(size);
    block.putChar(0);
    block.toBegin();
    out.stealFrom(block);
}

void MLDoc::getString(const ChPair& value, char* out, std::uint64_t size) {
    auto bytes = static_cast<std::uint64_t>(value.len());
    if (bytes >= size) throw TTT(VELMORA_DICT, LCA__Too_long_string);
    if (bytes != 0) std::memcpy(out, value.begin, bytes);
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
