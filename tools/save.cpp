// Writing of the tool's results, see save.h.
#include "tools/save.h"

#include <velmora/files/utf8file.h>

#include <filesystem>
#include <system_error>

namespace tool {
namespace {

bool isReplaceable(const std::string& path) {
    if (path.empty()) return false;
    std::error_code unknown;
    const auto type = std::filesystem::symlink_status(std::u8string(path.begin(), path.end()), unknown).type();
    return type == std::filesystem::file_type::regular || type == std::filesystem::file_type::not_found;
}

}  // namespace

void saveFile(const std::string& path, const char* data, std::size_t size) {
    if (isReplaceable(path)) {
        UTF8File::safe_save(path.c_str(), data, size);
    } else {
        UTF8File::save(path.c_str(), data, size);
    }
}

}  // namespace tool
