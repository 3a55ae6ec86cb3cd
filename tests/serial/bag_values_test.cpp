#include <velmora/serial/bag.h>

#include <gtest/gtest.h>

#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <functional>
#include <limits>
#include <string>
#include <type_traits>

#include <velmora/containers/vectors.h>
#include <velmora/text/charr.h>
#include <velmora/text/charvector.h>

static_assert(sizeof(BagTime) == 8 && offsetof(BagTime, value) == 0, "a BagTime is one 64-bit field");
static_assert(std::is_same_v<decltype(BagTime::value), std::int64_t>);
static_assert(std::is_copy_assignable_v<BagTime> && std::is_move_assignable_v<BagTime>);

namespace {

// Bytes from "41 000000 01000000"; blanks are for the eye.
std::string hex(const std::string& digits) {
    std::string bytes;
    int high = -1;
    for (char c : digits) {
        if (c == ' ') continue;
        int value = c >= 'A' ? c - 'A' + 10 : c - '0';
        if (high < 0) {
            high = value;
        } else {
            bytes += static_cast<char>(high * 16 + value);
            high = -1;
        }
    }
    return bytes;
}

std::string content(const Bag& bag) {
    return bag.size > 0 ? std::string(bag.data, static_cast<std::size_t>(bag.size)) : std::string();
}

Bag bagOf(const std::string& bytes) { return Bag(bytes.data(), static_cast<int>(bytes.size())); }

// The byte behind a bool, which need not be one of the two that the compiler expects.
int byteOf(const bool& value) {
    unsigned char byte;
    std::memcpy(&byte, &value, 1);
    return byte;
}

struct WriteRow {
    int line;
    std::function<void(Bag&)> write;
    const char* bytes;
};

// Writes behind one byte 'P' in a block that is not clean, so that a gap shows.
void expectWritten(const WriteRow& row) {
    SCOPED_TRACE(row.line);
    const std::string dirt(64, 'x');
    Bag bag(dirt.data(), 64);
    bag.truncate();
    bag.putChar('P');
    row.write(bag);
    EXPECT_EQ(hex(row.bytes), content(bag));
    EXPECT_EQ(bag.size, bag.cursor);
}

// ---- numbers ----

TEST(BagInBag, ReadIntoItselfIsEmptyBeforeItIsRead) {
    Bag bag;
    bag << Bag("ab", 2);
    bag.toBegin();
    EXPECT_THROW(bag >> bag, Bag::Exception);
    EXPECT_EQ(0, bag.size);
}

TEST(BagInBag, ItselfGoesInAsItWasBefore) {
    Bag bag("ab", 2);
    bag.toEnd();
    bag << bag;
    EXPECT_EQ(std::string("ab\0\0\2\0\0\0ab", 10), std::string(bag.data, static_cast<std::size_t>(bag.size)));
    bag.to(2);
    Bag inner;
    bag >> inner;
    EXPECT_EQ("ab", std::string(inner.data, static_cast<std::size_t>(inner.size)));
}

TEST(BagNumbers, WireForm) {
    static const WriteRow rows[] = {
        {__LINE__, [](Bag& bag) { bag.putChar('A'); }, "50 41"},
        {__LINE__, [](Bag& bag) { bag << 'A'; }, "50 41"},
        {__LINE__, [](Bag& bag) { bag.putChar('\x80'); }, "50 80"},
        {__LINE__, [](Bag& bag) { bag.putUChar(0xFE); }, "50 FE"},
        {__LINE__, [](Bag& bag) { bag << static_cast<unsigned char>(0xFE); }, "50 FE"},
        {__LINE__, [](Bag& bag) { bag.putBool(true); }, "50 01"},
        {__LINE__, [](Bag& bag) { bag.putBool(false); }, "50 00"},
        {__LINE__, [](Bag& bag) { bag << true << false; }, "50 01 00"},
        {__LINE__, [](Bag& bag) { bag.putShort(0x0102); }, "50 00 0201"},
        {__LINE__, [](Bag& bag) { bag << static_cast<short>(-2); }, "50 00 FEFF"},
        {__LINE__, [](Bag& bag) { bag.putShort(SHRT_MIN); }, "50 00 0080"},
        {__LINE__, [](Bag& bag) { bag.putUShort(0xFFFE); }, "50 00 FEFF"},
        {__LINE__, [](Bag& bag) { bag << static_cast<unsigned short>(0x8001); }, "50 00 0180"},
        {__LINE__, [](Bag& bag) { bag.putLong(0x01020304); }, "50 000000 04030201"},
        {__LINE__, [](Bag& bag) { bag << -2; }, "50 000000 FEFFFFFF"},
        {__LINE__, [](Bag& bag) { bag.putLong(INT_MIN); }, "50 000000 00000080"},
        {__LINE__, [](Bag& bag) { bag.putULong(0xFFFFFFFEu); }, "50 000000 FEFFFFFF"},
        {__LINE__, [](Bag& bag) { bag << 0x80000001u; }, "50 000000 01000080"},
        {__LINE__, [](Bag& bag) { bag.putLongLong(0x0102030405060708); }, "50 00000000000000 0807060504030201"},
        {__LINE__, [](Bag& bag) { bag.putLongLong(-2); }, "50 00000000000000 FEFFFFFFFFFFFFFF"},
        {__LINE__, [](Bag& bag) { bag.putULongLong(0xFFFFFFFFFFFFFFFEu); }, "50 00000000000000 FEFFFFFFFFFFFFFF"},
        {__LINE__, [](Bag& bag) { bag.putDouble(1.0); }, "50 00000000000000 000000000000F03F"},
        {__LINE__, [](Bag& bag) { bag << 1.5; }, "50 00000000000000 000000000000F83F"},
        {__LINE__, [](Bag& bag) { bag << -0.0; }, "50 00000000000000 0000000000000080"},
        {__LINE__, [](Bag& bag) { bag << std::numeric_limits<double>::infinity(); },
         "50 00000000000000 000000000000F07F"},
        {__LINE__, [](Bag& bag) { bag << BagTime(0x0102030405060708); }, "50 000000 08070605"},
        {__LINE__, [](Bag& bag) { bag << BagTime(-1); }, "50 000000 FFFFFFFF"},
        {__LINE__, [](Bag& bag) { bag << BagTime(); }, "50 000000 00000000"},
    };
    for (const WriteRow& row : rows) expectWritten(row);
}

// Whatever a platform calls its 64-bit types, they write 8 aligned bytes and read them back.
template <class T>
void expectEightBytes(const char* name) {
    SCOPED_TRACE(name);
    static_assert(sizeof(T) == 8);
    Bag bag;
    bag << 'P';
    Bag& chained = bag << static_cast<T>(0x0102030405060708) << static_cast<T>(-2);
    EXPECT_EQ(&bag, &chained);
    EXPECT_EQ(hex("50 00000000000000 0807060504030201 FEFFFFFFFFFFFFFF"), content(bag));
    bag.to(1);
    T first = 0;
    T second = 0;
    bag >> first >> second;
    EXPECT_EQ(static_cast<T>(0x0102030405060708), first);
    EXPECT_EQ(static_cast<T>(-2), second);
    EXPECT_TRUE(bag.end());
    EXPECT_THROW(bag >> first, Bag::Exception);
    EXPECT_EQ(static_cast<T>(0x0102030405060708), first);
}

TEST(BagNumbers, EveryNameOf64BitsHasOneMeaning) {
    expectEightBytes<std::int64_t>("int64_t");
    expectEightBytes<std::uint64_t>("uint64_t");
    expectEightBytes<long long>("long long");
    expectEightBytes<unsigned long long>("unsigned long long");
    expectEightBytes<std::time_t>("time_t");
    expectEightBytes<std::size_t>("size_t");
    expectEightBytes<std::ptrdiff_t>("ptrdiff_t");
}

TEST(BagNumbers, ReadBack) {
    Bag bag = bagOf(hex("41 FE 01 00 0080 FFFF 04030201 FEFFFFFF 000000000000F8BF FEFFFFFFFFFFFFFF 0807060504030201"));
    EXPECT_EQ('A', bag.getChar());
    EXPECT_EQ(0xFE, bag.getUChar());
    EXPECT_TRUE(bag.getBool());
    EXPECT_FALSE(bag.getBool());
    EXPECT_EQ(SHRT_MIN, bag.getShort());
    EXPECT_EQ(0xFFFF, bag.getUShort());
    EXPECT_EQ(0x01020304, bag.getLong());
    EXPECT_EQ(0xFFFFFFFEu, bag.getULong());
    EXPECT_EQ(-1.5, bag.getDouble());
    EXPECT_EQ(-2, bag.getLongLong());
    EXPECT_EQ(0x0102030405060708u, bag.getULongLong());
    EXPECT_TRUE(bag.end());

    bag.toBegin();
    char character = 0;
    unsigned char byte = 0;
    bool yes = false;
    bool no = true;
    short shortNumber = 0;
    unsigned short unsignedShort = 0;
    int number = 0;
    unsigned unsignedNumber = 0;
    double fraction = 0;
    std::int64_t big = 0;
    std::uint64_t unsignedBig = 0;
    Bag& chained = bag >> character >> byte >> yes >> no >> shortNumber >> unsignedShort >> number >> unsignedNumber >>
                   fraction >> big >> unsignedBig;
    EXPECT_EQ(&bag, &chained);
    EXPECT_EQ('A', character);
    EXPECT_EQ(0xFE, byte);
    EXPECT_TRUE(yes);
    EXPECT_FALSE(no);
    EXPECT_EQ(SHRT_MIN, shortNumber);
    EXPECT_EQ(0xFFFF, unsignedShort);
    EXPECT_EQ(0x01020304, number);
    EXPECT_EQ(0xFFFFFFFEu, unsignedNumber);
    EXPECT_EQ(-1.5, fraction);
    EXPECT_EQ(-2, big);
    EXPECT_EQ(0x0102030405060708u, unsignedBig);
    EXPECT_TRUE(bag.end());
}

TEST(BagNumbers, SignedAndUnsignedShareTheirBytes) {
    Bag bag;
    bag.putChar('\xFF');
    bag.putShort(-1);
    bag.putLong(-1);
    bag.putLongLong(-1);
    bag.toBegin();
    EXPECT_EQ(0xFFu, bag.getUChar());
    EXPECT_EQ(0xFFFFu, bag.getUShort());
    EXPECT_EQ(0xFFFFFFFFu, bag.getULong());
    EXPECT_EQ(0xFFFFFFFFFFFFFFFFu, bag.getULongLong());
    EXPECT_TRUE(bag.end());
}

TEST(BagNumbers, ShortAtCursorOneGoesToPositionTwo) {
    Bag bag;
    bag.putChar('a');
    bag.putShort(0x0102);
    EXPECT_EQ(hex("61 00 0201"), content(bag));
    bag.to(1);
    EXPECT_EQ(0x0102, bag.getShort());
    EXPECT_EQ(4, bag.tell());
}

TEST(BagNumbers, DoubleLeavesAGapOfOneToSevenBytes) {
    for (int before = 1; before <= 16; ++before) {
        SCOPED_TRACE(before);
        Bag bag;
        std::string text(static_cast<std::size_t>(before), 'a');
        bag.putStringNZ(text);
        bag.putDouble(1.0);
        int start = before <= 8 ? 8 : 16;
        EXPECT_EQ(text + std::string(static_cast<std::size_t>(start - before), '\0') + hex("000000000000F03F"),
                  content(bag));
    }
}

TEST(BagNumbers, GapInsideTheContentKeepsItsBytes) {
    struct Row {
        int line;
        std::function<void(Bag&)> write;
        const char* after;
    };
    static const Row rows[] = {
        {__LINE__, [](Bag& bag) { bag.putShort(0x4141); }, "abAA"},
        {__LINE__, [](Bag& bag) { bag.putUShort(0x4141); }, "abAA"},
        {__LINE__, [](Bag& bag) { bag.putLong(0x41414141); }, "abcdAAAA"},
        {__LINE__, [](Bag& bag) { bag << BagTime(0x41414141); }, "abcdAAAA"},
        {__LINE__, [](Bag& bag) { bag.putLongLong(0x4141414141414141); }, "abcdefghAAAAAAAA"},
        {__LINE__, [](Bag& bag) { bag.putDouble(2261634.5098039214); }, "abcdefghAAAAAAAA"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.line);
        Bag bag("abcdefghijklmnopqrst", 20);
        bag.to(1);
        row.write(bag);
        EXPECT_EQ(row.after, content(bag));
    }
}

TEST(BagNumbers, AlignmentCountsFromTheStartOfTheContent) {
    Bag inner;
    inner << 'a' << 1.0;
    Bag outer;
    outer << inner;
    EXPECT_EQ(hex("10000000 61 00000000000000 000000000000F03F"), content(outer));
    outer.toBegin();
    Bag copy;
    outer >> copy;
    EXPECT_EQ('a', copy.getChar());
    EXPECT_EQ(1.0, copy.getDouble());
}

TEST(BagNumbers, ExampleOfAllAlignments) {
    Bag bag;
    bag << 'A' << 1 << "hi" << 1.0;
    EXPECT_EQ(hex("41 000000 01000000 686900 0000000000 000000000000F03F"), content(bag));
    EXPECT_EQ(24, bag.getSize());
    bag.toBegin();
    char character;
    int number;
    std::string text;
    double fraction;
    bag >> character >> number >> text >> fraction;
    EXPECT_EQ('A', character);
    EXPECT_EQ(1, number);
    EXPECT_EQ("hi", text);
    EXPECT_EQ(1.0, fraction);
}

TEST(BagNumbers, WriteInTheMiddleCutsOffWhatLayBehind) {
    Bag bag;
    bag << 1 << 2 << 3;
    bag.to(4);
    bag << 7;
    EXPECT_EQ(hex("01000000 07000000"), content(bag));
}

TEST(BagNumbers, EachReaderNeedsAllItsBytes) {
    struct Row {
        int line;
        int width;
        int align;
        std::function<void(Bag&)> read;
    };
    static const Row rows[] = {
        {__LINE__, 1, 1, [](Bag& bag) { bag.getChar(); }},
        {__LINE__, 1, 1, [](Bag& bag) { bag.getUChar(); }},
        {__LINE__, 1, 1, [](Bag& bag) { bag.getBool(); }},
        {__LINE__, 2, 2, [](Bag& bag) { bag.getShort(); }},
        {__LINE__, 2, 2, [](Bag& bag) { bag.getUShort(); }},
        {__LINE__, 4, 4, [](Bag& bag) { bag.getLong(); }},
        {__LINE__, 4, 4, [](Bag& bag) { bag.getULong(); }},
        {__LINE__, 8, 8, [](Bag& bag) { bag.getLongLong(); }},
        {__LINE__, 8, 8, [](Bag& bag) { bag.getULongLong(); }},
        {__LINE__, 8, 8, [](Bag& bag) { bag.getDouble(); }},
        {__LINE__, 1, 1,
         [](Bag& bag) {
             char v;
             bag >> v;
         }},
        {__LINE__, 1, 1,
         [](Bag& bag) {
             unsigned char v;
             bag >> v;
         }},
        {__LINE__, 1, 1,
         [](Bag& bag) {
             bool v;
             bag >> v;
         }},
        {__LINE__, 2, 2,
         [](Bag& bag) {
             short v;
             bag >> v;
         }},
        {__LINE__, 2, 2,
         [](Bag& bag) {
             unsigned short v;
             bag >> v;
         }},
        {__LINE__, 4, 4,
         [](Bag& bag) {
             int v;
             bag >> v;
         }},
        {__LINE__, 4, 4,
         [](Bag& bag) {
             unsigned v;
             bag >> v;
         }},
        {__LINE__, 4, 4,
         [](Bag& bag) {
             BagTime v;
             bag >> v;
         }},
        {__LINE__, 8, 8,
         [](Bag& bag) {
             std::int64_t v;
             bag >> v;
         }},
        {__LINE__, 8, 8,
         [](Bag& bag) {
             std::uint64_t v;
             bag >> v;
         }},
        {__LINE__, 8, 8,
         [](Bag& bag) {
             double v;
             bag >> v;
         }},
    };
    const std::string zeros(16, '\0');
    for (const Row& row : rows) {
        SCOPED_TRACE(row.line);
        for (int start : {0, 1}) {
            SCOPED_TRACE(start);
            int aligned = start == 0 ? 0 : row.align;
            int enough = aligned + row.width;
            Bag whole(zeros.data(), enough);
            whole.to(start);
            EXPECT_NO_THROW(row.read(whole));
            EXPECT_EQ(enough, whole.tell());

            Bag cut(zeros.data(), enough - 1);
            cut.to(start);
            EXPECT_THROW(row.read(cut), Bag::Exception);
            EXPECT_EQ(aligned, cut.tell()) << "aligned, but not advanced";
            EXPECT_EQ(enough - 1, cut.size);
            EXPECT_EQ(zeros.substr(0, static_cast<std::size_t>(enough - 1)), content(cut));
        }
        Bag bag;
        EXPECT_THROW(row.read(bag), Bag::Exception);
        EXPECT_EQ(0, bag.tell());
    }
}

TEST(BagNumbers, FailedReadLeavesTheTarget) {
    Bag bag;
    char character = 'a';
    short shortNumber = 1;
    int number = 2;
    std::int64_t big = 3;
    double fraction = 4;
    BagTime time(5);
    EXPECT_THROW(bag >> character, Bag::Exception);
    EXPECT_THROW(bag >> shortNumber, Bag::Exception);
    EXPECT_THROW(bag >> number, Bag::Exception);
    EXPECT_THROW(bag >> big, Bag::Exception);
    EXPECT_THROW(bag >> fraction, Bag::Exception);
    EXPECT_THROW(bag >> time, Bag::Exception);
    EXPECT_EQ('a', character);
    EXPECT_EQ(1, shortNumber);
    EXPECT_EQ(2, number);
    EXPECT_EQ(3, big);
    EXPECT_EQ(4, fraction);
    EXPECT_EQ(5, time.value);
}

TEST(BagBool, ByteIsHandedBackAsItIsFound) {
    Bag bag = bagOf(hex("02"));
    bool value = false;
    bag >> value;
    EXPECT_EQ(2, byteOf(value));
    EXPECT_EQ(1, bag.tell());
    for (int byte = 0; byte < 256; ++byte) {
        bag.data[0] = static_cast<char>(byte);
        bag.toBegin();
        const bool returned = bag.getBool();
#ifdef __clang__  // which has no other bool than 0 and 1 to return
        EXPECT_EQ(byte != 0, byteOf(returned));
#else
        EXPECT_EQ(byte, byteOf(returned));
#endif
        EXPECT_EQ(1, bag.tell());
        bag.toBegin();
        bag >> value;
        EXPECT_EQ(byte, byteOf(value));
    }
}

TEST(BagTime, HoldsSecondsAndStartsAtZero) {
    EXPECT_EQ(0, BagTime().value);
    EXPECT_EQ(-7, BagTime(-7).value);
    std::time_t now = 1617440707;
    BagTime time(now);
    EXPECT_EQ(1617440707, time.value);
    BagTime copy;
    copy = time;
    EXPECT_EQ(1617440707, copy.value);
    copy = BagTime(5);
    EXPECT_EQ(5, copy.value);
}

TEST(BagTime, LosesItsHighBitsOnTheWire) {
    struct Row {
        int line;
        std::int64_t written;
        const char* bytes;
        std::int64_t read;
    };
    static const Row rows[] = {
        {__LINE__, 0, "00000000", 0},
        {__LINE__, 1617440707, "C32F6860", 1617440707},
        {__LINE__, 2147483648, "00000080", 2147483648},
        {__LINE__, 4294967295, "FFFFFFFF", 4294967295},
        {__LINE__, 4294967301, "05000000", 5},
        {__LINE__, -1, "FFFFFFFF", 4294967295},
        {__LINE__, INT64_MIN, "00000000", 0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.line);
        Bag bag;
        bag << BagTime(row.written);
        EXPECT_EQ(hex(row.bytes), content(bag));
        bag.toBegin();
        BagTime time(-5);
        bag >> time;
        EXPECT_EQ(row.read, time.value);
        EXPECT_TRUE(bag.end());
    }
}

// ---- text ----

const char* const nullText = nullptr;

TEST(BagText, WireForm) {
    static const WriteRow rows[] = {
        {__LINE__, [](Bag& bag) { bag.putString("ab"); }, "50 616200"},
        {__LINE__, [](Bag& bag) { bag.putString(""); }, "50 00"},
        {__LINE__, [](Bag& bag) { bag.putString(nullText); }, "50 00"},
        {__LINE__, [](Bag& bag) { bag << "ab"; }, "50 616200"},
        {__LINE__, [](Bag& bag) { bag << nullText; }, "50 00"},
        {__LINE__, [](Bag& bag) { bag.putString(std::string("ab")); }, "50 616200"},
        {__LINE__, [](Bag& bag) { bag.putString(std::string()); }, "50 00"},
        {__LINE__, [](Bag& bag) { bag.putString(std::string("a\0b", 3)); }, "50 61006200"},
        {__LINE__, [](Bag& bag) { bag << std::string("ab"); }, "50 616200"},
        {__LINE__, [](Bag& bag) { bag << std::string("a\0b", 3); }, "50 61006200"},
        {__LINE__, [](Bag& bag) { bag.putString(CharVector("ab")); }, "50 616200"},
        {__LINE__, [](Bag& bag) { bag.putString(CharVector()); }, "50 00"},
        {__LINE__, [](Bag& bag) { bag << CharVector("ab"); }, "50 616200"},
        {__LINE__, [](Bag& bag) { bag << CharVector(); }, "50 00"},
        {__LINE__, [](Bag& bag) { bag << ChArr("ab"); }, "50 616200"},
        {__LINE__, [](Bag& bag) { bag << ChArr(""); }, "50 00"},
        {__LINE__, [](Bag& bag) { bag << ChArr(); }, "50 00"},
        {__LINE__, [](Bag& bag) { bag.putStringNZ("ab"); }, "50 6162"},
        {__LINE__, [](Bag& bag) { bag.putStringNZ(""); }, "50"},
        {__LINE__, [](Bag& bag) { bag.putStringNZ(nullText); }, "50"},
        {__LINE__, [](Bag& bag) { bag.putStringNZ(std::string("ab")); }, "50 6162"},
        {__LINE__, [](Bag& bag) { bag.putStringNZ(std::string("a\0b", 3)); }, "50 610062"},
        {__LINE__, [](Bag& bag) { bag.putStringNZ(std::string()); }, "50"},
        {__LINE__, [](Bag& bag) { bag.putStringNZ(ChPair("abc", 2)); }, "50 6162"},
        {__LINE__, [](Bag& bag) { bag.putStringNZ(ChPair()); }, "50"},
        {__LINE__, [](Bag& bag) { bag.putStringNZ(CharVector("ab")); }, "50 6162"},
        {__LINE__, [](Bag& bag) { bag.putStringNZ(CharVector()); }, "50"},
        {__LINE__, [](Bag& bag) { bag.putFormatStringNZ("%d-%s", 7, "x"); }, "50 372D78"},
        {__LINE__, [](Bag& bag) { bag.putFormatStringNZ("plain"); }, "50 706C61696E"},
        {__LINE__, [](Bag& bag) { bag << ChPair("abc", 3); }, "50 000000 03000000 616263"},
        {__LINE__, [](Bag& bag) { bag << ChPair("a\0c", 3); }, "50 000000 03000000 610063"},
        {__LINE__, [](Bag& bag) { bag << ChPair(); }, "50 000000 00000000"},
        {__LINE__, [](Bag& bag) { bag << ChPair(""); }, "50 000000 00000000"},
    };
    for (const WriteRow& row : rows) expectWritten(row);
}

TEST(BagText, UnterminatedNothingStillSetsTheSize) {
    Bag bag("hello", 5);
    bag.to(2);
    bag.putStringNZ(nullText);
    EXPECT_EQ(2, bag.size);
    EXPECT_EQ(2, bag.cursor);
    EXPECT_EQ("he", content(bag));
}

TEST(BagText, FormattedTextIsCutAt4096Bytes) {
    struct Row {
        int line;
        int wanted;
        int written;
    };
    static const Row rows[] = {
        {__LINE__, 4095, 4095}, {__LINE__, 4096, 4096}, {__LINE__, 4097, 4096}, {__LINE__, 20000, 4096}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.line);
        Bag bag;
        bag.putChar('P');
        bag.putFormatStringNZ("%-*s|", row.wanted - 1, "abc");
        std::string expected = "Pabc" + std::string(static_cast<std::size_t>(row.wanted - 4), ' ') + "|";
        EXPECT_EQ(expected.substr(0, static_cast<std::size_t>(row.written + 1)), content(bag));
    }
}

