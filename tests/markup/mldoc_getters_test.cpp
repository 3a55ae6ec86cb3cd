#include <velmora/markup/mldoc.h>

#include <gtest/gtest.h>

#include <climits>
#include <clocale>
#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <string>
#include <type_traits>

#include <velmora/localization/keys.h>
#include <velmora/serial/tags.h>
#include <velmora/serial/ttt.h>
#include <velmora/text/timetext.h>

#include "tests/support/guard_page.h"
#include "tests/support/locale_scope.h"
#include "tests/support/message.h"

// All getters but this one work on a constant document.
static_assert(std::is_same_v<decltype(&MLDoc::getString), void (MLDoc::*)(const ChPair&, char*, std::uint64_t)>);

namespace {

using support::GuardedBytes;

const char kInvalidInteger[] = "!LCA__Invalid_integer_value";
const char kInvalidDouble[] = "!LCA__Invalid_double_value";
const char kOutOfRange[] = "!LCA__Integer_value_is_out_of_range";

// What a getter makes of a value against a guard page: the number, or "!" and the whole message, which has no place.
// The answer must not depend on the document, and the document must not change.
template <class Get>
std::string get(const std::string& text, Get getter) {
    GuardedBytes bytes(text);
    const ChPair value(bytes.begin(), bytes.end());
    std::string results[2];
    for (int i = 0; i < 2; ++i) {
        MLDoc doc;
        doc.format = i == 0 ? MLDocBase::XML : MLDocBase::JSON;
        if (i == 1) doc.load("file.json", "{\n\"a\": 1 }", 10);
        const std::uint32_t position = doc.position;
        const MLDocBase::Format format = doc.format;
        const MLDoc& constant = doc;
        std::string number;
        const std::string thrown = support::thrownMessage([&] { number = std::to_string(getter(constant, value)); });
        EXPECT_EQ(position, doc.position);
        EXPECT_EQ(format, doc.format);
        results[i] = thrown == "(nothing)" ? number : "!" + thrown;
    }
    EXPECT_EQ(results[0], results[1]);
    EXPECT_EQ(text, std::string(bytes.begin(), bytes.end()));
    return results[0];
}

struct Row {
    int line;
    std::string text;
    std::string result;
};

template <std::size_t N, class Get>
void expectGot(const Row (&rows)[N], Get getter) {
    for (const Row& row : rows) {
        SCOPED_TRACE(row.line);
        EXPECT_EQ(row.result, get(row.text, getter));
    }
}

}  // namespace

// --- Integers ---

TEST(MLDocGetInt32, WithoutBoundsReportsOverflowAsInvalid) {
    static const Row rows[] = {
        {__LINE__, "5", "5"},
        {__LINE__, "-5", "-5"},
        {__LINE__, "+5", "5"},
        {__LINE__, "1FH", "31"},
        {__LINE__, "0xFFFFFFFF", "-1"},
        {__LINE__, "2147483647", "2147483647"},
        {__LINE__, "2147483648", kInvalidInteger},
        {__LINE__, "99999999999", kInvalidInteger},
        {__LINE__, "", kInvalidInteger},
        {__LINE__, " 5", kInvalidInteger},
        {__LINE__, "5 ", kInvalidInteger},
        {__LINE__, "five", kInvalidInteger},
        {__LINE__, "5.0", kInvalidInteger},
        // A value is taken as it stands: nothing is unescaped.
        {__LINE__, "&#53;", kInvalidInteger},
        {__LINE__, "5&amp;", kInvalidInteger},
        {__LINE__, "\\u0035", kInvalidInteger},
        {__LINE__, "\"5\"", kInvalidInteger},
    };
    expectGot(rows, [](const MLDoc& doc, const ChPair& value) { return doc.getInt32(value); });
}

TEST(MLDocGetInt32, BoundsAreInclusive) {
    static const Row rows[] = {
        {__LINE__, "-3", "-3"},
        {__LINE__, "7", "7"},
        {__LINE__, "0", "0"},
        {__LINE__, "-4", kOutOfRange},
        {__LINE__, "8", kOutOfRange},
        {__LINE__, "0xFFFFFFFF", "-1"},
        {__LINE__, "", kInvalidInteger},
        {__LINE__, "2147483648", kInvalidInteger},
    };
    expectGot(rows, [](const MLDoc& doc, const ChPair& value) { return doc.getInt32(value, -3, 7); });
    EXPECT_EQ("-2147483648", get("80000000H", [](const MLDoc& doc, const ChPair& value) {
                  return doc.getInt32(value, INT_MIN, INT_MAX);
              }));
}

