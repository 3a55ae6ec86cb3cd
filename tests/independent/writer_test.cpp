// What the writer writes, byte by byte, in all five forms: items, attributes, values, escapes, and what a refused call
// leaves behind. Outputs are written out by hand; a '~' in them is a tab, and their line ends are replaced by the ones
// that the document was given.
#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

#include <velmora/velmora.h>

namespace {

const MLDocBase::Format kForms[5] = {MLDocBase::XML, MLDocBase::JSON, MLDocBase::YAML, MLDocBase::HTML, MLDocBase::CSV};
const char* const kFormNames[5] = {"XML", "JSON", "YAML", "HTML", "CSV"};
const char kHeader[] = "<?xml version= \"1.0\" encoding=\"utf-8\"?>";

// Not destroyed through its base, as every sink.
struct Sink final : MLDocOut::Writer {
    std::string text;
    int ends = 0;
    void write_doc(const char* data, int size) override {
        if (size > 0) text.append(data, static_cast<std::size_t>(size));
    }
    void end_doc() override { ++ends; }
    std::string take() {
        std::string taken;
        taken.swap(text);
        return taken;
    }
};

// A writer whose document has begun, with the bytes of the beginning taken away.
struct Doc {
    Sink sink;
    MLDocOut out;
    explicit Doc(MLDocBase::Format form, bool compact = false) : out(form) {
        out.setCompactMode(compact);
        out.begin(sink);
        sink.take();
    }
};

std::string lines(const std::string& text, const char* eoln = "\r\n") {
    std::string result;
    for (char c : text) {
        if (c == '\n') {
            result += eoln;
        } else {
            result += c == '~' ? '\t' : c;
        }
    }
    return result;
}

// A small language of calls: `<name` and `>name` open and close, `name=value` is a text attribute, `.text` is content,
// `+` and `-` switch the compact mode.
void play(MLDocOut& out, const std::string& script) {
    std::istringstream words(script);
    for (std::string word; words >> word;) {
        const std::size_t equals = word.find('=');
        if (word[0] == '<') {
            out.beginItem(word.c_str() + 1);
        } else if (word[0] == '>') {
            out.endItem(word.c_str() + 1);
        } else if (word[0] == '.') {
            out.beginItemContent();
            out.write(ChPair(word.c_str() + 1));
        } else if (word == "+" || word == "-") {
            out.setCompactMode(word == "+");
        } else {
            out.writeStrAttr(word.substr(0, equals).c_str(), word.substr(equals + 1), false);
        }
    }
}

std::string document(MLDocBase::Format form, const std::string& script, const char* eoln, int tabSize = INT_MAX) {
    Sink sink;
    MLDocOut out(form);
    out.setEOLN(eoln);
    if (tabSize != INT_MAX) out.setTabSize(tabSize);
    if (script[0] == '+') out.setCompactMode(true);
    out.begin(sink);
    play(out, script);
    out.end();
    EXPECT_EQ(1, sink.ends);
    return sink.text;
}

// The key of what a call throws, -1 if it throws nothing. The writer's messages carry no parameters.
int thrown(const std::function<void()>& call) {
    try {
        call();
    } catch (const TTT& message) {
        int dict = -1, id = -1;
        EXPECT_TRUE(message.getIds(&dict, &id));
        EXPECT_EQ(static_cast<int>(VELMORA_DICT), dict);
        EXPECT_TRUE(message.getData() == TTT(VELMORA_DICT, id).getData()) << "parameters behind the key";
        return id;
    }
    return -1;
}

// A refused call throws its key, writes nothing and changes no field.
void expectRefused(Doc& doc, int key, const std::function<void()>& call) {
    doc.sink.take();
    const MLDocOut before(doc.out);
    EXPECT_EQ(key, thrown(call));
    EXPECT_EQ("", doc.sink.text);
    EXPECT_EQ(before.depth, doc.out.depth);
    EXPECT_EQ(before.indent, doc.out.indent);
    EXPECT_EQ(before.state, doc.out.state);
    EXPECT_TRUE(ChPair(before.lastName).equal(ChPair(doc.out.lastName)));
}

struct DocRow {
    int line;
    const char* script;
    const char* plain[5];    // XML, JSON, YAML, HTML, CSV, without header
    const char* compact[2];  // XML and JSON; the other forms have no compact shape of their own
};

const DocRow kDocs[] = {
    {__LINE__,
     "<item >item",
     {"<item\n/>\n", "{\n  \"item\": {\n  }\n}\n", "item:\n", "<tr></tr>\n", "\n"},
     {"<item/>\n", "{ \"item\": { }\n}\n"}},
    {__LINE__,
     "<item a=1 b=2 <c >c >item",
     {"<item\n~a=\"1\"\n~b=\"2\">\n~<c\n~/>\n</item>\n",
      "{\n  \"item\": {\n    \"a\": \"1\",\n    \"b\": \"2\",\n    \"c\": [\n      {\n      }\n    ]\n  }\n}\n",
      "item:\n- a: 1\n  b: 2\n  c:\n", "<tr><td>1</td><td>2</td><tr></tr>\n</tr>\n", "\"1\",\"2\"\n\n"},
     {"<item a=\"1\" b=\"2\">\n~<c/>\n</item>\n",
      "{ \"item\": { \"a\": \"1\", \"b\": \"2\",\n    \"c\": [\n      { }\n    ]\n  }\n}\n"}},
    // Siblings of one name share an array, the next name ends it.
    {__LINE__,
     "<item <c x=1 >c <c x=2 >c <d >d >item",
     {"<item>\n~<c\n~~x=\"1\"\n~/>\n~<c\n~~x=\"2\"\n~/>\n~<d\n~/>\n</item>\n",
      "{\n  \"item\": {\n    \"c\": [\n      {\n        \"x\": \"1\"\n      },\n      {\n        \"x\": \"2\"\n      "
      "}\n"
      "    ],\n    \"d\": [\n      {\n      }\n    ]\n  }\n}\n",
      "item:\n- c:\n  - x: 1\n  - x: 2\n  d:\n", "<tr><tr><td>1</td></tr>\n<tr><td>2</td></tr>\n<tr></tr>\n</tr>\n",
      "\"1\"\n\"2\"\n\n\n"},
     {"<item>\n~<c x=\"1\"/>\n~<c x=\"2\"/>\n~<d/>\n</item>\n",
      "{ \"item\": { \"c\": [\n      { \"x\": \"1\" },\n      { \"x\": \"2\" }\n    ],\n    \"d\": [\n      { }\n    "
      "]\n"
      "  }\n}\n"}},
    // Four levels, and in CSV the separator of an item crosses into the nested one.
    {__LINE__,
     "<r <a k=1 <b <c v=2 >c >b >a <a >a >r",
     {"<r>\n~<a\n~~k=\"1\">\n~~<b>\n~~~<c\n~~~~v=\"2\"\n~~~/>\n~~</b>\n~</a>\n~<a\n~/>\n</r>\n",
      "{\n  \"r\": {\n    \"a\": [\n      {\n        \"k\": \"1\",\n        \"b\": [\n          {\n"
      "            \"c\": [\n              {\n                \"v\": \"2\"\n              }\n            ]\n"
      "          }\n        ]\n      },\n      {\n      }\n    ]\n  }\n}\n",
      "r:\n- a:\n  - k: 1\n    b:\n    - c:\n      - v: 2\n",
      "<tr><tr><td>1</td><tr><tr><td>2</td></tr>\n</tr>\n</tr>\n<tr></tr>\n</tr>\n", "\"1\",\"2\"\n\n\n\n\n"},
     {"<r>\n~<a k=\"1\">\n~~<b>\n~~~<c v=\"2\"/>\n~~</b>\n~</a>\n~<a/>\n</r>\n",
      "{ \"r\": { \"a\": [\n      { \"k\": \"1\",\n        \"b\": [\n          { \"c\": [\n              { \"v\": "
      "\"2\" }\n"
      "            ]\n          }\n        ]\n      },\n      { }\n    ]\n  }\n}\n"}},
    // The closing name is not compared with the opening one; it is what the next sibling is compared with.
    {__LINE__,
     "<r <a >z <z >a <a >q >other",
     {"<r>\n~<a\n~/>\n~<z\n~/>\n~<a\n~/>\n</other>\n",
      "{\n  \"r\": {\n    \"a\": [\n      {\n      },\n      {\n      },\n      {\n      }\n    ]\n  }\n}\n",
      "r:\n- a:\n", "<tr><tr></tr>\n<tr></tr>\n<tr></tr>\n</tr>\n", "\n\n\n\n"},
     {"<r>\n~<a/>\n~<z/>\n~<a/>\n</other>\n",
      "{ \"r\": { \"a\": [\n      { },\n      { },\n      { }\n    ]\n  }\n}\n"}},
    // Names differ by case and by length; a name that comes back opens a second array.
    {__LINE__,
     "<r <c >c <C >C <CC >CC <c >c >r",
     {"<r>\n~<c\n~/>\n~<C\n~/>\n~<CC\n~/>\n~<c\n~/>\n</r>\n",
      "{\n  \"r\": {\n    \"c\": [\n      {\n      }\n    ],\n    \"C\": [\n      {\n      }\n    ],\n    \"CC\": [\n"
      "      {\n      }\n    ],\n    \"c\": [\n      {\n      }\n    ]\n  }\n}\n",
      "r:\n- c:\n  C:\n  CC:\n  c:\n", "<tr><tr></tr>\n<tr></tr>\n<tr></tr>\n<tr></tr>\n</tr>\n", "\n\n\n\n\n"},
     {"<r>\n~<c/>\n~<C/>\n~<CC/>\n~<c/>\n</r>\n",
      "{ \"r\": { \"c\": [\n      { }\n    ],\n    \"C\": [\n      { }\n    ],\n    \"CC\": [\n      { }\n    ],\n"
      "    \"c\": [\n      { }\n    ]\n  }\n}\n"}},
    // The name closed inside a child is not a sibling of what follows that child, nor is the parent's own name.
    {__LINE__,
     "<b <a <b y=2 >b >a <b y=3 >b >b",
     {"<b>\n~<a>\n~~<b\n~~~y=\"2\"\n~~/>\n~</a>\n~<b\n~~y=\"3\"\n~/>\n</b>\n",
      "{\n  \"b\": {\n    \"a\": [\n      {\n        \"b\": [\n          {\n            \"y\": \"2\"\n          }\n"
      "        ]\n      }\n    ],\n    \"b\": [\n      {\n        \"y\": \"3\"\n      }\n    ]\n  }\n}\n",
      "b:\n- a:\n  - b:\n    - y: 2\n  b:\n  - y: 3\n",
      "<tr><tr><tr><td>2</td></tr>\n</tr>\n<tr><td>3</td></tr>\n</tr>\n", "\"2\"\n\n\"3\"\n\n"},
     {"<b>\n~<a>\n~~<b y=\"2\"/>\n~</a>\n~<b y=\"3\"/>\n</b>\n",
      "{ \"b\": { \"a\": [\n      { \"b\": [\n          { \"y\": \"2\" }\n        ]\n      }\n    ],\n    \"b\": [\n"
      "      { \"y\": \"3\" }\n    ]\n  }\n}\n"}},
    // A second root follows without a separator; the row forms are made for it.
    {__LINE__,
     "<r a=1 >r <r a=2 >r",
     {"<r\n~a=\"1\"\n/>\n<r\n~a=\"2\"\n/>\n",
      "{\n  \"r\": {\n    \"a\": \"1\"\n  }  \"r\": {\n    \"a\": \"2\"\n  }\n}\n", "r:\n- a: 1\nr:\n- a: 2\n",
      "<tr><td>1</td></tr>\n<tr><td>2</td></tr>\n", "\"1\"\n\"2\"\n"},
     {"<r a=\"1\"/>\n<r a=\"2\"/>\n", "{ \"r\": { \"a\": \"1\" } \"r\": { \"a\": \"2\" }\n}\n"}},
};

TEST(MLDocOutItems, AreTheseBytesInEveryForm) {
    const char* const headers[5] = {"\n", "", "---\n", "", ""};
    for (const DocRow& row : kDocs) {
        for (int form = 0; form < 5; ++form) {
            for (const char* eoln : {"\r\n", "\n", ""}) {
                SCOPED_TRACE(testing::Message() << "line " << row.line << ' ' << kFormNames[form]);
                const std::string header = (form ? "" : kHeader) + lines(headers[form], eoln);
                const char* rowEnd = form < 3 ? eoln : "\r\n";  // rows end in CR LF whatever is set
                EXPECT_EQ(header + lines(row.plain[form], rowEnd), document(kForms[form], row.script, eoln));
                EXPECT_EQ(header + lines(form < 2 ? row.compact[form] : row.plain[form], rowEnd),
                          document(kForms[form], std::string("+ ") + row.script, eoln));
            }
        }
    }
}

TEST(MLDocOutItems, TakeTheirIndentFromTabSize) {
    struct Row {
        int line;
        int form;
        int tabSize;
        const char* script;
        const char* expected;
    };
    const char* const tree = "<r a=1 b=2 <c x=3 >c >r";
    const char* const compactTree = "+ <r a=1 b=2 <c x=3 >c >r";
    const Row rows[] = {
        {__LINE__, 0, 2, tree, "\n<r\n  a=\"1\"\n  b=\"2\">\n  <c\n    x=\"3\"\n  />\n</r>\n"},
        {__LINE__, 0, 1, tree, "\n<r\n a=\"1\"\n b=\"2\">\n <c\n  x=\"3\"\n />\n</r>\n"},
        {__LINE__, 0, -7, tree, "\n<r\n~a=\"1\"\n~b=\"2\">\n~<c\n~~x=\"3\"\n~/>\n</r>\n"},
        {__LINE__, 1, 0, tree,
         "{\n~\"r\": {\n~~\"a\": \"1\",\n~~\"b\": \"2\",\n~~\"c\": [\n~~~{\n~~~~\"x\": \"3\"\n~~~}\n~~]\n"
         "~}\n}\n"},
        {__LINE__, 1, 1, tree,
         "{\n \"r\": {\n  \"a\": \"1\",\n  \"b\": \"2\",\n  \"c\": [\n   {\n    \"x\": \"3\"\n   }\n  ]\n"
         " }\n}\n"},
        {__LINE__, 1, 1, compactTree,
         "{\"r\": {\"a\": \"1\", \"b\": \"2\",\n  \"c\": [\n   {\"x\": \"3\"}\n  ]\n }\n}\n"},
        {__LINE__, 1, 4, compactTree,
         "{   \"r\": {   \"a\": \"1\", \"b\": \"2\",\n        \"c\": [\n            {   \"x\": \"3\""
         "   }\n        ]\n    }\n}\n"},
        // The blank behind the comma is the first byte of the buffer, and later tabs go behind it.
        {__LINE__, 1, 0, compactTree,
         "{\"r\": {\"a\": \"1\", \"b\": \"2\",\n ~\"c\": [\n ~~{\"x\": \"3\"}\n ~]\n }\n}\n"},
        {__LINE__, 1, -3, compactTree,
         "{\"r\": {\"a\": \"1\", \"b\": \"2\",\n ~\"c\": [\n ~~{\"x\": \"3\"}\n ~]\n }\n}\n"},
        // The other way round: a buffer of tabs makes the blank a tab.
        {__LINE__, 1, 0, "<r a=1 + b=2 >r", "{\n~\"r\": {\n~~\"a\": \"1\",~\"b\": \"2\"}\n}\n"},
        {__LINE__, 2, 0, tree, "---\nr:\n- a: 1\n~b: 2\n~c:\n- x: 3\n"},
        {__LINE__, 2, 1, tree, "---\nr:\n- a: 1\n b: 2\n c:\n- x: 3\n"},
        {__LINE__, 2, 3, tree, "---\nr:\n - a: 1\n   b: 2\n   c:\n    - x: 3\n"},
        {__LINE__, 2, 4, "<r <c <d >d >c >r", "---\nr:\n  - c:\n      - d:\n"},
        {__LINE__, 3, 5, tree, "<tr><td>1</td><td>2</td><tr><td>3</td></tr>\n</tr>\n"},
        {__LINE__, 4, 5, tree, "\"1\",\"2\",\"3\"\n\n"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << "line " << row.line);
        EXPECT_EQ((row.form ? "" : kHeader) + lines(row.expected),
                  document(kForms[row.form], row.script, "\r\n", row.tabSize));
    }
}

TEST(MLDocOutItems, FollowTheCompactModeOfTheMoment) {
    EXPECT_EQ(kHeader + lines("\n<r\n~a=\"1\" b=\"2\"\n~c=\"3\"\n/>\n"),
              document(MLDocBase::XML, "<r a=1 + b=2 - c=3 >r", "\r\n"));
    EXPECT_EQ(kHeader + lines("\n<r a=\"1\">\n~<c\n~/>\n~<d/>\n</r>\n"),
              document(MLDocBase::XML, "+ <r a=1 - <c >c + <d >d >r", "\r\n"));
    EXPECT_EQ(lines("{\n  \"r\": { \"a\": \"1\",\n    \"b\": \"2\", \"c\": \"3\"\n  }\n}\n"),
              document(MLDocBase::JSON, "<r + a=1 - b=2 + c=3 - >r", "\r\n"));
    EXPECT_EQ(lines("{ \"r\": {\n    \"c\": [\n      { }\n    ]\n  }\n}\n"),
              document(MLDocBase::JSON, "+ <r - <c + >c >r", "\r\n"));
}

TEST(MLDocOutItems, XmlContentStandsWithoutBreaks) {
    struct Row {
        int line;
        const char* script;
        const char* expected;
    };
    const Row rows[] = {
        {__LINE__, "<item .text >item", "\n<item>text</item>\n"},
        {__LINE__, "<item . >item", "\n<item></item>\n"},
        {__LINE__, "<item .one .two >item", "\n<item>onetwo</item>\n"},
        {__LINE__, "<item a=1 .text >item", "\n<item\n~a=\"1\">text</item>\n"},
        {__LINE__, "+ <item a=1 .text >item", "\n<item a=\"1\">text</item>\n"},
        {__LINE__, "<r <b .x >b <c >c >r", "\n<r>\n~<b>x</b>\n~<c\n~/>\n</r>\n"},
        {__LINE__, "<r <b <c .x >c >b >r", "\n<r>\n~<b>\n~~<c>x</c>\n~</b>\n</r>\n"},
        // Behind a child the start tag is closed already, so only the end tag changes.
        {__LINE__, "<r <c >c .x >r", "\n<r>\n~<c\n~/>\nx</r>\n"},
        {__LINE__, "+ <r <c >c .x >r", "\n<r>\n~<c/>\nx</r>\n"},
        {__LINE__, "<r .<raw&\" >other", "\n<r><raw&\"</other>\n"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << "line " << row.line);
        EXPECT_EQ(kHeader + lines(row.expected), document(MLDocBase::XML, row.script, "\r\n"));
    }
    Doc doc(MLDocBase::XML);
    play(doc.out, "<r .");
    doc.out.writeEscaped("a<'b'>&\"");
    doc.out.endItem("r");
    EXPECT_EQ("<r>a&lt;&apos;b&apos;&gt;&amp;&quot;</r>\r\n", doc.sink.text);
}

TEST(MLDocOutItems, KeepTheseFieldsAfterEachCall) {
    struct Step {
        int line;
        const char* script;
        int depth;
        int indent[5];
        int state[5];
        const char* lastName;  // in JSON and YAML
    };
    const Step steps[] = {
        {__LINE__, "", 0, {0, 1, 0, 0, 0}, {0, 0, 0, 0, 0}, ""},
        {__LINE__, "<r", 1, {1, 2, 1, 0, 0}, {0x0A, 0x08, 0x08, 0x08, 0x08}, ""},
        {__LINE__, "a=1", 1, {1, 2, 1, 0, 0}, {0x0A, 0x18, 0x18, 0x08, 0x18}, ""},
        {__LINE__, "<c", 2, {2, 4, 2, 0, 0}, {0x0A, 0x08, 0x08, 0x08, 0x18}, ""},
        {__LINE__, ">c", 1, {1, 3, 1, 0, 0}, {0, 0x10, 0x10, 0, 0}, "c"},
        {__LINE__, "<c", 2, {2, 4, 2, 0, 0}, {0x0A, 0x08, 0x08, 0x08, 0x08}, ""},
        {__LINE__, ">c", 1, {1, 3, 1, 0, 0}, {0, 0x10, 0x10, 0, 0}, "c"},
        {__LINE__, "<d", 2, {2, 4, 2, 0, 0}, {0x0A, 0x08, 0x08, 0x08, 0x08}, ""},
        {__LINE__, ">x", 1, {1, 3, 1, 0, 0}, {0, 0x10, 0x10, 0, 0}, "x"},
        {__LINE__, ">r", 0, {0, 1, 0, 0, 0}, {0, 0x10, 0x10, 0, 0}, "r"},
    };
    for (int form = 0; form < 5; ++form) {
        for (int compact = 0; compact < 2; ++compact) {
            Doc doc(kForms[form], compact != 0);
            for (const Step& step : steps) {
                SCOPED_TRACE(testing::Message() << "line " << step.line << ' ' << kFormNames[form] << ' ' << compact);
                play(doc.out, step.script);
                EXPECT_EQ(step.depth, doc.out.depth);
                EXPECT_EQ(step.depth == 0, doc.out.isRoot());
                EXPECT_EQ(step.indent[form], doc.out.indent);
                EXPECT_EQ(step.state[form] | compact, doc.out.state);
                const bool named = form == 1 || form == 2;
                EXPECT_TRUE(ChPair(doc.out.lastName).equal(named ? step.lastName : ""));
            }
        }
    }
    Doc content(MLDocBase::XML);
    play(content.out, "<r .");
    EXPECT_EQ(MLDocOut::InContent, content.out.state);
    EXPECT_EQ(1, content.out.depth);
    play(content.out, ">r");
    EXPECT_EQ(0, content.out.state);
}

// Its array stays, so that a document of any length allocates for its longest name alone.
TEST(MLDocOutItems, JsonTailEmptiesTheName) {
    Doc doc(MLDocBase::JSON);
    play(doc.out, "<r <c >c");
    EXPECT_EQ(1, doc.out.lastName.count);
    play(doc.out, "<c");
    EXPECT_EQ(0, doc.out.lastName.count);
}

// The name may be the remembered one itself.
TEST(MLDocOutItems, TakeTheRememberedNameAsTheirs) {
    Doc json(MLDocBase::JSON), yaml(MLDocBase::YAML);
    for (Doc* doc : {&json, &yaml}) {
        play(doc->out, "<r <child >child");
        doc->sink.take();
        doc->out.beginItem(doc->out.lastName.data);
        EXPECT_EQ(0, doc->out.lastName.count);
        play(doc->out, "<grandchild >grandchild");
        doc->out.endItem(doc->out.lastName.data);
        EXPECT_TRUE(ChPair(doc->out.lastName).equal("grandchild"));
        play(doc->out, "<grandchild >grandchild");
    }
    EXPECT_EQ(
        lines(",\n      {\n        \"grandchild\": [\n          {\n          }\n        ]\n      },\n      {\n      }"),
        json.sink.text);
    EXPECT_EQ("  - grandchild:\r\n", yaml.sink.text);
}

TEST(MLDocOutItems, JsonSiblingsTakeTheirCommaFromTheState) {
    Doc same(MLDocBase::JSON), other(MLDocBase::JSON);
    for (Doc* doc : {&same, &other}) {
        play(doc->out, "<r <c >c");
        doc->sink.take();
        doc->out.state &= ~MLDocOut::NeedSeparator;
    }
    play(same.out, "<c");
    EXPECT_EQ("\r\n      {", same.sink.text);
    play(other.out, "<d");  // the comma behind the bracket is always there
    EXPECT_EQ("\r\n    ],\r\n    \"d\": [\r\n      {", other.sink.text);
}

TEST(MLDocOutItems, RefuseEmptyNames) {
    for (int form = 0; form < 5; ++form) {
        for (const char* script : {"", "<r", "<r a=1", "<r <c >c", "<r a=1 >r"}) {
            SCOPED_TRACE(testing::Message() << kFormNames[form] << " behind " << script);
            Doc doc(kForms[form]);
            play(doc.out, script);
            for (const char* name : {static_cast<const char*>(nullptr), ""}) {
                expectRefused(doc, LCA__Empty_token_name, [&] { doc.out.beginItem(name); });
                expectRefused(doc, LCA__Empty_token_name, [&] { doc.out.endItem(name); });
            }
        }
    }
    Doc doc(MLDocBase::XML);  // the name is looked at before the content
    play(doc.out, "<r .x");
    expectRefused(doc, LCA__Empty_token_name, [&] { doc.out.beginItem(""); });
    expectRefused(doc, LCA__Empty_token_name, [&] { doc.out.endItem(""); });
}

TEST(MLDocOutItems, RefuseContentWhereItCannotStand) {
    for (int form = 1; form < 5; ++form) {
        for (const char* script : {"", "<r", "<r a=1", "<r <c >c"}) {
            SCOPED_TRACE(testing::Message() << kFormNames[form] << " behind " << script);
            Doc doc(kForms[form]);
            play(doc.out, script);
            expectRefused(doc, LCA__Cannot_write_content_for_non, [&] { doc.out.beginItemContent(); });
        }
    }
    for (const char* script : {"<r .", "<r .x", "<r a=1 .x", "<r <c >c .x", "."}) {
        SCOPED_TRACE(testing::Message() << "XML behind " << script);
        Doc doc(MLDocBase::XML);
        play(doc.out, script);
        expectRefused(doc, LCA__Attempt_start_nested_token, [&] { doc.out.beginItem("c"); });
    }
}

TEST(MLDocOutItems, RefuseAttributesOutsideTheHead) {
    for (int form = 0; form < 5; ++form) {
        for (const char* script : {"", "<r <c >c", "<r a=1 <c b=2 >c", "<r >r", "<r .x"}) {
            if (form && std::strchr(script, '.')) continue;
            SCOPED_TRACE(testing::Message() << kFormNames[form] << " behind " << script);
            static PairTag tags[] = {{"one", 1}, {}};
            Doc doc(kForms[form]);
            MLDocOut& out = doc.out;
            play(out, script);
            const int key = LCA__Could_not_write_attribute;
            expectRefused(doc, key, [&] { out.writeAttrName("a"); });
            expectRefused(doc, key, [&] { out.writeSimpleAttr("a", "v"); });
            expectRefused(doc, key, [&] { out.writeSimplestAttr("a", "v"); });
            expectRefused(doc, key, [&] { out.writeEmptyAttr("a"); });
            expectRefused(doc, key, [&] { out.writeStrAttr("a", "v", true); });
            expectRefused(doc, key, [&] { out.writeStrAttr("a", "", false); });
            expectRefused(doc, key, [&] { out.writeIntAttr("a", 0, false); });
            expectRefused(doc, key, [&] { out.writeBoolAttr("a", false); });
            expectRefused(doc, key, [&] { out.writeDateAttr("a", std::int64_t{-1}, true); });
            expectRefused(doc, key, [&] { out.writeEnumAttr("a", 1, tags); });
            expectRefused(doc, key, [&] { out.writeFlagsAttr("a", 0, tags); });
            expectRefused(doc, key, [&] { out.writeStrAttr("a", TTT("text")); });
            expectRefused(doc, key, [&] { out.writeFormatAttr("a", "%d", 1); });
            // What is left out is not checked either; a row form leaves nothing out.
            const int skipped = form < 3 ? -1 : key;
            expectRefused(doc, skipped, [&] { out.writeStrAttr("a", "", true); });
            expectRefused(doc, skipped, [&] { out.writeIntAttr("a", 0, true); });
            expectRefused(doc, skipped, [&] { out.writeUIntAttr("a", 0, true); });
            expectRefused(doc, skipped, [&] { out.writeInt64Attr("a", 0, true); });
            expectRefused(doc, skipped, [&] { out.writeUInt64Attr("a", 0, true); });
            expectRefused(doc, skipped, [&] { out.writeDoubleAttr("a", 0, true); });
            expectRefused(doc, skipped, [&] { out.writeHexAttr("a", 0, true); });
            expectRefused(doc, skipped, [&] { out.writeIPAttr("a", 0, true); });
            expectRefused(doc, skipped, [&] { out.writeIPPortAttr("a", 0, 80, true); });
            expectRefused(doc, skipped, [&] { out.writeDateAttr("a", std::int64_t{0}, true); });
            expectRefused(doc, skipped, [&] { out.writeDateAttr("a", BagTime(0), true); });
            expectRefused(doc, -1, [&] { out.writeEnumAttr("a", 2, tags); });
            expectRefused(doc, -1, [&] { out.writeStrAttr("a", TTT()); });
        }
    }
}

TEST(MLDocOutItems, EndRefusesWhatIsNotBalanced) {
    for (int form = 0; form < 5; ++form) {
        SCOPED_TRACE(kFormNames[form]);
        Doc doc(kForms[form]);
        play(doc.out, "<r");
        expectRefused(doc, LCA__Not_enough_closing_tags, [&] { doc.out.end(); });
        play(doc.out, ">r >r");
        EXPECT_EQ(-1, doc.out.depth);  // nothing counts the closings
        expectRefused(doc, LCA__Not_enough_closing_tags, [&] { doc.out.end(); });
        EXPECT_EQ(0, doc.sink.ends);
    }
    Doc xml(MLDocBase::XML), html(MLDocBase::HTML), csv(MLDocBase::CSV), json(MLDocBase::JSON);
    for (Doc* doc : {&xml, &html, &csv, &json}) doc->out.endItem("r");
    EXPECT_EQ("</r>\r\n", xml.sink.text);
    EXPECT_EQ(-1, xml.out.indent);
    EXPECT_EQ("</tr>\r\n", html.sink.text);
    EXPECT_EQ("\r\n", csv.sink.text);
    EXPECT_EQ("\r\n}", json.sink.text);
}

TEST(MLDocOutItems, SecondJsonDocumentSeesTheLastRootsName) {
    Doc doc(MLDocBase::JSON);
    play(doc.out, "<r >r");
    doc.out.end();
    doc.sink.take();
    doc.out.begin(doc.sink);
    doc.out.end();
    EXPECT_EQ("{\r\n\r\n}\r\n", doc.sink.take());
    doc.out.begin(doc.sink);
    play(doc.out, "<r >r");
    doc.out.end();
    EXPECT_EQ("{\r\n  \"r\": {\r\n  }\r\n}\r\n", doc.sink.take());
}

// Names go out as they stand, and those that go through writef are cut with what stands around them.
TEST(MLDocOutNames, AreNotInterpreted) {
    const char* const name = "%s %n\"<";
    const std::string text(name);
    const std::string items[5] = {"<" + text + "\r\n/>\r\n", "  \"" + text + "\": {\r\n  }", text + ":\r\n",
                                  "<tr></tr>\r\n", "\r\n"};
    const std::string attributes[5] = {"\r\n\t" + text + "=\"1\"", "\r\n    \"" + text + "\": \"1\"",
                                       "- " + text + ": 1\r\n", "<td>1</td>", "\"1\""};
    for (int form = 0; form < 5; ++form) {
        SCOPED_TRACE(kFormNames[form]);
        Doc doc(kForms[form]);
        doc.out.beginItem(name);
        doc.out.endItem(name);
        EXPECT_EQ(items[form], doc.sink.take());
        doc.out.beginItem("r");
        doc.sink.take();
        doc.out.writeStrAttr(name, "1");
        EXPECT_EQ(attributes[form], doc.sink.text);
    }
}

TEST(MLDocOutNames, AreCutWithWhatStandsAroundThem) {
    for (int length : {4000, 4088, 4089, 4090, 4091, 4092, 4093, 4094, 4095, 4096, 4097, 4098, 6000}) {
        SCOPED_TRACE(length);
        const std::string name(static_cast<std::size_t>(length), 'n');
        const auto cut = [](const std::string& text) { return text.substr(0, 4096); };
        Doc xml(MLDocBase::XML), json(MLDocBase::JSON), yaml(MLDocBase::YAML);
        const char* s = name.c_str();

        xml.out.beginItem(s);
        EXPECT_EQ("<" + name, xml.sink.take());
        xml.out.writeAttrName(s);
        EXPECT_EQ("\r\n\t" + cut(name + "="), xml.sink.take());
        xml.out.beginItemContent();
        xml.sink.take();
        xml.out.endItem(s);
        EXPECT_EQ(cut("</" + name + ">\r\n"), xml.sink.take());

        json.out.beginItem(s);
        EXPECT_EQ("  " + cut("\"" + name + "\": ") + "{", json.sink.take());
        json.out.writeAttrName(s);
        EXPECT_EQ("\r\n    " + cut("\"" + name + "\": "), json.sink.take());
        json.out.beginItem(s);
        const std::string array = cut("\"" + name + "\": [\r\n") + "      {";
        EXPECT_EQ(",\r\n    " + array, json.sink.take());
        json.out.endItem(s);
        json.sink.take();
        json.out.beginItem(s);  // what is remembered is not cut
        EXPECT_EQ(",\r\n      {", json.sink.take());
        json.out.endItem("c");
        json.sink.take();
        json.out.beginItem(s);
        EXPECT_EQ("\r\n    ],\r\n    " + array, json.sink.take());
        json.out.endItem((name + "x").c_str());
        json.sink.take();
        json.out.beginItem(s);
        EXPECT_EQ("\r\n    ],\r\n    " + array, json.sink.take());

        yaml.out.beginItem(s);
        EXPECT_EQ(cut(name + ":\r\n"), yaml.sink.take());
        yaml.out.writeAttrName(s);
        EXPECT_EQ("- " + cut(name + ": "), yaml.sink.take());
        yaml.out.beginItem(s);
        EXPECT_EQ("  " + cut(name + ":\r\n"), yaml.sink.take());
        yaml.out.beginItem(s);
        EXPECT_EQ("  - " + cut(name + ":\r\n"), yaml.sink.take());
    }
}

TEST(MLDocOutNames, StandBetweenTheirSeparators) {
    struct Row {
        int line;
        int form;
        bool compact;
        int tabSize;
        const char* first;
        const char* second;
    };
    const Row rows[] = {
        {__LINE__, 0, false, 0, "\n~a=", "\n~b="},
        {__LINE__, 0, true, 0, " a=", " b="},
        {__LINE__, 0, false, 3, "\n   a=", "\n   b="},
        {__LINE__, 0, true, 3, " a=", " b="},
        {__LINE__, 1, false, 2, "\n    \"a\": ", ",\n    \"b\": "},
        {__LINE__, 1, true, 2, " \"a\": ", ", \"b\": "},
        {__LINE__, 1, false, 0, "\n~~\"a\": ", ",\n~~\"b\": "},
        {__LINE__, 1, true, 0, "\"a\": ", ", \"b\": "},
        {__LINE__, 1, true, 1, "\"a\": ", ", \"b\": "},
        {__LINE__, 1, true, 5, "    \"a\": ", ", \"b\": "},
        {__LINE__, 2, false, 2, "- a: ", "  b: "},
        {__LINE__, 2, true, 2, "- a: ", "  b: "},
        {__LINE__, 2, false, 5, "   - a: ", "     b: "},
        {__LINE__, 2, true, 0, "- a: ", "~b: "},
        {__LINE__, 3, false, 2, "", ""},
        {__LINE__, 3, true, 2, "", ""},
        {__LINE__, 4, false, 2, "", ","},
        {__LINE__, 4, true, 2, "", ","},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << "line " << row.line);
        Doc doc(kForms[row.form], row.compact);
        doc.out.setTabSize(row.tabSize);
        doc.out.beginItem("r");
        doc.sink.take();
        doc.out.writeAttrName("a");
        EXPECT_EQ(lines(row.first), doc.sink.take());
        doc.out.writeAttrName("b");
        EXPECT_EQ(lines(row.second), doc.sink.take());
        doc.out.writeAttrName("b");
        EXPECT_EQ(lines(row.second), doc.sink.take());
    }
}