// Every way of reading a terminated text, as a std::string.
struct TextReader {
    const char* name;
    std::function<std::string(Bag&)> read;
};

const TextReader textReaders[] = {
    {"getString",
     [](Bag& bag) {
         std::string s("old");
         bag.getString(s);
         return s;
     }},
    {"getStringPtr", [](Bag& bag) { return std::string(bag.getStringPtr()); }},
    {"getStringAsPair", [](Bag& bag) { return bag.getStringAsPair().std(); }},
    {">> std::string",
     [](Bag& bag) {
         std::string s("old");
         bag >> s;
         return s;
     }},
    {">> ChArr",
     [](Bag& bag) {
         ChArr s("old");
         bag >> s;
         return std::string(s.asCharPtr());
     }},
    {">> CharVector",
     [](Bag& bag) {
         CharVector s("old");
         bag >> s;
         return s.std();
     }},
    {">> char*",
     [](Bag& bag) {
         char* s = nullptr;
         bag >> s;
         return std::string(s);
     }},
    {">> char const*",
     [](Bag& bag) {
         const char* s = nullptr;
         bag >> s;
         return std::string(s);
     }},
};

TEST(BagText, EveryReaderStopsBehindTheZeroByte) {
    for (const TextReader& reader : textReaders) {
        SCOPED_TRACE(reader.name);
        Bag bag = bagOf(std::string("ab\0\0cd\0z", 8));
        EXPECT_EQ("ab", reader.read(bag));
        EXPECT_EQ(3, bag.tell());
        EXPECT_EQ("", reader.read(bag));
        EXPECT_EQ(4, bag.tell());
        EXPECT_EQ("cd", reader.read(bag));
        EXPECT_EQ(7, bag.tell());
        EXPECT_EQ(8, bag.size);
        EXPECT_EQ(std::string("ab\0\0cd\0z", 8), content(bag));
    }
}

