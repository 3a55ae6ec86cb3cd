// What tests of damaged documents have in common.
#ifndef VELMORA_TESTS_SUPPORT_DAMAGED_H
#define VELMORA_TESTS_SUPPORT_DAMAGED_H

#include <functional>
#include <set>
#include <string>

#include <velmora/markup/mldoc.h>

namespace support {

// Every key that a document of this format may fail with while it is walked, and those that detection adds.
const std::set<std::string>& walkKeys(MLDocBase::Format format);
const std::set<std::string>& detectionKeys();

inline bool contains(const std::set<std::string>& keys, const std::string& key) { return keys.count(key) != 0; }

// The key of what `action` throws, which must be a message of one key and nothing else; empty when it returns.
std::string failureOf(const std::function<void()>& action);

void expectInside(const MLDoc& doc, const ChPair& view);

// Bytes that mean something to one of the readers, or to none.
extern const unsigned char kNastyBytes[30];

}  // namespace support

#endif
