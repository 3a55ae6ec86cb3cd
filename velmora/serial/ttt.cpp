#include <velmora/serial/ttt.h>

#include <velmora/serial/bag_parts.h>
#include <velmora/text/charr.h>
#include <velmora/text/charvector.h>

using velmora::detail::BagEnd;
using velmora::detail::BagHead;
using velmora::detail::putParts;

const int TTT::RAW;
const int TTT::DICT;
const int TTT::DATA;

TTT::ParamSource::~ParamSource() = default;

// Every assignment builds the new message first, so that a source inside the old one is safe.
TTT& TTT::operator=(const char* text) { return *this = TTT(text); }
TTT& TTT::operator=(const ChArr& text) { return *this = TTT(text); }
TTT& TTT::operator=(const std::string& text) { return *this = TTT(text); }
TTT& TTT::operator=(const CharVector& text) { return *this = TTT(text); }
TTT& TTT::operator=(const ChPair& text) { return *this = TTT(text); }
TTT& TTT::operator=(const Bag& encoded) { return *this = TTT(encoded); }
TTT& TTT::assign(LocDictionaryId dictionary, int id) { return *this = TTT(dictionary, id); }

TTT& TTT::operator=(const TTT& s) {
    if (this == &s) return *this;
    TTT copy(s);
    data.stealFrom(copy.data);
    return *this;
}

// The cursor ends where that of a copy would.
TTT& TTT::operator=(TTT&& s) noexcept {
    if (this == &s) return *this;
    data.stealFrom(s.data);
    data.toEnd();
    return *this;
}

TTT& TTT::operator<=(const Bag& encoded) {
    if (!encoded.isEmpty()) data.putDataAligned(encoded.data, encoded.size, 4);
    return *this;
}

// Each element goes in at once: a text may lie in the message that it goes to.
void TTT::putSpecial(const void* src, int n) { putParts(data, BagHead(DATA, n), src, n, BagEnd::Bare); }

TTT& TTT::putText(const ChPair& text) {
    putParts(data, BagHead(), text.begin, text.end - text.begin, BagEnd::Terminated);
    return *this;
}

TTT& TTT::putTaggedText(const ChPair& text) {
    putParts(data, BagHead(PARAM_STRING), text.begin, text.end - text.begin, BagEnd::Terminated);
    return *this;
}

TTT& TTT::putRaw(const ChPair& text) {
    putParts(data, BagHead(RAW), text.begin, text.end - text.begin, BagEnd::Terminated);
    return *this;
}

TTT& TTT::putPairForm(const ChPair& text) {
    const int length = velmora::detail::bagCount(text.end - text.begin);
    putParts(data, BagHead(RAW, length), text.begin, length, BagEnd::Bare);
    return *this;
}

bool TTT::getIds(int* dict, int* id) const {
    if (dict) *dict = 0;
    if (id) *id = -1;
    if (data.isEmpty()) return false;
    int savedCursor = data.tell();
    data.toBegin();
    bool read = true;
    try {
        int tag = data.getLong();
        if (tag == DICT) {
            int dictionary = data.getLong();
            if (dict) *dict = dictionary;
            int text = data.getLong();
            if (id) *id = text;
        }
    } catch (const Bag::Exception&) {
        read = false;
    }
    data.to(savedCursor);
    return read;
}
