#include <velmora/markup/mldoc.h>

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include <velmora/localization/keys.h>
#include <velmora/serial/ttt.h>
#include <velmora/text/charr.h>
#include <velmora/text/charvector.h>

#include "tests/support/guard_page.h"
#include "tests/support/message.h"

namespace {

const char kRefused[] = "!LCA__Unsupported_escape_sequence";

// The primitive, with value and output both against a guard page: what is decoded, or "!KEY". Nothing may be written
// behind the result, not even a terminator.
std::string decode(const MLDoc& doc, const std::string& text) {
    support::GuardedBytes value(text);
    support::GuardedBytes out(std::string(text.size(), '#'));
    int count = -1;
    const std::string thrown =
        support::thrownMessage([&] { count = doc.convertEscape(ChPair(value.begin(), value.end()), out.begin()); });
    if (thrown != "(nothing)") return "!" + thrown;
    if (count < 0 || count > static_cast<int>(text.size())) return "(count " + std::to_string(count) + ")";
    for (const char* p = out.begin() + count; p != out.end(); ++p) {
        if (*p != '#') return "(written behind the result)";
    }
    EXPECT_EQ(text, std::string(value.begin(), value.end()));
    return std::string(out.begin(), out.begin() + count);
}

std::string decode(MLDocBase::Format format, const std::string& text) {
    MLDoc doc;
    doc.format = format;
    return decode(doc, text);
}

}  // namespace

TEST(MLDocConvertEscape, MayDecodeInItsOwnPlace) {
    MLDoc doc;
    for (MLDocBase::Format format : {MLDocBase::XML, MLDocBase::JSON}) {
        doc.format = format;
        std::string text, expected;
        for (int i = 0; i < 300; ++i) {
            const std::string stretch(static_cast<std::size_t>(i % 37), static_cast<char>('a' + i % 26));
            text += stretch + (format == MLDocBase::XML ? "&quot;" : "\\\"");
            expected += stretch + '"';
        }
        const int n = doc.convertEscape(ChPair(text.data(), static_cast<int>(text.size())), text.data());
        EXPECT_EQ(expected, text.substr(0, static_cast<std::size_t>(n)));
    }
}

TEST(MLDocConvertEscape, DecodesTheFiveEntitiesOfXml) {
    static const struct {
        int line;
        std::string text;
        std::string decoded;
    } rows[] = {
        {__LINE__, "", ""},
        {__LINE__, "plain", "plain"},
        {__LINE__, "a&amp;b", "a&b"},
        {__LINE__, "&apos;&quot;&lt;&gt;", "'\"<>"},
        {__LINE__, "&amp;", "&"},
        {__LINE__, "&apos;", "'"},
        {__LINE__, "&quot;", "\""},
        {__LINE__, "&lt;", "<"},
        {__LINE__, "&gt;", ">"},
        {__LINE__, "x&lt;y&gt;z", "x<y>z"},
        // Decoded once only.
        {__LINE__, "&amp;amp;", "&amp;"},
        {__LINE__, "&amp;lt;&amp;#65;", "&lt;&#65;"},
        // A backslash is an ordinary byte, and so is all else.
        {__LINE__, "a\\nb\\\\c\\", "a\\nb\\\\c\\"},
        {__LINE__, std::string("\0\x01\t\n\x7F\x80\xFF<>\"';#", 13), std::string("\0\x01\t\n\x7F\x80\xFF<>\"';#", 13)},
        {__LINE__, "\xC3\xA4&amp;\xC3\xA4", "\xC3\xA4&\xC3\xA4"},
        {__LINE__, "amp;", "amp;"},

        {__LINE__, "&", kRefused},
        {__LINE__, "a&", kRefused},
        {__LINE__, "&&amp;", kRefused},
        {__LINE__, "&;", kRefused},
        {__LINE__, "& amp;", kRefused},
        {__LINE__, "&amp", kRefused},
        {__LINE__, "&amp ;", kRefused},
        {__LINE__, "&ampx", kRefused},
        {__LINE__, "&apos", kRefused},
        {__LINE__, "&aposx", kRefused},
        {__LINE__, "&quot", kRefused},
        {__LINE__, "&quotx", kRefused},
        {__LINE__, "&lt", kRefused},
        {__LINE__, "&ltx", kRefused},
        {__LINE__, "&gt", kRefused},
        {__LINE__, "&gtx", kRefused},
        {__LINE__, "&AMP;", kRefused},
        {__LINE__, "&Lt;", kRefused},
        {__LINE__, "&nbsp;", kRefused},
        {__LINE__, "&#65;", kRefused},
        {__LINE__, "&#x41;", kRefused},
        {__LINE__, "1&lt;2&3", kRefused},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        EXPECT_EQ(row.decoded, decode(MLDocBase::XML, row.text));
        EXPECT_EQ(row.decoded, decode(MLDocBase::HTML, row.text));
    }
}

