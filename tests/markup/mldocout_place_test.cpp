// The writer puts an entry straight into a Bag that has room for it. The same calls give the same bytes by way of a
// sink that is not the library's own, whatever room there is and however long the parts are.
#include <velmora/markup/mldocout.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <string>

namespace {

// Takes the bytes through write_doc, as a client's sink does.
class OwnSink : public MLDocOut::BagWriter {};

struct Setting {
    int line;
    MLDocBase::Format format;
    bool compact;
    int tabSize;
    std::string eoln;
};

const MLDocBase::Format kFormats[] = {MLDocBase::XML, MLDocBase::JSON, MLDocBase::YAML, MLDocBase::HTML,
                                      MLDocBase::CSV};

std::string content(const Bag& bag) { return std::string(bag.data, static_cast<std::size_t>(bag.size)); }

using Calls = std::function<void(MLDocOut&)>;

// Runs `calls` with `room` bytes free after `before` bytes of content, and with `cutOff` bytes after the cursor, which
// the first write cuts off.
std::string written(MLDocOut::BagWriter& sink, const Setting& setting, int before, int room, int cutOff,
                    const Calls& calls) {
    sink.setBufferSize(before + room);
    if (sink.data) std::memset(sink.data, '#', static_cast<std::size_t>(before + room));
    sink.cursor = before;
    sink.size = before + cutOff;
    MLDocOut out(setting.format);
    out.setCompactMode(setting.compact);
    out.setTabSize(setting.tabSize);
    out.setEOLN(setting.eoln.c_str());
    out.begin(sink);
    calls(out);
    EXPECT_EQ(sink.cursor, sink.size);
    return content(sink) + "|" + std::to_string(out.depth) + " " + std::to_string(out.indent) + " " +
           std::to_string(out.state);
}

void expectSame(const Setting& setting, int before, int room, int cutOff, const Calls& calls) {
    MLDocOut::BagWriter place;
    OwnSink own;
    ASSERT_EQ(written(own, setting, before, room, cutOff, calls), written(place, setting, before, room, cutOff, calls))
        << "setting at line " << setting.line << ", form " << setting.format << ", before " << before << ", room "
        << room << ", cut off " << cutOff;
}

// Every kind of entry, in every order that changes its lead, three levels deep.
void writeAll(MLDocOut& out, const char* name, const std::string& value) {
    const auto attributes = [&] {
        out.writeStrAttr(name, value);
        out.writeStrAttr("s", value);
        out.writeSimpleAttr(name, value);
        out.writeSimplestAttr("b", value);
        out.writeEmptyAttr(name);
        out.writeIntAttr("i", -12345);
        out.writeUIntAttr(name, 4000000000u);
        out.writeInt64Attr("l", std::numeric_limits<std::int64_t>::min());
        out.writeUInt64Attr("u", std::numeric_limits<std::uint64_t>::max());
        out.writeDoubleAttr("d", -1234.5);
        out.writeDoubleAttr("m", std::numeric_limits<double>::max());
        out.writeBoolAttr(name, true);
        out.writeHexAttr("h", 255);
    };
    out.beginItem("root");
    attributes();
    for (int i = 0; i < 2; ++i) {
        out.beginItem(name);
        if (i == 0) attributes();
        out.beginItem("inner");
        out.writeAttrName("a");
        out.write("0", 1);
        out.endItem("inner");
        out.endItem(name);
    }
    out.beginItem("other");
    out.beginItem(name);
    out.endItem(name);
    out.endItem("other");
    out.endItem("root");
}

TEST(MLDocOutPlace, EveryRoomGivesTheSameDocument) {
    for (const MLDocBase::Format format : kFormats) {
        for (const bool compact : {false, true}) {
            const Setting setting{__LINE__, format, compact, format == MLDocBase::XML ? 0 : 2, "\r\n"};
            for (int room = 0; room < 1400; room += room % 5 == 4 ? 13 : 1) {
                const int before = room % 3 == 0 ? 0 : 17;
                ASSERT_NO_FATAL_FAILURE(expectSame(setting, before, room, room % 7 == 0 ? room / 2 : 0,
                                                   [](MLDocOut& out) { writeAll(out, "name", "some value"); }));
            }
        }
    }
}

TEST(MLDocOutPlace, EveryLengthGivesTheSameDocument) {
    for (const MLDocBase::Format format : kFormats) {
        const Setting setting{__LINE__, format, false, 2, "\n"};
        for (const int n :
             {1, 2, 3, 4, 7, 8, 15, 16, 17, 62, 63, 64, 65, 66, 500, 2046, 2047, 2048, 2049, 4095, 4097}) {
            const std::string name(static_cast<std::size_t>(n), 'n');
            for (const int length : {0, 1, 3, 4, 7, 8, 9, 15, 16, 17, 31, 33, 490, 512, 530, 3000}) {
                const std::string value(static_cast<std::size_t>(length), 'v');
                ASSERT_NO_FATAL_FAILURE(
                    expectSame(setting, 5, 100000, 0, [&](MLDocOut& out) { writeAll(out, name.c_str(), value); }));
            }
        }
    }
}

TEST(MLDocOutPlace, EveryLineEndAndTabGivesTheSameDocument) {
    for (const MLDocBase::Format format : kFormats) {
        for (const int tabSize : {-7, -1, 0, 1, 2, 3, 4, 8, 17, 200}) {
            for (const int length : {0, 1, 2, 3, 63, 64, 65, 2047, 2048, 3000, 4096, 5000}) {
                const Setting setting{__LINE__, format, length % 2 == 1, tabSize,
                                      std::string(static_cast<std::size_t>(length), '~')};
                ASSERT_NO_FATAL_FAILURE(
                    expectSame(setting, 0, 200000, 0, [](MLDocOut& out) { writeAll(out, "name", "some value"); }));
            }
        }
    }
}

// A value that is escaped is found to be so only after its lead is put.
TEST(MLDocOutPlace, EscapedValuesGiveTheSameDocument) {
    for (const MLDocBase::Format format : kFormats) {
        for (const bool compact : {false, true}) {
            const Setting setting{__LINE__, format, compact, 2, "\r\n"};
            for (const char* mark : {"\"", "'", "<", "&", "\\", "\n", "\t", "-", ":", " ", "\x01", "\xC3\xA9"}) {
                for (int place = 0; place <= 20; ++place) {
                    const std::string value = std::string(static_cast<std::size_t>(place), 'v') + mark +
                                              std::string(static_cast<std::size_t>(20 - place), 'w');
                    ASSERT_NO_FATAL_FAILURE(
                        expectSame(setting, 3, 8000, 9, [&](MLDocOut& out) { writeAll(out, "name", value); }));
                    ASSERT_NO_FATAL_FAILURE(
                        expectSame(setting, 3, 8000, 9, [&](MLDocOut& out) { writeAll(out, "name", mark); }));
                }
            }
            // By a client's function, which may replace any byte.
            const auto replace = [](char c, int& length) -> const char* {
                if (c != 'v') return nullptr;
                length = 2;
                return "VV";
            };
            ASSERT_NO_FATAL_FAILURE(expectSame(setting, 0, 8000, 0, [&](MLDocOut& out) {
                out.escape = replace;
                writeAll(out, "name", "avb");
            }));
        }
    }
}

// An entry that cannot be written leaves the sink and the writer as they were.
TEST(MLDocOutPlace, RefusedAttributeLeavesTheSink) {
    for (const MLDocBase::Format format : kFormats) {
        MLDocOut::BagWriter sink;
        sink.setBufferSize(4096);
        MLDocOut out(format);
        out.begin(sink);
        const std::string before = content(sink);
        const int state = out.state;
        EXPECT_ANY_THROW(out.writeIntAttr("a", 1));
        EXPECT_ANY_THROW(out.writeStrAttr("a", "v"));
        EXPECT_ANY_THROW(out.writeEmptyAttr("a"));
        EXPECT_EQ(before, content(sink));
        EXPECT_EQ(static_cast<int>(before.size()), sink.cursor);
        EXPECT_EQ(state, out.state);
    }
}

}  // namespace
