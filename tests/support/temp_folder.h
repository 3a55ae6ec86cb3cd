// A folder of the test's own, removed with all it holds. Paths are UTF-8 and end without a separator.
#ifndef VELMORA_TESTS_SUPPORT_TEMP_FOLDER_H
#define VELMORA_TESTS_SUPPORT_TEMP_FOLDER_H

#include <filesystem>
#include <string>

namespace support {

class TempFolder {
public:
    TempFolder();
    TempFolder(const TempFolder&) = delete;
    void operator=(const TempFolder&) = delete;
    ~TempFolder();

    std::string path() const;
    // The path of a file in it, as UTF-8.
    std::string file(const std::string& name) const;
    // Writes a file and gives its path; reads one back; tells whether there is one. Without velmora's own functions.
    std::string write(const std::string& name, const std::string& bytes) const;
    std::string read(const std::string& name) const;
    bool has(const std::string& name) const;
    // Takes all permission to write from a file, or gives it back.
    void setReadOnly(const std::string& name, bool readOnly) const;

private:
    std::filesystem::path folder_;
    std::filesystem::path at(const std::string& name) const;
};

}  // namespace support

#endif
