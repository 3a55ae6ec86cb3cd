// Private: the table of the text routines for one kind of block.
#ifndef VELMORA_TEXT_FUNCTIONS_OF_H
#define VELMORA_TEXT_FUNCTIONS_OF_H

#include <velmora/text/bytes_routines.h>
#include <velmora/text/functions.h>
#include <velmora/text/utf_routines.h>

namespace velmora::detail {

template <class B>
static constexpr TextFunctions kTextFunctionsOf = {
    findFault<B>, countCharacters<B>, lengthAsUtf8<B>,   utf8ToUtf16<B>, utf16ToUtf8<B>,
    findBytes<B>, findFolded<B>,      findByteFolded<B>, commonAscii<B>, foldBytes<B>,
};

}  // namespace velmora::detail

#endif
