// Private: collects what one call of the writer has to say, so that it reaches the sink in one piece where it is short.
#ifndef VELMORA_MARKUP_MLDOCOUT_STAGE_H
#define VELMORA_MARKUP_MLDOCOUT_STAGE_H

#include <cstring>

#include <velmora/markup/mldocout.h>

class MLDocOut::Stage {
public:
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
        if (n > 0) std::memcpy(text_ + size_, s, static_cast<std::size_t>(n));
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
    MLDocOut& out_;
    int size_;
    char text_[kRoom];
};

#endif