TEST(BagText, EveryReaderNeedsTheTerminator) {
    for (const TextReader& reader : textReaders) {
        SCOPED_TRACE(reader.name);
        for (int cursor : {0, 1, 3, 4, 100}) {  // inside, at the end, and beyond it
            SCOPED_TRACE(cursor);
            Bag bag = bagOf("abc");
            bag.data[3] = '\0';  // a zero byte in the block, but behind the content
            bag.to(cursor);
            EXPECT_THROW(reader.read(bag), Bag::Exception);
            EXPECT_EQ(cursor, bag.tell());
            EXPECT_EQ("abc", content(bag));
        }
        Bag bag;
        EXPECT_THROW(reader.read(bag), Bag::Exception);
        EXPECT_EQ(0, bag.tell());
    }
}

TEST(BagText, FailedReadLeavesTheTarget) {
    Bag bag = bagOf("abc");
    std::string string("old");
    ChArr arr("old");
    CharVector vector("old");
    char byte = 'o';
    char* pointer = &byte;
    const char* constPointer = &byte;
    EXPECT_THROW(bag >> string, Bag::Exception);
    EXPECT_THROW(bag.getString(string), Bag::Exception);
    EXPECT_THROW(bag >> arr, Bag::Exception);
    EXPECT_THROW(bag >> vector, Bag::Exception);
    EXPECT_THROW(bag >> pointer, Bag::Exception);
    EXPECT_THROW(bag >> constPointer, Bag::Exception);
    EXPECT_EQ("old", string);
    EXPECT_EQ("old", arr);
    EXPECT_EQ("old", vector.std());
    EXPECT_EQ(&byte, pointer);
    EXPECT_EQ(&byte, constPointer);
}

