// The members of CharVector that take a SimpleVector<char>: its bytes as text.
#include <velmora/containers/vectors.h>
#include <velmora/text/charvector.h>

CharVector::CharVector(const SimpleVector<char>& s) { init(s.data, static_cast<std::size_t>(s.count)); }

CharVector& CharVector::operator=(const SimpleVector<char>& s) {
    assign(s.data, static_cast<std::size_t>(s.count));
    return *this;
}

void CharVector::append(const SimpleVector<char>& s) { append(s.data, static_cast<std::size_t>(s.count)); }

int CharVector::compare(const SimpleVector<char>& s) const {
    return compare(s.data, static_cast<std::size_t>(s.count));
}
