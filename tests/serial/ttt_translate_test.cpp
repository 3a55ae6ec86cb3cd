#include <velmora/serial/ttt.h>

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <functional>
#include <limits>
#include <new>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include <velmora/localization/keys.h>
#include <velmora/localization/loc.h>
#include <velmora/text/charr.h>
#include <velmora/text/charvector.h>
#include <velmora/text/chpair.h>

#include "tests/support/guard_page.h"
#include "tests/support/locale_scope.h"
#include "tests/support/message.h"

namespace {

constexpr auto kDict5 = static_cast<LocDictionaryId>(5);
constexpr auto kDict4 = static_cast<LocDictionaryId>(4);
const char* const nullText = nullptr;

// Gives a loader its texts the way a file would: one block and an address per text, both from new[].
template <int N>
void fillLoader(IDLocLoader& loader, const char* const (&texts)[N]) {
    std::size_t bytes = 0;
    for (const char* text : texts) bytes += std::strlen(text) + 1;
    loader.text = new char[bytes];
    loader.strings = new const char*[N];
    char* place = loader.text;
    for (int i = 0; i < N; ++i) {
        std::size_t size = std::strlen(texts[i]) + 1;
        std::memcpy(place, texts[i], size);
        loader.strings[i] = place;
        place += size;
    }
}

const char* const kTexts[] = {
    "plain",                   // 0
    "File %s, line %d",        // 1
    "%{2} before %{1}",        // 2
    "",                        // 3
    "holds %s and %{1} and %"  // 4
};
constexpr int kTextCount = 5;
const char* const kOtherTexts[] = {"anders", "Zeile %2d", "%{1} nach %{2}", "", "x"};

const char* keysOf5[kTextCount] = {"k0", "k1", "k2", "k3", "k4"};
IDLocLoader::Localization tableOf5 = {kTextCount, 8, 1};

IDLocLoader& loaderOf5() {
    static IDLocLoader loader;
    if (!loader.strings) fillLoader(loader, kTexts);
    return loader;
}

IDLocLoader& otherLoader() {
    static IDLocLoader loader;
    if (!loader.strings) fillLoader(loader, kOtherTexts);
    return loader;
}

IDLocLoader& emptyLoader() {
    static IDLocLoader loader;
    return loader;
}

// Puts one entry of the registry back.
class RegistryScope {
public:
    explicit RegistryScope(int id)
        : id_(id), loader_(TTT::dictionaries[id]), table_(TTT::localizations[id]), keys_(TTT::stringids[id]) {}
    RegistryScope(const RegistryScope&) = delete;
    void operator=(const RegistryScope&) = delete;
    ~RegistryScope() {
        TTT::dictionaries[id_] = loader_;
        TTT::localizations[id_] = table_;
        TTT::stringids[id_] = keys_;
    }

private:
    int id_;
    IDLocLoader* loader_;
    IDLocLoader::Localization* table_;
    const char** keys_;
};

// Shows the parameter and how much text stood in front of it.
void stringHook(const char* text, std::string& out) {
    std::string shown = "<" + std::string(text) + "|" + std::to_string(out.size()) + ">";
    out += shown;
}
void vectorHook(const char* text, CharVector& out) {
    std::string shown = "<" + std::string(text) + "|" + std::to_string(out.count) + ">";
    out << shown;
}
void throwingStringHook(const char*, std::string& out) {
    out += "half";
    throw 7;
}
void throwingVectorHook(const char*, CharVector& out) {
    out << "half";
    throw std::runtime_error("a hook may throw anything");
}

class HookScope {
public:
    HookScope(void (*string)(const char*, std::string&), void (*vector)(const char*, CharVector&))
        : string_(TTT::translate_custom_std_string), vector_(TTT::translate_custom_char_vector) {
        TTT::translate_custom_std_string = string;
        TTT::translate_custom_char_vector = vector;
    }
    HookScope(const HookScope&) = delete;
    void operator=(const HookScope&) = delete;
    ~HookScope() {
        TTT::translate_custom_std_string = string_;
        TTT::translate_custom_char_vector = vector_;
    }

private:
    void (*string_)(const char*, std::string&);
    void (*vector_)(const char*, CharVector&);
};

class TTTTranslate : public testing::Test {
protected:
    TTTTranslate() : hooks_(stringHook, vectorHook), numbers_(LC_NUMERIC, "C"), times_(LC_TIME, "C") {
        // The dictionary outlives the module.
        Loc::IdModule module("serialtest", tableOf5, keysOf5, loaderOf5(), kDict5);
    }

private:
    HookScope hooks_;
    support::LocaleScope numbers_;
    support::LocaleScope times_;
};

std::string content(const TTT& message) {
    const Bag& bag = message.getData();
    return bag.size > 0 ? std::string(bag.data, static_cast<std::size_t>(bag.size)) : std::string();
}

struct Rendered {
    std::string text;
    int cursor;
};

constexpr int kCursorBefore = 1;          // no segment and no parameter ends there
constexpr int kRestored = kCursorBefore;  // the cursor after a rendering that ended well, or by an exception

// Renders into both kinds of result, by the registry and by an explicit table, and compares all four.
Rendered renderAll(const TTT& message, IDLocLoader** loaders = nullptr) {
    TTT& movable = const_cast<TTT&>(message);
    const std::string before = content(message);
    const int cursorAtEntry = message.getData().cursor;
    IDLocLoader** table = loaders ? loaders : TTT::dictionaries;

    std::string text = "old text that has to go";
    movable.getData().to(kCursorBefore);
    message.translate(text, table);
    const int cursor = message.getData().cursor;

    CharVector vector("old text that has to go");
    movable.getData().to(kCursorBefore);
    message.translate(vector, table);
    EXPECT_EQ(text, vector.std());
    EXPECT_EQ(text.empty(), vector.isNull()) << "an empty result is a null vector";
    EXPECT_EQ(cursor, message.getData().cursor);

    if (!loaders) {
        std::string other;
        movable.getData().to(kCursorBefore);
        message.translate(other);
        EXPECT_EQ(text, other);
        EXPECT_EQ(cursor, message.getData().cursor);
        CharVector otherVector;
        movable.getData().to(kCursorBefore);
        message.translate(otherVector);
        EXPECT_EQ(text, otherVector.std());
        EXPECT_EQ(text.empty(), otherVector.isNull());
        EXPECT_EQ(cursor, message.getData().cursor);
    }
    EXPECT_EQ(before, content(message)) << "rendering does not change the message";
    movable.getData().to(cursorAtEntry);
    return {text, cursor};
}

void expectRendered(const std::string& text, int cursor, const TTT& message) {
    Rendered rendered = renderAll(message);
    EXPECT_EQ(text, rendered.text);
    EXPECT_EQ(cursor, rendered.cursor);
}

struct Row {
    int line;
    std::function<void(TTT&)> build;
    std::string text;
    int cursor;
};

void expectRow(const Row& row) {
    SCOPED_TRACE(row.line);
    TTT message;
    row.build(message);
    expectRendered(row.text, row.cursor, message);
}

void expectRows(const std::vector<Row>& rows) {
    for (const Row& row : rows) expectRow(row);
}

// A message byte by byte.
class Bytes {
public:
    Bytes& number(int v) {
        bag_ << v;
        return *this;
    }
    Bytes& raw(const std::string& bytes) {
        bag_.putStringNZ(bytes);
        return *this;
    }
    operator TTT() const { return TTT(bag_); }

private:
    Bag bag_;
};

std::string localText(std::int64_t time, const char* format) {
    std::time_t seconds = time;
    char text[200];
    std::size_t size = std::strftime(text, sizeof text, format, std::localtime(&seconds));
    return std::string(text, size);
}

std::string doubleText(double v) {
    char text[400];
    std::snprintf(text, sizeof text, "%f", v);
    return text;
}

// ---- results ----

TEST_F(TTTTranslate, EmptyMessageGivesAnEmptyResult) {
    expectRendered("", kRestored, TTT());
    CharVector vector("old");
    TTT().translate(vector);
    EXPECT_EQ(nullptr, vector.data);
    EXPECT_EQ(0, vector.count);
    EXPECT_EQ(0, vector.allocateCount);
}

TEST_F(TTTTranslate, StringKeepsItsStorage) {
    std::string text;
    text.reserve(1000);
    const char* storage = text.data();
    text = "old";
    TTT("a text that is longer than what a string holds without a block").translate(text);
    EXPECT_EQ("a text that is longer than what a string holds without a block", text);
    EXPECT_EQ(storage, text.data());
    EXPECT_GE(text.capacity(), 1000u);
    TTT().translate(text);
    EXPECT_EQ("", text);
    EXPECT_EQ(storage, text.data());
}

TEST_F(TTTTranslate, StartsAtZeroWhereverTheCursorStands) {
    TTT message("File %s, line %d");
    message < "a" < 7;
    for (int cursor : {-5, 0, 3, 28, 1000}) {
        message.getData().to(cursor);
        std::string text;
        message.translate(text);
        EXPECT_EQ("File a, line 7", text);
        EXPECT_EQ(cursor, message.getData().cursor);
        CharVector vector;
        message.translate(vector);
        EXPECT_EQ("File a, line 7", vector.std());
        EXPECT_EQ(cursor, message.getData().cursor);
    }
}

TEST_F(TTTTranslate, WholeLifeOfAMessage) {
    TTT message("File %s, line %d");
    message < "a" < 7;
    EXPECT_EQ(std::string("\xFF\xFF\xFF\xFF"
                          "File %s, line %d\0a\0\0\7\0\0\0",
                          28),
              content(message));
    EXPECT_EQ(28, message.getData().cursor);
    std::string text;
    message.translate(text);
    EXPECT_EQ("File a, line 7", text);
    EXPECT_EQ(28, message.getData().cursor);

    TTT fromDictionary(kDict5, 1);
    fromDictionary < "a" < 7;
    expectRendered("File a, line 7", kRestored, fromDictionary);
    fromDictionary <= ".";
    expectRendered("File a, line 7.", kRestored, fromDictionary);
}

// ---- placeholders ----

TEST_F(TTTTranslate, TemplateWithoutPlaceholdersIsCopied) {
    expectRows({
        {__LINE__, [](TTT& m) { m = "plain"; }, "plain", kRestored},
        {__LINE__, [](TTT& m) { m = ""; }, "", kRestored},
        {__LINE__, [](TTT& m) { m = "{1} \\n \xC3\xA4\t"; }, "{1} \\n \xC3\xA4\t", kRestored},
        {__LINE__, [](TTT& m) { m = std::string(5000, 'x'); }, std::string(5000, 'x'), kRestored},
        {__LINE__, [](TTT& m) { m.assign(kDict5, 0); }, "plain", kRestored},
        {__LINE__, [](TTT& m) { m.assign(kDict5, 3); }, "", kRestored},
    });
}

TEST_F(TTTTranslate, Placeholders) {
    const std::int64_t noon = 1617451200;
    const double huge = -std::numeric_limits<double>::max();
    const std::string longText(3000, 'y');
    static const struct : TTT::ParamSource {
        const char* getText() const override { return "src"; }
    } source;
    expectRows({
        {__LINE__, [](TTT& m) { m = "100%%"; }, "100%", kRestored},
        {__LINE__, [](TTT& m) { m = "%%%%d%%"; }, "%%d%", kRestored},
        {__LINE__, [](TTT& m) { m = "[%d]", m < 7; }, "[7]", kRestored},
        {__LINE__, [](TTT& m) { m = "%d", m < INT_MIN; }, "-2147483648", kRestored},
        {__LINE__, [](TTT& m) { m = "%d", m < 0xFFFFFFFFu; }, "-1", kRestored},
        {__LINE__, [](TTT& m) { m = "%u", m < 4294967295u; }, "4294967295", kRestored},
        {__LINE__, [](TTT& m) { m = "%u", m < -1; }, "4294967295", kRestored},
        {__LINE__, [](TTT& m) { m = "%x", m < 0xABCDEF; }, "abcdef", kRestored},
        {__LINE__, [](TTT& m) { m = "%x", m < -1; }, "ffffffff", kRestored},
        {__LINE__, [](TTT& m) { m = "%X", m < 0xABCDEFu; }, "ABCDEF", kRestored},
        {__LINE__, [](TTT& m) { m = "%X", m < 0; }, "0", kRestored},
        {__LINE__, [](TTT& m) { m = "%f", m < 1.5; }, "1.500000", kRestored},
        {__LINE__, [](TTT& m) { m = "%f", m < -0.25; }, "-0.250000", kRestored},
        {__LINE__, [=](TTT& m) { m = "%f", m < huge; }, doubleText(huge), kRestored},
        {__LINE__, [](TTT& m) { m = "%ld", m < INT64_MIN; }, "-9223372036854775808", kRestored},
        {__LINE__, [](TTT& m) { m = "%lld", m < std::int64_t(-5); }, "-5", kRestored},
        {__LINE__, [](TTT& m) { m = "%ld", m < std::time_t(5); }, "5", kRestored},
        {__LINE__, [](TTT& m) { m = "%lu", m < UINT64_MAX; }, "18446744073709551615", kRestored},
        {__LINE__, [](TTT& m) { m = "%llu", m < std::size_t(5); }, "5", kRestored},
        {__LINE__, [](TTT& m) { m = "%llu", m < -1LL; }, "18446744073709551615", kRestored},
        {__LINE__, [](TTT& m) { m = "%lx", m < 0xABCDEF0123LL; }, "abcdef0123", kRestored},
        {__LINE__, [](TTT& m) { m = "%llx", m < 0xABCDEF0123ULL; }, "abcdef0123", kRestored},
        {__LINE__, [](TTT& m) { m = "%lX", m < 0xABCDEF0123LL; }, "ABCDEF0123", kRestored},
        {__LINE__, [](TTT& m) { m = "%llX", m < -1LL; }, "FFFFFFFFFFFFFFFF", kRestored},
        {__LINE__, [](TTT& m) { m = "%A", m < 0x7F000001; }, "127.0.0.1", kRestored},
        {__LINE__, [](TTT& m) { m = "%A", m < 0xC0A80102u; }, "192.168.1.2", kRestored},
        {__LINE__, [](TTT& m) { m = "%A", m < -1; }, "255.255.255.255", kRestored},
        {__LINE__, [=](TTT& m) { m = "%D", m < BagTime(noon); }, localText(noon, "%x"), kRestored},
        {__LINE__, [=](TTT& m) { m = "%T", m < BagTime(noon); }, localText(noon, "%x %X"), kRestored},
        {__LINE__, [](TTT& m) { m = "[%D]", m < BagTime(0); }, "[]", kRestored},
        {__LINE__, [](TTT& m) { m = "[%T]", m < BagTime(0); }, "[]", kRestored},
        {__LINE__, [](TTT& m) { m = "%T", m < BagTime(-1); }, localText(4294967295, "%x %X"), kRestored},
        {__LINE__, [](TTT& m) { m = "%D", m < BagTime(4294967295); }, localText(4294967295, "%x"), kRestored},
        {__LINE__, [](TTT& m) { m = "[%s]", m < "ab"; }, "[ab]", kRestored},
        {__LINE__, [](TTT& m) { m = "[%s]", m < nullText; }, "[]", kRestored},
        {__LINE__, [](TTT& m) { m = "[%s]", m < "%d %s %"; }, "[%d %s %]", kRestored},
        {__LINE__, [](TTT& m) { m = "%s", m < std::string("ab"); }, "ab", kRestored},
        {__LINE__, [](TTT& m) { m = "%s", m < ChArr("ab"); }, "ab", kRestored},
        {__LINE__, [](TTT& m) { m = "%s", m < CharVector("ab"); }, "ab", kRestored},
        {__LINE__, [](TTT& m) { m = "%s", m < ChPair("abc", 2); }, "ab", kRestored},
        {__LINE__, [](TTT& m) { m = "%s", m < 'y'; }, "y", kRestored},
        {__LINE__, [](TTT& m) { m = "%s", m < &source; }, "src", kRestored},
        {__LINE__, [=](TTT& m) { m = "%s!", m < longText; }, longText + "!", kRestored},
        {__LINE__, [](TTT& m) { m = "ab%C!", m < "cd"; }, "ab<cd|2>!", kRestored},
        {__LINE__, [](TTT& m) { m = "%C%C", m < "x" < nullText; }, "<x|0><|5>", kRestored},
        {__LINE__, [](TTT& m) { m = "[%i]", m < TTP(kDict5, 0); }, "[plain]", kRestored},
        {__LINE__, [](TTT& m) { m = "[%i]", m < TTP(kDict5, 3); }, "[]", kRestored},
        {__LINE__, [](TTT& m) { m = "[%i]", m < TTP(kDict5, 4); }, "[holds %s and %{1} and %]", kRestored},
        {__LINE__, [](TTT& m) { m = "%d%s%d%s", m < 1 < "a" < 2 < "b"; }, "1a2b", kRestored},
        {__LINE__, [](TTT& m) { m = "%d %ld %f", m < 1 < std::int64_t(2) < 3.0; }, "1 2 3.000000", kRestored},
    });
}

// ---- "l" and the scratch text ----

TEST_F(TTTTranslate, UnknownLetterBehindLShowsTheLastNumberAgain) {
    const std::int64_t noon = 1617451200;
    expectRows({
        {__LINE__, [](TTT& m) { m = "a%lzb"; }, "ab", kRestored},  // nothing was formatted yet
        {__LINE__, [](TTT& m) { m = "a%llzb"; }, "ab", kRestored},
        {__LINE__, [](TTT& m) { m = "%d-%lz-%llz", m < 7; }, "7-7-7", kRestored},
        {__LINE__, [](TTT& m) { m = "%d%llld", m < 7; }, "77d", kRestored},  // two "l" at most
        {__LINE__, [](TTT& m) { m = "%d%l%d", m < 7; }, "77d", kRestored},
        {__LINE__, [](TTT& m) { m = "%d%ls%s", m < 7 < "a"; }, "77a", kRestored},
        {__LINE__, [](TTT& m) { m = "%d%lf", m < 7; }, "77", kRestored},
        {__LINE__,
         [](TTT& m) {
             m = "%d%l\x80"
                 "b",
             m < 7;
         },
         "77b", kRestored},
        {__LINE__, [](TTT& m) { m = "%ld%lz", m < -5LL; }, "-5-5", kRestored},
        {__LINE__, [](TTT& m) { m = "%u%lz", m < 5u; }, "55", kRestored},
        {__LINE__, [](TTT& m) { m = "%x%lz", m < 10; }, "aa", kRestored},
        {__LINE__, [](TTT& m) { m = "%f%lz", m < 1.5; }, "1.5000001.500000", kRestored},
        {__LINE__, [](TTT& m) { m = "%A%lz", m < 1; }, "0.0.0.10.0.0.1", kRestored},
        {__LINE__, [=](TTT& m) { m = "%D%lz", m < BagTime(noon); }, localText(noon, "%x") + localText(noon, "%x"),
         kRestored},
        {__LINE__, [](TTT& m) { m = "%d%T%lz", m < 7 < BagTime(0); }, "7", kRestored},  // the empty date was the last
        {__LINE__, [](TTT& m) { m = "%d%s%i%lz", m < 7 < "a" < TTP(kDict5, 0); }, "7aplain7", kRestored},
        {__LINE__, [](TTT& m) { m = "%{1}%lz", m << 5; }, "5", kRestored},  // these have a store of their own
        {__LINE__, [](TTT& m) { m = "%d", m < 7, m <= "%lz"; }, "77", kRestored},
    });
    TTT message("%lz%d");
    message < 7;
    expectRendered("7", kRestored, message);
    expectRendered("7", kRestored, message);  // and each rendering begins with nothing
}

// ---- positional parameters ----

TEST_F(TTTTranslate, PositionalParameters) {
    auto numbers = [](TTT& m, int count) {
        for (int i = 1; i <= count; ++i) m << 100 + i;
    };
    expectRows({
        {__LINE__, [](TTT& m) { m = "%{2} %{1}", m << "a" << 1; }, "1 a", kRestored},
        {__LINE__, [](TTT& m) { m = "%{1}%{1}", m << "ab"; }, "abab", kRestored},
        {__LINE__, [](TTT& m) { m = "%{1} %{2} %{1} %{2}", m << 7 << -8; }, "7 -8 7 -8", kRestored},
        {__LINE__, [](TTT& m) { m = "%{1}", m << INT_MIN; }, "-2147483648", kRestored},
        {__LINE__, [](TTT& m) { m = "%{1}", m << UINT_MAX; }, "4294967295", kRestored},
        {__LINE__, [](TTT& m) { m = "%{1}", m << INT64_MIN; }, "-9223372036854775808", kRestored},
        {__LINE__, [](TTT& m) { m = "%{1}", m << UINT64_MAX; }, "18446744073709551615", kRestored},
        {__LINE__, [](TTT& m) { m = "%{4} %{3} %{2} %{1}", m << INT_MIN << UINT_MAX << INT64_MIN << UINT64_MAX; },
         "18446744073709551615 -9223372036854775808 4294967295 -2147483648", kRestored},
        {__LINE__, [](TTT& m) { m = "%{1}", m << 5LL; }, "5", kRestored},
        {__LINE__, [](TTT& m) { m = "%{1}", m << std::size_t(5); }, "5", kRestored},
        {__LINE__, [](TTT& m) { m = "[%{1}]", m << nullText; }, "[]", kRestored},
        {__LINE__, [](TTT& m) { m = "%{1}", m << "%d%{1}"; }, "%d%{1}", kRestored},
        {__LINE__, [](TTT& m) { m = "%{1}", m << std::string("ab"); }, "ab", kRestored},
        {__LINE__, [](TTT& m) { m = "%{1}", m << ChArr("ab"); }, "ab", kRestored},
        {__LINE__, [](TTT& m) { m = "%{1}", m << ChPair("abc", 2); }, "ab", kRestored},
        {__LINE__, [](TTT& m) { m = "%{1}", m << CharVector("ab"); }, "ab", kRestored},
        {__LINE__, [](TTT& m) { m.assign(kDict5, 2), m << "x" << 9; }, "9 before x", kRestored},
        {__LINE__, [=](TTT& m) { m = "%{10}", numbers(m, 10); }, "110", kRestored},
        {__LINE__, [=](TTT& m) { m = "%{32}%{1}%{17}", numbers(m, 32); }, "132101117", kRestored},
        {__LINE__, [=](TTT& m) { m = "%{03}%{01}", numbers(m, 3); }, "103101", kRestored},
        // Each template has a store of its own.
        {__LINE__, [](TTT& m) { m = "%{1}", m << "a", m <= "%{1}", m << "b"; }, "ab", kRestored},
        // Both kinds share the cursor.
        {__LINE__, [](TTT& m) { m = "%{1}%d%{2}", (m << 1) < 2, m << 3; }, "123", kRestored},
    });
}

TEST_F(TTTTranslate, PositionIsComputedFromTwoBytesWhateverTheyAre) {
    auto numbers = [](TTT& m, int count) {
        for (int i = 1; i <= count; ++i) m << 100 + i;
    };
    expectRows({
        // The fifth byte is skipped whatever it is.
        {__LINE__, [=](TTT& m) { m = "%{02x", numbers(m, 2); }, "102", kRestored},
        {__LINE__, [=](TTT& m) { m = "%{02%d", numbers(m, 2); }, "102d", kRestored},
        {__LINE__, [=](TTT& m) { m = "%{012}", numbers(m, 1); }, "101}", kRestored},
        // Bytes behind the digits count on.
        {__LINE__, [=](TTT& m) { m = "%{:}", numbers(m, 10); }, "110", kRestored},
        {__LINE__, [=](TTT& m) { m = "%{P}", numbers(m, 32); }, "132", kRestored},
        {__LINE__, [=](TTT& m) { m = "%{1:}", numbers(m, 20); }, "120", kRestored},
        {__LINE__, [=](TTT& m) { m = "%{1/}", numbers(m, 9); }, "109", kRestored},
        // Bytes from 0x80 up count down: 'B' is 18, and 180 - 128 - 48 is 4.
        {__LINE__, [=](TTT& m) { m = "%{B\x80}", numbers(m, 4); }, "104", kRestored},
        {__LINE__, [=](TTT& m) { m = "%{C\x80x", numbers(m, 14); }, "114", kRestored},
    });
}

// ---- stops: the cursor stays where the reading ended ----

TEST_F(TTTTranslate, StopsAtAPlaceholderThatItDoesNotKnow) {
    expectRows({
        {__LINE__, [](TTT& m) { m = "ab%"; }, "ab", 8},
        {__LINE__, [](TTT& m) { m = "%"; }, "", 6},
        {__LINE__, [](TTT& m) { m = "ab%", m <= "c"; }, "ab", 8},
        {__LINE__, [](TTT& m) { m = "ab%5d", m < 7; }, "ab", 10},
        {__LINE__, [](TTT& m) { m = "%d ab%5dcd", m < 7, m <= "ef"; }, "7 ab", 20},
        {__LINE__, [](TTT& m) { m = "ab%-d", m < 7; }, "ab", 10},
        {__LINE__, [](TTT& m) { m = "ab% d", m < 7; }, "ab", 10},
        {__LINE__, [](TTT& m) { m = "ab%c", m < 7; }, "ab", 9},
        {__LINE__, [](TTT& m) { m = "ab%S", m < "c"; }, "ab", 9},
        {__LINE__, [](TTT& m) { m = "ab%hd", m < 7; }, "ab", 10},
        {__LINE__, [](TTT& m) { m = "ab%\x80"; }, "ab", 9},
        {__LINE__, [](TTT& m) { m = "ab%\xFF"; }, "ab", 9},
        {__LINE__, [](TTT& m) { m = "ab%\n"; }, "ab", 9},
        {__LINE__, [](TTT& m) { m = "ab%}"; }, "ab", 9},
    });
}

TEST_F(TTTTranslate, KnowsNoOtherLetter) {
    const std::string known = "%duxXflADTsCi{";
    for (int byte = 1; byte < 256; ++byte) {
        char letter = static_cast<char>(byte);
        if (known.find(letter) != std::string::npos) continue;
        SCOPED_TRACE(byte);
        TTT message(std::string("ab%") + letter + "cd");
        message < 7 < 7 < 7 < 7;
        expectRendered("ab", 11, message);
    }
}

TEST_F(TTTTranslate, StopsWhereAPlaceholderIsCutOff) {
    expectRows({
        {__LINE__, [](TTT& m) { m = "ab%l"; }, "ab", 9},
        {__LINE__, [](TTT& m) { m = "ab%ll"; }, "ab", 10},
        {__LINE__, [](TTT& m) { m = "ab%{"; }, "ab", 9},
        {__LINE__, [](TTT& m) { m = "ab%{1"; }, "ab", 10},
        {__LINE__, [](TTT& m) { m = "ab%{5"; }, "ab", 10},
        {__LINE__, [](TTT& m) { m = "ab%{}"; }, "ab", 10},
        // What stands behind the terminator is not part of the template.
        {__LINE__, [](TTT& m) { m = "%d%l", m < 7 < "d"; }, "7", 16},
        {__LINE__, [](TTT& m) { m = "ab%l", m < "dX"; }, "ab", 9},
        {__LINE__, [](TTT& m) { m = "ab%ll", m < "dX"; }, "ab", 10},
        {__LINE__, [](TTT& m) { m = "ab%{", m < "1}X"; }, "ab", 9},
        {__LINE__, [](TTT& m) { m = "ab%{1", m < "}X"; }, "ab", 10},
        {__LINE__, [](TTT& m) { m = "ab%{01", m << "x"; }, "ab", 11},
        {__LINE__, [](TTT& m) { m = "abcd%{5", m << 1 << 2; }, "abcd", 12},
    });
}

TEST_F(TTTTranslate, StopsAtAPositionOutside1To32) {
    expectRows({
        {__LINE__, [](TTT& m) { m = "ab%{0}", m << 1; }, "ab", 11},
        {__LINE__, [](TTT& m) { m = "ab%{00}", m << 1; }, "ab", 12},
        {__LINE__, [](TTT& m) { m = "ab%{33}", m << 1; }, "ab", 12},
        {__LINE__, [](TTT& m) { m = "ab%{99}", m << 1; }, "ab", 12},
        {__LINE__, [](TTT& m) { m = "ab%{/}", m << 1; }, "ab", 11},
        {__LINE__, [](TTT& m) { m = "ab%{Q}", m << 1; }, "ab", 11},
        {__LINE__, [](TTT& m) { m = "ab%{-1}", m << 1; }, "ab", 12},
        {__LINE__, [](TTT& m) { m = "ab%{\x80}", m << 1; }, "ab", 11},
        {__LINE__, [](TTT& m) { m = "ab%{\xFF\xFF}", m << 1; }, "ab", 12},
        {__LINE__, [](TTT& m) { m = "ab%{}}", m << 1; }, "ab", 11},
        {__LINE__, [](TTT& m) { m = "%{1}ab%{0}", m << 1; }, "1ab", 24},
    });
}

TEST_F(TTTTranslate, StopsAtAnUnknownPositionalTag) {
    expectRows({
        {__LINE__, [](TTT& m) { m = "ab%{1}", m < 5 < 6; }, "ab", 16},
        {__LINE__, [](TTT& m) { m = "ab%{1}", m < 0x0F0ABCDE < 6; }, "ab", 16},
        {__LINE__, [](TTT& m) { m = "ab%{1}", m < 0x0F0ABCE4 < 6; }, "ab", 16},
        // The tag of the next segment is no parameter.
        {__LINE__, [](TTT& m) { m = "ab%{1}", m <= "c"; }, "ab", 16},
        {__LINE__, [](TTT& m) { m = "%{1}ab%{2}", m << 1, m <= "c"; }, "1ab", 28},
    });
}

TEST_F(TTTTranslate, StopsAtAnUnknownSegment) {
    expectRows({
        {__LINE__, [](TTT& m) { m = Bytes().number(7); }, "", 4},
        {__LINE__, [](TTT& m) { m = Bytes().number(0).number(1); }, "", 4},
        {__LINE__, [](TTT& m) { m = Bytes().number(-4).number(1); }, "", 4},
        {__LINE__, [](TTT& m) { m = Bytes().number(TTT::PARAM_STRING).raw(std::string("a\0", 2)); }, "", 4},
        {__LINE__, [](TTT& m) { m = "ab", m.getData() << 7 << -1; }, "ab", 12},
        {__LINE__, [](TTT& m) { m.assign(kDict5, 0), m.getData() << 7 << -1; }, "plain", 16},
    });
}

TEST_F(TTTTranslate, StopsAtABadReference) {
    RegistryScope scope(4);
    TTT::dictionaries[4] = nullptr;
    auto dict = [](int dictionary, int id) {
        return [=](TTT& m) {
            m = "ab";
            m.append(static_cast<LocDictionaryId>(dictionary), id);
            m <= "cd";
        };
    };
    auto inside = [](int dictionary, int id) {
        return [=](TTT& m) {
            m = "ab%i";
            m < TTP(static_cast<LocDictionaryId>(dictionary), id);
            m <= "cd";
        };
    };
    expectRows({
        {__LINE__, dict(5, 0), "abplaincd", kRestored},   {__LINE__, dict(5, kTextCount), "ab", 20},
        {__LINE__, dict(5, INT_MAX), "ab", 20},           {__LINE__, dict(5, -1), "ab", 20},
        {__LINE__, dict(5, INT_MIN), "ab", 20},           {__LINE__, dict(6, 0), "ab", 20},
        {__LINE__, dict(INT_MAX, 0), "ab", 20},           {__LINE__, dict(-1, 0), "ab", 20},
        {__LINE__, dict(INT_MIN, 0), "ab", 20},           {__LINE__, dict(4, 0), "ab", 20},
        {__LINE__, inside(5, 0), "abplaincd", kRestored}, {__LINE__, inside(5, kTextCount), "ab", 20},
        {__LINE__, inside(5, INT_MAX), "ab", 20},         {__LINE__, inside(5, -1), "ab", 20},
        {__LINE__, inside(5, INT_MIN), "ab", 20},         {__LINE__, inside(6, 0), "ab", 20},
        {__LINE__, inside(INT_MAX, 0), "ab", 20},         {__LINE__, inside(-1, 0), "ab", 20},
        {__LINE__, inside(INT_MIN, 0), "ab", 20},         {__LINE__, inside(4, 0), "ab", 20},
    });
}

// What happens when something fails before the texts are loaded.
TEST_F(TTTTranslate, StopsAtADictionaryThatIsNotLoaded) {
    RegistryScope scope(4);
    { Loc::IdModule module("notloaded", tableOf5, keysOf5, emptyLoader(), kDict4); }
    TTT message("ab");
    message <= TTP(kDict4, 0);
    message < "a parameter";
    expectRendered("ab", 20, message);
    TTT inside("ab%icd");
    inside < TTP(kDict4, 0);
    expectRendered("ab", 20, inside);
}

TEST_F(TTTTranslate, StopsAtADictionaryWithoutATable) {
    RegistryScope scope(4);
    TTT::dictionaries[4] = &loaderOf5();
    TTT::localizations[4] = nullptr;
    TTT message("ab");
    message <= TTP(kDict4, 0);
    expectRendered("ab", 20, message);
    TTT inside("ab%icd");
    inside < TTP(kDict4, 0);
    expectRendered("ab", 20, inside);
}

// A template that uses fewer parameters than there are leaves a value where a tag is read.
TEST_F(TTTTranslate, UnusedParameterIsTakenAsATag) {
    expectRows({
        {__LINE__, [](TTT& m) { m = "ab", m < 5; }, "ab", 12},
        {__LINE__, [](TTT& m) { m = "%d", m < 5 < 6, m <= "c"; }, "5", 16},
        {__LINE__, [](TTT& m) { m = "%{1}", m << 5 << 6; }, "5", 24},
        {__LINE__, [](TTT& m) { m = "abc", m < "text" < 7; }, "abc", 12},
        // -1 is the tag of a raw segment, so the text behind it becomes a template.
        {__LINE__, [](TTT& m) { m = "ab", m < -1 < "shown %d" < 7; }, "abshown 7", kRestored},
    });
}

TEST_F(TTTTranslate, SequentialPlaceholderReadsATagAsItsBytes) {
    expectRows({
        {__LINE__, [](TTT& m) { m = "a%s", m << "b"; },
         "a\xE3\xBC\x0A\x0F"
         "b",
         kRestored},
        {__LINE__, [](TTT& m) { m = "a%d", m << 5; }, "a252361951", 16},
    });
}

TEST_F(TTTTranslate, MessageOfAPairShowsItsLengthAndStops) {
    TTT message(ChPair("abcdef", 6));
    expectRendered("\x06", 12, message);           // the text itself is taken for a tag
    expectRendered("", kRestored, TTT(ChPair()));  // the rest of the length is too short for one
}

// ---- exceptions: the cursor is put back ----

TEST_F(TTTTranslate, MissingParameterEndsTheText) {
    for (const char* placeholder : {"%d",  "%u",   "%x", "%X", "%f", "%ld", "%lld", "%lu", "%llu", "%lx",   "%llx",
                                    "%lX", "%llX", "%A", "%D", "%T", "%s",  "%C",   "%i",  "%{1}", "%{32}", "%{12x"}) {
        SCOPED_TRACE(placeholder);
        TTT message(std::string("ab") + placeholder + "cd");
        expectRendered("ab", kRestored, message);
    }
}

// A message from outside may hold a %C in a program that has none.
TEST_F(TTTTranslate, WithoutAHookItEndsTheText) {
    const HookScope none(nullptr, nullptr);
    TTT message("ab%Ccd");
    message < "text";
    std::string string;
    message.translate(string);
    EXPECT_EQ("ab", string);
    CharVector vector;
    message.translate(vector);
    EXPECT_STREQ("ab", vector.data);
}

TEST_F(TTTTranslate, HalfAParameterEndsTheText) {
    expectRows({
        {__LINE__, [](TTT& m) { m = "a%d", m.getData().putStringNZ("bcd"); }, "a", kRestored},
        {__LINE__, [](TTT& m) { m = "a%f", m.getData().putStringNZ("bcdefgh"); }, "a", kRestored},
        {__LINE__, [](TTT& m) { m = "a%ld", m < 7; }, "a", kRestored},
        {__LINE__, [](TTT& m) { m = "a%s", m.getData().putStringNZ("bcd"); }, "a", kRestored},
        {__LINE__, [](TTT& m) { m = "a%C", m.getData().putStringNZ("bcd"); }, "a", kRestored},
        {__LINE__, [](TTT& m) { m = "a%i", m < 5; }, "a", kRestored},
        {__LINE__, [](TTT& m) { m = "a%{1}", m.getData().putStringNZ("bcd"); }, "a", kRestored},
        {__LINE__, [](TTT& m) { m = "a%{1}", m < int(TTT::PARAM_INT); }, "a", kRestored},
        {__LINE__, [](TTT& m) { m = "a%{1}", m < int(TTT::PARAM_UINT); }, "a", kRestored},
        {__LINE__, [](TTT& m) { m = "a%{1}", m < int(TTT::PARAM_INT64) < 7; }, "a", kRestored},
        {__LINE__, [](TTT& m) { m = "a%{1}", m < int(TTT::PARAM_UINT64) < 7; }, "a", kRestored},
        {__LINE__, [](TTT& m) { m = "a%{1}", m < int(TTT::PARAM_STRING), m.getData().putStringNZ("bcd"); }, "a",
         kRestored},
        {__LINE__, [](TTT& m) { m = "%{1}a%{3}", m << 1 << 2; }, "1a", kRestored},
        // An untagged text where a tag is looked for.
        {__LINE__, [](TTT& m) { m = "%{1}", m < "x"; }, "", kRestored},
    });
}

TEST_F(TTTTranslate, MissingParameterIsReadFromTheNextSegment) {
    expectRows({
        {__LINE__, [](TTT& m) { m = "a%d", m <= "b"; }, "a-1", kRestored},
        {__LINE__, [](TTT& m) { m = "%d", m <= "%d", m < 7; }, "-1", 16},
    });
}

TEST_F(TTTTranslate, CutOffSegmentEndsTheText) {
    expectRows({
        {__LINE__, [](TTT& m) { m = Bytes().raw("\xFF\xFF\xFF"); }, "", kRestored},
        {__LINE__, [](TTT& m) { m = Bytes().number(TTT::RAW); }, "", kRestored},
        {__LINE__, [](TTT& m) { m = Bytes().number(TTT::RAW).raw("abc"); }, "", kRestored},
        {__LINE__, [](TTT& m) { m = Bytes().number(TTT::DICT); }, "", kRestored},
        {__LINE__, [](TTT& m) { m = Bytes().number(TTT::DICT).number(5); }, "", kRestored},
        {__LINE__, [](TTT& m) { m = Bytes().number(TTT::DICT).number(5).raw("\1\0\0"); }, "", kRestored},
        {__LINE__, [](TTT& m) { m = Bytes().number(TTT::DATA); }, "", kRestored},
        {__LINE__, [](TTT& m) { m = Bytes().number(TTT::DATA).raw("abc"); }, "", kRestored},
        {__LINE__, [](TTT& m) { m = "ab", m.getData().putStringNZ("c"); }, "ab", kRestored},
        {__LINE__, [](TTT& m) { m = "ab", m.getData() << -2 << 5; }, "ab", kRestored},
    });
}

TEST_F(TTTTranslate, ThrowingHookEndsTheText) {
    HookScope hooks(throwingStringHook, throwingVectorHook);
    expectRows({
        {__LINE__, [](TTT& m) { m = "ab%Ccd", m < "x", m <= "ef"; }, "abhalf", kRestored},
    });
}

// ---- segments ----

TEST_F(TTTTranslate, SegmentsStandSideBySide) {
    expectRows({
        {__LINE__, [](TTT& m) { m = "a", m <= "b"; }, "ab", kRestored},
        {__LINE__, [](TTT& m) { m = "a", m <= TTT("b"); }, "ab", kRestored},
        {__LINE__, [](TTT& m) { m = "a", m <= TTP(kDict5, 0), m <= 'c'; }, "aplainc", kRestored},
        {__LINE__, [](TTT& m) { m = "%d;", m < 1, m <= "%s;", m < "x", m <= "%d", m < 2; }, "1;x;2", kRestored},
        {__LINE__, [](TTT& m) { m <= ChPair("abc", 2); }, "ab", kRestored},
        {__LINE__, [](TTT& m) { m = "", m <= "", m <= "b"; }, "b", kRestored},
    });
}

TEST_F(TTTTranslate, AppendedMessageNeedsAMultipleOfEightForItsLongNumbers) {
    TTT inner("%ld");
    inner < std::int64_t(42);
    TTT good("abc");
    good <= inner;
    expectRendered("abc42", kRestored, good);
    TTT bad("abcd");
    bad <= inner;
    expectRendered("abcd", kRestored, bad);
    bad <= "xy";  // now there are bytes to read, but half of them are the next tag
    expectRendered("abcd-4294967296", kRestored, bad);
}

TEST_F(TTTTranslate, DataSegmentIsInvisible) {
    expectRows({
        {__LINE__, [](TTT& m) { m = "a", m.putSpecial("xyz", 3), m <= "b"; }, "ab", kRestored},
        {__LINE__, [](TTT& m) { m = "a", m.putSpecial("wxyz", 4), m <= "b"; }, "ab", kRestored},
        {__LINE__, [](TTT& m) { m = "a", m.putSpecial(nullptr, 0), m <= "b"; }, "ab", kRestored},
        {__LINE__, [](TTT& m) { m.putSpecial("xyz", 3); }, "", kRestored},
        {__LINE__, [](TTT& m) { m.putSpecial("xyz", 3), m.putSpecial("uvw", 3), m <= "b"; }, "b", kRestored},
        // In front of a parameter it is read as one.
        {__LINE__, [](TTT& m) { m = "%d", m.putSpecial("xyz", 3); }, "-3", 16},
    });
}

TEST_F(TTTTranslate, DataSegmentThatLeadsOutsideEndsTheText) {
    for (int length : {4, 5, 100, INT_MAX - 15, INT_MAX, -1, -4, -8, -12, -16, -20, INT_MIN, INT_MIN + 20}) {
        SCOPED_TRACE(length);
        TTT message("abc");
        message.getData() << int(TTT::DATA) << length;
        message.getData().putStringNZ("xyz");
        expectRendered("abc", kRestored, message);
    }
    TTT exact("abc");
    exact.getData() << int(TTT::DATA) << 3;
    exact.getData().putStringNZ("xyz");
    expectRendered("abc", kRestored, exact);

    // With text behind it, so that a length that is believed would show.
    for (int length : {-1, -4, -8, -16, 1000}) {
        SCOPED_TRACE(length);
        TTT message("abc");
        message.getData() << int(TTT::DATA) << length;
        message <= "def";
        expectRendered("abc", kRestored, message);
    }
}

// ---- tables of loaders ----

TEST_F(TTTTranslate, UsesTheTableThatItIsGiven) {
    IDLocLoader* table[6] = {};
    table[5] = &otherLoader();
    TTT message(kDict5, 0);
    message <= TTP(kDict5, 2);
    message << 1 << "x";
    message <= "[%i]";
    message < TTP(kDict5, 0);
    Rendered rendered = renderAll(message, table);
    EXPECT_EQ("anders1 nach x[anders]", rendered.text);
    EXPECT_EQ(kRestored, rendered.cursor);
    expectRendered("plainx before 1[plain]", kRestored, message);
}

TEST_F(TTTTranslate, EntryWithoutALoaderIsABadReference) {
    IDLocLoader* table[6] = {};
    TTT message("ab");
    message <= TTP(kDict5, 0);
    Rendered rendered = renderAll(message, table);
    EXPECT_EQ("ab", rendered.text);
    EXPECT_EQ(20, rendered.cursor);
    table[5] = &emptyLoader();
    rendered = renderAll(message, table);
    EXPECT_EQ("ab", rendered.text);
    EXPECT_EQ(20, rendered.cursor);
}

TEST_F(TTTTranslate, CountComesFromTheRegistryWhateverTheTable) {
    RegistryScope scope(5);
    IDLocLoader::Localization shorter = {2, 8, 1};
    TTT::localizations[5] = &shorter;
    IDLocLoader* table[6] = {};
    table[5] = &otherLoader();
    TTT message(kDict5, 2);
    message << 1 << "x";
    Rendered rendered = renderAll(message, table);
    EXPECT_EQ("", rendered.text);
    EXPECT_EQ(12, rendered.cursor);
    rendered = renderAll(TTT(kDict5, 0), table);
    EXPECT_EQ("anders", rendered.text);
    EXPECT_EQ(kRestored, rendered.cursor);
}

TEST_F(TTTTranslate, ThrownMessageRendersTheSame) {
    TTT source(kDict5, 1);
    source < "a" < 7;
    try {
        throw source;
    } catch (const TTT& caught) {
        expectRendered("File a, line 7", kRestored, caught);
    }
}

// ---- the library's own texts ----

TEST_F(TTTTranslate, EnglishTextsUseTheirParameters) {
    ASSERT_NO_FATAL_FAILURE(support::loadTexts());
    auto endsWith = [](const std::string& text, const std::string& end) {
        return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
    };
    auto count = [](const std::string& text, const std::string& part) {
        int found = 0;
        for (std::size_t at = 0; (at = text.find(part, at)) != std::string::npos; at += part.size()) ++found;
        return found;
    };
    for (int key = 0; key < VELMORA_KEY_COUNT; ++key) {
        const std::string name = support::keyName(key);
        SCOPED_TRACE(name);
        TTT message(VELMORA_DICT, key);
        int texts = 0;
        int numbers = 0;
        if (key == LCA__Line_d_Column_d) {
            message < 98765 < 43210;
            numbers = 2;
        } else if (endsWith(name, "_d")) {
            message < 98765;
            numbers = 1;
        } else if (endsWith(name, "_s") || key == LCA__Invalid_date_required_format_is ||
                   key == LCA__Could_not_get_information_for) {
            message < "@parameter@";
            texts = 1;
        }
        message <= "|";
        Rendered rendered = renderAll(message);
        EXPECT_EQ(kRestored, rendered.cursor) << "the text does not use its parameters as they are stored";
        EXPECT_GT(rendered.text.size(), 1u);
        EXPECT_TRUE(endsWith(rendered.text, "|")) << rendered.text;
        EXPECT_EQ(texts, count(rendered.text, "@parameter@")) << rendered.text;
        EXPECT_EQ(numbers >= 1 ? 1 : 0, count(rendered.text, "98765")) << rendered.text;
        EXPECT_EQ(numbers == 2 ? 1 : 0, count(rendered.text, "43210")) << rendered.text;
    }
}

// ---- whatever the bytes ----

// Renders bytes that end where the heap block ends, and, if they keep the alignment, where a readable page ends.
Rendered renderTight(const std::string& bytes) {
    TTT message;
    char* block = new char[bytes.size() + (bytes.empty() ? 1 : 0)];
    std::memcpy(block, bytes.data(), bytes.size());
    message.getData().stealFrom(block, static_cast<int>(bytes.size()), -1);
    Rendered rendered = renderAll(message);

    if (!bytes.empty() && bytes.size() % 8 == 0) {
        support::GuardedBytes guarded(bytes);
        TTT tight;
        Bag& bag = tight.getData();
        bag.data = guarded.begin();
        bag.size = bag.bufferSize = static_cast<int>(bytes.size());
        Rendered again = renderAll(tight);
        EXPECT_EQ(rendered.text, again.text);
        EXPECT_EQ(rendered.cursor, again.cursor);
        bag.data = nullptr;
    }
    return rendered;
}

TTT messageWithEverything() {
    TTT message("%s %d %u %x %X %f ");
    message < "text" < -1 < 2u < 0xAB < 0xCD < 1.5;
    message <= "%ld %llu %lx %llX %A %D %T %C %i;";
    message < -5LL < 6ULL < 0xEFLL < 0x12ULL < 0x7F000001 < BagTime(1617451200) < BagTime(0) < "custom";
    message < TTP(kDict5, 4);
    message.putSpecial("rides along", 11);
    message <= TTP(kDict5, 1);
    message < "a" < 7;
    message <= "%{5}%{4}%{3}%{02}%{1}%lz";
    message << 1 << 2u << 3LL << 4ULL << "five";
    message <= "100%%";
    return message;
}

TEST_F(TTTTranslate, EveryPrefixOfAMessageGivesAPrefixOfItsText) {
    const std::string whole = content(messageWithEverything());
    const Rendered full = renderTight(whole);
    EXPECT_EQ(kRestored, full.cursor);
    EXPECT_EQ("100%", full.text.substr(full.text.size() - 4));
    for (std::size_t size = 0; size < whole.size(); ++size) {
        SCOPED_TRACE(size);
        Rendered part = renderTight(whole.substr(0, size));
        EXPECT_LT(part.text.size(), full.text.size());
        EXPECT_EQ(full.text.substr(0, part.text.size()), part.text);
        EXPECT_EQ(kRestored, part.cursor) << "a missing rest is an exception and not a stop";
    }
}

TEST_F(TTTTranslate, SurvivesEveryChangedByte) {
    const std::string whole = content(messageWithEverything());
    for (std::size_t at = 0; at < whole.size(); ++at) {
        for (int change : {0x01, 0x80, 0xFF}) {
            std::string bytes = whole;
            bytes[at] = static_cast<char>(bytes[at] ^ change);
            renderTight(bytes);
            if (HasFailure()) FAIL() << "byte " << at << " changed by " << change;
        }
    }
}

TEST_F(TTTTranslate, SurvivesRandomMessages) {
    std::mt19937 random(20240229);
    auto below = [&](unsigned n) { return static_cast<int>(random() % n); };
    const int tags[] = {TTT::RAW,        TTT::RAW,         TTT::DICT,         TTT::DATA,        TTT::PARAM_INT,
                        TTT::PARAM_UINT, TTT::PARAM_INT64, TTT::PARAM_UINT64, TTT::PARAM_STRING};
    const std::string letters = "%%%%%duxXflADTsCi{}0123abz\x80\xFF";
    for (int round = 0; round < 3000; ++round) {
        Bag bag;
        for (int parts = 1 + below(8); parts > 0; --parts) {
            switch (below(8)) {
                case 0:
                case 1:
                    bag << tags[below(9)];
                    break;
                case 2:  // a template, often with its tag
                    if (below(4)) bag << int(TTT::RAW);
                    for (int n = below(12); n > 0; --n) {
                        bag << letters[static_cast<std::size_t>(below(static_cast<unsigned>(letters.size())))];
                    }
                    if (below(8)) bag << '\0';
                    break;
                case 3:
                    bag << int(TTT::DICT) << below(8) - 1 << below(8) - 1;
                    break;
                case 4:
                    bag << int(TTT::DATA) << below(40) - 20;
                    break;
                case 5:
                    bag << static_cast<int>(random());
                    break;
                case 6:
                    bag << below(64) - 8;
                    break;
                default:
                    for (int n = below(12); n > 0; --n) bag << static_cast<char>(random());
                    break;
            }
        }
        std::string bytes = bag.size ? std::string(bag.data, static_cast<std::size_t>(bag.size)) : std::string();
        if (below(2)) bytes.resize(bytes.size() / 8 * 8);
        Rendered rendered;
        EXPECT_NO_THROW(rendered = renderTight(bytes));
        EXPECT_TRUE(rendered.cursor == kRestored ||
                    (rendered.cursor >= 4 && rendered.cursor <= static_cast<int>(bytes.size())))
            << rendered.cursor;
        if (HasFailure()) FAIL() << "round " << round << ": " << testing::PrintToString(bytes);
    }
}

// A result that is almost at its limit, without its bytes being written.
void fillVector(const char*, CharVector& out) {
    const int size = (1 << 30) - 8;
    out.clear();
    out.data = new (std::nothrow) char[std::size_t{1} << 30];
    if (!out.data) return;
    std::memcpy(out.data + size - 3, "abc", 4);
    out.count = size;
    out.allocateCount = 1 << 30;
}

// What was rendered stays, the cursor comes back, and nothing leaves.
TEST(TTTTranslateLimit, TextEndsBelowOneGibibyte) {
    HookScope hooks(nullptr, fillVector);
    static const struct {
        int line;
        const char* text;
        const char* end;
    } rows[] = {
        {__LINE__, "%C%s", "abc1234567"},  {__LINE__, "%C%s+", "abc1234567"}, {__LINE__, "%C%s%%", "abc1234567"},
        {__LINE__, "%C%s1", "abc1234567"}, {__LINE__, "%C12345678%s", "abc"}, {__LINE__, "%C123456%s", "abc123456"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        TTT message(row.text);
        message < "x" < "1234567";
        message <= "more";
        const int cursor = message.getData().cursor;
        CharVector text;
        message.translate(text);
        const std::string end = row.end;
        if (text.count < 1000) GTEST_SKIP() << "this much memory is not there";
        ASSERT_GE(text.count, (1 << 30) - 8);
        EXPECT_EQ(end, std::string(text.data + text.count - end.size(), text.data + text.count));
        EXPECT_EQ(0, text.data[text.count]);
        EXPECT_EQ(cursor, message.getData().cursor);
    }
}

// The other kind of result has no limit of its own. A kilobyte asks for more than a gibibyte.
TEST(TTTTranslateLimit, ShortMessageDoesNotTakeAllMemory) {
    const std::string parameter(std::size_t{1} << 25, 'x');
    std::string text = "%{1}";
    for (int i = 0; i < 40; ++i) text += "%{1}";
    TTT message(text);
    message << parameter;
    const int cursor = message.getData().cursor;
    std::string out;
    try {
        out.reserve(std::size_t{1} << 30);
    } catch (const std::bad_alloc&) {
        GTEST_SKIP() << "this much memory is not there";
    }
    message.translate(out);
    EXPECT_EQ((std::size_t{1} << 30) - (std::size_t{1} << 25), out.size());
    EXPECT_EQ(cursor, message.getData().cursor);
}

}  // namespace