// The value of each writer, in the order XML, JSON, YAML, HTML, CSV. Null: not even the name is written.
struct ValueRow {
    int line;
    void (*write)(MLDocOut& out);
    const char* expected[5];
};

void expectValues(const ValueRow* rows, std::size_t count) {
    for (const ValueRow* row = rows; row != rows + count; ++row) {
        for (int form = 0; form < 5; ++form) {
            SCOPED_TRACE(testing::Message() << "line " << row->line << ' ' << kFormNames[form]);
            const char* const names[2][5] = {{" a=", " \"a\": ", "- a: ", "", ""},
                                             {" a=", ", \"a\": ", "  a: ", "", ","}};
            Doc doc(kForms[form], true);
            doc.out.beginItem("r");
            for (int second = 0; second < 2; ++second) {
                const int state = doc.out.state;
                doc.sink.take();
                row->write(doc.out);
                const char* value = row->expected[form];
                EXPECT_EQ(value ? std::string(names[second][form]) + value + (form == 2 ? "\r\n" : "") : std::string(),
                          doc.sink.text);
                const bool separates = value && form != 0 && form != 3;
                EXPECT_EQ(separates ? state | MLDocOut::NeedSeparator : state, doc.out.state);
                if (!second && !value) doc.out.writeAttrName("first");
            }
        }
    }
}

