// What the writer allocates: its indentation and the last name while they grow, and then nothing.
#include <gtest/gtest.h>

#include <functional>
#include <new>
#include <string>

#include <velmora/markup/mldocout.h>
#include <velmora/serial/bag.h>
#include <velmora/serial/tags.h>
#include <velmora/serial/ttt.h>
#include <velmora/text/charr.h>

#include "tests/support/allocations.h"

namespace {

const MLDocBase::Format allForms[] = {MLDocBase::XML, MLDocBase::JSON, MLDocBase::YAML, MLDocBase::HTML,
                                      MLDocBase::CSV};

const PairTag kinds[] = {{"one", 1}, {"two", 2}, {"four", 4}, {nullptr, 0}};

// Counts what it is given and keeps none of it.
class CountingWriter : public MLDocOut::Writer {
public:
    long bytes = 0;
    void write_doc(const char*, int size) override { bytes += size; }
};

// An item with a child, and every attribute that needs no text of the caller's.
void writeRecord(MLDocOut& out, const std::string& longText, int i) {
    out.beginItem("record");
    out.writeStrAttr("name", "a \"quoted\" & <marked> text");
    out.writeStrAttr("long", longText);
    out.writeFormatAttr("format", "%d of %s", i, "many");
    out.writeIntAttr("int", -i);
    out.writeUIntAttr("uint", 7);
    out.writeInt64Attr("int64", -1234567890123);
    out.writeUInt64Attr("uint64", 1234567890123);
    out.writeDoubleAttr("double", 0.5);
    out.writeBoolAttr("bool", true);
    out.writeHexAttr("hex", 255);
    out.writeIPAttr("ip", 0x7F000001);
    out.writeIPPortAttr("port", 0x7F000001, 80);
    out.writeDateAttr("date", std::int64_t{1234567890});
    out.writeEnumAttr("enum", 2, kinds);
    out.writeFlagsAttr("flags", 5, kinds);
    out.beginItem("child");
    out.writeSimpleAttr("x", "1");
    out.endItem("child");
    out.endItem("record");
}

}  // namespace

TEST(MLDocOutMemory, SteadyStateAllocatesNothing) {
    const std::string longText(10000, 'x');
    for (MLDocBase::Format format : allForms) {
        for (bool compact : {false, true}) {
            SCOPED_TRACE("form " + std::to_string(format) + (compact ? ", compact" : ""));
            CountingWriter sink;
            MLDocOut out(format);
            out.setCompactMode(compact);
            out.begin(sink);
            out.beginItem("list");
            out.writeIntAttr("count", 100);
            writeRecord(out, longText, 0);
            writeRecord(out, longText, 0);
            const long before = sink.bytes;
            support::AllocationCounter counter;
            for (int i = 0; i < 100; ++i) writeRecord(out, longText, i);
            const long allocations = counter.allocations();
            out.endItem("list");
            out.end();
            EXPECT_EQ(0, allocations);
            EXPECT_LT(100 * 10000, sink.bytes - before);
        }
    }
}

TEST(MLDocOutMemory, SurvivesEveryFailedAllocation) {
    const std::string text = "some & more";
    for (MLDocBase::Format format : allForms) {
        SCOPED_TRACE(int{format});
        const int tried = support::failEachAllocation([&] {
            MLDocOut::BagWriter sink;
            MLDocOut out(format);
            out.begin(sink);
            out.beginItem("list");
            out.writeIntAttr("count", 100);
            writeRecord(out, text, 0);
            writeRecord(out, text, 1);
            out.endItem("list");
            out.end();
        });
        EXPECT_LE(2, tried);
    }
}

TEST(MLDocOutMemory, EscapingATextSurvivesEveryFailedAllocation) {
    EXPECT_EQ(1, support::failEachAllocation([] {
                  ChArr out;
                  MLDocOut::escapeStringXMLHTML("a & b", out);
                  EXPECT_STREQ("a &amp; b", out.data);
              }));
    EXPECT_LE(1, support::failEachAllocation([] {
                  Bag out;
                  MLDocOut::escapeStringJSONYAML("a \"b\"", out);
                  EXPECT_EQ(std::string("a \\\"b\\\""), std::string(out.data, static_cast<std::size_t>(out.size)));
              }));
}
