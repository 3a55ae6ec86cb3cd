#include <velmora/markup/mldoc.h>

#include <cstring>

#include <velmora/files/utf8file.h>
#include <velmora/localization/keys.h>
#include <velmora/serial/bag.h>
#include <velmora/serial/ttt.h>
#include <velmora/text/overlap.h>

namespace {

constexpr std::uint32_t kMostBytes = 100000000;
constexpr int kUtf8 = 8;
constexpr int kWindows1251 = 1251;

// Always throws.
void refuse(const char* name, int key) { UTF8File(true).erro(VELMORA_DICT, key, name, -1); }

char* copyOf(const char* data, std::uint32_t n) {
    char* block = new char[n];
    if (n != 0) std::memcpy(block, data, n);
    return block;
}

// Releases what a document holds unless the load goes through, so that a refused one holds nothing.
class LoadGuard {
public:
    explicit LoadGuard(MLDoc& doc) : doc_(&doc) {}
    LoadGuard(const LoadGuard&) = delete;
    void operator=(const LoadGuard&) = delete;
    ~LoadGuard() {
        if (doc_) doc_->release();
    }
    void done() { doc_ = nullptr; }

private:
    MLDoc* doc_;
};

}  // namespace

const char* const MLDocBase::formatName[3] = {"XML", "JSON", "YAML"};

const std::uint64_t MLDoc::TokenNameMax;
const std::uint64_t MLDoc::AttributeNameMax;

MLDoc::MLDoc()
    : length(0),
      position(0),
      buffer(nullptr),
      cachedLine(1),
      cachedColumn(1),
      cachedOffset(0),
      format(Unknown),
      codePage(kUtf8),
      countedMemo_(0),
      yamlValueKind(0),
      yamlItem(false),
      yamlLevel(-1),
      yamlIndentUnit(-1),
      yamlState(-1) {}

MLDoc::~MLDoc() { delete[] buffer; }

void MLDoc::warnSuspiciousAttribute(const Token*, const Attribute*) const {}

// Of a load's arguments the name may lie in what the document holds, which is released only after the name is copied.

void MLDoc::load(const char* path) {
    LoadGuard guard(*this);
    fileName = path;
    release();
    ArrayHolder<char> block;
    length = static_cast<std::uint32_t>(UTF8File::load(fileName.data, block, kMostBytes, false));
    buffer = block.steal();
    guessFormat(fileName.data);
    guard.done();
}

void MLDoc::load(const char* name, const char* data, int size) {
    LoadGuard guard(*this);
    fileName = name;
    const auto bytes = static_cast<std::uint32_t>(size);
    if (bytes > kMostBytes) {
        length = bytes;
        return refuse(fileName.data, LCA__Too_big_file);
    }
    ArrayHolder<char> block;
    if (velmora::detail::liesIn(data, buffer, length)) block.data = copyOf(data, bytes);
    release();
    length = bytes;
    buffer = block.data ? block.steal() : copyOf(data, bytes);
    guessFormat(fileName.data);
    guard.done();
}

void MLDoc::load(const char* name, Bag& bag) {
    LoadGuard guard(*this);
    if (bag.size > static_cast<int>(kMostBytes)) return refuse(name, LCA__Too_big_file);
    fileName = name;
    release();
    int size;
    buffer = bag.steal(size);
    length = static_cast<std::uint32_t>(size);
    guessFormat(fileName.data);
    guard.done();
}

void MLDoc::release() {
    if (!buffer) return;
    delete[] buffer;
    buffer = nullptr;
    position = 0;
    cachedLine = cachedColumn = 1;
    cachedOffset = 0;
}

char* MLDoc::steal(int& size) {
    size = static_cast<int>(length);
    char* block = buffer;
    buffer = nullptr;
    return block;
}

void MLDoc::guessFormat(const char* name) {
    countedMemo_ = 0;
    if (!buffer) return refuse(name, LCA__Too_short_file);
    auto startsWith = [this](const char* bytes, std::uint32_t n) {
        return length >= n && std::memcmp(buffer, bytes, n) == 0;
    };
    if (startsWith("\xEF\xBB\xBF", 3)) {
        position += 3;
    } else if (startsWith("\xFE\xFF", 2) || startsWith("\xFF\xFE", 2)) {
        return refuse(name, LCA__UTF_16_BOM_is_not_supported);
    }
    // After a steal the cursor may lie anywhere.
    if (position > length || length - position < 3) return refuse(name, LCA__Too_short_file);
    const char* p = buffer + position;
    if (*p == '{') {
        format = JSON;
        openNames.removeAll();
        openNames.prepare(1);
        openNames[0].clear();
    } else if (*p == '<') {
        format = XML;
        if (p[1] == '?') {
            readDeclaration(name);
        } else {
            codePage = kUtf8;
        }
    } else if (std::memcmp(p, "---", 3) == 0) {
        position += 3;
        if (position < length && buffer[position] == '\r') ++position;
        if (position < length && buffer[position] == '\n') ++position;
        yamlIndentUnit = yamlState = 0;
        format = YAML;
        openNames.removeAll();
    } else {
        refuse(name, LCA__Unknown_text_format);
    }
}

// Without an encoding the code page stays what it was.
void MLDoc::readDeclaration(const char* name) {
    Token token;
    if (!step_xml(token) || token.kind != 1) return refuse(name, LCA__XML_header_is_not_found_or);
    Attribute attribute;
    while (attribute_xml(token, attribute)) {
        if (attribute.name != "encoding") continue;
        if (attribute.value.equal_i_ascii("utf-8")) {
            codePage = kUtf8;
        } else if (attribute.value.equal_i_ascii("windows-1251")) {
            codePage = kWindows1251;
        } else {
            refuse(name, LCA__Specified_encoding_is_not);
        }
    }
}

bool MLDoc::step(Token& token) {
    if (!buffer) return false;  // refused, released or stolen, whatever `length` still tells
    switch (format) {
        case JSON:
            return step_json(token);
        case YAML:
            return step_yaml(token);
        default:
            return step_xml(token);
    }
}

bool MLDoc::attribute(const Token& token, Attribute& attribute) {
    if (!buffer) return false;
    switch (format) {
        case JSON:
            return attribute_json(token, attribute);
        case YAML:
            return attribute_yaml(token, attribute);
        default:
            return attribute_xml(token, attribute);
    }
}

unsigned MLDoc::passAttributes(const Token& token) const {
    return format == XML ? static_cast<unsigned>(token.body.end - buffer) : position;
}

void MLDoc::formMessage(TTT& message) const {
    if (!fileName.empty()) {
        message.append(VELMORA_DICT, LCA__Path_s);
        message < fileName;
    }
    if (position != 0) {
        int line, column;
        getPosition(line, column);
        message.append(VELMORA_DICT, LCA__Line_d_Column_d);
        message < line < column;
    }
}