#define W(call) [](MLDocOut& out) { out.call; }

TEST(MLDocOutValues, OfTheFourValueWriters) {
    const ValueRow rows[] = {
        {__LINE__, W(writeSimpleAttr("a", "v")), {"\"v\"", "\"v\"", "v", "<td>v</td>", "v"}},
        {__LINE__, W(writeSimpleAttr("a", ChPair())), {"\"\"", "\"\"", "''", "<td></td>", ""}},
        {__LINE__,
         W(writeSimpleAttr("a", "<\"-\\ ")),
         {"\"<\"-\\ \"", "\"<\"-\\ \"", "<\"-\\ ", "<td><\"-\\ </td>", "<\"-\\ "}},
        {__LINE__, W(writeSimpleAttr("a", ChPair("view", 2))), {"\"vi\"", "\"vi\"", "vi", "<td>vi</td>", "vi"}},
        {__LINE__, W(writeSimplestAttr("a", "v")), {"\"v\"", "v", "v", "<td>v</td>", "v"}},
        {__LINE__, W(writeSimplestAttr("a", ChPair())), {"\"\"", "", "", "<td></td>", ""}},
        {__LINE__, W(writeSimplestAttr("a", "<\"%s")), {"\"<\"%s\"", "<\"%s", "<\"%s", "<td><\"%s</td>", "<\"%s"}},
        {__LINE__, W(writeEmptyAttr("a")), {"\"\"", "\"\"", "''", "<td></td>", ""}},
        {__LINE__, W(writeStrAttr("a", "v", false)), {"\"v\"", "\"v\"", "v", "<td>v</td>", "\"v\""}},
        {__LINE__, W(writeStrAttr("a", "v", true)), {"\"v\"", "\"v\"", "v", "<td>v</td>", "\"v\""}},
        {__LINE__, W(writeStrAttr("a", "", false)), {"\"\"", "\"\"", "''", "<td></td>", "\"\""}},
        {__LINE__, W(writeStrAttr("a", "", true)), {nullptr, nullptr, nullptr, "<td></td>", "\"\""}},
        {__LINE__,
         W(writeStrAttr("a", static_cast<const char*>(nullptr), false)),
         {"\"\"", "\"\"", "''", "<td></td>", "\"\""}},
        {__LINE__,
         W(writeStrAttr("a", static_cast<const char*>(nullptr), true)),
         {nullptr, nullptr, nullptr, "<td></td>", "\"\""}},
        {__LINE__, W(writeStrAttr("a", ChPair(), true)), {nullptr, nullptr, nullptr, "<td></td>", "\"\""}},
        {__LINE__,
         W(writeStrAttr("a", ChPair("view", 3), true)),
         {"\"vie\"", "\"vie\"", "vie", "<td>vie</td>", "\"vie\""}},
        {__LINE__, W(writeStrAttr("a", ChArr(), true)), {nullptr, nullptr, nullptr, "<td></td>", "\"\""}},
        {__LINE__, W(writeStrAttr("a", ChArr("v"), true)), {"\"v\"", "\"v\"", "v", "<td>v</td>", "\"v\""}},
        {__LINE__, W(writeStrAttr("a", std::string(), true)), {nullptr, nullptr, nullptr, "<td></td>", "\"\""}},
        {__LINE__, W(writeStrAttr("a", std::string("v"), true)), {"\"v\"", "\"v\"", "v", "<td>v</td>", "\"v\""}},
        {__LINE__, W(writeStrAttr("a", CharVector(), true)), {nullptr, nullptr, nullptr, "<td></td>", "\"\""}},
        {__LINE__, W(writeStrAttr("a", CharVector("v"), true)), {"\"v\"", "\"v\"", "v", "<td>v</td>", "\"v\""}},
        {__LINE__,
         W(writeStrAttr("a", "<a b='1'>&\"\\\n")),
         {"\"&lt;a b=&apos;1&apos;&gt;&amp;&quot;\\\n\"", "\"<a b='1'>&\\\"\\\\\\n\"", "\"<a b='1'>&\\\"\\\\\\n\"",
          "<td>&lt;a b=&apos;1&apos;&gt;&amp;&quot;\\\n</td>", "\"<a b='1'>&\\\"\\\\\\n\""}},
        {__LINE__,
         W(writeStrAttr("a", "\b\t\n\f\r")),
         {"\"\b\t\n\f\r\"", "\"\\b\\t\\n\\f\\r\"", "\"\\b\\t\\n\\f\\r\"", "<td>\b\t\n\f\r</td>",
          "\"\\b\\t\\n\\f\\r\""}},
        {__LINE__, W(writeStrAttr("a", "%d,%s")), {"\"%d,%s\"", "\"%d,%s\"", "'%d,%s'", "<td>%d,%s</td>", "\"%d,%s\""}},
        {__LINE__,
         W(writeStrAttr("a", "\xC3\xA9")),
         {"\"\xC3\xA9\"", "\"\xC3\xA9\"", "\xC3\xA9", "<td>\xC3\xA9</td>", "\"\xC3\xA9\""}},
    };
    expectValues(rows, std::size(rows));
}

