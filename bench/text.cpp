// Texts in memory: UTF-8, searches, comparisons without case, growing text and vectors.
#include <iconv.h>
#include <strings.h>

#include <algorithm>
#include <codecvt>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <velmora/containers/vectors.h>
#include <velmora/text/charvector.h>
#include <velmora/text/chpair.h>
#include <velmora/text/utf.h>

#include "harness.h"
#include "peer_simdjson.h"

namespace bench {

namespace {

using benchmark::DoNotOptimize;

const Size kSizes[] = {{"64B", 64}, {"4KB", 4096}, {"1MB", 1000000}};

// A loop over one call, whose result is to be that of every contender.
template <class Expected, class Run>
void add(const std::string& row, const char* contender, const char* note, double bytes, Expected expected, Run run) {
    const std::string name = row + '/' + contender;
    addLoop(name, [=](benchmark::State& state) {
        checkOnce(name, [&] { return run() == expected; });
        for (auto _ : state) DoNotOptimize(run());
        describe(state, bytes, 1, note);
    });
}

// ---- UTF-8 and UTF-16 ----

// Words in Latin and Cyrillic, with some characters of three bytes; cut at a character.
std::string mixedText(std::size_t size) {
    static const char* const words[] = {"river ", "Größe ", "письмо ", "garden ", "окно ", "价格 ", "Évora ", "12 € "};
    std::string text;
    for (unsigned i = 0; text.size() < size; ++i) text += words[(i * 2654435761u >> 8) & 7];
    while (text.size() > size || (text.back() & 0x80) != 0) text.pop_back();
    return text;
}

std::string asciiText(std::size_t size) {
    static const char* const words[] = {"river ",   "stone ",  "letter ", "window ",
                                        "morning ", "silver ", "garden ", "market "};
    std::string text;
    for (unsigned i = 0; text.size() < size; ++i) text += words[(i * 2654435761u >> 8) & 7];
    text.resize(size);
    return text;
}

std::size_t countByHand(const std::string& text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}

using Codecvt = std::codecvt<char16_t, char8_t, std::mbstate_t>;

class Iconv {
public:
    Iconv(const char* to, const char* from) : handle_(iconv_open(to, from)) {}
    Iconv(const Iconv&) = delete;
    Iconv& operator=(const Iconv&) = delete;
    ~Iconv() { iconv_close(handle_); }

