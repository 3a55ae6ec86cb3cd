#include "peer_simdjson.h"

#include <simdjson.h>

#include <string_view>

namespace bench {

namespace {

using simdjson::ondemand::json_type;

// A token's text, without the white space that simdjson leaves at its end.
std::string_view trimmed(std::string_view token) {
    while (static_cast<unsigned char>(token.back()) <= ' ') token.remove_suffix(1);
    return token;
}

// A key as it is: simdjson gives its start. No key here has a quote in it.
std::string_view rawKey(const char* key) {
    const char* end = key;
    while (*end != '"') ++end;
    return {key, static_cast<std::size_t>(end - key)};
}

template <Mode mode, class Seen>
void seeObject(simdjson::ondemand::object object, Seen& seen) {
    for (auto field : object) {
        std::string_view key;
        if constexpr (mode == Mode::AsIs) {
            key = rawKey(field.key().value().raw());
        } else {
            key = field.unescaped_key().value();
        }
        simdjson::ondemand::value value = field.value();
        const json_type type = value.type();
        if (type == json_type::array) {
            for (auto element : value.get_array()) seeObject<mode>(element.get_object(), seen);
        } else if (type == json_type::object) {
            seeObject<mode>(value.get_object(), seen);
        } else if (mode == Mode::AsIs) {
            std::string_view token = trimmed(value.raw_json_token());
            if (type == json_type::string) token = token.substr(1, token.size() - 2);
            seen.text(key.data(), key.size(), token.data(), token.size());
        } else if (type == json_type::string) {
            const std::string_view text = value.get_string();
            seen.text(key.data(), key.size(), text.data(), text.size());
        } else if (type == json_type::boolean) {
            seen.boolean(value.get_bool());
        } else if (key[0] == kIntegerLetter) {
            seen.integer(value.get_int64());
        } else {
            seen.real(value.get_double());
        }
    }
}

}  // namespace

bool hasSimdjson() {
    return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi") && __builtin_cpu_supports("pclmul");
}

template <Mode mode, class Seen>
void readSimdjson(Block& block, Seen& seen) {
    static_assert(Block::kPadding >= simdjson::SIMDJSON_PADDING);
    static simdjson::ondemand::parser parser;
    simdjson::ondemand::document doc = parser.iterate(block.data, block.size, block.size + Block::kPadding);
    seeObject<mode>(doc.get_object(), seen);
}

template void readSimdjson<Mode::AsIs>(Block&, Glance&);
template void readSimdjson<Mode::AsIs>(Block&, Contents&);
template void readSimdjson<Mode::Decoded>(Block&, Glance&);
template void readSimdjson<Mode::Decoded>(Block&, Contents&);
template void readSimdjson<Mode::Typed>(Block&, Glance&);
template void readSimdjson<Mode::Typed>(Block&, Contents&);

bool validateSimdjson(const char* text, std::size_t size) { return simdjson::validate_utf8(text, size); }

}  // namespace bench
