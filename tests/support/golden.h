// Expected bytes that stand in files under tests/golden.
#ifndef VELMORA_TESTS_SUPPORT_GOLDEN_H
#define VELMORA_TESTS_SUPPORT_GOLDEN_H

#include <string>

namespace support {

// Expects `text` to be what the file holds, byte by byte. With VELMORA_UPDATE_GOLDEN in the environment the file is
// written instead: the difference is then to be read like code.
void expectGolden(const std::string& name, const std::string& text);

}  // namespace support

#endif
