#include "tests/support/made_locale.h"

#include <clocale>
#include <cstdlib>
#include <filesystem>

#include "tests/support/child_process.h"

namespace support {

#ifndef _WIN32
namespace {

// The C library looks for locales where LOCPATH says, each time when one is asked for by a new name.
class LocalePath {
public:
    explicit LocalePath(const std::string& path) {
        const char* before = std::getenv("LOCPATH");
        had_ = before != nullptr;
        if (had_) before_ = before;
        setenv("LOCPATH", path.c_str(), 1);
    }
    LocalePath(const LocalePath&) = delete;
    void operator=(const LocalePath&) = delete;
    ~LocalePath() {
        if (had_) {
            setenv("LOCPATH", before_.c_str(), 1);
        } else {
            unsetenv("LOCPATH");
        }
    }

private:
    bool had_;
    std::string before_;
};

}  // namespace
#endif

MadeLocale::MadeLocale(const std::string& source, const std::string& charset, const char* windowsName) {
#ifdef _WIN32
    if (!std::setlocale(LC_ALL, windowsName)) {
        failure_ = std::string("the runtime has no locale ") + windowsName + " for " + source + '.' + charset;
    }
#else
    static_cast<void>(windowsName);
    if (!std::filesystem::exists("/usr/share/i18n/locales/" + source) ||
        !std::filesystem::exists("/usr/bin/localedef")) {
        failure_ = "the system has no sources of locales: the package locales has them";
        return;
    }
    const std::string name = source + '.' + charset;
    // A warning makes its status 1, and the locale is made all the same.
    runProgram(
        {"/usr/bin/localedef", "--no-archive", "--force", "--quiet", "-i", source, "-f", charset, folder_.file(name)},
        folder_.file("output"), folder_.file("errors"));
    const LocalePath path(folder_.path());
    if (!std::setlocale(LC_ALL, name.c_str())) failure_ = "localedef: " + folder_.read("errors");
#endif
}

}  // namespace support
