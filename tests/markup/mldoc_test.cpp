#include <velmora/markup/mldoc.h>

#include <gtest/gtest.h>

#include <atomic>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <ostream>
#include <random>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include <velmora/files/utf8file.h>
#include <velmora/localization/keys.h>
#include <velmora/serial/bag.h>
#include <velmora/serial/ttt.h>

#include "tests/support/guard_page.h"
#include "tests/support/message.h"
#include "tests/support/temp_folder.h"
#include "tests/support/virtual_slot.h"
#include "tests/support/walk_dump.h"

// Values, sizes and places that callers were compiled with.

static_assert(MLDocBase::XML == 0 && MLDocBase::JSON == 1 && MLDocBase::YAML == 2 && MLDocBase::Unknown == 3);
static_assert(MLDocBase::HTML == 5 && MLDocBase::CSV == 6);
static_assert(sizeof(MLDocBase::Format) == 4);
static_assert(std::is_empty<MLDocBase>::value);
static_assert(std::is_base_of<MLDocBase, MLDoc>::value);

static_assert(MLDoc::TokenNameMax == 512 && MLDoc::AttributeNameMax == 512);
static_assert(std::is_same<decltype(MLDoc::TokenNameMax), const std::uint64_t>::value);
static_assert(std::is_same<decltype(MLDoc::AttributeNameMax), const std::uint64_t>::value);

static_assert(std::is_standard_layout<MLDoc::Token>::value);
static_assert(offsetof(MLDoc::Token, name) == 0);
static_assert(offsetof(MLDoc::Token, body) == 16);
static_assert(offsetof(MLDoc::Token, kind) == 32);
static_assert(offsetof(MLDoc::Token, level) == 36);
static_assert(offsetof(MLDoc::Token, opening) == 40);
static_assert(offsetof(MLDoc::Token, closing) == 41);
static_assert(sizeof(MLDoc::Token) == 48);

static_assert(std::is_standard_layout<MLDoc::Attribute>::value);
static_assert(offsetof(MLDoc::Attribute, name) == 0);
static_assert(offsetof(MLDoc::Attribute, value) == 16);
static_assert(sizeof(MLDoc::Attribute) == 32);

static_assert(std::is_standard_layout<MLDoc::ChildIterator>::value);
static_assert(offsetof(MLDoc::ChildIterator, level) == 0);
static_assert(offsetof(MLDoc::ChildIterator, startPosition) == 4);
static_assert(offsetof(MLDoc::ChildIterator, token) == 8);
static_assert(offsetof(MLDoc::ChildIterator, doc) == 16);
static_assert(sizeof(MLDoc::ChildIterator) == 24);

static_assert(std::is_standard_layout<MLDoc::AttributeIterator>::value);
static_assert(offsetof(MLDoc::AttributeIterator, doc) == 0);
static_assert(offsetof(MLDoc::AttributeIterator, token) == 8);
static_assert(sizeof(MLDoc::AttributeIterator) == 16);

// The pointer to the virtual table, then the fields without any other.
static_assert(sizeof(MLDoc) == 136);
static_assert(std::has_virtual_destructor<MLDoc>::value);

static_assert(std::is_same<decltype(MLDoc::length), std::uint32_t>::value);
static_assert(std::is_same<decltype(MLDoc::position), std::uint32_t>::value);
static_assert(std::is_same<decltype(MLDoc::buffer), char*>::value);
static_assert(std::is_same<decltype(MLDoc::fileName), ChArr>::value);
static_assert(std::is_same<decltype(MLDoc::openNames), SimpleVector<ChPair>>::value);
static_assert(std::is_same<decltype(MLDoc::cachedLine), int>::value);
static_assert(std::is_same<decltype(MLDoc::cachedColumn), int>::value);
static_assert(std::is_same<decltype(MLDoc::cachedOffset), std::uint32_t>::value);
static_assert(std::is_same<decltype(MLDoc::format), MLDocBase::Format>::value);
static_assert(std::is_same<decltype(MLDoc::codePage), int>::value);
static_assert(std::is_same<decltype(MLDoc::yamlRest), ChPair>::value);
static_assert(std::is_same<decltype(MLDoc::yamlName), ChPair>::value);
static_assert(std::is_same<decltype(MLDoc::yamlValue), ChPair>::value);
static_assert(std::is_same<decltype(MLDoc::yamlValueKind), char>::value);
static_assert(std::is_same<decltype(MLDoc::yamlItem), bool>::value);
static_assert(std::is_same<decltype(MLDoc::yamlLevel), int>::value);
static_assert(std::is_same<decltype(MLDoc::yamlIndentUnit), int>::value);
static_assert(std::is_same<decltype(MLDoc::yamlState), int>::value);

namespace {

const std::string kBom = "\xEF\xBB\xBF";

void loadText(MLDoc& doc, const std::string& text, const char* name = "doc.xml") {
    doc.load(name, text.data(), static_cast<int>(text.size()));
}

// A document on which a walk has begun, so that every field of the cursor and of the memo has moved.
void loadAndWalkHalf(MLDoc& doc) {
    loadText(doc, "<first/>\n<second/><third/>", "before.xml");
    MLDoc::Token token;
    doc.step(token);
    doc.step(token);
    int line, column;
    doc.getPosition(line, column);
    ASSERT_EQ(18u, doc.position);
    ASSERT_EQ(18u, doc.cachedOffset);
    ASSERT_EQ(2, doc.cachedLine);
    ASSERT_EQ(10, doc.cachedColumn);
}

// The cursor and the memo stand as in a new object, and there is no block.
void expectReleased(const MLDoc& doc) {
    EXPECT_EQ(nullptr, doc.buffer);
    EXPECT_EQ(0u, doc.position);
    EXPECT_EQ(1, doc.cachedLine);
    EXPECT_EQ(1, doc.cachedColumn);
    EXPECT_EQ(0u, doc.cachedOffset);
}

void expectLoadsCleanly(MLDoc& doc) {
    loadText(doc, "<x><y/></x>", "after.xml");
    EXPECT_EQ(0u, doc.position);
    EXPECT_EQ("x{ y }", support::dumpWalk(doc));
    EXPECT_STREQ("after.xml", doc.fileName.data);
}

std::string allBytes() {
    std::string bytes = "<a>";
    for (int c = 0; c < 256; ++c) bytes += static_cast<char>(c);
    return bytes;
}

}  // namespace

// ---- the object ----

TEST(MLDoc, VirtualOrder) { EXPECT_EQ(2, support::virtualSlot(&MLDoc::warnSuspiciousAttribute)); }

TEST(MLDocBaseFormatName, NamesTheThreeFormatsThatAreRead) {
    EXPECT_STREQ("XML", MLDocBase::formatName[MLDocBase::XML]);
    EXPECT_STREQ("JSON", MLDocBase::formatName[MLDocBase::JSON]);
    EXPECT_STREQ("YAML", MLDocBase::formatName[MLDocBase::YAML]);
    EXPECT_EQ(3u, std::extent<decltype(MLDocBase::formatName)>::value);
}

TEST(MLDoc, FieldsStandInOrder) {
    MLDoc doc;
    auto place = [](const auto& field) { return reinterpret_cast<std::uintptr_t>(&field); };
    const std::uintptr_t places[] = {
        place(doc.length),         place(doc.position),      place(doc.buffer),       place(doc.fileName),
        place(doc.openNames),      place(doc.cachedLine),    place(doc.cachedColumn), place(doc.cachedOffset),
        place(doc.format),         place(doc.codePage),      place(doc.yamlRest),     place(doc.yamlName),
        place(doc.yamlValue),      place(doc.yamlValueKind), place(doc.yamlItem),     place(doc.yamlLevel),
        place(doc.yamlIndentUnit), place(doc.yamlState),
    };
    for (std::size_t i = 1; i < sizeof(places) / sizeof(*places); ++i) EXPECT_LT(places[i - 1], places[i]) << i;
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(&doc) + 8, places[0]);
}

