// One pull reader for XML, JSON and YAML: the document lies in one block, a stepper moves a cursor through it, and
// the caller pulls a token at a time. Names and values are views into the block, as they stand there; convertEscape
// decodes them. There is no tree and no callback.
//
//     MLDoc doc;
//     doc.load("settings.xml");
//     MLDoc::Token token;
//     MLDoc::ChildIterator items(&doc, token);
//     while (items("item")) {
//         MLDoc::Attribute attribute;
//         MLDoc::AttributeIterator attributes(&doc, token);
//         while (attributes(attribute)) use(attribute.name, attribute.value);
//     }
//
// What is read is deliberately small. XML: tags, attributes in double quotes, comments and declarations; no DTD, no
// CDATA, no namespaces, no entity but the five, and an end tag's name is not compared with anything. JSON: an object is
// a token, its strings and words are attributes, its arrays hold child objects. YAML: "key: value" lines and lists of
// records.
// Warning: JSON and YAML are read from the stream itself. Read a token's attributes in one pass and before its
// children; attributes after a child list are passed over (JSON) or refused (YAML).
//
// Failure: a malformed document throws a TTT that holds the key alone. Call formMessage to add file and place; the
// walk is not resumed. Lifetime: views stay valid until release, steal, the next load or destruction.
// Threads: a document, its tokens and its iterators belong to one thread at a time: reading attributes writes into the
// block, and getPosition and formMessage, though const, write a memo. Different documents are independent, from the
// first load on.
#ifndef VELMORA_MARKUP_MLDOC_H
#define VELMORA_MARKUP_MLDOC_H

#include <cstdint>
#include <string>

#include <velmora/base.h>
#include <velmora/containers/vectors.h>
#include <velmora/text/charr.h>
#include <velmora/text/chpair.h>

class Bag;
class CharVector;
class MLDoc;
class TTT;
struct PairTag;

namespace velmora::detail {
void willBlank(const MLDoc& doc, const char* c);
}  // namespace velmora::detail

class VELMORA_API MLDocBase {
public:
    enum Format {
        XML = 0,
        JSON = 1,
        YAML = 2,
        Unknown = 3,  // nothing has been loaded
        HTML = 5,     // only written; escapes are those of XML
        CSV = 6       // only written
    };

    static const char* const formatName[3];  // of XML, JSON and YAML, by value
};

class VELMORA_API MLDoc : public MLDocBase {
public:
    // Bounds of names in XML: a tag's may have 510 bytes, an attribute's 511.
    static const std::uint64_t TokenNameMax = 512;
    static const std::uint64_t AttributeNameMax = 512;

    // The cursor of a walk, owned by the caller. One token serves a whole walk. Warning: after a failure
    // do not use its views: one may have a new begin and an old end.
    struct VELMORA_API Token {
        ChPair name;           // not set for comments and declarations: the previous name stays
        ChPair body;           // XML: the tag, '<' to '>'. A null begin marks a token that was never stepped
        int kind = 0;          // 0 ordinary; 1 XML declaration; 2 XML comment or other "<!" construct
        int level = 0;         // depth after this token
        bool opening = false;  // begins an element
        bool closing = false;  // ends an element; both: a self-closed one, XML only
    };

    struct VELMORA_API Attribute {
        ChPair name;
        ChPair value;

        operator const ChPair&() const { return value; }
    };

    // Delivers the direct children of a token, or the outermost tokens when the token was never stepped. Everything
    // deeper is passed over, so a child need not be walked, and an inner walk may be left early.
    class VELMORA_API ChildIterator {
    public:
        int level;                    // depth at which children are sought; negative when the walk is over
        std::uint32_t startPosition;  // where the parent's inside starts
        Token* token;                 // not owned
        MLDoc* doc;                   // not owned

        ChildIterator(MLDoc* document, Token& parent);

        // Steps to the next child (of this name). Returns: false behind the last.
        // Throws: LCA__Closing_tag_not_found at the end of the document inside an element, with the document's
        // position moved back to where that element starts.
        bool operator()();
        bool operator()(const ChPair& name);
        bool operator()(const char* name) { return (*this)(ChPair(name)); }
    };

    // Delivers the attributes of a token. For XML the destructor puts the cursor behind the tag.
    // Warning: also while a failure passes through; a place that formMessage tells behind it is that of the tag's end.
    class VELMORA_API AttributeIterator {
    public:
        MLDoc* doc;          // not owned
        const Token* token;  // not owned

