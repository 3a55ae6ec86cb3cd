// An application with messages of its own, in two languages, beside those of the library. Its texts are in
// own_messages.eng.xlf and own_messages.ger.xlf; the build makes .lng files of them with `velmora lng compile`.
//
// A message is data until it is shown. So one that was made while English was loaded is shown in German after a change
// of the language, and a translation may name its parameters in another order, or one of them twice.
#include <velmora/velmora.h>

#include <cstdio>
#include <string>

namespace {

// The application's dictionary. The number 2 is that of the library.
constexpr auto NOTES_DICT = static_cast<LocDictionaryId>(3);

// In the order of the units of the .xlf files.
enum NotesKey : int { NOTES__Saved, NOTES__No_room, kNotesCount };

const char* keyNames[] = {"NOTES__Saved", "NOTES__No_room"};

// The stamp stands in the .xlf files too, and is changed with the keys: texts for other keys are refused.
IDLocLoader::Localization table = {kNotesCount, 8, 0x0A0B0001};
IDLocLoader texts;

TTT saved(unsigned notes, const char* folder) {
    TTT message(NOTES_DICT, NOTES__Saved);
    message << notes << folder;  // %{1} and %{2}, wherever a translation wants them
    return message;
}

std::string shown(const TTT& message) {
    std::string text;
    message.translate(text);
    return text;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: own_messages FOLDER/\n");
        return 2;
    }
    Loc::Loader loader;
    loader.addModule(new Loc::VelmoraModule);
    loader.addModule(new Loc::IdModule("own_messages", table, keyNames, texts, NOTES_DICT));

    const TTT message = saved(12, "Letters");
    for (const char* language : {"eng", "ger"}) {
        std::string error;
        if (!loader.load(argv[1], language, &error)) {
            std::fprintf(stderr, "%s", error.c_str());
            return 1;
        }
        std::printf("%s\n", shown(message).c_str());

        // One message may go on with another: here the library's own, with the reason.
        try {
            UTF8File file(true);
            file.open("no such folder/notes.txt", UTF8File::READ);
        } catch (const TTT& reason) {
            TTT failure(NOTES_DICT, NOTES__No_room);
            failure <= reason;
            std::printf("%s\n", shown(failure).c_str());
        }
    }
}
