// Arguments that lie in what they are written to: the result is as if each had been copied first.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>

#include <velmora/serial/bag.h>
#include <velmora/serial/ttt.h>

namespace {

// Terminated texts, one of them empty, and two that are longer than a step of growth.
std::string texts() {
    std::string bytes("alpha\0\0gamma\0", 13);
    bytes += std::string(40, 'd') + '\0' + std::string(300, 'e') + '\0';
    return bytes;
}

struct Place {
    const char* name;
    int from;
    int to;  // the place of a terminator, or the end
};
const Place kPlaces[] = {
    {"the begin", 0, 5},        {"an empty text", 6, 6},  {"the middle", 7, 12},  {"a long text", 13, 53},
    {"a longer text", 54, 354}, {"several texts", 3, 53}, {"everything", 0, 354}, {"the end", 350, 354},
};

// Writes the bytes [p, e), in front of a zero byte, into a Bag or a message.
template <class Target>
struct Form {
    int line;
    std::function<void(Target&, char* p, char* e)> write;
};

int length(const char* p, const char* e) { return static_cast<int>(e - p); }

const Form<Bag> kBagForms[] = {
    {__LINE__, [](Bag& b, char* p, char* e) { b.putData(p, length(p, e)); }},
    {__LINE__, [](Bag& b, char* p, char* e) { b.putDataAligned(p, length(p, e), 1); }},
    {__LINE__, [](Bag& b, char* p, char* e) { b.putDataAligned(p, length(p, e), 4); }},
    {__LINE__, [](Bag& b, char* p, char* e) { b.putDataAligned(p, length(p, e), 64); }},
    {__LINE__, [](Bag& b, char* p, char*) { b.putString(p); }},
    {__LINE__, [](Bag& b, char* p, char*) { b.putStringNZ(p); }},
    {__LINE__, [](Bag& b, char* p, char* e) { b.putStringNZ(ChPair(p, e)); }},
    {__LINE__, [](Bag& b, char* p, char*) { b.putFormatStringNZ("<%s>", p); }},
    {__LINE__, [](Bag& b, char* p, char*) { b << p; }},
    {__LINE__, [](Bag& b, char* p, char* e) { b << ChPair(p, e); }},
};

const Form<TTT> kMessageForms[] = {
    {__LINE__, [](TTT& m, char* p, char*) { m < p; }},
    {__LINE__, [](TTT& m, char* p, char* e) { m < ChPair(p, e); }},
    {__LINE__, [](TTT& m, char* p, char*) { m << p; }},
    {__LINE__, [](TTT& m, char* p, char* e) { m << ChPair(p, e); }},
    {__LINE__, [](TTT& m, char* p, char*) { m <= p; }},
    {__LINE__, [](TTT& m, char* p, char* e) { m <= ChPair(p, e); }},
    {__LINE__, [](TTT& m, char* p, char* e) { m.putSpecial(p, length(p, e)); }},
    {__LINE__, [](TTT& m, char* p, char*) { m = p; }},
    {__LINE__, [](TTT& m, char* p, char* e) { m = ChPair(p, e); }},
};

// Content with stale bytes after it, and the cursor somewhere.
struct Setting {
    int line;
    int room;    // bytes of the block after the texts
    int cursor;  // negative: after the texts
    int size;    // negative: that of the texts
};
const Setting kSettings[] = {
    {__LINE__, 0, -1, -1},    {__LINE__, 1, -1, -1},     {__LINE__, 100, -1, -1},
    {__LINE__, 1000, -1, -1}, {__LINE__, 0, 0, -1},      {__LINE__, 1000, 0, -1},  // over the content
    {__LINE__, 0, 9, -1},     {__LINE__, 1000, 9, -1},   {__LINE__, 0, 50, -1},
    {__LINE__, 1000, 50, -1}, {__LINE__, 1000, 353, -1}, {__LINE__, 0, 0, 0},  // over what is content no more
    {__LINE__, 1000, 0, 0},   {__LINE__, 0, 3, 0},       {__LINE__, 1000, 3, 0},
    {__LINE__, 1000, 41, 7},  {__LINE__, 1000, 900, -1},  // after a gap
};

void fill(Bag& bag, const Setting& setting) {
    const std::string bytes = texts();
    const int n = static_cast<int>(bytes.size());
    bag.setBufferSize(n + setting.room);
    std::memset(bag.data, '#', static_cast<std::size_t>(n + setting.room));
    bag.putData(bytes.data(), n);
    bag.cursor = setting.cursor < 0 ? n : setting.cursor;
    bag.size = setting.size < 0 ? n : setting.size;
}

Bag& bagOf(Bag& bag) { return bag; }
Bag& bagOf(TTT& message) { return message.getData(); }

std::string content(const Bag& bag) { return std::string(bag.data, static_cast<std::size_t>(bag.size)); }

template <class Target>
void expectAsIfCopied(const Form<Target>& form, const Place& place, const Setting& setting) {
    SCOPED_TRACE("form at line " + std::to_string(form.line) + " of " + place.name + ", setting at line " +
                 std::to_string(setting.line));
    std::string copy = texts();
    Target expected;
    fill(bagOf(expected), setting);
    form.write(expected, &copy[static_cast<std::size_t>(place.from)], &copy[static_cast<std::size_t>(place.to)]);
    Target target;
    Bag& bag = bagOf(target);
    fill(bag, setting);
    form.write(target, bag.data + place.from, bag.data + place.to);
    EXPECT_EQ(bagOf(expected).bufferSize, bag.bufferSize);
    EXPECT_EQ(bagOf(expected).cursor, bag.cursor);
    EXPECT_EQ(content(bagOf(expected)), content(bag));
}

TEST(BagOverlap, EveryWriteTakesAPartOfItsBag) {
    for (const Setting& setting : kSettings) {
        for (const Place& place : kPlaces) {
            for (const Form<Bag>& form : kBagForms) expectAsIfCopied(form, place, setting);
        }
    }
}

TEST(TTTOverlap, EveryElementTakesAPartOfItsMessage) {
    for (const Setting& setting : kSettings) {
        for (const Place& place : kPlaces) {
            for (const Form<TTT>& form : kMessageForms) expectAsIfCopied(form, place, setting);
        }
    }
}

TEST(BagOverlap, BagTakesItself) {
    for (const Setting& setting : kSettings) {
        SCOPED_TRACE(setting.line);
        Bag expected, bag;
        fill(expected, setting);
        fill(bag, setting);
        const Bag copy(bag);
        expected << copy;
        bag << bag;
        EXPECT_EQ(content(expected), content(bag));
        EXPECT_EQ(expected.cursor, bag.cursor);
    }
}

TEST(TTTOverlap, MessageTakesItself) {
    for (const Setting& setting : kSettings) {
        SCOPED_TRACE(setting.line);
        TTT expected, whole, bytes, saved;
        for (TTT* message : {&expected, &whole, &bytes, &saved}) fill(message->getData(), setting);
        const Bag copy(expected.getData());
        expected <= copy;
        whole <= whole;
        bytes <= bytes.getData();
        EXPECT_EQ(content(expected.getData()), content(whole.getData()));
        EXPECT_EQ(content(expected.getData()), content(bytes.getData()));
        EXPECT_EQ(expected.getData().cursor, whole.getData().cursor);
        Bag form;
        fill(form, setting);
        form << copy;
        saved.save(saved.getData());
        EXPECT_EQ(content(form), content(saved.getData()));
    }
}

// Into the Bag's own block as well.
TEST(BagOverlap, ReadTakesAPlaceInItsBag) {
    for (int alignment : {1, 4}) {
        for (int to : {0, 1, 3, 6}) {
            SCOPED_TRACE(to);
            std::string expected = "abcdefghij";
            expected.replace(static_cast<std::size_t>(to), 4, "abcd");
            Bag bag("abcdefghij", 10);
            bag.getDataAligned(bag.data + to, 4, alignment);
            EXPECT_EQ(expected, content(bag));
        }
    }
}

TEST(BagOverlap, BlockThatIsTakenMayBeItsOwn) {
    Bag bag("abcdef", 6);
    bag.toEnd();
    bag.stealFrom(bag.data, 3, bag.bufferSize);
    EXPECT_EQ("abc", content(bag));
    EXPECT_EQ(16, bag.bufferSize);
    EXPECT_EQ(0, bag.cursor);
}

}  // namespace