TEST(MLDocGetUInt32, WithAndWithoutBounds) {
    static const Row unbounded[] = {
        {__LINE__, "0", "0"},
        {__LINE__, "4294967295", "4294967295"},
        {__LINE__, "0xFFFFFFFF", "4294967295"},
        {__LINE__, "4294967296", kInvalidInteger},
        {__LINE__, "-1", kInvalidInteger},
        {__LINE__, "+1", kInvalidInteger},
        {__LINE__, "", kInvalidInteger},
    };
    expectGot(unbounded, [](const MLDoc& doc, const ChPair& value) { return doc.getUInt32(value); });
    static const Row bounded[] = {
        {__LINE__, "3", "3"},
        {__LINE__, "4000000000", "4000000000"},
        {__LINE__, "2", kOutOfRange},
        {__LINE__, "4000000001", kOutOfRange},
        {__LINE__, "-1", kInvalidInteger},
        {__LINE__, "", kInvalidInteger},
    };
    expectGot(bounded, [](const MLDoc& doc, const ChPair& value) { return doc.getUInt32(value, 3, 4000000000u); });
}

TEST(MLDocGetInt64, WithAndWithoutBounds) {
    static const Row unbounded[] = {
        {__LINE__, "9223372036854775807", "9223372036854775807"},
        {__LINE__, "-9223372036854775807", "-9223372036854775807"},
        {__LINE__, "+5", "5"},
        {__LINE__, "9223372036854775808", kInvalidInteger},
        {__LINE__, "0x10", kInvalidInteger},
        {__LINE__, "10H", kInvalidInteger},
        {__LINE__, "", kInvalidInteger},
    };
    expectGot(unbounded, [](const MLDoc& doc, const ChPair& value) { return doc.getInt64(value); });
    static const Row bounded[] = {
        {__LINE__, "-4294967296", "-4294967296"}, {__LINE__, "4294967296", "4294967296"},
        {__LINE__, "-4294967297", kOutOfRange},   {__LINE__, "4294967297", kOutOfRange},
        {__LINE__, "x", kInvalidInteger},
    };
    expectGot(bounded,
              [](const MLDoc& doc, const ChPair& value) { return doc.getInt64(value, -4294967296, 4294967296); });
}

TEST(MLDocGetUInt64, WithAndWithoutBounds) {
    static const Row unbounded[] = {
        {__LINE__, "18446744073709551615", "18446744073709551615"},
        {__LINE__, "0", "0"},
        {__LINE__, "18446744073709551616", kInvalidInteger},
        {__LINE__, "-1", kInvalidInteger},
        {__LINE__, "+1", kInvalidInteger},
        {__LINE__, "0x10", kInvalidInteger},
        {__LINE__, "", kInvalidInteger},
    };
    expectGot(unbounded, [](const MLDoc& doc, const ChPair& value) { return doc.getUInt64(value); });
    static const Row bounded[] = {
        {__LINE__, "5", "5"},
        {__LINE__, "9223372036854775808", "9223372036854775808"},
        {__LINE__, "4", kOutOfRange},
        {__LINE__, "9223372036854775809", kOutOfRange},
        {__LINE__, "x", kInvalidInteger},
    };
    expectGot(bounded,
              [](const MLDoc& doc, const ChPair& value) { return doc.getUInt64(value, 5, 9223372036854775808u); });
}

