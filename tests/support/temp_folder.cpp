#include "tests/support/temp_folder.h"

#include <atomic>
#include <chrono>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace fs = std::filesystem;

namespace support {
namespace {

// Between UTF-8 text and the system's paths.
fs::path toPath(const std::string& text) {
    return fs::path(std::u8string(reinterpret_cast<const char8_t*>(text.data()), text.size()));
}

std::string toText(const fs::path& path) {
    std::u8string text = path.u8string();
    return std::string(reinterpret_cast<const char*>(text.data()), text.size());
}

}  // namespace

TempFolder::TempFolder() {
    static std::atomic<unsigned> counter{0};
    for (;;) {
        auto now = std::chrono::steady_clock::now().time_since_epoch().count();
        folder_ =
            fs::temp_directory_path() / ("velmora-" + std::to_string(now) + "-" + std::to_string(counter.fetch_add(1)));
        if (fs::create_directory(folder_)) return;
    }
}

TempFolder::~TempFolder() {
    std::error_code ignored;
    for (const auto& entry : fs::recursive_directory_iterator(folder_, ignored)) {
        fs::permissions(entry.path(), fs::perms::owner_all, fs::perm_options::add, ignored);
    }
    fs::remove_all(folder_, ignored);
}

fs::path TempFolder::at(const std::string& name) const { return folder_ / toPath(name); }

std::string TempFolder::path() const { return toText(folder_); }

std::string TempFolder::file(const std::string& name) const { return path() + "/" + name; }

std::string TempFolder::write(const std::string& name, const std::string& bytes) const {
    std::ofstream out(at(name), std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    out.close();
    if (!out) throw std::runtime_error("cannot write " + name);
    return file(name);
}

std::string TempFolder::read(const std::string& name) const {
    std::ifstream in(at(name), std::ios::binary);
    if (!in) throw std::runtime_error("cannot read " + name);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

bool TempFolder::has(const std::string& name) const { return fs::exists(at(name)); }

void TempFolder::setReadOnly(const std::string& name, bool readOnly) const {
    fs::permissions(at(name), fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write,
                    readOnly ? fs::perm_options::remove : fs::perm_options::add);
}

}  // namespace support
