// Every public header.
#ifndef VELMORA_VELMORA_H
#define VELMORA_VELMORA_H

#include <velmora/base.h>
#include <velmora/containers/vectors.h>
#include <velmora/files/console.h>
#include <velmora/files/findfile.h>
#include <velmora/files/logcharstream.h>
#include <velmora/files/rundetector.h>
#include <velmora/files/utf8file.h>
#include <velmora/localization/keys.h>
#include <velmora/localization/loc.h>
#include <velmora/markup/mldoc.h>
#include <velmora/markup/mldocout.h>
#include <velmora/serial/bag.h>
#include <velmora/serial/tags.h>
#include <velmora/serial/ttt.h>
#include <velmora/text/charr.h>
#include <velmora/text/charvector.h>
#include <velmora/text/chpair.h>
#include <velmora/text/textutil.h>

#endif
