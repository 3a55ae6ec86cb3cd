// Text of unknown origin, made fit for a line of output, for a terminal, and for JSON.
#ifndef VELMORA_TOOLS_SHOWN_H
#define VELMORA_TOOLS_SHOWN_H

#include <velmora/text/chpair.h>

#include <cstddef>
#include <string>

namespace tool {

// A character of UTF-8. Overlong forms, surrogates and what lies above U+10FFFF are none.
struct Character {
    std::size_t length = 0;  // in bytes; 0 where the bytes are no character
    char32_t code = 0;
};

// The character that begins at `p`. Requires: p < end.
Character characterOf(const char* p, const char* end);

inline std::size_t characterLength(const char* p, const char* end) { return characterOf(p, end).length; }

// Whether the bytes are characters, one after the other.
bool isUtf8(const ChPair& text);

// Whether a byte is a control character of ASCII, which would end the line or speak to the terminal.
bool isControl(char c);

// Whether a character is shown, and does nothing else to a terminal: no control character (to U+001F, U+007F to
// U+009F), no end of a line or a paragraph (U+2028, U+2029), and none that reorders what stands around it, so that a
// name would look like another one (U+061C, U+200E, U+200F, U+202A to U+202E, U+2066 to U+2069).
bool isPrintable(char32_t code);

// Whether all of the text is printable characters.
bool isPrintable(const ChPair& text);

// The text as one line for a file or another program: as it stands, but for the control bytes of ASCII, which are shown
// as \n, \r, \t or \xHH.
std::string shown(const ChPair& text);

// The text for a terminal: line feeds, CR LF, tabs and printable characters as they stand. The bytes of all else are
// shown as \n, \r, \t or \xHH, but two surrogates that the library made of one character become that character again.
std::string shownOnTerminal(const ChPair& text);

// The text in double quotes, with '"' and '\' behind a backslash, and the bytes of what is not printable shown like
// control bytes: what is shown can be turned back.
std::string quoted(const ChPair& text);

// The text for between the quotes of a string in JSON, which is also one in YAML: with the escapes of JSON, also for
// what is not printable, and with U+FFFD for each byte that is no UTF-8. Surrogates are as above.
std::string jsonText(const ChPair& text);

}  // namespace tool

#endif
