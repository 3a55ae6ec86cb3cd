#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

#include <velmora/files/utf8file.h>
#include <velmora/localization/loc.h>

#include "tests/support/temp_folder.h"

namespace {

using Error = velmora::detail::LngErrors::ErrorCode;

static_assert(std::is_same<Error, CCLocLoader::ErrorCode>::value, "the readers share their codes");
static_assert(std::is_same<Error, IDLocLoader::ErrorCode>::value, "the readers share their codes");
static_assert(CCLocLoader::NoError == 0 && CCLocLoader::NotFound == 1 && CCLocLoader::Invalid == 2, "");
static_assert(CCLocLoader::BadVersion == 3 && CCLocLoader::BadEncoding == 4, "");
static_assert(CCLocLoader::VersionMismatch == 5 && CCLocLoader::ReadError == 6 && CCLocLoader::NoMemory == 7, "");
static_assert(IDLocLoader::NoError == 0 && IDLocLoader::NoMemory == 7, "");

static_assert(sizeof(CCLocLoader) == sizeof(char*) && offsetof(CCLocLoader, text) == 0, "");
static_assert(sizeof(IDLocLoader) == 2 * sizeof(char*), "");
static_assert(offsetof(IDLocLoader, text) == 0 && offsetof(IDLocLoader, strings) == sizeof(char*), "");
static_assert(offsetof(CCLocLoader::Localization, count) == 0, "");
static_assert(offsetof(CCLocLoader::Localization, encoding) == 4, "");
static_assert(offsetof(CCLocLoader::Localization, version) == 8, "");
static_assert(offsetof(CCLocLoader::Localization, targets) == 16, "");
static_assert(sizeof(CCLocLoader::Localization) == 24, "");
static_assert(offsetof(IDLocLoader::Localization, count) == 0, "");
static_assert(offsetof(IDLocLoader::Localization, encoding) == 4, "");
static_assert(offsetof(IDLocLoader::Localization, version) == 8, "");
static_assert(sizeof(IDLocLoader::Localization) == 12, "");

template <std::size_t N>
std::string bytes(const char (&text)[N]) {
    return std::string(text, N - 1);
}

enum class Order { Own, Opposite };

const Order kOrders[] = {Order::Own, Order::Opposite};

const std::uint32_t kStamp = 0xA0B0C0D0;
const int kCount = 4;

// Text block of the good files. "lo" shares the end of "Hello", and the empty string is its terminator.
const std::string kText = bytes(
    "Hello\0\xC3\xBC"
    "b\0");
const char* const kStrings[kCount] = {("\xC3\xBC"
                                       "b"),
                                      "Hello", "lo", ""};
const int kStarts[kCount] = {6, 0, 3, 5};

// The same four strings in both byte orders, word for word.
std::string goodFile(Order order) {
    if (order == Order::Own) {
        return bytes("\0\0\0\0") + "LCLR" + bytes("\1\0\0\0") + bytes("\x08\0\0\0") + bytes("\xD0\xC0\xB0\xA0") +
               bytes("\4\0\0\0") + bytes("\x0A\0\0\0") + bytes("\6\0\0\0") + bytes("\0\0\0\0") + bytes("\3\0\0\0") +
               bytes("\5\0\0\0") + kText;
    }
    return bytes("\0\0\0\0") + "RLCL" + bytes("\0\0\0\1") + bytes("\0\0\0\x08") + bytes("\xA0\xB0\xC0\xD0") +
           bytes("\0\0\0\4") + bytes("\0\0\0\x0A") + bytes("\0\0\0\6") + bytes("\0\0\0\0") + bytes("\0\0\0\3") +
           bytes("\0\0\0\5") + kText;
}

std::string word(std::uint32_t value, Order order) {
    std::string out;
    for (int i = 0; i < 4; ++i) {
        int shift = order == Order::Own ? 8 * i : 24 - 8 * i;
        out += static_cast<char>(value >> shift & 0xFF);
    }
    return out;
}

// A file with a correct header for these parts.
std::string makeFile(Order order, const std::vector<std::uint32_t>& starts, const std::string& text) {
    std::string out = bytes("\0\0\0\0") + (order == Order::Own ? "LCLR" : "RLCL") + word(1, order) + word(8, order) +
                      word(kStamp, order) + word(static_cast<std::uint32_t>(starts.size()), order) +
                      word(static_cast<std::uint32_t>(text.size()), order);
    for (std::uint32_t start : starts) out += word(start, order);
    return out + text;
}

std::string replaced(std::string file, std::size_t offset, const std::string& part) {
    return file.replace(offset, part.size(), part);
}

// An opened stream over bytes. All share one folder, since the tables below open hundreds.
class Stream {
public:
    UTF8File file;