TEST(MLDocGetCountOrInfinity, IsTheLowHalfOfANumber) {
    static const Row rows[] = {
        {__LINE__, "0", "0"},
        {__LINE__, "5", "5"},
        {__LINE__, "+5", "5"},
        {__LINE__, "-1", "4294967295"},
        {__LINE__, "4294967295", "4294967295"},
        // Cut without complaint.
        {__LINE__, "-2", "4294967294"},
        {__LINE__, "4294967296", "0"},
        {__LINE__, "4294967301", "5"},
        {__LINE__, "-4294967296", "0"},
        {__LINE__, "9223372036854775807", "4294967295"},
        {__LINE__, "-9223372036854775807", "1"},
        // No word stands for infinity.
        {__LINE__, "infinity", kInvalidInteger},
        {__LINE__, "inf", kInvalidInteger},
        {__LINE__, "", kInvalidInteger},
        {__LINE__, "0x10", kInvalidInteger},
        {__LINE__, "10H", kInvalidInteger},
        {__LINE__, "9223372036854775808", kInvalidInteger},
    };
    expectGot(rows, [](const MLDoc& doc, const ChPair& value) { return doc.getCountOrInfinity(value); });
}

// --- Floating point and addresses ---

TEST(MLDocGetDouble, WithAndWithoutBounds) {
    support::LocaleScope numbers(LC_NUMERIC, "C");
    static const Row unbounded[] = {
        {__LINE__, "1.5", std::to_string(1.5)},
        {__LINE__, "-25e-2", std::to_string(-0.25)},
        {__LINE__, std::string(48, '0') + "7", std::to_string(7.0)},
        {__LINE__, std::string(49, '0') + "7", kInvalidDouble},
        {__LINE__, "1e999", kInvalidDouble},
        {__LINE__, "", kInvalidDouble},
        {__LINE__, "1,5", kInvalidDouble},
        {__LINE__, "1.5 ", kInvalidDouble},
        {__LINE__, "1&#46;5", kInvalidDouble},
    };
    expectGot(unbounded, [](const MLDoc& doc, const ChPair& value) { return doc.getDouble(value); });
    static const Row bounded[] = {
        {__LINE__, "-0.5", std::to_string(-0.5)}, {__LINE__, "1.5", std::to_string(1.5)},
        {__LINE__, "-0.5001", kOutOfRange},       {__LINE__, "1.5001", kOutOfRange},
        {__LINE__, "1e999", kInvalidDouble},      {__LINE__, "", kInvalidDouble},
    };
    expectGot(bounded, [](const MLDoc& doc, const ChPair& value) { return doc.getDouble(value, -0.5, 1.5); });
}

TEST(MLDocGetIP, FourNumbers) {
    static const Row rows[] = {
        {__LINE__, "1.2.3.4", "16909060"},
        {__LINE__, "255.255.255.255", "4294967295"},
        {__LINE__, "1.2.3.", "16909056"},
        {__LINE__, "1.2.3", "!LCA__Invalid_IP_address"},
        {__LINE__, "256.1.1.1", "!LCA__Invalid_IP_address"},
        {__LINE__, "1.2.3.4 ", "!LCA__Invalid_IP_address"},
        {__LINE__, "1.2.3.&#52;", "!LCA__Invalid_IP_address"},
        {__LINE__, "", "!LCA__Invalid_IP_address"},
    };
    expectGot(rows, [](const MLDoc& doc, const ChPair& value) { return doc.getIP(value); });
}

// --- Times ---

namespace {

const char kGMTForm[] = "!LCA__Invalid_date_required_format_is(YYYY-MM-DDThh:ss:mm)";
const char kLocalForm[] = "!LCA__Invalid_date_required_format_is(DD/MM/YYYY hh:mm:ss)";

// Whatever the time zone of this machine makes of a local time.
std::string localTime(std::string text) {
    return std::to_string(
        from_local_date_time_string_DDMMYYYY_hhmmss_to_gmt_time_t(text.data(), text.data() + text.size()));
}

}  // namespace

TEST(MLDocGetGMTTime, ReadsTheUniversalForm) {
    static const Row rows[] = {
        {__LINE__, "2021-04-03T09:05:07", "1617440707"},
        {__LINE__, "2021-04-03 09:05:07", "1617440707"},
        {__LINE__, "2021-04-03", "1617408000"},
        {__LINE__, "03/04/2021 9:05:07", kGMTForm},
        {__LINE__, "2021-13-03T09:05:07", kGMTForm},
        {__LINE__, "T", kGMTForm},
        {__LINE__, "", kGMTForm},
    };
    expectGot(rows, [](const MLDoc& doc, const ChPair& value) { return doc.getGMTTime(value); });
}

