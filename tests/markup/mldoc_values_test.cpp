#include <velmora/markup/mldoc.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <new>
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

// ---- a value that lies in its target ----

namespace {

// Puts a text into a target of some kind, decodes a part of it into the same target, and gives what is there then.
using DecodeInside = std::string (*)(const MLDoc& doc, const std::string& text, int from, int to);

std::string insideChArr(const MLDoc& doc, const std::string& text, int from, int to) {
    ChArr out(text.c_str());
    try {
        doc.convertEscape(ChPair(out.data + from, out.data + to), out);
    } catch (const TTT&) {
        return "refused: " + std::string(out.data);
    }
    return out.data;
}

// The exact array, and one that has room after the text.
template <int Room>
std::string insideCharVector(const MLDoc& doc, const std::string& text, int from, int to) {
    CharVector out(text);
    if (Room != 0) {
        out.prepare(static_cast<int>(text.size()) + Room);
        std::memcpy(out.data, text.data(), text.size());
        out.cutTo(static_cast<int>(text.size()));
    }
    try {
        doc.convertEscape(ChPair(out.data + from, out.data + to), out);
    } catch (const TTT&) {
        EXPECT_EQ(to - from, out.count);
        EXPECT_EQ(0, out.data[out.count]);
        return "refused: " + std::string(out.data, 2);
    }
    EXPECT_EQ(0, out.data[out.count]);
    EXPECT_GT(out.allocateCount, out.count);
    return out.std();
}

template <int Room>
std::string insideString(const MLDoc& doc, const std::string& text, int from, int to) {
    std::string out = text;
    if (Room != 0) out.reserve(text.size() + Room);
    try {
        doc.convertEscape(ChPair(out.data() + from, out.data() + to), out);
    } catch (const TTT&) {
        EXPECT_EQ(to - from, static_cast<int>(out.size()));
        return "refused: " + out.substr(0, 2);
    }
    return out;
}

std::string insideMessage(const MLDoc& doc, const std::string& text, int from, int to) {
    TTT out(text);
    const Bag& bag = out.getData();
    try {
        doc.convertEscape(ChPair(bag.data + 4 + from, bag.data + 4 + to), out);
    } catch (const TTT&) {
        return "refused";
    }
    EXPECT_EQ(0, bag.data[bag.size - 1]);
    EXPECT_EQ(0, std::memcmp(bag.data, "\xFF\xFF\xFF\xFF", 4));
    return std::string(bag.data + 4, bag.data + bag.size - 1);
}

std::string inItsPlace(const MLDoc& doc, const std::string& text, int from, int to) {
    std::string block = text;
    try {
        const int n = doc.convertEscape(ChPair(block.data() + from, block.data() + to), &block[from]);
        return block.substr(static_cast<std::size_t>(from), static_cast<std::size_t>(n));
    } catch (const TTT&) {
        return "refused";
    }
}

// Short values are copied by their ends, longer ones in stretches: none, one or two sequences at every place of each.
TEST(MLDocConvertEscape, EveryLengthAndEveryPlace) {
    struct Row {
        MLDocBase::Format format;
        const char* sequence;
        const char* decoded;  // null when it is refused
    };
    const Row rows[] = {{MLDocBase::XML, "&lt;", "<"},
                        {MLDocBase::XML, "&", nullptr},
                        {MLDocBase::JSON, "\\\"", "\""},
                        {MLDocBase::YAML, "\\", nullptr}};
    for (const Row& row : rows) {
        MLDoc doc;
        doc.format = row.format;
        for (std::size_t length = 0; length <= 70; ++length) {
            std::string text;
            for (std::size_t i = 0; i < length; ++i) text += static_cast<char>('a' + i % 26);
            EXPECT_EQ(text, decode(doc, text));
            for (std::size_t place = 0; place <= length; ++place) {
                std::string value = text, wanted = text;
                value.insert(place, row.sequence);
                if (row.decoded) wanted.insert(place, row.decoded);
                EXPECT_EQ(row.decoded ? wanted : kRefused, decode(doc, value));
                std::string inPlace = value + "#";
                int count = -1;
                const std::string thrown = support::thrownMessage([&] {
                    count = doc.convertEscape(ChPair(inPlace.data(), inPlace.data() + value.size()), inPlace.data());
                });
                EXPECT_EQ(row.decoded ? "(nothing)" : kRefused + 1, thrown);
                if (row.decoded) {
                    EXPECT_EQ(wanted, inPlace.substr(0, static_cast<std::size_t>(count)));
                }
                EXPECT_EQ('#', inPlace.back());
            }
        }
    }
}

}  // namespace

