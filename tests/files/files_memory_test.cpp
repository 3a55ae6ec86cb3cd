#include <gtest/gtest.h>

#include <cerrno>
#include <cstdint>
#include <functional>
#include <new>
#include <string>
#include <vector>

#include <velmora/containers/vectors.h>
#include <velmora/files/utf8file.h>
#include <velmora/localization/loc.h>
#include <velmora/serial/bag.h>
#include <velmora/text/charr.h>
#include <velmora/text/charvector.h>

#include "tests/support/allocations.h"
#include "tests/support/message.h"
#include "tests/support/temp_folder.h"

namespace {

using support::AllocationCounter;
using support::failEachAllocation;
using support::TempFolder;

const std::uint64_t kAnySize = 10000000;
const int kUnknownError = 1000000;

// Longer than what a std::string holds without an allocation.
const char* const kOldText = "an old text that takes a block of its own";

std::string messageOf(const Bag& bytes) { return support::dumpMessage(TTT(bytes)); }

// What a failed block must be reported as. Built beforehand: nothing is allocated while it is compared.
TTT noMemoryMessage(const std::string& path) {
    UTF8File file(true);
    try {
        file.erro(VELMORA_DICT, LCA__Not_enough_memory_to_load_file, path.c_str(), -1);
    } catch (const TTT& message) {
        return message;
    }
    return TTT();
}

struct Outcome {
    int plain = 0;     // std::bad_alloc as it was thrown
    int reported = 0;  // the message of a failed block
};

// Runs `action` with each of its allocations failing. Only the block's own failure may come as a message.
Outcome failEach(const std::string& path, const std::function<void()>& action, const std::function<void()>& check) {
    const TTT expected = noMemoryMessage(path);
    EXPECT_EQ("LCA__Not_enough_memory_to_load_file LCA__Path_s(" + path + ")", messageOf(expected.getData()));
    Outcome outcome;
    bool reported = false;
    int failures = failEachAllocation(
        [&] {
            try {
                action();
            } catch (const TTT& message) {
                reported = message.getData() == expected.getData();
                if (!reported) throw;
                throw std::bad_alloc();  // counted as one more failure, and the next allocation's turn comes
            }
        },
        [&] {
            ++(reported ? outcome.reported : outcome.plain);
            reported = false;
            check();
        });
    EXPECT_EQ(failures, outcome.plain + outcome.reported);
    return outcome;
}

class FilesMemory : public testing::Test {
protected:
    TempFolder folder;
    std::string name = folder.write("a", std::string(5000, 'x'));

