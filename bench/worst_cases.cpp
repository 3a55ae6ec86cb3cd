// What an operation takes per byte of the worst input that is known for it, at 1 MB and at 4 MB: where both agree, the
// operation is linear. Rows that say "each" take the whole input once per call.
#include <velmora/velmora.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <functional>
#include <string>

namespace {

constexpr int kRuns = 3;
constexpr int kSmall = 1 << 20;
constexpr int kLarge = 4 << 20;

volatile long sink;  // so that results are used

// `text` again and again, between two others.
std::string times(const char* text, int bytes, const char* before = "", const char* after = "") {
    std::string all = before;
    while (static_cast<int>(all.size()) < bytes) all += text;
    all += after;
    return all;
}

// ---- documents ----

// Reads every token, with its attributes or over them, until the end or a failure.
void walk(const std::string& text, bool attributes) {
    MLDoc doc;
    try {
        doc.load("bench", text.data(), static_cast<int>(text.size()));
        MLDoc::Token token;
        while (doc.step(token)) {
            if (!attributes || !token.opening) continue;
            MLDoc::AttributeIterator next(&doc, token);
            MLDoc::Attribute attribute;
            while (next(attribute)) sink = attribute.value.len();
        }
    } catch (const TTT&) {
    }
}

std::string deepYaml(int bytes) {
    std::string text = "---\n";
    std::string indent;
    for (int level = 0; static_cast<int>(text.size()) < bytes; ++level) {
        text += indent;
        text += "a:\n";
        text += indent;
        text += "  - b: c\n";
        if (level < 500) indent += "  ";
    }
    return text;
}

void decode(const std::string& value) {
    MLDoc doc;
    doc.format = MLDocBase::XML;
    std::string out;
    doc.convertEscape(ChPair(value), out);
}

void positions(int bytes, bool backwards) {
    const std::string text = times("x\n", bytes, "<a>", "</a>");
    MLDoc doc;
    doc.load("bench", text.data(), static_cast<int>(text.size()));
    int line, column;
    if (!backwards) {
        for (doc.position = 1; doc.position < doc.length; doc.position += 16) doc.getPosition(line, column);
        return;
    }
    doc.position = doc.length - 1;
    doc.getPosition(line, column);
    --doc.position;
    doc.getPosition(line, column);
}

void lookUp(int bytes) {
    const std::string text = times("b=\"c\" ", bytes, "<a ", "/>");
    MLDoc doc;
    doc.load("bench", text.data(), static_cast<int>(text.size()));
    MLDoc::Token token;
    doc.step(token);
    sink = doc.getAttributeValue(token, "z").len();
}

void write(MLDocBase::Format format, const std::string& value) {
    MLDocOut::BagWriter out;
    MLDocOut writer(format);
    writer.begin(out);
    writer.beginItem("a");
    writer.writeStrAttr("b", value);
    sink = out.size;
}

// ---- the rest ----

void translate(int bytes) {
    TTT message(times("%{1}", bytes));
    message << "x";
    std::string out;
    message.translate(out);
    sink = static_cast<long>(out.size());
}

void appendSingly(int bytes) {
    Bag bag;
    for (int i = 0; i < bytes; ++i) bag.putChar('x');
    CharVector text;
    for (int i = 0; i < bytes; ++i) text.append('x');
    sink = bag.size + text.count;
}

struct Row {
    const char* title;
    std::function<void(int)> run;
};

const Row rows[] = {
    {"XML, empty elements with one attribute", [](int n) { walk(times("<a b=\"c\"/>", n), true); }},
    {"XML, elements that never end", [](int n) { walk(times("<a>", n), true); }},
    {"XML, one element with attributes alone", [](int n) { walk(times("b=\"c\" ", n, "<a ", "/>"), true); }},
    {"XML, line ends in a value", [](int n) { walk(times("\n", n, "<a b=\"", "\"/>"), true); }},
    {"JSON, nested arrays", [](int n) { walk(times("\"a\":[{", n, "{"), true); }},
    {"JSON, members read", [](int n) { walk(times("\"a\":1,", n, "{", "\"z\":1}"), true); }},
    {"JSON, members skipped", [](int n) { walk(times("\"a\":\"\\\\\",", n, "{", "\"z\":1}"), false); }},
    {"YAML, short lines", [](int n) { walk(times("a: b\n", n, "---\n"), true); }},
    {"YAML, nested lists", [](int n) { walk(deepYaml(n), true); }},
    {"MLDoc::convertEscape", [](int n) { decode(times("&lt;", n)); }},
    {"MLDoc::getPosition, in order", [](int n) { positions(n, false); }},
    {"MLDoc::getPosition, backwards, each", [](int n) { positions(n, true); }},
    {"MLDoc::getAttributeValue, each", lookUp},
    {"MLDocOut, XML, all escaped", [](int n) { write(MLDocBase::XML, times("\"", n)); }},
    {"MLDocOut, JSON, all escaped", [](int n) { write(MLDocBase::JSON, times("\n", n)); }},
    {"TTT::translate", translate},
    {"Bag and CharVector, a byte at a time", appendSingly},
    {"ChPair::find of a near miss",
     [](int n) {
         const std::string text = times("a", n);
         const std::string pattern = times("a", n / 2, "", "b");
         sink = ChPair(text).find(ChPair(pattern)) != nullptr;
     }},
    {"ChPair::find_i_ascii of a near miss",
     [](int n) {
         const std::string text = times("a", n);
         const std::string pattern = times("A", n / 2, "", "b");
         sink = ChPair(text).find_i_ascii(ChPair(pattern)) != nullptr;
     }},
    {"strup_utf8 of stray bytes",
     [](int n) {
         std::string text = times("\x9F", n);
         strup_utf8(&text[0], &text[0] + text.size());
     }},
    {"UTF-8 to UTF-16 and back",
     [](int n) {
         const std::string text = times("\xD0\xAF", n);
         sink = ChArr(ChArr16(text.c_str())).len();
     }},
    {"strtodouble of digits",
     [](int n) {
         const std::string text = times("1", n, "0.");
         double value;
         sink = strtodouble(text.c_str(), &value);
     }},
};

double nanosecondsPerByte(const Row& row, int bytes) {
    double best = 1e9;
    for (int i = 0; i < kRuns; ++i) {
        const auto start = std::chrono::steady_clock::now();
        row.run(bytes);
        const std::chrono::duration<double, std::nano> spent = std::chrono::steady_clock::now() - start;
        best = std::min(best, spent.count() / bytes);
    }
    return best;
}

}  // namespace

int main() {
    std::printf("%-42s %10s %10s   ns per byte, best of %d\n", "", "1 MB", "4 MB", kRuns);
    for (const Row& row : rows) {
        std::printf("%-42s %10.2f %10.2f\n", row.title, nanosecondsPerByte(row, kSmall),
                    nanosecondsPerByte(row, kLarge));
        std::fflush(stdout);
    }
    return 0;
}
