// Names and texts that lie in the Bag that they are written to: the result is as if each had been copied first.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <type_traits>

#include <velmora/markup/mldocout.h>
#include <velmora/serial/tags.h>
#include <velmora/text/charr.h>

#include "tests/support/guard_page.h"

// A sink is owned by its own type.
static_assert(!std::has_virtual_destructor_v<MLDocOut::Writer>);
static_assert(!std::has_virtual_destructor_v<MLDocOut::BagWriter>);
static_assert(!std::has_virtual_destructor_v<MLDocOut::FileWriter>);
static_assert(!std::is_destructible_v<MLDocOut::Writer>, "none is deleted through its base");

namespace {

// Counts what passes through, and hands it on.
class CountingSink : public MLDocOut::BagWriter {
public:
    std::string seen;

    void write_doc(const char* text, int n) override {
        seen.append(text, static_cast<std::size_t>(n));
        BagWriter::write_doc(text, n);
    }
};

// Writes the name at `n`, which ends with a zero byte, and the text [p, e), also in front of one.
struct Form {
    int line;
    std::function<void(MLDocOut& out, char* n, char* p, char* e)> write;
};

const Form kForms[] = {
    {__LINE__, [](MLDocOut& o, char*, char* p, char* e) { o.write(p, static_cast<int>(e - p)); }},
    {__LINE__, [](MLDocOut& o, char*, char* p, char* e) { o.write(ChPair(p, e)); }},
    {__LINE__, [](MLDocOut& o, char*, char* p, char*) { o.writeLn(p); }},
    {__LINE__, [](MLDocOut& o, char*, char* p, char*) { o.writef("<%s>", p); }},
    {__LINE__, [](MLDocOut& o, char*, char* p, char* e) { o.writeEscaped(ChPair(p, e)); }},
    {__LINE__, [](MLDocOut& o, char* n, char*, char*) { o.beginItem(n); }},
    {__LINE__, [](MLDocOut& o, char*, char* p, char*) { o.beginItem(p); }},
    {__LINE__, [](MLDocOut& o, char* n, char*, char*) { o.beginItem(n), o.beginItem("b"), o.endItem("b"); }},
    {__LINE__, [](MLDocOut& o, char* n, char*, char*) { o.endItem(n); }},
    {__LINE__, [](MLDocOut& o, char*, char* p, char*) { o.endItem(p); }},
    {__LINE__, [](MLDocOut& o, char* n, char*, char*) { o.writeAttrName(n); }},
    {__LINE__, [](MLDocOut& o, char* n, char*, char*) { o.writeEmptyAttr(n); }},
    {__LINE__, [](MLDocOut& o, char* n, char* p, char* e) { o.writeSimpleAttr(n, ChPair(p, e)); }},
    {__LINE__, [](MLDocOut& o, char* n, char* p, char* e) { o.writeSimplestAttr(n, ChPair(p, e)); }},
    {__LINE__, [](MLDocOut& o, char* n, char* p, char* e) { o.writeStrAttr(n, ChPair(p, e)); }},
    {__LINE__, [](MLDocOut& o, char* n, char* p, char*) { o.writeStrAttr(n, p); }},
    {__LINE__, [](MLDocOut& o, char*, char* p, char* e) { o.writeStrAttr(p, ChPair(p, e)); }},
    {__LINE__, [](MLDocOut& o, char* n, char* p, char*) { o.writeFormatAttr(n, "<%s>", p); }},
    {__LINE__, [](MLDocOut& o, char* n, char*, char*) { o.writeIntAttr(n, 7); }},
    {__LINE__, [](MLDocOut& o, char* n, char*, char*) { o.writeDoubleAttr(n, 1.5); }},
    {__LINE__, [](MLDocOut& o, char* n, char*, char*) { o.writeHexAttr(n, 7); }},
    {__LINE__, [](MLDocOut& o, char* n, char*, char*) { o.writeDateAttr(n, std::int64_t{86400}); }},
    {__LINE__,
     [](MLDocOut& o, char* n, char* p, char*) {
         const PairTag tags[] = {{n, 1}, {p, 2}, {"other", 4}, {n, 8}, {nullptr, 0}};
         o.writeFlagsAttr(n, 15, tags);
     }},
    {__LINE__,
     [](MLDocOut& o, char* n, char* p, char*) {
         const PairTag tags[] = {{n, 1}, {p, 2}, {nullptr, 0}};
         o.writeEnumAttr(n, 2, tags);
     }},
};

// Names at the begin, a short text and long ones; the first of these needs no escapes, the other is full of them.
std::string texts() {
    std::string bytes("name\0short <&> text\0", 20);
    for (int i = 0; i < 1000; ++i) bytes += static_cast<char>('a' + i % 26);
    bytes += '\0';
    for (int i = 0; i < 1000; ++i) bytes += "<\"\\&a"[i % 5];
    return bytes + '\0';
}

struct Place {
    int name;
    int from;
    int to;
};
const Place kPlaces[] = {
    {0, 5, 19},  {5, 0, 4},          {0, 20, 1020},   {0, 1021, 2021},
    {20, 5, 19}, {1010, 1021, 2021}, {520, 20, 1020}, {2015, 0, 2021},
};

// How much room the block has, and how far after the texts' begin the cursor is; negative: after all of them.
struct Setting {
    int line;
    int room;
    int cursor;
};
const Setting kSettings[] = {
    {__LINE__, 0, -1},    {__LINE__, 100, -1},   {__LINE__, 20000, -1}, {__LINE__, 0, 0},
    {__LINE__, 20000, 0}, {__LINE__, 20000, 12}, {__LINE__, 0, 600},    {__LINE__, 20000, 600},
};

template <class Sink>
std::string written(MLDocBase::Format format, const Setting& setting, const Place& place, const Form& form,
                    bool copied) {
    std::string copy = texts();
    const int n = static_cast<int>(copy.size());
    Sink sink;
    MLDocOut out(format);
    out.begin(sink);
    out.beginItem("item");
    if (format == MLDocBase::XML) out.writeIntAttr("a", 1);
    const int start = sink.size;
    sink.putData(copy.data(), n);
    sink.setBufferSize(sink.size + setting.room);
    if (setting.cursor >= 0) sink.to(start + setting.cursor);
    char* base = copied ? &copy[0] : sink.data + start;
    form.write(out, base + place.name, base + place.from, base + place.to);
    return std::string(sink.data, static_cast<std::size_t>(sink.size)) + '|' + std::to_string(sink.cursor) + '|' +
           out.lastName();
}

template <class Sink>
void expectAsIfCopied() {
    for (MLDocBase::Format format :
         {MLDocBase::XML, MLDocBase::JSON, MLDocBase::YAML, MLDocBase::HTML, MLDocBase::CSV}) {
        for (const Setting& setting : kSettings) {
            for (const Place& place : kPlaces) {
                for (const Form& form : kForms) {
                    if (written<Sink>(format, setting, place, form, true) ==
                        written<Sink>(format, setting, place, form, false))
                        continue;
                    ADD_FAILURE() << "form at line " << form.line << ", setting at line " << setting.line << ", format "
                                  << format << ", name at " << place.name << ", text at " << place.from;
                }
            }
        }
    }
}

TEST(MLDocOutOverlap, EveryWriteTakesPartsOfItsBag) { expectAsIfCopied<MLDocOut::BagWriter>(); }

TEST(MLDocOutOverlap, EveryWriteTakesPartsOfTheBagOfADerivedSink) { expectAsIfCopied<CountingSink>(); }

// A name that the writer keeps itself.
TEST(MLDocOutOverlap, NameMayBeThatOfTheLastItem) {
    for (MLDocBase::Format format : {MLDocBase::JSON, MLDocBase::YAML}) {
        std::string documents[2];
        for (const bool own : {false, true}) {
            MLDocOut::BagWriter sink;
            MLDocOut out(format);
            out.begin(sink);
            out.beginItem("root");
            out.beginItem("child");
            out.writeIntAttr("a", 1);
            out.endItem("child");
            out.beginItem(own ? out.lastName.data : "child");
            out.writeIntAttr("a", 2);
            out.endItem("child");
            out.endItem(own ? out.lastName.data : "child");
            documents[own] = std::string(sink.data, static_cast<std::size_t>(sink.size)) + '|' + out.lastName();
        }
        EXPECT_EQ(documents[0], documents[1]);
    }
}

// What is derived from BagWriter sees every byte, whatever room its Bag has.
TEST(MLDocOutBagSink, DerivedSinkIsNeverBypassed) {
    for (MLDocBase::Format format :
         {MLDocBase::XML, MLDocBase::JSON, MLDocBase::YAML, MLDocBase::HTML, MLDocBase::CSV}) {
        for (int room : {0, 100, 20000}) {
            SCOPED_TRACE(room);
            CountingSink sink;
            sink.setBufferSize(room);
            MLDocOut out(format);
            out.begin(sink);
            out.beginItem("item");
            for (int i = 0; i < 40; ++i) {
                out.writeIntAttr("number", i);
                out.writeStrAttr("text", "a <text>");
                out.writeStrAttr("long", std::string(1000, 'x'));
                out.writeEmptyAttr("empty");
                out.writeBoolAttr("bool", true);
            }
            out.endItem("item");
            out.end();
            EXPECT_GT(sink.size, 1000);
            EXPECT_EQ(std::string(sink.data, static_cast<std::size_t>(sink.size)), sink.seen);
        }
    }
}

// Indentation is copied in stretches only where its block reaches as far.
TEST(MLDocOutIndent, StretchesEndWithTheirBlock) {
    for (int blanks : {1, 2, 10, 15, 16, 17, 30, 33}) {
        for (int room : {0, 20000}) {
            SCOPED_TRACE(blanks);
            const std::string text(static_cast<std::size_t>(blanks), '.');
            support::GuardedBytes guarded(text);
            MLDocOut::BagWriter sink;
            MLDocOut out(MLDocBase::JSON);
            out.begin(sink);
            out.beginItem("item");
            sink.truncate();
            sink.setBufferSize(room);
            out.setEOLN("|");
            out.setTabSize(1);
            out.indent = blanks;
            delete[] out.fill.steal();
            out.fill.data = guarded.begin();
            out.fill.count = out.fill.allocateCount = blanks;
            out.writeIntAttr("a", 7);
            out.fill.data = nullptr;
            out.fill.count = out.fill.allocateCount = 0;
            EXPECT_EQ("|" + text + "\"a\": 7", std::string(sink.data, static_cast<std::size_t>(sink.size)));
        }
    }
}

// As a token's view may do after a failure.
TEST(MLDocOutText, ViewThatEndsBeforeItBeginsIsEmpty) {
    const char text[] = "0123456789";
    const ChPair stale(text + 8, text + 2);
    for (MLDocBase::Format format :
         {MLDocBase::XML, MLDocBase::JSON, MLDocBase::YAML, MLDocBase::HTML, MLDocBase::CSV}) {
        for (int room : {0, 20000}) {
            std::string documents[2];
            for (int i = 0; i < 2; ++i) {
                const ChPair value = i == 0 ? ChPair() : stale;
                MLDocOut::BagWriter sink;
                sink.setBufferSize(room);
                MLDocOut out(format);
                out.begin(sink);
                out.beginItem("item");
                out.writeStrAttr("a", value);
                out.writeStrAttr("b", value, true);
                out.writeSimpleAttr("c", value);
                out.writeSimplestAttr("d", value);
                out.writeEscaped(value);
                documents[i] = std::string(sink.data, static_cast<std::size_t>(sink.size));
            }
            EXPECT_EQ(documents[0], documents[1]);
        }
    }
}

// ---- escapes ----

TEST(MLDocOutEscapeOverlap, TextMayBeAPartOfItsTarget) {
    using IntoBag = void (*)(const MLDocOut&, const ChPair&, Bag&);
    using IntoArray = void (*)(const MLDocOut&, const ChPair&, ChArr&);
    static const struct {
        int line;
        IntoBag bag;
        IntoArray array;
    } rows[] = {
        {__LINE__, [](const MLDocOut&, const ChPair& s, Bag& b) { MLDocOut::escapeStringXMLHTML(s, b); },
         [](const MLDocOut&, const ChPair& s, ChArr& a) { MLDocOut::escapeStringXMLHTML(s, a); }},
        {__LINE__, [](const MLDocOut&, const ChPair& s, Bag& b) { MLDocOut::escapeStringJSONYAML(s, b); },
         [](const MLDocOut&, const ChPair& s, ChArr& a) { MLDocOut::escapeStringJSONYAML(s, a); }},
        {__LINE__, [](const MLDocOut& o, const ChPair& s, Bag& b) { MLDocOut::escapeString(o.escape, s, b); },
         [](const MLDocOut& o, const ChPair& s, ChArr& a) { MLDocOut::escapeString(o.escape, s, a); }},
        {__LINE__, [](const MLDocOut& o, const ChPair& s, Bag& b) { MLDocOut(o).escapeString(s, b); },
         [](const MLDocOut& o, const ChPair& s, ChArr& a) { MLDocOut(o).escapeString(s, a); }},
    };
    const MLDocOut out(MLDocBase::JSON);
    const std::string source = "a<b>\"c\"\\ &'" + std::string(300, '<') + std::string(300, '"') + "end";
    const int n = static_cast<int>(source.size());
    for (const auto& row : rows) {
        for (const auto& [from, to] : {std::pair(0, n), {0, 10}, {3, 11}, {5, n}, {n - 3, n}, {n, n}, {0, 0}}) {
            SCOPED_TRACE(row.line);
            SCOPED_TRACE(from);
            for (int room : {0, 4000}) {
                for (int cursor : {0, 4, n}) {
                    Bag bags[2];
                    for (int own : {0, 1}) {
                        Bag& bag = bags[own];
                        bag.putData(source.data(), n);
                        bag.setBufferSize(n + room);
                        bag.to(cursor);
                        const char* base = own ? bag.data : source.data();
                        row.bag(out, ChPair(base + from, base + to), bag);
                    }
                    EXPECT_TRUE(bags[0] == bags[1]);
                    EXPECT_EQ(bags[0].cursor, bags[1].cursor);
                }
            }
            ChArr expected, array(source);
            row.array(out, ChPair(source.data() + from, source.data() + to), expected);
            row.array(out, ChPair(array.data + from, array.data + to), array);
            EXPECT_STREQ(expected.data, array.data);
        }
    }
}

}  // namespace
