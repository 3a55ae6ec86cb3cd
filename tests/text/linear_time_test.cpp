// No text is so bad that a function takes the square of its length. Each runs over each of some shapes of text, in a
// size for which linear work is done in a fraction of the limit, on a slow machine under a checker too, and quadratic
// work is not.
#include <velmora/text/bytes.h>
#include <velmora/text/charr.h>
#include <velmora/text/charvector.h>
#include <velmora/text/chpair.h>
#include <velmora/text/numbers.h>
#include <velmora/text/timetext.h>
#include <velmora/text/utf.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <string>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

// Whether an action is done within a time, in one of three runs: others may have had the processor.
bool isDoneWithin(std::chrono::milliseconds limit, const std::function<void()>& action) {
    for (int run = 0; run < 3; ++run) {
        const Clock::time_point begin = Clock::now();
        action();
        if (Clock::now() - begin < limit) return true;
    }
    return false;
}

std::string repeated(const std::string& piece, std::size_t size) {
    std::string text;
    while (text.size() < size) text += piece;
    return text;
}

// What walks forwards, walks backwards and decoders may stumble over.
std::vector<std::string> shapes(std::size_t size) {
    std::vector<std::string> texts;
    for (const char* piece :
         {"a", "A", "b", "\x80", "\xA0", "\xB1",  "\xC3",     "\xE1",     "\xFF",         " ",  "\t",  "\n", "\r\n",
          ".", "/", "0", "T",    "\"",   "a\x80", "\xC1\x81", "\xC3\xA9", "\xE1\x84\xB0", "a ", "a\n", "0.", "0x"}) {
        texts.push_back(repeated(piece, size));
    }
    for (const char* begin : {"a", "A", "\xC3", "\xE1", " ", "0x", "-", "nan(", "0."}) {
        texts.push_back(begin + repeated("\x80", size));
        texts.push_back(begin + repeated("a", size));
        texts.push_back(begin + repeated("0", size));
    }
    texts.push_back("a" + repeated("\x80\x81\x81", size));
    texts.push_back(repeated("a" + std::string(100, '\x80'), size));
    texts.push_back(repeated("\xC3" + std::string(100, '\x80'), size));
    return texts;
}

struct OfOneText {
    const char* name;
    std::function<void(std::string& text)> action;
};

const OfOneText ofOneText[] = {
    {"strup_utf8", [](std::string& s) { strup_utf8(s.data(), s.data() + s.size()); }},
    {"strlw_utf8", [](std::string& s) { strlw_utf8(s.data(), s.data() + s.size()); }},
    {"up_utf8", [](std::string& s) { ChPair(s).up_utf8(); }},
    {"lw_utf8", [](std::string& s) { ChPair(s).lw_utf8(); }},
    {"strup_ascii", [](std::string& s) { strup_ascii(s.data(), s.data() + s.size()); }},
    {"strlen_utf8", [](std::string& s) { strlen_utf8(s.c_str()); }},
    {"strchk_utf8", [](std::string& s) { strchk_utf8(s.data(), s.size()); }},
    {"chrpass_utf8",
     [](std::string& s) {
         for (const char *p = s.data(), *e = p + s.size(); p < e;) p = chrpass_utf8(p, e);
     }},
    {"chrback_utf8",
     [](std::string& s) {
         for (const char *b = s.data(), *p = b + s.size(); p > b;) p = chrback_utf8(b, p);
     }},
    {"getch_utf8",
     [](std::string& s) {
         utf16_t c;
         for (const char *p = s.data(), *e = p + s.size(); p < e;) p = getch_utf8(c, p, e);
     }},
    {"to UTF-16 and back",
     [](std::string& s) {
         const ChArr16 units(s.c_str());
         const ChArr back(units);
     }},
    {"assign1251",
     [](std::string& s) {
         ChArr text;
         text.assign1251(s.data(), static_cast<int>(s.size()));
     }},
    {"strbchr", [](std::string& s) { strbchr(s.data(), s.data() + s.size(), '!'); }},
    {"paths",
     [](std::string& s) {
         const ChPair view(s);
         view.findLastExtension();
         view.findLastPathItem();
         view.parsePath();
     }},
    {"trims",
     [](std::string& s) {
         s += 'x';  // trimming may look for its end after the view
         const ChPair all(s.data(), static_cast<int>(s.size()) - 1);
         ChPair view = all;
         view.trimSpaces();
         view = all;
         view.trimEOLN();
         view.trimQuotes('"', '"');
         view.trimWhite();
     }},
    {"replace", [](std::string& s) { ChPair(s).replace('a', 'b'); }},
    {"split by lines",
     [](std::string& s) {
         for (ChPair rest(s), line; rest.split_line_get(line, rest);) {
         }
     }},
    {"split by blanks",
     [](std::string& s) {
         for (ChPair rest(s), word; rest.split(word, ' ', rest);) {
         }
     }},
    {"numbers",
     [](std::string& s) {
         double d;
         unsigned u;
         int i;
         std::int64_t i64;
         std::uint64_t u64;
         strtodouble(s.c_str(), &d);
         strtohex(s.c_str(), &u);
         strtobin(s.c_str(), &u);
         strtouint(s.c_str(), &u);
         strtoint(s.c_str(), &i);
         strtoint64(s.c_str(), &i64);
         strtouint64(s.c_str(), &u64);
         const ChPair view(s);
         view.getDouble(d);
         view.getInt(i);
         view.getUInt64(u64);
         view.getIP(u);
     }},
    {"times",
     [](std::string& s) {
         from_gmt_date_time_string_YYYYMMDDThhmmss_to_gmt_time_t(s.data(), s.data() + s.size());
         from_local_date_time_string_DDMMYYYY_hhmmss_to_gmt_time_t(s.data(), s.data() + s.size());
     }},
    {"append by bytes",
     [](std::string& s) {
         CharVector text;
         for (char c : s) text.append(c);
     }},
};

