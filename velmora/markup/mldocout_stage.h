// Private: collects what one call of the writer has to say, so that it reaches the sink in one piece where it is short.
// In a Bag it is put in its place at once.
#ifndef VELMORA_MARKUP_MLDOCOUT_STAGE_H
#define VELMORA_MARKUP_MLDOCOUT_STAGE_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <typeinfo>

#include <velmora/markup/mldocout.h>
#include <velmora/markup/mldocout_escape.h>
#include <velmora/markup/scan.h>
#include <velmora/text/overlap.h>

// The parts that an entry is made of; a ChPair and a char are the others. Each says how long it is, and puts itself
// where there is room for it and Run::kSlack bytes more.

// A text whose length the compiler knows.
template <std::size_t N>
struct MLDocOut::Literal {
    const char (&text)[N];

    explicit Literal(const char (&s)[N]) : text(s) {}
    int length() const { return static_cast<int>(N) - 1; }
    char* put(char* to) const {
        std::memcpy(to, text, N - 1);
        return to + N - 1;
    }
};

// A byte that is there or not.
struct MLDocOut::Optional {
    char c;
    bool present;

    Optional(char byte, bool isThere) : c(byte), present(isThere) {}
    int length() const { return 1; }
    char* put(char* to) const {
        if (present) *to++ = c;  // nothing may follow, and in a Bag there may be content here
        return to;
    }
};

// Bytes of indentation. They come from a block with room behind them, so whole stretches are copied.
struct MLDocOut::Run {
    static constexpr int kSlack = 16;

    const char* from;
    int n;
    bool hasSlack;

    int length() const { return n; }
    char* put(char* to) const {
        if (!hasSlack) {
            std::memcpy(to, from, static_cast<std::size_t>(n));
        } else {
            for (int i = 0; i < n; i += kSlack) std::memcpy(to + i, from + i, kSlack);
        }
        return to + n;
    }
};

// How parts are put, wherever they go.
class MLDocOut::Parts {
protected:
    static std::ptrdiff_t lengthOf(char) { return 1; }
    static std::ptrdiff_t lengthOf(const ChPair& s) { return s.len(); }
    template <class Part>
    static std::ptrdiff_t lengthOf(const Part& part) {
        return part.length();
    }

    static char* put(char* to, char c) {
        *to = c;
        return to + 1;
    }
    static char* put(char* to, const ChPair& s) { return putBytes(to, s.begin, s.len()); }
    template <class Part>
    static char* put(char* to, const Part& part) {
        return part.put(to);
    }
    // Most texts have a few bytes: two overlapping moves cost less than a call.
    static char* putBytes(char* to, const char* from, int n) {
        if (n >= 16 || n <= 0) {
            if (n > 0) std::memcpy(to, from, static_cast<std::size_t>(n));
        } else if (n >= 8) {
            putEnds<8>(to, from, n);
        } else if (n >= 4) {
            putEnds<4>(to, from, n);
        } else {
            to[0] = from[0];
            to[n / 2] = from[n / 2];
            to[n - 1] = from[n - 1];
        }
        return to + n;
    }
    template <int N>
    static void putEnds(char* to, const char* from, int n) {
        char first[N], last[N];
        std::memcpy(first, from, N);
        std::memcpy(last, from + n - N, N);
        std::memcpy(to, first, N);
        std::memcpy(to + n - N, last, N);
    }

    static bool isOwn(const Bag& bag, const char* text) {
        return reinterpret_cast<std::uintptr_t>(text) - reinterpret_cast<std::uintptr_t>(bag.data) <
               static_cast<std::uintptr_t>(bag.bufferSize);
    }

    // The Bag that the bytes will go to, if it has room for `n` of them. A class derived from BagWriter may do with the
    // bytes what it likes, and is none.
    static Bag* bagOf(const MLDocOut& out, std::ptrdiff_t n) {
        if (!out.writer) return nullptr;
        Writer& sink = *out.writer;
        if (&typeid(sink) != &typeid(BagWriter)) return nullptr;
        Bag& bag = static_cast<BagWriter&>(sink);
        return bag.cursor >= 0 && bag.bufferSize - bag.cursor >= n ? &bag : nullptr;
    }
};

// A text that ends with a zero byte, for where there is room for the longest.
struct MLDocOut::Name {
    static constexpr int kMostBytes = 64;

    const char* text;
};

class MLDocOut::Stage : private Parts {
public:
    static constexpr int kMostFormatted = 4096;  // bytes of one formatted text

    // `first` and `second` are the texts of the call: what is written may be a part of the sink.
    explicit Stage(MLDocOut& out, const char* first = nullptr, const char* second = nullptr)
        : out_(out), bag_(bagOf(out, kRoom + Run::kSlack)), begin_(text_), end_(text_), texts_{first, second} {
        if (!bag_) return;
        if (isOwn(first) || isOwn(second)) {
            bag_ = nullptr;  // what is put in place could fall on them
        } else {
            begin_ = end_ = bag_->data + bag_->cursor;
        }
    }
    Stage(const Stage&) = delete;
    void operator=(const Stage&) = delete;

