// A Bag of bytes from outside, read and written by a random program. Nothing but Bag::Exception leaves, and nothing
// leads out of the block. The first half of the input is the program, the second the content.
#include <velmora/containers/vectors.h>
#include <velmora/serial/bag.h>
#include <velmora/text/charr.h>
#include <velmora/text/charvector.h>

#include <vector>

#include "fuzz/fuzz.h"

namespace {

volatile unsigned sumOfAll;  // so that the bytes are read

// Touches the bytes.
void use(const char* p, std::size_t n) {
    unsigned sum = 0;
    for (std::size_t i = 0; i < n; ++i) sum += static_cast<unsigned char>(p[i]);
    sumOfAll = sum;
}

constexpr int kFarthest = 1 << 16;

void doOne(Bag& bag, fuzz::Input& program, std::vector<int>& blocks) {
    switch (program.below(28)) {
        case 0:
            bag.getChar();
            break;
        case 1:
            bag.getShort();
            break;
        case 2:
            bag.getLong();
            break;
        case 3:
            bag.getLongLong();
            break;
        case 4:
            bag.getDouble();
            break;
        case 5: {
            std::string out;
            bag.getString(out);
            break;
        }
        case 6: {
            const ChPair text = bag.getStringAsPair();
            use(text.begin, static_cast<std::size_t>(text.len()) + 1);
            break;
        }
        case 7: {
            const int n = program.number<int>();
            const char* p = bag.getDataPtr(n);
            use(p, static_cast<std::size_t>(n));
            break;
        }
        case 8: {
            const int n = program.number<short>();
            const char* p = bag.getDataPtrAligned(n, 1 << program.below(5));
            use(p, static_cast<std::size_t>(n));
            break;
        }
        case 9: {
            char out[300];
            bag.getData(out, static_cast<int>(program.byte()));
            break;
        }
        case 10: {
            ChArr out("old");
            bag >> out;
            break;
        }
        case 11: {
            CharVector out("old");
            bag >> out;
            break;
        }
        case 12: {
            Bag out("old", 3);
            bag >> out;
            FUZZ_CHECK(out.cursor == 0 && out.size >= 0);
            use(out.data, static_cast<std::size_t>(out.size));
            break;
        }
        case 13: {
            StringVector<char> out;
            out.append("old");
            bag >> out;
            for (int i = 0; i < out.count; ++i) {
                if (out.data[i]) use(out.data[i], std::strlen(out.data[i]));
            }
            break;
        }
        case 14: {
            bool out;
            bag >> out;
            break;
        }
        case 15: {
            BagTime out;
            bag >> out;
            break;
        }
        case 16:
            blocks.push_back(bag.beginBlock());
            break;
        case 17:
            if (blocks.empty()) break;
            bag.endBlock(blocks.back());
            blocks.pop_back();
            break;
        case 18:
            if (blocks.empty()) break;
            bag.passBlock(blocks.back());
            blocks.pop_back();
            break;
        case 19:
            bag.truncateTo(static_cast<int>(program.byte()));
            break;
        case 20: {
            const int at = static_cast<int>(program.byte());
            const int n = static_cast<int>(program.byte());
            if (bag.cursor >= at + n) bag.delSpace(at, n);
            break;
        }
        case 21:
            bag.to(bag.size <= 0 ? 0 : static_cast<int>(program.byte()) % (bag.size + 1));
            break;
        case 22: {
            FUZZ_CHECK(bag == bag);
            if (bag.size < 0) break;
            Bag copy(bag);
            FUZZ_CHECK(copy == bag);
            break;
        }
        case 23:
            bag.putLong(static_cast<int>(program.byte()));
            break;
        case 24: {
            const std::string text = program.text();
            bag.putData(text.data(), static_cast<int>(text.size()));
            break;
        }
        case 25: {
            const int n = static_cast<int>(program.byte());
            std::memset(bag.putDataPtrAligned(n, 1 << program.below(5)), 'x', static_cast<std::size_t>(n));
            break;
        }
        case 26: {
            const int at = static_cast<int>(program.byte());
            if (at <= bag.size) bag.insSpace(at, static_cast<int>(program.byte()));
            break;
        }
        default: {
            Bag copy;
            copy << bag;
            FUZZ_CHECK(copy.size >= 4);
            break;
        }
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::size_t half = size / 2;
    fuzz::Input program(data, half);
    Bag bag(data + half, static_cast<int>(size - half));
    std::vector<int> blocks;
    while (!program.empty()) {
        try {
            doOne(bag, program, blocks);
        } catch (const Bag::Exception&) {
        }
        FUZZ_CHECK(bag.size <= bag.bufferSize);  // a block of negative length is empty and more than that
        // A cursor outside stays for a while, but not one that a write would take much memory for.
        const bool outside = bag.cursor < 0 || bag.cursor > bag.size;
        if (outside && (bag.cursor > kFarthest || program.below(4) == 0)) bag.toBegin();
    }
    return 0;
}
