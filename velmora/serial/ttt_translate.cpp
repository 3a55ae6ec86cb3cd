// Rendering: the walk over the segments of a message and the reader of templates, one engine for both kinds of result.
// A rendering ends in one of three ways: at the end of the message; by a stop, at something that makes no sense; or by
// an exception, of which a read beyond the end is the usual one. None of them reaches the caller.
#include <algorithm>
#include <bit>
#include <cstdio>
#include <cstring>
#include <new>
#include <string>

#include <velmora/localization/loc.h>
#include <velmora/serial/ttt.h>
#include <velmora/text/charvector.h>
#include <velmora/text/digits.h>
#include <velmora/text/formatting.h>
#include <velmora/text/timetext.h>

namespace {

constexpr int kDictionaries = 6;
constexpr int kPositionalMax = 32;
constexpr int kNumberMax = velmora::detail::kMostDigits + 1;
constexpr char kSmallDigits[] = "0123456789abcdef";
constexpr char kCapitalDigits[] = "0123456789ABCDEF";
// Bytes of a text with its terminator, for both kinds of result: a short message can ask for a long parameter many
// times.
constexpr std::size_t kTextMax = std::size_t{1} << 30;

// A number with a terminator. Requires: `out` has kNumberMax bytes. Returns: the place of the terminator.
template <class Value>
char* putNumber(Value value, char* out) {
    char* const end = velmora::detail::putDecimal(value, out);
    *end = 0;
    return end;
}

// With the terminator. What a hook has made may be longer.
std::size_t lengthOf(const std::string& text) { return std::min(text.size() + 1, kTextMax); }
std::size_t lengthOf(const CharVector& text) { return std::min(static_cast<std::size_t>(text.count) + 1, kTextMax); }

auto hookFor(const std::string&) { return TTT::translate_custom_std_string; }
auto hookFor(const CharVector&) { return TTT::translate_custom_char_vector; }

// The text of a reference, or null for a bad one: a number out of range, or a dictionary that has no texts (yet).
// The count comes from the registered table whatever loaders are used.
const char* lookUp(IDLocLoader** loaders, int dictionary, int id) {
    if (dictionary < 0 || dictionary >= kDictionaries) return nullptr;
    const IDLocLoader* loader = loaders[dictionary];
    const IDLocLoader::Localization* table = TTT::localizations[dictionary];
    if (!loader || !loader->strings || !table) return nullptr;
    if (id < 0 || id >= table->count) return nullptr;
    return (*loader)[id];
}

template <class Result>
class Rendering {
public:
    Rendering(Bag& message, IDLocLoader** loaders, Result& out) : bag_(message), loaders_(loaders), out_(out) {
        scratch_[0] = 0;
    }

    // Returns: false at a stop, with the cursor where the reading ended.
    bool run() {
        bag_.toBegin();
        while (bag_.tell() < bag_.getSize()) {
            ChPair text;
            switch (bag_.getLong()) {
                case TTT::DICT:
                    text = ChPair(readReference());
                    break;
                case TTT::RAW:
                    text = bag_.getStringAsPair();
                    break;
                case TTT::DATA: {
                    int length = bag_.getLong();
                    // A length that leads out of the message ends it, as a missing value does.
                    bag_.getDataPtr(length);
                    continue;
                }
                default:
                    break;
            }
            if (!text.begin || !renderTemplate(text)) return false;
        }
        return true;
    }

private:
    Bag& bag_;
    IDLocLoader** loaders_;
    Result& out_;
    char scratch_[512];  // the number, address or date that was formatted last
    const char* positional_[kPositionalMax];
    char positionalNumbers_[kPositionalMax][kNumberMax];
    int positionalCount_ = 0;

    void append(const char* s, std::size_t n) {
        if (n > kTextMax - lengthOf(out_)) throw std::bad_alloc();
        out_.append(s, n);
    }
    void append(const ChPair& s) { append(s.begin, s.size()); }
    void append(const char* s) { append(s, std::strlen(s)); }

    const char* readReference() {
        int dictionary = bag_.getLong();
        int id = bag_.getLong();
        return lookUp(loaders_, dictionary, id);
    }

    template <class Value>
    bool appendNumber(Value value) {
        return appendScratch(putNumber(value, scratch_));
    }
    template <class Value>
    bool appendHex(Value value, const char* digits) {
        char* p = scratch_;
        int bit = (static_cast<int>(std::bit_width(value | 1)) - 1) / 4 * 4;
        for (; bit >= 0; bit -= 4) *p++ = digits[value >> bit & 0xF];
        *p = 0;
        return appendScratch(p);
    }

    bool appendScratch(const char* end) {
        append(scratch_, static_cast<std::size_t>(end - scratch_));
        return true;
    }
    bool appendScratch() {
        append(scratch_);
        return true;
    }

