// Private: the two escape functions of the writer, and the bytes that they replace.
#ifndef VELMORA_MARKUP_MLDOCOUT_ESCAPE_H
#define VELMORA_MARKUP_MLDOCOUT_ESCAPE_H

#include <velmora/markup/scan.h>

namespace velmora::detail {

const char* escapeXmlHtml(char c, int& length);
const char* escapeJsonYaml(char c, int& length);

inline constexpr auto marksXmlHtml = [](Block b) { return b.is('"') | b.is('&') | b.is('\'') | b.is('<') | b.is('>'); };
inline constexpr auto marksJsonYaml = [](Block b) { return b.is('"') | b.is('\\') | b.isBelow(0x20); };

}  // namespace velmora::detail

#endif
