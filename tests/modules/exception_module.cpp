#include "tests/modules/exception_module.h"

#include <velmora/serial/bag.h>
#include <velmora/serial/ttt.h>
#include <velmora/text/chpair.h>

#if defined(_WIN32)
#define MODULE_EXPORT extern "C" __declspec(dllexport)
#else
#define MODULE_EXPORT extern "C" __attribute__((visibility("default")))
#endif

MODULE_EXPORT void throwMessage() { ChPair("no date").parseGMTTime(); }

MODULE_EXPORT void throwBagException() { Bag().getLong(); }

MODULE_EXPORT char catchFrom(void (*callback)()) {
    try {
        callback();
    } catch (const TTT&) {
        return 'T';
    } catch (const Bag::Exception&) {
        return 'B';
    } catch (...) {
        return '?';
    }
    return 0;
}