        AttributeIterator(MLDoc* document, const Token& owner);
        ~AttributeIterator();

        bool operator()(Attribute& attribute);
        bool operator()(Attribute& attribute, const ChPair& name);
        bool operator()(Attribute& attribute, const char* name) { return (*this)(attribute, ChPair(name)); }
    };

    std::uint32_t length;            // bytes in `buffer`
    std::uint32_t position;          // offset of the next unread byte
    char* buffer;                    // owned, exactly `length` bytes, no terminator; attributes are blanked in it
    ChArr fileName;                  // the name given to load, for messages
    SimpleVector<ChPair> openNames;  // JSON and YAML: names of the open levels
    mutable int cachedLine;          // memo of getPosition
    mutable int cachedColumn;
    mutable std::uint32_t cachedOffset;
    Format format;
    int codePage;  // 8 for UTF-8, 1251 for windows-1251 as declared; nothing is converted

private:
    mutable std::uint32_t countedMemo_;  // seal of the memo that counts the block as it is; in a gap between the fields

public:
    ChPair yamlRest;     // YAML: the current line while it is read, then the first byte behind it
    ChPair yamlName;     // YAML: key of the current line
    ChPair yamlValue;    // YAML: its value
    char yamlValueKind;  // YAML: 0 none, 'q' double-quoted, 'a' single-quoted, 's' plain
    bool yamlItem;       // YAML: the line began with "- "
    int yamlLevel;       // YAML: the line's indent in units
    int yamlIndentUnit;  // YAML: spaces of one level; 0 until it is known
    int yamlState;       // YAML: state of the stepper

    MLDoc();
    // Warning: copies share the block, and both objects would release it.
    MLDoc(const MLDoc&) = default;
    MLDoc& operator=(const MLDoc&) = default;
    virtual ~MLDoc();

    // Told once per attribute whose value held control bytes, before they are blanked. Does nothing here.
    virtual void warnSuspiciousAttribute(const Token* token, const Attribute* attribute) const;

    // Read a document from a file, from a copy of memory, or from a Bag, which is left empty. Limit: 100,000,000
    // bytes; a negative `size` is above it. Names and data may be parts of what the document holds. After a steal use a
    // fresh object: release does not reset the cursor when there is no block.
    // Throws: LCA__Too_big_file, LCA__Too_short_file, LCA__UTF_16_BOM_is_not_supported, LCA__Unknown_text_format,
    // LCA__Specified_encoding_is_not, the failures of UTF8File::load and, bare, of what stands in an XML declaration.
    void load(const char* path);
    void load(const char* name, const char* data, int size);
    void load(const char* name, Bag& bag);
    void release();
    // Owns: the caller, by delete[]. `size` is the length in bytes.
    char* steal(int& size);

    // Sets the format from the first bytes, and the position behind what declares it. Called by load.
    void guessFormat(const char* name);

    // The next token, or the next attribute of a token. Returns: false at the end.
    bool step(Token& token);
    bool attribute(const Token& token, Attribute& attribute);
    // Offset behind the attributes of a token.
    unsigned passAttributes(const Token& token) const;

    // Line and column of the position, from 1; tab stops are 4 columns apart. Writes a memo, from which the next call
    // counts on or back: the cost is the distance, and for a place further back the line up to it.
    // Warning: bytes that a caller changes before the last place asked for are not counted again.
    // Warning: at the end of the document the answer is line 1, column 1.
    void getPosition(int& line, int& column) const;
    // Appends file name and place to a message.
    void formMessage(TTT& message) const;

    // The raw text between the tags of an XML element that holds nothing else; consumes the element.
    // Throws: LCA__Cannot_read_plain_content_for, LCA__Pair_token_not_found.
    ChPair content(Token& token);

    // The value of an attribute, null if there is none. For JSON and YAML the attributes passed on the way are gone.
    ChPair getAttributeValue(const Token& token, const ChPair& name);
    ChPair getAttributeValue(const Token& token, const char* name) { return getAttributeValue(token, ChPair(name)); }
    // Whether the value is exactly "true".
    bool getAttributeBool(const Token& token, const ChPair& name) { return getAttributeValue(token, name) == "true"; }
    bool getAttributeBool(const Token& token, const char* name) { return getAttributeBool(token, ChPair(name)); }