// The terminator of the value's length falls into the value, and a block that is replaced holds it.
TEST(MLDocConvertEscape, ValueMayBeAPartOfTheTarget) {
    static const struct {
        int line;
        const char* xml;
        const char* other;
        int from;
        int toXml;
        int toOther;
        const char* decoded;
    } rows[] = {
        {__LINE__, "XXab&lt;cdefgh", "XXab\\\"cdefgh", 2, 14, 12, "ab?cdefgh"},
        {__LINE__, "ab&lt;&lt;xyz", "ab\\\"\\\"xyz", 2, 12, 8, "??xy"},
        {__LINE__, "&lt;abcdefgh", "\\\"abcdefgh", 0, 12, 10, "?abcdefgh"},
        {__LINE__, "&lt;abcdefgh", "\\\"abcdefgh", 0, 6, 4, "?ab"},
        {__LINE__, "abcdefghijk&lt;", "abcdefghijk\\\"", 11, 15, 13, "?"},
        {__LINE__, "abcdefghijklmnopqrstuvwxyz", "abcdefghijklmnopqrstuvwxyz", 1, 26, 26, "bcdefghijklmnopqrstuvwxyz"},
        {__LINE__, "abcdef", "abcdef", 0, 6, 6, "abcdef"},
        {__LINE__, "abcdef", "abcdef", 5, 6, 6, "f"},
    };
    static const struct {
        const char* name;
        DecodeInside decode;
    } targets[] = {
        {"char*", inItsPlace},
        {"ChArr", insideChArr},
        {"CharVector", insideCharVector<0>},
        {"CharVector with room", insideCharVector<100>},
        {"std::string", insideString<0>},
        {"std::string with room", insideString<100>},
        {"TTT", insideMessage},
    };
    for (MLDocBase::Format format :
         {MLDocBase::XML, MLDocBase::HTML, MLDocBase::JSON, MLDocBase::YAML, MLDocBase::CSV, MLDocBase::Unknown}) {
        const bool xml = format == MLDocBase::XML || format == MLDocBase::HTML;
        MLDoc doc;
        doc.format = format;
        for (const auto& row : rows) {
            for (const auto& target : targets) {
                SCOPED_TRACE("row at line " + std::to_string(row.line) + ", format " + std::to_string(format) + ", " +
                             target.name);
                std::string expected = row.decoded;
                std::replace(expected.begin(), expected.end(), '?', xml ? '<' : '"');
                EXPECT_EQ(expected,
                          target.decode(doc, xml ? row.xml : row.other, row.from, xml ? row.toXml : row.toOther));
            }
        }
    }
}

TEST(MLDocConvertEscape, RefusedPartOfTheTargetLeavesWhatWasDecoded) {
    MLDoc doc;
    doc.format = MLDocBase::XML;
    const std::string text = "abc&lt;b&x;rest";
    EXPECT_EQ("refused: <b", insideChArr(doc, text, 3, 12));
    EXPECT_EQ("refused: <b", insideCharVector<0>(doc, text, 3, 12));
    EXPECT_EQ("refused: <b", insideCharVector<100>(doc, text, 3, 12));
    EXPECT_EQ("refused: <b", insideString<0>(doc, text, 3, 12));
    EXPECT_EQ("refused: <b", insideString<100>(doc, text, 3, 12));
    EXPECT_EQ("refused", insideMessage(doc, text, 3, 12));
}

// As a token's view may do after a failure.
TEST(MLDocConvertEscape, ViewThatEndsBeforeItBeginsIsEmpty) {
    MLDoc doc;
    doc.format = MLDocBase::XML;
    const char text[] = "&lt;abcdef";
    const ChPair value(text + 6, text + 2);
    char out[4] = "xyz";
    EXPECT_EQ(0, doc.convertEscape(value, out));
    EXPECT_STREQ("xyz", out);
    CharVector vector("former");
    doc.convertEscape(value, vector);
    EXPECT_EQ(0, vector.count);
    EXPECT_STREQ("", vector.data);
    ChArr array("former");
    doc.convertEscape(value, array);
    EXPECT_STREQ("", array.data);
    std::string string = "former";
    doc.convertEscape(value, string);
    EXPECT_EQ("", string);
    TTT message("former");
    doc.convertEscape(value, message);
    EXPECT_EQ("raw(\"\")", support::dumpMessage(message));
}

// A value is refused before any of it is read.
TEST(MLDocConvertEscape, ValueThatIsTooLongForItsTargetIsRefused) {
    MLDoc doc;
    doc.format = MLDocBase::XML;
    const char* const begin = "short";
    // The two are not of one block, but nothing is read through them.
    const ChPair value(begin, reinterpret_cast<const char*>(reinterpret_cast<std::uintptr_t>(begin) + 0x80000005u));
    CharVector vector("former");
    EXPECT_THROW(doc.convertEscape(value, vector), std::bad_alloc);
    EXPECT_STREQ("former", vector.data);
    ChArr array("former");
    EXPECT_THROW(doc.convertEscape(value, array), std::bad_alloc);
    EXPECT_STREQ("former", array.data);
    std::string string = "former";
    EXPECT_THROW(doc.convertEscape(value, string), std::bad_alloc);
    EXPECT_EQ("former", string);
    TTT message("former");
    EXPECT_THROW(doc.convertEscape(value, message), Bag::Exception);
    EXPECT_EQ("raw(\"former\")", support::dumpMessage(message));
}

TEST(MLDocGetString, ValueMayLieInTheTarget) {
    MLDoc doc;
    for (int from : {0, 1, 3, 6}) {
        SCOPED_TRACE(from);
        char out[] = "abcdefghij";
        doc.getString(ChPair(out + from, out + 10), out, sizeof out);
        EXPECT_EQ(std::string("abcdefghij").substr(static_cast<std::size_t>(from)), out);
        char behind[] = "abcdefghij";
        doc.getString(ChPair(behind, behind + 5), behind + 3, 7);
        EXPECT_STREQ("abcabcde", behind);
    }
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