    // A message is built from texts that are already there.
    static void SetUpTestSuite() { support::keyName(0); }
};

// ---- load ----

TEST_F(FilesMemory, LoadIntoAnArrayHolderReportsTheBlock) {
    for (bool terminate : {false, true}) {
        ArrayHolder<char> data;
        Outcome outcome = failEach(
            name,
            [&] {
                UTF8File::load(name.c_str(), data, kAnySize, terminate);
                delete[] data.steal();
            },
            [&] { EXPECT_EQ(nullptr, data.data); });
        EXPECT_EQ(1, outcome.reported);
        EXPECT_EQ(1, outcome.plain);  // the path in the file object
    }
}

TEST_F(FilesMemory, LoadIntoAChArrKeepsTheOldText) {
    ChArr text(kOldText);
    const char* old = text.data;
    Outcome outcome = failEach(
        name, [&] { UTF8File::load(name.c_str(), text, kAnySize, true); },
        [&] {
            EXPECT_EQ(old, text.data);
            EXPECT_STREQ(kOldText, text.data);
        });
    EXPECT_EQ(1, outcome.reported);
    EXPECT_EQ(1, outcome.plain);
    EXPECT_EQ(5000, text.len());
}

TEST_F(FilesMemory, LoadIntoABagKeepsTheBag) {
    Bag bag;
    bag.expand(100);
    bag.putStringNZ(kOldText);
    bag.to(4);
    const char* old = bag.data;
    const int size = bag.size;
    const int bufferSize = bag.bufferSize;
    Outcome outcome = failEach(
        name, [&] { UTF8File::load(name.c_str(), bag, kAnySize, true); },
        [&] {
            EXPECT_EQ(old, bag.data);
            EXPECT_EQ(size, bag.size);
            EXPECT_EQ(bufferSize, bag.bufferSize);
            EXPECT_EQ(4, bag.cursor);
        });
    EXPECT_EQ(1, outcome.reported);
    EXPECT_EQ(1, outcome.plain);
    EXPECT_EQ(5000, bag.size);
}

TEST_F(FilesMemory, LoadIntoAStringEmptiesIt) {
    std::string text = kOldText;
    Outcome outcome = failEach(
        name, [&] { UTF8File::load(name.c_str(), text, kAnySize); },
        [&] {
            EXPECT_EQ("", text);
            text = kOldText;
        });
    EXPECT_EQ(1, outcome.reported);
    EXPECT_EQ(1, outcome.plain);
    EXPECT_EQ(std::string(5000, 'x'), text);
}

TEST_F(FilesMemory, LoadIntoACharVectorReportsTheBlock) {
    CharVector text;
    Outcome outcome = failEach(
        name,
        [&] {
            UTF8File::load(name.c_str(), text, kAnySize);
            text.clear();
        },
        [&] {
            EXPECT_EQ(nullptr, text.data);
            EXPECT_EQ(0, text.count);
            EXPECT_EQ(0, text.allocateCount);
        });
    EXPECT_EQ(1, outcome.reported);
    EXPECT_EQ(1, outcome.plain);
}

TEST_F(FilesMemory, EmptyFileTakesABlockOnlyForTheTerminator) {
    const std::string empty = folder.write("empty", "");
    for (bool terminate : {false, true}) {
        Outcome outcome = failEach(
            empty,
            [&] {
                ArrayHolder<char> data;
                UTF8File::load(empty.c_str(), data, kAnySize, terminate);
            },
            [] {});
        EXPECT_EQ(terminate ? 1 : 0, outcome.reported);
        EXPECT_EQ(1, outcome.plain);
    }
}

// One block and the path: the file is read to where it stays.
TEST_F(FilesMemory, LoadsWithoutAnIntermediateCopy) {
    const long size = 1000000;
    const std::string big = folder.write("big", std::string(size, 'x'));
    const std::function<void()> loads[] = {
        [&] {
            ArrayHolder<char> data;
            UTF8File::load(big.c_str(), data, kAnySize, true);
        },
        [&] {
            ChArr text;
            UTF8File::load(big.c_str(), text, kAnySize, true);
        },
        [&] {
            Bag bag;
            UTF8File::load(big.c_str(), bag, kAnySize, true);
        },
        [&] {
            std::string text;
            UTF8File::load(big.c_str(), text, kAnySize);
        },
        [&] {
            CharVector text;
            UTF8File::load(big.c_str(), text, kAnySize);
        },
    };
    for (const auto& load : loads) {
        AllocationCounter counter;
        load();
        EXPECT_EQ(2, counter.allocations());
        EXPECT_EQ(0, counter.live());
        EXPECT_GE(counter.peakBytes(), size);
        EXPECT_LT(counter.peakBytes(), size + 10000);
    }
}

// ---- save ----

TEST_F(FilesMemory, SaveFailsBeforeTheOldContentIsGone) {
    const std::string data = "new content";
    int failures = failEachAllocation([&] { UTF8File::save(name.c_str(), data); },
                                      [&] { EXPECT_EQ(std::string(5000, 'x'), folder.read("a")); });
    EXPECT_EQ(1, failures);
    EXPECT_EQ(data, folder.read("a"));
}

// Wherever memory runs out, one of the two files holds a whole content.
TEST_F(FilesMemory, SafeSaveKeepsTheOldContentOrTheNew) {
    const std::string old(5000, 'x');
    const std::string data = "new content";
    int failures = failEachAllocation([&] { UTF8File::safe_save(name.c_str(), data); },
                                      [&] {
                                          if (folder.has("a")) {
                                              EXPECT_TRUE(folder.read("a") == old || folder.read("a") == data);
                                          } else {
                                              EXPECT_EQ(data, folder.read("a.tmp"));
                                          }
                                          folder.write("a", old);
                                      });
    EXPECT_GE(failures, 3);  // the two names, and the name after the rename
    EXPECT_EQ(data, folder.read("a"));
    EXPECT_FALSE(folder.has("a.tmp"));
}

// ---- pop ----

TEST_F(FilesMemory, PopReportsTheBlockAndKeepsTheBag) {
    const std::string records = folder.write("records", std::string("\5\0\0\0hello", 9));
    for (bool policy : {false, true}) {
        UTF8File file(policy);
        ASSERT_TRUE(file.open(records, UTF8File::READ));
        Bag bag;
        bag.expand(100);
        bag.putStringNZ(kOldText);
        bag.to(4);
        const char* old = bag.data;
        const int size = bag.size;
        const int bufferSize = bag.bufferSize;
        int quietFailures = 0;
        Outcome outcome = failEach(
            records,
            [&] {
                file.seek(0, 0);
                if (file.pop(bag)) return;
                ++quietFailures;
                throw std::bad_alloc();
            },
            [&] {
                EXPECT_EQ(4, file.pos());
                EXPECT_EQ(old, bag.data);
                EXPECT_EQ(size, bag.size);
                EXPECT_EQ(bufferSize, bag.bufferSize);
                EXPECT_EQ(4, bag.cursor);
            });
        EXPECT_EQ(policy ? 1 : 0, outcome.reported);
        EXPECT_EQ(policy ? 0 : 1, outcome.plain);
        EXPECT_EQ(policy ? 0 : 1, quietFailures);
        EXPECT_EQ("hello", ChPair(bag).std());
    }
}

TEST_F(FilesMemory, PopReleasesTheBlockOfARecordThatIsCutOff) {
    UTF8File file;
    ASSERT_TRUE(file.open(folder.write("records", std::string("\5\0\0\0hell", 8)), UTF8File::READ));
    Bag bag("old", 3);
    AllocationCounter counter;
    EXPECT_FALSE(file.pop(bag));
    EXPECT_EQ(1, counter.allocations());
    EXPECT_EQ(0, counter.live());
    EXPECT_EQ("old", ChPair(bag).std());
}

// ---- the core ----

TEST_F(FilesMemory, OpenThatCannotKeepThePathOpensNothing) {
    UTF8File file("old name", true);
    int failures = failEachAllocation(
        [&] {
            UTF8File opened(true);
            opened.open(name, UTF8File::READ);
        },
        [] {});
    EXPECT_EQ(1, failures);
    failures = failEachAllocation(
        [&] {
            file.open(name, UTF8File::READ);
            file.close();
        },
        [&] {
            EXPECT_FALSE(file.isOpened());
            EXPECT_STREQ("old name", file.name.data);
        });
    EXPECT_EQ(1, failures);
}

TEST_F(FilesMemory, ErroLeavesAsBadAllocWhenTheMessageCannotBeBuilt) {
    UTF8File file(true);
    for (int systemError : {-1, ENOENT, kUnknownError}) {
        bool thrown = false;
        int failures = failEachAllocation([&] {
            try {
                file.erro(VELMORA_DICT, LCA__Disk_full, "some path", systemError);
            } catch (const TTT&) {
                thrown = true;
            }
        });
        EXPECT_TRUE(thrown);
        EXPECT_GE(failures, 1);
    }
}

TEST_F(FilesMemory, QuietFailureBuildsNothing) {
    UTF8File file;
    ASSERT_TRUE(file.open(name, UTF8File::READ));
    ASSERT_TRUE(file.seek(0, 2));
    UTF8File absent(folder.file("absent/a"));
    TTT message("some message");
    const std::string target = folder.file("absent/b");
    char byte;
    AllocationCounter counter;
    file.erro(VELMORA_DICT, LCA__Disk_full, "some path", ENOENT);
    file.erro(message, "some path", ENOENT);
    EXPECT_FALSE(file.read(byte));
    EXPECT_FALSE(file.seek(-1, 0));
    EXPECT_EQ(-1, file.checkSize(10));
    EXPECT_FALSE(absent.mkdir());
    EXPECT_FALSE(absent.rename(target.c_str()));
    EXPECT_FALSE(absent.open(UTF8File::READ));
    EXPECT_EQ(0, counter.allocations());
}

// Paths are converted on the stack.
TEST_F(FilesMemory, PathOperationsAllocateNothing) {
    UTF8File made(folder.file("папка")), file(folder.file("файл"));
    UTF8File::Info info;
    AllocationCounter counter;
    EXPECT_TRUE(made.mkdir());
    EXPECT_TRUE(UTF8File::exist(made.name.data));
    EXPECT_TRUE(made.info(info));
    EXPECT_TRUE(made.rmdir());
    EXPECT_TRUE(file.open(UTF8File::WRITE));
    EXPECT_TRUE(file.writef("%d", 7));
    EXPECT_TRUE(file.close());
    EXPECT_TRUE(file.remove());
    EXPECT_FALSE(UTF8File::exist(file.name.data));
    EXPECT_EQ(0, counter.allocations());
}

TEST_F(FilesMemory, StealFromMovesTheName) {
    UTF8File source("some name", true), target("other name");
    AllocationCounter counter;
    target.stealFrom(source);
    EXPECT_EQ(0, counter.allocations());
    EXPECT_EQ(-1, counter.live());
}

// ---- dictionaries ----

std::string word(std::uint32_t value) {
    std::string out;
    for (int shift = 0; shift < 32; shift += 8) out += static_cast<char>(value >> shift & 0xFF);
    return out;
}

// A dictionary of `count` texts "t".
std::string dictionaryFile(int count) {
    std::string starts, block;
    for (int i = 0; i < count; ++i) {
        starts += word(static_cast<std::uint32_t>(block.size()));
        block += std::string("t\0", 2);
    }
    return word(0) + "LCLR" + word(1) + word(8) + word(7) + word(static_cast<std::uint32_t>(count)) +
           word(static_cast<std::uint32_t>(block.size())) + starts + block;
}

class DictionaryMemory : public testing::Test {
protected:
    TempFolder folder;
    std::vector<const char*> variables;
    std::vector<const char**> targets;
    CCLocLoader::Localization byVariable;
    IDLocLoader::Localization byNumber;
    UTF8File file;