TEST(MLDocOutValues, OfNumbers) {
    const ValueRow rows[] = {
        {__LINE__, W(writeIntAttr("a", -5, true)), {"\"-5\"", "-5", "-5", "<td>-5</td>", "-5"}},
        {__LINE__, W(writeIntAttr("a", 0, false)), {"\"0\"", "0", "0", "<td>0</td>", "0"}},
        {__LINE__, W(writeIntAttr("a", 0, true)), {nullptr, nullptr, nullptr, "<td>0</td>", "0"}},
        {__LINE__,
         W(writeIntAttr("a", INT_MIN, true)),
         {"\"-2147483648\"", "-2147483648", "-2147483648", "<td>-2147483648</td>", "-2147483648"}},
        {__LINE__,
         W(writeUIntAttr("a", UINT_MAX, true)),
         {"\"4294967295\"", "4294967295", "4294967295", "<td>4294967295</td>", "4294967295"}},
        {__LINE__, W(writeUIntAttr("a", 0, false)), {"\"0\"", "0", "0", "<td>0</td>", "0"}},
        {__LINE__, W(writeUIntAttr("a", 0, true)), {nullptr, nullptr, nullptr, "<td>0</td>", "0"}},
        {__LINE__,
         W(writeInt64Attr("a", INT64_MIN, true)),
         {"\"-9223372036854775808\"", "-9223372036854775808", "-9223372036854775808", "<td>-9223372036854775808</td>",
          "-9223372036854775808"}},
        // The low half is zero, the value is not.
        {__LINE__,
         W(writeInt64Attr("a", std::int64_t{1} << 32, true)),
         {"\"4294967296\"", "4294967296", "4294967296", "<td>4294967296</td>", "4294967296"}},
        {__LINE__, W(writeInt64Attr("a", 0, false)), {"\"0\"", "0", "0", "<td>0</td>", "0"}},
        {__LINE__, W(writeInt64Attr("a", 0, true)), {nullptr, nullptr, nullptr, "<td>0</td>", "0"}},
        {__LINE__,
         W(writeUInt64Attr("a", UINT64_MAX, true)),
         {"\"18446744073709551615\"", "18446744073709551615", "18446744073709551615", "<td>18446744073709551615</td>",
          "18446744073709551615"}},
        {__LINE__, W(writeUInt64Attr("a", 0, false)), {"\"0\"", "0", "0", "<td>0</td>", "0"}},
        {__LINE__, W(writeUInt64Attr("a", 0, true)), {nullptr, nullptr, nullptr, "<td>0</td>", "0"}},
        {__LINE__,
         W(writeDoubleAttr("a", -1.5, true)),
         {"\"-1.500000\"", "-1.500000", "-1.500000", "<td>-1.500000</td>", "-1.500000"}},
        {__LINE__,
         W(writeDoubleAttr("a", 1e-9, true)),
         {"\"0.000000\"", "0.000000", "0.000000", "<td>0.000000</td>", "0.000000"}},
        {__LINE__,
         W(writeDoubleAttr("a", 0, false)),
         {"\"0.000000\"", "0.000000", "0.000000", "<td>0.000000</td>", "0.000000"}},
        {__LINE__, W(writeDoubleAttr("a", 0, true)), {nullptr, nullptr, nullptr, "<td>0.000000</td>", "0.000000"}},
        {__LINE__, W(writeBoolAttr("a", true)), {"\"true\"", "true", "true", "<td>true</td>", "true"}},
        {__LINE__, W(writeBoolAttr("a", false)), {"\"false\"", "false", "false", "<td>false</td>", "false"}},
        {__LINE__, W(writeHexAttr("a", 255, true)), {"\"0xFF\"", "\"0xFF\"", "0xFF", "<td>0xFF</td>", "0xFF"}},
        {__LINE__,
         W(writeHexAttr("a", UINT_MAX, true)),
         {"\"0xFFFFFFFF\"", "\"0xFFFFFFFF\"", "0xFFFFFFFF", "<td>0xFFFFFFFF</td>", "0xFFFFFFFF"}},
        {__LINE__, W(writeHexAttr("a", 0, false)), {"\"0x0\"", "\"0x0\"", "0x0", "<td>0x0</td>", "0x0"}},
        {__LINE__, W(writeHexAttr("a", 0, true)), {nullptr, nullptr, nullptr, "<td>0x0</td>", "0x0"}},
        {__LINE__,
         W(writeIPAttr("a", 0xC0A80001, true)),
         {"\"192.168.0.1\"", "\"192.168.0.1\"", "192.168.0.1", "<td>192.168.0.1</td>", "192.168.0.1"}},
        {__LINE__,
         W(writeIPAttr("a", 0, false)),
         {"\"0.0.0.0\"", "\"0.0.0.0\"", "0.0.0.0", "<td>0.0.0.0</td>", "0.0.0.0"}},
        {__LINE__, W(writeIPAttr("a", 0, true)), {nullptr, nullptr, nullptr, "<td>0.0.0.0</td>", "0.0.0.0"}},
        {__LINE__,
         W(writeIPPortAttr("a", 0x01020304, 65535, true)),
         {"\"1.2.3.4:65535\"", "\"1.2.3.4:65535\"", "1.2.3.4:65535", "<td>1.2.3.4:65535</td>", "1.2.3.4:65535"}},
        {__LINE__,
         W(writeIPPortAttr("a", 0xFFFFFFFF, 0, true)),
         {"\"255.255.255.255:0\"", "\"255.255.255.255:0\"", "255.255.255.255:0", "<td>255.255.255.255:0</td>",
          "255.255.255.255:0"}},
        {__LINE__,
         W(writeIPPortAttr("a", 0, 80, false)),
         {"\"0.0.0.0:80\"", "\"0.0.0.0:80\"", "0.0.0.0:80", "<td>0.0.0.0:80</td>", "0.0.0.0:80"}},
        {__LINE__,
         W(writeIPPortAttr("a", 0, 80, true)),
         {nullptr, nullptr, nullptr, "<td>0.0.0.0:80</td>", "0.0.0.0:80"}},
    };
    expectValues(rows, std::size(rows));

    char longest[400];  // 309 digits, and the six behind the point
    std::snprintf(longest, sizeof longest, "%f", -std::numeric_limits<double>::max());
    Doc doc(MLDocBase::CSV);
    doc.out.beginItem("r");
    doc.out.writeDoubleAttr("a", -std::numeric_limits<double>::max(), true);
    EXPECT_EQ(longest, doc.sink.text);
}

