// The text routines of every kind of machine, for as many as this one has, against the rules a byte at a time. They are
// called as users call them, with texts of every length and alignment, whose begin or end lies against a page that
// cannot be read.
#include <velmora/text/functions.h>

#include <gtest/gtest.h>

#include <velmora/text/bytes.h>
#include <velmora/text/bytes_routines.h>
#include <velmora/text/utf.h>
#include <velmora/text/utf_plain.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/guard_page.h"
#include "tests/support/table_scope.h"

namespace {

using support::GuardedBytes;
using support::TableScope;
using velmora::detail::TextFunctions;
using velmora::detail::textFunctions;

using Size = std::size_t;

constexpr Size kMostLength = 200;

struct Implementation {
    const char* name;
    const TextFunctions* functions;
};

std::vector<Implementation> implementations() {
    using namespace velmora::detail;
    std::vector<Implementation> all = {{"portable", &portableTextFunctions}, {"base", &baseTextFunctions}};
    if (avx2TextFunctions && hasAvx2()) all.push_back({"avx2", avx2TextFunctions});
    return all;
}

class TextFunctionsTest : public ::testing::TestWithParam<Implementation> {
protected:
    TextFunctionsTest() : before_(textFunctions) { textFunctions = *GetParam().functions; }
    ~TextFunctionsTest() override { textFunctions = before_; }

private:
    const TextFunctions before_;
};

INSTANTIATE_TEST_SUITE_P(Of, TextFunctionsTest, ::testing::ValuesIn(implementations()),
                         [](const auto& row) { return row.param.name; });

// A place for texts that lies between two pages that cannot be read.
class Room {
public:
    Room() : pages_(std::string(1 << 16, '\xA9')) {}  // a multiple of every size of a page

    char* atBegin(const std::string& text) { return copied(text, pages_.begin()); }
    char* atEnd(const std::string& text) { return copied(text, pages_.end() - text.size()); }
    char* at(const std::string& text, Size alignment) { return copied(text, pages_.begin() + 4096 + alignment); }

private:
    GuardedBytes pages_;

