// What the readers take by windows against the plain routines: every token, attribute, failure, position and field. The
// first bytes are a script, which says between two steps how to read attributes and what a caller changes; the rest is
// the document.
#include "fuzz/fuzz.h"
#include "tests/support/reader_twins.h"

namespace {

enum class Act { Nothing, All, One, Twice, OnceMore, Move, Write, Count };

void readAttributes(support::ReaderTwins& twins, std::size_t most) {
    twins.moveToAttributes();
    while (most-- > 0 && twins.attribute()) {
    }
    twins.passAttributes();
}

void play(support::ReaderTwins& twins, Act act, fuzz::Input& numbers) {
    const std::uint32_t length = twins.doc().length;
    const std::size_t all = length + std::size_t{1};
    switch (act) {
        case Act::Twice:
            readAttributes(twins, all);
            return readAttributes(twins, all);
        case Act::All:
            return readAttributes(twins, all);
        case Act::One:
            return readAttributes(twins, 1);
        case Act::OnceMore:
            twins.attribute();
            return;
        case Act::Move:
            return twins.moveTo(numbers.number<std::uint16_t>() % (length + 1));
        case Act::Write:
            if (length == 0) return;
            return twins.write(numbers.number<std::uint16_t>() % length, static_cast<char>(numbers.byte()));
        default:
            return;
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    const std::string script = input.bytes(input.below(16));
    const std::string text = input.rest();
    const fuzz::Exact fast(text), plain(text);
    support::ReaderTwins twins(fast.begin(), plain.begin(), text.size());
    if (text.empty() || !twins.begin()) return 0;
    fuzz::Input acts(nullptr, 0);
    // It goes on after failures, which a caller should not do.
    for (std::size_t steps = 0, still = 0; steps < 2 * text.size() + 16 && still < 3; ++steps) {
        still = twins.step() ? 0 : still + 1;
        if (acts.empty()) acts = fuzz::Input(reinterpret_cast<const std::uint8_t*>(script.data()), script.size());
        const auto act = script.empty() ? Act::All : static_cast<Act>(acts.below(static_cast<unsigned>(Act::Count)));
        if (twins.token().body.begin) play(twins, act, acts);
        if (!twins.difference().empty()) std::fprintf(stderr, "%s\n", twins.difference().c_str());
        FUZZ_CHECK(twins.difference().empty());
    }
    return 0;
}
