// What every public header stands on: the export macro, the 16-bit character and the compiler's attributes.
// This file and platform/ are the only places that ask which system they are compiled for.
#ifndef VELMORA_BASE_H
#define VELMORA_BASE_H

#include <cstddef>
#include <cstdint>
#include <string>

// VELMORA_BUILDING is set while the library itself is compiled, VELMORA_STATIC by whoever links its objects directly.
#if defined(_WIN32)
#if defined(VELMORA_STATIC)
#define VELMORA_API
#elif defined(VELMORA_BUILDING)
#define VELMORA_API __declspec(dllexport)
#else
#define VELMORA_API __declspec(dllimport)
#endif
#else
#define VELMORA_API __attribute__((visibility("default")))
#endif

// Whether a user of the library may leave the instances of class templates to it. MinGW does not export members that
// are defined in their class, so there the user's compiler makes what it needs.
#if !defined(_WIN32) || defined(VELMORA_BUILDING)
#define VELMORA_EXTERN_TEMPLATES 1
#endif

// A view that is made from a temporary is warned about where the compiler can tell.
#if defined(__clang__)
#define VELMORA_LIFETIMEBOUND [[clang::lifetimebound]]
#else
#define VELMORA_LIFETIMEBOUND
#endif

// The compiler checks arguments against a printf format. Counting starts at 1; in a member the object is argument 1.
#if defined(__MINGW32__) && !defined(__clang__)
#define VELMORA_PRINTF(text, first) __attribute__((format(gnu_printf, text, first)))
#elif defined(__GNUC__)
#define VELMORA_PRINTF(text, first) __attribute__((format(printf, text, first)))
#else
#define VELMORA_PRINTF(text, first)
#endif

// A function that is not to become part of its callers, which are small without it, and one that is to in any case.
#if defined(__GNUC__)
#define VELMORA_NOINLINE __attribute__((noinline))
#define VELMORA_ALWAYS_INLINE __attribute__((always_inline))
#elif defined(_MSC_VER)
#define VELMORA_NOINLINE __declspec(noinline)
#define VELMORA_ALWAYS_INLINE
#else
#define VELMORA_NOINLINE
#define VELMORA_ALWAYS_INLINE
#endif

// Defined where `long` and `long long` are two types of 64 bits, so that overload sets need both.
#if defined(__LP64__)
#define VELMORA_LP64 1
#endif

// One UTF-16 unit: the character of the system's wide interface on Windows, char16_t elsewhere.
#if defined(_WIN32)
using utf16_t = wchar_t;
#else
using utf16_t = char16_t;
#endif
using utf16_string = std::basic_string<utf16_t>;

// The tag of the system's 64-bit file information record, from <sys/stat.h>.
#if defined(_WIN32)
#define VELMORA_STAT_RECORD _stat64
#else
#define VELMORA_STAT_RECORD stat
#endif

static_assert(sizeof(int) == 4, "wire forms and fields count on 32-bit int");
static_assert(sizeof(utf16_t) == 2, "a character in flight is one 16-bit unit");
static_assert(sizeof(std::size_t) == 8, "64-bit platforms only");

#endif