    // A further text of the call. Requires: nothing has been added.
    void expect(const char* text) {
        if (bag_ && isOwn(text)) {
            bag_ = nullptr;
            begin_ = end_ = text_;
        }
        hasManyTexts_ = true;
    }

    void addBytes(const char* s, int n) {
        if (n > room()) {
            passOn();
            if (n > room()) {
                if (!held_) return out_.write(s, n);
                return held_->putData(s, n);
            }
        }
        end_ = putBytes(end_, s, n);
    }
    template <class... Parts>
    void add(const Parts&... parts) {
        if ((std::ptrdiff_t{0} + ... + lengthOf(parts)) <= room()) {
            char* p = end_;
            ((p = put(p, parts)), ...);
            end_ = p;
        } else {
            (addAlone(parts), ...);
        }
    }
    // Between two bytes of quotes. Returns: false, with nothing added, if the text is too long or `where` marks a byte.
    template <class Where>
    bool addQuotedUnless(const ChPair& s, Where where) {
        if (s.len() > room() - 2) return false;
        if (!velmora::detail::copyUnless(end_ + 1, s.begin, s.len(), where)) return false;
        *end_ = '"';
        end_ += s.len() + 2;
        end_[-1] = '"';
        return true;
    }

    // Must come last: nothing is written by itself.
    void flush() {
        if (!held_) return release();
        hold();
        out_.write(held_->data, held_->size);
        held_.reset();
    }

private:
    static constexpr int kRoom = 512;

    // Before the rest of a long call. What a growing sink releases must not hold the texts of that rest: if they are
    // the sink's own, all of the call is held back until its end.
    void passOn() {
        if (!hasAsked_ && textsLieInSink()) held_ = std::make_unique<Bag>();
        hasAsked_ = true;
        if (held_) {
            hold();
        } else {
            release();
        }
    }

    void hold() {
        held_->putData(begin_, static_cast<int>(end_ - begin_));
        bag_ = nullptr;
        begin_ = end_ = text_;
    }

    void release() {
        const int n = static_cast<int>(end_ - begin_);
        if (n != 0 && bag_) {
            bag_->cursor += n;
            bag_->size = bag_->cursor;
        } else if (n != 0) {
            out_.write(begin_, n);
        }
        bag_ = nullptr;
        begin_ = end_ = text_;
    }

    bool isOwn(const char* text) const { return Parts::isOwn(*bag_, text); }

    bool textsLieInSink() const {
        const Bag* bag = dynamic_cast<BagWriter*>(out_.writer);
        if (!bag) return false;
        using velmora::detail::liesIn;
        return hasManyTexts_ || liesIn(texts_[0], bag->data, bag->bufferSize) ||
               liesIn(texts_[1], bag->data, bag->bufferSize);
    }

    int room() const { return static_cast<int>(begin_ + kRoom - end_); }

    // A part that may be longer than the stage.
    void addAlone(const ChPair& s) { addBytes(s.begin, s.len()); }
    void addAlone(const Run& run) { addBytes(run.from, run.n); }
    template <class Part>
    void addAlone(const Part& part) {
        if (lengthOf(part) > room()) passOn();
        end_ = put(end_, part);
    }

    MLDocOut& out_;
    Bag* bag_;  // not null: the bytes are put in place, behind its cursor, and no one sees them before flush
    char* begin_;
    char* end_;
    const char* texts_[2];
    bool hasManyTexts_ = false;
    bool hasAsked_ = false;      // whether the texts lie in the sink, which only a long call has to know
    std::unique_ptr<Bag> held_;  // what a call has to say, if they do
    char text_[kRoom + Run::kSlack];
};

// An entry that goes into a Bag with room for all of it, whatever form it takes: no part of it is asked for its length.
// Nothing has happened to the Bag before finish.
class MLDocOut::InPlace : private Parts {
public:
    // Where the longest entry with `n` bytes of value does not fit, or where one of its texts is a part of the Bag,
    // there is no place for it.
    InPlace(const MLDocOut& out, const char* name, const char* v, std::ptrdiff_t n)
        : bag_(bagOf(out, n)), end_(nullptr), isWhole_(true) {
        if (!bag_) return;
        if (bag_->bufferSize - bag_->cursor < mostBytes(out, n) || isOwn(*bag_, name) || isOwn(*bag_, v)) {
            bag_ = nullptr;
        } else {
            end_ = bag_->data + bag_->cursor;
        }
    }
    InPlace(const InPlace&) = delete;
    void operator=(const InPlace&) = delete;

    bool exists() const { return bag_ != nullptr; }

