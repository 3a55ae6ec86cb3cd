// Items. A JSON or YAML element has no name but its key, and the same name may come many times: so each child is an element
// of an array named after it, and consecutive children of one name share the array. Only the next beginItem tells whether
// an array goes on or ends, which is what `lastName` is kept for.
#include <velmora/localization/keys.h>
#include <velmora/markup/mldocout.h>
#include <velmora/serial/ttt.h>

namespace {

void requireName(const char* name) {
    if (!name || !*name) throw TTT(VELMORA_DICT, LCA__Empty_token_name);
}

constexpr char kRowEnd[] = "\r\n";

}  // namespace

void MLDocOut::beginItem(const char* name) {
    requireName(name);
    switch (format) {
        case XML:
            beginItemXml(name);
            break;
        case JSON:
            beginItemJson(name);
            break;
        case YAML:
            beginItemYaml(name);
            break;
        case HTML:
            write("<tr>", 4);
            break;
        default:
            break;
    }
    set(AttributesOpen);
    ++depth;
}

void MLDocOut::beginItemXml(const char* name) {
    if (has(InContent)) throw TTT(VELMORA_DICT, LCA__Attempt_start_nested_token);
    if (has(TagOpen)) writeLn(">");
    writeIndent();
    write('<');
    write(ChPair(name));
    set(TagOpen);
    ++indent;
}

void MLDocOut::openJsonArray(const char* name) {
    writePieces({"\"", name, "\": [", eoln});
    ++indent;
    writeIndent();
}

void MLDocOut::beginItemJson(const char* name) {
    if (depth == 0) {
        if (has(CompactMode)) {
            writeCompactIndent();
        } else {
            writeIndent();
        }
        writePieces({"\"", name, "\": "});
    } else if (lastName.count != 0 && lastName == name) {
        if (has(NeedSeparator)) write(',');
        writeLineEnd();
        writeIndent();
    } else if (lastName.count != 0) {
        writeLineEnd();
        --indent;
        writeIndent();
        writeLn("],");
        writeIndent();
        openJsonArray(name);
    } else {
        if (has(NeedSeparator)) write(',');
        if (has(CompactMode) && !has(NeedSeparator)) {
            writeCompactIndent();
        } else {
            writeLineEnd();
            writeIndent();
        }
        openJsonArray(name);
    }
    write('{');
    ++indent;
    lastName.truncate();
    clear(NeedSeparator);
}

void MLDocOut::beginItemYaml(const char* name) {
    bool sequenceGoesOn = depth != 0 && lastName.count != 0 && lastName == name;
    if (!sequenceGoesOn) {
        if (depth != 0) {
            if (lastName.count != 0 || has(NeedSeparator)) {
                writeIndent();
            } else {
                writeDash();
            }
        }
        writePieces({name, ":", eoln});
    }
    lastName.truncate();
    clear(NeedSeparator);
    ++indent;
}

void MLDocOut::beginItemContent() {
    if (format != XML) throw TTT(VELMORA_DICT, LCA__Cannot_write_content_for_non);
    if (has(TagOpen)) {
        clear(TagOpen);
        write('>');
    }
    clear(AttributesOpen);
    set(InContent);
}

void MLDocOut::endItem(const char* name) {
    requireName(name);
    --depth;
    switch (format) {
        case XML:
            endItemXml(name);
            break;
        case JSON:
            endItemJson(name);
            break;
        case YAML:
            --indent;
            lastName.truncate();
            lastName.append(name);
            set(NeedSeparator);
            break;
        case HTML:
            write("</tr>", 5);
            write(kRowEnd, 2);
            break;
        case CSV:
            write(kRowEnd, 2);
            clear(NeedSeparator);
            break;
        default:
            break;
    }
    clear(AttributesOpen);
}

void MLDocOut::endItemXml(const char* name) {
    --indent;
    if (has(TagOpen)) {
        clear(TagOpen);
        if (!has(CompactMode)) {
            writeLineEnd();
            writeIndent();
        }
        writeLn("/>");
        return;
    }
    if (!has(InContent)) writeIndent();
    clear(InContent);
    writePieces({"</", name, ">", eoln});
}

void MLDocOut::endItemJson(const char* name) {
    --indent;
    if (lastName.count != 0) {
        writeLineEnd();
        writeIndent();
        writeLn("]");
        --indent;
        writeIndent();
    } else if (has(CompactMode)) {
        writeCompactIndent();
    } else {
        writeLineEnd();
        writeIndent();
    }
    write('}');
    lastName.truncate();
    lastName.append(name);
    set(NeedSeparator);
}