    // Decode a value by the document's format: the five entities of XML, or backslash sequences. Decoding never
    // lengthens. The first form needs room for the value's length and writes no terminator; it may decode a value in
    // its own place. In the others the value may be any part of `out`. A view that ends before it begins is empty.
    // Returns: bytes written.
    // Throws: LCA__Unsupported_escape_sequence; the target is then half done, but a TTT is as it was.
    // Warning: behind a backslash only '"', '\' and the raw control bytes 8, 9, 10, 12 and 13 are known, and those
    // give the letters b, t, n, f and r. A "\n" of two printable bytes is refused.
    int convertEscape(const ChPair& value, char* out) const;
    void convertEscape(const ChPair& value, CharVector& out) const;
    void convertEscape(const ChPair& value, ChArr& out) const;
    void convertEscape(const ChPair& value, std::string& out) const;
    void convertEscape(const ChPair& value, TTT& out) const;

    // Typed values of a view. Its bytes are parsed undecoded. The grammars, bounds and further keys are those of
    // ChPair's members of like names. Failures carry no place. An attribute that is missing, and an empty one,
    // is refused by each as any text that is no value; only getString and getFlags take it, as empty text and 0. For a
    // default, ask the view first.
    // Throws: LCA__Too_long_string unless the value and a terminator fit into `size` bytes.
    void getString(const ChPair& value, char* out, std::uint64_t size);
    // The forms without bounds report any failure, overflow too, as LCA__Invalid_integer_value.
    int getInt32(const ChPair& value) const;
    int getInt32(const ChPair& value, int min, int max) const { return value.parseInt(&min, &max); }
    unsigned getUInt32(const ChPair& value) const { return value.parseUInt(nullptr, nullptr); }
    unsigned getUInt32(const ChPair& value, unsigned min, unsigned max) const { return value.parseUInt(&min, &max); }
    std::int64_t getInt64(const ChPair& value) const { return value.parseInt64(nullptr, nullptr); }
    std::int64_t getInt64(const ChPair& value, std::int64_t min, std::int64_t max) const {
        return value.parseInt64(&min, &max);
    }
    std::uint64_t getUInt64(const ChPair& value) const { return value.parseUInt64(nullptr, nullptr); }
    std::uint64_t getUInt64(const ChPair& value, std::uint64_t min, std::uint64_t max) const {
        return value.parseUInt64(&min, &max);
    }
    double getDouble(const ChPair& value) const;
    double getDouble(const ChPair& value, double min, double max) const { return value.parseDouble(&min, &max); }
    // "-1" stands for infinity, 0xFFFFFFFF. Warning: any other number is cut to its low 32 bits.
    unsigned getCountOrInfinity(const ChPair& value) const {
        return static_cast<unsigned>(value.parseInt64(nullptr, nullptr));
    }
    unsigned getIP(const ChPair& value) const { return value.parseIP(); }
    std::int64_t getGMTTime(const ChPair& value) const { return value.parseGMTTime(); }
    std::int64_t getLocalTime(const ChPair& value) const { return value.parseLocalTime(); }
    std::int64_t getTime(const ChPair& value) const { return value.parseTime(); }
    unsigned getEnum(const ChPair& value, const PairTag* tags) const { return value.parseEnum(tags, 0); }
    unsigned getFlags(const ChPair& value, const PairTag* tags, int deprecated, bool strict) const {
        return value.parseFlags(tags, deprecated, strict);
    }

    // Workers of one format; step and attribute choose among them.
    bool step_xml(Token& token);
    bool attribute_xml(const Token& token, Attribute& attribute);

    // The next lexical token: 0 at the end, 'q' a quoted string, 's' a bare word, else one of , : [ ] { }. The text of
    // 'q' and 's' is stored as it stands, between the quotes.
    int get_json_token(ChPair& text);
    bool step_json(Token& token);
    bool attribute_json(const Token& token, Attribute& attribute);

    // Reads one line ahead into the yaml fields. Returns: false at the end.
    bool get_yaml_line();
    bool step_yaml(Token& token);
    void step_yaml_open_token(Token& token);
    void step_yaml_close_token(Token& token);
    bool step_yaml_finalize(Token& token);
    bool attribute_yaml(const Token& token, Attribute& attribute);

private:
    struct Place;
    friend void velmora::detail::willBlank(const MLDoc& doc, const char* c);

    void readDeclaration(const char* name);
};

// Does nothing: the table of character classes for XML is a constant.
VELMORA_API void xml_char_classes_prepare();

#endif