TEST(BagText, PointersAndPairsLieInTheBlock) {
    Bag bag = bagOf(std::string("ab\0cd\0ef\0gh\0", 12));
    EXPECT_EQ(bag.data, bag.getStringPtr());
    ChPair pair = bag.getStringAsPair();
    EXPECT_EQ(bag.data + 3, pair.begin);
    EXPECT_EQ(bag.data + 5, pair.end) << "the pair ends at the zero byte";
    char* pointer = nullptr;
    const char* constPointer = nullptr;
    Bag& chained = bag >> pointer >> constPointer;
    EXPECT_EQ(&bag, &chained);
    EXPECT_EQ(bag.data + 6, pointer);
    EXPECT_EQ(bag.data + 9, constPointer);
    EXPECT_TRUE(bag.end());
}

TEST(BagText, CopiesDoNotLieInTheBlock) {
    Bag bag = bagOf(std::string("ab\0cd\0", 6));
    ChArr arr;
    CharVector vector;
    bag >> arr >> vector;
    bag.data[0] = bag.data[3] = 'X';
    EXPECT_EQ("ab", arr);
    EXPECT_EQ("cd", vector.std());
    EXPECT_EQ(2, vector.count);
}

TEST(BagText, NullReadsBackAsAnEmptyText) {
    Bag bag;
    bag << nullText;
    EXPECT_EQ(hex("00"), content(bag));
    bag.toBegin();
    EXPECT_STREQ("", bag.getStringPtr());
    EXPECT_TRUE(bag.end());
}

