#include <velmora/markup/mldocout.h>

#include <algorithm>
#include <cstdarg>
#include <cstring>

#include <velmora/localization/keys.h>
#include <velmora/markup/mldocout_escape.h>
#include <velmora/markup/mldocout_stage.h>
#include <velmora/serial/ttt.h>
#include <velmora/text/formatting.h>

void MLDocOut::Writer::end_doc() {}

MLDocOut::FileWriter::FileWriter(const char* path) : UTF8File(true) { open(path, WRITE); }

void MLDocOut::FileWriter::write_doc(const char* text, int n) { UTF8File::write(text, n); }

// The file is closed whether or not the flush goes through; the flush's failure is the one to be told.
void MLDocOut::FileWriter::end_doc() {
    try {
        flush();
    } catch (...) {
        throwing = false;
        close();
        throwing = true;
        throw;
    }
    close();
}

void MLDocOut::BagWriter::write_doc(const char* text, int n) { putData(text, n); }

MLDocOut::MLDocOut(Format form) : depth(0), indent(0), state(0), eoln("\r\n"), writer(nullptr) { setFormat(form); }

void MLDocOut::setFormat(Format form) {
    format = form;
    tabSize = form == XML ? 0 : 2;
    escape = form == XML || form == HTML ? velmora::detail::escapeXmlHtml : velmora::detail::escapeJsonYaml;
}

void MLDocOut::setCompactMode(bool on) {
    if (on) {
        set(CompactMode);
    } else {
        clear(CompactMode);
    }
}

int MLDocOut::pushCompactMode() {
    int old = state & CompactMode;
    set(CompactMode);
    return old;
}

void MLDocOut::popCompactMode(int old) {
    clear(CompactMode);
    state |= old;
}

void MLDocOut::begin(Writer& sink) {
    writer = &sink;
    switch (format) {
        case XML:
            writeLn("<?xml version= \"1.0\" encoding=\"utf-8\"?>");
            break;
        case JSON:
            if (has(CompactMode)) {
                write('{');
            } else {
                writeLn("{");
            }
            indent = 1;
            break;
        case YAML:
            writeLn("---");
            break;
        default:
            break;
    }
}

void MLDocOut::end() {
    if (depth != 0) throw TTT(VELMORA_DICT, LCA__Not_enough_closing_tags);
    if (format == JSON) {
        if (lastName.count != 0) writeLn(nullptr);
        writeLn("}");
        --indent;
    }
    if (indent > 0) throw TTT(VELMORA_DICT, LCA__Bad_indent);
    if (writer) writer->end_doc();
}

void MLDocOut::writeLn(const char* s) {
    Stage stage(*this, s);
    stage.add(ChPair(s), lineEnd());
    stage.flush();
}

void MLDocOut::writef(const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    velmora::detail::FormattedText text(fmt, args);
    va_end(args);
    write(text.begin(), static_cast<int>(text.size()));
}

// Texts side by side, with the limit of a formatted text.
void MLDocOut::addPieces(Stage& stage, std::initializer_list<ChPair> pieces) {
    int room = Stage::kMostFormatted;
    for (const ChPair& piece : pieces) {
        int n = std::min(piece.len(), room);
        stage.addBytes(piece.begin, n);
        room -= n;
    }
}

void MLDocOut::writeIndent() {
    if (tabSize < 1) {
        writeChars(indent, '\t');
    } else {
        writeChars(indent * tabSize, ' ');
    }
}

// At least `n` bytes of indentation. What is there already keeps the character it was made with.
const char* MLDocOut::filled(int n, char c) {
    int missing = n - fill.count;
    if (missing > 0) std::memset(fill.insert(fill.count, missing), c, static_cast<std::size_t>(missing));
    return fill();
}

void MLDocOut::writeChars(int n, char c) {
    if (n >= 0) write(filled(n, c), n);
}
