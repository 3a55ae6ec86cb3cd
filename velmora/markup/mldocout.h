// One streaming writer for five text forms: the same calls write an item as an XML element, a JSON object, a YAML
// record, an HTML table row or a CSV line. It holds no tree and no text; bytes go to a sink at once.
//
//     MLDocOut::BagWriter sink;
//     MLDocOut out(MLDocBase::JSON);
//     out.begin(sink);
//     out.beginItem("settings");
//     out.writeStrAttr("user", "Ann");
//     out.writeIntAttr("width", 80);
//     out.endItem("settings");
//     out.end();
//
// Lines end in CR LF on every system until setEOLN says otherwise. Values with control bytes do not come back as they
// were: XML reads them as blanks, JSON and YAML write \n and its like, which MLDoc does not decode. A cell of CSV
// is written in double quotes with the escapes of JSON.
// Order within an item: attributes, then children or (XML) content. A document has one root item; the row forms take
// any number. Names go out as they stand. Limit: what is written around a name is cut to 4,096 bytes.
// Warning: in compact JSON a child behind an attribute still starts a line. In CSV, the separator of an item crosses
// into the one nested in it. A second JSON document after end starts with the last root's name as its sibling.
// Failure: a TTT by key; the document is then to be abandoned. Failures of a sink pass through.
// Threads: one at a time for a writer and its sink.
#ifndef VELMORA_MARKUP_MLDOCOUT_H
#define VELMORA_MARKUP_MLDOCOUT_H

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>

#include <velmora/base.h>
#include <velmora/files/utf8file.h>
#include <velmora/markup/mldoc.h>
#include <velmora/serial/bag.h>
#include <velmora/text/charvector.h>
#include <velmora/text/chpair.h>

class ChArr;
class TTT;
struct PairTag;

class VELMORA_API MLDocOut : public MLDocBase {
public:
    // Where the bytes go. Neither this class nor the two sinks have a virtual destructor: own a sink by its own type,
    // as a variable or by std::unique_ptr<BagWriter>, and never delete one through Writer, UTF8File or Bag.
    class VELMORA_API Writer {
    public:
        virtual void write_doc(const char* data, int size) = 0;
        virtual void end_doc();

    protected:
        ~Writer() = default;
    };

    // Writes a file; end_doc flushes and closes it. The object throws its failures.
    class VELMORA_API FileWriter : public Writer, public UTF8File {
    public:
        FileWriter() : UTF8File(true) {}
        explicit FileWriter(const char* path);

        void write_doc(const char* text, int n) override;
        void end_doc() override;
    };

    // Collects the document in a Bag. Names and texts that are written may be parts of that Bag. A class derived from
    // this one gets every byte through its write_doc.
    class VELMORA_API BagWriter : public Writer, public Bag {
    public:
        void write_doc(const char* text, int n) override;
    };

    // What to write for a byte, and its length; null for a byte that stays as it is.
    using Escape = const char* (*)(char c, int& length);

    // Bits of `state`.
    enum State {
        CompactMode = 0x01,     // no line per attribute
        TagOpen = 0x02,         // XML: the '>' of a start tag is still to come
        InContent = 0x04,       // XML: the item has taken content
        AttributesOpen = 0x08,  // attributes may be written
        NeedSeparator = 0x10    // something stands in the item that the next entry is separated from
    };

    int depth;            // open items
    int indent;           // indentation level
    int state;            // bits of State
    const char* eoln;     // line end, not owned
    int tabSize;          // spaces per level; below 1: one tab per level
    Writer* writer;       // not owned; null before begin
    Format format;        // XML, JSON, YAML, HTML or CSV
    Escape escape;        // for values
    CharVector fill;      // indentation, as long as the deepest so far
    CharVector lastName;  // JSON and YAML: name of the sibling that was closed last

    explicit MLDocOut(Format form = XML);

    // Sets the form with its tab size (0 for XML, else 2) and escapes. Requires: before begin.
    void setFormat(Format form);
    Format getFormat() const { return format; }
    void setCompactMode(bool on);
    // The pair nests: keep what push returns and give it to pop.
    int pushCompactMode();
    void popCompactMode(int old);
    // Lifetime: the text must outlive the writer. HTML and CSV rows end in CR LF whatever is set.
    void setEOLN(const char* s) { eoln = s; }
    void setTabSize(int n) { tabSize = n; }

    void begin(Writer& sink);
    // Throws: LCA__Not_enough_closing_tags, LCA__Bad_indent; the sink's end_doc is then not called. Warning: with
    // LCA__Bad_indent the closing brace of JSON is written already.
    void end();
    bool isRoot() const { return depth == 0; }

    // Raw bytes, unescaped. Requires: after begin.
    void write(const char* s, int n) { writer->write_doc(s, n); }
    void write(char c) { write(&c, 1); }
    void write(const ChPair& s) { write(s.begin, s.len()); }
    void writeLn(const char* s);
    // By the rules of printf. Limit: 4,096 bytes.
    void writef(const char* fmt, ...) VELMORA_PRINTF(2, 3);
    void writeIndent();
    // Escaped as the form wants it; also for XML content.
    void writeEscaped(const ChPair& s);

    // Throws: LCA__Empty_token_name, LCA__Attempt_start_nested_token.
    void beginItem(const char* name);
    // XML only. Throws: LCA__Cannot_write_content_for_non.
    void beginItemContent();
    // The name is not compared with the one that was opened. Throws: LCA__Empty_token_name.
    void endItem(const char* name);

