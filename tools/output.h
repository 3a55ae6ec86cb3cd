// The two streams of the tool. Everything that it writes goes through here, so that bytes of unknown origin cannot
// speak to a terminal. What goes to standard output may be long, so its first failure is remembered and told once, at
// the end; standard error is written line by line behind what standard output holds by then.
#ifndef VELMORA_TOOLS_OUTPUT_H
#define VELMORA_TOOLS_OUTPUT_H

#include <cstddef>
#include <string>

namespace tool {

// Appends text for people to standard output: as it is, but on a terminal by shownOnTerminal. Requires: it ends where a
// character does.
void put(const char* text, std::size_t size);
inline void put(const std::string& text) { put(text.data(), text.size()); }

// Appends what is a document of its own, byte by byte, also on a terminal.
void putDocument(const char* bytes, std::size_t size);
inline void putDocument(const std::string& bytes) { putDocument(bytes.data(), bytes.size()); }

// Writes out what is held by now. Returns: whether standard output has taken everything so far.
bool flushOutput();

// Writes a message to standard error, as one line whatever is in it, and made fit for a terminal also where there is
// none. Its line feed is added. Below it may come lines that show what it is about; those keep their line feeds and
// tabs.
void complain(const std::string& message, const std::string& lines = std::string());

// Writes out what is still held. Returns: `status`, or 2 when standard output could not take everything.
int finishOutput(int status);

}  // namespace tool

#endif
