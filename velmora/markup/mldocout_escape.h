// Private: the two escape functions of the writer.
#ifndef VELMORA_MARKUP_MLDOCOUT_ESCAPE_H
#define VELMORA_MARKUP_MLDOCOUT_ESCAPE_H

namespace velmora::detail {

const char* escapeXmlHtml(char c, int& length);
const char* escapeJsonYaml(char c, int& length);

}  // namespace velmora::detail

#endif
