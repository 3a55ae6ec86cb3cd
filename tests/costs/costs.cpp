// Runs chief operations under callgrind, which counts the instructions of each loop alone. Prints a line per row with
// the items that the loop handles; cost_test.py divides.
#include <gnu/libc-version.h>
#include <valgrind/callgrind.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include <velmora/markup/mldocout.h>
#include <velmora/serial/bag.h>
#include <velmora/text/chpair.h>
#include <velmora/text/formatting.h>
#include <velmora/text/numbers.h>

#include "contents.h"
#include "read_velmora.h"
#include "shapes.h"

#if __has_include(<velmora/text/functions.h>)
#include <velmora/text/functions.h>
#define VELMORA_HAS_TEXT_FUNCTIONS
#endif

namespace {

using namespace bench;

constexpr std::size_t kDocumentBytes = 100000;

// Keeps the compiler from leaving out what nobody reads.
template <class T>
void use(const T& value) {
    asm volatile("" : : "r"(&value) : "memory");
}

// The first round is not counted: it makes memory and binds functions.
template <class Loop>
void count(const char* row, long items, Loop loop) {
    loop();
    CALLGRIND_ZERO_STATS;
    CALLGRIND_TOGGLE_COLLECT;
    loop();
    CALLGRIND_TOGGLE_COLLECT;
    CALLGRIND_DUMP_STATS_AT(row);
    std::printf("row %s %ld\n", row, items);
}

template <Mode mode>
void countReading(const char* row, Kind kind, MLDocBase::Format format) {
    const Document& doc = document(kind, format, kDocumentBytes);
    std::vector<Block> blocks;
    for (int i = 0; i < 2; ++i) {
        blocks.push_back({new char[doc.text.size() + Block::kPadding], doc.text.size()});
        std::memcpy(blocks.back().data, doc.text.data(), doc.text.size());
    }
    auto next = blocks.begin();
    count(row, mode == Mode::Tokens ? doc.shape.items : doc.shape.attributes, [&] {
        Glance seen;
        readVelmora<mode>(*next++, seen);
        use(seen);
    });
    for (const Block& block : blocks) delete[] block.data;
}

void countWriting(const char* row, MLDocBase::Format format) {
    const Document& doc = document(Kind::Typed, format, kDocumentBytes);
    MLDocOut::BagWriter sink;
    count(row, doc.shape.attributes, [&] {
        sink.truncate();
        replay(doc.shape, format, false, sink);
        use(sink);
    });
}

void countValues() {
    constexpr int kRecords = 1000;
    Bag bag;
    count("bag-out", kRecords * 6, [&] {
        bag.truncate();
        for (int i = 0; i < kRecords; ++i) {
            bag << i << static_cast<std::int64_t>(i) << i / 4.0 << static_cast<short>(i) << static_cast<char>(i)
                << "Ann";
        }
    });
    count("bag-in", kRecords * 6, [&] {
        bag.toBegin();
        for (int i = 0; i < kRecords; ++i) {
            int number;
            std::int64_t time;
            double price;
            short kind;
            char flag;
            const char* name;
            bag >> number >> time >> price >> kind >> flag >> name;
            use(name);
        }
    });
}

void countText() {
    std::string text;
    while (text.size() < 4096) text += "river silver garden silver gables ";
    text += "silver gate";
    const std::string pattern = "silver gate";
    constexpr int kSearches = 100;
    count("find-4KB", kSearches, [&] {
        for (int i = 0; i < kSearches; ++i) use(ChPair(text).find(ChPair(pattern)));
    });
    constexpr int kNumbers = 1000;
    std::vector<std::string> texts;
    std::vector<double> numbers;
    for (int i = 0; i < kNumbers; ++i) {
        numbers.push_back((static_cast<unsigned>(i) * 2654435761u % 100000000) / 100.0);
        char digits[velmora::detail::kDoubleTextSize];
        velmora::detail::putDouble(numbers.back(), digits);
        texts.emplace_back(digits);
    }
    count("text-to-double", kNumbers, [&] {
        for (const std::string& digits : texts) {
            double number;
            use(strtodouble(digits.data(), digits.data() + digits.size(), &number));
            use(number);
        }
    });
    count("format-double", kNumbers, [&] {
        for (double number : numbers) {
            char digits[velmora::detail::kDoubleTextSize];
            use(velmora::detail::putDouble(number, digits));
            use(digits);
        }
    });
}

}  // namespace

int main() {
#ifdef VELMORA_HAS_TEXT_FUNCTIONS
    // The least that every machine has, so that all machines count alike.
    velmora::detail::textFunctions = velmora::detail::baseTextFunctions;
#endif
    std::printf("compiler %s, glibc %s\n", __VERSION__, gnu_get_libc_version());
    countReading<Mode::AsIs>("read-xml-as-is", Kind::Records, MLDocBase::XML);
    countReading<Mode::Decoded>("read-xml-decoded", Kind::Escaped, MLDocBase::XML);
    countReading<Mode::Tokens>("read-xml-tokens", Kind::Records, MLDocBase::XML);
    countReading<Mode::AsIs>("read-json-as-is", Kind::Records, MLDocBase::JSON);
    countReading<Mode::Decoded>("read-json-decoded", Kind::Escaped, MLDocBase::JSON);
    countReading<Mode::AsIs>("read-yaml-as-is", Kind::Records, MLDocBase::YAML);
    countWriting("write-xml", MLDocBase::XML);
    countWriting("write-json", MLDocBase::JSON);
    countWriting("write-yaml", MLDocBase::YAML);
    countValues();
    countText();
    return 0;
}