TEST(MLDocGetLocalTime, ReadsTheLocalForm) {
    ASSERT_NE("-1", localTime("03/04/2021 9:05:07"));
    static const Row rows[] = {
        {__LINE__, "03/04/2021 9:05:07", localTime("03/04/2021 9:05:07")},
        {__LINE__, "03/04/2021T9:05:07", localTime("03/04/2021 9:05:07")},
        {__LINE__, "03/04/2021", localTime("03/04/2021 0:00:00")},
        {__LINE__, "2021-04-03T09:05:07", kLocalForm},
        {__LINE__, "03/13/2021 9:05:07", kLocalForm},
        {__LINE__, "", kLocalForm},
    };
    expectGot(rows, [](const MLDoc& doc, const ChPair& value) { return doc.getLocalTime(value); });
}

TEST(MLDocGetTime, LetterTChoosesTheUniversalForm) {
    ASSERT_NE("-1", localTime("03/04/2021 9:05:07"));
    static const Row rows[] = {
        {__LINE__, "2021-04-03T09:05:07", "1617440707"},
        {__LINE__, "2021T04T03", "1617408000"},
        {__LINE__, "2021-04-03 09:05:07T", "1617440707"},
        {__LINE__, "03/04/2021 9:05:07", localTime("03/04/2021 9:05:07")},
        {__LINE__, "03/04/2021", localTime("03/04/2021")},
        // Without the letter, and with it in the other form.
        {__LINE__, "2021-04-03 09:05:07", kLocalForm},
        {__LINE__, "2021-04-03t09:05:07", kLocalForm},
        {__LINE__, "03/04/2021T9:05:07", kGMTForm},
        {__LINE__, "noT a time", kGMTForm},
        {__LINE__, "T", kGMTForm},
        {__LINE__, "not a time", kLocalForm},
        {__LINE__, "", kLocalForm},
    };
    expectGot(rows, [](const MLDoc& doc, const ChPair& value) { return doc.getTime(value); });
    EXPECT_EQ(kLocalForm, "!" + support::thrownMessage([] { MLDoc().getTime(ChPair()); }));
}

// --- Names ---

namespace {

const PairTag tags[] = {{"red", 1}, {"green", 2}, {"old", 4}, {"former", 4}, {"none", -1}, {"minus", -2}, {}};

}  // namespace

TEST(MLDocGetEnum, ForbidsNoBits) {
    static const Row rows[] = {
        {__LINE__, "red", "1"},
        {__LINE__, "GREEN", "2"},
        {__LINE__, "former", "4"},
        {__LINE__, "minus", "4294967294"},
        {__LINE__, "none", "!LCA__Invalid_enum_value"},
        {__LINE__, "yellow", "!LCA__Invalid_enum_value"},
        {__LINE__, "re&#100;", "!LCA__Invalid_enum_value"},
        {__LINE__, "", "!LCA__Invalid_enum_value"},
    };
    expectGot(rows, [](const MLDoc& doc, const ChPair& value) { return doc.getEnum(value, tags); });
}

