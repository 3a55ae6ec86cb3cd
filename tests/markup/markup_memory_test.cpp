// What the reader allocates: the block and the name, and nothing for a token.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <new>
#include <string>

#include <velmora/localization/keys.h>
#include <velmora/markup/mldoc.h>
#include <velmora/serial/bag.h>
#include <velmora/serial/ttt.h>
#include <velmora/text/charr.h>
#include <velmora/text/charvector.h>

#include "tests/support/allocations.h"
#include "tests/support/message.h"
#include "tests/support/temp_folder.h"

namespace {

std::string listOf(int items) {
    std::string text = "<list>\n";
    for (int i = 0; i < items; ++i) {
        text += "<!-- " + std::to_string(i) + " --><item id=\"" + std::to_string(i) +
                "\" name=\"a\tb &amp; c\" on=\"true\"><sub x=\"1\"/></item><text>content</text>\n";
    }
    return text + "</list>";
}

// Loads, and when that runs out of memory lets the object load again, as nothing had happened.
void loadOrRecover(const std::function<void(MLDoc&)>& load) {
    MLDoc doc;
    doc.load("first.xml", "<first/>", 8);
    try {
        load(doc);
    } catch (const std::bad_alloc&) {
        doc.load("again.xml", "<again/>", 8);
        MLDoc::Token token;
        EXPECT_TRUE(doc.step(token));
        EXPECT_TRUE(token.name == "again");
        EXPECT_FALSE(doc.step(token));
        throw;
    }
}

}  // namespace

TEST(MLDocMemory, WalkAllocatesNothing) {
    const int count = 500;
    const std::string text = listOf(count);
    MLDoc doc;
    doc.load("list.xml", text.data(), static_cast<int>(text.size()));
    int items = 0, attributes = 0, texts = 0, on = 0;

    support::AllocationCounter counter;
    MLDoc::Token token;
    MLDoc::ChildIterator lists(&doc, token);
    while (lists("list")) {
        MLDoc::ChildIterator children(&doc, token);
        while (children()) {
            if (token.name == "text") {
                if (doc.content(token).len() == 7) ++texts;
                continue;
            }
            ++items;
            {
                MLDoc::AttributeIterator list(&doc, token);
                MLDoc::Attribute attribute;
                while (list(attribute)) ++attributes;
            }
            if (doc.getAttributeBool(token, "on")) ++on;
            char decoded[16];
            EXPECT_EQ(7, doc.convertEscape(doc.getAttributeValue(token, "name"), decoded));
            MLDoc::ChildIterator inner(&doc, token);
            while (inner("sub")) ++items;
            int line, column;
            doc.getPosition(line, column);
        }
    }
    const long allocations = counter.allocations();

    EXPECT_EQ(0, allocations);
    EXPECT_EQ(2 * count, items);
    EXPECT_EQ(3 * count, attributes);
    EXPECT_EQ(count, texts);
    EXPECT_EQ(count, on);
}

TEST(MLDocMemory, SteppingAllocatesNothing) {
    const std::string text = listOf(500);
    MLDoc doc;
    doc.load("list.xml", text.data(), static_cast<int>(text.size()));
    support::AllocationCounter counter;
    MLDoc::Token token;
    int tokens = 0;
    while (doc.step(token)) ++tokens;
    const long allocations = counter.allocations();
    EXPECT_EQ(0, allocations);
    EXPECT_EQ(2 + 6 * 500, tokens);
}

// The stack of open names grows with the depth, and in powers of two, so a list of any length adds nothing.
TEST(MLDocMemory, JsonAndYamlAllocateForTheDepthAlone) {
    const int count = 500;
    std::string json = "{ \"list\": [\n", yaml = "---\nlist:\n";
    for (int i = 0; i < count; ++i) {
        const std::string id = std::to_string(i);
        json += "  {\"id\": " + id + ", \"name\": \"a \\\" c\", \"on\": true, \"sub\": [{\"x\":1}, {\"x\":2}]},\n";
        yaml += "- id: " + id + "\n  name: \"a \\\" c\"\n  on: 'true'\n  sub:\n  - x: 1\n  - x: 2\n";
    }
    json += "] }\n";
    for (const std::string* text : {&json, &yaml}) {
        SCOPED_TRACE(text->substr(0, 20));
        for (bool read : {false, true}) {
            MLDoc doc;
            doc.load("list", text->data(), static_cast<int>(text->size()));
            MLDoc::Token token;
            // As deep as it gets.
            for (int i = 0; i < 4; ++i) ASSERT_TRUE(doc.step(token));
            int opened = 0, attributes = 0, decodedBytes = 0;
            support::AllocationCounter counter;
            while (doc.step(token)) {
                opened += token.opening;
                if (!read || !token.opening) continue;
                MLDoc::AttributeIterator list(&doc, token);
                MLDoc::Attribute attribute;
                while (list(attribute)) {
                    ++attributes;
                    char decoded[16];
                    decodedBytes += doc.convertEscape(attribute.value, decoded);
                }
            }
            const long allocations = counter.allocations();
            EXPECT_EQ(0, allocations);
            EXPECT_EQ(3 * (count - 1) + 1, opened);
            EXPECT_EQ(read ? 5 * (count - 1) + 1 : 0, attributes);
            EXPECT_EQ(read, decodedBytes > 5 * count);
        }
    }
}