TEST(MLDoc, StartsEmpty) {
    MLDoc doc;
    EXPECT_EQ(0u, doc.length);
    EXPECT_EQ(0u, doc.position);
    EXPECT_EQ(nullptr, doc.buffer);
    EXPECT_EQ(nullptr, doc.fileName.data);
    EXPECT_EQ(nullptr, doc.openNames.data);
    EXPECT_EQ(0, doc.openNames.count);
    EXPECT_EQ(1, doc.cachedLine);
    EXPECT_EQ(1, doc.cachedColumn);
    EXPECT_EQ(0u, doc.cachedOffset);
    EXPECT_EQ(MLDocBase::Unknown, doc.format);
    EXPECT_EQ(8, doc.codePage);
    EXPECT_EQ(nullptr, doc.yamlRest.begin);
    EXPECT_EQ(nullptr, doc.yamlRest.end);
    EXPECT_EQ(nullptr, doc.yamlName.begin);
    EXPECT_EQ(nullptr, doc.yamlName.end);
    EXPECT_EQ(nullptr, doc.yamlValue.begin);
    EXPECT_EQ(nullptr, doc.yamlValue.end);
    EXPECT_EQ(0, doc.yamlValueKind);
    EXPECT_FALSE(doc.yamlItem);
    EXPECT_EQ(-1, doc.yamlLevel);
    EXPECT_EQ(-1, doc.yamlIndentUnit);
    EXPECT_EQ(-1, doc.yamlState);
}

TEST(MLDoc, NothingLoadedHasNoTokens) {
    MLDoc doc;
    MLDoc::Token token;
    EXPECT_FALSE(doc.step(token));
    EXPECT_EQ(0u, doc.position);
    MLDoc::ChildIterator items(&doc, token);
    EXPECT_FALSE(items());
}

TEST(MLDocToken, StartsZero) {
    MLDoc::Token token;
    EXPECT_EQ(nullptr, token.name.begin);
    EXPECT_EQ(nullptr, token.name.end);
    EXPECT_EQ(nullptr, token.body.begin);
    EXPECT_EQ(nullptr, token.body.end);
    EXPECT_EQ(0, token.kind);
    EXPECT_EQ(0, token.level);
    EXPECT_FALSE(token.opening);
    EXPECT_FALSE(token.closing);
}

TEST(MLDocAttribute, StartsNullAndConvertsToItsValue) {
    MLDoc::Attribute attribute;
    EXPECT_EQ(nullptr, attribute.name.begin);
    EXPECT_EQ(nullptr, attribute.name.end);
    EXPECT_EQ(nullptr, attribute.value.begin);
    EXPECT_EQ(nullptr, attribute.value.end);
    const MLDoc::Attribute& readOnly = attribute;
    const ChPair& value = readOnly;
    EXPECT_EQ(&attribute.value, &value);
}

TEST(MLDocCopy, SharesTheBlockAndDuplicatesTheRest) {
    MLDoc doc;
    loadText(doc, "{ \"a\": 1 }", "named.json");
    doc.position = 3;
    doc.cachedLine = 4;
    doc.cachedColumn = 5;
    doc.cachedOffset = 2;
    doc.codePage = 1251;
    doc.yamlRest = ChPair(doc.buffer, 1);
    doc.yamlName = ChPair(doc.buffer, 2);
    doc.yamlValue = ChPair(doc.buffer, 3);
    doc.yamlValueKind = 'q';
    doc.yamlItem = true;
    doc.yamlLevel = 6;
    doc.yamlIndentUnit = 7;
    doc.yamlState = 8;

    auto expectCopy = [&doc](const MLDoc& copy) {
        EXPECT_EQ(doc.length, copy.length);
        EXPECT_EQ(3u, copy.position);
        EXPECT_EQ(doc.buffer, copy.buffer);
        EXPECT_STREQ("named.json", copy.fileName.data);
        EXPECT_NE(doc.fileName.data, copy.fileName.data);
        EXPECT_EQ(1, copy.openNames.count);
        EXPECT_NE(nullptr, copy.openNames.data);
        EXPECT_NE(doc.openNames.data, copy.openNames.data);
        EXPECT_EQ(4, copy.cachedLine);
        EXPECT_EQ(5, copy.cachedColumn);
        EXPECT_EQ(2u, copy.cachedOffset);
        EXPECT_EQ(MLDocBase::JSON, copy.format);
        EXPECT_EQ(1251, copy.codePage);
        EXPECT_EQ(doc.buffer + 1, copy.yamlRest.end);
        EXPECT_EQ(doc.buffer + 2, copy.yamlName.end);
        EXPECT_EQ(doc.buffer + 3, copy.yamlValue.end);
        EXPECT_EQ('q', copy.yamlValueKind);
        EXPECT_TRUE(copy.yamlItem);
        EXPECT_EQ(6, copy.yamlLevel);
        EXPECT_EQ(7, copy.yamlIndentUnit);
        EXPECT_EQ(8, copy.yamlState);
    };

    MLDoc copy(doc);
    expectCopy(copy);
    copy.buffer = nullptr;  // one owner only

    MLDoc target;
    loadText(target, "<own/>", "own.xml");
    char* own = target.buffer;
    target = doc;
    expectCopy(target);
    // An assignment that released the old block would have left nothing to read here, nor to release.
    EXPECT_EQ(0, std::memcmp(own, "<own/>", 6));
    delete[] own;
    target.buffer = nullptr;
}

TEST(MLDocDestructor, IsVirtual) {
    static int destroyed;
    class Derived : public MLDoc {
    public:
        ~Derived() override { ++destroyed; }
    };
    destroyed = 0;
    MLDoc* doc = new Derived;
    loadText(*doc, "<a/>");
    delete doc;
    EXPECT_EQ(1, destroyed);
}

// ---- loading ----

TEST(MLDocLoad, CopiesABlockOfMemory) {
    std::string text = allBytes();
    const std::string original = text;
    MLDoc doc;
    doc.load("memory.xml", text.data(), static_cast<int>(text.size()));
    EXPECT_NE(text.data(), doc.buffer);
    text.assign(text.size(), '#');
    EXPECT_EQ(259u, doc.length);
    EXPECT_EQ(original, std::string(doc.buffer, doc.length));
    EXPECT_STREQ("memory.xml", doc.fileName.data);
    EXPECT_EQ(MLDocBase::XML, doc.format);
    EXPECT_EQ(8, doc.codePage);
    EXPECT_EQ(0u, doc.position);
}

TEST(MLDocLoad, ReadsNoMoreOfABlockThanItIsTold) {
    support::GuardedBytes bytes("<a/>");
    MLDoc doc;
    doc.load("memory.xml", bytes.begin(), static_cast<int>(bytes.size()));
    EXPECT_EQ(4u, doc.length);
    doc.load("memory.xml", "<a/><b/>", 4);
    EXPECT_EQ(4u, doc.length);
    EXPECT_EQ("a", support::dumpWalk(doc));
}

TEST(MLDocLoad, TakesTheStorageOfABag) {
    Bag bag("<a/>", 4);
    bag.to(2);
    char* block = bag.data;
    MLDoc doc;
    doc.load("bag.xml", bag);
    EXPECT_EQ(block, doc.buffer);
    EXPECT_EQ(4u, doc.length);
    EXPECT_STREQ("bag.xml", doc.fileName.data);
    EXPECT_EQ(MLDocBase::XML, doc.format);
    EXPECT_EQ(0u, doc.position);
    EXPECT_EQ(nullptr, bag.data);
    EXPECT_EQ(0, bag.bufferSize);
    EXPECT_EQ(0, bag.cursor);
    EXPECT_EQ(0, bag.size);
    EXPECT_EQ("a", support::dumpWalk(doc));
}

TEST(MLDocLoad, EmptyBagWithStorageLosesIt) {
    Bag bag("<a/>", 4);
    bag.truncate();
    ASSERT_NE(nullptr, bag.data);
    MLDoc doc;
    EXPECT_EQ("LCA__Too_short_file LCA__Path_s(bag.xml)", support::thrownMessage([&] { doc.load("bag.xml", bag); }));
    EXPECT_EQ(nullptr, bag.data);
    EXPECT_EQ(0, bag.bufferSize);
    EXPECT_EQ(nullptr, doc.buffer);
    EXPECT_EQ(0u, doc.length);

    Bag empty;
    EXPECT_EQ("LCA__Too_short_file LCA__Path_s(bag.xml)", support::thrownMessage([&] { doc.load("bag.xml", empty); }));
    EXPECT_EQ(nullptr, doc.buffer);
}

TEST(MLDocLoad, ReadsAFile) {
    support::TempFolder folder;
    const std::string text = allBytes();
    const std::string path = folder.write("d\xC3\xA4.xml", text);
    MLDoc doc;
    doc.load(path.c_str());
    EXPECT_EQ(text, std::string(doc.buffer, doc.length));
    EXPECT_EQ(path, std::string(doc.fileName.asCharPtr()));
    EXPECT_EQ(MLDocBase::XML, doc.format);
    EXPECT_EQ(0u, doc.position);
    // The name may be the object's own.
    folder.write("d\xC3\xA4.xml", "---\nx: 1\n");
    doc.load(doc.fileName.data);
    EXPECT_EQ(path, std::string(doc.fileName.asCharPtr()));
    EXPECT_EQ(MLDocBase::YAML, doc.format);
    EXPECT_EQ(9u, doc.length);
}

