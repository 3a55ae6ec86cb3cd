// Dictionary files: the tool's own reader, which trusts nothing, first. What it finds good, the library's two readers
// must read, with the same texts; what they refuse by the header, they must refuse without harm.
#include <velmora/localization/loc.h>

#include "fuzz/fuzz.h"
#include "tools/lng_file.h"
#include "tools/placeholders.h"

namespace {

class File {
public:
    explicit File(const std::string& bytes) : stream_(std::tmpfile()) {
        FUZZ_CHECK(stream_ && std::fwrite(bytes.data(), 1, bytes.size(), stream_) == bytes.size());
        std::rewind(stream_);
    }
    File(const File&) = delete;
    void operator=(const File&) = delete;
    ~File() { std::fclose(stream_); }
    operator FILE*() const { return stream_; }

private:
    FILE* stream_;
};

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    tool::LngFile file;
    std::vector<std::string> problems;
    const bool whole = file.parse(bytes, problems);
    if (whole) {
        for (std::size_t i = 0; i < file.texts.size(); ++i) {
            tool::Placeholders placeholders;
            if (file.readable(i) && file.texts[i].start >= 0) tool::parsePlaceholders(file.text(i), placeholders);
        }
        FUZZ_CHECK(file.unusedBytes() <= file.block.size());
        if (problems.empty() && file.unreadableCount() == 0) {
            // What is written anew is read as the same.
            tool::LngFile again;
            FUZZ_CHECK(again.parse(file.write(), problems) && problems.empty());
            FUZZ_CHECK(again.texts.size() == file.texts.size() && again.block == file.block);
        }
    }
    // Texts that the check finds outside must not be looked at through the loader, which trusts them.
    const bool trusted = whole && problems.empty() && file.unreadableCount() == 0;
    const int count = static_cast<int>(file.texts.size());
    IDLocLoader loader;
    IDLocLoader::Localization table = {count, 8, file.stamp};
    const auto error = loader.load(File(bytes), table);
    if (trusted) {
        FUZZ_CHECK(error == IDLocLoader::NoError);
        for (int i = 0; i < count; ++i) FUZZ_CHECK(file.text(static_cast<std::size_t>(i)) == loader[i]);
    }
    IDLocLoader::Localization other = {count + 1, 8, file.stamp};
    FUZZ_CHECK(loader.load(File(bytes), other) != IDLocLoader::NoError);
    return 0;
}
