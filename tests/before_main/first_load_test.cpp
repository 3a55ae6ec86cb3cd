// The first use of the library in a process is to open a document, in each of the ways: it finds the tables made.
#include <velmora/markup/mldoc.h>
#include <velmora/serial/bag.h>

#include <cstdio>
#include <cstring>
#include <string>

namespace {

bool wrote(const char* path, const char* text) {
    std::FILE* file = std::fopen(path, "wb");
    return file && std::fputs(text, file) >= 0 && std::fclose(file) == 0;
}

}  // namespace

// WAY TEXT PATH
int main(int argc, char** argv) {
    if (argc != 4) return 2;
    const std::string way = argv[1];
    const char* const text = argv[2];
    const char* const path = argv[3];
    const int size = static_cast<int>(std::strlen(text));
    MLDoc doc;
    if (way == "file") {
        if (!wrote(path, text)) return 2;
        doc.load(path);
    } else if (way == "memory") {
        doc.load(path, text, size);
    } else {
        Bag bag(text, size);
        doc.load(path, bag);
    }
    MLDoc::Token token;
    while (doc.step(token)) {
        if (token.kind == 0) return token.name == "a1" ? 0 : 1;
    }
    std::fprintf(stderr, "no element in %s\n", text);
    return 1;
}
