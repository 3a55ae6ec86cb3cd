// Tests of the YAML stepper: lines, tokens, attributes, and what is left behind by a failure.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include <velmora/velmora.h>

namespace {

using namespace std::string_literals;

constexpr int NoKey = -1;
const std::string Marker = "---\n";

// A failure of the stepper holds its key alone, so the message must be exactly what the key by itself makes.
template <class Action>
int keyOf(Action action) {
    try {
        action();
    } catch (const TTT& message) {
        int dict = 0;
        int id = NoKey;
        EXPECT_TRUE(message.getIds(&dict, &id));
        EXPECT_EQ(dict, VELMORA_DICT);
        const TTT bare(VELMORA_DICT, id);
        EXPECT_EQ(std::string(message.getData().data, static_cast<std::size_t>(message.getData().size)),
                  std::string(bare.getData().data, static_cast<std::size_t>(bare.getData().size)));
        return id;
    }
    return NoKey;
}

// A document whose lines are `text`; offsets count from the first byte of it.
struct Lines {
    MLDoc doc;
    int start;

    explicit Lines(const std::string& text, const std::string& marker = Marker)
        : start(static_cast<int>(marker.size())) {
        const std::string whole = marker + text;
        doc.load("lines.yml", whole.data(), static_cast<int>(whole.size()));
    }
    int at() const { return static_cast<int>(doc.position) - start; }
    int offset(const char* p) const { return static_cast<int>(p - doc.buffer) - start; }
    std::string rest() const { return std::string(doc.buffer + doc.position, doc.buffer + doc.length); }
    const char* cursor() const { return doc.buffer + doc.position; }
    const char* bufferEnd() const { return doc.buffer + doc.length; }
};

std::string names(const MLDoc& doc) {
    std::string out;
    for (int i = 0; i < doc.openNames.count; ++i) out += "/" + doc.openNames.data[i].std();
    return out;
}

std::string describe(const MLDoc::Token& token) {
    return (token.opening ? "+" : "") + (token.closing ? "-"s : ""s) + token.name.std() + " " +
           std::to_string(token.level);
}

// Steps to the end or to a failure. `reads` bounds the attributes read of each token; -1 is all of them.
std::string walk(const std::string& text, int reads, const std::string& marker = Marker) {
    Lines lines(text, marker);
    MLDoc::Token token;
    std::string out;
    bool more = true;
    const int key = keyOf([&] {
        while ((more = lines.doc.step(token))) {
            EXPECT_NE(token.opening, token.closing);
            EXPECT_EQ(token.kind, 0);
            out += describe(token);
            MLDoc::Attribute attribute;
            for (int i = 0; i != reads && lines.doc.attribute(token, attribute); ++i)
                out += " " + attribute.name.std() + "=" + attribute.value.std();
            out += "; ";
        }
    });
    if (key != NoKey) return out + "!" + std::to_string(key);
    EXPECT_FALSE(more);
    EXPECT_EQ(lines.doc.yamlState, 7);
    for (int i = 0; i < 2; ++i) {
        const std::uint32_t before = lines.doc.position;
        EXPECT_FALSE(lines.doc.step(token));
        MLDoc::Attribute attribute;
        EXPECT_FALSE(lines.doc.attribute(token, attribute));
        EXPECT_EQ(lines.doc.position, before);
        EXPECT_EQ(lines.doc.yamlState, 7);
    }
    return out + ".";
}

std::string failed(int key) { return "!" + std::to_string(key); }

// The trace as it is when no attribute is read: a line refused among the attributes is then refused by the next step.
std::string bare(const std::string& trace) {
    std::string out;
    for (std::size_t from = 0; from < trace.size();) {
        const std::size_t end = trace.find("; ", from);
        std::string piece = trace.substr(from, end == std::string::npos ? end : end - from);
        from = end == std::string::npos ? trace.size() : end + 2;
        const std::size_t failure = piece.find('!');
        const std::string tail = failure == std::string::npos ? "" : piece.substr(failure);
        piece = piece.substr(0, failure);
        const std::size_t name = piece.find(' ');
        out += name == std::string::npos ? piece : piece.substr(0, piece.find(' ', name + 1)) + "; ";
        out += tail;
    }
    return out;
}

}  // namespace