    bool renderTemplate(const ChPair& text) {
        positionalCount_ = 0;
        const char* p = text.begin;
        const auto rest = [&p, &text] { return static_cast<std::size_t>(text.end - p); };
        while (const void* found = std::memchr(p, '%', rest())) {
            const char* const percent = static_cast<const char*>(found);
            append(p, static_cast<std::size_t>(percent - p));
            p = percent + 1;
            if (!renderPlaceholder(p)) return false;
        }
        append(p, rest());
        return true;
    }

    // `p` stands on the byte behind the percent sign, and afterwards behind the placeholder. Returns: false at a stop.
    bool renderPlaceholder(const char*& p) {
        switch (*p++) {
            case '%':
                append("%", 1);
                return true;
            case 'd':
                return appendNumber(bag_.getLong());
            case 'u':
                return appendNumber(bag_.getULong());
            case 'x':
                return appendHex(bag_.getULong(), kSmallDigits);
            case 'X':
                return appendHex(bag_.getULong(), kCapitalDigits);
            case 'f':
                return renderDouble(bag_.getDouble());
            case 'l':
                return renderLong(p);
            case 'A':
                return renderAddress(bag_.getULong());
            case 'D':
                return renderTime(&sprintf_date);
            case 'T':
                return renderTime(&sprintf_date_time);
            case 's':
                append(bag_.getStringAsPair());
                return true;
            case 'C': {
                const char* text = bag_.getStringPtr();
                if (!hookFor(out_)) return false;
                hookFor(out_)(text, out_);
                return true;
            }
            case 'i':
                return renderReference();
            case '{':
                return renderPositional(p);
            default:
                return false;
        }
    }

    // One `l` has been read; a second one may follow. Behind an unknown letter the last formatted text shows again.
    bool renderLong(const char*& p) {
        if (*p == 'l') ++p;
        if (*p == 0) return false;
        switch (*p++) {
            case 'd':
                return appendNumber(bag_.getLongLong());
            case 'u':
                return appendNumber(bag_.getULongLong());
            case 'x':
                return appendHex(bag_.getULongLong(), kSmallDigits);
            case 'X':
                return appendHex(bag_.getULongLong(), kCapitalDigits);
            default:
                return appendScratch();
        }
    }

    bool renderDouble(double v) {
        velmora::detail::putDouble(v, scratch_);
        return appendScratch();
    }

    bool renderAddress(unsigned v) {
        std::snprintf(scratch_, sizeof scratch_, "%u.%u.%u.%u", v >> 24, (v >> 16) & 0xFF, (v >> 8) & 0xFF, v & 0xFF);
        return appendScratch();
    }

    bool renderTime(bool (*format)(std::int64_t, char*, int)) {
        format(bag_.getULong(), scratch_, sizeof scratch_);
        return appendScratch();
    }

    bool renderReference() {
        const char* text = readReference();
        if (!text) return false;
        append(text);
        return true;
    }

    // Behind the brace: one digit and a brace, or two digits and one byte of any kind.
    bool renderPositional(const char*& p) {
        if (p[0] == 0 || p[1] == 0) return false;
        int number = static_cast<signed char>(p[0]) - '0';
        if (p[1] == '}') {
            p += 2;
        } else {
            number = number * 10 + static_cast<signed char>(p[1]) - '0';
            if (p[2] == 0) return false;
            p += 3;
        }
        int index = number - 1;
        if (index < 0 || index >= kPositionalMax) return false;
        while (index >= positionalCount_) {
            if (!readPositional()) return false;
        }
        append(positional_[index]);
        return true;
    }

    bool readPositional() {
        char* number = positionalNumbers_[positionalCount_];
        const char* text = number;
        switch (bag_.getLong()) {
            case TTT::PARAM_INT:
                putNumber(bag_.getLong(), number);
                break;
            case TTT::PARAM_UINT:
                putNumber(bag_.getULong(), number);
                break;
            case TTT::PARAM_INT64:
                putNumber(bag_.getLongLong(), number);
                break;
            case TTT::PARAM_UINT64:
                putNumber(bag_.getULongLong(), number);
                break;
            case TTT::PARAM_STRING:
                text = bag_.getStringPtr();
                break;
            default:
                return false;
        }
        positional_[positionalCount_++] = text;
        return true;
    }
};

// A stop leaves the cursor where it is; every other end brings it back. Errors are rendered while something else has
// gone wrong already, so nothing may leave.
template <class Result>
void render(Bag& message, IDLocLoader** loaders, Result& out) {
    int savedCursor = message.tell();
    try {
        out.clear();
        if (!Rendering<Result>(message, loaders, out).run()) return;
    } catch (...) {
    }
    message.to(savedCursor);
}

}  // namespace

constinit decltype(TTT::translate_custom_std_string) TTT::translate_custom_std_string = nullptr;
constinit decltype(TTT::translate_custom_char_vector) TTT::translate_custom_char_vector = nullptr;

void TTT::translate(std::string& out) const { translate(out, dictionaries); }
void TTT::translate(std::string& out, IDLocLoader** loaders) const { render(data, loaders, out); }
void TTT::translate(CharVector& out) const { translate(out, dictionaries); }
void TTT::translate(CharVector& out, IDLocLoader** loaders) const { render(data, loaders, out); }