TEST(MLDocMemory, LoadAllocatesTheBlockExactly) {
    const std::string text = listOf(10);
    MLDoc doc;
    support::AllocationCounter counter;
    doc.load(nullptr, text.data(), static_cast<int>(text.size()));
    const long allocations = counter.allocations();
    const long peak = counter.peakBytes();
    EXPECT_EQ(1, allocations);
    EXPECT_EQ(static_cast<long>(text.size()), peak);
}

TEST(MLDocMemory, LoadFromABagAllocatesNothing) {
    const std::string text = listOf(10);
    Bag bag(text.data(), static_cast<int>(text.size()));
    MLDoc doc;
    support::AllocationCounter counter;
    doc.load(nullptr, bag);
    const long allocations = counter.allocations();
    EXPECT_EQ(0, allocations);
    EXPECT_EQ(text.size(), doc.length);
}

TEST(MLDocMemory, ReleaseGivesTheBlockBack) {
    support::AllocationCounter counter;
    MLDoc doc;
    doc.load(nullptr, "<a/>", 4);
    const long loaded = counter.live();
    doc.release();
    const long released = counter.live();
    doc.load(nullptr, "<a/>", 4);
    doc.load(nullptr, "<b/>", 4);
    const long loadedTwice = counter.live();
    EXPECT_EQ(1, loaded);
    EXPECT_EQ(0, released);
    EXPECT_EQ(1, loadedTwice);
}

TEST(MLDocMemory, LoadSurvivesEveryFailedAllocation) {
    for (const char* text : {"<a/>", "<?xml version=\"1.0\" encoding=\"utf-8\"?><a/>", "{ }", "---\n"}) {
        SCOPED_TRACE(text);
        const int size = static_cast<int>(std::strlen(text));
        // The name and the block at least.
        EXPECT_LE(2, support::failEachAllocation(
                         [&] { loadOrRecover([&](MLDoc& doc) { doc.load("memory.xml", text, size); }); }));
    }
}

TEST(MLDocMemory, LoadFromABagSurvivesEveryFailedAllocation) {
    const int tried = support::failEachAllocation([] {
        Bag bag("<a/>", 4);
        char* block = bag.data;
        loadOrRecover([&](MLDoc& doc) {
            try {
                doc.load("bag.xml", bag);
                EXPECT_EQ(block, doc.buffer);
            } catch (const std::bad_alloc&) {
                // The name comes first, so the bag has what it had.
                EXPECT_EQ(block, bag.data);
                EXPECT_EQ(4, bag.size);
                EXPECT_EQ(nullptr, doc.buffer);
                throw;
            }
        });
    });
    EXPECT_LE(2, tried);
}

TEST(MLDocMemory, LoadFromAFileSurvivesEveryFailedAllocation) {
    support::TempFolder folder;
    const std::string path = folder.write("memory.xml", "<a/>");
    const int tried = support::failEachAllocation([&] {
        loadOrRecover([&](MLDoc& doc) {
            try {
                doc.load(path.c_str());
            } catch (const TTT& message) {
                // Of the block alone it is told by a message, since that depends on the file.
                int id = -1;
                message.getIds(nullptr, &id);
                EXPECT_EQ(LCA__Not_enough_memory_to_load_file, id);
                EXPECT_EQ(nullptr, doc.buffer);
                throw std::bad_alloc();
            }
        });
    });
    EXPECT_LE(2, tried);
}

TEST(MLDocMemory, RefusalSurvivesEveryFailedAllocation) {
    for (const char* text : {"text", "<", "<?xml encoding=\"latin1\"?>", "<?xml a='b'?>"}) {
        SCOPED_TRACE(text);
        const int size = static_cast<int>(std::strlen(text));
        const int tried = support::failEachAllocation([&] {
            loadOrRecover([&](MLDoc& doc) {
                try {
                    doc.load("refused.xml", text, size);
                    ADD_FAILURE() << "loaded";
                } catch (const TTT&) {
                    EXPECT_EQ(nullptr, doc.buffer);
                }
            });
        });
        EXPECT_LE(3, tried);
    }
}