TEST(YamlLine, Values) {
    static const struct {
        int line;
        std::string text;
        std::string name;
        char kind;
        std::string value;
        std::string rest;
    } rows[] = {
        {__LINE__, "a: b", "a", 's', "b", ""},
        {__LINE__, "a: b\n", "a", 's', "b", ""},
        {__LINE__, "a: b\r\nc: d\n", "a", 's', "b", "c: d\n"},
        {__LINE__, "a: b\r", "a", 's', "b", ""},
        {__LINE__, "a: b\n\nc", "a", 's', "b", "\nc"},
        {__LINE__, "a:\tb", "a", 's', "b", ""},
        {__LINE__, "a: \t  b\n", "a", 's', "b", ""},
        {__LINE__, "a : b", "a", 's', "b", ""},
        {__LINE__, "a \t : b", "a", 's', "b", ""},
        {__LINE__, "a\t:\tb", "a", 's', "b", ""},
        {__LINE__, "#x: 1", "#x", 's', "1", ""},
        {__LINE__, "[k],{}\\&: 1", "[k],{}\\&", 's', "1", ""},
        {__LINE__, "k'\"k: 1", "k'\"k", 's', "1", ""},
        {__LINE__, "-a: 1", "-a", 's', "1", ""},
        {__LINE__, "-: 1", "-", 's', "1", ""},
        {__LINE__, "---: 1", "---", 's', "1", ""},
        {__LINE__, "-\t: 1", "-", 's', "1", ""},
        // Plain values keep blanks and know no comment.
        {__LINE__, "a: b  ", "a", 's', "b  ", ""},
        {__LINE__, "a: b \t\r\nc", "a", 's', "b \t", "c"},
        {__LINE__, "a: b # c\n", "a", 's', "b # c", ""},
        {__LINE__, "a: b\tc 'd' \"e\" \\ [f]", "a", 's', "b\tc 'd' \"e\" \\ [f]", ""},
        {__LINE__, "a: -5", "a", 's', "-5", ""},
        {__LINE__, "a: - b", "a", 's', "- b", ""},
        {__LINE__, "a: -", "a", 's', "-", ""},
        {__LINE__, "a: _", "a", 's', "_", ""},
        {__LINE__, "a: \xC3\xA9t\xC3\xA9\n", "a", 's', "\xC3\xA9t\xC3\xA9", ""},
        {__LINE__, "a: b\0c\n"s, "a", 's', "b\0c"s, ""},
        {__LINE__, "a: b:c", "a", 's', "b:c", ""},
        {__LINE__, "a: b :c\n", "a", 's', "b :c", ""},
        {__LINE__, "a: b::::c\n", "a", 's', "b::::c", ""},
        {__LINE__, "a: b:", "a", 's', "b:", ""},
        {__LINE__, "a: b::", "a", 's', "b::", ""},
        {__LINE__, "a: 12:30:59\n", "a", 's', "12:30:59", ""},
        {__LINE__, "a: b:!\n", "a", 's', "b:!", ""},
        {__LINE__, "a: b:\xC3\xA9\n", "a", 's', "b:\xC3\xA9", ""},
        // No value.
        {__LINE__, "a:\n", "a", 0, "", ""},
        {__LINE__, "a:\r\nb", "a", 0, "", "b"},
        {__LINE__, "a:\r", "a", 0, "", ""},
        {__LINE__, "a: ", "a", 0, "", ""},
        {__LINE__, "a:\t", "a", 0, "", ""},
        {__LINE__, "a: \t \n\n", "a", 0, "", "\n"},
        {__LINE__, "a: \r\n", "a", 0, "", ""},
        {__LINE__, "a : ", "a", 0, "", ""},
        // Double quotes.
        {__LINE__, "a: \"b\"", "a", 'q', "b", ""},
        {__LINE__, "a: \"b\"  ", "a", 'q', "b", ""},
        {__LINE__, "a: \"b\"\t\r\nc", "a", 'q', "b", "c"},
        {__LINE__, "a: \"\"\n", "a", 'q', "", ""},
        {__LINE__, "a: \" b: c # \"\n", "a", 'q', " b: c # ", ""},
        {__LINE__, "a: \"it's\"\n", "a", 'q', "it's", ""},
        {__LINE__, "a: \"x\\\"y\"\n", "a", 'q', "x\\\"y", ""},
        {__LINE__, "a: \"x\\\\\"\nb", "a", 'q', "x\\\\", "b"},
        {__LINE__, "a: \"x\\qy\"\n", "a", 'q', "x\\qy", ""},
        {__LINE__, "a: \"x\\\ny\"\n", "a", 'q', "x\\\ny", ""},
        {__LINE__, "a: \"line1\nline2\"\nb: 1", "a", 'q', "line1\nline2", "b: 1"},
        {__LINE__, "a: \"1\r\n\r\n- 2\"\r\n", "a", 'q', "1\r\n\r\n- 2", ""},
        // Single quotes: the look is at the second byte behind.
        {__LINE__, "a: 'b'", "a", 'a', "b", ""},
        {__LINE__, "a: 'b'  \n", "a", 'a', "b", ""},
        {__LINE__, "a: ''", "a", 'a', "", ""},
        {__LINE__, "a: ''\n", "a", 'a', "", ""},
        {__LINE__, "a: ''\r\nb: 1", "a", 'a', "", "b: 1"},
        {__LINE__, "a: 'b' ", "a", 'a', "b", ""},
        {__LINE__, "a: 'a'x'", "a", 'a', "a'x", ""},
        {__LINE__, "a: 'a'x'\n", "a", 'a', "a'x", ""},
        {__LINE__, "a: 'a'x'y'\n", "a", 'a', "a'x'y", ""},
        {__LINE__, "a: 'a'x'y'z'\nb", "a", 'a', "a'x'y'z", "b"},
        {__LINE__, "a: ''x'\n", "a", 'a', "'x", ""},
        {__LINE__, "a: ''''\n", "a", 'a', "''", ""},
        {__LINE__, "a: 'x\\'\n", "a", 'a', "x\\", ""},
        {__LINE__, "a: 'x\"y'\n", "a", 'a', "x\"y", ""},
        {__LINE__, "a: '1\n2: \r\n'\nb", "a", 'a', "1\n2: \r\n", "b"},
        {__LINE__, "a: 'b'\n'\nc", "a", 'a', "b'\n", "c"},
        {__LINE__, "a: 'b' '\nc", "a", 'a', "b' ", "c"},
        // Blank lines in front.
        {__LINE__, "\n\r\n  \n\t\r\n \t \na: b", "a", 's', "b", ""},
        {__LINE__, "\r\r\ra: b", "a", 's', "b", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        Lines lines(row.text);
        bool got = false;
        const int key = keyOf([&] { got = lines.doc.get_yaml_line(); });
        ASSERT_EQ(key, NoKey);
        ASSERT_TRUE(got);
        EXPECT_FALSE(lines.doc.yamlItem);
        EXPECT_EQ(lines.doc.yamlLevel, 0);
        EXPECT_EQ(lines.doc.yamlIndentUnit, 0);
        EXPECT_EQ(lines.doc.yamlName.std(), row.name);
        EXPECT_EQ(lines.doc.yamlValueKind, row.kind);
        if (row.kind) {
            EXPECT_EQ(lines.doc.yamlValue.std(), row.value);
        }
        EXPECT_EQ(lines.rest(), row.rest);
        EXPECT_EQ(lines.doc.yamlRest.begin, lines.cursor());
        EXPECT_EQ(lines.doc.yamlRest.end, lines.bufferEnd());
        EXPECT_EQ(lines.doc.yamlState, 0);
        EXPECT_EQ(lines.doc.openNames.count, 0);
    }
}

TEST(YamlLine, Indents) {
    static const struct {
        int line;
        int unit;
        const char* text;
        bool item;
        int level;
        int newUnit;
        const char* name;
    } rows[] = {
        {__LINE__, 0, "a: 1", false, 0, 0, "a"},
        {__LINE__, 0, " a: 1", false, 1, 1, "a"},
        {__LINE__, 0, "   a: 1", false, 1, 3, "a"},
        {__LINE__, 0, "\ta: 1", false, 1, 4, "a"},
        {__LINE__, 0, " \t a: 1", false, 1, 6, "a"},
        {__LINE__, 0, "- a: 1", true, 1, 2, "a"},
        {__LINE__, 0, " - a: 1", true, 1, 3, "a"},
        {__LINE__, 0, "    - a: 1", true, 1, 6, "a"},
        {__LINE__, 0, "\t- a: 1", true, 1, 6, "a"},
        {__LINE__, 0, "  -a: 1", false, 1, 2, "-a"},
        {__LINE__, 0, "     \n  a: 1", false, 1, 2, "a"},
        {__LINE__, 0, "     \ra: 1", false, 0, 0, "a"},
        {__LINE__, 2, "a: 1", false, 0, 2, "a"},
        {__LINE__, 2, "- a: 1", true, 1, 2, "a"},
        {__LINE__, 2, "  - a: 1", true, 2, 2, "a"},
        {__LINE__, 2, "    a: 1", false, 2, 2, "a"},
        {__LINE__, 2, "\ta: 1", false, 2, 2, "a"},
        {__LINE__, 2, "\t- a: 1", true, 3, 2, "a"},
        {__LINE__, 2, "\t  \ta: 1", false, 5, 2, "a"},
        {__LINE__, 3, " - a: 1", true, 1, 3, "a"},
        {__LINE__, 3, "   \n      a: 1", false, 2, 3, "a"},
        {__LINE__, 1, "- a: 1", true, 2, 1, "a"},
        {__LINE__, 4, "\t  - a: 1", true, 2, 4, "a"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        Lines lines(row.text);
        lines.doc.yamlIndentUnit = row.unit;
        lines.doc.yamlItem = !row.item;
        ASSERT_TRUE(lines.doc.get_yaml_line());
        EXPECT_EQ(lines.doc.yamlItem, row.item);
        EXPECT_EQ(lines.doc.yamlLevel, row.level);
        EXPECT_EQ(lines.doc.yamlIndentUnit, row.newUnit);
        EXPECT_EQ(lines.doc.yamlName.std(), row.name);
        EXPECT_EQ(lines.doc.yamlValue.std(), "1");
        EXPECT_FALSE(lines.doc.get_yaml_line());
    }
}

TEST(YamlLine, Failures) {
    static const struct {
        int line;
        int unit;
        std::string text;
        int key;
        int at;  // -1: the end of the buffer
    } rows[] = {
        {__LINE__, 0, "- ", LCA__Expected_attribute_name, -1},
        {__LINE__, 0, "   - ", LCA__Expected_attribute_name, -1},
        {__LINE__, 3, "- ", LCA__Expected_attribute_name, -1},
        // An indent that is no multiple; an item is refused before its key is looked at.
        {__LINE__, 3, "    a: 1", LCA__Invalid_indent, 5},
        {__LINE__, 3, "  a: 1", LCA__Invalid_indent, 3},
        {__LINE__, 3, "- a: 1", LCA__Invalid_indent, 2},
        {__LINE__, 3, "  - a: 1", LCA__Invalid_indent, 4},
        {__LINE__, 2, " - a: 1", LCA__Invalid_indent, 3},
        {__LINE__, 3, "  'a': 1", LCA__Invalid_indent, 3},
        {__LINE__, 3, "  : 1", LCA__Invalid_indent, 3},
        {__LINE__, 3, "- 'a': 1", LCA__Invalid_indent, 2},
        {__LINE__, 3, "\ta: 1", LCA__Invalid_indent, 2},
        {__LINE__, 4, "\t a: 1", LCA__Invalid_indent, 3},
        {__LINE__, 0, "\"a\": 1", LCA__Quoted_names_are_not_supported, 1},
        {__LINE__, 0, "'a': 1", LCA__Quoted_names_are_not_supported, 1},
        {__LINE__, 0, "- 'a': 1", LCA__Quoted_names_are_not_supported, 3},
        {__LINE__, 0, "- \"", LCA__Quoted_names_are_not_supported, 3},
        {__LINE__, 0, "'", LCA__Quoted_names_are_not_supported, 1},
        // No colon.
        {__LINE__, 0, "a", LCA__Expected__0, -1},
        {__LINE__, 0, "abc\nd: 1", LCA__Expected__0, 4},
        {__LINE__, 0, "abc\r\nd: 1", LCA__Expected__0, 4},
        {__LINE__, 0, "- x", LCA__Expected__0, -1},
        {__LINE__, 0, "- x\n- y\n", LCA__Expected__0, 4},
        {__LINE__, 0, "- \n", LCA__Expected__0, 3},
        {__LINE__, 0, "- \r\n", LCA__Expected__0, 3},
        {__LINE__, 0, "-", LCA__Expected__0, -1},
        {__LINE__, 0, "  -", LCA__Expected__0, -1},
        {__LINE__, 0, "-\n", LCA__Expected__0, 2},
        {__LINE__, 0, "---\na: 1", LCA__Expected__0, 4},
        {__LINE__, 0, "---", LCA__Expected__0, -1},
        {__LINE__, 0, "...\n", LCA__Expected__0, 4},
        {__LINE__, 0, "a ", LCA__Expected__0, -1},
        {__LINE__, 0, "a\t \t", LCA__Expected__0, -1},
        {__LINE__, 0, ": 1", LCA__Empty_name, 1},
        {__LINE__, 0, ":", LCA__Empty_name, 1},
        {__LINE__, 0, "  : 1", LCA__Empty_name, 3},
        {__LINE__, 0, "- : 1", LCA__Empty_name, 3},
        {__LINE__, 0, "-  a: 1", LCA__Empty_name, 3},
        {__LINE__, 0, "- \ta: 1", LCA__Empty_name, 3},
        {__LINE__, 0, "-  ", LCA__Empty_name, 3},
        {__LINE__, 0, "a b: 1", LCA__Spaces_and_in_names_are_not, 3},
        {__LINE__, 0, "ab \t c: 1", LCA__Spaces_and_in_names_are_not, 6},
        {__LINE__, 0, "# x", LCA__Spaces_and_in_names_are_not, 3},
        {__LINE__, 0, "# x: 1", LCA__Spaces_and_in_names_are_not, 3},
        {__LINE__, 0, "-\ta: 1", LCA__Spaces_and_in_names_are_not, 3},
        {__LINE__, 0, "- - a: 1", LCA__Spaces_and_in_names_are_not, 5},
        {__LINE__, 0, "a \nb: 1", LCA__Spaces_and_in_names_are_not, 3},
        {__LINE__, 0, "a \r\n", LCA__Spaces_and_in_names_are_not, 3},
        {__LINE__, 0, "--- a: 1", LCA__Spaces_and_in_names_are_not, 5},
        {__LINE__, 0, "- x \n", LCA__Spaces_and_in_names_are_not, 5},
        {__LINE__, 0, "a:", LCA__Expected_space_or_new_line, -1},
        {__LINE__, 0, "a \t:", LCA__Expected_space_or_new_line, -1},
        {__LINE__, 0, "- a:", LCA__Expected_space_or_new_line, -1},
        {__LINE__, 0, "a:b: 1", LCA__Character_in_names_is_not, 3},
        {__LINE__, 0, "a::", LCA__Character_in_names_is_not, 3},
        {__LINE__, 0, "a:: 1", LCA__Character_in_names_is_not, 3},
        {__LINE__, 0, "a :\"b\"", LCA__Character_in_names_is_not, 4},
        {__LINE__, 0, "a: \"b", LCA__Closing_quote_is_missed, -1},
        {__LINE__, 0, "a: \"", LCA__Closing_quote_is_missed, -1},
        {__LINE__, 0, "a: \"b\nc: 1\n", LCA__Closing_quote_is_missed, -1},
        {__LINE__, 0, "a: \"b\\\"", LCA__Closing_quote_is_missed, -1},
        {__LINE__, 0, "a: 'b", LCA__Closing_quote_is_missed, -1},
        {__LINE__, 0, "a: '", LCA__Closing_quote_is_missed, -1},
        {__LINE__, 0, "a: 'b\nc: 1\n", LCA__Closing_quote_is_missed, -1},
        {__LINE__, 0, "a: \"b\\", LCA__Unsupported_escape_sequence, -1},
        {__LINE__, 0, "a: \"\\", LCA__Unsupported_escape_sequence, -1},
        {__LINE__, 0, "a: \"\\\\\\", LCA__Unsupported_escape_sequence, -1},
        // Something behind the value.
        {__LINE__, 0, "a: \"b\" c", LCA__Expected_end_of_line, 8},
        {__LINE__, 0, "a: \"b\"c", LCA__Expected_end_of_line, 7},
        {__LINE__, 0, "a: \"b\"\"c\"", LCA__Expected_end_of_line, 7},
        {__LINE__, 0, "a: 'b' c\n", LCA__Expected_end_of_line, 8},
        {__LINE__, 0, "a: 'it''s'", LCA__Expected_end_of_line, 8},
        {__LINE__, 0, "a: 'b'c", LCA__Expected_end_of_line, 7},
        {__LINE__, 0, "a: '''", LCA__Expected_end_of_line, 6},
        {__LINE__, 0, "a: 'b'c'd", LCA__Expected_end_of_line, 9},
        {__LINE__, 0, "a: 'x'\n'b': 1\n", LCA__Expected_end_of_line, 11},
        {__LINE__, 0, "a: \"b\"\rc", LCA__Expected_end_of_line, 8},
        {__LINE__, 0, "a: b\rc: 1", LCA__Expected_end_of_line, 6},
        {__LINE__, 0, "a: b\r\r\n", LCA__Expected_end_of_line, 6},
        {__LINE__, 0, "a:\rb: 1", LCA__Expected_end_of_line, 4},
        {__LINE__, 0, "a: b: c", LCA__Expected_end_of_line, 5},
        {__LINE__, 0, "a: b:\n", LCA__Expected_end_of_line, 5},
        {__LINE__, 0, "a: b:\r\n", LCA__Expected_end_of_line, 5},
        {__LINE__, 0, "a: b:\tc", LCA__Expected_end_of_line, 5},
        {__LINE__, 0, "a: b:c: d", LCA__Expected_end_of_line, 7},
        {__LINE__, 0, "a: b:: c", LCA__Expected_end_of_line, 6},
        {__LINE__, 0, "a: .5", LCA__Expected_end_of_line, 4},
        {__LINE__, 0, "a: /path", LCA__Expected_end_of_line, 4},
        {__LINE__, 0, "a:   +1", LCA__Expected_end_of_line, 6},
        {__LINE__, 0, "a: #x", LCA__Expected_end_of_line, 4},
        {__LINE__, 0, "a: [1]", LCA__Expected_end_of_line, 4},
        {__LINE__, 0, "a: {a: 1}", LCA__Expected_end_of_line, 4},
        {__LINE__, 0, "a: |\n  text\n", LCA__Expected_end_of_line, 4},
        {__LINE__, 0, "a: ~", LCA__Expected_end_of_line, 4},
    };
    for (const auto& row : rows) {
        for (const std::string& before : {""s, "\n"s, "  \r\n"s}) {
            SCOPED_TRACE(std::to_string(row.line) + " behind " + std::to_string(before.size()));
            Lines lines(before + row.text);
            lines.doc.yamlIndentUnit = row.unit;
            EXPECT_EQ(keyOf([&] { lines.doc.get_yaml_line(); }), row.key);
            const std::size_t at = row.at < 0 ? row.text.size() : static_cast<std::size_t>(row.at);
            EXPECT_EQ(lines.at(), static_cast<int>(before.size() + at));
            EXPECT_EQ(lines.offset(lines.doc.yamlRest.begin), static_cast<int>(before.size()));
            EXPECT_EQ(lines.doc.yamlState, 0);
            EXPECT_EQ(lines.doc.openNames.count, 0);
        }
    }
}

TEST(YamlLine, EveryByteOfEachPlace) {
    const auto isPlainBegin = [](int b) {
        return b == '-' || b == '_' || (b >= '0' && b <= '9') || (b >= 'A' && b <= 'Z') || (b >= 'a' && b <= 'z') ||
               b >= 0x80;
    };
    for (int b = 0; b < 256; ++b) {
        SCOPED_TRACE(b);
        const std::string byte(1, static_cast<char>(b));
        const bool blank = b == ' ' || b == '\t';
        const bool lineEnd = b == '\r' || b == '\n';

        Lines first(byte + "k: v\n");
        int expected = b == '\'' || b == '"' ? static_cast<int>(LCA__Quoted_names_are_not_supported)
                       : b == ':'            ? static_cast<int>(LCA__Empty_name)
                                             : NoKey;
        EXPECT_EQ(keyOf([&] { first.doc.get_yaml_line(); }), expected);
        if (expected == NoKey) {
            EXPECT_EQ(first.doc.yamlName.std(), (blank || lineEnd ? "" : byte) + "k");
        }

        Lines inside("k" + byte + "k: v\n");
        expected = blank      ? static_cast<int>(LCA__Spaces_and_in_names_are_not)
                   : lineEnd  ? static_cast<int>(LCA__Expected__0)
                   : b == ':' ? static_cast<int>(LCA__Character_in_names_is_not)
                              : NoKey;
        EXPECT_EQ(keyOf([&] { inside.doc.get_yaml_line(); }), expected);
        if (expected == NoKey) {
            EXPECT_EQ(inside.doc.yamlName.std(), "k" + byte + "k");
        } else {
            EXPECT_EQ(inside.at(), lineEnd ? 2 : 3);
        }

        Lines behindColon("k:" + byte + "v\n");
        expected = blank || b == '\n' ? NoKey
                   : b == '\r'        ? static_cast<int>(LCA__Expected_end_of_line)
                                      : static_cast<int>(LCA__Character_in_names_is_not);
        EXPECT_EQ(keyOf([&] { behindColon.doc.get_yaml_line(); }), expected);
        EXPECT_EQ(behindColon.at(), b == '\r' ? 4 : expected != NoKey || b == '\n' ? 3 : 5);

        Lines valueBegin("k: " + byte + "\n");
        expected = b == '\'' || b == '"'                 ? static_cast<int>(LCA__Closing_quote_is_missed)
                   : isPlainBegin(b) || blank || lineEnd ? NoKey
                                                         : static_cast<int>(LCA__Expected_end_of_line);
        EXPECT_EQ(keyOf([&] { valueBegin.doc.get_yaml_line(); }), expected);
        if (expected == LCA__Expected_end_of_line) {
            EXPECT_EQ(valueBegin.at(), 4);
        } else if (expected == NoKey) {
            EXPECT_EQ(valueBegin.doc.yamlValueKind, isPlainBegin(b) ? 's' : 0);
            EXPECT_EQ(valueBegin.at(), b == '\n' ? 4 : 5);
            if (isPlainBegin(b)) {
                EXPECT_EQ(valueBegin.doc.yamlValue.std(), byte);
            }
        }

        Lines inValue("k: a" + byte + "c\n");
        EXPECT_EQ(keyOf([&] { inValue.doc.get_yaml_line(); }),
                  b == '\r' ? static_cast<int>(LCA__Expected_end_of_line) : NoKey);
        EXPECT_EQ(inValue.doc.yamlValue.std(), lineEnd ? "a" : "a" + byte + "c");

        Lines behindInnerColon("k: a:" + byte);
        expected = b <= 32 ? static_cast<int>(LCA__Expected_end_of_line) : NoKey;
        EXPECT_EQ(keyOf([&] { behindInnerColon.doc.get_yaml_line(); }), expected);
        EXPECT_EQ(behindInnerColon.doc.yamlValue.std(), b <= 32 ? "a" : "a:" + byte);
        EXPECT_EQ(behindInnerColon.at(), b <= 32 ? 5 : 6);
    }
}

TEST(YamlLine, EndOfBufferIsNoLine) {
    for (const std::string& text : {""s, " "s, "\t  "s, "\n"s, "\r"s, "\r\n"s, "\n\n  "s, " \n\t\r\n \t"s}) {
        SCOPED_TRACE(testing::PrintToString(text));
        Lines lines("a: b\n" + text);
        ASSERT_TRUE(lines.doc.get_yaml_line());
        for (int i = 0; i < 2; ++i) {
            EXPECT_FALSE(lines.doc.get_yaml_line());
            EXPECT_EQ(lines.doc.position, lines.doc.length);
            EXPECT_EQ(lines.doc.yamlName.std(), "a");
            EXPECT_EQ(lines.doc.yamlValue.std(), "b");
            EXPECT_EQ(lines.doc.yamlValueKind, 's');
            EXPECT_EQ(lines.doc.yamlLevel, 0);
            EXPECT_EQ(lines.doc.yamlIndentUnit, 0);
        }
    }
}

TEST(YamlLine, UnitIsFixedByTheFirstIndentedLine) {
    Lines lines("a: 1\n     \n   b: 1\n      c: 1\n - d: 1\ne: 1\n    f: 1\n");
    const int levels[] = {0, 1, 2, 1, 0};
    const int units[] = {0, 3, 3, 3, 3};
    for (int i = 0; i < 5; ++i) {
        SCOPED_TRACE(i);
        ASSERT_TRUE(lines.doc.get_yaml_line());
        EXPECT_EQ(lines.doc.yamlLevel, levels[i]);
        EXPECT_EQ(lines.doc.yamlIndentUnit, units[i]);
    }
    EXPECT_EQ(keyOf([&] { lines.doc.get_yaml_line(); }), LCA__Invalid_indent);
    EXPECT_EQ(lines.doc.yamlIndentUnit, 3);
    EXPECT_EQ(lines.doc.buffer[lines.doc.position - 1], 'f');

    // A line that is refused later has set it all the same.
    Lines refused("  'a': 1\n");
    EXPECT_EQ(keyOf([&] { refused.doc.get_yaml_line(); }), LCA__Quoted_names_are_not_supported);
    EXPECT_EQ(refused.doc.yamlIndentUnit, 2);
    EXPECT_EQ(refused.doc.yamlLevel, 1);
    EXPECT_FALSE(refused.doc.yamlItem);
    // One that ends behind its dash has not.
    Lines dash("   - ");
    EXPECT_EQ(keyOf([&] { dash.doc.get_yaml_line(); }), LCA__Expected_attribute_name);
    EXPECT_EQ(dash.doc.yamlIndentUnit, 0);
    EXPECT_TRUE(dash.doc.yamlItem);
}

TEST(YamlLine, ViewsLieInTheBuffer) {
    Lines lines("ab \t:  \"cd\" \n- e:  \t\n");
    ASSERT_TRUE(lines.doc.get_yaml_line());
    EXPECT_EQ(lines.offset(lines.doc.yamlName.begin), 0);
    EXPECT_EQ(lines.offset(lines.doc.yamlName.end), 2);
    EXPECT_EQ(lines.offset(lines.doc.yamlValue.begin), 8);
    EXPECT_EQ(lines.offset(lines.doc.yamlValue.end), 10);
    EXPECT_EQ(lines.offset(lines.doc.yamlRest.begin), 13);
    ASSERT_TRUE(lines.doc.get_yaml_line());
    EXPECT_EQ(lines.offset(lines.doc.yamlName.begin), 15);
    EXPECT_EQ(lines.offset(lines.doc.yamlName.end), 16);
    EXPECT_EQ(lines.doc.yamlValueKind, 0);
    EXPECT_EQ(lines.doc.yamlRest.begin, lines.doc.yamlRest.end);
}

TEST(YamlStep, Walks) {
    static const struct {
        int line;
        const char* text;
        std::string trace;
    } rows[] = {
        {__LINE__, "", "+ 1; - 0; ."},
        {__LINE__, "\n  \r\n\t", "+ 1; - 0; ."},
        {__LINE__, "a: 1", "+ 1 a=1; - 0; ."},
        {__LINE__, "a: 1\nb: '2'\n\n\nc: \"3\"\na: 4\n", "+ 1 a=1 b=2 c=3 a=4; - 0; ."},
        {__LINE__, "title: demo\nitems:\n- id: 1\n  size: 2\n- id: 3\nother:\n- id: 4\n",
         "+ 1 title=demo; +items 2 id=1 size=2; -items 1; +items 2 id=3; -items 1; +other 2 id=4; -other 1; - 0; ."},
        // Blank lines change nothing, carriage returns neither.
        {__LINE__, "\ntitle: demo\n \nitems:\n\n- id: 1\n\t\n  size: 2\n\n- id: 3\n\n",
         "+ 1 title=demo; +items 2 id=1 size=2; -items 1; +items 2 id=3; -items 1; - 0; ."},
        {__LINE__, "title: demo\r\nitems: \r\n- id: 1\r\n  size: 2\r\n",
         "+ 1 title=demo; +items 2 id=1 size=2; -items 1; - 0; ."},
        // Any unit will do, so long as it is one.
        {__LINE__, "a:\n    - b: 1\n      c: 2\n    - b: 3\n", "+ 1; +a 2 b=1 c=2; -a 1; +a 2 b=3; -a 1; - 0; ."},
        {__LINE__, "a:\n - b: 1\n   c: 2\n   d:\n    - e: 1\n      f: 2\n",
         "+ 1; +a 2 b=1 c=2; +d 3 e=1 f=2; -d 2; -a 1; - 0; ."},
        {__LINE__, "a:\n- b: 1\n  c:\n  - d: 1\n\t  e: 2\n", "+ 1; +a 2 b=1; +c 3 d=1; " + failed(LCA__Bad_nesting)},
        {__LINE__, "a:\n- b: 1\n  c:\n  - d: 1\n\te: 2\n", "+ 1; +a 2 b=1; +c 3 d=1 e=2; -c 2; -a 1; - 0; ."},
        // A first line without a value is an attribute all the same.
        {__LINE__, "a:\n- b:\n  c: 2\n", "+ 1; +a 2 b= c=2; -a 1; - 0; ."},
        {__LINE__, "a:\n- b:\n- b:\n", "+ 1; +a 2 b=; -a 1; +a 2 b=; -a 1; - 0; ."},
        {__LINE__, "a:\n- b: ", "+ 1; +a 2 b=; -a 1; - 0; ."},
        {__LINE__, "a:\n- b:\n  c:\n  - d: 1\n", "+ 1; +a 2 b=; +c 3 d=1; -c 2; -a 1; - 0; ."},
        // Lists one behind the other, deeper and back.
        {__LINE__, "a:\n- b: 1\nc:\n- d: 1\na:\n- e: 1\n",
         "+ 1; +a 2 b=1; -a 1; +c 2 d=1; -c 1; +a 2 e=1; -a 1; - 0; ."},
        {__LINE__, "a:\n- b: 1\n  c:\n  - d: 1\n    e:\n    - f: 1\n",
         "+ 1; +a 2 b=1; +c 3 d=1; +e 4 f=1; -e 3; -c 2; -a 1; - 0; ."},
        {__LINE__, "a:\n- b: 1\n  c:\n  - d: 1\n    e:\n    - f: 1\ng:\n- h: 1\n",
         "+ 1; +a 2 b=1; +c 3 d=1; +e 4 f=1; -e 3; -c 2; -a 1; +g 2 h=1; -g 1; - 0; ."},
        {__LINE__, "a:\n- b: 1\n  c:\n  - d: 1\n    e:\n    - f: 1\n- g: 1\n",
         "+ 1; +a 2 b=1; +c 3 d=1; +e 4 f=1; -e 3; -c 2; -a 1; +a 2 g=1; -a 1; - 0; ."},
        {__LINE__, "a:\n- b: 1\n  c:\n  - d: 1\n    e:\n    - f: 1\n  g:\n  - h: 1\n",
         "+ 1; +a 2 b=1; +c 3 d=1; +e 4 f=1; -e 3; -c 2; +g 3 h=1; -g 2; -a 1; - 0; ."},
        {__LINE__, "a:\n- b: 1\n  c:\n  - d: 1\n  - d: 2\n  e:\n  - f: 1\n- b: 2\n  c:\n  - d: 3\n",
         "+ 1; +a 2 b=1; +c 3 d=1; -c 2; +c 3 d=2; -c 2; +e 3 f=1; -e 2; -a 1; +a 2 b=2; +c 3 d=3; -c 2; -a 1; - 0; ."},
        // Refused: mappings without a dash, jumps, attributes behind a list.
        {__LINE__, "a: ", "+ 1; " + failed(LCA__Expected_first_item_of_array)},
        {__LINE__, "a:\n", "+ 1; " + failed(LCA__Expected_first_item_of_array)},
        {__LINE__, "a:", "+ 1" + failed(LCA__Expected_space_or_new_line)},
        {__LINE__, "a:\nb: 1\n", "+ 1; " + failed(LCA__Expected_first_item_of_array)},
        {__LINE__, "a:\na:\n", "+ 1; " + failed(LCA__Expected_first_item_of_array)},
        {__LINE__, "a:\n  b: 1\n", "+ 1; " + failed(LCA__Expected_first_item_of_array)},
        {__LINE__, "x:\n- y: 1\na:\n  - b: 1\n", "+ 1; +x 2 y=1; -x 1; " + failed(LCA__Expected_first_item_of_array)},
        {__LINE__, "a:\n- b: 1\n  c:\n- d: 1\n", "+ 1; +a 2 b=1; " + failed(LCA__Expected_first_item_of_array)},
        {__LINE__, "a:\n- b: 1\n  c:\n    - d: 1\n", "+ 1; +a 2 b=1; " + failed(LCA__Expected_first_item_of_array)},
        {__LINE__, "a:\n- b: 1\n  c:\n  d: 1\n", "+ 1; +a 2 b=1; " + failed(LCA__Expected_first_item_of_array)},
        {__LINE__, "a:\n- b:\n  - c: 1\n", "+ 1; +a 2 b=; " + failed(LCA__Bad_nesting)},
        {__LINE__, "a:\n- b: 1\n  - c: 1\n", "+ 1; +a 2 b=1; " + failed(LCA__Bad_nesting)},
        {__LINE__, "a:\n- b: 1\n    c: 1\n", "+ 1; +a 2 b=1; " + failed(LCA__Bad_nesting)},
        {__LINE__, "a:\n- b: 1\n      c: 1\n", "+ 1; +a 2 b=1; " + failed(LCA__Bad_nesting)},
        {__LINE__, "- a: 1\n", "+ 1; " + failed(LCA__Bad_nesting)},
        {__LINE__, "a: 1\n  b: 1\n", "+ 1 a=1; " + failed(LCA__Bad_nesting)},
        {__LINE__, "a: 1\n- b: 1\n", "+ 1 a=1; " + failed(LCA__Bad_nesting)},
        {__LINE__, " a: 1\n", "+ 1; " + failed(LCA__Bad_nesting)},
        {__LINE__, "a:\n- b: 1\nx: 1\n", "+ 1; +a 2 b=1; " + failed(LCA__Normal_attributes_does_not)},
        {__LINE__, "a:\n- b: 1\n  c:\n  - d: 1\n  x: 1\n",
         "+ 1; +a 2 b=1; +c 3 d=1; " + failed(LCA__Normal_attributes_does_not)},
        {__LINE__, "a:\n- b: 1\n  c:\n  - d: 1\nx: 1\n",
         "+ 1; +a 2 b=1; +c 3 d=1; " + failed(LCA__Normal_attributes_does_not)},
        {__LINE__, "a:\n- b: 1\n:\n", "+ 1; +a 2 b=1" + failed(LCA__Empty_name)},
        {__LINE__, "a:\n---\n", "+ 1; " + failed(LCA__Expected__0)},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        EXPECT_EQ(walk(row.text, -1), row.trace);
        EXPECT_EQ(bare(walk(row.text, 1)), bare(row.trace));
        EXPECT_EQ(walk(row.text, 0), bare(row.trace));
    }
}

TEST(YamlStep, StartOfTheDocument) {
    static const struct {
        int line;
        std::string marker;
        const char* text;
        std::string trace;
    } rows[] = {
        {__LINE__, "---", "", "+ 1; - 0; ."},
        {__LINE__, "---\n", "a: 1", "+ 1 a=1; - 0; ."},
        {__LINE__, "---\r\n", "a: 1", "+ 1 a=1; - 0; ."},
        {__LINE__, "---\r", "a: 1", "+ 1 a=1; - 0; ."},
        {__LINE__, "---", "a: 1", "+ 1 a=1; - 0; ."},
        {__LINE__, "\xEF\xBB\xBF---\n", "a: 1", "+ 1 a=1; - 0; ."},
        {__LINE__, "---\n", "\n\r\na: 1", "+ 1 a=1; - 0; ."},
        {__LINE__, "---", " \na: 1", "+ 1 a=1; - 0; ."},
        {__LINE__, "---", " a: 1", "+ 1; " + failed(LCA__Bad_nesting)},
        {__LINE__, "---", "-", "+ 1" + failed(LCA__Expected__0)},
        {__LINE__, "---", " # c\na: 1", "+ 1" + failed(LCA__Spaces_and_in_names_are_not)},
        {__LINE__, "---\n", "---\na: 1", "+ 1" + failed(LCA__Expected__0)},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        Lines lines(row.text, row.marker);
        EXPECT_EQ(lines.doc.format, MLDocBase::YAML);
        EXPECT_EQ(lines.at(), 0);
        EXPECT_EQ(lines.doc.yamlState, 0);
        EXPECT_EQ(lines.doc.yamlIndentUnit, 0);
        EXPECT_EQ(lines.doc.openNames.count, 0);
        EXPECT_EQ(walk(row.text, -1, row.marker), row.trace);
        EXPECT_EQ(walk(row.text, 0, row.marker), bare(row.trace));
    }
    Lines marked(" a: 1", "---");
    ASSERT_TRUE(marked.doc.get_yaml_line());
    EXPECT_EQ(marked.doc.yamlIndentUnit, 1);
    EXPECT_EQ(marked.doc.yamlLevel, 1);
}

TEST(YamlStep, FieldsAreFresh) {
    MLDoc doc;
    EXPECT_EQ(doc.yamlLevel, -1);
    EXPECT_EQ(doc.yamlIndentUnit, -1);
    EXPECT_EQ(doc.yamlState, -1);
    EXPECT_EQ(doc.yamlValueKind, 0);
    EXPECT_FALSE(doc.yamlItem);
    EXPECT_EQ(doc.yamlRest.begin, nullptr);
    EXPECT_EQ(doc.yamlName.begin, nullptr);
    EXPECT_EQ(doc.yamlValue.begin, nullptr);

    // A walk that was left in the middle leaves nothing to the next document.
    Lines lines("a:\n   - b: 1\n     c: 2\n");
    MLDoc::Token token;
    ASSERT_TRUE(lines.doc.step(token) && lines.doc.step(token));
    EXPECT_EQ(lines.doc.yamlIndentUnit, 5);
    lines.doc.load("again.yml", "---\nd:\n- e: 1", 13);
    EXPECT_EQ(lines.doc.yamlIndentUnit, 0);
    EXPECT_EQ(lines.doc.yamlState, 0);
    EXPECT_EQ(lines.doc.openNames.data, nullptr);
    EXPECT_EQ(lines.doc.openNames.count, 0);
    MLDoc::Token other;
    ASSERT_TRUE(lines.doc.step(other) && lines.doc.step(other));
    EXPECT_EQ(describe(other), "+d 2");
}

TEST(YamlStep, StatesAndBodies) {
    static const struct {
        int line;
        const char* token;
        int state;
        int stateRead;  // behind the token's attributes
        const char* names;
    } rows[] = {
        {__LINE__, "+ 1", 3, 1, "/"},
        {__LINE__, "+items 2", 2, 1, "//items"},
        {__LINE__, "-items 1", 1, 1, "//items"},
        {__LINE__, "+items 2", 2, 1, "//items"},
        {__LINE__, "-items 1", 4, 4, "/"},
        {__LINE__, "+other 2", 2, 6, "//other"},
        {__LINE__, "-other 1", 6, 6, "/"},
        {__LINE__, "- 0", 6, 6, ""},
    };
    const std::string text = "title: demo\nitems:\n- id: 1\n  size: 2\n- id: 3\nother:\n- id: 4\n";
    const int bodies[] = {0, static_cast<int>(text.find("  size")), static_cast<int>(text.find("other")),
                          static_cast<int>(text.size())};
    for (const bool read : {false, true}) {
        Lines lines(text);
        MLDoc::Token token;
        token.kind = 7;
        token.level = 9;
        int opened = 0;
        for (const auto& row : rows) {
            SCOPED_TRACE(std::to_string(row.line) + (read ? " read" : " skipped"));
            ASSERT_TRUE(lines.doc.step(token));
            EXPECT_EQ(describe(token), row.token);
            EXPECT_EQ(token.kind, 0);
            EXPECT_EQ(lines.doc.yamlState, row.state);
            EXPECT_EQ(names(lines.doc), row.names);
            EXPECT_EQ(lines.doc.passAttributes(token), lines.doc.position);
            if (token.opening) {
                EXPECT_EQ(lines.offset(token.body.begin), bodies[opened++]);
                EXPECT_EQ(token.body.begin, lines.cursor());
                EXPECT_EQ(token.body.end, lines.bufferEnd());
            } else {
                EXPECT_EQ(token.body.begin, lines.cursor());
                EXPECT_EQ(token.body.end, lines.cursor());
            }
            MLDoc::Attribute attribute;
            while (read && lines.doc.attribute(token, attribute)) {
            }
            if (read) {
                EXPECT_EQ(lines.doc.yamlState, row.stateRead);
            }
            token.kind = 7;
        }
        const MLDoc::Token last = token;
        EXPECT_FALSE(lines.doc.step(token));
        EXPECT_EQ(lines.doc.yamlState, 7);
        EXPECT_EQ(lines.doc.openNames.data, nullptr);
        EXPECT_EQ(lines.doc.openNames.count, 0);
        EXPECT_EQ(describe(token), describe(last));
        EXPECT_EQ(token.body.begin, last.body.begin);
    }
}

TEST(YamlStep, TheRootHasAnEmptyNameInPlace) {
    Lines lines("a: 1\n");
    MLDoc::Token token;
    token.level = 5;
    ASSERT_TRUE(lines.doc.step(token));
    EXPECT_EQ(lines.offset(token.name.begin), 0);
    EXPECT_EQ(lines.offset(token.name.end), 0);
    EXPECT_EQ(lines.offset(token.body.begin), 0);
    EXPECT_EQ(token.body.end, lines.bufferEnd());
    EXPECT_EQ(token.level, 1);
    EXPECT_EQ(lines.at(), 0);
    ASSERT_EQ(lines.doc.openNames.count, 1);
    EXPECT_EQ(lines.doc.openNames.data[0].begin, nullptr);
    ASSERT_TRUE(lines.doc.step(token));
    EXPECT_EQ(token.name.begin, nullptr);
    EXPECT_EQ(token.name.end, nullptr);
    EXPECT_EQ(token.level, 0);
}

TEST(YamlStep, OneLineClosesLevelByLevel) {
    Lines lines("a:\n- b: 1\n  c:\n  - d: 1\n    e:\n    - f: 1\n\n- g: 1\n");
    MLDoc::Token token;
    for (int i = 0; i < 4; ++i) ASSERT_TRUE(lines.doc.step(token));
    EXPECT_EQ(describe(token), "+e 4");
    const struct {
        const char* token;
        int state;
        const char* names;
    } steps[] = {{"-e 3", 4, "//a/c"}, {"-c 2", 4, "//a"}, {"-a 1", 4, "//a"}, {"+a 2", 2, "//a"}};
    for (const auto& row : steps) {
        SCOPED_TRACE(row.token);
        ASSERT_TRUE(lines.doc.step(token));
        EXPECT_EQ(describe(token), row.token);
        EXPECT_EQ(lines.doc.yamlState, row.state);
        EXPECT_EQ(names(lines.doc), row.names);
        EXPECT_EQ(lines.doc.yamlName.std(), "g");
        EXPECT_EQ(lines.doc.position, lines.doc.length);
        MLDoc::Attribute attribute;
        if (token.closing) {
            EXPECT_FALSE(lines.doc.attribute(token, attribute));
            EXPECT_EQ(attribute.name.begin, nullptr);
        }
    }
    MLDoc::Attribute attribute;
    EXPECT_TRUE(lines.doc.attribute(token, attribute));
    EXPECT_EQ(attribute.name, "g");
}

TEST(YamlStep, StateBehindAFailure) {
    static const struct {
        int line;
        const char* text;
        int steps;  // that go well
        int key;
        int state;
        const char* names;
        const char* rest;
    } rows[] = {
        {__LINE__, "a:\nb: 1\nc: 2\n", 1, LCA__Expected_first_item_of_array, 1, "//a", "c: 2\n"},
        {__LINE__, "a: ", 1, LCA__Expected_first_item_of_array, 1, "//a", ""},
        {__LINE__, "a:\n:b\n", 1, LCA__Empty_name, 1, "//a", "b\n"},
        {__LINE__, "- a: 1\nb: 2", 1, LCA__Bad_nesting, 1, "/", "b: 2"},
        {__LINE__, "a:\n- b: 1\nc: 1\nd: 1\n", 2, LCA__Normal_attributes_does_not, 1, "//a", "d: 1\n"},
        {__LINE__, "a:\n- b:\n  - c: 1\nd", 2, LCA__Bad_nesting, 1, "//a", "d"},
        {__LINE__, "a:\n- b: 1\n  c d: 1\n", 2, LCA__Spaces_and_in_names_are_not, 2, "//a", ": 1\n"},
        {__LINE__, "a: 1\nb\nc: 1\n", 1, LCA__Expected__0, 3, "/", "c: 1\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        Lines lines(row.text);
        MLDoc::Token token;
        for (int i = 0; i < row.steps; ++i) ASSERT_TRUE(lines.doc.step(token));
        const MLDoc::Token before = token;
        EXPECT_EQ(keyOf([&] { lines.doc.step(token); }), row.key);
        EXPECT_EQ(lines.doc.yamlState, row.state);
        EXPECT_EQ(names(lines.doc), row.names);
        EXPECT_EQ(lines.rest(), row.rest);
        EXPECT_EQ(describe(token), describe(before));
        EXPECT_EQ(token.body.begin, before.body.begin);
        EXPECT_EQ(token.body.end, before.body.end);
    }
}

// States that no document leads to, but that a caller who moves the fields can: they are refused, not followed.
TEST(YamlStep, PendingLineAgainstOpenNames) {
    static const struct {
        int line;
        int level;  // of the token
        int open;
        const char* text;  // the pending line, unit 2
        int key;
        const char* token;
        int state;
    } rows[] = {
        // Below the token.
        {__LINE__, 3, 3, "- a: 1", NoKey, "-n2 2", 4},
        {__LINE__, 3, 3, "a:\n", NoKey, "-n2 2", 4},
        {__LINE__, 3, 3, "a: 1", LCA__Normal_attributes_does_not, "", 0},
        {__LINE__, 3, 2, "a: 1", LCA__Normal_attributes_does_not, "", 0},
        {__LINE__, 3, 2, "a:\n", LCA__Bad_nesting, "", 0},
        {__LINE__, 3, 4, "- a: 1", LCA__Bad_nesting, "", 0},
        // Above it.
        {__LINE__, 1, 2, "- a: 1", NoKey, "+n1 2", 2},
        {__LINE__, 1, 2, "  a: 1", LCA__Expected__1, "", 0},
        {__LINE__, 1, 2, "  a:\n", LCA__Expected__1, "", 0},
        {__LINE__, 1, 1, "- a: 1", LCA__Bad_nesting, "", 0},
        {__LINE__, 1, 1, "  a: 1", LCA__Bad_nesting, "", 0},
        {__LINE__, 1, 3, "- a: 1", LCA__Bad_nesting, "", 0},
        {__LINE__, 1, 2, "  - a: 1", LCA__Bad_nesting, "", 0},
        {__LINE__, 1, 3, "  - a: 1", LCA__Bad_nesting, "", 0},
        {__LINE__, 1, 2, "    a: 1", LCA__Bad_nesting, "", 0},
        // Level with it.
        {__LINE__, 2, 2, "- a: 1", NoKey, "-n1 1", -1},
        {__LINE__, 2, 3, "- a: 1", LCA__Bad_nesting, "", 0},
        {__LINE__, 2, 1, "- a: 1", LCA__Bad_nesting, "", 0},
        {__LINE__, 2, 3, "  a:\n", LCA__Bad_nesting, "", 0},
    };
    for (const auto& row : rows) {
        for (const int state : {1, 4}) {
            SCOPED_TRACE(std::to_string(row.line) + " state " + std::to_string(state));
            Lines lines(row.text);
            lines.doc.yamlIndentUnit = 2;
            static const char* const open[] = {"n0", "n1", "n2", "n3"};
            for (int i = 0; i < row.open; ++i) lines.doc.openNames.append(ChPair(open[i]));
            const std::string before = names(lines.doc);
            ASSERT_TRUE(lines.doc.get_yaml_line());
            lines.doc.yamlState = state;
            MLDoc::Token token;
            token.level = row.level;
            token.name = "old";
            bool got = false;
            EXPECT_EQ(keyOf([&] { got = lines.doc.step(token); }), row.key);
            if (row.key == NoKey) {
                EXPECT_TRUE(got);
                EXPECT_EQ(describe(token), row.token);
                EXPECT_EQ(lines.doc.yamlState, row.state < 0 ? state : row.state);
                EXPECT_EQ(names(lines.doc), row.state == 4 ? "/n0/n1" : before);
            } else {
                EXPECT_EQ(token.level, row.level);
                EXPECT_EQ(token.name, "old");
                EXPECT_EQ(lines.doc.yamlState, state);
                EXPECT_EQ(names(lines.doc), before);
            }
            EXPECT_EQ(lines.doc.position, lines.doc.length);
        }
    }
}

TEST(YamlStep, Companions) {
    Lines lines("a: 1\nb: 2\n");
    MLDoc& doc = lines.doc;
    doc.openNames.append(ChPair());
    doc.openNames.append(ChPair("one"));
    doc.openNames.append(ChPair("two"));
    ASSERT_TRUE(doc.get_yaml_line());

    MLDoc::Token token;
    token.level = 2;
    token.kind = 5;
    token.closing = true;
    doc.step_yaml_open_token(token);
    EXPECT_EQ(describe(token), "+one 2");
    EXPECT_EQ(token.kind, 0);
    EXPECT_EQ(lines.offset(token.body.begin), 5);
    EXPECT_EQ(token.body.end, lines.bufferEnd());
    EXPECT_EQ(doc.yamlState, 2);
    EXPECT_EQ(doc.openNames.count, 3);

    for (const int level : {2, 4, 0}) {
        SCOPED_TRACE(level);
        token.level = level;
        doc.yamlState = 3;
        EXPECT_EQ(keyOf([&] { doc.step_yaml_close_token(token); }), LCA__Bad_nesting);
        EXPECT_EQ(describe(token), "+one " + std::to_string(level));
        EXPECT_EQ(doc.yamlState, 3);
        EXPECT_EQ(doc.openNames.count, 3);
    }
    token.level = 3;
    token.kind = 5;
    doc.step_yaml_close_token(token);
    EXPECT_EQ(describe(token), "-two 2");
    EXPECT_EQ(token.kind, 0);
    EXPECT_EQ(token.body.begin, lines.cursor());
    EXPECT_EQ(token.body.end, lines.cursor());
    EXPECT_EQ(doc.openNames.count, 3);
    EXPECT_EQ(doc.yamlState, 3);

    // Finalizing has taken note of the end before it finds the names wrong.
    EXPECT_EQ(keyOf([&] { doc.step_yaml_finalize(token); }), LCA__Bad_nesting);
    EXPECT_EQ(doc.yamlState, 6);
    EXPECT_EQ(doc.openNames.count, 3);
    token.level = 3;
    doc.yamlState = 3;
    for (const char* expected : {"-two 2", "-one 1", "- 0"}) {
        EXPECT_TRUE(doc.step_yaml_finalize(token));
        EXPECT_EQ(describe(token), expected);
        EXPECT_EQ(doc.yamlState, 6);
        EXPECT_EQ(doc.openNames.count, token.level);
    }
    EXPECT_FALSE(doc.step_yaml_finalize(token));
    EXPECT_EQ(doc.yamlState, 7);
    EXPECT_EQ(doc.openNames.data, nullptr);
    EXPECT_EQ(doc.openNames.allocateCount, 0);
    EXPECT_EQ(lines.at(), 5);
}

TEST(YamlAttribute, EveryState) {
    static const struct {
        int state;
        bool got;
        int after;
        bool reads;
    } rows[] = {{-1, false, -1, false}, {0, false, 0, false}, {1, false, 1, false}, {2, true, 3, false},
                {3, true, 3, true},     {4, false, 4, false}, {6, false, 6, false}, {7, false, 7, false}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.state);
        Lines lines("a: 1\nb: 2\n");
        ASSERT_TRUE(lines.doc.get_yaml_line());
        lines.doc.yamlState = row.state;
        MLDoc::Token token;
        token.level = 1;
        MLDoc::Attribute attribute;
        EXPECT_EQ(lines.doc.attribute_yaml(token, attribute), row.got);
        EXPECT_EQ(lines.doc.yamlState, row.after);
        EXPECT_EQ(lines.at(), row.reads ? 10 : 5);
        EXPECT_EQ(attribute.name.std() + attribute.value.std(), !row.got ? "" : row.reads ? "b2" : "a1");
    }
}

TEST(YamlAttribute, LineThatIsNone) {
    static const struct {
        int line;
        const char* text;
        int level;  // of the token, unit 2
        bool got;
        int state;
    } rows[] = {
        {__LINE__, "a: 1", 1, true, 3},    {__LINE__, "a: ''", 1, true, 3},   {__LINE__, "a: \"\"", 1, true, 3},
        {__LINE__, "a: ", 1, false, 1},    {__LINE__, "a:\n", 1, false, 1},   {__LINE__, "- a: 1", 1, false, 1},
        {__LINE__, "- a: 1", 2, false, 1}, {__LINE__, "  a: 1", 2, true, 3},  {__LINE__, "  a: 1", 1, false, 1},
        {__LINE__, "  a: 1", 3, false, 1}, {__LINE__, "\ta: 1", 3, true, 3},  {__LINE__, "", 1, false, 6},
        {__LINE__, " \n ", 1, false, 6},   {__LINE__, "  a:\n", 2, false, 1}, {__LINE__, "a: 1", 2, false, 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        Lines lines(row.text);
        lines.doc.yamlIndentUnit = 2;
        lines.doc.yamlState = 3;
        MLDoc::Token token;
        token.level = row.level;
        MLDoc::Attribute attribute;
        EXPECT_EQ(lines.doc.attribute_yaml(token, attribute), row.got);
        EXPECT_EQ(lines.doc.yamlState, row.state);
        EXPECT_EQ(attribute.name.std(), row.got ? "a" : "");
        EXPECT_EQ(lines.doc.position, lines.doc.length);
        EXPECT_EQ(token.level, row.level);
    }
    Lines refused("a b: 1");
    refused.doc.yamlState = 3;
    MLDoc::Attribute attribute;
    EXPECT_EQ(keyOf([&] { refused.doc.attribute_yaml(MLDoc::Token(), attribute); }), LCA__Spaces_and_in_names_are_not);
    EXPECT_EQ(refused.doc.yamlState, 3);
    EXPECT_EQ(attribute.name.begin, nullptr);
}

TEST(YamlAttribute, FirstLineWithoutValueIsEmptyInPlace) {
    static const struct {
        int line;
        const char* text;
        int at;
    } rows[] = {
        {__LINE__, "a:\n- key:\n  b: 1\n", 9},
        {__LINE__, "a:\n- key: \t\r\n  b: 1\n", 11},
        {__LINE__, "a:\n- key: ", 10},
        {__LINE__, "a:\n- old: \"value\"\n- key:\n", 24},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        Lines lines(row.text);
        MLDoc::Token token;
        MLDoc::Attribute attribute;
        do {
            ASSERT_TRUE(lines.doc.step(token));
        } while (lines.doc.yamlName != "key" || !token.opening);
        ASSERT_TRUE(lines.doc.attribute(token, attribute));
        EXPECT_EQ(attribute.name, "key");
        EXPECT_EQ(lines.offset(attribute.value.begin), row.at);
        EXPECT_EQ(lines.offset(attribute.value.end), row.at);
    }
}

// A new pass starts at the token's body, which is behind its first line.
TEST(YamlAttribute, SecondPass) {
    Lines lines("r: 0\ns: 1\na:\n- b: 1\n  c: 2\n  d: 3\n- b: 4\n");
    MLDoc& doc = lines.doc;
    MLDoc::Token token;
    ASSERT_TRUE(doc.step(token));
    EXPECT_EQ(doc.getAttributeValue(token, "s"), "1");
    EXPECT_EQ(doc.getAttributeValue(token, "r"), "0");
    ASSERT_TRUE(doc.step(token));
    EXPECT_EQ(doc.getAttributeValue(token, "b"), "1");
    EXPECT_EQ(doc.getAttributeValue(token, "d"), "3");
    EXPECT_EQ(doc.getAttributeValue(token, "c"), "2");
    EXPECT_EQ(doc.yamlState, 3);
    EXPECT_EQ(doc.getAttributeValue(token, "b").begin, nullptr);
    EXPECT_EQ(doc.yamlState, 1);
    // The line of the next item is pending now, and this moves back in front of it.
    EXPECT_EQ(doc.getAttributeValue(token, "c").begin, nullptr);
    EXPECT_EQ(doc.yamlState, 1);
    EXPECT_EQ(lines.rest(), "  c: 2\n  d: 3\n- b: 4\n");
    std::string trace;
    while (doc.step(token)) {
        trace += describe(token);
        MLDoc::Attribute attribute;
        while (doc.attribute(token, attribute)) trace += " " + attribute.name.std() + attribute.value.std();
        trace += "; ";
    }
    EXPECT_EQ(trace, "-a 1; +a 2 b4 c2 d3; -a 1; +a 2 b4; -a 1; - 0; ");
}

TEST(YamlAttribute, ValuesComeUndecoded) {
    EXPECT_EQ(walk("a: \"x\\\"\\ny\"\nb: 'p'q'\nc: true \nd: \"\"\n", -1), "+ 1 a=x\\\"\\ny b=p'q c=true  d=; - 0; .");
    Lines lines("t: true\nu: True\nv: true \nw: 'true'\nn: -5\n");
    MLDoc::Token token;
    ASSERT_TRUE(lines.doc.step(token));
    EXPECT_TRUE(lines.doc.getAttributeBool(token, "t"));
    EXPECT_FALSE(lines.doc.getAttributeBool(token, "u"));
    EXPECT_FALSE(lines.doc.getAttributeBool(token, "v"));
    EXPECT_TRUE(lines.doc.getAttributeBool(token, "w"));
    EXPECT_EQ(lines.doc.getInt32(lines.doc.getAttributeValue(token, "n")), -5);
    EXPECT_FALSE(lines.doc.getAttributeBool(token, "x"));
    EXPECT_EQ(lines.doc.yamlState, 6);
}

TEST(YamlWalk, Iterators) {
    const std::string text =
        "title: t\nitems:\n- id: 1\n  size: 2\n  parts:\n  - p: 1\n    q: 2\n  - p: 3\n- id: 4\n"
        "other:\n- x: 5\nitems:\n- id: 6\n";
    // How deep the walk goes and whether it stays to the end must not matter to the outer levels.
    for (const int style : {0, 1, 2, 3}) {
        SCOPED_TRACE(style);
        Lines lines(text);
        MLDoc::Token token;
        MLDoc::ChildIterator roots(&lines.doc, token);
        std::string seen;
        while (roots()) {
            EXPECT_EQ(describe(token), "+ 1");
            MLDoc::Attribute attribute;
            MLDoc::AttributeIterator rootAttributes(&lines.doc, token);
            EXPECT_TRUE(rootAttributes(attribute, "title"));
            MLDoc::ChildIterator items(&lines.doc, token);
            while (items("items")) {
                EXPECT_EQ(describe(token), "+items 2");
                seen += "i" + lines.doc.getAttributeValue(token, "id").std();
                if (style == 0) continue;
                MLDoc::ChildIterator parts(&lines.doc, token);
                while (parts()) {
                    EXPECT_EQ(describe(token), "+parts 3");
                    if (style == 3) break;
                    MLDoc::AttributeIterator attributes(&lines.doc, token);
                    while (style == 2 && attributes(attribute)) seen += attribute.name.std() + attribute.value.std();
                }
            }
            EXPECT_EQ(token.level, 0);
            EXPECT_TRUE(token.closing);
        }
        EXPECT_EQ(seen, style == 2 ? "i1p1q2p3i4i6" : "i1i4i6");
        EXPECT_EQ(lines.doc.yamlState, 7);
        EXPECT_FALSE(roots());
    }
}

TEST(YamlWalk, PlaceOfAFailure) {
    Lines lines("a: 1\n\tb: 2\nc d: 3\n");
    MLDoc::Token token;
    ASSERT_TRUE(lines.doc.step(token));
    MLDoc::Attribute attribute;
    ASSERT_TRUE(lines.doc.attribute(token, attribute));
    ASSERT_FALSE(lines.doc.attribute(token, attribute));
    EXPECT_EQ(keyOf([&] { lines.doc.step(token); }), LCA__Bad_nesting);
    int line = 0;
    int column = 0;
    lines.doc.getPosition(line, column);
    EXPECT_EQ(line, 4);
    EXPECT_EQ(column, 1);
    EXPECT_EQ(keyOf([&] { lines.doc.get_yaml_line(); }), LCA__Spaces_and_in_names_are_not);
    lines.doc.getPosition(line, column);
    EXPECT_EQ(line, 4);
    EXPECT_EQ(column, 4);

    MLDoc::Token unread;
    unread.level = 1;
    EXPECT_EQ(keyOf([&] { lines.doc.content(unread); }), LCA__Cannot_read_plain_content_for);
}