    explicit Stream(const std::string& content) {
        static support::TempFolder folder;
        static int number = 0;
        file.open(folder.write("texts" + std::to_string(number++) + ".lng", content), UTF8File::READ);
    }
    ~Stream() {
        file.close();
        file.remove();
    }
};

// Both readers behind one face, so that every case runs on both.
class ByVariable {
public:
    CCLocLoader loader;
    std::vector<const char*> variables;
    std::vector<const char**> targets;
    CCLocLoader::Localization table;

    explicit ByVariable(int count = kCount) : variables(room(count), nullptr), table{count, 8, kStamp, nullptr} {
        for (const char*& variable : variables) targets.push_back(&variable);
        table.targets = targets.data();
    }
    Error load(const std::string& content) {
        Stream stream(content);
        return load(stream.file);
    }
    Error load(UTF8File& file) { return loader.load(file.file, table); }
    const char* at(int i) const { return variables[static_cast<std::size_t>(i)]; }
    // All that a load may change.
    std::vector<const void*> state() const {
        std::vector<const void*> out{loader.text};
        out.insert(out.end(), variables.begin(), variables.end());
        return out;
    }

private:
    static std::size_t room(int count) { return count > 0 ? static_cast<std::size_t>(count) : 0; }
};

class ByNumber {
public:
    IDLocLoader loader;
    IDLocLoader::Localization table;

