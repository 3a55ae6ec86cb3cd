// Numbers, times and addresses from text: the ranges against the runtime's converters where the grammars agree, and
// every number that is written against its own way back.
#include <velmora/serial/tags.h>
#include <velmora/serial/ttt.h>
#include <velmora/text/chpair.h>
#include <velmora/text/numbers.h>
#include <velmora/text/timetext.h>

#include <cmath>

#include "fuzz/fuzz.h"

namespace {

// A sign or none, and digits: what both grammars take in the same way, as long as there is no overflow.
bool isPlain(const std::string& s, std::size_t mostDigits) {
    const std::size_t from = !s.empty() && s[0] == '-' ? 1 : 0;
    if (s.size() == from || s.size() - from > mostDigits) return false;
    return s.find_first_not_of("0123456789", from) == std::string::npos;
}

template <class Action>
void mayThrow(Action action) {
    try {
        action();
    } catch (const TTT&) {
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    const std::string terminated = text.c_str();
    const fuzz::Exact exact(text);
    const char* b = exact.begin();
    char* e = exact.end();
    const char* s = terminated.c_str();

    int i = 77, iz = 77;
    unsigned u = 77, uz = 77;
    std::int64_t l = 77, lz = 77;
    std::uint64_t ul = 77, ulz = 77;
    double d = 77, dz = 77;
    const bool gi = strtoint(b, e, &i), giz = strtoint(s, &iz);
    const bool gu = strtouint(b, e, &u), guz = strtouint(s, &uz);
    const bool gl = strtoint64(b, e, &l), glz = strtoint64(s, &lz);
    const bool gul = strtouint64(b, e, &ul), gulz = strtouint64(s, &ulz);
    const bool gd = strtodouble(b, e, &d), gdz = strtodouble(s, &dz);
    FUZZ_CHECK(gi || i == 77 || i == 0);  // hexadecimal without a digit stores 0
    FUZZ_CHECK(gl || l == 77);
    if (isPlain(text, 9)) {
        FUZZ_CHECK(gi && giz && i == iz);
        FUZZ_CHECK(gl && glz && l == lz && l == i);
        if (text[0] != '-') FUZZ_CHECK(gu && guz && u == uz && gul && gulz && ul == ulz);
    }
    if (isPlain(text, 18)) FUZZ_CHECK(gl && glz && l == lz);
    if (gd && gdz && text == terminated) FUZZ_CHECK(d == dz || (std::isnan(d) && std::isnan(dz)));
    unsigned hex;
    strtohex(b, e, &hex);
    strtohex(s, &hex);
    strtobin(s, &hex);

    char bytes[32], digits[64];
    str2bin(s, bytes, static_cast<int>(size % sizeof bytes));
    bin2str(bytes, static_cast<int>(size % sizeof bytes), digits);

    ChPair view(b, e);
    unsigned ip = 0;
    view.getIP(ip);
    mayThrow([&] { view.parseInt(nullptr, nullptr); });
    mayThrow([&] { view.parseUInt64(nullptr, nullptr); });
    mayThrow([&] { view.parseDouble(nullptr, nullptr); });
    mayThrow([&] { view.parseIP(); });
    mayThrow([&] { view.parseTime(); });
    mayThrow([&] { view.parseLocalTime(); });
    static constexpr PairTag tags[] = {{"a", 1}, {"bc", 2}, {"gone", 8}, {nullptr, 0}};
    mayThrow([&] { view.parseEnum(tags, 8); });
    mayThrow([&] { view.parseFlags(tags, 8, size % 2 == 0); });

    const std::int64_t time = from_gmt_date_time_string_YYYYMMDDThhmmss_to_gmt_time_t(b, e);
    if (time >= 0) {
        char shown[32];
        from_gmt_time_t_to_gmt_date_time_string_YYYYMMDDThhmmss(time, shown);
        FUZZ_CHECK(from_gmt_date_time_string_YYYYMMDDThhmmss_to_gmt_time_t(shown, shown + std::strlen(shown)) == time);
    }
    return 0;
}
