// What the XML reader makes of damaged documents: it ends, stays inside the block, and fails only by its own keys.
#include <velmora/markup/mldoc.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include <velmora/localization/keys.h>

#include "tests/support/damaged.h"
#include "tests/support/guard_page.h"
#include "tests/support/message.h"

namespace {

using support::contains;
using support::expectInside;
using support::failureOf;

const std::vector<std::string>& goodDocuments() {
    static const std::vector<std::string> documents = {
        // A declaration, nesting, attributes in all spellings, comments and text.
        "<?xml version=\"1.0\" encoding=\"Windows-1251\"?>\r\n"
        "<!-- head -->\n"
        "<list count=\"2\" note = \"a &gt; b\">\n"
        "\t<item id=\"1\"name=\"x>y\"/>\n"
        "\t<item id=\"2\" flag=\"true\">text &amp; more</item>\n"
        "\t<empty></empty><!----><deep><deeper a=\"\"/></deep>\n"
        "</list>\n",
        // A byte-order mark, several outermost items, an instruction in the middle, UTF-8, control bytes in values.
        "\xEF\xBB\xBF<a.b:c-d_1 />"
        "<!DOCTYPE x [ <a> ] -->"
        "<b t=\"1\t2\r\n3\" u=\"\xC3\xA4'/>\"\t/><?pi q=\"?>\" ?>"
        "<c></d>\xE2\x82\xAC > \" ' <e f=\"\r\ng\r\n\" / ></e >",
        // Deep, and closed by names that do not match.
        "<1><2><3><4 x=\"y\"><5/></a></b></c></d x=\">\">",
    };
    return documents;
}

const std::set<std::string>& readerKeys() { return support::walkKeys(MLDocBase::XML); }

// One token and all its attributes, each of which must lie inside the block.
struct Span {
    std::uint32_t begin;
    std::uint32_t end;
    int kind;
    int level;
};

// Steps through the document. Attributes that fail end the list of their tag and are remembered; a failed step leaves.
void walkSteps(MLDoc& doc, std::vector<Span>& spans, std::set<std::string>& attributeFailures) {
    MLDoc::Token token;
    std::uint32_t before = doc.position;
    while (doc.step(token)) {
        EXPECT_LT(before, doc.position);
        before = doc.position;
        expectInside(doc, token.body);
        EXPECT_EQ(doc.buffer + doc.position, token.body.end);
        if (token.kind == 0) {
            expectInside(doc, token.name);
            EXPECT_LT(token.name.begin, token.name.end);
        }
        const auto begin = static_cast<std::uint32_t>(token.body.begin - doc.buffer);
        spans.push_back(Span{begin, doc.position, token.kind, token.level});
        const std::string failure = failureOf([&] {
            MLDoc::AttributeIterator attributes(&doc, token);
            MLDoc::Attribute attribute;
            while (attributes(attribute)) {
                expectInside(doc, attribute.name);
                expectInside(doc, attribute.value);
                for (const char* p = attribute.value.begin; p != attribute.value.end; ++p) {
                    EXPECT_GE(static_cast<unsigned char>(*p), 0x20);
                }
            }
        });
        if (!failure.empty()) attributeFailures.insert(failure);
        EXPECT_EQ(before, doc.position);
    }
    EXPECT_EQ(doc.length, doc.position);
}

// Walks by nested iterators, asking each item for an attribute and trying its content first.
void walkNested(MLDoc& doc, MLDoc::Token& token) {
    MLDoc::ChildIterator items(&doc, token);
    while (items()) {
        expectInside(doc, token.name);
        doc.getAttributeBool(token, "flag");
        MLDoc::Token copy = token;
        const std::uint32_t position = doc.position;
        const std::string failure = failureOf([&] { expectInside(doc, doc.content(copy)); });
        if (failure.empty()) {
            token = copy;
            continue;
        }
        EXPECT_TRUE(failure == "LCA__Pair_token_not_found" || contains(readerKeys(), failure)) << failure;
        doc.position = position;
        walkNested(doc, token);
    }
}

void startAgain(MLDoc& doc, std::uint32_t position) {
    doc.position = position;
    doc.cachedLine = doc.cachedColumn = 1;
    doc.cachedOffset = 0;
}

// Reads the document in every way, from where its format has been told on. Returns: how stepping ended.
std::string expectSaneWalks(MLDoc& doc) {
    const std::uint32_t start = doc.position;
    std::vector<Span> spans;
    std::set<std::string> attributeFailures;
    const std::string stepFailure = failureOf([&] { walkSteps(doc, spans, attributeFailures); });
    EXPECT_TRUE(stepFailure.empty() || contains(readerKeys(), stepFailure)) << stepFailure;
    for (const std::string& failure : attributeFailures) EXPECT_TRUE(contains(readerKeys(), failure)) << failure;
    EXPECT_LE(doc.position, doc.length);

    int line = 0, column = 0;
    doc.getPosition(line, column);
    EXPECT_LE(1, line);
    EXPECT_LE(1, column);

    startAgain(doc, start);
    MLDoc::Token token;
    const std::string nestedFailure = failureOf([&] { walkNested(doc, token); });
    EXPECT_TRUE(nestedFailure.empty() || nestedFailure == "LCA__Closing_tag_not_found" ||
                contains(readerKeys(), nestedFailure))
        << nestedFailure;
    EXPECT_LE(doc.position, doc.length);
    return stepFailure;
}

}  // namespace

