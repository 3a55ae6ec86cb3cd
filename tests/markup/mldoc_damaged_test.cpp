// What the JSON and YAML readers make of damaged documents, however their attributes are read: they end, stay inside
// the block, and fail only by their own keys.
#include <velmora/markup/mldoc.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "tests/support/damaged.h"
#include "tests/support/guard_page.h"

namespace {

using support::contains;
using support::expectInside;
using support::failureOf;

// How a walk treats the attributes of what it opens.
enum class Attributes { Unread, Iterated, IteratedTwice, LookedUp };
const Attributes policies[] = {Attributes::Unread, Attributes::Iterated, Attributes::IteratedTwice,
                               Attributes::LookedUp};

struct Document {
    MLDocBase::Format format;
    const char* text;
    std::size_t tokens;  // of the whole
};

const Document documents[] = {
    // Words and strings, escapes, lists in lists, several lists, members behind a list, trailing commas.
    {MLDocBase::JSON,
     "{\r\n\t\"a\" : 1, \"b\": \"x\\\"y\\\\\", \"c d\": -1.5e+3,\"\":\"\",\n"
     "  \"list\": [ {\"k\": true, \"sub\": [{\"n\":\"\xC3\xA4\"}, {}, {\"z\":null,}]}, {}\n, ],\n"
     "  \"other\": [{\"v\":\"[{]}:,\"}], \"none\":[], \"late\": \"behind\"\n}\n",
     14},
    // A member of the root that is an object.
    {MLDocBase::JSON, "{\"version\":\"2\",\"settings\":{\"user\":\"Ann\",\"rows\":[{\"w\":80},{\"w\":90}]}}", 8},
    // All kinds of values, lists in lists, several lists, blank lines, blanks around colons.
    {MLDocBase::YAML,
     "---\r\ntitle: demo\nq : \"a\\\"b\\\\ c\"\n\nsingle:  'it'x'  \n"
     "items:\n- id: 1\n  size: -2 # 3\n  sub:\n  - n: \"two\nlines\"\n  - n: ''\n    m: x:y\n\t\n- id: 3\nother:\r\n- "
     "v: \xC3\xA4\r\n",
     12},
    // A wide indent, and an end of line that is missing.
    {MLDocBase::YAML, "---\nlist:\n  - a: 1\n    b: 2\n    in:\n      - c: '3'\n      - c: 4\n  - a: 5", 10},
};

struct Opened {
    std::string name;
    int level;
    bool operator==(const Opened& other) const { return name == other.name && level == other.level; }
};

// Puts the document where detection leaves it. Returns: the key by which it is refused.
std::string restart(MLDoc& doc) {
    doc.position = 0;
    doc.cachedLine = doc.cachedColumn = 1;
    doc.cachedOffset = 0;
    doc.format = MLDocBase::Unknown;
    return failureOf([&] { doc.guessFormat(nullptr); });
}

void readAttributes(MLDoc& doc, const MLDoc::Token& token, std::set<std::string>& decodeFailures) {
    MLDoc::AttributeIterator attributes(&doc, token);
    MLDoc::Attribute attribute;
    while (attributes(attribute)) {
        expectInside(doc, attribute.name);
        // The first line of a YAML item may have no value, and then says nothing of one.
        if (doc.format == MLDocBase::YAML && doc.yamlValueKind == 0) continue;
        expectInside(doc, attribute.value);
        std::string out;
        const std::string failure = failureOf([&] { doc.convertEscape(attribute.value, out); });
        if (!failure.empty()) decodeFailures.insert(failure);
    }
}

// Steps to the end or to the failure, whose key is returned.
std::string walk(MLDoc& doc, Attributes policy, std::vector<Opened>& opened) {
    std::set<std::string> decodeFailures;
    std::size_t steps = 0;
    const std::string failure = failureOf([&] {
        MLDoc::Token token;
        while (doc.step(token)) {
            ASSERT_LT(++steps, 2u * doc.length + 4) << "does not end";
            ASSERT_LE(doc.position, doc.length);
            ASSERT_GE(token.level, 0);
            if (token.name.begin) expectInside(doc, token.name);  // the root may have none
            expectInside(doc, token.body);
            EXPECT_NE(token.opening, token.closing);
            EXPECT_EQ(0, token.kind);
            if (!token.opening) continue;
            opened.push_back(Opened{token.name.std(), token.level});
            switch (policy) {
                case Attributes::Unread:
                    break;
                case Attributes::IteratedTwice:
                    readAttributes(doc, token, decodeFailures);
                    [[fallthrough]];
                case Attributes::Iterated:
                    readAttributes(doc, token, decodeFailures);
                    break;
                case Attributes::LookedUp:
                    doc.getAttributeBool(token, "b");
                    doc.getAttributeBool(token, "nothing");
                    break;
            }
            ASSERT_LE(doc.position, doc.length);
        }
        // Nothing more comes of an end.
        MLDoc::Token again = token;
        EXPECT_FALSE(doc.format == MLDocBase::YAML && doc.step(again));
    });
    for (const std::string& key : decodeFailures) EXPECT_EQ("LCA__Unsupported_escape_sequence", key);
    EXPECT_TRUE(failure.empty() || contains(support::walkKeys(doc.format), failure)) << failure;
    EXPECT_LE(doc.position, doc.length);
    int line = 0, column = 0;
    doc.getPosition(line, column);
    EXPECT_LE(1, line);
    EXPECT_LE(1, column);
    return failure;
}

// Nested iterators, which have an end of their own.
void walkNested(MLDoc& doc, MLDoc::Token& token, Attributes policy, std::set<std::string>& decodeFailures) {
    MLDoc::ChildIterator items(&doc, token);
    while (items()) {
        ASSERT_LE(doc.position, doc.length);
        if (policy == Attributes::Iterated) readAttributes(doc, token, decodeFailures);
        if (policy == Attributes::LookedUp) doc.getAttributeBool(token, "k");
        if (token.level < 100) walkNested(doc, token, policy, decodeFailures);
    }
}

// Every walk there is. Returns: how stepping without attributes ended.
std::string expectSaneWalks(MLDoc& doc) {
    std::string plain;
    std::vector<Opened> all;
    for (Attributes policy : policies) {
        SCOPED_TRACE("policy " + std::to_string(static_cast<int>(policy)));
        EXPECT_EQ("", restart(doc));
        std::vector<Opened> opened;
        const std::string failure = walk(doc, policy, opened);
        if (policy == Attributes::Unread) {
            plain = failure;
            all = opened;
        }
        // Attributes that are read once change nothing of what a good document holds.
        EXPECT_TRUE(policy != Attributes::Iterated || !plain.empty() || !failure.empty() || all == opened);

        if (policy == Attributes::IteratedTwice) continue;
        EXPECT_EQ("", restart(doc));
        std::set<std::string> decodeFailures;
        MLDoc::Token token;
        const std::string nested = failureOf([&] { walkNested(doc, token, policy, decodeFailures); });
        EXPECT_TRUE(nested.empty() || nested == "LCA__Closing_tag_not_found" ||
                    contains(support::walkKeys(doc.format), nested))
            << nested;
        EXPECT_LE(doc.position, doc.length);
    }
    return plain;
}

}  // namespace

