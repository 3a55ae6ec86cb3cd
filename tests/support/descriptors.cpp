#include "tests/support/descriptors.h"

#include <filesystem>
#include <iterator>

namespace support {

int openDescriptors() {
    std::error_code error;
    const std::filesystem::directory_iterator folder("/proc/self/fd", error);
    return error ? -1 : static_cast<int>(std::distance(begin(folder), end(folder)));
}

}  // namespace support
