// What other static objects may rely on: the library's tables and std_null_string are there before the first
// constructor of the program runs, and its texts until the last destructor has. Without a test framework, which has
// static objects of its own.
#include <velmora/localization/loc.h>
#include <velmora/serial/ttt.h>
#include <velmora/text/bytes.h>
#include <velmora/text/utf.h>

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

class EarlyUser {
public:
    const char* failure;  // the first thing that did not work; null if all did

    EarlyUser() : failure(firstFailure()) {}
    // Runs behind main, and behind the destructors of the library's objects where they are in the program.
    ~EarlyUser() {
        if (failure || text_ == TTT::get(VELMORA_DICT, LCA__Disk_full)) return;
        std::fprintf(stderr, "after main: the text is gone\n");
        std::_Exit(1);
    }

    // Keeps a text to compare with. Returns: the first failure, or null.
    const char* loadTexts() {
        Loc::Loader loader;
        loader.addModule(new Loc::VelmoraModule);
        std::string error;
        if (!failure && !loader.load(VELMORA_TEST_LANG_DIR "/", "eng", &error)) failure = "the texts cannot be loaded";
        text_ = TTT::get(VELMORA_DICT, LCA__Disk_full);
        if (!failure && text_.empty()) failure = "there is no text";
        return failure;
    }

private:
    std::string text_;

    static const char* firstFailure() {
        if (!chr_tables_prepare_done) return "chr_tables_prepare_done is not set";
        if (chr_types_table_ascii[int{'z'}] != 'L' || chr_types_table_ascii[int{' '}] != 'W')
            return "chr_types_table_ascii";
        if (strcmp_i_ascii("early", "EARLY") != 0) return "strcmp_i_ascii does not fold";
        if (strcmp_i_ascii("early", "birds") != 1) return "strcmp_i_ascii takes different texts for the same";
        char text[] = "Early 1";
        strup_utf8(text, text + std::strlen(text));
        if (std::strcmp(text, "EARLY 1") != 0) return "strup_utf8";
        strlw_utf8(text, text + std::strlen(text));
        if (std::strcmp(text, "early 1") != 0) return "strlw_utf8";
        if (std::strcmp(std::setlocale(LC_NUMERIC, nullptr), "C") != 0) return "LC_NUMERIC";
        // A string that has not been constructed yet has no text to point at.
        if (!std_null_string.data() || !std_null_string.empty()) return "std_null_string";
        std::string copy(std_null_string);
        copy += "text";
        if (copy != "text") return "a copy of std_null_string";
        for (int i = 0; i < 6; ++i) {
            if (TTT::dictionaries[i] || TTT::localizations[i] || TTT::stringids[i]) return "a dictionary is registered";
        }
        if (empty_string[0] != 0 || empty_string16[0] != 0) return "empty_string";
        // To be called early is what it is exported for; it has nothing left to do.
        chr_tables_prepare();
        return chr_tables_prepare_done ? nullptr : "chr_tables_prepare";
    }
};

// Constructed behind what the library puts first, and in front of all else.
__attribute__((init_priority(102))) EarlyUser earlyUser;

}  // namespace

int main() {
    if (!earlyUser.failure && !earlyUser.loadTexts()) return 0;
    std::fprintf(stderr, "before the end of main: %s\n", earlyUser.failure);
    return 1;
}