TEST(MLDocLoad, NameMayBeAPartOfTheFormerOne) {
    support::TempFolder folder;
    const std::string path = folder.write("a.xml", "<a/>");
    MLDoc doc;
    doc.fileName = "from " + path;
    doc.load(doc.fileName.data + 5);
    EXPECT_EQ(path, std::string(doc.fileName.asCharPtr()));
    doc.load(doc.fileName.data + path.size() - 3, "{}", 3);
    EXPECT_STREQ("xml", doc.fileName.data);
    EXPECT_EQ("LCA__Too_short_file LCA__Path_s(ml)",
              support::thrownMessage([&] { doc.load(doc.fileName.data + 1, "{}", 2); }));
    Bag bag("x", 1);
    EXPECT_EQ("LCA__Too_short_file LCA__Path_s(l)",
              support::thrownMessage([&] { doc.load(doc.fileName.data + 1, bag); }));
}

// A document inside of a document, as a value that holds one.
TEST(MLDocLoad, DataMayBeAPartOfTheFormerDocument) {
    const std::string outer = "<a><b/></a>{\"c\":\"d\"}---\ne: f\n" + std::string(1000, ' ') + "<g/>";
    const struct {
        int line;
        int from;
        int to;
        const char* walk;
    } rows[] = {
        {__LINE__, 0, 11, "a{ b }"}, {__LINE__, 3, 7, "b"},       {__LINE__, 11, 20, "(c=d)"},
        {__LINE__, 20, 29, "(e=f)"}, {__LINE__, 1029, 1033, "g"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line);
        const std::string part =
            outer.substr(static_cast<std::size_t>(row.from), static_cast<std::size_t>(row.to - row.from));
        MLDoc expected;
        loadText(expected, part);
        MLDoc doc;
        loadText(doc, outer);
        doc.load("part", doc.buffer + row.from, row.to - row.from);
        EXPECT_EQ(part, std::string(doc.buffer, doc.length));
        EXPECT_STREQ("part", doc.fileName.data);
        EXPECT_EQ(support::dumpWalk(expected), support::dumpWalk(doc));
        EXPECT_EQ(0u, doc.cachedOffset);
    }
    MLDoc doc;
    loadText(doc, outer);
    EXPECT_EQ("LCA__Too_short_file LCA__Path_s(part)",
              support::thrownMessage([&] { doc.load("part", doc.buffer + 4, 2); }));
    expectReleased(doc);
}

// The name of the next document may lie in this one, or in the Bag.
TEST(MLDocLoad, NameMayBeAPartOfTheFormerDocument) {
    support::TempFolder folder;
    const std::string path = folder.write("inner.xml", "<inner/>");
    std::string outer = "<first name=\"" + path + "\"/>";
    const std::size_t at = outer.find(path);
    outer[at + path.size()] = 0;
    MLDoc doc;
    loadText(doc, outer);
    doc.load(doc.buffer + at);
    EXPECT_EQ(path, std::string(doc.fileName.asCharPtr()));
    EXPECT_EQ("inner", support::dumpWalk(doc));
    loadText(doc, outer);
    doc.load(doc.buffer + at, "<b/>", 4);
    EXPECT_EQ(path, std::string(doc.fileName.asCharPtr()));
    EXPECT_EQ("b", support::dumpWalk(doc));
    loadText(doc, outer);
    doc.load(doc.buffer + at, doc.buffer, 5);
    EXPECT_EQ(path, std::string(doc.fileName.asCharPtr()));
    EXPECT_EQ("<firs", std::string(doc.buffer, doc.length));
    loadText(doc, outer);
    Bag bag("<c/>", 4);
    doc.load(doc.buffer + at, bag);
    EXPECT_EQ(path, std::string(doc.fileName.asCharPtr()));
    EXPECT_EQ("c", support::dumpWalk(doc));
    bag << "<d/>";
    doc.load(bag.data, bag);
    EXPECT_STREQ("<d/>", doc.fileName.data);
    EXPECT_EQ(5u, doc.length);
    loadText(doc, outer);
    EXPECT_EQ("LCA__Too_big_file LCA__Path_s(" + path + ")",
              support::thrownMessage([&] { doc.load(doc.buffer + at, "<a/>", -1); }));
    EXPECT_EQ(path, std::string(doc.fileName.asCharPtr()));
    loadText(doc, outer, "former");
    bag.putString("<a/>");
    const int size = bag.size;
    bag.size = 100'000'001;
    EXPECT_EQ("LCA__Too_big_file LCA__Path_s(" + path + ")",
              support::thrownMessage([&] { doc.load(doc.buffer + at, bag); }));
    bag.size = size;
    EXPECT_STREQ("former", doc.fileName.data);
    std::memcpy(&outer[at + path.size() - 4], ".non", 4);
    loadText(doc, outer);
    EXPECT_EQ("LCA__Cannot_open_file", support::thrownKey([&] { doc.load(doc.buffer + at); }));
    expectReleased(doc);
}

// A document that is taken away and given back.
TEST(MLDocLoad, BagMayHoldTheFormerDocument) {
    MLDoc doc;
    loadText(doc, "<a><b/></a>");
    const char* block = doc.buffer;
    Bag bag;
    bag.stealFrom(doc);
    doc.position = 0;
    doc.load("again", bag);
    EXPECT_EQ(block, doc.buffer);
    EXPECT_EQ("a{ b }", support::dumpWalk(doc));
}

// The classes of bytes are there before any document is loaded, so no thread has to wait for another one's first load.
TEST(MLDocXml, NeedsNoPreparation) {
    xml_char_classes_prepare();
    std::vector<std::string> walks(8);
    std::vector<std::thread> threads;
    std::atomic<int> waiting{static_cast<int>(walks.size())};
    for (std::string& walk : walks) {
        threads.emplace_back([&walk, &waiting] {
            const std::string text = "<a b=\"c\"><d-e.f:g_h/></a>";
            MLDoc doc;
            doc.buffer = new char[text.size()];
            std::memcpy(doc.buffer, text.data(), text.size());
            doc.length = static_cast<std::uint32_t>(text.size());
            doc.format = MLDocBase::XML;
            for (--waiting; waiting != 0;) std::this_thread::yield();
            walk = support::dumpWalk(doc);
        });
    }
    for (std::thread& thread : threads) thread.join();
    for (const std::string& walk : walks) EXPECT_EQ("a(b=c){ d-e.f:g_h }", walk);
}

TEST(MLDocGuessFormat, DocumentThatIsGoneIsTooShort) {
    MLDoc doc;
    doc.load("name", "<a/>", 4);
    int size;
    delete[] doc.steal(size);
    EXPECT_EQ("LCA__Too_short_file LCA__Path_s(name)", support::thrownMessage([&] { doc.guessFormat("name"); }));
}

TEST(MLDocLoad, MissingFileLeavesNoDocument) {
    support::TempFolder folder;
    const std::string path = folder.file("none.xml");
    MLDoc doc;
    loadAndWalkHalf(doc);
    const std::string message = support::thrownMessage([&] { doc.load(path.c_str()); });
    EXPECT_EQ(0u, message.find("LCA__Cannot_open_file LCA__Path_s(" + path + ") LCA__System_diagnostic_s(")) << message;
    expectReleased(doc);
    EXPECT_EQ(path, std::string(doc.fileName.asCharPtr()));
    expectLoadsCleanly(doc);
}

TEST(MLDocLoad, ReleasesTheFormerDocument) {
    MLDoc doc;
    loadAndWalkHalf(doc);
    loadText(doc, "<x/>", "next.xml");
    EXPECT_EQ(0u, doc.position);
    EXPECT_EQ(1, doc.cachedLine);
    EXPECT_EQ(1, doc.cachedColumn);
    EXPECT_EQ(0u, doc.cachedOffset);
    EXPECT_EQ(4u, doc.length);
    EXPECT_STREQ("next.xml", doc.fileName.data);
    EXPECT_EQ("x", support::dumpWalk(doc));
}

TEST(MLDocLoad, NameMayBeNullOrEmpty) {
    MLDoc doc;
    loadText(doc, "<x/>", "name.xml");
    loadText(doc, "<x/>", nullptr);
    EXPECT_EQ(nullptr, doc.fileName.data);
    loadText(doc, "<x/>", "");
    EXPECT_STREQ("", doc.fileName.data);
    EXPECT_EQ("LCA__Unknown_text_format", support::thrownMessage([&] { loadText(doc, "[1]", nullptr); }));
    EXPECT_EQ("LCA__Unknown_text_format", support::thrownMessage([&] { loadText(doc, "[1]", ""); }));
    EXPECT_EQ("LCA__Too_big_file", support::thrownMessage([&] { doc.load(nullptr, "<x/>", -1); }));
}