    static char* copied(const std::string& text, char* to) {
        if (!text.empty()) std::memcpy(to, text.data(), text.size());
        return to;
    }
};

// Each text once against either page, and at one of the 64 alignments.
template <class Check>
void forEachPlace(Room& room, const std::string& text, Check check) {
    static Size alignment = 0;
    alignment = (alignment + 1) % 64;
    check(room.atBegin(text));
    check(room.atEnd(text));
    check(room.at(text, alignment));
}

// What texts are made of. Each kind is what some routine finds hard.
const std::vector<std::vector<std::string>> kinds = {
    {"a", "B", "z", "0", "[", "`", "{", "@"},
    {"a", "b", "\xC3\xA9", "\xE2\x82\xAC"},
    {"\xD0\x96", "\xD1\x8F", " "},
    {"\xE4\xBD\xA0", "\xEF\xBF\xBF", "\xE0\x80\x80", "\xED\xA0\x80"},
    {"a", "A", "\x80", "\xBF", "\xC0", "\xC3", "\xDF", "\xE0", "\xE2", "\xEF", "\xF0", "\xFF", "\x7F"},
    {"\xC3\xA9", "\xE2\x82\xAC", "\x80", "\xE2\x82", "\xC3"},
    {"\x80", "\x81", "\xE1"},
    {"a", std::string(1, '\0'), "\xC3\xA9"},
};

std::string textOf(const std::vector<std::string>& pieces, Size length, std::mt19937& random) {
    std::string text;
    // Runs of one piece, of which there may be only one, so that whole blocks of one kind come too.
    while (text.size() < length) {
        const std::string& piece = pieces[random() % pieces.size()];
        for (unsigned n = random() % 3 == 0 ? random() % 50 : 1; n > 0; --n) text += piece;
    }
    text.resize(length);
    return text;
}

template <class Check>
void forEachText(unsigned seed, Check check) {
    std::mt19937 random(seed);
    for (Size length = 0; length <= kMostLength; ++length) {
        for (const auto& pieces : kinds) {
            for (int i = 0; i < 4; ++i) check(textOf(pieces, length, random));
        }
    }
    for (const auto& pieces : kinds) check(textOf(pieces, 20'000, random));
}

std::string shown(const std::string& text) { return testing::PrintToString(text.substr(0, 300)); }

const char* faultOf(const char* b, const char* e) { return velmora::detail::plainFault(b, e); }

TEST_P(TextFunctionsTest, FindTheFirstFault) {
    Room room;
    forEachText(1, [&](const std::string& text) {
        forEachPlace(room, text, [&](const char* b) {
            ASSERT_EQ(faultOf(b, b + text.size()), strchk_utf8(b, text.size())) << shown(text);
        });
    });
}

// One byte is changed in a good text, at each place: each kind of fault at each place of a block.
TEST_P(TextFunctionsTest, FindOneFaultAtEachPlace) {
    Room room;
    std::mt19937 random(2);
    for (Size kind = 1; kind <= 3; ++kind) {
        std::string good = textOf(kinds[kind], kMostLength, random);
        while (!good.empty() && faultOf(good.data(), good.data() + good.size())) good.pop_back();
        for (Size place = 0; place < good.size(); ++place) {
            for (char bad : {'a', '\x80', '\xC3', '\xE2', '\xF0'}) {
                std::string text = good;
                text[place] = bad;
                for (char* b : {room.atBegin(text), room.atEnd(text)}) {
                    ASSERT_EQ(faultOf(b, b + text.size()), strchk_utf8(b, text.size())) << place << shown(text);
                }
            }
            const std::string cut = good.substr(0, place);
            for (char* b : {room.atBegin(cut), room.atEnd(cut)}) {
                ASSERT_EQ(faultOf(b, b + cut.size()), strchk_utf8(b, cut.size())) << place << shown(good);
            }
        }
    }
}

TEST_P(TextFunctionsTest, CountCharacters) {
    Room room;
    const auto check = [&](const std::string& text) {
        forEachPlace(room, text, [&](const char* b) {
            ASSERT_EQ(velmora::detail::plainCharacters(b, b + text.size()), strlen_utf8(b, b + text.size()));
        });
    };
    forEachText(3, check);
    check(std::string(40'000, '\x80'));
    check(std::string(40'000, 'a'));
}

// Units in a block of their exact size.
class Units {
public:
    explicit Units(Size n) : size_(n), bytes_(std::string(2 * n, '\x55')) {}
    utf16_t* begin() const { return reinterpret_cast<utf16_t*>(bytes_.begin()); }
    utf16_t* end() const { return begin() + size_; }

private:
    Size size_;
    GuardedBytes bytes_;
};

constexpr unsigned char kUntouched = 0x55;

void expectConverted(const char* b, const std::string& text, Size room, const Units& actual) {
    std::vector<utf16_t> expected(room);
    const Size size = room * sizeof(utf16_t);
    if (room != 0) std::memset(expected.data(), kUntouched, size);
    velmora::detail::plainToUtf16(b, b + text.size(), expected.data(), expected.data() + room);
    utf16_t* const d = actual.end() - room;
    const Size before = std::min<Size>(static_cast<Size>(d - actual.begin()), 64);
    std::memset(d - before, kUntouched, size + before * sizeof(utf16_t));
    utf8_to_utf16(b, b + text.size(), d, actual.end());
    ASSERT_TRUE(room == 0 || std::memcmp(expected.data(), d, size) == 0) << room << shown(text);
    for (Size i = 1; i <= before; ++i) ASSERT_EQ(kUntouched * 0x101, static_cast<unsigned>(d[-static_cast<int>(i)]));
}

TEST_P(TextFunctionsTest, ConvertToUtf16AndTouchNothingElse) {
    Room room;
    std::mt19937 random(4);
    Units units(21'000);
    forEachText(5, [&](const std::string& text) {
        const Size length = velmora::detail::plainCharacters(text.data(), text.data() + text.size());
        forEachPlace(room, text, [&](const char* b) {
            for (Size n : {length, length + 40, length - random() % (length + 1)}) expectConverted(b, text, n, units);
        });
    });
}

// A fault and an end at each place of a long text, whose units are converted many at once.
TEST_P(TextFunctionsTest, ConvertToUtf16RoundFaultsAtEachPlace) {
    Room room;
    std::mt19937 random(6);
    Units units(2000);
    for (const char* fault : {"\x80", "\xC3", "\xE2\x82", "\xE2", "\xF0\x9F\x98\x80", "\x80\x80\x80\x80\x80"}) {
        for (Size kind = 0; kind <= 3; ++kind) {
            for (Size place = 0; place < 100; ++place) {
                std::string text = textOf(kinds[kind], place, random) + fault;
                text += textOf(kinds[kind], random() % 1000, random);
                expectConverted(room.atEnd(text), text, text.size(), units);
            }
        }
    }
}

std::vector<utf16_t> unitsOf(Size n, unsigned kind, std::mt19937& random) {
    static constexpr unsigned kTops[][4] = {
        {0x80, 0x80, 0x80, 0x80},
        {0x80, 0x800, 0x80, 0x80},
        {0x80, 0x800, 0x10000, 0x10000},
        {0x800, 0x800, 0x800, 0x900},
    };
    std::vector<utf16_t> units;
    while (units.size() < n) {
        const unsigned top = kTops[kind][random() % 4];
        for (unsigned run = random() % 3 == 0 ? random() % 50 : 1; run > 0; --run)
            units.push_back(static_cast<utf16_t>(random() % 4 == 0 ? top - 1 : random() % top));
    }
    units.resize(n);
    for (Size i = 0; i < n; ++i) {
        static constexpr unsigned kLimits[] = {0, 0x7F, 0x80, 0x7FF, 0x800, 0xD800, 0xDFFF, 0xFFFF};
        if (kind == 2 && random() % 16 == 0) units[i] = static_cast<utf16_t>(kLimits[random() % 8]);
    }
    return units;
}

TEST_P(TextFunctionsTest, ConvertToUtf8AndTouchNothingElse) {
    std::mt19937 random(7);
    for (Size n = 0; n <= kMostLength + 1; ++n) {
        for (unsigned kind = 0; kind < 4; ++kind) {
            const Size size = n <= kMostLength ? n : 70'000;
            const std::vector<utf16_t> source = unitsOf(size, kind, random);
            std::string bytes(2 * size, '\0');
            if (size != 0) std::memcpy(bytes.data(), source.data(), bytes.size());
            const GuardedBytes guarded(bytes);
            const auto* units = reinterpret_cast<const utf16_t*>(guarded.begin());
            const Size length = velmora::detail::plainLength(units, units + size);
            ASSERT_EQ(length, strlen_utf8(units, units + size));
            for (Size room : {length, length + 40, length - random() % (length + 1)}) {
                std::string expected(room, '\x55');
                velmora::detail::plainToUtf8(units, units + size, expected.data(), expected.data() + room);
                const GuardedBytes actual(std::string(room, '\x55'));
                utf16_to_utf8(units, units + size, actual.begin(), actual.end());
                ASSERT_TRUE(std::equal(expected.begin(), expected.end(), actual.begin())) << n << ' ' << kind;
            }
        }
    }
}

// The sum of what single units are shorter is kept in 16 bits for as long as that can be.
TEST_P(TextFunctionsTest, MeasureLongUtf16) {
    const std::vector<utf16_t> units(2'000'000, u'a');
    EXPECT_EQ(units.size(), strlen_utf8(units.data(), units.data() + units.size()));
}

// An end pointer in the middle of a unit: the unit counts.
TEST_P(TextFunctionsTest, CountAUnitThatIsCut) {
    const auto after = [](auto* p, Size bytes) {
        return reinterpret_cast<decltype(p)>(reinterpret_cast<std::uintptr_t>(p) + bytes);
    };
    for (Size bytes : {1, 3, 63, 65, 99, 129}) {
        const std::vector<utf16_t> units(100, u'a');
        const Size n = (bytes + 1) / 2;
        EXPECT_EQ(n, strlen_utf8(units.data(), after(units.data(), bytes)));
        std::string narrow(100, '.');
        utf16_to_utf8(units.data(), after(units.data(), bytes), narrow.data(), narrow.data() + narrow.size());
        EXPECT_EQ(std::string(n, 'a') + std::string(100 - n, '.'), narrow);
        std::vector<utf16_t> wide(100, u'.');
        utf8_to_utf16(narrow.data(), narrow.data() + n, wide.data(), after(wide.data(), bytes));
        EXPECT_TRUE(std::equal(units.begin(), units.begin() + static_cast<std::ptrdiff_t>(n), wide.begin()));
        EXPECT_EQ(u'.', wide[n]);
    }
}

unsigned char upper(char c) { return chr_upper_table_ascii[static_cast<unsigned char>(c)]; }

std::string folded(std::string text) {
    for (char& c : text) c = static_cast<char>(upper(c));
    return text;
}

// The place in `b` where the runtime finds a pattern in a text. Both may have been folded.
const char* placeIn(const char* b, const std::string& text, const std::string& pattern) {
    const Size at = std::string_view(text).find(pattern);
    return at == std::string::npos ? nullptr : b + at;
}

std::vector<std::string> patternsFor(const std::string& text, std::mt19937& random) {
    std::vector<std::string> patterns = {"ab", "aB", std::string(5, 'a'), "\xA9", "q", "a"};
    for (int i = 0; i < 4 && !text.empty(); ++i) {
        const Size from = random() % text.size();
        std::string pattern = text.substr(from, 1 + random() % (text.size() - from));
        patterns.push_back(pattern);
        pattern[random() % pattern.size()] ^= 0x20;
        patterns.push_back(pattern);
    }
    return patterns;
}

TEST_P(TextFunctionsTest, FindPatterns) {
    Room room;
    std::mt19937 random(8);
    forEachText(9, [&](const std::string& text) {
        if (text.empty()) return;
        const std::string foldedText = folded(text);
        for (const std::string& pattern : patternsFor(text, random)) {
            const std::string foldedPattern = folded(pattern);
            for (char* b : {room.atBegin(text), room.atEnd(text)}) {
                const char* const e = b + text.size();
                ASSERT_EQ(placeIn(b, text, pattern), strfind(b, text.size(), pattern.data(), pattern.size()))
                    << shown(text) << shown(pattern);
                ASSERT_EQ(placeIn(b, foldedText, foldedPattern),
                          strfind_i_ascii(b, text.size(), pattern.data(), pattern.size()))
                    << shown(text) << shown(pattern);
                ASSERT_EQ(placeIn(b, foldedText, foldedPattern.substr(0, 1)), strfind_i_ascii(b, e, pattern[0]))
                    << shown(text) << shown(pattern);
            }
        }
    });
}

// The text differs from the pattern in its last byte only, at each place: the search gives way to another one.
TEST_P(TextFunctionsTest, FindPatternsThatMatchNearlyEverywhere) {
    const std::string pattern = std::string(99, 'a') + 'b' + std::string(100, 'a');
    for (Size n : {300, 2000, 5000}) {
        for (Size place = 0; place < 300; place += 17) {
            std::string text(n, 'a');
            if (place + 99 < n) text[n - 1 - place] = 'b';
            const GuardedBytes bytes(text);
            const char* const expected = placeIn(bytes.begin(), text, pattern);
            ASSERT_EQ(expected, strfind(bytes.begin(), n, pattern.data(), pattern.size()));
            ASSERT_EQ(expected, strfind_i_ascii(bytes.begin(), n, pattern.data(), pattern.size()));
        }
    }
}

int naiveOrder(const std::string& a, const std::string& b) {
    for (Size i = 0; i < std::min(a.size(), b.size()); ++i) {
        if (upper(a[i]) != upper(b[i]))
            return static_cast<unsigned char>(a[i]) > static_cast<unsigned char>(b[i]) ? 1 : -1;
    }
    return (a.size() > b.size()) - (a.size() < b.size());
}

void expectCompared(Room& room, Room& other, const std::string& a, const std::string& b) {
    const int order = naiveOrder(a, b);
    for (bool atEnd : {false, true}) {
        const char* const one = atEnd ? room.atEnd(a) : room.atBegin(a);
        const char* const two = atEnd ? other.atEnd(b) : other.atBegin(b);
        ASSERT_EQ(order, strcmp_i_ascii(one, one + a.size(), two, two + b.size())) << shown(a) << shown(b);
        ASSERT_EQ(-order, strcmp_i_ascii(two, two + b.size(), one, one + a.size())) << shown(a) << shown(b);
        ASSERT_EQ(order == 0, streq_i_ascii(one, a.size(), two, b.size())) << shown(a) << shown(b);
    }
}

// Patterns and single bytes, searched for without case.
void expectAllFound(unsigned seed) {
    Room room;
    std::mt19937 random(seed);
    forEachText(seed + 1, [&](const std::string& text) {
        if (text.empty()) return;
        for (const std::string& pattern : patternsFor(text, random)) {
            char* const b = room.atEnd(text);
            ASSERT_EQ(placeIn(b, folded(text), folded(pattern)),
                      strfind_i_ascii(b, text.size(), pattern.data(), pattern.size()))
                << shown(text) << shown(pattern);
            ASSERT_EQ(placeIn(b, folded(text), folded(pattern.substr(0, 1))),
                      strfind_i_ascii(b, b + text.size(), pattern[0]))
                << shown(text) << shown(pattern);
        }
    });
}

// The same text in other cases, with one other byte at some place.
void expectAllCompared(unsigned seed) {
    Room room, other;
    std::mt19937 random(seed);
    forEachText(seed, [&](const std::string& text) {
        std::string cases = text;
        for (char& c : cases) {
            const bool isLetter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
            if (isLetter && random() % 2 == 0) c ^= 0x20;
        }
        expectCompared(room, other, text, cases);
        if (text.empty()) return;
        for (int i = 0; i < 4; ++i) {
            std::string changed = cases;
            changed[random() % changed.size()] ^= static_cast<char>(i == 0 ? 0x20 : random() % 255 + 1);
            expectCompared(room, other, text, changed);
            expectCompared(room, other, text, cases.substr(0, random() % cases.size()));
        }
    });
}

TEST_P(TextFunctionsTest, CompareWithoutCase) { expectAllCompared(10); }

// Bytes that are not ASCII have the case that the tables give them when a routine is called.
TEST_P(TextFunctionsTest, CompareWithoutCaseAsTheTablesSay) {
    const TableScope<unsigned char> one(chr_upper_table_ascii, 0xE2, 0xC2), two(chr_upper_table_ascii, 0xA9, 0x89);
    const TableScope<unsigned char> letter(chr_upper_table_ascii, 0xBF, 'A');
    expectAllCompared(11);
}

TEST_P(TextFunctionsTest, FindWithoutCaseAsTheTablesSay) {
    const TableScope<unsigned char> one(chr_upper_table_ascii, 0xE2, 0xC2), two(chr_upper_table_ascii, 0xA9, 0x89);
    const TableScope<unsigned char> letter(chr_upper_table_ascii, 0xBF, 'A');
    expectAllFound(12);
}

void expectAllFolded() {
    Room room;
    forEachText(14, [&](const std::string& text) {
        forEachPlace(room, text, [&](char* b) {
            std::string up = text, low = text;
            for (char& c : up) c = static_cast<char>(upper(c));
            for (char& c : low) c = static_cast<char>(chr_lower_table_ascii[static_cast<unsigned char>(c)]);
            strup_ascii(b, b + text.size());
            ASSERT_EQ(up, std::string(b, text.size()));
            if (!text.empty()) std::memcpy(b, text.data(), text.size());
            strlw_ascii(b, b + text.size());
            ASSERT_EQ(low, std::string(b, text.size()));
        });
    });
}

TEST_P(TextFunctionsTest, ChangeCase) {
    expectAllFolded();
    const TableScope<unsigned char> up(chr_upper_table_ascii, 0xE2, 0xC2), low(chr_lower_table_ascii, 0xC3, 0xE3);
    expectAllFolded();
    std::string every;
    for (int c = 0; c < 256; ++c) every += static_cast<char>(c);
    for (int c = 0; c < 128; ++c) every += static_cast<char>(c);
    std::string changed = every;
    strup_ascii(changed.data(), changed.data() + changed.size());
    for (Size i = 0; i < every.size(); ++i) EXPECT_EQ(upper(every[i]), static_cast<unsigned char>(changed[i])) << i;
}

// Before the tables are built all bytes fold alike, and so they do where a locale has a case for other ASCII characters
// than the letters.
TEST_P(TextFunctionsTest, FollowTheTablesWhereTheyAreNotThoseOfAscii) {
    struct NotPlain {
        NotPlain() { velmora::detail::asciiCaseIsPlain = false; }
        ~NotPlain() { velmora::detail::asciiCaseIsPlain = true; }
    };
    ASSERT_TRUE(velmora::detail::asciiCaseIsPlain);
    const NotPlain notPlain;
    const TableScope<unsigned char> one(chr_upper_table_ascii, '{', '['), two(chr_upper_table_ascii, 'z', 'z');
    const TableScope<unsigned char> three(chr_lower_table_ascii, '[', '{');
    expectAllCompared(15);
    expectAllFolded();
    expectAllFound(16);
}

// --- Comparing and finding UTF-8 without case, against the rules as they are written ---

using velmora::detail::byteAt;
using velmora::detail::continues;
using velmora::detail::decode;

unsigned upperUnit(unsigned c) { return chr_upper_table_utf16[c]; }

int plainOrder(const char* b1, const char* e1, const char* b2, const char* e2) {
    const char *p1 = b1, *p2 = b2;
    while (p1 < e1 && p2 < e2) {
        const unsigned char c1 = byteAt(p1), c2 = byteAt(p2);
        if (c1 == c2 || (c1 < 0x80 && c2 < 0x80 && chr_upper_table_ascii[c1] == chr_upper_table_ascii[c2])) {
            ++p1, ++p2;
            continue;
        }
        if (c1 < 0x80 && c2 < 0x80) return chr_upper_table_ascii[c1] > chr_upper_table_ascii[c2] ? 1 : -1;
        const char *start1 = p1, *start2 = p2;
        while (start1 > b1 && continues(start1)) --start1;
        while (start2 > b2 && continues(start2)) --start2;
        utf16_t unit1, unit2;
        const char *next1 = decode(unit1, start1, e1), *next2 = decode(unit2, start2, e2);
        if (next1 <= p1 && next2 <= p2 && upperUnit(unit1) == upperUnit(unit2)) {
            next1 = decode(unit1, start1 + 1, e1);
            next2 = decode(unit2, start2 + 1, e2);
        }
        p1 = next1, p2 = next2;
        if (upperUnit(unit1) != upperUnit(unit2)) return upperUnit(unit1) > upperUnit(unit2) ? 1 : -1;
    }
    if (p1 < e1) return 1;
    return p2 < e2 ? -1 : 0;
}

const char* plainFind(const char* b, const char* e, const char* pb, const char* pe) {
    if (pe - pb > e - b) return nullptr;
    utf16_t first, c;
    const char* const rest = decode(first, pb, pe);
    const char* const limit = e - (pe - rest);
    for (const char* next; b < limit; b = next) {
        next = decode(c, b, limit);
        if (upperUnit(c) != upperUnit(first)) continue;
        if (rest == pe || plainOrder(next, next + (pe - rest), rest, pe) == 0) return b;
    }
    return nullptr;
}

TEST_P(TextFunctionsTest, CompareAndFindUtf8WithoutCase) {
    const TableScope<utf16_t> upperE(chr_upper_table_utf16, 0xE9, 0xC9), upperI(chr_upper_table_utf16, 0x131, 'I');
    Room room, other;
    std::mt19937 random(18);
    forEachText(19, [&](const std::string& text) {
        if (text.empty() || text.size() > 1000) return;
        for (const std::string& pattern : patternsFor(text, random)) {
            std::string changed = text;
            changed[random() % text.size()] ^= 0x20;
            if (random() % 4 == 0) changed.insert(random() % text.size(), "\xC4\xB1");
            if (random() % 4 == 0) changed.insert(random() % text.size(), "\xC3\x89");
            const char *const b = room.atEnd(text), *const e = b + text.size();
            const char *const b2 = other.atEnd(changed), *const e2 = b2 + changed.size();
            ASSERT_EQ(plainOrder(b, e, b2, e2), strcmp_i_utf8(b, e, b2, e2)) << shown(text) << shown(changed);
            ASSERT_EQ(plainOrder(b2, e2, b, e), strcmp_i_utf8(b2, e2, b, e)) << shown(text) << shown(changed);
            const char *const pb = pattern.data(), *const pe = pb + pattern.size();
            ASSERT_EQ(plainFind(b, e, pb, pe), strfind_i_utf8(b, e, pb, pe)) << shown(text) << shown(pattern);
        }
    });
    // Long enough for a search that knows first what it is to find.
    for (const char* pattern : {"i", "I", "\xC4\xB1", "k", "\xC3\xA9", "\xC3\x89x", "\x80", "\xFF", "ix"}) {
        for (Size place = 0; place < 600; ++place) {
            std::string text = textOf(kinds[place % kinds.size()], place, random) + pattern;
            text += textOf(kinds[place % kinds.size()], 300, random);
            const char *const b = room.atEnd(text), *const e = b + text.size();
            const char* const pe = pattern + std::strlen(pattern);
            ASSERT_EQ(plainFind(b, e, pattern, pe), strfind_i_utf8(b, e, pattern, pe)) << shown(text);
        }
    }
}

TEST(TextFunctions, AreTheFastestThatTheMachineHas) {
    using namespace velmora::detail;
    const TextFunctions& expected = avx2TextFunctions && hasAvx2() ? *avx2TextFunctions : baseTextFunctions;
    EXPECT_EQ(expected.findFault, textFunctions.findFault);
    EXPECT_EQ(expected.foldBytes, textFunctions.foldBytes);
}

}  // namespace