TEST(MLDocConvertEscape, EntityMustEndInsideTheValue) {
    MLDoc doc;
    doc.format = MLDocBase::XML;
    for (const char* entity : {"&amp;", "&apos;", "&quot;", "&lt;", "&gt;"}) {
        const int length = static_cast<int>(std::strlen(entity));
        for (int n = 1; n < length; ++n) {
            SCOPED_TRACE(std::string(entity, entity + n));
            // The rest stands right behind the value, and may not be looked at.
            char out[16];
            EXPECT_THROW_KEY(doc.convertEscape(ChPair(entity, n), out), LCA__Unsupported_escape_sequence);
            EXPECT_EQ(kRefused, decode(doc, std::string(entity, entity + n)));
        }
        EXPECT_EQ(1u, decode(doc, entity).size());
    }
}

TEST(MLDocConvertEscape, DecodesBackslashesInEveryOtherFormat) {
    static const struct {
        int line;
        std::string text;
        std::string decoded;
    } rows[] = {
        {__LINE__, "", ""},
        {__LINE__, "plain", "plain"},
        {__LINE__, "a\\\"b", "a\"b"},
        {__LINE__, "a\\\\b", "a\\b"},
        {__LINE__, "\\\\\\\\", "\\\\"},
        {__LINE__, "\\\\n", "\\n"},
        {__LINE__, "\\\"\\\"", "\"\""},
        // The raw control byte gives the letter, and not the other way round.
        {__LINE__, "\\\n", "n"},
        {__LINE__, "x\\\ty\\\rz", "xtyrz"},
        {__LINE__, "\\\b\\\f", "bf"},
        {__LINE__, "\\n", kRefused},
        {__LINE__, "\\t", kRefused},
        {__LINE__, "\\r", kRefused},
        {__LINE__, "\\b", kRefused},
        {__LINE__, "\\f", kRefused},
        {__LINE__, "\\/", kRefused},
        {__LINE__, "\\u0041", kRefused},
        {__LINE__, "\\'", kRefused},
        {__LINE__, "\\\xC3\xA4", kRefused},
        {__LINE__, std::string("\\\0", 2), kRefused},
        {__LINE__, "\\", kRefused},
        {__LINE__, "a\\", kRefused},
        {__LINE__, "\\\\\\", kRefused},
        // Without a backslash nothing is decoded: no entity, no doubled quote, no control byte.
        {__LINE__, "&amp;&", "&amp;&"},
        {__LINE__, "it''s", "it''s"},
        {__LINE__, std::string("\0\n\t\x7F\x80\xFF\"/", 8), std::string("\0\n\t\x7F\x80\xFF\"/", 8)},
    };
    for (int format : {1, 2, 3, 4, 6}) {
        for (const auto& row : rows) {
            SCOPED_TRACE("format " + std::to_string(format) + ", row at line " + std::to_string(row.line));
            EXPECT_EQ(row.decoded, decode(static_cast<MLDocBase::Format>(format), row.text));
        }
    }
}

