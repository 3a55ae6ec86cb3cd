// Everything of the library that is not constant-initialised, in the order in which it must come: std_null_string, then
// the tables, then the text routines for this machine. It runs before every other initialiser of the program, so that
// those may use all three.
#include <cctype>
#include <clocale>
#include <cwctype>

#include <velmora/text/bytes.h>
#include <velmora/text/bytes_routines.h>
#include <velmora/text/functions.h>

#if defined(__GNUC__)
#define VELMORA_INIT_FIRST __attribute__((init_priority(101)))
#else
#pragma init_seg(lib)
#define VELMORA_INIT_FIRST
#endif

constinit const char empty_string[1] = {0};
constinit const utf16_t empty_string16[1] = {0};

constinit bool chr_tables_prepare_done = false;
constinit unsigned char chr_upper_table_ascii[256] = {};
constinit unsigned char chr_lower_table_ascii[256] = {};
constinit char chr_types_table_ascii[256] = {};
constinit utf16_t chr_upper_table_utf16[65536] = {};
constinit utf16_t chr_lower_table_utf16[65536] = {};

const std::string std_null_string VELMORA_INIT_FIRST;

namespace {

char classOf(int c) {
    if (std::islower(c)) return 'L';
    if (std::isupper(c)) return 'U';
    if (std::isdigit(c)) return 'D';
    return '.';
}

// A host that chose its character locale before the library was loaded keeps it.
void chooseLocale() {
    const char* current = std::setlocale(LC_CTYPE, nullptr);
    if (std::strcmp(current ? current : "", "C") == 0) std::setlocale(LC_CTYPE, "");
    std::setlocale(LC_NUMERIC, "C");  // for the forms that take a format of printf
}

struct PrepareTables {
    PrepareTables() { chr_tables_prepare(); }
};

const PrepareTables prepareTables VELMORA_INIT_FIRST;

struct ChooseTextFunctions {
    ChooseTextFunctions() { velmora::detail::chooseTextFunctions(); }
};

const ChooseTextFunctions chooseTextFunctions VELMORA_INIT_FIRST;

// Some locale may have a case for other ASCII characters than the letters.
bool asciiCaseIsThatOfAscii() {
    for (int c = 0; c < 128; ++c) {
        const bool isUpper = c >= 'A' && c <= 'Z', isLower = c >= 'a' && c <= 'z';
        if (chr_upper_table_ascii[c] != (isLower ? c - 'a' + 'A' : c)) return false;
        if (chr_lower_table_ascii[c] != (isUpper ? c - 'A' + 'a' : c)) return false;
    }
    return true;
}

}  // namespace

void chr_tables_prepare() {
    if (chr_tables_prepare_done) return;
    chooseLocale();
    for (int i = 0; i < 256; ++i) {
        chr_lower_table_ascii[i] = static_cast<unsigned char>(std::tolower(i));
        chr_upper_table_ascii[i] = static_cast<unsigned char>(std::toupper(i));
        chr_types_table_ascii[i] = classOf(i);
    }
    // In a Turkish locale the letter i has other partners, and then the library's own words would no longer be found.
    for (int lower = 'a', upper = 'A'; lower <= 'z'; ++lower, ++upper) {
        chr_lower_table_ascii[lower] = chr_lower_table_ascii[upper] = static_cast<unsigned char>(lower);
        chr_upper_table_ascii[lower] = chr_upper_table_ascii[upper] = static_cast<unsigned char>(upper);
        chr_types_table_ascii[lower] = 'L';
        chr_types_table_ascii[upper] = 'U';
    }
    velmora::detail::asciiCaseIsPlain = asciiCaseIsThatOfAscii();
    for (char white : {' ', '\t', '\n', '\r'}) chr_types_table_ascii[static_cast<unsigned char>(white)] = 'W';
    for (std::wint_t i = 0; i < 65535; ++i) {
        chr_lower_table_utf16[i] = static_cast<utf16_t>(std::towlower(i));
        chr_upper_table_utf16[i] = static_cast<utf16_t>(std::towupper(i));
    }
    // On some systems the last unit is the error value of the calls above.
    chr_lower_table_utf16[0xFFFF] = chr_upper_table_utf16[0xFFFF] = 0xFFFF;
    chr_tables_prepare_done = true;
}