TEST(MLDocXmlRobust, GoodDocumentsAreGood) {
    xml_char_classes_prepare();
    static const std::size_t tokens[] = {12, 8, 9};
    for (std::size_t i = 0; i < goodDocuments().size(); ++i) {
        SCOPED_TRACE(i);
        support::GuardedDocument guarded(goodDocuments()[i]);
        guarded.doc.guessFormat(nullptr);
        const std::uint32_t start = guarded.doc.position;
        EXPECT_EQ("", expectSaneWalks(guarded.doc));
        startAgain(guarded.doc, start);
        std::vector<Span> spans;
        std::set<std::string> failures;
        walkSteps(guarded.doc, spans, failures);
        EXPECT_EQ(tokens[i], spans.size());
        ASSERT_FALSE(spans.empty());
        EXPECT_EQ(0, spans.back().level);
    }
}

TEST(MLDocXmlRobust, EveryPrefixEndsWhereItIsCut) {
    xml_char_classes_prepare();
    for (std::size_t i = 0; i < goodDocuments().size(); ++i) {
        const std::string& text = goodDocuments()[i];
        // The tags of the whole document tell what each prefix must come to.
        std::vector<Span> spans;
        std::uint32_t first;
        {
            support::GuardedDocument whole(text);
            whole.doc.guessFormat(nullptr);
            first = whole.doc.position;
            std::set<std::string> failures;
            walkSteps(whole.doc, spans, failures);
        }
        const std::uint32_t mark = text[0] == '<' ? 0 : 3;
        for (std::uint32_t cut = 0; cut <= text.size(); ++cut) {
            SCOPED_TRACE("document " + std::to_string(i) + " cut at " + std::to_string(cut));
            support::GuardedDocument guarded(text.substr(0, cut));
            MLDoc& doc = guarded.doc;
            const std::string refusal = failureOf([&] { doc.guessFormat(nullptr); });
            if (cut < mark + 3) {
                EXPECT_EQ("LCA__Too_short_file", refusal);
                continue;
            }
            if (cut < first) {
                EXPECT_EQ("LCA__XML_tag_is_not_finished", refusal);
                continue;
            }
            ASSERT_EQ("", refusal);
            EXPECT_EQ(first, doc.position);

            std::string expected;
            int depth = 0;
            for (const Span& span : spans) {
                if (cut >= span.end) {
                    depth = span.level;
                } else if (cut > span.begin) {
                    const bool comment = span.kind == 2 && cut > span.begin + 1;
                    expected = comment ? "LCA__XML_comment_is_not_finished" : "LCA__XML_tag_is_not_finished";
                }
            }
            std::vector<Span> seen;
            std::set<std::string> failures;
            EXPECT_EQ(expected, failureOf([&] { walkSteps(doc, seen, failures); }));
            EXPECT_EQ(cut, doc.position);

            startAgain(doc, first);
            MLDoc::Token token;
            const std::string nested = failureOf([&] {
                MLDoc::ChildIterator items(&doc, token);
                while (items()) {
                    MLDoc::ChildIterator inner(&doc, token);
                    while (inner()) {
                    }
                }
            });
            EXPECT_EQ(expected.empty() && depth > 0 ? "LCA__Closing_tag_not_found" : expected, nested);
            startAgain(doc, first);
            EXPECT_EQ(expected, expectSaneWalks(doc));
        }
    }
}

