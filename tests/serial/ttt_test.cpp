#include <velmora/serial/ttt.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <functional>
#include <limits>
#include <string>
#include <type_traits>
#include <utility>

#include <velmora/localization/keys.h>
#include <velmora/text/charr.h>
#include <velmora/text/charvector.h>
#include <velmora/text/chpair.h>

#include "tests/support/message.h"
#include "tests/support/virtual_slot.h"

static_assert(TTT::RAW == -1 && TTT::DICT == -2 && TTT::DATA == -3);
static_assert(TTT::PARAM_INT == 0x0F0ABCDF && TTT::PARAM_INT == 252361951);
static_assert(TTT::PARAM_UINT == 0x0F0ABCE0 && TTT::PARAM_UINT == 252361952);
static_assert(TTT::PARAM_INT64 == 0x0F0ABCE1 && TTT::PARAM_INT64 == 252361953);
static_assert(TTT::PARAM_UINT64 == 0x0F0ABCE2 && TTT::PARAM_UINT64 == 252361954);
static_assert(TTT::PARAM_STRING == 0x0F0ABCE3 && TTT::PARAM_STRING == 252361955);

static_assert(sizeof(TTT) == sizeof(Bag) && !std::is_polymorphic_v<TTT>, "a message is its Bag and nothing else");
static_assert(!std::is_base_of_v<Bag, TTT>, "a handler for Bag does not catch a message");

static_assert(sizeof(TTP) == 8 && offsetof(TTP, dict) == 0 && offsetof(TTP, id) == 4);
static_assert(sizeof(LocDictionaryId) == 4 && VELMORA_DICT == 2);
static_assert(std::is_copy_assignable_v<TTP> && std::is_move_assignable_v<TTP>);

static_assert(std::is_abstract_v<TTT::ParamSource> && std::has_virtual_destructor_v<TTT::ParamSource>);
static_assert(sizeof(TTT::ParamSource) == sizeof(void*), "a source holds no data of its own");

namespace {

// A segment is text or a reference, never a number.
template <class T>
concept Appendable = requires(TTT& message, T value) {
    message <= value;
};

static_assert(!Appendable<int>);
static_assert(!Appendable<unsigned>);
static_assert(!Appendable<std::int64_t>);
static_assert(!Appendable<std::uint64_t>);
static_assert(!Appendable<long>);
static_assert(!Appendable<unsigned long>);
static_assert(!Appendable<long long>);
static_assert(!Appendable<unsigned long long>);
static_assert(!Appendable<std::time_t>);
static_assert(!Appendable<std::size_t>);
static_assert(!Appendable<short>);
static_assert(!Appendable<bool>);
static_assert(Appendable<char>);
static_assert(Appendable<const char*>);
static_assert(Appendable<const std::string&>);
static_assert(Appendable<const ChArr&>);
static_assert(Appendable<const ChPair&>);
static_assert(Appendable<const CharVector&>);
static_assert(Appendable<const TTP&>);
static_assert(Appendable<const TTT&>);
static_assert(Appendable<const Bag&>);

constexpr auto kDict5 = static_cast<LocDictionaryId>(5);
const char* const nullText = nullptr;

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
std::string content(const TTT& message) { return content(message.getData()); }

TTT messageOf(const std::string& bytes) { return TTT(bytes.data(), static_cast<int>(bytes.size())); }

void expectMessage(const std::string& bytes, const TTT& message) {
    EXPECT_EQ(hex(bytes), content(message));
    EXPECT_EQ(message.getData().size, message.getData().cursor) << "the next append must come behind";
}

class Source : public TTT::ParamSource {
public:
    const char* text;
    mutable int asked = 0;