TEST(BagText, ZeroByteInsideMakesTwoTexts) {
    Bag bag;
    bag << std::string("a\0b", 3) << 'c';
    EXPECT_EQ(hex("61 00 62 00 63"), content(bag));
    bag.toBegin();
    std::string first;
    std::string second;
    bag >> first >> second;
    EXPECT_EQ("a", first);
    EXPECT_EQ("b", second);
    EXPECT_EQ('c', bag.getChar());
}

// ---- ChPair ----

TEST(BagChPair, ReadsAViewIntoTheBlock) {
    Bag bag;
    bag << 'P' << ChPair("abc", 3) << ChPair();
    EXPECT_EQ(hex("50 000000 03000000 616263 00 00000000"), content(bag));
    bag.to(1);
    ChPair pair;
    Bag& chained = bag >> pair;
    EXPECT_EQ(&bag, &chained);
    EXPECT_EQ(bag.data + 8, pair.begin);
    EXPECT_EQ(bag.data + 11, pair.end);
    EXPECT_EQ(11, bag.tell());
    bag >> pair;
    EXPECT_EQ(0, pair.len());
    EXPECT_EQ(bag.data + 16, pair.begin);
    EXPECT_TRUE(bag.end());
}

TEST(BagChPair, NeedsTheLengthField) {
    Bag bag = bagOf(hex("50 000000 030000"));
    bag.to(1);
    ChPair pair("old");
    EXPECT_THROW(bag >> pair, Bag::Exception);
    EXPECT_EQ(4, bag.tell());
    EXPECT_EQ("old", pair.std());
}

