// Private: the text routines that have an implementation for each kind of machine, in a table that is chosen when the
// library is loaded. Until then it has those of the base, which every machine of the platform can run.
// A test takes an implementation by assigning one of the tables below to `textFunctions`, and puts the table back.
#ifndef VELMORA_TEXT_FUNCTIONS_H
#define VELMORA_TEXT_FUNCTIONS_H

#include <cstddef>

#include <velmora/base.h>

namespace velmora::detail {

// All of them take whole ranges: a begin is at most its end, and nothing is null. Those that need a block's bytes, as
// their headers say, are called from kShortText bytes on.
struct TextFunctions {
    const char* (*findFault)(const char* s, const char* e);
    std::size_t (*countCharacters)(const char* b, const char* e);
    std::size_t (*lengthAsUtf8)(const utf16_t* b, const utf16_t* e);
    void (*utf8ToUtf16)(const char* b, const char* e, utf16_t* d, const utf16_t* de);
    void (*utf16ToUtf8)(const utf16_t* b, const utf16_t* e, char* d, const char* de);
    char* (*findBytes)(const char* s, std::size_t n, const char* p, std::size_t pn);
    char* (*findFolded)(const char* s, std::size_t n, const char* p, std::size_t pn);
    const char* (*findByteFolded)(const char* b, const char* e, char c);
    std::size_t (*commonAscii)(const char* a, const char* b, std::size_t n);
    void (*foldBytes)(char* p, std::size_t n, char first, const unsigned char* table);
};

constexpr std::size_t kShortText = 32;  // fewer bytes, or places of a pattern, are not worth a call through the table

extern TextFunctions textFunctions;

// Words of eight bytes, which every machine has; the widest blocks of every machine of the platform; and those of AVX2,
// which a machine may have or not. `avx2TextFunctions` is null where the library is built without them.
extern const TextFunctions portableTextFunctions;
extern const TextFunctions baseTextFunctions;
extern const TextFunctions* const avx2TextFunctions;

bool hasAvx2();

// Chooses the fastest that this machine has.
void chooseTextFunctions();

}  // namespace velmora::detail

#endif
