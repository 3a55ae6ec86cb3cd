// What the readers take by windows against the plain routines, in blocks that end at a page that cannot be read.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tests/support/guard_page.h"
#include "tests/support/reader_twins.h"

namespace {

constexpr std::size_t kMost = 4096;

// Reads a document with all attributes, also after failures, in two blocks that end where their guarded bytes do.
class Readers {
public:
    ::testing::AssertionResult agreeOn(const std::string& text) {
        if (text.size() > kMost) return ::testing::AssertionFailure() << "too long";
        char* const fast = fast_.end() - text.size();
        char* const plain = plain_.end() - text.size();
        std::copy(text.begin(), text.end(), fast);
        std::copy(text.begin(), text.end(), plain);
        support::ReaderTwins twins(fast, plain, text.size());
        if (twins.begin()) {
            for (int failures = 0; failures < 2 && twins.difference().empty();) {
                if (twins.step()) {
                    ++delivered_;
                } else {
                    ++failures;
                }
                if (!twins.token().body.begin) continue;
                twins.moveToAttributes();
                while (twins.attribute()) ++delivered_;
                twins.passAttributes();
            }
        }
        if (twins.difference().empty()) return ::testing::AssertionSuccess();
        return ::testing::AssertionFailure() << text << "\n" << twins.difference();
    }
    long delivered() const { return delivered_; }

private:
    support::GuardedBytes fast_{std::string(kMost, ' ')};
    support::GuardedBytes plain_{std::string(kMost, ' ')};
    long delivered_ = 0;
};

struct Shape {
    const char* title;
    const char* before;  // the name
    const char* between;
    const char* after;  // the value
};

// Documents about one name and one value.
const Shape shapes[] = {
    {"first attribute", "<a ", "=\"", "\">"},
    {"later attribute", "<a x=\"1\"\r\n\t", "=\"", "\"/>"},
    {"attributes side by side", "<a x=\"1\"", "=\"", "\"y=\"2\"/>"},
    {"white space at the equals sign", "<a x=\"1\" ", " = \"", "\" >"},
    {"start tag", "<x/>text<", " b=\"", "\"><c/>"},
    {"self-closed tag and text", "<", "/>", "<b/>"},
    {"end tag", "<a></", ">", "</b>"},
    {"comment", "<a/><!--", "-->", "<b c=\"d\"/>"},
    {"member", "{\"", "\": \"", "\"}"},
    {"later member", "{\"x\": 1,\r\n        \"", "\":\"", "\", \"y\": true}"},
    {"escape in a value", "{\"", "\": \"", "\\\"\"}"},
    {"word", "{\n\"", "\": 1", ", \"y\":2}"},
    {"list", "{\"", "\": [ {\"x\": \"", "\"}, {}], \"o\": {}}"},
    {"object", "{\"", "\": {\"x\": \"", "\"} }"},
    {"line", "---\n", ": 1", "\nx: 2\n"},
    {"item", "---\na:\n- ", ": b", "\r\n  x: 2\r\n- y: z\n"},
    {"quoted value", "---\n", ": \"", "\"\nx: 'y'\n"},
    {"colons in a value", "---\n", ": a:b", ":c\nx: 'y'\n"},
    {"list of items", "---\nx: 1\n", ":\n    - b: c", "\n      d: e\n      f:\n        - g: h\n"},
};

std::string name(int n) { return std::string(static_cast<std::size_t>(n), 'n'); }
std::string value(int n) {
    std::string text;
    while (static_cast<int>(text.size()) < n) text += "value \xC3\xA9 ";
    text.resize(static_cast<std::size_t>(n));
    return text;
}

// What follows a document decides where its last window fits, and how its bytes are aligned.
std::string tail(int n) { return std::string(static_cast<std::size_t>(n), '\n'); }

class Windows : public ::testing::TestWithParam<Shape> {
protected:
    Readers readers;

    std::string text(const std::string& n, const std::string& v) const {
        return GetParam().before + n + GetParam().between + v + GetParam().after;
    }
};

TEST_P(Windows, AgreeForEveryLength) {
    std::vector<int> names;
    for (int n = 0; n <= 40; ++n) names.push_back(n);
    for (int n = 509; n <= 512; ++n) names.push_back(n);
    for (int n : names) {
        for (int v = 0; v <= 70; ++v) {
            for (int end : {0, 33 + (n + v) % 16}) ASSERT_TRUE(readers.agreeOn(text(name(n), value(v)) + tail(end)));
        }
    }
    EXPECT_LT(100, readers.delivered());
}

TEST_P(Windows, AgreeAtEveryEnd) {
    for (int n : {1, 5, 13, 14, 15, 30}) {
        for (int v : {0, 1, 9, 30, 50}) {
            const std::string whole = text(name(n), value(v));
            for (int end = 0; end <= 40; ++end) ASSERT_TRUE(readers.agreeOn(whole + tail(end)));
            for (std::size_t cut = 3; cut < whole.size(); ++cut) ASSERT_TRUE(readers.agreeOn(whole.substr(0, cut)));
        }
    }
}

TEST_P(Windows, AgreeForEveryByteAtEveryPlace) {
    const std::string whole = text(name(3), value(9)) + tail(40);
    for (std::size_t place = 1; place + 40 < whole.size(); ++place) {
        for (int c = 0; c < 256; ++c) {
            std::string changed = whole;
            changed[place] = static_cast<char>(c);
            ASSERT_TRUE(readers.agreeOn(changed));
        }
    }
}

TEST_P(Windows, AgreeForEveryWhiteSpace) {
    for (char c : {' ', '\t', '\n', '\r', '\v', '\f', '\x01'}) {
        for (int n = 0; n <= 70; ++n) {
            const std::string white(static_cast<std::size_t>(n), c);
            ASSERT_TRUE(readers.agreeOn(text(white + name(4), value(9)) + tail(40)));
            ASSERT_TRUE(readers.agreeOn(text(name(4) + white, value(9)) + tail(40)));
            ASSERT_TRUE(readers.agreeOn(text(name(4), white + value(9)) + tail(40)));
            ASSERT_TRUE(readers.agreeOn(text(name(4), value(9) + white) + tail(40)));
            ASSERT_TRUE(readers.agreeOn(text("\r\n" + white + name(4), value(9) + "\r\n") + tail(40)));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(MLDoc, Windows, ::testing::ValuesIn(shapes), [](const auto& row) {
    std::string title;
    for (const char* c = row.param.title; *c; ++c) {
        if (*c >= 'a' && *c <= 'z') title += *c;
    }
    return title;
});

}  // namespace
