#include <velmora/files/console.h>

#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#ifdef _WIN32
#include <io.h>
#include <objbase.h>
#include <windows.h>
#else
#include <unistd.h>
#endif

#include <velmora/text/charr.h>

#include "tests/support/temp_folder.h"

namespace {

// ---- printing ----

// What a text becomes in a binary stream.
std::string inStream(const std::string& text) {
#ifdef _WIN32
    std::string bytes;
    const ChArr16 wide(text.c_str());
    for (const wchar_t* p = wide.asCharPtr(); *p; ++p) {
        bytes += static_cast<char>(*p & 0xFF);
        bytes += static_cast<char>(*p >> 8);
    }
    return bytes;
#else
    return text;
#endif
}

std::string printed(const std::function<void(FILE*)>& print) {
    support::TempFolder folder;
    FILE* stream = std::fopen(folder.file("out").c_str(), "wb");
    if (!stream) return "cannot write";
    print(stream);
    std::fclose(stream);
    return folder.read("out");
}

TEST(Console, TextIsPrintedAsItStands) {
    for (const char* text : {"plain", "100% %s %n", "two\nlines\r\n", "\xC3\xA9\xE2\x82\xAC \xD0\x9C \xE6\x97\xA5"}) {
        SCOPED_TRACE(text);
        EXPECT_EQ(inStream(text), printed([&](FILE* stream) { utf8printf_s(stream, text); }));
        EXPECT_EQ(inStream(text), printed([&](FILE* stream) { utf8printf_s(stream, text, text + std::strlen(text)); }));
    }
}

TEST(Console, RangeEndsWhereItSaysOrAtAZeroByte) {
    const char text[] = "abcdef\0ghi";
    EXPECT_EQ(inStream("bc"), printed([&](FILE* stream) { utf8printf_s(stream, text + 1, text + 3); }));
    EXPECT_EQ(inStream("abcdef"), printed([&](FILE* stream) { utf8printf_s(stream, text, text + 10); }));
}

TEST(Console, NullAndEmptyPrintNothing) {
    EXPECT_EQ("", printed([](FILE* stream) {
                  const char* none = nullptr;
                  utf8printf_s(stream, none);
                  utf8printf_s(stream, none, none);
                  utf8printf_s(stream, "");
                  const char text[] = "\0text";
                  utf8printf_s(stream, text, text + 5);
                  utf8printf_s(stream, text + 1, text + 1);
              }));
}

TEST(Console, FormattedText) {
    EXPECT_EQ(inStream("7 of \xE2\x82\xAC and 0.50"),
              printed([](FILE* stream) { utf8printf(stream, "%d of %s and %.2f", 7, "\xE2\x82\xAC", 0.5); }));
}

TEST(Console, EmptyResultPrintsNothingAndTheNextOnePrints) {
    EXPECT_EQ(inStream("ab"), printed([](FILE* stream) {
                  utf8printf(stream, "%s", "a");
                  utf8printf(stream, "%s", "");
                  utf8printf(stream, "%s", "");
                  utf8printf(stream, "%s", "b");
              }));
}

TEST(Console, LongResultIsCut) {
    for (std::size_t length : {32767u, 32768u, 32769u, 40000u}) {
        SCOPED_TRACE(length);
        const std::string text(length, 'x');
        const std::string expected(length < 32768 ? length : 32768, 'x');
        EXPECT_EQ(inStream(expected), printed([&](FILE* stream) { utf8printf(stream, "%s", text.c_str()); }));
    }
}

TEST(Console, TextOfAnyLengthIsPrintedWhole) {
    std::string text;
    for (int i = 0; i < 50000; ++i) text += "\xE2\x82\xAC";
    EXPECT_EQ(inStream(text), printed([&](FILE* stream) { utf8printf_s(stream, text.c_str()); }));
}

void printList(FILE* stream, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    utf8printf_va(stream, format, arguments);
    va_end(arguments);
}

TEST(Console, PreparedArguments) {
    EXPECT_EQ(inStream("1-two"), printed([](FILE* stream) { printList(stream, "%d-%s", 1, "two"); }));
}

TEST(Console, WithoutAStreamItIsStandardOutput) {
    testing::internal::CaptureStdout();
    utf8printf("%d %s", 5, "words");
    std::fflush(stdout);
    EXPECT_EQ("5 words", testing::internal::GetCapturedStdout());
}

#ifdef _WIN32
// The system hands a debugger its texts as exceptions: wide ones, and narrow ones where those are not known.
std::vector<std::wstring> toldWide;
std::vector<std::string> toldNarrow;
LONG CALLBACK listen(EXCEPTION_POINTERS* pointers) {
    constexpr DWORD kWidePrint = 0x4001000A, kNarrowPrint = 0x40010006;
    const EXCEPTION_RECORD& record = *pointers->ExceptionRecord;
    const auto text = record.ExceptionInformation[1];
    const auto length = static_cast<std::size_t>(record.ExceptionInformation[0]) - 1;
    if (record.ExceptionCode == kWidePrint) toldWide.emplace_back(reinterpret_cast<const wchar_t*>(text), length);
    if (record.ExceptionCode == kNarrowPrint) toldNarrow.emplace_back(reinterpret_cast<const char*>(text), length);
    return EXCEPTION_CONTINUE_SEARCH;
}

TEST(Console, DebuggerGetsWhatIsPrintedAndNoEmptyText) {
    void* handler = AddVectoredExceptionHandler(1, listen);
    printed([](FILE* stream) {
        utf8printf_s(stream, "");
        utf8printf_s(stream, "one");
        utf8printf(stream, "%s", "");
        utf8printf(stream, "%d", 2);
    });
    RemoveVectoredExceptionHandler(handler);
    if (!toldWide.empty()) {
        EXPECT_EQ((std::vector<std::wstring>{L"one", L"2"}), toldWide);
    } else {
        EXPECT_EQ((std::vector<std::string>{"one", "2"}), toldNarrow);
    }
}
#endif

// ---- arguments ----

std::vector<std::string> textsOf(const StringVector<char>& texts) {
    std::vector<std::string> all;
    for (int i = 0; i < texts.count; ++i) all.push_back(texts.data[i] ? texts.data[i] : "(null)");
    return all;
}

TEST(ConsoleArguments, EndAtTheNullPointerWhateverTheCountSays) {
    char program[] = "program", empty[] = "", last[] = "a b";
    char* argv[] = {program, empty, last, nullptr};
    for (int argc : {0, 1, 3, 100}) {
        StringVector<char> result;
        result.append("of before");
        char** array = utf8args(argc, argv, result);
        EXPECT_EQ(result.data, array);
        EXPECT_EQ((std::vector<std::string>{"program", "", "a b"}), textsOf(result));
    }
}

TEST(ConsoleArguments, NoneAreAnEmptyArray) {
    char* argv[] = {nullptr};
    StringVector<char> result;
    EXPECT_EQ(nullptr, utf8args(1, argv, result));
    EXPECT_EQ(0, result.count);
    result.append("of before");
    EXPECT_EQ(result.data, utf8args(0, argv, result));
    EXPECT_EQ(0, result.count);
}

TEST(ConsoleArguments, AreCopies) {
    char text[] = "one";
    char* argv[] = {text, nullptr};
    StringVector<char> result;
    utf8args(1, argv, result);
    text[0] = 'X';
    EXPECT_EQ(std::vector<std::string>{"one"}, textsOf(result));
}

TEST(ConsoleArguments, LongOnesAreKeptWhole) {
    std::string longText(100000, 'x'), longer(200000, 'y');
    char* argv[] = {&longText[0], &longer[0], nullptr};
    StringVector<char> result;
    utf8args(2, argv, result);
    EXPECT_EQ((std::vector<std::string>{longText, longer}), textsOf(result));
}

TEST(ConsoleArguments, BecomeUtf8) {
#ifdef _WIN32
    const wchar_t* const wanted = L"na\xEFve";
    char argument[64];
    BOOL replaced = FALSE;
    ASSERT_LT(0, WideCharToMultiByte(CP_ACP, 0, wanted, -1, argument, sizeof argument, nullptr,
                                     GetACP() == CP_UTF8 ? nullptr : &replaced));
    if (replaced) GTEST_SKIP() << "the code page has no such character";
    const std::string expected = "na\xC3\xAFve";
#else
    char argument[] = "na\xC3\xAFve \xFF";
    const std::string expected = argument;
#endif
    char* argv[] = {argument, nullptr};
    StringVector<char> result;
    utf8args(1, argv, result);
    EXPECT_EQ(std::vector<std::string>{expected}, textsOf(result));
}

// ---- COM ----

#ifdef _WIN32
void onThread(const std::function<void()>& action) { std::thread(action).join(); }

// How the thread stands, by what another initialisation says.
HRESULT standing(DWORD model) {
    const HRESULT result = CoInitializeEx(nullptr, model);
    if (SUCCEEDED(result)) CoUninitialize();
    return result;
}

TEST(ConsoleCom, ScopeInitialisesAndEnds) {
    onThread([] {
        {
            COMInitSingleThread scope;
            EXPECT_TRUE(scope.initialised);
            EXPECT_EQ(S_FALSE, standing(COINIT_APARTMENTTHREADED));
            EXPECT_EQ(RPC_E_CHANGED_MODE, standing(COINIT_MULTITHREADED));
        }
        EXPECT_EQ(S_OK, standing(COINIT_MULTITHREADED));
        {
            COMInitMultiThread scope;
            EXPECT_TRUE(scope.initialised);
            EXPECT_EQ(S_FALSE, standing(COINIT_MULTITHREADED));
        }
        EXPECT_EQ(S_OK, standing(COINIT_APARTMENTTHREADED));
    });
}

TEST(ConsoleCom, ThreadThatWasInitialisedIsLeftAlone) {
    onThread([] {
        ASSERT_EQ(S_OK, CoInitialize(nullptr));
        {
            COMInitSingleThread inner;
            EXPECT_FALSE(inner.initialised);
            COMInitMultiThread other;
            EXPECT_FALSE(other.initialised);
        }
        // Twice was counted, and ended by nobody.
        CoUninitialize();
        EXPECT_EQ(S_FALSE, standing(COINIT_APARTMENTTHREADED));
        CoUninitialize();
        EXPECT_EQ(S_OK, standing(COINIT_MULTITHREADED));
    });
}
#else
TEST(ConsoleCom, ObjectsDoNothing) {
    COMInitSingleThread single;
    COMInitMultiThread multi;
    EXPECT_FALSE(single.initialised);
    EXPECT_FALSE(multi.initialised);
}
#endif

TEST(ConsoleCom, CopyTakesTheFlag) {
    COMInitSingleThread one, two;
    one.initialised = true;
    two = one;
    COMInitSingleThread three(one);
    EXPECT_TRUE(two.initialised);
    EXPECT_TRUE(three.initialised);
    one.initialised = two.initialised = three.initialised = false;
}

}  // namespace