TEST(MLDocDamaged, GoodDocumentsAreGood) {
    for (const Document& document : documents) {
        SCOPED_TRACE(document.text);
        support::GuardedDocument guarded(document.text);
        ASSERT_EQ("", restart(guarded.doc));
        EXPECT_EQ(document.format, guarded.doc.format);
        EXPECT_EQ("", expectSaneWalks(guarded.doc));
        for (Attributes policy : {Attributes::Unread, Attributes::Iterated}) {
            ASSERT_EQ("", restart(guarded.doc));
            std::vector<Opened> opened;
            EXPECT_EQ("", walk(guarded.doc, policy, opened));
            EXPECT_EQ(document.tokens, 2 * opened.size());
        }
    }
}

TEST(MLDocDamaged, EveryPrefixOpensWhatTheWholeOpens) {
    for (const Document& document : documents) {
        const std::string text = document.text;
        std::vector<Opened> whole;
        {
            support::GuardedDocument guarded(text);
            ASSERT_EQ("", restart(guarded.doc));
            ASSERT_EQ("", walk(guarded.doc, Attributes::Unread, whole));
        }
        std::size_t most = 0;
        for (std::size_t cut = 0; cut < text.size(); ++cut) {
            SCOPED_TRACE("cut at " + std::to_string(cut) + ": " + text.substr(0, cut));
            support::GuardedDocument guarded(text.substr(0, cut));
            const std::string refusal = restart(guarded.doc);
            if (cut < 3) {
                EXPECT_EQ("LCA__Too_short_file", refusal);
                continue;
            }
            ASSERT_EQ("", refusal);
            std::vector<Opened> opened;
            const std::string failure = walk(guarded.doc, Attributes::Unread, opened);
            ASSERT_LE(opened.size(), whole.size());
            EXPECT_TRUE(std::equal(opened.begin(), opened.end(), whole.begin()));
            most = std::max(most, opened.size());
            // JSON tells by its last brace that it is whole.
            if (document.format == MLDocBase::JSON && failure.empty()) {
                MLDoc::Token token;
                ASSERT_EQ("", restart(guarded.doc));
                while (guarded.doc.step(token)) {
                }
                EXPECT_EQ(text.find_last_of('}') + 1 <= cut, token.level == 0);
            }
            expectSaneWalks(guarded.doc);
        }
        EXPECT_EQ(whole.size(), most);
    }
}

TEST(MLDocDamaged, EveryByteMayBeChanged) {
    for (const Document& document : documents) {
        SCOPED_TRACE(document.text);
        const std::string text = document.text;
        support::GuardedDocument guarded(text);
        MLDoc& doc = guarded.doc;
        int walked = 0, failed = 0;
        for (std::size_t at = 0; at < text.size(); ++at) {
            for (unsigned char byte : support::kNastyBytes) {
                ASSERT_FALSE(HasFailure()) << "behind byte " << at << " changed to " << int{byte};
                std::memcpy(doc.buffer, text.data(), text.size());
                doc.buffer[at] = static_cast<char>(byte);
                const std::string refusal = restart(doc);
                if (!refusal.empty()) {
                    EXPECT_TRUE(contains(support::detectionKeys(), refusal) ||
                                contains(support::walkKeys(MLDocBase::XML), refusal))
                        << refusal;
                    continue;
                }
                if (doc.format != document.format) continue;
                ++walked;
                if (!expectSaneWalks(doc).empty()) ++failed;
            }
        }
        EXPECT_LT(300, failed);
        EXPECT_LT(300, walked - failed);
    }
}