TEST(MLDocXmlRobust, EveryByteMayBeChanged) {
    xml_char_classes_prepare();
    int walked = 0, failed = 0;
    for (std::size_t i = 0; i < goodDocuments().size(); ++i) {
        const std::string& text = goodDocuments()[i];
        support::GuardedDocument guarded(text);
        MLDoc& doc = guarded.doc;
        for (std::size_t at = 0; at < text.size(); ++at) {
            SCOPED_TRACE("document " + std::to_string(i) + ", byte " + std::to_string(at));
            for (unsigned char byte : support::kNastyBytes) {
                ASSERT_FALSE(HasFailure()) << "with the byte before " << int{byte};
                std::memcpy(doc.buffer, text.data(), text.size());
                doc.buffer[at] = static_cast<char>(byte);
                startAgain(doc, 0);
                doc.format = MLDocBase::Unknown;
                const std::string refusal = failureOf([&] { doc.guessFormat(nullptr); });
                if (!refusal.empty()) {
                    EXPECT_TRUE(contains(readerKeys(), refusal) || contains(support::detectionKeys(), refusal))
                        << refusal;
                    continue;
                }
                if (byte == '{' && doc.format == MLDocBase::JSON) continue;  // no longer a document of this reader
                ASSERT_EQ(MLDocBase::XML, doc.format);
                ++walked;
                if (!expectSaneWalks(doc).empty()) ++failed;
            }
        }
    }
    // Many a change makes a document that is read to its end, and many another does not.
    EXPECT_LT(1000, failed);
    EXPECT_LT(1000, walked - failed);
}

TEST(MLDocXmlRobust, MillionOpenElementsNeedOneToken) {
    const int count = 1'000'000;
    std::string text;
    text.reserve(7 * static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) text += "<a>";
    for (int i = 0; i < count; ++i) text += "</a>";
    MLDoc doc;
    doc.load("deep.xml", text.data(), static_cast<int>(text.size()));
    MLDoc::Token token;
    int wrong = 0;
    for (int i = 1; i <= count; ++i) wrong += !doc.step(token) || token.level != i;
    EXPECT_EQ(3u * count, doc.position);
    for (int i = 1; i <= count; ++i) wrong += !doc.step(token) || token.level != count - i;
    EXPECT_EQ(0, wrong);
    EXPECT_FALSE(doc.step(token));
    EXPECT_EQ(7u * count, doc.position);

    // The root passes over all of it by depth, and so does the outermost item.
    doc.load("deep.xml", text.data(), static_cast<int>(text.size()));
    MLDoc::Token walk;
    MLDoc::ChildIterator items(&doc, walk);
    ASSERT_TRUE(items());
    EXPECT_FALSE(items("b"));
    EXPECT_EQ(7u * count, doc.position);

    // Without the end tags the root ends, and the item does not.
    doc.load("open.xml", text.data(), 3 * count);
    MLDoc::Token open;
    MLDoc::ChildIterator roots(&doc, open);
    ASSERT_TRUE(roots());
    MLDoc::ChildIterator children(&doc, open);
    ASSERT_TRUE(children());
    EXPECT_THROW_KEY(children(), LCA__Closing_tag_not_found);
    EXPECT_EQ(3u, doc.position);
    EXPECT_FALSE(roots());
    EXPECT_EQ(3u * count, doc.position);
}