TEST(MLDocConvertEscape, EveryByteBehindABackslash) {
    const std::string known = "\b\t\n\f\r\"\\";
    const std::string given = "btnfr\"\\";
    for (int c = 0; c < 256; ++c) {
        SCOPED_TRACE(c);
        const std::size_t i = known.find(static_cast<char>(c));
        const std::string expected = i == std::string::npos ? kRefused : std::string(1, given[i]);
        EXPECT_EQ(expected, decode(MLDocBase::JSON, std::string("\\") + static_cast<char>(c)));
    }
}

TEST(MLDocConvertEscape, EveryByteBehindAnAmpersand) {
    for (int c = 0; c < 256; ++c) {
        SCOPED_TRACE(c);
        EXPECT_EQ(kRefused, decode(MLDocBase::XML, std::string("&") + static_cast<char>(c) + "xxxxx"));
    }
}

TEST(MLDocConvertEscape, FailureLeavesWhatIsWritten) {
    MLDoc doc;
    doc.format = MLDocBase::XML;
    char out[] = "########";
    EXPECT_EQ("LCA__Unsupported_escape_sequence", support::thrownMessage([&] { doc.convertEscape("a&lt;b&x;", out); }));
    EXPECT_STREQ("a<b#####", out);
    doc.format = MLDocBase::JSON;
    EXPECT_THROW_KEY(doc.convertEscape("c\\", out), LCA__Unsupported_escape_sequence);
    EXPECT_STREQ("c<b#####", out);
}

TEST(MLDocConvertEscape, EmptyValueWritesNothing) {
    MLDoc doc;
    doc.format = MLDocBase::XML;
    char out[] = "##";
    EXPECT_EQ(0, doc.convertEscape(ChPair(), out));
    EXPECT_EQ(0, doc.convertEscape(ChPair("", 0), out));
    EXPECT_STREQ("##", out);
}

TEST(MLDocConvertEscape, LeavesTheCursorAlone) {
    MLDoc doc;
    doc.load("values.xml", "<a b=\"1&lt;2\" c=\"&x;\"/>", 23);
    MLDoc::Token token;
    ASSERT_TRUE(doc.step(token));
    MLDoc::Attribute attribute;
    ASSERT_TRUE(doc.attribute(token, attribute));
    const std::uint32_t position = doc.position;
    std::string text;
    // An attribute stands for its value.
    doc.convertEscape(attribute, text);
    EXPECT_EQ("1<2", text);
    EXPECT_TRUE(attribute.value == "1&lt;2");
    EXPECT_EQ(position, doc.position);
    ASSERT_TRUE(doc.attribute(token, attribute));
    EXPECT_THROW_KEY(doc.convertEscape(attribute, text), LCA__Unsupported_escape_sequence);
    EXPECT_EQ(21u, doc.position);
}

// ---- CharVector ----

TEST(MLDocConvertEscapeCharVector, ReplacesStorageThatIsTooSmall) {
    MLDoc doc;
    doc.format = MLDocBase::XML;
    CharVector out;
    doc.convertEscape("a&amp;b", out);
    EXPECT_STREQ("a&b", out.data);
    EXPECT_EQ(3, out.count);
    EXPECT_EQ(8, out.allocateCount);

    // A capacity equal to the length has no room for the terminator.
    CharVector equal("12345");
    ASSERT_EQ(6, equal.allocateCount);
    doc.convertEscape("abcdef", equal);
    EXPECT_STREQ("abcdef", equal.data);
    EXPECT_EQ(6, equal.count);
    EXPECT_EQ(7, equal.allocateCount);
}

TEST(MLDocConvertEscapeCharVector, KeepsStorageThatIsLargeEnough) {
    MLDoc doc;
    doc.format = MLDocBase::XML;
    CharVector out("12345");
    char* data = out.data;
    doc.convertEscape("abcde", out);
    EXPECT_EQ(data, out.data);
    EXPECT_STREQ("abcde", out.data);
    EXPECT_EQ(5, out.count);
    EXPECT_EQ(6, out.allocateCount);
    doc.convertEscape("&lt;", out);
    EXPECT_EQ(data, out.data);
    EXPECT_STREQ("<", out.data);
    EXPECT_EQ(1, out.count);
    EXPECT_EQ(6, out.allocateCount);
}