TEST(MLDocOutValues, OfDates) {
#define DATE(text) \
    { "\"" text "\"", "\"" text "\"", "\"" text "\"", "<td>" text "</td>", "\"" text "\"" }
    const ValueRow rows[] = {
        {__LINE__, W(writeDateAttr("a", std::int64_t{1}, true)), DATE("1970-01-01T00:00:01")},
        {__LINE__, W(writeDateAttr("a", std::int64_t{951868799}, false)), DATE("2000-02-29T23:59:59")},
        {__LINE__, W(writeDateAttr("a", std::int64_t{951868800}, false)), DATE("2000-03-01T00:00:00")},
        {__LINE__, W(writeDateAttr("a", std::int64_t{4294967296}, true)), DATE("2106-02-07T06:28:16")},
        {__LINE__, W(writeDateAttr("a", BagTime(1234567890), true)), DATE("2009-02-13T23:31:30")},
        {__LINE__, W(writeDateAttr("a", std::int64_t{0}, false)), {"\"\"", "\"\"", "''", "<td></td>", "\"\""}},
        {__LINE__, W(writeDateAttr("a", std::int64_t{0}, true)), {nullptr, nullptr, nullptr, "<td></td>", "\"\""}},
        {__LINE__, W(writeDateAttr("a", std::int64_t{-1}, false)), {"\"\"", "\"\"", "''", "<td></td>", "\"\""}},
        {__LINE__, W(writeDateAttr("a", std::int64_t{-1}, true)), {"\"\"", "\"\"", "''", "<td></td>", "\"\""}},
        {__LINE__, W(writeDateAttr("a", INT64_MAX, true)), {"\"\"", "\"\"", "''", "<td></td>", "\"\""}},
        {__LINE__, W(writeDateAttr("a", BagTime(0), false)), {"\"\"", "\"\"", "''", "<td></td>", "\"\""}},
        {__LINE__, W(writeDateAttr("a", BagTime(0), true)), {nullptr, nullptr, nullptr, "<td></td>", "\"\""}},
        {__LINE__, W(writeDateAttr("a", BagTime(-1), true)), {"\"\"", "\"\"", "''", "<td></td>", "\"\""}},
#ifndef _WIN32
        {__LINE__, W(writeDateAttr("a", std::int64_t{-2}, true)), DATE("1969-12-31T23:59:58")},
        {__LINE__, W(writeDateAttr("a", std::int64_t{253402300799}, true)), DATE("9999-12-31T23:59:59")},
        {__LINE__, W(writeDateAttr("a", std::int64_t{253402300800}, true)), DATE("10000-01-01T00:00:00")},
        {__LINE__, W(writeDateAttr("a", std::int64_t{-62135596800}, true)), DATE("0001-01-01T00:00:00")},
        {__LINE__, W(writeDateAttr("a", std::int64_t{67768036191676799}, true)), DATE("2147485547-12-31T23:59:59")},
#endif
    };
#undef DATE
    expectValues(rows, std::size(rows));
}