TEST(MLDocLoad, HundredMillionBytesOfMemoryLoad) {
    const int size = 100'000'000;
    std::unique_ptr<char, decltype(&std::free)> block(static_cast<char*>(std::calloc(size, 1)), &std::free);
    ASSERT_TRUE(block);
    std::memcpy(block.get(), "<a/>", 4);
    block.get()[size - 1] = 'z';
    MLDoc doc;
    doc.load("big.xml", block.get(), size);
    EXPECT_EQ(100'000'000u, doc.length);
    EXPECT_EQ('<', doc.buffer[0]);
    EXPECT_EQ('z', doc.buffer[size - 1]);
    EXPECT_EQ(MLDocBase::XML, doc.format);
}

// Whatever length and format a document tells that holds nothing, there is nothing to step through.
TEST(MLDocLoad, DocumentWithoutABlockHasNoTokens) {
    for (const char* former : {"<a b=\"1\"><c/></a>", "{\"a\":[{\"b\":1}]}", "---\na:\n- b: 1\n"}) {
        SCOPED_TRACE(former);
        MLDoc doc;
        doc.load("former", former, static_cast<int>(std::strlen(former)));
        EXPECT_THROW(doc.load("refused", "hello", 5), TTT);
        MLDoc::Token token;
        MLDoc::Attribute attribute;
        EXPECT_FALSE(doc.step(token));
        EXPECT_FALSE(doc.attribute(token, attribute));
        MLDoc::Token root;
        MLDoc::ChildIterator children(&doc, root);
        EXPECT_FALSE(children());
    }
}

// A content that ends in front of its Bag is none that a document could be made of.
TEST(MLDocLoad, BagOfNegativeSizeIsRefused) {
    Bag bag("<!-\xFF", 4);
    bag.beginBlock();
    ASSERT_GT(0, bag.size);
    MLDoc doc;
    EXPECT_EQ("LCA__Too_short_file LCA__Path_s(bag)", support::thrownMessage([&] { doc.load("bag", bag); }));
    EXPECT_EQ(nullptr, doc.buffer);
    EXPECT_EQ(0u, doc.length);
    EXPECT_EQ(nullptr, bag.data);
    EXPECT_EQ(0, bag.size);
}

// A walk that goes on with the token of a failed step may put the position anywhere.
TEST(MLDocGetPosition, BehindTheDocumentIsItsEnd) {
    MLDoc doc;
    doc.load("name", "<a>\n<b/></a>", 12);
    for (const std::uint32_t position : {12u, 13u, 1000000u, UINT32_MAX}) {
        SCOPED_TRACE(position);
        doc.position = position;
        int line = 0, column = 0;
        doc.getPosition(line, column);
        EXPECT_EQ(1, line);
        EXPECT_EQ(1, column);
    }
}

TEST(MLDocLoad, MoreThanHundredMillionBytesOfMemoryAreRefused) {
    // The block is not looked at, so it need not be that long.
    for (int size : {100'000'001, INT_MAX, -1, INT_MIN}) {
        SCOPED_TRACE(size);
        MLDoc doc;
        loadAndWalkHalf(doc);
        EXPECT_EQ("LCA__Too_big_file LCA__Path_s(big.xml)",
                  support::thrownMessage([&] { doc.load("big.xml", "<a/>", size); }));
        expectReleased(doc);
        EXPECT_EQ(static_cast<std::uint32_t>(size), doc.length);
        EXPECT_STREQ("big.xml", doc.fileName.data);
        expectLoadsCleanly(doc);
    }
}

TEST(MLDocLoad, HundredMillionBytesInABagLoad) {
    const int size = 100'000'000;
    char* block = new char[size];
    std::memcpy(block, "<a/>", 4);
    Bag bag;
    bag.stealFrom(block, size);
    MLDoc doc;
    doc.load("big.xml", bag);
    EXPECT_EQ(block, doc.buffer);
    EXPECT_EQ(100'000'000u, doc.length);
    EXPECT_EQ(MLDocBase::XML, doc.format);
    EXPECT_EQ(nullptr, bag.data);
}

TEST(MLDocLoad, MoreThanHundredMillionBytesInABagAreRefusedBeforeAnythingIsAssigned) {
    MLDoc doc;
    loadAndWalkHalf(doc);
    const std::uint32_t length = doc.length;
    Bag bag("<a/>", 4);
    char* block = bag.data;
    bag.size = 100'000'001;
    const std::string message = support::thrownMessage([&] { doc.load("big.xml", bag); });
    EXPECT_EQ(100'000'001, bag.size);
    EXPECT_EQ(block, bag.data);
    bag.size = 4;
    EXPECT_EQ("LCA__Too_big_file LCA__Path_s(big.xml)", message);
    expectReleased(doc);
    EXPECT_EQ(length, doc.length);
    EXPECT_STREQ("before.xml", doc.fileName.data);
    expectLoadsCleanly(doc);
}

TEST(MLDocLoad, FilesAreLimitedLikewise) {
    support::TempFolder folder;
    const std::string path = folder.file("big.xml");
    UTF8File file(path, true);
    file.open(UTF8File::WRITE);
    file.write("<a/>");
    file.seek(99'999'999, 0);
    file.write('z');
    file.flush();
    MLDoc doc;
    doc.load(path.c_str());
    EXPECT_EQ(100'000'000u, doc.length);
    EXPECT_EQ('z', doc.buffer[99'999'999]);
    file.write('z');
    file.close();
    EXPECT_EQ("LCA__Too_big_file LCA__Path_s(" + path + ")", support::thrownMessage([&] { doc.load(path.c_str()); }));
    expectReleased(doc);
    EXPECT_EQ(path, std::string(doc.fileName.asCharPtr()));
}

// ---- detection ----