TEST(MLDocConvertEscapeCharVector, EmptyValueEmptiesTheTextAndKeepsTheStorage) {
    MLDoc doc;
    doc.format = MLDocBase::XML;
    for (const ChPair& value : {ChPair(), ChPair("", 0)}) {
        CharVector out("text");
        char* data = out.data;
        doc.convertEscape(value, out);
        EXPECT_EQ(data, out.data);
        EXPECT_EQ(0, out.count);
        EXPECT_EQ(0, out.data[0]);
        EXPECT_EQ(5, out.allocateCount);

        CharVector none;
        doc.convertEscape(value, none);
        EXPECT_EQ(nullptr, none.data);
        EXPECT_EQ(0, none.count);
        EXPECT_EQ(0, none.allocateCount);
    }
}

TEST(MLDocConvertEscapeCharVector, FailureLeavesTheLengthOfTheInput) {
    MLDoc doc;
    doc.format = MLDocBase::XML;
    for (const char* before : {"", "x", "a text that is longer"}) {
        SCOPED_TRACE(before);
        CharVector out(before);
        EXPECT_EQ("LCA__Unsupported_escape_sequence",
                  support::thrownMessage([&] { doc.convertEscape("a&lt;b&x;", out); }));
        EXPECT_EQ(9, out.count);
        EXPECT_EQ(0, std::memcmp(out.data, "a<b", 3));
        EXPECT_EQ(0, out.data[9]);
    }
}

// ---- ChArr ----

TEST(MLDocConvertEscapeChArr, ReplacesTheText) {
    MLDoc doc;
    doc.format = MLDocBase::JSON;
    for (const char* before : {static_cast<const char*>(nullptr), "", "a text that is longer"}) {
        ChArr out(before);
        doc.convertEscape("a\\\"b", out);
        EXPECT_STREQ("a\"b", out.data);
        doc.convertEscape("cd", out);
        EXPECT_STREQ("cd", out.data);
    }
    for (const ChPair& value : {ChPair(), ChPair("", 0)}) {
        ChArr out("text");
        doc.convertEscape(value, out);
        EXPECT_STREQ("", out.data);
    }
}

TEST(MLDocConvertEscapeChArr, ValueMayBeAPartOfTheTarget) {
    MLDoc doc;
    doc.format = MLDocBase::XML;
    ChArr out("text &lt;&gt;");
    doc.convertEscape(ChPair(out.data + 5, 8), out);
    EXPECT_STREQ("<>", out.data);
}

TEST(MLDocConvertEscapeChArr, FailureLeavesWhatWasDecoded) {
    MLDoc doc;
    doc.format = MLDocBase::XML;
    ChArr out("text that was there before");
    EXPECT_EQ("LCA__Unsupported_escape_sequence", support::thrownMessage([&] { doc.convertEscape("a&lt;b&x;", out); }));
    EXPECT_STREQ("a<b", out.data);
}

TEST(MLDocConvertEscapeCharVector, FailureLeavesNothingThatWasNotDecoded) {
    MLDoc doc;
    doc.format = MLDocBase::XML;
    CharVector out;
    EXPECT_EQ("LCA__Unsupported_escape_sequence", support::thrownMessage([&] { doc.convertEscape("a&lt;b&x;", out); }));
    EXPECT_EQ(std::string("a<b\0\0\0\0\0\0", 9), out.std());
    // A value may lie in the text that it is decoded to.
    CharVector own("a&lt;b");
    doc.convertEscape(ChPair(own.data, own.count), own);
    EXPECT_STREQ("a<b", own.data);
}

// ---- std::string ----

TEST(MLDocConvertEscapeStdString, HoldsTheDecodedText) {
    MLDoc doc;
    doc.format = MLDocBase::XML;
    std::string out = "a text that is longer";
    doc.convertEscape("a&amp;b", out);
    EXPECT_EQ("a&b", out);
    const std::string bytes("\0&lt;\0", 6);
    doc.convertEscape(ChPair(bytes), out);
    EXPECT_EQ(std::string("\0<\0", 3), out);
    doc.convertEscape(ChPair("", 0), out);
    EXPECT_EQ("", out);
    out = "text";
    doc.convertEscape(ChPair(), out);
    EXPECT_EQ("", out);
}

