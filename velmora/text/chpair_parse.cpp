// The members of ChPair that throw a message. Messages stand above text: this is the one place where text looks up.
#include <velmora/localization/keys.h>
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

}  // namespace

std::int64_t ChPair::parseGMTTime() const {
    // Seconds and minutes stand in this order in the hint, though the parser reads them in the other.
    return timeOrThrow(from_gmt_date_time_string_YYYYMMDDThhmmss_to_gmt_time_t(begin, end), "YYYY-MM-DDThh:ss:mm");
}

std::int64_t ChPair::parseLocalTime() const {
    return timeOrThrow(from_local_date_time_string_DDMMYYYY_hhmmss_to_gmt_time_t(begin, end), "DD/MM/YYYY hh:mm:ss");
}
