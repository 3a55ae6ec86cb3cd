// Private: the plain routines of the readers, byte by byte. What is taken by windows is tested against them.
#ifndef VELMORA_MARKUP_PLAIN_H
#define VELMORA_MARKUP_PLAIN_H

#include <velmora/markup/mldoc.h>

namespace velmora::detail {

bool plainStepXml(MLDoc& doc, MLDoc::Token& token);
bool plainAttributeXml(MLDoc& doc, const MLDoc::Token& token, MLDoc::Attribute& attribute);
bool plainStepJson(MLDoc& doc, MLDoc::Token& token);
bool plainAttributeJson(MLDoc& doc, const MLDoc::Token& token, MLDoc::Attribute& attribute);
bool plainYamlLine(MLDoc& doc);
bool plainStepYaml(MLDoc& doc, MLDoc::Token& token);
bool plainAttributeYaml(MLDoc& doc, const MLDoc::Token& token, MLDoc::Attribute& attribute);

}  // namespace velmora::detail

#endif