namespace {

struct RefusalRow {
    int line;
    std::string text;
    int key;
    bool bare;  // the reader's own failure inside the declaration, without the name
};

const RefusalRow kRefusals[] = {
    {__LINE__, "", LCA__Too_short_file, false},
    {__LINE__, "<", LCA__Too_short_file, false},
    {__LINE__, "<a", LCA__Too_short_file, false},
    {__LINE__, "{}", LCA__Too_short_file, false},
    {__LINE__, "--", LCA__Too_short_file, false},
    {__LINE__, "\xFE", LCA__Too_short_file, false},
    {__LINE__, "\xEF\xBB", LCA__Too_short_file, false},
    {__LINE__, kBom, LCA__Too_short_file, false},
    {__LINE__, kBom + "<", LCA__Too_short_file, false},
    {__LINE__, kBom + "<a", LCA__Too_short_file, false},
    // Two bytes are enough to tell a mark of UTF-16, before anything is said about the length.
    {__LINE__, "\xFE\xFF", LCA__UTF_16_BOM_is_not_supported, false},
    {__LINE__, "\xFF\xFE", LCA__UTF_16_BOM_is_not_supported, false},
    {__LINE__, std::string("\xFF\xFE<\0a\0>\0", 8), LCA__UTF_16_BOM_is_not_supported, false},
    {__LINE__, std::string("\xFE\xFF\0<\0a\0>", 8), LCA__UTF_16_BOM_is_not_supported, false},
    {__LINE__, "\xFE\xFE<a/>", LCA__Unknown_text_format, false},
    {__LINE__, "\xFF\xFF<a/>", LCA__Unknown_text_format, false},
    {__LINE__, kBom + "\xFF\xFE<a/>", LCA__Unknown_text_format, false},
    {__LINE__, kBom + kBom + "<a/>", LCA__Unknown_text_format, false},
    {__LINE__, "\xEF\xBB<a/>", LCA__Unknown_text_format, false},
    {__LINE__, "[1]", LCA__Unknown_text_format, false},
    {__LINE__, "[{}]", LCA__Unknown_text_format, false},
    {__LINE__, " <a/>", LCA__Unknown_text_format, false},
    {__LINE__, "\t<a/>", LCA__Unknown_text_format, false},
    {__LINE__, "\n<a/>", LCA__Unknown_text_format, false},
    {__LINE__, "\r\n<a/>", LCA__Unknown_text_format, false},
    {__LINE__, " {}", LCA__Unknown_text_format, false},
    {__LINE__, "\n---\n", LCA__Unknown_text_format, false},
    {__LINE__, "--\n", LCA__Unknown_text_format, false},
    {__LINE__, "--x", LCA__Unknown_text_format, false},
    {__LINE__, "-x-", LCA__Unknown_text_format, false},
    {__LINE__, "text", LCA__Unknown_text_format, false},
    {__LINE__, std::string("\0<a/>", 5), LCA__Unknown_text_format, false},
    {__LINE__, "<?xml encoding=\"latin1\"?>", LCA__Specified_encoding_is_not, false},
    {__LINE__, "<?xml encoding=\"\"?>", LCA__Specified_encoding_is_not, false},
    {__LINE__, "<?xml encoding=\"utf8\"?>", LCA__Specified_encoding_is_not, false},
    {__LINE__, "<?xml encoding=\"utf-16\"?>", LCA__Specified_encoding_is_not, false},
    {__LINE__, "<?xml encoding=\"utf-8 \"?>", LCA__Specified_encoding_is_not, false},
    {__LINE__, "<?xml encoding=\" utf-8\"?>", LCA__Specified_encoding_is_not, false},
    {__LINE__, "<?xml encoding=\"utf-7\"?>", LCA__Specified_encoding_is_not, false},
    {__LINE__, "<?xml encoding=\"windows-1252\"?>", LCA__Specified_encoding_is_not, false},
    {__LINE__, "<?xml encoding=\"windows-125\"?>", LCA__Specified_encoding_is_not, false},
    {__LINE__, "<?xml encoding=\"utf-8\" encoding=\"latin1\"?>", LCA__Specified_encoding_is_not, false},
    {__LINE__, "<?xml encoding=\"latin1\" encoding=\"utf-8\"?>", LCA__Specified_encoding_is_not, false},
    {__LINE__, "<?xml version='1.0' encoding=\"latin1\"?>", LCA__Initial_quote_expected_after, true},
    {__LINE__, "<?x", LCA__XML_tag_is_not_finished, true},
    {__LINE__, "<?xml version=\"1.0\"", LCA__XML_tag_is_not_finished, true},
    {__LINE__, "<?xml version=\"?>", LCA__XML_tag_is_not_finished, true},
    {__LINE__, "<?xml version?>", LCA__Bad_character_in_attribute_name, true},
    {__LINE__, "<?xml version ?>", LCA__Character_expected_before_quote, true},
    {__LINE__, "<?xml version==\"1\"?>", LCA__Duplicate_before_attribute_value, true},
    {__LINE__, "<?xml =\"1\"?>", LCA__Bad_character_instead_begin_of, true},
    {__LINE__, "<?xml " + std::string(512, 'v') + "=\"1\"?>", LCA__Too_long_attribute_name, true},
};

using LoadForm = std::function<void(MLDoc& doc, const std::string& name, const std::string& text)>;

void loadFromMemory(MLDoc& doc, const std::string& name, const std::string& text) {
    doc.load(name.c_str(), text.data(), static_cast<int>(text.size()));
}
void loadFromBag(MLDoc& doc, const std::string& name, const std::string& text) {
    Bag bag;
    bag.putStringNZ(text);
    doc.load(name.c_str(), bag);
}

// Every refusal through one form of load, over an object that holds a walked document and over a new one.
void expectRefusals(const LoadForm& load, const std::string& name) {
    for (const RefusalRow& row : kRefusals) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        const std::string expected = support::keyName(row.key) + (row.bare ? "" : " LCA__Path_s(" + name + ")");
        MLDoc fresh;
        EXPECT_EQ(expected, support::thrownMessage([&] { load(fresh, name, row.text); }));
        expectReleased(fresh);
        EXPECT_EQ(name, std::string(fresh.fileName.asCharPtr()));

        MLDoc doc;
        loadAndWalkHalf(doc);
        EXPECT_EQ(expected, support::thrownMessage([&] { load(doc, name, row.text); }));
        expectReleased(doc);
        EXPECT_EQ(name, std::string(doc.fileName.asCharPtr()));
        expectLoadsCleanly(doc);
    }
}

}  // namespace

TEST(MLDocLoad, RefusedMemoryLeavesNoDocument) { expectRefusals(loadFromMemory, "refused.xml"); }

TEST(MLDocLoad, RefusedBagLeavesNoDocument) { expectRefusals(loadFromBag, "refused.xml"); }

TEST(MLDocLoad, RefusedFileLeavesNoDocument) {
    support::TempFolder folder;
    const LoadForm load = [&folder](MLDoc& doc, const std::string& name, const std::string& text) {
        folder.write("refused.xml", text);
        doc.load(name.c_str());
    };
    expectRefusals(load, folder.file("refused.xml"));
}

TEST(MLDocLoad, RefusedDocumentIsNamedButHasNoPlace) {
    MLDoc doc;
    TTT caught;
    try {
        loadText(doc, "<?xml version='1'?>", "bad.xml");
    } catch (const TTT& message) {
        caught = message;
    }
    doc.formMessage(caught);
    EXPECT_EQ("LCA__Initial_quote_expected_after LCA__Path_s(bad.xml)", support::dumpMessage(caught));
}

namespace {

struct DetectionRow {
    int line;
    std::string text;
    MLDocBase::Format format;
    std::uint32_t position;
};

const DetectionRow kDetections[] = {
    {__LINE__, "<a>", MLDocBase::XML, 0},
    {__LINE__, "<a/>", MLDocBase::XML, 0},
    {__LINE__, "<>x", MLDocBase::XML, 0},
    {__LINE__, "< ?x?>", MLDocBase::XML, 0},
    {__LINE__, "<!-- c --><?xml encoding=\"latin1\"?>", MLDocBase::XML, 0},
    {__LINE__, kBom + "<a>", MLDocBase::XML, 3},
    {__LINE__, "<?>", MLDocBase::XML, 3},
    {__LINE__, "<?x>", MLDocBase::XML, 4},
    {__LINE__, "<?xml?>", MLDocBase::XML, 7},
    {__LINE__, "<?xml?><a/>", MLDocBase::XML, 7},
    {__LINE__, "<?xml version=\"1.0\"?><a/>", MLDocBase::XML, 21},
    {__LINE__, kBom + "<?xml version=\"1.0\"?>\n<a/>", MLDocBase::XML, 24},
    {__LINE__, "<?xml version=\">\" ?>", MLDocBase::XML, 20},
    {__LINE__, "{ }", MLDocBase::JSON, 0},
    {__LINE__, "{\"a\":1}", MLDocBase::JSON, 0},
    {__LINE__, "{ {", MLDocBase::JSON, 0},
    {__LINE__, kBom + "{ }", MLDocBase::JSON, 3},
    {__LINE__, "---", MLDocBase::YAML, 3},
    {__LINE__, "---\n", MLDocBase::YAML, 4},
    {__LINE__, "---\r", MLDocBase::YAML, 4},
    {__LINE__, "---\r\n", MLDocBase::YAML, 5},
    {__LINE__, "---\n\n", MLDocBase::YAML, 4},
    {__LINE__, "---\n\r\n", MLDocBase::YAML, 4},
    {__LINE__, "---\r\r\n", MLDocBase::YAML, 4},
    {__LINE__, "----", MLDocBase::YAML, 3},
    {__LINE__, "--- \n", MLDocBase::YAML, 3},
    {__LINE__, "--- # comment\n", MLDocBase::YAML, 3},
    {__LINE__, "---x", MLDocBase::YAML, 3},
    {__LINE__, kBom + "---\na: 1\n", MLDocBase::YAML, 7},
};

}  // namespace

TEST(MLDocGuessFormat, TellsTheFormatByTheFirstBytes) {
    xml_char_classes_prepare();
    for (const DetectionRow& row : kDetections) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        MLDoc doc;
        loadText(doc, row.text);
        EXPECT_EQ(row.format, doc.format);
        EXPECT_EQ(row.position, doc.position);
        EXPECT_EQ(row.text.size(), doc.length);
        EXPECT_EQ(8, doc.codePage);

        support::GuardedDocument guarded(row.text);
        guarded.doc.guessFormat("guarded.xml");
        EXPECT_EQ(row.format, guarded.doc.format);
        EXPECT_EQ(row.position, guarded.doc.position);
        EXPECT_EQ(nullptr, guarded.doc.fileName.data);
    }
}

TEST(MLDocGuessFormat, ReadsNothingBehindTheBlockWhenItRefuses) {
    xml_char_classes_prepare();
    for (const RefusalRow& row : kRefusals) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        support::GuardedDocument guarded(row.text);
        EXPECT_THROW_KEY(guarded.doc.guessFormat("guarded.xml"), row.key);
    }
}

