#include <gtest/gtest.h>

#include <velmora/localization/keys.h>
#include <velmora/serial/bag.h>
#include <velmora/text/chpair.h>

#include "tests/modules/exception_module.h"
#include "tests/support/message.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace {

// The module as it was loaded at run time; it stays loaded until the process ends.
void* symbol(const char* name) {
#ifdef _WIN32
    static HMODULE module = LoadLibraryA(VELMORA_TEST_MODULE);
    return module ? reinterpret_cast<void*>(GetProcAddress(module, name)) : nullptr;
#else
    static void* module = dlopen(VELMORA_TEST_MODULE, RTLD_NOW | RTLD_LOCAL);
    return module ? dlsym(module, name) : nullptr;
#endif
}

template <class Function>
Function function(const char* name) {
    return reinterpret_cast<Function>(symbol(name));
}

}  // namespace

TEST(Modules, MessageThrownThroughModuleIsCaughtInProgram) {
    auto throwMessage = function<ThrowFunction>("throwMessage");
    ASSERT_TRUE(throwMessage);
    EXPECT_THROW_KEY(throwMessage(), LCA__Invalid_date_required_format_is);
}

TEST(Modules, BagExceptionThrownThroughModuleIsCaughtInProgram) {
    auto throwBagException = function<ThrowFunction>("throwBagException");
    ASSERT_TRUE(throwBagException);
    EXPECT_THROW(throwBagException(), Bag::Exception);
}

TEST(Modules, ModuleCatchesWhatTheLibraryThrowsInTheProgram) {
    auto catchFrom = function<CatchFunction>("catchFrom");
    ASSERT_TRUE(catchFrom);
    EXPECT_EQ('T', catchFrom([] { ChPair("no date").parseLocalTime(); }));
    EXPECT_EQ('B', catchFrom([] { Bag().getChar(); }));
    EXPECT_EQ('T', catchFrom([] { throw TTT(VELMORA_DICT, LCA__Disk_full); }));
    EXPECT_EQ(0, catchFrom([] {}));
}
