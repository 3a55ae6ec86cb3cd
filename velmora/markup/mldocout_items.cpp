// Items. A JSON or YAML element has no name but its key, and the same name may come many times: so each child is an
// element of an array named after it, and consecutive children of one name share the array. Only the next beginItem
// tells whether an array goes on or ends, which is what `lastName` is kept for.
#include <cstring>

#include <velmora/localization/keys.h>
#include <velmora/markup/mldocout.h>
#include <velmora/markup/mldocout_stage.h>
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
    Stage stage(*this, name);
    if (has(TagOpen)) stage.add('>', lineEnd());
    stage.add(indentRun(), '<', ChPair(name));
    stage.flush();
    set(TagOpen);
    ++indent;
}

void MLDocOut::openJsonArray(Stage& stage, const char* name) {
    addPieces(stage, {"\"", name, "\": [", eoln});
    ++indent;
    stage.add(indentRun());
}

void MLDocOut::beginItemJson(const char* name) {
    Stage stage(*this, name);
    if (depth == 0) {
        stage.add(has(CompactMode) ? compactIndentRun() : indentRun());
        addPieces(stage, {"\"", name, "\": "});
    } else if (lastName.count != 0 && lastName == name) {
        stage.add(Optional(',', has(NeedSeparator)), lineEnd(), indentRun());
    } else if (lastName.count != 0) {
        stage.add(lineEnd());
        --indent;
        stage.add(indentRun(), Literal("],"), lineEnd(), indentRun());
        openJsonArray(stage, name);
    } else {
        if (has(NeedSeparator)) stage.add(',');
        if (has(CompactMode) && !has(NeedSeparator)) {
            stage.add(compactIndentRun());
        } else {
            stage.add(lineEnd(), indentRun());
        }
        openJsonArray(stage, name);
    }
    stage.add('{');
    stage.flush();
    ++indent;
    lastName.truncate();
    clear(NeedSeparator);
}

void MLDocOut::beginItemYaml(const char* name) {
    bool sequenceGoesOn = depth != 0 && lastName.count != 0 && lastName == name;
    if (!sequenceGoesOn) {
        Stage stage(*this, name);
        if (depth != 0 && (lastName.count != 0 || has(NeedSeparator))) {
            stage.add(indentRun());
        } else if (depth != 0) {
            stage.add(dashRun(), Literal("- "));
        }
        addPieces(stage, {name, ":", eoln});
        stage.flush();
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

// Over the last name and in its array if there is room, so that a steady state allocates nothing. `name` may lie in it.
void MLDocOut::keepName(const char* name) {
    const int length = ChPair(name).len();
    if (lastName.allocateCount > length) {
        std::memmove(lastName.data, name, static_cast<std::size_t>(length) + 1);
        lastName.count = length;
    } else {
        lastName = name;
    }
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
            keepName(name);
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
    Stage stage(*this, name);
    if (has(TagOpen)) {
        clear(TagOpen);
        if (!has(CompactMode)) stage.add(lineEnd(), indentRun());
        stage.add(Literal("/>"), lineEnd());
    } else {
        if (!has(InContent)) stage.add(indentRun());
        clear(InContent);
        const ChPair text(name);
        if (text.len() + lineEnd().len() + 3 <= Stage::kMostFormatted) {
            stage.add(Literal("</"), text, '>', lineEnd());
        } else {
            addPieces(stage, {"</", text, ">", eoln});
        }
    }
    stage.flush();
}

void MLDocOut::endItemJson(const char* name) {
    --indent;
    const bool inArray = lastName.count != 0;
    keepName(name);  // before anything is written: it may lie in the sink
    Stage stage(*this);
    if (inArray) {
        stage.add(lineEnd(), indentRun(), ']', lineEnd());
        --indent;
        stage.add(indentRun());
    } else if (has(CompactMode)) {
        stage.add(compactIndentRun());
    } else {
        stage.add(lineEnd(), indentRun());
    }
    stage.add('}');
    stage.flush();
    set(NeedSeparator);
}
