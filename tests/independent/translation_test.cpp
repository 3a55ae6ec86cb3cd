// Rendering of messages: the placeholders, the walk over the segments, and what a message that is wrong for its
// template leaves behind. Every message is rendered by both forms, which must agree in text and in cursor.
#include <gtest/gtest.h>

#include <velmora/velmora.h>

#include <cfloat>
#include <climits>
#include <clocale>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <iterator>
#include <limits>
#include <new>
#include <stdexcept>
#include <string>
#include <type_traits>

namespace {

// Taken before any test can store a function in them.
const auto firstStringHook = TTT::translate_custom_std_string;
const auto firstVectorHook = TTT::translate_custom_char_vector;

// The cursor is where it was before; any other expected value is the place where a stop left it.
constexpr int RESTORED = -1;

LocDictionaryId dictionary(int n) { return static_cast<LocDictionaryId>(n); }

TTP text(int dict, int id) { return TTP(dictionary(dict), id); }

// Texts in memory, in the shape in which a loaded file leaves them.
class Texts {
public:
    IDLocLoader loader;
    IDLocLoader::Localization table;

    Texts(std::initializer_list<const char*> strings) : table() {
        loader.text = new char[1]();
        loader.strings = new const char*[strings.size()];
        for (const char* s : strings) loader.strings[table.count++] = s;
        table.encoding = 8;
    }
    Texts(const Texts&) = delete;
    Texts& operator=(const Texts&) = delete;
};

// Starts from several cursors, since the way back is part of what is promised.
void check(int line, const TTT& built, const std::string& expected, int cursor = RESTORED,
           IDLocLoader** loaders = nullptr) {
    SCOPED_TRACE(::testing::Message() << "row of line " << line);
    const int size = built.getData().size;
    for (int start : {0, 3, size, size + 5}) {
        TTT message(built);
        const TTT& constant = message;
        const int end = cursor == RESTORED ? start : cursor;

        message.getData().to(start);
        std::string s = "what was there";
        if (loaders) {
            constant.translate(s, loaders);
        } else {
            constant.translate(s);
        }
        EXPECT_EQ(s, expected);
        EXPECT_EQ(message.getData().cursor, end);

        message.getData().to(start);
        CharVector v("what was there");
        if (loaders) {
            constant.translate(v, loaders);
        } else {
            constant.translate(v);
        }
        EXPECT_EQ(v.std(), expected);
        EXPECT_EQ(message.getData().cursor, end);
        EXPECT_EQ(v.isNull(), expected.empty());
        EXPECT_EQ(v.count, static_cast<int>(expected.size()));
        if (!v.isNull()) {
            EXPECT_EQ(v.data[v.count], '\0');
        }

        // Whatever cursor the first rendering left, the next one begins at the start.
        constant.translate(s);
        if (!loaders) {
            EXPECT_EQ(s, expected);
        }
        EXPECT_EQ(message.getData().size, size);
        EXPECT_TRUE(message.getData() == built.getData());
    }
}

struct Row {
    int line;
    TTT message;
    std::string expected;
    int cursor = RESTORED;
};

template <std::size_t n>
void checkAll(const Row (&rows)[n]) {
    for (const Row& row : rows) check(row.line, row.message, row.expected, row.cursor);
}

// Dictionaries: 0 and 5 usable, 1 registered without texts, 2 usable, 3 without a table, 4 without a loader.
class Translation : public ::testing::Test {
protected:
    Texts first{"zero", "File %s, line %d", "has %s, %d, %% and %", "%{2}-%{1}", "%", "last of dictionary 0"};
    Texts second{"own"};
    Texts noTable{"never shown"};
    Texts noLoader{"never shown"};
    Texts fifth{"five"};
    IDLocLoader unloaded;
    IDLocLoader::Localization unloadedTable{3, 8, 0};

    void SetUp() override {
        std::memcpy(savedLoaders, TTT::dictionaries, sizeof savedLoaders);
        std::memcpy(savedTables, TTT::localizations, sizeof savedTables);
        stringHook = TTT::translate_custom_std_string;
        vectorHook = TTT::translate_custom_char_vector;
        IDLocLoader* const newLoaders[6] = {&first.loader,   &unloaded, &second.loader,
                                            &noTable.loader, nullptr,   &fifth.loader};
        IDLocLoader::Localization* const newTables[6] = {&first.table, &unloadedTable,  &second.table,
                                                         nullptr,      &noLoader.table, &fifth.table};
        std::memcpy(TTT::dictionaries, newLoaders, sizeof newLoaders);
        std::memcpy(TTT::localizations, newTables, sizeof newTables);
        std::setlocale(LC_ALL, "C");
    }

