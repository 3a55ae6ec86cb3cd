// Loading and places, see document.h.
#include "tools/document.h"

#include <velmora/files/utf8file.h>
#include <velmora/localization/keys.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>

#include "tools/status.h"

namespace tool {
namespace {

constexpr std::uint64_t kSizeLimit = 100'000'000;

// A folder can be opened for reading on some systems, and what follows then differs from one file system to the next.
void refuseFolder(const std::string& path) {
    UTF8File::Info info;
    if (!UTF8File::info(path, info, false) || (info.st_mode & S_IFMT) != S_IFDIR) return;
    UTF8File(true).erro(VELMORA_DICT, LCA__Cannot_open_file, path.c_str(), EISDIR);
}

std::uint32_t offsetOf(const MLDoc& doc, const char* place) { return static_cast<std::uint32_t>(place - doc.buffer); }

bool decodes(const MLDoc& doc, const ChPair& part, std::string& out) {
    try {
        doc.convertEscape(part, out);
        return true;
    } catch (const TTT&) {
        return false;
    }
}

// Where the escape sequence that begins at `p` ends at the latest: an entity before the next one, a backslash
// sequence behind its second byte.
const char* escapeEnd(const char* p, const char* end) {
    return *p == '&' ? std::find(p + 1, end, '&') : p + std::min<std::ptrdiff_t>(2, end - p);
}

// The first escape sequence that the document does not know. Requires: there is one.
const char* findBadEscape(const MLDoc& doc, const ChPair& value, std::string& scratch) {
    const char mark = doc.format == MLDoc::XML ? '&' : '\\';
    const char* end = value.end;
    const char* p = std::find(static_cast<const char*>(value.begin), end, mark);
    while (p != end) {
        const char* next = escapeEnd(p, end);
        if (!decodes(doc, ChPair(p, next), scratch)) break;
        p = std::find(next, end, mark);
    }
    return p;
}

// XML rescans a tag for its attributes, so the inside starts behind the tag; elsewhere attributes are part of it.
std::uint32_t insideOf(const MLDoc& doc, const MLDoc::Token& token) {
    return offsetOf(doc, doc.format == MLDoc::XML ? token.body.end : token.body.begin);
}

}  // namespace

void loadDocument(MLDoc& doc, const std::string& path) {
    refuseFolder(path);
    doc.load(path.c_str());
}

std::string loadBytes(const std::string& path) {
    refuseFolder(path);
    std::string bytes;
    UTF8File::load(path.c_str(), bytes, kSizeLimit);
    return bytes;
}

void rewindDocument(MLDoc& doc) {
    doc.position = 0;
    doc.guessFormat(doc.fileName);
}

void decode(MLDoc& doc, const ChPair& value, std::string& out) {
    try {
        doc.convertEscape(value, out);
    } catch (const TTT&) {
        doc.position = offsetOf(doc, findBadEscape(doc, value, out)) + 1;
        throw;
    }
}

// Between two tokens there are no names but those of lists and objects otherwise.
const char* passedOverValue(MLDoc& doc, std::uint32_t from) {
    if (doc.format != MLDoc::JSON) return nullptr;
    const std::uint32_t to = doc.position;
    const char* found = nullptr;
    ChPair text;
    doc.position = from;
    while (!found && doc.position < to) {
        if (doc.get_json_token(text) != 'q') continue;
        const ChPair name = text;
        doc.get_json_token(text);
        const int kind = doc.get_json_token(text);
        if (kind == 'q' || kind == 's') found = name.begin - 1;
    }
    doc.position = to;
    return found;
}

void throwUnclosed(MLDoc& doc, int level) {
    rewindDocument(doc);
    MLDoc::Token token;
    MLDoc::Attribute attribute;
    std::uint32_t inside = 0;
    while (doc.step(token)) {
        if (!token.opening) continue;
        if (!token.closing && token.level == level) inside = insideOf(doc, token);
        while (doc.attribute(token, attribute)) {
            // JSON takes other texts when its attributes are passed over, so they are read as they were before.
        }
    }
    doc.position = inside;
    throw TTT(VELMORA_DICT, LCA__Closing_tag_not_found);
}

int statusOf(const TTT& failure) {
    int dictionary = 0;
    int id = -1;
    failure.getIds(&dictionary, &id);
    if (dictionary != VELMORA_DICT) return kBadInput;
    switch (id) {
        case LCA__Cannot_close_file:
        case LCA__Cannot_open_file:
        case LCA__Could_not_delete_file:
        case LCA__Could_not_flush_file:
        case LCA__Could_not_rename_file:
        case LCA__Disk_full:
        case LCA__Not_enough_memory_to_load_file:
        case LCA__Read_file_error:
        case LCA__Seek_file_error:
        case LCA__Unexpected_end_of_file:
        case LCA__Write_file_error:
            return kFailed;
        default:
            return kBadInput;
    }
}

}  // namespace tool