PairTag colours[] = {{"red", 1}, {"green", 2}, {"rouge", 1}, {"none", 0}, {"all", -1}, {"", 7}, {"a<\"b", 8}, {}};
PairTag flags[] = {{"x", 1}, {"y", 2}, {}};
PairTag combined[] = {{"zero", 0}, {"both", 3}, {"x", 1}, {"y", 2}, {"w<\"-", 4}, {"again", 4}, {"top", INT_MIN}, {}};
PairTag nothing[] = {{}};

TEST(MLDocOutValues, OfNames) {
    const ValueRow rows[] = {
        {__LINE__, W(writeEnumAttr("a", 1, colours)), {"\"red\"", "\"red\"", "red", "<td>red</td>", "red"}},
        {__LINE__, W(writeEnumAttr("a", 2, colours)), {"\"green\"", "\"green\"", "green", "<td>green</td>", "green"}},
        {__LINE__, W(writeEnumAttr("a", 0, colours)), {"\"none\"", "\"none\"", "none", "<td>none</td>", "none"}},
        {__LINE__, W(writeEnumAttr("a", 0xFFFFFFFF, colours)), {"\"all\"", "\"all\"", "all", "<td>all</td>", "all"}},
        {__LINE__, W(writeEnumAttr("a", 7, colours)), {"\"\"", "\"\"", "''", "<td></td>", ""}},
        {__LINE__, W(writeEnumAttr("a", 8, colours)), {"\"a<\"b\"", "\"a<\"b\"", "a<\"b", "<td>a<\"b</td>", "a<\"b"}},
        {__LINE__, W(writeEnumAttr("a", 3, colours)), {nullptr, nullptr, nullptr, nullptr, nullptr}},
        {__LINE__, W(writeEnumAttr("a", 0, nothing)), {nullptr, nullptr, nullptr, nullptr, nullptr}},
        {__LINE__, W(writeFlagsAttr("a", 0, flags)), {"\"\"", "\"\"", "''", "<td></td>", "\"\""}},
        {__LINE__, W(writeFlagsAttr("a", 1, flags)), {"\"x\"", "\"x\"", "x", "<td>x</td>", "\"x\""}},
        {__LINE__, W(writeFlagsAttr("a", 3, flags)), {"\"x y\"", "\"x y\"", "x y", "<td>x y</td>", "\"x y\""}},
        {__LINE__, W(writeFlagsAttr("a", 6, flags)), {"\"y\"", "\"y\"", "y", "<td>y</td>", "\"y\""}},
        {__LINE__, W(writeFlagsAttr("a", 12, flags)), {"\"\"", "\"\"", "''", "<td></td>", "\"\""}},
        {__LINE__, W(writeFlagsAttr("a", 3, nothing)), {"\"\"", "\"\"", "''", "<td></td>", "\"\""}},
        {__LINE__, W(writeFlagsAttr("a", 3, combined)), {"\"both\"", "\"both\"", "both", "<td>both</td>", "\"both\""}},
        // One bit in common is enough for a combined entry.
        {__LINE__, W(writeFlagsAttr("a", 2, combined)), {"\"both\"", "\"both\"", "both", "<td>both</td>", "\"both\""}},
        {__LINE__,
         W(writeFlagsAttr("a", 5, combined)),
         {"\"both w<\"-\"", "\"both w<\"-\"", "both w<\"-", "<td>both w<\"-</td>", "\"both w<\"-\""}},
        {__LINE__,
         W(writeFlagsAttr("a", 0x80000000, combined)),
         {"\"top\"", "\"top\"", "top", "<td>top</td>", "\"top\""}},
    };
    expectValues(rows, std::size(rows));
}

TEST(MLDocOutValues, OfMessagesAndFormats) {
    const ValueRow rows[] = {
        {__LINE__, W(writeStrAttr("a", TTT())), {nullptr, nullptr, nullptr, nullptr, nullptr}},
        {__LINE__, W(writeStrAttr("a", TTT(""))), {nullptr, nullptr, nullptr, nullptr, nullptr}},
        // No such dictionary: nothing to render.
        {__LINE__,
         W(writeStrAttr("a", TTT(static_cast<LocDictionaryId>(5), 1))),
         {nullptr, nullptr, nullptr, nullptr, nullptr}},
        {__LINE__,
         W(writeStrAttr("a", TTT("a<%d") < 5)),
         {"\"a&lt;5\"", "\"a<5\"", "a<5", "<td>a&lt;5</td>", "\"a<5\""}},
        {__LINE__,
         W(writeStrAttr("a", (TTT("one ") <= "two: %s") < "\"3\"")),
         {"\"one two: &quot;3&quot;\"", "\"one two: \\\"3\\\"\"", "\"one two: \\\"3\\\"\"",
          "<td>one two: &quot;3&quot;</td>", "\"one two: \\\"3\\\"\""}},
        {__LINE__,
         W(writeFormatAttr("a", "%d<%s", 7, "x")),
         {"\"7&lt;x\"", "\"7<x\"", "7<x", "<td>7&lt;x</td>", "\"7<x\""}},
        {__LINE__, W(writeFormatAttr("a", "%d%%", -7)), {"\"-7%\"", "\"-7%\"", "\"-7%\"", "<td>-7%</td>", "\"-7%\""}},
        {__LINE__, W(writeFormatAttr("a", "%s", "")), {"\"\"", "\"\"", "''", "<td></td>", "\"\""}},
        {__LINE__, W(writeFormatAttr("a", "x%cy", 0)), {"\"x\"", "\"x\"", "x", "<td>x</td>", "\"x\""}},
    };
    expectValues(rows, std::size(rows));

    for (int length : {4095, 4096, 4097, 9000}) {
        SCOPED_TRACE(length);
        Doc doc(MLDocBase::CSV);
        doc.out.beginItem("r");
        const std::string text(static_cast<std::size_t>(length), '"');
        doc.out.writeFormatAttr("a", "%s", text.c_str());  // cut first, escaped afterwards
        std::string escaped;
        for (int i = 0; i < length && i < 4096; ++i) escaped += "\\\"";
        EXPECT_EQ('"' + escaped + '"', doc.sink.text);
    }

    Loc::Loader loader;
    loader.addModule(new Loc::VelmoraModule);
    std::string error;
    ASSERT_TRUE(loader.load(VELMORA_TEST_LANG_DIR "/", "eng", &error)) << error;
    const TTT message(VELMORA_DICT, LCA__Empty_token_name);
    std::string text;
    message.translate(text);
    ASSERT_FALSE(text.empty());
    Doc doc(MLDocBase::HTML);
    doc.out.beginItem("r");
    doc.sink.take();
    doc.out.writeStrAttr("a", message);
    ChArr escaped;
    MLDocOut::escapeStringXMLHTML(text, escaped);
    EXPECT_EQ("<td>" + std::string(escaped.asCharPtr()) + "</td>", doc.sink.text);
}
#undef W

std::string yamlValue(const ChPair& value) {
    Doc doc(MLDocBase::YAML);
    doc.out.beginItem("r");
    doc.sink.take();
    doc.out.writeStrAttr("a", value, false);
    const std::string text = doc.sink.take();
    EXPECT_EQ("- a: ", text.substr(0, 5));
    EXPECT_EQ("\r\n", text.substr(text.size() - 2));
    return text.substr(5, text.size() - 7);
}

TEST(MLDocOutYamlText, IsQuotedByItsBytes) {
    struct Row {
        int line;
        const char* value;
        const char* expected;
    };
    const Row rows[] = {
        {__LINE__, "", "''"},
        {__LINE__, "abc", "abc"},
        {__LINE__, "a-b", "\"a-b\""},
        {__LINE__, "-", "\"-\""},
        {__LINE__, "ab-", "\"ab-\""},
        {__LINE__, "12:30", "\"12:30\""},
        {__LINE__, "it's", "\"it's\""},
        {__LINE__, "say \"x\"", "\"say \\\"x\\\"\""},
        {__LINE__, "c\\d", "\"c\\\\d\""},
        {__LINE__, "a\x01z", "\"a\x01z\""},
        {__LINE__, "a\x1Fz", "\"a\x1Fz\""},
        {__LINE__, "abc ", "'abc '"},
        {__LINE__, "abc- ", "\"abc- \""},
        {__LINE__, " ", "' '"},
        {__LINE__, " abc", "' abc'"},
        {__LINE__, "a b c", "a b c"},
        {__LINE__, "\xC3\xA9 ", "'\xC3\xA9 '"},
        {__LINE__, ".x", "'.x'"},
        {__LINE__, ".x ", "'.x '"},
        {__LINE__, "x.", "x."},
        {__LINE__, "#c", "'#c'"},
        {__LINE__, "c #c", "c #c"},
        {__LINE__, "{a}", "'{a}'"},
        {__LINE__, "_a", "_a"},
        {__LINE__, "0", "0"},
        {__LINE__, "true", "true"},
        {__LINE__, "\xC3\xA9", "\xC3\xA9"},
        {__LINE__, "\x80", "\x80"},
        {__LINE__, "\xFF", "\xFF"},
        {__LINE__, "\x7F", "'\x7F'"},
        {__LINE__, "a\x7F", "a\x7F"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << "line " << row.line);
        EXPECT_EQ(row.expected, yamlValue(row.value));
    }
}

