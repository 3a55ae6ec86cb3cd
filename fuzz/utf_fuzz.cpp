// The text routines of every kind of machine against the plain ones. A place in the text, a room for the results, the
// length of a pattern, the pattern, and a text.
#include <velmora/text/bytes.h>
#include <velmora/text/functions.h>
#include <velmora/text/utf.h>
#include <velmora/text/utf_plain.h>

#include <algorithm>
#include <vector>

#include "fuzz/fuzz.h"

namespace {

using namespace velmora::detail;

unsigned char upper(char c) { return chr_upper_table_ascii[static_cast<unsigned char>(c)]; }
bool isSameFolded(char a, char b) { return upper(a) == upper(b); }

template <class Same>
const char* naiveFind(const char* b, const char* e, const std::string& pattern, Same same) {
    const char* const found = std::search(b, e, pattern.begin(), pattern.end(), same);
    return found == e ? nullptr : found;
}

void checkConversions(const char* b, const char* e, std::size_t roomed) {
    const std::size_t characters = plainCharacters(b, e);
    FUZZ_CHECK(strchk_utf8(b, static_cast<std::size_t>(e - b)) == plainFault(b, e));
    FUZZ_CHECK(strlen_utf8(b, e) == characters);
    for (std::size_t room : {characters + 1, roomed % (characters + 1)}) {
        const std::vector<utf16_t> before(room, u'#');
        std::vector<utf16_t> expected = before, units = before;
        plainToUtf16(b, e, expected.data(), expected.data() + room);
        utf8_to_utf16(b, e, units.data(), units.data() + room);
        FUZZ_CHECK(units == expected);
        const utf16_t* const end = units.data() + room;
        const std::size_t length = plainLength(units.data(), end);
        FUZZ_CHECK(strlen_utf8(units.data(), end) == length);
        std::string text(roomed % (length + 2), '#'), expectedText = text;
        plainToUtf8(units.data(), end, expectedText.data(), expectedText.data() + text.size());
        utf16_to_utf8(units.data(), end, text.data(), text.data() + text.size());
        FUZZ_CHECK(text == expectedText);
    }
    // Any bytes are units too.
    std::vector<utf16_t> units(static_cast<std::size_t>(e - b) / 2);
    if (!units.empty()) std::memcpy(units.data(), b, units.size() * 2);
    const utf16_t* const end = units.data() + units.size();
    std::string text(strlen_utf8(units.data(), end), '#'), expectedText = text;
    plainToUtf8(units.data(), end, expectedText.data(), expectedText.data() + text.size());
    utf16_to_utf8(units.data(), end, text.data(), text.data() + text.size());
    FUZZ_CHECK(text == expectedText);
}

void checkSearches(const char* b, const char* e, const std::string& pattern) {
    const auto n = static_cast<std::size_t>(e - b);
    if (n == 0 || pattern.empty()) return;
    const auto isSame = [](char x, char y) { return x == y; };
    FUZZ_CHECK(strfind(b, n, pattern.data(), pattern.size()) == naiveFind(b, e, pattern, isSame));
    FUZZ_CHECK(strfind_i_ascii(b, n, pattern.data(), pattern.size()) == naiveFind(b, e, pattern, isSameFolded));
    FUZZ_CHECK(strfind_i_ascii(b, e, pattern[0]) == naiveFind(b, e, pattern.substr(0, 1), isSameFolded));
}

void checkCases(const char* b, const char* e, unsigned place) {
    const std::string text(b, e);
    std::string other = text, lower = text, raised = text;
    for (char& c : lower) c = static_cast<char>(chr_lower_table_ascii[static_cast<unsigned char>(c)]);
    for (char& c : raised) c = static_cast<char>(upper(c));
    strlw_ascii(other.data(), other.data() + other.size());
    FUZZ_CHECK(other == lower);
    FUZZ_CHECK(streq_i_ascii(b, text.size(), other.data(), other.size()));
    FUZZ_CHECK(strcmp_i_utf8(b, e, other.data(), other.data() + other.size()) == 0);
    if (!other.empty()) other[place % other.size()] ^= static_cast<char>(place);
    std::string raisedOther = other;
    strup_ascii(raisedOther.data(), raisedOther.data() + other.size());
    FUZZ_CHECK(streq_i_ascii(b, text.size(), other.data(), other.size()) == (raised == raisedOther));
    const auto differ = std::mismatch(raised.begin(), raised.end(), raisedOther.begin()).first - raised.begin();
    const int order = strcmp_i_ascii(b, e, other.data(), other.data() + other.size());
    if (raised == raisedOther) {
        FUZZ_CHECK(order == 0);
    } else {
        const auto at = static_cast<std::size_t>(differ);
        FUZZ_CHECK(order == (byteAt(b + at) > byteAt(other.data() + at) ? 1 : -1));
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    const unsigned place = input.number<std::uint16_t>();
    const std::size_t room = input.number<std::uint16_t>();
    const std::string pattern = input.text();
    const fuzz::Exact text(input.rest());
    const TextFunctions before = textFunctions;
    for (const TextFunctions* functions : {&portableTextFunctions, &baseTextFunctions, avx2TextFunctions}) {
        if (!functions || (functions == avx2TextFunctions && !hasAvx2())) continue;
        textFunctions = *functions;
        checkConversions(text.begin(), text.end(), room);
        checkSearches(text.begin(), text.end(), pattern);
        checkCases(text.begin(), text.end(), place);
    }
    textFunctions = before;
    return 0;
}