    void TearDown() override {
        std::memcpy(TTT::dictionaries, savedLoaders, sizeof savedLoaders);
        std::memcpy(TTT::localizations, savedTables, sizeof savedTables);
        TTT::translate_custom_std_string = stringHook;
        TTT::translate_custom_char_vector = vectorHook;
    }

private:
    IDLocLoader* savedLoaders[6];
    IDLocLoader::Localization* savedTables[6];
    void (*stringHook)(const char*, std::string&);
    void (*vectorHook)(const char*, CharVector&);
};

std::string formatted(const char* format, double v) {
    char out[512];
    std::snprintf(out, sizeof out, format, v);
    return out;
}

std::string date(std::int64_t t, bool withTime) {
    char out[512] = "";
    if (withTime) {
        sprintf_date_time(t, out, sizeof out);
    } else {
        sprintf_date(t, out, sizeof out);
    }
    return out;
}

TEST_F(Translation, EmptyAndPlain) {
    const std::string big(100000, 'b');
    const Row rows[] = {
        {__LINE__, TTT(), ""},
        {__LINE__, TTT(""), ""},
        {__LINE__, TTT(static_cast<const char*>(nullptr)), ""},
        {__LINE__, TTT("plain"), "plain"},
        {__LINE__, TTT("{1} }{ d u \\ \n\t\x7f"), "{1} }{ d u \\ \n\t\x7f"},
        {__LINE__, TTT("\xD0\x9F\xE2\x82\xAC\xFF"), "\xD0\x9F\xE2\x82\xAC\xFF"},
        {__LINE__, TTT(big), big},
        {__LINE__, TTT("a") <= "b", "ab"},
        {__LINE__, TTT("a") <= "" <= "b" <= 'c' <= std::string("dd") <= ChPair("eee", 2), "abcddee"},
        {__LINE__, TTT() <= ChPair("view", 3), "vie"},
        {__LINE__, TTT("a") <= TTT() <= TTT("b") <= TTT(), "ab"},
        {__LINE__, TTT("100%%"), "100%"},
        {__LINE__, TTT("%%"), "%"},
        {__LINE__, TTT("%%%%x%%"), "%%x%"},
        {__LINE__, TTT("%%d"), "%d"},
        {__LINE__, TTT("%%%d%%") < 4, "%4%"},
    };
    checkAll(rows);
}

TEST_F(Translation, Numbers) {
    const std::int64_t low = INT64_MIN;
    const std::uint64_t high = UINT64_MAX;
    const std::int64_t v = 0x123456789ABCDEF;
    const Row rows[] = {
        {__LINE__, TTT("%d") < 0, "0"},
        {__LINE__, TTT("%d") < INT_MIN, "-2147483648"},
        {__LINE__, TTT("%d") < INT_MAX, "2147483647"},
        {__LINE__, TTT("%d") < UINT_MAX, "-1"},
        {__LINE__, TTT("%u") < -1, "4294967295"},
        {__LINE__, TTT("%u") < 80u, "80"},
        {__LINE__, TTT("%x") < 0xABCDEF, "abcdef"},
        {__LINE__, TTT("%X") < 0xABCDEF, "ABCDEF"},
        {__LINE__, TTT("%x") < -1, "ffffffff"},
        {__LINE__, TTT("%X") < -2, "FFFFFFFE"},
        {__LINE__, TTT("%f") < 1.5, "1.500000"},
        {__LINE__, TTT("%f") < -0.0, "-0.000000"},
        {__LINE__, TTT("%f") < 0.0000005, formatted("%f", 0.0000005)},
        {__LINE__, TTT("%f") < DBL_MAX, formatted("%f", DBL_MAX)},
        {__LINE__, TTT("%f") < -DBL_MAX, formatted("%f", -DBL_MAX)},
        {__LINE__, TTT("%f") < std::numeric_limits<double>::infinity(), "inf"},
        {__LINE__, TTT("%ld") < low, "-9223372036854775808"},
        {__LINE__, TTT("%lld") < low, "-9223372036854775808"},
        {__LINE__, TTT("%ld") < high, "-1"},
        {__LINE__, TTT("%lu") < high, "18446744073709551615"},
        {__LINE__, TTT("%llu") < high, "18446744073709551615"},
        {__LINE__, TTT("%llu") < std::int64_t{-1}, "18446744073709551615"},
        {__LINE__, TTT("%lx") < v, "123456789abcdef"},
        {__LINE__, TTT("%llx") < v, "123456789abcdef"},
        {__LINE__, TTT("%lX") < v, "123456789ABCDEF"},
        {__LINE__, TTT("%llX") < v, "123456789ABCDEF"},
        {__LINE__, TTT("%A") < 0x7F000001, "127.0.0.1"},
        {__LINE__, TTT("%A") < 0, "0.0.0.0"},
        {__LINE__, TTT("%A") < 0xFFFFFFFFu, "255.255.255.255"},
        {__LINE__, TTT("%A") < 0x01020304, "1.2.3.4"},
        {__LINE__, TTT("%A") < 0x80FF0A00u, "128.255.10.0"},
        // Nothing of a form is swallowed behind the letter, and digits that follow are text.
        {__LINE__, TTT("%d5%u.%xs") < 1 < 2 < 3, "152.3s"},
        {__LINE__, TTT("%ldd%llxx") < std::int64_t{1} < std::int64_t{10}, "1dax"},
        // Every read aligns for itself: text, 4 bytes and 8 bytes in turn.
        {__LINE__, TTT("%s%d%s%lld%s%f%d") < "a" < 1 < "bcdef" < std::int64_t{-2} < "" < 0.25 < 3,
         "a1bcdef-20.2500003"},
        // The types of what is stored do not count: the bytes do.
        {__LINE__, TTT("%ld") < 1 < 2, "8589934593"},
        {__LINE__, TTT("%d and %d") < (std::int64_t{3} << 32 | 9), "9 and 3"},
    };
    checkAll(rows);
}

TEST_F(Translation, Dates) {
    const std::int64_t day = 1234526400;
    ASSERT_NE(date(day, false), "");
    ASSERT_NE(date(day, true), date(day, false));
    const std::int64_t beyondInt = 0x9ABCDEF0;
    const Row rows[] = {
        {__LINE__, TTT("<%D>") < BagTime(day), "<" + date(day, false) + ">"},
        {__LINE__, TTT("<%T>") < BagTime(day), "<" + date(day, true) + ">"},
        {__LINE__, TTT("%D") < BagTime(0), ""},
        {__LINE__, TTT("%T") < BagTime(0), ""},
        {__LINE__, TTT("a%Db%Tc") < BagTime(0) < BagTime(), "abc"},
        {__LINE__, TTT("%D") < BagTime(1), date(1, false)},
        // Read as unsigned, so times from 2038 on stand where they belong.
        {__LINE__, TTT("%D") < BagTime(beyondInt), date(beyondInt, false)},
        {__LINE__, TTT("%T") < BagTime(-1), date(0xFFFFFFFF, true)},
        {__LINE__, TTT("%T") < BagTime((std::int64_t{7} << 32) + day), date(day, true)},
        {__LINE__, TTT("%T") < static_cast<int>(day), date(day, true)},
        {__LINE__, TTT("%d") < BagTime(day), "1234526400"},
        {__LINE__, TTT("x%D"), "x"},
        {__LINE__, TTT("x%T"), "x"},
    };
    checkAll(rows);
}

class Name : public TTT::ParamSource {
public:
    const char* name;
    explicit Name(const char* s) : name(s) {}
    const char* getText() const override { return name; }
};

TEST_F(Translation, Strings) {
    const std::string big(2000, 'q');
    const Name named("from a source"), unnamed(nullptr);
    const Row rows[] = {
        {__LINE__, TTT("%s") < "a", "a"},
        {__LINE__, TTT("[%s]") < "", "[]"},
        {__LINE__, TTT("%s") < "", ""},
        {__LINE__, TTT("[%s]") < static_cast<const char*>(nullptr), "[]"},
        {__LINE__, TTT("%s%s") < 'y' < std::string("z"), "yz"},
        {__LINE__, TTT("%s,%s,%s") < ChPair("pair", 2) < CharVector("vec") < ChArr("arr"), "pa,vec,arr"},
        // More than the scratch area holds.
        {__LINE__, TTT("<%s>") < big, "<" + big + ">"},
        // A parameter is not a template.
        {__LINE__, TTT("%s") < "%d %s %% %", "%d %s %% %"},
        {__LINE__, TTT("%s/%s/%s") < &named < &unnamed < static_cast<const TTT::ParamSource*>(nullptr),
         "from a source//"},
        // Tags are bytes to %s, and untagged values are no parameters to %{1}.
        {__LINE__, TTT("%s|") << "ab",
         "\xE3\xBC\x0A\x0F"
         "ab|"},
        {__LINE__, TTT("x%{1}") < 5, "x", 16},
        // No terminator before the end of the content.
        {__LINE__, TTT("\xFF\xFF\xFF\xFF%s\0abc", 10), ""},
        {__LINE__, TTT("\xFF\xFF\xFF\xFFk%s\0abc", 11), "k"},
    };
    checkAll(rows);
}

TEST_F(Translation, UnknownPlaceholderStopsTheMessage) {
    const std::string known = "%duxXflADTsCi{";
    for (int c = 1; c < 256; ++c) {
        if (known.find(static_cast<char>(c)) != std::string::npos) continue;
        const std::string templ = std::string("a%") + static_cast<char>(c) + "z";
        SCOPED_TRACE(c);
        // The tag takes 4 bytes, the template with its terminator 5.
        check(__LINE__, TTT(templ), "a", 9);
        check(__LINE__, TTT(templ) < 1 < 2 < "s" <= "lost", "a", 9);
    }
    const Row rows[] = {
        {__LINE__, TTT("%"), "", 6},
        {__LINE__, TTT("%") <= "lost", "", 6},
        {__LINE__, TTT("abc%"), "abc", 9},
        {__LINE__, TTT("abc%") <= "lost", "abc", 9},
        {__LINE__, TTT("100%%%"), "100%", 11},
        {__LINE__, TTT("a") <= "b%" <= "c", "ab", 15},
        {__LINE__, TTT("at %5d") < 7 <= "lost", "at ", 11},
        {__LINE__, TTT("at %-d") < 7, "at ", 11},
        {__LINE__, TTT("at %+d") < 7, "at ", 11},
        {__LINE__, TTT("at %.2f") < 7.0, "at ", 12},
        {__LINE__, TTT("at %05u") < 7, "at ", 12},
        {__LINE__, TTT("at % d") < 7, "at ", 11},
        // What was read before the stop stays read.
        {__LINE__, TTT("%d%q") < 7 < 8, "7", 16},
        {__LINE__, TTT("%s%") < "abc", "abc", 12},
        {__LINE__, TTT("%f%-") < 0.5 < 8, "0.500000", 24},
    };
    checkAll(rows);
}

TEST_F(Translation, MissingParameterEndsTheMessage) {
    const std::string placeholders[] = {"d",  "u",   "x", "X", "f", "ld", "lld", "lu", "llu", "lx",  "llx",
                                        "lX", "llX", "A", "D", "T", "s",  "C",   "i",  "{1}", "{32}"};
    for (const std::string& p : placeholders) {
        SCOPED_TRACE(p);
        check(__LINE__, TTT("at %" + p + "z"), "at ");
        check(__LINE__, TTT("%" + p), "");
        check(__LINE__, TTT("at %d%" + p) < 5, "at 5");
        check(__LINE__, TTT("a") <= ("b%" + p), "ab");
    }
    const Row rows[] = {
        // Cut off within a value.
        {__LINE__, TTT("\xFF\xFF\xFF\xFF%d\0\0\1\0\0", 11), ""},
        {__LINE__, TTT("\xFF\xFF\xFF\xFF%d\0\0\1\0\0\0", 12), "1"},
        {__LINE__, TTT("\xFF\xFF\xFF\xFF%f\0\0\0\0\0\0", 12), ""},
        {__LINE__, TTT("%ld") < 1, ""},
        {__LINE__, TTT("%f.") < 1, ""},
        {__LINE__, TTT("x%i") < 0, "x"},
        {__LINE__, TTT("%{2}!%{1}") << 5, ""},
        {__LINE__, TTT("%{1}!%{2}") << 5, "5!"},
    };
    checkAll(rows);
}

TEST_F(Translation, TooFewAndTooManyPlaceholders) {
    const Row rows[] = {
        // The value that is left over is taken as a tag.
        {__LINE__, TTT("a") < 5 <= "b", "a", 12},
        {__LINE__, TTT("%d") < 1 < 2 <= "b", "1", 16},
        // -1 in 8 bytes: a tag, and a template that goes on into the next tag and its text.
        {__LINE__, TTT("a") < std::int64_t{-1} <= "b",
         "a\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF"
         "b"},
        {__LINE__, TTT("abc") < -1 < "hey" <= "!", "abchey!"},
        {__LINE__, TTT("abc") < -2 < 0 < 0, "abczero"},
        {__LINE__, TTT("abc") < -3 < 4 < 77 <= "d", "abcd"},
        {__LINE__, (TTT("%{1}") << 1 << 2) <= "b", "1", 24},
        // One placeholder too many reads on into the next segment.
        {__LINE__, TTT("%d%d") < 5 <= "b", "5-1"},
        {__LINE__, (TTT("%{1}%{2}") << 5) <= "b", "5", 28},
        {__LINE__, TTT("%s,%s") < "a" <= "b",
         "a,\xFF\xFF\xFF\xFF"
         "b"},
        // Or it finds the gap in front of the next tag, and nothing is lost.
        {__LINE__, TTT("%s,%s|") < "abc" <= "de", "abc,|de"},
    };
    checkAll(rows);
}

TEST_F(Translation, LetterBehindL) {
    const std::string small = "duxX";
    for (int c = 1; c < 256; ++c) {
        SCOPED_TRACE(c);
        const char letter = static_cast<char>(c);
        if (small.find(letter) != std::string::npos) continue;
        const std::string two = std::string("ll") + letter;
        check(__LINE__, TTT("a%" + two + "z"), "az");
        check(__LINE__, TTT("%d,%" + two + "z%d") < 7 < 8, "7,7z8");
        if (letter == 'l') continue;
        const std::string one = std::string("l") + letter;
        check(__LINE__, TTT("a%" + one + "z"), "az");
        check(__LINE__, TTT("%d,%" + one + "z%d") < 7 < 8, "7,7z8");
    }
    const std::int64_t day = 1234526400;
    const Row rows[] = {
        {__LINE__, TTT("%lq"), ""},
        {__LINE__, TTT("%llld"), "d"},
        {__LINE__, TTT("%u%llld") < 3, "33d"},
        // The last number, whatever its kind, across segments.
        {__LINE__, TTT("%u %x %lq") < 3 < 255, "3 ff ff"},
        {__LINE__, TTT("%X %lq%llq") < 255, "FF FFFF"},
        {__LINE__, TTT("%ld|%lq") < std::int64_t{-5}, "-5|-5"},
        {__LINE__, TTT("%f|%lq") < 2.5, "2.500000|2.500000"},
        {__LINE__, TTT("%A|%lq") < 1, "0.0.0.1|0.0.0.1"},
        {__LINE__, TTT("%D|%lq") < BagTime(day), date(day, false) + "|" + date(day, false)},
        {__LINE__, TTT("%T|%lq") < BagTime(day), date(day, true) + "|" + date(day, true)},
        {__LINE__, TTT("%d|%T|%lq") < 5 < BagTime(0), "5||"},
        {__LINE__, TTT("%d") < 5 <= "|%lq", "5|5"},
        {__LINE__, TTT("%d") < 5 <= text(0, 0) <= "|%lq", "5zero|5"},
        // Texts and positional numbers are not formatted into that area.
        {__LINE__, TTT("%s|%lq") < "text", "text|"},
        {__LINE__, TTT("%{1}|%lq") << 5, "5|"},
        {__LINE__, TTT("%d|%s|%lq") < 5 < "text", "5|text|5"},
        {__LINE__, TTT("%d|%i|%lq") < 5 < text(0, 0), "5|zero|5"},
        // Nothing behind the letters: nothing to skip.
        {__LINE__, TTT("a%l") <= "lost", "a", 8},
        {__LINE__, TTT("a%ll") <= "lost", "a", 9},
        {__LINE__, TTT("%d%l") < 5 <= "lost", "5", 16},
        {__LINE__, TTT("%d%ll") < 5 <= "lost", "5", 16},
        {__LINE__, TTT("%d%lll") < 5 <= "!", "55!"},
    };
    checkAll(rows);
    // No text is left from one rendering to the next.
    std::string out;
    (TTT("%d") < 99).translate(out);
    TTT("%lq").translate(out);
    EXPECT_EQ(out, "");
}

TEST_F(Translation, Positional) {
    const std::int64_t low = INT64_MIN;
    const Row rows[] = {
        {__LINE__, TTT("%{2} %{1}") << "a" << 1, "1 a"},
        {__LINE__, TTT("%{1}%{1}") << "ab", "abab"},
        {__LINE__, TTT("%{1}%{1}%{1}") << 7, "777"},
        {__LINE__, TTT("%{3}%{1}%{2}%{3}") << "a" << 2 << "c", "ca2c"},
        {__LINE__, TTT("%{1},%{2},%{3},%{4}") << INT_MIN << UINT_MAX << low << UINT64_MAX,
         "-2147483648,4294967295,-9223372036854775808,18446744073709551615"},
        {__LINE__, TTT("%{4},%{3},%{2},%{1}") << INT_MIN << UINT_MAX << low << UINT64_MAX,
         "18446744073709551615,-9223372036854775808,4294967295,-2147483648"},
        {__LINE__,
         TTT("%{1}%{2}%{3}%{4}%{5}") << "s" << std::string("t") << ChArr("u") << ChPair("vw", 1) << CharVector("x"),
         "stuvx"},
        {__LINE__, TTT("[%{1}]%{2}") << static_cast<const char*>(nullptr) << "", "[]"},
        {__LINE__, TTT("%{1}") << "%{1}%d", "%{1}%d"},
        {__LINE__, TTT("%{1}d}") << 1, "1d}"},
        // Skipped over is read all the same, so the next segment is found.
        {__LINE__, (TTT("%{2}") << 1 << 2) <= "!", "2!"},
        // Each template has its own numbers.
        {__LINE__, ((TTT("%{1}") << 1) <= "%{2}%{1}") << 2 << 3, "132"},
        // Both kinds share the cursor, and the formatted numbers outlive the sequential ones.
        {__LINE__, (TTT("%{1} %d %{1} %x") << 7) < 9 < 10, "7 9 7 a"},
        {__LINE__, (TTT("%d %{1} %{1}") < 9) << "p", "9 p p"},
        // Two digits.
        {__LINE__, TTT("%{01}") << 5, "5"},
        {__LINE__, TTT("%{02}%{1}") << 5 << 6, "65"},
    };
    checkAll(rows);

    TTT many("%{32}|%{1}|%{31}|%{9}|%{10}|%{32}");
    TTT numbers("%{32}|%{1}|%{2}|%{16}|%{4}");
    for (int i = 1; i <= 32; ++i) {
        many << i * 100;
        switch (i % 4) {
            case 0:
                numbers << INT_MIN;
                break;
            case 1:
                numbers << UINT64_MAX;
                break;
            case 2:
                numbers << UINT_MAX;
                break;
            default:
                numbers << INT64_MIN;
                break;
        }
    }
    check(__LINE__, many, "3200|100|3100|900|1000|3200");
    check(__LINE__, numbers, "-2147483648|18446744073709551615|4294967295|-2147483648|-2147483648");
    many <= "end";
    check(__LINE__, many, "3200|100|3100|900|1000|3200end");
}

TEST_F(Translation, PositionalSyntax) {
    // Twelve texts, "A" to "L", so that the index can be told from the answer.
    const auto with12 = [](const std::string& templ) {
        TTT message(templ);
        for (char c = 'A'; c <= 'L'; ++c) message << std::string(1, c);
        return message;
    };
    struct Case {
        int line;
        const char* templ;
        const char* expected;
        bool stops;
    };
    const Case cases[] = {
        {__LINE__, "%{1}%{12}", "AL", false},
        {__LINE__, "%{9}%{12}", "IL", false},
        {__LINE__, "%{12}%{10}", "LJ", false},
        {__LINE__, "%{:}%{12}", "JL", false},  // the byte behind 9 counts as 10
        {__LINE__, "%{;}%{<}", "KL", false},
        {__LINE__, "%{/;}%{12}", "AL", false},     // -10 and 11
        {__LINE__, "%{)\x7F}%{12}", "IL", false},  // -70 and 79
        {__LINE__, "%{0:}%{12}", "JL", false},
        {__LINE__, "%{12", "", true},           // the fifth byte would be the terminator
        {__LINE__, "%{02x%{12}", "BL", false},  // the fifth byte may be anything
        {__LINE__, "%{02%%{12}", "BL", false},
        {__LINE__, "%{123}", "L}", false},
        {__LINE__, "%{12 }", "L}", false},
        {__LINE__, "%{5\xFF}%{12}", "AL", false},  // 50 and -49: bytes are signed
        {__LINE__, "%{6\xF7}%{12}", "CL", false},  // 60 and -57
        {__LINE__, "a%{0}b", "a", true},
        {__LINE__, "a%{00}b", "a", true},
        {__LINE__, "a%{33}b", "a", true},
        {__LINE__, "a%{40}b", "a", true},
        {__LINE__, "a%{99}b", "a", true},
        {__LINE__, "a%{/}b", "a", true},
        {__LINE__, "a%{/:}b", "a", true},  // -10 and 10
        {__LINE__, "a%{-1}b", "a", true},
        {__LINE__, "a%{ 1}b", "a", true},
        {__LINE__, "a%{1 }b", "a", true},  // 10 and -16
        {__LINE__, "a%{1a}b", "a", true},
        {__LINE__, "a%{d}b", "a", true},
        {__LINE__, "a%{}}b", "a", true},
        {__LINE__, "a%{}", "a", true},
        {__LINE__, "a%{\xE0}b", "a", true},
        {__LINE__, "a%{\xFF\xFF}b", "a", true},
        {__LINE__, "a%{3\xFF}b", "a", true},  // 30 and -49
        {__LINE__, "a%{", "a", true},
        {__LINE__, "a%{5", "a", true},
        {__LINE__, "a%{1", "a", true},
        {__LINE__, "a%{32}", "a", false},  // twelve are not enough
        {__LINE__, "a%{13}b", "a", false},
    };
    for (const Case& c : cases) {
        const int behindTemplate = 4 + static_cast<int>(std::strlen(c.templ)) + 1;
        check(c.line, with12(c.templ), c.expected, c.stops ? behindTemplate : RESTORED);
    }
    check(__LINE__,
          TTT("%{02%{12}") << "A"
                           << "B",
          "B{12}");
}

TEST_F(Translation, PositionalTags) {
    // Tag 4 + template 5 makes 9: the first tag stands at 12.
    struct Case {
        int line;
        int tag;
        bool known;
    };
    const Case cases[] = {
        {__LINE__, TTT::PARAM_INT - 1, false},
        {__LINE__, TTT::PARAM_INT, true},
        {__LINE__, TTT::PARAM_UINT, true},
        {__LINE__, TTT::PARAM_INT64, true},
        {__LINE__, TTT::PARAM_UINT64, true},
        {__LINE__, TTT::PARAM_STRING, true},
        {__LINE__, TTT::PARAM_STRING + 1, false},
        {__LINE__, 0, false},
        {__LINE__, TTT::RAW, false},
        {__LINE__, TTT::DICT, false},
        {__LINE__, TTT::DATA, false},
        {__LINE__, INT_MIN, false},
    };
    for (const Case& c : cases) {
        Bag bag;
        bag << static_cast<int>(TTT::RAW) << "%{1}" << c.tag << 49 << 0 << 0;
        // Behind the tag at 12 stands 49 at 16, which is "1" as text, and 8-byte values are read there too.
        if (!c.known) {
            check(c.line, TTT(bag), "", 16);
            continue;
        }
        const bool isText = c.tag == TTT::PARAM_STRING;
        const bool wide = c.tag == TTT::PARAM_INT64 || c.tag == TTT::PARAM_UINT64;
        // The text ends at 18 and the number at 20; then a 0 is no tag.
        check(c.line, TTT(bag), isText ? "1" : "49", wide ? 28 : 24);
    }
    EXPECT_EQ(static_cast<int>(TTT::PARAM_INT), 252361951);
    EXPECT_EQ(static_cast<int>(TTT::PARAM_UINT), 252361952);
    EXPECT_EQ(static_cast<int>(TTT::PARAM_INT64), 252361953);
    EXPECT_EQ(static_cast<int>(TTT::PARAM_UINT64), 252361954);
    EXPECT_EQ(static_cast<int>(TTT::PARAM_STRING), 252361955);
    // The 8-byte value aligns to 8 behind its tag.
    check(__LINE__, (TTT("abc%{1}") << std::int64_t{-3}) <= "!", "abc-3!");
    check(__LINE__, (TTT("abc %{1}...") << std::int64_t{-3}) <= "!", "abc -3...!");
}

TEST_F(Translation, Dictionaries) {
    const Row rows[] = {
        {__LINE__, TTT(dictionary(0), 0), "zero"},
        {__LINE__, TTT(text(0, 1)) < "a.txt" < 7, "File a.txt, line 7"},
        {__LINE__, TTT(text(0, 3)) << 1 << "b", "b-1"},
        {__LINE__, TTT(dictionary(0), 5), "last of dictionary 0"},
        {__LINE__, TTT(VELMORA_DICT, 0), "own"},
        {__LINE__, TTT(dictionary(5), 0), "five"},
        {__LINE__, TTT(text(0, 1)) < "a" < 7 <= text(5, 0) <= "!", "File a, line 7five!"},
        {__LINE__, TTT("raw ") <= text(0, 0), "raw zero"},
        // A percent sign at the end stops, also in a dictionary.
        {__LINE__, TTT(text(0, 4)) <= "lost", "", 12},
        {__LINE__, TTT(text(0, 1)) < "a", "File a, line "},
        // Bad references: behind both numbers, and nothing of what follows.
        {__LINE__, TTT(dictionary(-1), 0) <= "lost", "", 12},
        {__LINE__, TTT(dictionary(6), 0) <= "lost", "", 12},
        {__LINE__, TTT(dictionary(INT_MIN), 0), "", 12},
        {__LINE__, TTT(dictionary(INT_MAX), 0), "", 12},
        {__LINE__, TTT(dictionary(0), -1) <= "lost", "", 12},
        {__LINE__, TTT(dictionary(0), 6) <= "lost", "", 12},
        {__LINE__, TTT(dictionary(0), INT_MIN), "", 12},
        {__LINE__, TTT(dictionary(0), INT_MAX), "", 12},
        {__LINE__, TTT(dictionary(5), 1), "", 12},
        {__LINE__, TTT(dictionary(1), 0), "", 12},  // registered, no texts yet
        {__LINE__, TTT(dictionary(3), 0), "", 12},  // no table
        {__LINE__, TTT(dictionary(4), 0), "", 12},  // no loader
        {__LINE__, TTT("stays ") <= text(4, 0) <= "lost", "stays ", 24},
        {__LINE__, TTT("stays ") <= text(1, 2) <= "lost", "stays ", 24},
        {__LINE__, TTT("stays") <= text(0, 0) <= text(0, 6), "stayszero", 36},
        // Cut off behind the dictionary's number.
        {__LINE__, TTT("\xFE\xFF\xFF\xFF\0\0\0\0", 8), ""},
        {__LINE__, TTT("\xFE\xFF\xFF\xFF", 4), ""},
    };
    checkAll(rows);
}

TEST_F(Translation, DictionaryTextAsParameter) {
    const Row rows[] = {
        {__LINE__, TTT("<%i>") < text(0, 0), "<zero>"},
        {__LINE__, TTT("%i%i") < text(2, 0) < text(5, 0), "ownfive"},
        // Inserted as it stands.
        {__LINE__, TTT("%i!") < text(0, 2) <= "next", "has %s, %d, %% and %!next"},
        {__LINE__, TTT("%i, %s") < text(0, 1) < "b", "File %s, line %d, b"},
        {__LINE__, TTT("%i") < 5 < 0, "five"},
        // Template and terminator end at 8; the numbers stand at 8 and 12.
        {__LINE__, TTT("a%i") < text(0, 6) <= "lost", "a", 16},
        {__LINE__, TTT("a%i") < text(0, -1), "a", 16},
        {__LINE__, TTT("a%i") < text(-1, 0), "a", 16},
        {__LINE__, TTT("a%i") < text(6, 0), "a", 16},
        {__LINE__, TTT("a%i") < text(1, 0), "a", 16},
        {__LINE__, TTT("a%i") < text(3, 0), "a", 16},
        {__LINE__, TTT("a%i") < text(4, 0) < 9, "a", 16},
        {__LINE__, TTT("%i%i") < text(0, 0) < text(4, 0), "zero", 28},
    };
    checkAll(rows);
}

TEST_F(Translation, OwnTableOfLoaders) {
    Texts other{"null", "Datei %s, Zeile %d", "2", "3", "4", "5", "beyond the count"};
    Texts fourth{"vier"};
    IDLocLoader* loaders[6] = {&other.loader, nullptr, nullptr, &second.loader, &fourth.loader, &unloaded};
    check(__LINE__, TTT(dictionary(0), 0), "null", RESTORED, loaders);
    check(__LINE__, TTT(text(0, 1)) < "a" < 7, "Datei a, Zeile 7", RESTORED, loaders);
    check(__LINE__, TTT("%i") < text(0, 5), "5", RESTORED, loaders);
    // A loader where the registry has none; the count is there.
    check(__LINE__, TTT(dictionary(4), 0) <= "!", "vier!", RESTORED, loaders);
    // The count is the registry's, so a longer table does not help.
    check(__LINE__, TTT(dictionary(0), 6), "", 12, loaders);
    check(__LINE__, TTT("x%i") < text(0, 6), "x", 16, loaders);
    // A loader without a table, none at all, and one without texts.
    check(__LINE__, TTT(dictionary(3), 0), "", 12, loaders);
    check(__LINE__, TTT("x%i") < text(3, 0), "x", 16, loaders);
    check(__LINE__, TTT(dictionary(2), 0), "", 12, loaders);
    check(__LINE__, TTT("x%i") < text(2, 0), "x", 16, loaders);
    check(__LINE__, TTT(dictionary(5), 0), "", 12, loaders);
    // Without the argument the registry counts again.
    check(__LINE__, TTT(dictionary(2), 0), "own");
}

TEST_F(Translation, DataSegments) {
    const auto withData = [](int n, int bytes) {
        Bag bag;
        bag << static_cast<int>(TTT::RAW) << "abc" << static_cast<int>(TTT::DATA) << n;
        for (int i = 0; i < bytes; ++i) bag << 'x';
        return TTT(bag);
    };
    for (int n = 0; n <= 9; ++n) {
        TTT message("a");
        message.putSpecial("%d%s%q123", n);
        check(__LINE__, message, "a");
        message <= "b";
        check(__LINE__, message, "ab");
    }
    TTT only;
    only.putSpecial("abc", 3);
    check(__LINE__, only, "");
    EXPECT_EQ(only.getData().size, 11);
    only.putSpecial("abcde", 5);
    only <= "end";
    check(__LINE__, only, "end");

    struct Case {
        int line;
        int length, bytes;
    };
    const Case cases[] = {
        {__LINE__, 0, 0},  {__LINE__, 1, 1},     {__LINE__, 1, 0},           {__LINE__, 4, 3},
        {__LINE__, -1, 8}, {__LINE__, -8, 8},    {__LINE__, -16, 8},         {__LINE__, INT_MIN, 8},
        {__LINE__, 9, 8},  {__LINE__, 65536, 8}, {__LINE__, INT_MAX, 8},     {__LINE__, INT_MAX - 15, 8},
        {__LINE__, 8, 8},  {__LINE__, -12, 8},   {__LINE__, INT_MIN + 1, 8}, {__LINE__, INT_MAX - 23, 8},
    };
    for (const Case& c : cases) check(c.line, withData(c.length, c.bytes), "abc");
    // A length that leads just to the end, and bytes behind it that are no tag.
    check(__LINE__, withData(8, 10), "abc");
    check(__LINE__, withData(8, 12), "abc", 28);
    check(__LINE__, TTT("\xFD\xFF\xFF\xFF", 4), "");
    check(__LINE__, TTT("\xFD\xFF\xFF\xFF\1\0", 6), "");
}

TEST_F(Translation, Tags) {
    for (int tag : {0, 1, -4, -5, 2, 255, INT_MIN, INT_MAX, static_cast<int>(TTT::PARAM_INT)}) {
        SCOPED_TRACE(tag);
        Bag bag;
        bag << tag << "never";
        check(__LINE__, TTT(bag), "", 4);
        Bag behind;
        behind << static_cast<int>(TTT::RAW) << "ab" << tag << 7;
        check(__LINE__, TTT(behind), "ab", 12);
    }
    const Row rows[] = {
        // Fewer bytes than a tag.
        {__LINE__, TTT("\xFF", 1), ""},
        {__LINE__, TTT("\xFF\xFF\xFF", 3), ""},
        {__LINE__,
         TTT("\xFF\xFF\xFF\xFF"
             "a\0\xFF\xFF",
             8),
         "a"},
        {__LINE__,
         TTT("\xFF\xFF\xFF\xFF"
             "a\0\0\0\xFF\xFF\xFF",
             11),
         "a"},
        // A tag without a template, and one whose template has no end.
        {__LINE__, TTT("\xFF\xFF\xFF\xFF", 4), ""},
        {__LINE__,
         TTT("\xFF\xFF\xFF\xFF"
             "abc",
             7),
         ""},
        {__LINE__,
         TTT("\xFF\xFF\xFF\xFF"
             "abc\0\xFF\xFF\xFF\xFF"
             "d",
             13),
         "abc"},
        // The odd form of a view: its length is the template, its text a tag.
        {__LINE__, TTT(ChPair("short")), "\x05", 12},
        {__LINE__, TTT(ChPair("ab")), "\x02"},
    };
    checkAll(rows);
    TTT assigned("before");
    assigned = ChPair("short");
    check(__LINE__, assigned, "\x05", 12);
}

TEST_F(Translation, AppendedMessageWithWideValues) {
    const TTT wide = TTT("%lld") < std::int64_t{5};
    ASSERT_EQ(wide.getData().size, 24);
    // At a multiple of 8 the reader aligns as the writer did.
    check(__LINE__, TTT("x") <= wide <= "!", "x5!");
    // At 12 it does not: four bytes of the gap and the low half are the value, the high half a tag.
    check(__LINE__, TTT("abcd") <= wide <= "!", "abcd21474836480", 36);
    const TTT tight = TTT("%ld") < std::int64_t{5};
    ASSERT_EQ(tight.getData().size, 16);
    check(__LINE__, TTT("abcd") <= tight, "abcd");
    // Text and 4-byte parameters travel anywhere.
    check(__LINE__, TTT("abcd") <= (TTT("%d%s%u") < 5 < "t" < 6) <= "!", "abcd5t6!");
}

TEST_F(Translation, LifeOfAMessage) {
    TTT message("File %s, line %d");
    EXPECT_EQ(message.getData().size, 21);
    message < "a";
    EXPECT_EQ(message.getData().size, 23);
    message < 7;
    EXPECT_EQ(message.getData().size, 28);
    EXPECT_EQ(message.getData().cursor, 28);
    EXPECT_EQ(message.getData().data[23], '\0');
    check(__LINE__, message, "File a, line 7");
    std::string out;
    message.translate(out);
    EXPECT_EQ(message.getData().cursor, 28);

    // Rendering in between does not disturb the building.
    message <= " and %d";
    message.translate(out);
    EXPECT_EQ(out, "File a, line 7 and ");
    message < 8;
    message.translate(out);
    EXPECT_EQ(out, "File a, line 7 and 8");

    try {
        throw TTT(message);
    } catch (const TTT& caught) {
        message.clear();
        check(__LINE__, caught, "File a, line 7 and 8");
        message = caught;
    }

    Bag stored;
    message.save(stored);
    stored.toBegin();
    TTT loaded("old %s");
    loaded.load(stored);
    EXPECT_EQ(loaded.getData().cursor, 0);
    loaded.translate(out);
    EXPECT_EQ(out, "File a, line 7 and 8");
    EXPECT_EQ(loaded.getData().cursor, 0);
    TTT taken;
    taken.stealFrom(loaded);
    check(__LINE__, taken, "File a, line 7 and 8");
    check(__LINE__, loaded, "");
}

TEST_F(Translation, ResultKeepsOrReleasesItsStorage) {
    std::string s(1000, 'x');
    const char* const storage = s.data();
    const std::size_t capacity = s.capacity();
    (TTT("n %d") < 5).translate(s);
    EXPECT_EQ(s, "n 5");
    EXPECT_EQ(s.data(), storage);
    EXPECT_EQ(s.capacity(), capacity);
    TTT().translate(s);
    EXPECT_EQ(s, "");
    EXPECT_EQ(s.capacity(), capacity);
    TTT("%").translate(s);
    EXPECT_EQ(s.capacity(), capacity);

    const TTT empties[] = {TTT(),      TTT(""),      TTT("%s") < "",        TTT("%T") < BagTime(0),
                           TTT("%"),   TTT("%d"),    TTT(dictionary(4), 0), TTT("%{1}") << "",
                           TTT("%lq"), TTT("") <= ""};
    for (const TTT& message : empties) {
        CharVector v(std::string(1000, 'x'));
        message.translate(v);
        EXPECT_TRUE(v.isNull());
        EXPECT_EQ(v.data, nullptr);
        EXPECT_EQ(v.count, 0);
        EXPECT_EQ(v.allocateCount, 0);
    }
}

int calls = 0;

template <class Out>
void bracket(const char* s, Out& out) {
    ++calls;
    out += '[';
    out += s;
    out += ']';
}

template <class Out>
void throwTtt(const char* s, Out& out) {
    ++calls;
    out += s;
    throw TTT("a failure of the hook's own");
}

template <class Out>
void throwInt(const char*, Out&) {
    throw 7;
}

template <class Out>
void throwAlloc(const char*, Out&) {
    throw std::bad_alloc();
}

template <class Out>
void throwStd(const char*, Out&) {
    throw std::runtime_error("hook");
}

template <class Out>
void showResult(const char* s, Out& out) {
    if constexpr (std::is_same_v<Out, std::string>) {
        out = std::string(s) + "(" + out + ")";
    } else {
        out = std::string(s) + "(" + out.std() + ")";
    }
}

TEST_F(Translation, Hooks) {
    EXPECT_EQ(firstStringHook, nullptr);
    EXPECT_EQ(firstVectorHook, nullptr);

    TTT::translate_custom_std_string = bracket<std::string>;
    TTT::translate_custom_char_vector = bracket<CharVector>;
    const Name named("source");
    const Row rows[] = {
        {__LINE__, TTT("a%Cb") < "x", "a[x]b"},
        {__LINE__, TTT("%C%C") < "" < "%d", "[][%d]"},
        {__LINE__, TTT("%C %d %s") < std::string("y") < 5 < "s" <= "!", "[y] 5 s!"},
        {__LINE__, TTT("%C") < &named, "[source]"},
        {__LINE__, TTT("%C%C") < "x", "[x]"},
        {__LINE__, TTT("%lC"), ""},
    };
    checkAll(rows);
    calls = 0;
    check(__LINE__, TTT("a%C"), "a");
    EXPECT_EQ(calls, 0);

    TTT::translate_custom_std_string = showResult<std::string>;
    TTT::translate_custom_char_vector = showResult<CharVector>;
    check(__LINE__, TTT("a%Cb%C") < "1" < "2" <= "c", "2(1(a)b)c");

    // Each form asks its own hook only.
    TTT::translate_custom_std_string = throwTtt<std::string>;
    TTT::translate_custom_char_vector = nullptr;
    std::string s;
    calls = 0;
    TTT message = TTT("a%C") < "x" <= "lost";
    message.translate(s);
    EXPECT_EQ(s, "ax");
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(message.getData().cursor, message.getData().size);
    TTT::translate_custom_std_string = nullptr;
    TTT::translate_custom_char_vector = throwTtt<CharVector>;
    CharVector v;
    message.getData().to(5);
    message.translate(v);
    EXPECT_EQ(v.std(), "ax");
    EXPECT_EQ(calls, 2);
    EXPECT_EQ(message.getData().cursor, 5);

    TTT::translate_custom_std_string = throwInt<std::string>;
    TTT::translate_custom_char_vector = throwInt<CharVector>;
    check(__LINE__, TTT("a%Cb") < "x" <= "lost", "a");
    TTT::translate_custom_std_string = throwAlloc<std::string>;
    TTT::translate_custom_char_vector = throwAlloc<CharVector>;
    check(__LINE__, TTT("a%Cb") < "x" <= "lost", "a");
    TTT::translate_custom_std_string = throwStd<std::string>;
    TTT::translate_custom_char_vector = throwStd<CharVector>;
    check(__LINE__, TTT("%d%Cb") < 5 < "x" <= "lost", "5");
}

// Messages made of the right parts in the wrong order: neither form may throw, leave the message or differ.
TEST_F(Translation, AnyBytesRenderAlike) {
    TTT::translate_custom_std_string = bracket<std::string>;
    TTT::translate_custom_char_vector = bracket<CharVector>;
    const char* const pieces[] = {"%d", "%s", "%f", "%lld", "%lq", "%{1}", "%{2}", "%{32}", "%{0", "%i", "%C",
                                  "%D", "%T", "%A", "%%",   "%",   "x",    "%l",   "%{",    "",    "%X", "\xFF"};
    const int values[] = {TTT::RAW,
                          TTT::DICT,
                          TTT::DATA,
                          TTT::PARAM_INT,
                          TTT::PARAM_UINT,
                          TTT::PARAM_INT64,
                          TTT::PARAM_UINT64,
                          TTT::PARAM_STRING,
                          0,
                          1,
                          5,
                          -1000,
                          INT_MIN,
                          INT_MAX,
                          0x41424344};
    std::uint32_t state = 12345;
    const auto next = [&state](std::size_t below) {
        state = state * 1664525u + 1013904223u;
        return (state >> 8) % below;
    };
    for (int round = 0; round < 20000; ++round) {
        Bag bag;
        bag << static_cast<int>(TTT::RAW);
        for (std::size_t n = next(12); n > 0; --n) {
            switch (next(4)) {
                case 0:
                    bag << values[next(std::size(values))];
                    break;
                case 1:
                    bag << pieces[next(std::size(pieces))];
                    break;
                case 2:
                    bag.putStringNZ(pieces[next(std::size(pieces))]);
                    break;
                default:
                    bag << static_cast<char>(next(256));
                    break;
            }
        }
        TTT message(bag);
        const int start = static_cast<int>(next(40));
        std::string s;
        message.getData().to(start);
        ASSERT_NO_THROW(message.translate(s)) << round;
        const int end = message.getData().cursor;
        CharVector v;
        message.getData().to(start);
        ASSERT_NO_THROW(message.translate(v)) << round;
        ASSERT_EQ(v.std(), s) << round;
        ASSERT_EQ(message.getData().cursor, end) << round;
        ASSERT_TRUE(message.getData() == bag) << round;
        // A stop leaves the cursor within the message; otherwise it is where it was.
        ASSERT_TRUE(end == start || (end >= 4 && end <= bag.size)) << round;
    }
}

}  // namespace