    // Bytes written.
    std::size_t operator()(const void* from, std::size_t size, void* to, std::size_t room) {
        char* in = static_cast<char*>(const_cast<void*>(from));
        char* out = static_cast<char*>(to);
        iconv(handle_, &in, &size, &out, &room);
        return static_cast<std::size_t>(out - static_cast<char*>(to));
    }

private:
    iconv_t handle_;
};

struct Converted {
    std::string utf8;
    std::u16string utf16;
    std::string back;      // room for a conversion to UTF-8
    std::u16string there;  // to UTF-16
};

void addConversions(const std::string& suffix, const std::string& text) {
    static Iconv toUtf16("UTF-16LE", "UTF-8");
    static Iconv toUtf8("UTF-8", "UTF-16LE");
    auto data = std::make_shared<Converted>();
    const std::size_t units = countByHand(text);
    data->utf8 = text;
    data->utf16.resize(units);
    utf8_to_utf16(text.data(), text.data() + text.size(), data->utf16.data(), data->utf16.data() + units);
    data->back.resize(text.size());
    data->there.resize(units);
    const double bytes = static_cast<double>(text.size());
    const std::string there = "utf8-to-utf16/" + suffix;
    add(there, "velmora", "does not check", bytes, true, [=] {
        Converted& d = *data;
        utf8_to_utf16(d.utf8.data(), d.utf8.data() + d.utf8.size(), d.there.data(), d.there.data() + d.there.size());
        DoNotOptimize(d.there.data());
        return d.there.back() == d.utf16.back();
    });
    add(there, "codecvt", "of libstdc++; checks", bytes, true, [=] {
        Converted& d = *data;
        const Codecvt& codecvt = std::use_facet<Codecvt>(std::locale::classic());
        std::mbstate_t state{};
        const char8_t* from = reinterpret_cast<const char8_t*>(d.utf8.data());
        const char8_t* next;
        char16_t* end;
        codecvt.in(state, from, from + d.utf8.size(), next, d.there.data(), d.there.data() + d.there.size(), end);
        return end == d.there.data() + d.there.size() && d.there.back() == d.utf16.back();
    });
    add(there, "iconv", "of glibc; checks", bytes, true, [=] {
        Converted& d = *data;
        return toUtf16(d.utf8.data(), d.utf8.size(), d.there.data(), d.there.size() * 2) == d.utf16.size() * 2 &&
               d.there.back() == d.utf16.back();
    });
    const std::string back = "utf16-to-utf8/" + suffix;
    add(back, "velmora", "does not check", bytes, true, [=] {
        Converted& d = *data;
        utf16_to_utf8(d.utf16.data(), d.utf16.data() + d.utf16.size(), d.back.data(), d.back.data() + d.back.size());
        DoNotOptimize(d.back.data());
        return d.back.back() == d.utf8.back();
    });
    add(back, "codecvt", "of libstdc++; checks", bytes, true, [=] {
        Converted& d = *data;
        const Codecvt& codecvt = std::use_facet<Codecvt>(std::locale::classic());
        std::mbstate_t state{};
        const char16_t* next;
        char8_t* to = reinterpret_cast<char8_t*>(d.back.data());
        char8_t* end;
        codecvt.out(state, d.utf16.data(), d.utf16.data() + d.utf16.size(), next, to, to + d.back.size(), end);
        return end == to + d.back.size() && d.back.back() == d.utf8.back();
    });
    add(back, "iconv", "of glibc; checks", bytes, true, [=] {
        Converted& d = *data;
        return toUtf8(d.utf16.data(), d.utf16.size() * 2, d.back.data(), d.back.size()) == d.utf8.size() &&
               d.back.back() == d.utf8.back();
    });
}

void addUtf() {
    for (const bool mixed : {true, false}) {
        for (const Size& size : kSizes) {
            const std::string text = mixed ? mixedText(size.bytes) : asciiText(size.bytes);
            const std::string suffix = std::string(mixed ? "mixed/" : "ascii/") + size.title;
            const double bytes = static_cast<double>(text.size());
            const std::string check = "check-utf8/" + suffix;
            add(check, "velmora", "", bytes, true, [=] { return strchk_utf8(text.data(), text.size()) == nullptr; });
            add(check, "simdjson", "chooses its instructions at run time; also refuses overlong forms", bytes, true,
                [=] { return validateSimdjson(text.data(), text.size()); });
            const std::string count = "count-utf8/" + suffix;
            const std::size_t characters = countByHand(text);
            add(count, "velmora", "", bytes, characters,
                [=] { return strlen_utf8(text.data(), text.data() + text.size()); });
            add(count, "count_if", "a loop by hand", bytes, characters, [=] { return countByHand(text); });
            addConversions(suffix, text);
        }
    }
}

// ---- searches ----

void addSearches() {
    const std::string pattern = "silver gate";
    const std::string otherCase = "SILVER Gate";
    for (const Size& size : kSizes) {
        // The pattern is at the end. Its first word is all over the text.
        std::string text = asciiText(size.bytes);
        text.replace(text.size() - pattern.size(), pattern.size(), pattern);
        auto shared = std::make_shared<const std::string>(text);
        const std::size_t place = text.size() - pattern.size();
        const double bytes = static_cast<double>(text.size());
        const std::string find = std::string("find/words/") + size.title;
        add(find, "velmora", "", bytes, place,
            [=] { return static_cast<std::size_t>(ChPair(*shared).find(ChPair(pattern)) - shared->data()); });
        add(find, "string_view", "", bytes, place, [=] { return std::string_view(*shared).find(pattern); });
        add(find, "strstr", "needs a terminator", bytes, place,
            [=] { return static_cast<std::size_t>(std::strstr(shared->c_str(), pattern.c_str()) - shared->c_str()); });
        add(find, "memmem", "", bytes, place, [=] {
            const void* found = memmem(shared->data(), shared->size(), pattern.data(), pattern.size());
            return static_cast<std::size_t>(static_cast<const char*>(found) - shared->data());
        });
        const std::string findNoCase = std::string("find-no-case/words/") + size.title;
        add(findNoCase, "velmora", "", bytes, place,
            [=] { return static_cast<std::size_t>(ChPair(*shared).find_i_ascii(ChPair(otherCase)) - shared->data()); });
        add(findNoCase, "strcasestr", "needs a terminator", bytes, place,
            [=] { return static_cast<std::size_t>(strcasestr(shared->c_str(), otherCase.c_str()) - shared->c_str()); });
    }
    for (const Size& size : {Size{"16B", 16}, Size{"1KB", 1000}}) {
        const std::string text = asciiText(size.bytes);
        std::string upper = text;
        for (char& c : upper) c = static_cast<char>(c >= 'a' && c <= 'z' ? c - 32 : c);
        const std::string row = std::string("compare-no-case/equal/") + size.title;
        const double bytes = static_cast<double>(size.bytes);
        add(row, "velmora", "", bytes, 0, [=] { return ChPair(text).compare_i_ascii(ChPair(upper)); });
        add(row, "strncasecmp", "", bytes, 0, [=] { return strncasecmp(text.data(), upper.data(), text.size()); });
        const std::string equal = std::string("equal-no-case/equal/") + size.title;
        add(equal, "velmora", "", bytes, true, [=] { return ChPair(text).equal_i_ascii(ChPair(upper)); });
        add(equal, "strncasecmp", "", bytes, true,
            [=] { return strncasecmp(text.data(), upper.data(), text.size()) == 0; });
    }
}

// ---- growing text and vectors ----

constexpr int kAppends = 1000;

template <class Text, class Append, class Empty>
void addAppend(const std::string& row, const char* contender, double bytes, Append append, Empty empty) {
    const std::string name = row + '/' + contender;
    addLoop(name, [=](benchmark::State& state) {
        Text text;
        for (auto _ : state) {
            empty(text);
            for (int i = 0; i < kAppends; ++i) append(text, i);
            DoNotOptimize(text);
            benchmark::ClobberMemory();
        }
        describe(state, bytes * kAppends, kAppends, "");
    });
}

void addGrowth() {
    static const char kSixteen[] = "sixteen bytes..!";
    // The memory is kept from run to run, so that growth is not part of it.
    auto truncate = [](CharVector& text) { text.truncate(); };
    auto clear = [](auto& text) { text.clear(); };
    addAppend<CharVector>(
        "append/kept/1B", "velmora", 1, [](CharVector& t, int) { t.append('x'); }, truncate);
    addAppend<std::string>(
        "append/kept/1B", "string", 1, [](std::string& t, int) { t.push_back('x'); }, clear);
    addAppend<CharVector>(
        "append/kept/16B", "velmora", 16, [](CharVector& t, int) { t.append(kSixteen, std::size_t{16}); }, truncate);
    addAppend<std::string>(
        "append/kept/16B", "string", 16, [](std::string& t, int) { t.append(kSixteen, 16); }, clear);
    // From nothing.
    auto renew = [](auto& text) { text = std::remove_reference_t<decltype(text)>(); };
    auto release = [](CharVector& text) { text.clear(); };
    addAppend<CharVector>(
        "append/fresh/1B", "velmora", 1, [](CharVector& t, int) { t.append('x'); }, release);
    addAppend<std::string>(
        "append/fresh/1B", "string", 1, [](std::string& t, int) { t.push_back('x'); }, renew);
    using Vector = SimpleVector<int>;
    using StdVector = std::vector<int>;
    addAppend<Vector>(
        "push-back/kept/4B", "velmora", 4, [](Vector& v, int i) { v.append(i); }, [](Vector& v) { v.cutTo(0); });
    addAppend<StdVector>(
        "push-back/kept/4B", "vector", 4, [](StdVector& v, int i) { v.push_back(i); }, clear);
    addAppend<Vector>(
        "push-back/fresh/4B", "velmora", 4, [](Vector& v, int i) { v.append(i); }, [](Vector& v) { v.removeAll(); });
    addAppend<StdVector>(
        "push-back/fresh/4B", "vector", 4, [](StdVector& v, int i) { v.push_back(i); }, renew);
}

}  // namespace

void addBenchmarks() {
    addUtf();
    addSearches();
    addGrowth();
}

}  // namespace bench