TEST(BagChPair, BelievesTheLength) {
    Bag bag = bagOf(hex("64000000 616263"));
    ChPair pair;
    EXPECT_NO_THROW(bag >> pair);
    EXPECT_EQ(100, pair.len());
    EXPECT_EQ(bag.data + 4, pair.begin);
    EXPECT_EQ(104, bag.tell());
    EXPECT_EQ(-97, bag.getRestSize());
    EXPECT_THROW(bag.getChar(), Bag::Exception);
    EXPECT_THROW(bag.getLong(), Bag::Exception);
    EXPECT_THROW(bag.getStringPtr(), Bag::Exception);
}

TEST(BagChPair, NegativeLengthMakesTheNextReadFail) {
    Bag bag = bagOf(hex("9CFFFFFF 61626300"));
    ChPair pair;
    EXPECT_NO_THROW(bag >> pair);
    EXPECT_EQ(-100, pair.len());
    EXPECT_EQ(-96, bag.tell());
    EXPECT_THROW(bag.getChar(), Bag::Exception);
    EXPECT_THROW(bag.getDataPtr(1), Bag::Exception);
    EXPECT_THROW(bag.getStringPtr(), Bag::Exception);
    EXPECT_THROW(bag.getLong(), Bag::Exception);
    EXPECT_THROW(bag.getLongLong(), Bag::Exception);
}

