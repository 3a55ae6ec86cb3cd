// Every write and read of one value in every state that a Bag can be in, beside a model that has the rules alone: the
// block of every size around the value's, the content shorter and longer, the cursor before it, at each of its places
// and after it, and a block that would have to grow beyond the limit.
#include <velmora/serial/bag.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include <velmora/text/charvector.h>

namespace {

constexpr int kLimit = 1 << 30;  // bytes of a block at most
constexpr int kAnyByte = -1;     // of a block: what memory holds that nobody wrote

struct Model {
    std::vector<int> block;
    int cursor;
    int size;
    bool failed = false;

    int room() const { return static_cast<int>(block.size()); }
    std::int64_t aligned(int width) const {
        const std::int64_t up = std::int64_t{cursor} + width - 1;
        return up - (up % width + width) % width;
    }

    // `alignment` is 0 for bytes that are not aligned, which leave a gap as it is.
    void write(const std::string& bytes, int alignment) {
        const std::int64_t start = alignment == 0 ? cursor : aligned(alignment);
        const std::int64_t end = start + static_cast<std::int64_t>(bytes.size());
        if (cursor < 0 || end > std::max(kLimit, room())) {
            failed = true;
            return;
        }
        if (end > room()) block.resize(static_cast<std::size_t>(memory_recommend(static_cast<int>(end))), kAnyByte);
        for (std::int64_t i = std::max(size, 0); alignment != 0 && i < start; ++i)
            block[static_cast<std::size_t>(i)] = 0;
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            block[static_cast<std::size_t>(start) + i] = static_cast<unsigned char>(bytes[i]);
        }
        cursor = size = static_cast<int>(end);
    }

    std::string read(int width) {
        const std::int64_t start = aligned(width);
        const bool below = cursor < 0;
        cursor = static_cast<int>(static_cast<std::uint32_t>(start));
        if (below || start + width > size) {
            failed = true;
            return std::string();
        }
        cursor += width;
        return bytes(static_cast<int>(start), cursor);
    }

    std::string readText() {
        const int start = cursor;
        int end = start;
        while (start >= 0 && end < size && block[static_cast<std::size_t>(end)] != 0) ++end;
        if (start < 0 || end >= size) {
            failed = true;
            return std::string();
        }
        cursor = end + 1;
        return bytes(start, end);
    }

    std::string bytes(int from, int to) const {
        std::string text;
        for (int i = from; i < to; ++i) text += static_cast<char>(block[static_cast<std::size_t>(i)]);
        return text;
    }
};

template <class T>
std::string image(T v) {
    return std::string(reinterpret_cast<const char*>(&v), sizeof v);
}

struct Write {
    const char* name;
    std::function<void(Bag&)> act;
    std::string bytes;
    int alignment;
};

const short kShort = 0x1234;
const int kInt = -0x12345678;
const std::int64_t kInt64 = 0x123456789ABCDEF0;
const double kDouble = -1234.5678;
const std::string kText15 = "fifteen letters";

const Write kWrites[] = {
    {"char", [](Bag& b) { b << 'x'; }, "x", 0},
    {"unsigned char", [](Bag& b) { b << static_cast<unsigned char>(200); }, "\xC8", 0},
    {"bool", [](Bag& b) { b << true; }, "\1", 0},
    {"short", [](Bag& b) { b << kShort; }, image(kShort), 2},
    {"unsigned short", [](Bag& b) { b << static_cast<unsigned short>(kShort); }, image(kShort), 2},
    {"int", [](Bag& b) { b << kInt; }, image(kInt), 4},
    {"unsigned", [](Bag& b) { b << static_cast<unsigned>(kInt); }, image(kInt), 4},
    {"int64", [](Bag& b) { b << kInt64; }, image(kInt64), 8},
    {"uint64", [](Bag& b) { b << static_cast<std::uint64_t>(kInt64); }, image(kInt64), 8},
    {"double", [](Bag& b) { b << kDouble; }, image(kDouble), 8},
    {"time", [](Bag& b) { b << BagTime(kInt64); }, image(static_cast<int>(kInt64)), 4},
    {"no bytes", [](Bag& b) { b.putData(nullptr, 0); }, "", 0},
    {"one byte", [](Bag& b) { b.putData("y", 1); }, "y", 0},
    {"bytes", [](Bag& b) { b.putData("sixteen letters!", 16); }, "sixteen letters!", 0},
    {"null", [](Bag& b) { b << static_cast<const char*>(nullptr); }, std::string(1, '\0'), 0},
    {"empty text", [](Bag& b) { b << ""; }, std::string(1, '\0'), 0},
    {"text", [](Bag& b) { b << "abc"; }, std::string("abc", 4), 0},
    {"std::string", [](Bag& b) { b << kText15; }, kText15 + '\0', 0},
    {"empty std::string", [](Bag& b) { b << std::string(); }, std::string(1, '\0'), 0},
    {"std::string with a zero byte", [](Bag& b) { b << std::string("a\0b", 3); }, std::string("a\0b", 4), 0},
};

struct Read {
    const char* name;
    std::function<std::string(Bag&)> act;  // Returns: the bytes that were read
    int width;                             // 0 for a text
};