TEST(MLDocMemory, FailureOfAWalkSurvivesEveryFailedAllocation) {
    MLDoc doc;
    doc.load("walk.xml", "<a b='1'><>", 11);
    const int tried = support::failEachAllocation([&] {
        doc.position = 0;
        MLDoc::Token token;
        EXPECT_TRUE(doc.step(token));
        int failures = 0;
        try {
            MLDoc::AttributeIterator attributes(&doc, token);
            MLDoc::Attribute attribute;
            attributes(attribute);
        } catch (TTT& message) {
            doc.formMessage(message);
            ++failures;
        }
        EXPECT_EQ(9u, doc.position);
        try {
            doc.step(token);
        } catch (TTT& message) {
            doc.formMessage(message);
            ++failures;
        }
        EXPECT_EQ(2, failures);
    });
    EXPECT_LE(2, tried);
}

// The stack of open names grows on the way.
TEST(MLDocMemory, DeepWalkSurvivesEveryFailedAllocation) {
    std::string json, yaml = "---\n";
    for (int i = 0; i < 40; ++i) {
        const std::string indent(static_cast<std::size_t>(2 * i), ' ');
        json += "{\"a\":1,\"list\":[";
        yaml += indent + "list:\n" + indent + "- a: 1\n";
    }
    json += "{}";
    for (int i = 0; i < 40; ++i) json += "]}";
    for (const std::string* text : {&json, &yaml}) {
        SCOPED_TRACE(text->substr(0, 10));
        for (bool read : {false, true}) {
            const int tried = support::failEachAllocation([&] {
                MLDoc doc;
                doc.load(nullptr, text->data(), static_cast<int>(text->size()));
                MLDoc::Token token;
                int depth = 0;
                while (doc.step(token)) {
                    depth = token.level > depth ? token.level : depth;
                    if (!read || !token.opening) continue;
                    MLDoc::AttributeIterator attributes(&doc, token);
                    MLDoc::Attribute attribute;
                    while (attributes(attribute)) continue;
                }
                EXPECT_EQ(41, depth);
                EXPECT_EQ(0, token.level);
            });
            EXPECT_LE(3, tried);
        }
    }
}

TEST(MLDocMemory, ConvertEscapeSurvivesEveryFailedAllocation) {
    MLDoc doc;
    doc.format = MLDocBase::XML;
    const ChPair value = "a text of some length &amp; an entity";
    const std::string decoded = "a text of some length & an entity";
    EXPECT_LE(2, support::failEachAllocation([&] {
                  CharVector out("old");
                  doc.convertEscape(value, out);
                  EXPECT_STREQ(decoded.c_str(), out.data);
              }));
    EXPECT_LE(2, support::failEachAllocation([&] {
                  ChArr out("old");
                  doc.convertEscape(value, out);
                  EXPECT_STREQ(decoded.c_str(), out.data);
              }));
    EXPECT_LE(1, support::failEachAllocation([&] {
                  std::string out("old");
                  doc.convertEscape(value, out);
                  EXPECT_EQ(0, std::strcmp(decoded.c_str(), out.c_str()));
              }));
    EXPECT_LE(2, support::failEachAllocation([&] {
                  TTT out("old");
                  try {
                      doc.convertEscape(value, out);
                  } catch (const std::bad_alloc&) {
                      EXPECT_EQ(8, out.getData().size);
                      EXPECT_STREQ("old", out.getData().data + 4);
                      throw;
                  }
                  EXPECT_STREQ(decoded.c_str(), out.getData().data + 4);
              }));
}

TEST(MLDocMemory, FailedConvertEscapeLeaksNothing) {
    MLDoc doc;
    doc.format = MLDocBase::XML;
    auto failingInto = [&doc](auto&& out) {
        try {
            doc.convertEscape("a text of some length &x; and no entity", out);
        } catch (const TTT&) {
            return true;
        }
        return false;
    };
    support::AllocationCounter counter;
    const bool failed = failingInto(CharVector("old")) && failingInto(ChArr("old")) &&
                        failingInto(std::string("a text that was long enough before")) && failingInto(TTT("old"));
    const long live = counter.live();
    EXPECT_TRUE(failed);
    EXPECT_EQ(0, live);
}
