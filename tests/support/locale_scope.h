// A locale for the time of one test.
#ifndef VELMORA_TESTS_SUPPORT_LOCALE_SCOPE_H
#define VELMORA_TESTS_SUPPORT_LOCALE_SCOPE_H

#include <clocale>
#include <string>

namespace support {

class LocaleScope {
public:
    LocaleScope(int category, const char* name) : category_(category), before_(std::setlocale(category, nullptr)) {
        ok_ = std::setlocale(category, name) != nullptr;
    }
    LocaleScope(const LocaleScope&) = delete;
    void operator=(const LocaleScope&) = delete;
    ~LocaleScope() { std::setlocale(category_, before_.c_str()); }

    bool ok() const { return ok_; }  // whether the system has that locale

private:
    int category_;
    std::string before_;
    bool ok_;
};

}  // namespace support

#endif