TEST(MLDocGuessFormat, JsonOpensOneLevelWithoutAName) {
    MLDoc doc;
    doc.codePage = 1251;
    loadText(doc, "{ }");
    const int room = doc.openNames.allocateCount;
    for (int round = 0; round < 2; ++round) {
        ASSERT_EQ(1, doc.openNames.count);
        EXPECT_EQ(room, doc.openNames.allocateCount);
        EXPECT_EQ(nullptr, doc.openNames[0].begin);
        EXPECT_EQ(nullptr, doc.openNames[0].end);
        // Names of an earlier document are dropped, and the room for them too.
        doc.openNames[0] = "name";
        for (int depth = 0; depth < 20; ++depth) doc.openNames.append(ChPair("deeper"));
        loadText(doc, "{ }");
    }
    EXPECT_EQ(1251, doc.codePage);
    EXPECT_EQ(-1, doc.yamlIndentUnit);
    EXPECT_EQ(-1, doc.yamlState);
}

TEST(MLDocGuessFormat, YamlStartsWithoutOpenNames) {
    MLDoc doc;
    doc.codePage = 1251;
    loadText(doc, "{ }");
    ASSERT_EQ(1, doc.openNames.count);
    for (int round = 0; round < 2; ++round) {
        loadText(doc, "---\n- a: 1\n");
        EXPECT_EQ(MLDocBase::YAML, doc.format);
        EXPECT_EQ(nullptr, doc.openNames.data);
        EXPECT_EQ(0, doc.openNames.count);
        EXPECT_EQ(0, doc.openNames.allocateCount);
        EXPECT_EQ(0, doc.yamlIndentUnit);
        EXPECT_EQ(0, doc.yamlState);
        // The rest is the line reader's and not touched yet.
        EXPECT_EQ(nullptr, doc.yamlRest.begin);
        EXPECT_EQ(nullptr, doc.yamlName.begin);
        EXPECT_EQ(nullptr, doc.yamlValue.begin);
        EXPECT_EQ(0, doc.yamlValueKind);
        EXPECT_FALSE(doc.yamlItem);
        EXPECT_EQ(-1, doc.yamlLevel);
        doc.yamlIndentUnit = 4;
        doc.yamlState = 2;
        doc.openNames.append(ChPair("deeper"));
    }
    EXPECT_EQ(1251, doc.codePage);
}

TEST(MLDocGuessFormat, XmlLeavesOpenNamesAndYamlAlone) {
    MLDoc doc;
    loadText(doc, "{ }");
    doc.yamlIndentUnit = 4;
    doc.yamlState = 2;
    loadText(doc, "<a/>");
    EXPECT_EQ(MLDocBase::XML, doc.format);
    EXPECT_EQ(1, doc.openNames.count);
    EXPECT_EQ(4, doc.yamlIndentUnit);
    EXPECT_EQ(2, doc.yamlState);
}

TEST(MLDocGuessFormat, DeclarationGivesTheCodePage) {
    static const struct {
        int line;
        const char* text;
        int before;
        int after;
    } rows[] = {
        {__LINE__, "<a/>", 1251, 8},
        {__LINE__, "<!-- c --><?xml encoding=\"windows-1251\"?>", 1251, 8},
        {__LINE__, "<?xml version=\"1.0\"?>", 1251, 1251},
        {__LINE__, "<?xml version=\"1.0\"?>", 8, 8},
        {__LINE__, "<?xml?>", 1251, 1251},
        {__LINE__, "<?xml encoding=\"utf-8\"?>", 1251, 8},
        {__LINE__, "<?xml encoding=\"UTF-8\"?>", 1251, 8},
        {__LINE__, "<?xml encoding=\"uTf-8\"?>", 1251, 8},
        {__LINE__, "<?xml encoding=\"windows-1251\"?>", 8, 1251},
        {__LINE__, "<?xml encoding=\"Windows-1251\"?>", 8, 1251},
        {__LINE__, "<?xml version=\"1.0\" encoding=\"WINDOWS-1251\" standalone=\"yes\"?>", 8, 1251},
        {__LINE__, "<?xml encoding=\"windows-1251\" encoding=\"utf-8\"?>", 1251, 8},
        {__LINE__, "<?xml encoding=\"utf-8\" encoding=\"windows-1251\"?>", 8, 1251},
        // Line ends around a value are not part of it.
        {__LINE__, "<?xml encoding=\"\r\nwindows-1251\n\"?>", 8, 1251},
        {__LINE__, "<?xml Encoding=\"latin1\"?>", 1251, 1251},
        {__LINE__, "<?xml encodings=\"latin1\"?>", 1251, 1251},
        {__LINE__, "<?xml encodin=\"latin1\"?>", 1251, 1251},
        // Not the name of the instruction is looked at, only that there is one.
        {__LINE__, "<?pi encoding=\"windows-1251\"?>", 8, 1251},
        // A question mark ends the list.
        {__LINE__, "<?xml ? encoding=\"latin1\"?>", 1251, 1251},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        MLDoc doc;
        doc.codePage = row.before;
        loadText(doc, row.text);
        EXPECT_EQ(row.after, doc.codePage);
        EXPECT_EQ(MLDocBase::XML, doc.format);
    }
}

TEST(MLDocGuessFormat, FirstStepStartsBehindTheDeclaration) {
    EXPECT_EQ("<a>@0", support::dumpSteps("<?xml version=\"1.0\"?><a/>"));
    EXPECT_EQ("<a>@0", support::dumpSteps(kBom + "<?xml version=\"1.0\" encoding=\"utf-8\"?>\r\n<a/>"));
    EXPECT_EQ("!@0 ?@0 <a>@0", support::dumpSteps("<!-- c --><?xml encoding=\"latin1\"?><a/>"));
}

// ---- release, steal ----

TEST(MLDocRelease, ResetsTheCursorAndLeavesTheRest) {
    MLDoc doc;
    loadAndWalkHalf(doc);
    doc.codePage = 1251;
    doc.yamlRest = "rest";
    doc.yamlName = "name";
    doc.yamlValue = "value";
    doc.yamlValueKind = 's';
    doc.yamlItem = true;
    doc.yamlLevel = 1;
    doc.yamlIndentUnit = 2;
    doc.yamlState = 3;
    doc.openNames.append(ChPair("open"));
    doc.release();
    expectReleased(doc);
    EXPECT_EQ(26u, doc.length);
    EXPECT_STREQ("before.xml", doc.fileName.data);
    EXPECT_EQ(1, doc.openNames.count);
    EXPECT_EQ(MLDocBase::XML, doc.format);
    EXPECT_EQ(1251, doc.codePage);
    EXPECT_TRUE(doc.yamlRest == "rest");
    EXPECT_TRUE(doc.yamlName == "name");
    EXPECT_TRUE(doc.yamlValue == "value");
    EXPECT_EQ('s', doc.yamlValueKind);
    EXPECT_TRUE(doc.yamlItem);
    EXPECT_EQ(1, doc.yamlLevel);
    EXPECT_EQ(2, doc.yamlIndentUnit);
    EXPECT_EQ(3, doc.yamlState);
    doc.release();
    expectReleased(doc);
    expectLoadsCleanly(doc);
}

TEST(MLDocRelease, WithoutABlockChangesNothing) {
    MLDoc doc;
    doc.position = 5;
    doc.cachedLine = 2;
    doc.cachedColumn = 3;
    doc.cachedOffset = 4;
    doc.release();
    EXPECT_EQ(5u, doc.position);
    EXPECT_EQ(2, doc.cachedLine);
    EXPECT_EQ(3, doc.cachedColumn);
    EXPECT_EQ(4u, doc.cachedOffset);
}

TEST(MLDocSteal, HandsOutTheBlockAndNothingElseChanges) {
    MLDoc doc;
    loadAndWalkHalf(doc);
    char* buffer = doc.buffer;
    int size = -1;
    char* stolen = doc.steal(size);
    EXPECT_EQ(buffer, stolen);
    EXPECT_EQ(26, size);
    EXPECT_EQ(nullptr, doc.buffer);
    EXPECT_EQ(26u, doc.length);
    EXPECT_EQ(18u, doc.position);
    EXPECT_EQ(2, doc.cachedLine);
    EXPECT_EQ(10, doc.cachedColumn);
    EXPECT_EQ(18u, doc.cachedOffset);
    EXPECT_EQ(MLDocBase::XML, doc.format);
    EXPECT_STREQ("before.xml", doc.fileName.data);
    // There is no block any more, so this resets nothing.
    doc.release();
    EXPECT_EQ(18u, doc.position);
    EXPECT_EQ(0, std::memcmp(stolen, "<first/>\n<second/><third/>", 26));
    delete[] stolen;
}

