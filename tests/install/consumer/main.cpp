// Loads the installed dictionaries and renders a message.
#include <velmora/velmora.h>

#include <cstdio>

int main(int, char** argv) {
    Loc::Loader loader;
    loader.addModule(new Loc::VelmoraModule);
    std::string error;
    if (!loader.load(argv[1], "ger", &error)) {
        std::fprintf(stderr, "%s\n", error.c_str());
        return 1;
    }
    std::string text;
    TTT(VELMORA_DICT, LCA__Disk_full).translate(text);
    return text.empty();
}