    void open(const std::string& content, int count) {
        file.close();
        ASSERT_TRUE(file.open(folder.write("m.eng.lng", content), UTF8File::READ));
        variables.assign(static_cast<std::size_t>(count), nullptr);
        targets.clear();
        for (const char*& variable : variables) targets.push_back(&variable);
        byVariable = {count, 8, 7, targets.data()};
        byNumber = {count, 8, 7};
    }
};

TEST_F(DictionaryMemory, LoaderReleasesAModuleThatItCannotKeep) {
    struct Counted : Loc::Module {
        int& alive;
        explicit Counted(int& n) : alive(n) { ++alive; }
        Counted(const Counted&) = delete;
        void operator=(const Counted&) = delete;
        ~Counted() override { --alive; }
    };
    int alive = 0;
    const int failures = support::failEachAllocation([&] {
        Loc::Loader loader;
        loader.addModule(new Counted(alive));
    });
    EXPECT_LE(2, failures);
    EXPECT_EQ(0, alive);
}

TEST_F(DictionaryMemory, LoadTakesAFixedNumberOfBlocks) {
    for (int count : {1, 2, 1000, 20000}) {
        SCOPED_TRACE(count);
        open(dictionaryFile(count), count);
        {
            CCLocLoader loader;
            AllocationCounter counter;
            ASSERT_EQ(CCLocLoader::NoError, loader.load(file.file, byVariable));
            EXPECT_EQ(2, counter.allocations());
            EXPECT_EQ(1, counter.live());
        }
        ASSERT_TRUE(file.seek(0, 0));
        {
            IDLocLoader loader;
            AllocationCounter counter;
            ASSERT_EQ(IDLocLoader::NoError, loader.load(file.file, byNumber));
            EXPECT_EQ(3, counter.allocations());
            EXPECT_EQ(2, counter.live());
        }
    }
}

TEST_F(DictionaryMemory, ReloadReleasesTheFormerTexts) {
    open(dictionaryFile(3), 3);
    CCLocLoader variablesLoader;
    IDLocLoader numbersLoader;
    AllocationCounter counter;
    for (int i = 0; i < 3; ++i) {
        ASSERT_TRUE(file.seek(0, 0));
        ASSERT_EQ(CCLocLoader::NoError, variablesLoader.load(file.file, byVariable));
        ASSERT_TRUE(file.seek(0, 0));
        ASSERT_EQ(IDLocLoader::NoError, numbersLoader.load(file.file, byNumber));
        EXPECT_EQ(3, counter.live());
    }
}

TEST_F(DictionaryMemory, DestructionReleasesTheTexts) {
    open(dictionaryFile(3), 3);
    AllocationCounter counter;
    {
        CCLocLoader loader;
        ASSERT_EQ(CCLocLoader::NoError, loader.load(file.file, byVariable));
    }
    EXPECT_EQ(0, counter.live());
    ASSERT_TRUE(file.seek(0, 0));
    {
        IDLocLoader loader;
        ASSERT_EQ(IDLocLoader::NoError, loader.load(file.file, byNumber));
    }
    EXPECT_EQ(0, counter.live());
}

TEST_F(DictionaryMemory, RefusedFileReleasesTheNewBlocks) {
    const std::string content = dictionaryFile(3);
    for (std::size_t length = 0; length < content.size(); ++length) {
        SCOPED_TRACE(length);
        open(content.substr(0, length), 3);
        CCLocLoader variablesLoader;
        IDLocLoader numbersLoader;
        AllocationCounter counter;
        EXPECT_EQ(CCLocLoader::ReadError, variablesLoader.load(file.file, byVariable));
        ASSERT_TRUE(file.seek(0, 0));
        EXPECT_EQ(IDLocLoader::ReadError, numbersLoader.load(file.file, byNumber));
        EXPECT_EQ(0, counter.live());
    }
}

// A failed block leaves as std::bad_alloc, and the texts in use stay in use.
TEST_F(DictionaryMemory, FailedBlockKeepsTheFormerTexts) {
    open(dictionaryFile(3), 3);
    CCLocLoader variablesLoader;
    IDLocLoader numbersLoader;
    ASSERT_EQ(CCLocLoader::NoError, variablesLoader.load(file.file, byVariable));
    ASSERT_TRUE(file.seek(0, 0));
    ASSERT_EQ(IDLocLoader::NoError, numbersLoader.load(file.file, byNumber));
    const char* text = variablesLoader.text;
    const char* first = variables[0];
    const char* numbersText = numbersLoader.text;
    const char** strings = numbersLoader.strings;
    int failures = failEachAllocation(
        [&] {
            file.seek(0, 0);
            variablesLoader.load(file.file, byVariable);
        },
        [&] {
            EXPECT_EQ(text, variablesLoader.text);
            EXPECT_EQ(first, variables[0]);
            EXPECT_STREQ("t", variables[2]);
        });
    EXPECT_EQ(2, failures);
    failures = failEachAllocation(
        [&] {
            file.seek(0, 0);
            numbersLoader.load(file.file, byNumber);
        },
        [&] {
            EXPECT_EQ(numbersText, numbersLoader.text);
            EXPECT_EQ(strings, numbersLoader.strings);
            EXPECT_STREQ("t", numbersLoader[2]);
        });
    EXPECT_EQ(3, failures);
}

TEST_F(DictionaryMemory, FailedBlockPassesThroughTheModule) {
    open(dictionaryFile(3), 3);
    file.close();
    const std::string path = folder.path() + "/";
    Loc::CCModule module("m", byVariable, true);
    std::string error;
    error.reserve(1000);
    error = "untouched";
    bool loaded = false;
    int failures = failEachAllocation(
        [&] {
            loaded = module.load(path.c_str(), "eng", &error);
            delete[] module.loader.text;
            module.loader.text = nullptr;
        },
        [&] {
            EXPECT_FALSE(loaded);
            EXPECT_EQ(nullptr, module.loader.text);
        });
    EXPECT_TRUE(loaded);
    EXPECT_GE(failures, 2);
    EXPECT_EQ("untouched", error);
}

}  // namespace
