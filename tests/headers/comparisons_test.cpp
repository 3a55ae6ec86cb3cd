// Compares texts of each kind with each other, in both orders, by their bytes: in C++17, the oldest that the headers
// support, and in C++20.
#include <velmora/text/charr.h>
#include <velmora/text/charvector.h>
#include <velmora/text/chpair.h>

#include <cstddef>
#include <cstdio>
#include <cstring>
#include <functional>
#include <map>
#include <string>
#include <type_traits>
#include <utility>

namespace {

int failures = 0;

void expect(bool right, int line, const char* left, const char* right_, const char* what) {
    if (right) return;
    std::fprintf(stderr, "line %d, \"%s\" and \"%s\": %s\n", line, left, right_, what);
    ++failures;
}

// A text of each kind, at an address of its own. A C string and ChArr hold what is before the first zero byte.
struct Texts {
    explicit Texts(const std::string& source) : string(source), array(source.c_str()), vector(source) {
        std::memcpy(bytes, source.c_str(), source.size() + 1);
    }
    Texts(const Texts&) = delete;
    void operator=(const Texts&) = delete;

    std::string string;
    ChArr array;
    CharVector vector;
    char bytes[16];
};

// Whether the six operators say what the order of the texts is.
template <class Left, class Right>
void check(const Left& left, const Right& right, int order, const char* l, const char* r) {
    expect((left == right) == (order == 0), __LINE__, l, r, "==");
    expect((left != right) == (order != 0), __LINE__, l, r, "!=");
    expect((left < right) == (order < 0), __LINE__, l, r, "<");
    expect((left > right) == (order > 0), __LINE__, l, r, ">");
    expect((left <= right) == (order <= 0), __LINE__, l, r, "<=");
    expect((left >= right) == (order >= 0), __LINE__, l, r, ">=");
}

// The same for one text and each kind on the other side, and the other way round. `counted` is the order of the whole
// texts, `cut` that where the other side ends at a zero byte.
template <class Left>
void checkWithEach(const Left& left, Texts& right, int counted, int cut, const char* l, const char* r) {
    const ChPair pair(right.string);
    const char* const pointer = right.bytes;
    char* const changeable = right.bytes;
    check(left, pair, counted, l, r);
    check(left, right.vector, counted, l, r);
    check(left, right.string, counted, l, r);
    check(left, right.array, cut, l, r);
    check(left, right.bytes, cut, l, r);
    check(left, pointer, cut, l, r);
    check(left, changeable, cut, l, r);
    check(pair, left, -counted, l, r);
    check(right.vector, left, -counted, l, r);
    check(right.string, left, -counted, l, r);
    check(right.array, left, -cut, l, r);
    check(right.bytes, left, -cut, l, r);
    check(pointer, left, -cut, l, r);
    check(changeable, left, -cut, l, r);
}

int orderOf(const std::string& a, const std::string& b) { return a.compare(b); }

void checkAllPairs() {
    const std::string sources[] = {"", "a", "b", "ab", "text", "\x80", std::string("a\0b", 3), std::string("a\0", 2)};
    for (const std::string& a : sources) {
        for (const std::string& b : sources) {
            const std::string aCut = a.c_str(), bCut = b.c_str();
            const Texts left(a);
            Texts right(b);
            checkWithEach(ChPair(left.string), right, orderOf(a, b), orderOf(a, bCut), a.c_str(), b.c_str());
            checkWithEach(left.vector, right, orderOf(a, b), orderOf(a, bCut), a.c_str(), b.c_str());
            checkWithEach(left.array, right, orderOf(aCut, b), orderOf(aCut, bCut), a.c_str(), b.c_str());
        }
    }
}

// Objects that are not const have more conversions to choose from.
void checkChangeable() {
    std::string string("text");
    ChPair pair(string);
    ChArr array("text");
    CharVector vector("text");
    expect(pair == array && pair == vector && pair == string && pair == "text", __LINE__, "", "", "ChPair");
    expect(array == pair && array == vector && array == string && array == "text", __LINE__, "", "", "ChArr");
    expect(vector == pair && vector == array && vector == string && vector == "text", __LINE__, "", "", "CharVector");
    expect(string == pair && string == array && string == vector, __LINE__, "", "", "std::string");
    expect("text" == pair && "text" == array && "text" == vector, __LINE__, "", "", "a literal");
    expect("a" < pair && "a" < array && "a" < vector, __LINE__, "", "", "a lesser literal");
}

// A null C string, and the literal, are an empty text.
void checkNull() {
    const char* const null = nullptr;
    const ChPair none, some("a");
    const ChArr noArray, someArray("a");
    const CharVector noVector, someVector("a");
    check(none, null, 0, "null view", "null");
    check(noArray, null, 0, "null array", "null");
    check(noVector, null, 0, "null vector", "null");
    check(null, none, 0, "null", "null view");
    check(null, noArray, 0, "null", "null array");
    check(null, noVector, 0, "null", "null vector");
    check(some, null, 1, "a", "null");
    check(someArray, null, 1, "a", "null");
    check(someVector, null, 1, "a", "null");
    check(null, some, -1, "null", "a");
    check(null, someArray, -1, "null", "a");
    check(null, someVector, -1, "null", "a");
    check(none, noArray, 0, "null view", "null array");
    check(none, noVector, 0, "null view", "null vector");
    check(noArray, noVector, 0, "null array", "null vector");
    expect(none == nullptr && noArray == nullptr && noVector == nullptr, __LINE__, "", "", "nullptr");
    expect(someArray != nullptr && nullptr != someVector && nullptr == none, __LINE__, "", "", "nullptr");
}

// A map that compares keys of different kinds finds its own, wherever the texts lie.
template <class Key>
void checkMap() {
    const std::string string("b");
    char bytes[] = "b";
    const ChArr array("b");
    const CharVector vector("b");
    const ChPair pair(string);
    std::map<Key, int, std::less<>> map;
    for (const char* key : {"c", "a", "b"}) map.emplace(key, key[0]);
    const auto found = [&map](const auto& key) {
        const auto place = map.find(key);
        expect(place != map.end() && place->second == 'b', __LINE__, "map", "b", "find");
    };
    found("b");
    found(string);
    found(bytes);
    found(string.c_str());
    found(array);
    found(vector);
    found(pair);
}

utf16_string wide(const char* text) { return utf16_string(text, text + std::strlen(text)); }

void check16() {
    const char* const sources[] = {"", "a", "b", "ab"};
    for (const char* a : sources) {
        for (const char* b : sources) {
            const int order = orderOf(a, b);
            const ChArr16 left(a), right(b);
            const utf16_string leftString = wide(a), rightString = wide(b);
            check(left, right, order, a, b);
            check(left, rightString, order, a, b);
            check(left, rightString.c_str(), order, a, b);
            check(leftString, right, order, a, b);
            check(leftString.c_str(), right, order, a, b);
        }
    }
    const utf16_t low[] = {0x7FFF, 0}, high[] = {0x8000, 0};
    check(ChArr16(low), ChArr16(high), -1, "0x7FFF", "0x8000");
    check(ChArr16("a"), utf16_string(3, u'\0').replace(0, 1, 1, u'a'), -1, "a", "a with zeros");
    const utf16_t* const null = nullptr;
    check(ChArr16(), null, 0, "null array", "null");
    check(null, ChArr16("a"), -1, "null", "a");
    expect(ChArr16() == nullptr && ChArr16("a") != nullptr, __LINE__, "", "", "nullptr");
    std::map<ChArr16, int, std::less<>> map;
    map.emplace("a", 1);
    const utf16_string key = wide("a");
    expect(map.find(key) != map.end() && map.find(key.c_str()) != map.end(), __LINE__, "map", "a", "find");
}

// Of two encodings no comparison compiles.
template <class Left, class Right, class = void>
struct Equal : std::false_type {};
template <class Left, class Right>
struct Equal<Left, Right, decltype(void(std::declval<const Left&>() == std::declval<const Right&>()))>
    : std::true_type {};
template <class Left, class Right, class = void>
struct Less : std::false_type {};
template <class Left, class Right>
struct Less<Left, Right, decltype(void(std::declval<const Left&>() < std::declval<const Right&>()))> : std::true_type {
};

template <class Text>
constexpr bool comparesWith16() {
    return Equal<Text, ChArr16>::value || Equal<ChArr16, Text>::value || Less<Text, ChArr16>::value ||
           Less<ChArr16, Text>::value;
}

static_assert(comparesWith16<ChArr16>() && comparesWith16<utf16_string>() && comparesWith16<const utf16_t*>(), "");
static_assert(!comparesWith16<ChPair>() && !comparesWith16<ChArr>() && !comparesWith16<CharVector>(), "");
static_assert(!comparesWith16<std::string>() && !comparesWith16<const char*>() && !comparesWith16<char[5]>(), "");

}  // namespace

int main() {
    checkAllPairs();
    checkChangeable();
    checkNull();
    checkMap<ChArr>();
    checkMap<CharVector>();
    checkMap<std::string>();
    check16();
    return failures != 0;
}