TEST(BagChPair, DoesNotFitATerminatedReader) {
    Bag bag;
    bag << ChPair("abc", 3);
    bag.toBegin();
    ChArr text;
    bag >> text;
    EXPECT_EQ("\x03", text);
    EXPECT_EQ(2, bag.tell());
}

// ---- Bag in Bag ----

TEST(BagInBag, WireForm) {
    static const WriteRow rows[] = {
        {__LINE__, [](Bag& bag) { bag << Bag("abc", 3); }, "50 000000 03000000 616263"},
        {__LINE__, [](Bag& bag) { bag << Bag(); }, "50 000000 00000000"},
        {__LINE__,
         [](Bag& bag) {
             Bag inner("abc", 3);
             inner.to(2);  // the cursor plays no part
             bag << inner << Bag("d", 1);
         },
         "50 000000 03000000 616263 00 01000000 64"},
    };
    for (const WriteRow& row : rows) expectWritten(row);
}

TEST(BagInBag, ReadsBackReadyForReading) {
    Bag bag;
    bag << Bag("abc", 3) << Bag() << 'z';
    bag.toBegin();
    Bag inner("old content", 11);
    inner.to(5);
    char* block = inner.data;
    Bag& chained = bag >> inner;
    EXPECT_EQ(&bag, &chained);
    EXPECT_EQ("abc", content(inner));
    EXPECT_EQ(0, inner.tell());
    EXPECT_EQ(block, inner.data) << "the block is kept";
    EXPECT_EQ(16, inner.bufferSize);
    EXPECT_EQ(7, bag.tell());

    inner.to(2);
    bag >> inner;
    EXPECT_EQ(0, inner.size);
    EXPECT_EQ(0, inner.cursor);
    EXPECT_EQ(block, inner.data);
    EXPECT_EQ('z', bag.getChar());
}

TEST(BagInBag, EmptyOneCostsFourBytes) {
    Bag bag;
    bag << Bag();
    EXPECT_EQ(hex("00000000"), content(bag));
    bag.toBegin();
    Bag inner;
    bag >> inner;
    EXPECT_EQ(nullptr, inner.data);
    EXPECT_EQ(0, inner.size);
    EXPECT_EQ(0, inner.cursor);
}

TEST(BagInBag, FailureEmptiesTheTargetFirst) {
    struct Row {
        int line;
        const char* bytes;
        int cursorAfter;
    };
    static const Row rows[] = {
        {__LINE__, "", 0},
        {__LINE__, "030000", 0},
        {__LINE__, "04000000 616263", 4},
        {__LINE__, "01000000", 4},
        {__LINE__, "FFFFFFFF 616263", 4},
        {__LINE__, "00000080 616263", 4},
        {__LINE__, "FFFFFF7F 616263", 4},
        {__LINE__, "FBFFFF7F 616263", 4},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.line);
        Bag bag = bagOf(hex(row.bytes));
        Bag inner("old", 3);
        inner.to(2);
        char* block = inner.data;
        EXPECT_THROW(bag >> inner, Bag::Exception);
        EXPECT_EQ(0, inner.size);
        EXPECT_EQ(0, inner.cursor);
        EXPECT_EQ(block, inner.data);
        EXPECT_EQ(16, inner.bufferSize);
        EXPECT_EQ(row.cursorAfter, bag.tell());
        EXPECT_EQ(hex(row.bytes), content(bag));
    }
}