TEST(MLDocSteal, ViewsLiveOnInTheBlock) {
    MLDoc doc;
    loadText(doc, "<a b=\"1\"/>");
    MLDoc::Token token;
    ASSERT_TRUE(doc.step(token));
    const ChPair value = doc.getAttributeValue(token, "b");
    int size;
    std::unique_ptr<char[]> stolen(doc.steal(size));
    EXPECT_EQ(stolen.get() + 1, token.name.begin);
    EXPECT_EQ(stolen.get() + 6, value.begin);
    EXPECT_EQ("1", value.std());
}

TEST(MLDocSteal, FromAnEmptyObjectGivesNothing) {
    MLDoc doc;
    int size = -1;
    EXPECT_EQ(nullptr, doc.steal(size));
    EXPECT_EQ(0, size);
}

TEST(MLDocLoad, AfterStealStartsAtTheOldPosition) {
    static const struct {
        int line;
        std::string text;
        int key;  // -1: loads
        std::uint32_t position;
        const char* walk;
    } rows[] = {
        {__LINE__, "<c/><d/>", -1, 4, "d"},
        {__LINE__, "<c/><d/><e/>", -1, 4, "d e"},
        {__LINE__, "xxxx<d/>", -1, 4, "d"},
        {__LINE__, "xxxx<?xml encoding=\"windows-1251\"?><d/>", -1, 35, "d"},
        // The mark is looked for at the very beginning all the same.
        {__LINE__, kBom + "<c/><d/>", -1, 7, "d"},
        {__LINE__, "\xFE\xFFxx<d/>", LCA__UTF_16_BOM_is_not_supported, 0, ""},
        {__LINE__, "<c/>d<e/>", LCA__Unknown_text_format, 0, ""},
        {__LINE__, "<c/><d", LCA__Too_short_file, 0, ""},
        {__LINE__, "<c/>", LCA__Too_short_file, 0, ""},
        {__LINE__, "<c>", LCA__Too_short_file, 0, ""},
        {__LINE__, "<", LCA__Too_short_file, 0, ""},
        {__LINE__, "", LCA__Too_short_file, 0, ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        MLDoc doc;
        loadText(doc, "<a/><b/>");
        MLDoc::Token token;
        ASSERT_TRUE(doc.step(token));
        ASSERT_EQ(4u, doc.position);
        int size;
        delete[] doc.steal(size);
        if (row.key == -1) {
            loadText(doc, row.text, "again.xml");
            EXPECT_EQ(row.position, doc.position);
            EXPECT_EQ(row.walk, support::dumpWalk(doc));
        } else {
            EXPECT_EQ(support::keyName(row.key) + " LCA__Path_s(again.xml)",
                      support::thrownMessage([&] { loadText(doc, row.text, "again.xml"); }));
            expectReleased(doc);
            expectLoadsCleanly(doc);
        }
    }
}

// ---- choice of the stepper ----

TEST(MLDocStep, EveryFormatButJsonAndYamlIsReadAsXml) {
    for (int format : {0, 3, 4, 5, 6}) {
        SCOPED_TRACE(format);
        MLDoc doc;
        loadText(doc, "<a b=\"1\">");
        doc.format = static_cast<MLDocBase::Format>(format);
        MLDoc::Token token;
        ASSERT_TRUE(doc.step(token));
        EXPECT_TRUE(token.name == "a");
        EXPECT_EQ(1, token.level);
        EXPECT_EQ(9u, doc.position);
        MLDoc::Attribute attribute;
        ASSERT_TRUE(doc.attribute(token, attribute));
        EXPECT_TRUE(attribute.name == "b");
        EXPECT_TRUE(attribute.value == "1");
        EXPECT_EQ(8u, doc.position);
        EXPECT_FALSE(doc.attribute(token, attribute));
        EXPECT_EQ(9u, doc.position);
        EXPECT_FALSE(doc.step(token));
    }
}

TEST(MLDocPassAttributes, IsTheEndOfAnXmlTagOrElseThePosition) {
    MLDoc doc;
    loadText(doc, "<a b=\"1\" c=\"2\">text</a>");
    MLDoc::Token token;
    MLDoc::Attribute attribute;
    ASSERT_TRUE(doc.step(token));
    ASSERT_TRUE(doc.attribute(token, attribute));
    const MLDoc& readOnly = doc;
    EXPECT_EQ(15u, readOnly.passAttributes(token));
    EXPECT_EQ(8u, doc.position);
    doc.format = MLDocBase::JSON;
    EXPECT_EQ(8u, readOnly.passAttributes(token));
    doc.format = MLDocBase::YAML;
    EXPECT_EQ(8u, readOnly.passAttributes(token));
    EXPECT_EQ(8u, doc.position);
}

// ---- place ----

namespace {

struct Place {
    int line;
    int column;
    bool operator==(const Place& other) const { return line == other.line && column == other.column; }
};
std::ostream& operator<<(std::ostream& out, const Place& place) { return out << place.line << ',' << place.column; }

Place placeOf(const MLDoc& doc) {
    Place place = {-1, -1};
    doc.getPosition(place.line, place.column);
    return place;
}

}  // namespace

TEST(MLDocGetPosition, CountsLinesAndColumns) {
    static const struct {
        int line;
        std::string text;
        std::uint32_t position;
        Place place;
    } rows[] = {
        {__LINE__, "abc", 0, {1, 1}},
        {__LINE__, "abc", 1, {1, 2}},
        {__LINE__, "abc", 2, {1, 3}},
        // The end of the document is told as its start.
        {__LINE__, "abc", 3, {1, 1}},
        {__LINE__, "a\nb\nc", 5, {1, 1}},
        {__LINE__, "a\nb\nc", 4, {3, 1}},
        {__LINE__, "a\nbc", 1, {1, 2}},
        {__LINE__, "a\nbc", 2, {2, 1}},
        {__LINE__, "a\nbc", 3, {2, 2}},
        {__LINE__, "\n\n\nx", 3, {4, 1}},
        {__LINE__, "a\r\nb", 2, {1, 2}},
        {__LINE__, "a\r\nb", 3, {2, 1}},
        {__LINE__, "a\rb\rc", 4, {1, 3}},
        {__LINE__, "\tx", 1, {1, 5}},
        {__LINE__, "a\tx", 2, {1, 5}},
        {__LINE__, "ab\tx", 3, {1, 5}},
        {__LINE__, "abc\tx", 4, {1, 5}},
        {__LINE__, "abcd\tx", 5, {1, 9}},
        {__LINE__, "abcde\tx", 6, {1, 9}},
        {__LINE__, "\t\tx", 2, {1, 9}},
        {__LINE__, "ab\n\tcx", 5, {2, 6}},
        {__LINE__, "\xC3\xA4x", 1, {1, 2}},
        {__LINE__, "\xC3\xA4x", 2, {1, 2}},
        {__LINE__, "\xC3\xA4xy", 3, {1, 3}},
        {__LINE__, "\xE2\x82\xACx", 3, {1, 2}},
        {__LINE__, "\xF0\x9F\x98\x80x", 4, {1, 2}},
        {__LINE__, "\x80\xBFxy", 3, {1, 2}},
        {__LINE__, "\xFF\xC0xy", 3, {1, 4}},
        {__LINE__, std::string("\0\x01\x0B\x7F y", 6), 5, {1, 6}},
        {__LINE__, kBom + "ab", 3, {1, 1}},
        {__LINE__, kBom + "ab", 4, {1, 2}},
        {__LINE__, kBom + "a\nb", 5, {2, 1}},
        {__LINE__, kBom + "ab", 1, {1, 1}},
        {__LINE__, kBom + "ab", 2, {1, 1}},
        {__LINE__, "\xEF\xBB", 1, {1, 2}},
        {__LINE__, "a" + kBom + "bc", 5, {1, 4}},
        {__LINE__, kBom + kBom + "b", 6, {1, 2}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        support::GuardedDocument guarded(row.text);
        guarded.doc.position = row.position;
        EXPECT_EQ(row.place, placeOf(guarded.doc));
        EXPECT_EQ(row.position, guarded.doc.position);
    }
}

TEST(MLDocGetPosition, GivesTheSameFromAnyEarlierAnswer) {
    const std::string text = kBom + "ab\tc\r\n\xC3\xA4\te\n\n\xE2\x82\xAC\tf\r\n<x/>";
    for (std::uint32_t second = 0; second <= text.size(); ++second) {
        support::GuardedDocument fresh(text);
        fresh.doc.position = second;
        const Place expected = placeOf(fresh.doc);
        for (std::uint32_t first = 0; first <= text.size(); ++first) {
            MLDoc& doc = fresh.doc;
            doc.cachedLine = doc.cachedColumn = 1;
            doc.cachedOffset = 0;
            doc.position = first;
            placeOf(doc);
            doc.position = second;
            EXPECT_EQ(expected, placeOf(doc)) << "from " << first << " to " << second;
        }
    }
}

TEST(MLDocGetPosition, GoesOnFromItsMemo) {
    support::GuardedDocument guarded("ab\ncd\nef");
    MLDoc& doc = guarded.doc;
    // A memo that is not true shows that the bytes before it are not read again.
    doc.cachedLine = 70;
    doc.cachedColumn = 30;
    doc.cachedOffset = 2;
    doc.position = 2;
    EXPECT_EQ((Place{70, 30}), placeOf(doc));
    doc.position = 5;
    EXPECT_EQ((Place{71, 3}), placeOf(doc));
    EXPECT_EQ(5u, doc.cachedOffset);
    EXPECT_EQ(71, doc.cachedLine);
    EXPECT_EQ(3, doc.cachedColumn);
    // A place before the memo is counted from the start, and becomes the memo.
    doc.position = 4;
    EXPECT_EQ((Place{2, 2}), placeOf(doc));
    EXPECT_EQ(4u, doc.cachedOffset);
    EXPECT_EQ(2, doc.cachedLine);
    EXPECT_EQ(2, doc.cachedColumn);
}

// The same byte by byte, from the memo on or from the begin.
class PlainPlaces {
public:
    Place of(const MLDoc& doc) {
        if (doc.position == 0 || doc.position >= doc.length) return {1, 1};
        if (doc.position < offset_) {
            offset_ = 0;
            place_ = {1, 1};
        }
        if (offset_ == 0 && doc.length >= 3 && std::memcmp(doc.buffer, "\xEF\xBB\xBF", 3) == 0) offset_ = 3;
        for (; offset_ < doc.position; ++offset_) {
            const auto c = static_cast<unsigned char>(doc.buffer[offset_]);
            if (c == '\t') {
                place_.column = (place_.column - 1) / 4 * 4 + 5;
            } else if (c == '\n') {
                ++place_.line;
                place_.column = 1;
            } else if (c != '\r' && (c & 0xC0) != 0x80) {
                ++place_.column;
            }
        }
        offset_ = doc.position;
        return place_;
    }
    void set(const MLDoc& doc) {
        offset_ = doc.cachedOffset;
        place_ = {doc.cachedLine, doc.cachedColumn};
    }

private:
    std::uint32_t offset_ = 0;
    Place place_ = {1, 1};
};

// Places in any order, while attributes are blanked and the memo is changed: counting back gives the same as counting
// from the begin.
TEST(MLDocGetPosition, AgreesWithCountingFromTheBegin) {
    std::mt19937 random(20261122);
    auto below = [&](unsigned n) { return static_cast<unsigned>(random() % n); };
    static const char* const pieces[] = {"<a",   " b=\"x\ny\"", " c=\"\t\r\"", " d=\"\x01z\"", ">",
                                         "</a>", "\n",          "\t",          "\r\n",         "\xC3\xA4",
                                         "text", "  ",          "<!---->",     "\xE2\x82",     "\xF0\x9F\x98\x80"};
    for (int round = 0; round < 400; ++round) {
        std::string text = below(2) ? kBom : "";
        text += "<?xml?>";
        for (unsigned n = below(300); n > 0; --n) text += pieces[below(std::size(pieces))];
        MLDoc doc;
        loadText(doc, text.c_str());
        PlainPlaces plain;
        MLDoc::Token token;
        for (int question = 0; question < 200; ++question) {
            const std::uint32_t here = doc.position;
            switch (below(8)) {
                case 0:
                    try {
                        if (doc.step(token) && token.kind == 0) {
                            MLDoc::AttributeIterator attributes(&doc, token);
                            MLDoc::Attribute attribute;
                            while (attributes(attribute)) {
                            }
                        }
                    } catch (const TTT&) {
                    }
                    break;
                case 1:
                    if (below(10) == 0) {
                        doc.cachedOffset = below(doc.length);
                        doc.cachedLine = 70;
                        plain.set(doc);
                    }
                    break;
                default:
                    doc.position = below(3) ? below(doc.length + 1) : here - below(std::min(here + 1, 40u));
                    ASSERT_EQ(plain.of(doc), placeOf(doc)) << "at " << doc.position << " of " << doc.length;
                    doc.position = below(4) ? here : doc.position;
            }
        }
    }
}

// Each question costs the distance, so that asking for the places of a document backwards is no more than a walk.
TEST(MLDocGetPosition, CountsBackFromTheLastPlace) {
    std::string text = "<r>";
    while (text.size() < 4000000) text += "<a b=\"1\"/>\n";
    MLDoc doc;
    loadText(doc, text.c_str());
    Place place = {0, 0};
    for (doc.position = doc.length - 1; doc.position > 40; doc.position -= 40) place = placeOf(doc);
    EXPECT_LT(place.line, 6);
}

TEST(MLDocGetPosition, LeavesItsMemoAtTheStartAndAtTheEnd) {
    support::GuardedDocument guarded("ab\ncd");
    MLDoc& doc = guarded.doc;
    for (std::uint32_t position : {0u, 5u}) {
        doc.cachedLine = 70;
        doc.cachedColumn = 30;
        doc.cachedOffset = 2;
        doc.position = position;
        EXPECT_EQ((Place{1, 1}), placeOf(doc));
        EXPECT_EQ(70, doc.cachedLine);
        EXPECT_EQ(30, doc.cachedColumn);
        EXPECT_EQ(2u, doc.cachedOffset);
    }
}

TEST(MLDocFormMessage, AppendsNameAndPlace) {
    MLDoc doc;
    loadText(doc, "<a>\n <></a>", "file.xml");
    MLDoc::Token token;
    std::string shown;
    try {
        while (doc.step(token)) {
        }
    } catch (TTT& message) {
        EXPECT_EQ("LCA__Empty_XML_tag", support::dumpMessage(message));
        doc.formMessage(message);
        shown = support::dumpMessage(message);
    }
    EXPECT_EQ("LCA__Empty_XML_tag LCA__Path_s(file.xml) LCA__Line_d_Column_d(2,4)", shown);
    EXPECT_EQ(7u, doc.position);
}

TEST(MLDocFormMessage, LeavesOutWhatThereIsNot) {
    auto message = [](const MLDoc& doc) {
        TTT text;
        doc.formMessage(text);
        return support::dumpMessage(text);
    };
    MLDoc doc;
    TTT empty;
    doc.formMessage(empty);
    EXPECT_TRUE(empty.isEmpty());

    loadText(doc, "<a/><b/>", "file.xml");
    EXPECT_EQ("LCA__Path_s(file.xml)", message(doc));
    MLDoc::Token token;
    doc.step(token);
    EXPECT_EQ("LCA__Path_s(file.xml) LCA__Line_d_Column_d(1,5)", message(doc));
    doc.step(token);
    // At the end the place is there, and is that of the start.
    EXPECT_EQ("LCA__Path_s(file.xml) LCA__Line_d_Column_d(1,1)", message(doc));

    loadText(doc, "<a/><b/>", "");
    EXPECT_EQ("", message(doc));
    doc.step(token);
    EXPECT_EQ("LCA__Line_d_Column_d(1,5)", message(doc));

    loadText(doc, "<a/><b/>", nullptr);
    EXPECT_EQ("", message(doc));
    doc.step(token);
    EXPECT_EQ("LCA__Line_d_Column_d(1,5)", message(doc));
}

TEST(MLDocFormMessage, WritesTheBytesOfAMessage) {
    MLDoc doc;
    loadText(doc, "<a/>\n<b/>", "f.x");
    doc.position = 7;
    TTT message("at");
    doc.formMessage(message);
    const unsigned char expected[] = {
        0xFF, 0xFF, 0xFF, 0xFF, 'a', 't', 0, 0,                                             // the text that was there
        0xFE, 0xFF, 0xFF, 0xFF, 2,   0,   0, 0, 25, 0, 0, 0, 'f', '.', 'x', 0,              // the name
        0xFE, 0xFF, 0xFF, 0xFF, 2,   0,   0, 0, 21, 0, 0, 0, 2,   0,   0,   0, 3, 0, 0, 0,  // line, column
    };
    ASSERT_EQ(static_cast<int>(sizeof(expected)), message.getData().size);
    EXPECT_EQ(0, std::memcmp(message.getData().data, expected, sizeof(expected)));
}
