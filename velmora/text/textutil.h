// All free text functions.
#ifndef VELMORA_TEXT_TEXTUTIL_H
#define VELMORA_TEXT_TEXTUTIL_H

#include <velmora/text/bytes.h>
#include <velmora/text/numbers.h>
#include <velmora/text/timetext.h>
#include <velmora/text/utf.h>

#endif