    explicit Source(const char* s) : text(s) {}
    const char* getText() const override {
        ++asked;
        return text;
    }
};

// ---- constants, TTP, ParamSource ----

TEST(TTTConstants, AreExported) {
    const int* tags[] = {&TTT::RAW, &TTT::DICT, &TTT::DATA};
    EXPECT_EQ(-1, *tags[0]);
    EXPECT_EQ(-2, *tags[1]);
    EXPECT_EQ(-3, *tags[2]);
}

TEST(TTP, IsADictionaryAndANumber) {
    TTP text(VELMORA_DICT, 14);
    EXPECT_EQ(VELMORA_DICT, text.dict);
    EXPECT_EQ(14, text.id);
    TTP other(kDict5, 1);
    other = text;
    EXPECT_EQ(VELMORA_DICT, other.dict);
    EXPECT_EQ(14, other.id);
    other = TTP(kDict5, 3);
    EXPECT_EQ(kDict5, other.dict);
    EXPECT_EQ(3, other.id);
}

TEST(TTTParamSource, VirtualOrder) { EXPECT_EQ(2, support::virtualSlot(&TTT::ParamSource::getText)); }

TEST(TTTParamSource, CopiesAndAssigns) {
    Source source("a");
    Source copy(source);
    EXPECT_STREQ("a", copy.getText());
    Source other("b");
    other = source;
    EXPECT_STREQ("a", other.getText());
}

TEST(TTTParamSource, IsDestroyedThroughItsBase) {
    struct Watched : TTT::ParamSource {
        bool* gone;
        explicit Watched(bool* flag) : gone(flag) {}
        ~Watched() override { *gone = true; }
        const char* getText() const override { return nullptr; }
    };
    bool gone = false;
    TTT::ParamSource* source = new Watched(&gone);
    delete source;
    EXPECT_TRUE(gone);
}

// ---- construction ----

TEST(TTT, IsEmptyWhenNew) {
    TTT message;
    EXPECT_TRUE(message.isEmpty());
    EXPECT_EQ(nullptr, message.getData().data);
    expectMessage("", message);
    int dictionary = 7;
    int id = 7;
    EXPECT_FALSE(message.getIds(&dictionary, &id));
    EXPECT_EQ(0, dictionary);
    EXPECT_EQ(-1, id);
}

TEST(TTTConstructor, EncodesEachArgument) {
    static const std::string twoBytes("a\0", 2);
    struct Row {
        int line;
        TTT message;
        const char* bytes;
    };
    const Row rows[] = {
        {__LINE__, TTT(VELMORA_DICT, LCA__Invalid_date_required_format_is), "FEFFFFFF 02000000 0E000000"},
        {__LINE__, TTT(kDict5, -1), "FEFFFFFF 05000000 FFFFFFFF"},
        {__LINE__, TTT(TTP(VELMORA_DICT, 14)), "FEFFFFFF 02000000 0E000000"},
        {__LINE__, TTT("x"), "FFFFFFFF 7800"},
        {__LINE__, TTT(""), "FFFFFFFF 00"},
        {__LINE__, TTT(nullText), "FFFFFFFF 00"},
        {__LINE__, TTT(ChArr("xy")), "FFFFFFFF 787900"},
        {__LINE__, TTT(ChArr()), "FFFFFFFF 00"},
        {__LINE__, TTT(std::string("xy")), "FFFFFFFF 787900"},
        {__LINE__, TTT(std::string()), "FFFFFFFF 00"},
        {__LINE__, TTT(CharVector("xy")), "FFFFFFFF 787900"},
        {__LINE__, TTT(CharVector()), "FFFFFFFF 00"},
        {__LINE__, TTT(twoBytes.data(), 2), "6100"},
        {__LINE__, TTT(nullText, 0), ""},
        {__LINE__, TTT(Bag("abc", 3)), "616263"},
        {__LINE__, TTT(Bag()), ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.line);
        expectMessage(row.bytes, row.message);
    }
}

// The view's own wire form stands where a terminated template belongs; that is how this one is defined.
TEST(TTTConstructor, OfAPairWritesItsLength) {
    expectMessage("FFFFFFFF 03000000 616263", TTT(ChPair("abcdef", 3)));
    expectMessage("FFFFFFFF 00000000", TTT(ChPair()));
    TTT message("old");
    message = ChPair("abcdef", 3);
    expectMessage("FFFFFFFF 03000000 616263", message);
}

TEST(TTTCopy, TakesTheWholeContentWhateverTheCursor) {
    TTT source("x");
    source < 7;
    source.getData().to(3);
    TTT copy(source);
    expectMessage("FFFFFFFF 7800 0000 07000000", copy);
    const TTT empty;
    TTT copyOfEmpty(empty);
    expectMessage("", copyOfEmpty);
    EXPECT_EQ(3, source.getData().cursor);
    EXPECT_NE(source.getData().data, copy.getData().data);

    TTT fromBag(source.getData());
    expectMessage("FFFFFFFF 7800 0000 07000000", fromBag);

    source.getData().data[4] = 'y';
    EXPECT_EQ('x', copy.getData().data[4]);
}

TEST(TTTMove, TakesTheBlock) {
    TTT source("x");
    char* block = source.getData().data;
    TTT taken(std::move(source));
    EXPECT_EQ(block, taken.getData().data);
    expectMessage("FFFFFFFF 7800", taken);
    EXPECT_TRUE(source.isEmpty());
    EXPECT_EQ(nullptr, source.getData().data);
}

// As in a copy, the cursor ends at the end: what is appended to a message that was loaded and thrown goes behind it.
TEST(TTTMove, LeavesTheCursorAtTheEnd) {
    Bag stored;
    TTT("x").save(stored);
    for (int way = 0; way < 3; ++way) {
        SCOPED_TRACE(way);
        TTT loaded;
        stored.toBegin();
        loaded.load(stored);
        EXPECT_EQ(0, loaded.getData().cursor);
        TTT moved;
        if (way == 0) moved = std::move(loaded);
        if (way == 1) {
            try {
                throw TTT(std::move(loaded));
            } catch (TTT& caught) {
                moved = std::move(caught);
            }
        }
        if (way == 2) moved.stealFrom(loaded);  // this one takes the fields as they are
        EXPECT_EQ(way == 2 ? 0 : moved.getData().size, moved.getData().cursor);
        moved.getData().toEnd();
        moved <= "!";
        std::string text;
        moved.translate(text);
        EXPECT_EQ("x!", text);
    }
}

TEST(TTTMove, ToItselfChangesNothing) {
    TTT message("x");
    message.getData().toBegin();
    TTT& same = message;
    message = std::move(same);
    EXPECT_EQ(0, message.getData().cursor);
    message.getData().toEnd();
    expectMessage("FFFFFFFF 7800", message);
}

// ---- assignment ----

TEST(TTTAssign, ReplacesTheMessage) {
    struct Row {
        int line;
        std::function<TTT&(TTT&)> assign;
        const char* bytes;
    };
    static const Row rows[] = {
        {__LINE__, [](TTT& m) -> TTT& { return m = TTP(VELMORA_DICT, 14); }, "FEFFFFFF 02000000 0E000000"},
        {__LINE__, [](TTT& m) -> TTT& { return m.assign(VELMORA_DICT, 14); }, "FEFFFFFF 02000000 0E000000"},
        {__LINE__, [](TTT& m) -> TTT& { return m = "x"; }, "FFFFFFFF 7800"},
        {__LINE__, [](TTT& m) -> TTT& { return m = nullText; }, "FFFFFFFF 00"},
        {__LINE__, [](TTT& m) -> TTT& { return m = ChArr("x"); }, "FFFFFFFF 7800"},
        {__LINE__, [](TTT& m) -> TTT& { return m = ChArr(); }, "FFFFFFFF 00"},
        {__LINE__, [](TTT& m) -> TTT& { return m = std::string("x"); }, "FFFFFFFF 7800"},
        {__LINE__, [](TTT& m) -> TTT& { return m = CharVector("x"); }, "FFFFFFFF 7800"},
        {__LINE__, [](TTT& m) -> TTT& { return m = CharVector(); }, "FFFFFFFF 00"},
        {__LINE__, [](TTT& m) -> TTT& { return m = ChPair("xyz", 1); }, "FFFFFFFF 01000000 78"},
        {__LINE__, [](TTT& m) -> TTT& { return m = TTT("x"); }, "FFFFFFFF 7800"},
        {__LINE__, [](TTT& m) -> TTT& { return m = TTT(); }, ""},
        {__LINE__, [](TTT& m) -> TTT& { return m = Bag("abc", 3); }, "616263"},
        {__LINE__, [](TTT& m) -> TTT& { return m = Bag(); }, ""},
        {__LINE__,
         [](TTT& m) -> TTT& {
             TTT source("x");
             source.getData().to(1);
             return m = source;
         },
         "FFFFFFFF 7800"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.line);
        TTT message("a longer message");
        message < 7;
        message.getData().to(3);
        TTT& result = row.assign(message);
        EXPECT_EQ(&message, &result);
        expectMessage(row.bytes, message);
        TTT empty;
        row.assign(empty);
        expectMessage(row.bytes, empty);
    }
}

TEST(TTTAssign, TakesAPartOfItself) {
    const char* const expected = "FFFFFFFF 04000000 74657874";
    TTT message("old text");
    message = ChPair(message.getData().data + 8, 4);
    expectMessage(expected, message);
    message = message.getData();
    expectMessage(expected, message);
}

TEST(TTTAssign, ToItselfDoesNothing) {
    TTT message("x");
    message.getData().to(2);
    char* block = message.getData().data;
    const TTT& same = message;
    TTT& result = message = same;
    EXPECT_EQ(&message, &result);
    EXPECT_EQ(block, message.getData().data);
    EXPECT_EQ(2, message.getData().cursor);
    EXPECT_EQ(hex("FFFFFFFF 7800"), content(message));
}

// ---- appending ----

struct AppendRow {
    int line;
    std::function<TTT&(TTT&)> append;
    const char* bytes;  // behind the 6 bytes of the raw message "x"
};

void expectAppended(const AppendRow& row) {
    SCOPED_TRACE(row.line);
    const std::string dirt(64, '\xEE');
    TTT message(dirt.data(), 64);
    message.getData().truncate();
    message <= "x";
    TTT& result = row.append(message);
    EXPECT_EQ(&message, &result);
    expectMessage(std::string("FFFFFFFF 7800 ") + row.bytes, message);
}

TEST(TTTSequential, AppendsTheValueWithoutATag) {
    static const Source source("ab");
    static const Source nullSource(nullptr);
    static const AppendRow rows[] = {
        {__LINE__, [](TTT& m) -> TTT& { return m < 7; }, "0000 07000000"},
        {__LINE__, [](TTT& m) -> TTT& { return m < -2; }, "0000 FEFFFFFF"},
        {__LINE__, [](TTT& m) -> TTT& { return m < 0xFFFFFFFEu; }, "0000 FEFFFFFF"},
        {__LINE__, [](TTT& m) -> TTT& { return m < std::int64_t(0x0102030405060708); }, "0000 0807060504030201"},
        {__LINE__, [](TTT& m) -> TTT& { return m < std::uint64_t(0xFFFFFFFFFFFFFFFE); }, "0000 FEFFFFFFFFFFFFFF"},
        {__LINE__, [](TTT& m) -> TTT& { return m < 5LL; }, "0000 0500000000000000"},
        {__LINE__, [](TTT& m) -> TTT& { return m < 5ULL; }, "0000 0500000000000000"},
        {__LINE__, [](TTT& m) -> TTT& { return m < std::time_t(5); }, "0000 0500000000000000"},
        {__LINE__, [](TTT& m) -> TTT& { return m < std::size_t(5); }, "0000 0500000000000000"},
        {__LINE__, [](TTT& m) -> TTT& { return m < 7 < std::int64_t(5); }, "0000 07000000 00000000 0500000000000000"},
        {__LINE__, [](TTT& m) -> TTT& { return m < 1.5; }, "0000 000000000000F83F"},
        {__LINE__, [](TTT& m) -> TTT& { return m < 7 < 1.0; }, "0000 07000000 00000000 000000000000F03F"},
        {__LINE__, [](TTT& m) -> TTT& { return m < BagTime(4294967301); }, "0000 05000000"},
        {__LINE__, [](TTT& m) -> TTT& { return m < "ab"; }, "616200"},
        {__LINE__, [](TTT& m) -> TTT& { return m < ""; }, "00"},
        {__LINE__, [](TTT& m) -> TTT& { return m < nullText; }, "00"},
        {__LINE__, [](TTT& m) -> TTT& { return m < ChArr("ab"); }, "616200"},
        {__LINE__, [](TTT& m) -> TTT& { return m < ChArr(); }, "00"},
        {__LINE__, [](TTT& m) -> TTT& { return m < std::string("ab"); }, "616200"},
        {__LINE__, [](TTT& m) -> TTT& { return m < std::string(); }, "00"},
        {__LINE__, [](TTT& m) -> TTT& { return m < CharVector("ab"); }, "616200"},
        {__LINE__, [](TTT& m) -> TTT& { return m < CharVector(); }, "00"},
        {__LINE__, [](TTT& m) -> TTT& { return m < ChPair("abc", 2); }, "616200"},
        {__LINE__, [](TTT& m) -> TTT& { return m < ChPair(); }, "00"},
        {__LINE__, [](TTT& m) -> TTT& { return m < 'y'; }, "7900"},
        {__LINE__, [](TTT& m) -> TTT& { return m < TTP(kDict5, 14); }, "0000 05000000 0E000000"},
        {__LINE__, [](TTT& m) -> TTT& { return m < &source; }, "616200"},
        {__LINE__, [](TTT& m) -> TTT& { return m < &nullSource; }, "00"},
        {__LINE__, [](TTT& m) -> TTT& { return m < static_cast<const TTT::ParamSource*>(nullptr); }, "00"},
        {__LINE__, [](TTT& m) -> TTT& { return m < "a" < 7 < 'b' < "c"; }, "6100 07000000 6200 6300"},
    };
    for (const AppendRow& row : rows) expectAppended(row);
}

TEST(TTTSequential, SourceIsAskedWhenItIsAppended) {
    char text[] = "one";
    Source source(text);
    TTT message;
    message < &source;
    EXPECT_EQ(1, source.asked);
    text[0] = '0';
    std::string rendered;
    message.translate(rendered);
    EXPECT_EQ(1, source.asked);
    EXPECT_EQ(std::string("one\0", 4), content(message));
}

TEST(TTTPositional, AppendsTagAndValue) {
    static const AppendRow rows[] = {
        {__LINE__, [](TTT& m) -> TTT& { return m << 7; }, "0000 DFBC0A0F 07000000"},
        {__LINE__, [](TTT& m) -> TTT& { return m << -2; }, "0000 DFBC0A0F FEFFFFFF"},
        {__LINE__, [](TTT& m) -> TTT& { return m << 0xFFFFFFFEu; }, "0000 E0BC0A0F FEFFFFFF"},
        {__LINE__, [](TTT& m) -> TTT& { return m << std::int64_t(-2); }, "0000 E1BC0A0F 00000000 FEFFFFFFFFFFFFFF"},
        {__LINE__, [](TTT& m) -> TTT& { return m << std::uint64_t(5); }, "0000 E2BC0A0F 00000000 0500000000000000"},
        {__LINE__, [](TTT& m) -> TTT& { return m << -2LL; }, "0000 E1BC0A0F 00000000 FEFFFFFFFFFFFFFF"},
        {__LINE__, [](TTT& m) -> TTT& { return m << 5ULL; }, "0000 E2BC0A0F 00000000 0500000000000000"},
        {__LINE__, [](TTT& m) -> TTT& { return m << std::time_t(5); }, "0000 E1BC0A0F 00000000 0500000000000000"},
        {__LINE__, [](TTT& m) -> TTT& { return m << std::size_t(5); }, "0000 E2BC0A0F 00000000 0500000000000000"},
        {__LINE__, [](TTT& m) -> TTT& { return m << "ab"; }, "0000 E3BC0A0F 616200"},
        {__LINE__, [](TTT& m) -> TTT& { return m << ""; }, "0000 E3BC0A0F 00"},
        {__LINE__, [](TTT& m) -> TTT& { return m << nullText; }, "0000 E3BC0A0F 00"},
        {__LINE__, [](TTT& m) -> TTT& { return m << std::string("ab"); }, "0000 E3BC0A0F 616200"},
        {__LINE__, [](TTT& m) -> TTT& { return m << std::string(); }, "0000 E3BC0A0F 00"},
        {__LINE__, [](TTT& m) -> TTT& { return m << ChArr("ab"); }, "0000 E3BC0A0F 616200"},
        {__LINE__, [](TTT& m) -> TTT& { return m << ChArr(); }, "0000 E3BC0A0F 00"},
        {__LINE__, [](TTT& m) -> TTT& { return m << ChPair("abc", 2); }, "0000 E3BC0A0F 616200"},
        {__LINE__, [](TTT& m) -> TTT& { return m << ChPair(); }, "0000 E3BC0A0F 00"},
        {__LINE__, [](TTT& m) -> TTT& { return m << CharVector("ab"); }, "0000 E3BC0A0F 616200"},
        {__LINE__, [](TTT& m) -> TTT& { return m << CharVector(); }, "0000 E3BC0A0F 00"},
        {__LINE__, [](TTT& m) -> TTT& { return m << "a" << 1; }, "0000 E3BC0A0F 6100 0000 DFBC0A0F 01000000"},
    };
    for (const AppendRow& row : rows) expectAppended(row);
}

TEST(TTTSegment, IsAppendedBehindAnAlignedTag) {
    static const AppendRow rows[] = {
        {__LINE__, [](TTT& m) -> TTT& { return m <= TTP(kDict5, 14); }, "0000 FEFFFFFF 05000000 0E000000"},
        {__LINE__, [](TTT& m) -> TTT& { return m.append(kDict5, 14), m; }, "0000 FEFFFFFF 05000000 0E000000"},
        {__LINE__, [](TTT& m) -> TTT& { return m <= "ab"; }, "0000 FFFFFFFF 616200"},
        {__LINE__, [](TTT& m) -> TTT& { return m <= nullText; }, "0000 FFFFFFFF 00"},
        {__LINE__, [](TTT& m) -> TTT& { return m <= std::string("ab"); }, "0000 FFFFFFFF 616200"},
        {__LINE__, [](TTT& m) -> TTT& { return m <= ChArr("ab"); }, "0000 FFFFFFFF 616200"},
        {__LINE__, [](TTT& m) -> TTT& { return m <= ChArr(); }, "0000 FFFFFFFF 00"},
        {__LINE__, [](TTT& m) -> TTT& { return m <= ChPair("abc", 2); }, "0000 FFFFFFFF 616200"},
        {__LINE__, [](TTT& m) -> TTT& { return m <= ChPair(); }, "0000 FFFFFFFF 00"},
        {__LINE__, [](TTT& m) -> TTT& { return m <= CharVector("ab"); }, "0000 FFFFFFFF 616200"},
        {__LINE__, [](TTT& m) -> TTT& { return m <= CharVector(); }, "0000 FFFFFFFF 00"},
        {__LINE__, [](TTT& m) -> TTT& { return m <= 'y'; }, "0000 FFFFFFFF 7900"},
        {__LINE__, [](TTT& m) -> TTT& { return m <= TTT("y"); }, "0000 FFFFFFFF 7900"},
        {__LINE__, [](TTT& m) -> TTT& { return m <= TTT(); }, ""},
        {__LINE__, [](TTT& m) -> TTT& { return m <= Bag("abc", 3); }, "0000 616263"},
        {__LINE__, [](TTT& m) -> TTT& { return m <= Bag(); }, ""},
        {__LINE__,
         [](TTT& m) -> TTT& {
             TTT second("y");
             second.getData().to(1);
             return m <= second;
         },
         "0000 FFFFFFFF 7900"},
        {__LINE__, [](TTT& m) -> TTT& { return m <= "a" <= 'b'; }, "0000 FFFFFFFF 6100 0000 FFFFFFFF 6200"},
    };
    for (const AppendRow& row : rows) expectAppended(row);
}

TEST(TTTSegment, PairOnAnEmptyMessageIsAnOrdinaryTemplate) {
    TTT message;
    message <= ChPair("abcdef", 3);
    expectMessage("FFFFFFFF 61626300", message);
}

TEST(TTTSegment, EmptyOnEmptyStaysEmpty) {
    TTT message;
    message <= TTT();
    EXPECT_TRUE(message.isEmpty());
    EXPECT_EQ(nullptr, message.getData().data);
    message <= Bag();
    EXPECT_TRUE(message.isEmpty());
}

TEST(TTTSegment, MessageMayBeAppendedToItself) {
    TTT message("x");
    message < "a text that fills the block and makes it grow";
    const std::string once = content(message);
    ASSERT_EQ(0u, once.size() % 4);
    message.getData().pack();
    message <= message;
    EXPECT_EQ(once + once, content(message));
    message <= message.getData();
    EXPECT_EQ(once + once + once + once, content(message));
    EXPECT_EQ(message.getData().size, message.getData().cursor);
}

TEST(TTTSegment, AppendedMessageIsOnlyAlignedToFour) {
    TTT inner("%ld");
    inner < std::int64_t(1);
    TTT message("abcd");
    message <= inner;
    expectMessage("FFFFFFFF 6162636400 000000 FFFFFFFF 256C6400 0100000000000000", message);
    EXPECT_EQ(28, message.getData().size) << "8 bytes that stood at a multiple of 8 stand at 20 now";
}

TEST(TTT, AppendsAtTheCursor) {
    TTT message(VELMORA_DICT, 14);
    int before = message.getData().size;
    message < 5;
    EXPECT_EQ(before + 4, message.getData().size);
    message = TTP(VELMORA_DICT, 14);
    message << 5;
    EXPECT_EQ(before + 8, message.getData().size);

    message.getData().to(4);
    message < 7;
    expectMessage("FEFFFFFF 07000000", message);
}

TEST(TTTPutSpecial, AppendsADataSegment) {
    TTT message("abc");
    int before = message.getData().size;
    EXPECT_EQ(8, before);
    message.putSpecial("xyz", 3);
    expectMessage("FFFFFFFF 61626300 FDFFFFFF 03000000 78797A", message);
    EXPECT_EQ(before + 11, message.getData().size);
    message <= "b";
    expectMessage("FFFFFFFF 61626300 FDFFFFFF 03000000 78797A 00 FFFFFFFF 6200", message);
}

TEST(TTTPutSpecial, IsAlignedAndMayBeEmpty) {
    TTT message("x");
    message.putSpecial(nullptr, 0);
    expectMessage("FFFFFFFF 7800 0000 FDFFFFFF 00000000", message);
    TTT first;
    first.putSpecial("a\0b", 3);
    expectMessage("FDFFFFFF 03000000 610062", first);
}

// ---- save, load, steal ----

TEST(TTTSave, WritesLengthAndContent) {
    const TTT empty;
    Bag bag;
    empty.save(bag);
    EXPECT_EQ(hex("00000000"), content(bag));

    Bag other;
    other.putChar('P');
    TTT message("x");
    message.getData().to(1);
    const TTT& constant = message;
    constant.save(other);
    EXPECT_EQ(hex("50 000000 06000000 FFFFFFFF 7800"), content(other));
    EXPECT_EQ(1, message.getData().cursor);
}

TEST(TTTLoad, ReadsBackWithTheCursorAtTheStart) {
    Bag bag;
    TTT("x").save(bag);
    TTT().save(bag);
    bag.toBegin();
    TTT message("old");
    message.load(bag);
    EXPECT_EQ(hex("FFFFFFFF 7800"), content(message));
    EXPECT_EQ(0, message.getData().cursor);
    EXPECT_EQ("x", support::render(message));

    TTT other("old");
    other.load(bag);
    EXPECT_TRUE(other.isEmpty());
    EXPECT_TRUE(bag.end());
}

TEST(TTTLoad, LaterAppendOverwritesUnlessTheCursorIsMoved) {
    Bag bag;
    TTT("x").save(bag);
    bag.toBegin();
    TTT overwritten;
    overwritten.load(bag);
    overwritten < 7;
    expectMessage("07000000", overwritten);

    bag.toBegin();
    TTT extended;
    extended.load(bag);
    extended.getData().toEnd();
    extended < 7;
    expectMessage("FFFFFFFF 7800 0000 07000000", extended);
}

TEST(TTTLoad, OfWhatIsNotThereThrowsAndLeavesAnEmptyMessage) {
    for (const char* bytes : {"", "060000", "06000000 FFFFFFFF 78", "FFFFFFFF FFFFFFFF"}) {
        SCOPED_TRACE(bytes);
        std::string source = hex(bytes);
        Bag bag(source.data(), static_cast<int>(source.size()));
        TTT message("old");
        EXPECT_THROW(message.load(bag), Bag::Exception);
        EXPECT_TRUE(message.isEmpty());
    }
}

TEST(TTTStealFrom, TakesTheBuffer) {
    TTT source("x");
    source.getData().to(2);
    char* block = source.getData().data;
    TTT message("old");
    message.stealFrom(source);
    EXPECT_EQ(block, message.getData().data);
    EXPECT_EQ(hex("FFFFFFFF 7800"), content(message));
    EXPECT_EQ(2, message.getData().cursor);
    EXPECT_TRUE(source.isEmpty());
    EXPECT_EQ(nullptr, source.getData().data);

    Bag bag("abc", 3);
    bag.to(1);
    block = bag.data;
    message.stealFrom(bag);
    EXPECT_EQ(block, message.getData().data);
    EXPECT_EQ("abc", content(message));
    EXPECT_EQ(1, message.getData().cursor);
    EXPECT_EQ(nullptr, bag.data);
    EXPECT_EQ(0, bag.size);

    message.stealFrom(message);
    EXPECT_EQ("abc", content(message));
}

TEST(TTTClear, ReleasesTheBlock) {
    TTT message("x");
    EXPECT_FALSE(message.isEmpty());
    message.clear();
    EXPECT_TRUE(message.isEmpty());
    EXPECT_EQ(nullptr, message.getData().data);
    EXPECT_EQ(0, message.getData().bufferSize);
    message <= "y";
    expectMessage("FFFFFFFF 7900", message);
}

// ---- getIds ----

TEST(TTTGetIds, LooksAtTheFirstSegmentAlone) {
    struct Row {
        int line;
        const char* bytes;
        bool result;
        int dictionary;
        int id;
    };
    static const Row rows[] = {
        {__LINE__, "", false, 0, -1},
        {__LINE__, "FEFFFFFF 02000000 0E000000", true, 2, 14},
        {__LINE__, "FEFFFFFF 63000000 F9FFFFFF", true, 99, -7},  // not validated
        {__LINE__, "FEFFFFFF 02000000 0E000000 FFFFFFFF 7800", true, 2, 14},
        {__LINE__, "FFFFFFFF 7800", true, 0, -1},
        {__LINE__, "FFFFFFFF", true, 0, -1},
        {__LINE__, "FFFFFFFF 7800 0000 FEFFFFFF 02000000 0E000000", true, 0, -1},
        {__LINE__, "FDFFFFFF 00000000 FEFFFFFF 02000000 0E000000", true, 0, -1},
        {__LINE__, "07000000 02000000 0E000000", true, 0, -1},
        // Too short to be read: what was known so far.
        {__LINE__, "FEFFFF", false, 0, -1},
        {__LINE__, "FEFFFFFF", false, 0, -1},
        {__LINE__, "FEFFFFFF 020000", false, 0, -1},
        {__LINE__, "FEFFFFFF 02000000", false, 2, -1},
        {__LINE__, "FEFFFFFF 02000000 0E0000", false, 2, -1},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.line);
        const TTT message = messageOf(hex(row.bytes));
        for (int cursor : {0, 1, 40}) {
            const_cast<TTT&>(message).getData().to(cursor);
            int dictionary = 77;
            int id = 77;
            EXPECT_EQ(row.result, message.getIds(&dictionary, &id));
            EXPECT_EQ(row.dictionary, dictionary);
            EXPECT_EQ(row.id, id);
            EXPECT_EQ(cursor, message.getData().cursor);

            id = 77;
            EXPECT_EQ(row.result, message.getIds(nullptr, &id));
            EXPECT_EQ(row.id, id);
            dictionary = 77;
            EXPECT_EQ(row.result, message.getIds(&dictionary, nullptr));
            EXPECT_EQ(row.dictionary, dictionary);
            EXPECT_EQ(row.result, message.getIds(nullptr, nullptr));
            EXPECT_EQ(cursor, message.getData().cursor);
        }
        EXPECT_EQ(hex(row.bytes), content(message));
    }
}

