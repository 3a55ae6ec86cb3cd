// Prints the options of a settings file. What stands between the marks is the program of README.md, byte for byte.

// [readme]
#include <velmora/velmora.h>

#include <cstdio>

int main(int argc, char** argv) {
    Loc::Loader texts;
    texts.addModule(new Loc::VelmoraModule);
    std::string error;
    if (argc != 3 || !texts.load(argv[2], "eng", &error)) {
        std::fprintf(stderr, "%s\n", argc == 3 ? error.c_str() : "usage: read_settings FILE FOLDER-OF-TEXTS/");
        return 2;
    }

    MLDoc doc;
    std::string text;
    try {
        doc.load(argv[1]);
        MLDoc::Token token;
        MLDoc::ChildIterator root(&doc, token);
        if (!root("settings")) throw TTT("There are no settings");
        MLDoc::ChildIterator options(&doc, token);
        while (options("option")) {
            doc.convertEscape(doc.getAttributeValue(token, "value"), text);
            std::printf("%s = %s\n", doc.getAttributeValue(token, "name").std().c_str(), text.c_str());
        }
    } catch (TTT& message) {
        if (doc.buffer) doc.formMessage(message);  // file and place, which a refused file does not have
        message.translate(text);
        std::fprintf(stderr, "%s\n", text.c_str());
        return 1;
    }
}
// [/readme]
