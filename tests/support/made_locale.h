// A locale that is compiled from the system's sources for the test, so that what a test needs of German or Turkish
// numbers and letters does not hang on what is installed. On Windows it is one that the runtime has.
#ifndef VELMORA_TESTS_SUPPORT_MADE_LOCALE_H
#define VELMORA_TESTS_SUPPORT_MADE_LOCALE_H

#include <string>

#include "tests/support/locale_scope.h"
#include "tests/support/temp_folder.h"

namespace support {

// Puts a locale in force for all categories, and afterwards what was in force before.
class MadeLocale {
public:
    // A source and a character set, such as "de_DE" and "UTF-8", and the name of such a locale on Windows.
    MadeLocale(const std::string& source, const std::string& charset, const char* windowsName);
    MadeLocale(const MadeLocale&) = delete;
    void operator=(const MadeLocale&) = delete;

    // Why there is none; empty when it is in force.
    const std::string& failure() const { return failure_; }

private:
    LocaleScope before_{LC_ALL, nullptr};
    TempFolder folder_;
    std::string failure_;
};

}  // namespace support

#endif
