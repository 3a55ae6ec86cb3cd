// A program that does nothing: with the library, or with the C++ library alone.
#include <string>

#ifdef VELMORA_STARTUP_LINKED
#include <velmora/text/bytes.h>
#endif

int main(int, char** arguments) {
    const std::string name(arguments[0]);
#ifdef VELMORA_STARTUP_LINKED
    return strfind(name.data(), name.size(), '\n') != nullptr;
#else
    return name.find('\n') != std::string::npos;
#endif
}
