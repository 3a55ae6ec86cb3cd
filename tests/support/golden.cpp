#include "tests/support/golden.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>

namespace support {

void expectGolden(const std::string& name, const std::string& text) {
    const std::string path = VELMORA_GOLDEN_DIR "/" + name;
    if (std::getenv("VELMORA_UPDATE_GOLDEN")) {
        std::ofstream out(path, std::ios::binary);
        out << text;
        ASSERT_TRUE(out.flush()) << path;
        return;
    }
    std::ifstream in(path, std::ios::binary);
    ASSERT_TRUE(in) << path;
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), text) << path;
}

}  // namespace support