template <class T>
std::string got(Bag& bag) {
    T v;
    bag >> v;
    return image(v);
}

const Read kReads[] = {
    {"char", got<char>, 1},
    {"unsigned char", got<unsigned char>, 1},
    {"short", got<short>, 2},
    {"unsigned short", got<unsigned short>, 2},
    {"int", got<int>, 4},
    {"unsigned", got<unsigned>, 4},
    {"int64", got<std::int64_t>, 8},
    {"uint64", got<std::uint64_t>, 8},
    {"double", got<double>, 8},
    {"bool",
     [](Bag& b) {
         bool v;
         b >> v;
         char byte;
         std::memcpy(&byte, &v, 1);
         return std::string(1, byte);
     },
     1},
    {"time",
     [](Bag& b) {
         BagTime v;
         b >> v;
         return image(static_cast<std::uint32_t>(v.value));
     },
     4},
    {"std::string",
     [](Bag& b) {
         std::string v;
         b >> v;
         return v;
     },
     0},
    {"text in place",
     [](Bag& b) {
         const char* v;
         b >> v;
         return std::string(v);
     },
     0},
    {"pair", [](Bag& b) { return b.getStringAsPair().std(); }, 0},
};

// A block of `room` bytes that are all different from zero, but for every seventh.
void set(Bag& bag, Model& model, int room, int size, int cursor) {
    bag.setBufferSize(room);
    model.block.clear();
    for (int i = 0; i < room; ++i) {
        bag.data[i] = static_cast<char>(i % 7 == 6 ? 0 : 'A' + i);
        model.block.push_back(static_cast<unsigned char>(bag.data[i]));
    }
    bag.size = model.size = size;
    bag.cursor = model.cursor = cursor;
}

bool sameBlock(const Model& model, const Bag& bag) {
    if (model.room() != bag.bufferSize) return false;
    for (int i = 0; i < model.room(); ++i) {
        const int expected = model.block[static_cast<std::size_t>(i)];
        if (expected != kAnyByte && expected != static_cast<unsigned char>(bag.data[i])) return false;
    }
    return true;
}

// Calls `check` with a Bag and its model in every state.
template <class Check>
void inEveryState(Check check) {
    std::vector<int> cursors = {INT_MIN, INT_MIN + 1, -100, kLimit, kLimit + 1};
    for (int cursor = -9; cursor <= 42; ++cursor) cursors.push_back(cursor);
    for (int below = 0; below <= 16; ++below) cursors.push_back(INT_MAX - below);
    for (const int room : {0, 1, 2, 3, 4, 7, 8, 9, 12, 15, 16, 17, 24, 31, 32, 33}) {
        for (int size = -1; size <= room; ++size) {
            for (const int cursor : cursors) {
                SCOPED_TRACE("room " + std::to_string(room) + ", size " + std::to_string(size) + ", cursor " +
                             std::to_string(cursor));
                Bag bag;
                Model model;
                set(bag, model, room, size, cursor);
                check(bag, model);
                if (testing::Test::HasFailure()) return;
            }
        }
    }
}

template <class Act>
bool fails(Act act) {
    try {
        act();
        return false;
    } catch (const Bag::Exception&) {
        return true;
    }
}

TEST(BagRoom, EveryWriteKeepsTheRulesInEveryState) {
    for (const Write& write : kWrites) {
        SCOPED_TRACE(write.name);
        inEveryState([&](Bag& bag, Model& model) {
            if (write.bytes.empty() && model.cursor == kLimit) return;  // the one that would get so great a block
            model.write(write.bytes, write.alignment);
            ASSERT_EQ(model.failed, fails([&] { write.act(bag); }));
            ASSERT_EQ(model.cursor, bag.cursor);
            ASSERT_EQ(model.size, bag.size);
            ASSERT_TRUE(sameBlock(model, bag));
        });
        if (HasFailure()) return;
    }
}

TEST(BagRoom, EveryReadKeepsTheRulesInEveryState) {
    for (const Read& read : kReads) {
        SCOPED_TRACE(read.name);
        inEveryState([&](Bag& bag, Model& model) {
            const std::string expected = read.width == 0 ? model.readText() : model.read(read.width);
            std::string bytes;
            ASSERT_EQ(model.failed, fails([&] { bytes = read.act(bag); }));
            ASSERT_EQ(expected, bytes);
            ASSERT_EQ(model.cursor, bag.cursor);
            ASSERT_EQ(model.size, bag.size);
            ASSERT_TRUE(sameBlock(model, bag));
        });
        if (HasFailure()) return;
    }
}

// One after the other, as values follow in a Bag: each finds the state that the one before it left.
TEST(BagRoom, WritesFollowEachOther) {
    for (const Write& first : kWrites) {
        for (const Write& second : kWrites) {
            for (const Write& third : kWrites) {
                Bag bag;
                Model model;
                set(bag, model, 0, 0, 0);
                for (const Write* write : {&first, &second, &third, &first}) {
                    write->act(bag);
                    model.write(write->bytes, write->alignment);
                }
                ASSERT_TRUE(sameBlock(model, bag) && model.cursor == bag.cursor && model.size == bag.size)
                    << first.name << ", " << second.name << ", " << third.name;
            }
        }
    }
}

}  // namespace
