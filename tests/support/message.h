// Expectations about thrown messages: by key and parameters, never by their English text.
#ifndef VELMORA_TESTS_SUPPORT_MESSAGE_H
#define VELMORA_TESTS_SUPPORT_MESSAGE_H

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include <velmora/localization/keys.h>
#include <velmora/serial/ttt.h>

namespace support {

// The message as "KEY KEY(param) KEY(param,param)", each segment by its key and its parameters. Raw segments are shown
// as raw("template"); bytes that make no sense as "?".
std::string dumpMessage(const TTT& message);

// Name of a text number of the library's dictionary.
std::string keyName(int key);

// The key of the first segment of what `action` throws; "(nothing)" when it returns.
std::string thrownKey(const std::function<void()>& action);

// What `action` throws, as dumpMessage shows it; "(nothing)" when it returns.
std::string thrownMessage(const std::function<void()>& action);

// Registers the library's dictionary and loads its texts, English unless told otherwise.
void loadTexts(const char* language = "eng");

// The message as text, from the loaded texts.
std::string render(const TTT& message);

}  // namespace support

#define EXPECT_THROW_KEY(statement, key) EXPECT_EQ(support::keyName(key), support::thrownKey([&] { statement; }))

#endif