    template <class... Parts>
    VELMORA_ALWAYS_INLINE void add(const Parts&... parts) {
        ((end_ = put(end_, parts)), ...);
    }
    // Returns: false, with nothing added, if `where` marks a byte.
    template <class Where>
    bool addUnless(const ChPair& s, Where where) {
        if (!velmora::detail::copyUnless(end_, s.begin, s.len(), where)) return false;
        end_ += s.len();
        return true;
    }

    // Returns: false, with nothing done, if a name was too long.
    bool finish() {
        if (!isWhole_) return false;
        const int end = static_cast<int>(end_ - bag_->data);
        if (end != bag_->cursor) bag_->cursor = bag_->size = end;  // nothing cuts nothing off
        return true;
    }

private:
    using Parts::put;
    VELMORA_ALWAYS_INLINE char* put(char* to, const Name& name) {
        for (int i = 0; i != Name::kMostBytes; ++i) {
            if (name.text[i] == 0) return to + i;
            to[i] = name.text[i];
        }
        isWhole_ = false;
        return to;
    }

    // An entry has at most four lines and a name, and a few bytes around them. An item may be one level deeper than the
    // writer is.
    static std::ptrdiff_t mostBytes(const MLDocOut& out, std::ptrdiff_t n) {
        constexpr std::ptrdiff_t kLines = 4, kNames = kLines + 1, kBytesAround = 32;
        const std::ptrdiff_t level = out.tabSize < 1 ? 1 : out.tabSize;
        const std::ptrdiff_t indent = out.indent < 0 ? 0 : out.indent;
        return n + kLines * (indent + 1) * level + kNames * Name::kMostBytes + kBytesAround + Run::kSlack;
    }

    Bag* bag_;
    char* end_;
    bool isWhole_;
};

// Puts an entry through `put` where it belongs. Returns: false, with nothing done, if it must go another way. `more` is
// the room that it takes beyond its texts.
template <class Put>
VELMORA_ALWAYS_INLINE inline bool MLDocOut::putInPlace(const char* name, const ChPair& v, std::ptrdiff_t more,
                                                       Put put) {
    InPlace place(*this, name, v.begin, (v.end - v.begin) + more);
    if (!place.exists()) return false;
    const int oldState = state, oldIndent = indent;
    if (put(place, Name{name ? name : ""}) && place.finish()) return true;
    state = oldState;
    indent = oldIndent;
    return false;
}

template <class Put>
VELMORA_NOINLINE void MLDocOut::putByStage(const char* name, const ChPair& v, Put put) {
    Stage stage(*this, name, v.begin);
    put(stage, ChPair(name));
    stage.flush();
}

template <class Put>
VELMORA_ALWAYS_INLINE inline void MLDocOut::putEntry(const char* name, const ChPair& v, Put put) {
    if (!putInPlace(name, v, 0, put)) putByStage(name, v, put);
}

inline ChPair MLDocOut::lineEndFor(const Stage&) const { return lineEnd(); }
inline MLDocOut::Name MLDocOut::lineEndFor(const InPlace&) const { return Name{eoln}; }

// The parts that every entry has, inline because all have them.

inline ChPair MLDocOut::lineEnd() const {
    int n = 0;
    while (eoln[n]) ++n;
    return ChPair(eoln, n);
}

VELMORA_ALWAYS_INLINE inline MLDocOut::Run MLDocOut::run(int n, char c) {
    if (n <= 0) return Run{nullptr, 0, true};  // not one stretch to copy
    const char* from = n <= fill.count ? fill.data : filled(n, c);
    return Run{from, n, (n + Run::kSlack - 1) / Run::kSlack * Run::kSlack <= fill.allocateCount};
}

VELMORA_ALWAYS_INLINE inline MLDocOut::Run MLDocOut::indentRun() {
    return tabSize < 1 ? run(indent, '\t') : run(indent * tabSize, ' ');
}

// What stands in front of the first entry of an item when it goes on the same line.
inline MLDocOut::Run MLDocOut::compactIndentRun() { return run(tabSize - 1, ' '); }

// The dash of a YAML item takes the last two blanks of its indent.
inline MLDocOut::Run MLDocOut::dashRun() { return run(tabSize * indent - 2, ' '); }

// What has a byte to be escaped has no bound.
inline bool MLDocOut::addEscaped(InPlace& place, const ChPair& s) {
    if (escape == velmora::detail::escapeXmlHtml) return place.addUnless(s, velmora::detail::marksXmlHtml);
    return escape == velmora::detail::escapeJsonYaml && place.addUnless(s, velmora::detail::marksJsonYaml);
}

inline bool MLDocOut::addQuotedEscaped(InPlace& place, const ChPair& s) {
    place.add('"');
    if (!addEscaped(place, s)) return false;
    place.add('"');
    return true;
}

// Whether what is written around a name, a few bytes and a line end, keeps within the limit of a formatted text.
inline bool MLDocOut::isShort(const ChPair& name) { return name.len() < Stage::kMostFormatted / 2; }

#endif