struct OfTwoTexts {
    const char* name;
    std::function<void(const ChPair& a, const ChPair& b)> action;
};

const OfTwoTexts ofTwoTexts[] = {
    {"compare", [](const ChPair& a, const ChPair& b) { a.compare(b); }},
    {"compare_i_ascii", [](const ChPair& a, const ChPair& b) { a.compare_i_ascii(b); }},
    {"equal_i_ascii", [](const ChPair& a, const ChPair& b) { a.equal_i_ascii(b); }},
    {"compare_i_utf8", [](const ChPair& a, const ChPair& b) { a.compare_i_utf8(b); }},
    {"hasPrefix_i_utf8", [](const ChPair& a, const ChPair& b) { a.hasPrefix_i_utf8(b); }},
};

constexpr std::chrono::milliseconds kLimit(300);

TEST(LinearTime, OfOneText) {
    for (const std::string& shape : shapes(60'000)) {
        for (const OfOneText& row : ofOneText) {
            std::string text = shape;
            if (!isDoneWithin(kLimit, [&] { row.action(text); })) {
                ADD_FAILURE() << row.name << " of " << testing::PrintToString(shape.substr(0, 8));
            }
        }
    }
}

TEST(LinearTime, OfTwoTexts) {
    const std::vector<std::string> texts = shapes(30'000);
    for (const std::string& a : texts) {
        for (const std::string& b : texts) {
            for (const OfTwoTexts& row : ofTwoTexts) {
                if (!isDoneWithin(kLimit, [&] { row.action(a, b); })) {
                    ADD_FAILURE() << row.name << " of " << testing::PrintToString(a.substr(0, 8)) << " and "
                                  << testing::PrintToString(b.substr(0, 8));
                }
            }
        }
    }
}

// Two texts that fold alike and differ in each byte that is looked at first.
TEST(LinearTime, OfTwoTextsThatFoldAlike) {
    const std::string pieces[][2] = {
        {"a", "A"}, {"\xC1\x81", "\xC1\xA1"}, {"a\x80", "A\x80"}, {"\xC1\x81", "a"}, {"a\x80\x81", "A\x80\x81"}};
    for (const auto& piece : pieces) {
        for (const char* begin : {"", "a", "\x80\x80\x80", "\xC3"}) {
            const std::string a = begin + repeated(piece[0], 100'000), b = begin + repeated(piece[1], 100'000);
            EXPECT_TRUE(isDoneWithin(
                kLimit, [&] { strcmp_i_utf8(a.data(), a.data() + a.size(), b.data(), b.data() + b.size()); }))
                << testing::PrintToString(piece[0]) << " after " << testing::PrintToString(begin);
        }
    }
}

struct Search {
    const char* name;
    std::string text, pattern;
};

std::string powerOf(const std::string& piece, std::size_t count) { return repeated(piece, piece.size() * count); }

TEST(LinearTime, OfSearches) {
    constexpr std::size_t n = 250'000;
    const std::string a(n, 'a');
    const Search rows[] = {
        {"a^n b in a^2n", a + a, a + 'b'},
        {"b a^n in a^2n", a + a, 'b' + a},
        {"a^n b a^n in a^4n", a + a + a + a, a + 'b' + a},
        {"a^n b a^n in (a^n-1 b)^4", powerOf(a.substr(1) + 'b', 4), a + 'b' + a},
        {"(ab)^n c in (ab)^2n", powerOf("ab", 2 * n), powerOf("ab", n) + 'c'},
        {"a^100 b in a^n", a, std::string(100, 'a') + 'b'},
        {"words of 16 bytes", powerOf("aaaaaaaaaaaaaaab", n / 8), powerOf("aaaaaaaaaaaaaaab", n / 16) + 'b'},
        {"words of 40 bytes", powerOf(std::string(39, 'a') + 'b', n / 20),
         powerOf(std::string(39, 'a') + 'b', n / 40) + 'b'},
    };
    for (const Search& row : rows) {
        std::string other = row.text;
        for (std::size_t i = 0; i < other.size(); i += 2) other[i] = static_cast<char>(other[i] - 'a' + 'A');
        const ChPair text(row.text), mixed(other);
        EXPECT_TRUE(isDoneWithin(4 * kLimit, [&] { EXPECT_FALSE(text.contains(row.pattern)); })) << row.name;
        EXPECT_TRUE(isDoneWithin(4 * kLimit, [&] { EXPECT_EQ(nullptr, mixed.find_i_ascii(row.pattern)); })) << row.name;
    }
}

}  // namespace