    // Attributes. Throws: LCA__Could_not_write_attribute outside the head of an item.
    // With `skipEmpty` or `skipZero` an empty or zero value is left out, but never in HTML and CSV, where it would cost
    // a column.
    void writeAttrName(const char* name);
    // Text that needs no escaping; the second is bare in JSON.
    void writeSimpleAttr(const char* name, const ChPair& v);
    void writeSimplestAttr(const char* name, const ChPair& v);
    void writeEmptyAttr(const char* name);
    // Text, escaped. Null is empty.
    void writeStrAttr(const char* name, const ChPair& v, bool skipEmpty = false);
    void writeStrAttr(const char* name, const char* v, bool skipEmpty = false);
    void writeStrAttr(const char* name, const ChArr& v, bool skipEmpty = false);
    void writeStrAttr(const char* name, const std::string& v, bool skipEmpty = false);
    void writeStrAttr(const char* name, const CharVector& v, bool skipEmpty = false);
    // A message in the loaded language; one that renders to nothing is not written, in any form.
    void writeStrAttr(const char* name, const TTT& v);
    // By the rules of printf. Limit: 4,096 bytes.
    void writeFormatAttr(const char* name, const char* fmt, ...) VELMORA_PRINTF(3, 4);

    void writeIntAttr(const char* name, int v, bool skipZero = false);
    void writeUIntAttr(const char* name, unsigned v, bool skipZero = false);
    void writeInt64Attr(const char* name, std::int64_t v, bool skipZero = false);
    void writeUInt64Attr(const char* name, std::uint64_t v, bool skipZero = false);
    void writeDoubleAttr(const char* name, double v, bool skipZero = false);
    void writeBoolAttr(const char* name, bool v);
    void writeHexAttr(const char* name, unsigned v, bool skipZero = false);
    // The highest byte of an address comes first.
    void writeIPAttr(const char* name, unsigned ip, bool skipZero = false);
    void writeIPPortAttr(const char* name, unsigned ip, unsigned short port, bool skipZero = false);
    // Seconds since 1970, in UTC. 0 and -1 are empty text; only 0 counts as zero.
    void writeDateAttr(const char* name, std::int64_t t, bool skipZero = false);
    void writeDateAttr(const char* name, BagTime t, bool skipZero = false);
    // Warning: an unknown value writes nothing, in HTML and CSV too.
    void writeEnumAttr(const char* name, unsigned v, const PairTag* tags);
    void writeFlagsAttr(const char* name, unsigned v, const PairTag* tags);

    // Escape a text by a function, by this object's, or by that of two forms. A ChArr is replaced, and null for an
    // empty text; to a Bag the bytes are appended at its cursor, without a terminator. The text may be a part of
    // either.
    static void escapeString(Escape fn, const ChPair& s, ChArr& out);
    static void escapeString(Escape fn, const ChPair& s, Bag& out);
    void escapeString(const ChPair& s, ChArr& out) { escapeString(escape, s, out); }
    void escapeString(const ChPair& s, Bag& out) { escapeString(escape, s, out); }
    static void escapeStringXMLHTML(const ChPair& s, ChArr& out);
    static void escapeStringXMLHTML(const ChPair& s, Bag& out);
    static void escapeStringJSONYAML(const ChPair& s, ChArr& out);
    static void escapeStringJSONYAML(const ChPair& s, Bag& out);

protected:
    // Writes `n` bytes of indentation. Warning: bytes that `fill` holds already keep the character they were made with.
    void writeChars(int n, char c);

private:
    class Parts;
    class Stage;
    class InPlace;
    template <std::size_t N>
    struct Literal;
    struct Optional;
    struct Run;
    struct Name;
    template <class T>
    struct Number;

    bool has(State bit) const { return (state & bit) != 0; }
    void set(State bit) { state |= bit; }
    void clear(State bit) { state &= ~bit; }
    bool leavesOut(bool nothing, bool skip) const;
    const char* filled(int n, char c);
    ChPair lineEnd() const;
    Run run(int n, char c);
    Run indentRun();
    Run compactIndentRun();
    Run dashRun();
    static bool isShort(const ChPair& name);
    void addPieces(Stage& stage, std::initializer_list<ChPair> pieces);
    template <class Put>
    bool putInPlace(const char* name, const ChPair& v, std::ptrdiff_t more, Put put);
    template <class Put>
    void putByStage(const char* name, const ChPair& v, Put put);
    template <class Put>
    void putEntry(const char* name, const ChPair& v, Put put);
    ChPair lineEndFor(const Stage& stage) const;
    Name lineEndFor(const InPlace& place) const;
    bool addEscaped(Stage& stage, const ChPair& s);
    bool addEscaped(InPlace& place, const ChPair& s);
    bool addQuotedEscaped(Stage& stage, const ChPair& v);
    bool addQuotedEscaped(InPlace& place, const ChPair& v);
    void addName(Stage& stage, const ChPair& name);
    void addName(InPlace& place, const Name& name);
    template <class Target>
    void addLead(Target& target, bool first);
    template <class Target, class Value>
    void addBare(Target& target, const Value& v);
    template <class Target>
    bool addYamlText(Target& target, const ChPair& v);
    template <class T>
    void writeNumber(const char* name, T v);
    void openJsonArray(Stage& stage, const ChPair& name);
    void openJsonArray(InPlace& place, const Name& name);
    void beginItemXml(const char* name);
    void beginItemJson(const char* name);
    void beginItemYaml(const char* name);
    void keepName(const char* name);
    void endItemXml(const char* name);
    void endItemJson(const char* name);
};

#endif
