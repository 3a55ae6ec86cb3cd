// Private: collects what one call of the writer has to say, so that it reaches the sink in one piece where it is short.
#ifndef VELMORA_MARKUP_MLDOCOUT_STAGE_H
#define VELMORA_MARKUP_MLDOCOUT_STAGE_H

#include <cstring>

#include <velmora/markup/mldocout.h>

class MLDocOut::Stage {
public:
    static constexpr int kMostFormatted = 4096;  // bytes of one formatted text

    explicit Stage(MLDocOut& out) : out_(out), size_(0) {}
    Stage(const Stage&) = delete;
    void operator=(const Stage&) = delete;

    void add(char c) {
        if (size_ == kRoom) flush();
        text_[size_++] = c;
    }
    void add(const char* s, int n) {
        if (n > kRoom - size_) {
            flush();
            if (n > kRoom) return out_.write(s, n);
        }
        copyShort(text_ + size_, s, n);
        size_ += n;
    }
    // A literal, whose length the compiler knows.
    template <std::size_t N>
    void literal(const char (&s)[N]) {
        constexpr int n = static_cast<int>(N) - 1;
        if (n > kRoom - size_) flush();
        std::memcpy(text_ + size_, s, N - 1);
        size_ += n;
    }
    void add(const ChPair& s) { add(s.begin, s.len()); }

    // Must come last: nothing is written by itself.
    void flush() {
        if (size_ != 0) out_.write(text_, size_);
        size_ = 0;
    }

private:
    static constexpr int kRoom = 512;

    // Most texts have a few bytes: two overlapping moves cost less than a call.
    static void copyShort(char* to, const char* from, int n) {
        if (n >= 16 || n <= 0) {
            if (n > 0) std::memcpy(to, from, static_cast<std::size_t>(n));
        } else if (n >= 8) {
            copyEnds<8>(to, from, n);
        } else if (n >= 4) {
            copyEnds<4>(to, from, n);
        } else {
            to[0] = from[0];
            to[n / 2] = from[n / 2];
            to[n - 1] = from[n - 1];
        }
    }
    template <int N>
    static void copyEnds(char* to, const char* from, int n) {
        char first[N], last[N];
        std::memcpy(first, from, N);
        std::memcpy(last, from + n - N, N);
        std::memcpy(to, first, N);
        std::memcpy(to + n - N, last, N);
    }

    MLDocOut& out_;
    int size_;
    char text_[kRoom];
};

// The parts that every entry is made of, inline because they are.

inline void MLDocOut::addLineEnd(Stage& stage) {
    int n = 0;
    while (eoln[n]) ++n;
    stage.add(eoln, n);
}

inline void MLDocOut::addChars(Stage& stage, int n, char c) {
    if (n > 0) stage.add(n <= fill.count ? fill.data : filled(n, c), n);
}

inline void MLDocOut::addIndent(Stage& stage) {
    if (tabSize < 1) {
        addChars(stage, indent, '\t');
    } else {
        addChars(stage, indent * tabSize, ' ');
    }
}

// Whether what is written around a name, a few bytes and a line end, keeps within the limit of a formatted text.
inline bool MLDocOut::isShort(const ChPair& name) { return name.len() < Stage::kMostFormatted / 2; }

#endif
