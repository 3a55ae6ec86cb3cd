// Items. A JSON or YAML element has no name but its key, and the same name may come many times: so each child is an
// element of an array named after it, and consecutive children of one name share the array. Only the next beginItem
// decides whether an array goes on or ends: `lastName` is kept until then.
#include <cstring>
#include <type_traits>

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
    putEntry(name, ChPair(), [this](auto& target, const auto& text) VELMORA_ALWAYS_INLINE {
        if (has(TagOpen)) target.add('>', lineEndFor(target));
        target.add(indentRun(), '<', text);
        return true;
    });
    set(TagOpen);
    ++indent;
}

void MLDocOut::openJsonArray(Stage& stage, const ChPair& name) {
    addPieces(stage, {"\"", name, "\": [", eoln});
    ++indent;
    stage.add(indentRun());
}

VELMORA_ALWAYS_INLINE inline void MLDocOut::openJsonArray(InPlace& place, const Name& name) {
    place.add('"', name, Literal("\": ["), lineEndFor(place));
    ++indent;
    place.add(indentRun());
}

void MLDocOut::beginItemJson(const char* name) {
    putEntry(name, ChPair(), [this, name](auto& target, const auto& text) VELMORA_ALWAYS_INLINE {
        if (depth == 0) {
            target.add(has(CompactMode) ? compactIndentRun() : indentRun());
            if constexpr (std::is_same_v<decltype(target), Stage&>) {
                addPieces(target, {"\"", text, "\": "});
            } else {
                target.add('"', text, Literal("\": "));
            }
        } else if (lastName.count != 0 && lastName == name) {
            target.add(Optional(',', has(NeedSeparator)), lineEndFor(target), indentRun());
        } else if (lastName.count != 0) {
            target.add(lineEndFor(target));
            --indent;
            target.add(indentRun(), Literal("],"), lineEndFor(target), indentRun());
            openJsonArray(target, text);
        } else {
            if (has(NeedSeparator)) target.add(',');
            if (has(CompactMode) && !has(NeedSeparator)) {
                target.add(compactIndentRun());
            } else {
                target.add(lineEndFor(target), indentRun());
            }
            openJsonArray(target, text);
        }
        target.add('{');
        return true;
    });
    ++indent;
    lastName.truncate();
    clear(NeedSeparator);
}

void MLDocOut::beginItemYaml(const char* name) {
    bool sequenceGoesOn = depth != 0 && lastName.count != 0 && lastName == name;
    if (!sequenceGoesOn) {
        putEntry(name, ChPair(), [this](auto& target, const auto& text) VELMORA_ALWAYS_INLINE {
            if (depth != 0 && (lastName.count != 0 || has(NeedSeparator))) {
                target.add(indentRun());
            } else if (depth != 0) {
                target.add(dashRun(), Literal("- "));
            }
            if constexpr (std::is_same_v<decltype(target), Stage&>) {
                addPieces(target, {text, ":", eoln});
            } else {
                target.add(text, ':', lineEndFor(target));
            }
            return true;
        });
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
    putEntry(name, ChPair(), [this](auto& target, const auto& text) VELMORA_ALWAYS_INLINE {
        if (has(TagOpen)) {
            clear(TagOpen);
            if (!has(CompactMode)) target.add(lineEndFor(target), indentRun());
            target.add(Literal("/>"), lineEndFor(target));
            return true;
        }
        if (!has(InContent)) target.add(indentRun());
        clear(InContent);
        if constexpr (std::is_same_v<decltype(target), Stage&>) {
            if (text.len() + lineEnd().len() + 3 > Stage::kMostFormatted) {
                addPieces(target, {"</", text, ">", eoln});
                return true;
            }
        }
        target.add(Literal("</"), text, '>', lineEndFor(target));
        return true;
    });
}

void MLDocOut::endItemJson(const char* name) {
    --indent;
    const bool inArray = lastName.count != 0;
    keepName(name);  // before anything is written: it may lie in the sink
    putEntry(nullptr, ChPair(), [this, inArray](auto& target, const auto&) VELMORA_ALWAYS_INLINE {
        if (inArray) {
            target.add(lineEndFor(target), indentRun(), ']', lineEndFor(target));
            --indent;
            target.add(indentRun());
        } else if (has(CompactMode)) {
            target.add(compactIndentRun());
        } else {
            target.add(lineEndFor(target), indentRun());
        }
        target.add('}');
        return true;
    });
    set(NeedSeparator);
}