TEST(MLDocOutYamlText, OfEachByteAloneFirstInnerAndLast) {
    for (int byte = 1; byte < 256; ++byte) {
        SCOPED_TRACE(byte);
        const char c = static_cast<char>(byte);
        const std::string alone(1, c), first = alone + "x", inner = "x" + alone + "x", last = "x" + alone;
        const bool escaped = byte < 0x20 || alone.find_first_of("\"'-\\:") != std::string::npos;
        const bool opens = (byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') ||
                           (byte >= 'a' && byte <= 'z') || byte == '_' || byte >= 0x80;
        for (const std::string& text : {alone, first, inner, last}) {
            std::string expected = text;
            if (escaped) {
                ChArr e;
                MLDocOut::escapeStringJSONYAML(text, e);
                expected = '"' + std::string(e.asCharPtr()) + '"';
            } else if (text.back() == ' ' || (text[0] != 'x' && !opens)) {
                expected = '\'' + text + '\'';
            }
            EXPECT_EQ(expected, yamlValue(text));
        }
    }
    EXPECT_EQ('"', yamlValue(ChPair("a\0b", 3)).front());  // the scan does not stop at a zero byte
}

std::string xmlEscape(int byte) {
    switch (byte) {
        case '"':
            return "&quot;";
        case '&':
            return "&amp;";
        case '\'':
            return "&apos;";
        case '<':
            return "&lt;";
        case '>':
            return "&gt;";
        default:
            return std::string(1, static_cast<char>(byte));
    }
}

std::string jsonEscape(int byte) {
    switch (byte) {
        case 0x08:
            return "\\b";
        case 0x09:
            return "\\t";
        case 0x0A:
            return "\\n";
        case 0x0C:
            return "\\f";
        case 0x0D:
            return "\\r";
        case '"':
            return "\\\"";
        case '\\':
            return "\\\\";
        default:
            return std::string(1, static_cast<char>(byte));
    }
}

std::string content(const Bag& bag) { return std::string(bag.data, static_cast<std::size_t>(bag.size)); }

TEST(MLDocOutEscape, OfEachByte) {
    std::string all, allXml, allJson;
    for (int byte = 0; byte < 256; ++byte) {
        SCOPED_TRACE(byte);
        const std::string text(1, static_cast<char>(byte));
        const std::string expected[2] = {xmlEscape(byte), jsonEscape(byte)};
        Bag xml, json;
        MLDocOut::escapeStringXMLHTML(text, xml);
        MLDocOut::escapeStringJSONYAML(text, json);
        EXPECT_EQ(expected[0], content(xml));
        EXPECT_EQ(expected[1], content(json));
        for (int form = 0; form < 5; ++form) {
            MLDocOut out(kForms[form]);
            const std::string& wanted = expected[form == 0 || form == 3 ? 0 : 1];
            int length = -1;
            const char* replacement = out.escape(static_cast<char>(byte), length);
            if (wanted == text) {
                EXPECT_EQ(nullptr, replacement);
            } else {
                ASSERT_NE(nullptr, replacement);
                EXPECT_EQ(wanted, std::string(replacement, static_cast<std::size_t>(length)));
            }
            Bag bag;
            out.escapeString(text, bag);
            EXPECT_EQ(wanted, content(bag));
            if (!byte) continue;
            ChArr array;
            out.escapeString(text, array);
            EXPECT_EQ(wanted, array.asCharPtr());
            Sink sink;
            out.begin(sink);
            sink.take();
            out.writeEscaped(text);
            EXPECT_EQ(wanted, sink.text);
        }
        if (!byte) continue;
        all += text;
        allXml += expected[0];
        allJson += expected[1];
    }
    ChArr array("old");
    MLDocOut::escapeStringXMLHTML(all, array);
    EXPECT_EQ(allXml, array.asCharPtr());
    MLDocOut::escapeStringJSONYAML(all, array);
    EXPECT_EQ(allJson, array.asCharPtr());
}

TEST(MLDocOutEscape, IntoAnArrayReplacesItAndLeavesNullForNothing) {
    ChArr array("old");
    MLDocOut::escapeStringXMLHTML("<a>", array);
    EXPECT_STREQ("&lt;a&gt;", array.data);
    MLDocOut::escapeStringXMLHTML(ChPair(), array);
    EXPECT_EQ(nullptr, array.data);
    array = "old";
    MLDocOut::escapeStringJSONYAML(ChPair("text", 0), array);
    EXPECT_EQ(nullptr, array.data);
    MLDocOut::escapeStringJSONYAML("\x01\n", array);
    EXPECT_STREQ("\x01\\n", array.data);
}

// In a process of its own: the answer is to be the exception, not a write far behind the block.
TEST(MLDocOutEscapeDeathTest, IntoABagRefusesANegativeSize) {
    for (int form = 0; form < 2; ++form) {
        EXPECT_EXIT(
            {
                Bag bag;
                bag.to(INT_MAX);
                try {
                    form ? MLDocOut::escapeStringJSONYAML("x", bag) : MLDocOut::escapeStringXMLHTML("x", bag);
                } catch (const Bag::Exception&) {
                    std::exit(bag.cursor == INT_MAX && bag.size == 0 ? 0 : 2);
                }
                std::exit(1);
            },
            testing::ExitedWithCode(0), "");
    }
}

std::string calls;  // the bytes that `counting` was asked for

// Drops 'd', and gives a replacement without a terminator for 'r'.
const char* counting(char c, int& length) {
    calls += c;
    if (c == 'd') return length = 0, "";
    if (c == 'r') return length = 3, "RRRRRR";
    return nullptr;
}

TEST(MLDocOutEscape, TakesAnyFunction) {
    calls.clear();
    ChArr array;
    MLDocOut::escapeString(counting, "ardra", array);
    EXPECT_STREQ("aRRRRRRa", array.data);
    EXPECT_EQ("ardraardra", calls);  // once to measure, once to copy
    calls.clear();
    MLDocOut::escapeString(counting, "ddd", array);
    EXPECT_EQ(nullptr, array.data);
    EXPECT_EQ("ddd", calls);
    calls.clear();
    Bag bag;
    MLDocOut::escapeString(counting, "ardra", bag);
    EXPECT_EQ("aRRRRRRa", content(bag));
    EXPECT_EQ("ardra", calls);

    Doc doc(MLDocBase::YAML);
    doc.out.escape = counting;
    doc.out.escapeString("dr", array);
    EXPECT_STREQ("RRR", array.data);
    doc.out.escapeString("dr", bag);
    EXPECT_EQ("aRRRRRRaRRR", content(bag));
    doc.out.writeEscaped("add");
    EXPECT_EQ("a", doc.sink.take());
    play(doc.out, "<r");
    doc.sink.take();
    doc.out.writeStrAttr("a", "r-");
    EXPECT_EQ("- a: \"RRR-\"\r\n", doc.sink.take());
    doc.out.setFormat(MLDocBase::YAML);
    EXPECT_NE(counting, doc.out.escape);
}

TEST(MLDocOutEscape, IntoABagWritesAtTheCursor) {
    Bag bag;
    bag.putData("hello world", 11);
    bag.to(2);
    MLDocOut::escapeStringXMLHTML("<x", bag);
    EXPECT_EQ("he&lt;x", content(bag));  // what lay behind is cut off
    EXPECT_EQ(7, bag.cursor);
    MLDocOut::escapeStringJSONYAML("\t", bag);
    EXPECT_EQ("he&lt;x\\t", content(bag));
    EXPECT_EQ(9, bag.cursor);

    for (int length : {1, 15, 16, 17, 255, 256, 257, 512, 513}) {
        SCOPED_TRACE(length);
        Bag fresh;
        const std::string text(static_cast<std::size_t>(length), 'x');
        MLDocOut::escapeStringXMLHTML(text, fresh);
        EXPECT_EQ(text, content(fresh));
        EXPECT_EQ(length, fresh.cursor);
        EXPECT_EQ(memory_recommend(length), fresh.bufferSize);
    }
    Bag nothingWritten;
    MLDocOut::escapeStringXMLHTML(ChPair(), nothingWritten);
    EXPECT_EQ(0, nothingWritten.size);
    EXPECT_EQ(nullptr, nothingWritten.data);
}

// The rules of the five forms once more, in the plainest way: one string, no buffers but that of the indentation.
struct Model {
    int form;
    bool compact;
    int tabSize;
    std::string eoln;
    std::string text, fill, lastName;
    int depth = 0, indent = 0;
    bool tagOpen = false, separator = false;

    void chars(int n, char c) {
        if (n < 0) return;
        if (n > static_cast<int>(fill.size())) fill.resize(static_cast<std::size_t>(n), c);
        text.append(fill, 0, static_cast<std::size_t>(n));
    }
    void writeIndent() { tabSize < 1 ? chars(indent, '\t') : chars(indent * tabSize, ' '); }
    void cut(const std::string& s) { text += s.substr(0, 4096); }
    void array(const std::string& name) {
        cut("\"" + name + "\": [" + eoln);
        ++indent;
        writeIndent();
    }
    void begin(const std::string& name) {
        if (form == 0) {
            if (tagOpen) text += ">" + eoln;
            writeIndent();
            text += "<" + name;
            tagOpen = true;
            ++indent;
        } else if (form == 1) {
            if (!depth) {
                compact ? chars(tabSize - 1, ' ') : writeIndent();
                cut("\"" + name + "\": ");
            } else if (!lastName.empty() && name == lastName) {
                if (separator) text += ",";
                text += eoln;
                writeIndent();
            } else if (!lastName.empty()) {
                text += eoln;
                --indent;
                writeIndent();
                text += "]," + eoln;
                writeIndent();
                array(name);
            } else {
                if (separator) text += ",";
                if (compact && !separator) {
                    chars(tabSize - 1, ' ');
                } else {
                    text += eoln;
                    writeIndent();
                }
                array(name);
            }
            text += "{";
            ++indent;
        } else if (form == 2) {
            const bool goesOn = depth && !lastName.empty() && name == lastName;
            if (depth && lastName.empty() && !separator) {
                chars(tabSize * indent - 2, ' ');
                text += "- ";
            } else if (depth && !goesOn) {
                writeIndent();
            }
            if (!goesOn) cut(name + ":" + eoln);
            ++indent;
        } else if (form == 3) {
            text += "<tr>";
        }
        if (form == 1 || form == 2) {
            lastName.clear();
            separator = false;
        }
        ++depth;
    }
    void attribute(const std::string& name, const std::string& value) {  // of digits only
        if (form == 0) {
            compact ? void(text += " ") : (text += eoln, writeIndent());
            cut(name + "=");
        } else if (form == 1) {
            if (separator) text += ",";
            compact ? chars(separator ? 1 : tabSize - 1, ' ') : (text += eoln, writeIndent());
            cut("\"" + name + "\": ");
        } else if (form == 2) {
            separator ? writeIndent() : (chars(tabSize * indent - 2, ' '), void(text += "- "));
            cut(name + ": ");
        } else if (form == 4 && separator) {
            text += ",";
        }
        if (form != 0 && form != 3) separator = true;
        text += form == 2 ? value + eoln : form == 3 ? "<td>" + value + "</td>" : "\"" + value + "\"";
    }
    void end(const std::string& name) {
        --depth;
        if (form < 3) --indent;
        if (form == 0) {
            if (tagOpen) {
                if (!compact) {
                    text += eoln;
                    writeIndent();
                }
                text += "/>" + eoln;
            } else {
                writeIndent();
                cut("</" + name + ">" + eoln);
            }
            tagOpen = false;
        } else if (form == 1) {
            if (!lastName.empty()) {
                text += eoln;
                writeIndent();
                text += "]" + eoln;
                --indent;
                writeIndent();
            } else if (compact) {
                chars(tabSize - 1, ' ');
            } else {
                text += eoln;
                writeIndent();
            }
            text += "}";
        } else if (form > 2) {
            text += form == 3 ? "</tr>\r\n" : "\r\n";
            separator = false;
        }
        if (form == 1 || form == 2) {
            lastName = name;
            separator = true;
        }
    }
};

TEST(MLDocOutItems, AgreeWithThePlainRulesOnRandomDocuments) {
    std::uint32_t seed = 1;
    const auto random = [&seed](int n) {
        seed = seed * 1664525u + 1013904223u;
        return static_cast<int>((seed >> 8) % static_cast<unsigned>(n));
    };
    const std::string longName(4092, 'n');
    for (int round = 0; round < 5000; ++round) {
        SCOPED_TRACE(testing::Message() << "round " << round << ' ' << kFormNames[round % 5]);
        const bool large = random(50) == 0;
        const int tabSizes[] = {-2, 0, 1, 2, 3, 8, large ? 900 : 4};
        const std::string names[] = {"a", "b", "ab", large ? longName : "c", large ? longName + "x" : "d"};
        const std::string eolns[] = {"\r\n", "\n", "", large ? std::string(2000, '\r') : "\r"};
        const std::string eoln = eolns[random(4)];
        Doc doc(kForms[round % 5], random(2) != 0);
        doc.out.setEOLN(eoln.c_str());
        doc.out.setTabSize(tabSizes[random(7)]);
        Model model{round % 5, (doc.out.state & MLDocOut::CompactMode) != 0, doc.out.tabSize, eoln, {}, {}, {}};
        model.indent = doc.out.indent;
        for (int call = random(60); call >= 0 || model.depth > 0; --call) {
            const std::string& name = names[random(5)];
            const int choice = random(8);
            if (choice == 0 && call >= 0) {
                model.compact = !model.compact;
                doc.out.setCompactMode(model.compact);
            } else if (choice == 1 && call >= 0 && random(4) == 0) {
                doc.out.setTabSize(model.tabSize = tabSizes[random(7)]);
            } else if (choice < 5 && (doc.out.state & MLDocOut::AttributesOpen)) {
                const std::string value(static_cast<std::size_t>(large ? 1 + random(9000) : 1 + random(9)), '7');
                doc.out.writeStrAttr(name.c_str(), value);
                model.attribute(name, value);
            } else if (model.depth == 0 || (choice >= 5 && choice < 7 && call >= 0)) {
                if (call < 0) break;
                doc.out.beginItem(name.c_str());
                model.begin(name);
            } else {
                doc.out.endItem(name.c_str());
                model.end(name);
            }
            ASSERT_EQ(model.depth, doc.out.depth);
            ASSERT_EQ(model.indent, doc.out.indent);
            ASSERT_EQ(model.separator, (doc.out.state & MLDocOut::NeedSeparator) != 0);
        }
        ASSERT_TRUE(model.text == doc.sink.text) << (large ? std::string() : model.text + "\n---\n" + doc.sink.text);
        ASSERT_TRUE(ChPair(doc.out.lastName).equal(model.lastName));
    }
}

// Where a line end goes through writef together with a name, the limit is that of both; elsewhere it goes out whole.
TEST(MLDocOutNames, ShareTheirLimitWithTheLineEnd) {
    for (int length : {4000, 4089, 4090, 4091, 4092, 4093, 4094, 4095, 4096, 5000}) {
        SCOPED_TRACE(length);
        const std::string eoln(static_cast<std::size_t>(length), '\n');
        const auto cut = [](const std::string& text) { return text.substr(0, 4096); };
        Doc xml(MLDocBase::XML, true), json(MLDocBase::JSON), yaml(MLDocBase::YAML);
        for (Doc* doc : {&xml, &json, &yaml}) doc->out.setEOLN(eoln.c_str());
        play(xml.out, "<r <c");
        EXPECT_TRUE("<r>" + eoln + "\t<c" == xml.sink.take());
        play(xml.out, ">c");
        EXPECT_TRUE("/>" + eoln == xml.sink.take());
        play(xml.out, ">r");
        EXPECT_TRUE(cut("</r>" + eoln) == xml.sink.take()) << "end tag";
        play(json.out, "<r");
        json.sink.take();
        play(json.out, "<c");
        EXPECT_TRUE(eoln + "    " + cut("\"c\": [" + eoln) + "      {" == json.sink.take()) << "first array";
        play(json.out, ">c");
        EXPECT_TRUE(eoln + "      }" == json.sink.take());
        play(json.out, "<d");
        EXPECT_TRUE(eoln + "    ]," + eoln + "    " + cut("\"d\": [" + eoln) + "      {" == json.sink.take())
            << "next array";
        play(yaml.out, "<r");
        EXPECT_TRUE(cut("r:" + eoln) == yaml.sink.take()) << "root";
        play(yaml.out, "<c");
        EXPECT_TRUE("- " + cut("c:" + eoln) == yaml.sink.take()) << "first child";
        play(yaml.out, "a=1");
        EXPECT_TRUE("  - a: 1" + eoln == yaml.sink.take());
        play(yaml.out, ">c <d");
        EXPECT_TRUE("  " + cut("d:" + eoln) == yaml.sink.take()) << "next child";
    }
}

TEST(MLDocOutValues, AreWrittenWholeAtAnyLength) {
    std::vector<int> lengths;
    for (int n = 1; n < 700; ++n) lengths.push_back(n);
    for (int power = 1024; power <= 8192; power *= 2) {
        for (int n = power - 40; n <= power + 2; ++n) lengths.push_back(n);
    }
    for (int form = 0; form < 5; ++form) {
        Doc doc(kForms[form], true);
        doc.out.beginItem("r");
        doc.out.writeAttrName("first");
        doc.sink.take();
        const std::string head[5] = {" a=\"", ", \"a\": \"", "  a: ", "<td>", ",\""};
        const std::string tail[5] = {"\"", "\"", "\r\n", "</td>", "\""};
        const std::string escape = form == 0 || form == 3 ? "&quot;" : "\\\"";
        std::string escapes;
        for (int i = 0; i < lengths.back(); ++i) escapes += escape;
        for (int n : lengths) {
            const std::string text(static_cast<std::size_t>(n), 'x'), quotes(static_cast<std::size_t>(n), '"');
            doc.out.writeStrAttr("a", text);
            ASSERT_TRUE(head[form] + text + tail[form] == doc.sink.take()) << kFormNames[form] << ' ' << n;
            std::string escaped = escapes.substr(0, escape.size() * static_cast<std::size_t>(n));
            doc.out.writeStrAttr("a", quotes);
            if (form == 2) escaped = '"' + escaped + '"';
            ASSERT_TRUE(head[form] + escaped + tail[form] == doc.sink.take()) << kFormNames[form] << ' ' << n;
        }
    }
}

// Names from a table and rendered messages are no formats: no limit, no percent signs.
TEST(MLDocOutValues, FromTablesAndMessagesAreNotFormats) {
    const std::string first(5000, 'f'), second = "%s%n" + std::string(4096, 's');
    PairTag tags[] = {{first.c_str(), 1}, {second.c_str(), 2}, {}};
    const char* const opens[5] = {" a=\"", " \"a\": \"", "- a: ", "<td>", "\""};
    const char* const closes[5] = {"\"", "\"", "\r\n", "</td>", "\""};
    for (int form = 0; form < 5; ++form) {
        SCOPED_TRACE(kFormNames[form]);
        std::string text[3];
        for (int i = 0; i < 3; ++i) {
            Doc doc(kForms[form], true);
            doc.out.beginItem("r");
            doc.sink.take();
            if (i == 0) doc.out.writeFlagsAttr("a", 3, tags);
            if (i == 1) doc.out.writeEnumAttr("a", 2, tags);
            if (i == 2) doc.out.writeStrAttr("a", TTT(first));
            text[i] = doc.sink.take();
        }
        const std::string enumOpen = form == 4 ? "" : opens[form], enumClose = form == 4 ? "" : closes[form];
        EXPECT_TRUE(opens[form] + first + " " + second + closes[form] == text[0]);
        EXPECT_TRUE(enumOpen + second + enumClose == text[1]);
        EXPECT_TRUE(opens[form] + first + closes[form] == text[2]);
    }
}

TEST(MLDocOutValues, KeepTheirZeroBytes) {
    const ChPair value("a\0b", 3);
    const char* const heads[5] = {" a=\"", " \"a\": \"", "- a: ", "<td>", ""};
    const char* const tails[5] = {"\"", "\"", "\r\n", "</td>", ""};
    for (int form = 0; form < 5; ++form) {
        SCOPED_TRACE(kFormNames[form]);
        Doc doc(kForms[form], true);
        doc.out.beginItem("r");
        doc.sink.take();
        doc.out.writeSimpleAttr("a", value);
        EXPECT_EQ(heads[form] + std::string("a\0b", 3) + tails[form], doc.sink.take());
        doc.out.writeEscaped(value);
        EXPECT_EQ(std::string("a\0b", 3), doc.sink.take());
    }
}

TEST(MLDocOutSinks, GetTheWholeDocument) {
    MLDocOut::BagWriter bag;
    MLDocOut out(MLDocBase::XML);
    out.begin(bag);
    play(out, "<r a=1 >r");
    out.end();
    EXPECT_EQ(kHeader + lines("\n<r\n~a=\"1\"\n/>\n"), content(bag));
    EXPECT_EQ(39u, sizeof kHeader - 1);
}

}  // namespace