// ---- StringVector<char> ----

TEST(BagStrings, WireForm) {
    static const WriteRow rows[] = {
        {__LINE__, [](Bag& bag) { bag << StringVector<char>(); }, "50 000000 00000000"},
        {__LINE__,
         [](Bag& bag) {
             StringVector<char> items;
             items.append_steal(nullptr);
             items.append("");
             items.append("ab");
             bag << items;
         },
         "50 000000 03000000 00000000 01000000 03000000 6162"},
        {__LINE__,
         [](Bag& bag) {
             StringVector<char> items;
             items.append("abc");
             items.append("defg");
             items.append("h");
             bag << items << 'z';
         },
         "50 000000 03000000 04000000 616263 00 05000000 64656667 02000000 68 7A"},
    };
    for (const WriteRow& row : rows) expectWritten(row);
}

TEST(BagStrings, NullEmptyAndTextReadBackAsThemselves) {
    StringVector<char> items;
    items.append_steal(nullptr);
    items.append("");
    items.append("ab");
    Bag bag;
    bag << items;
    EXPECT_EQ(hex("03000000 00000000 01000000 03000000 6162"), content(bag));
    EXPECT_EQ(18, bag.getSize());

    bag.toBegin();
    StringVector<char> back;
    back.append("old");
    Bag& chained = bag >> back;
    EXPECT_EQ(&bag, &chained);
    ASSERT_EQ(3, back.count);
    EXPECT_EQ(nullptr, back.data[0]);
    EXPECT_STREQ("", back.data[1]);
    EXPECT_STREQ("ab", back.data[2]);
    EXPECT_TRUE(bag.end());
}

TEST(BagStrings, GapsBetweenItemsAreSkipped) {
    Bag bag = bagOf(hex("03000000 04000000 616263 FF 05000000 64656667 02000000 68 7A"));
    StringVector<char> back;
    bag >> back;
    ASSERT_EQ(3, back.count);
    EXPECT_STREQ("abc", back.data[0]);
    EXPECT_STREQ("defg", back.data[1]);
    EXPECT_STREQ("h", back.data[2]);
    EXPECT_EQ('z', bag.getChar());
}

TEST(BagStrings, EmptyVectorEmptiesTheTarget) {
    Bag bag = bagOf(hex("00000000"));
    StringVector<char> back;
    back.append("old");
    bag >> back;
    EXPECT_EQ(0, back.count);
    EXPECT_EQ(nullptr, back.data);
    EXPECT_TRUE(bag.end());
}

TEST(BagStrings, CountIsReadBeforeTheTargetIsEmptied) {
    Bag bag = bagOf(hex("010000"));
    StringVector<char> back;
    back.append("old");
    EXPECT_THROW(bag >> back, Bag::Exception);
    ASSERT_EQ(1, back.count);
    EXPECT_STREQ("old", back.data[0]);
    EXPECT_EQ(0, bag.tell());
}

TEST(BagStrings, ItemsReadBeforeAFailureStay) {
    struct Row {
        int line;
        const char* bytes;
        int kept;
        int cursorAfter;
    };
    static const Row rows[] = {
        {__LINE__, "01000000", 0, 4},
        {__LINE__, "01000000 020000", 0, 4},
        {__LINE__, "01000000 02000000", 0, 8},
        {__LINE__, "02000000 02000000 61", 1, 12},
        {__LINE__, "02000000 02000000 61 000000 03000000 62", 1, 16},
        {__LINE__, "02000000 02000000 61 000000 FFFFFFFF 62", 1, 16},
        {__LINE__, "02000000 02000000 61 000000 00000080 62", 1, 16},
        {__LINE__, "02000000 02000000 61 000000 FFFFFF7F 62", 1, 16},
        {__LINE__, "FFFFFFFF 02000000 61", 1, 12},
        {__LINE__, "00000080 02000000 61", 1, 12},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.line);
        Bag bag = bagOf(hex(row.bytes));
        StringVector<char> back;
        back.append("old");
        back.append("older");
        EXPECT_THROW(bag >> back, Bag::Exception);
        ASSERT_EQ(row.kept, back.count);
        if (row.kept) {
            EXPECT_STREQ("a", back.data[0]);
        }
        EXPECT_EQ(row.cursorAfter, bag.tell());
        EXPECT_EQ(hex(row.bytes), content(bag));
    }
}

TEST(BagStrings, TextWithAZeroByteIsCopiedWhole) {
    Bag bag = bagOf(hex("01000000 04000000 610062"));
    StringVector<char> back;
    bag >> back;
    ASSERT_EQ(1, back.count);
    EXPECT_EQ(0, std::memcmp("a\0b\0", back.data[0], 4));
}

}  // namespace
