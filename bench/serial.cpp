// Values into a Bag and out of it, and messages as text.
#include <fmt/format.h>

#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <velmora/serial/bag.h>
#include <velmora/serial/ttt.h>
#include <velmora/text/charr.h>
#include <velmora/text/charvector.h>

#include "harness.h"

namespace bench {

namespace {

using benchmark::DoNotOptimize;

constexpr int kRecords = 200;

struct Record {
    int number = 0;
    std::int64_t time = 0;
    double price = 0;
    short kind = 0;
    char flag = 0;
    const char* name = "a name of some bytes";

    bool operator==(const Record& r) const {
        return number == r.number && time == r.time && price == r.price && kind == r.kind && flag == r.flag &&
               std::strcmp(name, r.name) == 0;
    }
};
constexpr int kValues = 6;  // of a record

Record record(int i) { return {i, 1700000000LL * i, i / 4.0, static_cast<short>(i * 3), static_cast<char>(i), "Ann"}; }

// By hand: a block of bytes with the same alignment and the same checks, all of it inline.
class Block {
public:
    std::vector<char> bytes;
    std::size_t cursor = 0;

    template <class T>
    void put(T v) {
        cursor = (cursor + sizeof v - 1) & ~(sizeof v - 1);
        room(sizeof v);
        std::memcpy(bytes.data() + cursor, &v, sizeof v);
        cursor += sizeof v;
    }
    void putText(const char* text) {
        const std::size_t size = std::strlen(text) + 1;
        room(size);
        std::memcpy(bytes.data() + cursor, text, size);
        cursor += size;
    }
    template <class T>
    T get() {
        cursor = (cursor + sizeof(T) - 1) & ~(sizeof(T) - 1);
        if (bytes.size() < cursor || bytes.size() - cursor < sizeof(T)) throw std::out_of_range("block");
        T v;
        std::memcpy(&v, bytes.data() + cursor, sizeof v);
        cursor += sizeof v;
        return v;
    }
    const char* getText() {
        if (cursor >= bytes.size()) throw std::out_of_range("block");
        const char* text = bytes.data() + cursor;
        const void* end = std::memchr(text, 0, bytes.size() - cursor);
        if (!end) throw std::out_of_range("block");
        cursor += static_cast<std::size_t>(static_cast<const char*>(end) - text) + 1;
        return text;
    }

private:
    void room(std::size_t n) {
        if (bytes.size() < cursor || bytes.size() - cursor < n) bytes.resize(std::max(cursor + n, bytes.size() * 2));
    }
};

void write(Bag& bag, int records) {
    bag.truncate();
    for (int i = 0; i < records; ++i) {
        const Record r = record(i);
        bag << r.number << r.time << r.price << r.kind << r.flag << r.name;
    }
}

void write(Block& block, int records) {
    block.cursor = 0;
    for (int i = 0; i < records; ++i) {
        const Record r = record(i);
        block.put(r.number);
        block.put(r.time);
        block.put(r.price);
        block.put(r.kind);
        block.put(r.flag);
        block.putText(r.name);
    }
}

void read(Bag& bag, Record& r) { bag >> r.number >> r.time >> r.price >> r.kind >> r.flag >> r.name; }

void read(Block& block, Record& r) {
    r.number = block.get<int>();
    r.time = block.get<std::int64_t>();
    r.price = block.get<double>();
    r.kind = block.get<short>();
    r.flag = block.get<char>();
    r.name = block.getText();
}

template <class Target>
bool comesBack() {
    Target target;
    write(target, kRecords);
    target.cursor = 0;
    for (int i = 0; i < kRecords; ++i) {
        Record r;
        read(target, r);
        if (!(r == record(i))) return false;
    }
    return true;
}

template <class Target>
void addValues(const char* contender, const char* note) {
    const std::string out = std::string("bag-out/records/200/") + contender;
    addLoop(out, [=](benchmark::State& state) {
        checkOnce(out, comesBack<Target>);
        Target target;
        for (auto _ : state) {
            write(target, kRecords);
            benchmark::ClobberMemory();
        }
        describe(state, static_cast<double>(target.cursor), kRecords * kValues, note);
    });
    const std::string in = std::string("bag-in/records/200/") + contender;
    addLoop(in, [=](benchmark::State& state) {
        Target target;
        write(target, kRecords);
        const auto size = target.cursor;
        for (auto _ : state) {
            target.cursor = 0;
            for (int i = 0; i < kRecords; ++i) {
                Record r;
                read(target, r);
                DoNotOptimize(r);
            }
        }
        describe(state, static_cast<double>(size), kRecords * kValues, note);
    });
}

// ---- messages ----

constexpr const char* kExpected = "File settings/colours.xml, line 1234";

template <class Text, class Render>
void addMessage(const char* contender, const char* note, Render render) {
    const std::string name = std::string("message/file-line/1/") + contender;
    addLoop(name, [=](benchmark::State& state) {
        Text text{};
        const char* path = "settings/colours.xml";
        int line = 1234;
        checkOnce(name, [&] { return std::string_view(render(text, path, line)) == kExpected; });
        for (auto _ : state) {
            DoNotOptimize(path);
            DoNotOptimize(line);
            DoNotOptimize(render(text, path, line));
            benchmark::ClobberMemory();
        }
        describe(state, static_cast<double>(std::strlen(kExpected)), 1, note);
    });
}

struct Buffer {
    char text[4096];
};

void addMessages() {
    addMessage<CharVector>("velmora", "made, and rendered into a kept CharVector",
                           [](CharVector& text, const char* path, int line) {
                               TTT message("File %s, line %d");
                               message < path < line;
                               message.translate(text);
                               return text();
                           });
    addMessage<std::string>("velmora-string", "made, and rendered into a kept std::string",
                            [](std::string& text, const char* path, int line) {
                                TTT message("File %s, line %d");
                                message < path < line;
                                message.translate(text);
                                return text.c_str();
                            });
    addMessage<ChArr>("velmora-format", "ChArr::format", [](ChArr& text, const char* path, int line) {
        text.format("File %s, line %d", path, line);
        return text();
    });
    addMessage<std::string>("fmt", "fmt::format with a format known at run time",
                            [](std::string& text, const char* path, int line) {
                                text = fmt::format(fmt::runtime("File {}, line {}"), path, line);
                                return text.c_str();
                            });
    addMessage<std::string>("fmt-kept", "the same into a kept std::string",
                            [](std::string& text, const char* path, int line) {
                                text.clear();
                                fmt::format_to(std::back_inserter(text), fmt::runtime("File {}, line {}"), path, line);
                                return text.c_str();
                            });
    addMessage<Buffer>("snprintf", "into a buffer", [](Buffer& buffer, const char* path, int line) {
        std::snprintf(buffer.text, sizeof buffer.text, "File %s, line %d", path, line);
        return static_cast<const char*>(buffer.text);
    });
}

}  // namespace

void addBenchmarks() {
    addValues<Bag>("velmora", "");
    addValues<Block>("by-hand", "memcpy, inline");
    addMessages();
}

}  // namespace bench
