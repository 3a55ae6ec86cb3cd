// Walking: iterators over children and attributes, and the look-ups that use them. All of it calls step and attribute,
// so that it knows no format.
#include <algorithm>

#include <velmora/localization/keys.h>
#include <velmora/markup/mldoc.h>
#include <velmora/serial/ttt.h>

MLDoc::ChildIterator::ChildIterator(MLDoc* document, Token& parent) : token(&parent), doc(document) {
    if (!token->body.begin) {
        char* here = doc->buffer + doc->position;
        token->name.assign(here, here);
        token->body.assign(here, here);
        level = 0;
    } else {
        if (doc->format == XML) doc->position = static_cast<std::uint32_t>(token->body.end - doc->buffer);
        level = token->closing ? -1 : token->level;
    }
    startPosition = doc->position;
}

bool MLDoc::ChildIterator::operator()() {
    if (level < 0) return false;
    while (doc->step(*token)) {
        int childLevel = token->closing ? level : level + 1;
        if (token->kind == 0 && token->opening && token->level == childLevel) return true;
        if (token->level < level) {
            level = -1;
            return false;
        }
    }
    if (level == 0) return false;
    doc->position = startPosition;
    throw TTT(VELMORA_DICT, LCA__Closing_tag_not_found);
}

bool MLDoc::ChildIterator::operator()(const ChPair& name) {
    const ChPair wanted = name;  // which may be the token's own
    while ((*this)()) {
        if (token->name == wanted) return true;
    }
    return false;
}

MLDoc::AttributeIterator::AttributeIterator(MLDoc* document, const Token& owner) : doc(document), token(&owner) {
    doc->position = static_cast<std::uint32_t>(token->body.begin - doc->buffer);
}

MLDoc::AttributeIterator::~AttributeIterator() {
    if (doc->format == XML) doc->position = static_cast<std::uint32_t>(token->body.end - doc->buffer);
}

bool MLDoc::AttributeIterator::operator()(Attribute& attribute) { return doc->attribute(*token, attribute); }

bool MLDoc::AttributeIterator::operator()(Attribute& attribute, const ChPair& name) {
    const ChPair wanted = name;  // which may be the attribute's own
    while ((*this)(attribute)) {
        if (attribute.name == wanted) return true;
    }
    return false;
}

ChPair MLDoc::getAttributeValue(const Token& token, const ChPair& name) {
    position = static_cast<std::uint32_t>(token.body.begin - buffer);
    ChPair value;
    Attribute found;
    while (attribute(token, found)) {
        if (found.name != name) continue;
        value = found.value;
        break;
    }
    if (format == XML) position = static_cast<std::uint32_t>(token.body.end - buffer);
    return value;
}

ChPair MLDoc::content(Token& token) {
    if (format != XML) throw TTT(VELMORA_DICT, LCA__Cannot_read_plain_content_for);
    // A token that no step has filled, or of a document that is gone, has no content.
    if (token.closing || !token.body.end || !buffer) throw TTT(VELMORA_DICT, LCA__Pair_token_not_found);
    // Attributes may have been read in part, and a value may hold a '<'.
    position = std::max(position, static_cast<std::uint32_t>(token.body.end - buffer));
    Token next = token;
    if (!step_xml(next) || next.opening || !next.closing) throw TTT(VELMORA_DICT, LCA__Pair_token_not_found);
    token.level = next.level;
    return ChPair(token.body.end, next.body.begin);
}