TEST(MLDocConvertEscapeStdString, FailureLeavesTheLengthOfTheInput) {
    MLDoc doc;
    doc.format = MLDocBase::XML;
    for (const char* before : {"", "a text that is longer"}) {
        SCOPED_TRACE(before);
        std::string out = before;
        EXPECT_EQ("LCA__Unsupported_escape_sequence",
                  support::thrownMessage([&] { doc.convertEscape("a&lt;b&x;", out); }));
        EXPECT_EQ(9u, out.size());
        EXPECT_EQ("a<b", out.substr(0, 3));
    }
}

// ---- TTT ----

TEST(MLDocConvertEscapeTTT, IsOneRawSegment) {
    static const struct {
        int line;
        const char* text;
        const char* decoded;
        int bufferSize;
    } rows[] = {
        {__LINE__, "", "", 16},
        {__LINE__, "a", "a", 16},
        {__LINE__, "a&amp;b", "a&b", 16},
        // The room is taken for the value as it stands, before it is decoded.
        {__LINE__, "12345678901", "12345678901", 16},
        {__LINE__, "123456789012", "123456789012", 256},
        {__LINE__, "&lt;&lt;&lt;", "<<<", 256},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        MLDoc doc;
        doc.format = MLDocBase::XML;
        TTT out("Old %d");
        out < 7;
        doc.convertEscape(row.text, out);
        const std::string bytes = std::string("\xFF\xFF\xFF\xFF") + row.decoded + std::string(1, '\0');
        const Bag& bag = out.getData();
        EXPECT_EQ(bytes, std::string(bag.data, bag.data + bag.size));
        EXPECT_EQ(row.bufferSize, bag.bufferSize);
        EXPECT_EQ(0, bag.cursor);
        EXPECT_EQ(std::string("raw(\"") + row.decoded + "\")", support::dumpMessage(out));
    }
}

TEST(MLDocConvertEscapeTTT, NullValueIsAnEmptyText) {
    MLDoc doc;
    doc.format = MLDocBase::JSON;
    TTT out;
    doc.convertEscape(ChPair(), out);
    EXPECT_EQ("raw(\"\")", support::dumpMessage(out));
    EXPECT_EQ(5, out.getData().size);
    EXPECT_EQ(0, out.getData().cursor);
}

TEST(MLDocConvertEscapeTTT, RoomGrowsBySteps) {
    MLDoc doc;
    doc.format = MLDocBase::XML;
    for (int length : {251, 252, 507, 508, 4091, 4092}) {
        SCOPED_TRACE(length);
        TTT out;
        const std::string text(static_cast<std::size_t>(length), 't');
        doc.convertEscape(ChPair(text), out);
        EXPECT_EQ(length + 5, out.getData().size);
        EXPECT_EQ(memory_recommend(length + 5), out.getData().bufferSize);
    }
}

TEST(MLDocConvertEscapeTTT, FailureKeepsTheOldMessage) {
    MLDoc doc;
    doc.format = MLDocBase::XML;
    TTT out("Old %d");
    out < 7;
    const Bag& bag = out.getData();
    const std::string bytes(bag.data, bag.data + bag.size);
    const char* data = bag.data;
    const int cursor = bag.cursor;
    EXPECT_EQ("LCA__Unsupported_escape_sequence", support::thrownMessage([&] { doc.convertEscape("a&lt;b&x;", out); }));
    EXPECT_EQ(data, bag.data);
    EXPECT_EQ(bytes, std::string(bag.data, bag.data + bag.size));
    EXPECT_EQ(cursor, bag.cursor);
    TTT none;
    EXPECT_THROW_KEY(doc.convertEscape("&", none), LCA__Unsupported_escape_sequence);
    EXPECT_TRUE(none.isEmpty());
}