TEST(TTTGetIds, OfBuiltMessages) {
    int dictionary = 77;
    int id = 77;
    EXPECT_TRUE(TTT(VELMORA_DICT, LCA__Invalid_date_required_format_is).getIds(&dictionary, &id));
    EXPECT_EQ(2, dictionary);
    EXPECT_EQ(14, id);
    EXPECT_TRUE(TTT("x").getIds(&dictionary, &id));
    EXPECT_EQ(0, dictionary);
    EXPECT_EQ(-1, id);
}

// ---- as an exception ----

TEST(TTTThrown, IsCaughtByItsOwnTypeAndOwnsItsMessage) {
    auto fail = [] {
        std::string path = "a path";
        TTT message(VELMORA_DICT, LCA__Cannot_open_file);
        message <= TTP(VELMORA_DICT, LCA__Path_s);
        message < path;
        throw message;
    };
    try {
        fail();
        FAIL() << "nothing was thrown";
    } catch (const Bag&) {
        FAIL() << "caught as a Bag";
    } catch (const Bag::Exception&) {
        FAIL() << "caught as a failure of a Bag";
    } catch (const TTT& message) {
        EXPECT_EQ("LCA__Cannot_open_file LCA__Path_s(a path)", support::dumpMessage(message));
    }
    EXPECT_EQ("LCA__Cannot_open_file LCA__Path_s(a path)", support::thrownMessage(fail));
    EXPECT_THROW_KEY(fail(), LCA__Cannot_open_file);
}

TEST(TTTThrown, RendersTheSameAsItsSource) {
    TTT source("File %s, line %d");
    source < "a" < 7;
    std::string expected = support::render(source);
    EXPECT_EQ("File a, line 7", expected);
    try {
        throw source;
    } catch (const TTT& caught) {
        EXPECT_EQ(content(source), content(caught));
        EXPECT_EQ(expected, support::render(caught));
    }
    try {
        try {
            throw TTT(source);
        } catch (TTT& caught) {
            caught <= "!";
            throw;
        }
    } catch (const TTT& again) {
        EXPECT_EQ(expected + "!", support::render(again));
    }
    EXPECT_EQ(expected, support::render(source)) << "a thrown message is a copy of its own";
}

TEST(TTTThrown, PairFailureOfTheLibraryFollowsTheSamePattern) {
    try {
        ChPair("").parseGMTTime();
        FAIL() << "nothing was thrown";
    } catch (const TTT& message) {
        expectMessage("FEFFFFFF 02000000 0E000000 595959592D4D4D2D44445468683A73733A6D6D00", message);
    }
}

}  // namespace