    explicit ByNumber(int count = kCount) : table{count, 8, kStamp} {}
    Error load(const std::string& content) {
        Stream stream(content);
        return load(stream.file);
    }
    Error load(UTF8File& file) { return loader.load(file.file, table); }
    const char* at(int i) const { return loader[i]; }
    std::vector<const void*> state() const {
        std::vector<const void*> out{loader.text, loader.strings};
        if (loader.strings) out.insert(out.end(), loader.strings, loader.strings + kCount);
        return out;
    }
};

template <class Reader>
void expectGoodTexts(const Reader& reader) {
    ASSERT_NE(nullptr, reader.loader.text);
    EXPECT_EQ(kText, std::string(reader.loader.text, kText.size()));
    for (int i = 0; i < kCount; ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(reader.loader.text + kStarts[i], reader.at(i));
        EXPECT_STREQ(kStrings[i], reader.at(i));
    }
}

// Loads on an empty and on a loaded reader. Both must fail alike, having read `consumed` bytes (when that is not
// negative), and stay as they were.
template <class Reader>
void expectRefused(const std::string& content, Error code, std::int64_t consumed = -1) {
    Reader empty;
    std::vector<const void*> before = empty.state();
    Stream stream(content);
    ASSERT_TRUE(stream.file.isOpened());
    EXPECT_EQ(code, empty.load(stream.file));
    if (consumed >= 0) {
        EXPECT_EQ(consumed, stream.file.pos());
    }
    EXPECT_EQ(before, empty.state());
    EXPECT_EQ(nullptr, empty.loader.text);

    Reader loaded;
    ASSERT_EQ(Error::NoError, loaded.load(goodFile(Order::Own)));
    before = loaded.state();
    EXPECT_EQ(code, loaded.load(content));
    EXPECT_EQ(before, loaded.state());
    expectGoodTexts(loaded);
}

template <class Reader>
class LngReader : public testing::Test {};

struct ReaderNames {
    template <class Reader>
    static std::string GetName(int) {
        return std::is_same<Reader, ByVariable>::value ? "CCLocLoader" : "IDLocLoader";
    }
};

using Readers = testing::Types<ByVariable, ByNumber>;
TYPED_TEST_SUITE(LngReader, Readers, ReaderNames);

TYPED_TEST(LngReader, StartsEmpty) {
    TypeParam reader;
    for (const void* p : reader.state()) EXPECT_EQ(nullptr, p);
}

TYPED_TEST(LngReader, LoadsBothByteOrdersToTheSameStrings) {
    for (Order order : kOrders) {
        SCOPED_TRACE(static_cast<int>(order));
        TypeParam reader;
        ASSERT_EQ(Error::NoError, reader.load(goodFile(order)));
        expectGoodTexts(reader);
    }
}

TYPED_TEST(LngReader, HelperWritesTheFilesThatAreWrittenByHand) {
    for (Order order : kOrders) EXPECT_EQ(goodFile(order), makeFile(order, {6, 0, 3, 5}, kText));
}

TYPED_TEST(LngReader, SmallestFileWithAString) {
    for (Order order : kOrders) {
        TypeParam reader(1);
        std::string file = makeFile(order, {0}, bytes("\0"));
        ASSERT_EQ(33u, file.size());
        ASSERT_EQ(Error::NoError, reader.load(file));
        EXPECT_STREQ("", reader.at(0));
        EXPECT_EQ(reader.loader.text, reader.at(0));
    }
}

// The first two words are compared byte for byte, whatever order the rest has.
TYPED_TEST(LngReader, RefusesWrongUnswappedWords) {
    struct Row {
        int line;
        std::size_t offset;
        std::string part;
    };
    const Row rows[] = {
        {__LINE__, 0, bytes("\1\0\0\0")},
        {__LINE__, 0, bytes("\0\1\0\0")},
        {__LINE__, 0, bytes("\0\0\1\0")},
        {__LINE__, 0, bytes("\0\0\0\1")},
        {__LINE__, 0, bytes("\xFF\xFF\xFF\xFF")},
        {__LINE__, 0, "LCLR"},
        {__LINE__, 4, bytes("\0\0\0\0")},
        {__LINE__, 4, "LCLS"},
        {__LINE__, 4, "MCLR"},
        {__LINE__, 4, "lclr"},
        {__LINE__, 4, "rlcl"},
        {__LINE__, 4, "CLRL"},
        {__LINE__, 4, "LRLC"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        for (Order order : kOrders) {
            expectRefused<TypeParam>(replaced(goodFile(order), row.offset, row.part), Error::Invalid,
                                     static_cast<std::int64_t>(row.offset) + 4);
        }
    }
}

TYPED_TEST(LngReader, RefusesWrongSwappedWords) {
    struct Row {
        int line;
        std::size_t offset;
        std::uint32_t value;
        Error code;
    };
    const Row rows[] = {
        {__LINE__, 8, 0, Error::BadVersion},
        {__LINE__, 8, 2, Error::BadVersion},
        {__LINE__, 8, 0x01000000, Error::BadVersion},
        {__LINE__, 8, 0xFFFFFFFF, Error::BadVersion},
        {__LINE__, 12, 0, Error::BadEncoding},
        {__LINE__, 12, 7, Error::BadEncoding},
        {__LINE__, 12, 9, Error::BadEncoding},
        {__LINE__, 12, 16, Error::BadEncoding},
        {__LINE__, 12, 0x08000000, Error::BadEncoding},
        {__LINE__, 16, 0, Error::VersionMismatch},
        {__LINE__, 16, 0xA0B0C0D1, Error::VersionMismatch},
        {__LINE__, 16, 0x20B0C0D0, Error::VersionMismatch},
        {__LINE__, 16, 0xD0C0B0A0, Error::VersionMismatch},
        {__LINE__, 20, 0, Error::Invalid},
        {__LINE__, 20, 3, Error::Invalid},
        {__LINE__, 20, 5, Error::Invalid},
        {__LINE__, 20, 0x04000000, Error::Invalid},
        {__LINE__, 20, 0xFFFFFFFC, Error::Invalid},
        {__LINE__, 24, 0, Error::Invalid},
        {__LINE__, 24, 0xFFFFFFFF, Error::Invalid},
        {__LINE__, 24, 0x80000000, Error::Invalid},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        for (Order order : kOrders) {
            expectRefused<TypeParam>(replaced(goodFile(order), row.offset, word(row.value, order)), row.code,
                                     static_cast<std::int64_t>(row.offset) + 4);
        }
    }
}

// The mark alone tells the order: the rest of the other order is then wrong from its first word on.
TYPED_TEST(LngReader, MarkDecidesHowTheRestIsRead) {
    expectRefused<TypeParam>(replaced(goodFile(Order::Own), 4, "RLCL"), Error::BadVersion, 12);
    expectRefused<TypeParam>(replaced(goodFile(Order::Opposite), 4, "LCLR"), Error::BadVersion, 12);
}

// All pairs of wrong fields: the first one decides, and nothing behind it is read.
TYPED_TEST(LngReader, ChecksFieldsInFileOrder) {
    struct Field {
        std::size_t offset;
        Error code;
    };
    const Field fields[] = {
        {0, Error::Invalid},          {4, Error::Invalid},  {8, Error::BadVersion}, {12, Error::BadEncoding},
        {16, Error::VersionMismatch}, {20, Error::Invalid}, {24, Error::Invalid},
    };
    const std::string wrong = bytes("\xF0\xF1\xF2\xF3");
    for (Order order : kOrders) {
        for (const Field& first : fields) {
            for (const Field& second : fields) {
                if (second.offset <= first.offset) continue;
                SCOPED_TRACE(std::to_string(first.offset) + " and " + std::to_string(second.offset));
                std::string file = replaced(replaced(goodFile(order), first.offset, wrong), second.offset, wrong);
                expectRefused<TypeParam>(file, first.code, static_cast<std::int64_t>(first.offset) + 4);
            }
        }
    }
}

TYPED_TEST(LngReader, WrongInVersionEncodingAndStampIsBadVersion) {
    for (Order order : kOrders) {
        std::string file = goodFile(order).substr(0, 8) + word(2, order) + word(7, order) + word(1, order);
        expectRefused<TypeParam>(file, Error::BadVersion, 12);
    }
}

// Right behind a wrong field the file may end: that field is the failure and not the missing rest.
TYPED_TEST(LngReader, WrongFieldIsFoundBeforeTheEndOfTheFile) {
    struct Row {
        int line;
        std::size_t offset;
        Error code;
    };
    const Row rows[] = {
        {__LINE__, 0, Error::Invalid},      {__LINE__, 4, Error::Invalid},          {__LINE__, 8, Error::BadVersion},
        {__LINE__, 12, Error::BadEncoding}, {__LINE__, 16, Error::VersionMismatch}, {__LINE__, 20, Error::Invalid},
        {__LINE__, 24, Error::Invalid},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE("row at line " + std::to_string(row.line));
        for (Order order : kOrders) {
            std::string file = goodFile(order).substr(0, row.offset) + bytes("\xF0\xF1\xF2\xF3");
            expectRefused<TypeParam>(file, row.code);
        }
    }
}

TYPED_TEST(LngReader, EveryShorterFileIsAReadErrorAndKeepsTheTexts) {
    for (Order order : kOrders) {
        const std::string file = goodFile(order);
        for (std::size_t length = 0; length < file.size(); ++length) {
            SCOPED_TRACE(length);
            expectRefused<TypeParam>(file.substr(0, length), Error::ReadError);
        }
    }
}

TYPED_TEST(LngReader, EmptyTableNeedsOnly24Bytes) {
    const std::string files[] = {
        bytes("\0\0\0\0") + "LCLR" + bytes("\1\0\0\0") + bytes("\x08\0\0\0") + bytes("\xD0\xC0\xB0\xA0") +
            bytes("\0\0\0\0"),
        bytes("\0\0\0\0") + "RLCL" + bytes("\0\0\0\1") + bytes("\0\0\0\x08") + bytes("\xA0\xB0\xC0\xD0") +
            bytes("\0\0\0\0"),
    };
    for (const std::string& file : files) {
        ASSERT_EQ(24u, file.size());
        TypeParam empty(0);
        EXPECT_EQ(Error::NoError, empty.load(file));
        for (const void* p : empty.state()) EXPECT_EQ(nullptr, p);

        TypeParam loaded;
        ASSERT_EQ(Error::NoError, loaded.load(goodFile(Order::Own)));
        std::vector<const void*> before = loaded.state();
        loaded.table.count = 0;
        EXPECT_EQ(Error::NoError, loaded.load(file));
        EXPECT_EQ(before, loaded.state());
        expectGoodTexts(loaded);
    }
}

TYPED_TEST(LngReader, EmptyTableDoesNotReadTheTextSize) {
    for (Order order : kOrders) {
        TypeParam reader(0);
        Stream stream(makeFile(order, {}, "").substr(0, 24) + bytes("\xFF\xFF\xFF\xFF") + "text");
        EXPECT_EQ(Error::NoError, reader.load(stream.file));
        EXPECT_EQ(24, stream.file.pos());
        EXPECT_EQ(nullptr, reader.loader.text);
    }
}

// The count is compared as it stands and only then taken as signed.
TYPED_TEST(LngReader, NegativeCountOnBothSidesIsAnEmptyTable) {
    for (Order order : kOrders) {
        TypeParam reader;
        ASSERT_EQ(Error::NoError, reader.load(goodFile(Order::Own)));
        std::vector<const void*> before = reader.state();
        reader.table.count = -1;
        Stream stream(replaced(goodFile(order), 20, bytes("\xFF\xFF\xFF\xFF")));
        EXPECT_EQ(Error::NoError, reader.load(stream.file));
        EXPECT_EQ(24, stream.file.pos());
        EXPECT_EQ(before, reader.state());
    }
}

TYPED_TEST(LngReader, EmptyTableRefusesAFileWithTexts) {
    TypeParam reader(0);
    EXPECT_EQ(Error::Invalid, reader.load(goodFile(Order::Own)));
}

TYPED_TEST(LngReader, EncodingOfTheTableIsNotCompared) {
    TypeParam reader;
    reader.table.encoding = 7;
    ASSERT_EQ(Error::NoError, reader.load(goodFile(Order::Own)));
    expectGoodTexts(reader);
    EXPECT_EQ(Error::BadEncoding, reader.load(replaced(goodFile(Order::Own), 12, word(7, Order::Own))));
    expectGoodTexts(reader);
}

// A start table is believed: it may lead anywhere, before the text as well.
TYPED_TEST(LngReader, StartsAreNotChecked) {
    for (Order order : kOrders) {
        TypeParam reader(3);
        ASSERT_EQ(Error::NoError, reader.load(makeFile(order, {1000, 0xFFFFFFFC, 2}, bytes("a\0"))));
        auto text = reinterpret_cast<std::uintptr_t>(reader.loader.text);
        EXPECT_EQ(text + 1000, reinterpret_cast<std::uintptr_t>(reader.at(0)));
        EXPECT_EQ(text - 4, reinterpret_cast<std::uintptr_t>(reader.at(1)));
        EXPECT_EQ(text + 2, reinterpret_cast<std::uintptr_t>(reader.at(2)));
    }
}

TYPED_TEST(LngReader, TextNeedsNoTerminator) {
    TypeParam reader(1);
    ASSERT_EQ(Error::NoError, reader.load(makeFile(Order::Own, {1}, "abc")));
    EXPECT_EQ(0, std::memcmp("bc", reader.at(0), 2));
}

TYPED_TEST(LngReader, ReadsFromThePresentPositionAndLeavesTheRest) {
    for (Order order : kOrders) {
        Stream stream("front" + goodFile(order) + goodFile(order) + "rest");
        ASSERT_TRUE(stream.file.seek(5, 0));
        TypeParam reader;
        ASSERT_EQ(Error::NoError, reader.load(stream.file));
        EXPECT_EQ(5 + 54, stream.file.pos());
        TypeParam next;
        ASSERT_EQ(Error::NoError, next.load(stream.file));
        expectGoodTexts(reader);
        expectGoodTexts(next);
        ASSERT_TRUE(stream.file.isOpened());
        char rest[4];
        ASSERT_TRUE(stream.file.read(rest, 4));
        EXPECT_EQ("rest", std::string(rest, 4));
    }
}

TYPED_TEST(LngReader, SuccessReplacesTheTexts) {
    TypeParam reader;
    ASSERT_EQ(Error::NoError, reader.load(goodFile(Order::Own)));
    const char* former = reader.loader.text;
    ASSERT_EQ(Error::NoError, reader.load(makeFile(Order::Opposite, {0, 2, 4, 6}, bytes("a\0b\0c\0d\0"))));
    EXPECT_NE(former, reader.loader.text);
    EXPECT_STREQ("a", reader.at(0));
    EXPECT_STREQ("b", reader.at(1));
    EXPECT_STREQ("c", reader.at(2));
    EXPECT_STREQ("d", reader.at(3));
    EXPECT_EQ(reader.loader.text + 6, reader.at(3));
}

TEST(CCLocLoaderLoad, StoresInFileOrder) {
    const char* variable = nullptr;
    const char** targets[] = {&variable, &variable};
    CCLocLoader::Localization table{2, 8, kStamp, targets};
    CCLocLoader loader;
    Stream stream(makeFile(Order::Own, {0, 2}, bytes("a\0b\0")));
    ASSERT_EQ(Error::NoError, loader.load(stream.file.file, table));
    EXPECT_STREQ("b", variable);
}

TEST(CCLocLoaderCopy, SharesTheText) {
    ByVariable reader;
    ASSERT_EQ(Error::NoError, reader.load(goodFile(Order::Own)));
    CCLocLoader copy(reader.loader);
    EXPECT_EQ(reader.loader.text, copy.text);
    CCLocLoader assigned;
    EXPECT_EQ(&assigned, &(assigned = reader.loader));
    EXPECT_EQ(reader.loader.text, assigned.text);
    copy.text = assigned.text = nullptr;
    expectGoodTexts(reader);
}

TEST(IDLocLoaderCopy, SharesTheTexts) {
    ByNumber reader;
    ASSERT_EQ(Error::NoError, reader.load(goodFile(Order::Own)));
    IDLocLoader copy(reader.loader);
    EXPECT_EQ(reader.loader.text, copy.text);
    EXPECT_EQ(reader.loader.strings, copy.strings);
    IDLocLoader assigned;
    EXPECT_EQ(&assigned, &(assigned = reader.loader));
    EXPECT_EQ(reader.loader.text, assigned.text);
    EXPECT_EQ(reader.loader.strings, assigned.strings);
    copy.text = assigned.text = nullptr;
    copy.strings = assigned.strings = nullptr;
    expectGoodTexts(reader);
}

TEST(IDLocLoaderIndex, GivesTheAddressInTheArray) {
    const char* strings[] = {"zero", "one"};
    IDLocLoader loader;
    loader.strings = strings;
    EXPECT_EQ(strings[0], loader[0]);
    EXPECT_EQ(strings[1], loader[1]);
    loader.strings = nullptr;
}

}  // namespace
