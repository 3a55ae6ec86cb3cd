// The writer as an object: its fields, its sinks, and what it does with them.
#include <gtest/gtest.h>

#include <velmora/localization/keys.h>
#include <velmora/markup/mldocout.h>
#include <velmora/serial/ttt.h>
#include <velmora/text/charr.h>

#include <climits>
#include <cstddef>
#include <functional>
#include <string>
#include <type_traits>
#include <vector>

#include "tests/support/message.h"
#include "tests/support/temp_folder.h"
#include "tests/support/virtual_slot.h"

namespace {

static_assert(std::is_base_of<MLDocBase, MLDocOut>::value, "");
static_assert(sizeof(MLDocOut) == 88, "");
static_assert(MLDocOut::CompactMode == 1 && MLDocOut::TagOpen == 2 && MLDocOut::InContent == 4, "");
static_assert(MLDocOut::AttributesOpen == 8 && MLDocOut::NeedSeparator == 16, "");
static_assert(MLDocBase::XML == 0 && MLDocBase::JSON == 1 && MLDocBase::YAML == 2, "");
static_assert(MLDocBase::HTML == 5 && MLDocBase::CSV == 6, "");

template <class Field>
std::ptrdiff_t offsetIn(const MLDocOut& out, const Field& field) {
    return reinterpret_cast<const char*>(&field) - reinterpret_cast<const char*>(&out);
}

TEST(MLDocOutWriter, VirtualOrder) {
    EXPECT_EQ(0, support::virtualSlot(&MLDocOut::Writer::write_doc));
    EXPECT_EQ(1, support::virtualSlot(&MLDocOut::Writer::end_doc));
}

// A sink that remembers each call.
class Calls : public MLDocOut::Writer {
public:
    std::vector<std::string> writes;
    int ends = 0;
    void write_doc(const char* data, int size) override { writes.emplace_back(data, static_cast<std::size_t>(size)); }
    void end_doc() override { ++ends; }
    std::string all() const {
        std::string text;
        for (const std::string& write : writes) text += write;
        return text;
    }
};

// writeChars is for derived classes.
class Indenter : public MLDocOut {
public:
    using MLDocOut::writeChars;
};

TEST(MLDocOutCore, FieldsLieInOrder) {
    const MLDocOut out;
    const std::ptrdiff_t offsets[] = {0, 4, 8, 16, 24, 32, 40, 48, 56, 72};
    const std::ptrdiff_t found[] = {offsetIn(out, out.depth),   offsetIn(out, out.indent),  offsetIn(out, out.state),
                                    offsetIn(out, out.eoln),    offsetIn(out, out.tabSize), offsetIn(out, out.writer),
                                    offsetIn(out, out.format),  offsetIn(out, out.escape),  offsetIn(out, out.fill),
                                    offsetIn(out, out.lastName)};
    for (int i = 0; i < 10; ++i) EXPECT_EQ(offsets[i], found[i]) << i;
}

TEST(MLDocOutCore, CopyHasBuffersOfItsOwnAndTheSameSink) {
    Calls sink;
    MLDocOut out(MLDocBase::JSON);
    out.setEOLN("\n");
    out.begin(sink);
    out.beginItem("a");
    out.beginItem("child");
    out.endItem("child");
    MLDocOut copy(out);
    EXPECT_EQ(out.writer, copy.writer);
    EXPECT_EQ(out.eoln, copy.eoln);
    EXPECT_NE(out.fill.data, copy.fill.data);
    EXPECT_NE(out.lastName.data, copy.lastName.data);
    EXPECT_STREQ("child", copy.lastName.data);
    // Both go on from there by themselves.
    for (MLDocOut* each : {&out, &copy}) {
        sink.writes.clear();
        each->beginItem("child");
        each->endItem("child");
        each->endItem("a");
        each->end();
        EXPECT_EQ(",\n      {\n      }\n    ]\n  }\n}\n", sink.all());
    }
    MLDocOut assigned;
    assigned = out;
    EXPECT_EQ(MLDocBase::JSON, assigned.getFormat());
    EXPECT_NE(out.fill.data, assigned.fill.data);
}

TEST(MLDocOutCore, RawOutput) {
    Calls sink;
    Indenter out;
    out.setEOLN("|");
    out.begin(sink);
    sink.writes.clear();
    out.writeLn("text");
    out.writeLn(nullptr);
    out.writeLn("");
    EXPECT_EQ("text|||", sink.all());
    sink.writes.clear();
    out.writef("%s-%d%c%s", "a", 7, 0, "behind");
    EXPECT_EQ("a-7", sink.all());
    sink.writes.clear();
    out.writeChars(0, ' ');
    EXPECT_EQ(std::vector<std::string>{""}, sink.writes);
    out.writeChars(-1, ' ');
    EXPECT_EQ(1u, sink.writes.size());
}

TEST(MLDocOutCore, EndReachesTheSinkOnlyForABalancedDocument) {
    Calls sink;
    MLDocOut out;
    out.begin(sink);
    out.beginItem("a");
    EXPECT_THROW_KEY(out.end(), LCA__Not_enough_closing_tags);
    out.endItem("a");
    out.indent = 1;
    EXPECT_THROW_KEY(out.end(), LCA__Bad_indent);
    EXPECT_EQ(0, sink.ends);
    out.indent = 0;
    out.end();
    EXPECT_EQ(1, sink.ends);
    MLDocOut none;
    none.end();  // without a sink
}

TEST(MLDocOutCore, SecondDocumentKeepsTheMode) {
    for (MLDocBase::Format format : {MLDocBase::XML, MLDocBase::YAML, MLDocBase::CSV}) {
        SCOPED_TRACE(int{format});
        std::string first;
        MLDocOut out(format);
        out.setCompactMode(true);
        for (int i = 0; i < 2; ++i) {
            Calls sink;
            out.begin(sink);
            out.beginItem("a");
            out.writeStrAttr("b", "1");
            out.endItem("a");
            out.end();
            EXPECT_EQ(0, out.depth);
            EXPECT_EQ(0, out.indent);
            EXPECT_NE(0, out.state & MLDocOut::CompactMode);
            if (i == 0) first = sink.all();
            EXPECT_EQ(first, sink.all());
        }
    }
}

struct Refusal {};

class RefusingSink : public MLDocOut::Writer {
public:
    void write_doc(const char*, int) override { throw Refusal(); }
};

TEST(MLDocOutCore, FailureOfASinkPassesThrough) {
    RefusingSink sink;
    MLDocOut out;
    EXPECT_THROW(out.begin(sink), Refusal);
    EXPECT_THROW(out.beginItem("a"), Refusal);
    MLDocOut rows(MLDocBase::CSV);
    rows.begin(sink);
    rows.beginItem("a");
    EXPECT_THROW(rows.writeIntAttr("b", 1), Refusal);
}

// A call that writes nothing leaves a Bag alone, with room to spare or without.
TEST(MLDocOutCore, CallThatWritesNothingDoesNotCutABag) {
    for (int room : {0, 2000}) {
        SCOPED_TRACE(room);
        for (MLDocBase::Format format : {MLDocBase::HTML, MLDocBase::CSV}) {
            MLDocOut::BagWriter sink;
            MLDocOut out(format);
            out.begin(sink);
            sink.putData("0123456789", 10);
            sink.expand(room);
            out.beginItem("a");
            sink.to(3);
            const int size = sink.size;
            out.writeAttrName("a");
            EXPECT_EQ(size, sink.size);
            EXPECT_EQ(3, sink.cursor);
            EXPECT_EQ("0123456789", std::string(sink.data, 10));
            out.write("x", 1);
            EXPECT_EQ(4, sink.size);
        }
    }
}

TEST(MLDocOutCore, FailureOfABagPassesThrough) {
    for (int room : {0, 2000}) {
        for (int cursor : {-1, INT_MIN, INT_MAX}) {
            SCOPED_TRACE(room);
            SCOPED_TRACE(cursor);
            MLDocOut::BagWriter sink;
            MLDocOut out(MLDocBase::CSV);
            out.begin(sink);
            out.beginItem("a");
            sink.expand(room);
            sink.to(cursor);
            EXPECT_THROW(out.writeIntAttr("b", 1), Bag::Exception);
            EXPECT_THROW(out.writeEscaped("text"), Bag::Exception);
            EXPECT_EQ(0, sink.size);
        }
    }
}

// A row's first cell is without a separator and may be empty: nothing is to be written, not even for a moment.
TEST(MLDocOutCore, EmptyFirstCellLeavesABagAlone) {
    for (int room : {0, 2000}) {
        SCOPED_TRACE(room);
        const std::function<void(MLDocOut&)> cells[] = {
            [](MLDocOut& out) { out.writeEmptyAttr("a"); },
            [](MLDocOut& out) { out.writeSimpleAttr("a", ChPair()); },
            [](MLDocOut& out) { out.writeSimplestAttr("a", ChPair()); },
        };
        for (const auto& cell : cells) {
            MLDocOut::BagWriter sink;
            MLDocOut out(MLDocBase::CSV);
            out.begin(sink);
            sink.putData("0123456789", 10);
            sink.expand(room);
            sink.to(3);
            out.beginItem("a");
            cell(out);
            EXPECT_EQ("0123456789", std::string(sink.data, static_cast<std::size_t>(sink.size)));
            EXPECT_EQ(3, sink.cursor);
        }
    }
}

// The text may lie in the Bag that it is written to, though its block has to grow.
TEST(MLDocOutCore, PartOfABagIsEscapedIntoIt) {
    for (const char* unit : {"a", "a<", "<&"}) {
        SCOPED_TRACE(unit);
        std::string text;
        while (text.size() < 4096) text += unit;
        MLDocOut::BagWriter sink;
        MLDocOut out(MLDocBase::XML);
        out.begin(sink);
        sink.truncate();
        sink.putData(text.data(), 4096);
        sink.pack();
        out.writeEscaped(ChPair(sink.data, sink.data + 4096));
        ChArr escaped;
        MLDocOut::escapeStringXMLHTML(text, escaped);
        EXPECT_EQ(text + escaped.asCharPtr(), std::string(sink.data, static_cast<std::size_t>(sink.size)));
    }
}

// A sink gets an escaped text in one piece, and none for an empty one.
TEST(MLDocOutCore, EscapedTextIsOnePiece) {
    Calls sink;
    MLDocOut out(MLDocBase::XML);
    out.begin(sink);
    sink.writes.clear();
    const std::string text(2000, '<');
    out.writeEscaped(text);
    ASSERT_EQ(1u, sink.writes.size());
    EXPECT_EQ(8000u, sink.writes[0].size());
    out.writeEscaped(ChPair());
    EXPECT_EQ(1u, sink.writes.size());
}

// In the middle of a Bag all writing goes on from the cursor and cuts off what lay behind.
TEST(MLDocOutCore, BagIsWrittenFromItsCursor) {
    for (int room : {0, 2000}) {
        SCOPED_TRACE(room);
        MLDocOut::BagWriter sink;
        sink.putData("0123456789", 10);
        sink.expand(room);
        sink.to(3);
        MLDocOut out(MLDocBase::CSV);
        out.begin(sink);
        out.beginItem("a");
        out.writeIntAttr("b", 7);
        EXPECT_EQ("0127", std::string(sink.data, static_cast<std::size_t>(sink.size)));
    }
}

// ---- files ----

TEST(MLDocOutFileSink, ClosedObjectIsOpenedLater) {
    support::TempFolder folder;
    MLDocOut::FileWriter sink;
    EXPECT_TRUE(sink.throwing);
    EXPECT_FALSE(sink.isOpened());
    EXPECT_TRUE(sink.open(folder.file("out.xml").c_str(), UTF8File::WRITE));
    MLDocOut out;
    out.setEOLN("\n");
    out.begin(sink);
    out.end();
    EXPECT_FALSE(sink.isOpened());
    EXPECT_EQ("<?xml version= \"1.0\" encoding=\"utf-8\"?>\n", folder.read("out.xml"));
}

TEST(MLDocOutFileSink, FailedDocumentLeavesTheFileOpenUntilTheSinkEnds) {
    support::TempFolder folder;
    {
        MLDocOut::FileWriter sink(folder.file("out.xml").c_str());
        MLDocOut out;
        out.setEOLN("\n");
        out.begin(sink);
        out.beginItem("a");
        EXPECT_THROW_KEY(out.end(), LCA__Not_enough_closing_tags);
        EXPECT_TRUE(sink.isOpened());
    }
    EXPECT_EQ("<?xml version= \"1.0\" encoding=\"utf-8\"?>\n<a", folder.read("out.xml"));
}

#ifdef __linux__
TEST(MLDocOutFileSink, QuietOneTellsNothingAndIsClosed) {
    MLDocOut::FileWriter sink("/dev/full");
    sink.throwing = false;
    MLDocOut out;
    out.begin(sink);
    out.end();
    EXPECT_FALSE(sink.isOpened());
    EXPECT_FALSE(sink.throwing);
}

TEST(MLDocOutFileSink, DestructorDoesNotThrow) {
    MLDocOut out;
    {
        MLDocOut::FileWriter sink("/dev/full");
        out.begin(sink);  // held in the stream's buffer
    }
}
#endif

}  // namespace
