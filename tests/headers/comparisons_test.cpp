// Texts of each kind compared with each other, by their bytes whatever stands on the left, in the oldest C++ that the headers
// are for and in the one after it.
#include <velmora/text/charr.h>
#include <velmora/text/charvector.h>
#include <velmora/text/chpair.h>

#include <cstdio>
#include <string>

namespace {

int failures = 0;

template <class A, class B>
void check(const A& a, const B& same, const B& other, const char* what) {
    if (a == same && !(a != same) && a != other && !(a == other)) return;
    std::fprintf(stderr, "%s\n", what);
    ++failures;
}

template <class B>
void checkAll(const B& same, const B& other, const char* what) {
    const std::string string = "text";  // of another address than all others
    const char* const pointer = string.c_str();
    const ChArr array(pointer);
    const CharVector vector(pointer);
    check(ChPair(pointer), same, other, what);
    check(array, same, other, what);
    check(vector, same, other, what);
    check(pointer, same, other, what);
}

}  // namespace

int main() {
    const std::string same = "text", other = "other";
    checkAll(ChPair(same), ChPair(other), "ChPair on the right");
    checkAll(ChArr(same.c_str()), ChArr(other.c_str()), "ChArr on the right");
    checkAll(CharVector(same.c_str()), CharVector(other.c_str()), "CharVector on the right");
    const char* const samePointer = same.c_str();
    const char* const otherPointer = other.c_str();
    check(ChPair(same), samePointer, otherPointer, "ChPair and a pointer");
    check(ChArr(samePointer), samePointer, otherPointer, "ChArr and a pointer");
    check(CharVector(samePointer), samePointer, otherPointer, "CharVector and a pointer");
    check(ChPair(same), same, other, "ChPair and a string");
    check(ChArr(samePointer), same, other, "ChArr and a string");
    check(CharVector(samePointer), same, other, "CharVector and a string");
    return failures;
}