TEST(MLDocGetFlags, HandsOnBothArguments) {
    static const struct {
        int line;
        std::string text;
        int deprecated;
        bool strict;
        std::string result;
    } rows[] = {
        {__LINE__, "", 0, true, "0"},
        {__LINE__, " red  GREEN ", 0, true, "3"},
        {__LINE__, "red what", 0, false, "1"},
        {__LINE__, "red what", 0, true, "!LCA__Invalid_flag_s(what)"},
        {__LINE__, "red former", 0, true, "5"},
        {__LINE__, "red former", 8, true, "5"},
        {__LINE__, "red former", 4, true, "!LCA__Deprecated_flag_s(old)"},
        {__LINE__, "red former", 4, false, "!LCA__Deprecated_flag_s(old)"},
        {__LINE__, "what", 8, false, "!LCA__Deprecated_flag_s(none)"},
        {__LINE__, "what", 8, true, "!LCA__Invalid_flag_s(what)"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        EXPECT_EQ(row.result, get(row.text, [&](const MLDoc& doc, const ChPair& value) {
                      return doc.getFlags(value, tags, row.deprecated, row.strict);
                  }));
    }
}

// --- getString ---

TEST(MLDocGetString, NeedsRoomForTheTerminator) {
    static const struct {
        int line;
        std::string text;
        std::uint64_t size;
        bool fits;
    } rows[] = {
        {__LINE__, "abc", 4, true},
        {__LINE__, "abc", 3, false},
        {__LINE__, "abc", 2, false},
        {__LINE__, "abc", 0, false},
        {__LINE__, "", 1, true},
        {__LINE__, "", 0, false},
        {__LINE__, "a", 1, false},
        {__LINE__, "a", 2, true},
        // Raw bytes, zero bytes among them.
        {__LINE__, "&amp;\\n\\\"", 10, true},
        {__LINE__, std::string("a\0b\xFF", 4), 5, true},
        {__LINE__, std::string(300, 'x'), 301, true},
        {__LINE__, std::string(300, 'x'), 300, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        for (MLDocBase::Format format : {MLDocBase::XML, MLDocBase::JSON}) {
            MLDoc doc;
            doc.format = format;
            doc.position = 5;
            GuardedBytes value(row.text);
            GuardedBytes out(std::string(static_cast<std::size_t>(row.size), '#'));
            const std::string thrown = support::thrownMessage(
                [&] { doc.getString(ChPair(value.begin(), value.end()), out.begin(), row.size); });
            EXPECT_EQ(row.fits ? "(nothing)" : "LCA__Too_long_string", thrown);
            std::string expected(static_cast<std::size_t>(row.size), '#');
            if (row.fits) expected.replace(0, row.text.size() + 1, row.text + '\0');
            EXPECT_EQ(expected, std::string(out.begin(), out.end()));
            EXPECT_EQ(5u, doc.position);
        }
    }
}

TEST(MLDocGetString, LeavesTheRestOfTheRoom) {
    MLDoc doc;
    char out[8];
    std::memset(out, '#', sizeof out);
    doc.getString("abc", out, sizeof out);
    EXPECT_EQ(std::string("abc\0####", 8), std::string(out, 8));
    // A size beyond 32 bits is not cut.
    doc.getString("de", out, std::uint64_t{1} << 32);
    EXPECT_EQ(std::string("de\0\0####", 8), std::string(out, 8));
    doc.getString("f", out, std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ(std::string("f\0\0\0####", 8), std::string(out, 8));
    doc.getString(ChPair(), out, 1);
    EXPECT_EQ(std::string("\0\0\0\0####", 8), std::string(out, 8));
    EXPECT_THROW_KEY(doc.getString(ChPair(), out, 0), LCA__Too_long_string);
}

// --- In a walk ---

// A value does not know its place: a message gets that of the document's cursor, when the caller asks for it.
TEST(MLDocGetters, PlaceOfAFailureIsTheCursors) {
    const std::string text = "<a>\n<b x=\"zz\" y=\"1\"/></a>";
    MLDoc doc;
    doc.load("f.xml", text.data(), static_cast<int>(text.size()));
    MLDoc::Token token;
    ASSERT_TRUE(doc.step(token));
    ASSERT_TRUE(doc.step(token));
    MLDoc::Attribute x, y;
    {
        MLDoc::AttributeIterator attributes(&doc, token);
        ASSERT_TRUE(attributes(x));
        ASSERT_TRUE(attributes(y));
    }
    EXPECT_EQ(1, doc.getInt32(y));
    TTT caught;
    try {
        doc.getInt32(x);
        FAIL() << "zz is no number";
    } catch (const TTT& message) {
        caught = message;
    }
    EXPECT_EQ("LCA__Invalid_integer_value", support::dumpMessage(caught));
    EXPECT_EQ(text.find("</a>"), doc.position);
    doc.formMessage(caught);
    EXPECT_EQ("LCA__Invalid_integer_value LCA__Path_s(f.xml) LCA__Line_d_Column_d(2,18)", support::dumpMessage(caught));
}

// A flag by name can be refused; a flag by comparison cannot.
// The value of an attribute that is not there is no number, time, address or word: only flags and text may be missing.
TEST(MLDocGetters, MissingAttributeIsRefusedLikeAnEmptyOne) {
    static const PairTag tags[] = {{"one", 1}, {nullptr, 0}};
    static const struct {
        int line;
        const char* key;
        std::function<void(MLDoc&, const ChPair&)> read;
    } rows[] = {
        {__LINE__, "LCA__Invalid_integer_value", [](MLDoc& d, const ChPair& v) { d.getInt32(v); }},
        {__LINE__, "LCA__Invalid_integer_value", [](MLDoc& d, const ChPair& v) { d.getInt32(v, 0, 5); }},
        {__LINE__, "LCA__Invalid_integer_value", [](MLDoc& d, const ChPair& v) { d.getUInt32(v); }},
        {__LINE__, "LCA__Invalid_integer_value", [](MLDoc& d, const ChPair& v) { d.getUInt32(v, 0, 5); }},
        {__LINE__, "LCA__Invalid_integer_value", [](MLDoc& d, const ChPair& v) { d.getInt64(v); }},
        {__LINE__, "LCA__Invalid_integer_value", [](MLDoc& d, const ChPair& v) { d.getInt64(v, 0, 5); }},
        {__LINE__, "LCA__Invalid_integer_value", [](MLDoc& d, const ChPair& v) { d.getUInt64(v); }},
        {__LINE__, "LCA__Invalid_integer_value", [](MLDoc& d, const ChPair& v) { d.getUInt64(v, 0, 5); }},
        {__LINE__, "LCA__Invalid_integer_value", [](MLDoc& d, const ChPair& v) { d.getCountOrInfinity(v); }},
        {__LINE__, "LCA__Invalid_double_value", [](MLDoc& d, const ChPair& v) { d.getDouble(v); }},
        {__LINE__, "LCA__Invalid_double_value", [](MLDoc& d, const ChPair& v) { d.getDouble(v, 0, 5); }},
        {__LINE__, "LCA__Invalid_IP_address", [](MLDoc& d, const ChPair& v) { d.getIP(v); }},
        {__LINE__, "LCA__Invalid_date_required_format_is", [](MLDoc& d, const ChPair& v) { d.getGMTTime(v); }},
        {__LINE__, "LCA__Invalid_date_required_format_is", [](MLDoc& d, const ChPair& v) { d.getLocalTime(v); }},
        {__LINE__, "LCA__Invalid_date_required_format_is", [](MLDoc& d, const ChPair& v) { d.getTime(v); }},
        {__LINE__, "LCA__Invalid_enum_value", [](MLDoc& d, const ChPair& v) { d.getEnum(v, tags); }},
        {__LINE__, "(nothing)", [](MLDoc& d, const ChPair& v) { EXPECT_EQ(0u, d.getFlags(v, tags, 0, true)); }},
        {__LINE__, "(nothing)",
         [](MLDoc& d, const ChPair& v) {
             char out[] = "xyz";
             d.getString(v, out, sizeof out);
             EXPECT_STREQ("", out);
         }},
    };
    const std::string text = "<a there=\"\"/>";
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        MLDoc doc;
        doc.load("file.xml", text.data(), static_cast<int>(text.size()));
        MLDoc::Token token;
        doc.step(token);
        const ChPair missing = doc.getAttributeValue(token, "missing");
        EXPECT_EQ(nullptr, missing.begin);
        EXPECT_EQ(row.key, support::thrownKey([&] { row.read(doc, missing); }));
        EXPECT_EQ(row.key, support::thrownKey([&] { row.read(doc, doc.getAttributeValue(token, "there")); }));
    }
}

TEST(MLDocGetters, UnknownWordIsNoFailureForAttributeBool) {
    const std::string text = "<a b=\"yes\" c=\"true\"/>";
    MLDoc doc;
    doc.load("f.xml", text.data(), static_cast<int>(text.size()));
    MLDoc::Token token;
    ASSERT_TRUE(doc.step(token));
    static const PairTag words[] = {{"false", 0}, {"true", 1}, {}};
    EXPECT_FALSE(doc.getAttributeBool(token, "b"));
    EXPECT_TRUE(doc.getAttributeBool(token, "c"));
    EXPECT_EQ(1u, doc.getEnum(doc.getAttributeValue(token, "c"), words));
    EXPECT_THROW_KEY(doc.getEnum(doc.getAttributeValue(token, "b"), words), LCA__Invalid_enum_value);
}
