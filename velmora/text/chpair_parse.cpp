// The members of ChPair that throw a message. Messages stand above text: this is the one place where text looks up.
#include <velmora/localization/keys.h>
#include <velmora/serial/tags.h>
#include <velmora/serial/ttt.h>
#include <velmora/text/chpair.h>
#include <velmora/text/timetext.h>

namespace {

std::int64_t timeOrThrow(std::int64_t t, const char* requiredFormat) {
    if (t != -1) return t;
    TTT message(VELMORA_DICT, LCA__Invalid_date_required_format_is);
    message < requiredFormat;
    throw message;
}

// The value that `get` reads, within its bounds.
template <class T>
T numberOrThrow(const ChPair& text, bool (ChPair::*get)(T&) const, T* min, T* max, int invalidKey) {
    T value;
    if (!(text.*get)(value)) throw TTT(VELMORA_DICT, invalidKey);
    if ((min && value < *min) || (max && value > *max)) throw TTT(VELMORA_DICT, LCA__Integer_value_is_out_of_range);
    return value;
}

[[noreturn]] void throwFlag(int key, const ChPair& name) {
    TTT message(VELMORA_DICT, key);
    message < name;
    throw message;
}

}  // namespace

int ChPair::parseInt(int* min, int* max) const {
    return numberOrThrow(*this, &ChPair::getInt, min, max, LCA__Invalid_integer_value);
}

unsigned ChPair::parseUInt(unsigned* min, unsigned* max) const {
    return numberOrThrow(*this, &ChPair::getUInt, min, max, LCA__Invalid_integer_value);
}

std::int64_t ChPair::parseInt64(std::int64_t* min, std::int64_t* max) const {
    return numberOrThrow(*this, &ChPair::getInt64, min, max, LCA__Invalid_integer_value);
}

std::uint64_t ChPair::parseUInt64(std::uint64_t* min, std::uint64_t* max) const {
    return numberOrThrow(*this, &ChPair::getUInt64, min, max, LCA__Invalid_integer_value);
}

double ChPair::parseDouble(double* min, double* max) const {
    return numberOrThrow(*this, &ChPair::getDouble, min, max, LCA__Invalid_double_value);
}

unsigned ChPair::parseIP() const {
    unsigned address;
    if (!getIP(address)) throw TTT(VELMORA_DICT, LCA__Invalid_IP_address);
    return address;
}

unsigned ChPair::parseEnum(const PairTag* tags, int forbidden) const {
    int value = tags->translate(readable(), -1);
    if (value == -1 || (value & forbidden) != 0) throw TTT(VELMORA_DICT, LCA__Invalid_enum_value);
    return static_cast<unsigned>(value);
}

unsigned ChPair::parseFlags(const PairTag* tags, int deprecated, bool strict) const {
    unsigned flags = 0;
    ChPair rest = readable();
    while (!rest.empty()) {
        ChPair name;
        rest.split_get(name, ' ', rest);
        if (name.empty()) continue;
        int value = tags->translate(name, -1);
        if (value != -1) {
            flags |= static_cast<unsigned>(value);
        } else if (strict) {
            throwFlag(LCA__Invalid_flag_s, name);
        }
        // An alias is reported by the table's first name for the value.
        if ((value & deprecated) != 0) throwFlag(LCA__Deprecated_flag_s, tags->ptranslate(value));
    }
    return flags;
}

std::int64_t ChPair::parseGMTTime() const {
    // Seconds and minutes stand in this order in the hint, though the parser reads them in the other.
    return timeOrThrow(from_gmt_date_time_string_YYYYMMDDThhmmss_to_gmt_time_t(begin, stop()), "YYYY-MM-DDThh:ss:mm");
}

std::int64_t ChPair::parseLocalTime() const {
    return timeOrThrow(from_local_date_time_string_DDMMYYYY_hhmmss_to_gmt_time_t(begin, stop()), "DD/MM/YYYY hh:mm:ss");
}

std::int64_t ChPair::parseTime() const { return find('T') ? parseGMTTime() : parseLocalTime(); }
